"""Independent pieces for checking the group model: a NIfTI writer with the
degrees-of-freedom extension, control files in both forms, the design and
the degrees of freedom in numpy, the generalized least-squares fit in
float64, and a step-by-step single-precision port of the engine's
products and of its LU inversion, partial state included, for the cases
where the algebra is singular."""
import math
import os
import struct
import subprocess

import numpy as np

F32 = np.float32


def write_nifti(path, volumes, dof=None, ecode=20):
    """volumes: array (nt, nz, ny, nx) of float32. A first extension of code
    `ecode` carrying the integer `dof` when dof is not None."""
    nt, nz, ny, nx = volumes.shape
    h = bytearray(348)
    struct.pack_into('<i', h, 0, 348)
    struct.pack_into('<8h', h, 40, 4, nx, ny, nz, nt, 1, 1, 1)
    struct.pack_into('<hh', h, 70, 16, 32)
    struct.pack_into('<8f', h, 76, 1, 1, 1, 1, 1, 0, 0, 0)
    extension = b'\0\0\0\0' if dof is None else b'\1\0\0\0' + struct.pack('<iii', 16, ecode, dof) + b'\0' * 4
    struct.pack_into('<f', h, 108, 348 + len(extension))
    h[344:348] = b'n+1\0'
    with open(path, 'wb') as f:
        f.write(bytes(h) + extension + volumes.astype('<f4').tobytes())


class Event:
    def __init__(self, char, ranges, shape='square'):
        self.char, self.ranges, self.shape = char, ranges, shape


class Study:
    """A group study. `groups` (plain form): list of (char, number of files);
    `events` (range form): list of Event. Each file has two volumes (value,
    standard error) over nvox voxels, and its own degrees of freedom."""

    def __init__(self, folder, name, nfiles, events=None, groups=None, magnitudes=None, dofs=None, smoothing=None,
                 conditions='', resels=None, values=None, errors=None, nvox=4, plain_magnitudes=False):
        self.folder, self.nfiles = folder, nfiles
        self.magnitudes = np.ones(nfiles, dtype=F32) if magnitudes is None else np.asarray(magnitudes, F32)
        self.dofs = dofs if dofs is not None else [10] * nfiles
        self.smoothing, self.conditions = smoothing, conditions
        self.values, self.errors = values, errors
        self.files = []
        for j in range(nfiles):
            name_j = os.path.join(folder, '%s_%03d.nii' % (name, j))
            vol = np.stack([values[j], errors[j]]).reshape(2, 1, 1, nvox).astype(F32)
            write_nifti(name_j, vol, dof=self.dofs[j])
            self.files.append(name_j)
        lines = []
        if smoothing is not None:
            lines.append('smoothing %r %r' % smoothing)
        if resels is not None:
            lines.append('multiple-comparisons %d' % resels)
        lines.append('conditions ' + conditions + '  # the tests')
        lines.append('time-model REM')

        def file_line(j, with_magnitude):
            return self.files[j] + (' %.9g' % self.magnitudes[j] if with_magnitude else '')

        if groups is not None:
            self.events, j = [], 0
            for char, count in groups:
                lines.append('subjects %s' % char)
                for _ in range(count):
                    lines.append(file_line(j, plain_magnitudes))
                    j += 1
                self.events.append(Event(char, [(j - count, j - 1)]))
            assert j == nfiles
            if not plain_magnitudes:
                self.magnitudes = np.ones(nfiles, dtype=F32)
        else:
            self.events = events
            for i, e in enumerate(events):
                lines.append('event %s %s' % (e.char, e.shape))
                lines += ['%d %d' % r for r in e.ranges]
                if i % 2 == 0:
                    lines.append('')  # a blank line between events, or none
            lines.append('measurements:')
            lines += [file_line(j, True) for j in range(nfiles)]
        self.control = os.path.join(folder, name + '.rem')
        with open(self.control, 'w') as f:
            f.write('\n'.join(lines) + '\n')


