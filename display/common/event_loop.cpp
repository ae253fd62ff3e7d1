// The one event loop: fetch an X event, hand it to the handler of its
// window, let the handler's single Update_Regions repaint, then XSync.
// While idle the loop sleeps on the X connection instead of polling.
#include <poll.h>

#include <X11/keysym.h>
#include <cstdio>

#include "zor_actions.h"
#include "zor_colour.h"
#include "zor_graph.h"
#include "zor_event_trace.h"
#include "zor_glm_actions.h"
#include "zor_help.h"
#include "zor_overlay_edit.h"
#include "zor_wires.h"
#include "zor_x11.h"

namespace {

// What the previous image-window event was: a run of Expose events
// repaints once.
int last_expose = 0;
int last_reparent = 0;

const char *event_type_name(int type) {
  switch (type) {
    case KeyPress: return "KeyPress";
    case ButtonPress: return "ButtonPress";
    case ButtonRelease: return "ButtonRelease";
    case MotionNotify: return "MotionNotify";
    case LeaveNotify: return "LeaveNotify";
    case EnterNotify: return "EnterNotify";
    case Expose: return "Expose";
    case GraphicsExpose: return "GraphicsExpose";
    case NoExpose: return "NoExpose";
    case ConfigureNotify: return "ConfigureNotify";
    case ReparentNotify: return "ReparentNotify";
    case MapNotify: return "MapNotify";
    case UnmapNotify: return "UnmapNotify";
    case DestroyNotify: return "DestroyNotify";
    case ClientMessage: return "ClientMessage";
    default: return "Other";
  }
}

int event_detail(const XEvent &event) {
  if (event.type == KeyPress) return (int)event.xkey.keycode;
  if (event.type == ButtonPress || event.type == ButtonRelease) return (int)event.xbutton.button;
  return 0;
}

// Window coordinates of the events that carry a pointer position.
bool pointer_position(const XEvent *event, int *x, int *y) {
  switch (event->type) {
    case KeyPress: *x = event->xkey.x; *y = event->xkey.y; return true;
    case ButtonPress:
    case ButtonRelease: *x = event->xbutton.x; *y = event->xbutton.y; return true;
    case MotionNotify: *x = event->xmotion.x; *y = event->xmotion.y; return true;
    case LeaveNotify: *x = event->xcrossing.x; *y = event->xcrossing.y; return true;
    default: return false;
  }
}

}  // namespace

int function_key_code(unsigned long keysym) {
  switch (keysym) {
    case XK_Home:
    case XK_End: return 13;
    case XK_Left: return 12;
    case XK_Up: return 21;
    case XK_Right: return 11;
    case XK_Down: return 4;
    case XK_Prior: return '+';
    case XK_Next: return '-';
    case XK_Help: return 'h';
    default: return -1;
  }
}

bool get_key_press(XKeyEvent *key_event, char *which_key) {
  KeySym keysym = XLookupKeysym(key_event, 0);
  int code = function_key_code(keysym);
  if (code >= 0) {
    *which_key = (char)code;
  } else {
    char buffer[32] = {0};
    KeySym ignored;
    int n = XLookupString(key_event, buffer, (int)sizeof buffer, &ignored, nullptr);
    *which_key = n > 0 ? buffer[0] : 0;
  }
  return *which_key > 0;
}

int get_next_event(XEvent *event) {
  if (XEventsQueued(XConnection, QueuedAfterFlush) == 0) return 0;
  XNextEvent(XConnection, event);
  if (XWindow_image != 0 && event->xany.window == XWindow_image) return 1;
  if (XWindow_graph != 0 && event->xany.window == XWindow_graph) return 2;
  return 0;
}

void wait_for_X_input(int timeout_ms) {
  if (XPending(XConnection) > 0) return;
  pollfd fd{ConnectionNumber(XConnection), POLLIN, 0};
  poll(&fd, 1, timeout_ms);
}

void event_handlers_reset(void) {
  last_expose = 0;
  last_reparent = 0;
}

