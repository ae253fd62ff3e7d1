// Geometry of the image window: how many panels, how many pixels per voxel
// and how large each region is. Everything here is arithmetic on the display
// state and the shown stack; nothing speaks to the X server.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "zor_alloc.h"
#include "zor_display_state.h"

namespace {

// What the previous layout saw, so that a user's slice choice survives a
// rebuild that changes neither the slice count nor the orientation.
int save_DisplayVolumeDimZ = -1;
int save_DimPanelsZ = -1;
int save_mosaic_orientation = -100;
// Whether the warning about unusable voxel sizes was given in this run.
int warned_voxel_size = 0;
// Whether the last layout held a volume's extent at LAYOUT_PIXEL_LIMIT.
bool layout_held = false;

// One row of the hand-tuned panel table: slice counts up to `last` get
// nx columns and ny rows.
struct PanelRow {
  int last, nx, ny;
};

// Tested top down. 17 is answered by the 19-20 row on purpose: the table
// was tuned by eye and is not a formula.
const PanelRow panel_table[] = {
    {1, 1, 1},    {2, 2, 1},    {3, 3, 1},    {4, 2, 2},    {6, 3, 2},    {8, 4, 2},
    {9, 3, 3},    {10, 5, 2},   {12, 4, 3},   {15, 5, 3},   {16, 4, 4},
};
const PanelRow panel_table_above_18[] = {
    {20, 5, 4},   {21, 7, 3},   {24, 6, 4},   {25, 5, 5},   {28, 7, 4},   {30, 6, 5},
    {36, 6, 6},   {40, 8, 5},   {42, 7, 6},   {48, 8, 6},   {49, 7, 7},   {56, 8, 7},
    {64, 8, 8},   {81, 9, 9},   {100, 10, 10}, {108, 12, 9}, {121, 11, 11}, {128, 16, 8},
    {144, 12, 12}, {169, 13, 13}, {196, 14, 14}, {225, 15, 15},
};

// Whole pixels a voxel run of `count` voxels takes: the product, truncated,
// plus one whenever the truncation lost anything. Extreme ratios of voxel
// sides are held at a size that no screen shows anyway, so that the sums
// below stay exact and fitting to the screen still works.
int pixels_for(int count, float pixels_per_voxel) {
  float product = (float)count * pixels_per_voxel;
  if (!(product < (float)LAYOUT_PIXEL_LIMIT)) {
    layout_held = true;
    return LAYOUT_PIXEL_LIMIT;
  }
  int pixels = (int)product;
  if ((float)pixels != product) pixels += 1;
  return pixels;
}

int clip_to_int(int64_t value) {
  return value > INT32_MAX ? INT32_MAX : (int)value;
}

}  // namespace

void automatically_set_panels(int nslices, int *nx, int *ny) {
  for (const PanelRow &row : panel_table) {
    if (nslices <= row.last) {
      *nx = row.nx;
      *ny = row.ny;
      return;
    }
  }
  if (nslices == 18) {
    *nx = 6;
    *ny = 3;
    return;
  }
  for (const PanelRow &row : panel_table_above_18) {
    if (nslices <= row.last) {
      *nx = row.nx;
      *ny = row.ny;
      return;
    }
  }
  *nx = 16;
  *ny = 16;
}

void compute_display_size_reset(void) {
  save_DisplayVolumeDimZ = -1;
  save_DimPanelsZ = -1;
  save_mosaic_orientation = -100;
  warned_voxel_size = 0;
}

static float usable_side(float side) { return std::isnormal(side) && side > 0.0f ? side : 1.0f; }

POINT3D display_voxel_size(const data_stack *stack) {
  const POINT3D &r = stack->resolution;
  return POINT3D{usable_side(r.x), usable_side(r.y), usable_side(r.z)};
}

// Tells once per run that some voxel sides cannot be drawn as they are.
static void warn_about_voxel_size(const data_stack *stack) {
  const POINT3D &r = stack->resolution;
  const POINT3D shown = display_voxel_size(stack);
  if (warned_voxel_size || (shown.x == r.x && shown.y == r.y && shown.z == r.z)) return;
  printf("Warning: voxel size (%g,%g,%g) cannot be displayed; such sides are shown as 1.\n", r.x, r.y,
         r.z);
  fflush(stdout);
  warned_voxel_size = 1;
}

IPOINT2D panel_size_for_orientation(int orientation) {
  const IPOINT3D &p = mosaic.PixelDim;
  switch (orientation) {
    case ORTHO_ZY: return IPOINT2D{p.z, p.y};
    case ORTHO_XZ: return IPOINT2D{p.x, p.z};
    case ORTHO_YZ: return IPOINT2D{p.y, p.z};
    default: return IPOINT2D{p.x, p.y};
  }
}

