#include <gtest/gtest.h>

#include <X11/keysym.h>
#include <malloc.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "test_support.h"
#include "xvfb_server.h"
#include "zor.h"
#include "zor_annotate.h"
#include "zor_x11.h"

namespace {

// The image window of a 64x64x20 stack in a 5 by 4 mosaic, built the way
// the program builds it, on a private 2560x1600 server.
class WindowLayer : public ::testing::Test {
 protected:
  data_stack stack{};

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
    stack.dim = IPOINT3D{64, 64, 20};
    stack.resolution = POINT3D{1.0f, 1.0f, 1.0f};
    stack.direction = POINT3D{1.0f, 1.0f, 1.0f};
    stack.ijk_to_xyz = scale_and_shift_to_mat44(stack.resolution, POINT3D{0, 0, 0}, stack.direction);
    mosaic.stack = &stack;
    mosaic.Attach_ColorBar = 1;
    mosaic.display_ortho_ZY = 1;
    mosaic.flip_X11_y = 1;
    mosaic.display_crosshairs = 3;
    compute_display_size_reset();
    IPOINT2D rough;
    compute_display_size(&rough, 1.0f);
    mosaic.DimPanels.x = 0;
    update_XWindow_image(1);
    XSync(XConnection, False);
  }
  void TearDown() override {
    if (XWindow_graph) XDestroyWindow(XConnection, XWindow_graph);
    free_XWindow_image();
    XSync(XConnection, True);
  }

  unsigned long pixel_at(Window w, int x, int y) {
    XSync(XConnection, False);
    XImage *image = XGetImage(XConnection, w, x, y, 1, 1, AllPlanes, ZPixmap);
    unsigned long p = XGetPixel(image, 0, 0) & 0xFFFFFF;
    XDestroyImage(image);
    return p;
  }

  XEvent synthetic(int type, Window w) {
    XEvent e{};
    e.type = type;
    e.xany.window = w;
    e.xany.display = XConnection;
    return e;
  }

  XKeyEvent key_event(KeySym sym, unsigned state = 0) {
    XEvent e = synthetic(KeyPress, XWindow_image);
    e.xkey.keycode = XKeysymToKeycode(XConnection, sym);
    e.xkey.state = state;
    e.xkey.x = 10;
    e.xkey.y = 10;
    return e.xkey;
  }

  // Queues key presses for the image window as the server would send them.
  void send_keys(std::initializer_list<KeySym> keys) {
    for (KeySym k : keys) {
      XEvent e{};
      e.xkey = key_event(k);
      e.xkey.root = XRoot_Window;
      e.xkey.same_screen = True;
      XSendEvent(XConnection, XWindow_image, False, KeyPressMask, &e);
    }
    XSync(XConnection, False);
  }
};

TEST(WindowLayerWithoutServer, NoDisplayEndsWithTwoLinesAndStatusOne) {
  const char *saved = getenv("DISPLAY");
  std::string keep = saved ? saved : "";
  unsetenv("DISPLAY");
  Captured c = capture_output([] { initialize_XWindows(); });
  if (!keep.empty()) setenv("DISPLAY", keep.c_str(), 1);
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out,
            "Error trying to open the display.\n"
            "If you are using ssh to connect from another system, try 'ssh -X'\n");
}

TEST_F(WindowLayer, EventMaskIsTheDocumentedValue) {
  EXPECT_EQ(ZOR_WINDOW_EVENT_MASK, 163949L);
  XWindowAttributes a;
  XGetWindowAttributes(XConnection, XWindow_image, &a);
  EXPECT_EQ(a.your_event_mask, 163949L);
  EXPECT_EQ(a.border_width, 100);
  EXPECT_EQ(a.x, 1);
  EXPECT_EQ(a.y, 1);
  EXPECT_EQ(a.width, 1304 + 100);
  EXPECT_EQ(a.height, 1044 + 75);
  EXPECT_EQ(a.map_state, IsViewable);
}

