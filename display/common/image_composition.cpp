// One pixel of a plane: its layers gathered by the sampling table, then the
// projection line, overlay, map, gray value and pixelated cross-hair
// blended into one RGB value.
#include <cmath>
#include <cstdio>

#include "zor_colour.h"
#include "zor_compose.h"
#include "zor_exit.h"
#include "zor_geometry.h"
#include "zor_overlay.h"
#include "zor_special.h"

namespace {

const double kDegreesPerRadian = 57.29577950560105;

float vector_length(POINT3D v) {
  float sum = 0.0f;
  // Exact zeros add nothing and are skipped.
  if (v.x != 0.0f) sum += v.x * v.x;
  if (v.y != 0.0f) sum += v.y * v.y;
  if (v.z != 0.0f) sum += v.z * v.z;
  return sqrtf(sum);
}

// A complex sample by the display's choice; `polar` when stored as
// magnitude and phase.
float complex_value(FCOMPLEX c, bool polar, int display_data_type) {
  switch (display_data_type) {
    case 0: return polar ? c.real : compute_amplitude(c);
    case 1: return polar ? c.imag : (float)(compute_phase(c) * kDegreesPerRadian);
    case 2: return polar ? c.real * cosf(c.imag) : c.real;
    default: return polar ? c.real * sinf(c.imag) : c.imag;
  }
}

float vector_value(POINT3D v, int display_data_type) {
  if (display_data_type <= 0) return vector_length(v);
  switch (display_data_type) {
    case 1: return v.x;
    case 2: return v.y;
    case 3: return v.z;
    default: return 0.0f;
  }
}

// The voxel of a plane pixel's neighbour: two in-plane indices and the
// plane's third coordinate.
IPOINT3D plane_voxel(int orientation, IPOINT2D address, int third) {
  switch (orientation) {
    case ORTHO_ZY: return IPOINT3D{third, address.y, address.x};
    case ORTHO_XZ: return IPOINT3D{address.x, third, address.y};
    case ORTHO_YZ: return IPOINT3D{third, address.x, address.y};
    default: return IPOINT3D{address.x, address.y, third};
  }
}

int axis_of(const IPOINT3D &p, int a) { return a == 0 ? p.x : (a == 1 ? p.y : p.z); }

// Axes (0 x, 1 y, 2 z) of a plane: horizontal, vertical, normal.
void plane_axes(int orientation, int *h, int *v, int *n) {
  switch (orientation) {
    case ORTHO_ZY: *h = 2, *v = 1, *n = 0; return;
    case ORTHO_XZ: *h = 0, *v = 2, *n = 1; return;
    case ORTHO_YZ: *h = 1, *v = 2, *n = 0; return;
    default: *h = 0, *v = 1, *n = 2; return;
  }
}

unsigned long pack_rgb(int red, int green, int blue) {
  return ((unsigned long)red << 16) + ((unsigned long)green << 8) + (unsigned long)blue;
}

// Gray under a layer of opacity 1 - trans, towards white.
int blended_level(int g, float trans) {
  return (int)((float)g * trans + (1.0f - trans) * 255.0f);
}

unsigned long overlay_colour(int ovl_color, int level) {
  switch (ovl_color) {
    case COLOR_RED: return pack_rgb(level, 0, 0);
    case COLOR_GREEN: return pack_rgb(0, level, 0);
    case COLOR_BLUE: return pack_rgb(0, 0, level);
    case COLOR_PURPLE: return pack_rgb(level >> 1, 0, level);
    case COLOR_YELLOW: return pack_rgb(level, level, 0);
    case COLOR_ORANGE: return pack_rgb(level, level >> 1, 0);
    case COLOR_MAGENTA: return pack_rgb(level, 0, level);
    case COLOR_SKY: return pack_rgb(0, (int)((float)level * 0.75f), level);
    case COLOR_WHITE: return pack_rgb(level, level, level);
    default: return pack_rgb(0, level, level);  // cyan, also for no colour
  }
}

// Direction-coloured vectors: each component against the high threshold.
unsigned long vector_colour(POINT3D v3Map, int g) {
  float high = get_activation_threshold(1);
  float c[3] = {fabsf(v3Map.x), fabsf(v3Map.y), fabsf(v3Map.z)};
  float t = activation.transparent ? 0.6f : 0.0f;
  int q[3];
  for (int i = 0; i < 3; i++) {
    float ratio = c[i] / high;
    int level = ratio > 1.0f ? 255 : (ratio >= 0.0f ? (int)(ratio * 255.0f) : 0);
    q[i] = (int)((float)g * t + (float)level * (1.0f - t));
  }
  switch (activation.display_data_type) {
    case -2: return pack_rgb(q[1], q[2], q[0]);
    case -1: return pack_rgb(q[2], q[0], q[1]);
    default: return pack_rgb(q[0], q[1], q[2]);
  }
}

}  // namespace

