#!/usr/bin/env python3
"""peers ZORENV ZOR: the front end beside Environment Modules and Lmod, where these are installed.

One tree of 10,000 products in 1,000 directories, as a warehouse and as modulefiles with the same settings: a load of
one product and a list of all. The fastest of several runs counts, in milliseconds.
"""
import os
import shutil
import subprocess
import sys
import tempfile
import time

PRODUCTS = 10000
DIRECTORIES = 1000

PRODUCT_INFO = """<PRODUCT-INFO name="p"><VARIETIES><VARIETY><SEGMENT host="all" here="1"/></VARIETY></VARIETIES>
</PRODUCT-INFO>
"""
SETTINGS = """<ENV-SETTINGS><ENV-GROUP><PATTERN/>
<ENV-INSERT><NAME>PATH</NAME><VALUE>/opt/{name}/bin</VALUE><BEFORE>**</BEFORE></ENV-INSERT>
<ENV-INSERT><NAME>{upper}_HOME</NAME><VALUE>/opt/{name}</VALUE></ENV-INSERT>
</ENV-GROUP></ENV-SETTINGS>
"""
MODULEFILE = """#%Module1.0
prepend-path PATH /opt/{name}/bin
setenv {upper}_HOME /opt/{name}
"""


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as stream:
        stream.write(text)


def lay_out(root):
    """The warehouse and the modulefiles. Gives the path of a product in the middle."""
    for i in range(PRODUCTS):
        category, name = f"category{i % DIRECTORIES:04}", f"product{i:05}"
        place = f"{root}/warehouse/{category}/{name}/1.0/1"
        words = {"name": name, "upper": name.upper()}
        write(f"{place}/product.xml", PRODUCT_INFO)
        write(f"{place}/partlist.xml", "<PARTLIST/>\n")
        write(f"{place}/env.xml", SETTINGS.format(**words))
        write(f"{root}/modulefiles/{category}/{name}/1.0", MODULEFILE.format(**words))
    middle = PRODUCTS // 2
    return f"category{middle % DIRECTORIES:04}/product{middle:05}"


def fastest(command, environment, wanted):
    """Milliseconds of the fastest of some runs, each of which must print the text that is wanted."""
    best = None
    end = time.monotonic() + 3
    while best is None or time.monotonic() < end:
        start = time.monotonic()
        result = subprocess.run(command, env=environment, stdin=subprocess.DEVNULL, capture_output=True, check=False)
        took = 1000 * (time.monotonic() - start)
        if wanted not in (result.stdout + result.stderr).decode(errors="replace"):
            sys.exit(f"{' '.join(command)}: {result.stderr.decode(errors='replace')}")
        best = took if best is None else min(best, took)
    return best


def first(*paths):
    """The first of the files that is there."""
    return next((path for path in paths if path and os.path.exists(path)), None)


def programs(zorenv, zor, root, product):
    """Rows: a name, the command that loads the product, the one that lists all, the variables of both."""
    category, name = product.split("/")
    ours = {"ZORROOT": f"{root}/warehouse"}
    modules = {"MODULEPATH": f"{root}/modulefiles"}
    yield "zorenv", [zorenv, "-p", category, name, "--sh"], None, ours
    yield "zor", [zor, "--shell", "sh", "load", product], [zor, "avail"], ours
    for title, program in (
            ("Environment Modules", first(shutil.which("modulecmd"), "/usr/share/modules/libexec/modulecmd.tcl")),
            ("Lmod", first(os.environ.get("LMOD_CMD"), "/usr/share/lmod/lmod/libexec/lmod"))):
        if program:
            yield title, [program, "bash", "load", product], [program, "bash", "avail"], modules
        else:
            yield title, None, None, modules


def main():
    zorenv, zor = map(os.path.abspath, sys.argv[1:3])
    root = tempfile.mkdtemp(prefix="zor-peers-")
    try:
        product = lay_out(root)
        name = product.split("/")[1]
        print(f"| {PRODUCTS:,} products in {DIRECTORIES:,} directories, ms | load of one | list of all |")
        print("|---|--:|--:|")
        skipped = []
        for title, load, avail, variables in programs(zorenv, zor, root, product):
            if not load:
                skipped.append(title)
                continue
            environment = {"PATH": "/usr/bin:/bin", "HOME": root, **variables}
            times = [f"{fastest(load, environment, f'/opt/{name}/bin'):.1f}",
                     f"{fastest(avail, environment, name):.0f}" if avail else ""]
            print(f"| {title} | {times[0]} | {times[1]} |")
        for title in skipped:
            print(f"\nSkipped, as it is not installed: {title}")
    finally:
        shutil.rmtree(root)


main()
