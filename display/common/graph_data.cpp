// The graph's data: its defaults, the vectors for each graph type, the
// curve under the cross-hair (time course, profile or histogram), the
// smoothing and binning of time courses, the plotted limits and the
// mapping from data units to pixels of the data area.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "zor_alloc.h"
#include "zor_compose.h"
#include "zor_float_int.h"
#include "zor_geometry.h"
#include "zor_graph.h"
#include "zor_overlay.h"
#include "zor_stack.h"
#include "zor_time_model.h"

namespace {

// 1 until initialize_graph has set the record's defaults once.
int first_call = 1;
// The cross-hair at the last update_graph_data, to skip unchanged motion.
IPOINT3D saved_icross{-1, -1, -1};
// Window x of the pointer at the last location in the graph window.
int pointer_x = 0;

float **graph_vectors[] = {&graph.xVector, &graph.yVector,  &graph.yVector1,
                           &graph.yVector2, &graph.yFit,    &graph.yFit_err};

void free_graph_vectors(void) {
  for (float **v : graph_vectors) {
    if (*v) free_float_vector(*v);
    *v = nullptr;
  }
}

bool is_projection(void) { return graph.type == 0 && graph.space_model != 0; }

float axis_component(POINT3D p, int axis) { return axis == 1 ? p.x : axis == 2 ? p.y : p.z; }
int axis_component(IPOINT3D p, int axis) { return axis == 1 ? p.x : axis == 2 ? p.y : p.z; }
void set_axis_component(IPOINT3D *p, int axis, int value) {
  if (axis == 1)
    p->x = value;
  else if (axis == 2)
    p->y = value;
  else
    p->z = value;
}

bool voxel_inside(IPOINT3D v, IPOINT3D dim) {
  return v.x >= 0 && v.x < dim.x && v.y >= 0 && v.y < dim.y && v.z >= 0 && v.z < dim.z;
}

// Whether the shown stack has samples for every time point.
bool time_samples_exist(const data_stack *s) {
  switch (s->data_type) {
    case 0: return s->Volume != nullptr;
    case 3: return s->v3Volume != nullptr;
    default: return s->fcVolume != nullptr;
  }
}

void fill_histogram(void) {
  const int bins = graph.histogram_bins;
  const float low = graph.xbin_low, high = graph.xbin_high;
  for (int j = 0; j < graph.npoints; j++)
    graph.xVector[j] = low + (high - low) * (float)j / (float)bins;
  const int n3d = mosaic.stack->n3d;
  const bool overlay = ovl_root.npts != 0 && overlay_map.weight != nullptr;
  for (int i = 0; i < n3d; i++) {
    const float value = mosaic_data_1d(i);
    // The zero background is left out of the counts, unless a region says
    // which voxels count.
    if (overlay ? overlay_map.weight[i] == 0.0f : value == 0.0f) continue;
    const int jBin = truncate_to_int((value - low) * (float)bins / (high - low));
    if (jBin >= 0 && jBin < bins && jBin < graph.npoints) graph.yVector1[jBin] += 1.0f;
  }
}

void fill_projection(void) {
  const int axis = graph.space_model;
  const data_stack *s = mosaic.stack;
  const IPOINT3D cross = mosaic.icross;
  // The two other components must lie on the stack.
  for (int other = 1; other <= 3; other++)
    if (other != axis && axis_component(cross, other) < 0) return;
  const bool map = activation.visible && activation.data_type != 0;
  for (int j = 0; j < graph.npoints; j++) {
    IPOINT3D voxel = cross;
    set_axis_component(&voxel, axis, j);
    if (!voxel_inside(voxel, s->dim)) continue;
    if (map) {
      graph.yVector1[j] = activation_data_1d(Voxel3D_to_1D(voxel, s->dim));
      graph.yVector2[j] = mosaic_data_3d(voxel);
    } else {
      graph.yVector1[j] = mosaic_data_3d(voxel);
    }
    graph.xVector[j] = axis_component(Convert_Voxel_to_Space(voxel, s), axis);
  }
}

void fill_time_course(void) {
  const data_stack *s = mosaic.stack;
  const int nt = s->nt < graph.npoints ? s->nt : graph.npoints;
  for (int j = 0; j < nt; j++) graph.xVector[j] = get_TimeSeriesModel_xValue(j);
  if (!time_samples_exist(s)) return;
  const int ddt = mosaic.display_data_type;
  if (ovl_root.npts == 0) {
    // Without a cross-hair the curve follows the pointer.
    IPOINT3D voxel = mosaic.icross;
    if (mosaic.display_crosshairs == 0 && voxel_inside(mosaic.icursor, s->dim))
      voxel = mosaic.icursor;
    if (!voxel_inside(voxel, s->dim)) return;
    const int ispace = Voxel3D_to_1D(voxel, s->dim);
    for (int j = 0; j < nt; j++) graph.yVector1[j] = stack_data_4d(s, ddt, ispace, j);
    return;
  }
  // Weighted mean and standard deviation over the working region.
  for (int j = 0; j < nt; j++) {
    double sum_w = 0.0, sum_wv = 0.0;
    for (int k = 0; k < ovl_root.npts; k++) {
      if (!voxel_inside(ovl_root.voxel[k], s->dim)) continue;
      const double w = ovl_root.weight[k];
      sum_w += w;
      sum_wv += w * stack_data_4d(s, ddt, Voxel3D_to_1D(ovl_root.voxel[k], s->dim), j);
    }
    if (sum_w == 0.0) continue;
    const double average = sum_wv / sum_w;
    double sum_sq = 0.0;
    for (int k = 0; k < ovl_root.npts; k++) {
      if (!voxel_inside(ovl_root.voxel[k], s->dim)) continue;
      const double d = stack_data_4d(s, ddt, Voxel3D_to_1D(ovl_root.voxel[k], s->dim), j) - average;
      sum_sq += ovl_root.weight[k] * d * d;
    }
    graph.yVector1[j] = (float)average;
    graph.yVector2[j] = (float)sqrt(sum_sq / sum_w);
  }
}

}  // namespace

