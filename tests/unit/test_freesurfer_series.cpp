// FreeSurfer slice series: the .bhdr keywords, the first slice's byte order
// and storage, and the slices placed into a stack.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "stack_test_helpers.h"
#include "test_support.h"
#include "zor.h"

namespace {

const char *standard_bhdr =
    "cols: 4\n"
    "rows: 3\n"
    "nslices: 2\n"
    "n_time_points: 5\n"
    "slice_thick: 2.5\n"
    "top_left_r: 0\n top_left_a: 0\ntop_left_s: 0\n"
    "top_right_r: 8\ntop_right_a: 0\ntop_right_s: 0\n"
    "bottom_right_r: 8\nbottom_right_a: 3\nbottom_right_s: 4\n"
    "normal_r: 0\nnormal_a: 0\nnormal_s: 1\n"
    "image_te: 30\nimage_tr: 2000\nimage_ti: 0\nflip_angle: 1.57\n";

XD_HEADER fresh_header() {
  XD_HEADER h;
  memset(&h, 0, sizeof h);
  h.resolution = POINT3D{1, 1, 1};
  h.direction = POINT3D{1, 1, 1};
  h.byte_order = machine_byte_order();
  return h;
}

int16_t reversed(int16_t v) {
  uint16_t u = static_cast<uint16_t>(v);
  return static_cast<int16_t>((u >> 8) | (u << 8));
}

class FreeSurferSeries : public ::testing::Test {
 protected:
  std::string dir = make_temp_dir();
  std::string stem = dir + "/run_";

  void SetUp() override {
    read_SpaceTime_data_reset();
    clear_stack(&image_stack);
  }
  void TearDown() override { free_stack_data(image_stack.nt, &image_stack); }

  // Slice z holds value 1000 z + 100 t + voxel.
  void write_short_series(int nx, int ny, int nz, int nt, bool other_order,
                          const std::string &bhdr = standard_bhdr) {
    write_text_file(dir, "run.bhdr", bhdr);
    const int order = other_order ? 1 - machine_byte_order() : machine_byte_order();
    write_text_file(dir, "run_000.hdr",
                    std::to_string(ny) + " " + std::to_string(nx) + " " + std::to_string(nt) + " " +
                        std::to_string(order) + "\n");
    for (int z = 0; z < nz; z++) {
      std::vector<int16_t> v;
      for (int t = 0; t < nt; t++)
        for (int i = 0; i < nx * ny; i++) {
          const int16_t value = static_cast<int16_t>(1000 * z + 100 * t + i);
          v.push_back(other_order ? reversed(value) : value);
        }
      char name[32];
      snprintf(name, sizeof name, "run_%03d.bshort", z);
      write_binary_file(dir, name, v.data(), v.size() * 2);
    }
  }

