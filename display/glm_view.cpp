// The linear model as the viewer sees it: which files a control file opens,
// the fit of the curve under the cursor, the x axis in seconds, the model's
// name and the information lines of the graph.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "zor_exit.h"
#include "zor_float_int.h"
#include "zor_glm.h"
#include "zor_header.h"
#include "zor_panels.h"
#include "zor_startup.h"
#include "zor_time_model.h"

GLM_MODEL glm_model;
int noise_model_original = 0;

namespace {

// The run of a point on the concatenated time axis and its index in that
// run, from the image file list; 1 when no file holds it.
int run_of_point(int point, int *run, int *itime) {
  int ifile = 0;
  for (const file_list *f = &image_files; f && f->file_name[0]; f = f->next, ifile++) {
    if (f->end_image >= point) {
      *run = ifile;
      *itime = point - f->start_image;
      return 0;
    }
  }
  return 1;
}

void add_map(const char *kind, const char *condition, int scale_log, int type) {
  const std::string name =
      std::string(kind) + "-" + condition + (GLM_input.nifti_output ? ".nii" : ".bfloat");
  add_image_file(&activation_files, name.c_str(), scale_log, type);
}

}  // namespace

void glm_view_reset(void) {
  memset(&glm_model, 0, sizeof glm_model);
  noise_model_original = 0;
}

void initialize_GLM_TimeSeriesModel(void) {
  glm_model.iDisplay = 0;
  glm_model.baseline = 1;
  glm_model.show_glm_windows = 2;
  glm_model.iCondition_value = 0;
  GLM_input.nruns = 0;
  GLM_input.nbaseline_terms = 3;
  glm_model.event_number_active = 1;
  GLM_input.condition_string[0] = '\0';
  new_selectable_graph_text(1, TEXTFIELD_GRAPH_UNITS);
  new_selectable_graph_text(2, TEXTFIELD_GLM_CONDITIONS);
  new_selectable_graph_text(3, TEXTFIELD_GLM_INCLUDE);
  new_selectable_graph_text(4, TEXTFIELD_GLM_EXCLUDE);
  new_selectable_graph_text(3, TEXTFIELD_GLM_NEW_EVENT);
  new_selectable_graph_text(4, TEXTFIELD_GLM_NEW_SHAPE);
  new_selectable_graph_text(2, TEXTFIELD_GLM_BASELINE);
  new_selectable_graph_text(2, TEXTFIELD_GLM_NBASELINE);
  new_selectable_graph_text(4, TEXTFIELD_CHI2);
  new_selectable_graph_text(2, TEXTFIELD_FREQ_BAND);
  new_selectable_graph_text(3, TEXTFIELD_PHASE_SHIFT);
}

int read_GLM_TimeSeriesModel(char *file_name) {
  if (GLM_read_control_file(file_name, 0)) return 1;
  GLM_input.AR_order = 0;
  return 0;
}

int define_GLM_TimeSeriesModel(int nflags, int *flags) {
  if (nflags != 5) {
    puts("Programming error 1 in function define_model");
    zor_exit(1);
  }
  const int IncludeTimeData = flags[0], IncludeMaps = flags[1], UseT = flags[2], UseS = flags[3];

  // One test decides the format of every map name.
  if ((IncludeMaps || !IncludeTimeData) && GLM_input.nifti_output) {
    XD_HEADER header;
    if (read_volume_header(0, "average.nii", &header)) {
      puts("Failed to read NIFTI files: switch to ZOR format.");
      GLM_input.nifti_output = 0;
    }
  }

  if (IncludeTimeData) {
    for (int r = 0; r < GLM_input.nruns; r++) add_image_file(&image_files, GLM_input.run_name[r], 0, 0);
    if (GLM_define_basis_functions()) return 1;
    if (GLM_input.notify) GLM_describe_basis_functions();
  } else if (GLM_input.nruns >= 1) {
    add_image_file(&image_files, GLM_input.nifti_output ? "average.nii" : "average.bfloat", 0, 0);
  }

  glm_model.shape = SHAPE_GAMMA;
  int nconditions = 0;
  if (GLM_define_conditions(IncludeTimeData, GLM_input.condition_string, &nconditions)) return 1;

  if (IncludeMaps) {
    for (int k = 0; k < nconditions; k++) {
      char condition[ZOR_LINE];
      if (GLM_get_condition_string(k, condition)) continue;
      add_map("P", condition, 1, 1);
      if (UseT) add_map("T", condition, 0, 2);
      if (UseS) add_map("S", condition, 0, 3);
    }
  }

  glm_model.shape = SHAPE_GAMMA;
  GLM_define_table_residue(glm_model.residue_string);
  noise_model_original = GLM_get_noise_model();
  return 0;
}

