"""Drawing the linear model on the time course, end to end: two runs opened
without a control file give the empty model; a drag with button 3 over a
block of the curve adds a square stimulus (its gray mark appears and the fit
changes); "P" over the image computes the maps of the whole volume and shows
them at once; control-G in the graph writes the control and event files,
which the engine reads back."""

import os
import re
import subprocess

import numpy as np

import zore2e as e2e
import graph_kit as gk

SHAPE = (8, 8, 2)
RUNS = (30, 24)
BLOCKS = [(6, 12), (18, 22)]  # points of each run


def block(t_local):
    return any(a <= t_local <= b for a, b in BLOCKS)


def value(r, x, y, z, t):
    rng = np.random.default_rng(((r * 64 + t) * 8 + x) * 16 + y * 2 + z)
    strength = 8.0 if x >= 4 else 0.0
    return 100.0 + x + strength * block(t) + rng.normal(0.0, 0.5)


def write_study(folder):
    for r, nt in enumerate(RUNS):
        e2e.write_nifti(os.path.join(folder, "run%d.nii" % (r + 1)), SHAPE + (nt,),
                        values=lambda x, y, z, t, r=r: value(r, x, y, z, t))


def count(img, rgb, x0, x1, y0, y1):
    return sum(1 for x in range(x0, x1) for y in range(y0, y1) if img.pixel(x, y) == rgb)


