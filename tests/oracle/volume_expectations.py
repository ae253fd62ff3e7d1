"""What the volume loader must read from a NIfTI-1 file, worked out here
independently with numpy and nibabel, and the driver that asks the loader.

The loader keeps the voxels of a byte-swapped header in this machine's order,
scales with scl_slope unless it is 0, and in effect leaves complex and vector
data unscaled (only the very first stored value of a volume is scaled)."""
import os
import subprocess

import numpy as np
import nibabel as nib

BINARY_DIR = os.environ.get("ZOR_BINARY_DIR", "build")
TOOL = os.path.abspath(os.path.join(BINARY_DIR, "tests", "stack_dump"))

# NIfTI datatype -> (numpy type in this machine's order, bytes, data_type or None)
SUPPORTED = {
    2: ("u1", 1, None),
    4: ("<i2", 2, None),
    8: ("<i4", 4, None),
    16: ("<f4", 4, None),
    32: ("<f4", 4, 1),
    64: ("<f8", 8, None),  # rounded to float, then scaled as floats are
    512: ("<u2", 2, None),
}


class Failure(Exception):
    pass


def check(condition, message):
    if not condition:
        raise Failure(message)


def run_tool(args, cwd):
    p = subprocess.run([TOOL] + args, cwd=cwd, capture_output=True)
    return p.returncode, p.stdout.decode("latin-1"), p.stderr.decode("latin-1")


def parse_dump(path):
    """The stack's keys, and one dict per file."""
    stack, files = {}, []
    with open(path) as f:
        for line in f:
            key, _, rest = line.rstrip("\n").partition(" ")
            if key == "file":
                files.append({"file": rest})
            elif files:
                files[-1][key] = rest.split()
            else:
                stack[key] = rest.split()
    return stack, files


def raw_header(path):
    with open(path, "rb") as f:
        raw = f.read(352)
    check(len(raw) >= 348, "short header in test data")
    dtype = nib.nifti1.header_dtype
    little = np.frombuffer(raw[:348], dtype=dtype.newbyteorder("<"))[0]
    swapped = not (1 <= little["dim"][0] <= 7)
    h = np.frombuffer(raw[:348], dtype=dtype.newbyteorder(">"))[0] if swapped else little
    ldof = 0
    if len(raw) >= 352 and raw[348] != 0:
        with open(path, "rb") as f:
            f.seek(352)
            ext = f.read(12)
        if len(ext) >= 8 and int.from_bytes(ext[4:8], "little", signed=True) == 20 and len(ext) == 12:
            ldof = int.from_bytes(ext[8:12], "little", signed=True)
    return h, swapped, ldof


def expected_matrix(h, header_path):
    """(method, 4x4 float32) from nibabel's own qform/sform."""
    with open(header_path, "rb") as f:
        hdr = nib.Nifti1Header.from_fileobj(f, check=False)
    if int(h["qform_code"]) == 0:
        m = np.diag([h["pixdim"][1], h["pixdim"][2], h["pixdim"][3], 1.0]).astype(np.float32)
        return 1, m
    if int(h["sform_code"]) == 0:
        return 2, hdr.get_qform().astype(np.float32)
    return 3, hdr.get_sform().astype(np.float32)


def expect(header_path, name):
    """Expected outcome for a NIfTI-1 header: ('refused', message) or a dict."""
    h, swapped, ldof = raw_header(header_path)
    dim = [int(v) for v in h["dim"]]
    lines = []
    if dim[0] > 5:
        lines.append("Warning: zor does not currently handle data of dimensionality (%d) > 5." % dim[0])
        lines.append("Proceeding using the 1st 5 dimensions...")
    datatype = int(h["datatype"])
    if datatype not in SUPPORTED:
        lines.append("Error: the Nifti data storage type %d is not supported." % datatype)
        return {"refused": lines}
    npdtype, nbytes, dtype_override = SUPPORTED[datatype]
    data_type = dtype_override or 0
    if dim[0] == 5 and dim[5] == 3:
        data_type = 3
    nt = dim[4] if dim[0] >= 4 else 1
    for axis, value in zip("xyzt", dim[1:4] + [nt]):
        if value < 1:
            lines.append("Error: Value for %s dimension not found in header file '%s'" % (axis, name))
            return {"refused": lines}
    method, m = expected_matrix(h, header_path)
    return {
        "lines": lines, "swapped": swapped, "dim": dim[1:4], "nt": nt, "data_type": data_type,
        "npdtype": npdtype, "bytes": nbytes, "datatype": datatype,
        "resolution": np.array([h["pixdim"][1], h["pixdim"][2], h["pixdim"][3], h["pixdim"][4]], np.float32),
        "method": method, "matrix": m, "slope": np.float32(h["scl_slope"]),
        "inter": np.float32(h["scl_inter"]), "vox_offset": float(h["vox_offset"]), "lDOF": ldof,
        "qfac": np.float32(h["pixdim"][0]),
    }


