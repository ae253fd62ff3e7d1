"""What is drawn on the window over the panels: wire frames, vector
fields, plane labels and tick grids."""

import os

import zore2e as e2e
import picture_kit as kit

SHAPE = (32, 32, 4)
ZOOM = 4
PANEL = 32


def value(x, y, z):
    return 255 if (x, y, z) == (31, 31, 3) else (x * 7 + y * 3 + z * 11) % 255


def panel_origin(k):
    c, r = k % 2, k // 2
    return ZOOM * (PANEL * c + c + 1), kit.TOP + ZOOM * (PANEL * r + r + 1)


def centre_pixel(x, y, k):
    """Window pixel of a space point (1 mm voxels from 0) on panel k, centred
    the way the program centres drawn points, with the vertical flip."""
    left, top = panel_origin(k)
    return left + int(ZOOM * x) + ZOOM // 2, top + int(ZOOM * (PANEL - y)) - ZOOM // 2


class Drawn(e2e.ViewerTestCase):
    def start(self, options, **kw):
        argv = kit.harness_argv(self.work, SHAPE, kit.volume(SHAPE, value),
                                ["-z", ZOOM, "-c", "0"] + list(options), **kw)
        v = self.run_viewer(argv)
        w = v.window(r"zorview \(zoom = 4\).*")
        v.wait_event("Expose")
        return v, w

    def write(self, name, text):
        path = os.path.join(self.work, name)
        with open(path, "w") as f:
            f.write(text)
        return path

    def test_closed_wire_is_drawn_in_its_colour_on_its_slice_only(self):
        wire = self.write("frame.wire", "2 2 1 3\n4 8 1 1\n10 8 1 1\n12 2 1 0\n")
        v, w = self.start(["-w", wire])
        img = v.capture(w)
        self.assertEqual(img.pixel(*centre_pixel(2, 2, 1)), 0x00FF00)
        self.assertEqual(img.pixel(*centre_pixel(12, 2, 1)), 0x00FF00)
        # The curve's middle: x 7, y 2 + 0.75 * 6 = 6.5.
        self.assertEqual(img.pixel(*centre_pixel(7, 6.5, 1)), 0x00FF00)
        left0, top0 = panel_origin(0)
        panel0 = (left0, top0, left0 + ZOOM * PANEL, top0 + ZOOM * PANEL)
        self.assertEqual(img.count(0x00FF00, panel0), 0)
        left1, top1 = panel_origin(1)
        self.assertGreater(img.count(0x00FF00, (left1, top1, left1 + ZOOM * PANEL, top1 + ZOOM * PANEL)), 30)

    def test_open_wire_shows_its_control_points_in_red(self):
        wire = self.write("open.wire", "2 2 1 1\n4 8 1 1\n10 8 1 1\n12 2 1 1\n14 5 1 1\n")
        v, w = self.start(["-w", wire])
        img = v.capture(w)
        self.assertEqual(img.pixel(*centre_pixel(14, 5, 1)), 0xFF0000)
        self.assertEqual(img.pixel(*centre_pixel(4, 8, 1)), 0xFF0000)
        self.assertEqual(img.pixel(*centre_pixel(12, 2, 1)), 0x00FFFF)  # segment end: the curve

    def test_vector_field_lines_span_a_voxel_at_the_high_threshold(self):
        vectors = [(0.0, 0.0, 0.0)] * (32 * 32 * 4)
        vectors = list(vectors)
        vectors[5 + 32 * 5] = (2.0, 0.0, 0.0)     # at the high threshold, along x
        vectors[9 + 32 * 5] = (0.0, 1.0, 0.0)     # at the low threshold: not drawn
        v, w = self.start(["-lo", 1, "-hi", 2], vectors=vectors)
        img = v.capture(w)
        x0, y = centre_pixel(4.5, 5, 0)
        x1, _ = centre_pixel(5.5, 5, 0)
        self.assertEqual([img.pixel(x, y) for x in range(x0, x1 + 1)], [0xFFFFFF] * (x1 - x0 + 1))
        self.assertNotEqual(img.pixel(x0 - 1, y), 0xFFFFFF)
        left0, top0 = panel_origin(0)
        self.assertEqual(img.count(0xFFFFFF, (left0, top0, left0 + ZOOM * PANEL, top0 + ZOOM * PANEL)),
                         x1 - x0 + 1)
        # Under the line, the direction colours the voxel: x gives red.
        layout = kit.Layout(SHAPE, ZOOM, columns=2)
        self.assertEqual(img.pixel(*layout.mosaic(5, 5, 0, 1, 0)), 0xFF0000)

    def test_no_vector_field_below_zoom_four(self):
        vectors = [(0.0, 0.0, 0.0)] * (32 * 32 * 4)
        vectors[5 + 32 * 5] = (2.0, 0.0, 0.0)
        argv = kit.harness_argv(self.work, SHAPE, kit.volume(SHAPE, value),
                                ["-z", 3, "-c", "0", "-lo", 1, "-hi", 2], vectors=vectors)
        v = self.run_viewer(argv)
        w = v.window(r"zorview \(zoom = 3\).*")
        v.wait_event("Expose")
        img = v.capture(w)
        self.assertEqual(img.count(0xFFFFFF, (3, kit.TOP + 3, 3 + 96, kit.TOP + 3 + 96)), 0)
        # The voxel itself is still coloured by its direction.
        layout = kit.Layout(SHAPE, 3, columns=2)
        self.assertEqual(img.pixel(*layout.mosaic(5, 5, 0)), 0xFF0000)

    def test_labels_give_each_panels_slice_position(self):
        v, w = self.start(["-g", 1])
        img = v.capture(w)
        for k, text in enumerate(["0", "+1", "+2", "+3"]):
            left, top = panel_origin(k)
            kit.text_at(self, img, self.server, text, left + ZOOM * PANEL - 30,
                        top + ZOOM * PANEL - 8, 0x00FFFF)

    def test_grid_ticks_every_ten_voxels(self):
        v, w = self.start(["-g", 2])
        img = v.capture(w)
        left, top = panel_origin(0)
        for tick in (10, 20, 30):
            x, _ = centre_pixel(tick, 0, 0)
            # One voxel long at the lower edge (y -0.5 .. 0.5) and the upper.
            _, y_low = centre_pixel(tick, -0.5, 0)
            _, y_high = centre_pixel(tick, 0.5, 0)
            self.assertEqual({img.pixel(x, yy) for yy in range(y_high, y_low + 1)}, {0x00FFFF}, tick)
        self.assertNotEqual(img.pixel(centre_pixel(15, 0, 0)[0], centre_pixel(15, 0, 0)[1]), 0x00FFFF)
        self.assertIn("label step size = 10 mm\n", v.stdout())


if __name__ == "__main__":
    e2e.main()
