// The two top-level windows with their pixmaps, client images and graphics
// contexts. The image window is rebuilt from nothing at every change of
// zoom, mode, panel set or orientation.
#include <algorithm>
#include <cstdio>

#include "zor_exit.h"

#include "zor_x11.h"

Window XWindow_image = 0;
Pixmap XPixmap_image = 0, XPixmap_image_save = 0, XPixmap_TopMenu = 0, XPixmap_BottomMenu = 0,
       XPixmap_ImageInfoArea = 0, XPixmap_RightPanel = 0;
XImage *XImage_XY, *XImage_ZY, *XImage_XZ, *XImage_YZ, *XImage_colorbar, *XImage_background,
    *XImage_TopMenu, *XImage_BottomMenu, *XImage_ImageInfoArea, *XImage_RightPanel;
XImage *XImage_lineX_cyan, *XImage_lineX_red, *XImage_lineY_cyan, *XImage_lineY_red,
    *XImage_lineY1_cyan, *XImage_lineY1_red, *XImage_lineZ1_cyan, *XImage_lineZ1_red,
    *XImage_lineZ2_cyan, *XImage_lineZ2_red;
char *XData_XY, *XData_ZY, *XData_XZ, *XData_YZ, *XData_colorbar, *XData_background,
    *XData_TopMenu, *XData_BottomMenu, *XData_ImageInfoArea, *XData_RightPanel;
char *XData_lineX_cyan, *XData_lineX_red, *XData_lineY_cyan, *XData_lineY_red,
    *XData_lineY1_cyan, *XData_lineY1_red, *XData_lineZ1_cyan, *XData_lineZ1_red,
    *XData_lineZ2_cyan, *XData_lineZ2_red;
GC XGC_cyan, XGC_red, XGC_green, XGC_blue, XGC_white, XGC_purple, XGC_magenta, XGC_yellow,
    XGC_orange, XGC_black;
GC XGC_cyan_text, XGC_red_text, XGC_green_text, XGC_blue_text, XGC_white_text, XGC_purple_text,
    XGC_yellow_text, XGC_orange_text, XGC_gray_text;
GC XGC_image;

Window XWindow_graph = 0;
Pixmap XPixmap_GraphData = 0, XPixmap_GraphInfoArea = 0;
XImage *XImage_GraphData, *XImage_GraphInfoArea;
char *XData_GraphData, *XData_GraphInfoArea;
GC XGC_graph_red, XGC_graph_blue, XGC_graph_green, XGC_graph_white, XGC_graph_yellow,
    XGC_graph_black, XGC_graph_cyan, XGC_graph_gray, XGC_graph_orange, XGC_graph_purple,
    XGC_graph_sky;
GC XGC_graph_red_text, XGC_graph_blue_text, XGC_graph_green_text, XGC_graph_white_text,
    XGC_graph_yellow_text, XGC_graph_cyan_text, XGC_graph_gray_text, XGC_graph_orange_text,
    XGC_graph_purple_text, XGC_graph_sky_text;
GC XGC_graph_event[9];

