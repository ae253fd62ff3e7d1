#!/usr/bin/python3
"""Writes a small demo study in the viewer's native format: a 4-D run of
16-bit integers (a bright blob that rises and falls over time, on a quiet
background with a little noise) and a matching activation map of floats.

Usage: /usr/bin/python3 examples/make_demo.py [output folder, default demo]
"""
import os
import sys

import numpy as np

NX, NY, NZ, NT = 32, 32, 8, 20
RESOLUTION = (3.0, 3.0, 5.0)
TIME_STEP = 2.0


def header(storage, nt, note):
    byte_order = 1 if sys.byteorder == "little" else 0
    origin = [-(n - 1) * r / 2 for n, r in zip((NX, NY, NZ), RESOLUTION)]
    return (
        f"# {note}\n"
        f"x {NX}\ny {NY}\nz {NZ}\nt {nt}\n"
        f"resolution {RESOLUTION[0]:g} {RESOLUTION[1]:g} {RESOLUTION[2]:g} {TIME_STEP:g}\n"
        f"origin {origin[0]:g} {origin[1]:g} {origin[2]:g}\n"
        f"byte-order {byte_order}\n"
        f"storage-type {storage}\n"
        "data-type magnitude\n"
        "info:\n"
        "synthetic data written by examples/make_demo.py\n"
    )


def main():
    out = sys.argv[1] if len(sys.argv) > 1 else "demo"
    os.makedirs(out, exist_ok=True)
    rng = np.random.default_rng(7)

    z, y, x = np.meshgrid(np.arange(NZ), np.arange(NY), np.arange(NX), indexing="ij")
    # A head-like ellipsoid of tissue, and inside it a blob that responds.
    tissue = ((x - 15.5) / 13) ** 2 + ((y - 15.5) / 14) ** 2 + ((z - 3.5) / 5) ** 2 < 1
    blob = np.exp(-(((x - 20) ** 2 + (y - 12) ** 2) / 8.0 + (z - 4) ** 2 / 2.0))
    t = np.arange(NT) * TIME_STEP
    response = np.where((t // 10) % 2 == 1, 1.0, 0.0)  # 10 s off, 10 s on

    run = np.empty((NT, NZ, NY, NX), dtype=np.int16)
    for i in range(NT):
        volume = 800.0 * tissue + 300.0 * blob * response[i] + rng.normal(0, 15, tissue.shape)
        run[i] = np.clip(np.rint(volume), -32768, 32767).astype(np.int16)
    # x fastest, then y, then z, then t, in this machine's byte order.
    run.tofile(os.path.join(out, "run1.bshort"))
    with open(os.path.join(out, "run1.hdr"), "w") as f:
        f.write(header("short", NT, "demo run: a blob that follows a 10 s on/off block design"))

    activation = (8.0 * blob * tissue).astype(np.float32)
    activation.tofile(os.path.join(out, "activation.bfloat"))
    with open(os.path.join(out, "activation.hdr"), "w") as f:
        f.write(header("float", 1, "demo activation map"))

    print(f"demo study written to {out}/: run1.bshort ({NX}x{NY}x{NZ}x{NT}), activation.bfloat")


if __name__ == "__main__":
    main()
