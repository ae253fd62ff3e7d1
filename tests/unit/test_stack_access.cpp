// The voxel accessors over every data type, the index helpers on the shown
// stack, stack storage, and downsampling's bookkeeping.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "stack_test_helpers.h"
#include "test_support.h"
#include "zor.h"

namespace {

data_stack make_stack(int data_type, IPOINT3D dim, int nt) {
  data_stack s;
  memset(&s, 0, sizeof s);
  s.data_type = data_type;
  s.dim = dim;
  s.n2d = dim.x * dim.y;
  s.resolution = POINT3D{1, 1, 1};
  s.direction = POINT3D{1, 1, 1};
  allocate_stack_data(nt, s.n2d * dim.z, &s);
  return s;
}

TEST(StackStorage, AllocationFollowsTheDataType) {
  data_stack m = make_stack(DATA_MAGNITUDE, {2, 3, 4}, 5);
  EXPECT_EQ(m.nt, 5);
  EXPECT_EQ(m.n3d, 24);
  EXPECT_EQ(m.npts_volume, 24);
  ASSERT_NE(m.Volume, nullptr);
  EXPECT_EQ(m.fcVolume, nullptr);
  EXPECT_EQ(m.v3Volume, nullptr);
  EXPECT_EQ(m.Volume[4][23], 0.0f);
  free_stack_data(5, &m);
  EXPECT_EQ(m.Volume, nullptr);

  data_stack c = make_stack(DATA_MAGNITUDE_PHASE, {2, 3, 4}, 2);
  EXPECT_EQ(c.npts_volume, 48);
  ASSERT_NE(c.fcVolume, nullptr);
  EXPECT_EQ(c.Volume, nullptr);
  free_stack_data(2, &c);

  data_stack v = make_stack(DATA_VECTOR, {2, 3, 4}, 2);
  EXPECT_EQ(v.npts_volume, 72);
  ASSERT_NE(v.v3Volume, nullptr);
  free_stack_data(2, &v);
  EXPECT_EQ(v.v3Volume, nullptr);
}

TEST(StackData4d, MagnitudeIgnoresTheDisplayType) {
  data_stack s = make_stack(DATA_MAGNITUDE, {2, 2, 1}, 2);
  s.Volume[1][3] = -7.5f;
  for (int d : {-3, 0, 1, 2, 3, 9}) EXPECT_EQ(stack_data_4d(&s, d, 3, 1), -7.5f);
  free_stack_data(2, &s);
}

TEST(StackData4d, ComplexGivesAmplitudePhaseRealImaginary) {
  data_stack s = make_stack(DATA_COMPLEX, {2, 1, 1}, 1);
  s.fcVolume[0][1] = FCOMPLEX{-3.0f, 4.0f};
  EXPECT_FLOAT_EQ(stack_data_4d(&s, 0, 1, 0), 5.0f);
  const double phase = atan(4.0 / -3.0) + 3.141592654;
  EXPECT_FLOAT_EQ(stack_data_4d(&s, 1, 1, 0), static_cast<float>(phase * 57.29577950560105));
  EXPECT_EQ(stack_data_4d(&s, 2, 1, 0), -3.0f);
  EXPECT_EQ(stack_data_4d(&s, 3, 1, 0), 4.0f);
  EXPECT_EQ(stack_data_4d(&s, -1, 1, 0), 4.0f);
  s.fcVolume[0][0] = FCOMPLEX{-1.0f, 0.0f};
  EXPECT_EQ(stack_data_4d(&s, 1, 0, 0), static_cast<float>(3.141592654f * 57.29577950560105));
  free_stack_data(1, &s);
}

TEST(StackData4d, MagnitudePhaseGivesMagnitudePhaseAndParts) {
  data_stack s = make_stack(DATA_MAGNITUDE_PHASE, {1, 1, 1}, 1);
  s.fcVolume[0][0] = FCOMPLEX{2.0f, 0.5f};
  EXPECT_EQ(stack_data_4d(&s, 0, 0, 0), 2.0f);
  EXPECT_EQ(stack_data_4d(&s, 1, 0, 0), 0.5f);
  EXPECT_FLOAT_EQ(stack_data_4d(&s, 2, 0, 0), static_cast<float>(2.0 * cos(0.5)));
  EXPECT_FLOAT_EQ(stack_data_4d(&s, 3, 0, 0), static_cast<float>(2.0 * sin(0.5)));
  EXPECT_FLOAT_EQ(stack_data_4d(&s, 7, 0, 0), static_cast<float>(2.0 * sin(0.5)));
  free_stack_data(1, &s);
}

TEST(StackData4d, VectorGivesLengthOrComponent) {
  data_stack s = make_stack(DATA_VECTOR, {1, 1, 1}, 1);
  s.v3Volume[0][0] = POINT3D{2.0f, -3.0f, 6.0f};
  EXPECT_EQ(stack_data_4d(&s, -3, 0, 0), 7.0f);
  EXPECT_EQ(stack_data_4d(&s, 0, 0, 0), 7.0f);
  EXPECT_EQ(stack_data_4d(&s, 1, 0, 0), 2.0f);
  EXPECT_EQ(stack_data_4d(&s, 2, 0, 0), -3.0f);
  EXPECT_EQ(stack_data_4d(&s, 3, 0, 0), 6.0f);
  EXPECT_EQ(stack_data_4d(&s, 4, 0, 0), 0.0f);
  free_stack_data(1, &s);
}

TEST(StackData4d, UnknownDataTypeGivesZero) {
  data_stack s = make_stack(DATA_MAGNITUDE, {1, 1, 1}, 1);
  s.Volume[0][0] = 5.0f;
  s.data_type = 7;
  EXPECT_EQ(stack_data_4d(&s, 0, 0, 0), 0.0f);
  s.data_type = DATA_MAGNITUDE;
  free_stack_data(1, &s);
}

TEST(StackData4d, IndicesOutOfRangeAreProgrammingErrors) {
  data_stack s = make_stack(DATA_MAGNITUDE, {2, 2, 1}, 3);
  Captured c = capture_output([&] { stack_data_4d(&s, 0, 4, 0); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error: space index (4) out of range (4) in stack_data_4d\n");
  c = capture_output([&] { stack_data_4d(&s, 0, -1, 0); });
  EXPECT_EQ(c.out, "Programming error: space index (-1) out of range (4) in stack_data_4d\n");
  c = capture_output([&] { stack_data_4d(&s, 0, 0, 3); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error: time index (3) out of range (3) in stack_data_4d\n");
  free_stack_data(3, &s);
}

class ShownStack : public ::testing::Test {
 protected:
  data_stack s = make_stack(DATA_MAGNITUDE, {4, 3, 2}, 1);
  void SetUp() override { mosaic.stack = &s; }
  void TearDown() override {
    mosaic.stack = nullptr;
    free_stack_data(1, &s);
  }
};

TEST_F(ShownStack, Index3dIsXFastest) {
  EXPECT_EQ(index3d(0, 0, 0), 0);
  EXPECT_EQ(index3d(3, 2, 1), 3 + 4 * 2 + 12);
  EXPECT_EQ(voxel3D_to_1D(IPOINT3D{1, 2, 1}), 1 + 8 + 12);
}

TEST_F(ShownStack, Index3dOutOfRangeEndsTheRun) {
  Captured c = capture_output([] { index3d(4, 0, 0); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error: index out of range in index3d.\n(x,y,z) = (4,0,0)\n");
  c = capture_output([] { index3d(0, 0, -1); });
  EXPECT_EQ(c.out, "Programming error: index out of range in index3d.\n(x,y,z) = (0,0,-1)\n");
  c = capture_output([] { voxel3D_to_1D(IPOINT3D{0, 3, 0}); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error: index out of range in voxel3D_to_1D\n(i,j,k) = (0,3,0)\n");
}

TEST_F(ShownStack, VoxelAccessUsesTheShownStacksDimensions) {
  s.Volume[0][index3d(2, 1, 1)] = 9.0f;
  EXPECT_EQ(stack_data_4d_voxel(&s, 0, IPOINT3D{2, 1, 1}, 0), 9.0f);
  Captured c = capture_output([&] { stack_data_4d_voxel(&s, 0, IPOINT3D{2, 3, 1}, 0); });
  EXPECT_EQ(c.exit_status, 1);
}

TEST(Downsample, HalvingAConstantVolumeKeepsItConstant) {
  data_stack s = make_stack(DATA_MAGNITUDE, {8, 8, 4}, 2);
  s.resolution = POINT3D{1.0f, 1.0f, 2.0f};
  s.origin = POINT3D{-5.0f, 3.0f, 1.0f};
  s.direction = POINT3D{1.0f, -1.0f, 1.0f};
  for (int t = 0; t < 2; t++)
    for (int i = 0; i < s.n3d; i++) s.Volume[t][i] = 3.0f + t;
  Captured c = capture_output([&] { EXPECT_EQ(downsample_stack(&s, 4, 2), 0); });
  EXPECT_EQ(c.out, "");
  EXPECT_EQ(s.dim.x, 4);
  EXPECT_EQ(s.dim.z, 2);
  EXPECT_EQ(s.n2d, 16);
  EXPECT_EQ(s.n3d, 32);
  EXPECT_EQ(s.n4d, 64);
  EXPECT_EQ(s.npts_volume, 32);
  EXPECT_EQ(s.resolution.x, 2.0f);
  EXPECT_EQ(s.resolution.z, 4.0f);
  // Origin and direction come back; the transform is rebuilt from them.
  EXPECT_EQ(s.origin.x, -5.0f);
  EXPECT_EQ(s.direction.y, -1.0f);
  EXPECT_EQ(s.ijk_to_xyz.m[1][1], -2.0f);
  EXPECT_EQ(s.ijk_to_xyz.m[0][3], -5.0f);
  EXPECT_NEAR(s.xyz_to_ijk.m[0][0], 0.5f, 1e-7);
  for (int i = 0; i < 32; i++) {
    EXPECT_NEAR(s.Volume[0][i], 3.0f, 1e-5);
    EXPECT_NEAR(s.Volume[1][i], 4.0f, 1e-5);
  }
  free_stack_data(2, &s);
}

TEST(Downsample, ManyTimePointsReportProgress) {
  data_stack s = make_stack(DATA_COMPLEX, {4, 4, 2}, 6);
  snprintf(s.name, sizeof s.name, "run");
  for (int t = 0; t < 6; t++)
    for (int i = 0; i < s.n3d; i++) s.fcVolume[t][i] = FCOMPLEX{1.0f * t, -2.0f};
  Captured c = capture_output([&] { EXPECT_EQ(downsample_stack(&s, 2, 1), 0); });
  std::string want;
  for (int t = 1; t <= 6; t++)
    want += "\rFinished " + std::to_string(t) + " of 6 time points for stack `run'.";
  EXPECT_EQ(c.out, want + "\n");
  EXPECT_EQ(s.npts_volume, 8);  // two values a voxel
  EXPECT_NEAR(s.fcVolume[5][3].real, 5.0f, 1e-5);
  EXPECT_NEAR(s.fcVolume[5][3].imag, -2.0f, 1e-5);
  free_stack_data(6, &s);
}

TEST(Downsample, VectorDataIsRefusedAfterTheGridChanged) {
  data_stack s = make_stack(DATA_VECTOR, {4, 4, 2}, 1);
  s.origin = POINT3D{7.0f, 7.0f, 7.0f};
  Captured c = capture_output([&] { EXPECT_EQ(downsample_stack(&s, 2, 1), 1); });
  EXPECT_EQ(c.out, "Error: cannot current downsample vector data\n");
  EXPECT_EQ(s.dim.x, 4);
  EXPECT_EQ(s.resolution.x, 2.0f);
  EXPECT_EQ(s.origin.x, -1.0f);  // (1 - 2) 2 / 2: the centred new grid
  EXPECT_EQ(s.direction.x, 1.0f);
  ASSERT_NE(s.v3Volume, nullptr);
  free_stack_data(1, &s);
}

}  // namespace