class GlmDrawing(e2e.ViewerTestCase):
    def test_draw_a_stimulus_compute_the_maps_and_write_the_model(self):
        write_study(self.work)
        v = self.run_viewer([e2e.program_path(), "run1.nii", "run2.nii", "-z", "4"])
        w = v.window(r"zorview \(zoom = 4\).*")
        v.wait_event("Expose")

        # The maps need events: the empty model has none.
        mark = v.key(w, "P", x=1, y=1)
        v.wait_event("KeyPress", after=mark)
        e2e.wait_until(lambda: "This function requires a defined GLM model.\n" in v.stdout(), 5.0, "the refusal")
        before_image = v.capture(w)

        g = gk.open_graph(v, w)
        S = gk.GRAPH_SIZE
        # Button 3 on the shape field steps the draw shape back from gamma to square.
        mark = v.click(g, 340, S[1] + 55, button=3)
        v.wait_event("ButtonRelease", after=mark, window="graph")
        mark = v.send_expose(g)
        v.wait_event("Expose", after=mark, window="graph")
        before = v.capture(g)

        # The graph's x axis: time in seconds (TR 1), two per cent beyond each end.
        ntime = sum(RUNS)
        scale = gk.Scale([float(t) for t in range(ntime)], [0.0, 1.0])
        x_low = scale.pixel(6.0, 0.0)[0]
        x_high = scale.pixel(12.0, 0.0)[0]
        y_mid = gk.GRAPH_TOP + S[1] // 2
        mark = v.drag(g, (x_low, y_mid), [(x_low + 20, y_mid), (x_high, y_mid)], button=3)
        v.wait_event("ButtonRelease", after=mark, window="graph")
        e2e.wait_until(lambda: "1 conditions: 1 \n" in v.stdout(), 5.0, "the new condition")
        self.assertIn(" ON    OFF  STRENGTH", v.stdout())
        mark = v.send_expose(g)
        v.wait_event("Expose", after=mark, window="graph")
        after = v.capture(g)

        # The stimulus mark: gray over the whole height between the ends.
        top, bottom = gk.GRAPH_TOP + 5, gk.GRAPH_TOP + S[1] - 5
        mid = (x_low + x_high) // 2
        self.assertEqual(count(before, gk.GRAY_BAND, mid - 2, mid + 3, top, bottom), 0)
        self.assertGreater(count(after, gk.GRAY_BAND, mid - 2, mid + 3, top, bottom), (bottom - top) * 2)
        # The fit changed: the data area differs well beyond the gray band.
        changed = sum(1 for x in range(0, S[0], 3) for y in range(top, bottom, 3)
                      if not (x_low - 10 <= x <= x_high + 10) and before.pixel(x, y) != after.pixel(x, y))
        self.assertGreater(changed, 20)

        # "P" over the image: the maps of every voxel, shown at once.
        mark = v.key(w, "P", x=1, y=1)
        v.wait_event("KeyPress", after=mark)
        e2e.wait_until(lambda: "calculating p: 100 %\n" in v.stdout(), 20.0, "the maps")
        self.assertIn("calculating p: 0 %\n", v.stdout())
        mark = v.send_expose(w)
        v.wait_event("Expose", after=mark, window="image")
        image = v.capture(w)
        width, height = v.size(w)
        coloured = lambda img: sum(1 for x in range(0, width, 2) for y in range(30, height - 75, 2)
                                   if len({(img.pixel(x, y) >> s) & 0xFF for s in (0, 8, 16)}) > 1)
        self.assertGreater(coloured(image), coloured(before_image) + 50)
        self.assertRegex(v.title(w), r"P-1")

        # Control-G in the graph window writes the model where the viewer runs.
        mark = v.key(g, "ctrl+g", x=600, y=200)
        v.wait_event("KeyPress", after=mark)
        control = os.path.join(self.work, "glm.dat")
        e2e.wait_until(lambda: os.path.exists(control) and os.path.exists(os.path.join(self.work, "run2.glm")),
                       5.0, "the model's files")
        with open(control) as f:
            text = f.read()
        self.assertIn("conditions 1\nruns:\nrun1.nii run1.glm\nrun2.nii run2.glm\n", text)
        with open(os.path.join(self.work, "run1.glm")) as f:
            self.assertEqual(f.read(), "1 30\n\n1 square\n6 12\n")
        with open(os.path.join(self.work, "run2.glm")) as f:
            self.assertEqual(f.read(), "1 24\n")
        # The engine reads them back and finds the drawn effect in the strong
        # voxels only (the other blocks, not drawn, go partly to the baseline).
        def effect_at(x, y, z):
            out = subprocess.run([e2e.tool_path("glm_fit_driver"), "glm.dat", "--voxels", str(x + 8 * y + 64 * z)],
                                 cwd=self.work, capture_output=True, text=True)
            self.assertEqual(out.returncode, 0, out.stdout + out.stderr)
            return float(re.search(r"^condition 0 1 F \S+ cnr \S+ p_raw \S+ p_cor \S+ effect (\S+)", out.stdout,
                                   re.M).group(1))
        self.assertGreater(effect_at(6, 3, 1), 3.0)
        self.assertLess(abs(effect_at(1, 3, 1)), 1.0)
    def test_a_gamma_drawn_asks_two_questions_and_fits_the_range(self):
        write_study(self.work)
        v = self.run_viewer([e2e.program_path(), "run1.nii", "run2.nii", "-z", "4"])
        w = v.window(r"zorview \(zoom = 4\).*")
        v.wait_event("Expose")
        g = gk.open_graph(v, w)
        S = gk.GRAPH_SIZE
        scale = gk.Scale([float(t) for t in range(sum(RUNS))], [0.0, 1.0])
        x_low, x_high = scale.pixel(5.0, 0.0)[0], scale.pixel(14.0, 0.0)[0]
        y_mid = gk.GRAPH_TOP + S[1] // 2
        # The draw shape starts as gamma; the time point shown (0) is outside the range.
        mark = v.drag(g, (x_low, y_mid), [(x_high, y_mid)], button=2)
        first = v.wait_prompt(after=mark)
        self.assertEqual(first["text"], "Fix shape with alpha=1?")
        mark = v.key(g, "y", "Return", x=600, y=200)
        second = v.wait_prompt(after=mark, timeout=10.0)
        self.assertEqual(second["text"], "Vary onset time?")
        v.key(g, "n", "Return", x=600, y=200)
        e2e.wait_until(lambda: "Define new event of shape GAMMA starting at 5 with tau = " in v.stdout(), 10.0,
                       "the fitted gamma")
        out = v.stdout()
        self.assertIn("range: 5 14\n", out)
        self.assertIn("1 conditions: 1 \n", out)
        tau = float(re.search(r"starting at 5 with tau = (\S+) and alpha = 1\n", out).group(1))
        # The response of the blocks rises over the range: a time constant within it.
        self.assertGreaterEqual(tau, 1.0)
        self.assertLessEqual(tau, 10.0)


if __name__ == "__main__":
    e2e.main()
