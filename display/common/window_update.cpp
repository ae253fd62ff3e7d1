// Deferred repaint. Actions only set bits in mosaic.update_regions and
// graph.update_regions; one Update_Regions at the end of each event
// repaints what the bits name, from the pixmaps, in a fixed order.
#include <algorithm>

#include "zor_annotate.h"
#include "zor_colour.h"
#include "zor_compose.h"
#include "zor_event_trace.h"
#include "zor_panels.h"
#include "zor_graph.h"
#include "zor_x11.h"

namespace {

// Whether the slice images must be composed again for these bits.
bool images_need_composing(int bits) {
  if (bits & REGION_IMAGES) return true;
  if (!(bits & REGION_CROSS)) return false;
  bool projection_graph = graph.type == 0 && graph.space_model != 0;
  return mosaic.display_crosshairs == 1 || projection_graph || mosaic.display_3orthogonal;
}

void copy_to_image_window(Pixmap source, int src_x, int width, int height, int dest_x,
                          int dest_y) {
  if (width <= 0 || height <= 0) return;
  XCopyArea(XConnection, source, XWindow_image, XGC_image, src_x, 0, (unsigned)width,
            (unsigned)height, dest_x, dest_y);
}

}  // namespace

void refresh_display_image(int which_area) {
  if (XWindow_image == 0) return;
  const IPOINT2D &R = mosaic.ImageRegionPixels;
  int C = mosaic.nx_ColorBar;
  if (which_area == 0 || which_area == 1) {
    // Cross-hairs, wires and labels live on the window only and are drawn
    // again over each copy.
    copy_to_image_window(XPixmap_image, 0, R.x, R.y, 0, TOP_MENU_HEIGHT);
    bool projection_graph = graph.type == 0 && graph.space_model != 0;
    if (mosaic.display_crosshairs > 1 && !projection_graph)
      draw_crosshairs(mosaic.display_crosshairs - 2);
    if (wire_root.npts != 0) draw_wire_frames();
    if (activation.vector_field && mosaic.zoom_window > 3) draw_vector_field();
    if (mosaic.display_grid != 0) {
      if (mosaic.display_3orthogonal)
        label_planes_ortho();
      else
        label_planes_mosaic();
    }
  }
  if (which_area == 0 || which_area == 2) {
    copy_to_image_window(XPixmap_image, R.x, C, R.y, R.x, TOP_MENU_HEIGHT);
    label_colorbar();
  }
  if (which_area == 0 || which_area == 3) {
    update_image_selectable_text();
    draw_selectable_text_image();
    copy_to_image_window(XPixmap_TopMenu, 0, XImage_TopMenu->width, XImage_TopMenu->height, 0, 0);
    copy_to_image_window(XPixmap_BottomMenu, 0, XImage_BottomMenu->width,
                         XImage_BottomMenu->height, lXBottomMenu, R.y + TOP_MENU_HEIGHT);
  }
  if ((which_area == 0 || which_area == 4) && mosaic.nx_RightPanel != 0) {
    copy_to_image_window(XPixmap_RightPanel, 0, XImage_RightPanel->width,
                         XImage_RightPanel->height, R.x + C, TOP_MENU_HEIGHT);
  }
}

void refresh_display_graph(void) {
  if (XWindow_graph == 0 || XPixmap_GraphData == 0) return;
  XCopyArea(XConnection, XPixmap_GraphData, XWindow_graph, XGC_image, 0, 0,
            (unsigned)graph.size.x, (unsigned)graph.size.y, 0, 15);
}

void Update_Regions(void) {
  bool tracing = event_trace_enabled();
  double start = tracing ? event_trace_now_ms() : 0.0;
  int bits = mosaic.update_regions;

  update_gray_scale_factors();

  if (bits & REGION_NEIGHBORS) create_neighborhoods();
  if (images_need_composing(bits)) {
    if (bits & (REGION_COLORBAR | REGION_COLORBAR_LABEL)) update_color_scheme();
    if (mosaic.display_3orthogonal)
      make_orthogonal_images();
    else
      make_mosaic_images();
  }
  if (bits & REGION_COLORBAR) create_colorbar();
  if (bits & (REGION_IMAGES | REGION_CROSS | REGION_COPY)) refresh_display_image(1);
  if (bits & (REGION_COLORBAR | REGION_COLORBAR_LABEL)) refresh_display_image(2);
  if (bits & REGION_MENUS) refresh_display_image(3);
  if (bits & REGION_RIGHT_PANEL) refresh_display_image(4);
  if (bits & (REGION_INFO | REGION_CROSS | REGION_INFO_MOTION)) show_information_text_image();

  int graph_bits = graph.update_regions;
  if (graph_bits & GRAPH_REBUILD) build_graph_display(1);
  if (graph_bits & GRAPH_MARKER) build_graph_display(0);
  if (graph_bits & GRAPH_MENUS) draw_selectable_text_graph();
  if (graph_bits & GRAPH_INFO_MOTION)
    show_information_graph(1);
  else if (graph_bits & (GRAPH_INFO | GRAPH_MENUS))
    show_information_graph(0);

  if (tracing) event_trace_update(bits, graph.update_regions, event_trace_now_ms() - start);
}

void update_XWindow_image(int ReMake) {
  if (ReMake) {
    make_XWindow_image();
    highlight_active_image_plane_reset();  // the new window has no frames yet
  }
  mosaic.update_regions = 0x1FB;
  Update_Regions();

  const char *line1 = nullptr, *line2 = nullptr, *line3 = nullptr;
  if (mosaic.PixelScale > 1.0f) {
    line1 = "Data are undersampled.";
    line2 = "Pixel size / data size < 1.";
    line3 = mosaic.display_3orthogonal ? "Try mosaic mode with 1 or a few slices"
                                       : "Reduce slice set or try 3-plane display.";
  } else if (mosaic.display_3orthogonal) {
    line1 = "Navigate using mouse clicks,";
    line2 = "OR 4 arrows + > or <";
    line3 = "OR mouse scroll wheel.";
  } else if (mosaic.DimPanels.z < mosaic.DisplayVolumeDim.z) {
    line1 = "Reduced slice set is shown.";
    line2 = "Use in/out (</>) arrows";
    line3 = "or mouse scroll wheel to show other slices.";
  }
  if (line1)
    show_on_info_line(0, 0, const_cast<char *>(line1), const_cast<char *>(line2),
                      const_cast<char *>(line3));
}
