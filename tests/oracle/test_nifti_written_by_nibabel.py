"""NIfTI-1 files written by nibabel for every storage type, both byte
orders, complex and vector data, quaternion and affine orientations,
extensions and .hdr/.img pairs, loaded by the viewer's loader."""
import os
import shutil
import struct
import sys
import tempfile

import numpy as np
import nibabel as nib

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import volume_expectations as ve  # noqa: E402

RNG = np.random.default_rng(20261122)


def sample(dtype, shape):
    dtype = np.dtype(dtype)
    if dtype.kind == "c":
        return (RNG.normal(0, 100, shape) + 1j * RNG.normal(0, 100, shape)).astype(dtype)
    if dtype.kind == "f":
        return RNG.normal(0, 1000, shape).astype(dtype)
    info = np.iinfo(dtype)
    return RNG.integers(max(info.min, -2**31), min(info.max, 2**31 - 1), shape, endpoint=True).astype(dtype)


def rotation_affine():
    a = np.eye(4)
    c, s = np.cos(0.3), np.sin(0.3)
    a[:3, :3] = np.array([[c, -s, 0], [s, c, 0], [0, 0, 1]]) @ np.diag([2.0, 3.0, 4.0])
    a[:3, 3] = [-10, 20, 5.5]
    return a


def write(path, data, endian="<", qform=None, sform=None, pixdim_t=None, slope=None, pair=False,
          extension=None, dims=None):
    hdr = (nib.nifti1.Nifti1PairHeader if pair else nib.Nifti1Header)(endianness=endian)
    cls = nib.Nifti1Pair if pair else nib.Nifti1Image
    img = cls(data, None, header=hdr)
    h = img.header
    h.set_data_dtype(data.dtype)
    if qform is not None:
        img.set_qform(qform[0], code=qform[1])
    else:
        img.set_qform(None, code=0)
    if sform is not None:
        img.set_sform(sform[0], code=sform[1])
    else:
        img.set_sform(None, code=0)
    if pixdim_t is not None:
        zooms = list(h.get_zooms())
        zooms[3] = pixdim_t
        h.set_zooms(zooms)
    if extension is not None:
        h.extensions.append(nib.nifti1.Nifti1Extension(extension[0], extension[1]))
    nib.save(img, path)
    header_path = path[:-4] + ".hdr" if pair else path
    patch = {}
    if slope is not None:
        patch[112] = ("f", slope[0])
        patch[116] = ("f", slope[1])
    if dims is not None:
        for i, v in enumerate(dims):
            patch[40 + 2 * i] = ("h", v)
    if patch:
        with open(header_path, "r+b") as f:
            for at, (fmt, v) in patch.items():
                f.seek(at)
                f.write(struct.pack(endian + fmt, v))
    return header_path


