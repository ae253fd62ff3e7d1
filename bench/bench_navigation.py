"""Cost of moving through a 128x128x40x300 study at zoom 2 with the graph
window open, read from the event trace: each figure is one handled event,
from its arrival to the end of Update_Regions and the XSync after it.

  - a click on a voxel: the cross-hair moves and the time course is read
    and drawn again (the button release does the work);
  - "+": the next time point, with the whole mosaic composed again;
  - ".": the next slice through the cross-hair, the whole mosaic again;
  - pointer motion over the image: the read-out only.

Prints the median and the 95th percentile in milliseconds.

    ZOR_BINARY_DIR=build ZOR_PROGRAM=build/zorview /usr/bin/python3 bench/bench_navigation.py [rounds]
"""

import os
import shutil
import struct
import sys
import tempfile

import numpy as np

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))
import zore2e as e2e  # noqa: E402
import graph_kit as gk  # noqa: E402
import click_timing as ct  # noqa: E402

SHAPE = (128, 128, 40, 300)
ZOOM = 2
COLUMNS = 8  # 40 slices: 8 by 5 panels


def write_study(path):
    """An int16 NIfTI-1 run: a smooth pattern that changes over time."""
    nx, ny, nz, nt = SHAPE
    x = np.arange(nx, dtype=np.int32)[None, None, :]
    y = np.arange(ny, dtype=np.int32)[None, :, None]
    z = np.arange(nz, dtype=np.int32)[:, None, None]
    base = (x * 3 + y * 5 + z * 7) % 400 + 200
    header = bytearray(348)
    struct.pack_into("<i", header, 0, 348)
    struct.pack_into("<8h", header, 40, 4, nx, ny, nz, nt, 1, 1, 1)
    struct.pack_into("<hh", header, 70, 4, 16)  # int16
    struct.pack_into("<8f", header, 76, 1.0, 2.0, 2.0, 3.0, 2.0, 0, 0, 0)
    struct.pack_into("<f", header, 108, 352.0)
    struct.pack_into("<f", header, 112, 1.0)
    struct.pack_into("<B", header, 123, 2 + 8)
    header[344:348] = b"n+1\0"
    with open(path, "wb") as f:
        f.write(header)
        f.write(b"\0\0\0\0")
        for t in range(nt):
            volume = base + ((t % 20) * 4 if t % 40 < 20 else 0)
            f.write(volume.astype("<i2").tobytes())
    return path


def voxel_pixel(x, y, k):
    """Window pixel of voxel (x, y) on mosaic panel k (rows flipped)."""
    nx, ny = SHAPE[0], SHAPE[1]
    c, r = k % COLUMNS, k // COLUMNS
    left = ZOOM * (nx * c + c + 1)
    top = 30 + ZOOM * (ny * r + r + 1)
    return left + ZOOM * x + 1, top + ZOOM * (ny - 1 - y) + 1


def main():
    rounds = int(sys.argv[1]) if len(sys.argv) > 1 else 60
    server = e2e.XServer()
    work = tempfile.mkdtemp(prefix="zor-bench-navigation-")
    viewer = None
    try:
        study = write_study(os.path.join(work, "study.nii"))
        viewer = e2e.Viewer(server, [e2e.program_path(), study, "-z", str(ZOOM)], cwd=work)
        w = viewer.window(r"zorview \(zoom = %d\)" % ZOOM, timeout=120.0)
        viewer.wait_event("Expose", timeout=60.0)
        g = gk.open_graph(viewer, w)
        # The graph below and to the right, clear of the first panels.
        server.run(["xdotool", "windowmove", str(g), "1250", "1000"])

        clicks, times, slices, motions = [], [], [], []
        for i in range(rounds):
            x, y = voxel_pixel(10 + (i * 7) % 100, 20 + (i * 13) % 90, i % 3)
            mark = viewer.click(w, x, y)
            clicks.append(viewer.wait_event("ButtonRelease", after=mark)["ms"])
        for i in range(rounds):
            x, y = voxel_pixel(40, 40, 0)
            mark = viewer.key(w, "plus", x=x, y=y)
            times.append(viewer.wait_event("KeyPress", after=mark)["ms"])
        x, y = voxel_pixel(40, 40, 0)
        viewer.wait_event("ButtonRelease", after=viewer.click(w, x, y))
        for i in range(rounds):
            # Out and back in: the cross-hair's slice steps, never at an edge.
            mark = viewer.key(w, "period" if i % 2 == 0 else "comma", x=x, y=y)
            slices.append(viewer.wait_event("KeyPress", after=mark)["ms"])
        for i in range(rounds * 3):
            px, py = voxel_pixel(5 + (i * 11) % 110, 5 + (i * 5) % 110, i % 4)
            mark = viewer.move(w, px, py)
            motions.append(viewer.wait_event("MotionNotify", after=mark)["ms"])

        print("128x128x40x300 study, zoom 2, graph window open (ms from the event to the end")
        print("of Update_Regions and XSync):")
        ct.report("click: cross-hair and time course", clicks)
        ct.report("\"+\": next time point, whole mosaic", times)
        ct.report("\".\" \",\": next slice, whole mosaic", slices)
        ct.report("pointer motion with read-out", motions)
    finally:
        if viewer:
            viewer.close()
        server.stop()
        shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
