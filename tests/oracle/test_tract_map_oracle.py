"""The tract density map through a region, against numpy on tract files made
here by hand: a few tracts written out word by word (one crossing a voxel
twice, one passing beside the region, one of length 0), then a larger
random set; after "Trace" and after two "ReTrace" clicks, which grow the
region along the densest voxels and add up the counts. Maps and regions
must be equal to the last bit."""
import os
import subprocess
import sys
import tempfile

import numpy as np

BUILD = os.environ.get("ZOR_BINARY_DIR", "build")
TOOL = os.path.join(BUILD, "tests", "tract_map_driver")
f32 = np.float32


def write_tracts(path, dim, tracts):
    words = [dim[0], dim[1], dim[2]]
    for t in tracts:
        words.append(len(t))
        words.extend(t)
    np.array(words, dtype=np.int32).tofile(path)


def count(tracts, inside, n, into):
    """Adds 1 at each voxel of each tract that touches the region, tract by
    tract, in single precision as the viewer adds."""
    for t in tracts:
        t = np.asarray(t, dtype=np.int64)
        if len(t) and inside[t].any():
            np.add.at(into, t, f32(1.0))
    return into


def expected(tracts, region, n, retraces):
    inside = region != 0
    counts = count(tracts, inside, n, np.zeros(n, f32))
    factor = counts.max()
    factor = f32(1.0) if factor == 0 else factor
    density = counts / factor if counts.max() != 0 else counts
    for _ in range(retraces):
        restored = (density * factor).astype(f32)
        grow = int(inside.sum())
        for _ in range(grow):
            outside = np.where(inside, f32(-np.inf), restored)
            best = int(np.argmax(outside))  # the first on a tie
            if restored[best] == 0 or inside[best]:
                break
            inside[best] = True
        counts = count(tracts, inside, n, restored)
        factor = counts.max()
        factor = f32(1.0) if factor == 0 else factor
        density = counts / factor if counts.max() != 0 else counts
    return density.astype(f32), inside, factor


def run_case(work, name, dim, tracts, region, retraces):
    n = dim[0] * dim[1] * dim[2]
    trk, reg = os.path.join(work, name + ".trk"), os.path.join(work, name + ".f32")
    write_tracts(trk, dim, tracts)
    region.astype(f32).tofile(reg)
    out_map, out_region = os.path.join(work, name + ".map"), os.path.join(work, name + ".reg")
    done = subprocess.run([TOOL, str(dim[0]), str(dim[1]), str(dim[2]), trk, reg, out_map, out_region,
                           str(retraces)], capture_output=True, text=True)
    if done.returncode != 0:
        raise SystemExit("%s: driver failed: %s %s" % (name, done.stdout, done.stderr))
    got_map = np.fromfile(out_map, f32)
    got_region = np.fromfile(out_region, f32) != 0
    want_map, want_region, factor = expected(tracts, region.copy(), n, retraces)
    reported = "tracts = %d, words = %d" % (len(tracts) + 1, 3 + sum(len(t) + 1 for t in tracts) +
                                             1 + (len(tracts[-1]) if tracts else 0))
    ok = (np.array_equal(got_map, want_map) and np.array_equal(got_region, want_region)
          and reported in done.stdout and ("factor %.9g" % factor) in done.stdout)
    print("%-8s retraces %d: region %4d voxels, map max %g, non-zero %5d: %s" %
          (name, retraces, got_region.sum(), got_map.max(), (got_map != 0).sum(), "ok" if ok else "FAIL"))
    return ok


def main():
    work = tempfile.mkdtemp(prefix="zor_tract_oracle_")
    dim = (6, 5, 4)
    flat = lambda x, y, z: x + dim[0] * (y + dim[1] * z)
    # By hand: A through the region at (2, 2, 1) and twice through (3, 2, 1);
    # B through it too; C beside it; D empty; E along z.
    tracts = [
        [flat(1, 2, 1), flat(2, 2, 1), flat(3, 2, 1), flat(4, 2, 1), flat(3, 2, 1)],
        [flat(2, 1, 1), flat(2, 2, 1), flat(2, 3, 1)],
        [flat(0, 0, 0), flat(1, 0, 0), flat(2, 0, 0)],
        [],
        [flat(2, 2, 0), flat(2, 2, 1), flat(2, 2, 2), flat(2, 2, 3)],
    ]
    region = np.zeros(dim[0] * dim[1] * dim[2])
    region[flat(2, 2, 1)] = 1.0
    ok = True
    for retraces in (0, 1, 2):
        ok &= run_case(work, "hand", dim, tracts, region, retraces)
    # Random walks through a 20 x 18 x 12 volume, a small ball as region.
    rng = np.random.default_rng(5)
    big = (20, 18, 12)
    n = big[0] * big[1] * big[2]
    many = []
    for _ in range(400):
        p = np.array([rng.integers(0, d) for d in big])
        walk = []
        for _ in range(int(rng.integers(0, 40))):
            p = np.clip(p + rng.integers(-1, 2, 3), 0, np.array(big) - 1)
            walk.append(int(p[0] + big[0] * (p[1] + big[1] * p[2])))
        many.append(walk)
    z, y, x = np.meshgrid(np.arange(big[2]), np.arange(big[1]), np.arange(big[0]), indexing="ij")
    ball = (((x - 10) ** 2 + (y - 9) ** 2 + (z - 6) ** 2) <= 4).ravel().astype(float)
    ball[ball != 0] = 0.5  # weights count only as being non-zero
    for retraces in (0, 2):
        ok &= run_case(work, "random", big, many, ball, retraces)
    if not ok:
        sys.exit(1)


if __name__ == "__main__":
    main()
