// Drawing helpers shared by the model views: lines, bands and markers on
// the graph's data surface, in data coordinates, dropped where a point
// falls outside what the server can address.
#ifndef ZOR_MODEL_VIEW_DRAWING_H
#define ZOR_MODEL_VIEW_DRAWING_H

#include <vector>

#include "zor_types.h"

// A segment between two data points.
void view_line(float x0, float y0, float x1, float y1, int color);
// A polyline through n points.
void view_polyline(int n, const float *x, const float *y, int color);
// A filled band over the whole height between two x values.
void view_band(float x_low, float x_high, int color);
// A filled square of `size` pixels around a data point.
void view_square(float x, float y, float size, int color);
// A curve over the graph's x values, smoothed or binned as the data are.
void view_reduced_curve(const std::vector<float> &values, int color);

#endif
