// Cross-hairs, the frames of the three planes and the borders of the slice
// chooser.
#include <algorithm>

#include "zor_annotate.h"
#include "zor_compose.h"
#include "zor_x11.h"

namespace {

// Orientation bit of the plane now framed in red, 0 for none.
int highlighted_plane = 0;

int axis_of(const IPOINT3D &p, int a) { return a == 0 ? p.x : (a == 1 ? p.y : p.z); }

// One segment along axis `a` through the cross, on a panel.
void add_segment(std::vector<annotation_line> &lines, int which_slice, int a, int itype) {
  const IPOINT3D &c = mosaic.icross;
  const int n = axis_of(mosaic.stack->dim, a);
  const int i = axis_of(c, a);
  int from = 0, to = n - 1;
  if (itype == 1) {
    from = std::max(i - 5, 0);
    to = std::min(i + 5, n - 1);
  }
  POINT3D p1{(float)c.x, (float)c.y, (float)c.z}, p2 = p1;
  float *a1 = a == 0 ? &p1.x : (a == 1 ? &p1.y : &p1.z);
  float *a2 = a == 0 ? &p2.x : (a == 1 ? &p2.y : &p2.z);
  *a1 = (float)from;
  *a2 = (float)to;
  lines.push_back({Convert_rVoxel_to_Pixel(which_slice, p1, 0),
                   Convert_rVoxel_to_Pixel(which_slice, p2, 0), COLOR_CYAN});
}

}  // namespace

std::vector<annotation_line> crosshair_segments(int itype) {
  std::vector<annotation_line> lines;
  if (!mosaic.display_3orthogonal) {
    int h = 0, v = 1;
    switch (mosaic.mosaic_orientation) {
      case ORTHO_ZY: h = 2, v = 1; break;
      case ORTHO_XZ: h = 0, v = 2; break;
      case ORTHO_YZ: h = 1, v = 2; break;
      default: h = 0, v = 1; break;
    }
    add_segment(lines, MOSAIC, h, itype);
    add_segment(lines, MOSAIC, v, itype);
    return lines;
  }
  add_segment(lines, ORTHO_XY, 0, itype);
  add_segment(lines, ORTHO_XZ, 0, itype);
  add_segment(lines, ORTHO_XY, 1, itype);
  add_segment(lines, ORTHO_XZ, 2, itype);
  int third = mosaic.display_ortho_ZY ? ORTHO_ZY : ORTHO_YZ;
  add_segment(lines, third, 1, itype);
  add_segment(lines, third, 2, itype);
  return lines;
}

void draw_crosshairs(int itype) {
  for (const annotation_line &l : crosshair_segments(itype))
    DPRIMITIVE_DrawLine(Drawable_ImageData, l.color, l.from, l.to);
}

std::vector<frame_bar> panel_frame_bars(int which_panel) {
  const int X = mosaic.PixelDim.x, Y = mosaic.PixelDim.y, Z = mosaic.PixelDim.z;
  const int zoom = mosaic.zoom_window;
  enum { lineX, lineY, lineY1, lineZ1, lineZ2 };
  switch (which_panel) {
    case ORTHO_XY:
      return {{lineX, {0, 0}}, {lineX, {0, zoom * (Y + 1)}},
              {lineY, {0, 0}}, {lineY, {zoom * (X + 1), 0}}};
    case ORTHO_ZY:
      return {{lineZ1, {zoom * (X + 1), 0}}, {lineZ1, {zoom * (X + 1), zoom * (Y + 1)}},
              {lineY, {zoom * (X + 1), 0}}, {lineY, {zoom * (X + 1 + Z + 1), 0}}};
    case ORTHO_XZ:
      return {{lineX, {0, zoom * (Y + 1)}}, {lineX, {0, zoom * (Y + 1 + Z + 1)}},
              {lineZ2, {0, zoom * (Y + 1)}}, {lineZ2, {zoom * (X + 1), zoom * (Y + 1)}}};
    default:
      return {{lineY1, {zoom * (X + 1), zoom * (Y + 1)}},
              {lineY1, {zoom * (X + 1), zoom * (Y + 1 + Z + 1)}},
              {lineZ2, {zoom * (X + 1), zoom * (Y + 1)}},
              {lineZ2, {zoom * (X + 1 + Y + 1), zoom * (Y + 1)}}};
  }
}

