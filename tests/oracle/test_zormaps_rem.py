"""Batch maps of the group model: the between-file variance of every voxel
by restricted maximum likelihood against an independent scipy optimisation
of the same likelihood, on generated groups of known variance; the other
two volumes of "sigma2"; the P, T and S maps against the engine's own fit
of each voxel with that variance (the group-model driver reading the
written map); files without errors (the ordinary residual variance); and
the same bytes on one thread and on three."""
import os
import shutil
import subprocess
import sys
import tempfile

import nibabel as nib
import numpy as np
from scipy.optimize import minimize_scalar

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import zormaps_kit as kit  # noqa: E402

failures = []
DIM = (5, 4, 3)
NVOX = DIM[0] * DIM[1] * DIM[2]


def check(condition, message):
    if not condition:
        failures.append(message)


def neg_reml(s, X, y, se):
    v = se * se + s
    w = 1.0 / v
    A = X.T @ (w[:, None] * X)
    beta = np.linalg.solve(A, X.T @ (w * y))
    r = y - X @ beta
    return 0.5 * (np.sum(np.log(v)) + np.linalg.slogdet(A)[1] + np.sum(w * r * r))


def scipy_reml(X, y, se):
    """The maximum over s >= 0: a coarse grid, then a bounded search around
    its best point, and the boundary itself."""
    top = 20.0 * (np.var(y) + np.mean(se * se)) + 1e-6
    grid = np.concatenate([[0.0], np.geomspace(top * 1e-8, top, 200)])
    values = [neg_reml(s, X, y, se) for s in grid]
    i = int(np.argmin(values))
    lo, hi = grid[max(i - 1, 0)], grid[min(i + 1, len(grid) - 1)]
    r = minimize_scalar(neg_reml, bounds=(lo, hi), args=(X, y, se), method="bounded",
                        options={"xatol": 1e-10 * (hi + 1e-12), "maxiter": 500})
    best = min([(r.fun, r.x), (values[i], grid[i]), (neg_reml(0.0, X, y, se), 0.0)])
    return best[1], best[0]


def write_groups(folder, rng, paired=True):
    """Two groups of files; the between-file variance grows across voxels."""
    sizes = (8, 7)
    # Without errors a voxel of no variance at all would have no fit.
    tau = np.linspace(0.0 if paired else 0.5, 4.0, NVOX).reshape(DIM, order="F")
    affine = kit.oblique_affine((2.0, 2.0, 3.0), 0.2)
    names, X = [], []
    for g, n in enumerate(sizes):
        mean = 1.5 if g == 0 else -0.5
        for j in range(n):
            se = rng.uniform(0.4, 1.6, DIM)
            value = mean + rng.normal(0, 1, DIM) * np.sqrt(tau + (se * se if paired else 0.0))
            name = os.path.join(folder, "g%d_s%d.nii%s" % (g, j, ".gz" if j % 3 == 0 else ""))
            kit.save(np.stack([value, se], axis=3) if paired else value, affine, name)
            names.append(name)
            X.append([1.0 if g == 0 else 0.0, 1.0 if g == 1 else 0.0])
    control = os.path.join(folder, "group.ctl")
    with open(control, "w") as f:
        f.write("time-model rem\nconditions p c p-c\nevent p\n")
        f.writelines(n + "\n" for n in names[: sizes[0]])
        f.write("event c\n")
        f.writelines(n + "\n" for n in names[sizes[0]:])
    return control, names, np.array(X)


def series(names):
    data = [np.asarray(nib.load(n).dataobj, dtype=np.float32) for n in names]
    y = np.stack([d[..., 0] if d.ndim == 4 else d for d in data], axis=-1)
    se = np.stack([d[..., 1] if d.ndim == 4 else np.zeros_like(d) for d in data], axis=-1)
    return y, se


def driver(control, cwd, sigma2_map):
    out = subprocess.run([kit.tool("rem_fit_driver"), control, "--sigma2-map", sigma2_map], cwd=cwd,
                         capture_output=True, text=True)
    check(out.returncode == 0, "driver failed: %s" % out.stdout[-400:])
    fits, voxel = {}, None
    for line in out.stdout.splitlines():
        w = line.split()
        if w and w[0] == "voxel":
            voxel = int(w[1])
            fits[voxel] = []
        elif w and w[0] == "condition":
            fits[voxel].append(dict(zip(w[3::2], [float(v) for v in w[4::2]])))
    return fits