void graph_reset(void) {
  free_graph_vectors();
  first_call = 1;
  saved_icross = IPOINT3D{-1, -1, -1};
  pointer_x = 0;
}

int graph_pointer_x(void) { return pointer_x; }

void initialize_graph(void) {
  const data_stack *s = mosaic.stack;
  if (first_call) {
    first_call = 0;
    graph.type = -1;
    graph.space_model = 0;
    graph.size = IPOINT2D{0, 0};
    graph.npoints = s ? s->nt : 0;
    graph.histogram_bins = 100;
    graph.ed_distance = 1;
    graph.ed_dimension = 3;
    graph.select_above = 1;
    graph.hist_marker = image_scale_min;
    graph.xbin_low = image_scale_min;
    graph.xbin_high = image_scale_max;
  } else {
    free_graph_vectors();
  }
  graph.units_percent = 0;
  graph.fixed = IPOINT2D{0, 0};
  graph.bin_data = 0;
  graph.bin_width = 1;
  graph.Min = POINT2D{0.0f, 0.0f};
  graph.Max = POINT2D{0.0f, 0.0f};
  graph.ix_low_select = -1;
  graph.ix_high_select = -1;

  if (graph.type == 0) {
    if (graph.space_model == 0)
      graph.npoints = graph.histogram_bins;
    else
      graph.npoints = s ? axis_component(s->dim, graph.space_model) : 0;
  } else {
    graph.npoints = s ? s->nt : 0;
  }

  graph.xLow = 0.0f;
  graph.xHigh = (float)(graph.npoints - 1);
  if (graph.type == 0 && graph.space_model == 0) {
    graph.xLow = graph.xbin_low = image_scale_min;
    graph.xHigh = graph.xbin_high = image_scale_max;
  } else if (graph.type == 0 && s) {
    IPOINT3D first{0, 0, 0}, last{0, 0, 0};
    set_axis_component(&last, graph.space_model, graph.npoints - 1);
    graph.xLow = axis_component(Convert_Voxel_to_Space(first, s), graph.space_model);
    graph.xHigh = axis_component(Convert_Voxel_to_Space(last, s), graph.space_model);
  } else if (graph.type == 1) {
    graph.xLow = get_TimeSeriesModel_xValue(0);
    graph.xHigh = get_TimeSeriesModel_xValue(graph.npoints - 1);
  }

  mosaic.display_crosshairs = is_projection() ? 1 : 3;

  const int n = graph.npoints > 0 ? graph.npoints : 1;
  for (float **v : graph_vectors) {
    *v = float_vector(n);
    memset(*v, 0, sizeof(float) * (size_t)n);
  }
  const float resolution_t = s ? s->resolution_t : 1.0f;
  for (int j = 0; j < graph.npoints; j++) graph.xVector[j] = (float)j * resolution_t;

  label_graph_window();
  fill_graph_vector();
  graph.update_regions = GRAPH_REBUILD | GRAPH_MENUS | GRAPH_INFO;
  mosaic.update_regions |= REGION_IMAGES;
}

void fill_graph_vector(void) {
  if (graph.size.x == 0 || !graph.xVector || !mosaic.stack) return;
  for (int j = 0; j < graph.npoints; j++) {
    graph.xVector[j] = (float)j;
    graph.yVector[j] = graph.yVector1[j] = graph.yVector2[j] = 0.0f;
  }
  if (graph.type == 0) {
    if (graph.space_model == 0)
      fill_histogram();
    else
      fill_projection();
  } else if (graph.type == 1) {
    fill_time_course();
  }
  modify_graph_vector();
}

