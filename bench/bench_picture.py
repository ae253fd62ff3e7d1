"""Repaint cost of the composed picture: a 128x128x40 mosaic at zoom 2 with
a map, full recomposition without and with interpolation, and cross-hair
moves (short cross drawn on the window). Figures are read from the event
trace's "update" lines: median and 95th percentile in milliseconds.

    ZOR_BINARY_DIR=build /usr/bin/python3 bench/bench_picture.py [rounds]
"""

import os
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))
import zore2e as e2e  # noqa: E402

FULL = 0x1 | 0x10 | 0x20 | 0x80
CROSS = 0x4
GOALS = {"full redraw": 16.0, "full redraw, interpolated": 33.0, "cross-hair move": 5.0}


def percentile(values, q):
    ordered = sorted(values)
    index = min(len(ordered) - 1, max(0, int(round(q * (len(ordered) - 1)))))
    return ordered[index]


def main():
    rounds = int(sys.argv[1]) if len(sys.argv) > 1 else 25
    server = e2e.XServer()
    trace = tempfile.NamedTemporaryFile(prefix="zor-bench-trace-", delete=False).name
    try:
        env = server.env()
        env["ZOR_EVENT_TRACE"] = trace
        program = os.path.join(e2e.binary_dir(), "bench", "zor_picture_repaint")
        subprocess.run([program, str(rounds)], env=env, check=True)
        with open(trace) as f:
            lines = [e2e.parse_trace_line(line) for line in f.read().splitlines()]
        updates = [e for e in lines if e["kind"] == "update"]
        full = [e["ms"] for e in updates if e["regions"] == FULL]
        groups = {"full redraw": full[:rounds], "full redraw, interpolated": full[rounds:2 * rounds],
                  "cross-hair move": [e["ms"] for e in updates if e["regions"] == CROSS]}
        for name, values in groups.items():
            if not values:
                print("%-28s no samples" % name)
                continue
            values.sort()
            median = percentile(values, 0.5)
            p95 = percentile(values, 0.95)
            print("%-28s n=%3d  median %7.2f ms  p95 %7.2f ms  (goal %g ms)"
                  % (name, len(values), median, p95, GOALS[name]))
    finally:
        os.unlink(trace)
        server.stop()


if __name__ == "__main__":
    main()
