"""Times the PET model's whole-volume fit, through the engine's driver, and
numpy (with its BLAS) doing the same algebra vectorised over all voxels in
one pass: per voxel the noise model with its cubic smoothing, the weights,
the running integrals of the voxel's own curve, the weighted normal matrix
and its inverse, the coefficients, sigma2, the hat diagonal and degrees of
freedom, and two conditions with their p values.

    /usr/bin/python3 bench/srtm_fit_bench.py BUILD_DIR [ROUNDS] [THREADS]

The study: 64x64x32 voxels, two runs of 26 frames (1 to 5 minutes), four
coefficients (R1, k2, k2a, and a gamma-shaped k2a in the second run).
Each side reports the best of ROUNDS (default 3) passes; the engine runs on
THREADS threads (default 2).
"""
import math
import os
import subprocess
import sys
import tempfile
import time

import numpy as np
from scipy import special

NX, NY, NZ, NT = 64, 64, 32, 26
HALF_LIFE = 20.4


def write_study(folder):
    rng = np.random.default_rng(1)
    seconds = [[float(s) for s in rng.choice([60, 120, 180, 240, 300], NT)] for _ in range(2)]
    nvox = NX * NY * NZ
    curves = []
    t0 = 0.0
    for r in range(2):
        s = np.array(seconds[r])
        mid = t0 + np.cumsum(s) / 60.0 - s / 120.0
        t0 += s.sum() / 60.0
        ref = 800.0 * (mid / 4.0) * np.exp(-mid / 25.0) + 50.0
        gain = 1.0 + 0.5 * (np.arange(nvox) % 97) / 97.0
        vol = (gain[None, :] * ref[:, None] * (1.0 + 0.6 * (1 - np.exp(-mid / 15.0)))[:, None]
               + rng.normal(0, 4.0, (NT, nvox))).astype('<f4')
        vol[:, 0] = ref + rng.normal(0, 4.0, NT)  # the reference region, with its own noise
        curves.append(vol)
        stem = os.path.join(folder, 'run%d' % (r + 1))
        with open(stem + '.hdr', 'w') as f:
            f.write('x %d\ny %d\nz %d\nt %d\nstorage-type float\n' % (NX, NY, NZ, NT))
        vol.tofile(stem + '.bfloat')
        with open(stem + '.table', 'w') as f:
            f.write('duration\n' + ''.join('%r\n' % v for v in seconds[r]))
        with open(stem + '.glm', 'w') as f:
            f.write('0\n1 R1\n\n2 k2\n\n3 k2a\n\n')
            if r == 1:
                f.write('4 k2a gamma\n10 8\n')
    with open(os.path.join(folder, 'ref.ovl'), 'w') as f:
        f.write('0 0 0\n1 0 0\n')  # a mean of two voxels: no voxel's own curve
    with open(os.path.join(folder, 'target.ovl'), 'w') as f:
        f.write('1 0 0\n')
    control = os.path.join(folder, 'pet.ctl')
    with open(control, 'w') as f:
        f.write('time-model SRTM\nhalf-life %r\nconditions 3 3,4\nreference-region %s\ntarget-region %s\nruns:\n'
                % (HALF_LIFE, os.path.join(folder, 'ref.ovl'), os.path.join(folder, 'target.ovl')))
        for r in range(2):
            stem = os.path.join(folder, 'run%d' % (r + 1))
            f.write('%s.bfloat %s.glm %s.table\n' % (stem, stem, stem))
    return control, seconds, np.concatenate(curves)  # (frames, voxels)


