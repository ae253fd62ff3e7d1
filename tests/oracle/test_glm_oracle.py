"""Compares the linear-model engine, through its driver, with a float64
reference: design columns, coefficients, noise variance, degrees of
freedom, F, p values, effect sizes and their errors, and the pre-fit band
filter, on generated studies of several runs and every kind of event."""
import os
import sys
import tempfile

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from glm_float32 import iterated_fit  # noqa: E402
from glm_reference import (U, TOO_SMALL, Event, Study, band_filter, p_value, parse_driver,  # noqa: E402
                           run_driver)

failures = []
usage = {}  # largest share of its bound that an error used, per quantity


def used(quantity, error, bound):
    if bound > 0:
        usage[quantity] = max(usage.get(quantity, 0.0), error / bound)


def check(condition, message):
    if not condition:
        failures.append(message)


def studies():
    rng = np.random.default_rng(5)
    out = {}
    # Square, gamma with alpha, sigmoid and ramps over two runs, a kernel,
    # abutting squares, excluded segments, three baseline terms.
    out['kernel_two_runs'] = Study(
        2.0, [60, 50],
        [Event('1', 'square', [], {0: [(10, 20, None), (20, 30, 2.0), (70, 80, None)], 1: [(6, 16, None)]}),
         Event('2', 'gamma', [4.0, 2.0], {0: [(30, None, 1.0), (90, None, 0.5)], 1: [(40, None, None)]}),
         Event('3', 'sigmoid', [6.0], {1: [(20, None, 2.0)]}),
         Event('a', 'ramp-up', [], {0: [(40, 55, None)]}),
         Event('b', 'ramp-down', [], {1: [(60, 75, 3.0)]})],
        nbaseline=3, hrf='BOLD-monkey', exclude={0: [(2, 4)], 1: [(45, 49)]},
        conditions='1 2 12 1-2 1,2 3-a,b', scale={'2': 2.5})
    # Exponential, sine and cosine, drug kernels, a response file whose
    # step doesn't divide the TR, four baseline terms.
    out['file_kernel_four_terms'] = Study(
        2.5, [48, 40, 36],
        [Event('1', 'exponential-down', [7.0], {0: [(10, 40, None)], 2: [(5, 30, 2.0)]}),
         Event('4', 'sine', [25.0], {0: [(0, 110, None)], 1: [(0, 95, None)]}),
         Event('5', 'cosine', [25.0], {0: [(0, 110, None)], 1: [(0, 95, None)]}),
         Event('6', 'drug-IRF', [8.0, 3.0], {1: [(20, 30, 2.0)], 2: [(40, 50, None)]}),
         Event('7', 'drug-IRF', [5.0], {0: [(60, 70, None)]})],
        nbaseline=4, hrf=(40.0, 0.3, 1.2, 3.5, 11.0, 0.6, -0.25),
        conditions='1 4,5 6-7 1-6,4-5', exclude={2: [(0, 0)]})
    # Tables (drift-corrected, convolved or not), an interaction, explicit
    # baseline events and no automatic baseline.
    t1 = [rng.normal(0, 1, 40) + np.linspace(0, 3, 40), np.abs(rng.normal(2, 1, 40))]
    t2 = [rng.normal(0, 1, 30), np.abs(rng.normal(2, 1, 30))]
    out['tables_interaction_baseline_events'] = Study(
        2.0, [40, 30],
        [Event('1', 'square', [], {0: [(10, 30, None)], 1: [(8, 20, None)]}),
         Event('2', 'ramp-up', [], {0: [(0, 78, None)], 1: [(0, 58, None)]}),
         Event('8', 'table', [0], runs=[0, 1]),
         Event('9', 'table', [1], runs=[0]),
         Event('c', 'interaction', [1, 2], runs=[0, 1]),
         Event('d', 'baseline0', [], runs=[0]),
         Event('e', 'baseline1', [], runs=[0]),
         Event('f', 'baseline0', [], runs=[1]),
         Event('g', 'baseline-exp-sat', [12.0], runs=[1])],
        nbaseline=0, tables={0: (['motion', 'heart'], t1), 1: (['motion', 'heart'], t2)},
        conditions='1 8 9 c 8-9 1,c', exclude={1: [(10, 12)]})
    # The same tables with drift correction, a kernel and a convolved table.
    out['tables_drift_kernel'] = Study(
        2.0, [40, 30],
        [Event('1', 'square', [], {0: [(10, 30, None)], 1: [(8, 20, None)]}),
         Event('8', 'table', [0], runs=[0, 1]),
         Event('9', 'table', [1], runs=[0, 1])],
        nbaseline=2, hrf='IRON-rat', tables={0: (['motion', 'heart'], t1), 1: (['motion', 'heart'], t2)},
        convolve_table='9', drift='0 8', conditions='1 8 9 8,9')
    # One term, one and two runs with integration (fPET analysis: no baseline).
    out['pet_integral'] = Study(
        3.0, [30, 30],
        [Event('1', 'square', [], {0: [(15, 45, None)], 1: [(30, 60, None)]}),
         Event('2', 'ramp-up', [], {0: [(0, 87, None)], 1: [(0, 87, None)]})],
        fpet=True, conditions='1 2 1-2')
    out['one_term'] = Study(
        1.5, [80],
        [Event('1', 'square', [], {0: [(10, 20, None), (40, 50, -1.0)]}),
         Event('2', 'gamma', [3.0], {0: [(60, None, None)]})],
        nbaseline=1, conditions='1 2 1,2')
    out['two_terms_filtered'] = Study(
        2.0, [64, 63],
        [Event('1', 'square', [], {0: [(10, 30, None), (60, 80, None)], 1: [(20, 40, None)]})],
        nbaseline=2, band=(0.02, 0.3), conditions='1')
    # An even length and a zero high edge: only the untouched last bin stays.
    out['filter_zero_high'] = Study(
        2.0, [60, 40],
        [Event('1', 'square', [], {0: [(10, 30, None)], 1: [(20, 40, None)]})],
        nbaseline=1, band=(0.05, 0.0), conditions='1')
    return out


