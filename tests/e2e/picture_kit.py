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


def text_bitmap(server, text):
    """(width, height, ascent, rows) of a string in the default font, drawn
    by a helper on the same server."""
    out = server.run([e2e.tool_path("zor_text_bitmap"), text])
    lines = out.split("\n")
    width, height, ascent = (int(n) for n in lines[0].split())
    return width, height, ascent, lines[1:1 + height]


def text_at(testcase, img, server, text, x, baseline, ink, paper=None):
    """Asserts that `text` is drawn with its baseline origin at window pixel
    (x, baseline): letter pixels in `ink`, the others not (or in `paper`)."""
    width, height, ascent, rows = text_bitmap(server, text)
    mismatches = []
    for j in range(height):
        for i in range(width):
            p = img.pixel(x + i, baseline - ascent + j)
            if rows[j][i] == "1":
                ok = p == ink
            else:
                ok = p != ink if paper is None else p == paper
            if not ok:
                mismatches.append((i, j, hex(p)))
    testcase.assertEqual(mismatches, [], "text %r at (%d, %d)" % (text, x, baseline))


# The colour model of the map, in the program's single precision.
import numpy as _np

_f32 = _np.float32


def color_level(v, low, high, top):
    slope = _f32(top) / (_f32(high) - _f32(low))
    offset = _f32(top) - _f32(high) * slope
    x = _np.trunc(slope * _f32(v) + offset)
    level = int(x) if 0 <= x <= top else top
    if _f32(v) > _f32(high):
        level = top
    if _f32(v) < _f32(low):
        level = 0
    return level


def scheme0(value, low, high):
    level = color_level(abs(value), low, high, 383)
    if not value < 0:
        return rgb(level + 128, 0, 0) if level < 128 else rgb(255, level - 128, 0)
    return rgb(0, 0, level + 128) if level < 128 else rgb(0, level - 128, 383 - level)


def scheme1(value, low, high):
    level = color_level(value, low, high, 511)
    return rgb(level, 0, 255 - level) if level < 256 else rgb(255, level - 256, 0)


def scheme2(value, low, high):
    level = color_level(value, low, high, 1279)
    if level < 256:
        return rgb(255 - level, 0, 255)
    if level < 512:
        return rgb(0, level - 256, 255)
    if level < 768:
        return rgb(0, 255, 767 - level)
    if level < 1024:
        return rgb(level - 768, 255, 0)
    return rgb(255, 1279 - level, 0)


def map_pixel(value, gray_level, scheme, low, high, sign=1):
    """Colour of a pixel with this map value over this gray, opaque map."""
    v = value * (sign if scheme == 0 else 1)
    test = abs(v) if scheme == 0 else (v if scheme > 0 else -v)
    if not test > low:
        return gray(gray_level)
    if scheme in (0, 1, -1):
        return scheme0(v, low, high)
    if scheme in (2, -2):
        return scheme1(v if scheme > 0 else -v, low, high)
    return scheme2(v if scheme > 0 else -v, low, high)


def blend(g, trans):
    return int(_np.trunc(_f32(g) * _f32(trans) + (_f32(1) - _f32(trans)) * _f32(255)))
