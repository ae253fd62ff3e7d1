// Drawing helpers shared by the model views.
#include "model_view_drawing.h"

#include <algorithm>

#include "zor_float_int.h"
#include "zor_graph.h"
#include "zor_x11.h"

namespace {

bool addressable(IPOINT2D p) { return p.x > -32768 && p.x < 32768 && p.y > -32768 && p.y < 32768; }

IPOINT2D pixel(float x, float y) { return Space2D_to_GraphPixels(POINT2D{x, y}); }

}  // namespace

void view_line(float x0, float y0, float x1, float y1, int color) {
  const IPOINT2D a = pixel(x0, y0), b = pixel(x1, y1);
  if (addressable(a) && addressable(b)) DPRIMITIVE_DrawLine(Drawable_GraphData, color, a, b);
}

void view_polyline(int n, const float *x, const float *y, int color) {
  for (int j = 1; j < n; j++) view_line(x[j - 1], y[j - 1], x[j], y[j], color);
}

void view_band(float x_low, float x_high, int color) {
  IPOINT2D a = pixel(x_low, graph.Max.y), b = pixel(x_high, graph.Min.y);
  if (!addressable(a) || !addressable(b)) return;
  a.y = 0;
  b.y = graph.size.y;
  DPRIMITIVE_FillRectangle(Drawable_GraphData, color, a, b);
}

void view_square(float x, float y, float size, int color) {
  const IPOINT2D p = pixel(x, y);
  if (!addressable(p)) return;
  const int half = truncate_to_int(size / 2.0f);
  DPRIMITIVE_FillRectangle(Drawable_GraphData, color, IPOINT2D{p.x - half, p.y - half},
                           IPOINT2D{p.x + half, p.y + half});
}

void view_reduced_curve(const std::vector<float> &values, int color) {
  const int n = graph.npoints;
  if (n < 1 || (int)values.size() < n) return;
  std::vector<float> y(values.begin(), values.begin() + n), x_out(n), y_out(n);
  int nbins = n;
  if (graph.bin_data == 0) {
    smooth_graph_vector(graph.xVector, y.data(), x_out.data(), y_out.data());
  } else {
    const int width = graph.bin_width > 0 ? graph.bin_width : 1;
    nbins = (n + width - 1) / width;
    bin_graph_vector(nbins, graph.xVector, y.data(), x_out.data(), y_out.data());
  }
  view_polyline(nbins, x_out.data(), y_out.data(), color);
}
