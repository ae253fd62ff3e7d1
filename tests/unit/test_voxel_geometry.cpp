#include <gtest/gtest.h>

#include <cstring>

#include "test_support.h"
#include "zor.h"

namespace {

data_stack stack_with(IPOINT3D dim, POINT3D res, POINT3D origin, POINT3D direction) {
  data_stack s;
  memset(&s, 0, sizeof s);
  s.dim = dim;
  s.resolution = res;
  s.origin = origin;
  s.direction = direction;
  s.ijk_to_xyz = scale_and_shift_to_mat44(res, origin, direction);
  s.xyz_to_ijk = invert_mat44(s.ijk_to_xyz);
  return s;
}

void expect_point(POINT3D p, float x, float y, float z) {
  EXPECT_FLOAT_EQ(p.x, x);
  EXPECT_FLOAT_EQ(p.y, y);
  EXPECT_FLOAT_EQ(p.z, z);
}

TEST(VoxelGeometry, ScaleAndShiftIsDiagonalWithOrigin) {
  mat44 m = scale_and_shift_to_mat44(POINT3D{2, 3, 4}, POINT3D{-10, 5, 7}, POINT3D{1, -1, -1});
  const float expected[4][4] = {{2, 0, 0, -10}, {0, -3, 0, 5}, {0, 0, -4, 7}, {0, 0, 0, 1}};
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) EXPECT_EQ(m.m[i][j], expected[i][j]) << i << j;
}

TEST(VoxelGeometry, GeneralAffineCopiesRows) {
  const float r0[4] = {0, 2, 0, 1}, r1[4] = {3, 0, 0, 2}, r2[4] = {0, 0, -1, 3};
  Captured c;
  mat44 m;
  c = capture_output([&] { m = general_affine_to_mat44(r0, r1, r2); });
  EXPECT_EQ(c.out, "");
  EXPECT_EQ(m.m[0][1], 2.0f);
  EXPECT_EQ(m.m[1][0], 3.0f);
  EXPECT_EQ(m.m[2][2], -1.0f);
  EXPECT_EQ(m.m[2][3], 3.0f);
  EXPECT_EQ(m.m[3][0], 0.0f);
  EXPECT_EQ(m.m[3][3], 1.0f);
}

TEST(VoxelGeometry, GeneralAffineWithZeroRowResetsButKeepsOffsets) {
  const float r0[4] = {2, 1, 0, 11}, r1[4] = {0, 0, 0, 12}, r2[4] = {0, 0, 5, 13};
  mat44 m;
  Captured c = capture_output([&] { m = general_affine_to_mat44(r0, r1, r2); });
  EXPECT_EQ(c.out, "Invalid Affine transformation matrix: resetting to identity matrix.\n");
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 3; j++) EXPECT_EQ(m.m[i][j], i == j ? 1.0f : 0.0f);
  EXPECT_EQ(m.m[0][3], 11.0f);
  EXPECT_EQ(m.m[1][3], 12.0f);
  EXPECT_EQ(m.m[2][3], 13.0f);
}

TEST(VoxelGeometry, InvertMat44OfADiagonalTransform) {
  mat44 m = scale_and_shift_to_mat44(POINT3D{2, 4, 0.5f}, POINT3D{6, -8, 1}, POINT3D{1, 1, -1});
  mat44 inv = invert_mat44(m);
  // i = (x - 6) / 2, j = (y + 8) / 4, k = (z - 1) / -0.5
  EXPECT_FLOAT_EQ(inv.m[0][0], 0.5f);
  EXPECT_FLOAT_EQ(inv.m[0][3], -3.0f);
  EXPECT_FLOAT_EQ(inv.m[1][1], 0.25f);
  EXPECT_FLOAT_EQ(inv.m[1][3], 2.0f);
  EXPECT_FLOAT_EQ(inv.m[2][2], -2.0f);
  EXPECT_FLOAT_EQ(inv.m[2][3], 2.0f);
  EXPECT_FLOAT_EQ(inv.m[3][3], 1.0f);
}

