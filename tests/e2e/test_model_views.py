"""The group, PET and fitting models in the viewer, end to end: each study
opened from its control file, a click on a voxel, the graph panel's numbers
against the engine's own driver, the fitted curve where the graph's scaling
puts it, and the result table written with "R" over a listed region of that
voxel, whose model columns equal the driver's numbers to the printed digit.
Maps missing at start-up end the run with the reader's message."""

import os
import re
import shutil
import subprocess

import numpy as np

import zore2e as e2e
import graph_kit as gk
import picture_kit as kit

f32 = np.float32
ZOOM = 4
INK = 0x000000
CYAN_BOX = 0x00FFFF
WHITE_BOX = 0xFFFFFF
PURPLE_BOX = 0xFF00FF
DIPY_FILES = "/usr/lib/python3/dist-packages/dipy/data/files/"


def g(value):
    """A float32 as the tables print it."""
    return "%g" % float(f32(value))


def driver(name, args, cwd):
    return subprocess.run([e2e.tool_path(name)] + args, cwd=cwd, capture_output=True, text=True,
                          check=True).stdout


def row(out, label):
    return [float(v) for v in re.search(r"^%s (.*)$" % label, out, re.M).group(1).split()]


def read_table(path):
    with open(path) as f:
        return [line.rstrip("\n").split(" ") for line in f]


class ModelViewCase(e2e.ViewerTestCase):
    def open(self, argv, shape, voxel, title=r"time points  ----  output to file \.roi \(0\)"):
        v = self.run_viewer([e2e.program_path()] + argv + ["-z", str(ZOOM)])
        w = v.window(r"zorview \(zoom = %d\).*" % ZOOM, timeout=10.0)
        v.wait_event("Expose")
        graph = gk.open_graph(v, w, title)
        layout = kit.Layout(shape, ZOOM, columns=2)
        mark = v.click(w, *layout.mosaic(voxel[0], voxel[1], voxel[2], 1, 1))
        v.wait_event("ButtonRelease", after=mark, window="image")
        mark = v.send_expose(graph)
        v.wait_event("Expose", after=mark, window="graph")
        return v, w, graph

    def write_table(self, v, graph, regions):
        mark = v.key(graph, "R", x=600, y=200)
        v.wait_event("KeyPress", after=mark, window="graph")
        gk.visible_window(v, r"time points  ----  output to file \.roi \(%d\)" % regions)
        return read_table(os.path.join(self.work, ".roi"))


# The group model: six subjects in two groups, each file a value and its
# standard error; the variance between files in the third volume of
# sigma2.nii.
REM_SHAPE = (6, 6, 2)
REM_VOXEL = (3, 2, 1)


def rem_value(f, x, y, z):
    rng = np.random.default_rng(100 * f + 10 * x + y + 1000 * z)
    effect = 4.0 if (x, y, z) == REM_VOXEL and f < 3 else 0.0
    return 10.0 + effect + x - y + rng.normal(0.0, 1.0)


def rem_error(f, x, y, z):
    return 0.5 + 0.25 * ((f + x + y + z) % 4)


def write_rem_study(folder, with_maps=True):
    names = []
    for f in range(6):
        name = "s%d.nii" % f
        e2e.write_nifti(os.path.join(folder, name), REM_SHAPE + (2,),
                        values=lambda x, y, z, t, f=f: rem_value(f, x, y, z) if t == 0 else rem_error(f, x, y, z))
        names.append(name)
    e2e.write_nifti(os.path.join(folder, "sigma2.nii"), REM_SHAPE + (3,),
                    values=lambda x, y, z, t: 0.0 if t < 2 else 0.3 + 0.1 * x + 0.05 * y)
    if with_maps:
        for c in ("p", "c", "p-c"):
            e2e.write_nifti(os.path.join(folder, "P-%s.nii" % c), REM_SHAPE, values=lambda x, y, z, t: float(x))
    with open(os.path.join(folder, "group.rem"), "w") as f:
        f.write("time-model rem\nconditions p c p-c\nevent p\n%s\nevent c\n%s\n" %
                ("\n".join(names[:3]), "\n".join(names[3:])))
    with open(os.path.join(folder, "voxel.ovl"), "w") as f:
        f.write("%d %d %d\n" % REM_VOXEL)
    with open(os.path.join(folder, "regions.list"), "w") as f:
        f.write("subject voxel.ovl\n")


