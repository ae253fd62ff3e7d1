"""A float64 reference of the PET kinetic-model engine for generated
studies: study files, frame times, tables, region curves, the design with
its running integrals, the noise weights, the weighted fit and the tests of
conditions, written from the model's definitions and not from the engine's
code."""
import math
import os
import subprocess

import numpy as np
from scipy import special, stats

f32 = np.float32
TYPES = {'R1': 0, 'k2': 1, 'K2': 1, 'k2a': 2, 'K2a': 2, 'V_over_b': 3, 'V_b': 3, 'DVb': 3, 'Vb': 3,
         '1_over_b': 4, 'b': 4, '1_b': 4, 'constant': 5, 'linear': 6}
SHAPES = {'constant': 0, 'gamma': 1, 'gamma-integral': 2, 'sigmoid': 3, 'table': 4}
P_FLOOR = 3.720075976020836e-44


def event_number(c):
    if '1' <= c <= '9':
        return ord(c) - ord('0')
    if 'a' <= c <= 'z':
        return ord(c) - ord('a') + 10
    if 'A' <= c <= 'Z':
        return ord(c) - ord('A') + 36
    return -1 if c == ',' else 0


class Run:
    """One run: frame durations (seconds), voxel data [frame][voxel], extra
    table columns, the event file's lines after the first, tau2' and the
    relative-k2' column."""

    def __init__(self, seconds, data, columns=(), lines=(), tau2=0.0, k2_column=None):
        self.seconds = list(seconds)
        self.data = np.asarray(data, dtype=f32)
        self.columns = [list(c) for c in columns]
        self.lines = list(lines)
        self.tau2, self.k2_column = tau2, k2_column

    @property
    def nt(self):
        return len(self.seconds)


class Study:
    def __init__(self, dim, runs, reference, target, keywords=(), conditions=''):
        self.dim = dim  # (nx, ny, nz)
        self.runs = runs
        self.reference, self.target = reference, target  # [(x, y, z, weight or None)]
        self.keywords, self.conditions = list(keywords), conditions

    def write(self, folder):
        def ovl(name, voxels):
            path = os.path.join(folder, name)
            with open(path, 'w') as f:
                for x, y, z, w in voxels:
                    f.write('%d %d %d%s\n' % (x, y, z, '' if w is None else ' %r' % w))
            return path
        lines = list(self.keywords)
        lines.append('conditions %s' % self.conditions)
        if self.reference:
            lines.append('reference-region %s' % ovl('reference.ovl', self.reference))
        lines.append('target-region %s' % ovl('target.ovl', self.target))
        lines.append('runs:')
        nx, ny, nz = self.dim
        for r, run in enumerate(self.runs):
            stem = os.path.join(folder, 'run%d' % (r + 1))
            with open(stem + '.hdr', 'w') as f:
                f.write('x %d\ny %d\nz %d\nt %d\nstorage-type float\n' % (nx, ny, nz, run.nt))
            run.data.astype('<f4').tofile(stem + '.bfloat')
            with open(stem + '.table', 'w') as f:
                f.write(' '.join(['duration'] + ['col%d' % (c + 1) for c in range(len(run.columns))]) + '\n')
                for t in range(run.nt):
                    f.write(' '.join(repr(float(v)) for v in [run.seconds[t]] + [c[t] for c in run.columns]) + '\n')
            with open(stem + '.glm', 'w') as f:
                first = repr(run.tau2) if run.k2_column is None else '%r %d' % (run.tau2, run.k2_column)
                f.write(first + '\n' + ''.join(line + '\n' for line in run.lines))
            lines.append('%s.bfloat %s.glm %s.table' % (stem, stem, stem))
        control = os.path.join(folder, 'pet.ctl')
        with open(control, 'w') as f:
            f.write('\n'.join(lines) + '\n')
        return control