def check_tests(name, folder, control, fits):
    maps = {}
    for kind in ("P", "T", "S"):
        for k, word in enumerate(["p", "c", "p-c"]):
            img, values = kit.load(os.path.join(folder, "%s-%s.nii" % (kind, word)))
            maps[kind, k] = values
    for v in range(NVOX):
        x, y, z = v % DIM[0], (v // DIM[0]) % DIM[1], v // (DIM[0] * DIM[1])
        for k in range(3):
            c = fits[v][k]
            want_p = -np.log10(c["p_raw"]) * (-1 if c["cnr"] < 0 else 1)
            p = maps["P", k][x, y, z]
            check(abs(p - want_p) <= 4 * np.spacing(np.float32(abs(want_p))), "%s voxel %d: P %r, fit %r" %
                  (name, v, p, want_p))
            check(maps["T", k][x, y, z] == np.float32(c["cnr"]), "%s voxel %d: T" % (name, v))
            check(maps["S", k][x, y, z, 0] == np.float32(c["effect"]) and
                  maps["S", k][x, y, z, 1] == np.float32(c["sem"]), "%s voxel %d: S" % (name, v))


def main():
    rng = np.random.default_rng(2207)
    work = tempfile.mkdtemp(prefix="zor_maps_rem_")
    try:
        data = os.path.join(work, "data")
        os.mkdir(data)
        control, names, X = write_groups(data, rng)
        one, three = os.path.join(work, "one"), os.path.join(work, "three")
        os.mkdir(one)
        os.mkdir(three)
        kit.run_zormaps(control, one, "--threads", "1")
        kit.run_zormaps(control, three, "--threads", "3")
        for n in kit.map_files(one):
            check(open(os.path.join(one, n), "rb").read() == open(os.path.join(three, n), "rb").read(),
                  "%s differs between one and three threads" % n)
        img, s2 = kit.load(os.path.join(one, "sigma2.nii"))
        check(img.shape == DIM + (3,), "sigma2 shape %s" % (img.shape,))
        for p in kit.same_geometry(img, nib.load(names[0])):
            failures.append("sigma2: " + p)
        y, se = series(names)
        worst = 0.0
        for v in range(NVOX):
            x, yy, z = v % DIM[0], (v // DIM[0]) % DIM[1], v // (DIM[0] * DIM[1])
            yv, sv = y[x, yy, z].astype(float), se[x, yy, z].astype(float)
            s_ref, nll_ref = scipy_reml(X, yv, sv)
            ours = float(s2[x, yy, z, 2])
            scale = s_ref + np.mean(sv * sv)
            worst = max(worst, abs(ours - s_ref) / scale)
            check(abs(ours - s_ref) <= 2e-4 * scale, "voxel %d: sigma2_RE %r, scipy %r" % (v, ours, s_ref))
            check(neg_reml(ours, X, yv, sv) <= nll_ref + 1e-6 * abs(nll_ref) + 1e-9,
                  "voxel %d: likelihood below scipy's optimum" % v)
            within = np.float32(np.mean(sv * sv))
            check(abs(s2[x, yy, z, 0] - within) <= 1e-6 * within, "voxel %d: within-file variance" % v)
            share = ours / (ours + float(s2[x, yy, z, 0])) if ours + s2[x, yy, z, 0] > 0 else 0.0
            check(abs(s2[x, yy, z, 1] - share) <= 1e-6, "voxel %d: share %r, %r" % (v, s2[x, yy, z, 1], share))
        print("largest difference from scipy: %.3g of the variance scale" % worst)
        # The estimates follow the variance they were made with.
        tau = np.linspace(0.0, 4.0, NVOX)
        est = np.array([s2[v % DIM[0], (v // DIM[0]) % DIM[1], v // (DIM[0] * DIM[1]), 2] for v in range(NVOX)])
        check(np.corrcoef(tau, est)[0, 1] > 0.5, "estimates do not follow the true variance: %s" % est)
        check_tests("paired", one, control, driver(control, one, os.path.join(one, "sigma2.nii")))

        # Files of one volume: no errors, the ordinary residual variance.
        data1 = os.path.join(work, "data1")
        os.mkdir(data1)
        control1, names1, X1 = write_groups(data1, rng, paired=False)
        out1 = os.path.join(work, "out1")
        os.mkdir(out1)
        kit.run_zormaps(control1, out1)
        _, s1 = kit.load(os.path.join(out1, "sigma2.nii"))
        y1, _ = series(names1)
        for v in range(NVOX):
            x, yy, z = v % DIM[0], (v // DIM[0]) % DIM[1], v // (DIM[0] * DIM[1])
            yv = y1[x, yy, z].astype(float)
            beta, rss, _, _ = np.linalg.lstsq(X1, yv, rcond=None)
            want = float(np.sum((yv - X1 @ beta) ** 2)) / (len(yv) - 2)
            check(abs(s1[x, yy, z, 2] - want) <= 1e-5 * want, "unpaired voxel %d: %r, %r" % (v, s1[x, yy, z, 2], want))
            check(s1[x, yy, z, 0] == 0 and s1[x, yy, z, 1] == 1.0, "unpaired voxel %d: %s" % (v, s1[x, yy, z]))
        check_tests("unpaired", out1, control1, driver(control1, out1, os.path.join(out1, "sigma2.nii")))
    finally:
        shutil.rmtree(work, ignore_errors=True)
    for f in failures[:20]:
        print("FAIL", f)
    print("%d failures" % len(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
