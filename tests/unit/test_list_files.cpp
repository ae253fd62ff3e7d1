#include <malloc.h>

#include "overlay_fixture.h"

namespace {

struct Result {
  int value;
  std::string out;
};

Result read_ovl_list(const char *name) {
  Result r{};
  Captured c = capture_output([&] { r.value = read_overlay_list(name); });
  EXPECT_EQ(c.exit_status, -1);
  r.out = c.out;
  return r;
}

Result read_w_list(const char *name) {
  Result r{};
  Captured c = capture_output([&] { r.value = read_wire_list(name); });
  EXPECT_EQ(c.exit_status, -1);
  r.out = c.out;
  return r;
}

std::vector<ovl_list *> overlay_nodes() {
  std::vector<ovl_list *> nodes;
  for (ovl_list *n = ovl_root.next; n; n = n->next) nodes.push_back(n);
  return nodes;
}

std::vector<wire_list *> wire_nodes() {
  std::vector<wire_list *> nodes;
  for (wire_list *n = wire_root.next; n; n = n->next) nodes.push_back(n);
  return nodes;
}

using ListFiles = OverlayFiles;

TEST_F(ListFiles, OverlayListAppendsOneNodePerEntry) {
  write_text_file(dir, "a.ovl", "1 1 1\n2 2 1 0.5\n");
  write_text_file(dir, "b.ovl", "0 0 0\n");
  write_text_file(dir, "list", "caudate a.ovl red\n\tputamen\tb.ovl\tsky\n");
  Result r = read_ovl_list("list");
  EXPECT_EQ(r.value, 0);
  EXPECT_EQ(r.out, "");
  std::vector<ovl_list *> nodes = overlay_nodes();
  ASSERT_EQ(nodes.size(), 2u);
  EXPECT_STREQ(nodes[0]->name, "caudate");
  EXPECT_EQ(nodes[0]->color, COLOR_RED);
  EXPECT_EQ(nodes[0]->active, 0);
  ASSERT_EQ(nodes[0]->npts, 2);
  EXPECT_EQ(nodes[0]->weight[1], 0.5f);
  EXPECT_EQ(nodes[0]->voxel[1].x, 2);
  EXPECT_STREQ(nodes[1]->name, "putamen");
  EXPECT_EQ(nodes[1]->color, COLOR_SKY);
  EXPECT_EQ(nodes[1]->npts, 1);
  // The working region is untouched.
  EXPECT_STREQ(ovl_root.name, "none");
  for (int i = 0; i < 24; i++) EXPECT_EQ(overlay_map.weight[i], 0.0f);
}

TEST_F(ListFiles, SecondListGoesBehindTheFirst) {
  write_text_file(dir, "a.ovl", "1 1 1\n");
  write_text_file(dir, "list1", "one a.ovl\n");
  write_text_file(dir, "list2", "two a.ovl\n");
  ASSERT_EQ(read_ovl_list("list1").value, 0);
  ASSERT_EQ(read_ovl_list("list2").value, 0);
  std::vector<ovl_list *> nodes = overlay_nodes();
  ASSERT_EQ(nodes.size(), 2u);
  EXPECT_STREQ(nodes[1]->name, "two");
}

TEST_F(ListFiles, BlankLinesAndCommentsAreSkipped) {
  write_text_file(dir, "a.ovl", "1 1 1\n");
  write_text_file(dir, "list", "# regions\n\n   \none a.ovl # first\n\t\n");
  EXPECT_EQ(read_ovl_list("list").value, 0);
  ASSERT_EQ(overlay_nodes().size(), 1u);
  EXPECT_EQ(overlay_nodes()[0]->color, COLOR_CYAN);
}

struct ColourCase {
  const char *word;
  int overlay_color;
  int wire_color;
};

// Readable test names: the colour word itself.
void PrintTo(const ColourCase &c, std::ostream *os) { *os << '"' << c.word << '"'; }

class ListColour : public OverlayFiles, public ::testing::WithParamInterface<ColourCase> {};

TEST_P(ListColour, WordGivesTheColourOfItsListKind) {
  write_text_file(dir, "a.ovl", "1 1 1\n");
  write_text_file(dir, "a.wire", "1 2 3 1\n4 5 6 0\n");
  write_text_file(dir, "olist", std::string("r a.ovl ") + GetParam().word + "\n");
  write_text_file(dir, "wlist", std::string("w a.wire ") + GetParam().word + "\n");
  ASSERT_EQ(read_ovl_list("olist").value, 0);
  ASSERT_EQ(read_w_list("wlist").value, 0);
  EXPECT_EQ(overlay_nodes()[0]->color, GetParam().overlay_color);
  // A wire takes its list colour on the points of colour 1.
  ASSERT_EQ(wire_nodes()[0]->npts, 2);
  EXPECT_EQ(wire_nodes()[0]->control[0].color, GetParam().wire_color);
  EXPECT_EQ(wire_nodes()[0]->control[1].color, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Words, ListColour,
    ::testing::Values(ColourCase{"cyan", 1, 1}, ColourCase{"red", 2, 2},
                      ColourCase{"green", 3, 3}, ColourCase{"blue", 4, 4},
                      ColourCase{"white", 10, 10}, ColourCase{"purple", 5, 5},
                      ColourCase{"magenta", 8, 1}, ColourCase{"sky", 9, 1},
                      ColourCase{"yellow", 6, 6}, ColourCase{"orange", 7, 7},
                      ColourCase{"gray", 1, 1}, ColourCase{"black", 1, 1},
                      ColourCase{"Red", 1, 1}, ColourCase{"r", 1, 1}, ColourCase{"", 1, 1}));

TEST_F(ListFiles, SingleCharacterColourFieldWithoutNewlineGivesCyan) {
  write_text_file(dir, "a.ovl", "1 1 1\n");
  write_text_file(dir, "list", "one a.ovl r");
  EXPECT_EQ(read_ovl_list("list").value, 0);
  EXPECT_EQ(overlay_nodes()[0]->color, COLOR_CYAN);
}

TEST_F(ListFiles, ColourWordWithoutNewlineIsRead) {
  write_text_file(dir, "a.ovl", "1 1 1\n");
  write_text_file(dir, "list", "one a.ovl red");
  EXPECT_EQ(read_ovl_list("list").value, 0);
  EXPECT_EQ(overlay_nodes()[0]->color, COLOR_RED);
}

TEST_F(ListFiles, ColourTablesAnswerDirectly) {
  EXPECT_EQ(overlay_list_color("magenta"), COLOR_MAGENTA);
  EXPECT_EQ(wire_list_color("magenta"), COLOR_CYAN);
  EXPECT_EQ(wire_list_color("sky"), COLOR_CYAN);
  EXPECT_EQ(wire_list_color("orange"), COLOR_ORANGE);
}

TEST_F(ListFiles, NodesHoldOnlyWhatTheyRead) {
  // A shown volume of 64^3 voxels: a node with room for all of them would
  // take 4 MiB, a hundred of them 400 MiB.
  image_stack.dim = IPOINT3D{64, 64, 64};
  image_stack.n2d = 64 * 64;
  image_stack.n3d = 64 * 64 * 64;
  write_text_file(dir, "two.ovl", "1 1 1\n63 63 63 0.5\n");
  std::string list = "two two.ovl\n";
  for (int i = 0; i < 100; i++) list += "r" + std::to_string(i) + " missing.ovl\n";
  write_text_file(dir, "list", list);
  Result r = read_ovl_list("list");
  EXPECT_EQ(r.value, 0);
  std::vector<ovl_list *> nodes = overlay_nodes();
  ASSERT_EQ(nodes.size(), 101u);
  ASSERT_EQ(nodes[0]->npts, 2);
  EXPECT_EQ(nodes[0]->voxel[1].z, 63);
  EXPECT_EQ(nodes[0]->weight[1], 0.5f);
  EXPECT_LT(malloc_usable_size(nodes[0]->voxel), 64u);
  for (size_t i = 1; i < nodes.size(); i++) {
    EXPECT_EQ(nodes[i]->npts, 0);
    EXPECT_EQ(nodes[i]->voxel, nullptr);
    EXPECT_EQ(nodes[i]->weight, nullptr);
  }
  // Reading into a node again appends.
  Captured c = capture_output([&] { read_overlay_file("two.ovl", nodes[0]); });
  ASSERT_EQ(nodes[0]->npts, 4);
  EXPECT_EQ(nodes[0]->voxel[2].x, 1);
  EXPECT_EQ(nodes[0]->weight[3], 0.5f);
}

TEST_F(ListFiles, BadMemberFileLeavesAnEmptyNodeAndReadingGoesOn) {
  write_text_file(dir, "good.ovl", "1 1 1\n");
  write_text_file(dir, "bad.ovl", "0 0 0\n9 9 9\n");
  write_text_file(dir, "list", "first missing.ovl\nsecond bad.ovl\nthird good.ovl\n");
  Result r = read_ovl_list("list");
  EXPECT_EQ(r.value, 0);
  EXPECT_EQ(r.out,
            "Error opening file missing.ovl\n"
            "Error: the overlay in file .ovl does not agree with the image dimensions.\n");
  std::vector<ovl_list *> nodes = overlay_nodes();
  ASSERT_EQ(nodes.size(), 3u);
  EXPECT_EQ(nodes[0]->npts, 0);
  EXPECT_EQ(nodes[1]->npts, 1);  // as far as reading went
  EXPECT_EQ(nodes[2]->npts, 1);
}

TEST_F(ListFiles, EntryWithoutFileNameStopsTheOverlayList) {
  write_text_file(dir, "a.ovl", "1 1 1\n");
  write_text_file(dir, "list", "one a.ovl\n\n# x\ntwo\nthree a.ovl\n");
  Result r = read_ovl_list("list");
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, "Error reading the file name for overlay 2.\n");
  ASSERT_EQ(overlay_nodes().size(), 1u);
}

TEST_F(ListFiles, EntryWithoutFileNameStopsTheWireList) {
  write_text_file(dir, "list", "lonely   \n");
  Result r = read_w_list("list");
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, "Error reading the file name for wire 1.\n");
  EXPECT_TRUE(wire_nodes().empty());
}

