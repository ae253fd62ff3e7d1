"""Times the tract density map of 20,000 tracts of 100 points through a
region of a 96x96x60 volume, and the filling of a closed wire of 52 control
points (17 curves) on a 64x64 and a 256x256 image; numpy does the same work
in one run, and both results are compared.

    /usr/bin/python3 bench/wire_tract_bench.py BUILD_DIR [ROUNDS]

The viewer's side reports the median of ROUNDS (default 7) runs of each,
timed inside the program; numpy's the median of as many calls.
"""
import os
import subprocess
import sys
import tempfile
import time

import numpy as np

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, '..', 'tests', 'oracle'))
from test_wire_fill_oracle import expected_weights  # noqa: E402

NX, NY, NZ = 96, 96, 60
NTRACTS, LENGTH = 20000, 100


def median_time(f, rounds):
    times = []
    for _ in range(rounds):
        t0 = time.perf_counter()
        out = f()
        times.append((time.perf_counter() - t0) * 1000.0)
    return sorted(times)[len(times) // 2], out


def make_tracts(rng):
    """Random walks of 100 steps between neighbouring voxels."""
    start = np.stack([rng.integers(5, n - 5, NTRACTS) for n in (NX, NY, NZ)], axis=1)
    steps = rng.integers(-1, 2, (NTRACTS, LENGTH, 3))
    steps[:, 0] = 0
    pos = start[:, None, :] + np.cumsum(steps, axis=1)
    for k, n in enumerate((NX, NY, NZ)):
        pos[..., k] = np.clip(pos[..., k], 0, n - 1)
    return (pos[..., 0] + NX * (pos[..., 1] + NY * pos[..., 2])).astype(np.int32)


def loop_points(segments=17, radius=70.0, z=45.0):
    """A closed star-like outline of cubic curves, handles off the chords."""
    pts = []
    angles = np.linspace(0, 2 * np.pi, segments + 1)
    for k in range(segments):
        a0, a1 = angles[k], angles[k + 1]
        r0 = radius * (1.0 if k % 2 == 0 else 0.7)
        r1 = radius * (1.0 if (k + 1) % 2 == 0 else 0.7)
        if k == segments - 1:
            r1 = radius
        p0 = np.array([r0 * np.cos(a0) + 0.37, r0 * np.sin(a0) - 0.21])
        p3 = np.array([r1 * np.cos(a1) + 0.37, r1 * np.sin(a1) - 0.21])
        mid = (a0 + a1) / 2
        bulge = np.array([np.cos(mid), np.sin(mid)]) * 6.0
        if k == 0:
            pts.append(p0)
        pts += [p0 + (p3 - p0) / 3 + bulge, p0 + 2 * (p3 - p0) / 3 + bulge, p3]
    pts[-1] = pts[0]
    return [np.array([p[0], p[1], z]) for p in pts]


def main():
    build = sys.argv[1] if len(sys.argv) > 1 else 'build-bench'
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 7
    rng = np.random.default_rng(11)
    folder = tempfile.mkdtemp(prefix='zorwirebench.')

    tracts = make_tracts(rng)
    words = np.concatenate([np.array([NX, NY, NZ], np.int32),
                            np.concatenate([np.full((NTRACTS, 1), LENGTH, np.int32), tracts], axis=1).ravel()])
    words.tofile(os.path.join(folder, 'tracts.trk'))
    region = np.zeros(NX * NY * NZ, np.float32)
    z, y, x = np.ogrid[:NZ, :NY, :NX]
    region[(((x - 48) ** 2 + (y - 48) ** 2 + (z - 30) ** 2) < 36).ravel()] = 1.0
    region.tofile(os.path.join(folder, 'region.f32'))
    loop = loop_points()
    with open(os.path.join(folder, 'loop.wire'), 'w') as f:
        for k, p in enumerate(loop):
            f.write('%f %f %f  %d\n' % (p[0], p[1], p[2], 0 if k == len(loop) - 1 else 1))

    tool = os.path.join(build, 'bench', 'zor_wire_tract_bench')
    done = subprocess.run([tool, folder, str(rounds)], capture_output=True, text=True)
    if done.returncode != 0:
        print('the viewer benchmark failed: %s %s' % (done.stdout, done.stderr))
        return 1
    ours = {}
    for line in done.stdout.splitlines():
        name, value = line.split()[:2]
        ours[name] = float(value)

    inside = region != 0

    def tract_map():
        hit = inside[tracts].any(axis=1)
        counts = np.zeros(NX * NY * NZ, np.float32)
        np.add.at(counts, tracts[hit].ravel(), 1.0)
        return counts / counts.max()

    parsed = np.loadtxt(os.path.join(folder, 'loop.wire'))[:, :3].astype(np.float32).astype(np.float64)

    def fill(n, res):
        origin = (-(n - 1) * res / 2.0, -(n - 1) * res / 2.0, 0.0)
        return expected_weights([parsed], (n, n, 30), (res, res, 3.0), origin, (1, 1, 1))[15]

    theirs = {}
    theirs['tractmap'], want_map = median_time(tract_map, rounds)
    theirs['fill64'], want64 = median_time(lambda: fill(64, 3.0), rounds)
    theirs['fill256'], want256 = median_time(lambda: fill(256, 0.75), rounds)

    got_map = np.fromfile(os.path.join(folder, 'tractmap.f32'), np.float32)
    got64 = np.fromfile(os.path.join(folder, 'fill64.f32'), np.float32).reshape(64, 64)
    got256 = np.fromfile(os.path.join(folder, 'fill256.f32'), np.float32).reshape(256, 256)

    def same_fill(got, want):
        return bool(np.array_equal(got != 0, want != 0) and np.abs(got - want).max() < 2e-5)

    same = {'tractmap': bool(np.array_equal(got_map, want_map)),
            'fill64': same_fill(got64, want64), 'fill256': same_fill(got256, want256)}
    print('%d tracts of %d points in %dx%dx%d; a closed wire of %d control points; median of %d runs' %
          (NTRACTS, LENGTH, NX, NY, NZ, len(loop), rounds))
    print('%-9s %10s %10s %8s  %s' % ('', 'zorview', 'numpy', 'ratio', 'same result'))
    for k in ('tractmap', 'fill64', 'fill256'):
        print('%-9s %8.2f ms %8.1f ms %8.2f  %s' % (k, ours[k], theirs[k], theirs[k] / ours[k], same[k]))
    print('tracts through the region: %d; filled voxels: %d (64), %d (256)' %
          (int(inside[tracts].any(axis=1).sum()), int((got64 != 0).sum()), int((got256 != 0).sum())))
    return 0 if all(same.values()) else 1


if __name__ == '__main__':
    sys.exit(main())
