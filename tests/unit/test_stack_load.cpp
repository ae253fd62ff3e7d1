// Loading lists of files into stacks: concatenation in time, the checks
// between files, scaling, every storage type and the safety checks made
// before anything is allocated.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "nifti_test_files.h"
#include "stack_test_helpers.h"
#include "test_support.h"
#include "zor.h"

namespace {

class StackLoad : public ::testing::Test {
 protected:
  std::string dir = make_temp_dir();

  void SetUp() override {
    read_SpaceTime_data_reset();
    clear_stack(&image_stack);
    clear_stack(&activation_stack);
    clear_stack(&anatomy_stack);
  }
  void TearDown() override {
    for (data_stack *s : {&image_stack, &activation_stack, &anatomy_stack}) free_stack_data(s->nt, s);
  }

  // A float32 NIfTI-1 file of nx*ny*nz voxels and nt volumes; voxel i of
  // volume t holds first + 100 t + i unless values are given.
  std::string float_file(const std::string &name, int nt, float time_step = 2.0f,
                         IPOINT3D dim = {3, 2, 2}, float first = 0.0f) {
    NiftiFields s;
    s.dim[0] = 4;
    s.dim[1] = static_cast<int16_t>(dim.x);
    s.dim[2] = static_cast<int16_t>(dim.y);
    s.dim[3] = static_cast<int16_t>(dim.z);
    s.dim[4] = static_cast<int16_t>(nt);
    s.pixdim[4] = time_step;
    std::vector<float> v;
    for (int t = 0; t < nt; t++)
      for (int i = 0; i < dim.x * dim.y * dim.z; i++) v.push_back(first + 100.0f * t + i);
    return write(name, s, v.data(), v.size() * 4);
  }

  std::string write(const std::string &name, const NiftiFields &s, const void *data, size_t bytes) {
    const std::string content = nifti_file_bytes(s, data, bytes);
    return write_binary_file(dir, name, content.data(), content.size());
  }
};

TEST_F(StackLoad, FilesAreConcatenatedInTime) {
  TestFileList files;
  files.add(float_file("a.nii", 10));
  files.add(float_file("b.nii", 12, 2.0f, {3, 2, 2}, 0.5f));
  LoadResult r = load_stack(&image_stack, &files.head);
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(r.nfiles, 2);
  EXPECT_EQ(image_stack.nt, 22);
  EXPECT_EQ(image_stack.n4d, 22 * 12);
  EXPECT_EQ(files.head.start_image, 0);
  EXPECT_EQ(files.head.end_image, 9);
  EXPECT_EQ(files.extra[0]->start_image, 10);
  EXPECT_EQ(files.extra[0]->end_image, 21);
  EXPECT_EQ(image_stack.Volume[9][11], 911.0f);
  EXPECT_EQ(image_stack.Volume[10][0], 0.5f);
  EXPECT_EQ(image_stack.Volume[21][3], 1103.5f);
}

TEST_F(StackLoad, TimeStepDifferencesAreSilent) {
  TestFileList files;
  files.add(float_file("a.nii", 2, 0.0f));
  files.add(float_file("b.nii", 2, 2.5f));
  files.add(float_file("c.nii", 2, 3.0f));
  LoadResult r = load_stack(&image_stack, &files.head);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(image_stack.resolution_t, 2.5f);
  EXPECT_EQ(files.head.time_step, 0.0f);
  EXPECT_EQ(files.extra[0]->time_step, 2.5f);
  EXPECT_EQ(files.extra[1]->time_step, 3.0f);
  const std::string a = files.head.file_name, b = files.extra[0]->file_name,
                    c = files.extra[1]->file_name;
  EXPECT_EQ(r.printed.out, "voxels (3,2,2,2), res (1,1,1,0)\n\r" + a + ": 100 %\n\r" + b +
                               ": 100 %\n\r" + c + ": 100 %\n");
}

TEST_F(StackLoad, FewTimePointsShowOnlyTheFinalPercentage) {
  TestFileList files;
  files.add(float_file("five.nii", 5));
  LoadResult r = load_stack(&image_stack, &files.head);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.printed.out, "voxels (3,2,2,5), res (1,1,1,2)\n\r" +
                               std::string(files.head.file_name) + ": 100 %\n");
}

TEST_F(StackLoad, ManyTimePointsShowTenSteps) {
  TestFileList files;
  const std::string name = float_file("many.nii", 25);
  files.add(name);
  LoadResult r = load_stack(&image_stack, &files.head);
  ASSERT_EQ(r.result, 0);
  // Every second volume (25/10 = 2), rounded percentages.
  std::string want = "voxels (3,2,2,25), res (1,1,1,2)\n";
  for (int jt = 0; jt < 25; jt += 2)
    want += "\r" + name + ": " + std::to_string(static_cast<int>(std::floor(100.0 * jt / 25 + 0.5))) + " %";
  want += "\r" + name + ": 100 %\n";
  EXPECT_EQ(r.printed.out, want);
}

