// The switchboard between the graph and the time-series models, routed on
// graph.time_model (0 none, 1 GLM, 2 REM, 3 SRTM, 4 FIT).
#ifndef ZOR_TIME_MODEL_H
#define ZOR_TIME_MODEL_H

#include "zor_types.h"

int TimeSeriesModel_is_initialized(void);
void get_TimeSeriesModel_name(char *name);
float get_TimeSeriesModel_xValue(int itime);
int get_TimeSeriesModel_xIndex(float time);
void plot_TimeSeriesModel(void);
void plot_TimeSeriesModel_DataPoints(int nbins, float *BinXVector, float *BinYVector);
void fill_TimeSeriesModel(IPOINT3D voxel);
void get_info_TimeSeriesModel(int move_cursor, char *string1, char *string2, char *string3);
void action_graph_text_selection_TimeSeriesModel(int button);
void action_graph_button23_TimeSeriesModel(void);
int graph_event_handler_TimeSeriesModel(char key);
void label_graph_time_window_TimeSeriesModel(char *FileName);

#endif
