"""The minimiser on the classic MINPACK test problems against scipy's
leastsq (MINPACK lmdif) run with the same controls: tolerances of 30
machine epsilons, the same relative error of the function for the
difference Jacobian, step bound 100 and 100 calls per parameter. Parameters
and residual norms must agree; the number of evaluations depends on
rounding and is only reported. The residuals are computed with the C
library's scalar functions, as the C++ side computes them, so that both
take the same path even where the call limit stops them."""
import os
import subprocess
import sys

import math

import numpy as np
from scipy.optimize import leastsq

TOL = 6.661338147750939e-15

BARD_Y = [0.14, 0.18, 0.22, 0.25, 0.29, 0.32, 0.35, 0.39, 0.37, 0.58, 0.73, 0.96, 1.34, 2.10, 4.39]
KOW_Y = [0.1957, 0.1947, 0.1735, 0.1600, 0.0844, 0.0627, 0.0456, 0.0342, 0.0323, 0.0235, 0.0246]
KOW_U = [4, 2, 1, 0.5, 0.25, 0.167, 0.125, 0.1, 0.0833, 0.0714, 0.0625]
MEYER_Y = [34780, 28610, 23650, 19630, 16370, 13720, 11540, 9744, 8261, 7030, 6005, 5147, 4427, 3820, 3307, 2872]
OSB_Y = [0.844, 0.908, 0.932, 0.936, 0.925, 0.908, 0.881, 0.850, 0.818, 0.784, 0.751, 0.718, 0.685, 0.658, 0.628,
         0.603, 0.580, 0.558, 0.538, 0.522, 0.506, 0.490, 0.478, 0.467, 0.457, 0.448, 0.438, 0.431, 0.424, 0.420,
         0.414, 0.411, 0.406]


def helical(x):
    theta = math.atan(x[1] / x[0]) / (2 * np.pi) + (0.5 if x[0] < 0 else 0.0)
    return [10 * (x[2] - 10 * theta), 10 * (math.sqrt(x[0] ** 2 + x[1] ** 2) - 1), x[2]]


def bard(x):
    out = []
    for i in range(1, 16):
        u, v = float(i), float(16 - i)
        out.append(BARD_Y[i - 1] - (x[0] + u / (x[1] * v + x[2] * min(u, v))))
    return out


def brown_dennis(x):
    out = []
    for i in range(1, 21):
        t = i / 5.0
        a, b = x[0] + t * x[1] - math.exp(t), x[2] + x[3] * math.sin(t) - math.cos(t)
        out.append(a * a + b * b)
    return out


def linear_full_rank(x):
    s = sum(x)
    return [(x[i] if i < 5 else 0.0) - 2.0 * s / 10 - 1.0 for i in range(10)]


PROBLEMS = {
    'rosenbrock': (lambda x: [10 * (x[1] - x[0] ** 2), 1 - x[0]], [-1.2, 1.0]),
    'helical_valley': (helical, [-1.0, 0.0, 0.0]),
    'powell_singular': (lambda x: [x[0] + 10 * x[1], math.sqrt(5.0) * (x[2] - x[3]), (x[1] - 2 * x[2]) ** 2,
                                   math.sqrt(10.0) * (x[0] - x[3]) ** 2], [3.0, -1.0, 0.0, 1.0]),
    'freudenstein_roth': (lambda x: [-13 + x[0] + ((5 - x[1]) * x[1] - 2) * x[1],
                                     -29 + x[0] + ((x[1] + 1) * x[1] - 14) * x[1]], [0.5, -2.0]),
    'bard': (bard, [1.0, 1.0, 1.0]),
    'kowalik_osborne': (lambda x: [y - x[0] * (u * u + u * x[1]) / (u * u + u * x[2] + x[3])
                                   for y, u in zip(KOW_Y, KOW_U)], [0.25, 0.39, 0.415, 0.39]),
    'meyer': (lambda x: [x[0] * math.exp(x[1] / (45.0 + 5.0 * i + x[2])) - MEYER_Y[i - 1] for i in range(1, 17)],
              [0.02, 4000.0, 250.0]),
    'box3d': (lambda x: [math.exp(-0.1 * i * x[0]) - math.exp(-0.1 * i * x[1])
                         - x[2] * (math.exp(-0.1 * i) - math.exp(-1.0 * i)) for i in range(1, 11)], [0.0, 10.0, 20.0]),
    'jennrich_sampson': (lambda x: [2 + 2 * i - (math.exp(i * x[0]) + math.exp(i * x[1])) for i in range(1, 11)],
                         [0.3, 0.4]),
    'brown_dennis': (brown_dennis, [25.0, 5.0, -5.0, -1.0]),
    'osborne1': (lambda x: [OSB_Y[i] - (x[0] + x[1] * math.exp(-10.0 * i * x[3]) + x[2] * math.exp(-10.0 * i * x[4]))
                            for i in range(33)], [0.5, 1.5, -1.0, 0.01, 0.02]),
    'linear_full_rank': (linear_full_rank, [1.0] * 5),
}


def main():
    tool = os.path.join(os.environ.get('ZOR_BINARY_DIR', 'build'), 'tests', 'lm_problems')
    out = subprocess.run([tool], capture_output=True, text=True, check=True).stdout
    failures = []
    seen = set()
    for line in out.splitlines():
        w = line.split()
        name, m, n, info, nfev, fnorm = w[0], int(w[1]), int(w[2]), int(w[3]), int(w[4]), float(w[5])
        par = np.array([float(v) for v in w[6:]])
        seen.add(name)
        f, start = PROBLEMS[name]
        x, _, d, _, ier = leastsq(lambda p: np.asarray(f(p), dtype=float), np.array(start), full_output=True,
                                  ftol=TOL, xtol=TOL, gtol=TOL, epsfcn=TOL, factor=100, maxfev=100 * (n + 1))
        ref_norm = float(np.linalg.norm(d['fvec']))
        scale = max(np.max(np.abs(x)), 1e-12)
        dpar = float(np.max(np.abs(par - x)) / scale)
        dnorm = abs(fnorm - ref_norm) / max(ref_norm, 1e-300)
        print('%-18s info %d (scipy %d) nfev %4d (scipy %4d) fnorm %.10g (scipy %.10g) rel. param diff %.2e'
              % (name, info, ier, nfev, d['nfev'], fnorm, ref_norm, dpar))
        if not np.isfinite(fnorm) or not np.all(np.isfinite(par)):
            failures.append('%s: not finite' % name)
        # Problems whose minimum is 0 are compared on the norm alone in absolute terms.
        if ref_norm < 1e-6:
            if fnorm > 1e-6:
                failures.append('%s: norm %g, scipy %g' % (name, fnorm, ref_norm))
        elif dnorm > 1e-9:
            failures.append('%s: norm %.12g, scipy %.12g' % (name, fnorm, ref_norm))
        if ref_norm >= 1e-6 and dpar > 1e-8:
            failures.append('%s: parameters %s, scipy %s' % (name, par, x))
        if info < 1 or info > 8:
            failures.append('%s: status %d' % (name, info))
    if seen != set(PROBLEMS):
        failures.append('problems missing: %s' % sorted(set(PROBLEMS) - seen))
    for f in failures:
        print('FAIL', f)
    return 1 if failures else 0


if __name__ == '__main__':
    sys.exit(main())
