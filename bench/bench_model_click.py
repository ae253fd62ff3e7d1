"""Cost of a click on a voxel under the group, PET and fitting models, the
graph window open. Each figure is one handled button release, from its
arrival to the end of Update_Regions and the XSync after it: the cross-hair
moves, the curve is read and fitted by the model, and the graph is drawn
again with the model's own drawing and panel.

  group:   200 files of 16x16x4 voxels, each a value and its standard error
           (400 samples), two groups, three conditions, the variance map
  PET:     two runs of 26 frames of 16x16x8 voxels, R1, k2 and k2a, BP
  tensors: dipy's small_64D (10x10x10, 65 volumes), weighted log-linear fit

Prints the median and the 95th percentile in milliseconds.

    ZOR_BINARY_DIR=build ZOR_PROGRAM=build/zorview /usr/bin/python3 bench/bench_model_click.py [rounds]
"""

import os
import shutil
import sys
import tempfile

import numpy as np

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))
import zore2e as e2e  # noqa: E402
import click_timing as ct  # noqa: E402

ZOOM = 4
DIPY_FILES = "/usr/lib/python3/dist-packages/dipy/data/files/"


def write_nifti(path, data):
    """A float32 NIfTI-1 file of data[x, y, z(, t)]."""
    import nibabel as nib
    image = nib.Nifti1Image(np.asarray(data, dtype=np.float32), np.eye(4))
    nib.save(image, path)


def group_study(folder):
    shape = (16, 16, 4)
    rng = np.random.default_rng(5)
    names = []
    for f in range(200):
        value = 10.0 + (2.0 if f < 100 else 0.0) + rng.normal(0.0, 1.0, shape)
        error = 0.5 + rng.random(shape)
        names.append("s%03d.nii" % f)
        write_nifti(os.path.join(folder, names[-1]), np.stack([value, error], axis=-1))
    write_nifti(os.path.join(folder, "sigma2.nii"), np.stack([np.zeros(shape)] * 2 + [np.full(shape, 0.4)], axis=-1))
    with open(os.path.join(folder, "group.rem"), "w") as f:
        f.write("time-model rem\nconditions a b a-b\nevent a\n%s\nevent b\n%s\n"
                % ("\n".join(names[:100]), "\n".join(names[100:])))
    return ["-r", "group.rem", "-N"], shape


def pet_study(folder):
    shape = (16, 16, 8)
    frames = [30] * 4 + [60] * 6 + [120] * 6 + [300] * 10
    ends = np.cumsum(frames) / 60.0
    mids = ends - np.array(frames) / 120.0
    ref = 900.0 * (mids / 3.0) * np.exp(-mids / 12.0) + 40.0
    rng = np.random.default_rng(9)
    lines = ["time-model SRTM", "half-life 20.4", "conditions 3", "reference-region ref.ovl",
             "target-region target.ovl", "runs:"]
    for r in range(2):
        gain = 1.0 + np.arange(np.prod(shape)).reshape(shape, order="F") / np.prod(shape)
        integral = np.cumsum(ref * np.array(frames) / 60.0)
        data = gain[..., None] * (ref + 0.05 * integral) + rng.normal(0.0, 5.0, shape + (len(frames),))
        write_nifti(os.path.join(folder, "run%d.nii" % (r + 1)), data)
        with open(os.path.join(folder, "run%d.table" % (r + 1)), "w") as f:
            f.write("duration\n" + "".join("%d\n" % s for s in frames))
        with open(os.path.join(folder, "run%d.glm" % (r + 1)), "w") as f:
            f.write("0\n1 R1\n\n2 k2\n\n3 k2a\n\n")
        lines.append("run%d.nii run%d.glm run%d.table" % (r + 1, r + 1, r + 1))
    with open(os.path.join(folder, "ref.ovl"), "w") as f:
        f.write("0 0 0\n1 0 0\n0 1 0\n1 1 0\n")
    with open(os.path.join(folder, "target.ovl"), "w") as f:
        f.write("8 8 4\n")
    with open(os.path.join(folder, "pet.ctl"), "w") as f:
        f.write("\n".join(lines) + "\n")
    return ["-G", "pet.ctl", "-N"], shape


def tensor_study(folder):
    b = np.load(DIPY_FILES + "small_64D.bvals.npy")
    g = np.nan_to_num(np.load(DIPY_FILES + "small_64D.gradients.npy"))
    shutil.copyfile(DIPY_FILES + "small_64D.nii", os.path.join(folder, "small_64D.nii"))
    with open(os.path.join(folder, "small_64D.dti"), "w") as f:
        for i in range(len(b)):
            f.write("%.17g %.17g %.17g %.17g\n" % (g[i, 0], g[i, 1], g[i, 2], b[i]))
    with open(os.path.join(folder, "dti.ctl"), "w") as f:
        f.write("time-model DTI-WLS\nfiles:\nsmall_64D.nii small_64D.dti\n")
    return ["-f", "dti.ctl", "-N"], (10, 10, 10)


def clicks(server, study, rounds):
    work = tempfile.mkdtemp(prefix="zor-bench-model-")
    options, shape = study(work)
    nx, ny = shape[0], shape[1]
    pixels = []
    for i in range(rounds):
        # Voxels of the first slice, whose panel is the first one.
        x, y = 1 + (i * 7) % (nx - 2), 1 + (i * 5) % (ny - 2)
        pixels.append((ZOOM * (1 + x) + 1, 30 + ZOOM * (1 + ny - 1 - y) + 1))
    return ct.timed_clicks(server, options, ZOOM, work, pixels)


def main():
    rounds = int(sys.argv[1]) if len(sys.argv) > 1 else 60
    server = e2e.XServer()
    try:
        results = [("click: group model, 200 files (400 samples)", clicks(server, group_study, rounds)),
                   ("click: PET model, 2 runs of 26 frames", clicks(server, pet_study, rounds)),
                   ("click: DTI-WLS, 65 directions", clicks(server, tensor_study, rounds))]
    finally:
        server.stop()
    print("(ms from the button release to the end of Update_Regions and XSync, graph window open, zoom %d):" % ZOOM)
    for name, values in results:
        ct.report(name, values)


if __name__ == "__main__":
    main()
