// Conversions between voxel indices and space coordinates. A voxel index
// names the corner of the voxel in the lattice: nothing is shifted by a half.
#include <cmath>
#include <cstdio>

#include "zor_alloc.h"
#include "zor_exit.h"
#include "zor_geometry.h"
#include "zor_matrix.h"
#include "zor_stack.h"

namespace {
mat44 identity44() {
  mat44 r{};
  for (int i = 0; i < 4; i++) r.m[i][i] = 1.0f;
  return r;
}

POINT3D apply(const mat44 &m, float i, float j, float k) {
  POINT3D p;
  p.x = m.m[0][0] * i + m.m[0][1] * j + m.m[0][2] * k + m.m[0][3];
  p.y = m.m[1][0] * i + m.m[1][1] * j + m.m[1][2] * k + m.m[1][3];
  p.z = m.m[2][0] * i + m.m[2][1] * j + m.m[2][2] * k + m.m[2][3];
  return p;
}

POINT3D centered_origin(const data_stack *stack) {
  POINT3D o;
  o.x = (1 - stack->dim.x) * stack->resolution.x / 2;
  o.y = (1 - stack->dim.y) * stack->resolution.y / 2;
  o.z = (1 - stack->dim.z) * stack->resolution.z / 2;
  return o;
}
}  // namespace

mat44 scale_and_shift_to_mat44(POINT3D resolution, POINT3D origin, POINT3D direction) {
  mat44 r = identity44();
  r.m[0][0] = direction.x * resolution.x;
  r.m[1][1] = direction.y * resolution.y;
  r.m[2][2] = direction.z * resolution.z;
  r.m[0][3] = origin.x;
  r.m[1][3] = origin.y;
  r.m[2][3] = origin.z;
  return r;
}

mat44 general_affine_to_mat44(const float *row0, const float *row1, const float *row2) {
  mat44 r = identity44();
  const float *rows[3] = {row0, row1, row2};
  bool degenerate = false;
  for (int i = 0; i < 3; i++) {
    for (int j = 0; j < 4; j++) r.m[i][j] = rows[i][j];
    if (rows[i][0] == 0.0f && rows[i][1] == 0.0f && rows[i][2] == 0.0f) degenerate = true;
  }
  if (degenerate) {
    printf("Invalid Affine transformation matrix: resetting to identity matrix.\n");
    for (int i = 0; i < 3; i++)
      for (int j = 0; j < 3; j++) r.m[i][j] = i == j ? 1.0f : 0.0f;
  }
  return r;
}

mat44 invert_mat44(mat44 matrix) {
  float **work = float_matrix(4, 4);
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) work[i][j] = matrix.m[i][j];
  int info;
  rInvertSquareMatrix(4, work, &info);
  mat44 r;
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) r.m[i][j] = work[i][j];
  free_float_matrix(work, 4, 4);
  return r;
}

mat44 centered_ijk_to_xyz(const data_stack *stack) {
  const POINT3D direction = {1.0f, 1.0f, 1.0f};
  return scale_and_shift_to_mat44(stack->resolution, centered_origin(stack), direction);
}

mat44 centered_xyz_to_ijk(const data_stack *stack) {
  return invert_mat44(centered_ijk_to_xyz(stack));
}

POINT3D Convert_rVoxel_to_Space(POINT3D rvoxel, const data_stack *stack) {
  return apply(stack->ijk_to_xyz, rvoxel.x, rvoxel.y, rvoxel.z);
}

POINT3D Convert_Voxel_to_Space(IPOINT3D voxel, const data_stack *stack) {
  return apply(stack->ijk_to_xyz, static_cast<float>(voxel.x), static_cast<float>(voxel.y),
               static_cast<float>(voxel.z));
}

POINT3D Convert_Space_to_rVoxel(POINT3D point, const data_stack *stack) {
  return apply(stack->xyz_to_ijk, point.x, point.y, point.z);
}

IPOINT3D Convert_Space_to_Voxel(POINT3D point, const data_stack *stack) {
  const POINT3D r = Convert_Space_to_rVoxel(point, stack);
  // Truncation towards zero; values beyond int range are pinned, not wrapped.
  auto to_int = [](float v) {
    if (!(v > -2147483648.0f)) return v != v ? 0 : -2147483647 - 1;
    if (v >= 2147483648.0f) return 2147483647;
    return static_cast<int>(v);
  };
  return IPOINT3D{to_int(r.x), to_int(r.y), to_int(r.z)};
}

int VoxelInBounds(IPOINT3D voxel, IPOINT3D dim) {
  return voxel.x >= 0 && voxel.x < dim.x && voxel.y >= 0 && voxel.y < dim.y && voxel.z >= 0 &&
         voxel.z < dim.z;
}

int Voxel3D_to_1D(IPOINT3D voxel, IPOINT3D dim) {
  if (!VoxelInBounds(voxel, dim)) {
    printf("Programming error: index out of range in voxel3D_to_1D\n");
    printf("(i,j,k) = (%d,%d,%d)\n", voxel.x, voxel.y, voxel.z);
    zor_exit(1);
  }
  return voxel.x + dim.x * (voxel.y + dim.y * voxel.z);
}

POINT3D NormalizedVector(POINT3D v) {
  const float length = sqrtf(v.x * v.x + v.y * v.y + v.z * v.z);
  if (length == 0.0f) return v;
  return POINT3D{v.x / length, v.y / length, v.z / length};
}

POINT3D VectorStep(POINT3D start, POINT3D direction, float step) {
  return POINT3D{start.x + step * direction.x, start.y + step * direction.y,
                 start.z + step * direction.z};
}