class Reference:
    """The model's inputs and static design, from the study's own numbers."""

    def __init__(self, study):
        self.study = study
        kw = dict((k.split()[0], k.split()[1:]) for k in study.keywords)
        self.pet_model = 1 if kw.get('time-model', ['SRTM'])[0] in ('DV', 'distribution-volume') else 0
        self.half_life = float(f32(float(kw['half-life'][0]))) if 'half-life' in kw else 0.0
        self.plasma = int(kw['plasma-column'][0]) - 1 if 'plasma-column' in kw else 0
        runs = study.runs
        self.nt = [run.nt for run in runs]
        self.start = list(np.cumsum([0] + self.nt[:-1]))
        self.ntime = sum(self.nt)
        # Tables: column 0 to midpoint spacing in minutes.
        self.tables = []
        for run in runs:
            duration = [s / 60.0 for s in run.seconds]
            spacing, last = [], 0.0
            for j, d in enumerate(duration):
                dt = d / 2.0 + (duration[j - 1] / 2.0 if j else 0.0)
                time = last + dt
                spacing.append(time - last)
                last = time
            self.tables.append([spacing] + [list(map(float, c)) for c in run.columns])
        self.times = []
        total = 0.0
        for table in self.tables:
            for dt in table[0]:
                total += dt
                self.times.append(total)
        self.k2_base = [1.0 / float(f32(run.tau2)) if run.tau2 > 0 else 0.0 for run in runs]
        self.k2_rel = []
        for r, run in enumerate(runs):
            c = run.k2_column
            ok = c is not None and 0 < c < len(self.tables[r])
            self.k2_rel.append(list(self.tables[r][c]) if ok else [1.0] * run.nt)
        self.read_events()
        self.normalise_tables()
        self.regions()
        self.include = np.ones(self.ntime, dtype=int)
        for r, run in enumerate(runs):
            for j in self.exclude.get(r, []):
                self.include[self.start[r] + j] = 0

    def t(self, i):
        return self.times[i]

    def read_events(self):
        self.events, self.exclude = [], {}
        for r, run in enumerate(self.study.runs):
            run_start, run_stop = f32(self.t(self.start[r])), f32(self.t(self.start[r] + run.nt - 1))
            last_type, last_blank, current = False, False, None
            for line in run.lines:
                line = line.split('#')[0]
                words = line.split()
                if not words:
                    if last_type and not last_blank:
                        self.period(current, '0', run_start, run_stop)
                    last_blank, last_type = True, False
                elif not last_type:
                    last_blank = False
                    if len(words) == 2 and words[0] == 'exclude':
                        frames = []
                        for part in words[1].split(','):
                            a, _, b = part.partition('-')
                            frames += list(range(int(a), int(b or a) + 1))
                        self.exclude[r] = frames
                        continue
                    number = event_number(words[0][0])
                    found = [e for e in self.events if e['id'] == number]
                    if found:
                        current = found[0]
                    else:
                        current = {'id': number, 'type': TYPES[words[1]],
                                   'shape': SHAPES[words[2]] if len(words) > 2 else 0,
                                   'periods': [], 'tau': 0.0, 'alpha': 1.0, 'column': 0}
                        self.events.append(current)
                    if not current['periods']:
                        current['preset'] = (self.t(self.start[r]), self.t(self.start[r] + run.nt - 1))
                    last_type = True
                else:
                    self.period(current, line, run_start, run_stop)
                    last_type = last_blank = False
            if last_type and not current['periods']:
                current['periods'].append(current['preset'])

    def period(self, e, line, run_start, run_stop):
        values = line.split()
        shape = e['shape']
        start, stop, tau, alpha, column = 0.0, 0.0, 0.0, 1.0, 0
        if shape == 0:
            start = float(f32(float(values[0])))
            stop = float(f32(float(values[1]))) if len(values) > 1 else 0.0
        elif shape == 4:
            column = int(values[0])
        else:
            start, tau = float(f32(float(values[0]))), float(f32(float(values[1])))
            if shape == 1 and len(values) > 2:
                alpha = float(f32(float(values[2])))
        e['tau'], e['alpha'], e['column'] = tau, alpha, column
        a = float(f32(f32(start) + run_start))
        b = float(f32(f32(stop) + run_start)) if stop != 0 else float(run_stop)
        e['periods'].append((a, b))

    def normalise_tables(self):
        for k, e in enumerate(self.events):
            if e['shape'] != 4:
                continue
            c = e['column']
            vmax, it = f32(0), 0
            for r in range(len(self.tables)):
                for j in range(self.nt[r]):
                    v = f32(self.tables[r][c][j])
                    if abs(v) > vmax:
                        vmax, e['itime_max'] = v, it
                    it += 1
            if c != 0 and vmax != 0:
                for table in self.tables:
                    table[c] = [v / float(vmax) for v in table[c]]

    def regions(self):
        nx, ny, nz = self.study.dim

        def mask(voxels):
            m = np.zeros(nx * ny * nz)
            for x, y, z, w in voxels:
                m[z * nx * ny + y * nx + x] = float(f32(1.0 if w is None else w))
            return m
        target = mask(self.study.target)
        self.target = [run.data.astype(float) @ (target / target.sum()) for run in self.study.runs]
        if self.pet_model == 0:
            ref = mask(self.study.reference)
            self.ref = [run.data.astype(float) @ (ref / ref.sum()) for run in self.study.runs]
        else:
            self.ref = [np.array(self.tables[r][self.plasma]) for r in range(len(self.study.runs))]
        self.dref = []
        for r, ref in enumerate(self.ref):
            d = []
            for j in range(self.nt[r]):
                dt = float(f32(self.tables[r][0][j]))
                d.append(float(f32((ref[j] - (ref[j - 1] if j else 0.0)) / dt)))
            self.dref.append(np.array(d))

    # Design -----------------------------------------------------------------
    def shape(self, e, p, u, r):
        shape = e['shape']
        if shape == 0:
            return 1.0
        if shape == 4:
            return self.tables[r][e['column']][u]
        start, stop = e['periods'][p]
        time = self.t(self.start[r] + u)
        if not time > start:
            return 0.0
        x = (time - start) / e['tau']
        if shape == 1:
            return x ** e['alpha'] * math.exp((1 - x) * e['alpha'])
        if shape == 2:
            A = lambda s: (s + e['tau']) * math.exp(-s / e['tau'])  # noqa: E731
            return (A(start) - A(time)) / (A(start) - A(stop))
        return x / math.sqrt(1 + x * x)

    def column(self, k, curve):
        """Regressor k over all frames; `curve` the fitted curve (all frames)."""
        e = self.events[k]
        X, mix = np.zeros(self.ntime), np.zeros(self.ntime)
        for r in range(len(self.nt)):
            nt, i0 = self.nt[r], self.start[r]
            dt = self.tables[r][0]
            k2 = [self.k2_base[r] * v for v in self.k2_rel[r]]
            for j in range(nt):
                t = self.t(i0 + j)
                for p, (start, stop) in enumerate(e['periods']):
                    if not (t >= start and stop + 0.001 >= t):
                        continue
                    g = [self.shape(e, p, u, r) for u in range(j + 1)]
                    if e['type'] == 0:
                        first = sum(dt[u] * g[u] * self.dref[r][u] for u in range(j + 1))
                        X[i0 + j] = first + sum(dt[u] * g[u] * k2[u] * self.ref[r][u] for u in range(j + 1))
                        mix[i0 + j] = first
                    elif e['type'] in (1, 3):
                        s = sum(dt[u] * g[u] * self.ref[r][u] for u in range(j + 1))
                        X[i0 + j] = s if e['type'] == 1 else -s
                    elif e['type'] in (2, 4):
                        s = sum(dt[u] * g[u] * self.k2_rel[r][u] * curve[i0 + u] for u in range(j + 1))
                        X[i0 + j] = -s if e['type'] == 2 else s
                    elif e['type'] == 5:
                        X[i0 + j] = 1.0
                    else:
                        X[i0 + j] = float(f32(f32(j) / f32(nt)))
        return X, mix

    def design(self, curve):
        cols = [self.column(k, curve) for k in range(len(self.events))]
        return np.array([c[0] for c in cols]).T, np.array([c[1] for c in cols]).T

    def noise(self, curve):
        life = self.half_life * 1.442695
        raw_all, fit_all, w_all = [], [], []
        for r, nt in enumerate(self.nt):
            i0 = self.start[r]
            time = np.array([self.t(i0 + j) - self.t(i0) for j in range(nt)])
            counts = np.abs(np.asarray(curve[i0:i0 + nt], dtype=float))
            raw = np.sqrt(counts) if life == 0 else np.sqrt(np.exp(time / life) * counts)
            raw = raw.astype(f32).astype(float)
            order = 1 if life == 0 else 4
            u = np.arange(nt) / nt
            P = np.array([np.ones(nt), u - 0.5, u * u - 1 / 3, u ** 3 - 0.25])[:order].T
            inc = self.include[i0:i0 + nt].astype(float)
            beta = np.linalg.solve(P.T @ (inc[:, None] * P), P.T @ (inc * raw))
            fit = P @ beta
            dt = np.array(self.tables[r][0])
            raw_all.append(raw / np.sqrt(dt))
            fit_all.append(fit / np.sqrt(dt))
            w = 1.0 / (fit / np.sqrt(dt)) ** 2
            w_all.append(w * nt / w.sum())
        return np.concatenate(raw_all), np.concatenate(fit_all), np.concatenate(w_all)


