"""Shared pieces of the graph-window scenarios: opening the graph beside the
image window, where a data point lands in it, and the gray levels of the
image window in the program's single precision."""

import numpy as np

import zore2e as e2e

f32 = np.float32

# The graph's data area on the test screen (2560x1600): half the width and a
# third of the height; the window adds 15 rows above and 45 below.
GRAPH_SIZE = (1280, 533)
GRAPH_TOP = 15
YELLOW = 0xFFFF00
WHITE = 0xFFFFFF
GRAY_BAND = 0x7F7F7F
DATA_BACKGROUND = 0x003F3F
CYAN = 0x00FFFF
# Where the tests put the graph window, clear of the image window.
GRAPH_PLACE = (300, 760)


def visible_window(viewer, title_regex, timeout=5.0):
    """Id of a mapped window whose whole title matches."""
    pattern = "^" + title_regex + "$"

    def search():
        if not viewer.running():
            raise AssertionError("program ended\n" + viewer.stdout() + viewer.stderr())
        out = viewer.server.run(["xdotool", "search", "--onlyvisible", "--name", pattern], check=False)
        ids = [int(w) for w in out.split()]
        return ids[-1] if ids else None
    return e2e.wait_until(search, timeout, "visible window " + title_regex)


def open_graph(viewer, image_window, title=r"time points  ----  output to file \.roi \(0\)"):
    """Presses "g" over the image window; returns the graph window, moved
    below the image window and repainted."""
    mark = viewer.key(image_window, "g", x=1, y=1)
    viewer.wait_event("KeyPress", after=mark)
    g = visible_window(viewer, title)
    place(viewer, g)
    return g


def place(viewer, window):
    mark = viewer.trace_mark()
    viewer.server.run(["xdotool", "windowmove", str(window), str(GRAPH_PLACE[0]), str(GRAPH_PLACE[1])])
    viewer.wait_trace(lambda e: e["kind"] == "event" and e["window"] == "graph" and e["type"] == "ConfigureNotify",
                      after=mark)
    # A repaint after the move, so that the capture sees the whole picture.
    mark = viewer.send_expose(window)
    viewer.wait_event("Expose", after=mark, window="graph")


class Scale:
    """The graph's limits and pixels from its vectors, as the program computes
    them in single precision."""

    def __init__(self, xs, ys, size=GRAPH_SIZE, percent=False):
        xs = [f32(x) for x in xs]
        ys = [f32(y) for y in ys]
        r = xs[-1] - xs[0]
        self.min_x = xs[0] - r / f32(50)
        self.max_x = xs[-1] + r / f32(50)
        lo, hi = min(ys), max(ys)
        if lo == hi:
            lo, hi = lo - f32(10), hi + f32(10)
        elif percent:
            lo, hi = np.trunc(lo - f32(1)), np.trunc(hi + f32(1))
        else:
            span = hi - lo
            lo, hi = lo - span / f32(10), hi + span / f32(10)
        self.min_y, self.max_y = lo, hi
        self.sx = f32(size[0]) / (self.max_x - self.min_x)
        self.sy = f32(size[1]) / (self.max_y - self.min_y)

    def pixel(self, x, y):
        """Window pixel of a data point (the data area starts 15 rows down)."""
        px = int(np.trunc((f32(x) - self.min_x) * self.sx))
        py = int(np.trunc((self.max_y - f32(y)) * self.sy))
        return px, py + GRAPH_TOP


def gray_window(data_min, data_max, low=0.0, high=1.0):
    """Data values at gray 0 and 255 for contrast fractions low, high."""
    mn, mx = f32(data_min), f32(data_max)
    return mn + (mx - mn) * f32(low), mn + (mx - mn) * f32(high)


def gray_level(v, scale_min, scale_max):
    v = f32(v)
    if v < scale_min:
        return 0
    if v > scale_max:
        return 255
    slope = f32(255) / (scale_max - scale_min)
    offset = f32(255) - scale_max * slope
    x = slope * v + offset
    if not x > -1:
        return 0
    return 255 if x >= 256 else int(x)


def gray(level):
    return (level << 16) | (level << 8) | level
