// Time-series models in the viewer: which model a control file names, the
// operations the graph hands to the current model (chosen by
// graph.time_model: 0 none, 1 GLM, 2 REM, 3 SRTM, 4 FIT), the magnitude
// spectrum of the graph, and the GLM view's own state and operations.
// Nothing here needs an X server in its signature.
#ifndef ZOR_TIME_MODEL_H
#define ZOR_TIME_MODEL_H

#include <cstdio>

#include "zor_display_state.h"
#include "zor_types.h"

enum TimeSeriesModels { MODEL_NONE = 0, MODEL_GLM = 1, MODEL_REM = 2, MODEL_SRTM = 3, MODEL_FIT = 4 };

// The model a control file names on its first line ("time-model <name>"):
// 1 to 4, or 0 after a message.
int determine_TimeSeriesModel(char *FileName);

// Replaces graph.yVector by its magnitude spectrum: each frequency bin fills
// two neighbouring samples, so 0 to the Nyquist frequency spans the time
// axis. The plans are made again whenever graph.npoints changes.
void FT_graph_data(void);
// Releases the plans and buffers, as at program start.
void FT_graph_data_reset(void);

// The dispatch on graph.time_model.
void initialize_TimeSeriesModel(int which_model);
int read_TimeSeriesModel(char *FileName);
int TimeSeriesModel_is_initialized(void);
int define_TimeSeriesModel(int nflags, int *flags);
void get_TimeSeriesModel_name(char *name);
float get_TimeSeriesModel_xValue(int itime);
int get_TimeSeriesModel_xIndex(float time);
void plot_TimeSeriesModel(void);
void plot_TimeSeriesModel_DataPoints(int nbins, float *BinXVector, float *BinYVector);
void fill_TimeSeriesModel(IPOINT3D voxel);
void get_info_TimeSeriesModel(int move_cursor, char *string1, char *string2, char *string3);
void update_SelectText_TimeSeriesModel(SelectableText *SelectText);
void action_graph_text_selection_TimeSeriesModel(int button);
void action_graph_button23_TimeSeriesModel(void);
int graph_event_handler_TimeSeriesModel(char key);
void label_graph_time_window_TimeSeriesModel(char *FileName);
int write_TimeSeriesModel_into_roi_file(int first_time, FILE *file, int *ibuffer);

// Viewer-side state of a model, shared by the views.
struct GLM_MODEL {
  int event_number_active;  // event that a range selection draws
  int shape;                // draw shape, glm_event_shapes
  int show_glm_windows;     // 0 none, 1 stimuli, 2 stimuli and exclusions
  char residue_string[1024];
  char condition_string[1024];
  int iCondition_value;  // condition shown in the panel
  int iCondition_map;
  int baseline_terms;
  int baseline;  // 1 the baseline stays in data and fit; 0 removed
  int iDisplay;
  int iParameter;
  float effect_size, effect_sem;
  float p_raw, p_cor;
  float chi2_dof;
};
extern GLM_MODEL glm_model;

// What a range selection in the graph creates.
enum glm_event_shapes {
  GLM_DRAW_SQUARE = 0,
  GLM_DRAW_GAMMA = 1,
  GLM_DRAW_SIGMOID = 2,
  GLM_DRAW_TABLE = 3,
  GLM_DRAW_IGNORE = 4
};

// The noise model as the control file gave it.
extern int noise_model_original;

// The GLM view.
void initialize_GLM_TimeSeriesModel(void);
int read_GLM_TimeSeriesModel(char *file_name);
int define_GLM_TimeSeriesModel(int nflags, int *flags);
float get_GLM_xValue(int itime);
int get_GLM_xIndex(float time);
void get_GLM_TimeSeriesModel_name(char *name);
void plot_GLM_TimeSeriesModel(void);
void fill_GLM_TimeSeriesModel(void);
void get_info_GLM_TimeSeriesModel(int move_cursor, char *string1, char *string2, char *string3);
void update_SelectText_GLM_TimeSeriesModel(SelectableText *SelectText);
void action_graph_text_selection_GLM_TimeSeriesModel(int button);
void action_graph_button23_GLM_TimeSeriesModel(void);
int graph_event_handler_GLM_TimeSeriesModel(char key);
void label_graph_time_window_GLM_TimeSeriesModel(char *FileName);
int write_GLM_into_roi_file(int first_time, FILE *file, int *ibuffer);
// The events to take out of data and fit, as typed: a text that names no
// event of the model empties the set.
void define_GLM_residue_from_exclusion(const char *text);
// Forgets the view's state, as at program start.
void glm_view_reset(void);

#endif
