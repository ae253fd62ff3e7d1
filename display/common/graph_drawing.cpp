// The graph window's picture: the data area is drawn into a client image
// and a pixmap at each full rebuild (curve, gray band of a histogram, the
// anatomy beneath a profile, the zero axis), copied to the window, and the
// marker of the time point or cross-hair drawn over the copy. Below the
// data, the information line reads the graph back.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "zor_float_int.h"
#include "zor_geometry.h"
#include "zor_graph.h"
#include "zor_roi_files.h"
#include "zor_time_model.h"
#include "zor_x11.h"

namespace {

bool is_projection(void) { return graph.type == 0 && graph.space_model != 0; }
bool is_histogram(void) { return graph.type == 0 && graph.space_model == 0; }

// Pixel x of a data x, over the whole height of the data area.
void fill_band(float x_low, float x_high, int color) {
  IPOINT2D a = Space2D_to_GraphPixels(POINT2D{x_low, graph.Max.y});
  IPOINT2D b = Space2D_to_GraphPixels(POINT2D{x_high, graph.Min.y});
  if (a.x == INT_MIN || b.x == INT_MIN) return;
  a.x = std::clamp(a.x, -1, graph.size.x + 1);
  b.x = std::clamp(b.x, -1, graph.size.x + 1);
  if (b.x < a.x) std::swap(a.x, b.x);
  DPRIMITIVE_FillRectangle(Drawable_GraphData, color, IPOINT2D{a.x, 0},
                           IPOINT2D{b.x, graph.size.y - 1});
}

// Whether a pixel can be handed to the server: X coordinates are 16 bits.
bool drawable_pixel(IPOINT2D p) {
  return p.x > -32768 && p.x < 32768 && p.y > -32768 && p.y < 32768;
}

void polyline(int n, const float *x, const float *y, int color, bool index_as_x) {
  IPOINT2D previous{0, 0};
  bool have_previous = false;
  for (int j = 0; j < n; j++) {
    POINT2D p{index_as_x ? (float)j : x[j], y[j]};
    IPOINT2D q = Space2D_to_GraphPixels(p);
    if (!drawable_pixel(q)) {
      have_previous = false;
      continue;
    }
    if (have_previous) DPRIMITIVE_DrawLine(Drawable_GraphData, color, previous, q);
    previous = q;
    have_previous = true;
  }
}

// The data area's pixmap, cleared to the plot's background. The client
// image and the pixmap are made anew only when the area's size changes, so
// that a long run of redraws holds one of each; otherwise the pixmap is
// cleared on the server.
Display *surface_display = nullptr;
IPOINT2D surface_size{0, 0};
GC background_gc = nullptr;

void new_data_surface(void) {
  const IPOINT2D S = graph.size;
  const bool same = surface_display == XConnection && XPixmap_GraphData != 0 &&
                    surface_size.x == S.x && surface_size.y == S.y && background_gc;
  if (same) {
    XFillRectangle(XConnection, XPixmap_GraphData, background_gc, 0, 0, (unsigned)S.x,
                   (unsigned)S.y);
    return;
  }
  if (surface_display == XConnection) {
    if (XImage_GraphData) XDestroyImage(XImage_GraphData);
    if (XPixmap_GraphData) XFreePixmap(XConnection, XPixmap_GraphData);
  } else {
    background_gc = XCreateGC(XConnection, XRoot_Window, 0, nullptr);
    XSetForeground(XConnection, background_gc, PIXEL_GRAPH_DATA);
    XSetGraphicsExposures(XConnection, background_gc, False);
  }
  surface_display = XConnection;
  surface_size = S;
  XImage_GraphData = create_filled_XImage(&XData_GraphData, S.x, S.y, PIXEL_GRAPH_DATA);
  XPixmap_GraphData =
      XCreatePixmap(XConnection, XRoot_Window, (unsigned)S.x, (unsigned)S.y, (unsigned)XScreen_depth);
  XPutImage(XConnection, XPixmap_GraphData, XGC_image, XImage_GraphData, 0, 0, 0, 0,
            (unsigned)S.x, (unsigned)S.y);
}

void draw_marker(void) {
  float x;
  if (!graph_marker_x(&x)) return;
  IPOINT2D top = Space2D_to_GraphPixels(POINT2D{x, graph.Max.y});
  IPOINT2D bottom = Space2D_to_GraphPixels(POINT2D{x, graph.Min.y});
  top.y += 16;
  bottom.y += 14;
  if (!drawable_pixel(top) || !drawable_pixel(bottom)) return;
  DPRIMITIVE_DrawLine(Drawable_GraphWindow, COLOR_WHITE, top, bottom);
}

}  // namespace