def design(study):
    """The design in single precision, as the engine builds it."""
    n, E = study.nfiles, len(study.events)
    X = np.zeros((n, E), dtype=F32)
    m = study.magnitudes
    for e, ev in enumerate(study.events):
        top = F32(-1e10)
        for a, b in ev.ranges:
            for t in range(max(a, 0), min(b, n - 1) + 1):
                if m[t] > top:
                    top = m[t]
        for t in range(n):
            for a, b in ev.ranges:
                if a <= t <= b:
                    amp = F32(m[t] / top)
                    with np.errstate(divide='ignore', invalid='ignore'):
                        X[t, e] = F32(amp * F32(t - a)) / F32(b - a) if ev.shape == 'ramp' else amp
    return X


def degrees_of_freedom(study):
    """Fixed, random and effective degrees of freedom, with the engine's mix
    of single and double precision."""
    fixed = int(sum(d if d != 0 else 1 for d in study.dofs))
    random = study.nfiles - len(study.events)
    fs, fn = (F32(0), F32(1)) if study.smoothing is None else (F32(study.smoothing[0]), F32(study.smoothing[1]))
    d = np.float64
    with np.errstate(all='ignore'):
        base = F32(d(1.0) + d(2.0) * d(fn) * d(fn) / d(F32(fs * fs)))
        ratio = F32(np.power(d(base), 1.5))
        inverse_fixed = F32(1) / F32(fixed)
        value = d(1.0) / (d(inverse_fixed) + d(1.0) / (d(random) * d(ratio)))
    effective = int(np.rint(value)) if np.isfinite(value) else 0
    return fixed, random, effective


def contrasts(study, word):
    rows = word.split(',')
    C = np.zeros((len(rows), len(study.events)))
    for i, row in enumerate(rows):
        sign = 1
        for ch in row:
            if ch == '-':
                sign = -1
                continue
            for e, ev in enumerate(study.events):
                if ev.char == ch:
                    C[i, e] = sign  # assigned, not added
    return C


def gls(X, y, se, sigma2):
    """Generalized least squares in float64 with covariance diag(se^2) + sigma2 I."""
    X = X.astype(np.float64)
    w = 1.0 / (sigma2 + se.astype(np.float64) ** 2)
    V = np.linalg.inv(X.T @ (w[:, None] * X))
    beta = V @ (X.T @ (w * y))
    fit = X @ beta
    band = X @ np.sqrt(np.diag(V))
    average = np.array([beta[X[t] != 0].sum() for t in range(X.shape[0])])
    return beta, V, fit, band, average


# A step-by-step port of the engine's single-precision algebra.

def product(A, ta, B, tb, nrow, ncol, ninner):
    C = [[F32(0)] * ncol for _ in range(nrow)]
    for i in range(nrow):
        for j in range(ncol):
            s = F32(0)
            for k in range(ninner):
                a = A[k][i] if ta else A[i][k]
                b = B[j][k] if tb else B[k][j]
                s = F32(s + F32(a * b))
            C[i][j] = s
    return C


def invert(M):
    """In-place inverse as the engine does it: LU with partial pivoting in
    double, stopping at an exact zero pivot with the partial state left;
    the result (or that state) back in single precision."""
    n = len(M)
    a = [[float(v) for v in row] for row in M]
    pivot = [0] * n
    singular = False
    for k in range(n):
        p, largest = k, abs(a[k][k])
        for i in range(k + 1, n):
            if abs(a[i][k]) > largest:
                largest, p = abs(a[i][k]), i
        pivot[k] = p
        if a[p][k] == 0.0:
            singular = True
            break
        if p != k:
            a[p], a[k] = a[k], a[p]
        r = 1.0 / a[k][k]
        for i in range(k + 1, n):
            a[i][k] *= r
        for j in range(k + 1, n):
            t = a[k][j]
            if t == 0.0:
                continue
            for i in range(k + 1, n):
                a[i][j] -= t * a[i][k]
    if not singular:
        for j in range(n):
            a[j][j] = 1.0 / a[j][j]
            ajj = -a[j][j]
            for k in range(j):
                t = a[k][j]
                if t == 0.0:
                    continue
                for i in range(k):
                    a[i][j] += t * a[i][k]
                a[k][j] *= a[k][k]
            for i in range(j):
                a[i][j] *= ajj
        work = [0.0] * n
        for j in range(n - 1, -1, -1):
            for i in range(j + 1, n):
                work[i] = a[i][j]
                a[i][j] = 0.0
            for k in range(j + 1, n):
                t = work[k]
                if t == 0.0:
                    continue
                for i in range(n):
                    a[i][j] -= t * a[i][k]
        for j in range(n - 2, -1, -1):
            p = pivot[j]
            if p != j:
                for i in range(n):
                    a[i][j], a[i][p] = a[i][p], a[i][j]
    return [[F32(v) for v in row] for row in a], singular


