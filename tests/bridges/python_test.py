"""The Python module: the pixels of `vorlin render`, its errors, and nothing left behind."""
import os
import re
import resource
import signal
import subprocess
import threading
import time

import numpy
import pytest
import vorlin

PROGRAM = os.environ["VORLIN"]
SCENES = os.environ["SCENES"]


@pytest.fixture
def scene():
    return vorlin.Scene(f"{SCENES}/honey.json")


def rendered(folder, *options, kind="png", pixels="rgba", channel="u1"):
    file = folder / f"a.{kind}"
    subprocess.run([PROGRAM, "render", f"{SCENES}/honey.json", "-F", "60", "-q", "-y", "-o", file, *options], check=True)
    raw = subprocess.run(["ffmpeg", "-v", "error", "-i", file, "-f", "rawvideo", "-pix_fmt", pixels, "-"],
                         capture_output=True, check=True).stdout
    return numpy.frombuffer(raw, channel)


@pytest.mark.parametrize("arguments, options, format", [
    ({}, [], {}),
    ({"over": "layer"}, ["--over", "layer"], {}),
    ({"over": "#203040"}, ["--over", "#203040"], {}),
    ({"depth": 16}, ["--depth", "16"], {"pixels": "rgba64le", "channel": "<u2"}),
    ({"depth": 32}, ["--depth", "32", "--alpha", "straight"],
     {"kind": "exr", "pixels": "gbrapf32le", "channel": "<f4"}),
    ({"depth": 32, "premultiplied": True}, ["--depth", "32"],
     {"kind": "exr", "pixels": "gbrapf32le", "channel": "<f4"}),
    ({"what": "field"}, ["--pass", "field"], {"kind": "exr", "pixels": "grayf32le", "channel": "<f4"}),
])
def test_pixels_are_those_of_the_program(scene, tmp_path, arguments, options, format):
    array = scene.render(60, **arguments)
    wanted = rendered(tmp_path, *options, **format)
    if "gbrap" in format.get("pixels", ""):  # planes of green, blue, red, alpha
        wanted = wanted.reshape(4, scene.height, scene.width)[[2, 0, 1, 3]].transpose(1, 2, 0)
    assert array.shape[:2] == (scene.height, scene.width)
    assert numpy.array_equal(array.ravel(), wanted.ravel())


def test_controls_are_set_read_and_saved(scene, tmp_path):
    assert (scene.frames, scene.frame_rate) == (90, 30)
    names = [control["name"] for control in vorlin.controls() if "default" in control]
    assert "Stroke Width" in names and "honey" in vorlin.looks()
    keys = [(0.0, (200, 540)), (2.5, (1700, 400))]
    scene["Stroke Width"] = 6.5
    scene["Brush Position"] = keys
    scene["Paint Style"] = "Wobbly"
    assert (scene["Stroke Width"], scene["Brush Position"], scene["Paint Style"]) == (6.5, keys, "Wobbly")
    scene.apply("neon")
    scene.save(str(tmp_path / "new.json"))
    again = vorlin.Scene(str(tmp_path / "new.json"))
    assert numpy.array_equal(again.render(60), scene.render(60))
    del scene["Stroke Width"]
    assert scene["Stroke Width"] == 4
    for name in names:  # what is read can be set
        value = scene[name]
        scene[name] = value
        assert scene[name] == value


@pytest.mark.parametrize("kind, white", [(numpy.uint8, 255), (numpy.uint16, 65535), (numpy.float32, 1)])
def test_layers_are_arrays(kind, white):
    pixels = numpy.zeros((40, 80, 3), kind)
    pixels[:, 40:, 0] = white
    for layer in (pixels, pixels[::-1, ::2].repeat(2, axis=1)):
        scene = vorlin.Scene(layer=layer, frame_rate=25, duration=2)
        assert (scene.width, scene.height, scene.frames) == (80, 40, 50)
        over = scene.render(0, depth=8, over="layer")
        assert over[5, 5].tolist() == [0, 0, 0, 255] and over[5, 70].tolist() == [255, 0, 0, 255]


@pytest.mark.parametrize("act, said", [
    (lambda s: s.__setitem__("Stroke Widht", 3), 'unknown control "Stroke Widht"; did you mean "Stroke Width"?'),
    (lambda s: s.__setitem__("Density", 700), '"Density" is 700, but must be from 0 to 200'),
    (lambda s: s.__setitem__("Density", object()), "a control's value is a number"),
    (lambda s: s.render(1, depth=12), "a depth is 8, 16 or 32 bits, not 12"),
    (lambda s: s.render(1, what="shape"), 'what is "picture" or "field"'),
    (lambda s: s.save("/no/folder/a.json"), 'cannot write "/no/folder/a.json"'),
    (lambda s: vorlin.Scene("no.json"), 'cannot read "no.json"'),
    (lambda s: vorlin.Scene(), "a scene is made of a file or of a layer"),
    (lambda s: vorlin.Scene(layer=numpy.zeros((4, 4))), "a layer's shape is"),
])
def test_errors_are_those_of_the_program(scene, act, said):
    with pytest.raises(vorlin.Error, match="(?s).*" + re.escape(said)):
        act(scene)
    assert scene["Density"] == 25  # what was good is still there


def test_nothing_is_left_behind():
    scene = vorlin.Scene(layer=numpy.zeros((90, 160, 4), numpy.uint8), duration=2)
    scene["Brush Position"] = [(0, (5, 5)), (1.9, (150, 80))]
    for _ in range(100):
        scene.render(50)
    before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    for i in range(1000):
        scene.render(i % 60, depth=(8, 16, 32)[i % 3])
    assert resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - before < 8 << 10  # KiB: 57 MB of arrays go through


def test_others_run_meanwhile_and_interrupts_cancel(scene):
    scene["Stroke Width"] = 60
    wanted = scene.render(80)
    results = []
    threads = [threading.Thread(target=lambda: results.append(scene.render(80))) for _ in range(3)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert all(numpy.array_equal(result, wanted) for result in results) and len(results) == 3
    threads = [threading.Thread(target=lambda: results.append(scene.render(80))) for _ in range(3)]
    for thread in threads:
        thread.start()
    for width in range(20, 60):  # each frame is that of some width
        scene["Stroke Width"] = width
    for thread in threads:
        thread.join()
    scene["Stroke Width"] = 60
    assert len(results) == 6 and all(result.shape == wanted.shape for result in results)
    scene["Stroke Width"] = 1000
    scene["Density"] = 200
    threading.Timer(0.3, os.kill, (os.getpid(), signal.SIGINT)).start()
    with pytest.raises(KeyboardInterrupt):
        while True:  # a frame takes a second or so; the signal comes in one of them
            scene.render(80)
    time.sleep(0.1)
    scene["Stroke Width"] = 60
    del scene["Density"]
    assert numpy.array_equal(scene.render(80), wanted)
