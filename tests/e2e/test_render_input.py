"""zorrender's file and its failures: the PNG reads back with the size of
the image region and colorbar; missing files, an output it cannot write and
options out of range end with a clear message and status 1, leaving no file
behind (an earlier figure under the same name stays as it was)."""

import os
import subprocess
import tempfile
import unittest

from PIL import Image

import zore2e as e2e
import picture_kit as kit

SHAPE = (16, 12, 6)


def value(x, y, z):
    return float((x * 5 + y * 9 + z * 13) % 200)


def render(folder, argv):
    env = dict(os.environ)
    env.pop("DISPLAY", None)
    r = subprocess.run([os.path.join(e2e.binary_dir(), "zorrender")] + list(argv), cwd=folder,
                       env=env, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60)
    return r.returncode, r.stdout.decode(errors="replace")


class RenderInput(unittest.TestCase):
    def setUp(self):
        self.tmp = tempfile.TemporaryDirectory(prefix="zor-render-")
        self.work = self.tmp.name
        self.volume = e2e.write_nifti(os.path.join(self.work, "run.nii"), SHAPE,
                                      values=kit.volume(SHAPE, value))
        self.out = os.path.join(self.work, "figure.png")

    def tearDown(self):
        self.tmp.cleanup()

    def leftovers(self, folder=None):
        folder = folder or self.work
        return sorted(n for n in os.listdir(folder) if n not in ("run.nii", "map.nii"))

    def assert_fails(self, argv, message, folder=None):
        status, out = render(self.work, argv)
        self.assertEqual(status, 1, out)
        self.assertIn(message, out)
        self.assertEqual(self.leftovers(folder), [])
        return out

    # The file.
    def test_png_has_the_size_of_region_and_colorbar(self):
        for zoom, options in ((1, []), (2, []), (3, ["--planes"]), (4, ["-x", "3"])):
            status, out = render(self.work, [self.volume, "--zoom", str(zoom), "--out", self.out]
                                 + options)
            self.assertEqual(status, 0, out)
            with Image.open(self.out) as im:
                self.assertEqual(im.format, "PNG")
                self.assertEqual(im.mode, "RGB")
                if "--planes" in options:
                    region = (zoom * (16 + 3 + 6), zoom * (12 + 3 + 6))
                else:
                    across = 3 if "-x" in options else 3  # six slices: 3 by 2
                    region = (zoom * (16 * across + across + 1), zoom * (12 * 2 + 2 + 1))
                bar = min(max(region[0] // 8, 50), 100)
                self.assertEqual(im.size, (region[0] + bar, region[1]), (zoom, options))
                # Voxel (0, 0) at the lower left of the first panel: slice 0
                # of the mosaic, the cross's slice 3 on the planes; gray
                # levels over the data's range 0 .. 199.
                x, y = zoom, zoom + zoom * 11
                z = 3 if "--planes" in options else 0
                level = im.getpixel((x, y))[0]
                self.assertAlmostEqual(level, value(0, 0, z) * 255.0 / 199.0, delta=1.0)
                self.assertEqual(im.getpixel((x, y)), (level, level, level))

    def test_slices_volume_and_cross_are_taken(self):
        status, out = render(self.work, [self.volume, "--zoom", "2", "--slices", "0,5",
                                         "--cross", "3,4,5", "--out", self.out])
        self.assertEqual(status, 0, out)
        with Image.open(self.out) as im:
            # Two panels side by side.
            self.assertEqual(im.size[1], 2 * (12 + 2))
            # Slice 5's voxel (1, 0): gray of 1*5 + 5*13 = 70 under the 0..199 window.
            left = 2 * (16 + 2)
            level = im.getpixel((left + 2, 2 + 2 * 11))[0]
            self.assertEqual(im.getpixel((2, 2 + 2 * 11)), (0, 0, 0))
            self.assertTrue(80 <= level <= 95, level)
            # The short cross shows in slice 5's panel only.
            cyan = [(x, y) for y in range(im.size[1]) for x in range(2 * left)
                    if im.getpixel((x, y)) == (0, 255, 255)]
            self.assertGreater(len(cyan), 5)
            self.assertTrue(all(left <= x < 2 * left for x, y in cyan), cyan)

    def test_volume_picks_the_time_point(self):
        run = e2e.write_nifti(os.path.join(self.work, "run.nii"), SHAPE + (3,),
                              values=lambda x, y, z, t: float((x, 15 - x, (x % 4) * 5)[t]))
        levels = []
        for t in range(3):
            status, out = render(self.work, [run, "--zoom", "1", "--volume", str(t), "--out", self.out])
            self.assertEqual(status, 0, out)
            with Image.open(self.out) as im:
                levels.append(im.getpixel((2, 1 + 11))[0])
        # Voxel (1, 0, 0) holds 1 of 0..15, 14 of 0..15 and 5 of 0..15.
        self.assertEqual(len(levels), 3)
        for level, v in zip(levels, (1, 14, 5)):
            self.assertAlmostEqual(level, v * 255.0 / 15.0, delta=1.0)
        status, out = render(self.work, [run, "--volume", "3", "--out", self.out])
        self.assertEqual(status, 1)
        self.assertIn("Error: --volume 3: the images have 3 time points (0 to 2)", out)

    def test_a_failed_run_keeps_an_earlier_figure(self):
        with open(self.out, "wb") as f:
            f.write(b"earlier figure")
        status, out = render(self.work, [self.volume, "--wire", "absent.wire", "--out", self.out])
        self.assertEqual(status, 1, out)
        with open(self.out, "rb") as f:
            self.assertEqual(f.read(), b"earlier figure")
        self.assertEqual(self.leftovers(), ["figure.png"])

    # Failures.
    def test_missing_image_file(self):
        out = self.assert_fails([os.path.join(self.work, "absent.nii"), "--out", self.out], "absent.nii")
        self.assertFalse(os.path.exists(self.out))

    def test_missing_region_and_wire_files(self):
        self.assert_fails([self.volume, "--region", "absent.ovl", "--out", self.out], "absent.ovl")
        self.assert_fails([self.volume, "--wire", "absent.wire", "--out", self.out], "absent.wire")

    def test_output_that_cannot_be_written(self):
        self.assert_fails([self.volume, "--out", os.path.join(self.work, "no", "such", "f.png")],
                          "Error: cannot write the file")

    def test_output_that_cannot_be_renamed_leaves_nothing(self):
        # A directory in place of the file: the picture is written beside it
        # in full, then the rename over the directory fails.
        os.mkdir(self.out)
        status, out = render(self.work, [self.volume, "--out", self.out])
        self.assertEqual(status, 1, out)
        self.assertIn("Error: cannot write the file", out)
        self.assertEqual(self.leftovers(), ["figure.png"])
        self.assertTrue(os.path.isdir(self.out))

    def test_options_out_of_range(self):
        cases = [
            (["--zoom", "0"], "Error: --zoom 0: the zoom must be an integer from 1 to 16"),
            (["--zoom", "17"], "Error: --zoom 17: the zoom must be an integer from 1 to 16"),
            (["--zoom", "two"], "Error: --zoom two:"),
            (["--cross", "16,0,0"], "Error: --cross: voxel outside the volume of 16x12x6"),
            (["--cross", "1,2"], "Error: --cross 1,2: expected three voxel indices X,Y,Z"),
            (["--volume", "1"], "Error: --volume 1: the images have 1 time points (0 to 0)"),
            (["--volume", "-1"], "Error: --volume -1: expected a time point"),
            (["--slices", "2,6"], "Error: --slices: slice 6 beyond the 6 slices of the mosaic"),
            (["--slices", "2,2"], "Error: --slices: slice 2 named twice"),
            (["--slices", "a"], "Error: --slices a: expected slice numbers"),
            (["--map-threshold", "5,1"], "Error: --map-threshold 5,1: expected two numbers LOW,HIGH"),
            (["--map-threshold", "1,5"], "Error: --map-threshold needs a map"),
            (["--planes", "--mosaic"], "Error: --mosaic and --planes exclude each other"),
            (["--planes", "--slices", "1"], "Error: --slices needs a mosaic, not --planes"),
            (["--colour", "red"], "Error: unknown option --colour"),
        ]
        for options, message in cases:
            status, out = render(self.work, [self.volume, "--out", self.out] + options)
            self.assertEqual(status, 1, (options, out))
            self.assertIn(message, out, options)
            self.assertEqual(self.leftovers(), [], options)

    def test_no_output_named(self):
        status, out = render(self.work, [self.volume])
        self.assertEqual(status, 1)
        self.assertIn("Error: no output file: give --out figure.png", out)
        status, out = render(self.work, [self.volume, "--out"])
        self.assertEqual(status, 1)
        self.assertIn("Error: option --out needs a value", out)

    def test_help_names_every_option_and_the_text_left_out(self):
        status, out = render(self.work, ["--help"])
        self.assertEqual(status, 0)
        for word in ("--out", "--zoom", "--mosaic", "--planes", "--slices", "--cross", "--volume",
                     "--map-threshold", "--interpolate", "--region", "--wire", "Text"):
            self.assertIn(word, out)


if __name__ == "__main__":
    unittest.main()
