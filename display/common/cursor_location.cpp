// Where the pointer is in the image window: which region, which panel,
// which voxel, and the space coordinates under it.
#include <cmath>

#include "zor_annotate.h"
#include "zor_display_state.h"
#include "zor_geometry.h"
#include "zor_panels.h"

void reset_cursor_selections(void) {
  mosaic.cursor_selection = 0;
  mosaic.text_selection = 0;
  graph.cursor_selection = 0;
  graph.text_selection = 0;
  for (SelectableText *t = &mosaic.SelectText; t; t = t->next) t->selected = 0;
  for (SelectableText *t = &graph.SelectText; t; t = t->next) t->selected = 0;
}

// The menu strips: an item under the pointer, or nothing (above only).
void CursorSelection_AboveImageWindow(int x2d, int y2d) {
  const int id = CursorOnSelectableText_AboveImageWindow(x2d, y2d);
  if (id) {
    mosaic.cursor_selection |= CURSOR_ON_TEXT;
    mosaic.text_selection = id;
  } else {
    mosaic.cursor_selection |= CURSOR_ON_NOTHING;
  }
}

void CursorSelection_BelowImageWindow(int x2d, int y2d) {
  const int id = CursorOnSelectableText_BelowImageWindow(x2d, y2d);
  if (id) {
    mosaic.cursor_selection |= CURSOR_ON_TEXT;
    mosaic.text_selection = id;
  }
}

void CursorSelection_OnColorBar(int iy) {
  mosaic.cursor_selection |= CURSOR_ON_COLORBAR;
  int row = iy - TOP_MENU_HEIGHT - mosaic.zoom_window;
  if (row >= mosaic.ImageRegionPixels.y / 2)
    mosaic.cursor_selection |= CURSOR_COLORBAR_LOWER;
  else
    mosaic.cursor_selection |= CURSOR_COLORBAR_UPPER;
  mosaic.cursor.y = (float)row;
}

// Fills icursor and cursor (fractional voxel indices) from the in-plane
// position (h, v) and the slice, for a plane of the given orientation.
static void assign_plane_position(int orientation, float h, float v, float slice) {
  IPOINT3D &ic = mosaic.icursor;
  POINT3D &c = mosaic.cursor;
  int ih = (int)floorf(h), iv = (int)floorf(v), is = (int)floorf(slice);
  switch (orientation) {
    case ORTHO_ZY:
      mosaic.cursor_selection |= CURSOR_PLANE_ZY;
      ic = IPOINT3D{is, iv, ih};
      c = POINT3D{slice, v, h};
      break;
    case ORTHO_XZ:
      mosaic.cursor_selection |= CURSOR_PLANE_XZ;
      ic = IPOINT3D{ih, is, iv};
      c = POINT3D{h, slice, v};
      break;
    case ORTHO_YZ:
      mosaic.cursor_selection |= CURSOR_PLANE_YZ;
      ic = IPOINT3D{is, ih, iv};
      c = POINT3D{slice, h, v};
      break;
    default:
      mosaic.cursor_selection |= CURSOR_PLANE_XY;
      ic = IPOINT3D{ih, iv, is};
      c = POINT3D{h, v, slice};
      break;
  }
}

// In-plane pixels per voxel for a plane of the given orientation.
static POINT2D plane_resolution(int orientation) {
  const POINT3D &r = mosaic.PixelResolution;
  switch (orientation) {
    case ORTHO_ZY: return POINT2D{r.z, r.y};
    case ORTHO_XZ: return POINT2D{r.x, r.z};
    case ORTHO_YZ: return POINT2D{r.y, r.z};
    default: return POINT2D{r.x, r.y};
  }
}

// The slice shown by mosaic panel `panel`, counting shown slices only.
static int slice_of_panel(int panel) {
  int count = -1;
  for (int k = 0; k < mosaic.DisplayVolumeDim.z; k++) {
    if (mosaic.display_slice && mosaic.display_slice[k]) count++;
    if (count == panel) return k;
  }
  return -1;
}

static void locate_on_mosaic(int ipx, int ipy, float rx, float ry) {
  int orientation = mosaic.mosaic_orientation;
  IPOINT2D panel = panel_size_for_orientation(orientation);
  int column = 0, row = 0;
  while (ipx >= panel.x) {
    ipx -= panel.x + 1;
    rx -= (float)(panel.x + 1);
    column++;
  }
  while (ipy >= panel.y) {
    ipy -= panel.y + 1;
    ry -= (float)(panel.y + 1);
    row++;
  }
  mosaic.cursor_selection |= CURSOR_ON_MOSAIC_PANEL;
  POINT2D res = plane_resolution(orientation);
  int slice = slice_of_panel(row * mosaic.DimPanels.x + column);
  assign_plane_position(orientation, rx / res.x, ry / res.y, (float)slice);
}

