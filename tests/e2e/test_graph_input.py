"""The graph window as an input device and as a resizable window: a drag of
the right button over a histogram sets the image's gray window, a click
moves the histogram marker, "u" puts a time course in percent limits, the
Up arrow raises the upper limit, and a resized window draws its curve at
the new scale."""

import numpy as np

import zore2e as e2e
import graph_kit as gk
import picture_kit as kit

f32 = np.float32
ZOOM = 4
CURVE = [3.0, 9.0, -4.0, 12.5, 0.0, 7.0, 7.5, -2.0, 20.0, 5.0, 1.0, 11.0]


def course(x, y, z, t):
    if (x, y, z) == (4, 4, 1):
        return CURVE[t]
    return float(x + 8 * y + 64 * z + 3 * t)


def levels(x, y, z, t):
    i = x + 8 * y + 64 * z
    return 10.0 if i < 64 else (20.0 if i < 96 else (30.0 if i < 100 else 0.0))


def change_limit(limit, change):
    """A plotted or colour limit's step, in single precision."""
    last = f32(limit + change)
    div = f32(10) ** np.trunc(np.log10(abs(last)) - f32(2))
    new = np.trunc(last / div) * div
    if change > 0 and limit >= new:
        return last
    if change < 0 and new >= limit:
        return limit - change
    return f32(new)


def histogram_x():
    """The bins' x values as the program computes them (0 .. 30, 100 bins)."""
    return [f32(30) * f32(j) / f32(100) for j in range(100)]


class GraphInput(e2e.ViewerTestCase):
    def start(self, shape, values):
        v = self.start_viewer(shape, ["-z", str(ZOOM)], values=values)
        w = v.window(r"zorview \(zoom = %d\)" % ZOOM)
        v.wait_event("Expose")
        return v, w

    def test_right_button_drag_over_the_histogram_sets_the_gray_window(self):
        v, w = self.start((8, 8, 2), levels)
        g = gk.open_graph(v, w, r"histogram  ----  output to file \.hist \(0\)")
        counts = [0.0] * 100
        counts[33], counts[66] = 64.0, 32.0
        scale = gk.Scale(histogram_x(), counts)
        mark = v.drag(g, (900, 200), [(600, 210), (400, 220)], button=3)
        v.wait_event("ButtonRelease", after=mark, window="graph")
        # Each end: the pointer's bin, then back to data units by the plot's
        # x scale.
        span = scale.max_x - scale.min_x

        def end(px):
            cursor = scale.min_x + f32(px) * span / f32(gk.GRAPH_SIZE[0])
            index = int(np.rint(f32(99) * (cursor - scale.min_x) / span))
            return f32(index) / (f32(99) / span) + scale.min_x
        low, high = end(400), end(900)
        img = v.capture(w)
        layout = kit.Layout((8, 8, 2), ZOOM, columns=2)
        for voxel in [(0, 0, 0), (0, 4, 1), (2, 4, 1)]:
            want = gk.gray(gk.gray_level(levels(*voxel, 0), low, high))
            self.assertEqual(img.pixel(*layout.mosaic(*voxel, 1, 1)), want, voxel)
        self.assertNotEqual(gk.gray_level(10.0, low, high), 10 * 255 // 30)

    def test_click_moves_the_histogram_marker(self):
        v, w = self.start((8, 8, 2), levels)
        g = gk.open_graph(v, w, r"histogram  ----  output to file \.hist \(0\)")
        mark = v.click(g, 700, 300)
        v.wait_event("ButtonRelease", after=mark, window="graph")
        img = v.capture(g)
        # The marker stands where the pointer was, drawn two pixels wide.
        self.assertIn(gk.WHITE, (img.pixel(699, 300), img.pixel(700, 300), img.pixel(701, 300)))
        self.assertEqual(img.count(gk.WHITE, (690, 100, 711, 101)), 2)

    def test_percent_units_round_the_limits_outward(self):
        v, w = self.start((8, 8, 2, 12), course)
        g = gk.open_graph(v, w)
        mark = v.key(g, "u", x=600, y=300)
        v.wait_event("KeyPress", after=mark, window="graph")
        img = v.capture(g)
        # A series of twelve points opens under the linear model without
        # events, which shows percent change from the curve's mean and
        # widens its limits by one percent each way.
        curve = np.array(CURVE, dtype=np.float32)
        mean = np.float32(np.sum(curve.astype(np.float64)) / 12)
        percent = (curve / mean - np.float32(1)) * np.float32(100)
        scale = gk.Scale(range(12), percent)
        scale.min_y, scale.max_y = percent.min() - np.float32(1), percent.max() + np.float32(1)
        scale.sy = np.float32(gk.GRAPH_SIZE[1]) / (scale.max_y - scale.min_y)
        for t in (3, 6, 8):
            self.assertEqual(img.pixel(*scale.pixel(t, percent[t])), gk.YELLOW, "t = %d" % t)

    def test_up_arrow_over_the_upper_half_raises_the_upper_limit(self):
        v, w = self.start((8, 8, 2, 12), course)
        g = gk.open_graph(v, w)
        mark = v.key(g, "Up", x=640, y=100)
        v.wait_event("KeyPress", after=mark, window="graph")
        scale = gk.Scale(range(12), CURVE)
        # The limit steps by a tenth of the span, rounded as the colour
        # limits are: 22.4 + 28.8 / 10 = 25.28 becomes 25.
        self.assertAlmostEqual(float(scale.max_y), 22.4, places=4)
        scale.max_y = change_limit(scale.max_y, (scale.max_y - scale.min_y) / f32(10))
        self.assertEqual(scale.max_y, f32(25))
        scale.sy = f32(gk.GRAPH_SIZE[1]) / (scale.max_y - scale.min_y)
        img = v.capture(g)
        for t in (3, 6, 8):
            self.assertEqual(img.pixel(*scale.pixel(t, CURVE[t])), gk.YELLOW, "t = %d" % t)

    def test_a_resized_window_draws_at_the_new_scale(self):
        v, w = self.start((8, 8, 2, 12), course)
        g = gk.open_graph(v, w)
        mark = v.trace_mark()
        v.server.run(["xdotool", "windowsize", str(g), "800", "400"])
        v.wait_trace(lambda e: e["kind"] == "event" and e["type"] == "ConfigureNotify", after=mark)
        v.wait_event("Expose", after=v.send_expose(g), window="graph")
        self.assertEqual(v.size(g), (800, 400))
        img = v.capture(g)
        scale = gk.Scale(range(12), CURVE, size=(800, 340))
        for t in (2, 5, 8, 11):
            self.assertEqual(img.pixel(*scale.pixel(t, CURVE[t])), gk.YELLOW, "t = %d" % t)
        # The information strip follows the new height.
        self.assertEqual(img.pixel(5, 340 + 15 + 2), 0xFFFFFF)


if __name__ == "__main__":
    e2e.main()
