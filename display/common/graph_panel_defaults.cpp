// The graph window's menus and result-table bookkeeping as they stand
// before the menus have items and before any table is written: the hit
// tests walk the (empty) item list, the strips are drawn without labels,
// and every file holds no region yet.
#include <cstring>

#include "zor_graph.h"
#include "zor_overlay.h"
#include "zor_roi_files.h"
#include "zor_x11.h"

char ROI_file_name[1024] = ".roi";

int get_number_rois_in_file(const char *file_name) { return 0; }

void update_graph_selectable_text(void) {}

void draw_selectable_text_graph(void) {
  if (XWindow_graph == 0 || graph.size.x <= 0) return;
  update_graph_selectable_text();
  const IPOINT2D S = graph.size;
  DPRIMITIVE_FillRectangle(Drawable_GraphWindow, COLOR_CYAN, IPOINT2D{0, 0},
                           IPOINT2D{S.x, GRAPH_TOP_STRIP - 1});
  const int info_width = XImage_GraphInfoArea ? XImage_GraphInfoArea->width : 0;
  DPRIMITIVE_FillRectangle(Drawable_GraphWindow, COLOR_CYAN,
                           IPOINT2D{info_width, S.y + GRAPH_TOP_STRIP},
                           IPOINT2D{S.x, S.y + GRAPH_TOP_STRIP + GRAPH_BOTTOM_STRIP});
}

void action_graph_text_selection(int button) {
  graph.update_regions |= GRAPH_REBUILD | GRAPH_MENUS;
}

void action_image_text_selection(int button) {}
