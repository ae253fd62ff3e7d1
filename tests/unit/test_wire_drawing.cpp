// Drawing wire frames with the mouse and the help for a clicked region, on a
// private X server: the events a user would cause are queued for the image
// window, then the modal loop reads them.
#include <gtest/gtest.h>

#include <X11/keysym.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "test_support.h"
#include "xvfb_server.h"
#include "zor.h"
#include "zor_x11.h"

namespace {

class WireDrawing : public ::testing::Test {
 protected:
  data_stack stack{};
  std::vector<float> volume;

  void SetUp() override {
    ASSERT_FALSE(start_test_x_server().empty());
    if (!XConnection) initialize_XWindows();
    x_windows_reset();
    event_handlers_reset();
    free(mosaic.display_slice);
    mosaic = mosaic_display{};
    activation = Activation{};
    graph = graph_struct{};
    graph.type = -1;
    stack.dim = IPOINT3D{32, 32, 4};
    stack.resolution = POINT3D{2.0f, 2.0f, 3.0f};
    stack.direction = POINT3D{1.0f, 1.0f, 1.0f};
    stack.nt = 1;
    stack.n2d = 32 * 32;
    stack.n3d = 32 * 32 * 4;
    stack.fov = POINT3D{64.0f, 64.0f, 12.0f};
    stack.ijk_to_xyz = scale_and_shift_to_mat44(stack.resolution, POINT3D{0, 0, 0}, stack.direction);
    stack.xyz_to_ijk = invert_mat44(stack.ijk_to_xyz);
    volume.assign(static_cast<size_t>(stack.n3d), 1.0f);
    mosaic.stack = &stack;
    mosaic.fSpaceMatrix = volume.data();
    mosaic.Attach_ColorBar = 1;
    mosaic.display_ortho_ZY = 1;
    mosaic.flip_X11_y = 1;
    mosaic.display_crosshairs = 3;
    mosaic.zoom_window = 4;
    initialize_overlay_records();
    compute_display_size_reset();
    IPOINT2D rough;
    compute_display_size(&rough, 1.0f);
    mosaic.DimPanels.x = 0;
    update_XWindow_image(1);
    XSync(XConnection, True);
  }
  void TearDown() override {
    free_XWindow_image();
    XSync(XConnection, True);
    overlay_map_reset();
    ovl_root_reset();
    wire_root_reset();
    mosaic.stack = nullptr;
  }

  // A window pixel over voxel (x, y) of slice z, and the space point that
  // a click there places.
  struct spot {
    int wx, wy;
    POINT3D point;
  };
  spot find(int x, int y, int z) {
    const IPOINT2D size = image_window_size();
    for (int wy = 0; wy < size.y; wy++)
      for (int wx = 0; wx < size.x; wx++) {
        reset_cursor_selections();
        define_mosaic_cursor_location(wx, wy);
        const IPOINT3D c = mosaic.icursor;
        if ((mosaic.cursor_selection & CURSOR_ON_VOXEL) && c.x == x && c.y == y && c.z == z)
          return spot{wx, wy, POINT3D{}};
      }
    ADD_FAILURE() << "no pixel over voxel " << x << " " << y << " " << z;
    return spot{0, 0, POINT3D{}};
  }
  spot at(int x, int y, int z) {
    spot s = find(x, y, z);
    reset_cursor_selections();
    define_mosaic_cursor_location(s.wx, s.wy);
    s.point = mosaic.cursor;
    return s;
  }

