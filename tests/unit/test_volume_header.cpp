#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <string>

#include "test_support.h"
#include "zor.h"

namespace {

struct Read {
  int result;
  std::string printed;
  XD_HEADER header;
  int exit_status;
};

Read read_header(int verbose, const std::string &name) {
  Read r{};
  Captured c = capture_output([&] { r.result = read_volume_header(verbose, name.c_str(), &r.header); });
  r.printed = c.out;
  r.exit_status = c.exit_status;
  return r;
}

TEST(VolumeHeader, DefaultsFillWhatTheHeaderLeavesOut) {
  std::string dir = make_temp_dir();
  write_text_file(dir, "run.hdr", "x 4\ny 3\nz 2\nt 5\n");
  Read r = read_header(0, dir + "/run.bshort");
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.printed, "");
  const XD_HEADER &h = r.header;
  EXPECT_STREQ(h.file_name, (dir + "/run.bshort").c_str());
  EXPECT_EQ(h.resolution.x, 1.0f);
  EXPECT_EQ(h.resolution.z, 1.0f);
  EXPECT_EQ(h.origin.y, 0.0f);
  EXPECT_EQ(h.direction.z, 1.0f);
  EXPECT_EQ(h.resolution_t, 0.0f);
  EXPECT_EQ(h.byte_order, machine_byte_order());
  EXPECT_EQ(h.file_type, BSHORT);
  EXPECT_EQ(h.storage_type, BSHORT);
  EXPECT_EQ(h.data_type, 0);
  EXPECT_EQ(h.lDOF, 0);
  EXPECT_EQ(h.off_diagonal, 0);
  EXPECT_EQ(h.voxel_offset, 0.0f);
  EXPECT_EQ(h.scale_slope, 0.0f);
  EXPECT_EQ(h.registration, 0);
}

TEST(VolumeHeader, DerivedSizesAndInverse) {
  std::string dir = make_temp_dir();
  write_text_file(dir, "a.hdr",
                  "x 4\ny 3\nz 2\nt 5\nresolution 2 3 4 1.5\norigin -4 6 8\ndirection -1 1 -1\n");
  Read r = read_header(0, dir + "/a.bfloat");
  ASSERT_EQ(r.result, 0);
  const XD_HEADER &h = r.header;
  EXPECT_EQ(h.n2d, 12);
  EXPECT_EQ(h.n3d, 24);
  EXPECT_EQ(h.n4d, 120);
  EXPECT_EQ(h.fov.x, 8.0f);
  EXPECT_EQ(h.fov.y, 9.0f);
  EXPECT_EQ(h.fov.z, 8.0f);
  EXPECT_EQ(h.resolution_t, 1.5f);
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) {
      float s = 0;
      for (int k = 0; k < 4; k++) s += h.ijk_to_xyz.m[i][k] * h.xyz_to_ijk.m[k][j];
      EXPECT_NEAR(s, i == j ? 1.0f : 0.0f, 1e-6) << i << "," << j;
    }
  EXPECT_FLOAT_EQ(h.xyz_to_ijk.m[0][0], -0.5f);
  EXPECT_FLOAT_EQ(h.xyz_to_ijk.m[0][3], -2.0f);  // i = (x + 4) / -2
}

TEST(VolumeHeader, HeaderWithoutByteOrderMeansThisMachine) {
  std::string dir = make_temp_dir();
  write_text_file(dir, "a.hdr", "x 1\ny 1\nz 1\nt 1\n");
  EXPECT_EQ(read_header(0, dir + "/a.bshort").header.byte_order, machine_byte_order());
  write_text_file(dir, "a.hdr", "x 1\ny 1\nz 1\nt 1\nbyte-order 0\n");
  EXPECT_EQ(read_header(0, dir + "/a.bshort").header.byte_order, 0);
}

TEST(VolumeHeader, TwoDotsAndUnknownExtensionIsNative) {
  std::string dir = make_temp_dir();
  write_text_file(dir, "sub.run1.hdr", "x 2\ny 2\nz 2\nt 2\nstorage-type float\n");
  Read r = read_header(0, dir + "/sub.run1.raw");
  ASSERT_EQ(r.result, 0) << r.printed;
  EXPECT_EQ(r.header.file_type, -1);
  EXPECT_EQ(r.header.storage_type, BFLOAT);
}

TEST(VolumeHeader, UnknownExtensionWithoutStorageTypePassesTheHeaderStage) {
  std::string dir = make_temp_dir();
  write_text_file(dir, "a.hdr", "x 2\ny 2\nz 2\nt 2\n");
  Read r = read_header(0, dir + "/a.dat");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.header.storage_type, -1);
}

