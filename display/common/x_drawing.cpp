// Drawing primitives: every surface is addressed by an X11_drawables number
// and every colour by a defined_colors number. A graph surface is silently
// skipped while the graph window is closed, so graph drawing code never has
// to ask.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "zor_exit.h"
#include "zor_x11.h"

[[noreturn]] static void color_error(const char *family, int color) {
  printf("Programming error: %s = %d\n", family, color);
  zor_exit(1);
}

GC *XGC_color_image(int color) {
  switch (color) {
    case COLOR_CYAN: return &XGC_cyan;
    case COLOR_RED: return &XGC_red;
    case COLOR_GREEN: return &XGC_green;
    case COLOR_BLUE: return &XGC_blue;
    case COLOR_PURPLE: return &XGC_purple;
    case COLOR_YELLOW: return &XGC_yellow;
    case COLOR_ORANGE: return &XGC_orange;
    case COLOR_MAGENTA: return &XGC_magenta;
    case COLOR_WHITE: return &XGC_white;
    case COLOR_BLACK: return &XGC_black;
    default: color_error("image color", color);
  }
}

GC *XGC_color_image_text(int color) {
  switch (color) {
    case COLOR_CYAN: return &XGC_cyan_text;
    case COLOR_RED: return &XGC_red_text;
    case COLOR_GREEN: return &XGC_green_text;
    case COLOR_BLUE: return &XGC_blue_text;
    case COLOR_PURPLE: return &XGC_purple_text;
    case COLOR_YELLOW: return &XGC_yellow_text;
    case COLOR_ORANGE: return &XGC_orange_text;
    case COLOR_WHITE: return &XGC_white_text;
    case COLOR_GRAY: return &XGC_gray_text;
    default: color_error("image text color", color);
  }
}

GC *XGC_color_graph(int color) {
  switch (color) {
    case COLOR_CYAN: return &XGC_graph_cyan;
    case COLOR_RED: return &XGC_graph_red;
    case COLOR_GREEN: return &XGC_graph_green;
    case COLOR_BLUE: return &XGC_graph_blue;
    case COLOR_PURPLE: return &XGC_graph_purple;
    case COLOR_YELLOW: return &XGC_graph_yellow;
    case COLOR_ORANGE: return &XGC_graph_orange;
    case COLOR_SKY: return &XGC_graph_sky;
    case COLOR_WHITE: return &XGC_graph_white;
    case COLOR_GRAY: return &XGC_graph_gray;
    case COLOR_BLACK: return &XGC_graph_black;
    default: color_error("graph color", color);
  }
}

GC *XGC_color_graph_text(int color) {
  switch (color) {
    case COLOR_CYAN: return &XGC_graph_cyan_text;
    case COLOR_RED: return &XGC_graph_red_text;
    case COLOR_GREEN: return &XGC_graph_green_text;
    case COLOR_BLUE: return &XGC_graph_blue_text;
    case COLOR_PURPLE: return &XGC_graph_purple_text;
    case COLOR_YELLOW: return &XGC_graph_yellow_text;
    case COLOR_ORANGE: return &XGC_graph_orange_text;
    case COLOR_SKY: return &XGC_graph_sky_text;
    case COLOR_WHITE: return &XGC_graph_white_text;
    case COLOR_GRAY: return &XGC_graph_gray_text;
    default: color_error("graph text color", color);
  }
}

