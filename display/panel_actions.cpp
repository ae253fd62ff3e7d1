// What a click on a menu item does, in the image window and in the graph.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "zor_actions.h"
#include "zor_colour.h"
#include "zor_compose.h"
#include "zor_graph.h"
#include "zor_help.h"
#include "zor_overlay.h"
#include "zor_overlay_edit.h"
#include "zor_panels.h"
#include "zor_roi_files.h"
#include "zor_time_model.h"
#include "zor_wires.h"
#include "zor_x11.h"

namespace {

bool map_shown(void) { return activation.visible != 0; }
bool wires_allowed(void) { return mosaic.display_3orthogonal || mosaic.mosaic_orientation == ORTHO_XY; }

void new_overlay_or_wire(int button) {
  // n: a region from the map; N: a wire frame.
  const bool wire = button == 1 ? (!map_shown() && wires_allowed()) : wires_allowed();
  if (wire)
    action_key_N();
  else
    action_key_n();
}

void step_function(int button) {
  const bool vector_map = activation.stack && activation.stack->data_type == 3;
  if (map_shown() && activation.stack && activation.stack->data_type != 0) {
    int &d = activation.display_data_type;
    const int low = vector_map ? -3 : 0, high = vector_map ? 4 : 3;
    d += button == 1 ? 1 : -1;
    if (d > high) d = low;
    if (d < low) d = high;
  } else if (mosaic.stack && mosaic.stack->data_type != 0) {
    int &d = mosaic.display_data_type;
    if (button == 1) {
      d = d >= 3 ? 0 : d + 1;
    } else {
      d -= 1;
      if (d < 0) d = 4;  // shows as no function, and is kept
    }
  }
  contrast_low = 0.0f;
  contrast_high = 1.0f;
  rescale_image(0);
  fill_graph_vector();
  graph.update_regions |= GRAPH_REBUILD | GRAPH_MENUS;
}

void toggle_three_planes(void) {
  mosaic.display_3orthogonal = !mosaic.display_3orthogonal;
  mosaic.zoom_window += mosaic.display_3orthogonal ? 1 : -1;
  if (mosaic.zoom_window < 1) mosaic.zoom_window = 1;
  update_XWindow_image(1);
}

void step_orientation(int button) {
  int &o = mosaic.mosaic_orientation;
  const int third = mosaic.display_ortho_ZY ? ORTHO_ZY : ORTHO_YZ;
  if (button == 1)
    o = o == ORTHO_XY ? ORTHO_XZ : o == ORTHO_XZ ? third : ORTHO_XY;
  else
    o = o == ORTHO_XY ? third : o == ORTHO_XZ ? ORTHO_XY : ORTHO_XZ;
  update_XWindow_image(1);
}

void step_panels(int button) {
  IPOINT3D &d = mosaic.DimPanels;
  if (mosaic.display_3orthogonal) {
    mosaic.display_ortho_ZY = !mosaic.display_ortho_ZY;
    if (mosaic.mosaic_orientation == ORTHO_YZ || mosaic.mosaic_orientation == ORTHO_ZY)
      mosaic.mosaic_orientation = mosaic.mosaic_orientation == ORTHO_YZ ? ORTHO_ZY : ORTHO_YZ;
  } else if (button == 1) {
    d.x += 1;
    while (d.y > 1 && (d.y - 1) * d.x >= d.z) d.y -= 1;
  } else {
    d.x = std::max(d.x - 1, 1);
    while (d.x * d.y < d.z) d.y += 1;
  }
  d.x = std::min(d.x, std::max(d.z, 1));
  d.y = std::min(d.y, std::max(d.z, 1));
  update_XWindow_image(1);
}

void colorbar_items(int id, int button) {
  int &scheme = activation.color_scheme;
  if (id == TEXTFIELD_COLORBAR_TAILP || id == TEXTFIELD_COLORBAR_TAILN) {
    if (button == 1)
      scheme = scheme == 0 ? (id == TEXTFIELD_COLORBAR_TAILP ? 2 : -2) : 0;
    else if (scheme == 0)
      activation.color_sign = -activation.color_sign;
    else
      scheme = -scheme;
  } else if (button == 1) {
    const int magnitude = std::abs(scheme) % 3 + 1;
    scheme = scheme < 0 ? -magnitude : magnitude;
  } else if (scheme < 1) {
    scheme += 1;
    if (scheme > 3) scheme = 1;
  } else {
    scheme -= 1;
    if (scheme < -3) scheme = -1;
  }
  mosaic.update_regions |= REGION_IMAGES | REGION_COLORBAR | REGION_MENUS;
}

void input_range(void) {
  char prompt[128], answer[1024] = "";
  const bool map = map_shown() && activation.nmaps != 0;
  const float low = map ? get_activation_threshold(-1) : image_scale_min;
  const float high = map ? get_activation_threshold(1) : image_scale_max;
  snprintf(prompt, sizeof prompt, "Input range (%g %g) ", low, high);
  float a, b;
  if (!get_X11_string(2, prompt, "separate values with space", "", 0, 1, answer) ||
      sscanf(answer, "%g %g", &a, &b) != 2)
    return;
  if (map) {
    set_activation_threshold(-1, a);
    set_activation_threshold(1, b);
  } else {
    if (a > b) std::swap(a, b);
    if (a == b) return;
    image_scale_min = a;
    image_scale_max = b;
    rescale_image_settings();
    if (graph.type == 0 && graph.space_model == 0) graph.update_regions |= GRAPH_REBUILD;
  }
  mosaic.update_regions |= REGION_IMAGES | REGION_COLORBAR | REGION_COLORBAR_LABEL;
}

bool read_two(const char *prompt, float *low, float *high) {
  char answer[1024] = "";
  float a, b;
  if (!get_X11_string(1, prompt, "separate values with space", "", 0, 1, answer) ||
      sscanf(answer, "%g %g", &a, &b) != 2)
    return false;
  *low = std::min(a, b);
  *high = std::max(a, b);
  return true;
}

}  // namespace

