// What the PET model draws in the graph under the tissue curve: excluded
// frames, the binding fits or the fit of each coefficient, the whole fit,
// and the kinetic parameter of the panel with its error band, scaled into
// the graph; or, on the residue, the noise bands.
#include <cmath>
#include <vector>

#include "model_view_drawing.h"
#include "zor_graph.h"
#include "zor_model_views.h"
#include "zor_srtm.h"
#include "zor_time_model.h"
#include "zor_x11.h"

namespace {

int parameter_color(int code) {
  switch (code) {
    case 1: return COLOR_ORANGE;
    case 2:
    case -2:
    case 3:
    case -3: return COLOR_PURPLE;
    default: return COLOR_GREEN;
  }
}

void draw_excluded_frames(void) {
  for (int r = 0; r < SRTM.nruns; r++)
    for (int j = 0; j < SRTM.nt[r]; j++) {
      if (!SRTM_TimePoint_Is_Ignored(r, j)) continue;
      // The frame index within its run, as the bands have always been put.
      view_band((float)j - 0.5f, (float)j + 0.5f, COLOR_BLUE);
    }
}

// The noise bands about zero on the residue (none on a spectrum).
void draw_noise_bands(int n) {
  if (graph.freq_domain) return;
  std::vector<float> curve(n);
  for (int fit = 0; fit <= 1; fit++) {
    if (SRTM_get_noise_model(fit, n, curve.data())) return;
    const int color = fit ? COLOR_RED : COLOR_WHITE;
    view_reduced_curve(curve, color);
    for (float &v : curve) v = -v;
    view_reduced_curve(curve, color);
  }
}

// The panel's parameter over every frame, scaled so that twice its largest
// value reaches the top of the graph.
void draw_parameter(int n) {
  const int code = glm_model.iParameter;
  std::vector<float> value(n), error(n);
  double largest = -1e10;
  for (int j = 0; j < n; j++) {
    double e = 0.0;
    value[j] = (float)SRTM_get_parameter_value(code, j, &e);
    error[j] = (float)e;
    if (value[j] > largest) largest = value[j];
  }
  double target = largest > 0.0 ? 2.0 * largest : largest / 2.0;
  if (target == 0.0) target = 1.0;
  const float scale = (float)(graph.Max.y / target);
  std::vector<float> low(n), high(n);
  for (int j = 0; j < n; j++) {
    low[j] = (value[j] - error[j]) * scale;
    high[j] = (value[j] + error[j]) * scale;
    value[j] *= scale;
  }
  view_reduced_curve(low, COLOR_GRAY);
  view_reduced_curve(high, COLOR_GRAY);
  view_reduced_curve(value, parameter_color(code));
}

}  // namespace

void plot_SRTM_TimeSeriesModel(void) {
  const int n = graph.npoints;
  if (n < 1 || n != SRTM.ntime || SRTM.initialized != 2 || graph.size.x < 1 || graph.size.y < 1) return;
  const int display = glm_model.iDisplay;
  if (display == 0) draw_excluded_frames();
  if (display == 2) {
    draw_noise_bands(n);
    return;
  }
  std::vector<float> divisor(n, 1.0f);
  if (display == 3 && SRTM_get_noise_model(1, n, divisor.data())) return;
  auto over_noise = [&](std::vector<float> &v) {
    for (int j = 0; j < n; j++)
      if (divisor[j] != 0.0f) v[j] /= divisor[j];
  };
  std::vector<float> curve(n);
  if (display == 0 || display == 3) {
    for (int bind = 0; bind <= 1; bind++) {
      bool ok = true;
      for (int j = 0; j < n && ok; j++) ok = SRTM_binding_fit(bind, j, &curve[j]) == 0;
      if (!ok) continue;
      over_noise(curve);
      view_reduced_curve(curve, bind ? COLOR_RED : COLOR_GREEN);
    }
  } else {
    for (int c = 0; c < SRTM.ncoeff; c++) {
      bool ok = true;
      for (int j = 0; j < n && ok; j++) ok = SRTM_coeff_fit(c, j, &curve[j]) == 0;
      if (ok) view_reduced_curve(curve, SRTM_k2a_coefficient(c) ? COLOR_RED : COLOR_GREEN);
    }
  }
  std::vector<float> fit(graph.yFit, graph.yFit + n);
  over_noise(fit);
  view_reduced_curve(fit, COLOR_WHITE);
  if (display == 3 || glm_model.iParameter == -1) return;
  draw_parameter(n);
}

void plot_SRTM_TimeSeriesModel_DataPoints(int nbins, float *BinXVector, float *BinYVector) {
  if (glm_model.iDisplay != 3) plot_DataPoints(nbins, BinXVector, BinYVector);
}
