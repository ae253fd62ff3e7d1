"""Runs the engine's voxel-loop benchmark and times numpy (with its BLAS)
doing the same algebra on the same data in one pass over all voxels.

    /usr/bin/python3 bench/glm_fit_bench.py BUILD_DIR [ROUNDS]

Each side reports the best of ROUNDS (default 3) passes: on a shared
machine single passes vary with the first touch of fresh memory.
"""
import os
import subprocess
import sys
import tempfile
import time

import numpy as np
from scipy import special


def main():
    build = sys.argv[1] if len(sys.argv) > 1 else 'build-bench'
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 3
    folder = tempfile.mkdtemp(prefix='zorglmbench.')
    out = subprocess.run([os.path.join(build, 'bench', 'glm_fit_bench'), folder, str(rounds)], capture_output=True, text=True,
                         check=True).stdout
    print(out, end='')
    engine = float([l for l in out.splitlines() if l.startswith('engine seconds')][0].split()[-1])
    nvox, ntime = 64 * 64 * 32, 300
    X = np.fromfile(os.path.join(folder, 'design.f32'), dtype=np.float32).reshape(ntime, -1).astype(np.float64)
    v = np.arange(nvox, dtype=np.uint64)[:, None]
    t = np.arange(ntime, dtype=np.uint64)[None, :]
    h = (v * np.uint64(2654435761) + t * np.uint64(40503) + np.uint64(12345)) & np.uint64(0xffffffff)
    h = (h * np.uint64(2246822519)) & np.uint64(0xffffffff)
    noise = (h.astype(np.float64) / 4294967296.0 - 0.5).astype(np.float32)
    Y = (np.float32(1000) + (np.arange(nvox) % 7).astype(np.float32)[:, None] * X[:, 0].astype(np.float32)[None, :]
         + np.float32(20) * noise).T.astype(np.float64)  # time by voxel
    k = X.shape[1]
    C = [np.zeros((1, k)), np.zeros((2, k))]
    C[0][0, 0], C[0][0, 1] = 1, -1
    C[1][0, 0], C[1][1, 1] = 1, 1

    numpy_seconds = float('inf')
    for _ in range(rounds):
        start = time.perf_counter()
        inv = np.linalg.inv(X.T @ X)
        P = inv @ X.T
        B = P @ Y
        R = Y - X @ B
        dof = ntime - k
        s2 = np.einsum('tv,tv->v', R, R) / dof
        p = []
        for Cm in C:
            cb = Cm @ B
            Vinv = np.linalg.inv(Cm @ inv @ Cm.T)
            F = np.einsum('iv,ij,jv->v', cb, Vinv, cb) / s2 / Cm.shape[0]
            x = dof / (Cm.shape[0] * F + dof)
            p.append(special.betainc(dof / 2, Cm.shape[0] / 2, x))
        numpy_seconds = min(numpy_seconds, time.perf_counter() - start)
    print('numpy seconds %.3f' % numpy_seconds)
    two = 2 * p[1][1]
    two = 1.0 if two == 2 else (2 - two if two > 1 else two)  # the doubling of multi-row tests
    print('numpy p of voxel 1: %.6g %.6g' % (p[0][1], two))
    print('ratio engine/numpy %.2f' % (engine / numpy_seconds))


if __name__ == '__main__':
    main()