TEST_F(WindowLayer, ClientImagesTakeTheServersBitsPerPixel) {
  // Depth 24 is stored in 32 bits a pixel: four bytes, not twenty-four.
  ASSERT_NE(XImage_XY, nullptr);
  EXPECT_EQ(XImage_XY->bits_per_pixel, 32);
  EXPECT_EQ(XImage_XY->bytes_per_line, 4 * XImage_XY->width);
  const size_t want = (size_t)XImage_XY->bytes_per_line * (size_t)XImage_XY->height;
  EXPECT_GE(malloc_usable_size(XData_XY), want);
  EXPECT_LT(malloc_usable_size(XData_XY), want + 4096);
  EXPECT_EQ(XImage_XY->data, XData_XY);
}

TEST_F(WindowLayer, ProtocolErrorsAreReportedAndTheProgramGoesOn) {
  Captured c = capture_output([] {
    XFreePixmap(XConnection, (Pixmap)0x7ffffff0);
    XSync(XConnection, False);
  });
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(c.err.rfind("X error: BadPixmap", 0), 0u) << c.err;
  EXPECT_NE(c.err.find("resource 0x7ffffff0"), std::string::npos) << c.err;
  // The connection is still usable.
  EXPECT_EQ(pixel_at(XWindow_image, 5, 5), 0x005F5Fu);
}

TEST_F(WindowLayer, TitleShowsZoomAndMap) {
  char *name = nullptr;
  XFetchName(XConnection, XWindow_image, &name);
  EXPECT_STREQ(name, "zorview (zoom = 4)");
  XFree(name);
  activation.visible = 1;
  strcpy(activation.map_name, "tmap");
  change_window_name(-1);
  XFetchName(XConnection, XWindow_image, &name);
  EXPECT_STREQ(name, "zorview (zoom = 4), map = tmap");
  XFree(name);
  change_window_name(3);
  XFetchName(XConnection, XWindow_image, &name);
  EXPECT_STREQ(name, "zorview (zoom = 4), map = tmap (3)");
  XFree(name);
}

TEST_F(WindowLayer, ImageWindowHasNoDeleteProtocol) {
  Atom *protocols = nullptr;
  int n = 0;
  Status ok = XGetWMProtocols(XConnection, XWindow_image, &protocols, &n);
  EXPECT_TRUE(ok == 0 || n == 0);
  if (protocols) XFree(protocols);
}

TEST_F(WindowLayer, FixedFillsOfBackgroundAndMenus) {
  const IPOINT2D &R = mosaic.ImageRegionPixels;
  EXPECT_EQ(pixel_at(XWindow_image, 2, 31), (unsigned long)PIXEL_BACKGROUND);
  EXPECT_EQ(pixel_at(XWindow_image, R.x - 1, 30 + R.y - 1), (unsigned long)PIXEL_BACKGROUND);
  EXPECT_EQ(pixel_at(XWindow_image, 5, 5), (unsigned long)PIXEL_MENU);
  EXPECT_EQ(pixel_at(XWindow_image, R.x + 99, 29), (unsigned long)PIXEL_MENU);
  EXPECT_EQ(pixel_at(XWindow_image, R.x + 100, 29), 255UL);  // the border
  EXPECT_EQ(pixel_at(XWindow_image, lXBottomMenu + 3, R.y + 31), (unsigned long)PIXEL_MENU);
  EXPECT_EQ(pixel_at(XWindow_image, R.x + 99, R.y + 74), (unsigned long)PIXEL_MENU);
}

TEST_F(WindowLayer, ClientImagesHaveTheirFills) {
  EXPECT_EQ(XGetPixel(XImage_TopMenu, 0, 0), (unsigned long)PIXEL_MENU);
  EXPECT_EQ(XGetPixel(XImage_ImageInfoArea, 3, 3), (unsigned long)PIXEL_INFO_AREA);
  EXPECT_EQ(XGetPixel(XImage_RightPanel, 0, 0), (unsigned long)PIXEL_RIGHT_PANEL);
  EXPECT_EQ(XGetPixel(XImage_lineX_cyan, 0, 0), (unsigned long)PIXEL_BAR_CYAN);
  EXPECT_EQ(XGetPixel(XImage_lineZ2_red, 0, 0), (unsigned long)PIXEL_BAR_RED);
  EXPECT_EQ(XImage_XY->width, 4 * 64);
  EXPECT_EQ(XImage_ZY->width, 4 * 20);
  EXPECT_EQ(XImage_lineX_cyan->width, 4 * 66);
  EXPECT_EQ(XImage_lineX_cyan->height, 4);
  EXPECT_EQ(XImage_lineZ2_cyan->height, 4 * 22);
  EXPECT_EQ(XImage_TopMenu->width, 1304 + 100 + 1);
  EXPECT_EQ(XImage_TopMenu->height, 30);
  EXPECT_EQ(XImage_ImageInfoArea->width, 300);
}

