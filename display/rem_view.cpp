// The group model as the viewer sees it. The graph's x axis lists the
// input files; when they hold a value and its standard error, the graph
// vector interleaves the two and each file takes two samples. The curve is
// fitted with the between-file variance of the variance map at the
// cross-hair (or averaged over the working region), and the panel shows the
// chosen condition's effect and p value.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "model_view_drawing.h"
#include "zor_exit.h"
#include "zor_float_int.h"
#include "zor_graph.h"
#include "zor_header.h"
#include "zor_model_views.h"
#include "zor_overlay.h"
#include "zor_panels.h"
#include "zor_rem.h"
#include "zor_startup.h"
#include "zor_time_model.h"
#include "zor_x11.h"

file_list sigma2_file;
data_stack sigma2_stack;

namespace {

float Sigma2_RE = 0.0f;
std::vector<float> Signal_vector, SigFE_vector, fit_vector, fit_error, fit_vector_av;

void add_map(const char *kind, const char *condition, int scale_log, int type) {
  const std::string name = std::string(kind) + "-" + condition + (REM_input.nifti_output ? ".nii" : ".bfloat");
  add_image_file(&activation_files, name.c_str(), scale_log, type);
}

// Every measurement file holds one volume (a value) or every one two (a
// value and its standard error): anything else cannot be laid out on the
// graph's axis of files.
int check_measurement_files(void) {
  int first_nt = 0;
  for (int j = 0; j < REM_input.nfiles; j++) {
    XD_HEADER header;
    if (read_volume_header(0, REM_input.signal_file_name[j], &header)) return 1;
    if (j == 0) first_nt = header.nt;
    if (header.nt != first_nt || header.nt < 1 || header.nt > 2) {
      printf("Error: file %s holds %d volumes, but every REM file must hold %d (1: value, 2: value and error).\n",
             REM_input.signal_file_name[j], header.nt, first_nt < 1 || first_nt > 2 ? 1 : first_nt);
      return 1;
    }
  }
  return 0;
}

// The variance between files at the cross-hair, or its weighted mean over
// the working region.
float between_file_variance(void) {
  const data_stack &s = sigma2_stack;
  if (s.nt < 3 || !s.Volume || !s.Volume[2]) return 0.0f;
  const float *v = s.Volume[2];
  auto inside = [&](IPOINT3D p) {
    return p.x >= 0 && p.y >= 0 && p.z >= 0 && p.x < s.dim.x && p.y < s.dim.y && p.z < s.dim.z;
  };
  auto flat = [&](IPOINT3D p) { return p.x + s.dim.x * (p.y + s.dim.y * p.z); };
  if (ovl_root.npts == 0) return inside(mosaic.icross) ? v[flat(mosaic.icross)] : 0.0f;
  double sum_w = 0.0, sum_wv = 0.0;
  for (int k = 0; k < ovl_root.npts; k++) {
    if (!inside(ovl_root.voxel[k])) continue;
    sum_w += ovl_root.weight[k];
    sum_wv += (double)ovl_root.weight[k] * v[flat(ovl_root.voxel[k])];
  }
  return sum_w != 0.0 ? (float)(sum_wv / sum_w) : 0.0f;
}

// Whether the graph holds a sample for every file at all.
bool graph_fits_files(void) {
  return REM.ntime > 0 && (graph.npoints == REM.ntime || graph.npoints / 2 == REM.ntime);
}

}  // namespace

void rem_view_reset(void) {
  free_stack_data(sigma2_stack.nt, &sigma2_stack);
  memset(&sigma2_stack, 0, sizeof sigma2_stack);
  memset(&sigma2_file, 0, sizeof sigma2_file);
  Sigma2_RE = 0.0f;
}

int REM_graph_is_paired(void) { return REM.ntime > 0 && graph.npoints / 2 == REM.ntime; }

float REM_view_sigma2(void) { return Sigma2_RE; }

void initialize_REM_TimeSeriesModel(void) {
  REM_input.nfiles = 0;
  REM_input.multiple_comparisons = 1;
  REM_input.smoothed_mm = 0.0f;
  REM_input.smooth_ratio_mm = 1.0f;
  REM_input.condition_string[0] = '\0';
  glm_model.baseline = 0;
  glm_model.iCondition_value = 0;
  new_selectable_graph_text(2, TEXTFIELD_GLM_CONDITIONS);
}

int read_REM_TimeSeriesModel(char *file_name) { return REM_read_control_file(file_name) != 0; }

