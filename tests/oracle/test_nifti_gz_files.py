"""Every compressed NIfTI file shipped with nibabel's and dipy's test data,
loaded by the viewer's loader as it stands (.nii.gz) and from its gunzipped
copy: the same outcome, the same header, the same voxels; and the voxels of
the NIfTI-1 ones against nibabel. Then damaged streams: a file cut short
inside the data, inside the header and before its check sum, and one with
bytes changed in the middle, each refused with its message and status 1."""
import glob
import gzip
import os
import shutil
import sys
import tempfile

import nibabel as nib
import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import volume_expectations as ve  # noqa: E402

SOURCES = [
    "/usr/lib/python3/dist-packages/nibabel/tests/data",
    "/usr/lib/python3/dist-packages/dipy/data/files",
]
failures = []


def check(condition, message):
    if not condition:
        failures.append(message)


def without_names(text, names):
    for n in names:
        text = text.replace(n, "NAME")
    return text


def compare(path, work):
    base = os.path.basename(path)
    plain_dir, gz_dir = os.path.join(work, "plain"), os.path.join(work, "gz")
    os.makedirs(plain_dir)
    os.makedirs(gz_dir)
    shutil.copy(path, os.path.join(gz_dir, base))
    with gzip.open(path) as src, open(os.path.join(plain_dir, base[:-3]), "wb") as dst:
        shutil.copyfileobj(src, dst)
    a = ve.load(base[:-3], plain_dir)
    b = ve.load(base, gz_dir)
    names = [base, base[:-3]]
    check(a["rc"] == b["rc"], "%s: status %d compressed, %d plain" % (base, b["rc"], a["rc"]))
    check(without_names(a["out"], names) == without_names(b["out"], names),
          "%s: output differs:\n%r\n%r" % (base, a["out"][-300:], b["out"][-300:]))
    if a["rc"] != 0 or b["rc"] != 0:
        return "refused alike"
    check(np.array_equal(a["values"], b["values"]), "%s: voxels differ" % base)
    sa = {k: v for k, v in a["stack"].items()}
    sb = {k: v for k, v in b["stack"].items()}
    check(sa == sb, "%s: stack records differ" % base)
    img = nib.load(path)
    what = "same %d x %d values" % b["values"].shape
    if isinstance(img, nib.Nifti1Image) and not np.iscomplexobj(img.dataobj) and img.ndim <= 4:
        # nibabel in float32, volume after volume, x fastest.
        data = np.asarray(img.dataobj, dtype=np.float32)
        data = data.reshape(data.shape[:3] + (-1,), order="F") if data.ndim == 4 else data[..., None]
        want = np.stack([data[..., t].ravel(order="F") for t in range(data.shape[3])])
        check(want.shape == b["values"].shape and np.allclose(b["values"], want, rtol=1e-6, atol=1e-6),
              "%s: voxels differ from nibabel's" % base)
        what += ", as nibabel reads them"
    return what


def damaged(work):
    """example4d.nii.gz cut and changed: each load is refused with status 1."""
    source = os.path.join(SOURCES[0], "example4d.nii.gz")
    raw = open(source, "rb").read()
    changed = bytearray(raw)
    for i in range(len(raw) // 2, len(raw) // 2 + 64):
        changed[i] ^= 0x5A
    cases = {
        "cut_in_data.nii.gz": (raw[: len(raw) // 2], "ends early: it is truncated."),
        "cut_in_header.nii.gz": (raw[:60], "ends early: it is truncated."),
        "cut_before_check_sum.nii.gz": (raw[:-6], "ends early: it is truncated."),
        "changed.nii.gz": (bytes(changed), "is damaged ("),
    }
    for name, (content, message) in cases.items():
        folder = os.path.join(work, name[:-7])
        os.makedirs(folder)
        with open(os.path.join(folder, name), "wb") as f:
            f.write(content)
        r = ve.load(name, folder)
        lines = r["out"].replace("\r", "\n").split("\n")
        line = "Error: the compressed file %s %s" % (name, message)
        check(r["rc"] == 1, "%s: status %d" % (name, r["rc"]))
        check(any(l.startswith(line) for l in lines), "%s: no line %r in %r" % (name, line, r["out"][-300:]))
        print("ok   damaged %s: %s" % (name, [l for l in lines if l.startswith("Error")]))


def main():
    count = 0
    for d in SOURCES:
        for path in sorted(glob.glob(os.path.join(d, "*.nii.gz"))):
            work = tempfile.mkdtemp(prefix="zor_gz_")
            try:
                print("ok   %s: %s" % (os.path.basename(path), compare(path, work)))
            except ve.Failure as f:
                failures.append(str(f))
            finally:
                shutil.rmtree(work, ignore_errors=True)
            count += 1
    work = tempfile.mkdtemp(prefix="zor_gz_damaged_")
    try:
        damaged(work)
    finally:
        shutil.rmtree(work, ignore_errors=True)
    for f in failures:
        print("FAIL", f)
    print("%d compressed files, %d failures" % (count, len(failures)))
    if count < 10:
        print("FAIL: fewer compressed files than expected")
        return 1
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