void loop_X_events(void) {
  XEvent event;
  for (;;) {
    int which = get_next_event(&event);
    reset_cursor_selections();
    double start = event_trace_now_ms();
    if (which == 1) {
      mosaic.cursor_selection = CURSOR_IMAGE_WINDOW;
      image_event_handler_general(&event);
    } else if (which == 2) {
      graph.cursor_selection = 1;
      graph_event_handler_general(&event);
    }
    XSync(XConnection, False);
    if (which != 0) {
      event_trace_event(event_type_name(event.type), which, event_detail(event),
                        mosaic.update_regions, graph.update_regions,
                        event_trace_now_ms() - start);
    } else {
      // Nothing for us: sleep until the server sends something.
      wait_for_X_input(-1);
    }
  }
}

// The "+" and "-" keys: maps on the colorbar, time points elsewhere.
static void step_map_or_time(int up) {
  if ((mosaic.cursor_selection & CURSOR_ON_COLORBAR) && activation.nmaps != 0) {
    if (up)
      action_increment_activation_map();
    else
      action_decrement_activation_map();
    return;
  }
  if (up)
    increment_graph_location(1);
  else
    decrement_graph_location(1);
  time_step_redraw();
}

// Keys every viewer on this window layer knows. Returns false for a key it
// leaves to the program's own handler.
static bool image_general_key(char key) {
  switch (key) {
    case 3: action_key_control_c(1); return true;
    case 4: action_image_arrow_up_down(0); return true;
    case 21: action_image_arrow_up_down(1); return true;
    case 11: action_image_arrow_left_right(0); return true;
    case 12: action_image_arrow_left_right(1); return true;
    case ',':
    case '<': action_image_arrow_in_out(1); return true;
    case '.':
    case '>': action_image_arrow_in_out(0); return true;
    case 9: action_key_control_i(); return true;
    case 13: action_key_return(); return true;
    case '#': action_key_pound_sign(); return true;
    case '3': action_key_3(); return true;
    case 'I':
    case 'i': action_key_i(); return true;
    case 'q':
    case 'Q': action_quit(); return true;
    case 'T':
    case 't': action_key_T(); return true;
    case 'v':
      graph.fixed.y = 0;
      build_graph_display(1);
      return true;
    case 'z': action_key_z(); return true;
    case 'Z': action_key_Z(); return true;
    case ' ':
      if (activation.nmaps != 0) {
        activation.visible = !activation.visible;
        mosaic.update_regions |= REGION_IMAGES | REGION_COLORBAR | REGION_COLORBAR_LABEL |
                                 REGION_MENUS;
        graph.update_regions |= GRAPH_REBUILD;
      }
      return true;
    case '+':
    case '=': step_map_or_time(1); return true;
    case '-':
    case '_': step_map_or_time(0); return true;
    case 'A': {
      action_animate();
      char stopped[] = "animation stopped", blank[] = " ";
      show_on_info_line(0, 0, stopped, blank, blank);
      return true;
    }
    case 'G':
    case 'g': action_bring_up_graph(); return true;
    case 'l': action_key_l(); return true;
    case 'L': action_key_L(); return true;
    // The region tools.
    case 'c': action_key_c(); return true;
    case 'd': action_key_d(); return true;
    case 'm': action_key_m(); return true;
    case 'n':
      // Without a map shown, "n" draws wires.
      if (activation.visible)
        action_key_n();
      else
        action_key_N();
      return true;
    case 'r': action_key_r(); return true;
    case 'w': action_key_w(); return true;
    case 'S': write_roi_stats(1); fflush(stdout); return true;
    case 's': write_roi_stats(0); fflush(stdout); return true;
    // Help and the wire tools.
    case '?':
    case 'h': action_help(1, 1); return true;
    case 'H': action_help(1, 2); return true;
    case 'C': action_key_C(); return true;
    case 'D': action_key_D(); return true;
    case 'F':
    case 'f': action_key_F(); return true;
    case 'M': action_key_M(); return true;
    case 'N': action_key_N(); return true;
    case 'R': action_key_R(); return true;
    case 'W': action_key_W(); return true;
    case 'P': action_key_P(); return true;
    default: return false;
  }
}

