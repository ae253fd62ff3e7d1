"""Repaint cost of the image window on a 128x128x40 volume, read from the
event trace: Update_Regions for a full rebuild of the window (the mode key
twice, each ending in a rebuild and a repaint of every region) and for a
pointer motion over the image. Prints the median and the maximum in
milliseconds.

    ZOR_BINARY_DIR=build /usr/bin/python3 bench/bench_update_regions.py [rounds]
"""

import os
import statistics
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))
import zore2e as e2e  # noqa: E402

FULL = 0x1FB


def main():
    rounds = int(sys.argv[1]) if len(sys.argv) > 1 else 20
    server = e2e.XServer()
    work = os.path.join(os.environ.get("TMPDIR", "/tmp"), "zor-bench-%d" % os.getpid())
    os.makedirs(work, exist_ok=True)
    viewer = e2e.Viewer(server, e2e.viewer_argv(work, (128, 128, 40)), cwd=work)
    try:
        w = viewer.window(r"zorview \(zoom = [0-9]+\)")
        viewer.wait_event("Expose")
        full, rebuild_events, motion, motion_events = [], [], [], []
        for _ in range(rounds):
            for _ in range(2):
                mark = viewer.key(w, "3")
                rebuild_events.append(viewer.wait_event("KeyPress", after=mark)["ms"])
                full += [e["ms"] for e in viewer.trace()[mark:] if e["kind"] == "update" and e["regions"] == FULL]
                w = viewer.window(r"zorview \(zoom = [0-9]+\)")
        for i in range(rounds * 5):
            mark = viewer.move(w, 200 + (i % 50) * 7, 200 + (i % 7) * 11)
            event = viewer.wait_event("MotionNotify", after=mark)
            lines = viewer.trace()
            index = lines.index(event)
            updates = [e for e in lines[mark:index] if e["kind"] == "update"]
            if updates:
                motion.append(updates[-1]["ms"])
            motion_events.append(event["ms"])
        report("Update_Regions, full rebuild (0x1FB)", full)
        report("whole mode-key event (rebuild, XSync)", rebuild_events)
        report("Update_Regions, pointer motion", motion)
        report("whole motion event with XSync", motion_events)
    finally:
        viewer.close()
        server.stop()


def report(name, values):
    if not values:
        print("%-40s no samples" % name)
        return
    print("%-40s n=%4d  median %.3f ms  max %.3f ms" % (name, len(values), statistics.median(values), max(values)))


if __name__ == "__main__":
    main()