class RemView(ModelViewCase):
    def test_click_and_table_of_the_group_model(self):
        write_rem_study(self.work)
        v, w, graph = self.open(["-t", "group.rem", "-o", "regions.list"], REM_SHAPE, REM_VOXEL)
        index = REM_VOXEL[0] + 6 * REM_VOXEL[1] + 36 * REM_VOXEL[2]
        out = driver("rem_fit_driver", ["group.rem", "--sigma2-map", "sigma2.nii", "--voxels", str(index)], self.work)
        fit, band = row(out, "fit"), row(out, "fit_error")
        m = re.search(r"^condition 0 p F \S+ cnr \S+ p_raw (\S+) p_cor \S+ effect (\S+) sem (\S+)", out, re.M)
        p_raw, effect, sem = (float(m.group(k)) for k in (1, 2, 3))
        self.assertGreater(effect, 12.0)
        for name in ("sigma2.nii", "P-p.nii", "P-c.nii", "P-p-c.nii"):
            self.assertIn("\r%s: 100 %%" % name, v.stdout())
        img = v.capture(graph)
        S = gk.GRAPH_SIZE
        kit.text_at(self, img, v.server, " p = %6.3f+-%6.3f , p (raw) = %8.1e" % (effect, sem, f32(p_raw)),
                    325, S[1] + 28, INK, CYAN_BOX)
        kit.text_at(self, img, v.server, "model: REM", 200, S[1] + 28, INK, CYAN_BOX)

        # The fit of each group is flat: half way between two files of a
        # group the white line lies at the group's fit.
        values = [rem_value(f, *REM_VOXEL) for f in range(6)]
        errors = [rem_error(f, *REM_VOXEL) for f in range(6)]
        samples = [f32(s) for pair in zip(values, errors) for s in pair]
        scale = gk.Scale([2.0 * j for j in range(12)], samples)
        for first in (0, 1, 3, 4):
            x = 2.0 * (2 * first + 1)
            self.assertEqual(img.pixel(*scale.pixel(x, fit[first])), gk.WHITE, "fit after file %d" % first)

        table = self.write_table(v, graph, 1)
        self.assertEqual(table[0], ["i", "x", "subject", "subject_err"])
        for f in range(6):
            self.assertEqual(table[1 + f], [str(2 * f), g(4 * f), g(values[f]), g(errors[f])])
        self.assertEqual(table[7], ["new", "", "", "#", "GLM", "fit", "to", "data"])
        for f in range(6):
            self.assertEqual(table[8 + f], [str(2 * f), g(4 * f), g(fit[f]), "0"])
        self.assertEqual(len(table), 14)
        self.assertGreater(min(band), 0.0)

    def test_a_variance_map_of_other_dimensions_ends_the_start(self):
        write_rem_study(self.work)
        e2e.write_nifti(os.path.join(self.work, "sigma2.nii"), (5, 6, 2, 3), values=lambda x, y, z, t: 1.0)
        v = self.run_viewer([e2e.program_path(), "-r", "group.rem", "-N"])
        self.assertEqual(v.wait_exit(timeout=10.0), 1)
        self.assertIn("Error: dimensions for s0.nii (6,6,2)\ndon't match previous image dimensions (5,6,2)\n",
                      v.stdout())

    def test_a_missing_variance_map_ends_the_start(self):
        write_rem_study(self.work)
        os.remove(os.path.join(self.work, "sigma2.nii"))
        v = self.run_viewer([e2e.program_path(), "-r", "group.rem"])
        self.assertEqual(v.wait_exit(timeout=10.0), 1)
        self.assertIn("sigma2.nii", v.stdout())


