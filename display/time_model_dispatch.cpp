// The graph's routes to the time-series model. No model view is built into
// this program yet, so every route takes its no-model branch: x values are
// the time indices, the data are plotted as points, and the rest does
// nothing (or ends the run where a model is required).
#include <cmath>
#include <cstdio>
#include <cstring>

#include "zor_exit.h"
#include "zor_float_int.h"
#include "zor_graph.h"
#include "zor_time_model.h"

namespace {
[[noreturn]] void no_such_model(void) {
  puts("Error: only the GLM, REM, & SRTM-GLM models are defined.");
  zor_exit(1);
}
}  // namespace

int TimeSeriesModel_is_initialized(void) { return 0; }

void get_TimeSeriesModel_name(char *name) {
  strcpy(name, graph.time_model > 4 ? "*Error*" : "none");
}

float get_TimeSeriesModel_xValue(int itime) { return (float)itime; }

int get_TimeSeriesModel_xIndex(float time) { return truncate_to_int(time); }

void plot_TimeSeriesModel(void) { no_such_model(); }

void plot_TimeSeriesModel_DataPoints(int nbins, float *BinXVector, float *BinYVector) {
  plot_DataPoints(nbins, BinXVector, BinYVector);
}

void fill_TimeSeriesModel(IPOINT3D voxel) {
  if (!TimeSeriesModel_is_initialized() || graph.npoints == 0) return;
}

void get_info_TimeSeriesModel(int move_cursor, char *string1, char *string2, char *string3) {
  if (graph.type != 1 || graph.time_model == 0) {
    puts("Programming error in function display_info_TimeSeriesModel.");
    zor_exit(1);
  }
  no_such_model();
}

void action_graph_text_selection_TimeSeriesModel(int button) {}

void action_graph_button23_TimeSeriesModel(void) {}

int graph_event_handler_TimeSeriesModel(char key) { return 0; }

void label_graph_time_window_TimeSeriesModel(char *FileName) {}
