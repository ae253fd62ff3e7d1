"""What the click benchmarks share: the viewer started on a study with its
graph window open, a series of clicks each timed by the viewer's own event
report, and the figures printed as a median and a 95th percentile."""

import shutil
import statistics

import zore2e as e2e
import graph_kit as gk


def timed_clicks(server, options, zoom, work, pixels):
    """Starts the program with `options` and zoom `zoom` in the folder `work`,
    opens the graph window and clicks each (x, y) of `pixels` in the image
    window. Returns the milliseconds of each handled button release; the
    folder is removed afterwards."""
    viewer = None
    try:
        viewer = e2e.Viewer(server, [e2e.program_path()] + options + ["-z", str(zoom)], cwd=work)
        w = viewer.window(r"zorview \(zoom = %d\).*" % zoom, timeout=120.0)
        viewer.wait_event("Expose", timeout=60.0)
        g = gk.open_graph(viewer, w)
        server.run(["xdotool", "windowmove", str(g), "1250", "1000"])
        times = []
        for x, y in pixels:
            mark = viewer.click(w, x, y)
            event = viewer.wait_event("ButtonRelease", after=mark, timeout=30.0)
            if not event["graph"] & 1:
                raise AssertionError("the click at (%d, %d) did not redraw the graph" % (x, y))
            times.append(event["ms"])
        return times
    finally:
        if viewer:
            viewer.close()
        shutil.rmtree(work, ignore_errors=True)


def report(name, values, width=44):
    if not values:
        print("%-*s no samples" % (width, name))
        return
    values = sorted(values)
    p95 = values[min(len(values) - 1, int(round(0.95 * (len(values) - 1))))]
    print("%-*s n=%4d  median %7.3f ms  95th percentile %7.3f ms"
          % (width, name, len(values), statistics.median(values), p95))
