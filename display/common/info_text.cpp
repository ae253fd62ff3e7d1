// The position read-out of the information line: voxel, time and signal
// under the pointer or at the cross, the map's value or p at that voxel,
// and short help on the colorbar, the right panel and the menus.
#include <cmath>
#include <cstdio>

#include "zor_annotate.h"
#include "zor_colour.h"
#include "zor_compose.h"
#include "zor_geometry.h"
#include "zor_x11.h"

namespace {

const char *const kHeader = "     x      y      z      t    signal";
const char *const kDashes = "------ ------ ------ ------   ------";

const SelectableText *selected_text(void) {
  for (const SelectableText *t = &mosaic.SelectText; t; t = t->next)
    if (t->selected && t->visible) return t;
  return nullptr;
}

void voxel_lines(IPOINT3D voxel, char *line1, char *line2, char *line3) {
  const data_stack *s = mosaic.stack;
  const int iLastTime = graph.iLastTime;
  const float time = (float)iLastTime * s->resolution_t;
  snprintf(line1, ZOR_LINE, "%s", kHeader);
  snprintf(line2, ZOR_LINE, "%6d %6d %6d %6d  %8g", voxel.x, voxel.y, voxel.z, iLastTime,
           shown_samples_exist() ? mosaic_data_3d(voxel) : 0.0f);
  const POINT3D p = Convert_Voxel_to_Space(voxel, s);
  if (!activation.visible) {
    snprintf(line3, ZOR_LINE, "%6.2f %6.2f %6.2f %6g  --------", p.x, p.y, p.z, time);
    return;
  }
  const float v = activation_data_1d(Voxel3D_to_1D(voxel, s->dim));
  if (!activation.scale_log) {
    snprintf(line3, ZOR_LINE, "%6.2f %6.2f %6.2f %6g  %8g", p.x, p.y, p.z, time, v);
    return;
  }
  // The map holds -log10(p); a negative effect shows a negative p.
  const double pvalue = v > 0.0f ? pow(10.0, -(double)v) : -pow(10.0, (double)v);
  snprintf(line3, ZOR_LINE, "%6.2f %6.2f %6.2f %6g  %8.1e", p.x, p.y, p.z, time, pvalue);
}

}  // namespace

void information_text_image(char *line1, char *line2, char *line3) {
  const int sel = mosaic.cursor_selection;
  const bool motion = mosaic.update_regions & REGION_INFO_MOTION;
  if (sel & CURSOR_ON_VOXEL) {
    voxel_lines(motion ? mosaic.icursor : mosaic.icross, line1, line2, line3);
  } else if (sel & CURSOR_ON_COLORBAR) {
    float low, high;
    if (activation.visible) {
      low = get_activation_threshold(-1);
      high = get_activation_threshold(1);
    } else {
      low = image_scale_min;
      high = image_scale_max;
    }
    const float value =
        high - mosaic.cursor.y * (high - low) / (float)mosaic.ImageRegionPixels.y;
    snprintf(line1, ZOR_LINE, "Use '?' function for      t    signal");
    snprintf(line2, ZOR_LINE, "a list of options    %6d   ------", graph.iLastTime);
    snprintf(line3, ZOR_LINE, "for modifying colorbar       %8g", value);
  } else if (sel & CURSOR_ON_RIGHT_PANEL) {
    snprintf(line1, ZOR_LINE, "Use mouse clicks or RETURN for other panels.");
    snprintf(line2, ZOR_LINE, "U/D arrows to navigate panels.");
    snprintf(line3, ZOR_LINE, "L/R arrows to change values");
  } else if (sel & CURSOR_ON_TEXT) {
    const SelectableText *t = selected_text();
    if (t) {
      snprintf(line1, ZOR_LINE, "%s", t->message1);
      snprintf(line2, ZOR_LINE, "%s", t->message2);
      snprintf(line3, ZOR_LINE, "%s", t->message3);
    } else {
      snprintf(line1, ZOR_LINE, "%s", kHeader);
      snprintf(line2, ZOR_LINE, "------ ------ ------ %6d   ------", graph.iLastTime);
      snprintf(line3, ZOR_LINE, "%s", kDashes);
    }
  } else {
    voxel_lines(mosaic.icross, line1, line2, line3);
  }
}

void show_information_text_image(void) {
  char line1[ZOR_LINE], line2[ZOR_LINE], line3[ZOR_LINE];
  information_text_image(line1, line2, line3);
  show_on_info_line(0, 0, line1, line2, line3);
}