void modify_graph_vector(void) {
  if (!graph.yVector) return;
  for (int j = 0; j < graph.npoints; j++) graph.yVector[j] = graph.yVector1[j];
  if (graph.type == 1) fill_TimeSeriesModel(mosaic.icross);
}

void update_graph_data(int UpdateGraphData) {
  if (graph.size.x == 0) return;
  const IPOINT3D c = mosaic.icross;
  const bool unchanged = c.x == saved_icross.x && c.y == saved_icross.y && c.z == saved_icross.z;
  saved_icross = c;
  if ((mosaic.update_regions & REGION_INFO_MOTION) && mosaic.display_crosshairs != 0 && unchanged)
    return;
  fill_graph_vector();
  build_graph_display(UpdateGraphData);
}

void smooth_graph_vector(float *RawXVector, float *RawYVector, float *SmoothXVector,
                         float *SmoothYVector) {
  const int n = graph.npoints;
  const int low = -graph.bin_width / 2;
  const int high = graph.bin_width / 2 > 1 ? graph.bin_width / 2 : 1;
  for (int j = 0; j < n; j++) {
    SmoothXVector[j] = RawXVector[j];
    float sum = 0.0f;
    int count = 0;
    for (int k = low; k < high; k++) {
      if (j + k < 0 || j + k >= n) continue;
      sum += RawYVector[j + k];
      count++;
    }
    SmoothYVector[j] = count ? sum / (float)count : 0.0f;
  }
}

void bin_graph_vector(int nbins, float *RawXVector, float *RawYVector, float *BinXVector,
                      float *BinYVector) {
  const int width = graph.bin_width > 0 ? graph.bin_width : 1;
  // Slot 0 is divided before it holds anything, so groups land from slot 1
  // on and the last group is never divided.
  int ibin = 0, count = 0;
  float sum_x = 0.0f, sum_y = 0.0f;
  for (int j = 0; j < graph.npoints; j++) {
    if (j % width == 0) {
      if (ibin < nbins) {
        BinXVector[ibin] = count ? sum_x / (float)count : NAN;
        BinYVector[ibin] = count ? sum_y / (float)count : NAN;
      }
      ibin++;
      if (ibin >= nbins) break;
      sum_x = sum_y = 0.0f;
      count = 0;
    }
    sum_x += RawXVector[j];
    sum_y += RawYVector[j];
    count++;
  }
}

int reduce_graph_vectors(float *BinXVector, float *BinYVector) {
  const int n = graph.npoints;
  if (graph.type == 1) {
    if (graph.bin_data == 0) {
      smooth_graph_vector(graph.xVector, graph.yVector, BinXVector, BinYVector);
      return n;
    }
    const int width = graph.bin_width > 0 ? graph.bin_width : 1;
    const int nbins = (n + width - 1) / width;
    for (int j = 0; j < n; j++) BinXVector[j] = BinYVector[j] = 0.0f;
    bin_graph_vector(nbins, graph.xVector, graph.yVector, BinXVector, BinYVector);
    return nbins;
  }
  for (int j = 0; j < n; j++) {
    BinXVector[j] = graph.xVector[j];
    BinYVector[j] = graph.yVector[j];
  }
  return n;
}

void compute_graph_limits(void) {
  const int n = graph.npoints;
  if (n > 0 && (graph.Min.x == graph.Max.x || graph.fixed.x == 0)) {
    const float r = graph.xVector[n - 1] - graph.xVector[0];
    graph.Min.x = graph.xVector[0] - r / 50.0f;
    graph.Max.x = graph.xVector[n - 1] + r / 50.0f;
  }
  if (graph.Min.y == graph.Max.y || graph.fixed.y == 0) {
    float low = 1e10f, high = -1e10f;
    for (int j = 0; j < n; j++) {
      if (graph.yVector[j] < low) low = graph.yVector[j];
      if (graph.yVector[j] > high) high = graph.yVector[j];
    }
    // A flat curve is widened by 10 each way and by nothing more.
    if (low == high) {
      low -= 10.0f;
      high += 10.0f;
    } else if (graph.type == 1 && graph.units_percent) {
      low = truncf(low - 1.0f);
      high = truncf(high + 1.0f);
    } else {
      const float span = high - low;
      low -= span / 10.0f;
      high += span / 10.0f;
    }
    graph.Min.y = low;
    graph.Max.y = high;
  }
  graph.ScaleDraw.x = (float)graph.size.x / (graph.Max.x - graph.Min.x);
  graph.ScaleDraw.y = (float)graph.size.y / (graph.Max.y - graph.Min.y);
}

IPOINT2D Space2D_to_GraphPixels(POINT2D Space2D) {
  return IPOINT2D{truncate_to_int((Space2D.x - graph.Min.x) * graph.ScaleDraw.x),
                  truncate_to_int((graph.Max.y - Space2D.y) * graph.ScaleDraw.y)};
}