static void locate_on_three_planes(int ipx, int ipy, float rx, float ry) {
  const IPOINT3D &p = mosaic.PixelDim;
  const POINT3D &res = mosaic.PixelResolution;
  const IPOINT3D &cross = mosaic.icross;
  bool right = ipx >= p.x;
  bool lower = ipy >= p.y;
  if (right) rx -= (float)(p.x + 1);
  if (lower) ry -= (float)(p.y + 1);
  if (!right && !lower) {
    assign_plane_position(ORTHO_XY, rx / res.x, ry / res.y, (float)cross.z);
  } else if (lower && !right) {
    assign_plane_position(ORTHO_XZ, rx / res.x, ry / res.z, (float)cross.y);
  } else if (right && !lower) {
    if (mosaic.display_ortho_ZY)
      assign_plane_position(ORTHO_ZY, rx / res.z, ry / res.y, (float)cross.x);
    else
      mosaic.cursor_selection |= CURSOR_PLANE_ZY | CURSOR_ON_NOTHING;
  } else {
    if (!mosaic.display_ortho_ZY)
      assign_plane_position(ORTHO_YZ, rx / res.y, ry / res.z, (float)cross.x);
    else
      mosaic.cursor_selection |= CURSOR_PLANE_YZ | CURSOR_ON_NOTHING;
  }
}

// Keeps the integer and fractional positions of one axis inside [0, n).
static bool clip_axis(int32_t *index, float *value, int n) {
  if (*index >= 0 && *index < n) return true;
  *index = 0;
  *value = 0.0f;
  return false;
}

void CursorSelection_OnImageWindow(int x2d, int y2d) {
  int Z = mosaic.zoom_window;
  int ipx = (x2d - Z) / Z;
  int ipy = (y2d - TOP_MENU_HEIGHT - Z) / Z;
  float rx = (float)(x2d - Z) / (float)Z;
  float ry = (float)(y2d - TOP_MENU_HEIGHT - Z) / (float)Z;
  if (ipx < 0 || ipy < 0) {
    mosaic.cursor_selection |= CURSOR_ON_NOTHING;
    return;
  }
  if (mosaic.display_3orthogonal)
    locate_on_three_planes(ipx, ipy, rx, ry);
  else
    locate_on_mosaic(ipx, ipy, rx, ry);

  const IPOINT3D &dim = mosaic.stack->dim;
  IPOINT3D &ic = mosaic.icursor;
  POINT3D &c = mosaic.cursor;
  bool inside = clip_axis(&ic.x, &c.x, dim.x);
  inside = clip_axis(&ic.y, &c.y, dim.y) && inside;
  inside = clip_axis(&ic.z, &c.z, dim.z) && inside;
  if (!(mosaic.cursor_selection & CURSOR_ON_NOTHING) && inside)
    mosaic.cursor_selection |= CURSOR_ON_VOXEL;
  else
    mosaic.cursor_selection |= CURSOR_OFF_STACK;

  flip_vertical_CursorIndex();

  // Space coordinates of the voxel's centre on the in-plane axes.
  int sel = mosaic.cursor_selection;
  const data_stack *s = mosaic.stack;
  c = Convert_rVoxel_to_Space(c, s);
  if (sel & (CURSOR_PLANE_XY | CURSOR_PLANE_XZ)) c.x -= s->resolution.x * s->direction.x / 2.0f;
  if (sel & (CURSOR_PLANE_XY | CURSOR_PLANE_ZY | CURSOR_PLANE_YZ))
    c.y -= s->resolution.y * s->direction.y / 2.0f;
  if (sel & (CURSOR_PLANE_ZY | CURSOR_PLANE_YZ)) c.z -= s->resolution.z * s->direction.z / 2.0f;
}

void define_mosaic_cursor_location(int x2d, int y2d) {
  mosaic.icursor = IPOINT3D{0, 0, 0};
  mosaic.cursor = POINT3D{0.0f, 0.0f, 0.0f};
  const IPOINT2D &R = mosaic.ImageRegionPixels;
  if (y2d < TOP_MENU_HEIGHT) {
    CursorSelection_AboveImageWindow(x2d, y2d);
  } else if (y2d < R.y + TOP_MENU_HEIGHT) {
    if (x2d > R.x + mosaic.nx_ColorBar)
      mosaic.cursor_selection |= CURSOR_ON_RIGHT_PANEL;
    else if (x2d <= R.x)
      CursorSelection_OnImageWindow(x2d, y2d);
    else
      CursorSelection_OnColorBar(y2d);
  } else {
    CursorSelection_BelowImageWindow(x2d, y2d - TOP_MENU_HEIGHT - R.y);
  }
  if (mosaic.display_3orthogonal) highlight_active_image_plane();
}

void flip_vertical_CursorIndex(void) {
  if (!mosaic.flip_X11_y) return;
  const IPOINT3D &dim = mosaic.stack->dim;
  int sel = mosaic.cursor_selection;
  if (sel & (CURSOR_PLANE_XY | CURSOR_PLANE_ZY)) {
    mosaic.icursor.y = dim.y - mosaic.icursor.y - 1;
    mosaic.cursor.y = (float)dim.y - mosaic.cursor.y;
  } else if (sel & (CURSOR_PLANE_XZ | CURSOR_PLANE_YZ)) {
    mosaic.icursor.z = dim.z - mosaic.icursor.z - 1;
    mosaic.cursor.z = (float)dim.z - mosaic.cursor.z;
  }
}

POINT3D flip_vertical_DataIndex(int which_panel, POINT3D Voxel) {
  if (!mosaic.flip_X11_y) return Voxel;
  const IPOINT3D &dim = mosaic.stack->dim;
  if (which_panel == ORTHO_XY || which_panel == ORTHO_ZY)
    Voxel.y = (float)dim.y - Voxel.y;
  else if (which_panel == ORTHO_XZ || which_panel == ORTHO_YZ)
    Voxel.z = (float)dim.z - Voxel.z;
  return Voxel;
}
