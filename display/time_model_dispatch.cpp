// The switchboard between the graph and the models: every operation goes to
// the view of the model in graph.time_model. Each operation has its own
// answer when no model (or an unknown one) is loaded. The group, PET and
// fitting views are not part of this viewer yet: their numbers take the
// no-model answer, except that the group model keeps its name.
#include <cstdio>
#include <cstring>

#include "zor_graph.h"
#include "zor_exit.h"
#include "zor_float_int.h"
#include "zor_glm.h"
#include "zor_time_model.h"

namespace {

[[noreturn]] void no_such_model(void) {
  puts("Error: only the GLM, REM, & SRTM-GLM models are defined.");
  zor_exit(1);
}

bool is_glm(void) { return graph.time_model == MODEL_GLM; }

// Numbers beyond the known models end the run in the operations that have
// no answer of their own for them.
bool is_unknown(void) { return graph.time_model < MODEL_NONE || graph.time_model > MODEL_FIT; }

void refuse_unknown(void) {
  if (is_unknown()) no_such_model();
}

}  // namespace

void initialize_TimeSeriesModel(int which_model) {
  graph.time_model = which_model;
  if (which_model != MODEL_GLM) no_such_model();
  initialize_GLM_TimeSeriesModel();
  graph.time_model = which_model;
}

int read_TimeSeriesModel(char *FileName) {
  if (!is_glm()) no_such_model();
  return read_GLM_TimeSeriesModel(FileName);
}

int TimeSeriesModel_is_initialized(void) {
  if (is_glm()) return GLM_is_initialized();
  return 0;
}

int define_TimeSeriesModel(int nflags, int *flags) {
  if (!is_glm()) no_such_model();
  return define_GLM_TimeSeriesModel(nflags, flags) != 0;
}

void get_TimeSeriesModel_name(char *name) {
  switch (graph.time_model) {
    case MODEL_GLM: get_GLM_TimeSeriesModel_name(name); return;
    case MODEL_REM: strcpy(name, "REM"); return;
    case MODEL_NONE:
    case MODEL_SRTM:
    case MODEL_FIT: strcpy(name, "none"); return;
    default: strcpy(name, "*Error*"); return;
  }
}

float get_TimeSeriesModel_xValue(int itime) {
  if (is_glm()) return get_GLM_xValue(itime);
  return (float)itime;
}

int get_TimeSeriesModel_xIndex(float time) {
  if (is_glm()) return get_GLM_xIndex(time);
  return truncate_to_int(time);
}

void plot_TimeSeriesModel(void) {
  if (!is_glm()) no_such_model();
  plot_GLM_TimeSeriesModel();
}

void plot_TimeSeriesModel_DataPoints(int nbins, float *BinXVector, float *BinYVector) {
  // The linear model draws its samples the common way.
  plot_DataPoints(nbins, BinXVector, BinYVector);
}

void fill_TimeSeriesModel(IPOINT3D voxel) {
  (void)voxel;
  if (!TimeSeriesModel_is_initialized() || graph.npoints == 0) return;
  refuse_unknown();
  if (is_glm()) fill_GLM_TimeSeriesModel();
}

void get_info_TimeSeriesModel(int move_cursor, char *string1, char *string2, char *string3) {
  refuse_unknown();
  if (graph.type != 1 || !is_glm()) {
    puts("Programming error in function display_info_TimeSeriesModel.");
    zor_exit(1);
  }
  get_info_GLM_TimeSeriesModel(move_cursor, string1, string2, string3);
}

void update_SelectText_TimeSeriesModel(SelectableText *SelectText) {
  if (graph.npoints == 0) return;
  refuse_unknown();
  if (is_glm()) update_SelectText_GLM_TimeSeriesModel(SelectText);
}

void action_graph_text_selection_TimeSeriesModel(int button) {
  refuse_unknown();
  if (is_glm()) action_graph_text_selection_GLM_TimeSeriesModel(button);
}

void action_graph_button23_TimeSeriesModel(void) {
  refuse_unknown();
  if (is_glm()) action_graph_button23_GLM_TimeSeriesModel();
}

int graph_event_handler_TimeSeriesModel(char key) {
  refuse_unknown();
  if (is_glm()) return graph_event_handler_GLM_TimeSeriesModel(key);
  return 0;
}

void label_graph_time_window_TimeSeriesModel(char *FileName) {
  refuse_unknown();
  if (is_glm()) label_graph_time_window_GLM_TimeSeriesModel(FileName);
}

int write_TimeSeriesModel_into_roi_file(int first_time, FILE *file, int *ibuffer) {
  refuse_unknown();
  if (is_glm()) return write_GLM_into_roi_file(first_time, file, ibuffer) != 0;
  return 0;
}
