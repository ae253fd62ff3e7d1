"""The image window as a user meets it: title, size, layout options, fixed
fills, window attributes, the quit prompt, repaint on exposure, idleness."""

import time

import zore2e as e2e

BACKGROUND = 0x00BFBF
UNDERSAMPLED = 0x009F00
MENU = 0x005F5F
BORDERLESS_MASK = ["KeyPress", "ButtonPress", "ButtonRelease", "LeaveWindow", "PointerMotion",
                   "Exposure", "StructureNotify"]


class WindowSizes(e2e.ViewerTestCase):
    def check(self, shape, options, zoom, size, resolution=(1.0, 1.0, 1.0)):
        v = self.start_viewer(shape, options, resolution=resolution)
        w = v.window(r"zorview \(zoom = %d\)" % zoom)
        self.assertEqual(v.size(w), size)
        return v, w

    def test_twenty_slices_fill_a_five_by_four_mosaic_at_zoom_four(self):
        # 5 x 64 + 6 = 326 display pixels across, 4 x 64 + 5 = 261 down.
        self.check((64, 64, 20), [], 4, (4 * 326 + 100, 4 * 261 + 75))

    def test_one_slice_is_one_panel(self):
        self.check((64, 64, 1), [], 4, (4 * 66 + 50, 4 * 66 + 75))

    def test_large_stack_gives_way_to_zoom_two(self):
        # 40 slices: 8 by 5 panels; zoom 3 would be 3199 pixels wide.
        self.check((128, 128, 40), [], 2, (2 * 1033 + 100, 2 * 646 + 75))

    def test_anisotropic_voxels_keep_their_proportions_in_the_mosaic(self):
        self.check((32, 32, 10), [], 4, (4 * 166 + 83, 4 * 67 + 75), resolution=(1.0, 1.0, 3.0))

    def test_reduced_slice_set(self):
        self.check((64, 64, 20), ["-m", "4"], 4, (4 * 131 + 65, 4 * 131 + 75))

    def test_too_many_slices_asked_for_shows_them_all(self):
        self.check((64, 64, 20), ["-m", "100"], 4, (4 * 326 + 100, 4 * 261 + 75))

    def test_negative_slice_count_opens_three_planes(self):
        self.check((64, 64, 20), ["-m", "-2"], 4, (4 * 87 + 50, 4 * 87 + 75))

    def test_zero_panels_across_become_one_column(self):
        # 20 rows of 64: zoom 1, 66 display pixels across and 1301 down.
        self.check((64, 64, 20), ["-x", "0"], 1, (66 + 50, 1301 + 75))

    def test_negative_zoom_lets_the_layout_choose(self):
        self.check((64, 64, 20), ["-z", "-5"], 4, (4 * 326 + 100, 4 * 261 + 75))

    def test_panel_count_across(self):
        # Two columns need ten rows: zoom 4 and 3 are too tall for the screen.
        self.check((64, 64, 20), ["-x", "2"], 2, (2 * 131 + 50, 2 * 651 + 75))

    def test_zoom_option(self):
        self.check((64, 64, 20), ["-z", "1"], 1, (326 + 50, 261 + 75))
        self.check((64, 64, 20), ["-z", "0"], 4, (4 * 326 + 100, 4 * 261 + 75))

    def test_three_planes(self):
        # XY, ZY beside it and XZ below: 64 + 3 + 20 display pixels each way.
        self.check((64, 64, 20), ["-3"], 4, (4 * 87 + 50, 4 * 87 + 75))

    def test_key_3_toggles_three_planes_one_zoom_step_up(self):
        v, w = self.check((64, 64, 20), [], 4, (1404, 1119))
        mark = v.key(w, "3")
        v.wait_event("KeyPress", after=mark)
        w3 = v.window(r"zorview \(zoom = 5\)")
        self.assertEqual(v.size(w3), (5 * 87 + 54, 5 * 87 + 75))
        mark = v.key(w3, "3")
        v.wait_event("KeyPress", after=mark)
        w4 = v.window(r"zorview \(zoom = 4\)")
        self.assertEqual(v.size(w4), (1404, 1119))

    def test_key_3_does_nothing_on_a_single_slice(self):
        v, w = self.check((64, 64, 1), [], 4, (314, 339))
        mark = v.key(w, "3")
        event = v.wait_event("KeyPress", after=mark)
        self.assertEqual(event["regions"], 0)
        self.assertEqual(v.title(w), "zorview (zoom = 4)")


class WindowSurface(e2e.ViewerTestCase):
    def test_background_and_menu_fills(self):
        v = self.start_viewer((64, 64, 20))
        w = v.window(r"zorview \(zoom = 4\)")
        v.wait_event("Expose")
        img = v.capture(w)
        self.assertEqual((img.width, img.height), (1404, 1119))
        region_x, region_y = 1304, 1044
        self.assertEqual(img.pixel(2, 31), BACKGROUND)             # gutter of the first panel
        self.assertEqual(img.pixel(region_x - 1, 30 + region_y - 1), BACKGROUND)
        self.assertEqual(img.pixel(0, 0), MENU)                     # top menu
        self.assertEqual(img.pixel(1403, 29), MENU)
        self.assertEqual(img.pixel(300, 30 + region_y), MENU)        # bottom menu beside the info area
        self.assertEqual(img.pixel(1403, 1118), MENU)

    def test_undersampled_display_has_a_green_surround(self):
        v = self.start_viewer((400, 400, 30), ["-z", "1"])
        w = v.window(r"zorview \(zoom = 1\)")
        v.wait_event("Expose")
        img = v.capture(w)
        self.assertEqual(img.pixel(0, 30), UNDERSAMPLED)
        self.assertLess(101 + img.height, 1600)  # fits the screen by undersampling

    def test_window_attributes(self):
        v = self.start_viewer((64, 64, 20))
        w = v.window(r"zorview \(zoom = 4\)")
        info = v.info(w)
        self.assertEqual(info["border"], 100)
        self.assertEqual((info["x"], info["y"]), (1, 1))
        self.assertEqual(info["visual_class"], "TrueColor")
        self.assertEqual(info["depth"], 24)
        self.assertEqual(v.selected_events(w), BORDERLESS_MASK)
        self.assertIn("no such atom", v.protocols(w))   # the image window cannot be closed


