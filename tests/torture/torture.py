#!/usr/bin/env python3
"""Mistreats the built program: killed at random instants, without room, with its output closed.

usage: torture.py VORLIN FAILING_CALLS PICTURE [--kills N] [--seed N]
"""
import argparse
import os
import random
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

SCENE = """{"layer": "plate.png", "frame_rate": 10, "duration": 1.2, "controls": {
  "Brush Position": {"keys": [{"time": 0, "value": [8, 18]}, {"time": 1.2, "value": [300, 180]}]},
  "Time Span (sec)": 0.5, "Density": 60}}"""
FRAMES = 12
failures = []


def expect(condition, what):
    if not condition:
        failures.append(what)
        print("FAILED:", what, flush=True)


def pictures(folder):
    return {p.name: p.read_bytes() for p in folder.glob("o.*.png")}


def alive(group):
    """Whether any process of the group is left, not even one that waits to be reaped."""
    for entry in Path("/proc").iterdir():
        if entry.name.isdigit():
            try:
                if int((entry / "stat").read_text().rpartition(")")[2].split()[2]) == group:
                    return True
            except OSError:
                pass
    return False


def gone(group, seconds):
    """Whether all processes of the group end in that time."""
    end = time.monotonic() + seconds
    while alive(group):
        if time.monotonic() > end:
            return False
        time.sleep(0.01)
    return True


