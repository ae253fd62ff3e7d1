// What the user does with wire frames: drawing one with the mouse (a modal
// loop that sleeps on the X connection between events), the keys that
// recolour, clear, fill, mirror, read and write them.
#include <cstdio>
#include <cstring>

#include "zor_annotate.h"
#include "zor_compose.h"
#include "zor_event_trace.h"
#include "zor_overlay_edit.h"
#include "zor_wires.h"
#include "zor_x11.h"

namespace {

const char KEY_RETURN = 13, KEY_ESCAPE = 27;

// Replaces the points of `wire_root` by `count` points copied from `points`.
void set_wire_points(const CONTROL_POINT *points, int count) {
  CONTROL_POINT *copy = count > 0 ? control_vector(count) : nullptr;
  if (count > 0) memcpy(copy, points, sizeof(CONTROL_POINT) * static_cast<size_t>(count));
  free_control_vector(wire_root.control);
  wire_root.control = copy;
  wire_root.npts = count;
}

void append_wire_point(POINT3D point, int color) {
  CONTROL_POINT *grown = control_vector(wire_root.npts + 1);
  if (wire_root.npts > 0)
    memcpy(grown, wire_root.control, sizeof(CONTROL_POINT) * static_cast<size_t>(wire_root.npts));
  grown[wire_root.npts] = CONTROL_POINT{point, color};
  free_control_vector(wire_root.control);
  wire_root.control = grown;
  wire_root.npts += 1;
}

void show_lines(int prompting, const char *a, const char *b, const char *c) {
  char l1[1024], l2[1024], l3[1024];
  snprintf(l1, sizeof l1, "%s", a);
  snprintf(l2, sizeof l2, "%s", b);
  snprintf(l3, sizeof l3, "%s", c);
  show_on_info_line(0, prompting, l1, l2, l3);
}

void redraw_wires(void) {
  if (XWindow_image == 0) return;
  refresh_display_image(1);
  draw_wire_frames();
  XFlush(XConnection);
}

bool wires_allowed(void) {
  return mosaic.display_3orthogonal || mosaic.mosaic_orientation == ORTHO_XY;
}

}  // namespace

void action_clear_wires(void) {
  free_control_vector(wire_root.control);
  wire_root.control = nullptr;
  wire_root.npts = 0;
  snprintf(wire_root.name, sizeof wire_root.name, "%s", "none");
}

void action_mirror_wires(void) {
  if (wire_root.npts <= 0 || !mosaic.stack) return;
  const data_stack *s = mosaic.stack;
  const float x0 = s->origin.x - s->resolution.x / 2.0f;
  const float x1 = x0 + s->fov.x * s->direction.x;
  const float lo = x0 < x1 ? x0 : x1, hi = x0 < x1 ? x1 : x0;
  for (int i = 0; i < wire_root.npts; i++) {
    float &x = wire_root.control[i].point.x;
    x = hi - (x - lo);
  }
}

void action_key_C(void) {
  if (wire_root.npts <= 0) return;
  for (int i = 0; i < wire_root.npts; i++) {
    if (i != 0 && wire_root.control[i - 1].color != 0) continue;
    int &c = wire_root.control[i].color;
    c += 1;
    if (c > 8) c = 1;
  }
  mosaic.update_regions |= REGION_COPY;
}

void action_key_D(void) {
  action_clear_wires();
  mosaic.update_regions |= REGION_IMAGES | REGION_MENUS;
}

void action_key_F(void) {
  fill_closed_wires();
  mosaic.update_regions |= REGION_IMAGES | REGION_MENUS;
}

void action_key_M(void) {
  action_mirror_wires();
  mosaic.update_regions |= REGION_IMAGES;
}

void action_key_R(void) {
  const int before = wire_root.npts;
  read_wire_file(".wire", &wire_root, 0);
  char line2[128];
  snprintf(line2, sizeof line2, "%d control points read from .wire", wire_root.npts - before);
  show_lines(0, wire_root.name, line2, " ");
  fflush(stdout);
  mosaic.update_regions |= REGION_IMAGES | REGION_MENUS;
}

void action_key_W(void) {
  const int failed = write_wire_file();
  char line2[128];
  snprintf(line2, sizeof line2, "%d control points", wire_root.npts);
  show_lines(0, failed ? "writing .wire failed" : "written to .wire", line2, " ");
  fflush(stdout);
}

