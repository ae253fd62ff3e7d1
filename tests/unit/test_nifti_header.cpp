// NIfTI-1 headers: byte order, dimensions, data types, orientation methods
// and the degrees-of-freedom extension.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "nifti_test_files.h"
#include "test_support.h"
#include "zor.h"

namespace {

XD_HEADER fresh_header(const std::string &name, int file_type) {
  XD_HEADER h;
  memset(&h, 0, sizeof h);
  snprintf(h.file_name, sizeof h.file_name, "%s", name.c_str());
  h.resolution = POINT3D{1, 1, 1};
  h.direction = POINT3D{1, 1, 1};
  h.byte_order = machine_byte_order();
  h.file_type = file_type;
  h.storage_type = file_type;
  return h;
}

struct HeaderRead {
  int result;
  XD_HEADER header;
  Captured printed;
};

HeaderRead read_header(const std::string &path, int verbose = 1, int file_type = NIFTI_NII) {
  HeaderRead r;
  r.header = fresh_header(path, file_type);
  r.printed = capture_output([&] { r.result = read_nifti_header(verbose, path.c_str(), &r.header); });
  return r;
}

std::string write_nifti(const std::string &dir, const std::string &name, const NiftiFields &fields,
                        size_t data_bytes = 64) {
  std::vector<unsigned char> data(data_bytes, 0);
  const std::string bytes = nifti_file_bytes(fields, data.data(), data.size());
  return write_binary_file(dir, name, bytes.data(), bytes.size());
}

class NiftiHeader : public ::testing::Test {
 protected:
  std::string dir = make_temp_dir();
};

TEST_F(NiftiHeader, ThreeDimensionsWithStaleTimeCountGiveOneTimePoint) {
  NiftiFields s;
  s.dim[0] = 3;
  s.dim[1] = 4;
  s.dim[2] = 5;
  s.dim[3] = 6;
  s.dim[4] = 0;
  HeaderRead r = read_header(write_nifti(dir, "a.nii", s), 0);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.header.dim.x, 4);
  EXPECT_EQ(r.header.dim.y, 5);
  EXPECT_EQ(r.header.dim.z, 6);
  EXPECT_EQ(r.header.nt, 1);
  EXPECT_EQ(r.printed.out, "");
}

TEST_F(NiftiHeader, FourDimensionsTakeTheTimeCount) {
  NiftiFields s;
  s.dim[0] = 4;
  s.dim[4] = 7;
  s.pixdim[4] = 2.5f;
  HeaderRead r = read_header(write_nifti(dir, "a.nii", s), 0);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.header.nt, 7);
  EXPECT_FLOAT_EQ(r.header.resolution_t, 2.5f);
}

TEST_F(NiftiHeader, OtherByteOrderHeaderIsCorrectedButByteOrderStaysTheMachines) {
  NiftiFields s;
  s.other_byte_order = true;
  s.dim[0] = 4;
  s.dim[1] = 3;
  s.dim[2] = 258;
  s.dim[3] = 2;
  s.dim[4] = 5;
  s.datatype = 4;
  s.pixdim[1] = 1.5f;
  s.pixdim[2] = 2.5f;
  s.pixdim[3] = 3.5f;
  s.scl_slope = 2;
  s.scl_inter = -1;
  HeaderRead r = read_header(write_nifti(dir, "swapped.nii", s), 0);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.header.dim.x, 3);
  EXPECT_EQ(r.header.dim.y, 258);
  EXPECT_EQ(r.header.dim.z, 2);
  EXPECT_EQ(r.header.nt, 5);
  EXPECT_EQ(r.header.storage_type, BSHORT);
  EXPECT_FLOAT_EQ(r.header.resolution.y, 2.5f);
  EXPECT_FLOAT_EQ(r.header.scale_slope, 2.0f);
  EXPECT_FLOAT_EQ(r.header.scale_offset, -1.0f);
  EXPECT_FLOAT_EQ(r.header.voxel_offset, 352.0f);
  EXPECT_EQ(r.header.byte_order, machine_byte_order());
}

