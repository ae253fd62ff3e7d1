#include "overlay_fixture.h"

namespace {

struct Result {
  int value;
  std::string out;
};

Result read_into(const char *name, ovl_list *ovl) {
  Result r{};
  Captured c = capture_output([&] { r.value = read_overlay_file(name, ovl); });
  EXPECT_EQ(c.exit_status, -1);
  r.out = c.out;
  return r;
}

Result write_ovl() {
  Result r{};
  Captured c = capture_output([&] { r.value = write_overlay_file(); });
  EXPECT_EQ(c.exit_status, -1);
  r.out = c.out;
  return r;
}

const char *kSyntax =
    "Error: The syntax in an overlay file can be one of the following:\n"
    "1)  x y z         (voxel indices), OR\n"
    "2)  x y z weight  (for variable weight in range 0:1)\n";
const char *kWeight = "Error: use weight values <= 1. in overlays.\n";
const char *kDims = "Error: the overlay in file .ovl does not agree with the image dimensions.\n";

using OverlayFileRead = OverlayFiles;
using OverlayFileWrite = OverlayFiles;

TEST_F(OverlayFileRead, ThreeNumbersGiveWeightOneAndTheRootColour) {
  write_text_file(dir, "a.ovl", "1 2 1\n");
  ovl_root.color = COLOR_ORANGE;
  Result r = read_into("a.ovl", &ovl_root);
  EXPECT_EQ(r.value, 0);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(overlay_map.weight[flat(1, 2, 1)], 1.0f);
  EXPECT_EQ(overlay_map.color[flat(1, 2, 1)], COLOR_ORANGE);
  EXPECT_EQ(overlay_map.weight[flat(0, 0, 0)], 0.0f);
}

TEST_F(OverlayFileRead, FourthNumberIsTheWeight) {
  write_text_file(dir, "a.ovl", "3 0 0 0.25\n");
  EXPECT_EQ(read_into("a.ovl", &ovl_root).value, 0);
  EXPECT_EQ(overlay_map.weight[flat(3, 0, 0)], 0.25f);
}

TEST_F(OverlayFileRead, LaterLineWinsAtTheSameVoxel) {
  write_text_file(dir, "a.ovl", "2 1 0 0.5\n2 1 0 0.75\n");
  EXPECT_EQ(read_into("a.ovl", &ovl_root).value, 0);
  EXPECT_EQ(overlay_map.weight[flat(2, 1, 0)], 0.75f);
}

TEST_F(OverlayFileRead, ReadingMergesWithTheCurrentMapAndTheFileWins) {
  overlay_map.weight[flat(0, 0, 0)] = 0.5f;
  overlay_map.weight[flat(1, 0, 0)] = 0.5f;
  write_text_file(dir, "a.ovl", "1 0 0\n");
  EXPECT_EQ(read_into("a.ovl", &ovl_root).value, 0);
  EXPECT_EQ(overlay_map.weight[flat(0, 0, 0)], 0.5f);
  EXPECT_EQ(overlay_map.weight[flat(1, 0, 0)], 1.0f);
}

TEST_F(OverlayFileRead, TrailingCommentIsIgnored) {
  write_text_file(dir, "a.ovl", "1 1 1 # the hippocampus\n0 0 0 0.5#x\n");
  EXPECT_EQ(read_into("a.ovl", &ovl_root).value, 0);
  EXPECT_EQ(overlay_map.weight[flat(1, 1, 1)], 1.0f);
  EXPECT_EQ(overlay_map.weight[flat(0, 0, 0)], 0.5f);
}

TEST_F(OverlayFileRead, ZeroWeightIsAcceptedAsAnEntry) {
  ovl_list *node = new_node();
  write_text_file(dir, "a.ovl", "1 1 1 0\n");
  EXPECT_EQ(read_into("a.ovl", node).value, 0);
  ASSERT_EQ(node->npts, 1);
  EXPECT_EQ(node->weight[0], 0.0f);
}

TEST_F(OverlayFileRead, IntoAListNodeVoxelsAreAppendedAndTheMapIsUntouched) {
  ovl_list *node = new_node();
  node->color = COLOR_RED;
  write_text_file(dir, "a.ovl", "3 2 1 0.5\n0 1 0\n3 2 1\n");
  EXPECT_EQ(read_into("a.ovl", node).value, 0);
  ASSERT_EQ(node->npts, 3);
  EXPECT_EQ(node->voxel[0].x, 3);
  EXPECT_EQ(node->voxel[0].y, 2);
  EXPECT_EQ(node->voxel[0].z, 1);
  EXPECT_EQ(node->weight[0], 0.5f);
  EXPECT_EQ(node->voxel[1].y, 1);
  EXPECT_EQ(node->weight[1], 1.0f);
  EXPECT_EQ(node->voxel[2].x, 3);
  for (int i = 0; i < 24; i++) EXPECT_EQ(overlay_map.weight[i], 0.0f);
}

TEST_F(OverlayFileRead, NodeRefusesMoreEntriesThanVoxels) {
  ovl_list *node = new_node();
  std::string text;
  for (int i = 0; i < 25; i++) text += "0 0 0\n";
  write_text_file(dir, "a.ovl", text);
  Result r = read_into("a.ovl", node);
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out,
            "Error: the overlay in file a.ovl holds more entries than the image has voxels.\n");
  EXPECT_EQ(node->npts, 24);
}