TEST(VoxelGeometry, CenteredTransformsPutTheGridCentreAtZero) {
  data_stack s = stack_with(IPOINT3D{4, 6, 8}, POINT3D{2, 1, 0.5f}, POINT3D{0, 0, 0},
                            POINT3D{-1, -1, -1});
  mat44 c = centered_ijk_to_xyz(&s);
  EXPECT_FLOAT_EQ(c.m[0][0], 2.0f);  // direction is always +1 here
  EXPECT_FLOAT_EQ(c.m[1][1], 1.0f);
  EXPECT_FLOAT_EQ(c.m[0][3], -3.0f);  // (1 - 4) * 2 / 2
  EXPECT_FLOAT_EQ(c.m[1][3], -2.5f);
  EXPECT_FLOAT_EQ(c.m[2][3], -1.75f);
  mat44 ci = centered_xyz_to_ijk(&s);
  EXPECT_FLOAT_EQ(ci.m[0][0], 0.5f);
  EXPECT_FLOAT_EQ(ci.m[0][3], 1.5f);  // x = 0 lies at i = (dim - 1) / 2
  EXPECT_FLOAT_EQ(ci.m[2][3], 3.5f);
}

TEST(VoxelGeometry, VoxelToSpaceAndBack) {
  data_stack s = stack_with(IPOINT3D{10, 10, 10}, POINT3D{2, 3, 4}, POINT3D{-10, 20, 5},
                            POINT3D{1, -1, 1});
  expect_point(Convert_Voxel_to_Space(IPOINT3D{1, 2, 3}, &s), -8, 14, 17);
  expect_point(Convert_rVoxel_to_Space(POINT3D{0.5f, 0, 0}, &s), -9, 20, 5);
  expect_point(Convert_Space_to_rVoxel(POINT3D{-8, 14, 17}, &s), 1, 2, 3);
  IPOINT3D v = Convert_Space_to_Voxel(POINT3D{-7, 13, 18}, &s);  // (1.5, 2.33, 3.25)
  EXPECT_EQ(v.x, 1);
  EXPECT_EQ(v.y, 2);
  EXPECT_EQ(v.z, 3);
}

TEST(VoxelGeometry, SpaceToVoxelTruncatesTowardsZero) {
  data_stack s = stack_with(IPOINT3D{4, 4, 4}, POINT3D{1, 1, 1}, POINT3D{0, 0, 0},
                            POINT3D{1, 1, 1});
  IPOINT3D v = Convert_Space_to_Voxel(POINT3D{-0.5f, -1.5f, 2.9f}, &s);
  EXPECT_EQ(v.x, 0);
  EXPECT_EQ(v.y, -1);
  EXPECT_EQ(v.z, 2);
}

TEST(VoxelGeometry, VoxelInBounds) {
  IPOINT3D dim{3, 4, 5};
  EXPECT_TRUE(VoxelInBounds(IPOINT3D{0, 0, 0}, dim));
  EXPECT_TRUE(VoxelInBounds(IPOINT3D{2, 3, 4}, dim));
  EXPECT_FALSE(VoxelInBounds(IPOINT3D{3, 0, 0}, dim));
  EXPECT_FALSE(VoxelInBounds(IPOINT3D{0, 4, 0}, dim));
  EXPECT_FALSE(VoxelInBounds(IPOINT3D{0, 0, 5}, dim));
  EXPECT_FALSE(VoxelInBounds(IPOINT3D{-1, 0, 0}, dim));
}

TEST(VoxelGeometry, FlatIndexRunsXFastest) {
  IPOINT3D dim{3, 4, 5};
  EXPECT_EQ(Voxel3D_to_1D(IPOINT3D{0, 0, 0}, dim), 0);
  EXPECT_EQ(Voxel3D_to_1D(IPOINT3D{1, 0, 0}, dim), 1);
  EXPECT_EQ(Voxel3D_to_1D(IPOINT3D{0, 1, 0}, dim), 3);
  EXPECT_EQ(Voxel3D_to_1D(IPOINT3D{0, 0, 1}, dim), 12);
  EXPECT_EQ(Voxel3D_to_1D(IPOINT3D{2, 3, 4}, dim), 59);
}

TEST(VoxelGeometry, FlatIndexOutOfRangeEndsTheRun) {
  Captured c = capture_output([] { Voxel3D_to_1D(IPOINT3D{3, -1, 7}, IPOINT3D{3, 4, 5}); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out,
            "Programming error: index out of range in voxel3D_to_1D\n"
            "(i,j,k) = (3,-1,7)\n");
}

TEST(VoxelGeometry, NormalizedVector) {
  expect_point(NormalizedVector(POINT3D{3, 0, -4}), 0.6f, 0, -0.8f);
  POINT3D zero = NormalizedVector(POINT3D{0, 0, 0});
  EXPECT_EQ(zero.x, 0.0f);
  EXPECT_EQ(zero.y, 0.0f);
  EXPECT_EQ(zero.z, 0.0f);
}

TEST(VoxelGeometry, VectorStep) {
  expect_point(VectorStep(POINT3D{1, 2, 3}, POINT3D{0.5f, -1, 2}, 4), 3, -2, 11);
}

}  // namespace