// Differences between the info area as the server shows it and the same
// three lines drawn black on white by the test itself in the default font.
int info_line_differences(const char *line1, const char *line2, const char *line3) {
  XSync(XConnection, False);
  const int w = lPixelsX_ImageInfoArea, h = 45;
  XImage *shown = XGetImage(XConnection, XWindow_image, 0, mosaic.ImageRegionPixels.y + 30,
                            (unsigned)w, (unsigned)h, AllPlanes, ZPixmap);
  Pixmap reference = XCreatePixmap(XConnection, XRoot_Window, (unsigned)w, (unsigned)h,
                                   (unsigned)XScreen_depth);
  GC gc = XCreateGC(XConnection, reference, 0, nullptr);
  XSetForeground(XConnection, gc, 0xFFFFFF);
  XFillRectangle(XConnection, reference, gc, 0, 0, (unsigned)w, (unsigned)h);
  XSetForeground(XConnection, gc, 0);
  const char *lines[] = {line1, line2, line3};
  for (int i = 0; i < 3; i++)
    XDrawString(XConnection, reference, gc, 0, 13 + 15 * i, lines[i], (int)strlen(lines[i]));
  XImage *expected = XGetImage(XConnection, reference, 0, 0, (unsigned)w, (unsigned)h, AllPlanes,
                               ZPixmap);
  int differences = 0;
  for (int y = 0; y < h; y++)
    for (int x = 0; x < w; x++)
      differences += (XGetPixel(shown, x, y) & 0xFFFFFF) != (XGetPixel(expected, x, y) & 0xFFFFFF);
  XDestroyImage(shown);
  XDestroyImage(expected);
  XFreeGC(XConnection, gc);
  XFreePixmap(XConnection, reference);
  return differences;
}

TEST_F(WindowLayer, ReducedSliceSetHintIsOnTheInfoLine) {
  free_XWindow_image();
  x_windows_reset();
  compute_display_size_reset();
  mosaic.DimPanels = IPOINT3D{0, 0, 4};
  mosaic.zoom_window = 0;
  update_XWindow_image(1);
  EXPECT_EQ(info_line_differences("Reduced slice set is shown.", "Use in/out (</>) arrows",
                                  "or mouse scroll wheel to show other slices."),
            0);
  EXPECT_NE(info_line_differences("Reduced slice set is shown!", "", ""), 0);
}

TEST_F(WindowLayer, ThreePlaneHintIsOnTheInfoLine) {
  free_XWindow_image();
  x_windows_reset();
  mosaic.display_3orthogonal = 1;
  update_XWindow_image(1);
  EXPECT_EQ(info_line_differences("Navigate using mouse clicks,", "OR 4 arrows + > or <",
                                  "OR mouse scroll wheel."),
            0);
}

TEST_F(WindowLayer, UndersampledHintIsOnTheInfoLine) {
  free_XWindow_image();
  x_windows_reset();
  mosaic.zoom_window = 1;
  stack.dim = IPOINT3D{400, 400, 30};
  update_XWindow_image(1);
  EXPECT_EQ(info_line_differences("Data are undersampled.", "Pixel size / data size < 1.",
                                  "Reduce slice set or try 3-plane display."),
            0);
}

TEST_F(WindowLayer, NoHintForAllSlicesAtFullScale) {
  // With every slice at full scale the strip keeps the cursor's own
  // information: no hint was written over it.
  char line1[ZOR_LINE], line2[ZOR_LINE], line3[ZOR_LINE];
  information_text_image(line1, line2, line3);
  EXPECT_EQ(info_line_differences(line1, line2, line3), 0);
  EXPECT_NE(info_line_differences("Reduced slice set is shown.", "Use in/out (</>) arrows",
                                  "or mouse scroll wheel to show other slices."),
            0);
}