int shown_samples_exist(void) {
  if (!mosaic.stack) return 0;
  switch (mosaic.stack->data_type) {
    case 0: return mosaic.fSpaceMatrix != nullptr;
    case 3: return mosaic.v3SpaceMatrix != nullptr;
    default: return mosaic.fcSpaceMatrix != nullptr;
  }
}

float mosaic_data_1d(int ispace) {
  const data_stack *stack = mosaic.stack;
  if (ispace < 0 || ispace >= stack->n3d) {
    printf("Programming error: index (%d) out of range (%d) in mosaic_data_1d\n", ispace,
           stack->n3d);
    zor_exit(1);
  }
  // A stack whose volumes are not loaded reads as zeros.
  switch (stack->data_type) {
    case 0: return mosaic.fSpaceMatrix ? mosaic.fSpaceMatrix[ispace] : 0.0f;
    case 1:
    case 2:
      if (!mosaic.fcSpaceMatrix) return 0.0f;
      return complex_value(mosaic.fcSpaceMatrix[ispace], stack->data_type == 2,
                           mosaic.display_data_type);
    case 3:
      if (!mosaic.v3SpaceMatrix) return 0.0f;
      return vector_value(mosaic.v3SpaceMatrix[ispace], mosaic.display_data_type);
    default:
      printf("Programming error: data type = %d in function mosaic_data_1d\n", stack->data_type);
      zor_exit(1);
  }
  return 0.0f;
}

float activation_data_1d(int ispace) {
  switch (activation.data_type) {
    case 1: return activation.fSpaceMatrix ? activation.fSpaceMatrix[ispace] : 0.0f;
    case 2: {
      int stored = activation.stack ? activation.stack->data_type : 0;
      if ((stored != 1 && stored != 2) || !activation.fcSpaceMatrix) return 0.0f;
      return complex_value(activation.fcSpaceMatrix[ispace], stored == 2,
                           activation.display_data_type);
    }
    case 3:
      if (activation.display_data_type == 4)
        return activation.fTractMap ? activation.fTractMap[ispace] : 0.0f;
      if (!activation.v3SpaceMatrix) return 0.0f;
      return vector_value(activation.v3SpaceMatrix[ispace], activation.display_data_type);
    default: return 0.0f;
  }
}

float mosaic_data_3d(IPOINT3D voxel) {
  return mosaic_data_1d(Voxel3D_to_1D(voxel, mosaic.stack->dim));
}

float activation_data_3d(IPOINT3D voxel) {
  return activation_data_1d(Voxel3D_to_1D(voxel, mosaic.stack->dim));
}