class Prompts(e2e.ViewerTestCase):
    def test_quit_answered_no_keeps_running(self):
        v = self.start_viewer((32, 32, 4))
        w = v.window(r"zorview \(zoom = 4\)")
        mark = v.key(w, "q")
        self.assertEqual(v.wait_prompt(after=mark)["text"], "Really quit?")
        v.key(w, "n")
        v.wait_event("KeyPress", after=mark)
        self.assertTrue(v.running())
        mark = v.key(w, "Q")
        v.wait_prompt(after=mark)
        v.key(w, "Escape")
        v.wait_event("KeyPress", after=mark)
        self.assertTrue(v.running())

    def test_quit_answered_yes_exits_with_zero(self):
        v = self.start_viewer((32, 32, 4))
        w = v.window(r"zorview \(zoom = 4\)")
        mark = v.key(w, "q")
        v.wait_prompt(after=mark)
        v.key(w, "y")
        self.assertEqual(v.wait_exit(), 0)

    def test_capital_yes_also_quits(self):
        v = self.start_viewer((32, 32, 4))
        w = v.window(r"zorview \(zoom = 4\)")
        v.wait_prompt(after=v.key(w, "q"))
        v.key(w, "Y")
        self.assertEqual(v.wait_exit(), 0)

    def test_no_display(self):
        v = self.start_viewer((32, 32, 4), env={"DISPLAY": None})
        self.assertEqual(v.wait_exit(), 1)
        self.assertTrue(v.stdout().endswith(
            "Error trying to open the display.\n"
            "If you are using ssh to connect from another system, try 'ssh -X'\n"))


class EventHandling(e2e.ViewerTestCase):
    def test_a_run_of_expose_events_repaints_once(self):
        v = self.start_viewer((32, 32, 4))
        w = v.window(r"zorview \(zoom = 4\)")
        v.wait_event("Expose")
        mark = v.send_expose(w, 2)
        first, second = v.wait_events("Expose", 2, after=mark)[:2]
        self.assertEqual(first["regions"], 0x100)
        self.assertEqual(second["regions"], 0)
        self.assertEqual(second["number"], first["number"] + 1)
        mark = v.send_expose(w, 1)
        third = v.wait_event("Expose", after=mark)
        self.assertEqual(third["regions"], 0x100)

    def test_unknown_key_is_dropped_silently(self):
        v = self.start_viewer((32, 32, 4))
        w = v.window(r"zorview \(zoom = 4\)")
        v.wait_event("Expose")
        printed = v.stdout()
        mark = v.key(w, "x", "F5", "shift")
        v.wait_events("KeyPress", 3, after=mark)
        self.assertTrue(v.running())
        self.assertEqual(v.stdout(), printed)
        self.assertEqual(v.stderr(), "")

    def test_zoom_keys_rebuild_the_window(self):
        v = self.start_viewer((64, 64, 20), ["-z", "2"])
        w = v.window(r"zorview \(zoom = 2\)")
        v.wait_event("KeyPress", after=v.key(w, "z"))
        w1 = v.window(r"zorview \(zoom = 1\)")
        self.assertEqual(v.size(w1), (376, 336))
        v.wait_event("KeyPress", after=v.key(w1, "z"))   # zoom 1 stays 1
        w1 = v.window(r"zorview \(zoom = 1\)")
        v.wait_event("KeyPress", after=v.key(w1, "Z"))
        w2 = v.window(r"zorview \(zoom = 2\)")
        self.assertEqual(v.size(w2), (2 * 326 + 81, 2 * 261 + 75))

    def test_pointer_motion_is_handled_without_recomposing(self):
        v = self.start_viewer((64, 64, 20))
        w = v.window(r"zorview \(zoom = 4\)")
        v.wait_event("Expose")
        mark = v.move(w, 300, 300)
        motion = v.wait_event("MotionNotify", after=mark)
        self.assertEqual(motion["regions"] & 0x1, 0)

    def test_animation_runs_until_a_key(self):
        v = self.start_viewer((32, 32, 4))
        w = v.window(r"zorview \(zoom = 4\)")
        v.wait_event("Expose")
        mark = v.key(w, "A")
        v.wait_trace(lambda e: e["kind"] == "update" and e["regions"] & 0x101 == 0x101, after=mark,
                     what="an animation frame")
        # Only the Shift press is done: the "A" itself is still running.
        self.assertEqual(len(v.events("KeyPress", after=mark)), 1)
        v.key(w, "space")
        v.wait_events("KeyPress", 2, after=mark)
        self.assertTrue(v.running())

    def test_idle_program_sleeps(self):
        v = self.start_viewer((64, 64, 20))
        w = v.window(r"zorview \(zoom = 4\)")
        v.wait_event("Expose")
        time.sleep(0.2)
        before, start = v.cpu_seconds(), time.monotonic()
        time.sleep(1.0)
        used = v.cpu_seconds() - before
        self.assertLess(used / (time.monotonic() - start), 0.02)


if __name__ == "__main__":
    e2e.main()
