"""Batch maps of the linear model: every map read back by nibabel with the
study's shape and geometry, each voxel's values those of the engine's own
fit of that voxel (the fit driver, weights set per voxel as the viewer
does), the same bytes on one thread and on three, a mask that leaves
voxels at 0, a compressed run, and the iterated noise model."""
import os
import shutil
import sys
import tempfile

import nibabel as nib
import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import zormaps_kit as kit  # noqa: E402
from glm_reference import parse_driver  # noqa: E402

failures = []
DIM = (6, 5, 4)
NVOX = DIM[0] * DIM[1] * DIM[2]


def check(condition, message):
    if not condition:
        failures.append(message)


def write_study(folder, rng, noise=None):
    """Two runs (16-bit integers, then compressed floats) with a block and a
    gamma event; the activation follows the blocks in a corner."""
    affine = kit.oblique_affine()
    lengths = [40, 36]
    runs = []
    for r, nt in enumerate(lengths):
        t = np.arange(nt) * 2.0
        block = ((t % 20) < 10).astype(float)
        data = 500.0 + rng.normal(0, 8, DIM + (nt,))
        data[:3, :3, :2, :] += 25.0 * block
        data[3:, :, 2:, :] += np.linspace(0, 10, nt)
        name = os.path.join(folder, "run%d.%s" % (r + 1, "nii" if r == 0 else "nii.gz"))
        kit.save(np.rint(data) if r == 0 else data, affine, name, np.int16 if r == 0 else np.float32)
        events = os.path.join(folder, "run%d.glm" % (r + 1))
        with open(events, "w") as f:
            f.write("2.0\n\n1\n")
            for on in range(0, nt * 2, 20):
                f.write("%d %d\n" % (on, on + 10))
            f.write("\n2 gamma 3.0 2.0\n%d\n%d\n" % (6, 40))
        runs.append((name, events))
    control = os.path.join(folder, "study.ctl")
    with open(control, "w") as f:
        f.write("time-model glm\n")
        if noise:
            f.write("noise-model %s\n" % noise)
        f.write("conditions 1 2 1-2 1,2\nruns:\n")
        for name, events in runs:
            f.write("%s %s\n" % (name, events))
    return control, runs


def driver_fits(control, cwd):
    out = kit.subprocess.run([kit.tool("glm_fit_driver"), control, "--weights", "--resels", str(NVOX)],
                             cwd=cwd, capture_output=True, text=True)
    check(out.returncode == 0, "driver failed: %s" % out.stdout[-500:])
    return parse_driver(out.stdout)[1]


