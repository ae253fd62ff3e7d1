"""The graph window as a user meets it: opened with "g", its title and size,
the time course at the cross-hair drawn where the graph's scaling puts it,
the histogram of a one-volume study, a click in the graph that moves the
time point the image shows, and closing it through the window manager and
opening it again."""

import zore2e as e2e
import graph_kit as gk
import picture_kit as kit

SHAPE4 = (8, 8, 2, 12)
ZOOM = 4
CURVE = [3.0, 9.0, -4.0, 12.5, 0.0, 7.0, 7.5, -2.0, 20.0, 5.0, 1.0, 11.0]


def course(x, y, z, t):
    # The curve at the centre voxel (4, 4, 1); elsewhere a ramp over time.
    if (x, y, z) == (4, 4, 1):
        return CURVE[t]
    return float(x + 8 * y + 64 * z + 3 * t)


class GraphWindow(e2e.ViewerTestCase):
    def start(self, shape, values, options=()):
        v = self.start_viewer(shape, ["-z", str(ZOOM)] + list(options), values=values)
        w = v.window(r"zorview \(zoom = %d\)" % ZOOM)
        v.wait_event("Expose")
        return v, w

    def test_title_and_size(self):
        v, w = self.start(SHAPE4, course)
        g = gk.open_graph(v, w)
        self.assertEqual(v.title(g), "time points  ----  output to file .roi (0)")
        self.assertEqual(v.size(g), (gk.GRAPH_SIZE[0], gk.GRAPH_SIZE[1] + 60))
        self.assertIn("WM_DELETE_WINDOW", v.protocols(g))

    def test_time_course_at_the_cross_is_drawn_where_the_scale_puts_it(self):
        v, w = self.start(SHAPE4, course)
        g = gk.open_graph(v, w)
        img = v.capture(g)
        scale = gk.Scale(range(len(CURVE)), CURVE)
        for t, y in enumerate(CURVE):
            px, py = scale.pixel(t, y)
            if t == 0:
                continue  # under the marker of the time point shown
            # The point's square reaches two pixels each way.
            for dx, dy in [(0, 0), (2, 2), (-2, -2), (2, -2), (-2, 2)]:
                self.assertEqual(img.pixel(px + dx, py + dy), gk.YELLOW, "point %d (%d, %d)" % (t, px, py))
        # The marker: a white line at time point 0, over the plot's height.
        mx, _ = scale.pixel(0, 0)
        self.assertEqual(img.pixel(mx, 200), gk.WHITE)
        # Background where no curve runs: the top corners of the plot.
        self.assertEqual(img.pixel(gk.GRAPH_SIZE[0] - 3, gk.GRAPH_TOP + 2), gk.DATA_BACKGROUND)
        # The zero axis in yellow.
        zx, zy = scale.pixel(5.5, 0.0)
        self.assertEqual(img.pixel(zx, zy), gk.YELLOW)

    def test_click_in_the_graph_moves_the_time_point_of_the_image(self):
        v, w = self.start(SHAPE4, course)
        g = gk.open_graph(v, w)
        layout = kit.Layout(SHAPE4[:3], ZOOM, columns=2)
        probe = (2, 5, 0)
        before = v.capture(w).pixel(*layout.mosaic(*probe, 1, 1))
        # The gray window is that of time point 0: values 0 .. 127.
        lo, hi = gk.gray_window(0.0, 127.0)
        self.assertEqual(before, gk.gray(gk.gray_level(course(*probe, 0), lo, hi)))
        # Time point 7 lies at x = 7 * 1280 / 11 of the plot.
        mark = v.click(g, 815, 200)
        v.wait_event("ButtonPress", after=mark, window="graph")
        v.wait_event("ButtonRelease", after=mark, window="graph")
        after = v.capture(w).pixel(*layout.mosaic(*probe, 1, 1))
        self.assertEqual(after, gk.gray(gk.gray_level(course(*probe, 7), lo, hi)))
        self.assertNotEqual(after, before)

    def test_plus_and_minus_step_time_and_the_marker_follows(self):
        v, w = self.start(SHAPE4, course)
        g = gk.open_graph(v, w)
        scale = gk.Scale(range(len(CURVE)), CURVE)
        for _ in range(3):
            v.wait_event("KeyPress", after=v.key(w, "plus", x=1, y=1))
        # The marker shows the previous time point: 2.
        img = v.capture(g)
        self.assertEqual(img.pixel(scale.pixel(2, 0)[0], 200), gk.WHITE)
        self.assertNotEqual(img.pixel(scale.pixel(0, 0)[0], 200), gk.WHITE)

    def test_histogram_of_a_one_volume_study(self):
        # 64 voxels of 10, 32 of 20, the rest 0 (left out) and 30.
        def values(x, y, z, t):
            i = x + 8 * y + 64 * z
            return 10.0 if i < 64 else (20.0 if i < 96 else (30.0 if i < 100 else 0.0))
        v, w = self.start((8, 8, 2), values)
        g = gk.open_graph(v, w, r"histogram  ----  output to file \.hist \(0\)")
        img = v.capture(g)
        # The gray window of the data spans 0 .. 30 (no outliers at ten
        # standard deviations); 100 bins of 0.3: 10 -> bin 33, 20 -> bin 66,
        # 30 lands on the upper edge and is not counted.
        counts = [0.0] * 100
        counts[33], counts[66] = 64.0, 32.0
        xs = [0.3 * j for j in range(100)]
        scale = gk.Scale(xs, counts)
        for j in (1, 33, 50, 66, 99):  # bin 0 lies under the marker
            px, py = scale.pixel(xs[j], counts[j])
            self.assertEqual(img.pixel(px, py), gk.YELLOW, "bin %d" % j)
        # The gray band of the gray window covers the plot above the points.
        px, _ = scale.pixel(xs[50], 0)
        self.assertEqual(img.pixel(px, gk.GRAPH_TOP + 5), gk.GRAY_BAND)
        # Bin 33 stands twice as high as bin 66 above the zero line.
        _, y0 = scale.pixel(0, 0)
        _, y33 = scale.pixel(xs[33], 64)
        _, y66 = scale.pixel(xs[66], 32)
        self.assertAlmostEqual((y0 - y33) / (y0 - y66), 2.0, delta=0.02)

    def test_closing_through_the_window_manager_and_opening_again(self):
        v, w = self.start(SHAPE4, course)
        g = gk.open_graph(v, w)
        mark = v.send_delete(g)
        v.wait_event("ClientMessage", after=mark, window="graph")
        self.assertEqual(v.info(g)["map_state"], "IsUnMapped")
        self.assertTrue(v.running())
        # Clicks on the image go on without a graph.
        layout = kit.Layout(SHAPE4[:3], ZOOM, columns=2)
        v.wait_event("ButtonRelease", after=v.click(w, *layout.mosaic(1, 1, 0, 1, 1)))
        g2 = gk.open_graph(v, w)
        self.assertNotEqual(g2, g)
        self.assertEqual(v.size(g2), (gk.GRAPH_SIZE[0], gk.GRAPH_SIZE[1] + 60))
        # The graph shows the curve at the new cross-hair (1, 1, 0): a ramp
        # of 9 + 3 t.
        ramp = [9.0 + 3 * t for t in range(12)]
        scale = gk.Scale(range(12), ramp)
        img = v.capture(g2)
        for t in (3, 6, 11):
            self.assertEqual(img.pixel(*scale.pixel(t, ramp[t])), gk.YELLOW, "t = %d" % t)


if __name__ == "__main__":
    e2e.main()
