"""Float64 references for the fit engine's tests: the driver's output, the
log-linear tensor fits with the engine's own definitions, the tensor maps,
and the models of the nonlinear fits."""
import os
import subprocess

import numpy as np

EPS32 = 2.0 ** -24
TOL = 6.661338147750939e-15  # the minimiser's tolerances and function error
DIPY_FILES = '/usr/lib/python3/dist-packages/dipy/data/files/'


def run_driver(control, extra=(), cwd=None):
    binary = os.path.join(os.environ['ZOR_BINARY_DIR'], 'tests', 'fit_driver')
    done = subprocess.run([binary, control] + list(extra), capture_output=True, text=True, cwd=cwd)
    if done.returncode != 0:
        raise RuntimeError('driver failed (%d): %s %s' % (done.returncode, done.stdout, done.stderr))
    return done.stdout


def parse_driver(text):
    """Voxel blocks {voxel: {'result', 'chi2', 'values', 'outputs', 'fit'}} and the x rows."""
    voxels, table, current = {}, {}, None
    for line in text.splitlines():
        w = line.split()
        if not w:
            continue
        if w[0] == 'voxel' and len(w) == 6 and w[2] == 'result':
            current = {'result': int(w[3]), 'chi2': float(w[5])}
            voxels[int(w[1])] = current
        elif w[0] in ('values', 'outputs', 'fit') and current is not None:
            current[w[0]] = np.array([float(v) for v in w[1:]])
        elif w[0] in ('x0', 'x1', 'x2', 'x3'):
            table[int(w[0][1])] = np.array([float(v) for v in w[1:]])
    return voxels, table


def small_64d():
    """The data as (voxels, 65) float64 and the gradient table with NaN made 0."""
    import nibabel as nib
    img = nib.load(DIPY_FILES + 'small_64D.nii')
    data = np.asarray(img.dataobj).astype(np.float64)
    # The engine's voxel order: x fastest, then y, then z.
    series = np.transpose(data, (2, 1, 0, 3)).reshape(-1, data.shape[-1])
    b = np.load(DIPY_FILES + 'small_64D.bvals.npy')
    g = np.nan_to_num(np.load(DIPY_FILES + 'small_64D.gradients.npy'))
    return series, g, b


def write_table(path, g, b):
    with open(path, 'w') as f:
        for i in range(len(b)):
            f.write('%.17g %.17g %.17g %.17g\n' % (g[i, 0], g[i, 1], g[i, 2], b[i]))


def tensor_design(table):
    x, y, z, b = table[0], table[1], table[2], table[3]
    return np.stack([np.ones_like(b), -x * x * b, -y * y * b, -z * z * b, -2 * x * y * b, -2 * x * z * b,
                     -2 * y * z * b], axis=1)


def linear_tensor_fit(X, S, weighted):
    """Coefficients, their unweighted standard errors and the pseudo-inverse
    of the log-linear fit; weights S^2 when weighted."""
    y = np.log(S)
    w = S * S if weighted else np.ones_like(S)
    N = X.T @ (w[:, None] * X)
    P = np.linalg.solve(N, (w[:, None] * X).T)
    beta = P @ y
    resid = y - X @ beta
    s = np.sqrt(np.sum(resid ** 2) / (len(y) - X.shape[1]))
    sem = np.sqrt(np.diag(np.linalg.inv(X.T @ X))) * s
    return beta, sem, P, N, w


def coefficient_bounds(X, S, w, beta, P, N, rng):
    """Single-precision error bounds of the log-linear coefficients.

    Two parts. The products of the fit itself: the pseudo-inverse times the
    log curve, n terms each, and the rounding of the logarithms (worst case,
    n unit roundoffs). And the pseudo-inverse's own error, which comes from
    the normal matrix formed and inverted in single precision: to first
    order -N^-1 E beta for a rounding error E of the normal matrix. Its worst
    case takes every sign against us and is thousands of times what
    rounding does, so E is drawn with entries of worst-case size and random
    signs and the size of a sum of n roundings of random sign (the square
    root of n unit roundoffs); the bound is three times the largest effect of
    eight draws."""
    y = np.log(S)
    n = len(y)
    absP = np.abs(P)
    product = n * EPS32 * (absP @ np.abs(y)) + EPS32 * (absP @ np.maximum(np.abs(y), 1.0))
    Ninv = np.linalg.inv(N)
    size = np.sqrt(n + 6.0) * EPS32 * (np.abs(X).T @ (w[:, None] * np.abs(X)))
    effect = np.zeros_like(beta)
    for _ in range(8):
        E = rng.uniform(-1.0, 1.0, size.shape) * size
        E = (E + E.T) / 2.0
        effect = np.maximum(effect, np.abs(Ninv @ (E @ beta)))
    return product + 3.0 * effect


def tensor_maps(S0, D, diag_sem, doff_sem):
    """The 18 outputs from the tensor, as the engine defines them."""
    Dxx, Dyy, Dzz, Dxy, Dxz, Dyz = D
    A = np.array([[Dxx, Dxy, Dxz], [Dxy, Dyy, Dyz], [Dxz, Dyz, Dzz]])
    e, V = np.linalg.eigh(A)
    MD = e.sum() / 3.0
    LD, RD = e[2], (e[0] + e[1]) / 2.0
    FA = np.sqrt(3.0 * np.sum((e - MD) ** 2)) / np.sqrt(2.0 * np.sum(e ** 2))
    sos = (Dxx - MD) ** 2 + (Dyy - MD) ** 2 + (Dzz - MD) ** 2 + 2 * (Dxy ** 2 + Dxz ** 2 + Dyz ** 2)
    As = np.sqrt(sos) / 2.449489742783178 / MD
    c = 0.3333333333333333 / As

    def g(d):
        return ((2.0 * d / 3.0) / MD + 1.0) / 12.0 / As - As / 3.0

    dA = np.sqrt(c * c * (doff_sem / MD) ** 2 * ((Dxy / MD) ** 2 + (Dxz / MD) ** 2 + (Dyz / MD) ** 2)
                 + (diag_sem / MD) ** 2 * (g(Dxx) ** 2 + g(Dyy) ** 2 + g(Dzz) ** 2))
    v = V[:, 2]
    a = np.abs(v)
    if a[0] > a[1] and a[0] > a[2]:
        dom = v[0]
    elif a[1] > a[2]:
        dom = v[1]
    else:
        dom = v[2]
    sign = -1.0 if dom < 0 else 1.0
    v = v * sign * FA
    return np.array([S0, MD, LD, RD, As, dA, FA, v[0], v[1], v[2], Dxx, Dyy, Dzz, Dxy, Dxz, Dyz, diag_sem, doff_sem])


def dti_nl_model(p, table):
    x, y, z, b = table[0], table[1], table[2], table[3]
    return p[0] * np.exp(-b * (p[1] * x * x + p[2] * y * y + p[3] * z * z + 2 * x * y * p[4] + 2 * x * z * p[4]
                               + 2 * y * z * p[6]))


def leastsq_controls(n):
    return dict(full_output=True, ftol=TOL, xtol=TOL, gtol=TOL, epsfcn=TOL, factor=100, maxfev=100 * (n + 1))
