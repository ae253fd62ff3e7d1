"""Shared pieces of the batch-map tests: running zormaps, reading its maps
with nibabel, and affines with rotations, both forms set."""
import os
import subprocess

import nibabel as nib
import numpy as np


def binary(name):
    return os.path.join(os.environ.get("ZOR_BINARY_DIR", "build"), name)


def tool(name):
    return os.path.join(os.environ.get("ZOR_BINARY_DIR", "build"), "tests", name)


def run_zormaps(control, cwd, *extra, check=True):
    p = subprocess.run([binary("zormaps"), control, *extra], cwd=cwd, capture_output=True, text=True)
    if check and p.returncode != 0:
        raise AssertionError("zormaps failed (%d): %s %s" % (p.returncode, p.stdout, p.stderr))
    return p


def oblique_affine(voxel=(2.5, 3.0, 4.0), angle=0.3, shift=(-20.0, 15.5, 7.25)):
    """A rotation about z and x with voxel sizes and a shift."""
    cz, sz, cx, sx = np.cos(angle), np.sin(angle), np.cos(angle / 2), np.sin(angle / 2)
    rz = np.array([[cz, -sz, 0], [sz, cz, 0], [0, 0, 1]])
    rx = np.array([[1, 0, 0], [0, cx, -sx], [0, sx, cx]])
    a = np.eye(4)
    a[:3, :3] = rz @ rx @ np.diag(voxel)
    a[:3, 3] = shift
    return a


def save(data, affine, path, dtype=np.float32):
    img = nib.Nifti1Image(np.asarray(data).astype(dtype), affine)
    img.set_qform(affine, code=1)
    img.set_sform(affine, code=2)
    img.header.set_data_dtype(dtype)
    if np.issubdtype(dtype, np.integer):
        img.header.set_slope_inter(1.0, 0.0)
    nib.save(img, path)


def load(path):
    img = nib.load(path)
    return img, np.asarray(img.dataobj, dtype=np.float32)


def dof_extension(img):
    for e in img.header.extensions:
        if e.get_code() == 20:
            content = bytes(e.get_content())[:4].ljust(4, b"\0")  # nibabel drops the padding
            return int(np.frombuffer(content, dtype="<i4")[0])
    return None


def same_geometry(out_img, source_img):
    """Shape of a volume, affine and both codes as the source has them."""
    problems = []
    if out_img.shape[:3] != source_img.shape[:3]:
        problems.append("shape %s, source %s" % (out_img.shape, source_img.shape))
    if not np.allclose(out_img.affine, source_img.affine, atol=1e-5):
        problems.append("affine %s, source %s" % (out_img.affine, source_img.affine))
    for form in ("qform", "sform"):
        a, ca = getattr(out_img.header, "get_" + form)(coded=True)
        b, cb = getattr(source_img.header, "get_" + form)(coded=True)
        if int(ca) != int(cb) or (a is None) != (b is None) or (a is not None and not np.allclose(a, b, atol=1e-5)):
            problems.append("%s %s code %s, source %s code %s" % (form, a, ca, b, cb))
    return problems


def signed_log_p(p_raw, cnr):
    v = -np.log10(np.float32(p_raw), dtype=np.float32)
    return np.float32(-v if cnr < 0 else v) + np.float32(0.0)


def map_files(folder):
    return sorted(f for f in os.listdir(folder) if f.endswith(".nii"))
