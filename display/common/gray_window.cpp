// The gray window: data values at gray 0 and 255, found from the data with
// outliers clipped at ten standard deviations, then narrowed by the user's
// contrast fractions.
#include <cmath>

#include "zor_compose.h"
#include "zor_overlay.h"

namespace {
// The full data range, kept for rescales that only change the contrast.
float min = 0.0f, max = 1.0f;
}  // namespace

void rescale_image_reset(void) {
  min = 0.0f;
  max = 1.0f;
}

void rescale_image_settings(void) {}

void rescale_image(int find_extrema) {
  if (find_extrema) {
    max = -1.0f;
    min = 1e20f;
    const int n3d = mosaic.stack->n3d;
    // With a region drawn, only its voxels count.
    auto counts = [](int i) {
      return ovl_root.npts == 0 || (overlay_map.weight && overlay_map.weight[i] > 0.0f);
    };
    double sum = 0.0;
    long count = 0;
    for (int i = 0; i < n3d; i++) {
      if (!counts(i)) continue;
      float v = mosaic_data_1d(i);
      if (v < min) min = v;
      if (v > max) max = v;
      sum += v;
      count++;
    }
    double av = count ? sum / (double)count : 0.0;
    double sumsq = 0.0;
    for (int i = 0; i < n3d; i++) {
      if (!counts(i)) continue;
      double d = mosaic_data_1d(i) - av;
      sumsq += d * d;
    }
    double stdev = count ? sqrt(sumsq / (double)count) : 1.0;
    if (av - 10.0 * stdev > min) min = (float)(av - 10.0 * stdev);
    if (max > av + 10.0 * stdev) max = (float)(av + 10.0 * stdev);
    // A constant image keeps a usable window.
    if (stdev == 0.0) {
      min -= 10.0f;
      max += 10.0f;
    }
  }
  image_scale_min = min + (max - min) * contrast_low;
  image_scale_max = min + (max - min) * contrast_high;
  mosaic.update_regions |= REGION_IMAGES | REGION_COLORBAR_LABEL | REGION_MENUS;
  rescale_image_settings();
  // A histogram graph shows the gray window and follows it.
  if (graph.type == 0 && graph.space_model == 0) graph.update_regions |= 1;
}

void update_gray_scale_factors(void) {
  image_scale_slope = 255.0f / (image_scale_max - image_scale_min);
  image_scale_offset = 255.0f - image_scale_max * image_scale_slope;
}
