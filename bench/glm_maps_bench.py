"""Times the statistical maps of a whole study computed in memory (the "P"
key: fit, four conditions, -log10 p, effect size and contrast-to-noise at
every voxel of a 64x64x32 study of 300 time points, 10 coefficients) and
numpy (with its BLAS) doing the same algebra on the same data in one run.

    /usr/bin/python3 bench/glm_maps_bench.py BUILD_DIR [ROUNDS]

Each side reports the best of ROUNDS (default 3) passes, in elapsed and in
processor seconds (the latter tells the work apart from the machine's load).
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
    folder = tempfile.mkdtemp(prefix='zormapsbench.')
    # Run in the scratch folder: the maps write the model's "basis.dat" where they run.
    out = subprocess.run([os.path.join(os.path.abspath(build), 'bench', 'zor_glm_maps_timing'), folder, str(rounds)],
                         capture_output=True, text=True, check=True, cwd=folder).stdout
    print(out, end='')
    engine = float([l for l in out.splitlines() if l.startswith('engine seconds')][0].split()[-1])
    nvox, ntime = 64 * 64 * 32, 300
    X = np.fromfile(os.path.join(folder, 'design.f32'), dtype=np.float32).reshape(ntime, -1)
    v = np.arange(nvox, dtype=np.uint64)[None, :]
    t = np.arange(ntime, dtype=np.uint64)[:, None]
    h = (v * np.uint64(2654435761) + t * np.uint64(40503) + np.uint64(12345)) & np.uint64(0xffffffff)
    h = (h * np.uint64(2246822519)) & np.uint64(0xffffffff)
    noise = (h.astype(np.float64) / 4294967296.0 - 0.5).astype(np.float32)
    vv = np.arange(nvox)
    Y = (np.float32(1000) + (vv % 7).astype(np.float32)[None, :] * X[:, 0:1] +
         (vv % 5).astype(np.float32)[None, :] * X[:, 1:2] + np.float32(20) * noise).astype(np.float64)
    X = X.astype(np.float64)
    k = X.shape[1]
    rows = {'1': [1, 0], '2': [0, 1], '12': [1, 1], '1-2': [1, -1]}
    C = []
    for name in ('1', '2', '12', '1-2'):
        c = np.zeros((1, k))
        c[0, :2] = rows[name]
        C.append(c)

    numpy_seconds = numpy_cpu = float('inf')
    for _ in range(rounds):
        start, cpu = time.perf_counter(), time.process_time()
        inv = np.linalg.inv(X.T @ X)
        B = (inv @ X.T) @ Y
        R = Y - X @ B
        dof = ntime - k
        s2 = np.einsum('tv,tv->v', R, R) / dof
        maps = []
        for c in C:
            cb = (c @ B)[0]
            F = cb * cb / (c @ inv @ c.T)[0, 0] / s2
            p = special.betainc(dof / 2, 0.5, dof / (F + dof))
            cnr = np.sign(cb) * np.sqrt(F)
            maps += [-np.log10(p) * np.sign(cb), cb, cnr]
        numpy_seconds = min(numpy_seconds, time.perf_counter() - start)
        numpy_cpu = min(numpy_cpu, time.process_time() - cpu)
    print('numpy seconds %.3f' % numpy_seconds)
    print('numpy processor seconds %.3f' % numpy_cpu)
    print('numpy maps of voxel 1: ' + ' '.join('%.6g' % m[1] for m in maps))
    engine_cpu = float([l for l in out.splitlines() if l.startswith('engine processor seconds')][0].split()[-1])
    print('ratio numpy/engine %.2f (processor time %.2f)' % (numpy_seconds / engine, numpy_cpu / engine_cpu))


if __name__ == '__main__':
    main()
