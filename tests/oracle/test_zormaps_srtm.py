"""Batch maps of the PET model on generated two-run studies (free k2' with
gamma and sigmoid k2a terms; fixed k2'): every P, T, S and BP map read back
by nibabel with the runs' geometry (native-format runs: the maps carry the
loader's voxel-to-space matrix), each voxel's values those of the engine's
own fit of that voxel through the PET driver, and the same bytes on one
thread and on three."""
import os
import shutil
import subprocess
import sys
import tempfile

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import zormaps_kit as kit  # noqa: E402
from srtm_reference import Run, Study, parse_driver  # noqa: E402
from test_srtm_oracle import DIM, NVOX, REFERENCE_VOXELS, TARGET_VOXELS, frames, study_data  # noqa: E402

failures = []


def check(condition, message):
    if not condition:
        failures.append(message)


def studies(rng):
    s1, s2 = frames(rng, 12), frames(rng, 10)
    d = study_data(rng, [s1, s2])
    run1 = Run(s1, d[0], lines=['exclude 2,5', '1 R1', '', '2 k2', '', '3 k2a', '', '4 k2a gamma', '10 6 2',
                                 '6 constant', ''])
    run2 = Run(s2, d[1], lines=['1 R1', '', '2 k2', '', '3 k2a', '', '5 k2a sigmoid', '3 4', '6 constant', ''])
    yield 'free', Study(DIM, [run1, run2], REFERENCE_VOXELS, TARGET_VOXELS, ['time-model SRTM', 'half-life 20.4'],
                        '3 4 3-4 1,2 5 -3,6')
    s1, s2 = frames(rng, 11), frames(rng, 9)
    d = study_data(rng, [s1, s2])
    rel1 = list(1.0 + 0.1 * np.sin(np.arange(11)))
    rel2 = list(1.0 + 0.1 * np.cos(np.arange(9)))
    run1 = Run(s1, d[0], columns=[rel1], tau2=25.0, k2_column=1, lines=['1 R1', '', '2 k2a', '', '3 k2a', '5 12'])
    run2 = Run(s2, d[1], columns=[rel2], tau2=25.0, k2_column=1, lines=['1 R1', '', '2 k2a', '', '3 k2a', '4 20'])
    yield 'fixed', Study(DIM, [run1, run2], REFERENCE_VOXELS, TARGET_VOXELS, ['time-model MRTM'], '2 2-3 3 1')


def main():
    rng = np.random.default_rng(31)
    work = tempfile.mkdtemp(prefix="zor_maps_srtm_")
    try:
        for name, study in studies(rng):
            folder = os.path.join(work, name)
            os.mkdir(folder)
            control = study.write(folder)
            one, three = os.path.join(folder, "one"), os.path.join(folder, "three")
            os.mkdir(one)
            os.mkdir(three)
            kit.run_zormaps(control, one, "--threads", "1")
            kit.run_zormaps(control, three, "--threads", "3")
            files = kit.map_files(one)
            for n in files:
                check(open(os.path.join(one, n), "rb").read() == open(os.path.join(three, n), "rb").read(),
                      "%s %s differs between one and three threads" % (name, n))
            out = subprocess.run([kit.tool("srtm_fit_driver"), control, "--voxels", "0-%d" % (NVOX - 2)],
                                 capture_output=True, text=True)
            check(out.returncode == 0, "%s: driver failed %s" % (name, out.stdout[-300:]))
            _, curves = parse_driver(out.stdout)
            # The selection list of the driver reaches the last voxel but one.
            if len(curves) != NVOX - 1:
                failures.append("%s: driver gave %d curves: %s" % (name, len(curves), out.stdout[-300:]))
                continue
            words = study.conditions.split()
            bp_words = [words[k] for k in curves[0]['bp']]
            want = sorted(["%s-%s.nii" % (kind, w) for w in words for kind in "PTS"] +
                          ["BP-%s.nii" % w for w in bp_words])
            check(files == want, "%s: maps %s, expected %s" % (name, files, want))
            check(len(bp_words) >= 2, "%s: too few binding-potential conditions %s" % (name, bp_words))
            # The runs' own matrix, as the loader reads it.
            h = subprocess.run([kit.tool("stack_dump"), "-H", os.path.join(folder, "run1.bfloat")],
                               capture_output=True, text=True).stdout
            m = [l for l in h.splitlines() if l.startswith("ijk_to_xyz")][0].split()[1:]
            matrix = np.array([float(v) for v in m]).reshape(4, 4)
            for n in files:
                img, values = kit.load(os.path.join(one, n))
                check(np.allclose(img.affine, matrix, atol=1e-6), "%s %s: affine %s, runs %s" %
                      (name, n, img.affine, matrix))
                check(img.shape == (DIM + (2,) if n.startswith("S-") else DIM), "%s %s: shape %s" %
                      (name, n, img.shape))
                kind, word = n[:-4].split("-", 1)
                k = words.index(word)
                for v in range(NVOX - 1):
                    x, y, z = v % DIM[0], (v // DIM[0]) % DIM[1], v // (DIM[0] * DIM[1])
                    c = curves[v]['conditions'][k]
                    if kind == "P":
                        want_p = -np.log10(c["p_raw"]) * (-1 if c["cnr"] < 0 else 1)
                        ok = abs(values[x, y, z] - want_p) <= 4 * np.spacing(np.float32(abs(want_p)))
                    elif kind == "T":
                        ok = values[x, y, z] == np.float32(c["cnr"])
                    elif kind == "S":
                        ok = values[x, y, z, 0] == np.float32(c["effect"]) and \
                            values[x, y, z, 1] == np.float32(c["sem"])
                    else:
                        ok = values[x, y, z] == np.float32(curves[v]['bp'][k][0])
                    check(ok, "%s %s voxel %d: %r, fit %r %r" % (name, n, v, values[x, y, z], c,
                                                                  curves[v]['bp'].get(k)))
            print("ok   %s: %s" % (name, " ".join(files)))
    finally:
        shutil.rmtree(work, ignore_errors=True)
    for f in failures[:20]:
        print("FAIL", f)
    print("%d failures" % len(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
