"""zorrender writes the image window's picture without an X server: its PNG
equals, pixel for pixel, the image region and colorbar that the viewer
shows for the same files and settings (the colorbar's label text, which
the renderer leaves out, excepted); the PNG reads back with the expected
size; bad input ends with a message and status 1 and leaves no file."""

import os
import subprocess
import time

import numpy as np
from PIL import Image

import zore2e as e2e
import picture_kit as kit

SHAPE = (24, 20, 4)
LOW, HIGH = 2.0, 10.0


def value(x, y, z):
    return 255 if (x, y, z) == (23, 19, 3) else (x * 7 + y * 3 + z * 11) % 255


def map_value(x, y, z):
    if 6 <= x < 14 and 4 <= y < 12:
        return float((x - 6) * 2 - 6 + (z % 2))
    return 0.0


def render_path():
    return os.path.join(e2e.binary_dir(), "zorrender")


def colorbar_width(width):
    """The image region's width and the colorbar's, from the picture's."""
    for region in range(width, 0, -1):
        if region + min(max(region // 8, 50), 100) == width:
            return region, width - region
    raise ValueError("no layout gives a picture %d wide" % width)


def window_pixels(img, width, height):
    """The window's pixels right of x 0 and below the top menu, as an array."""
    rows = np.frombuffer(img._pixels, dtype="<u4" if img._endian == "little" else ">u4")
    rows = rows.reshape(img.height, img.bytes_per_line // 4)
    return (rows[kit.TOP:kit.TOP + height, :width] & 0xFFFFFF).astype(np.uint32)


def png_pixels(path):
    with Image.open(path) as im:
        rgb = np.asarray(im.convert("RGB"), dtype=np.uint32)
    return (rgb[:, :, 0] << 16) | (rgb[:, :, 1] << 8) | rgb[:, :, 2]


def render(folder, argv, name="figure.png"):
    out = os.path.join(folder, name)
    env = dict(os.environ)
    env.pop("DISPLAY", None)  # no X server is needed
    r = subprocess.run([render_path()] + list(argv) + ["--out", out], cwd=folder, env=env,
                       stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60)
    return r, out


class Figure(e2e.ViewerTestCase):
    def files(self, with_map=True):
        volume = e2e.write_nifti(os.path.join(self.work, "run.nii"), SHAPE,
                                 values=kit.volume(SHAPE, value))
        files = [volume]
        if with_map:
            files += ["-a", e2e.write_nifti(os.path.join(self.work, "map.nii"), SHAPE,
                                            values=kit.volume(SHAPE, map_value))]
        return files

    def assert_same_picture(self, window_img, png, what):
        picture = png_pixels(png)
        height, width = picture.shape
        region, bar = colorbar_width(width)
        window = window_pixels(window_img, width, height)
        # The colorbar's numbers start at 0.3 of its width.
        compared = region + int(bar * 0.3)
        diff = np.argwhere(window[:, :compared] != picture[:, :compared])
        self.assertEqual(len(diff), 0, "%s: %d pixels differ, first (x, y) %s: window %06x, png %06x"
                         % (what, len(diff), tuple(diff[0][::-1]) if len(diff) else None,
                            window[tuple(diff[0])] if len(diff) else 0,
                            picture[tuple(diff[0])] if len(diff) else 0))
        # Something to compare: gray levels and, with a map, colours.
        self.assertGreater(len(np.unique(picture[:, :region])), 20, what)

    def compare_with_viewer(self, viewer_options, render_options, with_map=True, keys=()):
        files = self.files(with_map)
        zoom = viewer_options[viewer_options.index("-z") + 1]
        v = self.run_viewer([e2e.program_path()] + files + list(viewer_options))
        w = v.window(r"zorview \(zoom = %s\).*" % zoom)
        v.wait_event("Expose")
        for key in keys:
            v.wait_event("KeyPress", after=v.key(w, key, x=1, y=1))
        r, png = render(self.work, files + list(render_options))
        self.assertEqual(r.returncode, 0, r.stdout.decode() + r.stderr.decode())
        # A key's redraw may still be on its way to the server when the key
        # is reported handled (slow builds show it): the window is read
        # again until it shows the picture, for at most ten seconds.
        deadline = time.monotonic() + 10.0
        while True:
            img = v.capture(w)
            try:
                self.assert_same_picture(img, png, " ".join(render_options))
                break
            except AssertionError:
                if time.monotonic() > deadline:
                    raise
                time.sleep(0.2)
        v.close()

    def test_mosaic_zoom_1_with_a_map(self):
        self.compare_with_viewer(["-z", "1"], ["--zoom", "1"])

    def test_mosaic_zoom_2_interpolated_without_a_map(self):
        self.compare_with_viewer(["-z", "2"], ["--zoom", "2", "--interpolate"], with_map=False,
                                 keys=["ctrl+i"])

    def test_three_planes_zoom_3_with_a_map(self):
        self.compare_with_viewer(["-z", "3", "-m", "-1"], ["--zoom", "3", "--planes"])

    def test_three_planes_zoom_4_interpolated_yz_third(self):
        self.compare_with_viewer(["-z", "4", "-m", "-1", "-Y"],
                                 ["--zoom", "4", "--planes", "-Y", "--interpolate"],
                                 with_map=False, keys=["ctrl+i"])

    def test_reduced_slice_set_zoom_2_interpolated_map(self):
        # Two of four slices: the viewer shows the centred run 1, 2.
        self.compare_with_viewer(["-z", "2", "-m", "2", "-x", "2"],
                                 ["--zoom", "2", "--slices", "1,2", "-x", "2", "--interpolate"],
                                 keys=["ctrl+i"])

    def test_region_wire_and_thresholds_as_the_window_draws_them(self):
        # The viewer shows a region or a wire once the user picks it; the
        # picture harness opens the same window with them already shown.
        region = os.path.join(self.work, "r.ovl")
        with open(region, "w") as f:
            f.write("".join("%d %d 1\n" % (x, y) for x in range(3, 9) for y in range(2, 6)))
        wire = os.path.join(self.work, "frame.wire")
        with open(wire, "w") as f:
            f.write("2 2 1 3\n4 8 1 1\n10 8 1 1\n12 2 1 0\n3 12 2 1\n9 17 2 1\n15 12 2 1\n20 3 2 1\n")
        for zoom in (1, 3, 4):
            argv = kit.harness_argv(self.work, SHAPE, kit.volume(SHAPE, value),
                                    ["-z", zoom, "-o", region, "-w", wire, "-lo", LOW, "-hi", HIGH],
                                    map_values=kit.volume(SHAPE, map_value))
            v = self.run_viewer(argv)
            w = v.window(r"zorview \(zoom = %d\).*" % zoom)
            v.wait_event("Expose")
            img = v.capture(w)
            v.close()
            r, png = render(self.work, self.files() + ["--zoom", str(zoom), "--region", region,
                                                       "--wire", wire, "--map-threshold",
                                                       "%g,%g" % (LOW, HIGH)])
            self.assertEqual(r.returncode, 0, r.stdout.decode() + r.stderr.decode())
            picture = png_pixels(png)
            self.assertGreater(int((picture == kit.rgb(0, 255, 0)).sum()), 20)
            self.assert_same_picture(img, png, "region and wire, zoom %d" % zoom)


if __name__ == "__main__":
    e2e.main()