void build_graph_display(int Redraw) {
  if (graph.size.x == 0) return;
  build_graph_display_XYZT(Redraw);
  show_information_graph(0);
}

void build_graph_display_XYZT(int Redraw) {
  if (XWindow_graph == 0) return;
  // A window smaller than its strips has no data area to draw.
  if (graph.size.x <= 0 || graph.size.y <= 0 || !graph.xVector) return;
  if (Redraw || XPixmap_GraphData == 0) {
    new_data_surface();
    if (is_projection()) plot_graph_projection_secondary_data();
    compute_graph_limits();
    if (graph.type == 1 && graph.time_model != 0) plot_TimeSeriesModel();

    std::vector<float> bx((size_t)std::max(graph.npoints, 1)), by(bx.size());
    const int nbins = reduce_graph_vectors(bx.data(), by.data());
    if (is_histogram()) fill_band(image_scale_min, image_scale_max, COLOR_GRAY);
    if (graph.type == 1)
      plot_TimeSeriesModel_DataPoints(nbins, bx.data(), by.data());
    else
      plot_DataPoints(nbins, bx.data(), by.data());
    if (is_projection() && graph.yFit) {
      bool any = false;
      for (int j = 0; j < graph.npoints; j++) any = any || graph.yFit[j] != 0.0f;
      if (any) polyline(nbins, bx.data(), graph.yFit, COLOR_RED, false);
    }
    if (graph.Min.y < 0.0f || graph.Max.y > 0.0f) {
      IPOINT2D a = Space2D_to_GraphPixels(POINT2D{graph.Min.x, 0.0f});
      IPOINT2D b = Space2D_to_GraphPixels(POINT2D{graph.Max.x, 0.0f});
      if (drawable_pixel(a) && drawable_pixel(b))
        DPRIMITIVE_DrawLine(Drawable_GraphData, COLOR_YELLOW, a, b);
    }
  }
  refresh_display_graph();
  draw_marker();
}

void plot_DataPoints(int nbins, float *BinXVector, float *BinYVector) {
  if (nbins <= 0) return;
  const float psize = std::min(1.5f * (float)graph.size.x / (float)nbins, 4.0f);
  const int half = truncate_to_int(psize / 2.0f);
  IPOINT2D previous{0, 0};
  bool have_previous = false;
  for (int j = 0; j < nbins; j++) {
    IPOINT2D p = Space2D_to_GraphPixels(POINT2D{BinXVector[j], BinYVector[j]});
    if (!drawable_pixel(p)) {
      have_previous = false;
      continue;
    }
    DPRIMITIVE_FillRectangle(Drawable_GraphData, COLOR_YELLOW, IPOINT2D{p.x - half, p.y - half},
                             IPOINT2D{p.x + half, p.y + half});
    if (have_previous) DPRIMITIVE_DrawLine(Drawable_GraphData, COLOR_YELLOW, previous, p);
    previous = p;
    have_previous = true;
  }
}

void plot_graph_projection_secondary_data(void) {
  graph.ScaleDraw.x = (float)graph.size.x / (graph.Max.x - graph.Min.x);
  graph.ScaleDraw.y = (float)graph.size.y / (graph.Max.y - graph.Min.y);
  if (graph.ix_low_select >= 0 && graph.ix_high_select >= 0 &&
      graph.ix_low_select < graph.npoints && graph.ix_high_select < graph.npoints)
    fill_band(graph.xVector[graph.ix_low_select], graph.xVector[graph.ix_high_select],
              COLOR_GRAY);
  if (!(activation.visible && activation.data_type != 0)) return;
  const POINT2D saved_min = graph.Min, saved_max = graph.Max;
  float low = 1e10f, high = -1e10f;
  for (int j = 0; j < graph.npoints; j++) {
    low = std::min(low, graph.yVector2[j]);
    high = std::max(high, graph.yVector2[j]);
  }
  graph.Min.y = low;
  graph.Max.y = high;
  graph.ScaleDraw.y = (float)graph.size.y / (graph.Max.y - graph.Min.y);
  // The anatomy is drawn against the point index, not the coordinate.
  polyline(graph.npoints, nullptr, graph.yVector2, COLOR_RED, true);
  graph.Min = saved_min;
  graph.Max = saved_max;
  graph.ScaleDraw.y = (float)graph.size.y / (graph.Max.y - graph.Min.y);
}