TEST_F(WindowLayer, UndersampledBackgroundTurnsGreen) {
  free_XWindow_image();
  x_windows_reset();
  mosaic.zoom_window = 1;
  stack.dim = IPOINT3D{400, 400, 30};
  update_XWindow_image(1);
  EXPECT_GT(mosaic.PixelScale, 1.0f);
  EXPECT_EQ(pixel_at(XWindow_image, 2, 31), (unsigned long)PIXEL_BACKGROUND_UNDERSAMPLED);
}

TEST_F(WindowLayer, RectangleInTheImageSurvivesARefreshButALineDoesNot) {
  DPRIMITIVE_DrawRectangle(Drawable_ImageData, COLOR_RED, IPOINT2D{10, 10}, IPOINT2D{20, 20});
  DPRIMITIVE_DrawLine(Drawable_ImageData, COLOR_YELLOW, IPOINT2D{40, 50}, IPOINT2D{60, 50});
  EXPECT_EQ(pixel_at(XWindow_image, 50, 80), 0xFFFF00UL);  // line: y + 30 on the window
  refresh_display_image(1);
  EXPECT_EQ(pixel_at(XWindow_image, 10, 40), 0xFF0000UL);
  EXPECT_EQ(pixel_at(XWindow_image, 21, 45), 0xFF0000UL);  // width is x2 - x1 + 1
  EXPECT_EQ(pixel_at(XWindow_image, 50, 80), (unsigned long)PIXEL_BACKGROUND);
}

TEST_F(WindowLayer, FillTextDrawsBlackLettersOnAColouredBox) {
  char text[] = "MMMM";
  DPRIMITIVE_FillText(Drawable_ImageWindow, COLOR_GREEN, IPOINT2D{400, 20}, text);
  DPRIMITIVE_FillRectangle(Drawable_ImageWindow, COLOR_ORANGE, IPOINT2D{500, 5}, IPOINT2D{510, 9});
  EXPECT_EQ(pixel_at(XWindow_image, 400, 20 - 11), 0x00FF00UL);  // top of the box
  EXPECT_EQ(pixel_at(XWindow_image, 510, 9), 0xFF7F00UL);
  EXPECT_EQ(pixel_at(XWindow_image, 511, 9), (unsigned long)PIXEL_MENU);
}

TEST_F(WindowLayer, GraphDrawingIsHarmlessWithTheGraphClosed) {
  ASSERT_EQ(XWindow_graph, 0u);
  DPRIMITIVE_DrawLine(Drawable_GraphData, COLOR_RED, IPOINT2D{0, 0}, IPOINT2D{5, 5});
  char text[] = "x";
  DPRIMITIVE_FillText(Drawable_GraphInfoArea, COLOR_SKY, IPOINT2D{0, 13}, text);
  DPRIMITIVE_DrawPoint(Drawable_GraphWindow, COLOR_BLACK, IPOINT2D{1, 1});
  XSync(XConnection, False);
  SUCCEED();
}

TEST_F(WindowLayer, ColoursMissingFromAFamilyAreFatal) {
  Captured gray = capture_output([] {
    DPRIMITIVE_DrawLine(Drawable_ImageWindow, COLOR_GRAY, IPOINT2D{0, 0}, IPOINT2D{1, 1});
  });
  EXPECT_EQ(gray.exit_status, 1);
  EXPECT_EQ(gray.out, "Programming error: image color = 11\n");
  char text[] = "x";
  Captured sky = capture_output([&] { DPRIMITIVE_DrawLine(Drawable_TopMenu, COLOR_SKY, {0, 0}, {1, 1}); });
  EXPECT_EQ(sky.out, "Programming error: image color = 9\n");
  Captured magenta = capture_output([&] { DPRIMITIVE_FillText(Drawable_TopMenu, COLOR_MAGENTA, {0, 13}, text); });
  EXPECT_EQ(magenta.exit_status, 1);
  EXPECT_EQ(magenta.out, "Programming error: image text color = 8\n");
  EXPECT_EQ(capture_output([] { XGC_color_graph(COLOR_MAGENTA); }).out,
            "Programming error: graph color = 8\n");
  EXPECT_EQ(capture_output([] { XGC_color_graph_text(COLOR_BLACK); }).out,
            "Programming error: graph text color = 12\n");
  EXPECT_EQ(capture_output([] { XGC_color_image_text(COLOR_BLACK); }).out,
            "Programming error: image text color = 12\n");
}