int graph_marker_x(float *x) {
  const data_stack *s = mosaic.stack;
  if (graph.type == 0 && graph.space_model == 0) {
    *x = graph.hist_marker;
    return 1;
  }
  if (graph.space_model >= 1 && graph.space_model <= 3 && s) {
    *x = axis_component(Convert_Voxel_to_Space(mosaic.icross, s), graph.space_model);
    return graph.type == 0 || graph.iLastTime >= 0;
  }
  if (graph.type == 1 && graph.iLastTime >= 0) {
    *x = get_TimeSeriesModel_xValue(graph.iLastTime);
    return 1;
  }
  return 0;
}

void define_graph_cursor_location(int x2d, int y2d) {
  const IPOINT2D S = graph.size;
  pointer_x = x2d;
  if (y2d <= GRAPH_TOP_STRIP - 1) {
    const int id = CursorOnSelectableText_AboveGraphWindow(x2d);
    if (id) {
      graph.cursor_selection |= GRAPH_CURSOR_ON_TEXT;
      graph.text_selection = id;
    } else {
      graph.cursor_selection |= GRAPH_CURSOR_ON_NOTHING;
    }
  } else if (y2d >= S.y + GRAPH_TOP_STRIP) {
    const int id = CursorOnSelectableText_BelowGraphWindow(x2d, y2d - GRAPH_TOP_STRIP - S.y);
    if (id) {
      graph.cursor_selection |= GRAPH_CURSOR_ON_TEXT;
      graph.text_selection = id;
    }
  } else {
    graph.cursor_selection |= GRAPH_CURSOR_ON_DATA;
  }
  graph.icursor.y = y2d - GRAPH_TOP_STRIP;
  if (graph.icursor.y < 0 || graph.icursor.y > S.y - 1) graph.icursor.y = -1;
  graph.cursor.y = graph.Max.y - (graph.Max.y - graph.Min.y) / (float)S.y * (float)graph.icursor.y;
  graph.cursor.x = graph.Min.x + (float)x2d * (graph.Max.x - graph.Min.x) / (float)S.x;

  const int last = graph.npoints - 1;
  if (graph.type == 1 && graph.time_model != 0) {
    float value = graph.cursor.x;
    if (value < graph.xLow) value = graph.xLow;
    if (value > graph.xHigh) value = graph.xHigh;
    graph.icursor.x = get_TimeSeriesModel_xIndex(value);
  } else if (graph.type == 0 && graph.space_model != 0) {
    int i = round_to_int((float)last * (graph.cursor.x - graph.xLow) / (graph.xHigh - graph.xLow));
    if (i < 0) i = 0;
    if (i > last) i = last;
    graph.icursor.x = i;
  } else {
    graph.icursor.x =
        round_to_int((float)last * (graph.cursor.x - graph.Min.x) / (graph.Max.x - graph.Min.x));
  }
  // An axis without span (one time point) puts the pointer at no number
  // along it: it is then over the first point, not at the end of the int
  // range.
  if (graph.icursor.x == INT_MIN) graph.icursor.x = 0;
}

void set_graph_location(void) {
  if (graph.type == 0 && graph.space_model == 0) {
    graph.ihist_marker = graph.icursor.x;
    graph.hist_marker = graph.cursor.x;
  } else if (graph.type == 0) {
    set_axis_component(&mosaic.icross, graph.space_model, graph.icursor.x);
  } else {
    set_mosaic_SpaceMatrix(graph.icursor.x);
  }
}

// The wrap is decided before the step, so that a time at either end of the
// int range (the index of a coordinate that was not a number) steps without
// overflowing.
void increment_graph_location_time(void) {
  const int t = graph.iTime >= mosaic.stack->nt - 1 ? -anatomy_stack.nt : graph.iTime + 1;
  set_mosaic_SpaceMatrix(t);
}

void decrement_graph_location_time(void) {
  const int t = graph.iTime <= -anatomy_stack.nt ? mosaic.stack->nt - 1 : graph.iTime - 1;
  set_mosaic_SpaceMatrix(t);
}

namespace {
void step_projection(int step) {
  const int axis = graph.space_model;
  if (axis < 1 || axis > 3 || graph.npoints <= 0) return;
  int i = axis_component(mosaic.icross, axis) + step;
  if (i >= graph.npoints) i = 0;
  if (i < 0) i = graph.npoints - 1;
  set_axis_component(&mosaic.icross, axis, i);
}
}  // namespace

void increment_graph_location(int change_time) {
  if (graph.type == 1 || change_time)
    increment_graph_location_time();
  else
    step_projection(1);
}

void decrement_graph_location(int change_time) {
  if (graph.type == 1 || change_time)
    decrement_graph_location_time();
  else
    step_projection(-1);
}
