// The program's start-up loads the stacks: anatomy, then maps, then images,
// warns about rotated voxel axes and ends with status 1 on a failed load.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include "nifti_test_files.h"
#include "test_support.h"
#include "zor.h"
#include "zor_startup.h"
#include "zorview_main.h"

namespace {

class StartupLoading : public ::testing::Test {
 protected:
  void SetUp() override {
    char cwd[4096];
    ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
    saved_dir_ = cwd;
    dir_ = make_temp_dir();
    ASSERT_EQ(chdir(dir_.c_str()), 0);
    zorview_startup_reset();
  }
  void TearDown() override {
    ASSERT_EQ(chdir(saved_dir_.c_str()), 0);
    zorview_startup_reset();
  }

  // A float NIfTI-1 file of nx*2*2 voxels and nt volumes, every value `v`.
  void nifti(const std::string &name, int nx, int nt, float v, bool rotated = false) {
    NiftiFields s;
    s.dim[0] = 4;
    s.dim[1] = static_cast<int16_t>(nx);
    s.dim[4] = static_cast<int16_t>(nt);
    if (rotated) {
      s.qform_code = 1;
      s.sform_code = 1;
      const float rows[3][4] = {{0.9f, -0.1f, 0, 1}, {0.1f, 0.9f, 0, 2}, {0, 0, 1, 3}};
      memcpy(s.srow, rows, sizeof rows);
    }
    std::vector<float> data(static_cast<size_t>(nx) * 4 * nt, v);
    const std::string bytes = nifti_file_bytes(s, data.data(), data.size() * 4);
    write_binary_file(dir_, name, bytes.data(), bytes.size());
  }

  Captured run(std::vector<std::string> args) {
    args.insert(args.begin(), "zorview");
    std::vector<char *> argv;
    for (auto &a : args) argv.push_back(a.data());
    return capture_until_windows([&] { zorview_main(static_cast<int>(argv.size()), argv.data()); });
  }

  std::string dir_, saved_dir_;
};

TEST_F(StartupLoading, StacksAreLoadedAnatomyMapsImages) {
  nifti("anat.nii", 3, 2, 1.0f);
  nifti("map.nii", 3, 1, 2.0f);
  nifti("run.nii", 3, 4, 3.0f);
  Captured c = run({"run.nii", "-a", "map.nii", "-e", "anat.nii"});
  EXPECT_EQ(c.exit_status, -1) << c.out;
  EXPECT_EQ(c.out,
            "voxels (3,2,2,2), res (1,1,1,0)\n\ranat.nii: 100 %\n\rmap.nii: 100 %\n"
            "\rrun.nii: 100 %\n");
  EXPECT_EQ(anatomy_stack.nt, 2);
  EXPECT_EQ(activation_stack.nt, 1);
  EXPECT_EQ(image_stack.nt, 4);
  EXPECT_EQ(anatomy_stack.Volume[1][11], 1.0f);
  EXPECT_EQ(activation_stack.Volume[0][0], 2.0f);
  EXPECT_EQ(image_stack.Volume[3][5], 3.0f);
}

TEST_F(StartupLoading, MapOfOtherDimensionsStopsTheImages) {
  nifti("map.nii", 4, 1, 2.0f);
  nifti("run.nii", 3, 4, 3.0f);
  Captured c = run({"run.nii", "-a", "map.nii"});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out,
            "voxels (4,2,2,1), res (1,1,1,0)\n\rmap.nii: 100 %\n"
            "Error: dimensions for run.nii (3,2,2)\ndon't match previous image dimensions (4,2,2)\n");
}

TEST_F(StartupLoading, RotatedVoxelAxesAreWarnedAbout) {
  nifti("rot.nii", 3, 1, 3.0f, true);
  Captured c = run({"rot.nii"});
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(c.out,
            "voxels (3,2,2,1), res (1,1,1,0)\n\rrot.nii: 100 %\n"
            "Warning: the data has voxel indices             (i,j,k)\n"
            "         that are not parallel with coordinates (x,y,z).\n"
            "         The coordinates will display correctly, but\n"
            "         wire frames won't work.\n");
  EXPECT_EQ(image_stack.off_diagonal, 1);
}

TEST_F(StartupLoading, MissingDataEndsTheRunWithStatusOne) {
  nifti("run.nii", 3, 4, 3.0f);
  write_text_file(dir_, "b.hdr", "x 3\ny 2\nz 2\nt 1\n");
  Captured c = run({"run.nii", "b.bfloat"});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "voxels (3,2,2,4), res (1,1,1,0)\n\nError: cannot open file b.bfloat.\n");
}

TEST_F(StartupLoading, TruncatedImageEndsTheRunWithStatusOne) {
  NiftiFields s;
  s.dim[0] = 4;
  s.dim[4] = 300;
  const std::string bytes = nifti_file_bytes(s, nullptr, 0);
  write_binary_file(dir_, "cut.nii", bytes.data(), bytes.size());
  Captured c = run({"cut.nii"});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "voxels (2,2,2,300), res (1,1,1,0)\nError reading the data from file cut.nii\n");
}

TEST_F(StartupLoading, NativeFilesInBothByteOrdersLoad) {
  const int other = 1 - machine_byte_order();
  write_text_file(dir_, "le.hdr", "x 2\ny 1\nz 1\nt 2\nstorage-type long\nbyte-order " +
                                       std::to_string(other) + "\n");
  const unsigned char swapped[16] = {0, 0, 0, 1, 0xff, 0xff, 0xff, 0xfe, 0, 1, 0, 0, 0x80, 0, 0, 0};
  write_binary_file(dir_, "le.blong", swapped, sizeof swapped);
  write_text_file(dir_, "same.hdr", "x 2\ny 1\nz 1\nt 1\nstorage-type unsigned-short\n");
  const uint16_t values[2] = {65535, 7};
  write_binary_file(dir_, "same.ushort", values, sizeof values);
  Captured c = run({"le.blong", "same.ushort"});
  ASSERT_EQ(c.exit_status, -1) << c.out;
  EXPECT_EQ(image_stack.Volume[0][0], 1.0f);
  EXPECT_EQ(image_stack.Volume[0][1], -2.0f);
  EXPECT_EQ(image_stack.Volume[1][0], 65536.0f);
  EXPECT_EQ(image_stack.Volume[1][1], -2147483648.0f);
  EXPECT_EQ(image_stack.Volume[2][0], 65535.0f);
  EXPECT_EQ(image_stack.Volume[2][1], 7.0f);
}

TEST_F(StartupLoading, MainRunsAgainWithFreshStacks) {
  nifti("run.nii", 3, 4, 3.0f);
  Captured first = run({"run.nii"});
  Captured second = run({"run.nii"});
  EXPECT_EQ(first.out, second.out);
  EXPECT_EQ(image_stack.nt, 4);
}

}  // namespace