TEST_F(WindowLayer, UnknownDrawablesAreFatalWithThePrimitivesName) {
  char text[] = "x";
  Captured line = capture_output([] { DPRIMITIVE_DrawLine(9, COLOR_RED, {0, 0}, {1, 1}); });
  EXPECT_EQ(line.exit_status, 1);
  EXPECT_EQ(line.out, "Programming error in DPRIMITIVE_DrawLine: drawable = 9\n");
  EXPECT_EQ(capture_output([&] { DPRIMITIVE_DrawText(-1, COLOR_RED, {0, 0}, text); }).out,
            "Programming error in DPRIMITIVE_Drawtext: drawable = -1\n");
  EXPECT_EQ(capture_output([&] { DPRIMITIVE_FillText(12, COLOR_RED, {0, 0}, text); }).out,
            "Programming error in DPRIMITIVE_FillText: drawable = 12\n");
  EXPECT_EQ(capture_output([] { DPRIMITIVE_DrawPoint(10, COLOR_RED, {0, 0}); }).out,
            "Programming error in DPRIMITIVE_DrawPoint: drawable = 10\n");
  EXPECT_EQ(capture_output([] { DPRIMITIVE_DrawRectangle(10, COLOR_RED, {0, 0}, {1, 1}); }).out,
            "Programming error in DPRIMITIVE_DrawRectangle: drawable = 10\n");
  EXPECT_EQ(capture_output([] { DPRIMITIVE_FillRectangle(10, COLOR_RED, {0, 0}, {1, 1}); }).out,
            "Programming error in DPRIMITIVE_FillRectangle: drawable = 10\n");
}

TEST_F(WindowLayer, GraphWindowOpensAtTheDefaultSizeAndCanBeClosed) {
  make_XWindow_graph();
  ASSERT_NE(XWindow_graph, 0u);
  EXPECT_EQ(graph.size.x, 1280);
  EXPECT_EQ(graph.size.y, 533);
  XWindowAttributes a;
  XGetWindowAttributes(XConnection, XWindow_graph, &a);
  EXPECT_EQ(a.width, 1280);
  EXPECT_EQ(a.height, 533 + 60);
  EXPECT_EQ(a.border_width, 100);
  EXPECT_EQ(a.your_event_mask, 163949L);
  Atom *protocols = nullptr;
  int n = 0;
  ASSERT_NE(XGetWMProtocols(XConnection, XWindow_graph, &protocols, &n), 0);
  ASSERT_EQ(n, 1);
  EXPECT_EQ(protocols[0], wm_delete_window);
  XFree(protocols);

  Window old = XWindow_graph;
  XEvent close = synthetic(ClientMessage, old);
  close.xclient.message_type = XInternAtom(XConnection, "WM_PROTOCOLS", False);
  close.xclient.format = 32;
  close.xclient.data.l[0] = (long)wm_delete_window;
  graph_event_handler_general(&close);
  EXPECT_EQ(XWindow_graph, 0u);
  EXPECT_EQ(graph.type, -1);
  EXPECT_EQ(graph.size.x, 0);
  XGetWindowAttributes(XConnection, old, &a);
  EXPECT_EQ(a.map_state, IsUnmapped);
  XDestroyWindow(XConnection, old);
}

TEST_F(WindowLayer, ARunOfExposeEventsRepaintsOnce) {
  XEvent expose = synthetic(Expose, XWindow_image);
  image_event_handler_general(&expose);
  EXPECT_EQ(mosaic.update_regions, REGION_INFO);
  image_event_handler_general(&expose);
  EXPECT_EQ(mosaic.update_regions, 0);
  XEvent leave = synthetic(LeaveNotify, XWindow_image);
  image_event_handler_general(&leave);
  image_event_handler_general(&expose);
  EXPECT_EQ(mosaic.update_regions, REGION_INFO);
}

TEST_F(WindowLayer, ForeignEventsOtherThanKeysAreIgnored) {
  XEvent expose = synthetic(Expose, XRoot_Window);
  mosaic.update_regions = 0x55;
  EXPECT_EQ(image_event_handler_general(&expose), 0);
  EXPECT_EQ(mosaic.update_regions, 0);
}

