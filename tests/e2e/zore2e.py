"""End-to-end kit for the viewer: a private X server, the real program on
generated volumes, input through xdotool, window captures through xwd, and
the program's event trace to know when an event has been handled.

Use (every e2e test file is a unittest module run by /usr/bin/python3):

    import zore2e as e2e

    class Windows(e2e.ViewerTestCase):          # one Xvfb per module
        def test_title(self):
            v = self.start_viewer((64, 64, 20), ["-m", "4"])   # writes a volume
            w = v.window(r"zorview \\(zoom = 4\\)")               # polls by title
            self.assertEqual(v.size(w), (589, 599))
            mark = v.key(w, "q")                  # pointer into w, then keys
            v.wait_prompt(after=mark)             # the modal prompt is up
            v.key(w, "n")
            v.wait_event("KeyPress", after=mark)  # q handled (after its XSync)
            img = v.capture(w)                    # pixels without the border
            self.assertEqual(img.pixel(5, 5), 0x005F5F)

The program runs with ZOR_EVENT_TRACE set, which makes it append one line
per handled event, per repaint and per modal prompt (see
include/zor_event_trace.h); `mark = v.trace_mark()` before an action and
`v.wait_event(type, after=mark)` after it replace sleeping. All waits poll
every few milliseconds and fail with the trace tail after `timeout` seconds.

Environment: ZOR_PROGRAM (the viewer), ZOR_BINARY_DIR (for the helper tools
under tests/), set by CTest. The screen is always 2560x1600x24: the layout
depends on it.
"""

import os
import re
import shutil
import signal
import struct
import subprocess
import tempfile
import time
import unittest

SCREEN_WIDTH = 2560
SCREEN_HEIGHT = 1600
POLL_SECONDS = 0.003


def binary_dir():
    return os.environ.get("ZOR_BINARY_DIR", os.path.join(os.path.dirname(__file__), "..", "..", "build"))


def program_path():
    return os.environ.get("ZOR_PROGRAM", os.path.join(binary_dir(), "zorview"))


def tool_path(name):
    return os.path.join(binary_dir(), "tests", name)


def wait_until(predicate, timeout, what):
    """Polls `predicate` until it returns something true; returns that."""
    end = time.monotonic() + timeout
    while True:
        value = predicate()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError("timed out waiting for " + what)
        time.sleep(POLL_SECONDS)


