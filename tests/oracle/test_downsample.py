"""Downsampling a loaded stack, against Gaussian weights computed here on
the same centred grids with numpy."""
import os
import shutil
import sys
import tempfile

import numpy as np
import nibabel as nib

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import volume_expectations as ve  # noqa: E402


def axis_weights(old, new):
    """(new, old) matrix of the kernel weights along one axis."""
    r = old / new
    half = max(1, int(np.floor(r)))
    sigma = 0.425 * r
    w = np.zeros((new, old))
    for k in range(new):
        # Centre of new voxel k, in old voxel units, both grids centred.
        p = (k - (new - 1) / 2.0) * r + (old - 1) / 2.0
        for j in range(int(np.floor(p)) - half, int(np.ceil(p)) + half + 1):
            if 0 <= j < old:
                w[k, j] = np.exp(-((p - j) ** 2) / (2 * sigma * sigma))
    return w


def downsample(volume, new_xy, new_z):
    """volume indexed [x, y, z]; separable weights, normalised per voxel."""
    wx = axis_weights(volume.shape[0], new_xy)
    wy = axis_weights(volume.shape[1], new_xy)
    wz = axis_weights(volume.shape[2], new_z)
    num = np.einsum("ai,bj,ck,ijk->abc", wx, wy, wz, volume)
    den = np.einsum("ai,bj,ck->abc", wx, wy, wz)
    return np.where(den == 0, 0, num / np.where(den == 0, 1, den))


def run_case(work, name, data, new_xy, new_z, zooms):
    img = nib.Nifti1Image(data, np.diag(list(zooms) + [1.0]))
    img.set_qform(None, code=0)
    nib.save(img, os.path.join(work, name))
    rc, out, err = ve.run_tool(["-D", str(new_xy), str(new_z), "dump", name], work)
    ve.check(rc == 0, "%s: %s %s" % (name, out, err))
    stack, files = ve.parse_dump(os.path.join(work, "dump.txt"))
    ve.check(stack["stack_dim"] == [str(new_xy), str(new_xy), str(new_z)], "%s: dim %s" % (name, stack["stack_dim"]))
    old = data.shape[:3]
    res = ve.floats(stack["stack_resolution"])[:3]
    want_res = np.float32([np.float32(old[0] / new_xy) * zooms[0], np.float32(old[1] / new_xy) * zooms[1],
                           np.float32(old[2] / new_z) * zooms[2]])
    ve.check(np.allclose(res, want_res, rtol=1e-6), "%s: resolution %s vs %s" % (name, res, want_res))
    values = np.fromfile(os.path.join(work, "dump.bin"), np.float32)
    nt = data.shape[3] if data.ndim == 4 else 1
    complex_data = np.iscomplexobj(data)
    n3d = new_xy * new_xy * new_z
    values = values.reshape(nt, n3d, 2) if complex_data else values.reshape(nt, n3d)
    worst = 0.0
    for t in range(nt):
        vol = data[..., t] if data.ndim == 4 else data
        parts = [vol.real, vol.imag] if complex_data else [vol]
        for i, part in enumerate(parts):
            want = downsample(part.astype(np.float64), new_xy, new_z).reshape(-1, order="F")
            got = values[t, :, i] if complex_data else values[t]
            ve.check(np.allclose(got, want, rtol=2e-5, atol=2e-4 * np.abs(part).max()),
                     "%s: time %d part %d: max difference %g" % (name, t, i, np.abs(got - want).max()))
            worst = max(worst, np.abs(got - want).max())
    return worst


def main():
    rng = np.random.default_rng(7)
    work = tempfile.mkdtemp(prefix="zor_oracle_")
    failures = 0
    cases = [
        ("uneven.nii", rng.normal(100, 30, (10, 9, 7, 3)).astype(np.float32), 4, 2, (1.0, 1.5, 2.0)),
        ("halved.nii", rng.normal(0, 5, (8, 8, 6)).astype(np.float32), 4, 3, (2.0, 2.0, 3.0)),
        ("strong.nii", rng.normal(0, 1, (20, 20, 4, 2)).astype(np.float32), 3, 1, (1.0, 1.0, 1.0)),
        ("complex.nii", (rng.normal(0, 1, (10, 9, 7)) + 1j * rng.normal(3, 1, (10, 9, 7))).astype(np.complex64),
         4, 2, (1.0, 1.0, 1.0)),
    ]
    try:
        for name, data, xy, z, zooms in cases:
            try:
                worst = run_case(work, name, data, xy, z, zooms)
                print("ok   %s -> (%d,%d,%d), largest difference %.3g" % (name, xy, xy, z, worst))
            except ve.Failure as f:
                failures += 1
                print("FAIL %s" % f)
    finally:
        shutil.rmtree(work, ignore_errors=True)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
