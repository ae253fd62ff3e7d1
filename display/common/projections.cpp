// Maximum-intensity projections along the three axes, of the gray image and
// of the map, each with the coordinate along the collapsed axis where the
// maximum lies. Computed on first use after they went stale.
#include <cmath>

#include "zor_alloc.h"
#include "zor_compose.h"

namespace {

void allocate(float ***xy, float ***xz, float ***yz, int ***ixy, int ***ixz, int ***iyz) {
  const IPOINT3D &d = mosaic.stack->dim;
  *xy = float_matrix(d.x, d.y);
  *xz = float_matrix(d.x, d.z);
  *yz = float_matrix(d.y, d.z);
  *ixy = int_matrix(d.x, d.y);
  *ixz = int_matrix(d.x, d.z);
  *iyz = int_matrix(d.y, d.z);
  for (int a = 0; a < d.x; a++)
    for (int b = 0; b < d.y; b++) (*xy)[a][b] = 0.0f, (*ixy)[a][b] = 0;
  for (int a = 0; a < d.x; a++)
    for (int b = 0; b < d.z; b++) (*xz)[a][b] = 0.0f, (*ixz)[a][b] = 0;
  for (int a = 0; a < d.y; a++)
    for (int b = 0; b < d.z; b++) (*yz)[a][b] = 0.0f, (*iyz)[a][b] = 0;
}

// `value(voxel, &v)` gives the signed value and whether the voxel counts;
// `key` is what is compared (the value itself, or its magnitude).
template <typename Value, typename Key>
void project(float **xy, float **xz, float **yz, int **ixy, int **ixz, int **iyz, Value value,
             Key key) {
  const IPOINT3D &d = mosaic.stack->dim;
  // Each maximum starts from 0 with a strict comparison: a voxel that is
  // not above 0 does not count, and the index keeps its last value.
  for (int x = 0; x < d.x; x++)
    for (int y = 0; y < d.y; y++) {
      float best = 0.0f;
      xy[x][y] = 0.0f;
      for (int z = 0; z < d.z; z++) {
        float v;
        if (!value(IPOINT3D{x, y, z}, &v)) continue;
        if (key(v) > best) best = key(v), xy[x][y] = v, ixy[x][y] = z;
      }
    }
  for (int x = 0; x < d.x; x++)
    for (int z = 0; z < d.z; z++) {
      float best = 0.0f;
      xz[x][z] = 0.0f;
      for (int y = 0; y < d.y; y++) {
        float v;
        if (!value(IPOINT3D{x, y, z}, &v)) continue;
        if (key(v) > best) best = key(v), xz[x][z] = v, ixz[x][z] = y;
      }
    }
  for (int y = 0; y < d.y; y++)
    for (int z = 0; z < d.z; z++) {
      float best = 0.0f;
      yz[y][z] = 0.0f;
      for (int x = 0; x < d.x; x++) {
        float v;
        if (!value(IPOINT3D{x, y, z}, &v)) continue;
        if (key(v) > best) best = key(v), yz[y][z] = v, iyz[y][z] = x;
      }
    }
}

template <typename T>
T pick(T **xy, T **xz, T **yz, IPOINT3D voxel, int which_orientation) {
  switch (which_orientation) {
    case ORTHO_XY: return xy[voxel.x][voxel.y];
    case ORTHO_XZ: return xz[voxel.x][voxel.z];
    case ORTHO_YZ:
    case ORTHO_ZY: return yz[voxel.y][voxel.z];
    default: return 0;
  }
}

}  // namespace

void update_grayscale_MIPs(void) {
  if (mosaic.MIPStatus == 1) return;
  if (mosaic.MIPStatus == -1)
    allocate(&mosaic.MIP_XY, &mosaic.MIP_XZ, &mosaic.MIP_YZ, &mosaic.index_MIP_XY,
             &mosaic.index_MIP_XZ, &mosaic.index_MIP_YZ);
  project(
      mosaic.MIP_XY, mosaic.MIP_XZ, mosaic.MIP_YZ, mosaic.index_MIP_XY, mosaic.index_MIP_XZ,
      mosaic.index_MIP_YZ,
      [](IPOINT3D voxel, float *v) {
        *v = mosaic_data_3d(voxel);
        return true;
      },
      [](float v) { return v; });
  mosaic.MIPStatus = 1;
}

void update_activation_MIPs(void) {
  if (activation.MIPStatus == 1) return;
  if (activation.MIPStatus == -1)
    allocate(&activation.MIP_XY, &activation.MIP_XZ, &activation.MIP_YZ,
             &activation.index_MIP_XY, &activation.index_MIP_XZ, &activation.index_MIP_YZ);
  // The largest magnitude wins and keeps its sign; voxels a statistical
  // filter hides are passed over.
  project(
      activation.MIP_XY, activation.MIP_XZ, activation.MIP_YZ, activation.index_MIP_XY,
      activation.index_MIP_XZ, activation.index_MIP_YZ,
      [](IPOINT3D voxel, float *v) {
        const IPOINT3D &d = mosaic.stack->dim;
        int i = voxel.x + d.x * (voxel.y + d.y * voxel.z);
        if (activation.pFilter && fabsf(activation.pFilter[i]) <= activation.thresh_log_low)
          return false;
        *v = activation_data_1d(i);
        return true;
      },
      [](float v) { return fabsf(v); });
  activation.MIPStatus = 1;
}

float MIP_data_3d(IPOINT3D voxel, int which_orientation) {
  update_grayscale_MIPs();
  return pick(mosaic.MIP_XY, mosaic.MIP_XZ, mosaic.MIP_YZ, voxel, which_orientation);
}

float MIP_activation_3d(IPOINT3D voxel, int which_orientation) {
  update_activation_MIPs();
  return pick(activation.MIP_XY, activation.MIP_XZ, activation.MIP_YZ, voxel, which_orientation);
}

int MIP_data_index_3d(IPOINT3D voxel, int which_orientation) {
  update_grayscale_MIPs();
  return pick(mosaic.index_MIP_XY, mosaic.index_MIP_XZ, mosaic.index_MIP_YZ, voxel,
              which_orientation);
}

int MIP_activation_index_3d(IPOINT3D voxel, int which_orientation) {
  update_activation_MIPs();
  return pick(activation.index_MIP_XY, activation.index_MIP_XZ, activation.index_MIP_YZ, voxel,
              which_orientation);
}
