"""Compares the group model, through its driver, with independent numbers:
the design (magnitudes over the event's largest, ramps, overlapping ranges
where the later one holds) and the degrees of freedom in numpy, the
generalized least-squares fit in float64 for 3 to 200 files, the p values
from scipy, and, for an event without files and a singular covariance, a
single-precision port of the engine's algebra and of its LU inversion with
the partial state it leaves."""
import math
import os
import subprocess
import sys
import tempfile

import numpy as np
from scipy import special, stats

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from rem_reference import (F32, Event, Study, contrasts, degrees_of_freedom, design, engine_fit, gls,  # noqa: E402
                           parse_driver, run_driver, write_nifti)

np.seterr(all='ignore')
TOO_SMALL = np.frombuffer(np.uint32(27).tobytes(), dtype=np.float32)[0]
failures = []
usage = {}  # largest share of its bound that an error used, per quantity


def check(condition, message):
    if not condition:
        failures.append(message)


def close(name, value, reference, scale, rtol, where):
    value, reference = np.asarray(value, np.float64), np.asarray(reference, np.float64)
    bound = rtol * (np.abs(reference) + scale)
    error = np.abs(value - reference)
    if bound.size:
        usage[name] = max(usage.get(name, 0.0), float(np.max(error / bound)))
    check(np.all(error <= bound), '%s: %s %s differs from %s' % (where, name, value, reference))


def same_bits(name, value, reference, where):
    a, b = np.asarray(value, F32).ravel(), np.asarray(reference, F32).ravel()
    equal = a.shape == b.shape and all((x == y) or (math.isnan(x) and math.isnan(y)) for x, y in zip(a, b))
    check(equal, '%s: %s %s is not %s' % (where, name, a, b))


def expected_test(study, word, beta, V, dof, resels):
    C = contrasts(study, word)
    cb = C @ beta
    big = cb[int(np.argmax(np.abs(cb)))] if len(cb) else 0.0
    F = float(cb @ np.linalg.inv(C @ V @ C.T) @ cb) / C.shape[0]
    df1, df2 = C.shape[0], dof
    if big == 0:
        return dict(F=F, cnr=0.0, p_raw=1.0, p_cor=1.0, effect=big, sem=math.nan)
    if df1 == 1:
        p = 2 * stats.t.sf(math.sqrt(F), df2)
    else:
        p = 2 * special.betainc(df2 / 2, df1 / 2, df2 / (df1 * F + df2))
        p = 1.0 if p == 2 else (2 - p if p > 1 else p)
    ec3 = float(F32(0.1169)) * (F * (df2 - 1) / df2 - 1) / float(np.power(np.float64(F / df2 + 1), (df2 - 1) / 2))
    p_cor = resels * ec3
    p_cor = 1.0 if (p_cor > 1 or p_cor < 0) else p_cor
    return dict(F=F, cnr=math.copysign(math.sqrt(F), big), p_raw=max(p, TOO_SMALL), p_cor=max(p_cor, TOO_SMALL),
                effect=big, sem=big / math.sqrt(F))


def minus_log(p):
    return -math.log10(max(p, 1e-300))


def check_study(name, study, sigma2, resels, rtol=2e-4):
    extra = ['--design']
    if isinstance(sigma2, str):
        extra += ['--sigma2-map', sigma2]
    else:
        extra += ['--sigma2', repr(float(sigma2))]
    out = parse_driver(run_driver(study.control, extra))
    X = design(study)
    check(len(out['design']) == study.nfiles, '%s: %d design rows' % (name, len(out['design'])))
    for t, row in out['design'].items():
        same_bits('design row %d' % t, row, X[t], name)
    check(out['dof'] == degrees_of_freedom(study), '%s: dof %s, expected %s' % (name, out['dof'],
                                                                                  degrees_of_freedom(study)))
    dof = out['dof'][2]
    words = study.conditions.split()
    check(len(out['voxels']) == len(study.values[0]), '%s: %d voxels' % (name, len(out['voxels'])))
    for vox in out['voxels']:
        v = vox['voxel']
        where = '%s voxel %d' % (name, v)
        y = np.array([study.values[j][v] for j in range(study.nfiles)], np.float64)
        se = np.array([study.errors[j][v] for j in range(study.nfiles)], np.float32)
        s2 = vox['sigma2']
        beta, V, fit, band, average = gls(X, y, se, s2)
        scale = float(np.max(np.abs(beta))) + 1e-3
        close('beta', vox['Beta_c'], beta, scale, rtol, where)
        close('fit', vox['fit'], fit, scale, rtol, where)
        close('fit_error', vox['fit_error'], band, float(np.max(np.abs(band))) + 1e-6, rtol, where)
        close('fit_av', vox['fit_av'], average, scale, rtol, where)
        check(len(vox['conditions']) == len(words), '%s: %d conditions' % (where, len(vox['conditions'])))
        for word, got in zip(words, vox['conditions']):
            ref = expected_test(study, word, beta, V, dof, resels)
            w = '%s condition %s' % (where, word)
            close('F', got['F'], ref['F'], 1e-3, 5 * rtol, w)
            close('cnr', got['cnr'], ref['cnr'], 1e-3, 5 * rtol, w)
            close('effect', got['effect'], ref['effect'], scale, rtol, w)
            close('sem', got['sem'], ref['sem'], abs(ref['sem']) * 1e-3, 5 * rtol, w)
            check(math.copysign(1, got['sem']) == math.copysign(1, ref['effect']), '%s: sem sign' % w)
            for key in ('p_raw', 'p_cor'):
                if ref[key] <= TOO_SMALL:
                    check(F32(got[key]) == TOO_SMALL, '%s: %s %g is not the floor' % (w, key, got[key]))
                else:
                    close('-log10 ' + key, minus_log(got[key]), minus_log(ref[key]), 1e-4, 5e-3, w)
    return out