void action_key_N(void) {
  if (!wires_allowed()) {
    show_lines(0, "Wire frames are drawn on X-Y planes only:", "switch to 3-plane view or",
               "mosaic orientation X-Y");
    return;
  }
  action_draw_wires();
  mosaic.update_regions |= REGION_COPY | REGION_MENUS;
}

void action_draw_wires(void) {
  const int npts_original = wire_root.npts;
  CONTROL_POINT *wire_original = nullptr;
  if (npts_original > 0) {
    wire_original = control_vector(npts_original);
    memcpy(wire_original, wire_root.control, sizeof(CONTROL_POINT) * static_cast<size_t>(npts_original));
  }
  const char *base = " L-button=draw, <esc>=cancel";
  const char *prompt = base;
  show_lines(1, prompt, " ", " ");
  event_trace_prompt(prompt);

  int iZ_save = 0;
  bool done_allowed = false, close_allowed = false, finished = false, fill = false;
  while (!finished) {
    XEvent event;
    const int which = get_next_event(&event);
    if (which == 0) {
      // Nothing of ours waiting: sleep until the server sends something.
      wait_for_X_input(-1);
      continue;
    }
    if (which != 1) continue;
    const int type = event.type;
    int x = 0, y = 0;
    if (type == KeyPress) {
      x = event.xkey.x;
      y = event.xkey.y;
    } else if (type == ButtonPress || type == ButtonRelease) {
      x = event.xbutton.x;
      y = event.xbutton.y;
    } else if (type == MotionNotify) {
      x = event.xmotion.x;
      y = event.xmotion.y;
    } else if (type == LeaveNotify) {
      x = event.xcrossing.x;
      y = event.xcrossing.y;
    } else {
      continue;
    }
    mosaic.cursor_selection = CURSOR_IMAGE_WINDOW;
    mosaic.text_selection = 0;
    define_mosaic_cursor_location(x, y);

    if (type == MotionNotify) {
      char values[128];
      snprintf(values, sizeof values, "%6.2f %6.2f %6.2f", mosaic.cursor.x, mosaic.cursor.y,
               mosaic.cursor.z);
      show_lines(1, prompt, "     x      y      z", values);
      continue;
    }
    if (type == ButtonPress) {
      if (event.xbutton.button != 1) continue;
      // Points go on a voxel of an axial plane, all on the slice of the first.
      const int on_axial = CURSOR_ON_VOXEL | CURSOR_PLANE_XY;
      if ((mosaic.cursor_selection & on_axial) != on_axial) continue;
      const int placed = wire_root.npts - npts_original;
      if (placed == 0) iZ_save = mosaic.icursor.z;
      if (placed > 0 && mosaic.icursor.z != iZ_save) continue;
      append_wire_point(mosaic.cursor, 1);
      redraw_wires();
    } else if (type == KeyPress) {
      char key;
      if (!get_key_press(&event.xkey, &key)) continue;
      if (key == KEY_ESCAPE) {
        set_wire_points(wire_original, npts_original);
        show_lines(0, "canceled", " ", " ");
        redraw_wires();
        break;
      }
      if (key == 'c' && close_allowed) {
        append_wire_point(wire_root.control[npts_original].point, 1);
        fill = true;
        key = KEY_RETURN;
        done_allowed = true;
      }
      if (key == 'u' && done_allowed) {
        set_wire_points(wire_root.control, wire_root.npts - 3);
        redraw_wires();
      } else if (key == KEY_RETURN && done_allowed) {
        wire_root.control[wire_root.npts - 1].color = 0;
        snprintf(wire_root.name, sizeof wire_root.name, "%s", "interactive");
        finished = true;
      }
    } else {
      continue;  // releases and leaving the window change nothing
    }
    if (finished) break;
    // What the points placed so far allow: Return after whole segments,
    // "c" when closing leaves a whole segment.
    const int n = wire_root.npts - npts_original - 1;
    done_allowed = n > 0 && n % 3 == 0;
    close_allowed = n > 0 && n % 3 == 2 && n != 2;
    prompt = done_allowed    ? " L-button=draw, <esc>=cancel, <ret>=done, u=undo"
             : close_allowed ? " L-button=draw, <esc>=cancel, c=close"
                             : base;
    show_lines(1, prompt, " ", " ");
  }
  free_control_vector(wire_original);
  if (fill) {
    fill_last_closed_wire(wire_root.npts - 1);
    mosaic.update_regions |= REGION_IMAGES;
  }
  if (finished) {
    char line2[128];
    snprintf(line2, sizeof line2, "%d control points", wire_root.npts);
    show_lines(0, fill ? "wire closed and filled" : "wire done", line2, " ");
  }
}