TEST_F(StackLoad, FirstStackFixesTheDimensionsOfLaterOnes) {
  TestFileList activation;
  activation.add(float_file("map.nii", 1, 0.0f, {4, 2, 2}));
  ASSERT_EQ(load_stack(&activation_stack, &activation.head).result, 0);
  TestFileList images;
  const std::string image = float_file("run.nii", 3);
  images.add(image);
  LoadResult r = load_stack(&image_stack, &images.head);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: dimensions for " + image +
                               " (3,2,2)\ndon't match previous image dimensions (4,2,2)\n");
}

TEST_F(StackLoad, ResolutionDifferenceOnlyWarns) {
  NiftiFields s;
  s.pixdim[1] = 1.5f;
  std::vector<float> v(8, 1.0f);
  TestFileList files;
  const std::string a = write("a.nii", NiftiFields(), v.data(), 32);
  const std::string b = write("b.nii", s, v.data(), 32);
  files.add(a);
  files.add(b);
  LoadResult r = load_stack(&image_stack, &files.head);
  ASSERT_EQ(r.result, 0);
  EXPECT_NE(r.printed.out.find("Warning: resolution for " + b +
                               " (1.5,1,1)\ndoesn't match previous resolution (1,1,1)\n"),
            std::string::npos)
      << r.printed.out;
  EXPECT_EQ(image_stack.resolution.x, 1.5f);  // the last file's values stand
}

TEST_F(StackLoad, RealAndComplexFilesDoNotMix) {
  NiftiFields complex_fields;
  complex_fields.datatype = 32;
  std::vector<float> v(16, 1.0f);
  TestFileList files;
  files.add(write("real.nii", NiftiFields(), v.data(), 32));
  files.add(write("complex.nii", complex_fields, v.data(), 64));
  LoadResult r = load_stack(&image_stack, &files.head);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "voxels (2,2,2,1), res (1,1,1,0)\n"
                           "Don't mix real and complex data types between files.\n");
}

TEST_F(StackLoad, ActivationMapsMayDifferInDataType) {
  NiftiFields complex_fields;
  complex_fields.datatype = 32;
  std::vector<float> v(16, 1.0f);
  TestFileList images;
  images.add(write("real.nii", NiftiFields(), v.data(), 32));
  ASSERT_EQ(load_stack(&image_stack, &images.head).result, 0);
  TestFileList maps;
  maps.add(write("complex.nii", complex_fields, v.data(), 64));
  LoadResult r = load_stack(&activation_stack, &maps.head);
  EXPECT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(activation_stack.data_type, DATA_COMPLEX);
}

TEST_F(StackLoad, FirstLoadedActivationMapIsExempt) {
  NiftiFields complex_fields;
  complex_fields.datatype = 32;
  std::vector<float> v(16, 1.0f);
  TestFileList maps;
  maps.add(write("complex.nii", complex_fields, v.data(), 64));
  ASSERT_EQ(load_stack(&activation_stack, &maps.head).result, 0);
  TestFileList images;
  images.add(write("real.nii", NiftiFields(), v.data(), 32));
  images.add(write("real2.nii", NiftiFields(), v.data(), 32));
  EXPECT_EQ(load_stack(&image_stack, &images.head).result, 0);
}

TEST_F(StackLoad, TMapKeepsAllVolumesAndSMapOnlyItsFirst) {
  TestFileList maps;
  maps.add(float_file("t.nii", 3), 2);
  maps.add(float_file("s.nii", 4, 2.0f, {3, 2, 2}, 0.25f), 3);
  LoadResult r = load_stack(&activation_stack, &maps.head);
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(activation_stack.nt, 4);
  EXPECT_EQ(maps.head.nt, 3);
  EXPECT_EQ(maps.extra[0]->nt, 1);
  EXPECT_EQ(maps.extra[0]->header.nt, 4);
  EXPECT_EQ(maps.extra[0]->start_image, 3);
  EXPECT_EQ(maps.extra[0]->end_image, 3);
  EXPECT_EQ(activation_stack.Volume[3][5], 5.25f);
}

struct Scaled {
  float slope, offset, expected;
};

TEST_F(StackLoad, SlopeAndOffsetScaleUnlessSlopeIsZero) {
  for (Scaled c : {Scaled{2, 1, 1.0f}, Scaled{0, 1, 0.0f}, Scaled{-0.5f, 3, 3.0f}}) {
    SetUp();
    NiftiFields s;
    s.datatype = 4;
    s.scl_slope = c.slope;
    s.scl_inter = c.offset;
    std::vector<int16_t> v(8, 0);
    v[1] = 10;
    TestFileList files;
    files.add(write("scaled.nii", s, v.data(), 16));
    ASSERT_EQ(load_stack(&image_stack, &files.head).result, 0);
    EXPECT_EQ(image_stack.Volume[0][0], c.expected);
    EXPECT_EQ(image_stack.Volume[0][1], c.slope == 0 ? 10.0f : c.slope * 10.0f + c.offset);
    TearDown();
  }
}

