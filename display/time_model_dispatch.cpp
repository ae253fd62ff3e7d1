// The switchboard between the graph and the models: every operation goes to
// the view of the model in graph.time_model (1 GLM, 2 REM, 3 SRTM, 4 FIT).
// Each operation has its own answer when no model (or an unknown one) is
// loaded.
#include <cstdio>
#include <cstring>

#include "zor_graph.h"
#include "zor_exit.h"
#include "zor_float_int.h"
#include "zor_glm.h"
#include "zor_model_views.h"
#include "zor_srtm.h"
#include "zor_rem.h"
#include "zor_fit.h"
#include "zor_time_model.h"

namespace {

[[noreturn]] void no_such_model(void) {
  puts("Error: only the GLM, REM, & SRTM-GLM models are defined.");
  zor_exit(1);
}

int model(void) { return graph.time_model; }

// Numbers beyond the known models end the run in the operations that have
// no answer of their own for them.
bool is_unknown(void) { return model() < MODEL_NONE || model() > MODEL_FIT; }

void refuse_unknown(void) {
  if (is_unknown()) no_such_model();
}

}  // namespace

void initialize_TimeSeriesModel(int which_model) {
  graph.time_model = which_model;
  switch (which_model) {
    case MODEL_GLM: initialize_GLM_TimeSeriesModel(); break;
    case MODEL_REM: initialize_REM_TimeSeriesModel(); break;
    case MODEL_SRTM: initialize_SRTM_TimeSeriesModel(); break;
    case MODEL_FIT: initialize_FIT_TimeSeriesModel(); break;
    default: no_such_model();
  }
  graph.time_model = which_model;
}

int read_TimeSeriesModel(char *FileName) {
  switch (model()) {
    case MODEL_GLM: return read_GLM_TimeSeriesModel(FileName);
    case MODEL_REM: return read_REM_TimeSeriesModel(FileName);
    case MODEL_SRTM: {
      const int result = read_SRTM_TimeSeriesModel(FileName);
      // The map scaling reads the linear model's setting whatever the model.
      if (result == 0) GLM_input.multiple_comparisons = SRTM_input.multiple_comparisons;
      return result;
    }
    case MODEL_FIT: return read_FIT_TimeSeriesModel(FileName);
    default: no_such_model();
  }
}

int TimeSeriesModel_is_initialized(void) {
  switch (model()) {
    case MODEL_GLM: return GLM_is_initialized();
    case MODEL_REM: return REM_is_initialized();
    case MODEL_SRTM: return SRTM_is_initialized();
    case MODEL_FIT: return FIT_is_initialized();
    default: return 0;
  }
}

int define_TimeSeriesModel(int nflags, int *flags) {
  switch (model()) {
    case MODEL_GLM: return define_GLM_TimeSeriesModel(nflags, flags) != 0;
    case MODEL_REM: return define_REM_TimeSeriesModel(nflags, flags) != 0;
    case MODEL_SRTM: return define_SRTM_TimeSeriesModel(nflags, flags) != 0;
    case MODEL_FIT: return define_FIT_TimeSeriesModel(nflags, flags) != 0;
    default: no_such_model();
  }
}

void get_TimeSeriesModel_name(char *name) {
  switch (model()) {
    case MODEL_NONE: strcpy(name, "none"); return;
    case MODEL_GLM: get_GLM_TimeSeriesModel_name(name); return;
    case MODEL_REM: strcpy(name, "REM"); return;
    case MODEL_SRTM: get_SRTM_TimeSeriesModel_name(name); return;
    case MODEL_FIT: get_FIT_TimeSeriesModel_name(name); return;
    default: strcpy(name, "*Error*"); return;
  }
}

float get_TimeSeriesModel_xValue(int itime) {
  switch (model()) {
    case MODEL_GLM: return get_GLM_xValue(itime);
    case MODEL_REM: return get_REM_xValue(itime);
    case MODEL_SRTM: return get_SRTM_xValue(itime);
    case MODEL_FIT: return get_FIT_xValue(itime);
    default: return (float)itime;
  }
}

int get_TimeSeriesModel_xIndex(float time) {
  switch (model()) {
    case MODEL_GLM: return get_GLM_xIndex(time);
    case MODEL_REM: return get_REM_xIndex(time);
    case MODEL_SRTM: return get_SRTM_xIndex(time);
    case MODEL_FIT: return get_FIT_xIndex(time);
    default: return truncate_to_int(time);
  }
}

void plot_TimeSeriesModel(void) {
  switch (model()) {
    case MODEL_GLM: plot_GLM_TimeSeriesModel(); return;
    case MODEL_REM: plot_REM_TimeSeriesModel(); return;
    case MODEL_SRTM: plot_SRTM_TimeSeriesModel(); return;
    case MODEL_FIT: plot_FIT_TimeSeriesModel(); return;
    default: no_such_model();
  }
}

