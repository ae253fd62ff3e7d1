#!/usr/bin/python3
"""Whole batches of maps, one run each side, against the Python tools a user
would otherwise script:

  glm   zormaps on a 64x64x32x300 float study with a block design (load,
        fit, tests, P/T/S/average maps written) against numpy with its BLAS
        (OpenBLAS) doing the same from nibabel's load to nibabel's save
        (goal: zormaps at least 2.5 times faster)
  dti   zormaps DTI-WLS on dipy's small_64D tiled to 500,000 voxels against
        dipy's TensorModel(fit_method="WLS") with its maps saved (goal: 5)
  gz    reading a 96x96x60x300 int16 .nii.gz into floats: the volume loader
        against nibabel (np.asarray(img.dataobj, dtype=np.float32)) (goal: 1.5)

    /usr/bin/python3 bench/batch_maps_bench.py BUILD_DIR [glm|dti|gz|all] [WORK_DIR]

BUILD_DIR is a build configured with -DZOR_BUILD_BENCH=ON. Each side runs
once; wall-clock and processor seconds (user + system) are reported, since
on a shared machine the wall clock also counts time spent waiting for a
processor. The input files are made once in WORK_DIR (default: the system's
temporary folder) and kept for later runs.
"""
import os
import resource
import shutil
import subprocess
import sys
import tempfile
import time

import nibabel as nib
import numpy as np
from scipy import special

DIPY_FILES = "/usr/lib/python3/dist-packages/dipy/data/files/"


def children_cpu():
    r = resource.getrusage(resource.RUSAGE_CHILDREN)
    return r.ru_utime + r.ru_stime


def self_cpu():
    r = resource.getrusage(resource.RUSAGE_SELF)
    return r.ru_utime + r.ru_stime


def run_child(args, cwd):
    c0, w0 = children_cpu(), time.perf_counter()
    p = subprocess.run(args, cwd=cwd, capture_output=True, text=True)
    if p.returncode != 0:
        raise RuntimeError("%s failed: %s" % (args[0], p.stdout[-500:]))
    return time.perf_counter() - w0, children_cpu() - c0, p


def timed(fn):
    c0, w0 = self_cpu(), time.perf_counter()
    result = fn()
    return time.perf_counter() - w0, self_cpu() - c0, result


def report(name, ours, theirs, peer, goal, label="zormaps"):
    print("%-5s %-28s wall %8.2f s   cpu %8.2f s" % (name, label, ours[0], ours[1]))
    print("%-5s %-28s wall %8.2f s   cpu %8.2f s" % (name, peer, theirs[0], theirs[1]))
    print("%-5s speed-up: wall %.2f, cpu %.2f (goal >= %g)" % (name, theirs[0] / ours[0], theirs[1] / ours[1], goal))


# ---- GLM maps -------------------------------------------------------------
GLM_SHAPE = (64, 64, 32, 300)
TR = 2.0


def glm_study(work):
    folder = os.path.join(work, "zor_bench_glm")
    run = os.path.join(folder, "run1.nii")
    if not os.path.exists(run):
        os.makedirs(folder, exist_ok=True)
        rng = np.random.default_rng(3)
        t = np.arange(GLM_SHAPE[3]) * TR
        block = ((t % 40) < 20).astype(np.float32)
        data = np.empty(GLM_SHAPE, np.float32)
        base = (800.0 + 200.0 * rng.random(GLM_SHAPE[:3])).astype(np.float32)
        gain = (rng.random(GLM_SHAPE[:3]) < 0.1).astype(np.float32) * 15.0
        for z in range(GLM_SHAPE[2]):
            data[:, :, z, :] = (base[:, :, z, None] + gain[:, :, z, None] * block +
                                rng.normal(0, 10, GLM_SHAPE[:2] + (GLM_SHAPE[3],)).astype(np.float32))
        nib.save(nib.Nifti1Image(data, np.diag([3.0, 3.0, 4.0, 1.0])), run)
        with open(os.path.join(folder, "run1.glm"), "w") as f:
            f.write("%g\n\n1\n" % TR)
            for on in range(0, int(GLM_SHAPE[3] * TR), 40):
                f.write("%d %d\n" % (on, on + 20))
        with open(os.path.join(folder, "study.ctl"), "w") as f:
            f.write("time-model glm\nconditions 1\nruns:\nrun1.nii run1.glm\n")
    return folder


