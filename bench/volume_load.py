#!/usr/bin/python3
"""Load speed of a 96x96x60x300 int16 NIfTI-1 run, against nibabel
(np.asarray(img.dataobj, dtype=np.float32)) and against `cat file >
/dev/null`, all with the page cache warm.

    /usr/bin/python3 bench/volume_load.py BUILD_DIR [WORK_DIR] [ROUNDS]

BUILD_DIR is a build configured with -DZOR_BUILD_BENCH=ON. One run does one
warm-up read and then ROUNDS (default 5) rounds of the three readers in
turn; it reports each reader's best round, in wall-clock seconds and in CPU
seconds (user + system), since on a shared machine the wall clock also
counts time spent waiting for a processor."""
import os
import resource
import subprocess
import sys
import tempfile
import time

import numpy as np
import nibabel as nib

SHAPE = (96, 96, 60, 300)


def make_file(path):
    if os.path.exists(path) and os.path.getsize(path) == 352 + 2 * np.prod(SHAPE):
        with open(path, "rb") as f:
            f.seek(112)
            if np.frombuffer(f.read(4), "<f4")[0] == 1.0:
                return
    rng = np.random.default_rng(1)
    data = rng.integers(-2000, 30000, SHAPE, dtype=np.int16)
    img = nib.Nifti1Image(data, np.diag([3.0, 3.0, 3.5, 1.0]))
    nib.save(img, path)
    # nibabel writes a NaN slope for unscaled data; declare slope 1 instead,
    # so that both readers give the stored values.
    with open(path, "r+b") as f:
        f.seek(112)
        f.write(np.array([1.0, 0.0], "<f4").tobytes())


def children_cpu():
    r = resource.getrusage(resource.RUSAGE_CHILDREN)
    return r.ru_utime + r.ru_stime


def self_cpu():
    r = resource.getrusage(resource.RUSAGE_SELF)
    return r.ru_utime + r.ru_stime


def run_child(args):
    c0, w0 = children_cpu(), time.perf_counter()
    p = subprocess.run(args, capture_output=True, text=True, check=True)
    return time.perf_counter() - w0, children_cpu() - c0, p


def run_cat(path):
    wall, cpu, _ = run_child(["sh", "-c", "cat \"$0\" > /dev/null", path])
    return wall, cpu


def run_nibabel(path):
    c0, w0 = self_cpu(), time.perf_counter()
    data = np.asarray(nib.load(path).dataobj, dtype=np.float32)
    wall, cpu = time.perf_counter() - w0, self_cpu() - c0
    assert data.shape == SHAPE
    del data
    return wall, cpu


def run_loader(program, path):
    _, _, p = run_child([program, path])
    # The program times the load itself, without its start and exit.
    wall, cpu = p.stderr.split()[:2]
    return float(wall), float(cpu)


def main():
    build = sys.argv[1] if len(sys.argv) > 1 else "build-bench"
    work = sys.argv[2] if len(sys.argv) > 2 else tempfile.gettempdir()
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 5
    program = os.path.join(build, "bench", "bench_volume_load")
    path = os.path.join(work, "zor_bench_run_96x96x60x300.nii")
    make_file(path)
    mb = os.path.getsize(path) / 1e6

    run_cat(path)  # warm the page cache
    best = {"cat": [1e9, 1e9], "nibabel": [1e9, 1e9], "loader": [1e9, 1e9]}
    for _ in range(rounds):
        for name, fn in (("cat", lambda: run_cat(path)), ("nibabel", lambda: run_nibabel(path)),
                         ("loader", lambda: run_loader(program, path))):
            wall, cpu = fn()
            best[name] = [min(best[name][0], wall), min(best[name][1], cpu)]

    print("file %s, %.1f MB, load average %.2f" % (os.path.basename(path), mb, os.getloadavg()[0]))
    print("%-22s %10s %10s %12s" % ("reader", "wall s", "cpu s", "MB/s (wall)"))
    labels = {"cat": "cat > /dev/null", "nibabel": "nibabel float32", "loader": "zorview loader"}
    for name in ("cat", "nibabel", "loader"):
        wall, cpu = best[name]
        print("%-22s %10.3f %10.3f %12.0f" % (labels[name], wall, cpu, mb / wall))
    lw, lc = best["loader"]
    print("loader speed / nibabel speed:  wall %.2f, cpu %.2f (goal >= 1)" % (
        best["nibabel"][0] / lw, best["nibabel"][1] / lc))
    print("loader rate / cat rate:        wall %.2f, cpu %.2f (goal >= 0.5)" % (
        best["cat"][0] / lw, best["cat"][1] / lc))


if __name__ == "__main__":
    main()
