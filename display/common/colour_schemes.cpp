// The thresholds of the colour map and the three colour schemes. Schemes
// are evaluated per pixel from act_scale_slope and act_scale_offset; no
// lookup table is built, and update_color_scheme runs once per repaint.
#include <cmath>

#include "zor_colour.h"
#include "zor_display_state.h"
#include "zor_glm.h"
#include "zor_special.h"
#include "zor_stack.h"

float act_scale_slope = 1.0f, act_scale_offset = 0.0f;

namespace {

unsigned long pack_rgb(int red, int green, int blue) {
  return ((unsigned long)red << 16) + ((unsigned long)green << 8) + (unsigned long)blue;
}

// With transparency the gray under the pixel shows through 70%.
unsigned long blend_with_gray(int red, int green, int blue, unsigned long gray_pixel) {
  double trans = activation.transparent ? 0.7 : 0.0;
  double g = (double)gray_pixel;
  int r = (int)(red * (1.0 - trans) + g * trans);
  int gr = (int)(green * (1.0 - trans) + g * trans);
  int b = (int)(blue * (1.0 - trans) + g * trans);
  return pack_rgb(r, gr, b);
}

bool is_histogram_graph(void) { return graph.type == 0 && graph.space_model == 0; }

void set_threshold_update_bits(void) {
  mosaic.update_regions |= REGION_IMAGES | REGION_COLORBAR_LABEL | REGION_MENUS;
}

}  // namespace

void set_activation_threshold(int low_or_high, float value) {
  if (low_or_high == -1) {
    // Signed schemes may threshold below 0 on a linear map; magnitude and
    // log scales may not.
    bool clip = activation.scale_log || activation.color_scheme == 0;
    if (clip && value < 0.0f) value = 0.0f;
    if (activation.scale_log)
      activation.thresh_log_low = value;
    else
      activation.thresh_lin_low = value;
  } else {
    if (activation.scale_log)
      activation.thresh_log_high = value;
    else
      activation.thresh_lin_high = value;
  }
  set_threshold_update_bits();
}

float change_limit(float limit, float change) {
  float last_limit = limit + change;
  float div = powf(10.0f, truncf(log10f(fabsf(last_limit)) - 2.0f));
  float new_limit = truncf(last_limit / div) * div;
  if (change > 0.0f && limit >= new_limit) return last_limit;
  // A step down that rounding undid goes up instead: kept as the users
  // know it.
  if (change < 0.0f && new_limit >= limit) return limit - change;
  return new_limit;
}

void change_activation_threshold(int low_or_high, float change) {
  if (!activation.scale_log) {
    if (low_or_high == -1) {
      activation.thresh_lin_low = change_limit(activation.thresh_lin_low, change);
      if (activation.color_scheme == 0 && activation.thresh_lin_low < 0.0f)
        activation.thresh_lin_low = 0.0f;
    } else {
      activation.thresh_lin_high = change_limit(activation.thresh_lin_high, change);
    }
  } else if (low_or_high == -1) {
    activation.thresh_log_low += change;
    if (change >= 1.0f) activation.thresh_log_low = truncf(activation.thresh_log_low);
    if (activation.thresh_log_low >= activation.thresh_log_high) activation.thresh_log_low -= 1.0f;
    if (activation.thresh_log_low < 0.0f) activation.thresh_log_low = 0.0f;
  } else {
    activation.thresh_log_high += change;
    if (change >= 1.0f) activation.thresh_log_high = truncf(activation.thresh_log_high);
    if (activation.thresh_log_low >= activation.thresh_log_high) activation.thresh_log_high += 1.0f;
  }
  set_threshold_update_bits();
}

void change_grayscale_range(int low_or_high, float change) {
  if (low_or_high == -1)
    image_scale_min = change_limit(image_scale_min, change);
  else
    image_scale_max = change_limit(image_scale_max, change);
  if (image_scale_min >= image_scale_max) image_scale_min = image_scale_max;
  set_threshold_update_bits();
  if (is_histogram_graph()) graph.update_regions |= 1;
}