TEST_F(NiftiHeader, EveryListedDatatypeSelectsItsStorage) {
  const int codes[] = {2, 4, 8, 16, 32, 64, 512};
  const int storage[] = {UINT8, BSHORT, BLONG, BFLOAT, BFLOAT, BDOUBLE, USHORT};
  for (int i = 0; i < 7; i++) {
    NiftiFields s;
    s.datatype = static_cast<int16_t>(codes[i]);
    HeaderRead r = read_header(write_nifti(dir, "t.nii", s), 0);
    ASSERT_EQ(r.result, 0) << codes[i];
    EXPECT_EQ(r.header.storage_type, storage[i]) << codes[i];
    EXPECT_EQ(r.header.data_type, codes[i] == 32 ? DATA_COMPLEX : DATA_MAGNITUDE) << codes[i];
  }
}

TEST_F(NiftiHeader, OtherDatatypesAreRefused) {
  for (int code : {0, 1, 128, 256, 768, 1024, 1280, 1536, 1792, 2048, 2304}) {
    NiftiFields s;
    s.datatype = static_cast<int16_t>(code);
    HeaderRead r = read_header(write_nifti(dir, "t.nii", s), 0);
    EXPECT_EQ(r.result, 1) << code;
    EXPECT_EQ(r.printed.out,
              "Error: the Nifti data storage type " + std::to_string(code) + " is not supported.\n");
  }
}

TEST_F(NiftiHeader, FifthDimensionOfThreeMakesVectorData) {
  NiftiFields s;
  s.dim[0] = 5;
  s.dim[4] = 2;
  s.dim[5] = 3;
  HeaderRead r = read_header(write_nifti(dir, "v.nii", s), 0);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.header.data_type, DATA_VECTOR);
  EXPECT_EQ(r.header.nt, 2);

  s.dim[5] = 2;
  r = read_header(write_nifti(dir, "v2.nii", s), 0);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.header.data_type, DATA_MAGNITUDE);
}

TEST_F(NiftiHeader, MoreThanFiveDimensionsWarn) {
  NiftiFields s;
  s.dim[0] = 6;
  s.dim[4] = 2;
  HeaderRead r = read_header(write_nifti(dir, "six.nii", s), 0);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.printed.out,
            "Warning: zor does not currently handle data of dimensionality (6) > 5.\n"
            "Proceeding using the 1st 5 dimensions...\n");
}

TEST_F(NiftiHeader, MissingDimensionsAreNamedInOrder) {
  const char axes[] = {'x', 'y', 'z', 't'};
  for (int i = 0; i < 4; i++) {
    NiftiFields s;
    s.dim[0] = 4;
    s.dim[4] = 2;
    s.dim[1 + i] = i == 1 ? -3 : 0;
    const std::string path = write_nifti(dir, "d.nii", s);
    HeaderRead r = read_header(path, 0);
    EXPECT_EQ(r.result, 1);
    EXPECT_EQ(r.printed.out, std::string("Error: Value for ") + axes[i] +
                                 " dimension not found in header file '" + path + "'\n");
  }
}

TEST_F(NiftiHeader, VolumesBeyondThirtyTwoBitsAreRefused) {
  NiftiFields s;
  s.dim[1] = s.dim[2] = s.dim[3] = 32767;
  const std::string path = write_nifti(dir, "huge.nii", s);
  HeaderRead r = read_header(path, 0);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out,
            "Error: the volume of 32767 x 32767 x 32767 voxels in file " + path + " is too large.\n");
}

TEST_F(NiftiHeader, QformCodeZeroUsesMethodOneEvenWithSform) {
  NiftiFields s;
  s.pixdim[1] = 2;
  s.pixdim[2] = 3;
  s.pixdim[3] = 4;
  s.qform_code = 0;
  s.sform_code = 2;
  s.srow[0][0] = 9;
  s.srow[0][3] = 5;
  const std::string path = write_nifti(dir, "m1.nii", s);
  HeaderRead r = read_header(path);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.printed.out,
            "The NIFTI header for file " + path + " uses Method 1: the old analyze format\n");
  const float want[4][4] = {{2, 0, 0, 0}, {0, 3, 0, 0}, {0, 0, 4, 0}, {0, 0, 0, 1}};
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) EXPECT_EQ(r.header.ijk_to_xyz.m[i][j], want[i][j]);
  EXPECT_EQ(r.header.origin.x, 0.0f);
  EXPECT_EQ(r.header.off_diagonal, 0);
}

