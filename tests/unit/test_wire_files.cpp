#include <climits>

#include "overlay_fixture.h"

namespace {

struct Result {
  int value;
  std::string out;
};

Result read_wire(const char *name, wire_list *wire, int new_color) {
  Result r{};
  Captured c = capture_output([&] { r.value = read_wire_file(name, wire, new_color); });
  EXPECT_EQ(c.exit_status, -1);
  r.out = c.out;
  return r;
}

Result write_wire() {
  Result r{};
  Captured c = capture_output([&] { r.value = write_wire_file(); });
  EXPECT_EQ(c.exit_status, -1);
  r.out = c.out;
  return r;
}

// One wire of one Bezier segment: a start point and three more, the last
// of which ends the wire.
void set_root_wire() {
  wire_root.control = control_vector(4);
  wire_root.control[0] = CONTROL_POINT{{1.5f, -2.0f, 3.25f}, COLOR_CYAN};
  wire_root.control[1] = CONTROL_POINT{{2.0f, 0.0f, 3.0f}, COLOR_CYAN};
  wire_root.control[2] = CONTROL_POINT{{4.0f, 1.0f, -0.5f}, COLOR_RED};
  wire_root.control[3] = CONTROL_POINT{{5.0f, 2.0f, 0.0f}, 0};
  wire_root.npts = 4;
}

using WireFiles = OverlayFiles;

TEST_F(WireFiles, WriterUsesFixedDecimalsAndTwoBlanksBeforeTheColour) {
  set_root_wire();
  Result r = write_wire();
  EXPECT_EQ(r.value, 0);
  EXPECT_EQ(r.out, "4 control points for a wireframe were written to file .wire\n");
  EXPECT_EQ(read_file(".wire"),
            "1.500000 -2.000000 3.250000  1\n"
            "2.000000 0.000000 3.000000  1\n"
            "4.000000 1.000000 -0.500000  2\n"
            "5.000000 2.000000 0.000000  0\n");
}

TEST_F(WireFiles, RoundTripGivesTheSamePoints) {
  set_root_wire();
  ASSERT_EQ(write_wire().value, 0);
  wire_list copy{};
  EXPECT_EQ(read_wire(".wire", &copy, 0).value, 0);
  ASSERT_EQ(copy.npts, 4);
  for (int i = 0; i < 4; i++) {
    EXPECT_EQ(copy.control[i].point.x, wire_root.control[i].point.x);
    EXPECT_EQ(copy.control[i].point.y, wire_root.control[i].point.y);
    EXPECT_EQ(copy.control[i].point.z, wire_root.control[i].point.z);
    EXPECT_EQ(copy.control[i].color, wire_root.control[i].color);
  }
  free_control_vector(copy.control);
}

TEST_F(WireFiles, ReadingTwiceGivesTheWireTwice) {
  write_text_file(dir, ".wire", "1 2 3 1\n4 5 6 0\n");
  EXPECT_EQ(read_wire(".wire", &wire_root, 0).value, 0);
  EXPECT_EQ(read_wire(".wire", &wire_root, 0).value, 0);
  ASSERT_EQ(wire_root.npts, 4);
  EXPECT_EQ(wire_root.control[2].point.x, 1.0f);
  EXPECT_EQ(wire_root.control[3].point.z, 6.0f);
  EXPECT_EQ(wire_root.control[3].color, 0);
}

TEST_F(WireFiles, NewPointsGoBehindTheExistingOnes) {
  set_root_wire();
  write_text_file(dir, "w.wire", "7 8 9 3\n");
  EXPECT_EQ(read_wire("w.wire", &wire_root, 0).value, 0);
  ASSERT_EQ(wire_root.npts, 5);
  EXPECT_EQ(wire_root.control[0].point.x, 1.5f);
  EXPECT_EQ(wire_root.control[3].color, 0);
  EXPECT_EQ(wire_root.control[4].point.y, 8.0f);
  EXPECT_EQ(wire_root.control[4].color, 3);
}

TEST_F(WireFiles, EmptyFileChangesNothing) {
  set_root_wire();
  CONTROL_POINT *before = wire_root.control;
  write_text_file(dir, "w.wire", "");
  Result r = read_wire("w.wire", &wire_root, 5);
  EXPECT_EQ(r.value, 0);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(wire_root.npts, 4);
  EXPECT_EQ(wire_root.control, before);
}

TEST_F(WireFiles, WhiteSpaceOnlyFileChangesNothing) {
  write_text_file(dir, "w.wire", "  \n\n\t\n");
  EXPECT_EQ(read_wire("w.wire", &wire_root, 0).value, 0);
  EXPECT_EQ(wire_root.npts, 0);
  EXPECT_EQ(wire_root.control, nullptr);
}

TEST_F(WireFiles, NumbersAreFreeFormatAcrossLines) {
  write_text_file(dir, "w.wire", "1 2\n3 1 4\n5 6 0");
  EXPECT_EQ(read_wire("w.wire", &wire_root, 0).value, 0);
  ASSERT_EQ(wire_root.npts, 2);
  EXPECT_EQ(wire_root.control[0].point.z, 3.0f);
  EXPECT_EQ(wire_root.control[1].point.x, 4.0f);
  EXPECT_EQ(wire_root.control[1].color, 0);
}

TEST_F(WireFiles, NewColourReplacesOnlyColourOne) {
  write_text_file(dir, "w.wire", "0 0 0 1\n1 1 1 2\n2 2 2 1\n3 3 3 0\n");
  EXPECT_EQ(read_wire("w.wire", &wire_root, COLOR_YELLOW).value, 0);
  ASSERT_EQ(wire_root.npts, 4);
  EXPECT_EQ(wire_root.control[0].color, COLOR_YELLOW);
  EXPECT_EQ(wire_root.control[1].color, 2);
  EXPECT_EQ(wire_root.control[2].color, COLOR_YELLOW);
  EXPECT_EQ(wire_root.control[3].color, 0);  // the terminator survives
}

TEST_F(WireFiles, NewColourDoesNotTouchPointsAlreadyThere) {
  set_root_wire();
  write_text_file(dir, "w.wire", "0 0 0 1\n");
  EXPECT_EQ(read_wire("w.wire", &wire_root, COLOR_BLUE).value, 0);
  EXPECT_EQ(wire_root.control[0].color, COLOR_CYAN);
  EXPECT_EQ(wire_root.control[4].color, COLOR_BLUE);
}

TEST_F(WireFiles, ZeroNewColourKeepsColours) {
  write_text_file(dir, "w.wire", "0 0 0 1\n");
  EXPECT_EQ(read_wire("w.wire", &wire_root, 0).value, 0);
  EXPECT_EQ(wire_root.control[0].color, 1);
}

TEST_F(WireFiles, WordThatIsNoNumberEndsTheReadWithAMessage) {
  set_root_wire();
  write_text_file(dir, "w.wire", "1 2 3 1\n4 five 6 0\n7 8 9 0\n");
  Result r = read_wire("w.wire", &wire_root, 0);
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, "Error: control point 2 in the wire file w.wire is not four numbers.\n");
  EXPECT_EQ(wire_root.npts, 4);  // nothing appended
}