def expected_values(e, data_path):
    """Every stored value of every volume, as the loader places them."""
    n3d = e["dim"][0] * e["dim"][1] * e["dim"][2]
    npts = n3d * (3 if e["data_type"] == 3 else 2 if e["data_type"] in (1, 2) else 1)
    nt = e["nt"]
    if e["npdtype"] is None:
        values = np.zeros((nt, npts), np.float32)
    else:
        raw = np.fromfile(data_path, dtype=e["npdtype"], count=nt * npts, offset=int(e["vox_offset"]))
        raw = raw.reshape(nt, npts)
        if e["npdtype"] == "u1" and e["data_type"] == 3:
            values = np.zeros((nt, npts), np.float32)
            rgb = raw.reshape(nt, n3d, 3).astype(np.float32)
            values[:, :n3d] = np.float32(65536) * rgb[:, :, 0] + np.float32(256) * rgb[:, :, 1] + rgb[:, :, 2]
        else:
            values = raw.astype(np.float32)
    slope, inter = e["slope"], e["inter"]
    if slope != 0:
        with np.errstate(all="ignore"):
            if e["data_type"] == 0:
                values = slope * values + inter
            else:
                values[:, 0] = slope * values[:, 0] + inter
    return values.astype(np.float32)


def floats(values):
    return np.array([float(v) for v in values], np.float32)


def compare_loaded(e, stack, f, values, name, cwd):
    check([int(v) for v in stack["stack_dim"]] == e["dim"], "%s: dim %s" % (name, stack["stack_dim"]))
    check(int(stack["stack_nt"][0]) == e["nt"], "%s: nt %s, expected %d" % (name, stack["stack_nt"], e["nt"]))
    check(int(stack["stack_data_type"][0]) == e["data_type"], "%s: data type" % name)
    got_res = floats(stack["stack_resolution"])
    check(np.array_equal(got_res, e["resolution"]), "%s: resolution %s vs %s" % (name, got_res, e["resolution"]))
    m = floats(stack["stack_ijk_to_xyz"]).reshape(4, 4)
    check(np.allclose(m, e["matrix"], rtol=1e-6, atol=1e-5), "%s: ijk_to_xyz\n%s\nexpected\n%s" % (name, m, e["matrix"]))
    if e["method"] != 2:
        check(np.array_equal(m, e["matrix"]), "%s: ijk_to_xyz not exact" % name)
    off = any(e["matrix"][i][j] != 0 for i in range(3) for j in range(3) if i != j)
    check(int(stack["stack_off_diagonal"][0]) == int(off) or e["method"] == 2, "%s: off_diagonal" % name)
    check(np.array_equal(floats(stack["stack_origin"]), m[:3, 3]), "%s: origin" % name)
    direction = [1.0 if m[i][i] > 0 else -1.0 for i in range(3)]
    check(list(floats(stack["stack_direction"])) == direction, "%s: direction" % name)
    check(int(f["lDOF"][0]) == e["lDOF"], "%s: lDOF %s vs %d" % (name, f["lDOF"], e["lDOF"]))
    check(int(f["file_nt"][0]) == e["nt"] and int(f["start_image"][0]) == 0, "%s: file list" % name)
    want = expected_values(e, os.path.join(cwd, f["file"]))
    check(values.shape == want.shape, "%s: %s values, expected %s" % (name, values.shape, want.shape))
    same = (values == want) | (np.isnan(values) & np.isnan(want))
    if not same.all():
        first = tuple(np.argwhere(~same)[0])
        raise Failure("%s: %d values differ, first at %s: %r vs %r" % (
            name, (~same).sum(), first, values[first], want[first]))