TEST(VolumeHeader, StorageTypeLineOverridesTheExtension) {
  std::string dir = make_temp_dir();
  write_text_file(dir, "a.hdr", "x 2\ny 2\nz 2\nt 2\nstorage-type unsigned-char\n");
  Read r = read_header(0, dir + "/a.bshort");
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.header.file_type, BSHORT);
  EXPECT_EQ(r.header.storage_type, UINT8);
}

TEST(VolumeHeader, DotOnlyInADirectoryMeansNoExtension) {
  std::string dir = make_temp_dir() + "/study.v2";
  std::filesystem::create_directory(dir);
  write_text_file(dir, "vol.hdr", "x 2\ny 2\nz 2\nt 2\nstorage-type long\n");
  Read r = read_header(0, dir + "/vol");
  ASSERT_EQ(r.result, 0) << r.printed;
  EXPECT_EQ(r.header.file_type, BLONG);
  EXPECT_EQ(r.header.storage_type, BLONG);
}

TEST(VolumeHeader, NoExtensionWithoutStorageTypeIsRefused) {
  std::string dir = make_temp_dir();
  write_text_file(dir, "vol.hdr", "x 2\ny 2\nz 2\nt 2\n");
  Read r = read_header(0, dir + "/vol");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed,
            "Error: the file type is not recognized,\n"
            "so it was assumed to be an vistrel file without an extension.\n"
            "However, the storage type was not read from file " + dir + "/vol.hdr\n"
            "Valid types end in .nii, .img, .bshort, .bfloat, .blong, or _'\n");
}

TEST(VolumeHeader, NoExtensionAndNoHeaderFile) {
  std::string dir = make_temp_dir();
  Read r = read_header(0, dir + "/vol");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error: cannot open vistrel file " + dir + "/vol.hdr.\n");
}

TEST(VolumeHeader, TrailingUnderscoreGoesToTheSliceSeriesReader) {
  // The name would be a readable native file ("b_" is an unknown extension
  // beside a good a.hdr), so success here would mean the wrong reader ran.
  std::string dir = make_temp_dir();
  write_text_file(dir, "a.hdr", "x 2\ny 2\nz 2\nt 2\n");
  Read r = read_header(0, dir + "/a.b_");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.find("vistrel"), std::string::npos);
}

TEST(VolumeHeader, ImgIsTakenAsNiftiAndSaysSoWhenVerbose) {
  std::string dir = make_temp_dir();
  write_text_file(dir, "a.hdr", "x 2\ny 2\nz 2\nt 2\n");  // a native header would succeed
  Read quiet = read_header(0, dir + "/a.img");
  Read verbose = read_header(1, dir + "/a.img");
  const std::string line = "Files with .img extensions are assumed to be NIFTI, not ANALYZE\n";
  EXPECT_EQ(quiet.printed.find(line), std::string::npos);
  EXPECT_EQ(verbose.printed.rfind(line, 0), 0u);
  // The NIfTI reader took it: eight short lines are no 348-byte header.
  EXPECT_EQ(quiet.exit_status, 1);
  EXPECT_EQ(quiet.header.file_type, NIFTI_IMG);
}

TEST(VolumeHeader, NiiIsTakenAsNifti) {
  std::string dir = make_temp_dir();
  write_text_file(dir, "a.hdr", "x 2\ny 2\nz 2\nt 2\n");
  Read r = read_header(1, dir + "/a.nii");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.header.file_type, NIFTI_NII);
  EXPECT_EQ(r.printed.find("Files with .img"), std::string::npos);
}

TEST(VolumeHeader, BdoublePassesTheHeaderStage) {
  std::string dir = make_temp_dir();
  write_text_file(dir, "a.hdr", "x 2\ny 2\nz 2\nt 2\n");
  Read r = read_header(0, dir + "/a.bdouble");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.header.file_type, BDOUBLE);
  EXPECT_EQ(r.header.storage_type, BDOUBLE);
}

TEST(VolumeHeader, VerboseSummaryForShorts) {
  std::string dir = make_temp_dir();
  write_text_file(dir, "a.hdr", "x 32\ny 30\nz 8\nt 20\nresolution 3.5 3.5 5 2\n");
  Read r = read_header(1, dir + "/a.bshort");
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.printed, "magnitude data, short ints, voxels (32,30,8,20), res (3.5,3.5,5,2)\n");
}

