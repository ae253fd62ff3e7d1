// What the pointer, the wheel and the arrows do in the image window: a
// click moves the cross-hair, a drag or the arrows off the data move the
// contrast window, the wheel and "<" ">" step through slices, and the
// arrows on a voxel step the cross-hair. Each action changes the records
// and sets update bits; Update_Regions repaints at the end of the event.
#include <algorithm>
#include <cmath>

#include "zor_actions.h"
#include "zor_colour.h"
#include "zor_compose.h"
#include "zor_float_int.h"
#include "zor_graph.h"
#include "zor_overlay.h"
#include "zor_overlay_edit.h"
#include "zor_x11.h"

namespace {

// Where button 1 went down, kept until the next press.
int press_x = 0, press_y = 0;
// The menu item under the pointer at the last motion, so that the menus are
// drawn again when it changes (labels with a hovered form change with it).
int last_text_selection = 0;

// Menu item that steps through the listed regions or wires.
const int WHICH_OVL_WIRE_FIELD = 2;

// Guard values of the contrast fractions in the step formulas.
const float CONTRAST_TOP = 1.75f;
const float CONTRAST_BOTTOM = 0.5f;  // the low fraction's guard is -0.5

bool sel(int bits) { return (mosaic.cursor_selection & bits) != 0; }

bool projection_graph(void) { return graph.type == 0 && graph.space_model != 0; }

int clamp_index(int v, int n) { return std::clamp(v, 0, std::max(n - 1, 0)); }

// The time course follows a moved cross-hair unless a region is the source.
void refill_graph_after_cross(int extra_graph_bits) {
  if (ovl_root.npts != 0) return;
  fill_graph_vector();
  graph.update_regions |= GRAPH_REBUILD | extra_graph_bits;
}

// The coordinate along the collapsed axis where a projection's maximum
// lies, from the map's projection when the map is shown.
int projected_index(IPOINT3D voxel, int orientation) {
  if (activation.visible) return MIP_activation_index_3d(voxel, orientation);
  return MIP_data_index_3d(voxel, orientation);
}

// Moves one component of the cross-hair by `step`, clamped to the stack.
// Returns 1 when it moved.
int step_component(int32_t *component, int step, int n) {
  int v = clamp_index(*component + step, n);
  if (v == *component) return 0;
  *component = v;
  return 1;
}

}  // namespace

void image_actions_reset(void) {
  press_x = press_y = 0;
  last_text_selection = 0;
}

void action_RightPanel_button1(void) {}
void action_RightPanel_button23(void) {}
void action_RightPanel_cursor(void) {}
void action_RightPanel_arrow_up_down(int up) {}
void action_RightPanel_arrow_left_right(int left) {}
void action_RightPanel_tab(void) {}
void update_right_panel(void) {}

void contrast_drag(float dx, float dy) {
  if (dx > 0.0f) {
    float step = dx * (CONTRAST_TOP - contrast_high);
    contrast_high += step / 2.0f;
    step = dx * (CONTRAST_BOTTOM + contrast_low);
    contrast_low -= step / 2.0f;
  } else {
    float step = -dx * (contrast_high - contrast_low);
    contrast_low += step / 2.0f;
    contrast_high -= step / 2.0f;
  }
  if (dy > 0.0f) {
    float shift = dy * (CONTRAST_TOP - contrast_high);
    contrast_low += shift;
    contrast_high += shift;
  } else {
    float shift = -dy * (CONTRAST_BOTTOM + contrast_low);
    contrast_low -= shift;
    contrast_high -= shift;
  }
  rescale_image(0);
}

void contrast_arrow_step(int which) {
  switch (which) {
    case CONTRAST_DOWN: {
      float step = std::min((CONTRAST_TOP - contrast_high) / 2.0f, 0.05f);
      contrast_low += step;
      contrast_high += step;
      break;
    }
    case CONTRAST_UP: {
      float step = std::min((contrast_low + CONTRAST_BOTTOM) / 2.0f, 0.05f);
      contrast_low -= step;
      contrast_high -= step;
      break;
    }
    case CONTRAST_RIGHT: {
      float a = std::min((CONTRAST_TOP - contrast_high) / 2.0f, 0.05f);
      contrast_high += a / 2.0f;
      float b = std::min((contrast_low + CONTRAST_BOTTOM) / 10.0f, 0.05f);
      contrast_low -= b / 2.0f;
      break;
    }
    default: {
      float a = std::min((contrast_high - contrast_low) / 2.0f, 0.05f);
      contrast_low += a / 2.0f;
      contrast_high -= a / 2.0f;
      break;
    }
  }
  rescale_image(0);
}