def cases():
    shape = (5, 4, 3, 6)
    for dtype in ["u1", "i2", "i4", "f4", "c8", "f8", "u2", "i1", "i8", "u4", "c16"]:
        for endian in "<>":
            yield ("%s_%s" % (dtype, "le" if endian == "<" else "be"),
                   dict(data=sample(dtype, shape), endian=endian,
                        sform=(np.diag([2.0, 2.5, 3.0, 1.0]), 2), qform=(np.diag([2.0, 2.5, 3.0, 1.0]), 1)))
    yield "scaled_i2", dict(data=sample("i2", shape), slope=(2.0, 1.0), qform=(rotation_affine(), 1))
    yield "scaled_u1", dict(data=sample("u1", shape), slope=(0.5, -3.0))
    yield "zero_slope_offset", dict(data=sample("i2", shape), slope=(0.0, 1.0))
    yield "nan_slope", dict(data=sample("i2", (3, 3, 3)), slope=(float("nan"), 0.0))
    yield "scaled_complex", dict(data=sample("c8", shape), slope=(2.0, 1.0))
    yield "scaled_swapped_f4", dict(data=sample("f4", shape), endian=">", slope=(3.0, 0.25))
    yield "scaled_f8", dict(data=sample("f8", shape), slope=(0.3, -1.7))
    yield "scaled_swapped_f8", dict(data=sample("f8", shape), endian=">", slope=(3.0, 0.25))
    yield "qform_rotated", dict(data=sample("i2", shape), qform=(rotation_affine(), 1))
    flip = rotation_affine() @ np.diag([1.0, 1.0, -1.0, 1.0])
    yield "qform_qfac_negative", dict(data=sample("f4", shape), qform=(flip, 2))
    yield "qform_with_sform", dict(data=sample("f4", shape), qform=(rotation_affine(), 1),
                                   sform=(np.diag([-1.0, 2.0, 3.0, 1.0]), 1))
    yield "sform_without_qform", dict(data=sample("f4", shape), sform=(rotation_affine(), 2))
    yield "vector_f4", dict(data=sample("f4", (4, 3, 2, 2, 3)))
    yield "vector_u1", dict(data=sample("u1", (4, 3, 2, 2, 3)))
    yield "vector_scaled", dict(data=sample("i2", (4, 3, 2, 1, 3)), slope=(10.0, 5.0))
    yield "dim0_six", dict(data=sample("i2", (3, 3, 2, 2, 1, 2)))
    yield "dim0_three_stale_t", dict(data=sample("i2", (3, 3, 2)), dims=(3, 3, 3, 2, 0, 0, 0, 0))
    yield "dim0_two", dict(data=sample("f4", (6, 5)))
    yield "missing_z", dict(data=sample("f4", (3, 3, 2, 2)), dims=(4, 3, 3, 0, 2, 1, 1, 1))
    yield "ecode_20", dict(data=sample("i2", shape), extension=(20, struct.pack("<i", 37) + b"\0" * 12))
    yield "ecode_6", dict(data=sample("i2", shape), extension=(6, b"a comment here!"))
    yield "pair_i2", dict(data=sample("i2", shape), pair=True, slope=(1.5, 2.0))
    yield "pair_swapped_u2", dict(data=sample("u2", shape), pair=True, endian=">")


def main():
    work = tempfile.mkdtemp(prefix="zor_oracle_")
    failures = []
    try:
        for name, kw in cases():
            pair = kw.get("pair", False)
            path = os.path.join(work, name + (".img" if pair else ".nii"))
            try:
                header_path = write(path, **kw)
                img = nib.load(path) if not pair else nib.Nifti1Pair.load(path)
                what = ve.check_file(header_path, os.path.basename(path), work, img)
                print("ok   %s: %s" % (name, what))
            except ve.Failure as f:
                failures.append(name)
                print("FAIL %s: %s" % (name, f))
        # Several files concatenated in time, each keeping its time step.
        a = write(os.path.join(work, "run1.nii"), sample("i2", (4, 4, 3, 10)), pixdim_t=2.0)
        b = write(os.path.join(work, "run2.nii"), sample("i2", (4, 4, 3, 12)), pixdim_t=2.5)
        r = ve.load("run1.nii", work, [])
        rc, out, err = ve.run_tool(["dump", "run1.nii", "run2.nii"], work)
        try:
            ve.check(rc == 0, "concatenation failed: %s" % out)
            stack, files = ve.parse_dump(os.path.join(work, "dump.txt"))
            ve.check(stack["stack_nt"] == ["22"], "nt %s" % stack["stack_nt"])
            ve.check([f["start_image"] for f in files] == [["0"], ["10"]], "start images")
            ve.check([f["end_image"] for f in files] == [["9"], ["21"]], "end images")
            ve.check([f["time_step"] for f in files] == [["2"], ["2.5"]], "time steps")
            ve.check(stack["stack_resolution"][3] == "2", "stack time step")
            values = np.fromfile(os.path.join(work, "dump.bin"), np.float32).reshape(22, -1)
            want = np.concatenate([ve.expected_values(ve.expect(p, p), p) for p in (a, b)])
            ve.check(np.array_equal(values, want), "concatenated values")
            ve.check(r["rc"] == 0, "single run")
            print("ok   concatenation of 10 and 12 time points")
        except ve.Failure as f:
            failures.append("concatenation")
            print("FAIL concatenation: %s" % f)
    finally:
        shutil.rmtree(work, ignore_errors=True)
    print("%d failures" % len(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