class XServer:
    """Xvfb on a free display number, ready when the constructor returns."""

    def __init__(self, width=SCREEN_WIDTH, height=SCREEN_HEIGHT):
        read_end, write_end = os.pipe()
        self.proc = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", "%dx%dx24" % (width, height),
             "-nolisten", "tcp", "-noreset"],
            pass_fds=(write_end,), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(write_end)
        number = b""
        while not number.endswith(b"\n"):
            c = os.read(read_end, 1)
            if not c:
                break
            number += c
        os.close(read_end)
        if not number.strip():
            raise RuntimeError("Xvfb did not start")
        self.display = ":" + number.decode().strip()

    def env(self):
        env = dict(os.environ)
        env["DISPLAY"] = self.display
        return env

    def run(self, argv, check=True):
        """Runs an X client (xdotool, xwd, ...) on this server; returns stdout."""
        r = subprocess.run(argv, env=self.env(), stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        if check and r.returncode != 0:
            raise RuntimeError("%s failed: %s" % (" ".join(argv), r.stderr.decode(errors="replace")))
        return r.stdout.decode(errors="replace")

    def stop(self):
        if self.proc.poll() is None:
            self.proc.terminate()
            self.proc.wait()


class Capture:
    """The pixels of one window, read from an xwd file."""

    def __init__(self, path):
        with open(path, "rb") as f:
            data = f.read()
        h = struct.unpack(">25I", data[:100])
        header_size, self.width, self.height = h[0], h[4], h[5]
        byte_order, bits_per_pixel, self.bytes_per_line, ncolors = h[7], h[11], h[12], h[19]
        if bits_per_pixel != 32:
            raise ValueError("expected 32 bits per pixel, got %d" % bits_per_pixel)
        self._endian = "little" if byte_order == 0 else "big"
        start = header_size + 12 * ncolors
        self._pixels = data[start:start + self.bytes_per_line * self.height]

    def pixel(self, x, y):
        """0xRRGGBB at window pixel (x, y)."""
        if not (0 <= x < self.width and 0 <= y < self.height):
            raise IndexError("pixel (%d, %d) outside %dx%d" % (x, y, self.width, self.height))
        offset = y * self.bytes_per_line + 4 * x
        return int.from_bytes(self._pixels[offset:offset + 4], self._endian) & 0xFFFFFF

    def count(self, rgb, box=None):
        """How many pixels of the box (x0, y0, x1, y1 exclusive) have this colour."""
        x0, y0, x1, y1 = box or (0, 0, self.width, self.height)
        return sum(1 for y in range(y0, y1) for x in range(x0, x1) if self.pixel(x, y) == rgb)


_EVENT_LINE = re.compile(
    r"^event (\d+) (\w+) window=(\w+) detail=(-?\d+) regions=0x([0-9a-f]+) graph=0x([0-9a-f]+) ms=([0-9.]+)$")
_UPDATE_LINE = re.compile(r"^update regions=0x([0-9a-f]+) graph=0x([0-9a-f]+) ms=([0-9.]+)$")


def parse_trace_line(line):
    m = _EVENT_LINE.match(line)
    if m:
        return {"kind": "event", "number": int(m.group(1)), "type": m.group(2), "window": m.group(3),
                "detail": int(m.group(4)), "regions": int(m.group(5), 16), "graph": int(m.group(6), 16),
                "ms": float(m.group(7))}
    m = _UPDATE_LINE.match(line)
    if m:
        return {"kind": "update", "regions": int(m.group(1), 16), "graph": int(m.group(2), 16),
                "ms": float(m.group(3))}
    if line.startswith("prompt "):
        return {"kind": "prompt", "text": line[len("prompt "):]}
    return {"kind": "unknown", "text": line}


class Viewer:
    """One run of the program on the server, with its trace, output and files."""

    def __init__(self, server, argv, cwd=None, env=None):
        self.server = server
        self.dir = tempfile.mkdtemp(prefix="zore2e-")
        self.cwd = cwd or self.dir
        self.trace_path = os.path.join(self.dir, "event-trace")
        open(self.trace_path, "w").close()
        self._trace = []
        self._trace_offset = 0
        run_env = server.env()
        run_env["ZOR_EVENT_TRACE"] = self.trace_path
        for key, value in (env or {}).items():
            if value is None:
                run_env.pop(key, None)
            else:
                run_env[key] = value
        self._out = open(os.path.join(self.dir, "stdout"), "wb")
        self._err = open(os.path.join(self.dir, "stderr"), "wb")
        self.proc = subprocess.Popen(argv, cwd=self.cwd, env=run_env, stdout=self._out, stderr=self._err)

    # Trace, read incrementally: only complete lines count.
    def trace(self):
        with open(self.trace_path, "rb") as f:
            f.seek(self._trace_offset)
            chunk = f.read()
        end = chunk.rfind(b"\n") + 1
        for line in chunk[:end].decode(errors="replace").splitlines():
            self._trace.append(parse_trace_line(line))
        self._trace_offset += end
        return self._trace

    def trace_mark(self):
        """Number of trace lines so far; pass it as `after` to the waits."""
        return len(self.trace())

    def _tail(self):
        return "\n".join(str(e) for e in self.trace()[-8:])

    def wait_trace(self, predicate, after=0, timeout=5.0, what="a trace line"):
        def find():
            if self.proc.poll() is not None and not any(predicate(e) for e in self.trace()[after:]):
                raise AssertionError("program ended (status %s) while waiting for %s\n%s"
                                     % (self.proc.returncode, what, self.stdout()))
            lines = self.trace()
            for i in range(after, len(lines)):
                if predicate(lines[i]):
                    return lines[i]
            return None
        try:
            return wait_until(find, timeout, what)
        except AssertionError as error:
            raise AssertionError("%s\ntrace tail:\n%s" % (error, self._tail())) from None

    def wait_event(self, event_type, after=0, timeout=5.0, window=None):
        """The first handled event of this type after the mark."""
        return self.wait_trace(
            lambda e: e["kind"] == "event" and e["type"] == event_type and (window is None or e["window"] == window),
            after, timeout, "a handled %s" % event_type)

    def wait_events(self, event_type, count, after=0, timeout=5.0):
        """Waits until `count` events of this type were handled after the mark; returns them."""
        def enough():
            found = self.events(event_type, after)
            if len(found) >= count:
                return found
            if self.proc.poll() is not None:
                raise AssertionError("program ended (status %s) while waiting for %d %s events"
                                     % (self.proc.returncode, count, event_type))
            return None
        try:
            return wait_until(enough, timeout, "%d handled %s events" % (count, event_type))
        except AssertionError as error:
            raise AssertionError("%s\ntrace tail:\n%s" % (error, self._tail())) from None

    def events(self, event_type=None, after=0):
        return [e for e in self.trace()[after:]
                if e["kind"] == "event" and (event_type is None or e["type"] == event_type)]

    def wait_prompt(self, after=0, timeout=5.0):
        return self.wait_trace(lambda e: e["kind"] == "prompt", after, timeout, "a prompt")

    # Windows.
    def window(self, title_regex, timeout=5.0):
        """Id of the first window whose whole title matches."""
        pattern = "^" + title_regex + "$"

        def search():
            if self.proc.poll() is not None:
                raise AssertionError("program ended (status %s) before window %r appeared\n%s%s"
                                     % (self.proc.returncode, title_regex, self.stdout(), self.stderr()))
            out = self.server.run(["xdotool", "search", "--limit", "1", "--name", pattern], check=False)
            return int(out.split()[0]) if out.split() else None
        return wait_until(search, timeout, "window " + title_regex)

    def title(self, window):
        out = self.server.run(["xprop", "-id", str(window), "WM_NAME"])
        m = re.search(r'= "(.*)"', out)
        return m.group(1) if m else None

    def info(self, window):
        """xwininfo fields: width, height, border, depth, visual_class, map_state, x, y."""
        out = self.server.run(["xwininfo", "-id", str(window)])
        fields = {}
        for key, label in (("width", "Width"), ("height", "Height"), ("border", "Border width"),
                           ("depth", "Depth"), ("x", "Absolute upper-left X"), ("y", "Absolute upper-left Y")):
            m = re.search(r"^\s*%s:\s*(-?\d+)" % re.escape(label), out, re.M)
            fields[key] = int(m.group(1)) if m else None
        m = re.search(r"Visual Class:\s*(\w+)", out)
        fields["visual_class"] = m.group(1) if m else None
        m = re.search(r"Map State:\s*(\w+)", out)
        fields["map_state"] = m.group(1) if m else None
        return fields

    def size(self, window):
        i = self.info(window)
        return (i["width"], i["height"])

    def selected_events(self, window):
        """Names of the events the program selected on the window, from xwininfo -events."""
        out = self.server.run(["xwininfo", "-id", str(window), "-events"])
        block = out.split("Someone wants these events:")[1].split("Do not propagate")[0]
        return block.split()

    def protocols(self, window):
        return self.server.run(["xprop", "-id", str(window), "WM_PROTOCOLS"]).strip()

    def capture(self, window):
        path = os.path.join(self.dir, "capture.xwd")
        self.server.run(["xwd", "-id", str(window), "-nobdrs", "-silent", "-out", path])
        return Capture(path)

    # Input. Without a window manager focus follows the pointer, so every
    # input first moves the pointer into the window. Each returns the trace
    # mark taken before it.
    def key(self, window, *keys, x=10, y=10):
        mark = self.trace_mark()
        self.server.run(["xdotool", "mousemove", "--window", str(window), str(x), str(y),
                         "key", "--delay", "0"] + list(keys))
        return mark

    def click(self, window, x, y, button=1):
        mark = self.trace_mark()
        self.server.run(["xdotool", "mousemove", "--window", str(window), str(x), str(y),
                         "click", "--delay", "0", str(button)])
        return mark

    def drag(self, window, start, points, button=1):
        mark = self.trace_mark()
        argv = ["xdotool", "mousemove", "--window", str(window), str(start[0]), str(start[1]),
                "mousedown", str(button)]
        for px, py in points:
            argv += ["mousemove", "--window", str(window), str(px), str(py)]
        argv += ["mouseup", str(button)]
        self.server.run(argv)
        return mark

    def wheel(self, window, x, y, up=True, clicks=1):
        mark = self.trace_mark()
        self.server.run(["xdotool", "mousemove", "--window", str(window), str(x), str(y),
                         "click", "--delay", "0", "--repeat", str(clicks), "4" if up else "5"])
        return mark

    def move(self, window, x, y):
        mark = self.trace_mark()
        self.server.run(["xdotool", "mousemove", "--window", str(window), str(x), str(y)])
        return mark

    def send_expose(self, window, count=1):
        mark = self.trace_mark()
        self.server.run([tool_path("zor_send_event"), "expose", str(window), str(count)])
        return mark

    def send_delete(self, window):
        mark = self.trace_mark()
        self.server.run([tool_path("zor_send_event"), "delete", str(window)])
        return mark

    # Process.
    def running(self):
        return self.proc.poll() is None

    def wait_exit(self, timeout=5.0):
        try:
            return self.proc.wait(timeout)
        except subprocess.TimeoutExpired:
            raise AssertionError("program still running after %.1f s" % timeout) from None

    def cpu_seconds(self):
        """User plus system time the program has used so far."""
        with open("/proc/%d/stat" % self.proc.pid) as f:
            fields = f.read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def stdout(self):
        self._out.flush()
        with open(os.path.join(self.dir, "stdout"), "rb") as f:
            return f.read().decode(errors="replace")

    def stderr(self):
        self._err.flush()
        with open(os.path.join(self.dir, "stderr"), "rb") as f:
            return f.read().decode(errors="replace")

    def close(self):
        if self.proc.poll() is None:
            self.proc.send_signal(signal.SIGKILL)
            self.proc.wait()
        self._out.close()
        self._err.close()
        shutil.rmtree(self.dir, ignore_errors=True)


def write_nifti(path, shape, resolution=(1.0, 1.0, 1.0), values=None):
    """A NIfTI-1 single file of float32 voxels, x fastest. `values` is a flat
    sequence or a function (x, y, z, t) -> float; default x + y + z."""
    dims = list(shape) + [1] * (4 - len(shape))
    nx, ny, nz, nt = dims
    header = bytearray(348)
    struct.pack_into("<i", header, 0, 348)
    struct.pack_into("<8h", header, 40, 4 if nt > 1 else 3, nx, ny, nz, nt, 1, 1, 1)
    struct.pack_into("<hh", header, 70, 16, 32)  # float32
    struct.pack_into("<8f", header, 76, 1.0, resolution[0], resolution[1], resolution[2], 1.0, 0, 0, 0)
    struct.pack_into("<f", header, 108, 352.0)
    struct.pack_into("<f", header, 112, 1.0)
    struct.pack_into("<B", header, 123, 2 + 8)  # millimetres, seconds
    header[344:348] = b"n+1\0"
    count = nx * ny * nz * nt
    if values is None:
        values = lambda x, y, z, t: float(x + y + z)
    if callable(values):
        flat = [values(x, y, z, t) for t in range(nt) for z in range(nz) for y in range(ny) for x in range(nx)]
    else:
        flat = list(values)
    if len(flat) != count:
        raise ValueError("expected %d values" % count)
    with open(path, "wb") as f:
        f.write(header)
        f.write(b"\0\0\0\0")
        f.write(struct.pack("<%df" % count, *flat))
    return path


class ViewerTestCase(unittest.TestCase):
    """One X server for all tests of a module; viewers are closed after each test."""

    server = None

    @classmethod
    def setUpClass(cls):
        if ViewerTestCase.server is None:
            ViewerTestCase.server = XServer()

    def setUp(self):
        self._viewers = []
        self.work = tempfile.mkdtemp(prefix="zore2e-work-")

    def tearDown(self):
        for v in self._viewers:
            v.close()
        shutil.rmtree(self.work, ignore_errors=True)

    def run_viewer(self, argv, cwd=None, env=None):
        v = Viewer(ViewerTestCase.server, argv, cwd=cwd or self.work, env=env)
        self._viewers.append(v)
        return v

    def start_viewer(self, shape, options=(), resolution=(1.0, 1.0, 1.0), values=None, env=None):
        """The program on a generated volume of this shape, with these options
        (env values of None remove a variable)."""
        return self.run_viewer(viewer_argv(self.work, shape, options, resolution, values), env=env)


def viewer_argv(folder, shape, options=(), resolution=(1.0, 1.0, 1.0), values=None):
    """Command line of the program on a volume written into `folder`."""
    volume = write_nifti(os.path.join(folder, "volume.nii"), shape, resolution, values)
    return [program_path(), volume] + list(options)


def main():
    try:
        unittest.main(verbosity=2)
    finally:
        if ViewerTestCase.server is not None:
            ViewerTestCase.server.stop()