def study_values(rng, X, nvox, noise=0.5):
    truth = rng.normal(0, 2, size=(X.shape[1], nvox))
    values = (X.astype(np.float64) @ truth + rng.normal(0, noise, size=(X.shape[0], nvox))).astype(F32)
    errors = rng.uniform(0.2, 1.5, size=(X.shape[0], nvox)).astype(F32)
    return values, errors


def build(folder, rng, name, nfiles, nvox=4, errors_zero=False, **kw):
    # A first study without data gives the design the values are drawn from.
    zeros = [np.zeros(nvox, F32)] * nfiles
    probe = Study(folder, name, nfiles, values=zeros, errors=zeros, nvox=nvox, **kw)
    values, errors = study_values(rng, design(probe), nvox)
    if errors_zero:
        errors[:] = 0
    return Study(folder, name, nfiles, values=list(values), errors=list(errors), nvox=nvox, **kw)


def sigma2_map(folder, rng, nvox):
    path = os.path.join(folder, 'sigma2.nii')
    vol = np.zeros((3, 1, 1, nvox), F32)
    vol[2, 0, 0, :] = rng.uniform(0.05, 2.0, nvox)
    vol[2, 0, 0, 0] = 0.0  # a voxel with no random-effects variance
    write_nifti(path, vol)
    return path


def singular_cases(folder, rng):
    """An empty group and a singular covariance: the engine, by either road,
    against the single-precision port of its algebra."""
    zeros = [np.zeros(2, F32)] * 5
    values = [np.array([v, -v], F32) for v in (1.0, 2.5, 2.0, 7.0, 6.0)]
    errors = [np.array([e, e], F32) for e in (0.5, 1.0, 0.0, 0.7, 1.2)]
    for label, groups in (('empty_middle', [('p', 2), ('q', 0), ('c', 3)]), ('empty_first', [('q', 0), ('p', 5)])):
        study = Study(folder, label, 5, groups=groups, values=values, errors=errors, nvox=2, conditions='p c'
                      if label == 'empty_middle' else 'p', dofs=[5, 6, 7, 0, 9])
        X = design(study)
        for s2, note in ((0.8, 'random variance'), (0.0, 'singular covariance')):
            for extra in ([], ['--all-matrices']):
                out = parse_driver(run_driver(study.control, ['--sigma2', repr(s2), '--variance'] + extra))
                check(len(out['voxels']) == 2, '%s %s: %d voxels' % (label, note, len(out['voxels'])))
                for vox in out['voxels']:
                    v = vox['voxel']
                    y = [values[j][v] for j in range(5)]
                    se = [errors[j][v] for j in range(5)]
                    ref = engine_fit(X, y, se, s2)
                    where = '%s %s %s voxel %d' % (label, note, ' '.join(extra), v)
                    check(ref['design_singular'], '%s: the design should be singular' % where)
                    check(ref['covariance_singular'] == (s2 == 0.0), '%s: covariance singularity' % where)
                    same_bits('beta', vox['Beta_c'], ref['beta'], where)
                    same_bits('variance', vox['V'], ref['V'], where)
                    same_bits('fit', vox['fit'], ref['fit'], where)
                    same_bits('fit_error', vox['fit_error'], ref['band'],
                              where)
                    same_bits('fit_av', vox['fit_av'], ref['average'], where)


