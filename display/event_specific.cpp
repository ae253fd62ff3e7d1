// What this viewer adds to the common event handling: its own keys in each
// window, quitting and the time animation.
#include <cstring>

#include "zor_exit.h"
#include "zor_glm_actions.h"
#include "zor_graph.h"
#include "zor_overlay.h"
#include "zor_profile_fit.h"
#include "zor_roi_files.h"
#include "zor_time_model.h"
#include "zor_x11.h"

int image_event_handler_specific(XEvent *event) {
  char key;
  if (!get_key_press(&event->xkey, &key)) return 1;
  switch (key) {
    // Region statistics and the map toggle have their own keys here, but
    // the common keys "r", "R" and "v" are claimed before they arrive.
    case 'r':
    case 'R':
    case 'v': return 0;
    default: break;
  }
  if (event->xany.window == XWindow_image) graph_event_handler_general(event);
  return 0;
}

int graph_event_handler_specific(XEvent *event) {
  char key;
  if (!get_key_press(&event->xkey, &key)) return 1;
  switch (key) {
    case 'F':
    case 'f':
      if (graph.type == 0 && graph.space_model != 0) action_fit_psf(key == 'F');
      build_graph_display(1);
      return 0;
    // Result tables: every listed region, or the working one.
    case 'R':
      if (ovl_root.next)
        action_write_all_ROIs();
      else
        action_write_1_ROI();
      return 0;
    case 'r': action_write_1_ROI(); return 0;
    case 'i':
      action_ignore_out_of_range();
      build_graph_display(1);
      return 0;
    case 'l': action_display_last_time_point(); return 0;
    case 'u': action_change_graph_units(); return 0;
    default: break;
  }
  if (graph_event_handler_TimeSeriesModel(key)) return 0;
  // A key the graph does not claim acts on the image. Its handler repaints
  // what it asked for; nothing is left for this event's own repaint.
  if (XWindow_graph != 0 && event->xany.window == XWindow_graph) {
    image_event_handler_general(event);
    mosaic.update_regions = 0;
    graph.update_regions = 0;
  }
  return 0;
}

void action_quit_specific(void) {}

void action_quit(void) {
  char answer[1024];
  get_X11_string(2, "Really quit?", "(y,Y,other)", "", 0, 0, answer);
  if (strcmp(answer, "y") == 0 || strcmp(answer, "Y") == 0) {
    action_quit_specific();
    zor_exit(0);
  }
  char continuing[] = "continuing...", blank[] = " ";
  show_on_info_line(2, 0, continuing, blank, blank);
}

// Whether an event of ours asks the animation to stop.
static bool stops_animation(const XEvent &event) {
  bool ours = (XWindow_image != 0 && event.xany.window == XWindow_image) ||
              (XWindow_graph != 0 && event.xany.window == XWindow_graph);
  bool input = event.type == KeyPress || event.type == ButtonPress ||
               event.type == ButtonRelease || event.type == MotionNotify;
  return ours && input;
}

void action_animate(void) {
  char progress[] = "animation in progress, any key will quit", blank[] = " ";
  show_on_info_line(0, 0, progress, blank, blank);
  XSync(XConnection, True);
  for (;;) {
    bool stop = false;
    while (!stop && XPending(XConnection) > 0) {
      XEvent event;
      XNextEvent(XConnection, &event);
      stop = stops_animation(event);
    }
    if (stop) break;
    increment_graph_location(1);
    mosaic.update_regions |= REGION_IMAGES | REGION_INFO;
    graph.update_regions |= GRAPH_INFO;
    Update_Regions();
    build_graph_display(0);
    XFlush(XConnection);
  }
}