  void send(XEvent e, long mask) {
    e.xany.display = XConnection;
    e.xany.window = XWindow_image;
    XSendEvent(XConnection, XWindow_image, False, mask, &e);
  }
  void click(const spot &s, unsigned button = 1) {
    XEvent e{};
    e.type = ButtonPress;
    e.xbutton.x = s.wx;
    e.xbutton.y = s.wy;
    e.xbutton.button = button;
    e.xbutton.root = XRoot_Window;
    e.xbutton.same_screen = True;
    send(e, ButtonPressMask);
    e.type = ButtonRelease;
    send(e, ButtonReleaseMask);
  }
  void key(KeySym sym) {
    XEvent e{};
    e.type = KeyPress;
    e.xkey.keycode = XKeysymToKeycode(XConnection, sym);
    e.xkey.x = 10;
    e.xkey.y = 10;
    e.xkey.root = XRoot_Window;
    e.xkey.same_screen = True;
    send(e, KeyPressMask);
  }
  Captured draw() {
    XSync(XConnection, False);
    return capture_output([] { action_draw_wires(); });
  }

  // The points of two curves around the middle of slice 1; the seventh
  // point is the first again.
  std::vector<spot> loop_spots() {
    return {at(8, 8, 1), at(24, 6, 1), at(26, 20, 1), at(16, 26, 1), at(6, 24, 1), at(4, 16, 1), at(8, 8, 1)};
  }
};

TEST_F(WireDrawing, ReturnEndsAWireOfWholeSegmentsWithoutFilling) {
  const std::vector<spot> s = loop_spots();
  for (int k = 0; k < 4; k++) click(s[k]);
  key(XK_Return);
  Captured c = draw();
  EXPECT_EQ(c.exit_status, -1);
  ASSERT_EQ(wire_root.npts, 4);
  for (int k = 0; k < 4; k++) {
    EXPECT_EQ(wire_root.control[k].point.x, s[k].point.x) << k;
    EXPECT_EQ(wire_root.control[k].point.y, s[k].point.y) << k;
    EXPECT_EQ(wire_root.control[k].point.z, s[k].point.z) << k;
  }
  EXPECT_EQ(wire_root.control[0].color, 1);
  EXPECT_EQ(wire_root.control[3].color, 0);
  EXPECT_STREQ(wire_root.name, "interactive");
  EXPECT_EQ(ovl_root.npts, 0);
}

TEST_F(WireDrawing, WireClosedByHandIsFilledByFButNotAtOnce) {
  for (const spot &p : loop_spots()) click(p);
  key(XK_Return);
  draw();
  ASSERT_EQ(wire_root.npts, 7);
  EXPECT_EQ(ovl_root.npts, 0);
  Captured c = capture_output([] { action_key_F(); });
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_GT(ovl_root.npts, 20);
  // The region lies on the wire's slice.
  for (int i = 0; i < ovl_root.npts; i++) ASSERT_EQ(ovl_root.voxel[i].z, 1);
}

TEST_F(WireDrawing, CloseKeyAddsTheFirstPointAndFills) {
  const std::vector<spot> s = loop_spots();
  for (int k = 0; k < 6; k++) click(s[k]);
  key(XK_c);
  Captured c = draw();
  EXPECT_EQ(c.exit_status, -1);
  ASSERT_EQ(wire_root.npts, 7);
  EXPECT_EQ(wire_root.control[6].point.x, wire_root.control[0].point.x);
  EXPECT_EQ(wire_root.control[6].point.y, wire_root.control[0].point.y);
  EXPECT_EQ(wire_root.control[6].color, 0);
  EXPECT_GT(ovl_root.npts, 20);
  EXPECT_NE(mosaic.update_regions & REGION_IMAGES, 0);
}

TEST_F(WireDrawing, CloseIsRefusedUntilItLeavesAWholeSegment) {
  // After three points (n = 2) "c" does nothing; Return after four is taken.
  const std::vector<spot> s = loop_spots();
  for (int k = 0; k < 3; k++) click(s[k]);
  key(XK_c);
  click(s[3]);
  key(XK_Return);
  draw();
  EXPECT_EQ(wire_root.npts, 4);
  EXPECT_EQ(ovl_root.npts, 0);
}

TEST_F(WireDrawing, UndoRemovesTheLastSegment) {
  const std::vector<spot> s = loop_spots();
  for (int k = 0; k < 7; k++) click(s[k]);
  key(XK_u);
  key(XK_Return);
  draw();
  ASSERT_EQ(wire_root.npts, 4);
  EXPECT_EQ(wire_root.control[3].point.x, s[3].point.x);
  EXPECT_EQ(wire_root.control[3].color, 0);
}

TEST_F(WireDrawing, ReturnIsDroppedUntilWholeSegments) {
  const std::vector<spot> s = loop_spots();
  click(s[0]);
  click(s[1]);
  key(XK_Return);  // dropped
  click(s[2]);
  click(s[3]);
  key(XK_Return);
  draw();
  EXPECT_EQ(wire_root.npts, 4);
}

TEST_F(WireDrawing, EscapeRestoresTheWiresAfterSeveralSegments) {
  const std::vector<spot> s = loop_spots();
  for (int k = 0; k < 4; k++) click(s[k]);
  key(XK_Return);
  draw();
  ASSERT_EQ(wire_root.npts, 4);
  const std::vector<CONTROL_POINT> before(wire_root.control, wire_root.control + 4);
  for (const spot &p : loop_spots()) click(p);
  key(XK_Escape);
  draw();
  ASSERT_EQ(wire_root.npts, 4);
  for (int k = 0; k < 4; k++) {
    EXPECT_EQ(wire_root.control[k].point.x, before[static_cast<size_t>(k)].point.x);
    EXPECT_EQ(wire_root.control[k].color, before[static_cast<size_t>(k)].color);
  }
  // Escape at once with no wire leaves none.
  action_clear_wires();
  key(XK_Escape);
  draw();
  EXPECT_EQ(wire_root.npts, 0);
}

TEST_F(WireDrawing, PointsOnAnotherSliceAndOtherButtonsAreIgnored) {
  const std::vector<spot> s = loop_spots();
  click(s[0]);
  click(at(10, 10, 2));     // another slice
  click(s[1], 3);           // another button
  for (int k = 1; k < 4; k++) click(s[k]);
  key(XK_Return);
  draw();
  ASSERT_EQ(wire_root.npts, 4);
  for (int k = 0; k < 4; k++) EXPECT_EQ(wire_root.control[k].point.z, s[0].point.z);
}

TEST_F(WireDrawing, WireKeyOffTheAxialPlanesDrawsNothing) {
  mosaic.mosaic_orientation = ORTHO_XZ;
  action_key_N();  // returns at once: nothing is queued
  EXPECT_EQ(wire_root.npts, 0);
}

TEST_F(WireDrawing, QuestionMarkThenAKeyLooksUpTheClearedCodes) {
  setenv("ZOR_HOME", ZOR_SOURCE_DIR, 1);
  key(XK_x);
  XSync(XConnection, False);
  Captured c = capture_output([] { action_key_question_mark(); });
  unsetenv("ZOR_HOME");
  EXPECT_EQ(c.out.rfind(std::string("Help from file ") + ZOR_SOURCE_DIR +
                            "/documentation/zorview-question-mark.txt\nmessage code 0 0\n",
                        0),
            0u)
      << c.out;
  EXPECT_EQ(c.out.find("not found"), std::string::npos);
}

TEST_F(WireDrawing, QuestionMarkThenAClickPrintsThatRegionsEntry) {
  setenv("ZOR_HOME", ZOR_SOURCE_DIR, 1);
  const spot s = at(8, 8, 1);
  click(s);
  XSync(XConnection, False);
  Captured c = capture_output([] { action_key_question_mark(); });
  unsetenv("ZOR_HOME");
  const int code = CURSOR_ON_MOSAIC_PANEL | CURSOR_PLANE_XY | CURSOR_ON_VOXEL;
  EXPECT_NE(c.out.find("message code " + std::to_string(code) + " 0\nA voxel of an axial"), std::string::npos)
      << c.out;
}

}  // namespace
