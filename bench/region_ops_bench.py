"""Times growing, a 3-D dilation at distance 3 and clustering on a
256x256x150 volume, and scipy.ndimage doing the same operation in one run;
checks that both give the same voxels.

    /usr/bin/python3 bench/region_ops_bench.py BUILD_DIR [ROUNDS]

The viewer's side reports the median of ROUNDS (default 5) runs of each
operation, timed inside the program; scipy's the median of as many calls.
Both count the processor time of the thread: on a shared machine the wall
clock also counts the time other programs run.
"""
import os
import subprocess
import sys
import tempfile
import time

import numpy as np
from scipy import ndimage

NX, NY, NZ = 256, 256, 150
FULL = np.ones((3, 3, 3), dtype=bool)


def median_time(f, rounds):
    times = []
    for _ in range(rounds):
        t0 = time.thread_time()
        out = f()
        times.append((time.thread_time() - t0) * 1000.0)
    return sorted(times)[len(times) // 2], out


def main():
    build = sys.argv[1] if len(sys.argv) > 1 else 'build-bench'
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    rng = np.random.default_rng(7)
    folder = tempfile.mkdtemp(prefix='zorregionbench.')
    # A map whose activated part joined to the seed fills a quarter of the
    # volume: a block of x, y below 128 with scattered holes.
    shape = (NZ, NY, NX)
    map_ = np.zeros(shape, dtype=np.float32)
    map_[:, :128, :128] = 5.0
    map_[rng.random(shape) < 0.1] = 0.0
    seed = (75, 64, 64)
    map_[seed] = 5.0
    map_.tofile(os.path.join(folder, 'map.f32'))
    # A large region: a ball of radius 60.
    z, y, x = np.ogrid[:NZ, :NY, :NX]
    ball = ((x - 128) ** 2 + (y - 128) ** 2 + (z - 75) ** 2) < 60 ** 2
    ball.astype(np.float32).tofile(os.path.join(folder, 'region.f32'))
    # A thresholded smooth noise map.
    noise = ndimage.gaussian_filter(rng.standard_normal(shape).astype(np.float32), 3.0)
    clusters = noise > np.percentile(noise, 80)
    clusters.astype(np.float32).tofile(os.path.join(folder, 'clusters.f32'))
    # Clustering starts in the largest cluster.
    labels, _ = ndimage.label(clusters, structure=FULL)
    largest = np.argmax(np.bincount(labels.ravel())[1:]) + 1
    cluster_seed = tuple(int(i[0]) for i in np.nonzero(labels == largest))

    def flat(v):
        return v[2] + NX * (v[1] + NY * v[0])
    tool = os.path.join(build, 'bench', 'zor_region_ops_bench')
    done = subprocess.run([tool, folder, str(NX), str(NY), str(NZ), str(rounds), str(flat(seed)),
                           str(flat(cluster_seed))], capture_output=True, text=True)
    if done.returncode != 0:
        print('the viewer benchmark failed: %s' % done.stderr)
        return 1
    ours = {}
    for line in done.stdout.splitlines():
        name, value = line.split()[:2]
        ours[name] = float(value)

    def component(b, start=seed):
        labels, _ = ndimage.label(b, structure=FULL)
        return labels == labels[start]

    def grow():
        b = map_ > 1.0
        b[seed] = True
        return component(b)

    def dilate():
        return ndimage.binary_dilation(ball, structure=np.ones((7, 7, 7), dtype=bool))

    theirs = {}
    theirs['grow'], want_grow = median_time(grow, rounds)
    theirs['dilate3'], want_dilate = median_time(dilate, rounds)
    theirs['cluster'], want_cluster = median_time(lambda: component(clusters, cluster_seed), rounds)

    def read(name):
        return np.fromfile(os.path.join(folder, name), dtype=np.float32).reshape(shape) != 0

    same = {'grow': np.array_equal(read('grown.f32'), want_grow),
            'dilate3': np.array_equal(read('dilated.f32'), want_dilate),
            'cluster': np.array_equal(read('cluster.f32'), want_cluster)}
    print('%dx%dx%d, median of %d runs' % (NX, NY, NZ, rounds))
    print('%-8s %10s %10s %8s  %s' % ('', 'zorview', 'scipy', 'ratio', 'same voxels'))
    for k in ('grow', 'dilate3', 'cluster'):
        print('%-8s %8.1f ms %8.1f ms %8.2f  %s' % (k, ours[k], theirs[k], theirs[k] / ours[k], same[k]))
    print('grown region: %d voxels (a quarter is %d); cluster: %d voxels' % (want_grow.sum(), NX * NY * NZ // 4,
                                                                          want_cluster.sum()))
    return 0 if all(same.values()) else 1


if __name__ == '__main__':
    sys.exit(main())