void interpolate_2d(int iCross, int which_image, IPOINT2D PixelIndex, float *fData, float *fMap,
                    float *fOvl, float *fCross, float *fProj, int *ovl_color, POINT3D *v3Map) {
  const bool in_mosaic = which_image == MOSAIC;
  const int orientation = in_mosaic ? mosaic.mosaic_orientation : which_image;
  const int Z = mosaic.zoom_window > 0 ? mosaic.zoom_window : 1;
  const IPOINT2D size = plane_pixel_size(orientation);
  const Neighborhood &n =
      plane_neighborhood(orientation)[(size_t)size.x * Z * PixelIndex.y + PixelIndex.x];
  *fData = *fMap = *fOvl = *fCross = *fProj = 0.0f;
  *ovl_color = 0;
  *v3Map = POINT3D{0.0f, 0.0f, 0.0f};

  int h, v, normal;
  plane_axes(orientation, &h, &v, &normal);
  const IPOINT3D &cross = mosaic.icross;
  const int third = in_mosaic ? iCross : axis_of(cross, normal);
  const int projection_axis =
      (graph.type == 0 && graph.space_model >= 1 && graph.space_model <= 3) ? graph.space_model - 1
                                                                          : -1;
  const bool linear_filter = activation.visible && !activation.scale_log && activation.pFilter;
  const IPOINT3D &dim = mosaic.stack->dim;
  double vx = 0.0, vy = 0.0, vz = 0.0;
  float filter_sum = 0.0f;

  for (int i = 0; i < n.number; i++) {
    const float w = n.weight[i];
    const IPOINT3D voxel = plane_voxel(orientation, n.address[i], third);
    int iCrossHair = axis_of(voxel, h) == axis_of(cross, h) || axis_of(voxel, v) == axis_of(cross, v);
    if (in_mosaic && axis_of(voxel, normal) != axis_of(cross, normal)) iCrossHair = 0;
    int iProjection = 0;
    if (projection_axis >= 0) {
      int a = projection_axis, b = (a + 1) % 3, c = (a + 2) % 3;
      iProjection = axis_of(voxel, a) != axis_of(cross, a) && axis_of(voxel, b) == axis_of(cross, b) &&
                    axis_of(voxel, c) == axis_of(cross, c);
      if (iProjection) iCrossHair = 0;
    }
    if (mosaic.MIP) {
      *fData += MIP_data_3d(voxel, orientation) * w;
      *fCross += (float)iCrossHair * w;
      *fProj += (float)iProjection * w;
      if (activation.visible) *fMap += MIP_activation_3d(voxel, orientation) * w;
      continue;
    }
    const int index = voxel.x + dim.x * (voxel.y + dim.y * voxel.z);
    *fData += mosaic_data_1d(index) * w;
    *fOvl += overlay_map.weight ? overlay_map.weight[index] * w : 0.0f;
    *fCross += (float)iCrossHair * w;
    *fProj += (float)iProjection * w;
    if (activation.visible) {
      *fMap += activation_data_1d(index) * w;
      if (activation.data_type == 3) {
        const POINT3D &vec = activation.v3SpaceMatrix[index];
        vx += fabs((double)vec.x) * w;
        vy += fabs((double)vec.y) * w;
        vz += fabs((double)vec.z) * w;
      }
      if (linear_filter) filter_sum += activation.pFilter[index] * w;
    }
    if (overlay_map.color && overlay_map.color[index] != 0) *ovl_color = overlay_map.color[index];
  }
  *v3Map = POINT3D{(float)vx, (float)vy, (float)vz};
  // A statistical filter hides map voxels that are not significant.
  if (!mosaic.MIP && linear_filter && activation.thresh_log_low > fabsf(filter_sum)) *fMap = 0.0f;
}

int gray_level(float fData) {
  if (fData < image_scale_min) return 0;
  if (fData > image_scale_max) return 255;
  float x = truncf(image_scale_slope * fData + image_scale_offset);
  if (!(x >= 0.0f)) return 0;
  return x > 255.0f ? 255 : (int)x;
}

