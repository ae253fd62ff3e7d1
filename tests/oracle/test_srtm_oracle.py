"""Compares the PET kinetic-model engine, through its driver, with a float64
reference on generated studies of two runs: frame times, table
normalisation, region curves, every design column, the noise weights, the
hat diagonal and degrees of freedom, the weighted fit, F and p values
against scipy, the kinetic parameters, and the recovery of R1, k2 and k2a
from a curve made by the model's own discrete equations."""
import math
import os
import sys
import tempfile

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from srtm_reference import Reference, Run, Study, contrasts, parse_driver, run_driver, test_condition, \
    weighted_fit  # noqa: E402

failures = []
f32 = np.float32


def check(condition, message):
    if not condition:
        failures.append(message)


def close(a, b, rel, what, scale=None):
    a, b = np.asarray(a, dtype=float), np.asarray(b, dtype=float)
    if a.shape != b.shape:
        failures.append('%s: shapes %s and %s' % (what, a.shape, b.shape))
        return
    s = np.abs(b) if scale is None else scale
    bad = np.abs(a - b) > rel * s + 1e-300
    if np.any(bad):
        i = np.argwhere(bad)[0]
        failures.append('%s: %r against %r at %s' % (what, a[tuple(i)], b[tuple(i)], tuple(i)))


DIM = (4, 3, 2)
NVOX = 24
REFERENCE_VOXELS = [(0, 0, 0, None), (1, 0, 0, 0.5)]
TARGET_VOXELS = [(1, 1, 0, None), (2, 1, 0, 0.75), (3, 1, 0, 0.25)]


def frames(rng, n):
    return [float(rng.choice([60, 120, 180, 240, 300])) for _ in range(n)]


def study_data(rng, seconds_per_run, plasma=False):
    """Voxel curves over two runs: a reference curve in voxels 0 and 1,
    tissue-like curves elsewhere, with noise."""
    data = []
    t0 = 0.0
    for seconds in seconds_per_run:
        mid = t0 + np.cumsum(seconds) / 60.0 - np.array(seconds) / 120.0
        t0 += sum(seconds) / 60.0
        ref = 800.0 * (mid / 4.0) * np.exp(-mid / 25.0) + 50.0
        vol = np.zeros((len(seconds), NVOX))
        for v in range(NVOX):
            gain = 1.0 + 0.07 * v
            tissue = gain * ref * (1.0 + 0.6 * (1 - np.exp(-mid / 15.0)))
            vol[:, v] = tissue + rng.normal(0, 4.0, len(seconds))
        vol[:, 0] = ref + rng.normal(0, 1.0, len(seconds))
        vol[:, 1] = ref * 1.02 + rng.normal(0, 1.0, len(seconds))
        data.append(vol)
    return data


