// The colorbar's content and pointer actions: its colour or gray ramp, its
// tick labels, and what clicks and arrows on it do to the thresholds or to
// the gray window. With the map hidden the bar shows and controls the gray
// window instead of the thresholds.
#include <cmath>
#include <cstdio>

#include "zor_colour.h"
#include "zor_display_state.h"
#include "zor_float_int.h"

namespace {

// The bounds the bar addresses: the thresholds with the map shown, else
// the gray window.
void bar_bounds(float *low, float *high) {
  if (activation.visible) {
    *low = get_activation_threshold(-1);
    *high = get_activation_threshold(1);
  } else {
    *low = image_scale_min;
    *high = image_scale_max;
  }
}

// The upper half of the bar addresses the high bound.
int addressed_bound(void) {
  return (mosaic.cursor_selection & CURSOR_COLORBAR_UPPER) ? 1 : -1;
}

void step_bound(int low_or_high, float change) {
  if (activation.visible)
    change_activation_threshold(low_or_high, change);
  else
    change_grayscale_range(low_or_high, change);
}

}  // namespace

void fill_colorbar_pixels(unsigned long *pixels, int W, int H) {
  if (activation.visible) {
    update_color_scheme();
    float low = get_activation_threshold(-1), high = get_activation_threshold(1);
    for (int j = 0; j < H; j++) {
      float yvalue = high - (float)j * (high - low) / (float)H;
      unsigned long *row = pixels + (size_t)j * (size_t)W;
      switch (activation.color_scheme) {
        case 0: {
          // The negative ramp stands left of the positive one.
          unsigned long positive = activation_color_scheme0(yvalue, 255);
          unsigned long negative = activation_color_scheme0(-yvalue, 255);
          for (int i = 0; i < W; i++) row[i] = i < W / 2 ? negative : positive;
          break;
        }
        default: {
          unsigned long c;
          if (activation.color_scheme == 1)
            c = activation_color_scheme0(yvalue, 255);
          else if (activation.color_scheme == -1)
            c = activation_color_scheme0(-yvalue, 255);
          else if (activation.color_scheme == 2 || activation.color_scheme == -2)
            c = activation_color_scheme1(yvalue, 255);
          else
            c = activation_color_scheme2(yvalue, 255);
          for (int i = 0; i < W; i++) row[i] = c;
        }
      }
    }
    return;
  }
  for (int j = 0; j < H; j++) {
    float v = image_scale_max - (float)j * (image_scale_max - image_scale_min) / (float)H;
    float x = truncf(image_scale_slope * v + image_scale_offset);
    int level = x > 255.0f ? 255 : (x >= 0.0f ? (int)x : 0);
    unsigned long c = ((unsigned long)level << 16) + ((unsigned long)level << 8) + level;
    for (int i = 0; i < W; i++) pixels[(size_t)j * (size_t)W + i] = c;
  }
}

int colorbar_label_exponent(float range) {
  int ilog = truncate_to_int(log10f(range));
  if (ilog >= 1 && ilog <= 4)
    ilog = 0;
  else if (ilog < 0)
    ilog -= 2;
  else if (ilog == 0 && range < 2.0f)
    ilog = -1;
  return ilog;
}

int colorbar_tick_step(float range, int ilog) {
  static const int itest_array[16] = {1,   2,   5,    10,   20,   25,   50,    100,
                                      200, 250, 500, 1000, 2000, 5000, 10000, 50000};
  float pow10div = powf(10.0f, (float)ilog);
  float smallest = 1e20f;
  int istep = 1;
  for (int step : itest_array) {
    float distance = fabsf((range / pow10div) / (float)step - 6.0f);
    if (distance < smallest) {
      smallest = distance;
      istep = step;
    }
  }
  return istep;
}

std::vector<colorbar_tick> colorbar_ticks(int H, int *colored) {
  std::vector<colorbar_tick> ticks;
  int Colored_Scale = activation.visible;
  *colored = Colored_Scale;
  float low_value, high_value;
  bar_bounds(&low_value, &high_value);
  float range = high_value - low_value;
  // A range that is not positive, or not finite, has no ticks to place.
  if (!(range > 0.0f) || std::isinf(range)) return ticks;
  int ilog = colorbar_label_exponent(range);
  float pow10div = powf(10.0f, (float)ilog);
  int istep = colorbar_tick_step(range, ilog);
  low_value /= pow10div;
  high_value /= pow10div;
  range /= pow10div;
  // Bounds far beyond their own range cannot be counted in integers.
  if (!(fabsf(low_value) < 2e9f && fabsf(high_value) < 2e9f)) return ticks;
  bool log_labels = Colored_Scale && activation.scale_log;
  for (int ivalue = ((int)truncf(low_value) / istep) * istep; (float)ivalue < high_value;
       ivalue += istep) {
    if (!((float)ivalue > low_value)) continue;
    colorbar_tick t;
    t.y = (int)truncf((float)H * (high_value - (float)ivalue) / range);
    char label[64];
    if (log_labels) {
      if (ilog == 0)
        snprintf(label, sizeof label, "10^-%d", ivalue);
      else
        snprintf(label, sizeof label, "10^-(%de%d)", ivalue, ilog);
    } else if (ilog == 0) {
      snprintf(label, sizeof label, "%d", ivalue);
    } else {
      snprintf(label, sizeof label, "%de%d", ivalue, ilog);
    }
    t.label = label;
    ticks.push_back(t);
  }
  return ticks;
}

void action_ColorBar_button1(void) {
  float low, high;
  bar_bounds(&low, &high);
  float value =
      high - mosaic.cursor.y * (high - low) / (float)mosaic.ImageRegionPixels.y;
  int bound = addressed_bound();
  if (activation.visible) {
    set_activation_threshold(bound, value);
    return;
  }
  if (bound == 1)
    image_scale_max = value;
  else
    image_scale_min = value;
  mosaic.update_regions |= REGION_IMAGES | REGION_COLORBAR_LABEL | REGION_MENUS;
  if (graph.type == 0 && graph.space_model == 0) graph.update_regions |= 1;
}

void action_ColorBar_button23(void) {
  float low, high;
  bar_bounds(&low, &high);
  float step = fmaxf((high - low) / 10.0f, 1.0f);
  int bound = addressed_bound();
  step_bound(bound, bound == 1 ? step : -step);
}

void action_ColorBar_cursor(void) {}

float colorbar_arrow_step(float range) {
  if (range == 1.0f) return 0.05f;
  if (range > 10.0f) {
    int step = truncate_to_int(powf(10.0f, truncf(log10f(range) - 1.0f)));
    return (float)(step < 1 ? 1 : step);
  }
  return fabsf(powf(10.0f, truncf(log10f(range) - 2.0f)));
}

void action_ColorBar_arrow_up_down(int up) {
  float low, high;
  bar_bounds(&low, &high);
  float step = colorbar_arrow_step(high - low);
  step_bound(addressed_bound(), up ? step : -step);
}

void action_ColorBar_arrow_left_right(int left) {
  int scheme = activation.color_scheme + (left ? -1 : 1);
  if (scheme > 3) scheme = -3;
  if (scheme < -3) scheme = 3;
  activation.color_scheme = scheme;
  set_activation_threshold(-1, get_activation_threshold(-1));
  mosaic.update_regions |= REGION_COLORBAR;
}
