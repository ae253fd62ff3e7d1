"""Filling closed wires into the region, against a crossing count computed
here with numpy on the same fine grid and brought down to the image grid by
the same Gaussian weights: a square, a concave curved shape on a
non-square image with a flipped x axis, a loop that leaves the volume, and a
large image filled on its own grid. Voxel sets must be equal and weights
agree to float precision."""
import os
import subprocess
import sys
import tempfile

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from test_downsample import axis_weights  # noqa: E402

BUILD = os.environ.get("ZOR_BINARY_DIR", "build")
TOOL = os.path.join(BUILD, "tests", "wire_fill_driver")


def bezier(p, n=40):
    """Power form of one cubic segment in x and y; z of the first point."""
    p = np.asarray(p, dtype=np.float64)
    c = 3 * (p[1] - p[0])
    b = 3 * (p[2] - p[1]) - c
    a = p[3] - p[0] - c - b
    t = np.arange(n) * (1.0 / (n - 1))
    xy = a[None, :2] * t[:, None] ** 3 + b[None, :2] * t[:, None] ** 2 + c[None, :2] * t[:, None] + p[0, :2]
    return xy, p[0, 2]


def crossings_along(lines, a, b, axis):
    """For each line coordinate L (in space) of the other axis, the positions
    (space, along `axis`) where the pieces a->b cross it, pieces half open."""
    other = 1 - axis
    out = []
    da = b[:, other] - a[:, other]
    ok = da != 0
    for L in lines:
        s = np.full(len(a), -1.0)
        s[ok] = (L - a[ok, other]) / da[ok]
        hit = ok & (s >= 0) & (s < 1)
        out.append(a[hit, axis] + s[hit] * (b[hit, axis] - a[hit, axis]))
    return out


def fill_mask(loop, shape, res, origin, direction):
    """Row and column parity of crossings from the window's start."""
    gx, gy = shape
    a, b = loop[:-1], loop[1:]
    step = np.array([direction[0] * res[0], direction[1] * res[1]])
    u = (loop - np.array(origin[:2])) / step
    lo, hi = u.min(axis=0), u.max(axis=0)
    ix1, ix2 = sorted((max(int(np.floor(lo[0])) - 2, 0), min(int(np.ceil(hi[0])) + 2, gx)))
    iy1, iy2 = sorted((max(int(np.floor(lo[1])) - 2, 0), min(int(np.ceil(hi[1])) + 2, gy)))
    mask = np.zeros((gy, gx), dtype=bool)
    rows = np.zeros((gy, gx), dtype=bool)
    ys = origin[1] + step[1] * np.arange(iy1, iy2)
    for j, xs in zip(range(iy1, iy2), crossings_along(ys, a, b, 0)):
        pos = np.sort((xs - origin[0]) / step[0])
        pos = pos[pos >= ix1]
        i = np.arange(ix1, ix2)
        rows[j, ix1:ix2] = np.searchsorted(pos, i, side="left") % 2 == 1
    xs_lines = origin[0] + step[0] * np.arange(ix1, ix2)
    for i, ys_hit in zip(range(ix1, ix2), crossings_along(xs_lines, a, b, 1)):
        pos = np.sort((ys_hit - origin[1]) / step[1])
        pos = pos[pos >= iy1]
        j = np.arange(iy1, iy2)
        mask[iy1:iy2, i] = rows[iy1:iy2, i] & (np.searchsorted(pos, j, side="left") % 2 == 1)
    return mask


def expected_weights(wires, dim, res, origin, direction):
    nx, ny, nz = dim
    out = np.zeros((nz, ny, nx))
    fine = nx < 500 or ny < 500
    for control in wires:
        segments = (len(control) - 1) // 3
        pieces = [bezier(control[3 * s:3 * s + 4]) for s in range(segments)]
        loop = np.concatenate([p[0] for p in pieces])
        z = pieces[0][1]
        if fine:
            # The fine grid's voxel size as the program stores it, in single precision.
            f32 = np.float32
            fres = (float(f32(nx) * f32(res[0]) / f32(500)), float(f32(ny) * f32(res[1]) / f32(500)))
            mask = fill_mask(loop, (500, 500), fres, origin, direction).astype(np.float64)
            wx, wy = axis_weights(500, nx), axis_weights(500, ny)
            num = wy @ mask @ wx.T
            den = wy.sum(axis=1)[:, None] * wx.sum(axis=1)[None, :]
            values = num / den
        else:
            values = fill_mask(loop, (nx, ny), res, origin, direction).astype(np.float64)
        iz = int(np.floor((z - origin[2]) / (direction[2] * res[2]) + 0.5))
        if 0 <= iz < nz:
            keep = values > 0.05
            out[iz][keep] = values[keep]
    return out


def straight(corners, z):
    pts = []
    for k, p in enumerate(corners):
        q = corners[(k + 1) % len(corners)]
        p, q = np.array(p, float), np.array(q, float)
        if k == 0:
            pts.append(p)
        pts += [p + (q - p) / 3, p + 2 * (q - p) / 3, q]
    pts[-1] = pts[0]
    return [np.array([x, y, z]) for x, y in pts]