def studies():
    rng = np.random.default_rng(12)
    out = {}
    # Free k2', half-life, exclusions, gamma and sigmoid k2a, constant and
    # linear nuisance terms.
    s1, s2 = frames(rng, 12), frames(rng, 10)
    d = study_data(rng, [s1, s2])
    run1 = Run(s1, d[0], lines=['exclude 2,5', '1 R1', '', '2 k2', '', '3 k2a', '', '4 k2a gamma', '10 6 2',
                                 '6 constant', '', '7 linear', ''])
    run2 = Run(s2, d[1], lines=['1 R1', '', '2 k2', '', '3 k2a', '', '5 k2a sigmoid', '3 4', '6 constant', '',
                                 '7 linear', '', 'exclude 8-9'])
    out['free_k2prime'] = (Study(DIM, [run1, run2], REFERENCE_VOXELS, TARGET_VOXELS,
                                 ['time-model SRTM', 'half-life 20.4'], '3 4 3-4 1,2 5 34 -3,6'),
                           {'frame': 4, 'codes': [0, 1, 2, -1, -2]})
    # Fixed k2' scaled by a table column, gamma-integral and table-shaped
    # k2a, no half-life.
    s1, s2 = frames(rng, 11), frames(rng, 9)
    d = study_data(rng, [s1, s2])
    rel1 = list(1.0 + 0.1 * np.sin(np.arange(11)))
    rel2 = list(1.0 + 0.1 * np.cos(np.arange(9)))
    bump1 = list(np.exp(-0.5 * ((np.arange(11) - 6) / 2.0) ** 2) * 3.0)
    bump2 = list(-np.exp(-0.5 * ((np.arange(9) - 2) / 2.0) ** 2) * 1.5)
    run1 = Run(s1, d[0], columns=[rel1, bump1], tau2=25.0, k2_column=1,
               lines=['exclude 0', '1 R1', '', '2 k2a', '', '3 k2a gamma-integral', '5 12', '4 k2a table', '2'])
    run2 = Run(s2, d[1], columns=[rel2, bump2], tau2=25.0, k2_column=1,
               lines=['1 R1', '', '2 k2a', '', '4 k2a table', '2', '5 k2a', '4 20'])
    out['fixed_k2prime'] = (Study(DIM, [run1, run2], REFERENCE_VOXELS, TARGET_VOXELS, ['time-model MRTM'],
                                  '2 2-3 4 3,4 5-2'),
                            {'frame': 7, 'codes': [0, 1, 2, -2]})
    # The distribution-volume variant with a plasma column.
    s1, s2 = frames(rng, 10), frames(rng, 10)
    d = study_data(rng, [s1, s2])
    mid = np.cumsum(s1 + s2) / 60.0
    plasma = 2000.0 * np.exp(-mid / 3.0) + 100.0 * np.exp(-mid / 60.0)
    run1 = Run(s1, d[0], columns=[list(plasma[:10])], lines=['1 1_over_b', '', '2 V_over_b', '',
                                                              '3 b sigmoid', '8 3'])
    run2 = Run(s2, d[1], columns=[list(plasma[10:])], lines=['1 1_over_b', '', '2 V_over_b', ''])
    out['distribution_volume'] = (Study(DIM, [run1, run2], [], TARGET_VOXELS,
                                        ['time-model DV', 'plasma-column 2', 'half-life 109.8'], '1 2 1,2'),
                                  {'frame': 12, 'codes': [3, 4, -3, -4]})
    return out


def compare_inputs(name, ref, inputs):
    close([inputs['time'][i] for i in range(ref.ntime)], ref.times, 1e-13, name + ' frame times')
    for r in range(len(ref.nt)):
        for c, column in enumerate(ref.tables[r]):
            close(inputs['table'][(r, c)], column, 1e-13, '%s table %d column %d' % (name, r, c))
        close(inputs['reference'][(r,)], ref.ref[r], 1e-9, '%s reference curve %d' % (name, r))
        close(inputs['target'][(r,)], ref.target[r], 1e-9, '%s target curve %d' % (name, r))
        close(inputs['derivative'][(r,)], ref.dref[r], 1e-6, '%s reference derivative %d' % (name, r))
        close(inputs['k2rel'][(r,)], ref.k2_rel[r], 1e-13, '%s relative k2 %d' % (name, r))
    check(len(inputs['event']) == len(ref.events), '%s: %d events' % (name, len(inputs['event'])))
    for k, e in enumerate(ref.events):
        got = inputs['event'][k]
        check(int(got[0]) == e['id'] and int(got[1]) == e['type'] and int(got[2]) == e['shape'],
              '%s event %d identity %r' % (name, k, got[:3]))
        periods = np.array(got[8:]).reshape(-1, 2)
        close(periods, np.array(e['periods']), 1e-12, '%s event %d periods' % (name, k))
        if e['shape'] == 4:
            check(int(got[6]) == e['itime_max'], '%s event %d peak frame %d' % (name, k, int(got[6])))
    check(list(inputs['include']) == list(ref.include), name + ' included frames')
    last = len(ref.nt) - 1
    check(inputs['nincluded'] == ref.include[ref.start[last]:].sum(), name + ' included frames of the last run')


