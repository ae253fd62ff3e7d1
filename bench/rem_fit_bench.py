"""Runs the group model's cursor-fit benchmark and times numpy doing the
same generalized least squares and tests, voxel by voxel, on the same data.

    /usr/bin/python3 bench/rem_fit_bench.py BUILD_DIR [ROUNDS]

Each side reports the median time of one cursor fit (the fit over 200 files
and the tests of 4 conditions), the best of ROUNDS (default 3) passes.
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
    folder = tempfile.mkdtemp(prefix='zorrembench.')
    done = subprocess.run([os.path.join(build, 'bench', 'rem_fit_bench'), folder, str(rounds)], capture_output=True,
                          text=True)
    print(done.stdout, end='')
    if done.returncode != 0:
        print('the engine benchmark failed: %s' % done.stderr)
        return 1
    engine = float([l for l in done.stdout.splitlines() if l.startswith('engine median')][0].split()[-1])
    dof = int([l for l in done.stdout.splitlines() if l.startswith('effective dof')][0].split()[-1])
    nfiles, nvox = 200, 2000
    X = np.fromfile(os.path.join(folder, 'design.f32'), dtype=np.float32).reshape(nfiles, -1).astype(np.float64)
    Y = np.fromfile(os.path.join(folder, 'y.f32'), dtype=np.float32).reshape(nvox, nfiles).astype(np.float64)
    SE = np.fromfile(os.path.join(folder, 'se.f32'), dtype=np.float32).reshape(nvox, nfiles).astype(np.float64)
    S2 = np.fromfile(os.path.join(folder, 'sigma2.f32'), dtype=np.float32).astype(np.float64)
    k = X.shape[1]
    # a-b, c, d, and the four-row test a,b,c,d.
    C = [np.array([[1.0, -1, 0, 0]]), np.array([[0, 0, 1.0, 0]]), np.array([[0, 0, 0, 1.0]]), np.eye(k)]

    def cursor_fit(v):
        w = 1.0 / (S2[v] + SE[v] ** 2)
        XtW = X.T * w
        V = np.linalg.inv(XtW @ X)
        beta = V @ (XtW @ Y[v])
        fit = X @ beta
        band = X @ np.sqrt(np.diag(V))
        p = []
        for Cm in C:
            cb = Cm @ beta
            F = cb @ np.linalg.solve(Cm @ V @ Cm.T, cb) / Cm.shape[0]
            b = special.betainc(dof / 2, Cm.shape[0] / 2, dof / (Cm.shape[0] * F + dof))
            p.append(b if Cm.shape[0] == 1 else (1.0 if 2 * b == 2 else (2 - 2 * b if 2 * b > 1 else 2 * b)))
        return fit, band, p

    best = float('inf')
    took = np.zeros(nvox)
    for _ in range(rounds):
        for v in range(nvox):
            start = time.perf_counter()
            cursor_fit(v)
            took[v] = time.perf_counter() - start
        best = min(best, float(np.median(took)))
    print('numpy median microseconds %.2f' % (best * 1e6))
    print('numpy p_raw of voxel 1: ' + ' '.join('%.6g' % p for p in cursor_fit(1)[2]))
    print('ratio engine/numpy %.3f' % (engine / (best * 1e6)))
    return 0


if __name__ == '__main__':
    sys.exit(main())
