// The fitting model as the viewer sees it: the curve under the cursor with
// a smooth fitted line drawn through its samples, the fit's parameter values
// in the panel, and the parameter maps the control file's study produced.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "model_view_drawing.h"
#include "zor_actions.h"
#include "zor_exit.h"
#include "zor_fit.h"
#include "zor_graph.h"
#include "zor_model_views.h"
#include "zor_panels.h"
#include "zor_startup.h"
#include "zor_time_model.h"
#include "zor_x11.h"

namespace {

void add_map(const char *name) {
  const std::string file = std::string(name) + (FIT_input.nifti_output ? ".nii" : ".bfloat");
  add_image_file(&activation_files, file.c_str(), 0, 0);
}

// A tensor fit needs one gradient record per volume of its data file: the
// viewer refuses a shorter table rather than fit with repeated records.
int check_gradient_tables(void) {
  if (FIT.fit_class != FIT_DIFFUSION) return 0;
  for (int j = 0; j < FIT_input.nfiles && j < FIT_MAX_FILES; j++) {
    FILE *fp = fopen(FIT_input.description_file_name[j], "r");
    if (!fp) continue;  // the reader has said what it could not open
    int records = 0;
    float x, y, z, b;
    while (records < FIT.nt[j] && fscanf(fp, "%g %g %g %g", &x, &y, &z, &b) == 4) records++;
    fclose(fp);
    if (records < FIT.nt[j]) {
      printf("Error: the gradient table %s holds %d records, but its data file %s has %d volumes.\n",
             FIT_input.description_file_name[j], records, FIT_input.file_name[j], FIT.nt[j]);
      return 1;
    }
  }
  return 0;
}

bool curve_fits_model(void) { return FIT.initialized && graph.npoints == FIT.ntime && graph.npoints > 0; }

}  // namespace

void initialize_FIT_TimeSeriesModel(void) {
  glm_model.iDisplay = 0;
  glm_model.iParameter = 0;
  new_selectable_graph_text(2, TEXTFIELD_DISPLAY_FULLFIT);
  new_selectable_graph_text(2, TEXTFIELD_PARAM_VALUES);
}

int read_FIT_TimeSeriesModel(char *file_name) { return FIT_read_control_file(0, file_name) != 0; }

int define_FIT_TimeSeriesModel(int nflags, int *flags) {
  if (nflags != 5) {
    puts("Programming error 1 in function define_model");
    zor_exit(1);
  }
  const int IncludeTimeData = flags[0], IncludeMaps = flags[1];
  if (IncludeTimeData) {
    for (int j = 0; j < FIT_input.nfiles; j++) add_image_file(&image_files, FIT_input.file_name[j], 0, 0);
  }
  if (check_gradient_tables()) return 1;
  if (IncludeMaps) {
    for (int p = 0; p < FIT_get_number_output_parameters(); p++) {
      char name[ZOR_LINE];
      if (FIT_get_parameter_name(p, name) == 0) add_map(name);
    }
    add_map("chi2_dof");
  }
  return 0;
}

void get_FIT_TimeSeriesModel_name(char *name) {
  if (FIT_get_type(name)) {
    puts("Programming error in get_FIT_TimeSeriesModel_name()");
    zor_exit(1);
  }
}

float get_FIT_xValue(int itime) {
  // Samples beyond the fit's x values (images given beside its files) keep
  // their index.
  if (itime < 0 || itime >= FIT.ntime) return (float)itime;
  return FIT_get_x_vector(itime);
}

int get_FIT_xIndex(float time) {
  int index = 0;
  float distance = 1e10f;
  for (int j = 0; j < graph.npoints; j++) {
    const float d = std::fabs(time - get_FIT_xValue(j));
    if (d < distance) {
      distance = d;
      index = j;
    }
  }
  return index;
}

void fill_FIT_TimeSeriesModel(void) {
  if (!curve_fits_model()) return;
  FIT_data(graph.npoints, graph.yVector, graph.yFit, &glm_model.chi2_dof);
  if (glm_model.iDisplay != 0)
    for (int j = 0; j < graph.npoints; j++) graph.yVector[j] -= graph.yFit[j];
}

