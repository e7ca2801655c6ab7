"""The frei0r plug-in in ffmpeg, in melt and called directly: its pictures are those of `vorlin render`.
usage: frei0r_test.py VORLIN PLUGIN"""
import ctypes
import json
import os
import subprocess
import sys
import tempfile
import threading
from pathlib import Path

WIDTH, HEIGHT, RATE, FRAMES = 320, 180, 25, 50
vorlin, plugin = sys.argv[1:]
os.chdir(folder := tempfile.mkdtemp())
os.environ.update(FREI0R_PATH=str(Path(plugin).parent), QT_QPA_PLATFORM="offscreen")
name = Path(plugin).stem
SCENE = {"layer": "in.####.png", "duration": 2, "frame_rate": RATE,
         "controls": {"Brush Position": {"keys": [{"time": 0, "value": [20, 20]}, {"time": 1.9, "value": [300, 150]}]},
                      "Stroke Width": 12, "Density": 60}}
Path("scene.json").write_text(json.dumps(SCENE))
Path("profile").write_text(f"""description=test
frame_rate_num={RATE}
frame_rate_den=1
width={WIDTH}
height={HEIGHT}
progressive=1
sample_aspect_num=1
sample_aspect_den=1
display_aspect_num=16
display_aspect_den=9
colorspace=709
""")


def run(*command):
    done = subprocess.run(command, capture_output=True, text=True, timeout=300)
    assert done.returncode == 0, (command, done.stderr[-2000:])
    return done.stderr


def frames(source):
    raw = subprocess.run(["ffmpeg", "-v", "error", "-i", source, "-f", "rawvideo", "-pix_fmt", "rgba", "-"],
                         capture_output=True, check=True).stdout
    size = WIDTH * HEIGHT * 4
    return [raw[i:i + size] for i in range(0, len(raw), size)]


def rendered(*options):
    run(vorlin, "render", "scene.json", "-q", "-y", "-o", "ref.####.png", *options)
    return frames("ref.%04d.png")


run("ffmpeg", "-v", "error", "-f", "lavfi", "-i", f"testsrc2=size={WIDTH}x{HEIGHT}:rate={RATE}", "-frames:v", str(FRAMES),
    "-start_number", "0", "-pix_fmt", "rgba", "in.%04d.png")
run("ffmpeg", "-v", "error", "-framerate", str(RATE), "-i", "in.%04d.png", "-c:v", "png", "in.mov")
layer = frames("in.mov")
wanted = rendered("--over", "layer")
assert len(wanted) == FRAMES and wanted[40] != layer[40]

# In the programs, every frame.
run("ffmpeg", "-v", "error", "-i", "in.mov", "-vf", f"format=rgba,frei0r=filter_name={name}:filter_params=scene.json",
    "-c:v", "png", "ffmpeg.mov")
assert frames("ffmpeg.mov") == wanted, "ffmpeg"
run("melt", "-profile", "./profile", "in.mov", "-filter", f"frei0r.{name}", "Scene=scene.json", "-consumer",
    "avformat:melt.mkv", "vcodec=ffv1", "pix_fmt=bgra", "mlt_image_format=rgba", "an=1", "real_time=-2")
assert frames("melt.mkv") == wanted, "melt"

# Called directly: out of order, alone, by two instances on two threads, in seconds and in milliseconds.
library = ctypes.CDLL(plugin)
library.f0r_construct.restype = ctypes.c_void_p
for function, types in {"set_param_value": [ctypes.c_void_p, ctypes.c_int],
                        "update": [ctypes.c_double, ctypes.c_char_p, ctypes.c_char_p], "destruct": []}.items():
    getattr(library, f"f0r_{function}").argtypes = [ctypes.c_void_p, *types]


class Instance:
    def __init__(self, scene="scene.json", **parameters):
        self.it = library.f0r_construct(WIDTH, HEIGHT)
        self.set(0, ctypes.c_char_p(scene.encode()))
        for index, value in parameters.items():
            self.set(int(index[1:]), value)

    def set(self, index, value):
        library.f0r_set_param_value(self.it, ctypes.byref(value), index)

    def draw(self, frame, unit=1.0):
        out = ctypes.create_string_buffer(WIDTH * HEIGHT * 4)
        library.f0r_update(self.it, frame / RATE * unit, layer[frame], out)
        return out.raw

    def __del__(self):
        library.f0r_destruct(self.it)


one = Instance()
for frame in (40, 3, 41, 42, 0):
    assert one.draw(frame) == wanted[frame], frame
for unit in (1, 1000):
    for frame in (1, 7, 49):
        assert Instance().draw(frame, unit) == wanted[frame], (frame, unit)
    many = Instance()
    assert [many.draw(f, unit) for f in range(FRAMES)] == wanted, unit
counting = Instance()
for frame in range(4):  # a host whose times are none
    out = ctypes.create_string_buffer(WIDTH * HEIGHT * 4)
    library.f0r_update(counting.it, float("nan"), layer[frame], out)
    assert out.raw == wanted[frame], frame


def draw_all(results, key):
    instance = Instance()
    results[key] = [instance.draw(f) for f in range(0, FRAMES, 7)]


results = {}
threads = [threading.Thread(target=draw_all, args=(results, key)) for key in range(2)]
for thread in threads:
    thread.start()
for thread in threads:
    thread.join()
assert results[0] == results[1] == wanted[::7]

# Parameters lie over the scene; the stroke alone; a scene that cannot be used leaves the picture.
honey = ctypes.c_char_p(b"honey")
assert Instance(p1=honey).draw(30) == rendered("--over", "layer", "--preset", "honey")[30]
assert Instance(p5=ctypes.c_double(0.2)).draw(30) == rendered("--over", "layer", "--set", "Stroke Width=20")[30]
assert Instance(p4=ctypes.c_double(1)).draw(30) == rendered()[30]
for broken in ("missing.json", "profile", ""):
    assert Instance(broken).draw(30) == layer[30], broken
said = run("ffmpeg", "-v", "error", "-i", "in.mov", "-vf", f"format=rgba,frei0r=filter_name={name}:filter_params=no.json",
           "-f", "null", "-")
assert said == 'vorlin: error: cannot read "no.json": No such file or directory\n', said
subprocess.run(["rm", "-r", folder], check=True)
print(f"frei0r: {FRAMES} frames each of ffmpeg and melt, alone, in any order and on two threads")
