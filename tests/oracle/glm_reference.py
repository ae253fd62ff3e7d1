"""A float64 reference of the linear-model engine for generated studies:
study files, the design matrix, the ordinary least-squares fit and the
statistics of conditions, written from the model's definition and not from
the engine's code."""
import os
import struct
import subprocess

import numpy as np
from scipy import stats

f32 = np.float32
U = 2.0 ** -24  # unit roundoff of single precision
TOO_SMALL = struct.unpack('<f', struct.pack('<I', 27))[0]

SHAPE_WORDS = {'square': 0, 'gamma': 1, 'sigmoid': 2, 'table': 3, 'drug-IRF': 4, 'sine': 5, 'cosine': 6,
               'ramp-up': 7, 'ramp-down': 8, 'exponential-down': 9, 'baseline0': 10, 'baseline1': 11,
               'baseline2': 12, 'baseline3': 13, 'baseline-exp-sat': 14, 'interaction': 15}
NAMED = {'BOLD-monkey': (120.0, 0.1, 1.5, 4.5, 13.5, 0.7, -0.3),
         'IRON-monkey': (120.0, 0.1, 1.5, 4.5, 13.5, 0.4, 0.8),
         'BOLD-rat': (120.0, 0.1, 0.5, 2.5, 13.5, 0.7, -0.3),
         'IRON-rat': (120.0, 0.1, 0.5, 2.5, 13.5, 0.2, 0.8)}


def event_number(c):
    if '1' <= c <= '9':
        return ord(c) - ord('0')
    if 'a' <= c <= 'z':
        return ord(c) - ord('a') + 10
    if 'A' <= c <= 'Z':
        return ord(c) - ord('A') + 36
    return 0


class Event:
    """One event: its ID, shape word, header arguments and per-run entries."""

    def __init__(self, ident, shape, args=(), stims=None, runs=()):
        self.ident, self.shape, self.args = ident, shape, list(args)
        self.stims = stims or {}  # run -> [(on, off_or_None, magnitude_or_None)]
        self.runs = list(runs)    # run-spanning shapes: the runs that list it

    def header(self):
        word = 'baseline' if self.shape.startswith('baseline') and self.shape[-1].isdigit() else self.shape
        args = [self.shape[-1]] if word == 'baseline' else [str(a) for a in self.args]
        return ' '.join([self.ident, word] + args)

    def in_run(self, r):
        return r in self.stims or r in self.runs


