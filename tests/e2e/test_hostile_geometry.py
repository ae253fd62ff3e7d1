"""Volumes and options whose geometry the window cannot take as it is: voxel
sizes that are zero, negative, not a number, infinite or denormal, and panel
counts across that X cannot make a window of. The program warns or refuses
with a message, and when it opens its window, it answers clicks and motion."""

import math

import zore2e as e2e

SHAPE = (32, 32, 4)
WARNING = "Warning: voxel size (%s) cannot be displayed; such sides are shown as 1."


class UnusableVoxelSizes(e2e.ViewerTestCase):
    def open(self, resolution):
        v = self.start_viewer(SHAPE, [], resolution=resolution)
        w = v.window(r"zorview \(zoom = [0-9]+\)")
        return v, w

    def check(self, resolution, text):
        plain, pw = self.open((1.0, 1.0, 1.0))
        plain_size = plain.size(pw)
        plain.close()
        v, w = self.open(resolution)
        # Unusable sides are drawn as the usable size 1 would be.
        self.assertEqual(v.size(w), plain_size)
        mark = v.trace_mark()
        v.click(w, 60, 60)
        v.move(w, 90, 80)
        v.move(w, 150, 100)
        v.wait_event("ButtonPress", after=mark)
        v.wait_event("ButtonRelease", after=mark)
        v.wait_events("MotionNotify", 2, after=mark)
        self.assertTrue(v.running())
        out = v.stdout()
        self.assertEqual(out.count(WARNING % text), 1, out)
        self.assertNotIn("doesn't match previous resolution", out)

    def test_zero(self):
        self.check((0.0, 0.0, 0.0), "0,0,0")

    def test_not_a_number(self):
        self.check((math.nan,) * 3, "nan,nan,nan")

    def test_negative(self):
        self.check((-2.0, 1.0, 1.0), "-2,1,1")

    def test_infinite(self):
        self.check((math.inf, 1.0, 1.0), "inf,1,1")

    def test_denormal(self):
        self.check((1e-40, 1.0, 1.0), "9.99995e-41,1,1")

    def test_extreme_anisotropy_fits_the_screen(self):
        v = self.start_viewer(SHAPE, [], resolution=(1e-30, 1.0, 1.0))
        w = v.window(r"zorview \(zoom = 1\)")
        width, height = v.size(w)
        self.assertLessEqual(width, e2e.SCREEN_WIDTH)
        self.assertLessEqual(height, e2e.SCREEN_HEIGHT)
        mark = v.trace_mark()
        v.click(w, 20, 200)
        v.wait_event("ButtonRelease", after=mark)
        self.assertTrue(v.running())


class PanelsAcross(e2e.ViewerTestCase):
    def refused(self, value, width):
        v = self.start_viewer((64, 64, 20), ["-x", value])
        self.assertEqual(v.wait_exit(), 1)
        self.assertIn("Error: the image window would be %d x " % width, v.stdout())
        self.assertIn("more than the 32767 that X allows on a side.\n"
                      "Choose another number of panels across (-x) or fewer slices (-m).\n", v.stdout())
        self.assertNotIn("X Error", v.stderr())
        self.assertNotIn("X error", v.stderr())

    def test_a_hundred_thousand_are_refused(self):
        self.refused("100000", 200102)

    def test_the_largest_int_is_refused(self):
        self.refused("2147483647", 2147483647)

    def test_a_thousand_open_a_window_wider_than_the_screen(self):
        v = self.start_viewer((64, 64, 20), ["-x", "1000"])
        w = v.window(r"zorview \(zoom = 1\)")
        width, height = v.size(w)
        self.assertGreater(width, e2e.SCREEN_WIDTH)
        self.assertLessEqual(width, 32767)
        mark = v.trace_mark()
        v.click(w, 30, 50)
        v.wait_event("ButtonRelease", after=mark)
        self.assertTrue(v.running())
        self.assertEqual(v.stderr(), "")


if __name__ == "__main__":
    e2e.main()