def numpy_fit(seconds, data):
    """The whole map at once, float64."""
    # Timing and the static side (shared by all voxels).
    dts, times, total = [], [], 0.0
    for s in seconds:
        d = [v / 60.0 for v in s]
        for j in range(NT):
            dt = d[j] / 2 + (d[j - 1] / 2 if j else 0.0)
            dts.append(dt)
            total += dt
            times.append(total)
    dt = np.array(dts)
    t = np.array(times)
    T = 2 * NT
    run = [slice(0, NT), slice(NT, 2 * NT)]
    ref = (data[:, 0].astype(float) + data[:, 1].astype(float)) / 2
    X_static = np.zeros((T, 2))
    for r in run:
        dref = np.concatenate([[ref[r][0]], np.diff(ref[r])]) / dt[r]
        X_static[r, 0] = np.cumsum(dt[r] * dref)
        X_static[r, 1] = np.cumsum(dt[r] * ref[r])
    start = t[NT] + 10.0
    x = np.where(t > start, (t - start) / 8.0, 0.0)
    gamma = np.where(t > start, x * np.exp(1 - x), 0.0)
    gamma[:NT] = 0.0
    life = HALF_LIFE * 1.442695
    u = np.arange(NT) / NT
    P = np.array([np.ones(NT), u - 0.5, u * u - 1 / 3, u ** 3 - 0.25]).T
    smoother = P @ np.linalg.solve(P.T @ P, P.T)  # all frames included

    Y = data.T.astype(float)  # (voxels, frames)
    V = Y.shape[0]
    W = np.empty_like(Y)
    X = np.empty((V, T, 4))
    X[:, :, 0:2] = X_static[None]
    for r in run:
        tt = t[r] - t[r][0]
        raw = np.sqrt(np.exp(tt / life)[None] * np.abs(Y[:, r]))
        fit = raw @ smoother.T / np.sqrt(dt[r])[None]
        w = 1.0 / (fit * fit)
        W[:, r] = w * (NT / w.sum(axis=1))[:, None]
        X[:, r, 2] = -np.cumsum(dt[r][None] * Y[:, r], axis=1)
        X[:, r, 3] = -np.cumsum((dt[r] * gamma[r])[None] * Y[:, r], axis=1) * (gamma[r] > 0)[None]
    XW = X * W[:, :, None]
    inv = np.linalg.inv(np.matmul(XW.transpose(0, 2, 1), X))
    pinv = np.matmul(inv, XW.transpose(0, 2, 1))  # (V, 4, T), weights folded in
    beta = np.matmul(pinv, Y[:, :, None])[:, :, 0]
    resid = Y - np.matmul(X, beta[:, :, None])[:, :, 0]
    hat = np.einsum('vct,vtc->vt', pinv, X)
    dof = T + 0.5 - 1.25 * hat.sum(axis=1)
    sigma2 = np.einsum('vt,vt->v', resid, resid) / dof
    p = []
    # Condition 3 (one row) and 3,4 (two rows): their covariances are 1x1
    # and 2x2, inverted in closed form.
    cb = beta[:, 2]
    F1 = cb * cb / inv[:, 2, 2] / sigma2
    a, b, d = inv[:, 2, 2], inv[:, 2, 3], inv[:, 3, 3]
    c3, c4 = beta[:, 2], beta[:, 3]
    F2 = (d * c3 * c3 - 2 * b * c3 * c4 + a * c4 * c4) / (a * d - b * b) / sigma2 / 2
    p = [special.betainc(0.5 * dof, 0.5, dof / (F1 + dof))]
    two = 2 * special.betainc(0.5 * dof, 1.0, dof / (2 * F2 + dof))
    p.append(np.where(two == 2, 1.0, np.where(two > 1, 2 - two, two)))
    return beta, sigma2, dof, p


def main():
    build = sys.argv[1] if len(sys.argv) > 1 else 'build'
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 3
    threads = int(sys.argv[3]) if len(sys.argv) > 3 else 2
    folder = tempfile.mkdtemp(prefix='zorsrtmbench.')
    control, seconds, data = write_study(folder)
    output = os.path.join(folder, 'map.f64')
    driver = os.path.join(build, 'tests', 'srtm_fit_driver')
    out = subprocess.run([driver, control, '--map', str(threads), '--rounds', str(rounds), '--output', output],
                         capture_output=True, text=True, check=True).stdout
    print(''.join(line + '\n' for line in out.splitlines() if line.startswith(('map', 'Warning'))), end='')
    engine = float([w for w in out.split('seconds')[1].split()][0])

    numpy_seconds = math.inf
    for _ in range(rounds):
        start = time.perf_counter()
        beta, sigma2, dof, p = numpy_fit(seconds, data)
        numpy_seconds = min(numpy_seconds, time.perf_counter() - start)
    mine = np.fromfile(output).reshape(data.shape[1], -1)
    scale = np.abs(beta).max(axis=0)
    difference = (np.abs(mine[:, :4] - beta) / scale).max()
    print('engine seconds %.3f' % engine)
    print('numpy seconds %.3f' % numpy_seconds)
    print('largest coefficient difference (share of its column\'s largest value) %.2e' % difference)
    print('p of voxel 1: engine %.6g %.6g, numpy %.6g %.6g' % (mine[1, 6 + 1], mine[1, 6 + 5 + 1], p[0][1], p[1][1]))
    print('ratio numpy/engine %.2f' % (numpy_seconds / engine))


if __name__ == '__main__':
    main()