void action_image_text_selection(int button) {
  const int id = mosaic.text_selection;
  switch (id) {
    case TEXTFIELD_NEW_OVL_WIRE: new_overlay_or_wire(button); break;
    case TEXTFIELD_READ_OVL_WIRE: button == 1 ? action_key_r() : action_key_R(); break;
    case TEXTFIELD_DEL_OVL_WIRE: button == 1 ? action_key_d() : action_key_D(); break;
    case TEXTFIELD_COLOR_OVL_WIRE: button == 1 ? action_key_c() : action_key_C(); break;
    case TEXTFIELD_MIRROR_OVL_WIRE: button == 1 ? action_key_m() : action_key_M(); break;
    case TEXTFIELD_FILL_WIRE: action_key_F(); break;
    case TEXTFIELD_OVL_STATS:
      if (button == 1)
        write_roi_stats(0);
      else if (ovl_root.npts > 0)
        write_roi_stats(1);
      break;
    case TEXTFIELD_TRANSPARENT: action_key_T(); break;
    case TEXTFIELD_IMAGE_LEVEL: action_key_i(); break;
    case TEXTFIELD_IMAGE_ZOOM: button == 1 ? action_key_z() : action_key_Z(); break;
    case TEXTFIELD_IMAGE_CROSS: action_key_control_c(button); break;
    case TEXTFIELD_IMAGE_INTERP: action_key_control_i(); break;
    case TEXTFIELD_IMAGE_GRAPH: action_bring_up_graph(); break;
    case TEXTFIELD_HELP: action_help(1, button); break;
    case TEXTFIELD_QUIT: action_quit(); break;
    case TEXTFIELD_QUESTION: action_key_question_mark(); break;
    case TEXTFIELD_POUND_SIGN: action_key_pound_sign(); break;
    case TEXTFIELD_DATA_TYPE: step_function(button); break;
    case TEXTFIELD_VECTOR_FIELD:
      activation.vector_field = !activation.vector_field;
      mosaic.update_regions |= REGION_IMAGES | REGION_MENUS;
      break;
    case TEXTFIELD_OVL_OR_WIRE:
      if (mosaic.toggle_overlays == 1 && wire_root.next)
        mosaic.toggle_overlays = 2;
      else if (mosaic.toggle_overlays == 2 && ovl_root.next)
        mosaic.toggle_overlays = 1;
      mosaic.update_regions |= REGION_MENUS;
      break;
    case TEXTFIELD_WHICH_OVL_WIRE:
      action_step_overlay_list(button == 1, 0);
      mosaic.update_regions |= REGION_MENUS;
      break;
    case TEXTFIELD_MOSAIC_3PLANE: toggle_three_planes(); break;
    case TEXTFIELD_MOSAIC_ORIENT: step_orientation(button); break;
    case TEXTFIELD_XPANELS: step_panels(button); break;
    case TEXTFIELD_COLORBAR_TAILP:
    case TEXTFIELD_COLORBAR_TAILN:
    case TEXTFIELD_COLORBAR_SCHEME: colorbar_items(id, button); break;
    default: action_image_text_selection_specific(button); break;
  }
}