TEST_F(StackLoad, LongRunsOfEveryIntegerTypeScaleEachVoxelExactly) {
  // Many volumes of many voxels, read as one file: each voxel must be its
  // own stored value under slope and offset, in float steps, in its place.
  const int nx = 17, ny = 9, nz = 5, nt = 31, n3d = nx * ny * nz;
  for (int16_t datatype : {2, 4, 8, 512}) {
    SetUp();
    NiftiFields s;
    s.dim[0] = 4, s.dim[1] = nx, s.dim[2] = ny, s.dim[3] = nz, s.dim[4] = static_cast<int16_t>(nt);
    s.datatype = datatype;
    s.scl_slope = 0.37f;
    s.scl_inter = -11.5f;
    const int size = datatype == 2 ? 1 : datatype == 8 ? 4 : 2;
    std::vector<unsigned char> bytes((size_t)n3d * nt * size);
    std::vector<double> stored((size_t)n3d * nt);
    for (size_t i = 0; i < stored.size(); i++) {
      const uint32_t h = (uint32_t)(i * 2654435761u) >> 7;
      if (datatype == 2) {
        const uint8_t v = (uint8_t)h;
        memcpy(&bytes[i], &v, 1), stored[i] = v;
      } else if (datatype == 4) {
        const int16_t v = (int16_t)h;
        memcpy(&bytes[2 * i], &v, 2), stored[i] = v;
      } else if (datatype == 512) {
        const uint16_t v = (uint16_t)h;
        memcpy(&bytes[2 * i], &v, 2), stored[i] = v;
      } else {
        const int32_t v = (int32_t)(h * 977u);
        memcpy(&bytes[4 * i], &v, 4), stored[i] = v;
      }
    }
    TestFileList files;
    files.add(write("long.nii", s, bytes.data(), bytes.size()));
    LoadResult r = load_stack(&image_stack, &files.head);
    ASSERT_EQ(r.result, 0) << datatype << r.printed.out;
    ASSERT_EQ(image_stack.nt, nt);
    int wrong = 0;
    for (int t = 0; t < nt; t++)
      for (int j = 0; j < n3d; j++) {
        const float want = 0.37f * (float)stored[(size_t)t * n3d + j] + -11.5f;
        wrong += image_stack.Volume[t][j] != want;
      }
    EXPECT_EQ(wrong, 0) << datatype;
    TearDown();
  }
}

TEST_F(StackLoad, ComplexAndVectorDataStayUnscaledBeyondTheirFirstValue) {
  NiftiFields s;
  s.datatype = 32;
  s.scl_slope = 2;
  s.scl_inter = 1;
  std::vector<float> v;
  for (int i = 0; i < 16; i++) v.push_back(static_cast<float>(i + 1));
  TestFileList files;
  files.add(write("c.nii", s, v.data(), 64));
  ASSERT_EQ(load_stack(&image_stack, &files.head).result, 0);
  EXPECT_EQ(image_stack.fcVolume[0][0].real, 3.0f);  // scaled just before it was placed
  EXPECT_EQ(image_stack.fcVolume[0][0].imag, 2.0f);
  for (int j = 1; j < 8; j++) {
    EXPECT_EQ(image_stack.fcVolume[0][j].real, 2.0f * j + 1);
    EXPECT_EQ(image_stack.fcVolume[0][j].imag, 2.0f * j + 2);
  }
  TearDown();
  SetUp();
  NiftiFields vs = s;
  vs.datatype = 16;
  vs.dim[0] = 5;
  vs.dim[5] = 3;
  std::vector<float> w;
  for (int i = 0; i < 24; i++) w.push_back(static_cast<float>(i + 1));
  TestFileList vfiles;
  vfiles.add(write("v.nii", vs, w.data(), 96));
  ASSERT_EQ(load_stack(&image_stack, &vfiles.head).result, 0);
  EXPECT_EQ(image_stack.data_type, DATA_VECTOR);
  EXPECT_EQ(image_stack.npts_volume, 24);
  EXPECT_EQ(image_stack.v3Volume[0][0].x, 3.0f);
  EXPECT_EQ(image_stack.v3Volume[0][0].y, 2.0f);
  EXPECT_EQ(image_stack.v3Volume[0][7].z, 24.0f);
  EXPECT_EQ(image_stack.v3Volume[0][3].x, 10.0f);
}