int define_REM_TimeSeriesModel(int nflags, int *flags) {
  if (nflags != 5) {
    puts("Programming error 1 in function define_model");
    zor_exit(1);
  }
  const int IncludeMaps = flags[1], UseT = flags[2], UseS = flags[3], Verbose = flags[4];
  for (int j = 0; j < REM_input.nfiles; j++) add_image_file(&image_files, REM_input.signal_file_name[j], 0, 0);
  if (check_measurement_files()) return 1;

  int nconditions = 0;
  if (REM_define_conditions(REM_input.condition_string, &nconditions)) return 1;
  printf("conditions = %s\n", REM_input.condition_string);
  if (IncludeMaps) {
    for (int k = 0; k < nconditions; k++) {
      char condition[ZOR_LINE];
      if (REM_get_condition_string(k, condition)) continue;
      add_map("P", condition, 1, 1);
      if (UseT) add_map("T", condition, 0, 2);
      if (UseS) add_map("S", condition, 0, 3);
    }
  }

  memset(&sigma2_file, 0, sizeof sigma2_file);
  strcpy(sigma2_file.file_name, REM_input.nifti_output ? "sigma2.nii" : "sigma2.bfloat");
  sigma2_file.next = nullptr;
  sigma2_file.scale_log = 0;
  sigma2_file.type = 0;
  int dummy = 0;
  if (read_SpaceTime_data(Verbose, 1, &sigma2_stack, &sigma2_file, &dummy)) return 1;
  if (sigma2_stack.nt != 3) {
    printf("Error: file sigma2.bfloat had %d time points, but 3 were expected.\n", sigma2_stack.nt);
    return 1;
  }
  return 0;
}

float get_REM_xValue(int itime) { return (float)(2 * itime); }

int get_REM_xIndex(float time) { return round_to_int(time / 2.0f); }

void fill_REM_TimeSeriesModel(void) {
  if (!graph_fits_files() || !graph.yVector || !graph.yFit) return;
  const int ntime = REM.ntime;
  const bool paired = REM_graph_is_paired();
  Sigma2_RE = between_file_variance();
  for (auto *v : {&Signal_vector, &SigFE_vector, &fit_vector, &fit_error, &fit_vector_av}) v->assign(ntime, 0.0f);
  for (int j = 0; j < ntime; j++) {
    Signal_vector[j] = paired ? graph.yVector[2 * j] : graph.yVector[j];
    SigFE_vector[j] = paired ? graph.yVector[2 * j + 1] : 0.0f;
  }
  if (REM_fit_final(Sigma2_RE, ntime, Signal_vector.data(), SigFE_vector.data(), fit_vector.data(),
                    fit_error.data(), fit_vector_av.data()))
    return;
  if (REM_get_nconditions() > 0) {
    float cnr;
    REM_calculate_F(ntime, REM_input.multiple_comparisons, glm_model.iCondition_value, REM_get_DOF_effective(),
                    &cnr, &glm_model.p_raw, &glm_model.p_cor, &glm_model.effect_size, &glm_model.effect_sem);
  }
  for (int j = 0; j < ntime; j++) {
    if (paired) {
      graph.yFit[2 * j] = fit_vector[j];
      if (graph.yFit_err) graph.yFit_err[2 * j] = fit_error[j];
      graph.yFit[2 * j + 1] = fit_vector_av[j];
    } else {
      graph.yFit[j] = fit_vector[j];
    }
  }
}

void plot_REM_TimeSeriesModel(void) {
  if (!graph_fits_files() || graph.size.x < 1 || graph.size.y < 1) return;
  for (int e = 0; e < REM.nevents; e++) {
    const IPOINT2D limits = REM_GetEventLimits(REM.event_number[e]);
    view_band(2.0f * get_REM_xValue(limits.x) - 2.0f, 2.0f * get_REM_xValue(limits.y) + 2.0f,
              e % 2 == 0 ? COLOR_CYAN : COLOR_BLACK);
  }
  const int n = graph.npoints;
  std::vector<float> x, y, low, high;
  if (REM_graph_is_paired()) {
    if (REM_input.global_scaling && glm_model.baseline) {
      for (int j = 1; j < n; j += 2) {
        x.push_back(get_REM_xValue(j) - 0.5f);
        y.push_back(graph.yFit[j]);
      }
      view_polyline((int)x.size(), x.data(), y.data(), COLOR_RED);
      x.clear();
      y.clear();
    }
    for (int j = 0; j + 1 < n; j += 2) {
      x.push_back(get_REM_xValue(j));
      y.push_back(graph.yFit[j]);
      const float err = graph.yFit_err ? graph.yFit_err[j] : 0.0f;
      high.push_back(graph.yFit[j] + err);
      low.push_back(graph.yFit[j] - err);
    }
    view_polyline((int)x.size(), x.data(), y.data(), COLOR_WHITE);
    view_polyline((int)x.size(), x.data(), high.data(), COLOR_GRAY);
    view_polyline((int)x.size(), x.data(), low.data(), COLOR_GRAY);
  } else {
    for (int j = 0; j < n; j++) {
      x.push_back(get_REM_xValue(j));
      y.push_back(graph.yFit[j]);
    }
    view_polyline(n, x.data(), y.data(), COLOR_WHITE);
  }
}

