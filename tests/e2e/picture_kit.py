"""Shared pieces of the picture scenarios: volumes with known values, the
picture harness's command line, and where a voxel lands in the window."""

import os
import struct

import zore2e as e2e

TOP = 30  # the top menu strip above the image region


def write_floats(path, values):
    with open(path, "wb") as f:
        f.write(struct.pack("<%df" % len(values), *values))
    return path


def volume(shape, fn):
    nx, ny, nz = shape
    return [float(fn(x, y, z)) for z in range(nz) for y in range(ny) for x in range(nx)]


def harness_argv(folder, shape, values, options=(), map_values=None, vectors=None):
    argv = [e2e.tool_path("zor_picture_harness")] + [str(n) for n in shape]
    argv.append(write_floats(os.path.join(folder, "volume.raw"), values))
    if map_values is not None:
        argv += ["-a", write_floats(os.path.join(folder, "map.raw"), map_values)]
    if vectors is not None:
        flat = [c for v in vectors for c in v]
        argv += ["-vf", write_floats(os.path.join(folder, "vectors.raw"), flat)]
    return argv + [str(o) for o in options]


class Layout:
    """Window pixels of voxels for a mosaic of XY panels or three planes,
    with the vertical flip the program shows by default."""

    def __init__(self, shape, zoom, columns=None, flip=True, three=False, third_zy=True):
        self.nx, self.ny, self.nz = shape
        self.zoom = zoom
        self.columns = columns
        self.flip = flip
        self.three = three
        self.third_zy = third_zy

    def _row(self, v, size):
        return (size - 1 - v) if self.flip else v

    def mosaic(self, x, y, k, dx=0, dy=0):
        """Top-left window pixel of voxel (x, y) in mosaic panel k (plus dx, dy)."""
        Z = self.zoom
        c, r = k % self.columns, k // self.columns
        left = Z * (self.nx * c + c + 1)
        top = TOP + Z * (self.ny * r + r + 1)
        return left + Z * x + dx, top + Z * self._row(y, self.ny) + dy

    def plane(self, name, h, v, dx=0, dy=0):
        """Window pixel of in-plane voxel (h, v) on a plane of the 3-plane view."""
        Z = self.zoom
        if name == "XY":
            left, top, rows = Z, Z, self.ny
        elif name == "ZY":
            left, top, rows = Z * (self.nx + 2), Z, self.ny
        elif name == "XZ":
            left, top, rows = Z, Z * (self.ny + 2), self.nz
        else:  # YZ
            left, top, rows = Z * (self.nx + 2), Z * (self.ny + 2), self.nz
        return left + Z * h + dx, TOP + top + Z * self._row(v, rows) + dy


def gray(level):
    return (level << 16) | (level << 8) | level


def rgb(r, g, b):
    return (r << 16) | (g << 8) | b