TEST(VolumeHeader, VerboseSummaryPutsALineEndAfterOtherStorage) {
  std::string dir = make_temp_dir();
  write_text_file(dir, "a.hdr", "x 2\ny 3\nz 4\nt 1\ndata-type complex\n");
  EXPECT_EQ(read_header(1, dir + "/a.bfloat").printed,
            "complex data, floating point\nvoxels (2,3,4,1), res (1,1,1,0)\n");
  write_text_file(dir, "a.hdr", "x 2\ny 3\nz 4\nt 1\ndata-type magnitude-phase\n");
  EXPECT_EQ(read_header(1, dir + "/a.blong").printed,
            "magnitude-phase data, long ints\nvoxels (2,3,4,1), res (1,1,1,0)\n");
  write_text_file(dir, "a.hdr", "x 2\ny 3\nz 4\nt 1\nstorage-type unsigned-char\n");
  EXPECT_EQ(read_header(1, dir + "/a.bshort").printed,
            "magnitude data, bytes\nvoxels (2,3,4,1), res (1,1,1,0)\n");
  write_text_file(dir, "a.hdr", "x 2\ny 3\nz 4\nt 1\ndata-type vector\n");
  EXPECT_EQ(read_header(1, dir + "/a.ushort").printed, "voxels (2,3,4,1), res (1,1,1,0)\n");
}

TEST(VolumeHeader, NegativeDimensionIsRefused) {
  std::string dir = make_temp_dir();
  write_text_file(dir, "a.hdr", "x -4\ny 3\nz 2\nt 1\n");
  Read r = read_header(0, dir + "/a.bshort");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error: Value for x dimension not found in header file '" + dir + "/a.hdr'\n");
}

TEST(VolumeHeader, VoxelCountBeyond32BitsIsRefused) {
  std::string dir = make_temp_dir();
  write_text_file(dir, "a.hdr", "x 2000000000\ny 2000000000\nz 2\nt 1\n");
  Read r = read_header(0, dir + "/a.bshort");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error: the volume of 2000000000 x 2000000000 x 2 voxels in file " + dir +
                           "/a.hdr is too large.\n");
}

TEST(VolumeHeader, OneSizeCheckForEveryFormat) {
  // The same counts give the same messages whatever the format's reader.
  XD_HEADER h{};
  h.dim = IPOINT3D{4, 0, 2};
  h.nt = 1;
  Captured c = capture_output([&] { EXPECT_EQ(check_volume_dimensions(&h, "n.hdr"), 1); });
  EXPECT_EQ(c.out, "Error: Value for y dimension not found in header file 'n.hdr'\n");
  h.dim = IPOINT3D{4, 3, 2};
  h.nt = -1;
  c = capture_output([&] { EXPECT_EQ(check_volume_dimensions(&h, "n.hdr"), 1); });
  EXPECT_EQ(c.out, "Error: Value for t dimension not found in header file 'n.hdr'\n");
  // Vector data: three values a voxel must fit too.
  h.dim = IPOINT3D{1024, 1024, 700};
  h.nt = 1;
  h.data_type = 3;
  c = capture_output([&] { EXPECT_EQ(check_volume_dimensions(&h, "v.nii"), 1); });
  EXPECT_EQ(c.out, "Error: the volume of 1024 x 1024 x 700 voxels in file v.nii is too large.\n");
  h.data_type = 0;
  c = capture_output([&] { EXPECT_EQ(check_volume_dimensions(&h, "v.nii"), 0); });
  EXPECT_EQ(c.out, "");
  // And the whole series.
  h.nt = 3;
  c = capture_output([&] { EXPECT_EQ(check_volume_dimensions(&h, "v.nii"), 1); });
  EXPECT_EQ(c.out, "Error: the volume of 1024 x 1024 x 700 voxels in file v.nii is too large.\n");
}

TEST(VolumeHeader, OverlongNameIsRefused) {
  std::string name(3000, 'v');
  name += ".bshort";
  Read r = read_header(0, name);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error: the file name " + name + " is too long.\n");
}

TEST(VolumeHeader, FailedReadOfKeywordsIsPassedOn) {
  std::string dir = make_temp_dir();
  write_text_file(dir, "a.hdr", "x 2\ny 2\nz 2\nt 2\ndirection 1 1 0\n");
  Read r = read_header(1, dir + "/a.bshort");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed,
            "Error: allowed values for direction (1,1,0) are 1 and -1.\n"
            "Error reading line 4 of file '" + dir + "/a.hdr'\n");
}

}  // namespace
