// The blend of one pixel's five layers, shared by the per-pixel entry
// points and the plane loops, which inline it.
#ifndef ZOR_PIXEL_BLEND_H
#define ZOR_PIXEL_BLEND_H

#include <cmath>

#include "zor_colour.h"
#include "zor_display_state.h"
#include "zor_overlay.h"

namespace pixel_blend {

inline unsigned long pack_rgb(int red, int green, int blue) {
  return ((unsigned long)red << 16) + ((unsigned long)green << 8) + (unsigned long)blue;
}

// Gray under a layer of opacity 1 - trans, towards white.
inline int blended_level(int g, float trans) {
  return (int)((float)g * trans + (1.0f - trans) * 255.0f);
}

inline unsigned long overlay_colour(int ovl_color, int level) {
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
inline unsigned long vector_colour(POINT3D v3Map, int g) {
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

}  // namespace pixel_blend

inline int pixel_gray_level(float fData) {
  if (fData < image_scale_min) return 0;
  if (fData > image_scale_max) return 255;
  // Truncation towards zero, as comparisons: cheaper than truncf.
  const float x = image_scale_slope * fData + image_scale_offset;
  if (!(x > -1.0f)) return 0;
  return x >= 256.0f ? 255 : (int)x;
}

inline unsigned long blend_pixel(float fData, float fMap, float fOvl, float fCross,
                                 float fProj, int ovl_color, POINT3D v3Map) {
  const int g = pixel_gray_level(fData);
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
    int level = pixel_blend::blended_level(g, trans);
    pixel = pixel_blend::pack_rgb(level, level, 0);
  } else if (overlay) {
    float trans = fminf(mosaic.transparent_overlay ? 0.85f : 1.0f - fOvl, 1.0f);
    pixel = pixel_blend::overlay_colour(ovl_color, pixel_blend::blended_level(g, trans));
  } else if (act_on_pixel) {
    if (activation.data_type == 3 && activation.display_data_type < 0) {
      pixel = pixel_blend::vector_colour(v3Map, g);
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
    pixel = pixel_blend::pack_rgb(g, g, g);
  }
  // The pixelated cross-hair blends with the gray level, not with the
  // colour beneath.
  if (mosaic.display_crosshairs == 1 && fCross != 0.0f) {
    float trans = fminf(mosaic.transparent_overlay ? 0.85f : 1.0f - fCross, 1.0f);
    int level = pixel_blend::blended_level(g, trans);
    pixel = pixel_blend::pack_rgb(0, level, level);
  }
  return pixel;
}

#endif