namespace {

// 1 until the image window was built once; 1 while its resources are
// released, so that a rebuild after a teardown does not free twice.
int first = 1;
int all_free = 1;
int graph_gcs_exist = 0;

struct LineGC {
  GC *gc;
  unsigned long pixel;
};

// Image window: line colours, then the text boxes (black letters on them).
const LineGC image_line_gcs[] = {
    {&XGC_cyan, 0x00FFFF},  {&XGC_red, 0xFF0000},     {&XGC_green, 0x00FF00},
    {&XGC_blue, 0x0000FF},  {&XGC_purple, 0x7F00FF},  {&XGC_yellow, 0xFFFF00},
    {&XGC_orange, 0xFF7F00}, {&XGC_magenta, 0xFF00FF}, {&XGC_white, 0xFFFFFF},
    {&XGC_black, 0x000000},
};
const LineGC image_text_gcs[] = {
    {&XGC_cyan_text, 0x00FFFF},   {&XGC_red_text, 0xFF0000},    {&XGC_green_text, 0x00FF00},
    {&XGC_blue_text, 0x0000FF},   {&XGC_purple_text, 0x7F00FF}, {&XGC_yellow_text, 0xFFFF00},
    {&XGC_orange_text, 0xFF7F00}, {&XGC_white_text, 0xFFFFFF},  {&XGC_gray_text, 0x7F7F7F},
};
// The graph's dark plotting background wants darker greens, cyans and black.
const LineGC graph_line_gcs[] = {
    {&XGC_graph_red, 0xFF0000},    {&XGC_graph_blue, 0x0000FF},   {&XGC_graph_green, 0x007F00},
    {&XGC_graph_white, 0xFFFFFF},  {&XGC_graph_yellow, 0xFFFF00}, {&XGC_graph_black, 0x3F3F3F},
    {&XGC_graph_cyan, 0x005F5F},   {&XGC_graph_gray, 0x7F7F7F},   {&XGC_graph_orange, 0xFF7F00},
    {&XGC_graph_purple, 0xFF00FF}, {&XGC_graph_sky, 0x00BFFF},
};
const LineGC graph_text_gcs[] = {
    {&XGC_graph_red_text, 0xFF0000},    {&XGC_graph_blue_text, 0x0000FF},
    {&XGC_graph_green_text, 0x00FF00},  {&XGC_graph_white_text, 0xFFFFFF},
    {&XGC_graph_yellow_text, 0xFFFF00}, {&XGC_graph_cyan_text, 0x00FFFF},
    {&XGC_graph_gray_text, 0x7F7F7F},   {&XGC_graph_orange_text, 0xFF7F00},
    {&XGC_graph_purple_text, 0xFF00FF}, {&XGC_graph_sky_text, 0x00BFFF},
};

XImage **image_window_images[] = {
    &XImage_XY,          &XImage_ZY,          &XImage_XZ,          &XImage_YZ,
    &XImage_colorbar,    &XImage_background,  &XImage_TopMenu,     &XImage_BottomMenu,
    &XImage_ImageInfoArea, &XImage_RightPanel, &XImage_lineX_cyan, &XImage_lineX_red,
    &XImage_lineY_cyan,  &XImage_lineY_red,   &XImage_lineY1_cyan, &XImage_lineY1_red,
    &XImage_lineZ1_cyan, &XImage_lineZ1_red,  &XImage_lineZ2_cyan, &XImage_lineZ2_red,
};

Window create_top_level_window(unsigned width, unsigned height) {
  Window w = XCreateSimpleWindow(XConnection, XRoot_Window, 1, 1, width, height, 100, 255, 0);
  return w;
}

void set_line_gc(GC gc, unsigned long pixel, Bool exposures) {
  XSetGraphicsExposures(XConnection, gc, exposures);
  XSetState(XConnection, gc, pixel, 0, GXcopy, AllPlanes);
}

void set_text_gc(GC gc, unsigned long pixel, Bool exposures) {
  XSetGraphicsExposures(XConnection, gc, exposures);
  XSetState(XConnection, gc, 0, pixel, GXcopy, AllPlanes);
}

void create_image_gcs(void) {
  XGC_image = XDefaultGC(XConnection, XScreen);
  for (const LineGC &g : image_text_gcs) {
    *g.gc = XCreateGC(XConnection, XWindow_image, 0, nullptr);
    set_text_gc(*g.gc, g.pixel, True);
  }
  unsigned width = (unsigned)std::min(mosaic.zoom_window, 1);
  for (const LineGC &g : image_line_gcs) {
    *g.gc = XCreateGC(XConnection, XWindow_image, 0, nullptr);
    set_line_gc(*g.gc, g.pixel, False);
    XSetLineAttributes(XConnection, *g.gc, width, LineSolid, CapRound, JoinRound);
  }
}

void free_image_gcs(void) {
  for (const LineGC &g : image_text_gcs) XFreeGC(XConnection, *g.gc);
  for (const LineGC &g : image_line_gcs) XFreeGC(XConnection, *g.gc);
}

Pixmap pixmap_for(int width, int height) {
  return XCreatePixmap(XConnection, XRoot_Window, (unsigned)std::max(width, 1),
                       (unsigned)std::max(height, 1), (unsigned)XScreen_depth);
}

void put_whole_image(Drawable target, XImage *image) {
  XPutImage(XConnection, target, XGC_image, image, 0, 0, 0, 0, (unsigned)image->width,
            (unsigned)image->height);
}

void create_image_window_images(void) {
  const IPOINT2D &R = mosaic.ImageRegionPixels;
  const IPOINT3D &p = mosaic.PixelDim;
  int Z = mosaic.zoom_window;
  int C = mosaic.nx_ColorBar;
  int P = std::max(mosaic.nx_RightPanel, 1);
  unsigned long background =
      mosaic.PixelScale == 1.0f ? PIXEL_BACKGROUND : PIXEL_BACKGROUND_UNDERSAMPLED;

  XImage_XY = create_filled_XImage(&XData_XY, Z * p.x, Z * p.y, 0);
  XImage_ZY = create_filled_XImage(&XData_ZY, Z * p.z, Z * p.y, 0);
  XImage_XZ = create_filled_XImage(&XData_XZ, Z * p.x, Z * p.z, 0);
  XImage_YZ = create_filled_XImage(&XData_YZ, Z * p.y, Z * p.z, 0);
  XImage_colorbar = create_filled_XImage(&XData_colorbar, C, R.y, 0);
  XImage_background = create_filled_XImage(&XData_background, R.x + C, R.y, background);
  XImage_TopMenu = create_filled_XImage(&XData_TopMenu, R.x + C + P, TOP_MENU_HEIGHT, PIXEL_MENU);
  XImage_BottomMenu =
      create_filled_XImage(&XData_BottomMenu, lPixelsX_BottomMenu, BOTTOM_STRIP_HEIGHT, PIXEL_MENU);
  XImage_ImageInfoArea = create_filled_XImage(&XData_ImageInfoArea, lPixelsX_ImageInfoArea,
                                              BOTTOM_STRIP_HEIGHT, PIXEL_INFO_AREA);
  XImage_RightPanel = create_filled_XImage(&XData_RightPanel, P, R.y, PIXEL_RIGHT_PANEL);

  int lineZ1 = mosaic.display_ortho_ZY ? Z * (p.z + 2) : Z * (p.y + 2);
  XImage_lineX_cyan = create_filled_XImage(&XData_lineX_cyan, Z * (p.x + 2), Z, PIXEL_BAR_CYAN);
  XImage_lineX_red = create_filled_XImage(&XData_lineX_red, Z * (p.x + 2), Z, PIXEL_BAR_RED);
  XImage_lineY_cyan = create_filled_XImage(&XData_lineY_cyan, Z, Z * (p.y + 2), PIXEL_BAR_CYAN);
  XImage_lineY_red = create_filled_XImage(&XData_lineY_red, Z, Z * (p.y + 2), PIXEL_BAR_RED);
  XImage_lineY1_cyan = create_filled_XImage(&XData_lineY1_cyan, Z * (p.y + 2), Z, PIXEL_BAR_CYAN);
  XImage_lineY1_red = create_filled_XImage(&XData_lineY1_red, Z * (p.y + 2), Z, PIXEL_BAR_RED);
  XImage_lineZ1_cyan = create_filled_XImage(&XData_lineZ1_cyan, lineZ1, Z, PIXEL_BAR_CYAN);
  XImage_lineZ1_red = create_filled_XImage(&XData_lineZ1_red, lineZ1, Z, PIXEL_BAR_RED);
  XImage_lineZ2_cyan = create_filled_XImage(&XData_lineZ2_cyan, Z, Z * (p.z + 2), PIXEL_BAR_CYAN);
  XImage_lineZ2_red = create_filled_XImage(&XData_lineZ2_red, Z, Z * (p.z + 2), PIXEL_BAR_RED);

  XPixmap_image = pixmap_for(R.x + C, R.y);
  XPixmap_TopMenu = pixmap_for(XImage_TopMenu->width, XImage_TopMenu->height);
  XPixmap_BottomMenu = pixmap_for(XImage_BottomMenu->width, XImage_BottomMenu->height);
  XPixmap_ImageInfoArea = pixmap_for(XImage_ImageInfoArea->width, XImage_ImageInfoArea->height);
  XPixmap_RightPanel = pixmap_for(XImage_RightPanel->width, XImage_RightPanel->height);
}

}  // namespace