TEST_F(ListFiles, MissingListIsReported) {
  Result r = read_ovl_list("no-list");
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, "Error: cannot open the file no-list.\n");
  r = read_w_list("no-list");
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, "Error: cannot open the file no-list.\n");
}

TEST_F(ListFiles, WireListAppendsNodesWithTheirPoints) {
  write_text_file(dir, "a.wire", "1 2 3 1\n4 5 6 2\n7 8 9 0\n");
  write_text_file(dir, "list", "left a.wire green\nright a.wire\n");
  Result r = read_w_list("list");
  EXPECT_EQ(r.value, 0);
  EXPECT_EQ(r.out, "");
  std::vector<wire_list *> nodes = wire_nodes();
  ASSERT_EQ(nodes.size(), 2u);
  EXPECT_STREQ(nodes[0]->name, "left");
  EXPECT_EQ(nodes[0]->active, 0);
  ASSERT_EQ(nodes[0]->npts, 3);
  EXPECT_EQ(nodes[0]->control[0].color, COLOR_GREEN);
  EXPECT_EQ(nodes[0]->control[1].color, 2);
  EXPECT_EQ(nodes[0]->control[2].color, 0);
  EXPECT_EQ(nodes[1]->control[0].color, COLOR_CYAN);
  EXPECT_EQ(nodes[1]->control[2].point.z, 9.0f);
  EXPECT_EQ(wire_root.npts, 0);
}

