// Voxel index <-> space coordinates through a stack's two mat44.
#ifndef ZOR_GEOMETRY_H
#define ZOR_GEOMETRY_H

#include "zor_types.h"

struct data_stack;

mat44 scale_and_shift_to_mat44(POINT3D resolution, POINT3D origin, POINT3D direction);
mat44 general_affine_to_mat44(const float *row0, const float *row1, const float *row2);
mat44 invert_mat44(mat44 matrix);
mat44 centered_ijk_to_xyz(const data_stack *stack);
mat44 centered_xyz_to_ijk(const data_stack *stack);

POINT3D Convert_rVoxel_to_Space(POINT3D rvoxel, const data_stack *stack);
POINT3D Convert_Voxel_to_Space(IPOINT3D voxel, const data_stack *stack);
POINT3D Convert_Space_to_rVoxel(POINT3D point, const data_stack *stack);
IPOINT3D Convert_Space_to_Voxel(POINT3D point, const data_stack *stack);

int VoxelInBounds(IPOINT3D voxel, IPOINT3D dim);
int Voxel3D_to_1D(IPOINT3D voxel, IPOINT3D dim);
POINT3D NormalizedVector(POINT3D vector);
POINT3D VectorStep(POINT3D start, POINT3D direction, float step);

#endif
