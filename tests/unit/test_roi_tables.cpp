// Result tables written from the graph: the first region creates the file,
// each further region adds columns to every line; histograms and profiles
// with their fit; the list of regions written in turn; the bookkeeping of
// names and counts; and a failed rewrite that keeps the old table.
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

#include "graph_fixture.h"
#include "test_support.h"
#include "zor_overlay_edit.h"
#include "zor_roi_files.h"

namespace {

std::string read_file(const std::string &name) {
  std::ifstream f(name, std::ios::binary);
  std::stringstream ss;
  ss << f.rdbuf();
  return ss.str();
}

class RoiTables : public GraphFixture {
 protected:
  std::string old_dir, dir;
  void SetUp() override {
    GraphFixture::SetUp();
    roi_files_reset();
    atomic_file_reset();
    char buf[4096];
    ASSERT_NE(getcwd(buf, sizeof buf), nullptr);
    old_dir = buf;
    dir = make_temp_dir();
    ASSERT_EQ(chdir(dir.c_str()), 0);
    // 3 x 2 x 1 voxels, 4 time points: voxel (x, y) at t is x + 10 y + 1000 t.
    make_stack(IPOINT3D{3, 2, 1}, 4);
    graph.time_model = 0;
    open_graph(1);
  }
  void TearDown() override {
    atomic_file_reset();
    roi_files_reset();
    ASSERT_EQ(chdir(old_dir.c_str()), 0);
    GraphFixture::TearDown();
  }

  // The working region: these voxels, weight 1, under this name.
  void region(const char *name, std::initializer_list<IPOINT3D> voxels) {
    memset(overlay_map.weight, 0, sizeof(float) * (size_t)image_stack.n3d);
    for (IPOINT3D v : voxels) overlay_map.weight[v.x + 3 * v.y] = 1.0f;
    update_root_overlay(0, 0);
    snprintf(ovl_root.name, sizeof ovl_root.name, "%s", name);
    fill_graph_vector();
  }

