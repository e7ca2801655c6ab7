#!/usr/bin/env python3
"""Compares two result files of one benchmark program, as `make bench` leaves them.

For every benchmark: the medians of the old and the new run, and old / new. Above 1 is faster. Exits
with 1 when one got slower by more than the threshold, with 2 when the files cannot be compared.
"""

import argparse
import json
import statistics
import sys

NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def medians(path):
    """Median real time in nanoseconds by name, in the order of the file."""
    try:
        with open(path, encoding="utf-8") as file:
            runs = json.load(file)["benchmarks"]
        times = {}
        for run in runs:
            if run.get("run_type") != "iteration" or run.get("error_occurred"):
                continue
            time = run["real_time"] * NANOSECONDS[run["time_unit"]]
            times.setdefault(run["run_name"], []).append(time)
    except (OSError, ValueError, KeyError, TypeError) as error:
        raise SystemExit(fail(f"{path}: not a result file: {error!r}")) from error
    return {name: statistics.median(values) for name, values in times.items()}


def fail(message):
    print(message, file=sys.stderr)
    return 2


def readable(nanoseconds):
    for unit in ("s", "ms", "us"):
        if nanoseconds >= NANOSECONDS[unit]:
            return f"{nanoseconds / NANOSECONDS[unit]:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("old")
    parser.add_argument("new")
    parser.add_argument("--threshold", type=float, default=1.1,
                        help="how many times the old time counts as slower (default: %(default)s)")
    options = parser.parse_args()
    old, new = medians(options.old), medians(options.new)
    shared = [name for name in old if name in new]
    if not shared:
        return fail("the two files have no benchmark in common")

    slower = 0
    width = max(len(name) for name in shared)
    print(f"{'median':{width}}  {'old':>9}  {'new':>9}  old/new")
    for name in shared:
        mark = ""
        if new[name] > old[name] * options.threshold:
            mark = "  slower"
            slower += 1
        print(f"{name:{width}}  {readable(old[name]):>9}  {readable(new[name]):>9}  "
              f"{old[name] / new[name]:7.2f}{mark}")
    for name in sorted(old.keys() ^ new.keys()):
        print(f"only in the {'old' if name in old else 'new'} file: {name}")
    print(f"{slower} of {len(shared)} slower by more than {options.threshold:g} times")
    return 1 if slower else 0


if __name__ == "__main__":
    sys.exit(main())
