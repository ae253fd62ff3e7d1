// The one event loop: fetch an X event, hand it to the handler of its
// window, let the handler's single Update_Regions repaint, then XSync.
// While idle the loop sleeps on the X connection instead of polling.
#include <poll.h>

#include <X11/keysym.h>
#include <cstdio>

#include "zor_colour.h"
#include "zor_event_trace.h"
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

// Keys every viewer on this window layer knows. Returns false for a key it
// leaves to the program's own handler.
static bool image_general_key(char key, XEvent *event) {
  switch (key) {
    case 'q':
    case 'Q': action_quit(); return true;
    case '3': action_key_3(); return true;
    case 'z': action_key_z(); return true;
    case 'Z': action_key_Z(); return true;
    case ' ':
      if (activation.nmaps != 0) {
        activation.visible = !activation.visible;
        mosaic.update_regions |= REGION_IMAGES | REGION_COLORBAR | REGION_COLORBAR_LABEL |
                                 REGION_MENUS;
        graph.update_regions |= 0x1;
      }
      return true;
    case 'A': {
      action_animate();
      char stopped[] = "animation stopped", blank[] = " ";
      show_on_info_line(0, 0, stopped, blank, blank);
      return true;
    }
    case 'v': graph.fixed.y = 0; return true;
    // Keys whose actions belong to the image tools, overlays, wires, the
    // graph and help: claimed here, so that they never reach the graph.
    case 3: case 4: case 21: case 11: case 12: case ',': case '<': case '.': case '>':
    case 9: case 13: case '#': case '?': case 'h': case 'H': case 'c': case 'C':
    case 'd': case 'D': case 'F': case 'f': case 'I': case 'i': case 'm': case 'M':
    case 'n': case 'N': case 'r': case 'R': case 'T': case 't': case 'w': case 'W':
    case '+': case '=': case '-': case '_': case 'G': case 'g': case 'l': case 'L':
    case 'P': case 'S': case 's':
      return true;
    default: return false;
  }
}

// Clicks and arrows while the pointer is on the colorbar. Button 1 acts on
// release, buttons 2 and 3 on press.
static void colorbar_button(bool press, int button) {
  if (!(mosaic.cursor_selection & CURSOR_ON_COLORBAR)) return;
  if (!press && button == 1) action_ColorBar_button1();
  if (press && (button == 2 || button == 3)) action_ColorBar_button23();
}

static bool colorbar_key(char key) {
  if (!(mosaic.cursor_selection & CURSOR_ON_COLORBAR)) return false;
  switch (key) {
    case 21: action_ColorBar_arrow_up_down(1); return true;
    case 4: action_ColorBar_arrow_up_down(0); return true;
    case 12: action_ColorBar_arrow_left_right(1); return true;
    case 11: action_ColorBar_arrow_left_right(0); return true;
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
      if (colorbar_key(key)) break;
      if (!image_general_key(key, event)) image_event_handler_specific(event);
      break;
    }
    case ButtonPress:
    case ButtonRelease:
      if (own) colorbar_button(event->type == ButtonPress, (int)event->xbutton.button);
      break;
    case MotionNotify:
      // A motion only refreshes the read-out under the pointer; drags act
      // once the image tools exist.
      mosaic.update_regions |= REGION_INFO_MOTION;
      break;
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
  if (!own && event->type != KeyPress) return 0;

  switch (event->type) {
    case KeyPress: {
      char key;
      if (!get_key_press(&event->xkey, &key)) return 1;
      bool arrow = key == 11 || key == 12 || key == 4 || key == 21;
      if (!arrow && own) graph_event_handler_specific(event);
      break;
    }
    case ButtonPress:
      if (event->xbutton.button > 5) fprintf(stderr, "more than 5 buttons?\n");
      break;
    case LeaveNotify: graph.cursor_selection = 0; break;
    case Expose: graph.update_regions |= 0x1 | 0x2 | 0x4; break;
    case ConfigureNotify: {
      IPOINT2D area{event->xconfigure.width, event->xconfigure.height - 60};
      if (area.x != graph.size.x || area.y != graph.size.y) graph.size = area;
      break;
    }
    case ClientMessage:
      if ((Atom)event->xclient.data.l[0] == wm_delete_window) {
        // Only the graph window can be closed by the window manager.
        XUnmapWindow(XConnection, XWindow_graph);
        graph.type = -1;
        graph.size = IPOINT2D{0, 0};
        XWindow_graph = 0;
      }
      break;
    default: break;
  }
  Update_Regions();
  return 0;
}
