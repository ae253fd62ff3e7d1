"""Batch maps, then the viewer, as a user runs them: zormaps on a one-run
study with a strong effect in a few voxels, then zorview on the same
control file in the same folder. The P map is shown at once: the active
voxels are coloured over the gray run and every other voxel stays gray."""

import os
import subprocess

import numpy as np

import zore2e as e2e
import picture_kit as kit

SHAPE = (8, 8, 2)
NT = 40
TR = 2.0
ZOOM = 4
ACTIVE = [(2, 3, 0), (5, 5, 1), (6, 1, 1)]


def series(x, y, z):
    rng = np.random.default_rng(100 * z + 10 * y + x)
    t = np.arange(NT) * TR
    block = ((t % 20) < 10).astype(float)
    base = 400.0 + 3 * x + 2 * y
    return base + (30.0 * block if (x, y, z) in ACTIVE else 0.0) + rng.normal(0.0, 2.0, NT)


def is_gray(pixel):
    r, g, b = (pixel >> 16) & 255, (pixel >> 8) & 255, pixel & 255
    return r == g == b


class BatchMapsInTheViewer(e2e.ViewerTestCase):
    def test_maps_written_by_the_batch_show_at_once(self):
        cube = {(x, y, z): series(x, y, z) for x in range(SHAPE[0]) for y in range(SHAPE[1]) for z in range(SHAPE[2])}
        e2e.write_nifti(os.path.join(self.work, "run1.nii"), SHAPE + (NT,),
                        values=lambda x, y, z, t: float(cube[(x, y, z)][t]))
        with open(os.path.join(self.work, "run1.glm"), "w") as f:
            f.write("%g\n\n1\n" % TR + "".join("%d %d\n" % (on, on + 10) for on in range(0, int(NT * TR), 20)))
        with open(os.path.join(self.work, "study.ctl"), "w") as f:
            f.write("time-model glm\nconditions 1\nruns:\nrun1.nii run1.glm\n")
        done = subprocess.run([os.path.join(e2e.binary_dir(), "zormaps"), "study.ctl"], cwd=self.work,
                              capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stdout)
        for name in ("average.nii", "P-1.nii", "T-1.nii", "S-1.nii"):
            self.assertTrue(os.path.exists(os.path.join(self.work, name)), name)

        v = self.run_viewer([e2e.program_path(), "-g", "study.ctl", "-T", "-S", "-z", str(ZOOM)])
        w = v.window(r"zorview \(zoom = 4\).*")
        v.wait_event("Expose")
        img = v.capture(w)
        layout = kit.Layout(SHAPE, ZOOM, columns=2)
        coloured, gray = [], []
        for z in range(SHAPE[2]):
            for y in range(SHAPE[1]):
                for x in range(SHAPE[0]):
                    p = img.pixel(*layout.mosaic(x, y, z, 1, 1))
                    (gray if is_gray(p) else coloured).append((x, y, z))
        self.assertEqual(sorted(coloured), sorted(ACTIVE))
        self.assertEqual(len(gray), SHAPE[0] * SHAPE[1] * SHAPE[2] - len(ACTIVE))
        self.assertTrue(v.running())


if __name__ == "__main__":
    e2e.main()