def driver_refusals(folder):
    """Files that hold neither a value nor a value and its error, and a
    variance map of the wrong length, are refused with a message."""
    one = os.path.join(folder, 'one.nii')
    two = os.path.join(folder, 'two.nii')
    three = os.path.join(folder, 'three.nii')
    write_nifti(one, np.ones((1, 1, 1, 2), F32), dof=8)
    write_nifti(two, np.ones((2, 1, 1, 2), F32), dof=8)
    write_nifti(three, np.ones((3, 1, 1, 2), F32), dof=8)
    binary = os.path.join(os.environ['ZOR_BINARY_DIR'], 'tests', 'rem_fit_driver')
    for name, files, extra, message in (
            ('mixed', [two, one, two], [], 'Error: file 1 [ %s ] holds 1 volumes, but the first file holds 2.\n' % one),
            ('three', [three, three], [], 'Error: file 0 [ %s ] holds 3 volumes; a file holds a value, or a value and '
                                          'its standard error.\n' % three),
            ('map', [two, two], ['--sigma2-map', two], 'Error: file %s had 2 time points, but 3 were expected.\n' % two)):
        control = os.path.join(folder, name + '.rem')
        with open(control, 'w') as f:
            f.write('conditions p\nevent p\n' + '\n'.join(files) + '\n')
        done = subprocess.run([binary, control] + extra, capture_output=True, text=True)
        check(done.returncode == 1, '%s: exit status %d' % (name, done.returncode))
        check(done.stdout.endswith(message), '%s: %r does not end with %r' % (name, done.stdout[-200:], message))


def main():
    rng = np.random.default_rng(13)
    folder = tempfile.mkdtemp(prefix='zorrem.')
    # Two groups in the plain form, one file with no degrees of freedom in its
    # header, the variance from a map.
    s = build(folder, rng, 'plain', 7, groups=[('p', 3), ('c', 4)], conditions='p c p-c pc pp-c',
              dofs=[12, 0, 9, 14, 11, 10, 13])
    check_study('plain', s, sigma2_map(folder, rng, 4), 1)
    # Magnitudes on file lines of the plain form.
    s = build(folder, rng, 'plain_scaled', 9, groups=[('a', 4), ('b', 5)], conditions='a-b a,b',
              magnitudes=rng.uniform(0.5, 2, 9), plain_magnitudes=True, smoothing=(4.0, 8.0), resels=100)
    check_study('plain_scaled', s, 0.4, 100)
    # Three files, one event.
    s = build(folder, rng, 'three', 3, events=[Event('p', [(0, 2)])], conditions='p', smoothing=(6.0, 6.0))
    check_study('three', s, 0.2, 1)
    # Overlapping ranges, ramps, magnitudes, forty files.
    s = build(folder, rng, 'overlap', 40,
              events=[Event('p', [(0, 19)]), Event('P', [(0, 19)], 'ramp'), Event('c', [(20, 39), (5, 7)]),
                      Event('C', [(20, 30), (25, 39)], 'ramp')],
              magnitudes=rng.uniform(0.5, 3, 40), conditions='p c p-c P,C pP-cC', smoothing=(3.0, 5.0))
    check_study('overlap', s, sigma2_map(folder, rng, 4), 1)
    # Ordinary least squares: no standard errors.
    s = build(folder, rng, 'ols', 12, events=[Event('1', [(0, 5)]), Event('2', [(6, 11)])], conditions='1-2 1,2',
              errors_zero=True)
    check_study('ols', s, 1.0, 1)
    # Two hundred files, four events.
    s = build(folder, rng, 'large', 200, nvox=6,
              events=[Event('a', [(0, 99)]), Event('b', [(100, 199)]), Event('c', [(0, 49), (150, 199)], 'ramp'),
                      Event('d', [(20, 180)])],
              magnitudes=rng.uniform(0.8, 1.2, 200), conditions='a b a-b c,d abcd', smoothing=(5.0, 10.0),
              dofs=list(rng.integers(0, 40, 200)), resels=10)
    check_study('large', s, sigma2_map(folder, rng, 6), 10)
    singular_cases(folder, rng)
    driver_refusals(folder)

    if failures:
        print('\n'.join(failures[:60]))
        print('%d failures' % len(failures))
        return 1
    print('all studies agree; largest share of the bound used: ' +
          ', '.join('%s %.2f' % (k, v) for k, v in sorted(usage.items())))
    return 0


if __name__ == '__main__':
    sys.exit(main())