def iterated_studies():
    return {'iterated_weights': Study(
        2.0, [50, 40],
        [Event('1', 'square', [], {0: [(10, 30, None), (50, 70, None)], 1: [(20, 40, None)]}),
         Event('2', 'gamma', [4.0], {0: [(80, None, None)]})],
        nbaseline=2, noise='iWLS', exclude={1: [(5, 7)]}, conditions='1 2 1,2')}


def fine_tolerance(expected, scale):
    return 2e-5 * scale + 1e-6


def compare_design(name, study, X_ref, X_drv, order):
    check(X_drv is not None and X_drv.shape == X_ref.shape,
          '%s: design shape %s, expected %s' % (name, None if X_drv is None else X_drv.shape, X_ref.shape))
    if X_drv is None or X_drv.shape != X_ref.shape:
        return
    for c in range(X_ref.shape[1]):
        ref, drv = X_ref[:, c], X_drv[:, c]
        finite = np.isfinite(ref)
        check(np.array_equal(finite, np.isfinite(drv)), '%s: column %d not-a-number pattern' % (name, c))
        scale = np.max(np.abs(ref[finite])) if finite.any() else 0.0
        err = np.max(np.abs(ref[finite] - drv[finite])) if finite.any() else 0.0
        used('design', err, fine_tolerance(ref, scale))
        check(err <= fine_tolerance(ref, scale), '%s: column %d differs by %g (scale %g)' % (name, c, err, scale))


def compare_basis_file(name, folder, X_drv, nevents):
    path = os.path.join(folder, 'basis.dat')
    with open(path) as f:
        header = f.readline()
        rows = [list(map(float, line.split()[1:])) for line in f]
    check(header.startswith('x event_'), '%s: basis.dat header %r' % (name, header))
    B = np.array(rows)
    check(B.shape == X_drv.shape, '%s: basis.dat shape' % name)
    if B.shape == X_drv.shape:
        ok = np.isnan(X_drv) | (np.abs(B - X_drv) <= 5.1e-7)
        check(ok.all(), '%s: basis.dat differs from the design' % name)


