// The group model's part of a region table: each file's value (and its
// standard error when the files hold both), then the fit, once with the
// heading of the globally scaled fit when the baseline is shown, and once
// as the plain fit. Whole lines for the first region, one more set of
// columns behind the old lines for each further region.
#include <cstdio>
#include <string>

#include "zor_graph.h"
#include "zor_model_views.h"
#include "zor_overlay.h"
#include "zor_roi_files.h"
#include "zor_time_model.h"

namespace {

std::string text_of(const char *format, float a, float b = 0.0f) {
  char text[128];
  snprintf(text, sizeof text, format, a, b);
  return text;
}

}  // namespace

int write_REM_into_roi_file(int first_time, FILE *file, int *ibuffer) {
  const bool paired = REM_graph_is_paired() != 0;
  const int n = graph.npoints, step = paired ? 2 : 1;
  int iloc = 0;
  std::string line;
  auto extend = [&](const std::string &text) {
    create_new_ROI_line(ibuffer, text.c_str(), &iloc, &line);
    fwrite(line.data(), 1, line.size(), file);  // every byte of the old line, NUL included
  };
  auto fit_block = [&](const char *heading) {
    if (first_time)
      fputs(heading, file);
    else
      extend(" \n");
    for (int j = 0; j + step - 1 < n; j += step) {
      if (first_time)
        fprintf(file, paired ? "%d %g %g 0\n" : "%d %g %g\n", j, graph.xVector[j], graph.yFit[j]);
      else
        extend(text_of(paired ? " %g 0\n" : " %g\n", graph.yFit[j]));
    }
  };

  const std::string name = ovl_root.name;
  if (first_time) {
    fprintf(file, paired ? "i x %s %s_err\n" : "i x %s\n", name.c_str(), name.c_str());
  } else {
    extend(paired ? " " + name + " " + name + "_err\n" : " " + name + "\n");
  }
  for (int j = 0; j + step - 1 < n; j += step) {
    if (first_time) {
      if (paired)
        fprintf(file, "%d %g %g %g\n", j, graph.xVector[j], graph.yVector[j], graph.yVector[j + 1]);
      else
        fprintf(file, "%d %g %g\n", j, graph.xVector[j], graph.yVector[j]);
    } else {
      extend(paired ? text_of(" %g %g\n", graph.yVector[j], graph.yVector[j + 1]) : text_of(" %g\n", graph.yVector[j]));
    }
  }
  if (glm_model.baseline) fit_block("new   # GLM fit to data with global scaling\n");
  fit_block("new   # GLM fit to data\n");
  return 0;
}