// Volume dimensions and voxel sizes in display order, and the voxel side
// that gets one display pixel.
static float set_display_volume(void) {
  const data_stack *s = mosaic.stack;
  IPOINT3D d = s->dim;
  POINT3D r = display_voxel_size(s);
  if (mosaic.display_3orthogonal) {
    mosaic.DisplayVolumeDim = d;
    mosaic.DisplayVolumeRes = r;
    return std::min(r.x, std::min(r.y, r.z));
  }
  switch (mosaic.mosaic_orientation) {
    case ORTHO_ZY:
      mosaic.DisplayVolumeDim = IPOINT3D{d.z, d.y, d.x};
      mosaic.DisplayVolumeRes = POINT3D{r.z, r.y, r.x};
      break;
    case ORTHO_XZ:
      mosaic.DisplayVolumeDim = IPOINT3D{d.x, d.z, d.y};
      mosaic.DisplayVolumeRes = POINT3D{r.x, r.z, r.y};
      break;
    case ORTHO_YZ:
      mosaic.DisplayVolumeDim = IPOINT3D{d.y, d.z, d.x};
      mosaic.DisplayVolumeRes = POINT3D{r.y, r.z, r.x};
      break;
    default:
      mosaic.DisplayVolumeDim = d;
      mosaic.DisplayVolumeRes = r;
      break;
  }
  return std::min(mosaic.DisplayVolumeRes.x, mosaic.DisplayVolumeRes.y);
}

// Which slices the mosaic shows. A reduced set starts as a centred run and
// is kept as long as the slice count and the orientation stay the same.
static void choose_display_slices(void) {
  int nz = mosaic.DisplayVolumeDim.z;
  if (nz != save_DisplayVolumeDimZ) {
    free(mosaic.display_slice);
    mosaic.display_slice = (int *)malloc(sizeof(int) * (size_t)std::max(nz, 1));
    if (!mosaic.display_slice) alloc_error("allocation failure in compute_display_size()");
    for (int k = 0; k < nz; k++) mosaic.display_slice[k] = 1;
    if (mosaic.DimPanels.z > nz) mosaic.DimPanels.z = nz;
  }
  if (mosaic.DimPanels.z == 0) mosaic.DimPanels.z = nz;
  if (mosaic.DimPanels.z == nz) {
    for (int k = 0; k < nz; k++) mosaic.display_slice[k] = 1;
  } else if (mosaic.DimPanels.z < nz &&
             (mosaic.DimPanels.z != save_DimPanelsZ || nz != save_DisplayVolumeDimZ ||
              mosaic.mosaic_orientation != save_mosaic_orientation)) {
    for (int k = 0; k < nz; k++) mosaic.display_slice[k] = 0;
    int h = nz / 2;
    int n = mosaic.DimPanels.z / 2;
    int last = (mosaic.DimPanels.z % 2) ? h + n : h + n - 1;
    for (int k = h - n; k <= last; k++)
      if (k >= 0 && k < nz) mosaic.display_slice[k] = 1;
  }
}

static void choose_panel_grid(void) {
  IPOINT3D &panels = mosaic.DimPanels;
  if (panels.x != 0 && panels.z == save_DimPanelsZ) {
    // Keep the user's column count; enough rows to hold the panels.
    int y = panels.z;
    while (y > 1 && (int64_t)(y - 1) * panels.x >= panels.z) y--;
    panels.y = y;
  } else {
    automatically_set_panels(panels.z, &panels.x, &panels.y);
  }
  save_mosaic_orientation = mosaic.mosaic_orientation;
  save_DimPanelsZ = panels.z;
  save_DisplayVolumeDimZ = mosaic.DisplayVolumeDim.z;
}