TEST_F(WireFiles, CommentIsNoNumberEither) {
  write_text_file(dir, "w.wire", "# my wire\n1 2 3 1\n");
  Result r = read_wire("w.wire", &wire_root, 0);
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, "Error: control point 1 in the wire file w.wire is not four numbers.\n");
  EXPECT_EQ(wire_root.npts, 0);
}

TEST_F(WireFiles, IncompletePointAtTheEndIsRefused) {
  write_text_file(dir, "w.wire", "1 2 3 1\n4 5 6\n");
  Result r = read_wire("w.wire", &wire_root, 0);
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, "Error: the wire file w.wire ends inside control point 2.\n");
  EXPECT_EQ(wire_root.npts, 0);
}

TEST_F(WireFiles, MissingFileIsReported) {
  Result r = read_wire("none.wire", &wire_root, 0);
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, "Error opening file none.wire\n");
}

TEST_F(WireFiles, EmptyRootWritesAnEmptyFile) {
  Result r = write_wire();
  EXPECT_EQ(r.value, 0);
  EXPECT_EQ(r.out, "0 control points for a wireframe were written to file .wire\n");
  EXPECT_EQ(read_file(".wire"), "");
}

TEST_F(WireFiles, FullDiskKeepsTheOldFile) {
  write_text_file(dir, ".wire", "1 1 1 0\n");
  set_root_wire();
  atomic_file_simulate_full_disk(1);
  Result r = write_wire();
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, "Error writing file (.wire).\n");
  EXPECT_EQ(read_file(".wire"), "1 1 1 0\n");
  EXPECT_EQ(folder_entries(), std::vector<std::string>{".wire"});
}

TEST_F(WireFiles, FolderThatCannotTakeFilesIsReported) {
  std::string gone = make_temp_dir() + "/gone";
  std::filesystem::create_directory(gone);
  ASSERT_EQ(chdir(gone.c_str()), 0);
  std::filesystem::remove(gone);
  set_root_wire();
  Result r = write_wire();
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, "Error opening file (.wire).\n");
}

TEST_F(WireFiles, ControlVectorBeyondWhatCanBeAddressedEndsTheRun) {
  Captured c = capture_output([] { control_vector(-1); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.err, "Fatal Error:\nAllocation error in control_vector().\nProgram aborted.\n");
  c = capture_output([] { control_vector(INT_MIN); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.err, "Fatal Error:\nAllocation error in control_vector().\nProgram aborted.\n");
}

}  // namespace