TEST_F(WindowLayer, FunctionKeysFoldIntoTheControlRange) {
  struct {
    KeySym sym;
    char code;
  } table[] = {{XK_Home, 13}, {XK_End, 13}, {XK_Left, 12}, {XK_Up, 21}, {XK_Right, 11},
               {XK_Down, 4},  {XK_Prior, '+'}, {XK_Next, '-'}, {XK_Return, 13}, {XK_a, 'a'},
               {XK_Tab, 9}, {XK_BackSpace, 8}, {XK_Escape, 27}};
  for (auto &row : table) {
    XKeyEvent k = key_event(row.sym);
    char code = 0;
    EXPECT_TRUE(get_key_press(&k, &code)) << row.sym;
    EXPECT_EQ(code, row.code) << row.sym;
  }
  XKeyEvent shift = key_event(XK_Shift_L);
  char code = 99;
  EXPECT_FALSE(get_key_press(&shift, &code));
  EXPECT_EQ(code, 0);
  XKeyEvent ctrl_c = key_event(XK_c, ControlMask);
  EXPECT_TRUE(get_key_press(&ctrl_c, &code));
  EXPECT_EQ(code, 3);
  XKeyEvent pound = key_event(XK_3, ShiftMask);
  EXPECT_TRUE(get_key_press(&pound, &code));
  EXPECT_EQ(code, '#');
  EXPECT_EQ(function_key_code(XK_Help), 'h');
}

TEST_F(WindowLayer, KeyWithoutCodeReturnsOneWithoutRepaint) {
  XEvent e{};
  e.xkey = key_event(XK_Shift_L);
  EXPECT_EQ(image_event_handler_general(&e), 1);
}

TEST_F(WindowLayer, PromptCollectsLettersUntilReturn) {
  send_keys({XK_a, XK_1, XK_b, XK_Return});
  char answer[1024];
  EXPECT_EQ(get_X11_string(0, "Name?", "(letters)", "", 1, 1, answer), 1);
  EXPECT_STREQ(answer, "ab");
}

TEST_F(WindowLayer, PromptEndsAtTheFirstCharacterWithoutReturn) {
  send_keys({XK_n, XK_y});
  char answer[1024];
  EXPECT_EQ(get_X11_string(2, "Really quit?", "(y,Y,other)", "", 0, 0, answer), 1);
  EXPECT_STREQ(answer, "n");
  XSync(XConnection, True);
}

TEST_F(WindowLayer, PromptBackspaceKeepsTheFirstCharacter) {
  send_keys({XK_a, XK_b, XK_c, XK_BackSpace, XK_BackSpace, XK_BackSpace, XK_d, XK_Return});
  char answer[1024];
  EXPECT_EQ(get_X11_string(0, "Word?", "", "", 1, 1, answer), 1);
  EXPECT_STREQ(answer, "ad");
}

TEST_F(WindowLayer, PromptEscapeReturnsZeroAndBlankTakesTheDefault) {
  send_keys({XK_a, XK_Escape});
  char answer[1024];
  EXPECT_EQ(get_X11_string(0, "Word?", "", "", 1, 1, answer), 0);
  send_keys({XK_space, XK_Return});
  EXPECT_EQ(get_X11_string(0, "Word?", "", "", 4, 1, answer), 1);
  EXPECT_STREQ(answer, "");
  send_keys({XK_space, XK_Return});
  EXPECT_EQ(get_X11_string(0, "Word?", "", "abc", 4, 1, answer), 1);
  EXPECT_STREQ(answer, "abc ");
  send_keys({XK_Return});
  EXPECT_EQ(get_X11_string(0, "Word?", "", "", 0, 1, answer), 1);
  EXPECT_STREQ(answer, "\r");  // with anything admitted, Return itself is kept
}

TEST_F(WindowLayer, QuitAnsweredNoShowsContinuing) {
  send_keys({XK_n});
  action_quit();
  SUCCEED();
}

TEST_F(WindowLayer, QuitAnsweredYesExitsWithZero) {
  send_keys({XK_Y});
  Captured c = capture_output([] { action_quit(); });
  EXPECT_EQ(c.exit_status, 0);
}

}  // namespace