TEST_F(StackLoad, EveryStorageTypeConverts) {
  struct Case {
    int16_t datatype;
    std::vector<unsigned char> bytes;
    std::vector<float> values;
  };
  auto bytes_of = [](const auto &v) {
    const unsigned char *p = reinterpret_cast<const unsigned char *>(v.data());
    return std::vector<unsigned char>(p, p + v.size() * sizeof v[0]);
  };
  const std::vector<unsigned char> u8 = {0, 1, 127, 128, 200, 255, 3, 4};
  const std::vector<int16_t> i16 = {-32768, -1, 0, 1, 32767, 12, -12, 5};
  const std::vector<uint16_t> u16 = {0, 1, 32768, 65535, 40000, 2, 3, 4};
  const std::vector<int32_t> i32 = {-2147483647 - 1, -1, 0, 1, 2147483647, 16777217, -5, 6};
  const std::vector<float> f32 = {-1.5f, 0, 1e-30f, 3.25f, 1e30f, -0.0f, 7, 8};
  const std::vector<double> f64 = {1.5, -2.25, 0.1, 16777217.0, 1e39, -0.0, 1e-300, -3.4028235e38 - 1e30};
  const Case cases[] = {
      {2, u8, {0, 1, 127, 128, 200, 255, 3, 4}},
      {4, bytes_of(i16), {-32768, -1, 0, 1, 32767, 12, -12, 5}},
      {512, bytes_of(u16), {0, 1, 32768, 65535, 40000, 2, 3, 4}},
      {8, bytes_of(i32), {-2147483648.0f, -1, 0, 1, 2147483648.0f, 16777216.0f, -5, 6}},
      {16, bytes_of(f32), {-1.5f, 0, 1e-30f, 3.25f, 1e30f, -0.0f, 7, 8}},
      // Doubles are rounded to float: beyond float's range they are infinite.
      {64, bytes_of(f64), {1.5f, -2.25f, 0.1f, 16777216.0f, INFINITY, -0.0f, 0.0f, -FLT_MAX}},
  };
  for (const Case &c : cases) {
    SetUp();
    NiftiFields s;
    s.datatype = c.datatype;
    TestFileList files;
    files.add(write("st.nii", s, c.bytes.data(), c.bytes.size()));
    LoadResult r = load_stack(&image_stack, &files.head);
    ASSERT_EQ(r.result, 0) << c.datatype << r.printed.out;
    for (int j = 0; j < 8; j++) EXPECT_EQ(image_stack.Volume[0][j], c.values[j]) << c.datatype << " " << j;
    TearDown();
  }
}

TEST_F(StackLoad, DoublesAreScaledInFloatStepsLikeFloats) {
  // One volume (read one by one) and three (read through the mapped file),
  // with the slope and offset applied to the float value.
  for (int nt : {1, 3}) {
    SetUp();
    NiftiFields s;
    s.datatype = 64;
    s.dim[0] = 4;
    s.dim[4] = static_cast<int16_t>(nt);
    s.scl_slope = 0.3f;
    s.scl_inter = -1.7f;
    std::vector<double> v;
    for (int i = 0; i < 8 * nt; i++) v.push_back(0.1 * i - 2.0 / 3.0);
    TestFileList files;
    files.add(write("d.nii", s, v.data(), v.size() * 8));
    LoadResult r = load_stack(&image_stack, &files.head);
    ASSERT_EQ(r.result, 0) << r.printed.out;
    for (int i = 0; i < 8 * nt; i++) {
      const float want = 0.3f * static_cast<float>(v[i]) + -1.7f;
      EXPECT_EQ(image_stack.Volume[i / 8][i % 8], want) << nt << " " << i;
    }
    TearDown();
  }
}

TEST_F(StackLoad, DoublesOfTheOtherByteOrderAreSwapped) {
  // A native file names its byte order; one and three volumes.
  for (int nt : {1, 3}) {
    SetUp();
    write_text_file(dir, "n.hdr", "x 3\ny 1\nz 1\nt " + std::to_string(nt) + "\nbyte-order " +
                                      std::to_string(1 - machine_byte_order()) + "\n");
    std::vector<unsigned char> bytes;
    for (int i = 0; i < 3 * nt; i++) {
      const double value = 1.25e10 * i - 3.5;
      unsigned char b[8];
      memcpy(b, &value, 8);
      std::reverse(b, b + 8);
      bytes.insert(bytes.end(), b, b + 8);
    }
    TestFileList files;
    files.add(write_binary_file(dir, "n.bdouble", bytes.data(), bytes.size()));
    LoadResult r = load_stack(&image_stack, &files.head);
    ASSERT_EQ(r.result, 0) << r.printed.out;
    for (int i = 0; i < 3 * nt; i++)
      EXPECT_EQ(image_stack.Volume[i / 3][i % 3], static_cast<float>(1.25e10 * i - 3.5)) << nt << " " << i;
    TearDown();
  }
}