def reference_fit(X, include, y, contrasts, W=None, weight_error=0.0):
    """OLS, or with weights W the weighted fit whose variance is the plain sum
    of squares over the effective degrees of freedom of the hat matrix."""
    Xm = X * include[:, None]
    ym = y * include
    weighted = W is not None
    W = np.ones(len(y)) if W is None else W
    XtX = Xm.T @ (W[:, None] * Xm)
    inv = np.linalg.inv(XtX)
    P = inv @ Xm.T * W[None, :]
    beta = P @ ym
    resid = ym - Xm @ beta
    dof = include.sum() - X.shape[1]
    if weighted:
        trace = np.einsum('tc,ct->', Xm, P)
        dof = np.float32(include.sum() + 0.5 - 1.25 * trace)
    sigma2 = resid @ resid / dof
    # Single-precision error bounds of the algebra, in their statistical
    # (square-root) form: sums of n rounded terms, the inversion of the normal
    # matrix, and the residue of data of size |y| against noise of size sigma.
    n, k = X.shape
    cond = np.linalg.cond(XtX)
    dbeta = 8 * U * (np.sqrt(n) * (np.abs(P) @ np.abs(ym)) + k * np.sqrt(cond) * np.abs(beta))
    dbeta += weight_error * (np.abs(P) @ np.abs(resid))  # weights known to a relative error
    dfit = np.abs(Xm) @ dbeta
    dsse = 2 * np.abs(resid) @ dfit + dfit @ dfit + 8 * U * np.sqrt(n) * (resid @ resid)
    dsigma2 = dsse / dof
    out = []
    for word, C in contrasts:
        cb = C @ beta
        V = C @ inv @ C.T
        Vinv = np.linalg.inv(V)
        df1 = C.shape[0]
        num = cb @ Vinv @ cb
        F = num / sigma2 / df1
        imax = int(np.argmax(np.abs(cb)))
        dcb = np.abs(C) @ dbeta
        grad = 2 * np.abs(Vinv @ cb) / (sigma2 * df1)
        dF = grad @ dcb + dcb @ np.abs(Vinv) @ dcb / (sigma2 * df1) + F * dsigma2 / sigma2 + F * 8 * U * k * np.sqrt(cond)
        out.append(dict(word=word, F=F, dF=dF, effect=cb[imax], deffect=dcb[imax],
                        sem=np.sqrt(V[imax, imax] * sigma2), df1=df1, df2=dof,
                        dsem_rel=0.5 * dsigma2 / sigma2 + 8 * U * k * np.sqrt(cond)))
    # The effective degrees of freedom of weights known to weight_error.
    ddof = 1.25 * k * (weight_error + 8 * U * np.sqrt(n)) if weighted else 0.0
    return dict(beta=beta, dbeta=dbeta, sigma2=sigma2, dsigma2=dsigma2, dof=dof, ddof=ddof, conditions=out)


def p_range(F, dF, df1, df2):
    """The p values that F within its error bound can give; the doubling of
    multi-row tests folds, so the range is sampled, not taken at its ends."""
    from scipy import stats
    lo, hi = max(F - dF, 0.0), F + dF
    Fs = np.concatenate([[lo, F, hi, lo + (hi - lo) * 1e-9], np.linspace(lo, hi, 4001)])
    p = stats.f.sf(Fs, df1, df2) if df2 > 0 else np.ones_like(Fs)
    if df1 != 1:
        p = 2 * p
        p[p == 2] = 1.0
        p = np.where(p > 1, 2 - p, p)
    p = np.maximum(p, TOO_SMALL)
    return float(p.min()), float(p.max())


