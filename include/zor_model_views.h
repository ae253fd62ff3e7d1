// The group (REM), PET (SRTM) and fitting (FIT) models as the viewer sees
// them: the files a control file opens, the fit of the curve under the
// cursor, what each draws in the graph, its panel fields and its columns of
// a result table. They share the display state `glm_model`
// (zor_time_model.h) and are reached through the dispatch on
// graph.time_model.
#ifndef ZOR_MODEL_VIEWS_H
#define ZOR_MODEL_VIEWS_H

#include <cstdio>

#include "zor_display_state.h"
#include "zor_stack.h"
#include "zor_types.h"

// The group model: one sample per file, or two (value and standard error)
// when the files hold both; the between-file variance comes from the third
// volume of "sigma2.nii" (or "sigma2.bfloat").
extern file_list sigma2_file;
extern data_stack sigma2_stack;
void initialize_REM_TimeSeriesModel(void);
int read_REM_TimeSeriesModel(char *file_name);
int define_REM_TimeSeriesModel(int nflags, int *flags);
float get_REM_xValue(int itime);
int get_REM_xIndex(float time);
void plot_REM_TimeSeriesModel(void);
void plot_REM_TimeSeriesModel_DataPoints(int nbins, float *BinXVector, float *BinYVector);
void fill_REM_TimeSeriesModel(void);
void get_info_REM_TimeSeriesModel(int move_cursor, char *string1, char *string2, char *string3);
void update_SelectText_REM_TimeSeriesModel(SelectableText *SelectText);
void action_graph_text_selection_REM_TimeSeriesModel(int button);
void action_graph_button23_REM_TimeSeriesModel(void);
int graph_event_handler_REM_TimeSeriesModel(char key);
void label_graph_time_window_REM_TimeSeriesModel(char *FileName);
int write_REM_into_roi_file(int first_time, FILE *file, int *ibuffer);
// 1 when the graph holds a value and an error per file.
int REM_graph_is_paired(void);
// The between-file variance used by the last fit.
float REM_view_sigma2(void);
void rem_view_reset(void);

// The PET model: minutes on the x axis, the tissue curve with its fit,
// binding fits and the kinetic parameter of the panel.
extern float half_life_save;
void initialize_SRTM_TimeSeriesModel(void);
int read_SRTM_TimeSeriesModel(char *file_name);
int define_SRTM_TimeSeriesModel(int nflags, int *flags);
void get_SRTM_TimeSeriesModel_name(char *name);
float get_SRTM_xValue(int itime);
int get_SRTM_xIndex(float time);
void plot_SRTM_TimeSeriesModel(void);
void plot_SRTM_TimeSeriesModel_DataPoints(int nbins, float *BinXVector, float *BinYVector);
void fill_SRTM_TimeSeriesModel(void);
void get_info_SRTM_TimeSeriesModel(int move_cursor, char *string1, char *string2, char *string3);
void update_SelectText_SRTM_TimeSeriesModel(SelectableText *SelectText);
void action_graph_text_selection_SRTM_TimeSeriesModel(int button);
void action_graph_button23_SRTM_TimeSeriesModel(void);
int graph_event_handler_SRTM_TimeSeriesModel(char key);
void label_graph_time_window_SRTM_TimeSeriesModel(char *FileName);
int write_SRTM_into_roi_file(int first_time, FILE *file, int *ibuffer);
void srtm_view_reset(void);

// The fitting model: a smooth fitted line through the samples and the
// fit's parameter values.
void initialize_FIT_TimeSeriesModel(void);
int read_FIT_TimeSeriesModel(char *file_name);
int define_FIT_TimeSeriesModel(int nflags, int *flags);
void get_FIT_TimeSeriesModel_name(char *name);
float get_FIT_xValue(int itime);
int get_FIT_xIndex(float time);
void plot_FIT_TimeSeriesModel(void);
void plot_FIT_TimeSeriesModel_DataPoints(int nbins, float *BinXVector, float *BinYVector);
void fill_FIT_TimeSeriesModel(void);
void get_info_FIT_TimeSeriesModel(int move_cursor, char *string1, char *string2, char *string3);
void update_SelectText_FIT_TimeSeriesModel(SelectableText *SelectText);
void action_graph_text_selection_FIT_TimeSeriesModel(int button);
void action_graph_button23_FIT_TimeSeriesModel(void);
int graph_event_handler_FIT_TimeSeriesModel(char key);
void label_graph_time_window_FIT_TimeSeriesModel(char *FileName);
int write_FIT_into_roi_file(int first_time, FILE *file, int *ibuffer);

#endif