TEST_F(StackLoad, ShortDoubleFileFailsWithTheShortReadMessage) {
  NiftiFields s;
  s.datatype = 64;
  std::vector<double> v(7, 1.0);  // one voxel short
  TestFileList files;
  std::string name = write("short.nii", s, v.data(), v.size() * 8);
  files.add(name);
  LoadResult r = load_stack(&image_stack, &files.head);
  EXPECT_EQ(r.result, 1);
  EXPECT_NE(r.printed.out.find("Error reading the data from file " + name + "\n"), std::string::npos)
      << r.printed.out;
}

TEST_F(StackLoad, NotANumberResolutionMatchesItselfButNotANumber) {
  NiftiFields s;
  s.pixdim[1] = s.pixdim[2] = s.pixdim[3] = std::numeric_limits<float>::quiet_NaN();
  std::vector<float> v(8, 1.0f);
  TestFileList files;
  files.add(write("a.nii", s, v.data(), 32));
  LoadResult r = load_stack(&image_stack, &files.head);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.printed.out.find("Warning: resolution"), std::string::npos) << r.printed.out;
  files.add(write("b.nii", s, v.data(), 32));
  TearDown();
  SetUp();
  r = load_stack(&image_stack, &files.head);
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(r.printed.out.find("Warning: resolution"), std::string::npos) << r.printed.out;
  // A number against NaN is a real difference.
  NiftiFields plain;
  TestFileList mixed;
  mixed.add(write("c.nii", plain, v.data(), 32));
  mixed.add(write("d.nii", s, v.data(), 32));
  TearDown();
  SetUp();
  r = load_stack(&image_stack, &mixed.head);
  ASSERT_EQ(r.result, 0);
  EXPECT_NE(r.printed.out.find("Warning: resolution for " + dir + "/d.nii (nan,nan,nan)\n"
                               "doesn't match previous resolution (1,1,1)\n"),
            std::string::npos)
      << r.printed.out;
}

TEST_F(StackLoad, MappedAndOneByOneReadingAgreeOverRandomFiles) {
  // A file of several volumes is converted from the mapped file, a file of
  // one volume by the reader's own loop: over random bytes of every storage
  // type, scalings, data offsets and byte orders, both give the same floats
  // bit for bit.
  std::mt19937 random(13);
  auto below = [&](int n) { return (int)(random() % (unsigned)n); };
  const struct {
    int16_t datatype;
    int bytes;
    const char *storage;  // native storage word, or null where the native format has none
    const char *extension;
  } kinds[] = {{2, 1, "unsigned-char", "img8"}, {4, 2, "short", "bshort"}, {512, 2, "unsigned-short", "ushort"},
               {8, 4, "long", "blong"},         {16, 4, "float", "bfloat"}, {64, 8, nullptr, "bdouble"}};
  const float slopes[] = {0.0f, 1.0f, 0.37f, -2.5f, 1.0e-3f, NAN};
  int compared = 0;
  for (int trial = 0; trial < 48; trial++) {
    const auto &kind = kinds[trial % 6];
    const bool native = trial % 12 >= 6;
    if (native && !kind.storage && std::string(kind.extension) != "bdouble") continue;
    const IPOINT3D dim{1 + below(9), 1 + below(7), 1 + below(5)};
    const int nt = 2 + below(4);
    const size_t volume_bytes = (size_t)dim.x * dim.y * dim.z * kind.bytes;
    std::vector<unsigned char> bytes(volume_bytes * nt);
    for (unsigned char &b : bytes) b = (unsigned char)random();

    std::vector<std::string> singles;
    std::string whole;
    if (native) {
      const int order = below(2) ? machine_byte_order() : 1 - machine_byte_order();
      auto header = [&](int count) {
        return "x " + std::to_string(dim.x) + "\ny " + std::to_string(dim.y) + "\nz " + std::to_string(dim.z) +
               "\nt " + std::to_string(count) + "\nbyte-order " + std::to_string(order) + "\n" +
               (kind.storage ? std::string("storage-type ") + kind.storage + "\n" : std::string());
      };
      write_text_file(dir, "whole.hdr", header(nt));
      whole = write_binary_file(dir, std::string("whole.") + kind.extension, bytes.data(), bytes.size());
      for (int t = 0; t < nt; t++) {
        const std::string stem = "one" + std::to_string(t);
        write_text_file(dir, stem + ".hdr", header(1));
        singles.push_back(write_binary_file(dir, stem + "." + kind.extension, bytes.data() + t * volume_bytes,
                                            volume_bytes));
      }
    } else {
      NiftiFields s;
      s.datatype = kind.datatype;
      s.dim[0] = 4;
      s.dim[1] = (int16_t)dim.x;
      s.dim[2] = (int16_t)dim.y;
      s.dim[3] = (int16_t)dim.z;
      s.scl_slope = slopes[below(6)];
      s.scl_inter = below(2) ? 0.0f : 12.5f;
      s.vox_offset = (float)(352 + below(9));  // odd offsets leave mapped values unaligned
      s.after_header.assign((size_t)s.vox_offset - 348, 0);
      s.dim[4] = (int16_t)nt;
      whole = write("whole.nii", s, bytes.data(), bytes.size());
      s.dim[4] = 1;
      for (int t = 0; t < nt; t++)
        singles.push_back(write("one" + std::to_string(t) + ".nii", s, bytes.data() + t * volume_bytes, volume_bytes));
    }
    SCOPED_TRACE(std::string(native ? "native " : "nifti ") + kind.extension + " trial " + std::to_string(trial));

    TestFileList one_file;
    one_file.add(whole);
    SetUp();
    LoadResult r = load_stack(&image_stack, &one_file.head);
    ASSERT_EQ(r.result, 0) << r.printed.out;
    const size_t n3d = (size_t)image_stack.n3d;
    std::vector<float> mapped;
    for (int t = 0; t < nt; t++) mapped.insert(mapped.end(), image_stack.Volume[t], image_stack.Volume[t] + n3d);
    TearDown();

    TestFileList files;
    for (const std::string &name : singles) files.add(name);
    SetUp();
    r = load_stack(&image_stack, &files.head);
    ASSERT_EQ(r.result, 0) << r.printed.out;
    ASSERT_EQ((size_t)image_stack.n3d, n3d);
    int differences = 0;
    for (int t = 0; t < nt; t++)
      differences += memcmp(image_stack.Volume[t], mapped.data() + t * n3d, n3d * sizeof(float)) != 0;
    EXPECT_EQ(differences, 0);
    TearDown();
    compared++;
  }
  EXPECT_GE(compared, 40);
}