def compare_fit(name, v, ref):
    check(abs(v['dof'] - np.float32(ref['dof'])) <= ref['ddof'], '%s voxel %d: dof %g, expected %g' % (name, v['voxel'], v['dof'], ref['dof']))
    err = np.abs(v['beta'] - ref['beta'])
    for e, b in zip(err, ref['dbeta']):
        used('Beta_c', e, b)
    used('Sigma2', abs(v['sigma2'] - ref['sigma2']), ref['dsigma2'] + 1e-6 * ref['sigma2'])
    bad = np.nonzero(err > ref['dbeta'] + 1e-30)[0]
    check(len(bad) == 0, '%s voxel %d: Beta_c %s differs by %s beyond %s' % (
        name, v['voxel'], bad, err[bad], ref['dbeta'][bad]))
    check(abs(v['sigma2'] - ref['sigma2']) <= ref['dsigma2'] + 1e-6 * ref['sigma2'],
          '%s voxel %d: Sigma2 %g, expected %g +- %g' % (name, v['voxel'], v['sigma2'], ref['sigma2'], ref['dsigma2']))
    for got, want in zip(v['conditions'], ref['conditions']):
        tag = '%s voxel %d condition %s' % (name, v['voxel'], want['word'])
        check(got['word'] == want['word'], tag + ': name')
        used('F', abs(got['F'] - want['F']), want['dF'] + 1e-5 * want['F'])
        used('effect', abs(got['effect'] - want['effect']), want['deffect'] + 1e-6 * abs(want['effect']))
        used('sem', abs(got['sem'] - want['sem']), want['sem'] * (want['dsem_rel'] + 1e-5))
        check(abs(got['F'] - want['F']) <= want['dF'] + 1e-5 * want['F'],
              tag + ': F %g, expected %g +- %g' % (got['F'], want['F'], want['dF']))
        check(abs(got['cnr'] ** 2 - got['F']) <= 1e-5 * got['F'] + 1e-30, tag + ': cnr squared is not F')
        if abs(want['effect']) > want['deffect']:
            check(np.sign(got['cnr']) == np.sign(want['effect']) or got['F'] == 0, tag + ': sign of cnr')
        lo, hi = p_range(want['F'], want['dF'] + 1e-5 * want['F'], want['df1'], want['df2'])
        check(lo * (1 - 1e-5) - 1e-44 <= got['p_raw'] <= hi * (1 + 1e-5) + 1e-44,
              tag + ': p_raw %g outside [%g, %g]' % (got['p_raw'], lo, hi))
        check(np.float32(got['p_cor']) == np.float32(TOO_SMALL), tag + ': p_cor %g with no resels' % got['p_cor'])
        check(abs(got['effect'] - want['effect']) <= want['deffect'] + 1e-6 * abs(want['effect']),
              tag + ': effect %g, expected %g +- %g' % (got['effect'], want['effect'], want['deffect']))
        check(abs(got['sem'] - want['sem']) <= want['sem'] * (want['dsem_rel'] + 1e-5),
              tag + ': sem %g, expected %g' % (got['sem'], want['sem']))


def series_for(X, include, rng, nvox):
    n, k = X.shape
    ys = []
    for v in range(nvox):
        beta = rng.normal(0, 1, k) * rng.choice([0.0, 1.0, 5.0])
        base = rng.choice([0.0, 100.0, 1000.0])
        noise = rng.choice([0.01, 1.0, 10.0])
        Xf = np.nan_to_num(X)
        y = Xf @ beta + base + rng.normal(0, noise, n)
        ys.append(y.astype(np.float32))
    return np.array(ys)


def check_iterated(rng):
    for name, study in iterated_studies().items():
        folder = tempfile.mkdtemp(prefix='zorglm.')
        control = study.write(folder)
        X_ref, include, order = study.design()
        ys = series_for(X_ref, include, rng, 10)
        for v in range(3):  # a few outliers make the weights matter
            ys[v, 5 + 7 * v] += 50 * (v + 1)
        series = os.path.join(folder, 'series.f32')
        ys.astype('<f4').tofile(series)
        X_drv, voxels, _ = parse_driver(run_driver(control, series, ['--design', '--weights'], cwd=folder))
        compare_design(name, study, X_ref, X_drv, order)
        passes_seen = set()
        for v in voxels:
            beta, sigma2, dof, passes = iterated_fit(X_drv, include, ys[v['voxel']])
            passes_seen.add(passes)
            tag = '%s voxel %d' % (name, v['voxel'])
            check(np.float32(v['dof']) == dof, tag + ': dof %r, emulated %r' % (v['dof'], dof))
            scale = np.abs(X_drv).max(0) @ np.abs(beta) + 1e-30
            check(np.all(np.abs(v['beta'] - beta) <= 1e-5 * scale), tag + ': Beta_c %s, emulated %s' % (v['beta'], beta))
            check(abs(v['sigma2'] - sigma2) <= 1e-5 * sigma2, tag + ': Sigma2 %r, emulated %r' % (v['sigma2'], sigma2))
        check(len(passes_seen) > 1, '%s: every voxel took the same number of passes %s' % (name, passes_seen))
        check(10 in passes_seen, '%s: no voxel reached the limit of 10 passes %s' % (name, passes_seen))


