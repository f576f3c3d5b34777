#!/usr/bin/env python3
"""check.py [PRODUCTS...]: what zor check takes on warehouses of that many products.

Each product has the seven data files, with 20 operations or commands in each of the five files of settings and of
recipes, and two others of its category as parts. Told are the wall time, the processor time, and, if asked for, the most memory that all
processes together held at a time, shared pages counted once. The warehouses are laid out in a directory that is removed
at the end.

  --program PATH   the program (build/release/zor)
  --operations N   so many in each of these files; 4 make 20 a product
  --memory         look at the memory, too, which costs time
"""
import argparse
import os
import resource
import shutil
import subprocess
import tempfile
import time

SOURCE = os.path.realpath(os.path.join(os.path.dirname(__file__), ".."))
INFO = '<PRODUCT-INFO name="P"><VARIETIES><VARIETY><SEGMENT here="1"/></VARIETY></VARIETIES></PRODUCT-INFO>\n'


def settings(operations):
    return "<ENV-SETTINGS>\n  <ENV-GROUP>\n    <PATTERN/>\n%s  </ENV-GROUP>\n</ENV-SETTINGS>\n" % operations


def recipe(commands):
    return "<RECIPE>\n  <STEP>\n    <PATTERN/>\n%s  </STEP>\n</RECIPE>\n" % commands


def insert(number, i):
    name = "LD_LIBRARY_PATH" if i % 4 == 0 else "P%d_V%d" % (number, i)
    constraint = "<BEFORE>/usr/lib</BEFORE>" if i % 4 == 0 else ""
    return "    <ENV-INSERT><NAME>%s</NAME><VALUE>%%(BASE-CNVR)/v%d</VALUE>%s</ENV-INSERT>\n" % (name, i, constraint)


def remove(number, i):
    name = "LD_LIBRARY_PATH" if i % 4 == 0 else "P%d_V%d" % (number, i)
    return "    <ENV-REMOVE><NAME>%s</NAME><VALUE>%%(BASE-CN)/**</VALUE></ENV-REMOVE>\n" % name


def setenv(number, i, op):
    return '    <SETENV op="%s" name="P%d_R%d" value="%%(BASE-CNVR)/v%d"/>\n' % (op, number, i, i)


def files(number, parts, operations):
    some = range(operations)
    return {
        "product.xml": INFO,
        "partlist.xml": "<PARTLIST>\n  <PARTSPEC><PATTERN/><PARTS>\n%s  </PARTS></PARTSPEC>\n</PARTLIST>\n"
        % "".join('    <PRODUCT name="p%d"><PATTERN/></PRODUCT>\n' % part for part in parts),
        "env.xml": settings("".join(insert(number, i) for i in some)),
        "unenv.xml": settings("".join(remove(number, i) for i in some)),
        "setup.xml": recipe("".join(setenv(number, i, "set") for i in some)),
        "prep.xml": recipe("".join(setenv(number, i, "append") for i in some)),
        "unset.xml": recipe("".join(setenv(number, i, "delete") for i in some)),
    }


def lay_out(root, products, operations):
    for number in range(products):
        first = number - number % 10
        parts = [] if number == first else [first] if number == first + 1 else [first, first + 1]
        directory = "%s/c%d/p%d/1/1" % (root, number // 10, number)
        os.makedirs(directory)
        for name, content in files(number, parts, operations).items():
            with open(directory + "/" + name, "w", encoding="utf-8") as file:
                file.write(content)


def memory_of(process):
    """In KiB, with all that it has started."""
    total = 0
    children = [process]
    while children:
        one = children.pop()
        try:
            with open("/proc/%d/smaps_rollup" % one, encoding="ascii") as file:
                total += sum(int(line.split()[1]) for line in file if line.startswith("Pss:"))
            with open("/proc/%d/task/%d/children" % (one, one), encoding="ascii") as file:
                children += map(int, file.read().split())
        except OSError:
            pass
    return total


def measure(program, root, memory):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    start = time.monotonic()
    with subprocess.Popen([program, "check", root], stdout=subprocess.DEVNULL) as process:
        most = 0
        while memory and process.poll() is None:
            most = max(most, memory_of(process.pid))
            time.sleep(0.05)
    wall = time.monotonic() - start
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    cpu = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
    return wall, cpu, most / 1024, process.returncode


parser = argparse.ArgumentParser()
parser.add_argument("products", type=int, nargs="*", default=[1000, 10000])
parser.add_argument("--program", default=SOURCE + "/build/release/zor")
parser.add_argument("--operations", type=int, default=20)
parser.add_argument("--memory", action="store_true")
options = parser.parse_args()
for count in options.products:
    root = tempfile.mkdtemp(prefix="zor-check-")
    try:
        lay_out(root, count, options.operations)
        wall, cpu, memory, status = measure(options.program, root, options.memory)
        print("%d products: %.2f s, %.2f s of processors, status %d" % (count, wall, cpu, status)
              + (", %.0f MiB" % memory if options.memory else ""))
    finally:
        shutil.rmtree(root)