float get_GLM_xValue(int itime) { return (float)itime * GLM.tr[0]; }

int get_GLM_xIndex(float time) { return round_to_int(time / GLM.tr[0]); }

void get_GLM_TimeSeriesModel_name(char *name) {
  if (graph.freq_domain)
    strcpy(name, "FT ");
  else if (GLM_get_noise_model() != 0)
    strcpy(name, "GLM/WLS");
  else
    strcpy(name, "GLM/OLS");
}

void fill_GLM_TimeSeriesModel(void) {
  const int n = graph.npoints;
  // Only a curve of the model's own length can be fitted: without time data
  // (or before the model is built) nothing runs.
  if (GLM.initialized != 2 || n != GLM.ntime || n < 1) return;
  GLM_Update_Weights(n, graph.yVector);
  if (graph.units_percent == 1) {
    double sum = 0.0;
    for (int j = 0; j < n; j++) sum += graph.yVector[j];
    const float average = (float)(sum / n);
    if (average != 0.0f) {
      for (int j = 0; j < n; j++) {
        graph.yVector[j] = (graph.yVector[j] / average - 1.0f) * 100.0f;
        graph.yVector2[j] = (graph.yVector2[j] / average - 1.0f) * 100.0f;
      }
    }
  }
  GLM_PreFilter(0, n, graph.yVector);
  GLM_fit_data(n, graph.yVector, graph.yFit, &glm_model.chi2_dof);
  if (GLM_get_nconditions() > 0) {
    float Fstat, cnr;
    GLM_calculate_F(n, glm_model.chi2_dof, 0, glm_model.iCondition_value, &Fstat, &cnr, &glm_model.p_raw,
                    &glm_model.p_cor, &glm_model.effect_size, &glm_model.effect_sem);
  }
  if (glm_model.baseline == 0 && GLM_remove_baseline(0, n, graph.yVector, graph.yFit)) return;
  if (GLM_create_selective_residue(glm_model.residue_string, n, graph.yVector, graph.yFit) == 0 &&
      graph.freq_domain)
    FT_graph_data();
}

void get_info_GLM_TimeSeriesModel(int move_cursor, char *string1, char *string2, char *string3) {
  strcpy(string1, " run  time       graph event");
  const int point = move_cursor ? graph.icursor.x : graph.iTime;
  int run = 0, itime = 0;
  float tr = 0.0f;
  // Images given beside the model's runs lie outside the model: their points
  // are shown without an event and with the first run's timing.
  const bool in_model = point >= 0 && point < GLM.ntime && run_of_point(point, &run, &itime) == 0 &&
                        run < GLM.nruns;
  if (point >= 0 && !in_model) {
    if (run_of_point(point, &run, &itime)) itime = point;
    tr = GLM.tr[0];
  } else if (point >= 0 && GLM_get_tr(run, &tr)) {
    puts("Error: the GLM tr is not defined in file display-glm");
    zor_exit(1);
  }
  if (!move_cursor && point < 0) {
    strcpy(string2, " ");
    strcpy(string3, " ");
    return;
  }
  char description[ZOR_LINE] = " ";
  if (in_model) {
    int status = GLM_identify_time_point(point, glm_model.residue_string, description);
    if (status != 0) {
      puts("Programming error in function get_info_GLM_TimeSeriesModel.");
      printf("Error trying to interpret point %d from GLM.\n", point);
      zor_exit(1);
    }
  }
  float value, time;
  if (move_cursor) {
    value = graph.cursor.y;
    time = graph.cursor.x - (in_model ? GLM_get_run_start_time(run) : 0.0f);
  } else {
    value = graph.yVector[point];
    time = (float)itime * tr;
  }
  snprintf(string2, ZOR_LINE, " %2d %5d %9.2f  %s", run + 1, itime, value, description);
  snprintf(string3, ZOR_LINE, " %8g", time);
}

void label_graph_time_window_GLM_TimeSeriesModel(char *FileName) {
  if (glm_model.residue_string[0] == '\0') {
    strcpy(FileName, ".roi");
    return;
  }
  std::string name = ".roi-";
  for (int j = 0; j < GLM.nevents; j++)
    if (!GLM_event_is_in_string(glm_model.residue_string, j)) name += GLM_EventCharID(GLM.event_number[j]);
  snprintf(FileName, ZOR_LINE, "%s", name.c_str());
}