def contrasts(conditions, events):
    out = []
    ids = [e['id'] for e in events]
    for token in conditions.split():
        rows = [np.zeros(len(events))]
        sign = 1
        for ch in token:
            if ch == ',':
                rows.append(np.zeros(len(events)))
                sign = 1
            elif ch == '-':
                sign = -1
            else:
                rows[-1][ids.index(event_number(ch))] += sign
        out.append(np.array(rows))
    return out


def weighted_fit(X, w, include, y):
    """The weighted least-squares fit with excluded frames as zero rows."""
    Xi = X * include[:, None]
    inv = np.linalg.inv(Xi.T @ (w[:, None] * Xi))
    beta = inv @ (Xi.T @ (include * w * y))
    resid = include * y - Xi @ beta
    hat = np.einsum('tc,cd,td->t', Xi, inv, Xi) * w
    dof = (include.sum() + 0.5) - 1.25 * hat.sum()
    return beta, inv, hat, dof, resid @ resid / dof


def test_condition(C, beta, inv, sigma2, dof, resels=0.0):
    cb = C @ beta
    V = C @ inv @ C.T
    df1 = C.shape[0]
    F = cb @ np.linalg.solve(V, cb) / sigma2 / df1
    best = int(np.argmax(np.abs(cb)))
    if df1 == 1:
        p = stats.f.sf(F, df1, dof)
    else:
        p = 2 * special.betainc(0.5 * dof, 0.5 * df1, dof / (df1 * F + dof))
        p = 1.0 if p == 2 else (2 - p if p > 1 else p)
    pc = resels * 0.1169 * ((dof - 1) / dof * F - 1) / (1 + F / dof) ** ((dof - 1) / 2)
    pc = 1.0 if (pc > 1 or pc < 0) else pc
    return {'F': F, 'cnr': -math.sqrt(abs(F)) if cb[best] < 0 else math.sqrt(abs(F)),
            'p_raw': max(p, P_FLOOR), 'p_cor': max(pc, P_FLOOR), 'effect': cb[best],
            'sem': math.sqrt(abs(V[best, best] * sigma2))}


