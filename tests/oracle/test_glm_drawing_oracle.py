"""Checks the tools that change the linear model by hand against float64
computations written from the model's definition: the grid search over
onset, time constant and alpha of a gamma event against an exhaustive numpy
search of the same grid, and the maps of a small study (signed -log10 p,
effect size, contrast-to-noise) against statsmodels, voxel by voxel."""
import os
import subprocess
import sys
import tempfile

import numpy as np
import statsmodels.api as sm

f32 = np.float32
ALPHAS = [0.2, 0.4, 0.6, 0.8, 1.0, 2.0, 3.0, 4.0, 5.0]
failures = []


def check(condition, message):
    if not condition:
        failures.append(message)


def driver():
    build = os.environ.get('ZOR_BINARY_DIR', os.path.join(os.path.dirname(__file__), '..', '..', 'build'))
    return os.path.join(build, 'tests', 'glm_draw_driver')


def float_range(start, end, step):
    """The points a float loop from start to end (both included) visits."""
    v, out = f32(start), []
    while v <= f32(end):
        out.append(v)
        v = f32(v + f32(step))
    return out


class Model:
    """Runs of the given lengths at this TR with three baseline terms."""

    def __init__(self, runs, tr):
        self.runs, self.tr = runs, tr
        self.n = sum(runs)
        self.starts = np.cumsum([0] + list(runs))[:-1]
        self.t = np.arange(self.n) * tr
        self.include = np.ones(self.n, bool)
        self.events = []

    def run_end(self, seconds):
        for s, n in zip(self.starts, self.runs):
            if s * self.tr <= seconds <= (s + n - 1) * self.tr:
                return (s + n - 1) * self.tr
        return (self.starts[0] + self.runs[0] - 1) * self.tr

    def square(self, a, b):
        col = ((self.t >= a * self.tr) & (self.t <= b * self.tr)).astype(float)
        self.events.append(col)
        return col

    def gamma_column(self, onset, tau, alpha):
        on, ts = float(onset) * self.tr, float(tau) * self.tr
        off = self.run_end(on)
        col = np.zeros(self.n)
        inside = (self.t >= on) & (self.t <= off)
        u = (self.t[inside] - on) / ts
        col[inside] = u ** alpha * np.exp((1 - u) * alpha)
        peak = np.max(np.abs(col))
        return col / peak if peak else col

    def exclude(self, a, b):
        self.include[a:b + 1] = False

    def baseline(self):
        """Constant, linear and quadratic terms of each run, in that order."""
        cols = []
        for power in range(3):
            for s, n in zip(self.starts, self.runs):
                c = np.zeros(self.n)
                x = np.arange(n) / (n - 1)
                c[s:s + n] = 1.0 if power == 0 else (x - 0.5 if power == 1 else x * x - 1.0 / 3.0)
                cols.append(c)
        return cols

    def design(self, extra=()):
        return np.column_stack(self.events + list(extra) + self.baseline())

    def sigma2(self, X, y):
        Xi, yi = X[self.include], y[self.include]
        beta, *_ = np.linalg.lstsq(Xi, yi, rcond=None)
        r = yi - Xi @ beta
        return float(r @ r) / (len(yi) - X.shape[1])


def grid_case(seed, true_onset, true_tau, true_alpha, grid, free_alpha, folder):
    rng = np.random.default_rng(seed)
    runs, tr = (60, 50), 2.0
    m = Model(runs, tr)
    block = m.square(70, 80)
    y = (100 + 0.03 * np.arange(m.n) + 3.0 * block + 5.0 * m.gamma_column(true_onset, true_tau, true_alpha)
         + rng.normal(0, 0.3, m.n)).astype(np.float32)
    m.exclude(40, 43)
    path = os.path.join(folder, 'curve%d.f32' % seed)
    y.tofile(path)
    args = [driver(), 'grid', '60,50', str(tr), path] + ['%r' % g for g in grid] + \
        ['alpha' if free_alpha else 'fixed', 'square:1:70:80', 'exclude:40:43']
    out = subprocess.run(args, capture_output=True, text=True)
    check(out.returncode == 0, 'grid %d: driver failed: %s' % (seed, out.stdout[-2000:] + out.stderr))
    if out.returncode:
        return
    best = [line for line in out.stdout.splitlines() if line.startswith('best ')][0].split()[1:]
    e_onset, e_tau, e_alpha = (f32(v) for v in best)
    check('events 1' in out.stdout, 'grid %d: the search did not leave the model as it found it' % seed)

    # Exhaustive search, the same grid in the same order (tau, alpha, onset).
    results = []
    for tau in float_range(grid[3], grid[4], grid[5]):
        for alpha in (ALPHAS if free_alpha else [1.0]):
            for onset in float_range(grid[0], grid[1], grid[2]):
                X = m.design([m.gamma_column(onset, tau, f32(alpha))])
                results.append((m.sigma2(X, y.astype(float)), onset, tau, f32(alpha)))
    values = np.array([r[0] for r in results])
    order = np.argsort(values, kind='stable')
    best_value = values[order[0]]
    engine = [r for r in results if (r[1], r[2], r[3]) == (e_onset, e_tau, e_alpha)]
    check(len(engine) == 1, 'grid %d: the engine chose a point off the grid: %s' % (seed, best))
    if not engine:
        return
    # The same point, unless numpy's best two are closer than single precision tells apart.
    same = (results[order[0]][1], results[order[0]][2], results[order[0]][3]) == (e_onset, e_tau, e_alpha)
    close = engine[0][0] <= best_value * (1 + 2e-5)
    check(same or close, 'grid %d: engine best %s (sigma2 %.9g), numpy best %s (sigma2 %.9g)'
          % (seed, best, engine[0][0], results[order[0]][1:], best_value))
    # And it lies near the curve's own response.
    check(abs(float(e_onset) - true_onset) <= 1.0 and abs(float(e_tau) - true_tau) <= 1.0,
          'grid %d: best %s far from the truth' % (seed, best))
    return same


