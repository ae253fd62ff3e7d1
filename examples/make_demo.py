#!/usr/bin/python3
"""Writes a small demo study: a 4-D NIfTI-1 run of 16-bit integers (a bright
blob that rises and falls over time, on a quiet background with a little
noise), a matching activation map of floats in the viewer's native format,
a region around the blob with a list file that names it, and a model control
file with the block design as an event file.

Usage: /usr/bin/python3 examples/make_demo.py [output folder, default demo]
"""
import os
import struct
import sys

import nibabel as nib
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
    # The run as NIfTI-1, on the same centred grid as the map.
    affine = np.diag(list(RESOLUTION) + [1.0])
    affine[:3, 3] = [-(n - 1) * r / 2 for n, r in zip((NX, NY, NZ), RESOLUTION)]
    image = nib.Nifti1Image(np.ascontiguousarray(run.transpose(3, 2, 1, 0)), affine)
    image.set_qform(affine, code=1)
    image.set_sform(affine, code=1)
    image.header.set_xyzt_units("mm", "sec")
    image.header.set_zooms(RESOLUTION + (TIME_STEP,))
    image.header.set_data_dtype(np.int16)
    image.header["descrip"] = b"demo run: a blob following a 10 s on/off block design"
    run_name = os.path.join(out, "run1.nii")
    nib.save(image, run_name)
    # nibabel marks unscaled data with a NaN slope; the viewer scales by any
    # slope but 0, so the stored values are declared as they are: slope 1.
    with open(run_name, "r+b") as f:
        f.seek(112)
        f.write(struct.pack("=ff", 1.0, 0.0))

    # The map is zero away from the blob, so only the response is coloured.
    activation = np.where((blob > 0.1) & tissue, 8.0 * blob, 0.0).astype(np.float32)
    activation.tofile(os.path.join(out, "activation.bfloat"))
    with open(os.path.join(out, "activation.hdr"), "w") as f:
        f.write(header("float", 1, "demo activation map"))

    # A region around the responding blob (the voxels where it is above half
    # its peak, one "x y z" a line and nothing else), and a list naming it in
    # orange.
    region = os.path.join(out, "blob.ovl")
    with open(region, "w") as f:
        for zi, yi, xi in zip(*np.nonzero((blob > 0.5) & tissue)):
            f.write(f"{xi} {yi} {zi}\n")
    with open(os.path.join(out, "regions.list"), "w") as f:
        f.write(f"blob {region} orange\n")

    # The linear model of the run: its block design as event 1 (10 s on
    # from 10 s and 30 s), and a control file that names the run and its
    # events, as paths from the folder the viewer is started in.
    events = os.path.join(out, "run1.glm")
    with open(events, "w") as f:
        f.write(f"{TIME_STEP:g}   # TR in seconds\n\n1     # the block design: on and off times in seconds\n")
        for on in np.arange(10.0, NT * TIME_STEP, 20.0):
            f.write(f"{on:g} {on + 10.0:g}\n")
    with open(os.path.join(out, "study.ctl"), "w") as f:
        f.write("time-model glm\n")
        f.write("conditions 1\n")
        f.write("runs:\n")
        f.write(f"{run_name} {events}\n")

    print(f"demo study written to {out}/: run1.nii ({NX}x{NY}x{NZ}x{NT}), activation.bfloat,"
          " blob.ovl listed in regions.list, the model study.ctl with its events run1.glm")
    # The PET and diffusion studies beside it.
    import make_model_demos
    for control in (make_model_demos.write_pet(os.path.join(out, "pet")),
                    make_model_demos.write_dti(os.path.join(out, "dti"))):
        print(f"model study written: {control}")


if __name__ == "__main__":
    main()