def pet_weights(study, include, y):
    """Weights of the PET noise model: the square root of the cumulated
    signal, grown by the decay, smoothed by a polynomial over each run."""
    tau = float(np.float32(study.half_life * 1.442695)) if study.half_life else 0.0
    W = np.ones(len(y))
    start = 0
    for nt in study.runs:
        seg = y[start:start + nt].astype(np.float64)
        signal = seg[0] + np.concatenate([[0.0], np.cumsum(seg)[:-1]])
        t = np.arange(nt) * study.tr
        raw = np.sqrt(np.abs(np.exp(t / tau) * signal)) if tau else np.sqrt(np.abs(signal))
        j = np.arange(nt) / nt
        basis = np.stack([np.ones(nt), j - 0.5, j * j - 1.0 / 3.0, j ** 3 - 0.25][:4 if tau else 1], 1)
        w = include[start:start + nt]
        coef = np.linalg.lstsq(basis * w[:, None], raw * w, rcond=None)[0]
        fit = basis @ coef
        fit = fit / (fit.sum() / nt)
        W[start:start + nt] = 1 / (fit * fit)
        start += nt
    return W


def check_pet_weights(rng):
    for half_life in (0.0, 20.0):
        study = Study(2.0, [40, 30], [Event('1', 'square', [], {0: [(10, 30, None)], 1: [(20, 40, None)]})],
                      nbaseline=2, noise='fPET %r' % half_life, conditions='1', exclude={0: [(3, 4)]})
        study.half_life = half_life
        folder = tempfile.mkdtemp(prefix='zorglm.')
        control = study.write(folder)
        X_ref, include, order = study.design()
        ys = np.abs(series_for(X_ref, include, rng, 6)) + 50
        series = os.path.join(folder, 'series.f32')
        ys.astype('<f4').tofile(series)
        X_drv, voxels, _ = parse_driver(run_driver(control, series, ['--design', '--weights'], cwd=folder))
        contrasts = study.contrasts(order, X_ref.shape[1])
        for v in voxels:
            y = ys[v['voxel']].astype(np.float64)
            W = pet_weights(study, include, y)
            compare_fit('pet half-life %g' % half_life, v, reference_fit(X_drv, include, y, contrasts, W, 1e-4))


def check_loaded_runs(rng):
    """The runs' own volumes give the same fits as the same series given
    directly: the driver loads them as the viewer loads its images."""
    study = studies()['kernel_two_runs']
    folder = tempfile.mkdtemp(prefix='zorglm.')
    control = study.write(folder)
    X_ref, include, order = study.design()
    nvox = 6
    ys = series_for(X_ref, include, rng, nvox)
    start = 0
    for r, nt in enumerate(study.runs):
        with open(os.path.join(folder, 'run%d.hdr' % (r + 1)), 'w') as f:
            f.write('x %d\ny 1\nz 1\nt %d\nstorage-type float\nbyte-order 1\n' % (nvox, nt))
        # volume after volume, voxels fastest
        ys[:, start:start + nt].T.astype('<f4').tofile(os.path.join(folder, 'run%d.bfloat' % (r + 1)))
        start += nt
    series = os.path.join(folder, 'series.f32')
    ys.astype('<f4').tofile(series)
    loaded = run_driver(control, None, [], cwd=folder)
    given = run_driver(control, series, [], cwd=folder)
    # The loader reports each file first; the fits that follow must agree
    # to the last digit.
    fits = loaded[loaded.index('voxel 0'):]
    check(fits == given[given.index('voxel 0'):] and fits.count('voxel') == nvox,
          'loaded runs and given series differ')
    check('run1.bfloat' in loaded[:loaded.index('voxel 0')], 'the loader did not report the first run')