void action_image_text_selection_specific(int button) {
  switch (mosaic.text_selection) {
    case TEXTFIELD_LABEL_PLANES: button == 1 ? action_key_l() : action_key_L(); break;
    case TEXTFIELD_COLOR_OR_GRAY:
      if (activation_stack.nt == 0) break;
      activation.visible = !activation.visible;
      mosaic.update_regions |= REGION_IMAGES | REGION_COLORBAR | REGION_COLORBAR_LABEL | REGION_MENUS;
      graph.update_regions |= GRAPH_REBUILD;
      break;
    case TEXTFIELD_COLORBAR_RANGE: input_range(); break;
    case TEXTFIELD_MAP_CONDITION:
      button == 1 ? action_increment_activation_map() : action_decrement_activation_map();
      break;
    case TEXTFIELD_TRACTOGRAPHY:
    case TEXTFIELD_TRACTOGRAPHY_AGAIN:
      action_trace_tracts(mosaic.text_selection == TEXTFIELD_TRACTOGRAPHY_AGAIN);
      if (activation.MIPStatus == 1) activation.MIPStatus = 0;
      mosaic.update_regions |= REGION_IMAGES;
      break;
    case TEXTFIELD_MIP:
      mosaic.MIP = !mosaic.MIP;
      mosaic.update_regions |= REGION_IMAGES | REGION_MENUS;
      break;
    default: break;
  }
}

void action_graph_text_selection(int button) {
  float low, high;
  switch (graph.text_selection) {
    case TEXTFIELD_GRAPH_TIME_SPACE: action_new_graph_type(); break;
    case TEXTFIELD_GRAPH_SPACE: action_new_graph_space(button); break;
    case TEXTFIELD_GRAPH_BIN:
      graph.bin_data = !graph.bin_data;
      if (graph.bin_data == 0 && graph.bin_width % 2 == 0) graph.bin_width += 1;
      break;
    case TEXTFIELD_GRAPH_BIN_VALUE:
      if (graph.type == 1) {
        const int stepsize = graph.bin_data ? 1 : 2;
        graph.bin_width += button == 1 ? stepsize : -stepsize;
        if (graph.bin_width < 1) graph.bin_width = 1;
        if (!graph.bin_data && graph.bin_width % 2 == 0) graph.bin_width += 1;
      }
      break;
    case TEXTFIELD_GRAPH_AUTO_X:
      graph.fixed.x = !graph.fixed.x;
      if (graph.type == 0 && graph.space_model == 0) initialize_graph();
      break;
    case TEXTFIELD_GRAPH_AUTO_Y: graph.fixed.y = !graph.fixed.y; break;
    case TEXTFIELD_GRAPH_YLOW:
    case TEXTFIELD_GRAPH_YHIGH:
      if (read_two("Input low & high range", &low, &high)) {
        graph.Min.y = low;
        graph.Max.y = high;
        graph.fixed.y = 1;
      }
      break;
    case TEXTFIELD_GRAPH_X_LOW_HIGH:
      if (read_two("Input low & high range", &low, &high)) {
        graph.xbin_low = low;
        graph.xbin_high = high;
        fill_graph_vector();
      }
      break;
    case TEXTFIELD_GRAPH_HIST_BINS:
      // The vectors are made again at the new length, all of them.
      graph.histogram_bins += button == 1 ? -10 : 10;
      if (graph.histogram_bins < 10) graph.histogram_bins = 10;
      initialize_graph();
      fill_graph_vector();
      break;
    case TEXTFIELD_GRAPH_ABOVE_BELOW: graph.select_above = !graph.select_above; break;
    case TEXTFIELD_GRAPH_SELECT_THRESH: {
      char answer[1024] = "";
      float value;
      if (get_X11_string(1, "Input intensity threshold", "", "", 0, 1, answer) && sscanf(answer, "%g", &value) == 1)
        graph.hist_marker = value;
      break;
    }
    case TEXTFIELD_GRAPH_ED_DISTANCE:
      graph.ed_distance += button == 1 ? 1 : -1;
      if (graph.ed_distance > 3) graph.ed_distance = 1;
      if (graph.ed_distance < 1) graph.ed_distance = 3;
      break;
    case TEXTFIELD_GRAPH_DIMENSION: graph.ed_dimension = graph.ed_dimension == 3 ? 2 : 3; break;
    case TEXTFIELD_GRAPH_SELECT_IMAGE:
    case TEXTFIELD_GRAPH_ERODE:
    case TEXTFIELD_GRAPH_DILATE:
    case TEXTFIELD_GRAPH_CLUSTER:
    case TEXTFIELD_GRAPH_FLATTEN:
    case TEXTFIELD_GRAPH_OVL_KEEP:
    case TEXTFIELD_GRAPH_OVL_DISCARD: overlay_graph_text_selection(graph.text_selection, button); break;
    default: action_graph_text_selection_specific(button); break;
  }
  graph.update_regions |= GRAPH_REBUILD | GRAPH_MENUS;
}

void action_graph_text_selection_specific(int button) {
  if (graph.text_selection == TEXTFIELD_OUTPUT_ROI) {
    if (button != 1 && ovl_root.next)
      action_write_all_ROIs();
    else
      action_write_1_ROI();
  }
  if (graph.text_selection == TEXTFIELD_LAST_TIME_POINT) action_display_last_time_point();
  action_graph_text_selection_TimeSeriesModel(button);
}
