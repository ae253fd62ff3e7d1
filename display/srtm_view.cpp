// The PET model as the viewer sees it: which files a control file opens,
// the fit of the tissue curve under the cursor with the condition's effect,
// the x axis in minutes, the model's name and the information lines.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "zor_actions.h"
#include "zor_exit.h"
#include "zor_float_int.h"
#include "zor_graph.h"
#include "zor_model_views.h"
#include "zor_panels.h"
#include "zor_srtm.h"
#include "zor_startup.h"
#include "zor_time_model.h"

float half_life_save = 0.0f;

namespace {

std::vector<float> noise;

void add_map(const char *kind, const char *condition, int scale_log, int type) {
  const std::string name = std::string(kind) + "-" + condition + (SRTM_input.nifti_output ? ".nii" : ".bfloat");
  add_image_file(&activation_files, name.c_str(), scale_log, type);
}

}  // namespace

void srtm_view_reset(void) {
  half_life_save = 0.0f;
  noise.clear();
}

void initialize_SRTM_TimeSeriesModel(void) {
  SRTM_input.nruns = 0;
  glm_model.baseline_terms = 0;
  glm_model.baseline = 0;
  glm_model.iDisplay = 0;
  glm_model.show_glm_windows = 2;
  glm_model.iParameter = 2;
  glm_model.iCondition_value = 0;
  glm_model.event_number_active = 1;
  activation.thresh_lin_low = 0.0f;
  activation.thresh_lin_high = 3.0f;
  new_selectable_graph_text(4, TEXTFIELD_DISPLAY_FULLFIT);
  new_selectable_graph_text(2, TEXTFIELD_PARAM_VALUES);
  new_selectable_graph_text(2, TEXTFIELD_SRTM_CONDITIONS);
  new_selectable_graph_text(4, TEXTFIELD_SRTM_EXCLUSIONS);
}

int read_SRTM_TimeSeriesModel(char *file_name) { return SRTM_read_control_file(0, file_name) != 0; }

int define_SRTM_TimeSeriesModel(int nflags, int *flags) {
  if (nflags != 5) {
    puts("Programming error 1 in function define_model");
    zor_exit(1);
  }
  const int IncludeTimeData = flags[0], IncludeMaps = flags[1], UseT = flags[2], UseS = flags[3];
  if (IncludeTimeData)
    for (int r = 0; r < SRTM_input.nruns; r++) add_image_file(&image_files, SRTM_input.run_name[r], 0, 0);
  if (SRTM_define_static_basis_functions()) zor_exit(1);
  if (SRTM_define_conditions(SRTM_input.condition_string)) zor_exit(1);
  SRTM_describe_conditions();
  SRTM_describe_input_files();
  if (IncludeMaps) {
    for (int k = 0; k < SRTM_get_nconditions(); k++) {
      char name[ZOR_LINE];
      if (SRTM_get_condition_name(k, name)) return 1;
      add_map("P", name, 1, 1);
      if (UseT) add_map("T", name, 0, 2);
      if (UseS) add_map("S", name, 0, 3);
      if (SRTM_BP_condition(k)) add_map("BP", name, 0, 3);
    }
  }
  glm_model.iParameter = SRTM_is_SRTM_model() ? 2 : 3;
  return 0;
}

void get_SRTM_TimeSeriesModel_name(char *name) {
  if (graph.freq_domain)
    strcpy(name, "FT ");
  else if (SRTM_get_half_life() == 0.0f)
    strcpy(name, "SRTM/OLS");
  else
    strcpy(name, "SRTM/WLS");
}

float get_SRTM_xValue(int itime) {
  // Samples beyond the model's frames (images given beside its runs) go on
  // in steps of one minute after the last frame.
  if (SRTM.ntime > 0 && itime >= SRTM.ntime)
    return (float)SRTM_time_total_minutes(SRTM.ntime - 1) + (float)(itime - SRTM.ntime + 1);
  return (float)SRTM_time_total_minutes(itime);
}

int get_SRTM_xIndex(float time) { return SRTM_get_itime_from_time(time); }

void fill_SRTM_TimeSeriesModel(void) {
  const int n = graph.npoints;
  // Only a curve of the model's own length can be fitted.
  if (SRTM.initialized < 1 || n != SRTM.ntime || n < 1) return;
  if (SRTM_define_dynamic_basis_functions(n, graph.yVector)) zor_exit(1);
  double sigma2 = 0.0;
  if (SRTM_fit_data(n, graph.yVector, graph.yFit, graph.yFit_err, &sigma2)) return;
  glm_model.chi2_dof = (float)sigma2;
  if (SRTM_get_nconditions() > 0) {
    double cnr, p_raw, p_cor;
    SRTM_calculate_F(n, sigma2, 0.0, glm_model.iCondition_value, &cnr, &p_raw, &p_cor, &glm_model.effect_size,
                     &glm_model.effect_sem);
    glm_model.p_raw = (float)p_raw;
    glm_model.p_cor = (float)p_cor;
  }
  if (glm_model.iDisplay == 2) {
    if (SRTM_get_residue(n, graph.yVector) == 0 && graph.freq_domain) FT_graph_data();
  } else if (glm_model.iDisplay == 3) {
    noise.assign(n, 1.0f);
    if (SRTM_get_noise_model(1, n, noise.data()) == 0)
      for (int j = 0; j < n; j++)
        if (noise[j] != 0.0f) graph.yVector[j] /= noise[j];
  }
}

void get_info_SRTM_TimeSeriesModel(int move_cursor, char *string1, char *string2, char *string3) {
  strcpy(string1, " run  time   y-value");
  const int index = move_cursor ? graph.icursor.x : graph.iTime;
  if (!move_cursor && (index < 0 || index >= graph.npoints)) {
    strcpy(string2, " ");
    strcpy(string3, " ");
    return;
  }
  int run = 0, frame = index;
  split_graphX_into_file_and_location((float)index, &run, &frame);
  float time = 0.0f, y = 0.0f;
  if (index >= 0 && index < SRTM.ntime) time = (float)SRTM_time_run_minutes(index);
  if (index >= 0 && index < graph.npoints) y = graph.yVector[index];
  if (move_cursor) {
    time = graph.cursor.x;
    y = graph.cursor.y;
  }
  snprintf(string2, ZOR_LINE, " %2d %6d %9.2f", run + 1, frame, y);
  snprintf(string3, ZOR_LINE, "    %6.2f", time);
}

void action_graph_button23_SRTM_TimeSeriesModel(void) {}

int graph_event_handler_SRTM_TimeSeriesModel(char key) {
  (void)key;
  return 0;
}

void label_graph_time_window_SRTM_TimeSeriesModel(char *FileName) { (void)FileName; }