TEST_F(NiftiHeader, MethodOneKeepsNegativeSpacingAsDirection) {
  NiftiFields s;
  s.pixdim[1] = -2;
  HeaderRead r = read_header(write_nifti(dir, "neg.nii", s), 0);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.header.direction.x, -1.0f);
  EXPECT_EQ(r.header.direction.y, 1.0f);
  EXPECT_EQ(r.header.ijk_to_xyz.m[0][0], -2.0f);
}

TEST_F(NiftiHeader, QformWithoutSformUsesQuaternions) {
  NiftiFields s;
  s.pixdim[0] = -1;  // qfac
  s.pixdim[1] = 2;
  s.pixdim[2] = 3;
  s.pixdim[3] = 4;
  s.qform_code = 1;
  // 90 degrees about z: b = c = 0, d = sin(45 degrees).
  s.quatern[2] = static_cast<float>(std::sqrt(0.5));
  s.qoffset[0] = 10;
  s.qoffset[1] = -20;
  s.qoffset[2] = 30;
  const std::string path = write_nifti(dir, "m2.nii", s);
  HeaderRead r = read_header(path);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.printed.out,
            "The NIFTI header for file " + path + " uses Method 2: quaternion rotations\n");
  const mat44 &m = r.header.ijk_to_xyz;
  EXPECT_NEAR(m.m[0][0], 0, 1e-6);
  EXPECT_NEAR(m.m[0][1], -3, 1e-6);
  EXPECT_NEAR(m.m[1][0], 2, 1e-6);
  EXPECT_NEAR(m.m[1][1], 0, 1e-6);
  EXPECT_NEAR(m.m[2][2], -4, 1e-6);  // qfac -1 flips the third column
  EXPECT_EQ(r.header.origin.x, 10.0f);
  EXPECT_EQ(r.header.origin.y, -20.0f);
  EXPECT_EQ(r.header.origin.z, 30.0f);
  EXPECT_EQ(r.header.off_diagonal, 1);
  EXPECT_EQ(r.header.qfac, -1.0f);
  EXPECT_FLOAT_EQ(r.header.quaternion.z, static_cast<float>(std::sqrt(0.5)));
  EXPECT_EQ(r.header.direction.z, -1.0f);
}

TEST_F(NiftiHeader, BothCodesSetUseTheAffineRows) {
  NiftiFields s;
  s.qform_code = 1;
  s.sform_code = 1;
  const float rows[3][4] = {{-2, 0.5f, 0, 90}, {0, 2, 0, -126}, {0, 0, 2, -72}};
  memcpy(s.srow, rows, sizeof rows);
  const std::string path = write_nifti(dir, "m3.nii", s);
  HeaderRead r = read_header(path);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.printed.out, "The NIFTI header for file " + path +
                               " uses Method 3: affine transformation of voxel indices\n");
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 4; j++) EXPECT_EQ(r.header.ijk_to_xyz.m[i][j], rows[i][j]);
  EXPECT_EQ(r.header.origin.x, 90.0f);
  EXPECT_EQ(r.header.direction.x, -1.0f);
  EXPECT_EQ(r.header.off_diagonal, 1);
}

TEST_F(NiftiHeader, AxisParallelAffineIsNotOffDiagonal) {
  NiftiFields s;
  s.qform_code = 1;
  s.sform_code = 1;
  const float rows[3][4] = {{2, 0, 0, 1}, {0, 2, 0, 2}, {0, 0, -2, 3}};
  memcpy(s.srow, rows, sizeof rows);
  HeaderRead r = read_header(write_nifti(dir, "m3.nii", s), 0);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.header.off_diagonal, 0);
  EXPECT_EQ(r.header.direction.z, -1.0f);
}

TEST_F(NiftiHeader, ZeroSlopeIsKeptAsNoScaling) {
  NiftiFields s;
  s.scl_slope = 0;
  s.scl_inter = 5;
  HeaderRead r = read_header(write_nifti(dir, "s.nii", s), 0);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.header.scale_slope, 0.0f);
  EXPECT_EQ(r.header.scale_offset, 5.0f);
}

