// The menu strips drawn: labels in their row's place, red under the pointer.
// The image window's strips are drawn into their pixmaps and copied by the
// repaint; the graph's are drawn straight on its window.
#include <cstdio>
#include <cstring>

#include "zor_graph.h"
#include "zor_overlay.h"
#include "zor_panels.h"
#include "zor_x11.h"

namespace {

void put_clean(Pixmap pixmap, XImage *image) {
  if (!pixmap || !image) return;
  XPutImage(XConnection, pixmap, XGC_image, image, 0, 0, 0, 0, (unsigned)image->width, (unsigned)image->height);
}

}  // namespace

void draw_selectable_text_image(void) {
  if (XWindow_image == 0) return;
  put_clean(XPixmap_TopMenu, XImage_TopMenu);
  put_clean(XPixmap_BottomMenu, XImage_BottomMenu);
  static const int baseline[5] = {13, 28, 13, 28, 43};
  for (SelectableText *t = &mosaic.SelectText; t; t = t->next) {
    if (!t->visible || t->FieldID == 0 || t->YLocation < 0 || t->YLocation > 4) continue;
    const int drawable = t->YLocation <= 1 ? Drawable_TopMenu : Drawable_BottomMenu;
    DPRIMITIVE_FillText(drawable, t->selected ? COLOR_RED : t->color, IPOINT2D{t->XPosition, baseline[t->YLocation]},
                        t->string);
  }
}

void draw_selectable_text_graph(void) {
  if (XWindow_graph == 0 || graph.size.x <= 0) return;
  update_graph_selectable_text();
  const IPOINT2D S = graph.size;
  DPRIMITIVE_FillRectangle(Drawable_GraphWindow, COLOR_CYAN, IPOINT2D{0, 0}, IPOINT2D{S.x, GRAPH_TOP_STRIP});
  const int info_width = XImage_GraphInfoArea ? XImage_GraphInfoArea->width : 0;
  DPRIMITIVE_FillRectangle(Drawable_GraphWindow, COLOR_CYAN, IPOINT2D{info_width, S.y + GRAPH_TOP_STRIP},
                           IPOINT2D{S.x, S.y + GRAPH_TOP_STRIP + GRAPH_BOTTOM_STRIP});
  for (SelectableText *t = &graph.SelectText; t; t = t->next) {
    if (!t->visible || t->FieldID == 0 || t->YLocation < 1 || t->YLocation > 4) continue;
    const int y = t->YLocation == 1 ? 13 : S.y + 28 + 15 * (t->YLocation - 2);
    DPRIMITIVE_FillText(Drawable_GraphWindow, t->selected ? COLOR_RED : t->color, IPOINT2D{t->XPosition, y},
                        t->string);
  }
}

void ChangeImageSelectionText(int FieldID, char *text) {
  for (SelectableText *t = &mosaic.SelectText; t; t = t->next)
    if (t->FieldID == FieldID) snprintf(t->string, sizeof t->string, "%s", text);
  draw_selectable_text_image();
  if (XWindow_image == 0 || !XImage_TopMenu || !XImage_BottomMenu) return;
  XCopyArea(XConnection, XPixmap_TopMenu, XWindow_image, XGC_image, 0, 0, (unsigned)XImage_TopMenu->width,
            (unsigned)XImage_TopMenu->height, 0, 0);
  XCopyArea(XConnection, XPixmap_BottomMenu, XWindow_image, XGC_image, 0, 0, (unsigned)XImage_BottomMenu->width,
            (unsigned)XImage_BottomMenu->height, lXBottomMenu, mosaic.ImageRegionPixels.y + TOP_MENU_HEIGHT);
  XFlush(XConnection);
}
