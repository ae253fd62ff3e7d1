"""Editing the region of interest as a user does it: a rectangle dragged with
button 3 appears in the region's colour, "w" writes exactly its voxels to
".ovl", "d" clears it and "r" reads it back; the arrows move it when there
is no cross-hair; the graph shows the region's mean time course and "S"
prints its statistics; a write that the file-size limit stops half-way
leaves the old file byte for byte and the program goes on."""

import os

import numpy as np

import zore2e as e2e
import graph_kit as gk
import picture_kit as kit

SHAPE = (16, 16, 4)
ZOOM = 4
LAYOUT = kit.Layout(SHAPE, ZOOM, columns=2)
MAGENTA = 0xFF00FF
f32 = np.float32


def value(x, y, z):
    return float(x + 16 * y)


def centre(x, y, k):
    return LAYOUT.mosaic(x, y, k, ZOOM // 2, ZOOM // 2)


# Pressed on voxel (2, 9) and let go on (5, 6) of slice 1: the far corner is
# one past the release on both axes, so x runs 2..5 and, with rows flipped,
# y runs over 7 and 8 only.
PRESS, RELEASE = (2, 9), (5, 6)
DRAWN = [(x, y, 1) for y in (7, 8) for x in range(2, 6)]


class RegionEditing(e2e.ViewerTestCase):
    def start(self, shape=SHAPE, values=None, options=(), wrap=None):
        values = values or (lambda x, y, z, t: value(x, y, z))
        argv = e2e.viewer_argv(self.work, shape, ["-z", str(ZOOM)] + list(options), values=values)
        if wrap:
            argv = wrap + argv
        v = self.run_viewer(argv)
        w = v.window(r"zorview \(zoom = %d\).*" % ZOOM)
        v.wait_event("Expose")
        return v, w

    def draw(self, v, w, press=PRESS, release=RELEASE, k=1):
        mark = v.drag(w, centre(press[0], press[1], k), [centre(release[0], release[1], k)], button=3)
        v.wait_event("ButtonRelease", after=mark)

    def assert_region_shown(self, img, voxels, shown=True):
        for (x, y, z) in voxels:
            want = MAGENTA if shown else kit.gray(int(value(x, y, z)))
            self.assertEqual(img.pixel(*centre(x, y, z)), want, (x, y, z))

    def test_drawn_rectangle_is_shown_written_cleared_and_read_back(self):
        v, w = self.start()
        self.draw(v, w)
        img = v.capture(w)
        self.assert_region_shown(img, DRAWN)
        # The press and release rows themselves, and the next column, stay gray.
        self.assert_region_shown(img, [(2, 9, 1), (5, 6, 1), (6, 7, 1), (1, 8, 1)], shown=False)
        self.assertEqual(img.count(MAGENTA), len(DRAWN) * ZOOM * ZOOM)

        v.wait_event("KeyPress", after=v.key(w, "w", x=1, y=1))
        path = os.path.join(self.work, ".ovl")
        with open(path) as f:
            written = f.read()
        self.assertEqual(written, "".join("%d %d %d\n" % p for p in DRAWN))
        self.assertIn("8 pixels (total weight = 8, volume = 8) written to file .ovl\n", v.stdout())

        v.wait_event("KeyPress", after=v.key(w, "d", x=1, y=1))
        img = v.capture(w)
        self.assertEqual(img.count(MAGENTA), 0)
        self.assert_region_shown(img, DRAWN, shown=False)

        v.wait_event("KeyPress", after=v.key(w, "r", x=1, y=1))
        img = v.capture(w)
        self.assert_region_shown(img, DRAWN)
        self.assertEqual(img.count(MAGENTA), len(DRAWN) * ZOOM * ZOOM)

        # The same rectangle again takes the region away.
        self.draw(v, w)
        self.assertEqual(v.capture(w).count(MAGENTA), 0)

    def test_arrows_move_the_region_without_a_cross_hair(self):
        v, w = self.start()
        self.draw(v, w)
        # Ctrl-C steps the cross-hair mode from 3, its start, to 0: none.
        v.wait_event("KeyPress", after=v.key(w, "ctrl+c", x=1, y=1))
        x, y = centre(12, 12, 1)
        v.wait_event("KeyPress", after=v.key(w, "Right", x=x, y=y))
        v.wait_event("KeyPress", after=v.key(w, "Up", x=x, y=y))
        img = v.capture(w)
        # Right is +x; Up on the flipped screen is +y.
        moved = [(px + 1, py + 1, pz) for (px, py, pz) in DRAWN]
        self.assert_region_shown(img, moved)
        self.assertEqual(img.count(MAGENTA), len(DRAWN) * ZOOM * ZOOM)
        # "." moves it out of the slice, to slice 2.
        v.wait_event("KeyPress", after=v.key(w, "period", x=x, y=y))
        img = v.capture(w)
        self.assert_region_shown(img, [(px, py, 2) for (px, py, _) in moved])

    def test_region_time_course_in_the_graph_and_its_statistics(self):
        shape = (8, 8, 2, 10)

        def course(x, y, z, t):
            return float((x * 3 + y * 5 + z * 7) % 11) * (1 + t % 3) + t

        v, w = self.start(shape=shape, values=course)
        small = kit.Layout(shape[:3], ZOOM, columns=2)
        g = gk.open_graph(v, w)
        # A rectangle on slice 0 from (1, 5) to (4, 2): x 1..4, y 3..4.
        start = small.mosaic(1, 5, 0, 2, 2)
        end = small.mosaic(4, 2, 0, 2, 2)
        mark = v.drag(w, start, [end], button=3)
        v.wait_event("ButtonRelease", after=mark)
        voxels = [(x, y, 0) for y in (3, 4) for x in range(1, 5)]
        series = np.array([[course(x, y, z, t) for (x, y, z) in voxels] for t in range(shape[3])])
        mean = series.mean(axis=1)
        sd = np.sqrt(((series - mean[:, None]) ** 2).mean(axis=1))
        mark = v.key(w, "S", x=1, y=1)
        v.wait_event("KeyPress", after=mark)
        lines = ["Overlay ovl1, # points = 8", "Image\tAverage\tStDev"]
        lines += ["%d\t%s\t%s" % (t, "%g" % mean[t], "%g" % sd[t]) for t in range(shape[3])]
        self.assertIn("\n".join(lines) + "\n", v.stdout())
        # The graph's curve is the region's mean.
        v.wait_event("Expose", after=v.send_expose(g))
        img = v.capture(g)
        scale = gk.Scale(range(shape[3]), [f32(m) for m in mean])
        for t in range(1, shape[3]):
            px, py = scale.pixel(t, mean[t])
            self.assertEqual(img.pixel(px, py), gk.YELLOW, "time point %d" % t)

    def test_n_and_a_click_grow_a_region_over_the_map(self):
        block = {(x, y, z) for x in range(4, 7) for y in range(4, 7) for z in (1, 2)}
        amap = e2e.write_nifti(os.path.join(self.work, "map.nii"), SHAPE,
                               values=lambda x, y, z, t: 12.0 if (x, y, z) in block else 0.0)
        v, w = self.start(options=["-a", amap])
        mark = v.key(w, "n", x=1, y=1)
        # The click on a voxel of the block, on slice 2, then no opening.
        v.click(w, *centre(5, 5, 2))
        self.assertEqual(v.wait_prompt(after=mark)["text"], "Erode & dilate?")
        v.key(w, "n", x=1, y=1)
        v.wait_event("KeyPress", after=mark)
        v.wait_event("KeyPress", after=v.key(w, "w", x=1, y=1))
        with open(os.path.join(self.work, ".ovl")) as f:
            written = f.read()
        want = sorted(block, key=lambda p: (p[2], p[1], p[0]))
        self.assertEqual(written, "".join("%d %d %d\n" % p for p in want))
        # A click away from the map cancels.
        mark = v.key(w, "n", x=1, y=1)
        v.click(w, 1, 1)
        v.wait_event("KeyPress", after=mark)
        self.assertTrue(v.running())

    def test_write_stopped_by_the_file_size_limit_keeps_the_old_file(self):
        shape = (64, 64, 4)
        # A large region file from outside: every voxel at weight 0.5.
        old = "".join("%d %d %d 0.5\n" % (x, y, z)
                      for z in range(4) for y in range(64) for x in range(64))
        path = os.path.join(self.work, ".ovl")
        with open(path, "w") as f:
            f.write(old)
        self.assertGreater(len(old), 64 * 1024)
        wrap = ["bash", "-c", 'ulimit -f 64; trap "" XFSZ; exec "$0" "$@"']
        v, w = self.start(shape=shape, values=lambda x, y, z, t: float(x + y), wrap=wrap)
        v.wait_event("KeyPress", after=v.key(w, "r", x=1, y=1))
        v.wait_event("KeyPress", after=v.key(w, "w", x=1, y=1))
        with open(path) as f:
            self.assertEqual(f.read(), old)
        self.assertIn("Error writing file (.ovl).\n", v.stdout())
        self.assertEqual(sorted(os.listdir(self.work)), [".ovl", "volume.nii"])
        # Still running and answering.
        v.wait_event("KeyPress", after=v.key(w, "d", x=1, y=1))
        self.assertTrue(v.running())


if __name__ == "__main__":
    e2e.main()