int image_event_handler_general(XEvent *event) {
  mosaic.update_regions = 0;
  graph.update_regions = 0;
  bool own = event->xany.window == XWindow_image;
  int x = 0, y = 0;
  if (own && pointer_position(event, &x, &y)) define_mosaic_cursor_location(x, y);
  if (!own && event->type != KeyPress) return 0;

  int previous_expose = last_expose;
  last_expose = event->type == Expose;
  last_reparent = event->type == ReparentNotify;

  switch (event->type) {
    case KeyPress: {
      char key;
      if (!get_key_press(&event->xkey, &key)) return 1;
      if (!image_general_key(key)) image_event_handler_specific(event);
      break;
    }
    case ButtonPress:
      switch (event->xbutton.button) {
        case 1: action_image_button1(1, x, y); break;
        case 2:
        case 3: action_image_button23(1); break;
        case 4: action_image_button4(); break;
        case 5: action_image_button5(); break;
        default: break;
      }
      break;
    case ButtonRelease:
      switch (event->xbutton.button) {
        case 1: action_image_button1(0, x, y); break;
        case 2:
        case 3: action_image_button23(0); break;
        default: break;
      }
      break;
    case MotionNotify: action_image_motion_notify(); break;
    case LeaveNotify:
      mosaic.cursor_selection = 0;
      mosaic.update_regions |= REGION_INFO;
      break;
    case Expose:
      if (!previous_expose) {
        refresh_display_image(0);
        mosaic.update_regions |= REGION_INFO;
      }
      break;
    default: break;
  }
  Update_Regions();
  return 0;
}

int graph_event_handler_general(XEvent *event) {
  mosaic.update_regions = 0;
  graph.update_regions = 0;
  bool own = XWindow_graph != 0 && event->xany.window == XWindow_graph;
  int x = 0, y = 0;
  if (own && pointer_position(event, &x, &y)) define_graph_cursor_location(x, y);
  if (!own && event->type != KeyPress) return 0;

  switch (event->type) {
    case KeyPress: {
      char key;
      if (!get_key_press(&event->xkey, &key)) return 1;
      switch (key) {
        case 11: action_graph_arrow_left_right(0); break;
        case 12: action_graph_arrow_left_right(1); break;
        case 4: action_graph_arrow_up_down(0); break;
        case 21: action_graph_arrow_up_down(1); break;
        default:
          if (own) graph_event_handler_specific(event);
          break;
      }
      break;
    }
    case ButtonPress:
      switch (event->xbutton.button) {
        case 1: action_graph_button1(); break;
        case 2:
        case 3: action_graph_button23(1); break;
        case 4: action_graph_arrow_up_down(1); break;
        case 5: action_graph_arrow_up_down(0); break;
        default: fprintf(stderr, "more than 5 buttons?\n"); break;
      }
      break;
    case ButtonRelease:
      if (event->xbutton.button == 2 || event->xbutton.button == 3) action_graph_button23(0);
      break;
    case MotionNotify: action_graph_motion_notify(); break;
    case LeaveNotify:
      graph.cursor_selection = 0;
      show_information_graph(0);
      break;
    case Expose: graph.update_regions |= GRAPH_REBUILD | GRAPH_MARKER | GRAPH_MENUS; break;
    case ConfigureNotify: {
      IPOINT2D area{event->xconfigure.width, event->xconfigure.height - 60};
      if (area.x != graph.size.x || area.y != graph.size.y) {
        graph.size = area;
        update_graph_selectable_text();
        build_graph_display(1);
      }
      break;
    }
    case ClientMessage:
      if ((Atom)event->xclient.data.l[0] == wm_delete_window) {
        // Only the graph window can be closed by the window manager.
        XUnmapWindow(XConnection, XWindow_graph);
        graph.type = -1;
        initialize_graph();
        graph.size = IPOINT2D{0, 0};
        XWindow_graph = 0;
      }
      break;
    default: break;
  }
  Update_Regions();
  return 0;
}