TEST_F(OverlayFileRead, MapThatWasNeverSetUpIsAProgrammingError) {
  overlay_map_reset();
  write_text_file(dir, "a.ovl", "1 1 1\n");
  Captured c = capture_output([] { read_overlay_file("a.ovl", &ovl_root); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error: overlay_map is not allocated in read_overlay_file\n");
}

TEST_F(OverlayFileRead, MissingFileIsReported) {
  Result r = read_into("nothing.ovl", &ovl_root);
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, "Error opening file nothing.ovl\n");
}

struct BadLine {
  const char *line;
  const char *message;
};

// Readable test names: the line itself.
void PrintTo(const BadLine &b, std::ostream *os) { *os << '"' << b.line << '"'; }

class OverlayBadLine : public OverlayFiles, public ::testing::WithParamInterface<BadLine> {};

TEST_P(OverlayBadLine, IsRefusedWithItsMessage) {
  // A good line first: what was read before the bad line stays.
  write_text_file(dir, "a.ovl", std::string("0 0 0 0.5\n") + GetParam().line + "\n1 1 1\n");
  Result r = read_into("a.ovl", &ovl_root);
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, GetParam().message);
  EXPECT_EQ(overlay_map.weight[flat(0, 0, 0)], 0.5f);
  EXPECT_EQ(overlay_map.weight[flat(1, 1, 1)], 0.0f);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, OverlayBadLine,
    ::testing::Values(BadLine{"1 2", kSyntax}, BadLine{"1", kSyntax}, BadLine{"x y z", kSyntax},
                      BadLine{"1 y 2", kSyntax}, BadLine{"1.5 2 1", kSyntax},
                      BadLine{"", kSyntax}, BadLine{"   # only a comment", kSyntax},
                      BadLine{"1 1 1 1.5", kWeight}, BadLine{"1 1 1 -0.1", kWeight},
                      BadLine{"1 1 1 nan", kWeight}, BadLine{"4 0 0", kDims},
                      BadLine{"0 3 0", kDims}, BadLine{"0 0 2", kDims}, BadLine{"-1 0 0", kDims},
                      BadLine{"0 -1 0 0.5", kDims}, BadLine{"0 0 -1", kDims},
                      BadLine{"9 9 9 2", kWeight}));

TEST_F(OverlayFileRead, DimensionMessageNamesDotOvlWhateverTheFile) {
  write_text_file(dir, "region-of-interest.txt", "7 0 0\n");
  Result r = read_into("region-of-interest.txt", &ovl_root);
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, kDims);
}

TEST_F(OverlayFileRead, WeightOfOneIsAccepted) {
  write_text_file(dir, "a.ovl", "0 0 0 1\n1 0 0 0\n");
  EXPECT_EQ(read_into("a.ovl", &ovl_root).value, 0);
  EXPECT_EQ(overlay_map.weight[flat(0, 0, 0)], 1.0f);
}

TEST_F(OverlayFileWrite, WalksZThenYThenXAndReportsTheVolume) {
  overlay_map.weight[flat(3, 0, 1)] = 1.0f;
  overlay_map.weight[flat(1, 2, 0)] = 0.5f;
  overlay_map.weight[flat(2, 0, 0)] = 1.0f;
  ovl_root.npts = 3;
  Result r = write_ovl();
  EXPECT_EQ(r.value, 0);
  // 2.5 of weight times 2 x 2 x 3 mm.
  EXPECT_EQ(r.out, "3 pixels (total weight = 2.5, volume = 30) written to file .ovl\n");
  EXPECT_EQ(read_file(".ovl"), "2 0 0\n1 2 0 0.5\n3 0 1\n");
}