def glm_numpy(folder, out):
    """The same maps with numpy: a block regressor convolved with a gamma
    response and three baseline terms, least squares through OpenBLAS in
    float32, F tests, p values from scipy, maps saved with nibabel."""
    img = nib.load(os.path.join(folder, "run1.nii"))
    data = np.asarray(img.dataobj, dtype=np.float32)
    nt = data.shape[3]
    Y = data.reshape(-1, nt).T  # time by voxel (a view of x-fastest order needs no copy here)
    t = np.arange(nt) * TR
    block = ((t % 40) < 20).astype(np.float64)
    h = (np.arange(0, 30, TR) / 6.0) ** 2 * np.exp(-np.arange(0, 30, TR) / 3.0)
    reg = np.convolve(block, h / h.sum())[:nt]
    u = np.linspace(-1, 1, nt)
    X = np.stack([reg, np.ones(nt), u, u * u - 1.0 / 3.0], axis=1)
    k = X.shape[1]
    inv = np.linalg.inv(X.T @ X)
    pinv = (inv @ X.T).astype(np.float32)
    B = pinv @ Y
    R = Y - X.astype(np.float32) @ B
    dof = nt - k
    s2 = np.einsum("tv,tv->v", R, R, dtype=np.float64) / dof
    c = np.zeros(k)
    c[0] = 1.0
    effect = B[0].astype(np.float64)
    var_c = c @ inv @ c
    with np.errstate(divide="ignore", invalid="ignore"):
        F = effect * effect / var_c / s2
        x = dof / (F + dof)
        p = special.betainc(dof / 2.0, 0.5, x)
        cnr = np.sign(effect) * np.sqrt(F)
        logp = -np.log10(np.maximum(p, 1e-300)) * np.sign(effect)
    sem = np.sqrt(var_c * s2)
    shape = data.shape[:3]
    affine = img.affine
    nib.save(nib.Nifti1Image(logp.reshape(shape).astype(np.float32), affine), os.path.join(out, "P-1.nii"))
    nib.save(nib.Nifti1Image(cnr.reshape(shape).astype(np.float32), affine), os.path.join(out, "T-1.nii"))
    nib.save(nib.Nifti1Image(np.stack([effect.reshape(shape), sem.reshape(shape)], axis=3).astype(np.float32),
                             affine), os.path.join(out, "S-1.nii"))
    nib.save(nib.Nifti1Image(data.mean(axis=3, dtype=np.float64).astype(np.float32), affine),
             os.path.join(out, "average.nii"))


def bench_glm(build, work):
    folder = glm_study(work)
    out = tempfile.mkdtemp(prefix="zor_bench_glm_out.")
    try:
        shutil.copy(os.path.join(folder, "run1.glm"), out)
        with open(os.path.join(folder, "run1.nii"), "rb") as f:  # page cache warm for both sides
            while f.read(1 << 24):
                pass
        control = os.path.join(out, "study.ctl")
        with open(control, "w") as f:
            f.write("time-model glm\nconditions 1\nruns:\n%s run1.glm\n" % os.path.join(folder, "run1.nii"))
        ours = run_child([os.path.join(build, "zormaps"), "study.ctl", "--quiet"], out)[:2]
        numpy_out = os.path.join(out, "numpy")
        os.mkdir(numpy_out)
        theirs = timed(lambda: glm_numpy(folder, numpy_out))[:2]
        report("glm", ours, theirs, "numpy + OpenBLAS", 2.5)
    finally:
        shutil.rmtree(out, ignore_errors=True)


# ---- DTI-WLS maps ---------------------------------------------------------
TILES = (10, 10, 5)  # small_64D is 10x10x10: 100x100x50 = 500,000 voxels