TEST_F(NiftiHeader, ExtensionCodeTwentyGivesDegreesOfFreedom) {
  NiftiFields s;
  s.vox_offset = 368;
  s.after_header = nifti_extension(16, 20, {37, 0, 0, 0, 0, 0, 0, 0});
  HeaderRead r = read_header(write_nifti(dir, "dof.nii", s), 0);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.header.lDOF, 37);
}

TEST_F(NiftiHeader, OtherExtensionCodesLeaveDegreesOfFreedomZero) {
  NiftiFields s;
  s.vox_offset = 368;
  s.after_header = nifti_extension(16, 6, {37, 0, 0, 0, 0, 0, 0, 0});
  HeaderRead r = read_header(write_nifti(dir, "c.nii", s), 0);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.header.lDOF, 0);
}

TEST_F(NiftiHeader, ZeroExtenderIsNotSearched) {
  NiftiFields s;
  s.vox_offset = 368;
  s.after_header = nifti_extension(16, 20, {37, 0, 0, 0, 0, 0, 0, 0});
  s.after_header[0] = 0;
  HeaderRead r = read_header(write_nifti(dir, "z.nii", s), 0);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.header.lDOF, 0);
}

TEST_F(NiftiHeader, TruncatedExtensionsFail) {
  struct Case {
    std::vector<unsigned char> tail;
    std::string message;
  } cases[] = {
      {{1, 0, 0, 0, 16, 0}, "Error: A NIFTI1 extension was indicated, but it is missing.\n"},
      {{1, 0, 0, 0, 16, 0, 0, 0, 20, 0},
       "Error: A NIFTI1 extension was indicated, but the ecode is missing.\n"},
      {{1, 0, 0, 0, 16, 0, 0, 0, 20, 0, 0, 0, 5}, "Error read degrees of freedom.\n"},
  };
  for (const Case &c : cases) {
    NiftiFields s;
    s.vox_offset = 0;
    s.after_header = c.tail;
    const std::string bytes = nifti_file_bytes(s, nullptr, 0);
    const std::string path = write_binary_file(dir, "ext.nii", bytes.data(), bytes.size());
    HeaderRead r = read_header(path, 0);
    EXPECT_EQ(r.result, 1);
    EXPECT_EQ(r.printed.out, c.message);
  }
}

TEST_F(NiftiHeader, HeaderWithoutExtenderIsComplete) {
  NiftiFields s;
  s.vox_offset = 0;
  s.after_header.clear();
  const std::string bytes = nifti_file_bytes(s, nullptr, 0);
  HeaderRead r = read_header(write_binary_file(dir, "bare.nii", bytes.data(), bytes.size()), 0);
  EXPECT_EQ(r.result, 0);
}

TEST_F(NiftiHeader, ShortHeaderEndsTheRun) {
  const std::string path = write_text_file(dir, "short.nii", std::string(200, 'x'));
  HeaderRead r = read_header(path, 0);
  EXPECT_EQ(r.printed.exit_status, 1);
  EXPECT_EQ(r.printed.err, "\nError reading header file " + path + "\n");
}

TEST_F(NiftiHeader, MissingFileFails) {
  const std::string path = dir + "/none.nii";
  HeaderRead r = read_header(path, 0);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: cannot open Nifti file " + path + ".\n");
}

TEST_F(NiftiHeader, ImgNameReadsTheHdrBesideIt) {
  NiftiFields s;
  s.dim[1] = 9;
  s.vox_offset = 0;
  const std::string bytes = nifti_file_bytes(s, nullptr, 0);
  write_binary_file(dir, "pair.hdr", bytes.data(), bytes.size());
  HeaderRead r = read_header(dir + "/pair.img", 1, NIFTI_IMG);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.header.dim.x, 9);
  EXPECT_EQ(r.printed.out, "The NIFTI header for file " + dir +
                               "/pair.hdr uses Method 1: the old analyze format\n");
  HeaderRead missing = read_header(dir + "/other.img", 0, NIFTI_IMG);
  EXPECT_EQ(missing.result, 1);
  EXPECT_EQ(missing.printed.out, "Error: cannot open Nifti file " + dir + "/other.hdr.\n");
}

}  // namespace