void action_set_projection_location(void) {
  mosaic.icross = mosaic.icursor;
  fill_graph_vector();
  graph.update_regions |= GRAPH_REBUILD;
  mosaic.update_regions |= REGION_CROSS;
}

void action_image_button1(int press, int xbut, int ybut) {
  if (press) {
    press_x = xbut;
    press_y = ybut;
    return;
  }
  // A drag along one axis alone counts as a click.
  const bool moved = xbut != press_x && ybut != press_y;
  if (sel(CURSOR_ON_COLORBAR)) action_ColorBar_button1();
  if (sel(CURSOR_ON_RIGHT_PANEL)) {
    action_RightPanel_button1();
    return;
  }
  if (sel(CURSOR_ON_TEXT)) {
    action_image_text_selection(1);
    return;
  }
  if (sel(CURSOR_ON_VOXEL) && !moved) {
    const IPOINT3D c = mosaic.icursor;
    if (projection_graph()) {
      action_set_projection_location();
    } else if (sel(CURSOR_ON_MOSAIC_PANEL)) {
      if (mosaic.display_crosshairs) {
        mosaic.icross = c;
        mosaic.update_regions |= REGION_CROSS;
        refill_graph_after_cross(GRAPH_MENUS);
      }
    } else {
      IPOINT3D &x = mosaic.icross;
      if (sel(CURSOR_PLANE_XY)) {
        x.x = c.x;
        x.y = c.y;
        if (mosaic.MIP) x.z = projected_index(c, ORTHO_XY);
      } else if (sel(CURSOR_PLANE_ZY | CURSOR_PLANE_YZ)) {
        x.y = c.y;
        x.z = c.z;
        if (mosaic.MIP) x.x = projected_index(c, ORTHO_YZ);
      } else if (sel(CURSOR_PLANE_XZ)) {
        x.x = c.x;
        x.z = c.z;
        if (mosaic.MIP) x.y = projected_index(c, ORTHO_XZ);
      }
      mosaic.update_regions |= REGION_IMAGES | REGION_CROSS;
      refill_graph_after_cross(GRAPH_MENUS);
    }
  }
  if (moved) {
    const float dx = (float)(xbut - press_x) / (float)mosaic.ImageRegionPixels.x;
    const float dy = (float)(ybut - press_y) / (float)mosaic.ImageRegionPixels.y;
    contrast_drag(dx, dy);
  }
}

// Return, Home and End: a release of button 1 at (0, 0), the press kept.
void action_key_return(void) { action_image_button1(0, 0, 0); }

void action_image_button23(int press) {
  if (press) {
    if (sel(CURSOR_ON_VOXEL))
      action_image_draw_overlay(1);
    else if (sel(CURSOR_ON_COLORBAR))
      action_ColorBar_button23();
    else if (sel(CURSOR_ON_RIGHT_PANEL))
      action_RightPanel_button23();
    else if (sel(CURSOR_ON_TEXT))
      action_image_text_selection(2);
    return;
  }
  if (sel(CURSOR_ON_VOXEL)) {
    action_image_draw_overlay(-1);
    mosaic.update_regions |= REGION_MENUS;
    graph.update_regions |= GRAPH_MENUS;
  } else {
    // A drag let go off the data draws nothing.
    drawing_overlay = 0;
  }
}

namespace {
void wheel(int up) {
  if (sel(CURSOR_ON_VOXEL | CURSOR_OFF_STACK))
    action_image_arrow_in_out(up);
  else if (sel(CURSOR_ON_COLORBAR))
    action_ColorBar_arrow_up_down(up);
  else if (sel(CURSOR_ON_RIGHT_PANEL))
    action_RightPanel_arrow_up_down(up);
  else
    action_image_arrow_up_down(up);
}
}  // namespace

void action_image_button4(void) { wheel(1); }
void action_image_button5(void) { wheel(0); }

void action_image_motion_notify(void) {
  mosaic.update_regions |= REGION_INFO_MOTION;
  if (mosaic.text_selection != last_text_selection) mosaic.update_regions |= REGION_MENUS;
  last_text_selection = mosaic.text_selection;
  // A rectangle being drawn follows the pointer over the data.
  if (drawing_overlay && sel(CURSOR_ON_VOXEL)) action_image_draw_overlay(0);
  // Without a cross-hair the time course follows the pointer.
  if (mosaic.display_crosshairs == 0 && sel(CURSOR_ON_VOXEL) && graph.type == 1 &&
      graph.size.x != 0 && ovl_root.npts == 0) {
    fill_graph_vector();
    graph.update_regions |= GRAPH_REBUILD;
  }
}

