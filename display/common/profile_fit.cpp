// A point spread fitted to the profile the graph shows along x, y or z: a
// Gaussian ("F") or a 1/(1 + r^2) shape ("f") over the range chosen with
// buttons 2 and 3 (the whole profile when none is chosen). The fitted curve
// goes to graph.yFit, where the graph draws it in red, and the parameters
// to the information line.
#include <cmath>
#include <cstdio>
#include <vector>

#include "zor_curve_fit.h"
#include "zor_geometry.h"
#include "zor_graph.h"
#include "zor_profile_fit.h"
#include "zor_x11.h"

void action_fit_psf(int gaussian) {
  if (graph.type != 0 || graph.space_model == 0 || !mosaic.stack || graph.npoints < 1) return;
  if (!graph.xVector || !graph.yVector || !graph.yFit) return;
  int low = graph.ix_low_select, high = graph.ix_high_select;
  if (low < 0 || high < 0 || low >= graph.npoints || high >= graph.npoints || high < low) {
    low = 0;
    high = graph.npoints - 1;
  }
  const int n = high - low + 1;
  std::vector<double> x((size_t)n), y((size_t)n);
  float amp = 0.0f;
  for (int j = low; j <= high; j++) {
    x[j - low] = graph.xVector[j];
    y[j - low] = graph.yVector[j];
    // The start amplitude: the sample of largest magnitude, with its sign.
    if (std::fabs(graph.yVector[j]) > std::fabs(amp)) amp = graph.yVector[j];
  }
  float width = (float)(high - low) / 8.0f;
  const POINT3D cross = Convert_Voxel_to_Space(mosaic.icross, mosaic.stack);
  float center = graph.space_model == 1 ? cross.x : graph.space_model == 2 ? cross.y : cross.z;
  if (gaussian)
    fit_gaussian(n, x.data(), y.data(), &center, &amp, &width);
  else
    fit_1_over_r2(n, x.data(), y.data(), &center, &amp, &width);
  fflush(stdout);
  double p[3] = {amp, center, width};
  for (int j = 0; j < graph.npoints; j++)
    graph.yFit[j] = (float)(gaussian ? func_gaussian(graph.xVector[j], p)
                                     : func_1_over_r2(graph.xVector[j], p));
  char line1[256], line2[256], line3[256];
  snprintf(line1, sizeof line1, "%s fit", gaussian ? "Gaussian" : "1/r^2");
  snprintf(line2, sizeof line2, "center = %g, amp = %g", center, amp);
  snprintf(line3, sizeof line3, "width = %g", width);
  show_on_info_line(1, 0, line1, line2, line3);
}