def run_case(work, name, dim, res, origin, direction, wires, filled=True):
    path = os.path.join(work, name + ".wire")
    with open(path, "w") as f:
        for control in wires:
            for k, p in enumerate(control):
                f.write("%f %f %f  %d\n" % (p[0], p[1], p[2], 0 if k == len(control) - 1 else 1))
    # The program reads the file's six decimals: use the same numbers here.
    read_back, k = np.loadtxt(path, ndmin=2), 0
    parsed = []
    for control in wires:
        parsed.append(read_back[k:k + len(control), :3].astype(np.float32).astype(np.float64))
        k += len(control)
    out = os.path.join(work, name + ".f32")
    args = [TOOL] + [str(v) for v in list(dim) + list(res) + list(origin) + list(direction)] + [path, out]
    done = subprocess.run(args, capture_output=True, text=True)
    if done.returncode != 0:
        raise SystemExit("%s: driver failed: %s %s" % (name, done.stdout, done.stderr))
    got = np.fromfile(out, np.float32).reshape(dim[2], dim[1], dim[0]).astype(np.float64)
    want = expected_weights(parsed, dim, res, origin, direction)
    same_set = np.array_equal(got != 0, want != 0)
    worst = np.abs(got - want).max()
    print("%-9s voxels %5d / %5d, fractional %4d, largest difference %.2g" %
          (name, (got != 0).sum(), (want != 0).sum(), ((got > 0) & (got < 0.999)).sum(), worst))
    ok = same_set and worst < 2e-5 and ((want != 0).sum() > 0) == filled
    if not ok:
        print("FAIL %s: sets equal %s" % (name, same_set))
    return ok


def main():
    work = tempfile.mkdtemp(prefix="zor_wire_oracle_")
    ok = True
    # A square on slice 1 of a 32 x 32 x 3 image of 2 mm voxels.
    ok &= run_case(work, "square", (32, 32, 3), (2.0, 2.0, 3.0), (-31.0, -31.0, -3.0), (1, 1, 1),
                   [straight([(-17.3, -12.1), (14.7, -12.1), (14.7, 19.9), (-17.3, 19.9)], 0.0)])
    # A concave shape of curved segments (a crescent with a notch), on a
    # 40 x 30 image with x running backwards.
    crescent = [(10.3, 5.2, 2.5), (25.1, -4.3, 2.5), (40.7, 12.2, 2.5), (38.3, 27.6, 2.5),
                (33.1, 34.9, 2.5), (21.7, 40.3, 2.5), (14.2, 33.1, 2.5),
                (24.9, 28.8, 2.5), (30.2, 18.7, 2.5), (22.6, 12.9, 2.5),
                (16.1, 8.4, 2.5), (9.7, 13.3, 2.5), (10.3, 5.2, 2.5)]
    ok &= run_case(work, "concave", (40, 30, 2), (1.5, 2.0, 2.5), (55.0, 0.0, 0.0), (-1, 1, 1),
                   [[np.array(p) for p in crescent]])
    # A loop that leaves the volume at the right and at the top: its part
    # inside the volume is filled.
    ok &= run_case(work, "edge", (24, 24, 1), (1.0, 1.0, 1.0), (0.0, 0.0, 0.0), (1, 1, 1),
                   [straight([(8.3, 9.2), (30.6, 9.2), (30.6, 31.7), (8.3, 31.7)], 0.0)])
    # One that leaves it at the left and at the bottom: the counts start
    # inside the loop there, so rows and columns disagree and almost nothing
    # is kept; both sides must agree on that too.
    ok &= run_case(work, "edge-low", (24, 24, 1), (1.0, 1.0, 1.0), (0.0, 0.0, 0.0), (1, 1, 1),
                   [straight([(-6.3, -4.2), (15.6, -4.2), (15.6, 12.7), (-6.3, 12.7)], 0.0)], filled=False)
    # Two wires on two slices of one image. (Image sizes are chosen so that
    # no image voxel's centre falls exactly on a fine grid point: there the
    # kernel's reach depends on the last bit of the position.)
    ok &= run_case(work, "two", (24, 18, 2), (1.25, 1.5, 2.0), (0.0, 0.0, 0.0), (1, 1, 1),
                   [straight([(2.137, 3.311), (12.613, 3.379), (7.7413, 20.231)], 0.0),
                    straight([(10.13, 9.33), (27.61, 9.37), (27.64, 24.23), (10.17, 24.21)], 2.0)])
    # Large enough to be filled on its own grid.
    ok &= run_case(work, "large", (512, 512, 1), (0.5, 0.5, 1.0), (-128.0, -128.0, 0.0), (1, 1, 1),
                   [straight([(-40.3, -30.1), (60.2, -20.7), (10.6, 70.4)], 0.0)])
    if not ok:
        sys.exit(1)


if __name__ == "__main__":
    main()