def engine_fit(X, y, se, sigma2):
    """The whole fit through every matrix, as the engine's full computation."""
    n, c = X.shape
    Xl = [[F32(v) for v in row] for row in X]
    S = [[F32(se[i]) if i == j else F32(0) for j in range(n)] for i in range(n)]
    S2 = product(S, 0, S, 0, n, n, n)
    s2 = F32(sigma2)
    Sig = [[F32(F32((F32(1) if i == j else F32(0)) * s2) + S2[i][j]) for j in range(n)] for i in range(n)]
    Sigm1, covariance_singular = invert(Sig)
    XTS = product(Xl, 1, Sigm1, 0, c, n, n)
    Xw = product(Sigm1, 0, Xl, 0, n, c, n)
    XTXw = product(Xl, 1, Xw, 0, c, c, n)
    normal = product(XTXw, 1, XTXw, 0, c, c, c)
    normal_inverse, design_singular = invert(normal)
    V = product(normal_inverse, 0, XTXw, 1, c, c, c)
    P = product(V, 0, XTS, 0, c, n, c)
    beta = []
    for k in range(c):
        s = F32(0)
        for t in range(n):
            s = F32(s + F32(P[k][t] * F32(y[t])))
        beta.append(s)
    fit, band, average = [], [], []
    for t in range(n):
        f, b, av = F32(0), F32(0), F32(0)
        for k in range(c):
            x = Xl[t][k]
            f = F32(f + F32(x * beta[k]))
            if x != 0:
                av = F32(av + beta[k])
            with np.errstate(invalid='ignore'):
                b = F32(float(b) + float(x) * math.sqrt(float(V[k][k])) if V[k][k] >= 0 else math.nan)
        fit.append(f)
        band.append(b)
        average.append(av)
    return dict(beta=np.array(beta, F32), V=np.array(V, F32), fit=np.array(fit, F32), band=np.array(band, F32),
                average=np.array(average, F32), covariance_singular=covariance_singular,
                design_singular=design_singular)


def run_driver(control, extra=()):
    binary = os.path.join(os.environ['ZOR_BINARY_DIR'], 'tests', 'rem_fit_driver')
    done = subprocess.run([binary, control] + list(extra), capture_output=True, text=True)
    if done.returncode != 0:
        raise RuntimeError('driver failed (%d): %s %s' % (done.returncode, done.stdout, done.stderr))
    return done.stdout


def parse_driver(text):
    out = {'design': {}, 'voxels': []}
    for line in text.splitlines():
        w = line.split()
        if not w:
            continue
        if w[0] == 'X' and len(w) > 1 and w[1].isdigit():
            out['design'][int(w[1])] = np.array([float(v) for v in w[2:]], F32)
        elif w[0] == 'voxel':
            out['voxels'].append({'voxel': int(w[1]), 'conditions': [], 'V': []})
        elif w[0] == 'sigma2_RE':
            out['voxels'][-1]['sigma2'] = float(w[1])
        elif w[0] in ('Beta_c', 'fit', 'fit_error', 'fit_av'):
            out['voxels'][-1][w[0]] = np.array([float(v) for v in w[1:]], F32)
        elif w[0] == 'V' and out['voxels']:
            out['voxels'][-1]['V'].append([float(v) for v in w[2:]])
        elif w[0] == 'condition':
            d = dict(zip(w[3::2], w[4::2]))
            out['voxels'][-1]['conditions'].append({k: float(d[k]) for k in
                                                    ('F', 'cnr', 'p_raw', 'p_cor', 'effect', 'sem')})
        elif w[0] == 'dof':
            out['dof'] = (int(w[2]), int(w[4]), int(w[6]))
    return out