void plot_FIT_TimeSeriesModel(void) {
  if (!curve_fits_model() || graph.size.x < 1 || graph.size.y < 1) return;
  float ymax = -1e10f;
  for (int j = 0; j < graph.npoints; j++) ymax = std::max(ymax, graph.yVector[j]);
  std::vector<float> x(300), y(300);
  for (int k = 0; k < 300; k++) {
    x[k] = (float)k * (graph.Max.x - graph.Min.x) / 300.0f + graph.Min.x;
    y[k] = FIT_get_fit_value(x[k], ymax);
  }
  view_polyline(300, x.data(), y.data(), COLOR_WHITE);
}

void plot_FIT_TimeSeriesModel_DataPoints(int nbins, float *BinXVector, float *BinYVector) {
  if (nbins <= 0) return;
  float psize = (float)graph.size.x * 1.5f / (float)nbins;
  if (psize > 8.0f) psize = 8.0f;
  for (int j = 0; j < nbins; j++) view_square(BinXVector[j], BinYVector[j], psize, COLOR_YELLOW);
}

void get_info_FIT_TimeSeriesModel(int move_cursor, char *string1, char *string2, char *string3) {
  strcpy(string1, " file  time   y-value");
  const int index = move_cursor ? graph.icursor.x : graph.iTime;
  if (!move_cursor && (index < 0 || index >= graph.npoints)) {
    strcpy(string2, " ");
    strcpy(string3, " ");
    return;
  }
  int file = 0, in_file = index;
  split_graphX_into_file_and_location((float)index, &file, &in_file);
  float y = index >= 0 && index < graph.npoints ? graph.yVector[index] : 0.0f;
  if (move_cursor) y = graph.cursor.y;
  snprintf(string2, ZOR_LINE, " %2d %6d %9.2f", file + 1, in_file, y);
  snprintf(string3, ZOR_LINE, "    %6.2f", get_FIT_xValue(index));
}

void update_SelectText_FIT_TimeSeriesModel(SelectableText *SelectText) {
  SelectableText *t = SelectText;
  switch (t->FieldID) {
    case TEXTFIELD_DISPLAY_FULLFIT:
      set_panel_field(t, COLOR_CYAN, graph.type == 1, 450, 100, "Display fit or residue", " ",
                glm_model.iDisplay ? "Change to fit with click" : "Change to residue with click");
      strcpy(t->string, glm_model.iDisplay ? "Residue" : " fit ");
      break;
    case TEXTFIELD_PARAM_VALUES: {
      int file = 0, in_file = graph.iTime;
      if (graph.iTime >= 0) split_graphX_into_file_and_location((float)graph.iTime, &file, &in_file);
      char where[128];
      snprintf(where, sizeof where, "for file %d and time point %d", file, in_file);
      set_panel_field(t, COLOR_WHITE, graph.type == 1 && glm_model.iDisplay == 0, 300, 100, "Display parameter values",
                where, "display parameter names and values");
      char name[ZOR_LINE] = "";
      if (FIT_get_number_output_parameters() < 1 || FIT_get_parameter_name(glm_model.iParameter, name)) {
        strcpy(t->string, " ");
        break;
      }
      snprintf(t->string, sizeof t->string, " %s = %6.3f ", name, FIT_get_output_parameter(glm_model.iParameter));
      break;
    }
    default: break;
  }
}

void action_graph_text_selection_FIT_TimeSeriesModel(int button) {
  switch (graph.text_selection) {
    case TEXTFIELD_DISPLAY_FULLFIT:
      glm_model.iDisplay = !glm_model.iDisplay;
      graph.fixed.y = 0;
      fill_graph_vector();
      break;
    case TEXTFIELD_PARAM_VALUES: {
      const int count = FIT_get_number_output_parameters();
      int &p = glm_model.iParameter;
      if (count > 0) {
        p += button == 1 ? 1 : -1;
        if (p >= count) p = 0;
        if (p < 0) p = count - 1;
      }
      break;
    }
    default: return;
  }
  graph.update_regions |= GRAPH_MENUS;
}

void action_graph_button23_FIT_TimeSeriesModel(void) {}

int graph_event_handler_FIT_TimeSeriesModel(char key) {
  (void)key;
  return 0;
}

void label_graph_time_window_FIT_TimeSeriesModel(char *FileName) { (void)FileName; }

int write_FIT_into_roi_file(int first_time, FILE *file, int *ibuffer) {
  (void)first_time;
  (void)file;
  (void)ibuffer;
  puts("not implemented yet");
  zor_exit(1);
}
