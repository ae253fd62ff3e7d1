"""The linear model in the viewer, end to end: a two-run study with a
control file, event files and a strong effect in one voxel. A click on that
voxel refits the graph's curve; the effect size and its error in the graph
panel, the noise variance and the fitted curve's pixels are those of the
engine's own fit (through its driver), which statsmodels confirms; hovering
and clicking the condition field explain it and step to the next
condition."""

import os
import re
import subprocess

import numpy as np

import zore2e as e2e
import graph_kit as gk
import picture_kit as kit

f32 = np.float32
ZOOM = 4
SHAPE = (8, 8, 2)
RUNS = (30, 24)
TR = 2.0
VOXEL = (4, 4, 1)
# Event 1 in blocks of 8 s, event 2 in blocks of 6 s, seconds from each run's start.
EVENTS = {1: [[(4, 12), (24, 32), (44, 52)], [(6, 14), (30, 38)]],
          2: [[(14, 20), (36, 42)], [(16, 22)]]}
# Labels are black in a box of their colour.
INK = 0x000000
CYAN_BOX = 0x00FFFF
GRAY_BOX = 0x7F7F7F
RED_BOX = 0xFF0000
WHITE_BOX = 0xFFFFFF


def boxcar(run, event):
    t = np.arange(RUNS[run]) * TR
    box = np.zeros(RUNS[run])
    for on, off in EVENTS[event][run]:
        box[(t >= on) & (t < off)] = 1.0
    return box


def series(run, x, y, z):
    rng = np.random.default_rng(1000 * run + 100 * z + 10 * y + x)
    noise = rng.normal(0.0, 1.5, RUNS[run])
    base = 100.0 + x + y
    if (x, y, z) == VOXEL:
        return base + 12.0 * boxcar(run, 1) + 4.0 * boxcar(run, 2) + noise
    return base + noise


def write_study(folder):
    for r, nt in enumerate(RUNS):
        cube = {(x, y, z): series(r, x, y, z) for x in range(8) for y in range(8) for z in range(2)}
        e2e.write_nifti(os.path.join(folder, "run%d.nii" % (r + 1)), SHAPE + (nt,),
                        values=lambda x, y, z, t, c=cube: float(c[(x, y, z)][t]))
        lines = ["%g" % TR, ""]
        for event, per_run in EVENTS.items():
            lines.append(str(event))
            lines += ["%g %g" % block for block in per_run[r]]
            lines.append("")
        with open(os.path.join(folder, "run%d.glm" % (r + 1)), "w") as f:
            f.write("\n".join(lines) + "\n")
    for name in ("average.nii", "P-1.nii", "P-2.nii"):
        e2e.write_nifti(os.path.join(folder, name), SHAPE,
                        values=lambda x, y, z, t, n=name: 0.0 if n == "average.nii" else float(x == 4 and y == 4) * 5.0)
    with open(os.path.join(folder, "study.ctl"), "w") as f:
        f.write("time-model glm\nconditions 1 2\nruns:\nrun1.nii run1.glm\nrun2.nii run2.glm\n")


def engine_fit(folder, voxel_index):
    """The engine's fit of one voxel through its driver: coefficients, noise
    variance and each condition's numbers; and the design matrix."""
    out = subprocess.run([e2e.tool_path("glm_fit_driver"), "study.ctl", "--voxels", str(voxel_index),
                          "--weights", "--design"], cwd=folder, capture_output=True, text=True, check=True).stdout
    design = [[float(v) for v in line.split()[2:]] for line in out.splitlines() if line.startswith("X ")]
    beta = [float(v) for v in re.search(r"^Beta_c (.*)$", out, re.M).group(1).split()]
    sigma2 = float(re.search(r"^Sigma2 (\S+)", out, re.M).group(1))
    conditions = {}
    for m in re.finditer(r"^condition (\d+) (\S+) F \S+ cnr \S+ p_raw \S+ p_cor \S+ effect (\S+) sem (\S+)", out, re.M):
        conditions[int(m.group(1))] = (m.group(2), float(m.group(3)), float(m.group(4)))
    return np.array(design, dtype=np.float32), np.array(beta, dtype=np.float32), sigma2, conditions