def check_corrected_p(rng):
    study = studies()['one_term']
    folder = tempfile.mkdtemp(prefix='zorglm.')
    control = study.write(folder)
    X_ref, include, order = study.design()
    ys = series_for(X_ref, include, rng, 8)
    series = os.path.join(folder, 'series.f32')
    ys.astype('<f4').tofile(series)
    resels = 500
    _, voxels, _ = parse_driver(run_driver(control, series, ['--resels', str(resels)], cwd=folder))
    for v in voxels:
        for c in v['conditions']:
            F, df2 = np.float32(c['F']), np.float32(v['dof'])
            ec3 = 0.1169 * (F * (df2 - 1) / df2 - 1) / (F / df2 + 1) ** ((df2 - 1) / 2)
            expected = resels * ec3
            if not 0 <= expected <= 1:
                expected = 1.0
            expected = max(expected, TOO_SMALL)
            check(abs(c['p_cor'] - expected) <= 1e-5 * expected + 1e-44,
                  'voxel %d condition %s: p_cor %g, expected %g' % (v['voxel'], c['word'], c['p_cor'], expected))


def main():
    rng = np.random.default_rng(11)
    for name, study in studies().items():
        folder = tempfile.mkdtemp(prefix='zorglm.')
        control = study.write(folder)
        X_ref, include, order = study.design()
        ys = series_for(X_ref, include, rng, 12)
        ys[0, :] = 0  # exactly zero variance: fixed statistics
        series = os.path.join(folder, 'series.f32')
        ys.astype('<f4').tofile(series)
        text = run_driver(control, series, ['--design', '--basis', '--filtered'], cwd=folder)
        X_drv, voxels, filtered = parse_driver(text)
        compare_design(name, study, X_ref, X_drv, order)
        compare_basis_file(name, folder, X_drv, len(order))
        if X_drv is None or X_drv.shape != X_ref.shape or not np.isfinite(X_ref).all():
            continue
        contrasts = study.contrasts(order, X_ref.shape[1])
        check(len(voxels) == len(ys), '%s: %d voxels printed' % (name, len(voxels)))
        for v in voxels:
            y = ys[v['voxel']].astype(np.float64)
            if study.band:
                y_ref = band_filter(y, study.tr, *study.band)
                got = filtered[v['voxel']]
                scale = np.max(np.abs(y)) + 1e-30
                check(np.max(np.abs(got - y_ref)) <= 1e-5 * scale,
                      '%s voxel %d: filtered series differs by %g' % (name, v['voxel'], np.max(np.abs(got - y_ref))))
                # The deliberate properties, stated on their own: the last
                # element untouched, and the mean scaled by the gain of the
                # first bin above zero on a scale that runs to 1/TR.
                n, low, high = len(y), study.band[0], study.band[1]
                Y, G = np.fft.rfft(y), np.fft.rfft(got)
                check(abs(G[-1] - Y[-1]) <= 1e-5 * np.abs(Y).max(), '%s voxel %d: last bin changed' % (name, v['voxel']))
                f1 = (1 / study.tr) / (n / 2.0)
                g1 = (1 / (1 + (low / f1) ** 12)) * (1 / (1 + (f1 / high) ** 12) if high else 0.0)
                check(abs(G[0] - g1 * Y[0]) <= 1e-5 * np.abs(Y).max(), '%s voxel %d: zero frequency gain' % (name, v['voxel']))
                y = got.astype(np.float32).astype(np.float64)
            if v['voxel'] == 0:
                check(v['sigma2'] == 0.0, '%s: zero series has Sigma2 %g' % (name, v['sigma2']))
                for c in v['conditions']:
                    check(c['p_raw'] == 1 and c['p_cor'] == 1 and c['cnr'] == 0 and c['F'] == 0 and c['effect'] == 0,
                          '%s: zero series statistics %s' % (name, c))
                continue
            compare_fit(name, v, reference_fit(X_drv, include, y, contrasts))
    check_iterated(rng)
    check_corrected_p(rng)
    check_pet_weights(rng)
    check_loaded_runs(rng)
    if failures:
        print('\n'.join(failures[:60]))
        print('%d failures' % len(failures))
        return 1
    print('all studies agree; largest share of the bound used: ' +
          ', '.join('%s %.3g' % kv for kv in sorted(usage.items())))
    return 0


if __name__ == '__main__':
    sys.exit(main())