void compute_display_size(IPOINT2D *RoughDisplaySize, float PixelScale) {
  warn_about_voxel_size(mosaic.stack);
  float pixel_resolution = set_display_volume();
  choose_display_slices();
  choose_panel_grid();

  const data_stack *s = mosaic.stack;
  const POINT3D r = display_voxel_size(s);
  float unit = pixel_resolution * PixelScale;
  layout_held = false;
  mosaic.PixelResolution.x = r.x / unit;
  mosaic.PixelResolution.y = r.y / unit;
  mosaic.PixelResolution.z = r.z / unit;
  mosaic.PixelDim.x = pixels_for(s->dim.x, mosaic.PixelResolution.x);
  mosaic.PixelDim.y = pixels_for(s->dim.y, mosaic.PixelResolution.y);
  mosaic.PixelDim.z = pixels_for(s->dim.z, mosaic.PixelResolution.z);

  // Sizes are summed in 64 bits and kept within int: a zoom asked for on
  // the command line may be any positive number.
  int64_t Z = std::max(mosaic.zoom_window, 1);
  const IPOINT3D &p = mosaic.PixelDim;
  int64_t region_x, region_y;
  if (mosaic.display_3orthogonal) {
    int64_t W = mosaic.display_ortho_ZY ? p.z : p.y;
    region_x = Z * (p.x + 3 + W);
    region_y = Z * ((int64_t)p.y + 3 + p.z);
  } else {
    IPOINT2D panel = panel_size_for_orientation(mosaic.mosaic_orientation);
    int64_t nx = mosaic.DimPanels.x, ny = mosaic.DimPanels.y;
    region_x = Z * (panel.x * nx + nx + 1);
    region_y = Z * (panel.y * ny + ny + 1);
  }
  mosaic.ImageRegionPixels.x = clip_to_int(region_x);
  mosaic.ImageRegionPixels.y = clip_to_int(region_y);

  if (mosaic.Attach_ColorBar)
    mosaic.nx_ColorBar = std::clamp(mosaic.ImageRegionPixels.x / 8, 50, 100);
  else
    mosaic.nx_ColorBar = 0;

  RoughDisplaySize->x = clip_to_int((int64_t)mosaic.ImageRegionPixels.x + mosaic.nx_ColorBar +
                                    mosaic.nx_RightPanel);
  RoughDisplaySize->y =
      clip_to_int((int64_t)mosaic.ImageRegionPixels.y + TOP_MENU_HEIGHT + BOTTOM_STRIP_HEIGHT);
}

void set_bottom_strip_widths(void) {
  const IPOINT2D &R = mosaic.ImageRegionPixels;
  int full_width = clip_to_int((int64_t)R.x + mosaic.nx_ColorBar + std::max(mosaic.nx_RightPanel, 1));
  lPixelsX_ImageInfoArea = std::min(R.x - 1, 300);
  lXBottomMenu = lPixelsX_ImageInfoArea;
  lPixelsX_BottomMenu = std::max(full_width - lXBottomMenu, 1);
}

// Share of the screen the image window may take.
static const float screen_factor = 0.9f;

static float screen_ratio(IPOINT2D rough, int screen_width, int screen_height) {
  float rx = (float)rough.x / ((float)screen_width * screen_factor);
  float ry = (float)rough.y / ((float)screen_height * screen_factor);
  return std::max(rx, ry);
}

void choose_image_window_geometry(int screen_width, int screen_height, int first_call) {
  if (first_call && mosaic.zoom_window == 0) {
    int64_t m = std::max((int64_t)mosaic.DimPanels.x * mosaic.PixelDim.x,
                         (int64_t)mosaic.DimPanels.y * mosaic.PixelDim.y);
    int zoom = (int)((float)(screen_width / std::max<int64_t>(m, 1)) * 0.75f);
    mosaic.zoom_window = std::clamp(zoom, 1, 4);
  }
  // No zoom above the screen's width can fit (a region is at least three
  // display pixels wide), so stepping down starts there at the latest.
  if (mosaic.zoom_window > screen_width) mosaic.zoom_window = std::max(screen_width, 1);
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  float ratio = screen_ratio(rough, screen_width, screen_height);
  // Zoom gives way first; only at zoom 1 is the data undersampled.
  while (ratio > 1.0f && mosaic.zoom_window >= 2) {
    mosaic.zoom_window -= 1;
    compute_display_size(&rough, 1.0f);
    ratio = screen_ratio(rough, screen_width, screen_height);
  }
  if (ratio < 1.0f) ratio = 1.0f;
  compute_display_size(&rough, ratio);
  // Voxel sides of wildly different sizes hold an extent at the limit, so
  // that one ratio does not reach the screen: scale again by what is left.
  const bool held = layout_held;
  for (int pass = 0; pass < 16 && held; pass++) {
    float rest = screen_ratio(rough, screen_width, screen_height);
    if (!(rest > 1.0f) || !std::isfinite(ratio * rest)) break;
    ratio *= rest;
    compute_display_size(&rough, ratio);
  }
  mosaic.PixelScale = ratio;
  set_bottom_strip_widths();
}

IPOINT2D image_window_size(void) {
  int64_t width = (int64_t)mosaic.ImageRegionPixels.x + mosaic.nx_ColorBar + std::max(mosaic.nx_RightPanel, 1);
  int64_t height = (int64_t)mosaic.ImageRegionPixels.y + TOP_MENU_HEIGHT + BOTTOM_STRIP_HEIGHT;
  return IPOINT2D{clip_to_int(width), clip_to_int(height)};
}

int image_window_fits_x(void) {
  IPOINT2D size = image_window_size();
  return size.x <= X_MAX_SIDE && size.y <= X_MAX_SIDE;
}
