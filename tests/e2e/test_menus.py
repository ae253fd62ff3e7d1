"""Menu strips of both windows as a user meets them: an item under the
pointer is drawn in a red box and explains itself on the information line,
the gaps between rows hit nothing, and a click acts (the zoom item zooms out,
the graph's type item switches the graph to the histogram)."""

import zore2e as e2e
import graph_kit as gk
import picture_kit as kit

ZOOM = 4
SHAPE = (64, 64, 2)
# The mosaic of two 64-voxel slices side by side at zoom 4.
R = ZOOM * (64 * 2 + 2 + 1)
RY = ZOOM * (64 + 1 + 1)
ISTEP = R // 25
INK = 0x000000


class Menus(e2e.ViewerTestCase):
    def start(self):
        v = self.start_viewer(SHAPE + (5,), ["-z", str(ZOOM)])
        w = v.window(r"zorview \(zoom = %d\).*" % ZOOM)
        v.wait_event("Expose")
        return v, w

    def test_item_under_the_pointer_turns_red_and_explains_itself(self):
        v, w = self.start()
        x = ISTEP * 12
        mark = v.move(w, x + 4, 7)
        v.wait_event("MotionNotify", after=mark, window="image")
        img = v.capture(w)
        kit.text_at(self, img, v.server, " z ", x, 13, INK, 0xFF0000)
        kit.text_at(self, img, v.server, "Keyboard: z/Z", 0, RY + 30 + 13, INK)
        kit.text_at(self, img, v.server, "decrease (z) or increase (Z) zoom", 0, RY + 30 + 28, INK)
        kit.text_at(self, img, v.server, "L button     or R button", 0, RY + 30 + 43, INK)
        # The quit item beside it is in its white box.
        kit.text_at(self, img, v.server, " q ", ISTEP * 18, 13, INK, 0xFFFFFF)
        # On the gap between the rows nothing is hovered.
        mark = v.move(w, x + 4, 15)
        v.wait_event("MotionNotify", after=mark, window="image")
        img = v.capture(w)
        kit.text_at(self, img, v.server, " z ", x, 13, INK, 0xFFFFFF)

    def test_a_click_on_the_zoom_item_zooms_out(self):
        v, w = self.start()
        mark = v.click(w, ISTEP * 12 + 4, 7)
        v.wait_event("ButtonRelease", after=mark, window="image")
        v.window(r"zorview \(zoom = %d\).*" % (ZOOM - 1))

    def test_the_graph_type_item_switches_to_the_histogram(self):
        v, w = self.start()
        g = gk.open_graph(v, w)
        mark = v.move(g, 20, 7)
        v.wait_event("MotionNotify", after=mark, window="graph")
        img = v.capture(g)
        S = gk.GRAPH_SIZE
        kit.text_at(self, img, v.server, "graph: time", 0, 13, INK, 0xFF0000)
        kit.text_at(self, img, v.server, "Switch graph types:", 0, S[1] + 15 + 13, INK, 0xFFFFFF)
        kit.text_at(self, img, v.server, "time or space", 0, S[1] + 15 + 28, INK, 0xFFFFFF)
        mark = v.click(g, 20, 7)
        v.wait_event("ButtonRelease", after=mark, window="graph")
        gk.visible_window(v, r"histogram  ----  output to file \.hist \(0\)")


if __name__ == "__main__":
    e2e.main()