  XD_HEADER read_header(int *result, Captured *printed) {
    XD_HEADER h = fresh_header();
    *printed = capture_output([&] { *result = read_freesurfer_header(stem.c_str(), &h); });
    return h;
  }
};

TEST_F(FreeSurferSeries, HeaderTakesKeywordsCornersAndByteOrder) {
  write_short_series(4, 3, 2, 5, true);
  int result;
  Captured printed;
  XD_HEADER h = read_header(&result, &printed);
  ASSERT_EQ(result, 0) << printed.out;
  EXPECT_EQ(printed.out, "");
  EXPECT_EQ(h.file_type, FREESURFER);
  EXPECT_EQ(h.storage_type, BSHORT);
  EXPECT_EQ(h.dim.x, 4);
  EXPECT_EQ(h.dim.y, 3);
  EXPECT_EQ(h.dim.z, 2);
  EXPECT_EQ(h.nt, 5);
  EXPECT_FLOAT_EQ(h.resolution.x, 2.0f);  // (8,0,0)/4
  EXPECT_FLOAT_EQ(h.resolution.y, 5.0f / 3.0f);  // (0,3,4)/3
  EXPECT_FLOAT_EQ(h.resolution.z, 2.5f);
  EXPECT_FLOAT_EQ(h.resolution_t, 2000.0f);
  EXPECT_EQ(h.byte_order, 1 - machine_byte_order());
  EXPECT_EQ(h.ijk_to_xyz.m[0][0], 2.0f);
  EXPECT_EQ(h.ijk_to_xyz.m[2][2], 2.5f);
  EXPECT_EQ(h.ijk_to_xyz.m[0][3], 0.0f);
}

TEST_F(FreeSurferSeries, DecoderStoresCornerValues) {
  XD_HEADER h = fresh_header();
  float values[FS_NVALUES] = {};
  char line[ZOR_LINE];
  snprintf(line, sizeof line, "  bottom_right_s: -7.5\n");
  EXPECT_EQ(decode_freesurfer_header_keyword(line, &h, values), 0);
  EXPECT_EQ(values[FS_BOTTOM_RIGHT + 2], -7.5f);
  snprintf(line, sizeof line, "flip_angle: 0.5\n");
  EXPECT_EQ(decode_freesurfer_header_keyword(line, &h, values), 0);
  EXPECT_EQ(values[FS_FLIP_ANGLE], 0.5f);
  snprintf(line, sizeof line, "cols:\n");
  h.dim.x = 17;
  EXPECT_EQ(decode_freesurfer_header_keyword(line, &h, values), 0);
  EXPECT_EQ(h.dim.x, 17);  // a missing value leaves what was there
  snprintf(line, sizeof line, "Cols: 4\n");
  EXPECT_EQ(decode_freesurfer_header_keyword(line, &h, values), 1);
}

TEST_F(FreeSurferSeries, UnknownKeywordStopsTheLoad) {
  write_short_series(4, 3, 2, 5, false,
                     "# comment line\ncols: 4\n\nrows: 3\nnslices: 2\nscan_date: today\n");
  int result;
  Captured printed;
  read_header(&result, &printed);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(printed.out, "Error reading line 4 of file '" + dir + "/run.bhdr'\n");
}

TEST_F(FreeSurferSeries, MissingCountsAreReported) {
  write_short_series(4, 3, 2, 5, false, "cols: 4\nrows: 3\nn_time_points: 5\n");
  int result;
  Captured printed;
  read_header(&result, &printed);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(printed.out, "Error: Value for z dimension not found in header file '" + dir +
                             "/run.bhdr'\n");
}

TEST_F(FreeSurferSeries, MissingFilesAreNamed) {
  int result;
  Captured printed;
  read_header(&result, &printed);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(printed.out, "Error: cannot open freesurfer bhdr file " + dir + "/run.bhdr.\n");

  write_text_file(dir, "run.bhdr", standard_bhdr);
  read_header(&result, &printed);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(printed.out, "Error: cannot open freesurfer file " + dir + "/run_000.hdr.\n");

  write_text_file(dir, "run_000.hdr", "3 4 5 1\n");
  read_header(&result, &printed);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(printed.out, "\nError: cannot open file " + stem + " as bshort or bfloat.\n");
}

TEST_F(FreeSurferSeries, NameWithoutUnderscoreIsAProgrammingError) {
  XD_HEADER h = fresh_header();
  Captured c = capture_output([&] { read_freesurfer_header((dir + "/run").c_str(), &h); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out,
            "Programming error: file name should end with '_' in read_freesurfer_header\n");
}

TEST_F(FreeSurferSeries, ShortSlicesLoadSwappedIntoTheStack) {
  write_short_series(4, 3, 2, 5, true);
  TestFileList files;
  files.add(stem);
  LoadResult r = load_stack(&image_stack, &files.head);
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(r.nfiles, 1);
  EXPECT_EQ(image_stack.nt, 5);
  EXPECT_EQ(image_stack.n3d, 24);
  for (int t = 0; t < 5; t++)
    for (int z = 0; z < 2; z++)
      for (int i = 0; i < 12; i++)
        ASSERT_EQ(image_stack.Volume[t][z * 12 + i], 1000.0f * z + 100.0f * t + i);
  // Small series show no progress.
  EXPECT_EQ(r.printed.out, "voxels (4,3,2,5), res (2,1.66667,2.5,2000)\n");
}

TEST_F(FreeSurferSeries, FloatSlicesLoad) {
  write_text_file(dir, "run.bhdr", standard_bhdr);
  write_text_file(dir, "run_000.hdr", "3 4 5 " + std::to_string(machine_byte_order()) + "\n");
  for (int z = 0; z < 2; z++) {
    std::vector<float> v;
    for (int t = 0; t < 5; t++)
      for (int i = 0; i < 12; i++) v.push_back(0.5f * i - t + 10.0f * z);
    write_binary_file(dir, z ? "run_001.bfloat" : "run_000.bfloat", v.data(), v.size() * 4);
  }
  TestFileList files;
  files.add(stem);
  LoadResult r = load_stack(&image_stack, &files.head);
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(files.head.header.storage_type, BFLOAT);
  EXPECT_EQ(image_stack.Volume[3][12 + 5], 0.5f * 5 - 3 + 10.0f);
}

TEST_F(FreeSurferSeries, LargeSeriesShowSliceProgress) {
  const std::string bhdr =
      "cols: 128\nrows: 128\nnslices: 2\nn_time_points: 40\nslice_thick: 1\n";
  write_text_file(dir, "run.bhdr", bhdr);
  write_text_file(dir, "run_000.hdr", "128 128 40 " + std::to_string(machine_byte_order()) + "\n");
  std::vector<int16_t> v(128 * 128 * 40, 7);
  write_binary_file(dir, "run_000.bshort", v.data(), v.size() * 2);
  write_binary_file(dir, "run_001.bshort", v.data(), v.size() * 2);
  TestFileList files;
  files.add(stem);
  LoadResult r = load_stack(&image_stack, &files.head);
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(r.printed.out, "voxels (128,128,2,40), res (0,0,1,0)\n\r" + stem + ": slice 0\r" +
                               stem + ": slice 1\r" + stem + ": 100 %\n");
}

TEST_F(FreeSurferSeries, MissingSliceFailsBeforeAnythingIsRead) {
  write_short_series(4, 3, 2, 5, false);
  std::remove((dir + "/run_001.bshort").c_str());
  TestFileList files;
  files.add(stem);
  LoadResult r = load_stack(&image_stack, &files.head);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out,
            "voxels (4,3,2,5), res (2,1.66667,2.5,2000)\n\nError: cannot open file " + stem + "\n");
}

TEST_F(FreeSurferSeries, ShortSliceFails) {
  write_short_series(4, 3, 2, 5, false);
  std::vector<int16_t> v(12 * 5 - 1, 0);
  write_binary_file(dir, "run_001.bshort", v.data(), v.size() * 2);
  TestFileList files;
  files.add(stem);
  LoadResult r = load_stack(&image_stack, &files.head);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed.out, "voxels (4,3,2,5), res (2,1.66667,2.5,2000)\n"
                           "Error reading the short data from file " + dir + "/run_001.bshort\n");
}

TEST_F(FreeSurferSeries, SeriesAfterAnotherFileShiftsTheSpaceIndex) {
  // Two series of 5 time points: the second starts at image 5, and that
  // start is added to the voxel index, with time counted from 0.
  write_short_series(4, 3, 2, 5, false);
  TestFileList files;
  files.add(stem);
  files.add(stem);
  LoadResult r = load_stack(&image_stack, &files.head);
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(image_stack.nt, 10);
  EXPECT_EQ(files.extra[0]->start_image, 5);
  for (int t = 0; t < 5; t++) {
    for (int j = 0; j < 5; j++) EXPECT_EQ(image_stack.Volume[t][j], 100.0f * t + j);
    for (int j = 5; j < 24; j++) {
      const int z = (j - 5) / 12, i = (j - 5) % 12;
      EXPECT_EQ(image_stack.Volume[t][j], 1000.0f * z + 100.0f * t + i) << t << " " << j;
    }
  }
  // The later time points were never filled.
  for (int t = 5; t < 10; t++)
    for (int j = 0; j < 24; j++) EXPECT_EQ(image_stack.Volume[t][j], 0.0f);
}

}  // namespace
