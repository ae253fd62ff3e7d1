// The graph window's content: the curve under the cross-hair (a time course
// at a voxel or over the working region, a profile along x, y or z, or a
// histogram of the shown volume), its limits and scaling, the marker, the
// read-out under the pointer, and what the pointer and keys do there. The
// record itself, `graph`, is in zor_display_state.h.
#ifndef ZOR_GRAPH_H
#define ZOR_GRAPH_H

#include "zor_display_state.h"
#include "zor_types.h"

// Pending work of the graph window (graph.update_regions).
enum {
  GRAPH_REBUILD = 0x1,      // build_graph_display(1): new data picture
  GRAPH_MARKER = 0x2,       // build_graph_display(0): copy and marker only
  GRAPH_MENUS = 0x4,        // the menus and the information line
  GRAPH_INFO = 0x8,         // the information line
  GRAPH_INFO_MOTION = 0x10  // the information line for a pointer motion
};

// Where the pointer is in the graph window (graph.cursor_selection).
enum {
  GRAPH_CURSOR_WINDOW = 0x1,
  GRAPH_CURSOR_ON_DATA = 0x2,
  GRAPH_CURSOR_ON_TEXT = 0x4,
  GRAPH_CURSOR_ON_NOTHING = 0x8
};

// Heights of the strips above and below the data area: the window is
// graph.size.y + 60 high, and the info area at most 200 pixels wide.
enum { GRAPH_TOP_STRIP = 15, GRAPH_BOTTOM_STRIP = 45, GRAPH_INFO_WIDTH = 200 };

// The record's defaults (first call), the per-graph settings, the vectors
// at the length the graph type needs, then the first data.
void initialize_graph(void);
// Frees the vectors and forgets every call, as at the start of a run.
void graph_reset(void);

void fill_graph_vector(void);
void modify_graph_vector(void);
void update_graph_data(int UpdateGraphData);
void smooth_graph_vector(float *RawXVector, float *RawYVector, float *SmoothXVector,
                         float *SmoothYVector);
void bin_graph_vector(int nbins, float *RawXVector, float *RawYVector, float *BinXVector,
                      float *BinYVector);
// The vectors actually plotted: smoothed or binned time courses, the plain
// values elsewhere. Returns their count; the arrays hold graph.npoints.
int reduce_graph_vectors(float *BinXVector, float *BinYVector);
// Min, Max (unless fixed) and ScaleDraw from the plotted vectors.
void compute_graph_limits(void);

void build_graph_display(int Redraw);
void build_graph_display_XYZT(int Redraw);
void plot_DataPoints(int nbins, float *BinXVector, float *BinYVector);
void plot_graph_projection_secondary_data(void);
IPOINT2D Space2D_to_GraphPixels(POINT2D Space2D);
// Data x of the marker, and whether the marker shows at all.
int graph_marker_x(float *x);

void define_graph_cursor_location(int x2d, int y2d);
// Window x of the pointer when the graph window last located it.
int graph_pointer_x(void);
void set_graph_location(void);
void increment_graph_location(int change_time);
void decrement_graph_location(int change_time);
void increment_graph_location_time(void);
void decrement_graph_location_time(void);

void show_information_graph(int move_cursor);
void show_position_graph(int move_cursor);
// The three lines show_position_graph puts on the information line; returns
// 0 when nothing is to be shown.
int position_text_graph(int move_cursor, char *line1, char *line2, char *line3);
void label_graph_window(void);
// The title label_graph_window gives the window.
void graph_window_title(char *title);

// Actions of the graph window.
void action_bring_up_graph(void);
void action_new_graph_type(void);
void action_new_graph_space(int button);
void action_graph_motion_notify(void);
void action_graph_button1(void);
void action_graph_button23(int press);
void action_graph_arrow_left_right(int left);
void action_graph_arrow_up_down(int up);
void action_change_graph_units(void);
void action_rescale_image_from_graph(void);
void action_display_last_time_point(void);
// Forgets the pointer state kept between graph events.
void graph_actions_reset(void);

// Hit tests and menus of the graph window.
int CursorOnSelectableText_AboveGraphWindow(int ix_pos);
int CursorOnSelectableText_BelowGraphWindow(int ix_pos, int iy_pos);
void update_graph_selectable_text(void);
void draw_selectable_text_graph(void);
void action_graph_text_selection(int button);

#endif
