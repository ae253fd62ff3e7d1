"""The program itself, started as a user starts it, shows its data: gray
values and map colours at computed pixels of every mosaic panel, the
colorbar beside them, the cursor read-out, and a region list named on the
command line read before the windows open."""

import os

import zore2e as e2e
import picture_kit as kit

SHAPE = (32, 32, 4)
ZOOM = 4
MAP_VALUES = [-12.0, -10.0, -6.0, -2.0, 1.5, 2.0, 6.0, 8.5, 12.0]


def value(x, y, z):
    return 255 if (x, y, z) == (31, 31, 3) else (x * 7 + y * 3 + z * 11) % 255


def map_value(x, y, z):
    return MAP_VALUES[x] if (y == 5 and z == 2 and x < len(MAP_VALUES)) else 0.0


class ProgramPicture(e2e.ViewerTestCase):
    def start(self, extra=()):
        volume = e2e.write_nifti(os.path.join(self.work, "run.nii"), SHAPE,
                                 values=kit.volume(SHAPE, value))
        amap = e2e.write_nifti(os.path.join(self.work, "map.nii"), SHAPE,
                               values=kit.volume(SHAPE, map_value))
        v = self.run_viewer([e2e.program_path(), volume, "-a", amap, "-z", str(ZOOM)] + list(extra))
        w = v.window(r"zorview \(zoom = 4\).*")
        v.wait_event("Expose")
        return v, w

    def test_gray_values_in_every_panel(self):
        v, w = self.start()
        img = v.capture(w)
        layout = kit.Layout(SHAPE, ZOOM, columns=2)
        wrong = []
        for z in range(SHAPE[2]):
            for (x, y) in [(0, 0), (3, 7), (17, 29), (31, 0), (30, 30), (12, 20)]:
                if map_value(x, y, z) != 0.0:
                    continue
                got = img.pixel(*layout.mosaic(x, y, z, 1, 1))
                if got != kit.gray(value(x, y, z)):
                    wrong.append((x, y, z, hex(got), hex(kit.gray(value(x, y, z)))))
        self.assertEqual(wrong, [])

    def test_map_colours_follow_the_default_thresholds(self):
        # With nothing asked, the linear thresholds span the map's smallest
        # and largest magnitudes: 0 and 12.
        v, w = self.start()
        img = v.capture(w)
        layout = kit.Layout(SHAPE, ZOOM, columns=2)
        for x, m in enumerate(MAP_VALUES):
            expected = kit.map_pixel(m, value(x, 5, 2), 0, 0.0, 12.0)
            self.assertEqual(img.pixel(*layout.mosaic(x, 5, 2, 1, 1)), expected, "map value %g" % m)
        self.assertEqual(img.pixel(*layout.mosaic(8, 5, 2, 1, 1)), kit.rgb(255, 255, 0))

    def test_region_list_is_read_and_the_program_runs_on(self):
        region = os.path.join(self.work, "r.ovl")
        with open(region, "w") as f:
            f.write("1 1 0\n2 1 0\n")
        listing = os.path.join(self.work, "regions.list")
        with open(listing, "w") as f:
            f.write("first %s orange\n" % region)
        v, w = self.start(["-o", listing])
        self.assertTrue(v.running())
        img = v.capture(w)
        layout = kit.Layout(SHAPE, ZOOM, columns=2)
        self.assertEqual(img.pixel(*layout.mosaic(3, 7, 0, 1, 1)), kit.gray(value(3, 7, 0)))

    def test_missing_region_list_ends_before_any_window(self):
        volume = e2e.write_nifti(os.path.join(self.work, "run.nii"), SHAPE, values=kit.volume(SHAPE, value))
        v = self.run_viewer([e2e.program_path(), volume, "-o", "absent.list"])
        self.assertEqual(v.wait_exit(), 1)
        self.assertTrue(v.stdout().endswith("Error: cannot open the file absent.list.\n"), v.stdout())


if __name__ == "__main__":
    e2e.main()