  Captured write(const char *file, int *result) {
    return capture_output([&] { *result = write_ovl_into_roi_file(file); });
  }
};

TEST_F(RoiTables, FirstRegionCreatesTheTableAndEachFurtherOneAddsAColumn) {
  int result = -1;
  region("ovl0", {IPOINT3D{1, 0, 0}});
  Captured c = write(".roi", &result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(c.out, "Time series data for overlay ovl0 written to file .roi\n");
  EXPECT_EQ(read_file(".roi"), "i x ovl0\n0 0 1\n1 1 1001\n2 2 2001\n3 3 3001\n");
  EXPECT_EQ(get_number_rois_in_file(".roi"), 1);

  // Longer names, and means over two voxels.
  region("second_region", {IPOINT3D{0, 1, 0}, IPOINT3D{2, 1, 0}});
  c = write(".roi", &result);
  EXPECT_EQ(result, 0);
  region("the_third_and_longest_region", {IPOINT3D{2, 0, 0}});
  c = write(".roi", &result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(c.out, "Time series data for overlay the_third_and_longest_region written to file .roi\n");
  EXPECT_EQ(read_file(".roi"),
            "i x ovl0 second_region the_third_and_longest_region\n"
            "0 0 1 11 2\n"
            "1 1 1001 1011 1002\n"
            "2 2 2001 2011 2002\n"
            "3 3 3001 3011 3002\n");
  EXPECT_EQ(get_number_rois_in_file(".roi"), 3);
  EXPECT_EQ(get_number_rois_in_file(".hist"), 0);
}

TEST_F(RoiTables, TwoRegionsGiveOneHeadingWithBothNames) {
  int result;
  region("left", {IPOINT3D{0, 0, 0}});
  write(".roi", &result);
  region("right", {IPOINT3D{2, 0, 0}});
  write(".roi", &result);
  const std::string table = read_file(".roi");
  EXPECT_EQ(table.substr(0, table.find('\n')), "i x left right");
}

TEST_F(RoiTables, ARunStartsEveryTableOver) {
  write_text_file(dir, ".roi", "an old table\nof some other run\n");
  int result;
  region("fresh", {IPOINT3D{0, 0, 0}});
  write(".roi", &result);
  EXPECT_EQ(read_file(".roi"), "i x fresh\n0 0 0\n1 1 1000\n2 2 2000\n3 3 3000\n");
}

TEST_F(RoiTables, NamesAndLinesOfAnyLength) {
  const std::string a(3000, 'a'), b(5000, 'b');
  int result;
  region(a.substr(0, 1000).c_str(), {IPOINT3D{0, 0, 0}});
  write(".roi", &result);
  for (int k = 0; k < 60; k++) {
    region(b.substr(0, 1000).c_str(), {IPOINT3D{1, 0, 0}});
    ASSERT_EQ((write(".roi", &result), result), 0);
  }
  const std::string table = read_file(".roi");
  const std::string heading = table.substr(0, table.find('\n'));
  EXPECT_EQ(heading.size(), 4 + 1000 + 60 * 1001u);
  EXPECT_EQ(get_number_rois_in_file(".roi"), 61);
  // The last row: index, x, the first value and 60 more columns of 3001.
  std::string last = table.substr(table.rfind('\n', table.size() - 2) + 1);
  std::string expected = "3 3 3000";
  for (int k = 0; k < 60; k++) expected += " 3001";
  EXPECT_EQ(last, expected + "\n");
}

TEST_F(RoiTables, AFailedRewriteKeepsTheOldTableAndItsCount) {
  int result;
  region("kept", {IPOINT3D{0, 0, 0}});
  write(".roi", &result);
  const std::string before = read_file(".roi");
  atomic_file_simulate_full_disk(1);
  region("lost", {IPOINT3D{1, 0, 0}});
  Captured c = write(".roi", &result);
  atomic_file_simulate_full_disk(0);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "\nError: could not write file .roi: the table on disk is as it was.\n");
  EXPECT_EQ(read_file(".roi"), before);
  EXPECT_EQ(get_number_rois_in_file(".roi"), 1);
  // Nothing else is left beside it.
  EXPECT_NE(access(".roi", F_OK), -1);
  // The next write adds the column as if the failed one never happened.
  region("next", {IPOINT3D{1, 0, 0}});
  write(".roi", &result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(read_file(".roi"), "i x kept next\n0 0 0 1\n1 1 1000 1001\n2 2 2000 2001\n3 3 3000 3001\n");
}

TEST_F(RoiTables, AShortenedTableIsNotReadPastItsEnd) {
  int result;
  region("a", {IPOINT3D{0, 0, 0}});
  write(".roi", &result);
  write_text_file(dir, ".roi", "i x a\n0 0 0\n");  // edited between two writes
  region("b", {IPOINT3D{1, 0, 0}});
  write(".roi", &result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(read_file(".roi"), "i x a b\n0 0 0 1\n 1001\n 2001\n 3001\n");
}

TEST_F(RoiTables, ANulByteInTheOldTableIsKeptWithTheRestOfItsLine) {
  int result;
  region("a", {IPOINT3D{0, 0, 0}});
  write(".roi", &result);
  const std::string edited = std::string("i x a\n0 0") + '\0' + " 0\n1 1 1000\n";
  std::ofstream(".roi", std::ios::binary) << edited;  // a NUL byte inside the second line
  region("b", {IPOINT3D{1, 0, 0}});
  write(".roi", &result);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(read_file(".roi"), std::string("i x a b\n0 0") + '\0' + " 0 1\n1 1 1000 1001\n 2001\n 3001\n");
}

TEST_F(RoiTables, MessagesOfTablesThatCannotBeOpened) {
  int result;
  region("r", {IPOINT3D{0, 0, 0}});
  Captured c = write("no/such/folder/.roi", &result);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "\nError: cannot open file no/such/folder/.roi for writing.\n");
  EXPECT_EQ(get_number_rois_in_file("no/such/folder/.roi"), 0);

  // A table written once and then removed cannot be read for the next column.
  write(".roi", &result);
  ASSERT_EQ(unlink(".roi"), 0);
  c = write(".roi", &result);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "\nError: cannot open file .roi for reading\n");
  EXPECT_EQ(get_number_rois_in_file(".roi"), 1);
  EXPECT_NE(access(".roi", F_OK), 0);
}

TEST_F(RoiTables, HistogramLabelsCountTheColumnsAndTheFitIsWrittenAsItStands) {
  graph.type = 0;
  graph.space_model = 0;
  graph.npoints = 3;
  const float y[3] = {4, 5, 6}, fit[3] = {0, 0.5f, 0};
  for (int j = 0; j < 3; j++) {
    graph.yVector[j] = y[j];
    graph.yFit[j] = fit[j];
  }
  activation.data_type = 0;
  int result = -1;
  Captured c = capture_output([&] { result = write_projection(".hist"); });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(c.out, "Histogram data written to file .hist\n");
  c = capture_output([&] { result = write_projection(".hist"); });
  EXPECT_EQ(read_file(".hist"),
            "x hist0 hist1\n0 4 4\n1 5 5\n2 6 6\nnew # fit to projection \n0 0 0\n1 0.5 0.5\n2 0 0\n");
}

TEST_F(RoiTables, ProfilesAreLabelledByTheCrossHairAndCarryTheMapColumn) {
  graph.type = 0;
  graph.npoints = 2;
  graph.yVector[0] = 1;
  graph.yVector[1] = 2;
  graph.yVector2[0] = 7;
  graph.yVector2[1] = 8;
  graph.yFit[0] = 0.25f;
  graph.yFit[1] = 0.5f;
  mosaic.icross = IPOINT3D{1, 2, 3};
  graph.iTime = 4;
  int result;
  const char *labels[4] = {nullptr, "y2z3t4", "x1z3t4", "x1y3t4"};
  const char *files[4] = {nullptr, ".px", ".py", ".pz"};
  for (int m = 1; m <= 3; m++) {
    graph.space_model = m;
    Captured c = capture_output([&] { result = write_projection(files[m]); });
    EXPECT_EQ(c.out, std::string("Projection data written to file ") + files[m] + "\n");
    EXPECT_EQ(read_file(files[m]), std::string("x ") + labels[m] +
                                       "\n0 1\n1 2\nnew # fit to projection\n0 0.25\n1 0.5\n");
  }
  activation.data_type = 1;
  graph.space_model = 1;
  capture_output([&] { result = write_projection(".px"); });
  EXPECT_EQ(read_file(".px"),
            "x y2z3t4 y2z3t4 y2z3t4_act\n0 1 1 7\n1 2 2 8\nnew # fit to projection \n0 0.25 0.25 7\n1 0.5 0.5 8\n");
}

TEST_F(RoiTables, EveryListedRegionInListOrderAndTheCountOfRegionsStays) {
  write_text_file(dir, "a.ovl", "0 0 0\n");
  write_text_file(dir, "b.ovl", "1 0 0\n");
  write_text_file(dir, "c.ovl", "2 1 0\n");
  write_text_file(dir, "regions.list", "alpha a.ovl\nbeta b.ovl\ngamma c.ovl\n");
  mosaic.toggle_overlays = 1;
  capture_output([&] { read_overlay_list("regions.list"); });
  ASSERT_NE(ovl_root.next, nullptr);
  const int number = overlay_map.number;
  Captured c = capture_output([] { action_write_all_ROIs(); });
  EXPECT_EQ(read_file(".roi"),
            "i x alpha beta gamma\n0 0 0 1 12\n1 1 1000 1001 1012\n2 2 2000 2001 2012\n3 3 3000 3001 3012\n");
  EXPECT_EQ(overlay_map.number, number);
  EXPECT_EQ(c.out,
            "Write time series for overlays written to file .roi:\n"
            "Time series data for overlay alpha written to file .roi\noverlay: alpha\n"
            "Time series data for overlay beta written to file .roi\noverlay: beta\n"
            "Time series data for overlay gamma written to file .roi\noverlay: gamma\n");
}

TEST_F(RoiTables, WithoutListedRegionsNothingIsWritten) {
  int result = -1;
  Captured c = capture_output([&] { result = write_ovl_list_into_roi_file(".roi"); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "No pre-defined overlays!\n");
  EXPECT_NE(access(".roi", F_OK), 0);
}

TEST_F(RoiTables, OneRegionFromTheKeyCountsTheRegionAndTheTitleCountsTheTable) {
  region("ovl3", {IPOINT3D{0, 0, 0}});
  const int number = overlay_map.number;
  capture_output([] { action_write_1_ROI(); });
  EXPECT_EQ(overlay_map.number, number + 1);
  char title[3 * 1024];
  graph_window_title(title);
  EXPECT_STREQ(title, "time points  ----  output to file .roi (1)");
  // Without a region a time graph writes nothing.
  region("none", {});
  capture_output([] { action_write_1_ROI(); });
  EXPECT_EQ(get_number_rois_in_file(".roi"), 1);
  EXPECT_EQ(overlay_map.number, number + 1);
}

TEST_F(RoiTables, FileListKeepsOneNodePerName) {
  prep_roi_file_list("a.roi");
  prep_roi_file_list("a.roi");
  prep_roi_file_list("b.roi");
  EXPECT_EQ(get_number_rois_in_file("a.roi"), 0);
  EXPECT_EQ(get_number_rois_in_file("never"), 0);
}

TEST(RoiLines, OldLineWithNewTextAndNothingPastTheEnd) {
  const char old[] = "ab\ncd\n";
  std::vector<int> buffer;
  for (const char *p = old; *p; p++) buffer.push_back(*p);
  buffer.push_back(EOF);
  int iloc = 0;
  char line[1024];
  create_new_ROI_line(buffer.data(), " 1\n", &iloc, line);
  EXPECT_STREQ(line, "ab 1\n");
  EXPECT_EQ(iloc, 3);
  create_new_ROI_line(buffer.data(), " 2\n", &iloc, line);
  EXPECT_STREQ(line, "cd 2\n");
  // A table shorter than the rows to add gives the new text alone.
  create_new_ROI_line(buffer.data(), " 3\n", &iloc, line);
  EXPECT_STREQ(line, " 3\n");
  EXPECT_EQ(iloc, 6);
  // The fixed form holds at most 1023 characters, the string form all.
  std::vector<int> longer(3000, 'x');
  longer.push_back(EOF);
  iloc = 0;
  create_new_ROI_line(longer.data(), "", &iloc, line);
  EXPECT_EQ(strlen(line), 1023u);
  iloc = 0;
  std::string whole;
  create_new_ROI_line(longer.data(), "!", &iloc, &whole);
  EXPECT_EQ(whole, std::string(3000, 'x') + "!");
}

}  // namespace