def compare_curve(name, ref, curve, y, conditions, options):
    X, mix = ref.design(y)
    scale = np.abs(X).max(axis=0) + 1e-30
    close(curve['X'], X, 1e-10, name + ' design', scale=scale)
    close(curve['Xmix'], mix, 1e-10, name + ' delivery part of R1', scale=scale)
    raw, fit, w = ref.noise(y)
    close(curve['noise_raw'], raw, 2e-7, name + ' raw noise')
    # The smoothing polynomial is solved in single precision: a cubic's normal
    # matrix loses about three more digits than the weighted mean's.
    tol = 5e-4 if ref.half_life > 0 else 1e-6
    close(curve['noise_fit'], fit, tol, name + ' smoothed noise')
    close(curve['weights'], w, 2 * tol, name + ' noise weights')
    # The algebra of the fit on the engine's own design and weights.
    inc = ref.include.astype(float)
    beta, inv, hat, dof, sigma2 = weighted_fit(curve['X'], curve['weights'], inc, y)
    close(curve['beta'], beta, 1e-7, name + ' coefficients', scale=np.abs(beta) + 1e-9 * np.abs(beta).max())
    close(curve['hat'], hat, 1e-8, name + ' hat diagonal', scale=np.ones_like(hat))
    close(curve['dof'], dof, 1e-6, name + ' degrees of freedom')
    close(curve['sigma2'], sigma2, 1e-6, name + ' sigma2')
    fitted = curve['X'] @ beta
    close(curve['fit'], fitted, 1e-5, name + ' fitted curve', scale=np.abs(y).max() * np.ones_like(fitted))
    for k, C in enumerate(conditions):
        want = test_condition(C, beta, inv, sigma2, dof, options.get('resels', 0.0))
        got = curve['conditions'][k]
        for key in ('F', 'cnr', 'effect', 'sem'):
            close(got[key], want[key], 1e-5, '%s condition %d %s' % (name, k, key))
        close(got['p_raw'], want['p_raw'], 1e-5, '%s condition %d p_raw' % (name, k))
        close(got['p_cor'], want['p_cor'], 1e-5, '%s condition %d p_cor' % (name, k))
    # Kinetic parameters at the chosen frame, from the reference fit.
    frame = options['frame']
    r = max(i for i in range(len(ref.nt)) if ref.start[i] <= frame)
    j = frame - ref.start[r]
    time = ref.t(frame)

    def raw_sum(typ):
        v = e = 0.0
        found = False
        for c, ev in enumerate(ref.events):
            if ev['type'] != typ:
                continue
            for p, (a, b) in enumerate(ev['periods']):
                if time >= a - 0.001 and b + 0.001 >= time:
                    found = True
                    if ev['shape'] == 4:
                        m = ref.tables[r][ev['column']][j]
                    elif ev['shape'] == 0:
                        m = 1.0
                    else:
                        x = (time - a) / ev['tau']
                        if ev['shape'] == 1:
                            m = x ** ev['alpha'] * math.exp((1 - x) * ev['alpha'])
                        elif ev['shape'] == 3:
                            m = x / math.sqrt(1 + x * x)
                        else:
                            A = lambda s: (s + ev['tau']) * math.exp(-s / ev['tau'])  # noqa: E731
                            m = (A(a) - A(time)) / (A(a) - A(b))
                    v += beta[c] * m
                    e += inv[c, c] * m * sigma2
        return v, math.sqrt(e) if e >= 0 else float('nan'), found
    fixed = ref.k2_base[r] != 0
    want = {}
    for code in options['codes']:
        v, e, _ = raw_sum(abs(code))
        if code in (0, -2, -3, -4):
            want[code] = (v, e)
        elif code == -1:
            want[code] = (v, 0.0 if fixed else e)
        elif code == 1:
            R1, eR1, _ = raw_sum(0)
            want[code] = ((1 / ref.k2_base[r]) / ref.k2_rel[r][j], 0.0) if fixed else \
                (R1 / v, R1 / v * math.sqrt((e / v) ** 2 + (eR1 / R1) ** 2))
        elif code == 2:
            R1, eR1, _ = raw_sum(0)
            if fixed:
                tau2 = (1 / ref.k2_base[r]) / ref.k2_rel[r][j]
                val = R1 / tau2 / v / ref.k2_rel[r][j] - 1
                want[code] = (val, val * math.sqrt((e / v) ** 2 + (eR1 / R1) ** 2))
            else:
                k2, ek2, _ = raw_sum(1)
                val = k2 / v - 1
                want[code] = (val, val * math.sqrt((e / v) ** 2 + (ek2 / k2) ** 2))
        elif code == 4:
            want[code] = (1 / v, e * v * v)
        elif code == 3:
            ib, eib, _ = raw_sum(4)
            b, eb = 1 / ib, eib * ib * ib
            val = v * b
            want[code] = (val, val * math.sqrt((e / v) ** 2 + (eb / b) ** 2))
    for code, (v, e) in want.items():
        got = curve['parameters'][code]
        close(got[0], v, 1e-6, '%s parameter %d' % (name, code))
        if not math.isnan(e):
            close(got[1], e, 1e-5, '%s parameter %d error' % (name, code), scale=abs(e) + 1e-12)