class Study:
    def __init__(self, tr, runs, events, nbaseline=3, hrf=None, exclude=None, tables=None, conditions='1',
                 convolve_table='', drift='', scale=None, fpet=False, band=None, noise=None):
        self.tr, self.runs, self.events = tr, runs, events
        self.nbaseline, self.hrf = nbaseline, hrf
        self.exclude = exclude or {}
        self.tables = tables or {}
        self.conditions, self.convolve_table, self.drift = conditions, convolve_table, drift
        self.scale = scale or {}
        self.fpet, self.band, self.noise = fpet, band, noise

    # Files -----------------------------------------------------------------
    def write(self, folder):
        lines = []
        if self.fpet:
            lines.append('fPET-analysis')
        else:
            lines.append('baseline-terms %d' % self.nbaseline)
        if self.hrf is not None:
            name = self.hrf
            if isinstance(self.hrf, tuple):
                name = os.path.join(folder, 'kernel.irf')
                L, S, t0, t1, t2, w1, w2 = self.hrf
                with open(name, 'w') as f:
                    f.write('%r %r %r\n%r %r\n%r %r\n' % (L, S, t0, t1, t2, w1, w2))
            lines.append('IRF %s' % name)
        if self.convolve_table:
            lines.append('convolve-table %s' % self.convolve_table)
        if self.drift:
            lines.append('drift-correct %s' % self.drift)
        for ident, s in self.scale.items():
            lines.append('scale-event %r %s' % (s, ident))
        if self.noise:
            lines.append('noise-model %s' % self.noise)
        if self.band:
            lines.append('frequency-filter %r %r' % self.band)
        lines.append('conditions %s' % self.conditions)
        lines.append('runs:')
        for r, nt in enumerate(self.runs):
            stem = os.path.join(folder, 'run%d' % (r + 1))
            with open(stem + '.hdr', 'w') as f:
                f.write('x 1\ny 1\nz 1\nt %d\nstorage-type float\n' % nt)
            np.zeros(nt, dtype='<f4').tofile(stem + '.bfloat')
            with open(stem + '.glm', 'w') as f:
                f.write('%r\n' % self.tr)
                for e in self.events:
                    if not e.in_run(r):
                        continue
                    f.write('\n%s\n' % e.header())
                    for on, off, mag in e.stims.get(r, []):
                        f.write(' '.join(repr(v) for v in (on, off, mag) if v is not None) + '\n')
                if r in self.exclude:
                    f.write('\n-1\n')
                    for a, b in self.exclude[r]:
                        f.write('%d %d\n' % (a, b))
            line = '%s.bfloat %s.glm' % (stem, stem)
            if r in self.tables:
                names, columns = self.tables[r]
                table = stem + '.dat'
                with open(table, 'w') as f:
                    f.write(' '.join(names) + '\n')
                    for t in range(nt):
                        f.write(' '.join(repr(float(c[t])) for c in columns) + '\n')
                line += ' ' + table
            lines.append(line)
        control = os.path.join(folder, 'study.ctl')
        with open(control, 'w') as f:
            f.write('\n'.join(lines) + '\n')
        return control

    # Model -----------------------------------------------------------------
    def kernel(self):
        if self.hrf is None:
            return None, None
        L, S, t0, t1, t2, w1, w2 = NAMED[self.hrf] if isinstance(self.hrf, str) else self.hrf
        L, S = f32(L), f32(S)
        tau = [float(f32(t0)), float(f32(t1)), float(f32(t2))]
        w = [0.0, float(f32(w1)), float(f32(w2))]
        if all(tau):
            w[0] = -tau[0] * (w[1] / tau[1] + w[2] / tau[2])
        n = int(float(f32(L / S)) + 0.5)
        t = (f32(S) * np.arange(n, dtype=np.float32)).astype(np.float64)
        amp = sum(w[k] * float(S) / tau[k] * np.exp(-t / tau[k]) for k in range(3) if tau[k] != 0)
        return amp, S

    def model(self):
        """Events in the order of first definition, with stored float32 times."""
        tr = f32(self.tr)
        starts = np.cumsum([0] + self.runs[:-1])
        stops = starts + np.array(self.runs) - 1
        order = []
        for r in range(len(self.runs)):
            for e in self.events:
                if e.in_run(r) and e not in order:
                    order.append(e)
        stored = {}
        for e in order:
            entries = []
            for r in range(len(self.runs)):
                shift = f32(f32(int(starts[r])) * tr)
                if e.shape in ('table', 'interaction') or e.shape.startswith('baseline'):
                    if r in e.runs:
                        entries.append((f32(f32(int(starts[r])) * tr), f32(f32(int(stops[r])) * tr), 1.0))
                    continue
                for on, off, mag in e.stims.get(r, []):
                    if e.shape in ('gamma', 'sigmoid'):
                        off = f32(f32(int(stops[r] - starts[r])) * tr)
                    entries.append((f32(shift + f32(on)), f32(shift + f32(off)), float(f32(mag if mag is not None else 1.0))))
            stored[e.ident] = entries
        return order, stored, starts, stops

    def design(self):
        tr = f32(self.tr)
        amp, step = self.kernel()
        order, stored, starts, stops = self.model()
        ntime = sum(self.runs)
        nruns = len(self.runs)
        nsteps = int(float(tr / step) + 0.5) if amp is not None else 1
        time_step = step if amp is not None else tr
        if amp is not None:  # abutting stimuli give up one step of the kernel
            for e in order:
                if e.shape in ('square', 'ramp-up', 'ramp-down', 'exponential-down', 'drug-IRF'):
                    s = stored[e.ident]
                    for a in range(len(s)):
                        for b in range(len(s)):
                            if a != b and s[b][0] == s[a][1]:
                                s[a] = (s[a][0], f32(s[a][1] - f32(step)), s[a][2])
        fine_step = f32(tr / f32(nsteps))
        nfine = ntime * nsteps
        t = fine_step * np.arange(nfine, dtype=np.float32)
        td = t.astype(np.float64)
        nbase = 0 if self.fpet else self.nbaseline
        ncoeff = len(order) + nruns * nbase
        X = np.zeros((ntime, ncoeff))
        tables = self.corrected_tables(starts, stops)
        for j, e in enumerate(order):
            n = event_number(e.ident)
            scale = self.scale.get(e.ident, 1.0)
            p = np.zeros(nfine)
            shape = e.shape
            if shape.startswith('baseline'):
                for on, off, mag in stored[e.ident]:
                    a, b = int(f32(on) / tr), int(f32(off) / tr)
                    for tt in range(ntime):
                        if a <= tt <= b:
                            x = (tt - a) / (b - a)
                            X[tt, j] = ({'baseline0': 1.0, 'baseline1': x, 'baseline2': x * x, 'baseline3': x ** 3}
                                        .get(shape) if shape != 'baseline-exp-sat'
                                        else 1 - np.exp(-(tt - a) * float(tr) / float(f32(e.args[0]))))
                continue
            if shape == 'interaction':
                ia = [k for k, o in enumerate(order) if event_number(o.ident) == int(e.args[0])][0]
                ib = [k for k, o in enumerate(order) if event_number(o.ident) == int(e.args[1])][0]
                p[:ntime] = X[:, ia] * X[:, ib]
            elif shape == 'table':
                p = self.table_paradigm(e, stored[e.ident], tables, t, starts, stops, nsteps)
            else:
                p = self.stimulus_paradigm(e, stored[e.ident], t, td)
                if shape == 'drug-IRF':
                    tau1 = float(f32(e.args[0]))
                    tau2 = float(f32(e.args[1])) if len(e.args) > 1 else 0.0
                    m = f32(max(f32(tau1), f32(tau2)) / time_step)
                    length = 10 if m < 1 else int(m) * 10
                    tk = (f32(time_step) * np.arange(length, dtype=np.float32)).astype(np.float64)
                    if tau2 != 0:
                        p = np.convolve(p, np.exp(-tk / tau2))[:nfine]
                    if tau1 != 0:
                        p = np.convolve(p, (tk / tau1) * np.exp(-tk / tau1))[:nfine]
            if amp is not None and shape != 'interaction' and not (shape == 'table' and e.ident not in self.convolve_table):
                p = np.convolve(p, amp)[:nfine]
            if self.fpet and shape != 'table':
                p = np.concatenate([[0.0], np.cumsum(p)[:-1]])
            coarse = shape in ('table', 'interaction')
            m = ntime if coarse else nfine
            peak = p[np.argmax(np.abs(p[:m]))] if m else 0.0
            if peak != 0:
                p[:m] *= scale / abs(peak)
            X[:, j] = p[:ntime] if shape == 'interaction' else p[::nsteps][:ntime]
        k0 = len(order)
        for r in range(nruns):
            d = stops[r] - starts[r]
            for tt in range(starts[r], stops[r] + 1):
                x = (tt - starts[r]) / d if d else np.nan
                values = [1.0, x - 0.5, x * x - 1.0 / 3.0, x ** 3 - 0.25]
                for k in range(nbase):
                    X[tt, k0 + k * nruns + r] = values[k]
        include = np.ones(ntime)
        for r, segments in self.exclude.items():
            for a, b in segments:
                include[starts[r] + a:starts[r] + b + 1] = 0
        return X, include, order

    def stimulus_paradigm(self, e, entries, t, td):
        p = np.zeros(len(t))
        shape = e.shape
        tau = float(f32(e.args[0])) if e.args else 0.0
        alpha = float(f32(e.args[1])) if shape in ('gamma', 'sigmoid', 'exponential-down') and len(e.args) > 1 else 1.0
        for on, off, mag in entries:
            inside = (on <= t) & (t <= off)
            dt = td[inside] - float(on)
            if shape in ('square', 'drug-IRF'):
                v = np.full(dt.shape, mag)
            elif shape == 'ramp-up':
                v = mag * dt / float(off - on)
            elif shape == 'ramp-down':
                v = mag * (1 - dt / float(off - on))
            elif shape == 'exponential-down':
                v = mag * np.exp(-dt / tau)
            elif shape == 'sine':
                v = mag * np.sin(2 * np.pi / tau * dt)
            elif shape == 'cosine':
                v = mag * np.cos(2 * np.pi / tau * dt)
            elif shape == 'gamma':
                u = dt / tau
                v = mag * u ** alpha * np.exp((1 - u) * alpha)
            elif shape == 'sigmoid':
                u = dt / tau
                v = mag * u / np.sqrt(1 + u * u)
            p[inside] += v
        return p

    def corrected_tables(self, starts, stops):
        out = {}
        for r, (names, columns) in self.tables.items():
            out[r] = [np.array(c, dtype=np.float64) for c in columns]
        for e in self.events:
            if e.shape != 'table':
                continue
            drift = self.nbaseline
            if self.drift and e.ident in self.drift[1:]:
                drift = int(self.drift.split()[0])
            if drift <= 0 or self.fpet:
                continue
            for r in e.runs:
                col = out[r][int(e.args[0])]
                n = len(col)
                j = np.arange(n) / n
                basis = np.stack([np.ones(n), j - 0.5, j * j - 1.0 / 3.0, j ** 3 - 0.25][:self.nbaseline], 1)
                w = (col != 0).astype(float)
                beta = np.linalg.lstsq(basis * w[:, None], col * w, rcond=None)[0]
                out[r][int(e.args[0])] = col - basis @ beta
        return out

    def table_paradigm(self, e, entries, tables, t, starts, stops, nsteps):
        tr = f32(self.tr)
        p = np.zeros(len(t))
        for i in range(len(t)):
            r = 0
            while r < len(self.runs) - 1 and i // nsteps > stops[r]:
                r += 1
            for s, (on, off, mag) in enumerate(entries):
                if not (on <= t[i] <= off):
                    continue
                col = tables[r][int(e.args[0])]
                n = len(col)
                f = float(f32(f32(t[i] - f32(f32(int(starts[r])) * tr)) / tr))
                if f <= 0:
                    p[i] = col[0]
                elif f >= n - 1:
                    p[i] = col[n - 1]
                else:
                    k = int(f)
                    p[i] = (1 - (f - k)) * col[k] + (f - k) * col[k + 1]
        return p

    def contrasts(self, order, ncoeff):
        out = []
        for word in self.conditions.split():
            rows = [np.zeros(ncoeff)]
            sign = 1
            for c in word:
                if c == '-':
                    sign = -1
                elif c == ',':
                    rows.append(np.zeros(ncoeff))
                    sign = 1
                else:
                    for j, e in enumerate(order):
                        if event_number(e.ident) == event_number(c):
                            rows[-1][j] += sign
            out.append((word, np.array(rows)))
        return out


