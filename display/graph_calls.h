// What the views call of the graph window.
#ifndef ZOR_GRAPH_CALLS_H
#define ZOR_GRAPH_CALLS_H

#include "zor_types.h"

void fill_graph_vector(void);
void modify_graph_vector(void);
void build_graph_display(int Redraw);
void label_graph_window(void);
void action_change_graph_units(void);
void smooth_graph_vector(float *RawXVector, float *RawYVector, float *SmoothXVector, float *SmoothYVector);
void bin_graph_vector(int nbins, float *RawXVector, float *RawYVector, float *BinXVector, float *BinYVector);
void plot_DataPoints(int nbins, float *BinXVector, float *BinYVector);
IPOINT2D Space2D_to_GraphPixels(POINT2D Space2D);

#endif
