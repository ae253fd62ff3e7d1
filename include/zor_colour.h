// Activation values to colours: the two thresholds that bound the scale,
// their stepping to round numbers, the three colour schemes, and the
// colorbar's colours, tick labels and pointer actions. Everything here is
// arithmetic on `activation`, `mosaic` and the gray window, except
// create_colorbar and label_colorbar, which draw the bar on the X server.
#ifndef ZOR_COLOUR_H
#define ZOR_COLOUR_H

#include <string>
#include <vector>

#include "zor_display_state.h"

// The linear map from a value to a colour level, set by update_color_scheme:
// the low threshold gives level 0 and the high one the scheme's top level.
extern float act_scale_slope, act_scale_offset;

// -1 gives the low threshold, any other value the high one, of the pair of
// the current scale (log when activation.scale_log is set).
inline float get_activation_threshold(int low_or_high) {
  if (activation.scale_log)
    return low_or_high == -1 ? activation.thresh_log_low : activation.thresh_log_high;
  return low_or_high == -1 ? activation.thresh_lin_low : activation.thresh_lin_high;
}
void set_activation_threshold(int low_or_high, float value);
void change_activation_threshold(int low_or_high, float change);
// One step of a bound, rounded to three significant figures.
float change_limit(float limit, float change);
void change_grayscale_range(int low_or_high, float change);

// Top colour level of a scheme: 383 for |scheme| 0 and 1, 511 for 2, 1279
// for 3.
int color_scheme_top_level(int color_scheme);
void update_color_scheme(void);
// Colour level of a value under the current slope: 0 below the low
// threshold, `top` at and above the high one.
int activation_color_level(float v, int top);
// RGB (red << 16 | green << 8 | blue) of a value over a gray level 0..255.
unsigned long activation_color_scheme0(float value, unsigned long gray_pixel);
unsigned long activation_color_scheme1(float value, unsigned long gray_pixel);
unsigned long activation_color_scheme2(float value, unsigned long gray_pixel);

// Sets the four default thresholds from the loaded maps; the model's
// multiple_comparisons flag chooses the lower p threshold.
void rescale_activation(void);

// The colorbar's pixels, W columns by H rows, row by row, as RGB: the
// colour ramp of the current scheme, or a gray ramp with the map hidden.
void fill_colorbar_pixels(unsigned long *pixels, int W, int H);

// The ramp into the image pixmap; ticks and labels onto the window.
void create_colorbar(void);
void label_colorbar(void);

// One tick of the colorbar: its row in the image region and its label.
struct colorbar_tick {
  int y;
  std::string label;
};
// Ticks of the current scale for a bar H pixels high; *colored tells
// whether the bar shows the map (letters on the colours) or the gray ramp.
std::vector<colorbar_tick> colorbar_ticks(int H, int *colored);
// Exponent and step of the ticks of a range (exposed for tests).
int colorbar_label_exponent(float range);
int colorbar_tick_step(float range, int ilog);

// Pointer and arrow actions while the pointer is on the colorbar.
void action_ColorBar_button1(void);
void action_ColorBar_button23(void);
void action_ColorBar_cursor(void);
void action_ColorBar_arrow_up_down(int up);
void action_ColorBar_arrow_left_right(int left);
// Step of the colorbar's up and down arrows for a range.
float colorbar_arrow_step(float range);

#endif
