// Smoothing a stack onto a coarser grid of the same extent. Each new voxel
// is a Gaussian-weighted mean of the old voxels around its centre, with a
// kernel about one new voxel wide at half height.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "zor_alloc.h"
#include "zor_special.h"
#include "zor_exit.h"
#include "zor_geometry.h"
#include "zor_stack.h"

namespace {

// Weights of the old indices on one axis around a position in the old grid.
struct AxisWeights {
  int first = 0;  // old index of weights[0]
  std::vector<double> weights;
};

AxisWeights axis_weights(float position, int half_width, float ratio, int old_dim) {
  AxisWeights a;
  const int lo = static_cast<int>(floorf(position)) - half_width;
  const int hi = static_cast<int>(ceilf(position)) + half_width;
  const float sigma = 0.425f * ratio;
  a.first = std::max(lo, 0);
  for (int j = a.first; j <= hi && j < old_dim; j++)
    a.weights.push_back(Gauss(position - static_cast<float>(j), 0.0, sigma));
  return a;
}

float clamp_position(float v) {
  // Keeps floor/ceil inside int range for wild transforms.
  if (!(v > -1.0e9f)) return -1.0e9f;
  return std::min(v, 1.0e9f);
}

// One new value of a real component: `value(old_index)` gives the old one.
template <typename Value>
double weighted_mean(const AxisWeights &wx, const AxisWeights &wy, const AxisWeights &wz,
                     IPOINT3D old_dim, Value value) {
  double sum = 0.0, weight_sum = 0.0;
  for (size_t k = 0; k < wz.weights.size(); k++) {
    const int z = wz.first + static_cast<int>(k);
    for (size_t j = 0; j < wy.weights.size(); j++) {
      const int y = wy.first + static_cast<int>(j);
      const double wyz = wz.weights[k] * wy.weights[j];
      const int row = old_dim.x * (y + old_dim.y * z);
      for (size_t i = 0; i < wx.weights.size(); i++) {
        const double w = wyz * wx.weights[i];
        sum += w * value(row + wx.first + static_cast<int>(i));
        weight_sum += w;
      }
    }
  }
  return weight_sum == 0.0 ? 0.0 : sum / weight_sum;
}

// True when a transform scales and shifts each axis on its own, with finite
// entries: a position's coordinate on one axis then depends on that axis of
// the voxel alone, to the last bit.
bool axis_aligned(const mat44 &m) {
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 4; j++) {
      if (!std::isfinite(m.m[i][j])) return false;
      if (j < 3 && j != i && m.m[i][j] != 0.0f) return false;
    }
  return true;
}

}  // namespace

int downsample_stack(data_stack *stack, int new_dim_xy, int new_dim_z) {
  return downsample_stack_xyz(stack, new_dim_xy, new_dim_xy, new_dim_z);
}

