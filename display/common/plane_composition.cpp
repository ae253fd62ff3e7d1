// A whole plane, pixel by pixel: the layers of each zoomed pixel gathered
// through the plane's sampling table and blended. What is fixed for the
// plane (its axes, the third coordinate, strides, which layers exist) is
// worked out once, so that the per-pixel work is loads and sums only.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <thread>

#include "pixel_blend.h"
#include "zor_colour.h"
#include "zor_compose.h"
#include "zor_overlay.h"

namespace {

int axis_of(const IPOINT3D &p, int a) { return a == 0 ? p.x : (a == 1 ? p.y : p.z); }

struct PlaneContext {
  int orientation;
  bool in_mosaic;
  int h, v, n;               // axes of the plane
  int third;                 // coordinate along the normal
  int stride[3];             // flat index step along x, y, z
  int stride_h, stride_v;    // the steps along the plane's own axes
  int base;                  // flat index part of the normal coordinate
  const Neighborhood *table;
  int width;                 // zoomed pixels per table row
  int cross_h, cross_v;      // the cross's in-plane coordinates
  bool cross_panel;          // the cross lies in this plane or panel
  int projection_axis;       // -1, or the axis a projection graph runs along
  IPOINT3D cross;
  bool mip, map_visible, linear_filter;
  const float *real_samples;  // the shown volume when stored as reals
  const float *real_map;      // the map when stored as reals
  const float *ovl_weight;
  const int16_t *ovl_color;
  const POINT3D *vectors;     // the map's vectors, when it has them
  const float *filter;
  float filter_threshold;
};

// Whether any voxel of the plane (the rows of the normal coordinate) has a
// region weight; NaN counts as a weight.
bool plane_has_region(const PlaneContext &c, const IPOINT3D &dim) {
  const int size[3] = {dim.x, dim.y, dim.z};
  for (int b = 0; b < size[c.v]; b++)
    for (int a = 0; a < size[c.h]; a++)
      if (overlay_map.weight[c.base + a * c.stride[c.h] + b * c.stride[c.v]] != 0.0f) return true;
  return false;
}

PlaneContext plane_context(int iCross, int which_image) {
  PlaneContext c;
  c.in_mosaic = which_image == MOSAIC;
  c.orientation = c.in_mosaic ? mosaic.mosaic_orientation : which_image;
  plane_axis_indices(c.orientation, &c.h, &c.v, &c.n);
  c.cross = mosaic.icross;
  c.third = c.in_mosaic ? iCross : axis_of(c.cross, c.n);
  const IPOINT3D &dim = mosaic.stack->dim;
  c.stride[0] = 1;
  c.stride[1] = dim.x;
  c.stride[2] = dim.x * dim.y;
  c.base = c.third * c.stride[c.n];
  c.stride_h = c.stride[c.h];
  c.stride_v = c.stride[c.v];
  const int Z = mosaic.zoom_window > 0 ? mosaic.zoom_window : 1;
  c.width = plane_pixel_size(c.orientation).x * Z;
  c.table = plane_neighborhood(c.orientation);
  c.cross_h = axis_of(c.cross, c.h);
  c.cross_v = axis_of(c.cross, c.v);
  // In a mosaic the cross shows only in its own panel.
  c.cross_panel = !c.in_mosaic || c.third == axis_of(c.cross, c.n);
  c.projection_axis = (graph.type == 0 && graph.space_model >= 1 && graph.space_model <= 3)
                          ? graph.space_model - 1
                          : -1;
  c.mip = mosaic.MIP;
  c.map_visible = activation.visible;
  c.linear_filter = activation.visible && !activation.scale_log && activation.pFilter;
  c.real_samples = mosaic.stack->data_type == 0 ? mosaic.fSpaceMatrix : nullptr;
  c.real_map = activation.data_type == 1 ? activation.fSpaceMatrix : nullptr;
  c.ovl_weight = overlay_map.weight;
  c.ovl_color = overlay_map.color;
  // A plane without any region weight has nothing to gather from the
  // region: its colour only matters under a weight.
  if (c.ovl_weight && !plane_has_region(c, dim)) c.ovl_weight = nullptr, c.ovl_color = nullptr;
  c.vectors = activation.data_type == 3 ? activation.v3SpaceMatrix : nullptr;
  c.filter = c.linear_filter ? activation.pFilter : nullptr;
  c.filter_threshold = activation.thresh_log_low;
  return c;
}

struct Layers {
  float fData, fMap, fOvl, fCross, fProj;
  int ovl_color;
  POINT3D v3Map;
};

inline void gather(const PlaneContext &c, const Neighborhood &nb, Layers *out) {
  float fData = 0.0f, fMap = 0.0f, fOvl = 0.0f, fCross = 0.0f, fProj = 0.0f;
  int ovl_color = 0;
  double vx = 0.0, vy = 0.0, vz = 0.0;
  float filter_sum = 0.0f;
  for (int i = 0; i < nb.number; i++) {
    const float w = nb.weight[i];
    const int a_h = nb.address[i].x, a_v = nb.address[i].y;
    int iCrossHair = c.cross_panel && (a_h == c.cross_h || a_v == c.cross_v);
    int iProjection = 0;
    if (c.projection_axis >= 0) {
      int coordinate[3];
      coordinate[c.h] = a_h;
      coordinate[c.v] = a_v;
      coordinate[c.n] = c.third;
      const int a = c.projection_axis, b = (a + 1) % 3, d = (a + 2) % 3;
      iProjection = coordinate[a] != axis_of(c.cross, a) && coordinate[b] == axis_of(c.cross, b) &&
                    coordinate[d] == axis_of(c.cross, d);
      if (iProjection) iCrossHair = 0;
    }
    if (c.mip) {
      IPOINT3D voxel;
      int *coordinate[3] = {&voxel.x, &voxel.y, &voxel.z};
      *coordinate[c.h] = a_h;
      *coordinate[c.v] = a_v;
      *coordinate[c.n] = c.third;
      fData += MIP_data_3d(voxel, c.orientation) * w;
      fCross += (float)iCrossHair * w;
      fProj += (float)iProjection * w;
      if (c.map_visible) fMap += MIP_activation_3d(voxel, c.orientation) * w;
      continue;
    }
    const int index = c.base + a_h * c.stride[c.h] + a_v * c.stride[c.v];
    fData += (c.real_samples ? c.real_samples[index] : mosaic_data_1d(index)) * w;
    if (c.ovl_weight) fOvl += c.ovl_weight[index] * w;
    fCross += (float)iCrossHair * w;
    fProj += (float)iProjection * w;
    if (c.map_visible) {
      fMap += (c.real_map ? c.real_map[index] : activation_data_1d(index)) * w;
      if (c.vectors) {
        const POINT3D &vec = c.vectors[index];
        vx += fabs((double)vec.x) * w;
        vy += fabs((double)vec.y) * w;
        vz += fabs((double)vec.z) * w;
      }
      if (c.filter) filter_sum += c.filter[index] * w;
    }
    if (c.ovl_color && c.ovl_color[index] != 0) ovl_color = c.ovl_color[index];
  }
  // A statistical filter hides map voxels that are not significant.
  if (!c.mip && c.filter && c.filter_threshold > fabsf(filter_sum)) fMap = 0.0f;
  *out = Layers{fData, fMap, fOvl, fCross, fProj, ovl_color,
                POINT3D{(float)vx, (float)vy, (float)vz}};
}

// Any plane: every layer as it may be.
struct GeneralPixel {
  uint32_t operator()(const PlaneContext &c, const Neighborhood &nb) const {
    Layers l;
    gather(c, nb, &l);
    return (uint32_t)blend_pixel(l.fData, l.fMap, l.fOvl, l.fCross, l.fProj, l.ovl_color,
                                 l.v3Map);
  }
};

// The common plane: real samples, a real map or none, a region or none, no
// projection, no filter, no vectors. The same sums in the same order as
// gather, without the tests that do not apply.
template <bool MAP, bool OVL>
struct PlainPixel {
  uint32_t operator()(const PlaneContext &c, const Neighborhood &nb) const {
    float fData = 0.0f, fMap = 0.0f, fOvl = 0.0f, fCross = 0.0f;
    int ovl_color = 0;
    for (int i = 0; i < nb.number; i++) {
      const float w = nb.weight[i];
      const int a_h = nb.address[i].x, a_v = nb.address[i].y;
      const int index = c.base + a_h * c.stride_h + a_v * c.stride_v;
      fData += c.real_samples[index] * w;
      if (OVL) fOvl += c.ovl_weight[index] * w;
      fCross += (float)(c.cross_panel && (a_h == c.cross_h || a_v == c.cross_v)) * w;
      if (MAP) fMap += c.real_map[index] * w;
      if (OVL && c.ovl_color[index] != 0) ovl_color = c.ovl_color[index];
    }
    return (uint32_t)blend_pixel(fData, fMap, fOvl, fCross, 0.0f, ovl_color,
                                 POINT3D{0.0f, 0.0f, 0.0f});
  }
};

// Runs body(first, last) over [0, count), split between two threads when the
// work is large enough to pay for one: each output row is written by one
// thread only, and every pixel is computed exactly as it would be alone.
template <typename Body>
void split_rows(int count, size_t pixels_per_row, bool parallel, Body body) {
  const unsigned cores = std::thread::hardware_concurrency();
  if (!parallel || cores < 2 || count < 2 || (size_t)count * pixels_per_row < 32768) {
    body(0, count);
    return;
  }
  const int half = count / 2;
  std::thread other([&] { body(half, count); });
  body(0, half);
  other.join();
}

template <typename Pixel>
void compose_rows(const PlaneContext &c, uint32_t *rows, size_t row_pixels, Pixel pixel,
                  bool parallel) {
  const int Z = mosaic.zoom_window > 0 ? mosaic.zoom_window : 1;
  const IPOINT2D size = plane_pixel_size(c.orientation);
  if (plane_on_grid(c.orientation)) {
    // One composition per display pixel, repeated over its Z by Z block:
    // the main saving at high zoom.
    split_rows(size.y, (size_t)size.x, parallel, [&](int first, int last) {
      // A copy of its own: the pixels written cannot alias it, so its
      // fields stay in registers.
      const PlaneContext own = c;
      for (int jy = first; jy < last; jy++) {
        uint32_t *first_row = rows + row_pixels * (size_t)(jy * Z);
        const Neighborhood *table_row = own.table + (size_t)own.width * (size_t)(jy * Z);
        for (int jx = 0; jx < size.x; jx++) {
          const uint32_t value = pixel(own, table_row[jx * Z]);
          for (int k = 0; k < Z; k++) first_row[jx * Z + k] = value;
        }
        for (int k = 1; k < Z; k++)
          memcpy(first_row + row_pixels * k, first_row, sizeof(uint32_t) * (size_t)c.width);
      }
    });
    return;
  }
  const int height = size.y * Z;
  split_rows(height, (size_t)c.width, parallel, [&](int first, int last) {
    const PlaneContext own = c;
    for (int y = first; y < last; y++) {
      uint32_t *row = rows + row_pixels * (size_t)y;
      const Neighborhood *table_row = own.table + (size_t)own.width * (size_t)y;
      for (int x = 0; x < own.width; x++) row[x] = pixel(own, table_row[x]);
    }
  });
}

}  // namespace

