"""Gray values of known voxels at computed window pixels: every panel of a
mosaic, the three planes, zoom, interpolation on and off."""

import math

import zore2e as e2e
import picture_kit as kit

SHAPE = (8, 6, 4)


def value(x, y, z):
    # Integers 0 .. 255 with both ends present: gray level = value.
    return 255 if (x, y, z) == (7, 5, 3) else (x * 5 + y * 11 + z * 50) % 255


def lanczos2(x):
    if abs(x) < 1e-5:
        return 1.0
    if abs(x) > 2:
        return 0.0
    pix = math.pi * x
    return 2 * math.sin(pix) * math.sin(pix / 2) / (pix * pix)


class Planes(e2e.ViewerTestCase):
    def start(self, options, shape=SHAPE, fn=value, resolution=None):
        if resolution:
            options = ["-r"] + [str(r) for r in resolution] + list(options)
        argv = kit.harness_argv(self.work, shape, kit.volume(shape, fn), options)
        v = self.run_viewer(argv)
        w = v.window(r"zorview \(zoom = [0-9]+\)")
        v.wait_event("Expose")
        return v, w

    def test_every_voxel_of_every_mosaic_panel(self):
        v, w = self.start(["-z", "3", "-c", "0"])
        img = v.capture(w)
        layout = kit.Layout(SHAPE, 3, columns=2)
        for z in range(4):
            for y in range(6):
                for x in range(8):
                    for dx, dy in ((0, 0), (2, 2)):
                        px, py = layout.mosaic(x, y, z, dx, dy)
                        self.assertEqual(img.pixel(px, py), kit.gray(value(x, y, z)),
                                         "voxel %s at %s" % ((x, y, z), (px, py)))

    def test_without_flip_rows_go_down_with_y(self):
        v, w = self.start(["-z", "2", "-y", "-c", "0"])
        img = v.capture(w)
        layout = kit.Layout(SHAPE, 2, columns=2, flip=False)
        for (x, y, z) in ((0, 0, 0), (7, 5, 3), (3, 1, 2)):
            self.assertEqual(img.pixel(*layout.mosaic(x, y, z)), kit.gray(value(x, y, z)))

    def test_three_planes_through_the_cross(self):
        v, w = self.start(["-m", "-1", "-z", "2", "-c", "0", "-cross", "2", "3", "1"])
        img = v.capture(w)
        layout = kit.Layout(SHAPE, 2, three=True)
        for x in range(8):
            for y in range(6):
                self.assertEqual(img.pixel(*layout.plane("XY", x, y)), kit.gray(value(x, y, 1)))
        for z in range(4):
            for y in range(6):
                self.assertEqual(img.pixel(*layout.plane("ZY", z, y)), kit.gray(value(2, y, z)))
            for x in range(8):
                self.assertEqual(img.pixel(*layout.plane("XZ", x, z)), kit.gray(value(x, 3, z)))

    def test_yz_as_third_plane(self):
        v, w = self.start(["-m", "-1", "-z", "2", "-c", "0", "-Y", "-cross", "5", "3", "1"])
        img = v.capture(w)
        layout = kit.Layout(SHAPE, 2, three=True)
        for y in range(6):
            for z in range(4):
                self.assertEqual(img.pixel(*layout.plane("YZ", y, z)), kit.gray(value(5, y, z)))

    def test_interpolation_blends_and_its_absence_repeats(self):
        # A step from 0 to 255 between x = 3 and x = 4.
        step = lambda x, y, z: 255.0 if x >= 4 else 0.0
        v, w = self.start(["-z", "4", "-c", "0"], fn=step)
        img = v.capture(w)
        layout = kit.Layout(SHAPE, 4, columns=2)
        row = [img.pixel(*layout.mosaic(3, 2, 0, dx=d)) for d in range(4)]
        self.assertEqual(row, [0] * 4)
        v.close()
        v, w = self.start(["-z", "4", "-c", "0", "-i"], fn=step)
        img = v.capture(w)
        row = [img.pixel(*layout.mosaic(3, 2, 0, dx=d)) & 0xFF for d in range(4)]
        # Sub-pixel d of voxel 3 sits at x = 3 + (d + 0.5) / 4 and blends
        # voxels 3 and 4 by the kernel's weights.
        for d in range(4):
            t = (d + 0.5) / 4
            w3, w4 = lanczos2(t), lanczos2(1 - t)
            self.assertAlmostEqual(row[d], 255 * w4 / (w3 + w4), delta=1.0)
        self.assertTrue(0 < row[0] < row[1] < row[2] < row[3] < 255, row)
        for d in range(4):
            p = img.pixel(*layout.mosaic(3, 2, 0, dx=d))
            self.assertEqual(p >> 16, p & 0xFF)

    def test_short_cross_on_the_three_planes(self):
        v, w = self.start(["-m", "-1", "-z", "4", "-c", "3", "-cross", "4", "3", "2"])
        img = v.capture(w)
        Z, X, Y = 4, 8, 6
        cyan = 0x00FFFF
        # XY: along x (0 .. 7) on the lower edge of row y 3, along y (0 .. 5)
        # on the left edge of column x 4 (from the lower edge of row 0 up to
        # the lower edge of row 5).
        y_line = kit.TOP + Z * (Y - 3 + 1)
        self.assertEqual({img.pixel(x, y_line) for x in range(Z * 1, Z * 8 + 1)}, {cyan})
        x_line = Z * (4 + 1)
        self.assertEqual({img.pixel(x_line, y) for y in range(kit.TOP + Z * 2, kit.TOP + Z * 7 + 1)},
                         {cyan})
        # ZY: along z (0 .. 3) at the same row, right of the XY plane.
        self.assertEqual({img.pixel(x, y_line) for x in range(Z * (X + 2), Z * (X + 2 + 3) + 1)}, {cyan})
        # Nothing beyond the short cross's end on the ZY plane.
        self.assertNotEqual(img.pixel(Z * (X + 2 + 3) + 2, y_line), cyan)

    def test_projections_show_the_maximum_along_each_normal(self):
        v, w = self.start(["-m", "-1", "-z", "2", "-c", "0", "-mip"])
        img = v.capture(w)
        layout = kit.Layout(SHAPE, 2, three=True)
        nx, ny, nz = SHAPE
        for x in range(nx):
            for y in range(ny):
                self.assertEqual(img.pixel(*layout.plane("XY", x, y)),
                                 kit.gray(max(value(x, y, z) for z in range(nz))), (x, y))
            for z in range(nz):
                self.assertEqual(img.pixel(*layout.plane("XZ", x, z)),
                                 kit.gray(max(value(x, y, z) for y in range(ny))), (x, z))
        for z in range(nz):
            for y in range(ny):
                self.assertEqual(img.pixel(*layout.plane("ZY", z, y)),
                                 kit.gray(max(value(x, y, z) for x in range(nx))), (z, y))

    def test_thick_slices_blend_between_slice_centres_on_the_xz_plane(self):
        # Voxels three times as deep as wide: each z voxel spans three display
        # rows, and rows between voxel corners blend the two nearest slices.
        zvalue = lambda x, y, z: [0.0, 90.0, 180.0, 255.0][z]
        v, w = self.start(["-m", "-1", "-z", "2", "-c", "0", "-cross", "2", "3", "1"],
                          fn=zvalue, resolution=(1.0, 1.0, 3.0))
        img = v.capture(w)
        X, Y, D = 8, 6, 12  # PixelDim: z takes 3 display pixels per voxel
        for row in range(D):
            py = (D - 1 - row)          # data row after the vertical flip
            pos = py / 3.0
            lo = int(math.floor(pos)) % 4
            hi = int(math.ceil(pos)) % 4
            if lo == hi:
                expected = zvalue(0, 0, lo)
            else:
                def dist(i):
                    d = abs(pos - i)
                    return abs(4 - d) if d > 2 else d
                w_lo, w_hi = lanczos2(dist(int(math.floor(pos)))), lanczos2(dist(int(math.ceil(pos))))
                expected = (w_lo * zvalue(0, 0, lo) + w_hi * zvalue(0, 0, hi)) / (w_lo + w_hi)
            x_px, y_px = 2 * (1 + 3), kit.TOP + 2 * (Y + 2) + 2 * row
            got = img.pixel(x_px, y_px) & 0xFF
            self.assertAlmostEqual(got, expected, delta=1.0, msg="row %d" % row)


if __name__ == "__main__":
    e2e.main()
