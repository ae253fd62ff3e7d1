"""Region operations of the viewer against scipy.ndimage and numpy, voxel for
voxel: box erosion and dilation in 2-D and 3-D at distances 1 to 3 (voxels
outside the stack do not count), growing from a seed over a thresholded map
with and without an opening, clusters with corner neighbours, and threshold
selection above and below with and without a region in force."""
import os
import subprocess
import sys
import tempfile

import numpy as np
from scipy import ndimage

TOOL = os.path.join(os.environ["ZOR_BINARY_DIR"], "tests", "region_ops_driver")


def run(work, op, shape, data, *args):
    """shape is (nx, ny, nz); data is indexed [z, y, x]."""
    src, dst = os.path.join(work, "in.raw"), os.path.join(work, "out.raw")
    np.ascontiguousarray(data, dtype=np.float32).tofile(src)
    nx, ny, nz = shape
    argv = [TOOL, op, str(nx), str(ny), str(nz), src, dst] + [str(a) for a in args]
    subprocess.run(argv, check=True, stdout=subprocess.DEVNULL)
    return np.fromfile(dst, dtype=np.float32).reshape(nz, ny, nx)


def box(nrel, dimension):
    rz = nrel if dimension == 3 else 0
    return np.ones((2 * rz + 1, 2 * nrel + 1, 2 * nrel + 1), dtype=bool)


def erode(b, nrel, dimension):
    # Voxels outside the stack do not count: the border reads as set.
    return ndimage.binary_erosion(b, structure=box(nrel, dimension), border_value=1)


def dilate(b, nrel, dimension):
    return ndimage.binary_dilation(b, structure=box(nrel, dimension), border_value=0)


def component(b, seed):
    """The 26-connected part of b joined to the seed (the seed included)."""
    b = b.copy()
    b[seed] = True
    labels, _ = ndimage.label(b, structure=np.ones((3, 3, 3), dtype=bool))
    return labels == labels[seed]


def check(failures, name, got, want):
    if not np.array_equal(got, want):
        diff = np.argwhere(got != want)
        failures.append("%s: %d voxels differ, first at z,y,x %s" % (name, len(diff), diff[0]))


def main():
    rng = np.random.default_rng(1515)
    failures = []
    checks = 0
    with tempfile.TemporaryDirectory() as work:
        for shape in [(13, 11, 7), (9, 10, 1), (20, 17, 12)]:
            nx, ny, nz = shape
            for density in (0.3, 0.6, 0.85):
                b = rng.random((nz, ny, nx)) < density
                for nrel in (1, 2, 3):
                    for dimension in (2, 3):
                        got = run(work, "erode", shape, b, nrel, dimension) != 0
                        check(failures, "erode %s %g %d %dD" % (shape, density, nrel, dimension), got,
                              erode(b, nrel, dimension))
                        got = run(work, "dilate", shape, b, nrel, dimension) != 0
                        check(failures, "dilate %s %g %d %dD" % (shape, density, nrel, dimension), got,
                              dilate(b, nrel, dimension))
                        checks += 2

            # Growing from a seed on either side of zero, with openings of 0 to 2.
            for trial in range(6):
                smooth = ndimage.gaussian_filter(rng.standard_normal((nz, ny, nx)), 1.2)
                smooth = (smooth / smooth.std()).astype(np.float32)
                low = np.float32(0.8)
                side = 1 if trial % 2 == 0 else -1
                candidates = np.argwhere(side * smooth >= low)
                if len(candidates) == 0:
                    continue
                seed = tuple(candidates[rng.integers(len(candidates))])
                distance = trial % 3
                dimension = 3 if trial < 3 else 2
                got = run(work, "grow", shape, smooth, seed[2], seed[1], seed[0], low, distance, dimension)
                binary = side * smooth > low
                if distance:
                    binary = dilate(erode(binary, distance, dimension), distance, dimension)
                check(failures, "grow %s trial %d" % (shape, trial), got != 0, component(binary, seed))
                checks += 1

            # Clusters of a random region.
            region = rng.random((nz, ny, nx)) < 0.25
            for trial in range(4):
                members = np.argwhere(region)
                seed = tuple(members[rng.integers(len(members))])
                got = run(work, "cluster", shape, region.astype(np.float32), seed[2], seed[1], seed[0])
                check(failures, "cluster %s trial %d" % (shape, trial), got != 0, component(region, seed))
                checks += 1

            # Threshold selection: zero-valued voxels keep their weights.
            image = rng.integers(0, 6, (nz, ny, nx)).astype(np.float32)
            weights = (rng.random((nz, ny, nx)) < 0.4).astype(np.float32) * np.float32(0.5)
            for marker, above in [(2.5, 1), (3.0, 0), (0.5, 1)]:
                for in_force in (False, True):
                    w0 = weights if in_force else np.zeros_like(weights)
                    got = run(work, "threshold", shape, np.concatenate([image.ravel(), w0.ravel()]),
                              marker, above)
                    selected = image > marker if above else image < marker
                    if in_force:
                        selected &= w0 != 0
                    want = np.where(image == 0, w0, selected.astype(np.float32))
                    check(failures, "threshold %s %g %d %s" % (shape, marker, above, in_force), got, want)
                    checks += 1

    for f in failures:
        print("FAIL", f)
    print("%d checks, %d failures" % (checks, len(failures)))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