TEST_F(StackLoad, ByteSwappedHeaderLeavesVoxelsInTheFileOrder) {
  NiftiFields s;
  s.other_byte_order = true;
  s.datatype = 4;
  std::vector<int16_t> v = {1, 2, 256, 0x1234, -2, 0, 0, 0};
  TestFileList files;
  files.add(write("be.nii", s, v.data(), 16));
  ASSERT_EQ(load_stack(&image_stack, &files.head).result, 0);
  EXPECT_EQ(image_stack.dim.x, 2);
  EXPECT_EQ(image_stack.Volume[0][0], 1.0f);
  EXPECT_EQ(image_stack.Volume[0][2], 256.0f);
  EXPECT_EQ(image_stack.Volume[0][3], static_cast<float>(0x1234));
}

TEST_F(StackLoad, Uint8VectorsArePackedIntoColours) {
  NiftiFields s;
  s.datatype = 2;
  s.dim[0] = 5;
  s.dim[4] = 1;
  s.dim[5] = 3;
  std::vector<unsigned char> rgb;
  for (int j = 0; j < 8; j++) {
    rgb.push_back(static_cast<unsigned char>(j));
    rgb.push_back(static_cast<unsigned char>(10 + j));
    rgb.push_back(static_cast<unsigned char>(200 + j));
  }
  TestFileList files;
  files.add(write("rgb.nii", s, rgb.data(), rgb.size()));
  ASSERT_EQ(load_stack(&image_stack, &files.head).result, 0);
  // Colours land at positions 0..7 of the volume's values, which are then
  // taken three at a time; the rest of the values stays 0.
  auto colour = [](int j) { return 65536.0f * j + 256.0f * (10 + j) + (200 + j); };
  EXPECT_EQ(image_stack.v3Volume[0][0].x, colour(0));
  EXPECT_EQ(image_stack.v3Volume[0][0].y, colour(1));
  EXPECT_EQ(image_stack.v3Volume[0][0].z, colour(2));
  EXPECT_EQ(image_stack.v3Volume[0][2].y, colour(7));
  EXPECT_EQ(image_stack.v3Volume[0][2].z, 0.0f);
  EXPECT_EQ(image_stack.v3Volume[0][7].x, 0.0f);
}

TEST_F(StackLoad, TruncatedDataFailsWithTheShortReadMessage) {
  NiftiFields s;
  s.dim[0] = 4;
  s.dim[4] = 3;
  std::vector<float> v(8 * 3 - 1, 1.0f);
  TestFileList files;
  const std::string name = write("short.nii", s, v.data(), v.size() * 4);
  files.add(name);
  LoadResult r = load_stack(&image_stack, &files.head);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out,
            "voxels (2,2,2,3), res (1,1,1,0)\nError reading the data from file " + name + "\n");
}

