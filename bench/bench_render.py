"""Figures without an X server: zorrender writing a 128x128x40 mosaic at zoom
2 with a map to PNG (whole runs: reading the files, composing, encoding; and
the rendering alone, timed inside one process),
against the way it is done without the renderer: zorview under Xvfb, the
window read back with xwd and turned into a PNG with convert, in one run.
Median and 95th percentile in milliseconds.

    ZOR_BINARY_DIR=build /usr/bin/python3 bench/bench_render.py [rounds]
"""

import os
import shutil
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))
import zore2e as e2e  # noqa: E402

SHAPE = (128, 128, 40)
GOAL_MS = 100.0


def percentile(values, q):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, max(0, int(round(q * (len(ordered) - 1)))))]


def report(name, values, goal=None):
    print("%-40s n=%3d  median %8.2f ms  p95 %8.2f ms%s"
          % (name, len(values), percentile(values, 0.5), percentile(values, 0.95),
             "  (goal %g ms)" % goal if goal else ""))


def main():
    rounds = int(sys.argv[1]) if len(sys.argv) > 1 else 20
    folder = tempfile.mkdtemp(prefix="zor-bench-render-")
    try:
        import numpy as np
        z, y, x = np.mgrid[0:SHAPE[2], 0:SHAPE[1], 0:SHAPE[0]]
        anatomy = (1000 + 400 * np.sin(x / 9.0) * np.cos(y / 11.0) + 7 * z).astype(np.float32)
        blob = 12.0 * np.exp(-((x - 64) ** 2 + (y - 70) ** 2 + 4 * (z - 20) ** 2) / 300.0)
        amap = (blob - 1.5).astype(np.float32)
        volume = e2e.write_nifti(os.path.join(folder, "run.nii"), SHAPE, values=anatomy.ravel())
        map_file = e2e.write_nifti(os.path.join(folder, "map.nii"), SHAPE, values=amap.ravel())
        files = [volume, "-a", map_file]

        render = os.path.abspath(os.path.join(e2e.binary_dir(), "zorrender"))
        viewer = os.path.abspath(e2e.program_path())
        env = dict(os.environ)
        env.pop("DISPLAY", None)
        out = os.path.join(folder, "figure.png")
        times = []
        for _ in range(rounds):
            start = time.perf_counter()
            subprocess.run([render] + files + ["--zoom", "2", "--out", out], env=env, check=True,
                           stdout=subprocess.DEVNULL)
            times.append(1000.0 * (time.perf_counter() - start))
        report("zorrender to PNG (whole run)", times)
        # The rendering itself: layout, composition and PNG encoding.
        timing = os.path.abspath(os.path.join(e2e.binary_dir(), "bench", "zor_render_figure"))
        r = subprocess.run([timing, str(rounds), out] + files + ["-z", "2"], env=env, check=True,
                           stdout=subprocess.PIPE)
        line = [l for l in r.stdout.decode().splitlines() if l.startswith("picture ")][-1]
        print("%-40s %s  (goal %g ms)" % ("layout + composition + PNG, in process", line, GOAL_MS))

        # The peer: a virtual server large enough for zoom 2, the viewer
        # until its first picture, xwd and convert.
        server = e2e.XServer(4096, 3072)
        peer = []
        try:
            for _ in range(max(3, rounds // 4)):
                start = time.perf_counter()
                v = e2e.Viewer(server, [viewer] + files + ["-z", "2"])
                w = v.window(r"zorview \(zoom = 2\).*", timeout=30.0)
                v.wait_event("Expose", timeout=30.0)
                xwd = os.path.join(folder, "window.xwd")
                server.run(["xwd", "-id", str(w), "-nobdrs", "-silent", "-out", xwd])
                subprocess.run(["convert", "xwd:" + xwd, os.path.join(folder, "window.png")],
                               check=True)
                peer.append(1000.0 * (time.perf_counter() - start))
                v.close()
        finally:
            server.stop()
        report("zorview under Xvfb + xwd + convert", peer)
        print("ratio of medians: %.1f" % (percentile(peer, 0.5) / percentile(times, 0.5)))
    finally:
        shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    main()
