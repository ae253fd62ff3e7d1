"""Wire frames and help as a user meets them: "N" and clicks place the
control points of a square on a slice, Return ends it without filling, "W"
writes ".wire" with its message, "D" deletes the wire, "R" reads it back and
"F" fills it into the region, which "w" then writes; "c" closes and fills a
wire at once; the "?" item followed by a click prints the help entry of the
region clicked, and the "?" key the short help."""

import os

import zore2e as e2e
import picture_kit as kit

SHAPE = (64, 64, 4)
ZOOM = 4
COLUMNS = 2
LAYOUT = kit.Layout(SHAPE, ZOOM, columns=COLUMNS)
SOURCE = os.environ.get("ZOR_SOURCE_DIR", os.path.join(os.path.dirname(__file__), "..", ".."))
MAGENTA = 0xFF00FF


def centre(x, y, k):
    return LAYOUT.mosaic(x, y, k, ZOOM // 2, ZOOM // 2)


# A square from (20, 20) to (44, 44) on slice 1, straight sides with the
# handles at the thirds; the thirteenth point is the first again.
CORNERS = [(20, 20), (44, 20), (44, 44), (20, 44)]


def square_points():
    pts = [CORNERS[0]]
    for k in range(4):
        (x0, y0), (x1, y1) = CORNERS[k], CORNERS[(k + 1) % 4]
        pts += [(x0 + (x1 - x0) // 3, y0 + (y1 - y0) // 3), (x0 + 2 * (x1 - x0) // 3, y0 + 2 * (y1 - y0) // 3),
                (x1, y1)]
    return pts


class WiresAndHelp(e2e.ViewerTestCase):
    def start(self):
        argv = e2e.viewer_argv(self.work, SHAPE, ["-z", str(ZOOM), "-x", str(COLUMNS)],
                               values=lambda x, y, z, t: float(x + y))
        v = self.run_viewer(argv, env={"ZOR_HOME": os.path.abspath(SOURCE)})
        w = v.window(r"zorview \(zoom = %d\).*" % ZOOM)
        v.wait_event("Expose")
        return v, w

    def key(self, v, w, k, x=1, y=1):
        # A shifted key comes after the press of Shift, which is traced too.
        shifted = (len(k) == 1 and k.isupper()) or k == "question"
        v.wait_events("KeyPress", 2 if shifted else 1, after=v.key(w, k, x=x, y=y))

    def draw(self, v, w, points, end_key):
        """"N", a click per point on slice 1, then the key that ends the wire."""
        mark = v.key(w, "N", x=1, y=1)
        v.wait_prompt(after=mark)
        for (x, y) in points:
            v.click(w, *centre(x, y, 1))
        v.key(w, end_key, x=1, y=1)
        # Shift, then the "N" key, traced once the drawing is over.
        v.wait_events("KeyPress", 2, after=mark, timeout=20.0)

    def read_region(self):
        """The written ".ovl": {(x, y, z): weight}."""
        region = {}
        with open(os.path.join(self.work, ".ovl")) as f:
            for line in f:
                words = line.split()
                region[tuple(int(w) for w in words[:3])] = float(words[3]) if len(words) > 3 else 1.0
        return region

    def assert_square_region(self, region):
        self.assertTrue(region)
        self.assertTrue(all(z == 1 for (_, _, z) in region))
        # Whole voxels inside, fractions at the edges, nothing beyond them.
        # The outline runs from 20 to 44 mm, and image voxel k spans k to
        # k + 1 mm: voxels 20 and 43 are mostly inside, 19 and 44 a little.
        for x in range(22, 42):
            for y in range(22, 42):
                self.assertGreater(region.get((x, y, 1), 0.0), 0.999, (x, y))
        self.assertEqual(region[(32, 32, 1)], 1.0)
        for edge in ((20, 32), (43, 32), (32, 20), (32, 43)):
            self.assertTrue(0.5 < region[edge + (1,)] < 1.0, edge)
        for edge in ((19, 32), (44, 32), (32, 19), (32, 44)):
            self.assertTrue(0.05 < region[edge + (1,)] < 0.5, edge)
        self.assertTrue(all(18 <= x <= 45 and 18 <= y <= 45 for (x, y, _) in region))

    def test_wire_drawn_written_read_back_and_filled(self):
        v, w = self.start()
        points = square_points()
        self.assertEqual(len(points), 13)
        self.draw(v, w, points, "Return")
        # Return ended the wire: nothing is filled yet.
        self.assertEqual(v.capture(w).count(MAGENTA), 0)

        self.key(v, w, "W")
        self.assertIn("13 control points for a wireframe were written to file .wire\n", v.stdout())
        with open(os.path.join(self.work, ".wire")) as f:
            lines = f.read().splitlines()
        self.assertEqual(len(lines), 13)
        for line, (x, y) in zip(lines, points):
            self.assertEqual(line.split()[:3], ["%f" % x, "%f" % y, "%f" % 1.0])
        self.assertEqual([line.split()[3] for line in lines], ["1"] * 12 + ["0"])
        self.assertTrue(all(line.count("  ") == 1 for line in lines))

        self.key(v, w, "D")
        self.key(v, w, "F")
        self.assertEqual(v.capture(w).count(MAGENTA), 0)

        self.key(v, w, "R")
        self.key(v, w, "F")
        img = v.capture(w)
        self.assertEqual(img.pixel(*centre(32, 32, 1)), MAGENTA)
        self.assertNotEqual(img.pixel(*centre(10, 10, 1)), MAGENTA)
        self.assertNotEqual(img.pixel(*centre(32, 32, 0)), MAGENTA)

        self.key(v, w, "w")
        self.assert_square_region(self.read_region())

    def test_close_key_fills_at_once(self):
        v, w = self.start()
        self.draw(v, w, square_points()[:12], "c")
        self.assertEqual(v.capture(w).pixel(*centre(32, 32, 1)), MAGENTA)
        self.key(v, w, "w")
        self.assert_square_region(self.read_region())
        self.key(v, w, "W")
        with open(os.path.join(self.work, ".wire")) as f:
            lines = f.read().splitlines()
        self.assertEqual(lines[-1].split(), ["%f" % 20, "%f" % 20, "%f" % 1.0, "0"])

    def test_escape_leaves_no_wire(self):
        v, w = self.start()
        self.draw(v, w, square_points()[:7], "Escape")
        self.key(v, w, "W")
        self.assertIn("0 control points for a wireframe were written to file .wire\n", v.stdout())

    def test_question_mark_item_then_a_click_prints_the_entry(self):
        v, w = self.start()
        # The "?" item: 19 steps along the top row, a step being 1/25 of the
        # image region's width.
        region_width = ZOOM * (SHAPE[0] * COLUMNS + COLUMNS + 1)
        step = region_width // 25
        mark = v.click(w, step * 19 + step // 2, 8)
        v.wait_prompt(after=mark)
        v.click(w, *centre(30, 30, 1))
        v.wait_event("ButtonRelease", after=mark)
        out = v.stdout()
        self.assertIn("Help from file %s/documentation/zorview-question-mark.txt\n" % os.path.abspath(SOURCE), out)
        self.assertIn("message code 194 0\nA voxel of an axial (X-Y) panel of the mosaic.", out)
        self.assertNotIn("not found", out)

    def test_question_mark_key_prints_the_short_help(self):
        v, w = self.start()
        self.key(v, w, "question")
        with open(os.path.join(SOURCE, "documentation", "zorview-interactive-help1.txt")) as f:
            short = f.read()
        self.assertIn("\n" + short, v.stdout())


if __name__ == "__main__":
    e2e.main()
