// The information line: three rows of text in the white strip under the
// image region and under the graph.
#include "zor_x11.h"

void show_on_info_line(int image_or_graph, int PromptForInput, char *string1, char *string2,
                       char *string3) {
  if (XWindow_image == 0) return;
  bool graph_open = XWindow_graph != 0;
  bool ImageOnly = image_or_graph == 0 || !graph_open;
  bool ImageAndGraph = image_or_graph == 2 && graph_open;
  bool to_image = ImageOnly || ImageAndGraph;
  bool to_graph = !ImageOnly;

  if (to_image)
    XPutImage(XConnection, XPixmap_ImageInfoArea, XGC_image, XImage_ImageInfoArea, 0, 0, 0, 0,
              (unsigned)XImage_ImageInfoArea->width, (unsigned)XImage_ImageInfoArea->height);
  if (to_graph)
    XPutImage(XConnection, XPixmap_GraphInfoArea, XGC_image, XImage_GraphInfoArea, 0, 0, 0, 0,
              (unsigned)XImage_GraphInfoArea->width, (unsigned)XImage_GraphInfoArea->height);

  if (to_image) {
    DPRIMITIVE_DrawText(Drawable_ImageInfoArea, PromptForInput ? COLOR_RED : COLOR_BLACK,
                        IPOINT2D{0, 13}, string1);
    DPRIMITIVE_DrawText(Drawable_ImageInfoArea, COLOR_BLACK, IPOINT2D{0, 28}, string2);
    DPRIMITIVE_DrawText(Drawable_ImageInfoArea, COLOR_BLACK, IPOINT2D{0, 43}, string3);
  }
  if (to_graph) {
    DPRIMITIVE_FillText(Drawable_GraphInfoArea, PromptForInput ? COLOR_RED : COLOR_WHITE,
                        IPOINT2D{0, 13}, string1);
    DPRIMITIVE_FillText(Drawable_GraphInfoArea, COLOR_WHITE, IPOINT2D{0, 28}, string2);
    if (!to_image)
      DPRIMITIVE_FillText(Drawable_GraphInfoArea, COLOR_WHITE, IPOINT2D{0, 43}, string3);
  }

  if (to_image)
    XCopyArea(XConnection, XPixmap_ImageInfoArea, XWindow_image, XGC_image, 0, 0,
              (unsigned)XImage_ImageInfoArea->width, (unsigned)XImage_ImageInfoArea->height, 0,
              mosaic.ImageRegionPixels.y + TOP_MENU_HEIGHT);
  if (to_graph)
    XCopyArea(XConnection, XPixmap_GraphInfoArea, XWindow_graph, XGC_image, 0, 0,
              (unsigned)XImage_GraphInfoArea->width, (unsigned)XImage_GraphInfoArea->height, 0,
              graph.size.y + 15);
  XFlush(XConnection);
}