# The PET model: two runs of 12 frames, a reference region in one corner and
# a target in the middle, curves made by the model's own equation with noise.
PET_SHAPE = (6, 6, 2)
PET_VOXEL = (3, 3, 1)
FRAMES = [30, 30, 60, 60, 120, 120, 180, 180, 300, 300, 300, 300]


def pet_curves():
    ends = np.cumsum(FRAMES) / 60.0
    mids = ends - np.array(FRAMES) / 120.0
    fine = np.linspace(0.0, ends[-1], 8001)
    ref = 900.0 * (fine / 3.0) * np.exp(-fine / 12.0) + 40.0 * (1.0 - np.exp(-fine / 2.0))
    data = {}
    for z in range(2):
        for y in range(6):
            for x in range(6):
                bp = 0.0 if (x < 2 and y < 2) else 0.5 + 0.4 * x + 0.2 * y
                k2, k2a = 0.12, 0.12 / (1.0 + bp)
                c = np.zeros_like(fine)
                for i in range(1, len(fine)):
                    dt = fine[i] - fine[i - 1]
                    c[i] = c[i - 1] + (ref[i] - ref[i - 1]) + dt * (k2 * ref[i - 1] - k2a * c[i - 1])
                curve = np.interp(mids, fine, c)
                rng = np.random.default_rng(x + 10 * y + 100 * z)
                data[(x, y, z)] = [curve + rng.normal(0.0, 40.0, len(mids)) for _ in range(2)]
    return data


def write_pet_study(folder, maps=("P-3.nii", "BP-3.nii")):
    data = pet_curves()
    lines = ["time-model SRTM", "conditions 3", "reference-region ref.ovl", "target-region target.ovl", "runs:"]
    for r in range(2):
        e2e.write_nifti(os.path.join(folder, "run%d.nii" % (r + 1)), PET_SHAPE + (len(FRAMES),),
                        values=lambda x, y, z, t, r=r: float(data[(x, y, z)][r][t]))
        with open(os.path.join(folder, "run%d.table" % (r + 1)), "w") as f:
            f.write("duration\n" + "".join("%d\n" % s for s in FRAMES))
        with open(os.path.join(folder, "run%d.glm" % (r + 1)), "w") as f:
            f.write("0\n1 R1\n\n2 k2\n\n3 k2a\n\n")
        lines.append("run%d.nii run%d.glm run%d.table" % (r + 1, r + 1, r + 1))
    with open(os.path.join(folder, "ref.ovl"), "w") as f:
        f.write("0 0 0\n1 0 0\n0 1 0\n1 1 0\n")
    with open(os.path.join(folder, "target.ovl"), "w") as f:
        f.write("3 3 0\n3 3 1\n")
    with open(os.path.join(folder, "pet.ctl"), "w") as f:
        f.write("\n".join(lines) + "\n")
    for name in maps:
        e2e.write_nifti(os.path.join(folder, name), PET_SHAPE, values=lambda x, y, z, t: float(x + y))
    with open(os.path.join(folder, "voxel.ovl"), "w") as f:
        f.write("%d %d %d\n" % PET_VOXEL)
    with open(os.path.join(folder, "regions.list"), "w") as f:
        f.write("tissue voxel.ovl\n")
    return data


def frame_minutes(folder):
    """The engine's time axis, from its driver."""
    out = driver("srtm_fit_driver", ["pet.ctl", "--inputs"], folder)
    return np.array([float(m.group(1)) for m in re.finditer(r"^time \d+ (\S+)$", out, re.M)])


