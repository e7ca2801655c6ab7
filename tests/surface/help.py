#!/usr/bin/env python3
"""Every help text fits 80 columns, and every option in it works.

usage: help.py VORLIN SOURCE
"""
import re
import subprocess
import sys
import tempfile
from pathlib import Path

vorlin, source = sys.argv[1], Path(sys.argv[2])
failures = []


def run(*arguments):
    return subprocess.run([vorlin, *arguments], capture_output=True, text=True, stdin=subprocess.DEVNULL)


scene = str(source / "scenes" / "ribbon.json")
RENDER = ["render", scene, "--frames", "0", "-o", "o.png", "-y", "-q", "--downsample", "1/4"]
# What makes each option do its work, where it is more than the option itself. A command's other
# arguments stand under "".
WORKS = {
    "render": {
        "": RENDER,
        "--preset": ["honey"],
        "--set": ["Stroke Width=6"],
        "--output": ["p.png"],
        "--no-overwrite": lambda: ["render", scene, "-o", "new.png", "-q", "-n", "-F", "0", "--downsample", "1/4"],
        "--frames": ["1"],
        "--time": lambda: ["render", scene, "--time", "1.25s", "-o", "o.png", "-y", "-q", "--downsample", "1/4"],
        "--chunk": ["1/2"],
        "--depth": ["16"],
        "--compression": ["small"],
        "--stats": ["json"],
        "--alpha": ["premultiplied"],
        "--over": ["checker"],
        "--region": ["0,0,200,100"],
        "--downsample": ["1/8"],
        "--quality": ["draft"],
        "--effect": None,
        "--threads": ["1"],
        "--jobs": ["1"],
        "--pass": lambda: ["render", scene, "-F", "0", "-o", "field.exr", "--pass", "field", "-y", "-q"],
        "--trace": ["trace.txt"],
        "--progress": lambda: ["render", scene, "-F", "0", "-o", "o.png", "-y", "--progress", "json"],
    },
    "sheet": {
        "": ["sheet", scene, "-F", "0", "-o", "s.png", "-y", "-q"],
        "--output": ["t.png"],
        "--frames": ["0,1"],
        "--columns": ["2"],
        "--width": ["100"],
        "--preset": ["ink"],
        "--set": ["Metal=5"],
        "--over": ["#102030"],
        "--effect": None,
    },
    "about": {"": ["about"], "--effect": None},
    "controls": {"": ["controls"], "--effect": None},
    "check": {"": ["check", scene], "--effect": None},
    "schema": {"": ["schema"], "--effect": None},
    "import-path": {
        "": ["import-path", str(source / "scenes" / "drawing.svg")],
        "--id": ["path1"],
        "--from": ["0.5s"],
        "--to": ["2"],
        "--ease": ["smooth"],
        "--layer": [str(source / "scenes" / "dusk.jpg")],
        "--frame-rate": ["25"],
    },
    "completion": {"": ["completion", "bash"]},
}


def check_width(text, where):
    failures.extend(f"{where}: more than 80 columns: {line}" for line in text.splitlines() if len(line) > 80)


top = run("--help").stdout
check_width(top, "--help")
verbs = re.findall(r"^  (\S+)", top[top.index("Subcommands:"):], re.M)
if set(verbs) != set(WORKS):
    failures.append(f"commands: {sorted(set(verbs) ^ set(WORKS))} are only in one of the help and this test")
count = 0
with tempfile.TemporaryDirectory() as folder:
    import os
    os.chdir(folder)
    for verb in verbs:
        text = run(verb, "--help").stdout
        check_width(text, verb)
        flags = re.findall(r"^  (?:-\w, )?(--[\w-]+)", text, re.M)
        known = WORKS.get(verb, {})
        for flag in set(known) - set(flags) - {""}:
            failures.append(f"{verb}: there is no {flag}")
        for flag in flags:
            values = known.get(flag, [])
            if values is None:
                continue
            base = known.get("", [verb])
            # An option that the base has too is left to the case.
            if callable(values):
                arguments = values()
            else:
                arguments = list(base)
                if flag in arguments or {"--output": "-o", "--frames": "-F"}.get(flag) in arguments:
                    at = arguments.index(flag if flag in arguments else {"--output": "-o", "--frames": "-F"}[flag])
                    del arguments[at:at + 2]
                if not {"--overwrite": "-y", "--quiet": "-q"}.get(flag) in arguments:
                    arguments += [flag, *values]
            result = run(*arguments)
            count += 1
            if result.returncode != 0 or not (result.stdout or flag != "--help"):
                failures.append(f"vorlin {' '.join(arguments)}: {result.returncode}: {result.stderr.strip()}")
print(*failures, sep="\n")
print(f"{len(verbs)} commands, {count} options tried")
sys.exit(bool(failures))
