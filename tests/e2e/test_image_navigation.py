"""Moving through the volume in the image window, as a user does it: a click
moves the cross-hair, the arrows step it, the wheel steps through slices,
and off the data the arrows and a drag move the gray window by their
rules. Pixels are read back from the real program."""

import numpy as np

import zore2e as e2e
import graph_kit as gk
import picture_kit as kit

SHAPE = (16, 16, 4)
ZOOM = 4
LAYOUT = kit.Layout(SHAPE, ZOOM, columns=2)
REGION = (ZOOM * (2 * 16 + 3), ZOOM * (2 * 16 + 3))  # the image region: 140 x 140
f32 = np.float32


def value(x, y, z):
    return float(x + 16 * y)


def panel_box(k):
    """Window box (x0, y0, x1, y1) of mosaic panel k."""
    x0, y0 = LAYOUT.mosaic(0, 15, k)
    return (x0, y0, x0 + ZOOM * 16, y0 + ZOOM * 16)


def cross_lines(img, k):
    """Columns and rows of panel k that hold cyan cross-hair pixels."""
    x0, y0, x1, y1 = panel_box(k)
    cols = {x for x in range(x0, x1) for y in range(y0, y1) if img.pixel(x, y) == gk.CYAN}
    rows = {y for x in range(x0, x1) for y in range(y0, y1) if img.pixel(x, y) == gk.CYAN}
    return cols, rows


class Contrast:
    """The contrast fractions and gray window as the program steps them."""

    def __init__(self):
        self.low, self.high = f32(0), f32(1)

    def arrow(self, key):
        t, b, c = f32(1.75), f32(0.5), f32(0.05)
        if key == "Down":
            s = min((t - self.high) / f32(2), c)
            self.low, self.high = self.low + s, self.high + s
        elif key == "Up":
            s = min((self.low + b) / f32(2), c)
            self.low, self.high = self.low - s, self.high - s
        elif key == "Right":
            a = min((t - self.high) / f32(2), c)
            self.high = self.high + a / f32(2)
            bb = min((self.low + b) / f32(10), c)
            self.low = self.low - bb / f32(2)
        else:
            a = min((self.high - self.low) / f32(2), c)
            self.low, self.high = self.low + a / f32(2), self.high - a / f32(2)

    def drag(self, dx, dy):
        dx, dy = f32(dx), f32(dy)
        t, b = f32(1.75), f32(0.5)
        if dx > 0:
            step = dx * (t - self.high)
            self.high = self.high + step / f32(2)
            step = dx * (b + self.low)
            self.low = self.low - step / f32(2)
        else:
            step = -dx * (self.high - self.low)
            self.low, self.high = self.low + step / f32(2), self.high - step / f32(2)
        if dy > 0:
            shift = dy * (t - self.high)
            self.low, self.high = self.low + shift, self.high + shift
        else:
            shift = -dy * (b + self.low)
            self.low, self.high = self.low - shift, self.high - shift

    def expected(self, v):
        mn, mx = gk.gray_window(0.0, 255.0, self.low, self.high)
        return gk.gray(gk.gray_level(v, mn, mx))