void interpolate_2d(int iCross, int which_image, IPOINT2D PixelIndex, float *fData, float *fMap,
                    float *fOvl, float *fCross, float *fProj, int *ovl_color, POINT3D *v3Map) {
  const PlaneContext c = plane_context(iCross, which_image);
  Layers l;
  gather(c, c.table[(size_t)c.width * PixelIndex.y + PixelIndex.x], &l);
  *fData = l.fData;
  *fMap = l.fMap;
  *fOvl = l.fOvl;
  *fCross = l.fCross;
  *fProj = l.fProj;
  *ovl_color = l.ovl_color;
  *v3Map = l.v3Map;
}

void compose_plane_rows(int which_image, int iXYZ, uint32_t *rows, size_t row_pixels) {
  const PlaneContext c = plane_context(which_image == MOSAIC ? iXYZ : 0, which_image);
  const bool plain = c.real_samples && !c.mip && c.projection_axis < 0 && !c.vectors &&
                     !c.filter && (!c.map_visible || c.real_map);
  // The general path may fill projection tables on first use: it stays on
  // one thread. The plain path only reads.
  if (!plain) return compose_rows(c, rows, row_pixels, GeneralPixel(), false);
  const bool map = c.map_visible, region = c.ovl_weight && c.ovl_color;
  if (map && region) return compose_rows(c, rows, row_pixels, PlainPixel<true, true>(), true);
  if (map) return compose_rows(c, rows, row_pixels, PlainPixel<true, false>(), true);
  if (region) return compose_rows(c, rows, row_pixels, PlainPixel<false, true>(), true);
  compose_rows(c, rows, row_pixels, PlainPixel<false, false>(), true);
}

void compose_plane(int which_image, int iXYZ, std::vector<unsigned long> &pixels) {
  const int orientation = which_image == MOSAIC ? mosaic.mosaic_orientation : which_image;
  const int Z = mosaic.zoom_window > 0 ? mosaic.zoom_window : 1;
  const IPOINT2D size = plane_pixel_size(orientation);
  const size_t width = (size_t)size.x * Z, height = (size_t)size.y * Z;
  std::vector<uint32_t> rows(width * height);
  compose_plane_rows(which_image, iXYZ, rows.data(), width);
  pixels.assign(rows.begin(), rows.end());
}