def check_maps(name, folder, runs, fits, inside):
    source = nib.load(runs[0][0])
    img, average = kit.load(os.path.join(folder, "average.nii"))
    for p in kit.same_geometry(img, source):
        failures.append("%s average: %s" % (name, p))
    series = np.concatenate([np.asarray(nib.load(n).dataobj, dtype=np.float32) for n, _ in runs], axis=3)
    mean = series.astype(np.float64).mean(axis=3).astype(np.float32)
    expected = np.where(inside, mean, 0.0)
    check(np.allclose(average, expected, rtol=1e-6, atol=0), "%s: average differs from the mean" % name)
    words = ["1", "2", "1-2", "1,2"]
    for k, word in enumerate(words):
        maps = {}
        for kind, nt in (("P", 1), ("T", 1), ("S", 2)):
            path = os.path.join(folder, "%s-%s.nii" % (kind, word))
            if not os.path.exists(path):
                failures.append("%s: no map %s" % (name, path))
                return
            img, values = kit.load(path)
            for p in kit.same_geometry(img, source):
                failures.append("%s %s-%s: %s" % (name, kind, word, p))
            check(img.shape == (DIM if nt == 1 else DIM + (2,)), "%s %s: shape %s" % (name, path, img.shape))
            check(img.get_data_dtype() == np.float32, "%s %s: type %s" % (name, path, img.get_data_dtype()))
            check(kit.dof_extension(img) == int(round(fits[0]["dof"])) or name.endswith("iWLS"),
                  "%s %s: degrees of freedom %s" % (name, path, kit.dof_extension(img)))
            maps[kind] = values
        for v in range(NVOX):
            x, y, z = v % DIM[0], (v // DIM[0]) % DIM[1], v // (DIM[0] * DIM[1])
            got = (maps["P"][x, y, z], maps["T"][x, y, z], maps["S"][x, y, z, 0], maps["S"][x, y, z, 1])
            if not inside[x, y, z]:
                check(got == (0, 0, 0, 0), "%s %s: masked voxel %d holds %s" % (name, word, v, got))
                continue
            c = fits[v]["conditions"][k]
            want_p = -np.log10(c["p_raw"]) * (-1 if c["cnr"] < 0 else 1)
            # The map holds log10f of the float p: a few float steps from
            # the double logarithm.
            check(abs(got[0] - want_p) <= 4 * np.spacing(np.float32(abs(want_p))),
                  "%s %s voxel %d: P %r, fit %r" % (name, word, v, got[0], want_p))
            check(got[1] == np.float32(c["cnr"]), "%s %s voxel %d: T %r, fit %r" % (name, word, v, got[1], c["cnr"]))
            check(got[2] == np.float32(c["effect"]) and got[3] == np.float32(c["sem"]),
                  "%s %s voxel %d: S %r, fit %r %r" % (name, word, v, got[2:], c["effect"], c["sem"]))


def main():
    rng = np.random.default_rng(22)
    work = tempfile.mkdtemp(prefix="zor_maps_glm_")
    try:
        data = os.path.join(work, "data")
        os.mkdir(data)
        control, runs = write_study(data, rng)
        fits = driver_fits(control, work)
        check(len(fits) == NVOX, "driver gave %d voxels" % len(fits))
        # One thread, three threads: the same files, byte for byte.
        one, three = os.path.join(work, "one"), os.path.join(work, "three")
        os.mkdir(one)
        os.mkdir(three)
        kit.run_zormaps(control, one, "--threads", "1")
        kit.run_zormaps(control, three, "--threads", "3")
        names = kit.map_files(one)
        check(names == ["P-1,2.nii", "P-1-2.nii", "P-1.nii", "P-2.nii", "S-1,2.nii", "S-1-2.nii", "S-1.nii",
                        "S-2.nii", "T-1,2.nii", "T-1-2.nii", "T-1.nii", "T-2.nii", "average.nii"],
              "maps written: %s" % names)
        check(sorted(os.listdir(one)) == names, "other files left: %s" % os.listdir(one))
        for n in names:
            with open(os.path.join(one, n), "rb") as a, open(os.path.join(three, n), "rb") as b:
                check(a.read() == b.read(), "%s differs between one and three threads" % n)
        check_maps("OLS", one, runs, fits, np.ones(DIM, bool))

        # A mask: a volume whose non-zero voxels are fitted.
        inside = rng.random(DIM) < 0.6
        mask = os.path.join(data, "mask.nii.gz")
        kit.save(inside.astype(np.float32) * 3.0, kit.oblique_affine(), mask)
        masked = os.path.join(work, "masked")
        os.mkdir(masked)
        p = kit.run_zormaps(control, masked, "--mask", mask)
        check("Mask %s: %d of %d voxels." % (mask, inside.sum(), NVOX) in p.stdout, "mask line: %s" % p.stdout)
        check_maps("masked", masked, runs, fits, inside)

        # A region list as the mask.
        ovl = os.path.join(data, "region.ovl")
        with open(ovl, "w") as f:
            f.write("1 2 3\n0 0 0 0.5\n5 4 0 0\n")
        region = os.path.join(work, "region")
        os.mkdir(region)
        kit.run_zormaps(control, region, "--mask", ovl)
        in_region = np.zeros(DIM, bool)
        in_region[1, 2, 3] = in_region[0, 0, 0] = True
        check_maps("region", region, runs, fits, in_region)

        # Weights iterated per voxel: one voxel after the other.
        data2 = os.path.join(work, "data2")
        os.mkdir(data2)
        control2, runs2 = write_study(data2, rng, noise="iWLS")
        fits2 = driver_fits(control2, work)
        iwls = os.path.join(work, "iwls")
        os.mkdir(iwls)
        kit.run_zormaps(control2, iwls, "--threads", "2")
        check_maps("iWLS", iwls, runs2, fits2, np.ones(DIM, bool))
    finally:
        shutil.rmtree(work, ignore_errors=True)
    for f in failures[:20]:
        print("FAIL", f)
    print("%d failures" % len(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