int position_text_graph(int move_cursor, char *line1, char *line2, char *line3) {
  const SelectableText *hovered = nullptr;
  if (graph.cursor_selection & GRAPH_CURSOR_ON_TEXT)
    for (const SelectableText *t = &graph.SelectText; t; t = t->next)
      if (t->selected && t->visible) hovered = t;
  if (hovered) {
    snprintf(line1, ZOR_LINE, "%s", hovered->message1);
    snprintf(line2, ZOR_LINE, "%s", hovered->message2);
    snprintf(line3, ZOR_LINE, "%s", hovered->message3);
    return 1;
  }
  int index = 0;
  if (graph.type == 1) {
    snprintf(line1, ZOR_LINE, "    time   graph");
    index = graph.iTime;
  } else if (graph.space_model == 0) {
    snprintf(line1, ZOR_LINE, "    bin    graph");
    index = graph.ihist_marker;
  } else {
    static const char *const names[3] = {"    x      graph", "    y      graph",
                                         "    z      graph"};
    const int axis = std::clamp(graph.space_model, 1, 3);
    snprintf(line1, ZOR_LINE, "%s", names[axis - 1]);
    index = axis == 1 ? mosaic.icross.x : axis == 2 ? mosaic.icross.y : mosaic.icross.z;
  }
  const bool on_data = graph.cursor_selection & GRAPH_CURSOR_ON_DATA;
  float xvalue = 0.0f, yvalue = 0.0f;
  bool values = false;
  if (on_data && move_cursor) {
    index = graph.icursor.x;
    xvalue = graph.cursor.x;
    yvalue = graph.cursor.y;
    values = index >= 0;
  } else if (index >= 0 && index < graph.npoints && graph.xVector) {
    xvalue = graph.xVector[index];
    yvalue = graph.yVector[index];
    values = true;
  }
  if (values)
    snprintf(line2, ZOR_LINE, "%8g  %8g", xvalue, yvalue);
  else
    snprintf(line2, ZOR_LINE, "%17s", "");
  snprintf(line3, ZOR_LINE, "%8d", index);
  if (graph.type == 1 && graph.time_model != 0)
    get_info_TimeSeriesModel(move_cursor, line1, line2, line3);
  return !(move_cursor && !on_data);
}

void show_position_graph(int move_cursor) {
  if (XWindow_graph == 0 || graph.size.x <= 0) return;
  char line1[ZOR_LINE], line2[ZOR_LINE], line3[ZOR_LINE];
  if (position_text_graph(move_cursor, line1, line2, line3))
    show_on_info_line(1, 0, line1, line2, line3);
}

void show_information_graph(int move_cursor) { show_position_graph(move_cursor); }

void graph_window_title(char *title) {
  const char *kind = "time points";
  if (graph.type == 0) {
    static const char *const kinds[4] = {"histogram", "x projection", "y projection",
                                         "z projection"};
    static const char *const files[4] = {".hist", ".px", ".py", ".pz"};
    const int m = std::clamp(graph.space_model, 0, 3);
    kind = kinds[m];
    strcpy(ROI_file_name, files[m]);
  } else {
    label_graph_time_window_TimeSeriesModel(ROI_file_name);
  }
  snprintf(title, 3 * ZOR_LINE, "%s  ----  output to file %s (%d)", kind, ROI_file_name,
           get_number_rois_in_file(ROI_file_name));
}

void label_graph_window(void) {
  char title[3 * ZOR_LINE];
  graph_window_title(title);
  if (XWindow_graph != 0) XStoreName(XConnection, XWindow_graph, title);
}
