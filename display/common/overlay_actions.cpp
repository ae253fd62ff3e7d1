// What the user's buttons and keys do to the region: rectangles drawn with
// buttons 2 and 3, the keys of the region tools, choosing an activated
// voxel to grow from, and reading and writing the ".ovl" file.
#include <algorithm>
#include <cstdio>

#include "zor_compose.h"
#include "zor_graph.h"
#include "zor_overlay_edit.h"
#include "zor_x11.h"

int drawing_overlay = 0;

namespace {

// Corners of the rectangle: `on` where the drag started, `off` one past
// the voxel under the pointer on the plane's two axes.
IPOINT3D corner_on{0, 0, 0}, corner_off{0, 0, 0};

bool sel(int bits) { return (mosaic.cursor_selection & bits) != 0; }

int drag_orientation(void) {
  if (sel(CURSOR_PLANE_XY)) return ORTHO_XY;
  if (sel(CURSOR_PLANE_YZ)) return ORTHO_YZ;
  if (sel(CURSOR_PLANE_ZY)) return ORTHO_ZY;
  return ORTHO_XZ;
}

void show_volume_line(const char *first) {
  char line1[1024], line2[256], blank[] = " ";
  snprintf(line1, sizeof line1, "%s", first);
  snprintf(line2, sizeof line2, "volume = %g mm^3", overlay_volume());
  show_on_info_line(0, 0, line1, line2, blank);
}

}  // namespace

void overlay_edit_reset(void) {
  overlay_scratch_reset();
  drawing_overlay = 0;
  corner_on = corner_off = IPOINT3D{0, 0, 0};
}

void action_image_draw_overlay(int press) {
  const int orientation = drag_orientation();
  const int target = sel(CURSOR_ON_MOSAIC_PANEL) ? MOSAIC : orientation;
  if (press == 1) {
    drawing_overlay = 1;
    corner_on = mosaic.icursor;
  }
  if (!drawing_overlay) return;
  const IPOINT3D c = mosaic.icursor;
  switch (orientation) {
    case ORTHO_XY: corner_off = IPOINT3D{c.x + 1, c.y + 1, c.z}; break;
    case ORTHO_ZY:
    case ORTHO_YZ: corner_off = IPOINT3D{c.x, c.y + 1, c.z + 1}; break;
    default: corner_off = IPOINT3D{c.x + 1, c.y, c.z + 1}; break;
  }
  // The rectangle shows while it is dragged down and right on one slice.
  const POINT3D on{(float)corner_on.x, (float)corner_on.y, (float)corner_on.z};
  const POINT3D off{(float)corner_off.x, (float)corner_off.y, (float)corner_off.z};
  const bool same_slice = orientation == ORTHO_XY   ? corner_on.z == corner_off.z
                          : orientation == ORTHO_XZ ? corner_on.y == corner_off.y
                                                    : corner_on.x == corner_off.x;
  if (XWindow_image != 0 && mosaic.stack && same_slice) {
    const IPOINT2D p_on = Convert_rVoxel_to_Pixel(target, on, 0);
    const IPOINT2D p_off = Convert_rVoxel_to_Pixel(target, off, 0);
    if (p_off.x >= p_on.x && p_off.y >= p_on.y) {
      refresh_display_image(0);
      DPRIMITIVE_DrawRectangle(Drawable_ImageData, COLOR_RED, p_on, p_off);
    }
  }
  if (press != -1) return;
  mosaic.update_regions |= REGION_IMAGES;
  drawing_overlay = 0;
  if (!mosaic.stack || !overlay_map.weight) return;
  const IPOINT3D d = mosaic.stack->dim;
  IPOINT3D lo{std::min(corner_on.x, corner_off.x), std::min(corner_on.y, corner_off.y),
              std::min(corner_on.z, corner_off.z)};
  IPOINT3D hi{std::max(corner_on.x, corner_off.x), std::max(corner_on.y, corner_off.y),
              std::max(corner_on.z, corner_off.z)};
  // The plane's fixed axis is the slice where the drag started.
  if (orientation == ORTHO_XY) {
    lo.z = corner_on.z;
    hi.z = corner_on.z + 1;
  } else if (orientation == ORTHO_XZ) {
    lo.y = corner_on.y;
    hi.y = corner_on.y + 1;
  } else {
    lo.x = corner_on.x;
    hi.x = corner_on.x + 1;
  }
  lo = IPOINT3D{std::max(lo.x, 0), std::max(lo.y, 0), std::max(lo.z, 0)};
  hi = IPOINT3D{std::min(hi.x, d.x), std::min(hi.y, d.y), std::min(hi.z, d.z)};
  for (int z = lo.z; z < hi.z; z++)
    for (int y = lo.y; y < hi.y; y++)
      for (int x = lo.x; x < hi.x; x++) {
        const int i = x + d.x * (y + d.y * z);
        if (overlay_map.weight[i] != 0.0f) {
          overlay_map.weight[i] = 0.0f;
          overlay_map.color[i] = 0;
        } else {
          overlay_map.weight[i] = 1.0f;
          overlay_map.color[i] = ovl_root.color;
        }
      }
  update_root_overlay(1, 1);
  if (graph.type == 1 || (graph.type == 0 && graph.space_model == 0)) {
    fill_graph_vector();
    modify_graph_vector();
    graph.update_regions |= GRAPH_REBUILD;
  }
}