TEST_F(OverlayFileWrite, WeightOfExactlyOneIsWrittenWithThreeNumbers) {
  overlay_map.weight[flat(1, 1, 1)] = 1.0f;
  overlay_map.weight[flat(0, 1, 1)] = 0.999999f;
  ovl_root.npts = 2;
  EXPECT_EQ(write_ovl().value, 0);
  EXPECT_EQ(read_file(".ovl"), "0 1 1 0.999999\n1 1 1\n");
}

TEST_F(OverlayFileWrite, WeightKeepsSixSignificantDigits) {
  overlay_map.weight[0] = 0.1234567f;
  ovl_root.npts = 1;
  EXPECT_EQ(write_ovl().value, 0);
  EXPECT_EQ(read_file(".ovl"), "0 0 0 0.123457\n");
}

TEST_F(OverlayFileWrite, EmptyMapWritesAnEmptyFile) {
  Result r = write_ovl();
  EXPECT_EQ(r.value, 0);
  EXPECT_EQ(r.out, "0 pixels (total weight = 0, volume = 0) written to file .ovl\n");
  EXPECT_EQ(read_file(".ovl"), "");
}

TEST_F(OverlayFileWrite, CountDifferentFromTheRootIsAProgrammingError) {
  overlay_map.weight[5] = 1.0f;
  overlay_map.weight[6] = 1.0f;
  ovl_root.npts = 3;
  Result r = write_ovl();
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out,
            "2 pixels (total weight = 2, volume = 24) written to file .ovl\n"
            "Programming error: # overlay pixels not consistent (2 versus 3)\n");
  // The file itself is complete.
  EXPECT_EQ(read_file(".ovl"), "1 1 0\n2 1 0\n");
}

TEST_F(OverlayFileWrite, RoundTripGivesTheSameMap) {
  const float weights[] = {1.0f, 0.5f, 0.25f, 1.0f, 0.125f};
  const int where[] = {0, 7, 13, 20, 23};
  for (int i = 0; i < 5; i++) overlay_map.weight[where[i]] = weights[i];
  ovl_root.npts = 5;
  ASSERT_EQ(write_ovl().value, 0);
  std::vector<float> before(overlay_map.weight, overlay_map.weight + 24);
  for (int i = 0; i < 24; i++) overlay_map.weight[i] = 0.0f;
  ovl_root.color = COLOR_GREEN;
  EXPECT_EQ(read_into(".ovl", &ovl_root).value, 0);
  for (int i = 0; i < 24; i++) {
    EXPECT_EQ(overlay_map.weight[i], before[i]) << i;
    EXPECT_EQ(overlay_map.color[i], before[i] != 0 ? COLOR_GREEN : 0) << i;
  }
}

TEST_F(OverlayFileWrite, ZeroWeightReadIsNeverWritten) {
  write_text_file(dir, "a.ovl", "1 1 1 0\n2 2 1\n");
  ASSERT_EQ(read_into("a.ovl", &ovl_root).value, 0);
  ovl_root.npts = 1;
  EXPECT_EQ(write_ovl().value, 0);
  EXPECT_EQ(read_file(".ovl"), "2 2 1\n");
}

TEST_F(OverlayFileWrite, FullDiskKeepsTheOldFile) {
  write_text_file(dir, ".ovl", "0 0 0\n");
  overlay_map.weight[3] = 1.0f;
  ovl_root.npts = 1;
  atomic_file_simulate_full_disk(1);
  Result r = write_ovl();
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, "Error writing file (.ovl).\n");
  EXPECT_EQ(read_file(".ovl"), "0 0 0\n");
  EXPECT_EQ(folder_entries(), std::vector<std::string>{".ovl"});
}

TEST_F(OverlayFileWrite, FolderThatCannotTakeFilesIsReported) {
  // The working folder is gone: nothing can be created in it.
  std::string gone = make_temp_dir() + "/gone";
  std::filesystem::create_directory(gone);
  ASSERT_EQ(chdir(gone.c_str()), 0);
  std::filesystem::remove(gone);
  Result r = write_ovl();
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, "Error opening file (.ovl).\n");
}

}  // namespace
