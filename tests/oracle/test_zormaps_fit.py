"""Batch maps of the generalized fits: DTI-WLS on dipy's small_64D and a T2
fit on a generated compressed series. Every output parameter's map and
"chi2_dof" read back by nibabel with the data's geometry, each voxel's
values those of the engine's own fit through the fit driver, the same bytes
on one thread and on three, and a mask of other dimensions refused."""
import os
import shutil
import sys
import tempfile

import nibabel as nib
import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import zormaps_kit as kit  # noqa: E402
from fit_reference import DIPY_FILES, parse_driver, run_driver, small_64d, write_table  # noqa: E402

failures = []
TENSOR = ["S0", "MD", "LD", "RD", "A", "dA", "FA", "FA.x", "FA.y", "FA.z", "Dxx", "Dyy", "Dzz", "Dxy", "Dxz", "Dyz",
          "Diag_sem", "Doff_sem"]


def check(condition, message):
    if not condition:
        failures.append(message)


def compare(name, folder, control, source, names):
    voxels, _ = parse_driver(run_driver(control))
    src = nib.load(source)
    dim = src.shape[:3]
    files = kit.map_files(folder)
    check(files == sorted([n + ".nii" for n in names] + ["chi2_dof.nii"]), "%s: maps %s" % (name, files))
    maps = {}
    for n in names + ["chi2_dof"]:
        img, values = kit.load(os.path.join(folder, n + ".nii"))
        for p in kit.same_geometry(img, src):
            failures.append("%s %s: %s" % (name, n, p))
        check(img.shape == dim, "%s %s: shape %s" % (name, n, img.shape))
        maps[n] = values
    count = 0
    for v, fit in voxels.items():
        x, y, z = v % dim[0], (v // dim[0]) % dim[1], v // (dim[0] * dim[1])
        got = np.array([maps[n][x, y, z] for n in names], dtype=np.float32)
        check(np.array_equal(got, fit["outputs"].astype(np.float32), equal_nan=True),
              "%s voxel %d: %s, fit %s" % (name, v, got, fit["outputs"]))
        check(np.array_equal(maps["chi2_dof"][x, y, z], np.float32(fit["chi2"]), equal_nan=True),
              "%s voxel %d: chi2 %r, fit %r" % (name, v, maps["chi2_dof"][x, y, z], fit["chi2"]))
        count += 1
    check(count == int(np.prod(dim)), "%s: %d voxels compared" % (name, count))
    return count


def main():
    work = tempfile.mkdtemp(prefix="zor_maps_fit_")
    try:
        _, g, b = small_64d()
        write_table(os.path.join(work, "small_64D.dti"), g, b)
        control = os.path.join(work, "dti.ctl")
        with open(control, "w") as f:
            f.write("time-model DTI-WLS\nfiles:\n%s %s\n" % (DIPY_FILES + "small_64D.nii",
                                                           os.path.join(work, "small_64D.dti")))
        one, three = os.path.join(work, "one"), os.path.join(work, "three")
        os.mkdir(one)
        os.mkdir(three)
        kit.run_zormaps(control, one, "--threads", "1")
        kit.run_zormaps(control, three, "--threads", "3")
        for n in kit.map_files(one):
            check(open(os.path.join(one, n), "rb").read() == open(os.path.join(three, n), "rb").read(),
                  "%s differs between one and three threads" % n)
        print("ok   DTI-WLS: %d voxels" % compare("DTI-WLS", one, control, DIPY_FILES + "small_64D.nii", TENSOR))

        # T2 decay over echo times, compressed.
        rng = np.random.default_rng(4)
        dim = (7, 6, 3)
        te = np.array([10.0, 20.0, 35.0, 50.0, 70.0, 90.0])
        t2 = rng.uniform(30, 120, dim)
        s0 = rng.uniform(500, 1500, dim)
        data = s0[..., None] * np.exp(-te / t2[..., None]) + rng.normal(0, 5, dim + (len(te),))
        series = os.path.join(work, "echoes.nii.gz")
        kit.save(data, kit.oblique_affine(), series)
        t2_control = os.path.join(work, "t2.ctl")
        with open(t2_control, "w") as f:
            f.write("time-model T2\nx-array %s\nfiles:\n%s\n" % (" ".join("%g" % t for t in te), series))
        out = os.path.join(work, "t2")
        os.mkdir(out)
        p = kit.run_zormaps(t2_control, out, check=False)
        if p.returncode != 0:
            failures.append("T2 batch failed: %s" % p.stdout[-400:])
        else:
            print("ok   T2: %d voxels" % compare("T2", out, t2_control, series, ["T2", "R2", "S0"]))

        # A mask of other dimensions: refused before anything is written.
        mask = os.path.join(work, "small_mask.nii")
        kit.save(np.ones((3, 3, 3)), np.eye(4), mask)
        bad = os.path.join(work, "bad")
        os.mkdir(bad)
        p = kit.run_zormaps(control, bad, "--mask", mask, check=False)
        check(p.returncode == 1, "mask of other dimensions: status %d" % p.returncode)
        line = "Error: the mask %s has 3 x 3 x 3 voxels, the study 10 x 10 x 10." % mask
        check(line in p.stdout.splitlines(), "no line %r in %r" % (line, p.stdout[-300:]))
        check(os.listdir(bad) == [], "files left after a refused mask: %s" % os.listdir(bad))
    finally:
        shutil.rmtree(work, ignore_errors=True)
    for f in failures[:20]:
        print("FAIL", f)
    print("%d failures" % len(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
