"""Cost of a click on a voxel under the linear model: a 64x64x32 study of two
runs of 150 time points (300 in all) with two events, two conditions and
four baseline terms per run (10 coefficients), the graph window open. Each
figure is one handled button release, from its arrival to the end of
Update_Regions and the XSync after it: the cross-hair moves, the time course
is read, fitted, its F and p worked out, and the graph is drawn again with
the curve, the fit of each event and of the model, and the stimuli. Run once
with ordinary least squares and once with the iterated weighted noise model.

Prints the median and the 95th percentile in milliseconds.

    ZOR_BINARY_DIR=build ZOR_PROGRAM=build/zorview /usr/bin/python3 bench/bench_glm_click.py [rounds]
"""

import os
import struct
import sys
import tempfile

import numpy as np

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))
import zore2e as e2e  # noqa: E402
import click_timing as ct  # noqa: E402

SHAPE = (64, 64, 32)
RUN_LENGTH = 150
TR = 2.0
ZOOM = 2
COLUMNS = 6  # 32 slices: 6 by 6 panels
EVENTS = {1: [(20 + 60 * k, 40 + 60 * k) for k in range(5)], 2: [(50 + 60 * k, 60 + 60 * k) for k in range(5)]}


def write_run(path, run):
    nx, ny, nz = SHAPE
    x = np.arange(nx)[None, None, :]
    y = np.arange(ny)[None, :, None]
    z = np.arange(nz)[:, None, None]
    base = (x * 3 + y * 5 + z * 7) % 400 + 500
    blob = np.exp(-((x - 30) ** 2 + (y - 30) ** 2 + (z - 16) ** 2) / 40.0)
    rng = np.random.default_rng(run)
    t = np.arange(RUN_LENGTH) * TR
    box = np.zeros(RUN_LENGTH)
    for on, off in EVENTS[1]:
        box[(t >= on) & (t < off)] = 1.0
    header = bytearray(348)
    struct.pack_into("<i", header, 0, 348)
    struct.pack_into("<8h", header, 40, 4, nx, ny, nz, RUN_LENGTH, 1, 1, 1)
    struct.pack_into("<hh", header, 70, 4, 16)  # int16
    struct.pack_into("<8f", header, 76, 1.0, 3.0, 3.0, 4.0, TR, 0, 0, 0)
    struct.pack_into("<f", header, 108, 352.0)
    struct.pack_into("<f", header, 112, 1.0)
    struct.pack_into("<B", header, 123, 2 + 8)
    header[344:348] = b"n+1\0"
    with open(path, "wb") as f:
        f.write(header)
        f.write(b"\0\0\0\0")
        for i in range(RUN_LENGTH):
            volume = base + 60.0 * blob * box[i] + rng.normal(0.0, 8.0, base.shape)
            f.write(np.rint(volume).astype("<i2").tobytes())


def write_study(folder, noise_model):
    for r in range(2):
        write_run(os.path.join(folder, "run%d.nii" % (r + 1)), r)
        with open(os.path.join(folder, "run%d.glm" % (r + 1)), "w") as f:
            f.write("%g\n\n" % TR)
            for event, blocks in EVENTS.items():
                f.write("%d\n" % event + "".join("%g %g\n" % b for b in blocks) + "\n")
    with open(os.path.join(folder, "study.ctl"), "w") as f:
        f.write("time-model glm\nbaseline-terms 4\n")
        if noise_model:
            f.write("noise-model %s\n" % noise_model)
        f.write("conditions 1 2\nruns:\nrun1.nii run1.glm\nrun2.nii run2.glm\n")


def voxel_pixel(x, y, k):
    nx, ny = SHAPE[0], SHAPE[1]
    c, r = k % COLUMNS, k // COLUMNS
    left = ZOOM * (nx * c + c + 1)
    top = 30 + ZOOM * (ny * r + r + 1)
    return left + ZOOM * x + 1, top + ZOOM * (ny - 1 - y) + 1


def clicks(server, noise_model, rounds):
    work = tempfile.mkdtemp(prefix="zor-bench-glm-")
    write_study(work, noise_model)
    pixels = [voxel_pixel(10 + (i * 7) % 50, 8 + (i * 13) % 50, 10 + i % 12) for i in range(rounds)]
    return ct.timed_clicks(server, ["-g", "study.ctl", "-N"], ZOOM, work, pixels)


def main():
    rounds = int(sys.argv[1]) if len(sys.argv) > 1 else 60
    server = e2e.XServer()
    try:
        ols = clicks(server, None, rounds)
        iwls = clicks(server, "iWLS", rounds)
    finally:
        server.stop()
    print("64x64x32x300 study (2 runs), 10 coefficients, 2 conditions, zoom 2, graph window open")
    print("(ms from the button release to the end of Update_Regions and XSync):")
    ct.report("click: fit, F, p and graph (OLS)", ols)
    ct.report("click: fit, F, p and graph (iterated WLS)", iwls)


if __name__ == "__main__":
    main()