TEST_F(StackLoad, HugeDeclaredSizeFailsWithoutAllocating) {
  NiftiFields s;
  s.dim[0] = 4;
  s.dim[1] = 1024;
  s.dim[2] = 1024;
  s.dim[3] = 512;
  s.dim[4] = 3;  // 6 GB of floats declared, 400 bytes present
  std::vector<float> v(100, 1.0f);
  TestFileList files;
  const std::string name = write("huge.nii", s, v.data(), v.size() * 4);
  files.add(name);
  LoadResult r = load_stack(&image_stack, &files.head);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.exit_status, -1);
  EXPECT_EQ(r.printed.out, "voxels (1024,1024,512,3), res (1,1,1,0)\n"
                           "Error reading the data from file " + name + "\n");
  EXPECT_EQ(image_stack.Volume, nullptr);
}

TEST_F(StackLoad, NegativeOffsetEndsTheRunAsAFailedSeek) {
  NiftiFields s;
  s.vox_offset = -4;
  std::vector<float> v(8, 1.0f);
  TestFileList files;
  const std::string name = write("neg.nii", s, v.data(), 32);
  files.add(name);
  LoadResult r = load_stack(&image_stack, &files.head);
  EXPECT_EQ(r.printed.exit_status, 1);
  EXPECT_EQ(r.printed.err, "\nError doing fseek() to -4 in data file " + name + "\n");
}

TEST_F(StackLoad, NanOffsetEndsTheRun) {
  NiftiFields s;
  s.vox_offset = std::numeric_limits<float>::quiet_NaN();
  std::vector<float> v(8, 1.0f);
  TestFileList files;
  const std::string name = write("nan.nii", s, v.data(), 32);
  files.add(name);
  LoadResult r = load_stack(&image_stack, &files.head);
  EXPECT_EQ(r.printed.exit_status, 1);
  EXPECT_EQ(r.printed.err, "\nError: the data offset (nan) of file " + name +
                               " is not a file position\n");
}

TEST_F(StackLoad, OffsetBeyondTheEndIsAShortRead) {
  NiftiFields s;
  s.vox_offset = 1.0e12f;
  std::vector<float> v(8, 1.0f);
  TestFileList files;
  const std::string name = write("far.nii", s, v.data(), 32);
  files.add(name);
  LoadResult r = load_stack(&image_stack, &files.head);
  EXPECT_EQ(r.result, 1);
  EXPECT_NE(r.printed.out.find("Error reading the data from file " + name + "\n"), std::string::npos);
}

TEST_F(StackLoad, MissingDataFileOfAPairFails) {
  NiftiFields s;
  s.vox_offset = 0;
  const std::string bytes = nifti_file_bytes(s, nullptr, 0);
  write_binary_file(dir, "pair.hdr", bytes.data(), bytes.size());
  TestFileList files;
  files.add(dir + "/pair.img");
  LoadResult r = load_stack(&image_stack, &files.head);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out,
            "voxels (2,2,2,1), res (1,1,1,0)\n\nError: cannot open file " + dir + "/pair.img.\n");
}

TEST_F(StackLoad, PairReadsTheDataFileFromItsStart) {
  NiftiFields s;
  s.vox_offset = 0;
  const std::string bytes = nifti_file_bytes(s, nullptr, 0);
  write_binary_file(dir, "pair.hdr", bytes.data(), bytes.size());
  std::vector<float> v = {1, 2, 3, 4, 5, 6, 7, 8};
  write_binary_file(dir, "pair.img", v.data(), 32);
  TestFileList files;
  files.add(dir + "/pair.img");
  LoadResult r = load_stack(&image_stack, &files.head);
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(image_stack.Volume[0][7], 8.0f);
}

TEST_F(StackLoad, FailedHeaderFailsTheLoad) {
  TestFileList files;
  files.add(dir + "/absent.nii");
  LoadResult r = load_stack(&image_stack, &files.head);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "Error: cannot open Nifti file " + dir + "/absent.nii.\n");
}

TEST_F(StackLoad, StackTakesTheGeometryOfTheFiles) {
  NiftiFields s;
  s.qform_code = 1;
  s.sform_code = 1;
  const float rows[3][4] = {{2, 0, 0, -3}, {0, 2, 0.5f, 4}, {0, 0, 2, 5}};
  memcpy(s.srow, rows, sizeof rows);
  s.pixdim[1] = s.pixdim[2] = s.pixdim[3] = 2;
  std::vector<float> v(8, 1.0f);
  TestFileList files;
  files.add(write("g.nii", s, v.data(), 32));
  ASSERT_EQ(load_stack(&image_stack, &files.head).result, 0);
  EXPECT_EQ(image_stack.off_diagonal, 1);
  EXPECT_EQ(image_stack.origin.x, -3.0f);
  EXPECT_EQ(image_stack.ijk_to_xyz.m[1][2], 0.5f);
  EXPECT_EQ(image_stack.n2d, 4);
  EXPECT_EQ(image_stack.n3d, 8);
  EXPECT_EQ(image_stack.fov.x, 4.0f);
  EXPECT_NEAR(image_stack.xyz_to_ijk.m[0][0], 0.5f, 1e-7);
}

