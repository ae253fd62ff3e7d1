// What the pointer and keys do in the graph window, and opening it: clicks
// move the time point, the cross-hair or the histogram marker; drags of
// buttons 2 and 3 select a range; arrows move the plotted limits.
#include <cmath>
#include <cstdio>

#include "zor_colour.h"
#include "zor_compose.h"
#include "zor_graph.h"
#include "zor_time_model.h"
#include "zor_x11.h"

namespace {
// Pointer state of the last graph event, to notice a change of item.
int last_cursor_selection = 0;
int last_text_selection = 0;
// The low end of a range selection, in data units.
float low_select_value = 0.0f;
float high_select_value = 0.0f;

bool on_data(void) { return graph.cursor_selection & GRAPH_CURSOR_ON_DATA; }
bool on_text(void) { return graph.cursor_selection & GRAPH_CURSOR_ON_TEXT; }

// The next multiple of 5 beyond a percent limit, up or down.
float next_multiple_of_five(float v, int up) {
  float q = v / 5.0f;
  float m = up ? floorf(q) + 1.0f : ceilf(q) - 1.0f;
  return m * 5.0f;
}
}  // namespace

void graph_actions_reset(void) {
  last_cursor_selection = 0;
  last_text_selection = 0;
  low_select_value = high_select_value = 0.0f;
}

void action_bring_up_graph(void) {
  if (mosaic.stack->nt > 1) {
    graph.type = 1;
    initialize_graph();
    make_XWindow_graph();
    label_graph_window();  // the new window's title
  } else if (graph.type == 0 && graph.size.x != 0 && XWindow_graph != 0) {
    XRaiseWindow(XConnection, XWindow_graph);
  } else {
    graph.type = 0;
    graph.space_model = 0;
    initialize_graph();
    make_XWindow_graph();
    label_graph_window();
  }
  fill_graph_vector();
  modify_graph_vector();
  graph.update_regions |= GRAPH_REBUILD;
}

void action_new_graph_type(void) {
  graph.type = !graph.type;
  initialize_graph();
  label_graph_window();
  mosaic.update_regions |= REGION_IMAGES;
  graph.update_regions |= GRAPH_REBUILD | GRAPH_MENUS;
}

void action_new_graph_space(int button) {
  int m = graph.space_model + (button == 1 ? 1 : -1);
  if (m > 3) m = 0;
  if (m < 0) m = 3;
  graph.space_model = m;
  initialize_graph();
  label_graph_window();
  mosaic.update_regions |= REGION_IMAGES;
  graph.update_regions |= GRAPH_REBUILD | GRAPH_MENUS;
}

void action_graph_motion_notify(void) {
  if (on_data()) graph.update_regions |= GRAPH_INFO_MOTION;
  if (graph.cursor_selection != last_cursor_selection ||
      graph.text_selection != last_text_selection)
    graph.update_regions |= GRAPH_MENUS;
  last_cursor_selection = graph.cursor_selection;
  last_text_selection = graph.text_selection;
}

void action_graph_button1(void) {
  if (on_data()) {
    set_graph_location();
    mosaic.update_regions |= REGION_IMAGES | REGION_INFO;
    graph.update_regions |= GRAPH_MARKER | GRAPH_MENUS;
  } else if (on_text()) {
    action_graph_text_selection(1);
  }
}

void action_graph_button23(int press) {
  if (press) {
    // A press off the curve starts no selection: its release then has no low end.
    graph.ix_low_select = on_data() ? graph.icursor.x : -1;
    if (!on_data() && on_text()) action_graph_text_selection(2);
    low_select_value = graph.cursor.x;
    return;
  }
  if (!on_data() || graph.ix_low_select < 0) {
    if (graph.type == 1 && (graph.ix_low_select >= 0 || on_data())) {
      puts("The selection must start and end on the curve: nothing was changed.");
      fflush(stdout);
    }
    return;
  }
  graph.ix_high_select = graph.icursor.x;
  high_select_value = graph.cursor.x;
  if (graph.ix_high_select < graph.ix_low_select) {
    int i = graph.ix_low_select;
    graph.ix_low_select = graph.ix_high_select;
    graph.ix_high_select = i;
    float v = low_select_value;
    low_select_value = high_select_value;
    high_select_value = v;
  }
  if (graph.type == 0 && graph.space_model != 0) {
    graph.update_regions |= GRAPH_REBUILD;
  } else if (graph.type == 1) {
    action_graph_button23_TimeSeriesModel();
    graph.update_regions |= GRAPH_REBUILD;
  } else if (graph.type == 0) {
    image_scale_min = low_select_value;
    image_scale_max = high_select_value;
    action_rescale_image_from_graph();
    graph.update_regions |= GRAPH_REBUILD;
    mosaic.update_regions |= REGION_IMAGES | REGION_COLORBAR_LABEL;
  }
}

void action_rescale_image_from_graph(void) {
  const float xscale = (float)(graph.npoints - 1) / (graph.Max.x - graph.Min.x);
  image_scale_min = (float)graph.ix_low_select / xscale + graph.Min.x;
  image_scale_max = (float)graph.ix_high_select / xscale + graph.Min.x;
  rescale_image_settings();
  if (graph.type == 0 && graph.space_model == 0) graph.update_regions |= GRAPH_REBUILD;
}

void action_graph_arrow_left_right(int left) {
  if (on_text()) {
    action_graph_text_selection(left ? 1 : 2);
  } else {
    const float range = graph.Max.x - graph.Min.x;
    const float d = (left ? -range : range) / 10.0f;
    // The pointer's third of the plot, in pixels of the data area.
    const int x = graph_pointer_x();
    if (x >= 2 * graph.size.x / 3) {
      graph.Max.x += d;
    } else if (x < graph.size.x / 3) {
      graph.Min.x += d;
    } else {
      const float half_bin = (range / (float)graph.histogram_bins) / 2.0f;
      graph.hist_marker += left ? -half_bin : half_bin;
      graph.update_regions |= GRAPH_MARKER;
    }
  }
  graph.fixed.x = 1;
  graph.update_regions |= GRAPH_REBUILD | GRAPH_MENUS;
}

void action_graph_arrow_up_down(int up) {
  if (on_text()) {
    action_graph_text_selection(up ? 1 : 2);
  } else {
    // Upper half of the plot: the upper limit; lower half: the lower one.
    float *limit = graph.icursor.y >= 0 && graph.icursor.y < graph.size.y / 2 ? &graph.Max.y
                                                                             : &graph.Min.y;
    if (graph.units_percent) {
      if (fabsf(*limit) < 10.0f)
        *limit += up ? 1.0f : -1.0f;
      else
        *limit = next_multiple_of_five(*limit, up);
    } else {
      const float span = (graph.Max.y - graph.Min.y) / 10.0f;
      *limit = change_limit(*limit, up ? span : -span);
    }
  }
  graph.fixed.y = 1;
  graph.update_regions |= GRAPH_REBUILD | GRAPH_MENUS;
}

void action_change_graph_units(void) {
  if (graph.type != 1) return;
  graph.units_percent = !graph.units_percent;
  graph.fixed.y = 0;
  modify_graph_vector();
  graph.update_regions |= GRAPH_REBUILD;
}

// "l" and its menu item: back to the time point shown before the last step.
void action_display_last_time_point(void) {
  if (graph.type != 1) return;
  set_mosaic_SpaceMatrix(graph.iLastTime);
  mosaic.update_regions |= REGION_IMAGES | REGION_INFO;
  graph.update_regions |= GRAPH_MARKER | GRAPH_MENUS;
}