void plot_REM_TimeSeriesModel_DataPoints(int nbins, float *BinXVector, float *BinYVector) {
  (void)BinXVector;
  if (nbins <= 0) return;
  float psize = (float)graph.size.x * 1.5f / (float)nbins;
  if (psize > 4.0f) psize = 4.0f;
  const bool paired = REM_graph_is_paired();
  for (int j = 0; j < nbins; j++) {
    const float x = get_REM_xValue(j);
    if (!paired) {
      view_square(x, BinYVector[j], psize, COLOR_YELLOW);
      continue;
    }
    if (j % 2 != 0) continue;
    view_square(x, BinYVector[j], psize, COLOR_YELLOW);
    if (j + 1 < graph.npoints) {
      const float value = graph.yVector[j], err = graph.yVector[j + 1];
      view_line(x, value - err, x, value + err, COLOR_YELLOW);
    }
  }
}

void get_info_REM_TimeSeriesModel(int move_cursor, char *string1, char *string2, char *string3) {
  strcpy(string1, " event instance graph map");
  const int point = move_cursor ? graph.icursor.x : graph.iTime;
  const bool paired = REM_graph_is_paired();
  const bool on_graph = point >= 0 && point < graph.npoints && graph_fits_files() &&
                        (paired ? point / 2 : point) < REM.ntime;
  char id = '?';
  int sample = -1, found = 0;
  float value = 0.0f, fit = graph.yFit && graph.npoints > 0 ? graph.yFit[0] : 0.0f;
  if (on_graph) {
    found = REM_IdentifyEvent(paired ? point / 2 : point, &id, &sample);
    value = graph.yVector[point];
    fit = graph.yFit[point];
  }
  if (move_cursor) value = graph.cursor.y;
  if (!move_cursor && !on_graph) {
    strcpy(string2, " ");
    snprintf(string3, ZOR_LINE, " fit = %.3g", fit);
    return;
  }
  snprintf(string2, ZOR_LINE, "   %c   %3d %9.2f  %s", id, sample, value, point % 2 == 0 ? "value" : "error");
  if (found < 2)
    snprintf(string3, ZOR_LINE, " fit = %9.3g", fit);
  else
    snprintf(string3, ZOR_LINE, " %d events found here", found);
}

void update_SelectText_REM_TimeSeriesModel(SelectableText *SelectText) {
  SelectableText *t = SelectText;
  switch (t->FieldID) {
    case TEXTFIELD_GLM_CONDITIONS: {
      set_panel_field(t, COLOR_CYAN, graph.type == 1 && !graph.freq_domain, 325, 50, "Condition name, effect size, and",
                "st. dev. from REM/MEM fit.", "Use mouse to change conditions.");
      if (REM_get_nconditions() == 0) {
        strcpy(t->string, "no conditions");
        break;
      }
      if (graph.type == 1) fill_REM_TimeSeriesModel();  // fresh numbers for the text
      char condition[ZOR_LINE];
      if (REM_get_condition_string(glm_model.iCondition_value, condition)) {
        printf("Programming error: condition index %d is not defined.\n", glm_model.iCondition_value);
        zor_exit(1);
      }
      char numbers[128];
      snprintf(numbers, sizeof numbers, " = %6.3f+-%6.3f , p (raw) = %8.1e", glm_model.effect_size,
               glm_model.effect_sem, glm_model.p_raw);
      snprintf(t->string, sizeof t->string, " %s", (std::string(condition) + numbers).c_str());
      break;
    }
    case TEXTFIELD_GLM_BASELINE:
      set_panel_field(t, COLOR_CYAN, graph.type == 1 && REM_input.global_scaling, 450, 40, "Remove/reinstate GLM baseline",
                "Keyboard equivalent: b", " ");
      strcpy(t->string, " b ");
      break;
    default: break;
  }
}

void action_graph_text_selection_REM_TimeSeriesModel(int button) {
  if (graph.text_selection != TEXTFIELD_GLM_CONDITIONS) return;
  const int count = REM_get_nconditions();
  if (count > 0) {
    int &c = glm_model.iCondition_value;
    c += button == 1 ? 1 : -1;
    if (c >= count) c = 0;
    if (c < 0) c = count - 1;
  }
  graph.update_regions |= GRAPH_MENUS;
}

void action_graph_button23_REM_TimeSeriesModel(void) {}

int graph_event_handler_REM_TimeSeriesModel(char key) {
  (void)key;
  return 0;
}

void label_graph_time_window_REM_TimeSeriesModel(char *FileName) { (void)FileName; }