// Native files: every storage type, written in the other byte order and in
// this machine's, gives the same values.
TEST_F(StackLoad, NativeStorageTypesInBothByteOrders) {
  struct Case {
    const char *extension, *storage;
    int size;
  } cases[] = {{"bshort", "short", 2}, {"ushort", "unsigned-short", 2}, {"blong", "long", 4},
               {"bfloat", "float", 4}};
  for (const Case &c : cases) {
    for (int other = 0; other < 2; other++) {
      SetUp();
      const int order = other ? 1 - machine_byte_order() : machine_byte_order();
      write_text_file(dir, std::string("n.hdr"),
                      "x 3\ny 1\nz 1\nt 2\nstorage-type " + std::string(c.storage) +
                          "\nbyte-order " + std::to_string(order) + "\n");
      std::vector<unsigned char> bytes;
      for (int i = 0; i < 6; i++) {
        unsigned char b[4];
        if (c.size == 2) {
          const int16_t v = static_cast<int16_t>(300 * i + 1);
          memcpy(b, &v, 2);
        } else if (std::string(c.storage) == "float") {
          const float v = 300.5f * i + 1;
          memcpy(b, &v, 4);
        } else {
          const int32_t v = 70000 * i + 1;
          memcpy(b, &v, 4);
        }
        if (other) std::reverse(b, b + c.size);
        bytes.insert(bytes.end(), b, b + c.size);
      }
      TestFileList files;
      files.add(write_binary_file(dir, std::string("n.") + c.extension, bytes.data(), bytes.size()));
      LoadResult r = load_stack(&image_stack, &files.head);
      ASSERT_EQ(r.result, 0) << c.storage << " " << r.printed.out;
      for (int i = 0; i < 6; i++) {
        const float want = c.size == 2 ? 300.0f * i + 1
                           : std::string(c.storage) == "float" ? 300.5f * i + 1
                                                               : 70000.0f * i + 1;
        EXPECT_EQ(image_stack.Volume[i / 3][i % 3], want) << c.storage << " " << other << " " << i;
      }
      TearDown();
    }
  }
}

TEST_F(StackLoad, NativeComplexAndVectorDataAreInterleaved) {
  write_text_file(dir, "c.hdr", "x 2\ny 1\nz 1\nt 1\ndata-type magnitude-phase\nstorage-type float\n");
  const float pairs[4] = {2.0f, 0.5f, 3.0f, -1.0f};
  TestFileList files;
  files.add(write_binary_file(dir, "c.bfloat", pairs, sizeof pairs));
  ASSERT_EQ(load_stack(&image_stack, &files.head).result, 0);
  EXPECT_EQ(image_stack.data_type, DATA_MAGNITUDE_PHASE);
  EXPECT_EQ(image_stack.fcVolume[0][1].real, 3.0f);
  EXPECT_EQ(image_stack.fcVolume[0][1].imag, -1.0f);
  EXPECT_EQ(stack_data_4d(&image_stack, 1, 0, 0), 0.5f);
  TearDown();
  SetUp();
  write_text_file(dir, "v.hdr", "x 2\ny 1\nz 1\nt 2\ndata-type vector\nstorage-type short\n");
  const int16_t triples[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  TestFileList vfiles;
  vfiles.add(write_binary_file(dir, "v.bshort", triples, sizeof triples));
  ASSERT_EQ(load_stack(&image_stack, &vfiles.head).result, 0);
  EXPECT_EQ(image_stack.v3Volume[1][1].x, 10.0f);
  EXPECT_EQ(image_stack.v3Volume[1][1].z, 12.0f);
  EXPECT_EQ(image_stack.v3Volume[0][1].y, 5.0f);
}

TEST_F(StackLoad, VectorVolumesBeyondThirtyTwoBitsAreRefused) {
  // 1024 x 1024 x 1024 voxels fit in 32 bits, their three components do not.
  write_text_file(dir, "big.hdr", "x 1024\ny 1024\nz 1024\nt 1\ndata-type vector\n");
  write_text_file(dir, "big.bfloat", "");
  TestFileList files;
  files.add(dir + "/big.bfloat");
  LoadResult r = load_stack(&image_stack, &files.head);
  EXPECT_EQ(r.result, 1);
  // The header's size check refuses it before anything is loaded.
  EXPECT_EQ(r.printed.out, "Error: the volume of 1024 x 1024 x 1024 voxels in file " + dir +
                               "/big.hdr is too large.\n");
}

}  // namespace