def load(data_name, cwd, extra=()):
    rc, out, err = run_tool(["-v"] + list(extra) + ["dump", data_name], cwd)
    result = {"rc": rc, "out": out, "err": err}
    if rc == 0:
        stack, files = parse_dump(os.path.join(cwd, "dump.txt"))
        values = np.fromfile(os.path.join(cwd, "dump.bin"), np.float32)
        npts = int(stack["stack_npts_volume"][0])
        result.update(stack=stack, files=files, values=values.reshape(int(stack["stack_nt"][0]), npts))
    return result


def check_file(header_path, data_name, cwd, nibabel_image=None):
    """Loads one file and checks it against the expectations. Returns a
    short description of what was checked."""
    name = os.path.basename(header_path)
    e = expect(header_path, name)
    r = load(data_name, cwd)
    out_lines = r["out"].replace("\r", "\n").split("\n")
    if "refused" in e:
        check(r["rc"] == 1, "%s: refused file gave status %d" % (name, r["rc"]))
        for line in e["refused"]:
            check(line in out_lines, "%s: missing message %r in %r" % (name, line, r["out"]))
        return "refused: " + e["refused"][-1]
    check(r["rc"] == 0, "%s: load failed: %s %s" % (name, r["out"], r["err"]))
    for line in e["lines"]:
        check(line in out_lines, "%s: missing %r" % (name, line))
    method_line = "The NIFTI header for file %s uses Method %d" % (name, e["method"])
    check(any(l.startswith(method_line) for l in out_lines), "%s: no line %r in %r" % (name, method_line, r["out"]))
    check(r["out"].endswith("\r%s: 100 %%\n" % data_name), "%s: no final progress line" % name)
    compare_loaded(e, r["stack"], r["files"][0], r["values"], name, cwd)
    if nibabel_image is not None:
        compare_with_nibabel(e, r, nibabel_image, name)
    return "loaded: %s x %d, method %d%s" % (e["dim"], e["nt"], e["method"], ", swapped" if e["swapped"] else "")


def compare_with_nibabel(e, r, img, name):
    """Against nibabel's own reading of the voxels, where the rules agree."""
    shape = tuple(img.header.get_data_shape()) + (1, 1)
    if len(img.header.get_data_shape()) > 4:
        return
    shape = shape[:3] + (e["nt"],)
    if e["data_type"] == 1 and not e["swapped"]:
        data = np.asarray(img.dataobj.get_unscaled())
        pairs = np.stack([data.real, data.imag], axis=-1).astype(np.float32)
        flat = pairs.reshape(shape[:3] + (-1, 2), order="F")
        flat = np.moveaxis(flat.reshape(-1, flat.shape[3], 2, order="F"), 1, 0).reshape(flat.shape[3], -1)
        got = r["values"].copy()
        if e["slope"] != 0:
            flat[:, 0] = e["slope"] * flat[:, 0] + e["inter"]
        check(np.array_equal(got, flat), "%s: complex values differ from nibabel's" % name)
        return
    if e["data_type"] != 0 or e["npdtype"] is None:
        return
    check(list(shape[:3]) == e["dim"], "%s: nibabel shape %s" % (name, shape))
    raw = np.asarray(img.dataobj.get_unscaled())
    raw = raw.reshape(shape, order="F")
    flat = raw.reshape(-1, raw.shape[3], order="F").T  # (t, voxel)
    if e["swapped"]:
        # The loader keeps the file's bytes as they are, read in this
        # machine's order.
        little = np.dtype(e["npdtype"])
        flat = np.ascontiguousarray(flat.astype(little.newbyteorder(">"))).view(little)
    vals = flat.astype(np.float32)
    if e["slope"] != 0:
        with np.errstate(all="ignore"):
            vals = e["slope"] * vals + e["inter"]
    got = r["values"]
    check(got.shape == vals.shape, "%s: nibabel shape %s vs %s" % (name, vals.shape, got.shape))
    same = (got == vals) | (np.isnan(got) & np.isnan(vals))
    check(same.all(), "%s: differs from nibabel's voxels" % name)