void change_window_name(int iTimePoint) {
  char name[3 * 1024 + 64];
  if (!activation.visible)
    snprintf(name, sizeof name, "%s (zoom = %d)", program_name, mosaic.zoom_window);
  else if (iTimePoint < 0)
    snprintf(name, sizeof name, "%s (zoom = %d), map = %s", program_name, mosaic.zoom_window,
             activation.map_name);
  else
    snprintf(name, sizeof name, "%s (zoom = %d), map = %s (%d)", program_name,
             mosaic.zoom_window, activation.map_name, iTimePoint);
  XStoreName(XConnection, XWindow_image, name);
}

void free_XWindow_image(void) {
  if (all_free) return;
  XDestroyWindow(XConnection, XWindow_image);
  XFreePixmap(XConnection, XPixmap_image);
  // The four small pixmaps stay: a rebuild leaks them, which is accepted.
  for (XImage **image : image_window_images) {
    XDestroyImage(*image);  // frees the pixel buffer too
    *image = nullptr;
  }
  free_image_gcs();
  XWindow_image = 0;
  all_free = 1;
}

void make_XWindow_image(void) {
  const int screen_width = XDisplayWidth(XConnection, XScreen);
  const int screen_height = XDisplayHeight(XConnection, XScreen);
  choose_image_window_geometry(screen_width, screen_height, first);
  if (!image_window_fits_x()) {
    // Only a panel grid asked for on the command line can outgrow X: the
    // automatic grid always fits once the data are scaled to the screen.
    if (first) {
      const IPOINT2D size = image_window_size();
      printf("Error: the image window would be %d x %d pixels, more than the %d that X allows on a side.\n",
             size.x, size.y, X_MAX_SIDE);
      puts("Choose another number of panels across (-x) or fewer slices (-m).");
      zor_exit(1);
    }
    mosaic.DimPanels.x = 0;
    choose_image_window_geometry(screen_width, screen_height, first);
  }
  if (!first) free_XWindow_image();
  first = 0;

  const IPOINT2D &R = mosaic.ImageRegionPixels;
  unsigned width = (unsigned)(R.x + mosaic.nx_ColorBar + mosaic.nx_RightPanel);
  unsigned height = (unsigned)(R.y + TOP_MENU_HEIGHT + BOTTOM_STRIP_HEIGHT);
  XWindow_image = create_top_level_window(width, height);
  XSelectInput(XConnection, XWindow_image, ZOR_WINDOW_EVENT_MASK);
  change_window_name(0);
  create_image_gcs();
  create_image_window_images();
  all_free = 0;

  XMapWindow(XConnection, XWindow_image);
  put_whole_image(XPixmap_image, XImage_background);
  put_whole_image(XPixmap_TopMenu, XImage_TopMenu);
  put_whole_image(XPixmap_BottomMenu, XImage_BottomMenu);
  put_whole_image(XPixmap_ImageInfoArea, XImage_ImageInfoArea);
  put_whole_image(XPixmap_RightPanel, XImage_RightPanel);
}