def maps_case(folder):
    runs, tr = (40, 32), 2.0
    m = Model(runs, tr)
    # Event 1: two squares, one column; event 2: a gamma.
    c1 = m.square(5, 10) + m.square(45, 50)
    c2 = m.gamma_column(20, 3, 2.0)
    m.events = [c1, c2]
    m.exclude(30, 33)
    nx, ny, nz = 4, 3, 2
    nvox = nx * ny * nz
    rng = np.random.default_rng(11)
    a = rng.uniform(-2, 4, nvox)
    b = rng.uniform(-1, 3, nvox)
    data = np.empty((m.n, nvox), np.float32)
    for v in range(nvox):
        data[:, v] = 100 + v + 0.05 * np.arange(m.n) + a[v] * c1 + b[v] * c2 + rng.normal(0, 1.0, m.n)
    path = os.path.join(folder, 'study.f32')
    data.tofile(path)
    out_path = os.path.join(folder, 'maps.f32')
    out = subprocess.run([driver(), 'maps', '40,32', str(tr), path, str(nx), str(ny), str(nz), out_path,
                          'square:1:5:10', 'square:1:45:50', 'gamma:2:20:3:2', 'exclude:30:33'],
                         capture_output=True, text=True, cwd=folder)
    check(out.returncode == 0, 'maps: driver failed: %s' % (out.stdout[-2000:] + out.stderr))
    if out.returncode:
        return
    names = [line.split()[2] for line in out.stdout.splitlines() if line.startswith('condition ')]
    check(names == ['1', '2', '12', '1-2'], 'maps: conditions %s' % names)
    check('calculating p: 100 %' in out.stdout, 'maps: no progress on standard output')
    maps = np.fromfile(out_path, np.float32).reshape(3 * len(names), nvox)
    contrasts = {'1': [1, 0], '2': [0, 1], '12': [1, 1], '1-2': [1, -1]}
    X = m.design()
    worst = [0.0, 0.0, 0.0]
    for v in range(nvox):
        fit = sm.OLS(data[m.include, v].astype(float), X[m.include]).fit()
        for k, name in enumerate(names):
            c = np.zeros(X.shape[1])
            c[:2] = contrasts[name]
            t = fit.t_test(c)
            effect, tvalue, p = float(t.effect[0]), float(t.tvalue[0, 0]), float(t.pvalue)
            logp = -np.log10(p) * np.sign(tvalue)
            errors = [abs(maps[3 * k, v] - logp) / max(1.0, abs(logp)),
                      abs(maps[3 * k + 1, v] - effect) / (abs(effect) + float(t.sd[0, 0])),
                      abs(maps[3 * k + 2, v] - tvalue) / max(1.0, abs(tvalue))]
            for j in range(3):
                worst[j] = max(worst[j], errors[j])
            check(errors[0] < 2e-4, 'maps: voxel %d %s: P %g, statsmodels %g' % (v, name, maps[3 * k, v], logp))
            check(errors[1] < 1e-4, 'maps: voxel %d %s: S %g, statsmodels %g' % (v, name, maps[3 * k + 1, v], effect))
            check(errors[2] < 1e-4, 'maps: voxel %d %s: T %g, statsmodels %g' % (v, name, maps[3 * k + 2, v], tvalue))
    print('maps: largest relative differences P %.2g, S %.2g, T %.2g' % tuple(worst))


def main():
    folder = tempfile.mkdtemp(prefix='zordraw.')
    exact = 0
    cases = [(1, 12.5, 4.3, 2.0, [10.0, 15.0, 0.5, 3.0, 6.0, 0.25], True),
             (2, 20.0, 6.0, 1.0, [17.0, 23.0, 0.6, 4.0, 8.0, 0.4], True),
             (3, 14.0, 3.0, 3.0, [12.0, 16.0, 0.4, 2.0, 4.0, 0.2], True),
             (4, 30.0, 5.0, 1.0, [27.0, 33.0, 0.5, 3.0, 7.0, 0.5], False)]
    for case in cases:
        if grid_case(*case, folder):
            exact += 1
    print('grid: %d of %d searches chose numpy\'s own best point' % (exact, len(cases)))
    maps_case(folder)
    if failures:
        print('\n'.join(failures))
        sys.exit(1)
    print('ok')


if __name__ == '__main__':
    main()