int color_scheme_top_level(int color_scheme) {
  int s = color_scheme < 0 ? -color_scheme : color_scheme;
  if (s == 3) return 1279;
  if (s == 2) return 511;
  return 383;
}

void update_color_scheme(void) {
  float top = (float)color_scheme_top_level(activation.color_scheme);
  float low = get_activation_threshold(-1), high = get_activation_threshold(1);
  act_scale_slope = top / (high - low);
  act_scale_offset = top - high * act_scale_slope;
}

int activation_color_level(float v, int top) {
  float low = get_activation_threshold(-1), high = get_activation_threshold(1);
  // The truncated level, as comparisons on the untruncated value. A level
  // that is not a number or lies off the scale takes the top.
  const float x = act_scale_slope * v + act_scale_offset;
  int level = (x > -1.0f && x < (float)top + 1.0f) ? (int)x : top;
  if (v > high) level = top;
  if (v < low) level = 0;
  return level;
}

unsigned long activation_color_scheme0(float value, unsigned long gray_pixel) {
  int level = activation_color_level(fabsf(value), 383);
  int red, green, blue;
  if (!(value < 0.0f)) {
    if (level < 128) {
      red = level + 128, green = 0, blue = 0;
    } else {
      red = 255, green = level - 128, blue = 0;
    }
  } else if (level < 128) {
    red = 0, green = 0, blue = level + 128;
  } else {
    red = 0, green = level - 128, blue = 383 - level;
  }
  return blend_with_gray(red, green, blue, gray_pixel);
}

unsigned long activation_color_scheme1(float value, unsigned long gray_pixel) {
  int level = activation_color_level(value, 511);
  if (level < 256) return blend_with_gray(level, 0, 255 - level, gray_pixel);
  return blend_with_gray(255, level - 256, 0, gray_pixel);
}

unsigned long activation_color_scheme2(float value, unsigned long gray_pixel) {
  int level = activation_color_level(value, 1279);
  if (level < 256) return blend_with_gray(255 - level, 0, 255, gray_pixel);
  if (level < 512) return blend_with_gray(0, level - 256, 255, gray_pixel);
  if (level < 768) return blend_with_gray(0, 255, 767 - level, gray_pixel);
  if (level < 1024) return blend_with_gray(level - 768, 255, 0, gray_pixel);
  return blend_with_gray(255, 1279 - level, 0, gray_pixel);
}

void rescale_activation(void) {
  int n3d = mosaic.stack ? mosaic.stack->n3d : 0;
  activation.thresh_log_high = 20.0f;
  activation.thresh_log_low = GLM_input.multiple_comparisons
                                  ? 2.0f
                                  : (float)-log10(0.01 / (double)(n3d > 0 ? n3d : 1));
  activation.thresh_log_high = truncf(activation.thresh_log_high);
  activation.thresh_log_low = truncf(activation.thresh_log_low);
  if (activation.thresh_log_high < 1.0f) activation.thresh_log_high = 1.0f;
  if (activation.thresh_log_low >= activation.thresh_log_high)
    activation.thresh_log_low = fmaxf(activation.thresh_log_high - 1.0f, 0.0f);

  // The first volume of the first linear map file sets the linear pair.
  int index = 0;
  const file_list *linear = nullptr;
  for (const file_list *f = &activation_files; f; f = f->next) {
    if (f->scale_log == 0) {
      linear = f;
      break;
    }
    index += f->nt;
  }
  float smallest = 1e20f, largest = 0.0f;
  const data_stack *stack = activation.stack;
  if (linear && stack && index < stack->nt) {
    for (int j = 0; j < stack->n3d; j++) {
      float v = fabsf(stack_data_4d(stack, activation.display_data_type, j, index));
      if (v < smallest) smallest = v;
      if (v > largest) largest = v;
    }
  }
  activation.thresh_lin_low = fminf(smallest, largest);
  activation.thresh_lin_high = fmaxf(smallest, largest);
}