void action_select_activated_point(void) {
  char l1[] = "Select an activated voxel", l2[] = "Using a mouse button",
       l3[] = "(other keys cancel)";
  show_on_info_line(0, 0, l1, l2, l3);
  for (;;) {
    XEvent event;
    const int which = get_next_event(&event);
    if (which == 0) {
      wait_for_X_input(100);
      continue;
    }
    if (which != 1) continue;
    if (event.type == ButtonRelease) {
      mosaic.cursor_selection = CURSOR_IMAGE_WINDOW;
      define_mosaic_cursor_location(event.xbutton.x, event.xbutton.y);
      if (sel(CURSOR_ON_VOXEL)) {
        mosaic.icross = mosaic.icursor;
        action_select_activated_region();
        mosaic.update_regions |= REGION_IMAGES | REGION_CROSS | REGION_MENUS;
        return;
      }
      break;
    }
    if (event.type == KeyPress) break;
  }
  char c1[] = "Selection is not a valid voxel.", c2[] = "The function was canceled",
       c3[] = " ";
  show_on_info_line(0, 0, c1, c2, c3);
}

// "n" with a map shown: pick an activated voxel, then grow from it.
void action_key_n(void) {
  action_select_activated_point();
  fflush(stdout);
  fill_graph_vector();
  graph.update_regions |= GRAPH_REBUILD | GRAPH_MENUS;
}

// "c": the region's next colour, 1 to 10.
void action_key_c(void) {
  if (ovl_root.npts == 0 || !mosaic.stack) return;
  ovl_root.color = (int16_t)(ovl_root.color + 1);
  if (ovl_root.color > COLOR_WHITE) ovl_root.color = COLOR_CYAN;
  for (int i = 0; i < mosaic.stack->n3d; i++)
    if (overlay_map.weight[i] != 0.0f) overlay_map.color[i] = ovl_root.color;
  mosaic.update_regions |= REGION_IMAGES;
}

// "d": the region is cleared.
void action_key_d(void) {
  action_clear_overlay();
  mosaic.update_regions |= REGION_IMAGES;
}

// "m": the region mirrored in x.
void action_key_m(void) {
  action_mirror_overlay();
  update_root_overlay(1, 1);
  fill_graph_vector();
  mosaic.update_regions |= REGION_IMAGES;
  graph.update_regions |= GRAPH_REBUILD | GRAPH_MENUS;
}

// "r": ".ovl" merged into the region, the file winning at common voxels.
void action_key_r(void) {
  read_overlay_file(".ovl", &ovl_root);
  update_root_overlay(1, 1);
  fill_graph_vector();
  mosaic.update_regions |= REGION_IMAGES | REGION_MENUS;
  graph.update_regions |= GRAPH_REBUILD | GRAPH_MENUS;
  show_volume_line(ovl_root.name);
  fflush(stdout);
}

// "w": the region written to ".ovl"; the old file stays whole on failure.
void action_key_w(void) {
  const int failed = write_overlay_file();
  show_volume_line(failed ? "writing .ovl failed" : "written to .ovl");
  fflush(stdout);
}

namespace {
// Items of the graph window's menus that act on the region (their numbers
// in the graph's list).
enum {
  GRAPH_ITEM_SELECT_IMAGE = 11,
  GRAPH_ITEM_ABOVE_BELOW = 12,
  GRAPH_ITEM_SELECT_THRESH = 13,
  GRAPH_ITEM_ERODE = 14,
  GRAPH_ITEM_DILATE = 15,
  GRAPH_ITEM_ED_DISTANCE = 16,
  GRAPH_ITEM_CLUSTER = 17,
  GRAPH_ITEM_FLATTEN = 18,
  GRAPH_ITEM_DIMENSION = 19,
  GRAPH_ITEM_OVL_KEEP = 20,
  GRAPH_ITEM_OVL_DISCARD = 21
};

void region_changed(void) {
  mosaic.update_regions |= REGION_IMAGES;
  graph.update_regions |= GRAPH_REBUILD;
}
}  // namespace

int overlay_graph_text_selection(int field, int button) {
  switch (field) {
    case GRAPH_ITEM_SELECT_IMAGE:
      action_select_above_below_threshold();
      region_changed();
      return 1;
    case GRAPH_ITEM_ABOVE_BELOW: graph.select_above = !graph.select_above; return 1;
    case GRAPH_ITEM_SELECT_THRESH: {
      char answer[1024] = "";
      float value;
      if (get_X11_string(1, "Input intensity threshold", "", "", 0, 1, answer) &&
          sscanf(answer, "%g", &value) == 1)
        graph.hist_marker = value;
      return 1;
    }
    case GRAPH_ITEM_ERODE:
    case GRAPH_ITEM_DILATE:
      action_erode_dilate_overlay(field == GRAPH_ITEM_DILATE);
      region_changed();
      return 1;
    case GRAPH_ITEM_ED_DISTANCE:
      graph.ed_distance += button == 1 ? 1 : -1;
      if (graph.ed_distance > 3) graph.ed_distance = 1;
      if (graph.ed_distance < 1) graph.ed_distance = 3;
      return 1;
    case GRAPH_ITEM_CLUSTER:
      action_cluster_overlay();
      region_changed();
      return 1;
    case GRAPH_ITEM_FLATTEN:
      action_flatten_across_overlay();
      rescale_image(1);
      region_changed();
      return 1;
    case GRAPH_ITEM_DIMENSION: graph.ed_dimension = graph.ed_dimension == 3 ? 2 : 3; return 1;
    case GRAPH_ITEM_OVL_KEEP:
    case GRAPH_ITEM_OVL_DISCARD:
      action_clip_using_overlay(field == GRAPH_ITEM_OVL_KEEP);
      region_changed();
      return 1;
    default: return 0;
  }
}