void highlight_image_panel(int which_panel, int color) {
  if (XWindow_image == 0) return;
  XImage *cyan[5] = {XImage_lineX_cyan, XImage_lineY_cyan, XImage_lineY1_cyan,
                     XImage_lineZ1_cyan, XImage_lineZ2_cyan};
  XImage *red[5] = {XImage_lineX_red, XImage_lineY_red, XImage_lineY1_red, XImage_lineZ1_red,
                    XImage_lineZ2_red};
  for (const frame_bar &b : panel_frame_bars(which_panel)) {
    XImage *image = color ? red[b.which] : cyan[b.which];
    XPutImage(XConnection, XPixmap_image, XGC_image, image, 0, 0, b.at.x, b.at.y,
              (unsigned)image->width, (unsigned)image->height);
  }
  refresh_display_image(1);
}

void highlight_active_image_plane_reset(void) { highlighted_plane = 0; }

void highlight_active_image_plane(void) {
  const int sel = mosaic.cursor_selection;
  const int plane_bits = CURSOR_PLANE_XY | CURSOR_PLANE_ZY | CURSOR_PLANE_XZ | CURSOR_PLANE_YZ;
  const int bit = (sel & CURSOR_ON_VOXEL) ? (sel & plane_bits) : 0;
  if (bit == highlighted_plane) return;
  const int third = mosaic.display_ortho_ZY ? ORTHO_ZY : ORTHO_YZ;
  const int shown[3] = {ORTHO_XY, third, ORTHO_XZ};
  int active = -1;
  switch (bit) {
    case CURSOR_PLANE_XY: active = ORTHO_XY; break;
    case CURSOR_PLANE_ZY: active = ORTHO_ZY; break;
    case CURSOR_PLANE_XZ: active = ORTHO_XZ; break;
    case CURSOR_PLANE_YZ: active = ORTHO_YZ; break;
    default: break;
  }
  for (int panel : shown)
    if (panel != active) highlight_image_panel(panel, 0);
  if (active >= 0) highlight_image_panel(active, 1);
  highlighted_plane = active >= 0 ? bit : 0;
}

std::vector<annotation_line> slice_border_segments(int nz, const int *display_slice) {
  std::vector<annotation_line> lines;
  const IPOINT2D p = panel_size_for_orientation(mosaic.mosaic_orientation);
  const int Z = mosaic.zoom_window;
  const int columns = mosaic.DimPanels.x > 0 ? mosaic.DimPanels.x : 1;
  // Red frames are drawn last so that they win where they touch cyan ones.
  for (int pass = 0; pass < 2; pass++)
    for (int k = 0; k < nz; k++) {
      if (pass == 1 && !display_slice[k]) continue;
      const int c = k % columns, r = k / columns;
      const int x1 = (p.x * c + c + 1) * Z - 1, x2 = x1 + Z * p.x + 2;
      const int y1 = (p.y * r + r + 1) * Z + 29, y2 = y1 + Z * p.y + 2;
      const int color = pass == 0 ? COLOR_CYAN : COLOR_RED;
      lines.push_back({{x1, y1}, {x2, y1}, color});
      lines.push_back({{x2, y1}, {x2, y2}, color});
      lines.push_back({{x2, y2}, {x1, y2}, color});
      lines.push_back({{x1, y2}, {x1, y1}, color});
    }
  return lines;
}

void update_borders_for_slices(int nz, int *display_slice) {
  for (const annotation_line &l : slice_border_segments(nz, display_slice))
    DPRIMITIVE_DrawLine(Drawable_ImageWindow, l.color, l.from, l.to);
}