def run_driver(control, extra=()):
    binary = os.path.join(os.environ['ZOR_BINARY_DIR'], 'tests', 'srtm_fit_driver')
    done = subprocess.run([binary, control] + list(extra), capture_output=True, text=True)
    if done.returncode != 0:
        raise RuntimeError('driver failed (%d): %s %s' % (done.returncode, done.stdout, done.stderr))
    return done.stdout


def parse_driver(text):
    """Inputs (a dict of labelled rows) and the fitted curves in order."""
    inputs, curves = {'time': {}, 'event': {}}, []
    for line in text.splitlines():
        w = line.split()
        if not w:
            continue
        key = w[0]
        if key == 'curve':
            curves.append({'name': ' '.join(w[1:]), 'X': {}, 'Xmix': {}, 'conditions': [], 'parameters': {},
                           'bp': {}})
        elif key == 'time':
            inputs['time'][int(w[1])] = float(w[2])
        elif key in ('table', 'reference', 'derivative', 'target', 'k2rel', 'run') and not curves:
            inputs.setdefault(key, {})[tuple(int(v) for v in w[1:3 if key == 'table' else 2])] = \
                np.array([float(v) for v in w[3 if key == 'table' else 2:]])
        elif key == 'event':
            inputs['event'][int(w[1])] = [float(v) for v in w[2:]]
        elif key == 'include':
            inputs['include'] = np.array([int(v) for v in w[1:]])
        elif key == 'nincluded':
            inputs['nincluded'] = float(w[1])
        elif key in ('X', 'Xmix'):
            curves[-1][key][int(w[1])] = [float(v) for v in w[2:]]
        elif key in ('noise_raw', 'noise_fit', 'weights', 'hat', 'beta', 'fit', 'fit_error'):
            curves[-1][key] = np.array([float(v) for v in w[1:]])
        elif key in ('sigma2', 'dof'):
            curves[-1][key] = float(w[1])
        elif key == 'condition':
            d = dict(zip(w[3::2], [float(v) for v in w[4::2]]))
            d['name'] = w[2]
            curves[-1]['conditions'].append(d)
        elif key == 'bp_condition':
            curves[-1]['bp'][int(w[1])] = (float(w[2]), float(w[3]))
        elif key == 'parameter':
            curves[-1]['parameters'][int(w[1])] = (float(w[2]), float(w[3]))
    for c in curves:
        for key in ('X', 'Xmix'):
            c[key] = np.array([c[key][t] for t in sorted(c[key])]) if c[key] else None
    return inputs, curves