class SrtmView(ModelViewCase):
    def test_click_and_table_of_the_pet_model(self):
        data = write_pet_study(self.work)
        v, w, graph = self.open(["-G", "pet.ctl", "-o", "regions.list"], PET_SHAPE, PET_VOXEL)
        index = PET_VOXEL[0] + 6 * PET_VOXEL[1] + 36 * PET_VOXEL[2]
        out = driver("srtm_fit_driver", ["pet.ctl", "--voxels", str(index), "--frame", "0",
                                         "--parameters", "2"], self.work)
        fit = row(out, "fit")
        m = re.search(r"^condition 0 3 F \S+ cnr \S+ p_raw \S+ p_cor \S+ effect (\S+) sem (\S+)", out, re.M)
        effect, sem = float(m.group(1)), float(m.group(2))
        bp_value, bp_error = (float(s) for s in re.search(r"^parameter 2 (\S+) (\S+)", out, re.M).groups())
        self.assertGreater(bp_value, 1.0)
        # The condition's p and binding maps were opened by name.
        for name in ("P-3.nii", "BP-3.nii"):
            self.assertIn("\r%s: 100 %%" % name, v.stdout())
        img = v.capture(graph)
        S = gk.GRAPH_SIZE
        kit.text_at(self, img, v.server, "model: SRTM/OLS", 200, S[1] + 28, INK, CYAN_BOX)
        kit.text_at(self, img, v.server, "    BP = %5.2f (%5.2f)" % (bp_value, bp_error), 300, S[1] + 28, INK,
                    PURPLE_BOX)
        kit.text_at(self, img, v.server, "3 = %7.4f+-%7.4f" % (effect, sem), 450, S[1] + 28, INK, CYAN_BOX)
        kit.text_at(self, img, v.server, " TAC ", 325, S[1] + 58, INK, CYAN_BOX)

        # The white fit where it stands clear of the data.
        curve = np.concatenate(data[PET_VOXEL]).astype(np.float32)
        minutes = frame_minutes(self.work).astype(np.float32)
        self.assertEqual(len(minutes), 2 * len(FRAMES))
        scale = gk.Scale(minutes, curve)
        white = checked = 0
        for t in range(1, len(curve) - 1):
            if abs(float(curve[t]) - fit[t]) * scale.sy < 8 or t == 12:
                continue
            checked += 1
            white += img.pixel(*scale.pixel(minutes[t], fit[t])) == gk.WHITE
        self.assertGreater(checked, 5)
        self.assertGreaterEqual(white, checked - 1)

        table = self.write_table(v, graph, 1)
        n = len(curve)
        self.assertEqual(table[0], ["i", "x", "tissue"])
        for t in range(n):
            self.assertEqual(table[1 + t], [str(t), g(minutes[t]), g(curve[t])])
        self.assertEqual(" ".join(table[1 + n]), "new   # SRTM fit to data")
        for t in range(n):
            self.assertEqual(table[2 + n + t], [str(t), g(minutes[t]), g(fit[t])])
        headings = [" ".join(r) for r in table if r[0] == "new"]
        self.assertEqual(headings, ["new   # SRTM fit to data", "new   # SRTM fit of non-specific binding",
                                    "new   # SRTM fit of specific binding", "new   # R1 value from SRTM fit",
                                    "new   # tau2' value from SRTM fit", "new   # BP value from SRTM fit"])
        # BP at every frame, as the driver gives it frame by frame.
        bp_rows = table[1 + 6 * (n + 1):]
        self.assertEqual(len(bp_rows), n)
        for t in (0, 5, 17):
            out = driver("srtm_fit_driver", ["pet.ctl", "--voxels", str(index), "--frame", str(t),
                                             "--parameters", "0,1,2"], self.work)
            bp = float(re.search(r"^parameter 2 (\S+)", out, re.M).group(1))
            r1 = float(re.search(r"^parameter 0 (\S+)", out, re.M).group(1))
            self.assertEqual(bp_rows[t], [str(t), g(minutes[t]), g(bp)])
            self.assertEqual(table[1 + 4 * (n + 1) + t], [str(t), g(minutes[t]), g(r1)])

    def test_the_model_field_asks_for_the_half_life_once_then_toggles_the_weighting(self):
        write_pet_study(self.work)
        v, w, graph = self.open(["-G", "pet.ctl", "-N"], PET_SHAPE, PET_VOXEL)
        S = gk.GRAPH_SIZE

        def click_model_field():
            mark = v.click(graph, 210, S[1] + 15 + 8)
            return mark

        def model_text(name):
            mark = v.send_expose(graph)
            v.wait_event("Expose", after=mark, window="graph")
            kit.text_at(self, v.capture(graph), v.server, "model: " + name, 200, S[1] + 28, INK, CYAN_BOX)

        model_text("SRTM/OLS")
        mark = click_model_field()
        prompt = v.wait_prompt(after=mark)
        self.assertEqual(prompt["text"], "Ligand half life")
        v.key(graph, "Return", x=600, y=200)
        # The press that opened the prompt is handled once it has its answer.
        v.wait_event("ButtonPress", after=mark, window="graph")
        model_text("SRTM/WLS")  # the default, 20.33 minutes
        for name in ("SRTM/OLS", "SRTM/WLS"):
            mark = click_model_field()
            v.wait_event("ButtonPress", after=mark, window="graph")
            self.assertEqual([e for e in v.trace()[mark:] if e["kind"] == "prompt"], [])
            model_text(name)

    def test_excluded_frames_are_asked_for_and_an_escaped_prompt_changes_nothing(self):
        write_pet_study(self.work)
        v, w, graph = self.open(["-G", "pet.ctl", "-N"], PET_SHAPE, PET_VOXEL)
        S = gk.GRAPH_SIZE
        field = (210, S[1] + 15 + 37)
        blue = 0x0000FF
        strip = (0, 15 + S[1] // 2, S[0], 16 + S[1] // 2)  # one row across the data area
        self.assertEqual(v.capture(graph).count(blue, strip), 0)
        mark = v.click(graph, *field)
        self.assertEqual(v.wait_prompt(after=mark)["text"], "list (e.g., 70-90):")
        v.key(graph, "4", "Escape", x=600, y=200)
        v.wait_event("ButtonPress", after=mark, window="graph")
        mark = v.send_expose(graph)
        v.wait_event("Expose", after=mark, window="graph")
        self.assertEqual(v.capture(graph).count(blue, strip), 0)

        mark = v.click(graph, *field)
        v.wait_prompt(after=mark)
        v.key(graph, "4", "minus", "6", "Return", x=600, y=200)
        v.wait_event("ButtonPress", after=mark, window="graph")
        mark = v.send_expose(graph)
        v.wait_event("Expose", after=mark, window="graph")
        img = v.capture(graph)
        # The answer keeps the prompt's one-blank default in front.
        kit.text_at(self, img, v.server, "Exclude:  4-6", 200, S[1] + 58, INK, CYAN_BOX)
        # The excluded frames of the run are blue bands over the whole height,
        # at their index within the run.
        self.assertGreater(img.count(blue, strip), 10)

    def test_a_missing_binding_map_ends_the_start(self):
        write_pet_study(self.work, maps=("P-3.nii",))
        v = self.run_viewer([e2e.program_path(), "-G", "pet.ctl"])
        self.assertEqual(v.wait_exit(timeout=10.0), 1)
        self.assertIn("BP-3.nii", v.stdout())


# The fitting model on dipy's small_64D: a weighted tensor fit.
def write_tensor_study(folder, rows=None):
    b = np.load(DIPY_FILES + "small_64D.bvals.npy")
    grad = np.nan_to_num(np.load(DIPY_FILES + "small_64D.gradients.npy"))
    shutil.copyfile(DIPY_FILES + "small_64D.nii", os.path.join(folder, "small_64D.nii"))
    with open(os.path.join(folder, "small_64D.dti"), "w") as f:
        for i in range(len(b) if rows is None else rows):
            f.write("%.17g %.17g %.17g %.17g\n" % (grad[i, 0], grad[i, 1], grad[i, 2], b[i]))
    with open(os.path.join(folder, "dti.ctl"), "w") as f:
        f.write("time-model DTI-WLS\nfiles:\nsmall_64D.nii small_64D.dti\n")


class FitView(ModelViewCase):
    def test_a_short_gradient_table_ends_the_start(self):
        write_tensor_study(self.work, rows=60)
        v = self.run_viewer([e2e.program_path(), "-f", "dti.ctl", "-N"])
        self.assertEqual(v.wait_exit(timeout=10.0), 1)
        self.assertIn("Error: the gradient table small_64D.dti holds 60 records, but its data file small_64D.nii has 65"
                      " volumes.\n", v.stdout())


    def test_click_and_table_of_a_tensor_fit(self):
        write_tensor_study(self.work)
        import nibabel as nib
        series = np.asarray(nib.load(os.path.join(self.work, "small_64D.nii")).dataobj).astype(np.float32)
        voxel = (4, 5, 0)  # the first slice: its panel is the first whatever the mosaic's columns
        with open(os.path.join(self.work, "voxel.ovl"), "w") as f:
            f.write("%d %d %d\n" % voxel)
        with open(os.path.join(self.work, "regions.list"), "w") as f:
            f.write("white voxel.ovl\n")
        shape = series.shape[:3]
        v, w, graph = self.open(["-f", "dti.ctl", "-N", "-o", "regions.list"], shape, voxel)
        index = voxel[0] + shape[0] * (voxel[1] + shape[1] * voxel[2])
        out = driver("fit_driver", ["dti.ctl", "--voxels", str(index), "--fit"], self.work)
        outputs = row(out, "outputs")
        img = v.capture(graph)
        S = gk.GRAPH_SIZE
        kit.text_at(self, img, v.server, "model: DTI-WLS", 200, S[1] + 28, INK, CYAN_BOX)
        kit.text_at(self, img, v.server, " S0 = %6.3f " % f32(outputs[0]), 300, S[1] + 28, INK, WHITE_BOX)
        kit.text_at(self, img, v.server, " fit ", 450, S[1] + 28, INK, CYAN_BOX)

        # The smooth line: the fitted tensor's signal of each direction over
        # its sample, where it stands clear of the data's squares.
        table = driver("fit_driver", ["dti.ctl", "--voxels", str(index), "--table"], self.work)
        gx, gy, gz, bv = (np.array(row(table, "x%d" % r)) for r in range(4))
        p = [float(f32(q)) for q in row(out, "values")]
        curve = series[voxel]
        scale = gk.Scale(list(range(len(curve))), curve)
        checked = white = 0
        for j in range(1, len(curve) - 1):
            exponent = -bv[j] * (p[1] * gx[j] ** 2 + p[2] * gy[j] ** 2 + p[3] * gz[j] ** 2 + 2.0 * gx[j] * gy[j] * p[4]
                                 + 2.0 * gx[j] * gz[j] * p[4] + 2.0 * gy[j] * gz[j] * p[6])
            value = f32(p[0] * np.exp(exponent))
            if abs(float(value) - float(curve[j])) * scale.sy < 10:
                continue
            checked += 1
            white += img.pixel(*scale.pixel(j, value)) == gk.WHITE
        self.assertGreater(checked, 20)
        self.assertGreaterEqual(white, checked - 2)

        # The parameter field steps to the next output: the mean diffusivity.
        mark = v.click(graph, 310, S[1] + 15 + 10)
        v.wait_event("ButtonRelease", after=mark, window="graph")
        mark = v.send_expose(graph)
        v.wait_event("Expose", after=mark, window="graph")
        kit.text_at(self, v.capture(graph), v.server, " MD = %6.3f " % f32(outputs[1]), 300, S[1] + 28, INK,
                    WHITE_BOX)

        # The table has the time course alone: the fit writes no rows of its own.
        table = self.write_table(v, graph, 1)
        curve = series[voxel]
        self.assertEqual(table[0], ["i", "x", "white"])
        self.assertEqual(len(table), 1 + len(curve))
        for t in range(len(curve)):
            self.assertEqual(table[1 + t], [str(t), g(t), g(curve[t])])


if __name__ == "__main__":
    e2e.main()
