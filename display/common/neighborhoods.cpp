// Sampling tables: for each zoomed display pixel of a plane, the one, two or
// four voxels it shows and their normalised Lanczos weights. They exist so
// that no floating index, wrap or kernel is evaluated at pixel time.
#include <cmath>
#include <cstdlib>

#include "zor_compose.h"
#include "zor_special.h"

namespace {

struct PlaneAxes {
  int columns, rows;       // display pixels at zoom 1
  float rh, rv;            // display pixels per voxel
  int dh, dv;              // volume size along the plane's axes
};

PlaneAxes plane_axes(int which_slice) {
  const IPOINT3D &P = mosaic.PixelDim;
  const POINT3D &R = mosaic.PixelResolution;
  const IPOINT3D &d = mosaic.stack->dim;
  switch (which_slice) {
    case ORTHO_ZY: return {P.z, P.y, R.z, R.y, d.z, d.y};
    case ORTHO_XZ: return {P.x, P.z, R.x, R.z, d.x, d.z};
    case ORTHO_YZ: return {P.y, P.z, R.y, R.z, d.y, d.z};
    default: return {P.x, P.y, R.x, R.y, d.x, d.y};
  }
}

Neighborhood **table_of(int which_slice) {
  switch (which_slice) {
    case ORTHO_ZY: return &mosaic.NeighborsZY;
    case ORTHO_XZ: return &mosaic.NeighborsXZ;
    case ORTHO_YZ: return &mosaic.NeighborsYZ;
    default: return &mosaic.NeighborsXY;
  }
}

int *on_grid_of(int which_slice) {
  switch (which_slice) {
    case ORTHO_ZY: return &mosaic.OnGridZY;
    case ORTHO_XZ: return &mosaic.OnGridXZ;
    case ORTHO_YZ: return &mosaic.OnGridYZ;
    default: return &mosaic.OnGridXY;
  }
}

// Edges are periodic: an index past either end comes back from the other.
int wrap_index(int i, int size) {
  if (i < 0) i += size;
  if (i >= size) i -= size;
  return i;
}

// Distance from a data position to a neighbour index, the short way round.
float wrapped_distance(float position, int index, int size) {
  float dist = fabsf(position - (float)index);
  if (dist > (float)(size / 2)) dist = fabsf((float)size - dist);
  return dist;
}

float kernel(float x) { return (float)Lanczos_filter(2, (double)x); }

}  // namespace

IPOINT2D plane_pixel_size(int which_orientation) {
  PlaneAxes a = plane_axes(which_orientation);
  return IPOINT2D{a.columns, a.rows};
}

Neighborhood *plane_neighborhood(int which_orientation) { return *table_of(which_orientation); }

int plane_on_grid(int which_orientation) { return *on_grid_of(which_orientation); }

void create_neighborhood(int which_slice) {
  Neighborhood **table = table_of(which_slice);
  free(*table);  // null before the first build
  const PlaneAxes a = plane_axes(which_slice);
  const int Z = mosaic.zoom_window > 0 ? mosaic.zoom_window : 1;
  const int width = a.columns * Z, height = a.rows * Z;
  *table = (Neighborhood *)malloc(sizeof(Neighborhood) * (size_t)(width > 0 ? width : 1) *
                                  (size_t)(height > 0 ? height : 1));
  int largest = 1;
  for (int jy = 0; jy < height; jy++) {
    for (int jx = 0; jx < width; jx++) {
      float px, py;
      if (mosaic.interpolate) {
        px = ((float)jx + 0.5f) / (float)Z;
        py = ((float)jy + 0.5f) / (float)Z;
      } else {
        // A zoomed pixel repeats its display pixel.
        px = (float)(jx / Z);
        py = (float)(jy / Z);
      }
      float hpos = px / a.rh, vpos = py / a.rv;
      int fh = wrap_index((int)floorf(hpos), a.dh), ch = wrap_index((int)ceilf(hpos), a.dh);
      int fv = wrap_index((int)floorf(vpos), a.dv), cv = wrap_index((int)ceilf(vpos), a.dv);
      Neighborhood &n = (*table)[(size_t)width * jy + jx];
      const IPOINT2D N[4] = {{fh, fv}, {ch, fv}, {fh, cv}, {ch, cv}};
      if (fh != ch && fv != cv) {
        n.number = 4;
        for (int i = 0; i < 4; i++) {
          n.address[i] = N[i];
          n.weight[i] = kernel(wrapped_distance(hpos, N[i].x, a.dh)) *
                        kernel(wrapped_distance(vpos, N[i].y, a.dv));
        }
      } else if (fh != ch) {
        n.number = 2;
        n.address[0] = N[0];
        n.address[1] = N[1];
        n.weight[0] = kernel(wrapped_distance(hpos, fh, a.dh));
        n.weight[1] = kernel(wrapped_distance(hpos, ch, a.dh));
      } else if (fv != cv) {
        n.number = 2;
        n.address[0] = N[0];
        n.address[1] = N[2];
        n.weight[0] = kernel(wrapped_distance(vpos, fv, a.dv));
        n.weight[1] = kernel(wrapped_distance(vpos, cv, a.dv));
      } else {
        n.number = 1;
        n.address[0] = N[0];
        n.weight[0] = 1.0f;
      }
      float sum = 0.0f;
      for (int i = 0; i < n.number; i++) sum += n.weight[i];
      for (int i = 0; i < n.number; i++) n.weight[i] /= sum;
      if (n.number > largest) largest = n.number;
    }
  }
  *on_grid_of(which_slice) = largest == 1;
}

void invert_neighborhood(int which_slice) {
  Neighborhood *table = *table_of(which_slice);
  const PlaneAxes a = plane_axes(which_slice);
  const int Z = mosaic.zoom_window > 0 ? mosaic.zoom_window : 1;
  const int width = a.columns * Z, height = a.rows * Z;
  for (int jy = 0; jy < height / 2; jy++) {
    Neighborhood *top = table + (size_t)width * jy;
    Neighborhood *bottom = table + (size_t)width * (height - 1 - jy);
    for (int jx = 0; jx < width; jx++) {
      Neighborhood t = top[jx];
      top[jx] = bottom[jx];
      bottom[jx] = t;
    }
  }
}

void create_neighborhoods(void) {
  for (int plane = 0; plane < 4; plane++) create_neighborhood(plane);
  if (mosaic.flip_X11_y)
    for (int plane = 0; plane < 4; plane++) invert_neighborhood(plane);
}

void neighborhoods_reset(void) {
  for (int plane = 0; plane < 4; plane++) {
    free(*table_of(plane));
    *table_of(plane) = nullptr;
  }
}
