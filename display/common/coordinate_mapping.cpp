// Space (millimetres), fractional voxel indices and pixels of the image
// region. Everything drawn over the image passes through here.
#include <cmath>
#include <cstdio>

#include "zor_compose.h"
#include "zor_geometry.h"

namespace {

int warned_off_stack = 0;

float axis_value(const POINT3D &p, int a) { return a == 0 ? p.x : (a == 1 ? p.y : p.z); }

// Whether a fractional voxel lies on a shown plane or slice, warning once
// about an in-plane position off the stack.
int voxel_on_slice(POINT3D rv) {
  int h, v, n;
  plane_axis_indices(mosaic.display_3orthogonal ? ORTHO_XY : mosaic.mosaic_orientation, &h, &v, &n);
  const float s = axis_value(rv, n);
  int on = 0;
  if (mosaic.display_3orthogonal) {
    on = fabsf(s - (float)axis_value(POINT3D{(float)mosaic.icross.x, (float)mosaic.icross.y,
                                              (float)mosaic.icross.z}, n)) <= 0.01f;
  } else if (mosaic.display_slice) {
    for (int j = 0; j < mosaic.DisplayVolumeDim.z && !on; j++)
      on = mosaic.display_slice[j] && fabsf(s - (float)j) <= 0.01f;
  }
  if (on && !warned_off_stack) {
    const IPOINT3D &d = mosaic.stack->dim;
    float dims[3] = {(float)d.x, (float)d.y, (float)d.z};
    bool outside = axis_value(rv, h) < 0.0f || axis_value(rv, h) > dims[h] ||
                   axis_value(rv, v) < 0.0f || axis_value(rv, v) > dims[v];
    if (outside) {
      puts("Warning: a coordinate is out of range on x or y but not z.");
      puts("Check your coordinate system or wire frame coordinates.");
      warned_off_stack = 1;
    }
  }
  return on;
}

}  // namespace

void plane_axis_indices(int orientation, int *h, int *v, int *n) {
  switch (orientation) {
    case ORTHO_ZY: *h = 2, *v = 1, *n = 0; return;
    case ORTHO_XZ: *h = 0, *v = 2, *n = 1; return;
    case ORTHO_YZ: *h = 1, *v = 2, *n = 0; return;
    default: *h = 0, *v = 1, *n = 2; return;
  }
}

void coordinates_on_slice_reset(void) { warned_off_stack = 0; }

int coordinates_on_slice(POINT3D point) {
  return voxel_on_slice(Convert_Space_to_rVoxel(point, mosaic.stack));
}

IPOINT2D mosaic_panel_origin(int k) {
  const int Z = mosaic.zoom_window;
  const IPOINT2D p = panel_size_for_orientation(mosaic.mosaic_orientation);
  const int columns = mosaic.DimPanels.x > 0 ? mosaic.DimPanels.x : 1;
  const int c = k % columns, r = k / columns;
  return IPOINT2D{Z * (p.x * c + c + 1), Z * (p.y * r + r + 1)};
}

IPOINT2D Convert_3DMosaicIndex_to_Pixel(int which_orientation, POINT3D DataIndex,
                                        int CenterPixel) {
  int h, v, n;
  plane_axis_indices(which_orientation, &h, &v, &n);
  const float slice = axis_value(DataIndex, n);
  const float tolerance = mosaic.DisplayVolumeRes.z / 100.0f;
  int k = -1, found = 0;
  for (int j = 0; j < mosaic.DisplayVolumeDim.z && mosaic.display_slice; j++) {
    if (!mosaic.display_slice[j]) continue;
    k++;
    if (fabsf((float)j - slice) <= tolerance) {
      found = 1;
      break;
    }
  }
  // The flip moves only in-plane axes, so the slice test sees the data's
  // own coordinates.
  if (!found || !voxel_on_slice(DataIndex)) return IPOINT2D{-1, -1};
  const int Z = mosaic.zoom_window;
  const POINT3D &R = mosaic.PixelResolution;
  const IPOINT2D origin = mosaic.display_3orthogonal ? IPOINT2D{Z, Z} : mosaic_panel_origin(k);
  IPOINT2D pixel{origin.x + (int)truncf((float)Z * axis_value(R, h) * axis_value(DataIndex, h)),
                 origin.y + (int)truncf((float)Z * axis_value(R, v) * axis_value(DataIndex, v))};
  if (CenterPixel) {
    pixel.x += Z / 2;
    pixel.y += mosaic.flip_X11_y ? -(Z / 2) : Z / 2;
  }
  return pixel;
}

IPOINT2D Convert_rVoxel_to_Pixel(int which_slice, POINT3D DataIndex, int CenterPixel) {
  const int which_orientation = which_slice == MOSAIC ? mosaic.mosaic_orientation : which_slice;
  const POINT3D F = flip_vertical_DataIndex(which_orientation, DataIndex);
  if (which_slice == MOSAIC) return Convert_3DMosaicIndex_to_Pixel(which_orientation, F, CenterPixel);
  const POINT3D &R = mosaic.PixelResolution;
  const IPOINT3D &D = mosaic.PixelDim;
  const float Z = (float)mosaic.zoom_window;
  float x, y;
  switch (which_orientation) {
    case ORTHO_ZY:
      x = ((float)D.x + F.z * R.z + 2.0f) * Z;
      y = (F.y * R.y + 1.0f) * Z;
      break;
    case ORTHO_XZ:
      x = (F.x * R.x + 1.0f) * Z;
      y = ((float)D.y + F.z * R.z + 2.0f) * Z;
      break;
    case ORTHO_YZ:
      x = ((float)D.x + F.y * R.y + 2.0f) * Z;
      y = ((float)D.y + F.z * R.z + 2.0f) * Z;
      break;
    default:
      x = (F.x * R.x + 1.0f) * Z;
      y = (F.y * R.y + 1.0f) * Z;
      break;
  }
  IPOINT2D pixel{(int)truncf(x), (int)truncf(y)};
  if (CenterPixel) {
    const int half = mosaic.zoom_window / 2;
    pixel.x += half;
    pixel.y += mosaic.flip_X11_y ? -half : half;
  }
  return pixel;
}

IPOINT2D Convert_Space_to_Pixel(int which_orientation, POINT3D Space, int CenterPixel) {
  return Convert_rVoxel_to_Pixel(which_orientation, Convert_Space_to_rVoxel(Space, mosaic.stack),
                                 CenterPixel);
}
