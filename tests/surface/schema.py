#!/usr/bin/env python3
"""Scenes and presets against `vorlin schema`, judged by an independent validator.

usage: schema.py VORLIN SOURCE
"""
import json
import re
import subprocess
import sys
import tempfile
from pathlib import Path

import jsonschema

vorlin, source = sys.argv[1], Path(sys.argv[2])
failures = []


def schema(*options):
    return json.loads(subprocess.run([vorlin, "schema", *options], check=True, capture_output=True).stdout)


def read(path):
    """JSON with comments that stand on lines of their own."""
    return json.loads(re.sub(r"^\s*//.*$", "", path.read_text(), flags=re.M))


def complaints(value, rules):
    return [e.message for e in jsonschema.Draft202012Validator(rules).iter_errors(value)]


def check(folder, name, rules):
    """The folder's files obey the rules and name their schema, which is the program's own."""
    jsonschema.Draft202012Validator.check_schema(rules)
    if read(folder / name) != rules:
        failures.append(f"{name} is stale: make schemas")
    files = [f for f in sorted(folder.glob("*.json")) if f.name != name]
    for file in files:
        value = read(file)
        failures.extend(f"{file.name}: {why}" for why in complaints(value, rules))
        if value.get("$schema") != name:
            failures.append(f"{file.name} does not name {name}")
    return len(files)


scene_rules = schema()
scenes = check(source / "scenes", "scene.schema.json", scene_rules)
presets = check(source / "presets", "preset.schema.json", schema("--preset"))
if scenes < 9 or presets < 6:
    failures.append(f"only {scenes} scenes and {presets} presets")

# Wrong scenes: the schema and the program refuse the same.
layer = str(source / "scenes" / "dusk.jpg")
WRONG = [
    {},
    {"duration": 3},
    {"layer": layer},
    {"layer": 5, "duration": 3},
    {"layer": layer, "duration": "3 s"},
    {"layer": layer, "duration": 3, "framerate": 30},
    {"layer": layer, "duration": 3, "pixel_aspect": [1]},
    *({"layer": layer, "duration": 3, "controls": c} for c in (
        [],
        {"Densty": 4},
        {"Density": 201},
        {"Stroke Width": -1},
        {"Stroke Width": "6"},
        {"Paint Style": "Wobly"},
        {"Light Color": "red"},
        {"Light Color": "#12345"},
        {"Brush Position": [1]},
        {"Brush Position": {"keys": []}},
        {"Brush Position": {"keys": [{"value": [1, 2]}]}},
        {"Density": {"keys": [{"time": 0, "value": 4, "ease": "bouncy"}]}},
        {"Density": {"keys": [{"time": 0, "value": 4, "in_tangent": [1, 2]}]}},
        {"Paint Style": {"keys": [{"time": 0, "value": "Plain", "value2": 1}]}},
    )),
    *({"layer": layer, "duration": 3, "lights": [light]} for light in (
        {},
        {"type": "lamp"},
        {"type": "point"},
        {"type": "ambient", "position": [1, 2, 3]},
        {"type": "spot", "position": [1, 2, 3], "cone_angle": 181},
    )),
]
with tempfile.TemporaryDirectory() as folder:
    file = Path(folder) / "wrong.json"
    for scene in WRONG:
        file.write_text(json.dumps(scene))
        run = subprocess.run([vorlin, "check", str(file)], capture_output=True, text=True)
        if not complaints(scene, scene_rules):
            failures.append(f"the schema accepts {scene}")
        if run.returncode != 2:
            failures.append(f"vorlin check ends with {run.returncode} for {scene}")

print(*failures, sep="\n")
print(f"{scenes} scenes, {presets} presets and {len(WRONG)} wrong scenes checked")
sys.exit(bool(failures))
