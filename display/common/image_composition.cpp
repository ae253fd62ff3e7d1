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

int gray_level(float fData) {
  if (fData < image_scale_min) return 0;
  if (fData > image_scale_max) return 255;
  // Truncation towards zero, as comparisons: cheaper than truncf.
  const float x = image_scale_slope * fData + image_scale_offset;
  if (!(x > -1.0f)) return 0;
  return x >= 256.0f ? 255 : (int)x;
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
