#!/usr/bin/env python3
"""Scenes and presets against `vorlin schema`, judged by an independent validator, and the tables of docs/scene.md.

usage: schema.py VORLIN SOURCE
"""
import json
import re
import subprocess
import sys
import tempfile
from pathlib import Path

import jsonschema

vorlin, source = sys.argv[1], Path(sys.argv[2]).resolve()
failures = []


def schema(*options):
    return subprocess.run([vorlin, "schema", *options], check=True, capture_output=True, text=True).stdout


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


scene_rules = json.loads(schema())
scenes = check(source / "scenes", "scene.schema.json", scene_rules)
presets = check(source / "presets", "preset.schema.json", json.loads(schema("--preset")))
if scenes < 9 or presets < 6:
    failures.append(f"only {scenes} scenes and {presets} presets")
page = source / "docs" / "scene.md"
if schema("--page", str(page)) != page.read_text():
    failures.append(f"{page.name} is stale: make schemas")

# Whole scenes, which the schema and the program must judge alike.
WHOLE = {"layer": str(source / "scenes" / "dusk.jpg"), "duration": 3}


def scene(**keys):
    return {**WHOLE, **keys}


def control(name, value):
    return scene(controls={name: value})


def keyed(name, value, **more):
    return control(name, {"keys": [{"time": 0, "value": value, **more}]})


def examples(properties):
    return {name: rules["examples"][0] for name, rules in properties.items() if "examples" in rules}


key_examples = {name.removeprefix("key_"): rules["examples"][0]
                for name, rules in scene_rules["$defs"].items() if name.startswith("key_")}
RIGHT = [
    *(scene(**{key: value}) for key, value in examples(scene_rules["properties"]).items() if key != "layer"),
    *(scene(lights=[examples(light["properties"])]) for light in scene_rules["properties"]["lights"]["items"]["oneOf"]),
    keyed("Brush Position", [1, 2], **key_examples),
    control("Roughness", 0.001),
    control("Density", 200),
    control("Light Direction", -4000.5),
    scene(frame_rate="29.97"),
    {"layer": WHOLE["layer"]},
    scene(lights=[{"type": "parallel"}]),
]
WRONG = [
    {},
    {"duration": 3},
    scene(layer=5),
    scene(duration="3 s"),
    scene(duration=0),
    scene(framerate=30),
    scene(frame_rate="fast"),
    scene(frame_rate=0),
    *(scene(pixel_aspect=a) for a in ([1], [1, 0], [1.5, 1])),
    scene(controls=[]),
    *(control(name, value) for name, value in (
        ("Densty", 4), ("Density", 201), ("Roughness", 0.0009), ("Stroke Width", -1), ("Stroke Width", "6"),
        ("Light Direction", 40000), ("Paint Style", "Wobly"), ("Light Color", "red"), ("Light Color", "#12345"),
        ("Brush Position", [1]), ("Brush Position", [1, 40000]), ("Brush Position", {"keys": []}),
        ("Brush Position", {"keys": [{"value": [1, 2]}]}))),
    keyed("Density", 4, ease="bouncy"),
    keyed("Density", 4, out=[1.1, 0]),
    keyed("Density", 4, in_tangent=[1, 2]),
    keyed("Density", 201),
    keyed("Using", "AE Lights"),
    *(scene(lights=[light]) for light in (
        {},
        {"type": "lamp"},
        {"type": "point"},
        {"type": "ambient", "position": [1, 2, 3]},
        {"type": "spot", "position": [1, 2, 3], "cone_angle": 181},
        {"type": "spot", "position": [1, 2, 3], "cone_feather": {"keys": [{"time": 0, "value": -1}]}},
    )),
]
with tempfile.TemporaryDirectory() as folder:
    file = Path(folder) / "scene.json"
    for value, code in [(v, 0) for v in RIGHT] + [(v, 2) for v in WRONG]:
        file.write_text(json.dumps(value))
        run = subprocess.run([vorlin, "check", str(file)], capture_output=True, text=True)
        if bool(complaints(value, scene_rules)) != bool(code):
            failures.append(f"the schema {'accepts' if code else 'refuses'} {value}")
        if run.returncode != code:
            failures.append(f"vorlin check ends with {run.returncode} for {value}: {run.stderr}")

print(*failures, sep="\n")
print(f"{scenes} scenes, {presets} presets, {len(RIGHT)} right and {len(WRONG)} wrong scenes checked")
sys.exit(bool(failures))
