#!/usr/bin/python3
"""check_ci.py DIRECTORY: the action and the hook in it, run as their hosts run them.

The current directory is a warehouse with one warning in it.
"""
import os
import re
import shlex
import subprocess
import sys

import yaml


def run(words, more=None):
    return subprocess.run(words, env={**os.environ, **(more or {})}, capture_output=True, text=True, check=False)


with open(sys.argv[1] + "/.pre-commit-hooks.yaml", encoding="utf-8") as file:
    (hook,) = yaml.safe_load(file)
assert {"id", "name", "entry", "language"} <= set(hook), hook
assert re.search(hook["files"], "warehouse/tools/a/1/1/env.xml")
assert not re.search(hook["files"], "README.md")
result = run(shlex.split(hook["entry"]) + hook["args"])
assert result.returncode == 1 and "t/a/1/1/env.xml:2:13: warning:" in result.stdout, result

with open(sys.argv[1] + "/action.yml", encoding="utf-8") as file:
    action = yaml.safe_load(file)
assert {"name", "description", "runs"} <= set(action), action
assert action["runs"]["using"] == "composite"
(step,) = action["runs"]["steps"]
inputs = {name: entry["default"] for name, entry in action["inputs"].items()}


def act(**given):
    values = {**inputs, **given}
    filled = {
        name: re.sub(r"\$\{\{ inputs\.(\w+) \}\}", lambda found: values[found.group(1)], text)
        for name, text in step["env"].items()
    }
    assert not any("${{" in text for text in filled.values()), filled
    return run([step["shell"], "-e", "-c", step["run"]], {**filled, "GITHUB_WORKSPACE": os.getcwd()})


result = act()
assert result.returncode == 1 and result.stdout.startswith("::warning file=t/a/1/1/env.xml,line=2,"), result
assert act(severity="error").returncode == 0
assert act(rules="ZW101,ZW102").returncode == 0
known = run(["zor", "check", ".", "--format", "json"]).stdout
with open("known.json", "w", encoding="utf-8") as file:
    file.write(known)
assert act(baseline="known.json").returncode == 0