namespace {

// Which GC family a primitive uses on Drawable_GraphInfoArea, where the
// primitives do not agree.
enum Family { IMAGE_LINE, IMAGE_TEXT, GRAPH_LINE, GRAPH_TEXT };

bool skip_drawing(int which_drawable) {
  if (XWindow_image == 0) return true;
  bool graph_surface = which_drawable == Drawable_GraphWindow ||
                       which_drawable == Drawable_GraphData ||
                       which_drawable == Drawable_GraphInfoArea;
  return graph_surface && XWindow_graph == 0;
}

GC gc_of(Family family, int color) {
  switch (family) {
    case IMAGE_LINE: return *XGC_color_image(color);
    case IMAGE_TEXT: return *XGC_color_image_text(color);
    case GRAPH_LINE: return *XGC_color_graph(color);
    default: return *XGC_color_graph_text(color);
  }
}

// The target of a drawable other than Drawable_ImageData and whether it
// belongs to the graph family; false for a number that names no surface.
bool plain_target(int which_drawable, Drawable *target, bool *graph_family) {
  *graph_family = false;
  switch (which_drawable) {
    case Drawable_ImageWindow: *target = XWindow_image; return true;
    case Drawable_GraphWindow: *target = XWindow_graph; *graph_family = true; return true;
    case Drawable_ImageInfoArea: *target = XPixmap_ImageInfoArea; return true;
    case Drawable_TopMenu: *target = XPixmap_TopMenu; return true;
    case Drawable_BottomMenu: *target = XPixmap_BottomMenu; return true;
    case Drawable_RightPanel: *target = XPixmap_RightPanel; return true;
    case Drawable_GraphData: *target = XPixmap_GraphData; *graph_family = true; return true;
    case Drawable_GraphInfoArea: *target = XPixmap_GraphInfoArea; return true;
    default: return false;
  }
}

[[noreturn]] void drawable_error(const char *primitive, int which_drawable) {
  printf("Programming error in %s: drawable = %d\n", primitive, which_drawable);
  zor_exit(1);
}

// Resolves target, GC and the vertical offset of a primitive. On
// Drawable_ImageData `on_window` says whether it draws on the window (30
// pixels down) or into the image pixmap; on Drawable_GraphInfoArea
// `info_family` picks the GC family.
struct Target {
  Drawable drawable;
  GC gc;
  int dy;
};

Target resolve(const char *primitive, int which_drawable, int which_color, bool text,
               bool image_data_on_window, Family info_family) {
  Target t{0, nullptr, 0};
  if (which_drawable == Drawable_ImageData) {
    t.drawable = image_data_on_window ? XWindow_image : XPixmap_image;
    t.dy = image_data_on_window ? TOP_MENU_HEIGHT : 0;
    t.gc = gc_of(text ? IMAGE_TEXT : IMAGE_LINE, which_color);
    return t;
  }
  bool graph_family = false;
  if (!plain_target(which_drawable, &t.drawable, &graph_family))
    drawable_error(primitive, which_drawable);
  Family family;
  if (which_drawable == Drawable_GraphInfoArea)
    family = info_family;
  else if (graph_family)
    family = text ? GRAPH_TEXT : GRAPH_LINE;
  else
    family = text ? IMAGE_TEXT : IMAGE_LINE;
  t.gc = gc_of(family, which_color);
  return t;
}

// Corners to an X rectangle: x and width from iDraw1 onward, y from the
// smaller of the two.
void rectangle_of(IPOINT2D a, IPOINT2D b, int *x, int *y, unsigned *w, unsigned *h) {
  int width = b.x - a.x + 1;
  *x = a.x;
  *y = a.y < b.y ? a.y : b.y;
  *w = width > 0 ? (unsigned)width : 0u;
  *h = (unsigned)(abs(b.y - a.y) + 1);
}

}  // namespace

void DPRIMITIVE_DrawLine(int which_drawable, int which_color, IPOINT2D iDraw1, IPOINT2D iDraw2) {
  if (skip_drawing(which_drawable)) return;
  Target t = resolve("DPRIMITIVE_DrawLine", which_drawable, which_color, false, true, GRAPH_LINE);
  XDrawLine(XConnection, t.drawable, t.gc, iDraw1.x, iDraw1.y + t.dy, iDraw2.x, iDraw2.y + t.dy);
}

void DPRIMITIVE_DrawPoint(int which_drawable, int which_color, IPOINT2D iDraw) {
  if (skip_drawing(which_drawable)) return;
  Target t = resolve("DPRIMITIVE_DrawPoint", which_drawable, which_color, false, true, IMAGE_LINE);
  XDrawPoint(XConnection, t.drawable, t.gc, iDraw.x, iDraw.y + t.dy);
}

void DPRIMITIVE_DrawRectangle(int which_drawable, int which_color, IPOINT2D iDraw1,
                              IPOINT2D iDraw2) {
  if (skip_drawing(which_drawable)) return;
  // Only this primitive paints the image region into the pixmap, so that
  // what it draws survives the next copy to the window.
  Target t =
      resolve("DPRIMITIVE_DrawRectangle", which_drawable, which_color, false, false, IMAGE_LINE);
  int x, y;
  unsigned w, h;
  rectangle_of(iDraw1, iDraw2, &x, &y, &w, &h);
  XDrawRectangle(XConnection, t.drawable, t.gc, x, y + t.dy, w, h);
}

void DPRIMITIVE_FillRectangle(int which_drawable, int which_color, IPOINT2D iDraw1,
                              IPOINT2D iDraw2) {
  if (skip_drawing(which_drawable)) return;
  Target t =
      resolve("DPRIMITIVE_FillRectangle", which_drawable, which_color, false, true, IMAGE_LINE);
  int x, y;
  unsigned w, h;
  rectangle_of(iDraw1, iDraw2, &x, &y, &w, &h);
  XFillRectangle(XConnection, t.drawable, t.gc, x, y + t.dy, w, h + (unsigned)t.dy);
}

void DPRIMITIVE_DrawText(int which_drawable, int which_color, IPOINT2D iDraw, char *string) {
  if (skip_drawing(which_drawable)) return;
  Target t = resolve("DPRIMITIVE_Drawtext", which_drawable, which_color, false, true, IMAGE_LINE);
  XDrawString(XConnection, t.drawable, t.gc, iDraw.x, iDraw.y + t.dy, string,
              (int)strlen(string));
}

void DPRIMITIVE_FillText(int which_drawable, int which_color, IPOINT2D iDraw, char *string) {
  if (skip_drawing(which_drawable)) return;
  Target t = resolve("DPRIMITIVE_FillText", which_drawable, which_color, true, true, GRAPH_TEXT);
  XDrawImageString(XConnection, t.drawable, t.gc, iDraw.x, iDraw.y + t.dy, string,
                   (int)strlen(string));
}
