"""The layers over the gray image as the window shows them: map colours of
each scheme around the thresholds, the colorbar's colours, labels and
pointer actions, overlays, cross-hair modes, plane frames and the
information line's read-out."""

import os

import zore2e as e2e
import picture_kit as kit

SHAPE = (32, 32, 4)
ZOOM = 4
LOW, HIGH = 2.0, 10.0
MAP_VALUES = [-12.0, -10.0, -6.0, -2.0, 0.0, 1.5, 2.0, 2.5, 6.0, 8.5, 10.0, 12.0]
REGION_X = ZOOM * (32 * 2 + 3)   # image region width: 2 by 2 panels
REGION_Y = REGION_X
BAR = 50                         # colorbar width: region / 8 clipped to 50


def value(x, y, z):
    return 255 if (x, y, z) == (31, 31, 3) else (x * 7 + y * 3 + z * 11) % 255


def map_value(x, y, z):
    return MAP_VALUES[x] if (y == 0 and z == 0 and x < len(MAP_VALUES)) else 0.0


class Layers(e2e.ViewerTestCase):
    def start(self, options, with_map=True, fn=value):
        argv = kit.harness_argv(self.work, SHAPE, kit.volume(SHAPE, fn),
                                ["-z", ZOOM] + list(options),
                                map_values=kit.volume(SHAPE, map_value) if with_map else None)
        v = self.run_viewer(argv)
        w = v.window(r"zorview \(zoom = 4\).*")
        v.wait_event("Expose")
        return v, w

    def layout(self):
        return kit.Layout(SHAPE, ZOOM, columns=2)

    # Map colours.
    def check_scheme(self, scheme, sign=1):
        v, w = self.start(["-lo", LOW, "-hi", HIGH, "-s", scheme, "-sign", sign, "-c", "0"])
        img = v.capture(w)
        for x, m in enumerate(MAP_VALUES):
            expected = kit.map_pixel(m, value(x, 0, 0), scheme, LOW, HIGH, sign)
            self.assertEqual(img.pixel(*self.layout().mosaic(x, 0, 0, 1, 1)), expected,
                             "scheme %d, map value %g" % (scheme, m))
        return v, w, img

    def test_scheme_both_signs(self):
        v, w, img = self.check_scheme(0)
        # Anchors: at the high threshold yellow, at the low one not shown.
        layout = self.layout()
        self.assertEqual(img.pixel(*layout.mosaic(10, 0, 0)), kit.rgb(255, 255, 0))
        self.assertEqual(img.pixel(*layout.mosaic(6, 0, 0)), kit.gray(value(6, 0, 0)))
        self.assertEqual(img.pixel(*layout.mosaic(1, 0, 0)), kit.rgb(0, 255, 0))

    def test_scheme_both_signs_with_the_sign_swapped(self):
        self.check_scheme(0, sign=-1)

    def test_positive_and_negative_schemes(self):
        for scheme in (1, -1):
            self.check_scheme(scheme)
            self.tearDown()
            self.setUp()

    def test_signed_schemes(self):
        for scheme in (2, -2, 3, -3):
            self.check_scheme(scheme)
            self.tearDown()
            self.setUp()

    def test_transparent_map_lets_the_gray_through(self):
        v, w = self.start(["-lo", LOW, "-hi", HIGH, "-T", "-c", "0"])
        img = v.capture(w)
        g = value(11, 0, 0)
        expected = kit.rgb(int(255 * 0.3 + g * 0.7), int(255 * 0.3 + g * 0.7), int(g * 0.7))
        self.assertEqual(img.pixel(*self.layout().mosaic(11, 0, 0)), expected)

    # Colorbar.
    def bar_pixel(self, img, column, row):
        return img.pixel(REGION_X + column, kit.TOP + row)

    def test_colorbar_colours_of_scheme_zero(self):
        v, w = self.start(["-lo", LOW, "-hi", HIGH])
        img = v.capture(w)
        for row in range(0, REGION_Y, 7):
            y = HIGH - row * (HIGH - LOW) / REGION_Y
            y32 = kit._f32(HIGH) - kit._f32(row) * (kit._f32(HIGH) - kit._f32(LOW)) / kit._f32(REGION_Y)
            self.assertEqual(self.bar_pixel(img, BAR - 1, row), kit.scheme0(float(y32), LOW, HIGH), row)
            self.assertEqual(self.bar_pixel(img, 0, row), kit.scheme0(-float(y32), LOW, HIGH), row)
            del y

    def test_colorbar_labels_are_the_tick_values(self):
        v, w = self.start(["-lo", LOW, "-hi", HIGH])
        img = v.capture(w)
        # Range 8: plain integers, one a step, 3 to 9.
        for tick in range(3, 10):
            y = int(REGION_Y * (HIGH - tick) / (HIGH - LOW))
            for i in range(1, 1 + BAR // 4 + 1):
                self.assertEqual(self.bar_pixel(img, i, y), 0xFFFFFF, (tick, i))
            kit.text_at(self, img, self.server, str(tick), REGION_X + int(BAR * 0.3),
                        kit.TOP + max(y - 2, 15), 0xFFFFFF)

    def test_log_map_labels(self):
        v, w = self.start(["-log", "-lo", "2", "-hi", "9"])
        img = v.capture(w)
        for tick in range(3, 9):
            y = int(REGION_Y * (9 - tick) / 7.0)
            kit.text_at(self, img, self.server, "10^-%d" % tick, REGION_X + int(BAR * 0.3),
                        kit.TOP + max(y - 2, 15), 0xFFFFFF)

    def test_gray_bar_without_a_map(self):
        v, w = self.start([], with_map=False)
        img = v.capture(w)
        # Gray window 0 .. 255: the ramp falls from white; labels every 50.
        self.assertEqual(self.bar_pixel(img, BAR - 1, 0), kit.gray(255))
        row = REGION_Y // 2
        expected = int(kit._np.trunc(kit._f32(255) - kit._f32(row) * kit._f32(255) / kit._f32(REGION_Y)))
        self.assertEqual(self.bar_pixel(img, BAR - 1, row), kit.gray(expected))
        for tick in (50, 100, 150, 200, 250):
            y = int(REGION_Y * (255 - tick) / 255.0)
            kit.text_at(self, img, self.server, str(tick), REGION_X + int(BAR * 0.3),
                        kit.TOP + max(y - 2, 15), 0x000000, paper=0xFFFFFF)

    def test_arrows_on_the_colorbar_change_the_scheme(self):
        v, w = self.start(["-lo", LOW, "-hi", HIGH])
        self.assertEqual(self.bar_pixel(v.capture(w), 0, 0), kit.rgb(0, 255, 0))
        mark = v.key(w, "Right", x=REGION_X + 40, y=kit.TOP + 20)
        v.wait_event("KeyPress", after=mark)
        img = v.capture(w)
        # Scheme 1: the positive ramp over the whole width.
        self.assertEqual(self.bar_pixel(img, 0, 0), kit.rgb(255, 255, 0))
        self.assertEqual(img.pixel(*self.layout().mosaic(1, 0, 0)), kit.gray(value(1, 0, 0)))
        mark = v.key(w, "Left", "Left", "Left", "Left", x=REGION_X + 40, y=kit.TOP + 20)
        v.wait_events("KeyPress", 4, after=mark)
        img = v.capture(w)
        # 1 -> 0 -> -1 -> -2 -> -3: the spectrum.
        self.assertEqual(self.bar_pixel(img, 0, 0), kit.rgb(255, 0, 0))
        self.assertEqual(img.pixel(*self.layout().mosaic(0, 0, 0)), kit.scheme2(12.0, LOW, HIGH))

    def test_click_on_the_upper_colorbar_sets_the_high_threshold(self):
        v, w = self.start(["-lo", LOW, "-hi", HIGH, "-c", "0"])
        layout = self.layout()
        before = v.capture(w).pixel(*layout.mosaic(9, 0, 0))
        self.assertEqual(before, kit.scheme0(8.5, LOW, HIGH))
        row = REGION_Y // 4  # high becomes 10 - 8 / 4 = 8
        mark = v.click(w, REGION_X + 40, kit.TOP + ZOOM + row)
        v.wait_event("ButtonRelease", after=mark)
        img = v.capture(w)
        self.assertEqual(img.pixel(*layout.mosaic(9, 0, 0)), kit.rgb(255, 255, 0))
        self.assertEqual(img.pixel(*layout.mosaic(8, 0, 0)), kit.scheme0(6.0, LOW, 8.0))

    def test_buttons_two_and_three_step_the_low_threshold(self):
        v, w = self.start(["-lo", LOW, "-hi", HIGH, "-c", "0"])
        layout = self.layout()
        mark = v.click(w, REGION_X + 40, kit.TOP + REGION_Y - 10, button=3)
        v.wait_event("ButtonPress", after=mark)
        img = v.capture(w)
        # Low 2 - 1 = 1: 1.5 now shows, dark red.
        self.assertEqual(img.pixel(*layout.mosaic(5, 0, 0)), kit.scheme0(1.5, 1.0, HIGH))

    # Overlays.
    def write_region(self, lines):
        path = os.path.join(self.work, "region.ovl")
        with open(path, "w") as f:
            f.write("\n".join(lines) + "\n")
        return path

    def test_region_colours_and_weights(self):
        region = self.write_region(["3 4 0", "5 4 0 0.5", "7 4 0 0.25"])
        layout = self.layout()
        for colour, (r, g, b) in ((2, (1, 0, 0)), (5, (0.5, 0, 1)), (9, (0, 0.75, 1)), (1, (0, 1, 1))):
            v, w = self.start(["-o", region, "-oc", colour, "-c", "0"], with_map=False)
            img = v.capture(w)
            for x, weight in ((3, 1.0), (5, 0.5), (7, 0.25)):
                level = kit.blend(value(x, 4, 0), kit._f32(1) - kit._f32(weight))
                if colour == 5:
                    expected = kit.rgb(level >> 1, 0, level)
                elif colour == 9:
                    expected = kit.rgb(0, int(kit._f32(level) * kit._f32(0.75)), level)
                else:
                    expected = kit.rgb(int(r * level), int(g * level), int(b * level))
                self.assertEqual(img.pixel(*layout.mosaic(x, 4, 0)), expected, (colour, x))
            self.assertEqual(img.pixel(*layout.mosaic(4, 4, 0)), kit.gray(value(4, 4, 0)))
            v.close()

    def test_transparent_regions_keep_most_of_the_gray(self):
        region = self.write_region(["3 4 0", "5 4 0 0.5"])
        v, w = self.start(["-o", region, "-oc", 3, "-ot", "-c", "0"], with_map=False)
        img = v.capture(w)
        for x in (3, 5):
            level = kit.blend(value(x, 4, 0), 0.85)
            self.assertEqual(img.pixel(*self.layout().mosaic(x, 4, 0)), kit.rgb(0, level, 0))

    def test_region_wins_over_the_map(self):
        region = self.write_region(["11 0 0"])
        v, w = self.start(["-o", region, "-oc", 4, "-lo", LOW, "-hi", HIGH, "-c", "0"])
        img = v.capture(w)
        self.assertEqual(img.pixel(*self.layout().mosaic(11, 0, 0)), kit.rgb(0, 0, 255))
        self.assertEqual(img.pixel(*self.layout().mosaic(10, 0, 0)), kit.rgb(255, 255, 0))

    # Cross-hairs.
    CROSS = (10, 12, 1)

    def cross_viewer(self, mode):
        return self.start(["-c", mode, "-cross"] + list(self.CROSS), with_map=False)

    def count_cyan(self, img):
        return img.count(0x00FFFF, (0, kit.TOP, REGION_X, kit.TOP + REGION_Y))

    def test_no_cross_hair(self):
        v, w = self.cross_viewer(0)
        img = v.capture(w)
        self.assertEqual(self.count_cyan(img), 0)

    def test_cross_hair_in_the_pixels(self):
        v, w = self.cross_viewer(1)
        img = v.capture(w)
        layout = self.layout()
        for x in range(32):
            self.assertEqual(img.pixel(*layout.mosaic(x, 12, 1, 2, 2)), 0x00FFFF, x)
            self.assertEqual(img.pixel(*layout.mosaic(x, 12, 0, 2, 2)), kit.gray(value(x, 12, 0)))
        for y in range(32):
            self.assertEqual(img.pixel(*layout.mosaic(10, y, 1, 3, 3)), 0x00FFFF, y)
        self.assertEqual(self.count_cyan(img), (32 + 31) * ZOOM * ZOOM)

    def line_pixels(self, img, x0, x1, y0, y1):
        return [img.pixel(x, y) for x in range(x0, x1 + 1) for y in range(y0, y1 + 1)]

    def check_drawn_cross(self, mode, x_range, y_range):
        v, w = self.cross_viewer(mode)
        img = v.capture(w)
        # Panel 1 starts at column 4 * (32 + 2); a line lies on the voxel's
        # left edge (x) and on the lower edge of its row (y, flipped).
        left, top = ZOOM * 34, kit.TOP + ZOOM
        y_line = top + ZOOM * (32 - self.CROSS[1])
        x_line = left + ZOOM * self.CROSS[0]
        x0, x1 = left + ZOOM * x_range[0], left + ZOOM * x_range[1]
        y0, y1 = top + ZOOM * (32 - y_range[1]), top + ZOOM * (32 - y_range[0])
        self.assertEqual(set(self.line_pixels(img, x0, x1, y_line, y_line)), {0x00FFFF})
        self.assertEqual(set(self.line_pixels(img, x_line, x_line, y0, y1)), {0x00FFFF})
        self.assertEqual(self.count_cyan(img), (x1 - x0 + 1) + (y1 - y0 + 1) - 1)

    def test_full_cross_hair_lines(self):
        self.check_drawn_cross(2, (0, 31), (0, 31))

    def test_short_cross_hair(self):
        self.check_drawn_cross(3, (5, 15), (7, 17))

    # Read-out.
    def test_information_line_reads_the_cross(self):
        v, w = self.start(["-cross", 5, 6, 2, "-lo", LOW, "-hi", HIGH])
        img = v.capture(w)
        base = kit.TOP + REGION_Y
        lines = ["     x      y      z      t    signal",
                 "%6d %6d %6d %6d  %8g" % (5, 6, 2, 0, value(5, 6, 2)),
                 "%6.2f %6.2f %6.2f %6g  %8g" % (5, 6, 2, 0, 0.0)]
        for row, text in zip((13, 28, 43), lines):
            kit.text_at(self, img, self.server, text, 0, base + row, 0x000000, paper=0xFFFFFF)

    def test_information_line_follows_the_map_value(self):
        v, w = self.start(["-cross", 9, 0, 0, "-lo", LOW, "-hi", HIGH])
        img = v.capture(w)
        text = "%6.2f %6.2f %6.2f %6g  %8g" % (9, 0, 0, 0, 8.5)
        kit.text_at(self, img, self.server, text, 0, kit.TOP + REGION_Y + 43, 0x000000, paper=0xFFFFFF)


    def read_out(self, img, lines):
        base = kit.TOP + REGION_Y
        for row, text in zip((13, 28, 43), lines):
            kit.text_at(self, img, self.server, text, 0, base + row, 0x000000, paper=0xFFFFFF)

    def test_information_line_reads_the_voxel_under_the_pointer(self):
        v, w = self.start(["-lo", LOW, "-hi", HIGH, "-t", 2.5])
        layout = self.layout()
        mark = v.move(w, *layout.mosaic(8, 0, 0, 1, 1))
        v.wait_event("MotionNotify", after=mark)
        self.read_out(v.capture(w), [
            "     x      y      z      t    signal",
            "%6d %6d %6d %6d  %8g" % (8, 0, 0, 0, value(8, 0, 0)),
            "%6.2f %6.2f %6.2f %6g  %8g" % (8, 0, 0, 0, 6.0)])
        mark = v.move(w, *layout.mosaic(20, 30, 3, 2, 2))
        v.wait_event("MotionNotify", after=mark)
        self.read_out(v.capture(w), [
            "     x      y      z      t    signal",
            "%6d %6d %6d %6d  %8g" % (20, 30, 3, 0, value(20, 30, 3)),
            "%6.2f %6.2f %6.2f %6g  %8g" % (20, 30, 3, 0, 0.0)])

    def test_information_line_on_the_colorbar(self):
        v, w = self.start(["-lo", LOW, "-hi", HIGH])
        row = REGION_Y // 4
        mark = v.move(w, REGION_X + 20, kit.TOP + ZOOM + row)
        v.wait_event("MotionNotify", after=mark)
        self.read_out(v.capture(w), [
            "Use '?' function for      t    signal",
            "a list of options         0   ------",
            "for modifying colorbar       %8g" % (HIGH - row * (HIGH - LOW) / REGION_Y)])

    def test_information_line_with_the_map_hidden(self):
        v, w = self.start(["-cross", 3, 4, 1], with_map=False)
        self.read_out(v.capture(w), [
            "     x      y      z      t    signal",
            "%6d %6d %6d %6d  %8g" % (3, 4, 1, 0, value(3, 4, 1)),
            "%6.2f %6.2f %6.2f %6g  --------" % (3, 4, 1, 0)])


class PlaneFrames(e2e.ViewerTestCase):
    def test_frame_turns_red_on_a_voxel_of_its_plane_and_back_in_a_gutter(self):
        argv = kit.harness_argv(self.work, SHAPE, kit.volume(SHAPE, value), ["-m", "-1", "-z", ZOOM])
        v = self.run_viewer(argv)
        w = v.window(r"zorview \(zoom = 4\)")
        v.wait_event("Expose")
        X, Y = 32, 32
        xy_top_bar = (ZOOM * 3, kit.TOP + 1)
        xz_left_bar = (1, kit.TOP + ZOOM * (Y + 3))
        mark = v.move(w, ZOOM * 5, kit.TOP + ZOOM * 5)  # on the XY plane
        v.wait_event("MotionNotify", after=mark)
        img = v.capture(w)
        self.assertEqual(img.pixel(*xy_top_bar), 0xFF0000)
        self.assertEqual(img.pixel(*xz_left_bar), 0x00BFBF)
        mark = v.move(w, ZOOM * 5, kit.TOP + ZOOM * (Y + 5))  # on the XZ plane
        v.wait_event("MotionNotify", after=mark)
        img = v.capture(w)
        self.assertEqual(img.pixel(*xz_left_bar), 0xFF0000)
        self.assertEqual(img.pixel(*xy_top_bar), 0x00BFBF)
        mark = v.move(w, ZOOM * (X + 1) + 1, kit.TOP + ZOOM * 5)  # the gutter
        v.wait_event("MotionNotify", after=mark)
        img = v.capture(w)
        self.assertEqual(img.pixel(*xz_left_bar), 0x00BFBF)
        self.assertEqual(img.pixel(*xy_top_bar), 0x00BFBF)
        self.assertEqual(img.count(0xFF0000), 0)


if __name__ == "__main__":
    e2e.main()
