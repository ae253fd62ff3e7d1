// The linear model's part of a region table: the time course, the model's
// fit and each event's fit, as whole lines the first time and as one more
// column behind the lines of the file as it stood for every later region.
#include <cstdio>
#include <cstring>
#include <string>

#include "zor_glm.h"
#include "zor_overlay.h"
#include "zor_roi_files.h"
#include "zor_time_model.h"

namespace {

// The old file's next line with `text` behind it.
void write_extended_line(FILE *file, int *ibuffer, int *iloc, const std::string &text) {
  std::string line;
  create_new_ROI_line(ibuffer, text.c_str(), iloc, &line);
  fwrite(line.data(), 1, line.size(), file);  // every byte of the old line, NUL included
}

std::string value_text(const char *format, float value) {
  char text[64];
  snprintf(text, sizeof text, format, value);
  return text;
}

}  // namespace

int write_GLM_into_roi_file(int first_time, FILE *file, int *ibuffer) {
  const int n = graph.npoints;
  int iloc = 0;
  // One row: whole (index, x, value) the first time, else one more column.
  auto row = [&](int j, float value) {
    if (first_time)
      fprintf(file, "%d %g %g\n", j, graph.xVector[j], value);
    else
      write_extended_line(file, ibuffer, &iloc, value_text(" %g\n", value));
  };
  auto block = [&](const char *first_line) {
    if (first_time)
      fputs(first_line, file);
    else
      write_extended_line(file, ibuffer, &iloc, " \n");
  };

  if (first_time)
    fprintf(file, "i x %s\n", ovl_root.name);
  else
    write_extended_line(file, ibuffer, &iloc, std::string(" ") + ovl_root.name + "\n");
  for (int j = 0; j < n; j++) row(j, graph.yVector[j]);
  if (GLM.nevents == 0) return 0;

  block("new   # GLM fit to data\n");
  for (int j = 0; j < n; j++) row(j, graph.yFit[j]);
  for (int e = 0; e < GLM.nevents; e++) {
    char id = ' ';
    GLM_EventCharIDFromInteger(GLM.event_number[e], &id);
    char heading[64];
    snprintf(heading, sizeof heading, "new   # fit for event type %c\n", id);
    block(heading);
    for (int j = 0; j < n; j++) {
      float fit = graph.yFit[j];
      if (GLM_event_fit(glm_model.baseline, glm_model.residue_string, e, j, &fit)) return 1;
      row(j, fit);
    }
  }
  return 0;
}
