"""Result tables written from the graph window, end to end: "r" over a
histogram writes its counts and its (empty) fit, a second "r" adds columns
labelled by the count of columns already written, and the graph's title
counts them; "r" over a time course with a working region writes the
region's mean curve."""

import os

import zore2e as e2e
import graph_kit as gk
import picture_kit as kit

ZOOM = 4


def read_table(path):
    with open(path) as f:
        return [line.rstrip("\n") for line in f]


class ResultTables(e2e.ViewerTestCase):
    def test_histogram_columns_and_the_title_count(self):
        # 64 voxels of 10, 32 of 20, the rest 0 (left out) and 30.
        def values(x, y, z, t):
            i = x + 8 * y + 64 * z
            return 10.0 if i < 64 else (20.0 if i < 96 else (30.0 if i < 100 else 0.0))
        v = self.start_viewer((8, 8, 2), ["-z", str(ZOOM)], values=values)
        w = v.window(r"zorview \(zoom = %d\).*" % ZOOM)
        v.wait_event("Expose")
        g = gk.open_graph(v, w, r"histogram  ----  output to file \.hist \(0\)")
        for count in (1, 2):
            mark = v.key(g, "r", x=600, y=200)
            v.wait_event("KeyPress", after=mark, window="graph")
            gk.visible_window(v, r"histogram  ----  output to file \.hist \(%d\)" % count)
        table = read_table(os.path.join(self.work, ".hist"))
        self.assertEqual(table[0], "x hist0 hist1")
        self.assertEqual(len(table), 1 + 100 + 1 + 100)
        for j in range(100):
            n = {33: "64", 66: "32"}.get(j, "0")
            self.assertEqual(table[1 + j], "%d %s %s" % (j, n, n))
            self.assertEqual(table[102 + j], "%d 0 0" % j)
        self.assertEqual(table[101], "new # fit to projection ")

    def test_time_course_of_the_working_region(self):
        def values(x, y, z, t):
            return 100.0 + 10.0 * x + t
        v = self.start_viewer((8, 8, 2, 6), ["-z", str(ZOOM)], values=values)
        w = v.window(r"zorview \(zoom = %d\).*" % ZOOM)
        v.wait_event("Expose")
        g = gk.open_graph(v, w)
        # A region of two voxels, x = 2 and x = 4, drawn with the right button.
        layout = kit.Layout((8, 8, 2), ZOOM, columns=2)
        for x in (2, 4):
            mark = v.click(w, *layout.mosaic(x, 3, 0, 1, 1), button=3)
            v.wait_event("ButtonRelease", after=mark, window="image")
        mark = v.key(g, "r", x=600, y=200)
        v.wait_event("KeyPress", after=mark, window="graph")
        gk.visible_window(v, r"time points  ----  output to file \.roi \(1\)")
        table = read_table(os.path.join(self.work, ".roi"))
        name = table[0].split(" ")[2]
        self.assertTrue(name.startswith("ovl"), table[0])
        # The mean of 120 + t and 140 + t, then the linear model's columns.
        for t in range(6):
            self.assertEqual(table[1 + t], "%d %g %g" % (t, t, 130.0 + t))


if __name__ == "__main__":
    e2e.main()
