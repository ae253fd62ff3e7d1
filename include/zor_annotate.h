// What lies over the composed panels: cross-hairs, frames around the active
// plane, slice-selection borders, position labels and tick grids, vector
// fields, wire frames and the position read-out of the information line.
// Lines are drawn on the window and redrawn after each copy of the image
// region; frames go into the image pixmap. The geometry of each is a pure
// function (the *_segments and *_text helpers) so that it can be checked
// without a server.
#ifndef ZOR_ANNOTATE_H
#define ZOR_ANNOTATE_H

#include <string>
#include <vector>

#include "zor_overlay.h"
#include "zor_types.h"

// A line of the image region (pixels from its top-left corner) in a colour
// of defined_colors.
struct annotation_line {
  IPOINT2D from, to;
  int color;
};
// A text at a pixel of the image region.
struct annotation_text {
  IPOINT2D at;
  std::string text;
};

// Cross-hairs: itype 0 full lines, 1 a short cross of 5 voxels each way.
std::vector<annotation_line> crosshair_segments(int itype);
void draw_crosshairs(int itype);

// Red frame on the plane under the pointer, cyan on the others.
void highlight_active_image_plane(void);
void highlight_active_image_plane_reset(void);
// The frame's bars: where each bar image of a panel goes in the pixmap.
struct frame_bar {
  int which;  // 0 lineX, 1 lineY, 2 lineY1, 3 lineZ1, 4 lineZ2
  IPOINT2D at;
};
std::vector<frame_bar> panel_frame_bars(int which_panel);
void highlight_image_panel(int which_panel, int color);
// Borders of the mosaic's panels while slices are chosen: red where the
// slice is chosen, cyan elsewhere (window coordinates).
std::vector<annotation_line> slice_border_segments(int nz, const int *display_slice);
void update_borders_for_slices(int nz, int *display_slice);

// Tick marks every istep millimetres at both edges of a plane (iZ: slice
// of a mosaic panel, or -1 for the plane through the cross).
std::vector<annotation_line> horizontal_tick_segments(int which_orientation, int istep, int iZ);
std::vector<annotation_line> vertical_tick_segments(int which_orientation, int istep, int iZ);
void horizontal_ticks_on_axis(int which_orientation, int istep, int iZ);
void vertical_ticks_on_axis(int which_orientation, int istep, int iZ);
// The plane position labels of the three planes or of each mosaic panel.
std::vector<annotation_text> plane_labels_ortho(void);
std::vector<annotation_text> plane_labels_mosaic(void);
void label_planes_ortho(void);
void label_planes_mosaic(void);
// Forgets that the tick step was announced.
void label_planes_reset(void);

// Vector field: a headless line per voxel above the low threshold.
std::vector<annotation_line> vector_field_segments(void);
void draw_vector_field(void);

// A cubic Bezier segment of four control points sampled at number_points
// points; z is that of the first point.
void ComputeBezier(POINT3D *point_control, int number_points, POINT3D *wire_draw);
// The curves of wire_root (lines) and the open wire's control points
// (points: lines of one pixel).
std::vector<annotation_line> wire_frame_segments(std::vector<annotation_line> *points);
void draw_wire_frames(void);

// The three lines of the information line for the pointer or the cross.
void information_text_image(char *line1, char *line2, char *line3);
void show_information_text_image(void);

#endif
