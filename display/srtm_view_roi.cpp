// The PET model's part of a region table: the tissue curve, the fit, the
// non-specific and specific binding fits, and R1, tau2' and BP at every
// frame. Whole lines for the first region, one more column behind the old
// lines for each further region.
#include <cstdio>
#include <string>
#include <vector>

#include "zor_graph.h"
#include "zor_model_views.h"
#include "zor_overlay.h"
#include "zor_roi_files.h"
#include "zor_srtm.h"

int write_SRTM_into_roi_file(int first_time, FILE *file, int *ibuffer) {
  const int n = graph.npoints;
  // The seven series, all computed before anything is written.
  std::vector<std::vector<float>> series(7, std::vector<float>(n > 0 ? n : 1, 0.0f));
  for (int j = 0; j < n; j++) {
    series[0][j] = graph.yVector[j];
    series[1][j] = graph.yFit[j];
    if (SRTM_binding_fit(0, j, &series[2][j]) || SRTM_binding_fit(1, j, &series[3][j])) return 1;
  }
  for (int p = 0; p < 3; p++)
    for (int j = 0; j < n; j++) {
      double error;
      series[4 + p][j] = (float)SRTM_get_parameter_value(p, j, &error);
    }
  static const char *const headings[6] = {
      "new   # SRTM fit to data\n",          "new   # SRTM fit of non-specific binding\n",
      "new   # SRTM fit of specific binding\n", "new   # R1 value from SRTM fit\n",
      "new   # tau2' value from SRTM fit\n",  "new   # BP value from SRTM fit\n"};

  int iloc = 0;
  std::string line;
  auto extend = [&](const std::string &text) {
    create_new_ROI_line(ibuffer, text.c_str(), &iloc, &line);
    fwrite(line.data(), 1, line.size(), file);  // every byte of the old line, NUL included
  };
  if (first_time)
    fprintf(file, "i x %s\n", ovl_root.name);
  else
    extend(std::string(" ") + ovl_root.name + "\n");
  for (int s = 0; s < 7; s++) {
    if (s > 0) {
      if (first_time)
        fputs(headings[s - 1], file);
      else
        extend(" \n");
    }
    for (int j = 0; j < n; j++) {
      if (first_time) {
        fprintf(file, "%d %g %g\n", j, graph.xVector[j], series[s][j]);
      } else {
        char text[64];
        snprintf(text, sizeof text, " %g\n", series[s][j]);
        extend(text);
      }
    }
  }
  return 0;
}
