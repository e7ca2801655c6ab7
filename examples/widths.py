"""One frame at several widths of the stroke, side by side: widths.py PICTURE.png

Run it where the module is: installed, or with PYTHONPATH=build/release/app/python.
"""

import subprocess
import sys

import numpy
import vorlin

# A layer of our own: red rises to the right, green downwards.
height, width = 270, 480
y, x = numpy.mgrid[0:height, 0:width]
layer = numpy.stack([x * 255 // width, y * 255 // height, numpy.full_like(x, 140)], axis=2).astype(numpy.uint8)

scene = vorlin.Scene(layer=layer, frame_rate=30, duration=3)
scene.apply("mercury")
t = numpy.linspace(0, 2.9, 60)
scene["Brush Position"] = [(float(s), (60 + 124 * float(s), 135 + 70 * float(numpy.sin(2.4 * s)))) for s in t]

strip = []
for stroke_width in (7, 12, 18):
    scene["Stroke Width"] = stroke_width
    strip.append(scene.render(89, over="layer"))
picture = numpy.concatenate(strip, axis=1)

high, wide, _ = picture.shape
command = ["ffmpeg", "-v", "error", "-y", "-f", "rawvideo", "-pix_fmt", "rgba", "-video_size", f"{wide}x{high}", "-i", "-",
           "-frames:v", "1", sys.argv[1]]
subprocess.run(command, input=picture.tobytes(), check=True)