int move_crosshair_in_plane(int up_down, int positive) {
  const IPOINT3D &dim = mosaic.stack->dim;
  IPOINT3D &x = mosaic.icross;
  int step = positive ? 1 : -1;
  if (up_down) {
    // Down is +1 on the data when rows grow downward; flipped, it is -1.
    if (mosaic.flip_X11_y) step = -step;
    if (sel(CURSOR_PLANE_XY | CURSOR_PLANE_ZY)) return step_component(&x.y, step, dim.y);
    if (sel(CURSOR_PLANE_XZ | CURSOR_PLANE_YZ)) return step_component(&x.z, step, dim.z);
    return 0;
  }
  if (sel(CURSOR_PLANE_XY | CURSOR_PLANE_XZ)) return step_component(&x.x, step, dim.x);
  if (sel(CURSOR_PLANE_YZ)) return step_component(&x.y, step, dim.y);
  if (sel(CURSOR_PLANE_ZY)) return step_component(&x.z, step, dim.z);
  return 0;
}

namespace {
// Arrows: `up_down` for Up and Down, `positive` for Down and Right.
void image_arrow(int up_down, int positive) {
  if (sel(CURSOR_ON_COLORBAR)) {
    if (up_down)
      action_ColorBar_arrow_up_down(!positive);
    else
      action_ColorBar_arrow_left_right(!positive);
    return;
  }
  if (sel(CURSOR_ON_RIGHT_PANEL)) {
    if (up_down)
      action_RightPanel_arrow_up_down(!positive);
    else
      action_RightPanel_arrow_left_right(!positive);
    return;
  }
  if (mosaic.text_selection == WHICH_OVL_WIRE_FIELD) {
    action_step_overlay_list(positive, up_down ? 0 : 1);
    return;
  }
  if (sel(CURSOR_ON_VOXEL) && (mosaic.display_crosshairs || projection_graph())) {
    mosaic.update_regions |= REGION_CROSS;
    graph.update_regions |= GRAPH_MENUS;
    if (move_crosshair_in_plane(up_down, positive)) refill_graph_after_cross(0);
    return;
  }
  // Without a cross-hair the arrows move the region, along the axes they
  // would move the cross-hair.
  if (sel(CURSOR_ON_VOXEL) && ovl_root.npts != 0) {
    mosaic.update_regions |= REGION_IMAGES;
    graph.update_regions |= GRAPH_MENUS;
    int step = positive ? 1 : -1;
    if (up_down) {
      if (mosaic.flip_X11_y) step = -step;
      if (sel(CURSOR_PLANE_XY | CURSOR_PLANE_ZY))
        move_overlay_in_one_direction(1, step);
      else if (sel(CURSOR_PLANE_XZ | CURSOR_PLANE_YZ))
        move_overlay_in_one_direction(2, step);
    } else if (sel(CURSOR_PLANE_XY | CURSOR_PLANE_XZ)) {
      move_overlay_in_one_direction(0, step);
    } else if (sel(CURSOR_PLANE_YZ)) {
      move_overlay_in_one_direction(1, step);
    } else if (sel(CURSOR_PLANE_ZY)) {
      move_overlay_in_one_direction(2, step);
    }
    return;
  }
  if (sel(CURSOR_ON_TEXT)) {
    action_image_text_selection(positive ? 1 : 0);
    return;
  }
  if (up_down)
    contrast_arrow_step(positive ? CONTRAST_DOWN : CONTRAST_UP);
  else
    contrast_arrow_step(positive ? CONTRAST_RIGHT : CONTRAST_LEFT);
}
}  // namespace

void action_image_arrow_up_down(int up) { image_arrow(1, !up); }
void action_image_arrow_left_right(int left) { image_arrow(0, !left); }