class Navigation(e2e.ViewerTestCase):
    def start(self, options=()):
        v = self.start_viewer(SHAPE, ["-z", str(ZOOM)] + list(options),
                              values=lambda x, y, z, t: value(x, y, z))
        w = v.window(r"zorview \(zoom = %d\)" % ZOOM)
        v.wait_event("Expose")
        return v, w

    def test_click_moves_the_cross_to_the_voxel(self):
        v, w = self.start()
        img = v.capture(w)
        self.assertTrue(cross_lines(img, 2)[0], "the cross starts on slice 2")
        x, y = LAYOUT.mosaic(5, 7, 3, 1, 1)
        mark = v.click(w, x, y)
        v.wait_event("ButtonRelease", after=mark)
        img = v.capture(w)
        self.assertEqual(cross_lines(img, 2), (set(), set()))
        cols, rows = cross_lines(img, 3)
        self.assertTrue(cols and rows)
        # The lines run through the clicked voxel's square.
        self.assertTrue(any(abs(c - x) <= ZOOM for c in cols), (sorted(cols), x))
        self.assertTrue(any(abs(r - y) <= ZOOM for r in rows), (sorted(rows), y))
        # Gray under the cross's arms is still the data elsewhere.
        gx, gy = LAYOUT.mosaic(12, 2, 3, 1, 1)
        self.assertEqual(img.pixel(gx, gy), kit.gray(int(value(12, 2, 3))))

    def test_arrows_step_the_cross_and_the_wheel_steps_slices(self):
        v, w = self.start()
        x, y = LAYOUT.mosaic(5, 7, 3, 1, 1)
        v.wait_event("ButtonRelease", after=v.click(w, x, y))
        cols0, rows0 = cross_lines(v.capture(w), 3)
        v.wait_event("KeyPress", after=v.key(w, "Right", x=x, y=y))
        cols1, rows1 = cross_lines(v.capture(w), 3)
        self.assertEqual(max(cols1) - max(cols0), ZOOM, "Right moves x by one voxel")
        v.wait_event("KeyPress", after=v.key(w, "Up", x=x, y=y))
        cols2, rows2 = cross_lines(v.capture(w), 3)
        self.assertEqual(min(rows2) - min(rows1), -ZOOM, "Up moves y up the screen")
        v.wait_events("ButtonPress", 1, after=v.wheel(w, x, y, up=True))
        img = v.capture(w)
        self.assertEqual(cross_lines(img, 3), (set(), set()))
        self.assertTrue(cross_lines(img, 2)[0], "the wheel up steps to the slice below")

    def test_each_contrast_key_moves_the_gray_window_by_its_rule(self):
        v, w = self.start()
        model = Contrast()
        probes = [(0, 0, 0), (3, 2, 1), (15, 15, 2), (9, 6, 3), (12, 10, 0)]
        for key in ["Down", "Down", "Right", "Left", "Left", "Up", "Right"]:
            mark = v.key(w, key, x=0, y=100)  # left of every panel: on nothing
            v.wait_event("KeyPress", after=mark)
            model.arrow(key)
            img = v.capture(w)
            for (x, y, z) in probes:
                self.assertEqual(img.pixel(*LAYOUT.mosaic(x, y, z, 1, 1)), model.expected(value(x, y, z)),
                                 "%s: voxel %s" % (key, (x, y, z)))
        # "i" restores the full window.
        v.wait_event("KeyPress", after=v.key(w, "i", x=0, y=100))
        img = v.capture(w)
        for (x, y, z) in probes:
            self.assertEqual(img.pixel(*LAYOUT.mosaic(x, y, z, 1, 1)), kit.gray(int(value(x, y, z))))

    def test_a_diagonal_drag_moves_the_gray_window(self):
        v, w = self.start()
        start = LAYOUT.mosaic(2, 12, 0, 1, 1)
        end = (start[0] + 40, start[1] + 20)
        mark = v.drag(w, start, [end])
        v.wait_event("ButtonRelease", after=mark)
        model = Contrast()
        model.drag(40 / REGION[0], 20 / REGION[1])
        img = v.capture(w)
        for (x, y, z) in [(0, 0, 0), (3, 2, 1), (15, 15, 2), (9, 6, 3)]:
            self.assertEqual(img.pixel(*LAYOUT.mosaic(x, y, z, 1, 1)), model.expected(value(x, y, z)))
        # A drag is no click: the cross stays on slice 2.
        self.assertTrue(cross_lines(img, 2)[0])

    def test_typed_slice_count_shows_the_central_slices_and_a_second_pound_restores(self):
        shape = (16, 16, 10)
        v = self.start_viewer(shape, ["-z", "4"], values=lambda x, y, z, t: float(20 * z + x))
        w = v.window(r"zorview \(zoom = 4\)")
        v.wait_event("Expose")
        full = v.size(w)  # 5 by 2 panels
        self.assertEqual(full, (4 * (5 * 17 + 1) + 50, 4 * (2 * 17 + 1) + 75))
        mark = v.key(w, "numbersign", x=1, y=1)
        self.assertEqual(v.wait_prompt(after=mark)["text"], "Select slices >")
        v.key(w, "4", "Return", x=1, y=1)
        # Slices 3 to 6 in 2 by 2 panels, the zoom grown by 5 / 2 columns.
        w2 = gk.visible_window(v, r"zorview \(zoom = 10\)")
        self.assertEqual(v.size(w2), (10 * (2 * 17 + 1) + 50, 10 * (2 * 17 + 1) + 75))
        v.wait_event("Expose", after=v.send_expose(w2))
        img = v.capture(w2)
        small = kit.Layout(shape, 10, columns=2)
        lo, hi = gk.gray_window(0.0, 195.0)
        for k, z in enumerate([3, 4, 5, 6]):
            want = gk.gray(gk.gray_level(20 * z + 7, lo, hi))
            self.assertEqual(img.pixel(*small.mosaic(7, 2, k, 5, 5)), want, "panel %d" % k)
        # "#" again: all slices, the former panels and zoom.
        v.key(w2, "numbersign", x=1, y=1)
        w3 = gk.visible_window(v, r"zorview \(zoom = 4\)")
        self.assertEqual(v.size(w3), full)

    def test_plus_on_the_colorbar_steps_the_maps_and_space_hides_them(self):
        import os
        amap = e2e.write_nifti(os.path.join(self.work, "maps.nii"), SHAPE + (2,),
                               values=lambda x, y, z, t: (12.0 if (x, y, z) == (3, 3, 1) else 0.0) if t == 0
                               else (12.0 if (x, y, z) == (9, 9, 2) else 0.0))
        v = self.start_viewer(SHAPE, ["-z", str(ZOOM), "-a", amap], values=lambda x, y, z, t: value(x, y, z))
        stem = amap[:-len(".nii")]
        w = v.window(r"zorview \(zoom = 4\), map = %s \(0\)" % stem.replace(".", r"\."))
        v.wait_event("Expose")
        first, second = LAYOUT.mosaic(3, 3, 1, 1, 1), LAYOUT.mosaic(9, 9, 2, 1, 1)
        img = v.capture(w)
        self.assertNotEqual(img.pixel(*first), kit.gray(int(value(3, 3, 1))))
        self.assertEqual(img.pixel(*second), kit.gray(int(value(9, 9, 2))))
        # "+" with the pointer on the colorbar: the second map.
        mark = v.key(w, "plus", x=REGION[0] + 20, y=100)
        v.wait_event("KeyPress", after=mark)
        self.assertEqual(v.title(w), "zorview (zoom = 4), map = %s (1)" % stem)
        img = v.capture(w)
        self.assertEqual(img.pixel(*first), kit.gray(int(value(3, 3, 1))))
        self.assertNotEqual(img.pixel(*second), kit.gray(int(value(9, 9, 2))))
        # Space hides the map: gray everywhere.
        v.wait_event("KeyPress", after=v.key(w, "space", x=1, y=1))
        img = v.capture(w)
        self.assertEqual(img.pixel(*second), kit.gray(int(value(9, 9, 2))))

    def test_zoom_out_at_one_stays_at_one(self):
        v = self.start_viewer(SHAPE, ["-z", "1"], values=lambda x, y, z, t: value(x, y, z))
        w = v.window(r"zorview \(zoom = 1\)")
        v.wait_event("Expose")
        size = v.size(w)
        mark = v.key(w, "z", x=1, y=1)
        v.wait_event("KeyPress", after=mark)
        w2 = gk.visible_window(v, r"zorview \(zoom = 1\)")
        self.assertEqual(v.size(w2), size)


if __name__ == "__main__":
    e2e.main()
