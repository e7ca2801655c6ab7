"""The studio's server, without a browser: what it keeps, what it refuses, and what it survives."""
import http.client
import json
import math
import os
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

PROGRAM, SCENES = sys.argv.pop(1), Path(sys.argv.pop(1))

SCENE = """// A scene of mine.
{
  "layer": "layer.jpg", // the plate
  "duration": 1,
  "controls": {
    /* thin */ "Stroke Width": 6,
    "Brush Position": {
      "keys": [
        {"time": 0, "value": [10, 20]}, // here it begins
        {"time": 0.5, "value": [300, 200]},
        {"time": 0.9, "value": [600, 100]} // and ends
      ]
    },
    "Density": 30 // close
  }
}
"""


class Studio:
    """A running server, and a page's requests to it."""

    def __init__(self, file, *options):
        self.process = subprocess.Popen([PROGRAM, "studio", "--no-open", file, *options], stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, text=True)
        said = self.process.stdout.readline() + self.process.stdout.readline()
        found = re.search(r"http://(127\.0\.0\.1:(\d+))/\?token=(\w+)", said)
        assert found, said + self.process.stderr.read()
        self.host, self.port, self.token = found[1], int(found[2]), found[3]
        self.cookie = f"vorlin-{self.port}={self.token}"
        self.revision = ""
        self.ask("state")

    def request(self, method, path, body="", **headers):
        given = {"Origin": f"http://{self.host}", "Cookie": self.cookie} | {k.replace("_", "-"): v for k, v in headers.items()}
        line = http.client.HTTPConnection("127.0.0.1", self.port, timeout=20)
        line.request(method, path, body, {k: v for k, v in given.items() if v is not None})
        response = line.getresponse()
        answer = response.status, response.read(), response.headers
        line.close()
        return answer

    def post(self, what, **request):
        status, body, _ = self.request("POST", f"/api/{what}", json.dumps(request))
        if what == "picture":
            return status, body
        answer = json.loads(body)
        self.revision = answer.get("revision", self.revision)
        return status, answer

    def ask(self, what, **request):
        status, answer = self.post(what, **request)
        assert status == 200, answer
        return answer

    def edit(self, *edits):
        return self.post("edit", revision=self.revision, name="test", edits=edits)

    def worker(self):
        children = Path(f"/proc/{self.process.pid}/task/{self.process.pid}/children").read_text().split()
        return int(children[0])

    def stop(self, how=signal.SIGINT):
        self.process.send_signal(how)
        self.process.wait(20)
        for pipe in (self.process.stdout, self.process.stderr):
            pipe.close()


class StudioTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        shutil.copy(SCENES / "dusk.jpg", self.folder / "layer.jpg")
        self.file = self.folder / "scene.json"
        self.file.write_text(SCENE)

    def start(self, *options):
        studio = Studio(self.file, *options)
        self.addCleanup(lambda: studio.process.returncode is None and studio.stop())
        return studio

    def names(self):
        return sorted(entry.name for entry in self.folder.iterdir())

    def test_edits_change_what_they_name_and_keep_the_rest(self):
        width, keys = ["controls", "Stroke Width"], ["controls", "Brush Position", "keys"]
        for edit, old, new in [
            ({"path": width, "set": 7.25}, '"Stroke Width": 6', '"Stroke Width": 7.25'),
            ({"path": ["controls", "Ambient"], "set": 50}, "30 // close\n", '30, // close\n    "Ambient": 50\n'),
            ({"path": ["controls", "Density"], "remove": True}, '},\n    "Density": 30 // close\n', "}\n"),
            ({"path": width, "remove": True}, '    /* thin */ "Stroke Width": 6,\n', "    /* thin */ \n"),
            ({"path": [*keys, 1, "value"], "set": [301.5, 200]}, "[300, 200]", "[301.5, 200]"),
            ({"path": [*keys, 1], "remove": True}, '        {"time": 0.5, "value": [300, 200]},\n', ""),
            ({"path": [*keys, 2], "remove": True}, ',\n        {"time": 0.9, "value": [600, 100]} // and ends\n', "\n"),
            ({"path": [*keys, 1], "insert": {"value": [5, 5], "time": 0.25}}, '{"time": 0.5',
             '{"time": 0.25, "value": [5, 5]},\n        {"time": 0.5'),
            ({"path": [*keys, 3], "insert": {"value": [5, 5], "time": 1 / 3 + 1}}, "[600, 100]} // and ends\n",
             '[600, 100]}, // and ends\n        {"time": 1.3333333333333333, "value": [5, 5]}\n'),
            ({"path": ["lights"], "set": [{"type": "ambient", "color": "#ff0000"}]}, "// close\n  }\n",
             '// close\n  },\n  "lights": [\n    {"type": "ambient", "color": "#ff0000"}\n  ]\n'),
        ]:
            with self.subTest(edit=edit):
                self.assertEqual(SCENE.count(old), 1)
                self.file.write_text(SCENE)
                studio = self.start()
                self.assertEqual(studio.edit(edit)[0], 200)
                studio.ask("save")
                self.assertEqual(self.file.read_text(), SCENE.replace(old, new))
                studio.stop()

    def test_wrong_edits_are_told_as_the_program_tells_them(self):
        studio = self.start()
        for edit, said in [
            ({"path": ["controls", "Density"], "set": 700}, 'scene.json:14:16: "Density" is 700, but must be from 0 to 200'),
            ({"path": ["controls", "Densitty"], "set": 7}, 'unknown control "Densitty"; did you mean "Density"?'),
            ({"path": ["layer"], "set": "none.png"}, "none.png"),
            ({"path": ["layer"], "set": "../x.png"}, "\"../x.png\" is not in the scene's own folder"),
            ({"path": ["layer"], "set": "/etc/passwd"}, "\"/etc/passwd\" is not in the scene's own folder"),
            ({"path": ["controls", "Density", "keys", 4], "remove": True}, "there is no"),
            ({"path": [], "set": 1}, "an edit needs a path"),
            ({"path": ["duration"], "set": {"a": {}}}, "expected a number"),
            ({"look": "hony"}, 'there is no preset "hony"; did you mean "honey"?'),
            ({"look": "../honey"}, 'there is no look "../honey"'),
            ({"draw": {"points": [[0, 1, 1]]}}, "two points"),
            ({"draw": {"points": [[0, 1, 1], [0, 2, 2]]}}, "times must rise"),
            ({"drawing": {"name": "a.svg", "text": "<svg><path d='M0 0 Q'/></svg>"}}, "a.svg:1:7: SVG path"),
            ({"what": 1}, "not understood"),
        ]:
            status, answer = studio.edit(edit)
            self.assertEqual(status, 400, answer)
            self.assertIn(said, answer["error"])
        self.assertEqual(studio.ask("state")["undo"], "")
        for bad in ("", "[]", "{", '{"a":' * 200, "\xff"):
            self.assertEqual(studio.request("POST", "/api/edit", bad.encode("latin1"))[0], 400)

    def test_everything_is_undone_and_done_again(self):
        studio = self.start()
        revisions = [studio.revision]
        for edit in ({"look": "honey"}, {"path": ["duration"], "set": 2}, {"look": ""},
                     {"draw": {"points": [[i / 60, 9 * i, 50] for i in range(60)], "goesOn": True, "start": 1}}):
            self.assertEqual(studio.edit(edit)[0], 200)
            revisions.append(studio.revision)
        self.assertEqual(len(set(revisions)), 5)
        for wanted in (*revisions[-2::-1], revisions[0]):
            self.assertEqual(studio.ask("undo")["revision"], wanted)
        self.assertTrue(studio.ask("state")["saved"])
        for wanted in (*revisions[1:], revisions[-1]):
            self.assertEqual(studio.ask("redo")["revision"], wanted)

    def test_strokes_become_few_keys_that_follow_the_hand(self):
        def hand(t):
            return [480 + 300 * math.sin(2.1 * t), 270 + 150 * math.sin(3.7 * t + 1)]
        studio = self.start()
        points = [[i / 120, *hand(i / 120)] for i in range(361)]
        state = studio.edit({"draw": {"points": points, "start": 0.5}})[1]
        self.assertLessEqual(len(state["scene"]["controls"]["Brush Position"]["keys"]), 30)
        self.assertEqual(state["frames"], 106)  # 0.5 s + 3 s, and the frame in which it is done
        for i in range(0, 91):
            at = studio.ask("state", frame=15 + i)["values"]["Brush Position"]
            self.assertLess(math.dist(at, hand(i / 30)), 1.5)
        more = studio.edit({"draw": {"points": [[0, 9, 9], [0.4, 99, 9], [1, 199, 9]], "start": 3.6, "goesOn": True, "length": 2}})[1]
        self.assertEqual(len(more["scene"]["pen"]), 2)
        (_, up), (down, end) = more["scene"]["pen"]
        self.assertGreater(down * 30, up * 30 + 0.99)  # up for a whole frame, down for whole frames
        self.assertAlmostEqual(down * 30, round(down * 30), 6)
        self.assertAlmostEqual(end - down, 2, 6)
        rest = studio.edit({"draw": {"points": [[0, 9, 9], [0.1, 50, 9], [1.1, 60, 9], [1.2, 99, 9]]}})[1]
        self.assertLess(math.dist(studio.ask("state", frame=24)["values"]["Brush Position"], [50, 9]), 3)  # it waited
        self.assertNotIn("pen", rest["scene"])

    def test_pictures_are_those_of_render_and_the_newest_is_wanted(self):
        studio = self.start()
        studio.edit({"look": "honey"}, {"path": ["controls", "Paint Style"], "set": "Wobbly"})
        status, pixels = studio.post("picture", frame=20, scale=[1, 1], over="layer", format="raw", lane="a")
        studio.ask("save")
        subprocess.run([PROGRAM, "render", self.file, "-F", "20", "--over", "layer", "-q", "-o", self.folder / "a.png"], check=True)
        raw = ["ffmpeg", "-v", "error", "-i", self.folder / "a.png", "-f", "rawvideo", "-pix_fmt", "rgba", "-"]
        self.assertEqual((status, pixels), (200, subprocess.run(raw, stdout=subprocess.PIPE, check=True).stdout))
        preview = studio.post("picture", frame=20, scale=[1, 1], over="layer", format="raw", lane="a",
                              edits=[{"path": ["controls", "Stroke Width"], "set": 30}])[1]
        self.assertNotEqual(preview, pixels)
        self.assertTrue(studio.ask("state")["saved"])  # a preview changes nothing
        slow = {"path": ["controls", "Stroke Width"], "set": 400}
        lines = [http.client.HTTPConnection("127.0.0.1", studio.port, timeout=60) for _ in range(5)]
        for i, line in enumerate(lines):
            line.request("POST", "/api/picture", json.dumps({"frame": 20 + i, "scale": [1, 1], "over": "layer", "format": "raw", "lane": "b", "edits": [slow]}),
                         {"Origin": f"http://{studio.host}", "Cookie": studio.cookie})
            time.sleep(0.02)
        statuses = [line.getresponse().status for line in lines]
        for line in lines:
            line.close()
        self.assertEqual(statuses[-1], 200)
        self.assertGreaterEqual(statuses.count(204), 3)
        for scale, over in (([1, 0], "layer"), ([1, 65], "layer"), ([1], "layer"), ([1, 1], "/etc/passwd")):
            self.assertEqual(studio.post("picture", frame=0, scale=scale, over=over, format="raw", lane="")[0], 400)

    def test_work_survives_a_crash_and_others(self):
        studio = self.start()
        studio.edit({"path": ["controls", "Stroke Width"], "set": 9})
        studio.stop(signal.SIGKILL)
        studio = self.start()
        state = studio.ask("state")
        self.assertTrue(state["recovered"] and not state["saved"])
        self.assertEqual(state["scene"]["controls"]["Stroke Width"], 9)
        self.assertEqual(studio.ask("undo")["scene"]["controls"]["Stroke Width"], 6)
        self.assertEqual(self.names(), ["layer.jpg", "scene.json"])
        old = studio.revision
        studio.edit({"path": ["duration"], "set": 2})
        status, answer = studio.post("edit", revision=old, name="from another tab", edits=[{"path": ["duration"], "set": 3}])
        self.assertEqual((status, "another window" in answer["error"]), (409, True))
        self.file.write_text(SCENE.replace("30", "31"))
        for _ in range(50):
            if studio.ask("state")["outside"]:
                break
            time.sleep(0.1)
        status, answer = studio.post("save")
        self.assertEqual((status, "changed by another program" in answer["error"]), (400, True))
        self.assertEqual(studio.ask("reload")["scene"]["controls"]["Density"], 31)
        self.assertEqual(studio.ask("undo")["scene"]["duration"], 2)
        studio.ask("save")
        self.assertEqual(json.loads(re.sub(r"//.*|/\*.*?\*/", "", self.file.read_text()))["duration"], 2)
        os.kill(studio.worker(), signal.SIGKILL)
        wish = {"frame": 3, "scale": [1, 4], "over": "layer", "format": "jpeg", "lane": ""}
        answers = [studio.post("picture", **wish) for _ in range(2)]
        self.assertIn(b"signal 9", answers[0][1])
        self.assertEqual(answers[1][0], 200)

    def test_exports_are_those_of_render(self):
        studio = self.start()
        studio.edit({"look": "mercury"})
        for options, words in (({"output": "a.mov", "over": "layer"}, ["--over", "layer"]),
                               ({"output": "b.####.png", "depth": "16", "frames": "3-5"}, ["--depth", "16", "-F", "3-5"])):
            status = studio.ask("export", options=options)["export"]
            for _ in range(300):
                status = studio.ask("state")["export"]
                if not status["running"]:
                    break
                time.sleep(0.1)
            self.assertFalse(status.get("error"), status)
            studio.ask("save")
            name = "of_render_" + options["output"]
            subprocess.run([PROGRAM, "render", self.file, "-q", "-o", self.folder / name, *words], check=True)
            made = [n for n in self.names() if n.startswith(options["output"][:2])]
            self.assertEqual(len(made), 3 if "frames" in options else 1)
            for one in made:
                self.assertEqual((self.folder / one).read_bytes(), (self.folder / f"of_render_{one}").read_bytes(), one)
        for options, said in (({"output": "../x.mp4"}, "not a file in the scene's own folder"),
                              ({"output": "/tmp/x.mp4"}, "not a file in the scene's own folder"),
                              ({"output": "x.mp4", "effect": "/tmp/e.so"}, 'no option "effect"'),
                              ({"output": "x.mp4", "over": "/etc/passwd"}, "neither layer, checker nor a colour")):
            status, answer = studio.post("export", options=options)
            self.assertEqual(status, 400)
            self.assertIn(said, answer["error"])
        studio.ask("export", options={"output": "c.mp4", "supersample": "3"})
        time.sleep(0.5)
        studio.ask("cancel")
        for _ in range(600):
            if not studio.ask("state")["export"]["running"]:
                break
            time.sleep(0.1)
        self.assertTrue(studio.ask("state")["export"]["cancelled"])
        studio.ask("export", options={"output": "d.mp4", "supersample": "3"})
        studio.stop()
        self.assertFalse([n for n in self.names() if n.startswith((".", "c.", "d."))], self.names())

    def test_strangers_are_refused(self):
        studio = self.start()
        mine = {"Origin": f"http://{studio.host}"}
        for method, path, headers, wanted in [
            ("GET", "/", {}, 200),
            ("GET", "/style.css", {}, 200),
            ("GET", "/../../etc/passwd", {}, 404),
            ("GET", "/%2e%2e/etc/passwd", {}, 404),
            ("GET", "/", {"Cookie": None}, 403),
            ("GET", "/", {"Cookie": f"vorlin-{studio.port}=0"}, 403),
            ("GET", "/", {"Cookie": f"x-vorlin-{studio.port}={studio.token}"}, 403),
            ("GET", "/?token=" + "0" * 32, {"Cookie": None}, 403),
            ("GET", f"/?token={studio.token}", {"Cookie": None}, 303),
            ("GET", f"/?token={studio.token}", {"Cookie": None, "Sec-Fetch-Site": "cross-site"}, 403),
            ("GET", "/", {"Host": f"evil.example:{studio.port}"}, 421),
            ("GET", "/", {"Host": f"localhost:{studio.port}"}, 421),
            ("GET", "/main.js", {"Sec-Fetch-Site": "same-site"}, 403),
            ("POST", "/api/state", mine, 200),
            ("POST", "/api/state", {"Origin": None}, 403),
            ("POST", "/api/state", {"Origin": "http://evil.example"}, 403),
            ("POST", "/api/state", {"Origin": f"http://localhost:{studio.port}"}, 403),
            ("GET", "/api/state", {}, 404),
            ("PUT", "/api/state", mine, 405),
            ("DELETE", "/", {}, 405),
        ]:
            status, _, answered = studio.request(method, path, "{}" if method == "POST" else "", **headers)
            self.assertEqual(status, wanted, (method, path, headers))
            self.assertIn("frame-ancestors 'none'", answered["Content-Security-Policy"])
            self.assertEqual(answered["X-Content-Type-Options"], "nosniff")
        _, _, answered = studio.request("GET", f"/?token={studio.token}", Cookie=None)
        self.assertRegex(answered["Set-Cookie"], "HttpOnly; SameSite=Strict")
        self.assertEqual(answered["Location"], "/")
        self.assertEqual(studio.request("POST", "/api/look", json.dumps({"name": "../x"}))[0], 400)
        with self.assertRaises(OSError):  # it listens on the loopback address alone
            socket.create_connection(("127.0.0.2", studio.port), 1)

    def test_the_slow_and_the_many_do_not_stop_it(self):
        studio = self.start()

        def line(text=b""):
            one = socket.create_connection(("127.0.0.1", studio.port), 20)
            one.sendall(text)
            return one
        head = f"POST /api/state HTTP/1.1\r\nHost: {studio.host}\r\n".encode()
        for text, wanted in ((head + b"X: y\r\n" * 5000 + b"\r\n", b" 431 "), (head + b"Content-Length: 99999999\r\n\r\n", b" 413 "),
                             (b"\x16\x03\x01 what is this\r\n\r\n", b" 400 ")):
            with line(text) as one:
                self.assertIn(wanted, one.recv(4096))
        idle = [line() for _ in range(500)] + [line(head[:9]) for _ in range(50)]
        started = time.monotonic()
        self.assertEqual(studio.ask("state")["frames"], 30)
        slow = line(head)
        slow.settimeout(20)
        closed = 0
        while time.monotonic() - started < 15 and not closed:  # a byte now and then does not keep it open
            try:
                slow.sendall(b"x")
                time.sleep(0.5)
                closed = slow.recv(1, socket.MSG_DONTWAIT) == b""
            except BlockingIOError:
                continue
            except OSError:
                closed = True
        self.assertTrue(closed)
        for one in [*idle, slow]:
            one.close()
        self.assertEqual(studio.ask("state")["frames"], 30)

    def test_it_opens_and_ends_well(self):
        photo = Studio(self.folder / "layer.jpg")
        self.assertEqual(photo.ask("state")["name"], "layer.json")
        self.assertEqual(photo.edit({"draw": {"points": [[0, 5, 5], [0.2, 50, 90], [0.7, 400, 90]]}})[0], 200)
        photo.ask("save")
        photo.stop()
        self.assertEqual((photo.process.returncode, self.names()), (0, ["layer.jpg", "layer.json", "scene.json"]))
        for file, code, said in (("none.json", 3, 'cannot read'), ("none.jpg", 2, "none.jpg"), ("bad.json", 2, "bad.json:1:1:")):
            (self.folder / "bad.json").write_text("no")
            run = subprocess.run([PROGRAM, "studio", "--no-open", self.folder / file], capture_output=True, text=True, timeout=20)
            self.assertEqual((run.returncode, run.stderr.count("\n")), (code, 1), run.stderr)
            self.assertIn(said, run.stderr)
        environment = dict(os.environ, XDG_DATA_HOME=str(self.folder / "home"))
        with subprocess.Popen([PROGRAM, "studio", "--no-open"], env=environment, stdout=subprocess.PIPE, text=True) as sample:
            self.assertIn("home/vorlin/sample/honey.json", sample.stdout.readline())
            sample.send_signal(signal.SIGTERM)
            self.assertEqual(sample.wait(20), 0)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[1:]])