def run_study(name, study, options, folder):
    control = study.write(folder)
    ref = Reference(study)
    codes = ','.join(('m%d' % -c) if c < 0 else str(c) for c in options['codes'])
    text = run_driver(control, ['--inputs', '--design', '--region', '--voxels', '3,9,17', '--frame',
                                str(options['frame']), '--parameters', codes, '--resels', '3'])
    options['resels'] = 3.0
    inputs, curves = parse_driver(text)
    compare_inputs(name, ref, inputs)
    conditions = contrasts(study.conditions, ref.events)
    check(len(curves) == 4, '%s: %d curves' % (name, len(curves)))
    target = np.concatenate(ref.target).astype(f32).astype(float)
    compare_curve(name + ' region', ref, curves[0], target, conditions, options)
    data = np.concatenate([run.data for run in study.runs]).astype(float)
    for curve, v in zip(curves[1:], (3, 9, 17)):
        compare_curve('%s voxel %d' % (name, v), ref, curve, data[:, v], conditions, options)


def recovery(folder):
    """A target curve made by the model's own discrete equations from known
    R1, k2 and k2a is fitted back."""
    rng = np.random.default_rng(3)
    s1, s2 = frames(rng, 14), frames(rng, 12)
    d = study_data(rng, [s1, s2])
    lines = ['1 R1', '', '2 k2', '', '3 k2a', '']
    study = Study(DIM, [Run(s1, d[0], lines=lines), Run(s2, d[1], lines=lines)], REFERENCE_VOXELS,
                  [(3, 2, 1, None)], ['time-model SRTM'], '3')
    ref = Reference(study)
    R1, k2, k2a = 1.3, 0.25, 0.08
    X, _ = ref.design(np.zeros(ref.ntime))
    curve = np.zeros(ref.ntime)
    for r, nt in enumerate(ref.nt):
        integral = 0.0
        for j in range(nt):
            i = ref.start[r] + j
            dt = ref.tables[r][0][j]
            c = (R1 * X[i, 0] + k2 * X[i, 1] - k2a * integral) / (1 + k2a * dt)
            c = float(f32(c))
            integral += dt * c
            curve[i] = c
    for r, run in enumerate(study.runs):
        run.data[:, 3 + 2 * 4 + 1 * 12] = curve[ref.start[r]:ref.start[r] + ref.nt[r]]
    control = study.write(folder)
    text = run_driver(control, ['--region', '--frame', '5', '--parameters', '0,1,2,m2'])
    _, curves = parse_driver(text)
    got = curves[0]
    close(got['beta'], [R1, k2, k2a], 1e-5, 'recovered coefficients')
    close(got['parameters'][2][0], k2 / k2a - 1, 1e-5, 'recovered binding potential')
    close(got['parameters'][0][0], R1, 1e-5, 'recovered R1')
    close(got['parameters'][1][0], R1 / k2, 1e-5, 'recovered tau2 prime')


def main():
    for name, (study, options) in studies().items():
        with tempfile.TemporaryDirectory(prefix='zorsrtm.') as folder:
            run_study(name, study, options, folder)
    with tempfile.TemporaryDirectory(prefix='zorsrtm.') as folder:
        recovery(folder)
    if failures:
        print('\n'.join(failures[:40]))
        print('%d failures' % len(failures))
        sys.exit(1)
    print('PET model agrees with the reference')


if __name__ == '__main__':
    main()
