// What the linear model draws in the graph under the data: stimuli,
// excluded segments and event labels, the fit of each event and of the
// whole model, and the noise bands when only noise is left.
#include <algorithm>
#include <cstring>
#include <vector>

#include "zor_graph.h"
#include "zor_glm.h"
#include "zor_overlay.h"
#include "zor_time_model.h"
#include "zor_x11.h"

namespace {

IPOINT2D pixel(float x, float y) { return Space2D_to_GraphPixels(POINT2D{x, y}); }

// Limits over the points the fit uses.
void scale_to_included_points(void) {
  if (graph.Min.y != graph.Max.y && graph.fixed.y != 0) return;
  float low = 1e10f, high = -1e10f;
  for (int j = 0; j < graph.npoints; j++) {
    if (GLM_is_excluded(j)) continue;
    low = std::min(low, graph.yVector[j]);
    high = std::max(high, graph.yVector[j]);
  }
  if (low == high) {
    low -= 10.0f;
    high += 10.0f;
  }
  const float margin = graph.units_percent ? 1.0f : (high - low) / 10.0f;
  graph.Min.y = low - margin;
  graph.Max.y = high + margin;
}

// A band over the whole height between two x values, widened outward by
// half a data unit's pixels on each side.
void fill_band(float x_low, float x_high, int color, float widen_pixels) {
  IPOINT2D a = pixel(x_low, graph.Max.y), b = pixel(x_high, graph.Min.y);
  a.x -= (int)widen_pixels;
  b.x += (int)widen_pixels;
  a.y = 0;
  b.y = graph.size.y;
  DPRIMITIVE_FillRectangle(Drawable_GraphData, color, a, b);
}

void draw_events_and_exclusions(void) {
  const float tr = GLM.tr[0];
  const float half_pixel = graph.ScaleDraw.x / 2.0f;
  float on, off;
  for (int j = 0; j < GLM.nevents; j++) {
    if (GLM.event_shape[j] == SHAPE_TABLE || GLM_event_is_in_string(glm_model.residue_string, j)) continue;
    GLM_get_stimulus(-1, &on, &off);
    while (GLM_get_stimulus(j, &on, &off)) fill_band(on, off, COLOR_GRAY, half_pixel);
  }
  if (glm_model.show_glm_windows == 2) {
    int start, end;
    for (int k = 0; k < GLM_get_number_excluded_regions(); k++)
      if (GLM_get_excluded_region(k, &start, &end) == 0)
        fill_band(((float)start - 0.5f) * tr, ((float)end + 0.5f) * tr, COLOR_BLUE, 0.0f);
  }
  const float middle = (graph.Max.y + graph.Min.y) / 2.0f;
  for (int j = 0; j < GLM.nevents; j++) {
    char id[2] = {' ', '\0'};
    GLM_EventCharIDFromInteger(GLM.event_number[j], &id[0]);
    const int color = GLM_event_is_in_string(glm_model.residue_string, j) ? COLOR_BLUE : COLOR_WHITE;
    const int shift = (std::min(j - 1, 8) - GLM.nevents / 4) * 15;
    GLM_get_stimulus(-1, &on, &off);
    while (GLM_get_stimulus(j, &on, &off)) {
      IPOINT2D at = pixel(on - tr / 2.0f, middle);
      at.y += shift;
      DPRIMITIVE_FillText(Drawable_GraphData, color, at, id);
    }
  }
}

// A curve through the graph's x values, reduced as the data are.
void draw_curve(std::vector<float> &values, int color, float sign = 1.0f, const float *centre = nullptr) {
  const int n = graph.npoints;
  std::vector<float> y(n), x_out(n), y_out(n);
  for (int j = 0; j < n; j++) y[j] = (centre ? centre[j] : 0.0f) + sign * values[j];
  int nbins = n;
  if (graph.bin_data == 0) {
    smooth_graph_vector(graph.xVector, y.data(), x_out.data(), y_out.data());
  } else {
    const int width = graph.bin_width > 0 ? graph.bin_width : 1;
    nbins = (n + width - 1) / width;
    bin_graph_vector(nbins, graph.xVector, y.data(), x_out.data(), y_out.data());
  }
  for (int j = 1; j < nbins; j++)
    DPRIMITIVE_DrawLine(Drawable_GraphData, color, pixel(x_out[j - 1], y_out[j - 1]), pixel(x_out[j], y_out[j]));
}

}  // namespace

void plot_GLM_TimeSeriesModel(void) {
  const int n = graph.npoints;
  if (n < 1 || graph.size.x < 1 || graph.size.y < 1) return;
  scale_to_included_points();
  graph.ScaleDraw.x = (float)graph.size.x / (graph.Max.x - graph.Min.x);
  graph.ScaleDraw.y = (float)graph.size.y / (graph.Max.y - graph.Min.y);
  if (glm_model.show_glm_windows != 0 && !graph.freq_domain) draw_events_and_exclusions();
  if (graph.freq_domain || GLM.initialized != 2 || n != GLM.ntime || GLM.ncoeff < 1) return;

  std::vector<float> curve(n);
  for (int j = 0; j < GLM.nevents; j++) {
    bool ok = true;
    for (int t = 0; t < n && ok; t++)
      ok = GLM_event_fit(glm_model.baseline, glm_model.residue_string, j, t, &curve[t]) == 0;
    if (ok) draw_curve(curve, COLOR_RED);
  }
  std::vector<float> fit(graph.yFit, graph.yFit + n);
  draw_curve(fit, COLOR_WHITE);

  // With the baseline and every event taken out, only noise is left: show
  // its spread about zero.
  if (glm_model.baseline == 0 && graph.units_percent == 0 &&
      GLM_get_number_events_inside_residue(glm_model.residue_string) == GLM.nevents) {
    const int model = GLM_get_noise_model();
    if (model != 0 && GLM_get_noise(0, n, curve.data()) == 0) {
      draw_curve(curve, COLOR_WHITE);
      draw_curve(curve, COLOR_WHITE, -1.0f);
    }
    if (model != 1 && GLM_get_noise(1, n, curve.data()) == 0) {
      draw_curve(curve, COLOR_RED);
      draw_curve(curve, COLOR_RED, -1.0f);
    }
  }
}