TEST_F(ListFiles, BadWireMemberLeavesAnEmptyNode) {
  write_text_file(dir, "bad.wire", "1 2 x 1\n");
  write_text_file(dir, "list", "w bad.wire\n");
  Result r = read_w_list("list");
  EXPECT_EQ(r.value, 0);
  EXPECT_EQ(r.out, "Error: control point 1 in the wire file bad.wire is not four numbers.\n");
  ASSERT_EQ(wire_nodes().size(), 1u);
  EXPECT_EQ(wire_nodes()[0]->npts, 0);
}

TEST_F(ListFiles, LongLineArrivesInPiecesWithoutHarm) {
  // 1500 characters of name: the first piece holds only the name.
  write_text_file(dir, "list", std::string(1500, 'n') + " a.ovl\n");
  Result r = read_ovl_list("list");
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, "Error reading the file name for overlay 1.\n");
  EXPECT_TRUE(overlay_nodes().empty());
}

TEST_F(ListFiles, NameOfTheFullLineLengthFits) {
  write_text_file(dir, "a.ovl", "1 1 1\n");
  std::string name(1000, 'n');
  write_text_file(dir, "list", name + " a.ovl\n");
  EXPECT_EQ(read_ovl_list("list").value, 0);
  ASSERT_EQ(overlay_nodes().size(), 1u);
  EXPECT_EQ(std::string(overlay_nodes()[0]->name), name);
}

}  // namespace
