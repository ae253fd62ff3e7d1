#!/usr/bin/python3
"""Writes two small model studies beside the demo run:

pet/   a dynamic PET study of two runs of 13 frames each (8 by 8 by 2
       voxels): a reference region in one corner, tissue curves made by the
       reference-tissue model's own equation with a binding potential that
       rises towards the middle of the volume, frame tables, event files and
       the control file pet.ctl (R1, k2 and k2a, condition 3: BP).
dti/   dipy's small_64D diffusion series (10 by 10 by 10 voxels, 65
       volumes) with its gradient table, and the control file dti.ctl for a
       weighted log-linear tensor fit.

Usage: /usr/bin/python3 examples/make_model_demos.py [output folder, default demo]
"""
import os
import shutil
import sys

import numpy as np

DIPY_FILES = '/usr/lib/python3/dist-packages/dipy/data/files/'
PET_DIM = (8, 8, 2)
FRAME_SECONDS = [30, 30, 60, 60, 60, 120, 120, 180, 180, 300, 300, 300, 300]


def native_header(path, dim, nt, resolution):
    with open(path, 'w') as f:
        f.write('x %d\ny %d\nz %d\nt %d\n' % (dim + (nt,)))
        f.write('resolution %g %g %g 1\n' % resolution)
        f.write('byte-order %d\n' % (1 if sys.byteorder == 'little' else 0))
        f.write('storage-type float\ndata-type magnitude\n')


def reference_curve(t):
    """A reference-region activity curve (t in minutes)."""
    return 900.0 * (t / 3.0) * np.exp(-t / 12.0) + 40.0 * (1.0 - np.exp(-t / 2.0))


def tissue_curve(t, r1, k2, bp):
    """dC/dt = R1 dCr/dt + k2 Cr - k2a C, k2a = k2 / (1 + BP), on a fine grid."""
    k2a = k2 / (1.0 + bp)
    cr = reference_curve(t)
    c = np.zeros_like(t)
    for i in range(1, len(t)):
        dt = t[i] - t[i - 1]
        dc = r1 * (cr[i] - cr[i - 1]) + dt * (k2 * cr[i - 1] - k2a * c[i - 1])
        c[i] = c[i - 1] + dc
    return c


def write_pet(folder):
    os.makedirs(folder, exist_ok=True)
    rng = np.random.default_rng(3)
    nx, ny, nz = PET_DIM
    # Each run is a scan of its own injection: its curves start from zero.
    ends = np.cumsum(FRAME_SECONDS) / 60.0
    mids = ends - np.array(FRAME_SECONDS) / 120.0
    fine = np.linspace(0.0, ends[-1], 20001)
    z, y, x = np.meshgrid(np.arange(nz), np.arange(ny), np.arange(nx), indexing='ij')
    bp = 2.5 * np.exp(-(((x - 4.5) ** 2 + (y - 4.5) ** 2) / 6.0))
    bp[:, :2, :2] = 0.0  # the reference region binds nothing
    n = len(FRAME_SECONDS)
    data = np.zeros((2 * n, nz, ny, nx), dtype=np.float32)
    for r in range(2):
        for k in range(nz):
            for j in range(ny):
                for i in range(nx):
                    curve = np.interp(mids, fine, tissue_curve(fine, 1.0, 0.12, bp[k, j, i]))
                    data[r * n:(r + 1) * n, k, j, i] = curve + rng.normal(0.0, 3.0, n)
    with open(os.path.join(folder, 'reference.ovl'), 'w') as f:
        for j in range(2):
            for i in range(2):
                f.write('%d %d 0\n' % (i, j))
    with open(os.path.join(folder, 'target.ovl'), 'w') as f:
        for j in range(3, 6):
            for i in range(3, 6):
                f.write('%d %d 0\n' % (i, j))
    lines = ['time-model SRTM', 'half-life 20.4', 'conditions 3',
             'reference-region ' + os.path.abspath(os.path.join(folder, 'reference.ovl')),
             'target-region ' + os.path.abspath(os.path.join(folder, 'target.ovl')), 'runs:']
    for r in range(2):
        stem = os.path.abspath(os.path.join(folder, 'run%d' % (r + 1)))
        native_header(stem + '.hdr', PET_DIM, n, (2.0, 2.0, 2.0))
        data[r * n:(r + 1) * n].astype('<f4' if sys.byteorder == 'little' else '>f4').tofile(stem + '.bfloat')
        with open(stem + '.table', 'w') as f:
            f.write('duration\n' + ''.join('%d\n' % s for s in FRAME_SECONDS))
        with open(stem + '.glm', 'w') as f:
            f.write('0\n1 R1\n\n2 k2\n\n3 k2a\n\n')
        lines.append('%s.bfloat %s.glm %s.table' % (stem, stem, stem))
    control = os.path.join(folder, 'pet.ctl')
    with open(control, 'w') as f:
        f.write('\n'.join(lines) + '\n')
    return control


def write_dti(folder):
    os.makedirs(folder, exist_ok=True)
    series = os.path.join(folder, 'small_64D.nii')
    shutil.copyfile(DIPY_FILES + 'small_64D.nii', series)
    b = np.load(DIPY_FILES + 'small_64D.bvals.npy')
    g = np.nan_to_num(np.load(DIPY_FILES + 'small_64D.gradients.npy'))
    table = os.path.join(folder, 'small_64D.dti')
    with open(table, 'w') as f:
        for i in range(len(b)):
            f.write('%.17g %.17g %.17g %.17g\n' % (g[i, 0], g[i, 1], g[i, 2], b[i]))
    control = os.path.join(folder, 'dti.ctl')
    with open(control, 'w') as f:
        f.write('time-model DTI-WLS\nfiles:\n%s %s\n' % (os.path.abspath(series), os.path.abspath(table)))
    return control


def main():
    out = sys.argv[1] if len(sys.argv) > 1 else 'demo'
    print('wrote', write_pet(os.path.join(out, 'pet')))
    print('wrote', write_dti(os.path.join(out, 'dti')))


if __name__ == '__main__':
    main()