class GlmView(e2e.ViewerTestCase):
    def start(self):
        write_study(self.work)
        v = self.run_viewer([e2e.program_path(), "-g", "study.ctl", "-z", str(ZOOM)])
        w = v.window(r"zorview \(zoom = %d\).*" % ZOOM)
        v.wait_event("Expose")
        g = gk.open_graph(v, w)
        layout = kit.Layout(SHAPE, ZOOM, columns=2)
        mark = v.click(w, *layout.mosaic(VOXEL[0], VOXEL[1], VOXEL[2], 1, 1))
        v.wait_event("ButtonRelease", after=mark, window="image")
        # One repaint of the graph after the click, so that the capture sees it.
        mark = v.send_expose(g)
        v.wait_event("Expose", after=mark, window="graph")
        return v, w, g

    def test_click_on_a_voxel_shows_the_engines_fit(self):
        v, w, g = self.start()
        index = VOXEL[0] + 8 * VOXEL[1] + 64 * VOXEL[2]
        design, beta, sigma2, conditions = engine_fit(self.work, index)
        img = v.capture(g)
        S = gk.GRAPH_SIZE
        name, effect, sem = conditions[0]
        self.assertEqual(name, "1")
        self.assertGreater(effect, 6.0)  # the strong effect is found
        # The condition field: name, effect size and its error, as printed.
        kit.text_at(self, img, v.server, " 1 = %6.3f+-%6.3f" % (effect, sem), 325, S[1] + 28, INK, CYAN_BOX)
        kit.text_at(self, img, v.server, "model: GLM/OLS", 200, S[1] + 28, INK, CYAN_BOX)
        kit.text_at(self, img, v.server, "base:y", 500, S[1] + 28, INK, CYAN_BOX)
        kit.text_at(self, img, v.server, "%5.2e" % f32(sigma2), 700, S[1] + 58, INK, GRAY_BOX)
        kit.text_at(self, img, v.server, "exclude: ", 200, S[1] + 58, INK, CYAN_BOX)
        kit.text_at(self, img, v.server, "include: 12", 200, S[1] + 43, INK, CYAN_BOX)

        # The fitted curve passes through its points where the graph's
        # scaling puts them (away from the data's own squares).
        data = np.concatenate([series(r, *VOXEL) for r in range(2)]).astype(np.float32)
        fit = np.array([np.sum(design[t].astype(np.float32) * beta, dtype=np.float32) for t in range(len(data))],
                       dtype=np.float32)
        scale = gk.Scale([TR * j for j in range(len(data))], data)
        checked = 0
        for t in range(len(data)):
            if abs(float(data[t]) - float(fit[t])) * scale.sy < 6:
                continue
            self.assertEqual(img.pixel(*scale.pixel(TR * t, fit[t])), gk.WHITE, "fit at t = %d" % t)
            checked += 1
        self.assertGreater(checked, 10)

    def test_statsmodels_agrees_with_the_numbers_shown(self):
        write_study(self.work)
        index = VOXEL[0] + 8 * VOXEL[1] + 64 * VOXEL[2]
        design, beta, sigma2, conditions = engine_fit(self.work, index)
        import statsmodels.api as sm
        data = np.concatenate([series(r, *VOXEL) for r in range(2)]).astype(np.float32)
        ols = sm.OLS(data.astype(np.float64), design.astype(np.float64)).fit()
        for k in (0, 1):
            _, effect, sem = conditions[k]
            self.assertAlmostEqual(effect, ols.params[k], delta=2e-4 * (1 + abs(ols.params[k])))
            self.assertAlmostEqual(sem, ols.bse[k], delta=2e-3 * ols.bse[k])
        self.assertAlmostEqual(sigma2, ols.scale, delta=1e-3 * ols.scale)

    def test_condition_field_explains_itself_and_steps_on_a_click(self):
        v, w, g = self.start()
        S = gk.GRAPH_SIZE
        index = VOXEL[0] + 8 * VOXEL[1] + 64 * VOXEL[2]
        _, _, _, conditions = engine_fit(self.work, index)
        # Hover: the item turns red and its help is on the information line.
        mark = v.move(g, 340, S[1] + 15 + 10)
        v.wait_event("MotionNotify", after=mark, window="graph")
        img = v.capture(g)
        name, effect, sem = conditions[0]
        kit.text_at(self, img, v.server, " 1 = %6.3f+-%6.3f" % (effect, sem), 325, S[1] + 28, INK, RED_BOX)
        kit.text_at(self, img, v.server, "Condition name, effect size, and", 0, S[1] + 15 + 13, INK, WHITE_BOX)
        kit.text_at(self, img, v.server, "st. dev. from GLM fit.", 0, S[1] + 15 + 28, INK, WHITE_BOX)
        kit.text_at(self, img, v.server, "Use mouse to change conditions.", 0, S[1] + 15 + 43, INK, WHITE_BOX)
        # Click: the second condition.
        mark = v.click(g, 340, S[1] + 15 + 10)
        v.wait_event("ButtonRelease", after=mark, window="graph")
        mark = v.move(g, 600, 200)
        v.wait_event("MotionNotify", after=mark, window="graph")
        img = v.capture(g)
        name, effect, sem = conditions[1]
        self.assertEqual(name, "2")
        kit.text_at(self, img, v.server, " 2 = %6.3f+-%6.3f" % (effect, sem), 325, S[1] + 28, INK, CYAN_BOX)

    def test_with_every_event_excluded_and_no_baseline_the_noise_band_is_drawn(self):
        v, w, g = self.start()
        S = gk.GRAPH_SIZE
        index = VOXEL[0] + 8 * VOXEL[1] + 64 * VOXEL[2]
        design, beta, sigma2, _ = engine_fit(self.work, index)
        # The exclude field asks for the events; then "b" takes the baseline out.
        click = v.click(g, 250, S[1] + 15 + 38)
        v.wait_prompt(after=click)
        v.key(g, "1", "2", "Return", x=250, y=S[1] + 15 + 38)
        # The press that opened the prompt is handled once it has its answer.
        v.wait_event("ButtonPress", after=click, window="graph")
        mark = v.key(g, "b", x=600, y=200)
        v.wait_event("KeyPress", after=mark, window="graph")
        img = v.capture(g)
        kit.text_at(self, img, v.server, "exclude: 12", 200, S[1] + 58, INK, CYAN_BOX)
        kit.text_at(self, img, v.server, "include: ", 200, S[1] + 43, INK, CYAN_BOX)
        kit.text_at(self, img, v.server, "base:n", 500, S[1] + 28, INK, CYAN_BOX)
        # Only noise is left: the residuals, with the band of one standard
        # deviation drawn in red on either side of zero.
        data = np.concatenate([series(r, *VOXEL) for r in range(2)]).astype(np.float32)
        fit = np.array([np.sum(design[t] * beta, dtype=np.float32) for t in range(len(data))], dtype=np.float32)
        residual = data - fit
        scale = gk.Scale([TR * j for j in range(len(data))], residual)
        sd = f32(np.sqrt(f32(sigma2)))
        checked = 0
        for t in range(2, len(data) - 2):
            for level in (sd, -sd):
                if abs(float(residual[t]) - float(level)) * scale.sy < 8:
                    continue
                x, y = scale.pixel(TR * t, level)
                self.assertIn(0xFF0000, [img.pixel(x, y + d) for d in (-1, 0, 1)], "band at t = %d" % t)
                checked += 1
        self.assertGreater(checked, 20)


if __name__ == "__main__":
    e2e.main()