int downsample_stack_xyz(data_stack *stack, int new_dim_x, int new_dim_y, int new_dim_z) {
  if (new_dim_x < 1 || new_dim_y < 1 || new_dim_z < 1 || stack->data_type < 0 ||
      stack->data_type > 3) {
    printf("Error: cannot downsample stack `%s' to (%d,%d,%d) voxels.\n", stack->name, new_dim_x,
           new_dim_y, new_dim_z);
    return 1;
  }
  const IPOINT3D old_dim = stack->dim;
  const IPOINT3D new_dim = {new_dim_x, new_dim_y, new_dim_z};
  const POINT3D ratio = {static_cast<float>(old_dim.x) / new_dim.x,
                         static_cast<float>(old_dim.y) / new_dim.y,
                         static_cast<float>(old_dim.z) / new_dim.z};
  const POINT3D new_resolution = {ratio.x * stack->resolution.x, ratio.y * stack->resolution.y,
                                  ratio.z * stack->resolution.z};
  const IPOINT3D half_width = {std::max(1, static_cast<int>(floorf(ratio.x))),
                               std::max(1, static_cast<int>(floorf(ratio.y))),
                               std::max(1, static_cast<int>(floorf(ratio.z)))};
  const int new_n3d = new_dim.x * new_dim.y * new_dim.z;
  const int nt = stack->nt;
  const bool real_data = stack->data_type == DATA_MAGNITUDE;

  // The result block, for all time points at once.
  data_stack result;
  memset(&result, 0, sizeof result);
  result.data_type = real_data ? DATA_MAGNITUDE : DATA_COMPLEX;
  allocate_stack_data(nt, new_n3d, &result);

  // Both grids are centred on the same point for the resampling.
  const POINT3D saved_origin = stack->origin;
  const POINT3D saved_direction = stack->direction;
  stack->xyz_to_ijk = centered_xyz_to_ijk(stack);
  stack->resolution = new_resolution;
  stack->origin = POINT3D{(1 - new_dim.x) * new_resolution.x / 2,
                          (1 - new_dim.y) * new_resolution.y / 2,
                          (1 - new_dim.z) * new_resolution.z / 2};
  stack->direction = POINT3D{1.0f, 1.0f, 1.0f};
  stack->ijk_to_xyz = scale_and_shift_to_mat44(stack->resolution, stack->origin, stack->direction);

  // With both grids axis-aligned the weights of each axis depend on that
  // axis's new index only: they are worked out once per index, from the same
  // positions the voxel-by-voxel path computes.
  const bool cached = axis_aligned(stack->ijk_to_xyz) && axis_aligned(stack->xyz_to_ijk);
  std::vector<AxisWeights> cache_x, cache_y, cache_z;
  if (cached) {
    auto position = [stack](IPOINT3D v) {
      return Convert_Space_to_rVoxel(Convert_Voxel_to_Space(v, stack), stack);
    };
    for (int x = 0; x < new_dim.x; x++)
      cache_x.push_back(axis_weights(clamp_position(position(IPOINT3D{x, 0, 0}).x), half_width.x, ratio.x, old_dim.x));
    for (int y = 0; y < new_dim.y; y++)
      cache_y.push_back(axis_weights(clamp_position(position(IPOINT3D{0, y, 0}).y), half_width.y, ratio.y, old_dim.y));
    for (int z = 0; z < new_dim.z; z++)
      cache_z.push_back(axis_weights(clamp_position(position(IPOINT3D{0, 0, z}).z), half_width.z, ratio.z, old_dim.z));
  }

  for (int t = 0; t < nt; t++) {
    if (stack->data_type == DATA_VECTOR) {
      puts("Error: cannot current downsample vector data");
      free_stack_data(nt, &result);
      return 1;
    }
    int inew = 0;
    for (int z = 0; z < new_dim.z; z++) {
      for (int y = 0; y < new_dim.y; y++) {
        for (int x = 0; x < new_dim.x; x++, inew++) {
          AxisWeights own_x, own_y, own_z;
          if (!cached) {
            const POINT3D centre = Convert_Voxel_to_Space(IPOINT3D{x, y, z}, stack);
            const POINT3D p = Convert_Space_to_rVoxel(centre, stack);
            own_x = axis_weights(clamp_position(p.x), half_width.x, ratio.x, old_dim.x);
            own_y = axis_weights(clamp_position(p.y), half_width.y, ratio.y, old_dim.y);
            own_z = axis_weights(clamp_position(p.z), half_width.z, ratio.z, old_dim.z);
          }
          const AxisWeights &wx = cached ? cache_x[static_cast<size_t>(x)] : own_x;
          const AxisWeights &wy = cached ? cache_y[static_cast<size_t>(y)] : own_y;
          const AxisWeights &wz = cached ? cache_z[static_cast<size_t>(z)] : own_z;
          if (real_data) {
            const float *old = stack->Volume[t];
            result.Volume[t][inew] = static_cast<float>(
                weighted_mean(wx, wy, wz, old_dim, [old](int i) { return old[i]; }));
          } else {
            const FCOMPLEX *old = stack->fcVolume[t];
            result.fcVolume[t][inew].real = static_cast<float>(
                weighted_mean(wx, wy, wz, old_dim, [old](int i) { return old[i].real; }));
            result.fcVolume[t][inew].imag = static_cast<float>(
                weighted_mean(wx, wy, wz, old_dim, [old](int i) { return old[i].imag; }));
          }
        }
      }
    }
    if (nt > 5) {
      printf("\rFinished %d of %d time points for stack `%s'.", t + 1, nt, stack->name);
      fflush(stdout);
    }
  }
  if (nt > 5) printf("\n");

  stack->origin = saved_origin;
  stack->direction = saved_direction;
  stack->ijk_to_xyz = scale_and_shift_to_mat44(stack->resolution, stack->origin, stack->direction);
  stack->xyz_to_ijk = invert_mat44(stack->ijk_to_xyz);
  stack->dim = new_dim;
  stack->n2d = new_dim.x * new_dim.y;
  stack->n3d = new_n3d;
  stack->n4d = static_cast<int>(static_cast<unsigned>(nt) * static_cast<unsigned>(new_n3d));
  stack->npts_volume = real_data ? new_n3d : 2 * new_n3d;

  free_stack_data(nt, stack);
  stack->Volume = result.Volume;
  stack->fcVolume = result.fcVolume;
  return 0;
}