void make_XWindow_graph(void) {
  bool existed = XWindow_graph != 0;
  if (graph.size.x != 0 && existed) {
    XDestroyWindow(XConnection, XWindow_graph);
    XDestroyImage(XImage_GraphInfoArea);
    XImage_GraphInfoArea = nullptr;
    XWindow_graph = 0;
  }
  if (graph.size.x == 0 || !existed) {
    graph.size.x = XDisplayWidth(XConnection, XScreen) / 2;
    graph.size.y = XDisplayHeight(XConnection, XScreen) / 3;
  }
  XWindow_graph = create_top_level_window((unsigned)graph.size.x, (unsigned)(graph.size.y + 60));
  XSetWMProtocols(XConnection, XWindow_graph, &wm_delete_window, 1);
  XSelectInput(XConnection, XWindow_graph, ZOR_WINDOW_EVENT_MASK);

  if (graph_gcs_exist) {
    for (const LineGC &g : graph_line_gcs) XFreeGC(XConnection, *g.gc);
    for (const LineGC &g : graph_text_gcs) XFreeGC(XConnection, *g.gc);
    for (GC gc : XGC_graph_event) XFreeGC(XConnection, gc);
  }
  for (const LineGC &g : graph_line_gcs) {
    *g.gc = XCreateGC(XConnection, XWindow_graph, 0, nullptr);
    set_line_gc(*g.gc, g.pixel, False);
  }
  for (const LineGC &g : graph_text_gcs) {
    *g.gc = XCreateGC(XConnection, XWindow_graph, 0, nullptr);
    set_text_gc(*g.gc, g.pixel, False);
  }
  // One GC per event type, coloured by whoever draws the events.
  for (GC &gc : XGC_graph_event) {
    gc = XCreateGC(XConnection, XWindow_graph, 0, nullptr);
    XSetGraphicsExposures(XConnection, gc, False);
  }
  graph_gcs_exist = 1;
  XSetLineAttributes(XConnection, XGC_graph_white, 2, LineSolid, CapRound, JoinRound);

  XImage_GraphInfoArea = create_filled_XImage(&XData_GraphInfoArea,
                                              std::min(graph.size.x - 1, 200),
                                              BOTTOM_STRIP_HEIGHT, PIXEL_INFO_AREA);
  XPixmap_GraphInfoArea = pixmap_for(XImage_GraphInfoArea->width, XImage_GraphInfoArea->height);
  put_whole_image(XPixmap_GraphInfoArea, XImage_GraphInfoArea);
  XMapWindow(XConnection, XWindow_graph);
}

void x_windows_reset(void) {
  first = 1;
  all_free = 1;
  graph_gcs_exist = 0;
  XWindow_image = 0;
  XWindow_graph = 0;
  XPixmap_GraphData = 0;
}