def band_filter(y, tr, low, high):
    """The pre-fit filter: gains on a scale to 1/TR, bin j+1's gain on
    element j, the last element untouched."""
    n = len(y)
    spectrum = np.fft.rfft(np.asarray(y, dtype=np.float64))
    for j in range(n // 2):
        freq = (j + 1) * (1 / float(tr)) / (n / 2.0)
        fh = 1 / (1 + (low / freq) ** 12)
        fl = 1 / (1 + (freq / high) ** 12) if high != 0 else 0.0
        spectrum[j] *= fl * fh
    return np.fft.irfft(spectrum, n)


def p_value(F, df1, df2):
    p = stats.f.sf(F, df1, df2) if df2 > 0 else 1.0
    if df1 != 1:
        p = 2 * p
        if p == 2:
            p = 1.0
        if p > 1:
            p = 2 - p
    return max(p, TOO_SMALL)


def run_driver(control, series=None, extra=(), cwd=None):
    binary = os.path.join(os.environ['ZOR_BINARY_DIR'], 'tests', 'glm_fit_driver')
    args = [binary, control] + (['--series', series] if series else []) + list(extra)
    done = subprocess.run(args, capture_output=True, text=True, cwd=cwd)
    if done.returncode != 0:
        raise RuntimeError('driver failed (%d): %s %s' % (done.returncode, done.stdout, done.stderr))
    return done.stdout


def parse_driver(text):
    design, voxels, filtered = {}, [], {}
    for line in text.splitlines():
        w = line.split()
        if not w:
            continue
        if w[0] == 'X':
            design[int(w[1])] = [float(v) for v in w[2:]]
        elif w[0] == 'filtered':
            filtered[int(w[1])] = np.array([float(v) for v in w[2:]])
        elif w[0] == 'voxel':
            voxels.append({'voxel': int(w[1]), 'conditions': []})
        elif w[0] == 'Beta_c':
            voxels[-1]['beta'] = np.array([float(v) for v in w[1:]])
        elif w[0] == 'Sigma2':
            voxels[-1]['sigma2'] = float(w[1])
        elif w[0] == 'dof':
            voxels[-1]['dof'] = float(w[1])
        elif w[0] == 'condition':
            d = dict(zip(w[3::2], [float(v) for v in w[4::2]]))
            d['word'] = w[2]
            voxels[-1]['conditions'].append(d)
    X = np.array([design[t] for t in sorted(design)]) if design else None
    return X, voxels, filtered