void plot_TimeSeriesModel_DataPoints(int nbins, float *BinXVector, float *BinYVector) {
  switch (model()) {
    case MODEL_REM: plot_REM_TimeSeriesModel_DataPoints(nbins, BinXVector, BinYVector); return;
    case MODEL_SRTM: plot_SRTM_TimeSeriesModel_DataPoints(nbins, BinXVector, BinYVector); return;
    case MODEL_FIT: plot_FIT_TimeSeriesModel_DataPoints(nbins, BinXVector, BinYVector); return;
    // The linear model, and no model, draw their samples the common way.
    default: plot_DataPoints(nbins, BinXVector, BinYVector); return;
  }
}

void fill_TimeSeriesModel(IPOINT3D voxel) {
  (void)voxel;
  if (!TimeSeriesModel_is_initialized() || graph.npoints == 0) return;
  switch (model()) {
    case MODEL_GLM: fill_GLM_TimeSeriesModel(); return;
    case MODEL_REM: fill_REM_TimeSeriesModel(); return;
    case MODEL_SRTM: fill_SRTM_TimeSeriesModel(); return;
    case MODEL_FIT: fill_FIT_TimeSeriesModel(); return;
    default: return;
  }
}

void get_info_TimeSeriesModel(int move_cursor, char *string1, char *string2, char *string3) {
  refuse_unknown();
  if (graph.type != 1 || model() == MODEL_NONE) {
    puts("Programming error in function display_info_TimeSeriesModel.");
    zor_exit(1);
  }
  switch (model()) {
    case MODEL_GLM: get_info_GLM_TimeSeriesModel(move_cursor, string1, string2, string3); return;
    case MODEL_REM: get_info_REM_TimeSeriesModel(move_cursor, string1, string2, string3); return;
    case MODEL_SRTM: get_info_SRTM_TimeSeriesModel(move_cursor, string1, string2, string3); return;
    default: get_info_FIT_TimeSeriesModel(move_cursor, string1, string2, string3); return;
  }
}

void update_SelectText_TimeSeriesModel(SelectableText *SelectText) {
  if (graph.npoints == 0) return;
  refuse_unknown();
  switch (model()) {
    case MODEL_GLM: update_SelectText_GLM_TimeSeriesModel(SelectText); return;
    case MODEL_REM: update_SelectText_REM_TimeSeriesModel(SelectText); return;
    case MODEL_SRTM: update_SelectText_SRTM_TimeSeriesModel(SelectText); return;
    case MODEL_FIT: update_SelectText_FIT_TimeSeriesModel(SelectText); return;
    default: return;
  }
}

void action_graph_text_selection_TimeSeriesModel(int button) {
  refuse_unknown();
  switch (model()) {
    case MODEL_GLM: action_graph_text_selection_GLM_TimeSeriesModel(button); return;
    case MODEL_REM: action_graph_text_selection_REM_TimeSeriesModel(button); return;
    case MODEL_SRTM: action_graph_text_selection_SRTM_TimeSeriesModel(button); return;
    case MODEL_FIT: action_graph_text_selection_FIT_TimeSeriesModel(button); return;
    default: return;
  }
}

void action_graph_button23_TimeSeriesModel(void) {
  refuse_unknown();
  switch (model()) {
    case MODEL_GLM: action_graph_button23_GLM_TimeSeriesModel(); return;
    case MODEL_REM: action_graph_button23_REM_TimeSeriesModel(); return;
    case MODEL_SRTM: action_graph_button23_SRTM_TimeSeriesModel(); return;
    case MODEL_FIT: action_graph_button23_FIT_TimeSeriesModel(); return;
    default: return;
  }
}

int graph_event_handler_TimeSeriesModel(char key) {
  refuse_unknown();
  switch (model()) {
    case MODEL_GLM: return graph_event_handler_GLM_TimeSeriesModel(key);
    case MODEL_REM: return graph_event_handler_REM_TimeSeriesModel(key);
    case MODEL_SRTM: return graph_event_handler_SRTM_TimeSeriesModel(key);
    case MODEL_FIT: return graph_event_handler_FIT_TimeSeriesModel(key);
    default: return 0;
  }
}

void label_graph_time_window_TimeSeriesModel(char *FileName) {
  refuse_unknown();
  switch (model()) {
    case MODEL_GLM: label_graph_time_window_GLM_TimeSeriesModel(FileName); return;
    case MODEL_REM: label_graph_time_window_REM_TimeSeriesModel(FileName); return;
    case MODEL_SRTM: label_graph_time_window_SRTM_TimeSeriesModel(FileName); return;
    case MODEL_FIT: label_graph_time_window_FIT_TimeSeriesModel(FileName); return;
    default: return;
  }
}

int write_TimeSeriesModel_into_roi_file(int first_time, FILE *file, int *ibuffer) {
  refuse_unknown();
  switch (model()) {
    case MODEL_GLM: return write_GLM_into_roi_file(first_time, file, ibuffer) != 0;
    case MODEL_REM: return write_REM_into_roi_file(first_time, file, ibuffer) != 0;
    case MODEL_SRTM: return write_SRTM_into_roi_file(first_time, file, ibuffer) != 0;
    case MODEL_FIT: return write_FIT_into_roi_file(first_time, file, ibuffer) != 0;
    default: return 0;
  }
}