class Torture:
    def __init__(self, vorlin, folder):
        self.vorlin = vorlin
        self.folder = folder
        (folder / "scene.json").write_text(SCENE)
        self.out = folder / "out"
        self.command = [vorlin, "render", str(folder / "scene.json"), "-o", str(self.out / "o.####.png"), "-j", "2"]

    def fresh(self):
        shutil.rmtree(self.out, ignore_errors=True)
        self.out.mkdir()

    def run(self, arguments, **options):
        return subprocess.run(arguments, capture_output=True, text=True, timeout=120, check=False, **options)

    def start(self, *more):
        return subprocess.Popen([*self.command, *more], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                start_new_session=True)

    def one_line(self, result, code, what):
        lines = result.stderr.splitlines()
        expect(result.returncode == code, f"{what}: ended with {result.returncode}, not {code}: {result.stderr[:200]}")
        expect(len(lines) == 1, f"{what}: said {lines}")

    def whole(self):
        self.fresh()
        begun = time.monotonic()
        result = self.run(self.command)
        expect(result.returncode == 0, f"an undisturbed run: {result.stderr}")
        self.seconds = time.monotonic() - begun
        self.expected = pictures(self.out)
        expect(len(self.expected) == FRAMES, "an undisturbed run has every picture")

    def kills(self, count, chance):
        good = 0
        for i in range(count):
            self.fresh()
            process = self.start()
            time.sleep(chance.uniform(0, self.seconds))
            process.kill()
            process.wait()
            orphans = not gone(process.pid, 2)
            partial = pictures(self.out)
            whole = all(self.expected.get(name) == data for name, data in partial.items())
            result = self.run([*self.command, "--skip-existing"])
            left = {p.name for p in self.out.iterdir()}
            same = result.returncode == 0 and pictures(self.out) == self.expected
            clean = left == set(self.expected)
            expect(not orphans, f"kill {i}: a process lives on")
            expect(whole, f"kill {i}: a picture is not whole")
            expect(same, f"kill {i}: resumed to other pictures, {result.stderr}")
            expect(clean, f"kill {i}: left {sorted(left - set(self.expected))}")
            good += not orphans and whole and same and clean
        print(f"{good} of {count} kills resumed to the same bytes")

    def signals(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            self.fresh()
            process = self.start()
            time.sleep(self.seconds / 2)
            process.send_signal(number)
            code = process.wait(timeout=30)
            expect(code in (128 + number, -number, 0), f"signal {number}: ended with {code}")
            expect(gone(process.pid, 10), f"signal {number}: a process lives on")
            expect(all(p.name in self.expected for p in self.out.iterdir()), f"signal {number}: left something")
        print("2 signals obeyed")

    def two_at_once(self):
        self.fresh()
        runs = [self.start("-y"), self.start("-y")]
        codes = [run.wait(timeout=60) for run in runs]
        expect(codes == [0, 0], f"two runs at once: ended with {codes}")
        expect(pictures(self.out) == self.expected, "two runs at once: other pictures")
        expect({p.name for p in self.out.iterdir()} == set(self.expected), "two runs at once: left something")
        print("2 runs into one folder gave the bytes of one")

    def limits(self):
        def limit(which, value):
            return lambda: resource.setrlimit(which, (value, value))

        def ignore_and_limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (1000, 1000))

        cases = {
            "file size": ignore_and_limit,
            "descriptors": limit(resource.RLIMIT_NOFILE, 4),
            "memory": limit(resource.RLIMIT_AS, 500 << 20),
        }
        for name, prepare in cases.items():
            self.fresh()
            self.one_line(self.run([*self.command, "-q"], preexec_fn=prepare), 3, f"limit on {name}")
            expect(not list(self.out.iterdir()), f"limit on {name}: left {[p.name for p in self.out.iterdir()]}")
        print(f"{len(cases)} limits told in a line")

    def no_room(self):
        self.fresh()
        mounted = os.geteuid() == 0 and self.run(
            ["mount", "-t", "tmpfs", "-o", "size=64k", "none", str(self.out)]).returncode == 0
        if not mounted:
            print("full disk: not tried, mounting needs root")
            return
        try:
            self.one_line(self.run([*self.command, "-q"]), 3, "full disk")
            names = {p.name for p in self.out.iterdir()}
            expect(names <= set(self.expected), f"full disk: left {names - set(self.expected)}")
            expect(all(self.expected[n] == d for n, d in pictures(self.out).items()), "full disk: a broken picture")
        finally:
            self.run(["umount", str(self.out)])
        print("full disk told in a line")

    def broken_disk(self, failing_calls):
        calls = ("write", "fsync", "close", "rename")
        for call in calls:
            self.fresh()
            environment = {**os.environ, "LD_PRELOAD": failing_calls, "VORLIN_FAIL": call}
            one_job = [*self.command[:-1], "1", "-q"]
            self.one_line(self.run(one_job, env=environment), 3, f"failing {call}")
            left = {p.name for p in self.out.iterdir()}
            expect(left < set(self.expected), f"failing {call}: left {sorted(left)}")
            expect(all(self.expected[n] == d for n, d in pictures(self.out).items()), f"failing {call}: a broken picture")
            resumed = self.run([*self.command, "-q", "--skip-existing"])
            expect(resumed.returncode == 0 and pictures(self.out) == self.expected, f"failing {call}: not resumed")
        print(f"{len(calls)} failing calls told in a line and resumed to the same bytes")

    def closed_output(self):
        (self.folder / "p.csv").write_text("0,1,2\n9,3,4\n")
        verbs = (["about"], ["controls"], ["controls", "--json"], ["schema"], ["import-path", str(self.folder / "p.csv")])
        for verb in verbs:
            with open("/dev/full", "w", encoding="ascii") as full:
                result = subprocess.run([self.vorlin, *verb], stdout=full, stderr=subprocess.PIPE, text=True, check=False)
            self.one_line(result, 3, f"{verb[0]} onto a full device")
            closed = subprocess.run([self.vorlin, *verb], stderr=subprocess.PIPE, text=True, check=False,
                                    preexec_fn=lambda: os.close(1))
            self.one_line(closed, 3, f"{verb[0]} with closed output")
        self.fresh()
        silent = subprocess.run(self.command, check=False, preexec_fn=lambda: os.closerange(1, 3))
        expect(silent.returncode == 0, f"render with closed outputs: ended with {silent.returncode}")
        expect(pictures(self.out) == self.expected, "render with closed outputs: other pictures")
        print(f"{len(verbs)} commands missed their closed output")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("vorlin")
    parser.add_argument("failing_calls")
    parser.add_argument("plate")
    parser.add_argument("--kills", type=int, default=10)
    parser.add_argument("--seed", type=int, default=1)
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="vorlin_torture_") as name:
        folder = Path(name)
        shutil.copy(arguments.plate, folder / "plate.png")
        torture = Torture(os.path.abspath(arguments.vorlin), folder)
        torture.whole()
        torture.kills(arguments.kills, random.Random(arguments.seed))
        torture.signals()
        torture.two_at_once()
        torture.limits()
        torture.no_room()
        torture.broken_disk(os.path.abspath(arguments.failing_calls))
        torture.closed_output()
    print(f"{len(failures)} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