def dti_study(work):
    folder = os.path.join(work, "zor_bench_dti")
    data_path = os.path.join(folder, "tiled_64D.nii")
    if not os.path.exists(data_path):
        os.makedirs(folder, exist_ok=True)
        img = nib.load(DIPY_FILES + "small_64D.nii")
        data = np.asarray(img.dataobj)
        tiled = np.tile(data, TILES + (1,))
        nib.save(nib.Nifti1Image(tiled, img.affine, img.header), data_path)
        b = np.load(DIPY_FILES + "small_64D.bvals.npy")
        g = np.nan_to_num(np.load(DIPY_FILES + "small_64D.gradients.npy"))
        with open(os.path.join(folder, "small_64D.dti"), "w") as f:
            for i in range(len(b)):
                f.write("%.17g %.17g %.17g %.17g\n" % (g[i, 0], g[i, 1], g[i, 2], b[i]))
    return folder, data_path


def dti_dipy(folder, data_path, out):
    from dipy.core.gradients import gradient_table
    from dipy.reconst.dti import TensorModel
    b = np.load(DIPY_FILES + "small_64D.bvals.npy")
    g = np.nan_to_num(np.load(DIPY_FILES + "small_64D.gradients.npy"))
    img = nib.load(data_path)
    data = np.asarray(img.dataobj)
    fit = TensorModel(gradient_table(b, g), fit_method="WLS").fit(data)
    maps = {"FA": fit.fa, "MD": fit.md, "AD": fit.ad, "RD": fit.rd}
    low = fit.lower_triangular()
    for i, n in enumerate(["Dxx", "Dxy", "Dyy", "Dxz", "Dyz", "Dzz"]):
        maps[n] = low[..., i]
    for n, v in maps.items():
        nib.save(nib.Nifti1Image(np.asarray(v, np.float32), img.affine), os.path.join(out, n + ".nii"))


def bench_dti(build, work):
    folder, data_path = dti_study(work)
    out = tempfile.mkdtemp(prefix="zor_bench_dti_out.")
    try:
        with open(os.path.join(out, "dti.ctl"), "w") as f:
            f.write("time-model DTI-WLS\nfiles:\n%s %s\n" % (data_path, os.path.join(folder, "small_64D.dti")))
        ours = run_child([os.path.join(build, "zormaps"), "dti.ctl", "--quiet"], out)[:2]
        dipy_out = os.path.join(out, "dipy")
        os.mkdir(dipy_out)
        theirs = timed(lambda: dti_dipy(folder, data_path, dipy_out))[:2]
        report("dti", ours, theirs, "dipy TensorModel WLS", 5)
    finally:
        shutil.rmtree(out, ignore_errors=True)


# ---- Reading a compressed run ---------------------------------------------
GZ_SHAPE = (96, 96, 60, 300)


def gz_file(work):
    path = os.path.join(work, "zor_bench_run_96x96x60x300.nii.gz")
    if not os.path.exists(path):
        rng = np.random.default_rng(1)
        base = rng.integers(0, 3000, GZ_SHAPE[:3], dtype=np.int16)
        data = (base[..., None] + rng.integers(-40, 40, GZ_SHAPE, dtype=np.int16)).astype(np.int16)
        img = nib.Nifti1Image(data, np.diag([3.0, 3.0, 3.5, 1.0]))
        img.header.set_slope_inter(1.0, 0.0)
        nib.save(img, path)
    return path


def bench_gz(build, work):
    path = gz_file(work)
    with open(path, "rb") as f:
        while f.read(1 << 24):
            pass
    _, _, p = run_child([os.path.join(build, "bench", "bench_volume_load"), path], work)
    ours = tuple(float(v) for v in p.stderr.split()[:2])

    def nibabel_read():
        data = np.asarray(nib.load(path).dataobj, dtype=np.float32)
        assert data.shape == GZ_SHAPE
    theirs = timed(nibabel_read)[:2]
    print("gz    file %s, %.1f MB compressed" % (os.path.basename(path), os.path.getsize(path) / 1e6))
    report("gz", ours, theirs, "nibabel float32", 1.5, label="volume loader")


def main():
    build = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else "build-bench")
    which = sys.argv[2] if len(sys.argv) > 2 else "all"
    work = sys.argv[3] if len(sys.argv) > 3 else tempfile.gettempdir()
    print("load average %.2f" % os.getloadavg()[0])
    if which in ("glm", "all"):
        bench_glm(build, work)
    if which in ("dti", "all"):
        bench_dti(build, work)
    if which in ("gz", "all"):
        bench_gz(build, work)


if __name__ == "__main__":
    main()