void action_image_arrow_in_out(int in) {
  const IPOINT3D &dim = mosaic.stack->dim;
  IPOINT3D &x = mosaic.icross;
  const int nz = mosaic.DisplayVolumeDim.z;
  if (!mosaic.display_3orthogonal && sel(CURSOR_ON_MOSAIC_PANEL) && mosaic.display_slice &&
      mosaic.DimPanels.z != nz && nz > 0) {
    const int orientation = mosaic.mosaic_orientation;
    int *slices = mosaic.display_slice;
    bool changed = false;
    if (!in && !slices[nz - 1]) {
      if (orientation == ORTHO_XY) {
        x.z = clamp_index(x.z + 1, dim.z);
      } else if (orientation == ORTHO_XZ) {
        x.y = clamp_index(x.y + 1, dim.y);
      } else {
        // The upper clamp of these orientations lands in z.
        if (x.x + 1 > dim.x - 1)
          x.z = dim.x - 1;
        else
          x.x = x.x + 1;
      }
      for (int k = nz - 1; k > 0; k--) slices[k] = slices[k - 1];
      slices[0] = 0;
      changed = true;
    } else if (in && !slices[0]) {
      if (orientation == ORTHO_XY)
        x.z = clamp_index(x.z - 1, dim.z);
      else if (orientation == ORTHO_XZ)
        x.y = clamp_index(x.y - 1, dim.y);
      else
        x.x = clamp_index(x.x - 1, dim.x);
      for (int k = 0; k < nz - 1; k++) slices[k] = slices[k + 1];
      slices[nz - 1] = 0;
      changed = true;
    }
    if (changed) {
      // A z clamped into range keeps every index on the stack.
      x.z = clamp_index(x.z, dim.z);
      mosaic.update_regions |= REGION_IMAGES | REGION_CROSS;
      refill_graph_after_cross(0);
    }
    return;
  }
  // Without a cross-hair the region moves through the plane, +1 for out.
  if (!mosaic.display_crosshairs) {
    if (ovl_root.npts == 0) return;
    mosaic.update_regions |= REGION_IMAGES | REGION_CROSS;
    graph.update_regions |= GRAPH_MENUS;
    const int out = in ? -1 : 1;
    if (sel(CURSOR_PLANE_XY))
      move_overlay_in_one_direction(2, out);
    else if (sel(CURSOR_PLANE_ZY | CURSOR_PLANE_YZ))
      move_overlay_in_one_direction(0, out);
    else if (sel(CURSOR_PLANE_XZ))
      move_overlay_in_one_direction(1, out);
    return;
  }
  mosaic.update_regions |= REGION_IMAGES | REGION_CROSS;
  graph.update_regions |= GRAPH_MENUS;
  const int step = in ? -1 : 1;
  int moved = 0;
  if (sel(CURSOR_PLANE_XY))
    moved = step_component(&x.z, step, dim.z);
  else if (sel(CURSOR_PLANE_XZ))
    moved = step_component(&x.y, step, dim.y);
  else if (sel(CURSOR_PLANE_ZY | CURSOR_PLANE_YZ) && sel(CURSOR_ON_VOXEL))
    moved = step_component(&x.x, step, dim.x);
  if (moved) refill_graph_after_cross(0);
}

void action_key_control_c(int button) {
  int c = mosaic.display_crosshairs + (button == 1 ? 1 : -1);
  if (c > 3) c = 0;
  if (c < 0) c = 3;
  mosaic.display_crosshairs = c;
  mosaic.update_regions |= REGION_IMAGES;
}

void action_key_i(void) {
  contrast_low = 0.0f;
  contrast_high = 1.0f;
  rescale_image(1);
  mosaic.update_regions |= REGION_IMAGES;
  if (graph.type == 0 && graph.space_model == 0) initialize_graph();
}

void action_key_control_i(void) {
  if (sel(CURSOR_ON_RIGHT_PANEL)) {
    action_RightPanel_tab();
    return;
  }
  mosaic.interpolate = !mosaic.interpolate;
  mosaic.update_regions |= REGION_IMAGES | REGION_NEIGHBORS;
}

void action_key_T(void) {
  if (activation.visible) {
    activation.transparent = !activation.transparent;
    mosaic.update_regions |= REGION_IMAGES | REGION_COLORBAR;
  } else if (ovl_root.npts != 0) {
    mosaic.transparent_overlay = !mosaic.transparent_overlay;
    mosaic.update_regions |= REGION_IMAGES;
  }
}

// display_grid holds two switches: bit 0 the labels, bit 1 the grid.
void action_key_l(void) {
  mosaic.display_grid ^= 1;
  mosaic.update_regions |= REGION_COPY;
}

void action_key_L(void) {
  mosaic.display_grid ^= 2;
  mosaic.update_regions |= REGION_COPY;
}

void time_step_redraw(void) {
  mosaic.update_regions |= REGION_IMAGES | REGION_INFO;
  graph.update_regions |= GRAPH_INFO;
  if (graph.type == 1) {
    graph.update_regions |= GRAPH_MARKER | GRAPH_MENUS;
  } else {
    fill_graph_vector();
    graph.update_regions |= GRAPH_REBUILD;
  }
}

void split_graphX_into_file_and_location(float xvalue, int *ifile, int *itime) {
  int n = 0;
  const file_list *node = &image_files;
  while (node->next && (float)node->end_image < xvalue) {
    node = node->next;
    n++;
  }
  *ifile = n;
  *itime = truncate_to_int(xvalue) - node->start_image;
}