unsigned long image_pixel(float fData, float fMap, float fOvl, float fCross, float fProj,
                          int ovl_color, POINT3D v3Map) {
  const int g = gray_level(fData);
  const bool overlay = fOvl != 0.0f;  // a NaN weight counts as a region
  const int scheme = activation.color_scheme;
  const float sign = scheme == 0 ? (float)activation.color_sign : 1.0f;
  const float fMap1 = fMap * sign;
  bool act_on_pixel = false;
  if (activation.visible) {
    float test = scheme == 0 ? fabsf(fMap1) : (scheme > 0 ? fMap1 : -fMap1);
    act_on_pixel = test > get_activation_threshold(-1);
  }

  unsigned long pixel;
  if (fProj != 0.0f) {
    float trans = fminf(1.0f - fProj, 1.0f);
    int level = blended_level(g, trans);
    pixel = pack_rgb(level, level, 0);
  } else if (overlay) {
    float trans = fminf(mosaic.transparent_overlay ? 0.85f : 1.0f - fOvl, 1.0f);
    pixel = overlay_colour(ovl_color, blended_level(g, trans));
  } else if (act_on_pixel) {
    if (activation.data_type == 3 && activation.display_data_type < 0) {
      pixel = vector_colour(v3Map, g);
    } else {
      switch (scheme) {
        case 2: pixel = activation_color_scheme1(fMap1, (unsigned long)g); break;
        case -2: pixel = activation_color_scheme1(-fMap1, (unsigned long)g); break;
        case 3: pixel = activation_color_scheme2(fMap1, (unsigned long)g); break;
        case -3: pixel = activation_color_scheme2(-fMap1, (unsigned long)g); break;
        default: pixel = activation_color_scheme0(fMap1, (unsigned long)g); break;
      }
    }
  } else {
    pixel = pack_rgb(g, g, g);
  }
  // The pixelated cross-hair blends with the gray level, not with the
  // colour beneath.
  if (mosaic.display_crosshairs == 1 && fCross != 0.0f) {
    float trans = fminf(mosaic.transparent_overlay ? 0.85f : 1.0f - fCross, 1.0f);
    int level = blended_level(g, trans);
    pixel = pack_rgb(0, level, level);
  }
  return pixel;
}

void compose_plane(int which_image, int iXYZ, std::vector<unsigned long> &pixels) {
  const int orientation = which_image == MOSAIC ? mosaic.mosaic_orientation : which_image;
  const int iCross = which_image == MOSAIC ? iXYZ : 0;
  const int Z = mosaic.zoom_window > 0 ? mosaic.zoom_window : 1;
  const IPOINT2D size = plane_pixel_size(orientation);
  const int width = size.x * Z;
  const bool on_grid = plane_on_grid(orientation);
  pixels.assign((size_t)width * (size_t)(size.y * Z), 0);
  for (int jy = 0; jy < size.y; jy++)
    for (int jx = 0; jx < size.x; jx++) {
      unsigned long first = 0;
      for (int jy_zoom = 0; jy_zoom < Z; jy_zoom++)
        for (int jx_zoom = 0; jx_zoom < Z; jx_zoom++) {
          IPOINT2D p{jx * Z + jx_zoom, jy * Z + jy_zoom};
          unsigned long value = first;
          // A plane on the voxel grid repeats its value over the Z by Z
          // block: the main saving at high zoom.
          if ((jx_zoom == 0 && jy_zoom == 0) || !on_grid) {
            float fData, fMap, fOvl, fCross, fProj;
            int ovl_color;
            POINT3D v3Map;
            interpolate_2d(iCross, which_image, p, &fData, &fMap, &fOvl, &fCross, &fProj,
                           &ovl_color, &v3Map);
            value = image_pixel(fData, fMap, fOvl, fCross, fProj, ovl_color, v3Map);
            if (jx_zoom == 0 && jy_zoom == 0) first = value;
          }
          pixels[(size_t)width * p.y + p.x] = value;
        }
    }
}
