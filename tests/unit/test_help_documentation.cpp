// The help files under documentation/: every code that a click in the image
// window can report has its entry in the question-mark file, the menu files
// pass the order check and their links lead to files that exist and pass it
// too, and the text files hold no "#", which would cut their lines.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <utility>

#include "test_support.h"
#include "zor.h"

namespace {

const std::string DOCS = std::string(ZOR_SOURCE_DIR) + "/documentation/";

std::string read_file(const std::string &path) {
  std::ifstream f(path, std::ios::binary);
  std::stringstream ss;
  ss << f.rdbuf();
  return ss.str();
}

// The region codes a click produces, walked over every pixel of the image
// window in each display mode, and the codes of every item of the menus.
class RegionCodes : public ::testing::Test {
 protected:
  data_stack stack{};

  void SetUp() override {
    free(mosaic.display_slice);
    mosaic = mosaic_display{};
    selectable_text_reset();
    stack.dim = IPOINT3D{24, 20, 7};
    stack.resolution = POINT3D{1.0f, 1.0f, 2.0f};
    stack.direction = POINT3D{1.0f, 1.0f, 1.0f};
    stack.ijk_to_xyz = scale_and_shift_to_mat44(stack.resolution, POINT3D{0, 0, 0}, stack.direction);
    stack.xyz_to_ijk = invert_mat44(stack.ijk_to_xyz);
    stack.nt = 1;
    mosaic.stack = &stack;
    mosaic.Attach_ColorBar = 1;
    mosaic.flip_X11_y = 1;
    mosaic.zoom_window = 2;
    mosaic.icross = IPOINT3D{12, 10, 3};
    activation = Activation{};
    activation.nmaps = 1;
    activation.visible = 1;
    activation.color_sign = 1;
    graph = graph_struct{};
    graph.type = -1;
    ovl_root.npts = 0;
    wire_root.npts = 0;
    initialize_common_selectable_text();
    initialize_specific_selectable_text();
  }
  void TearDown() override {
    selectable_text_reset();
    free(mosaic.display_slice);
    mosaic = mosaic_display{};
    activation = Activation{};
  }

  void layout(int three_planes, int orientation, int ortho_zy) {
    mosaic.display_3orthogonal = three_planes;
    mosaic.mosaic_orientation = orientation;
    mosaic.display_ortho_ZY = ortho_zy;
    compute_display_size_reset();
    IPOINT2D rough;
    compute_display_size(&rough, 1.0f);
    update_image_selectable_text();
  }

  void walk(std::set<std::pair<int, int>> *codes) {
    const IPOINT2D size = image_window_size();
    for (int y = 0; y < size.y; y++)
      for (int x = 0; x < size.x; x++) {
        reset_cursor_selections();
        define_mosaic_cursor_location(x, y);
        codes->insert({mosaic.cursor_selection, mosaic.text_selection});
      }
  }
};

std::set<std::pair<int, int>> documented_codes() {
  std::set<std::pair<int, int>> heads;
  FILE *fp = fopen((DOCS + "zorview-question-mark.txt").c_str(), "r");
  EXPECT_NE(fp, nullptr);
  if (!fp) return heads;
  char line[1024];
  while (get_line_with_comment(fp, line, sizeof line)) {
    char c;
    int a, b;
    if (sscanf(line, "%c %d %d", &c, &a, &b) == 3 && c == '!') heads.insert({a, b});
  }
  fclose(fp);
  return heads;
}

TEST_F(RegionCodes, EveryReportableCodeHasAnEntry) {
  std::set<std::pair<int, int>> codes;
  // A key press instead of a click reports the cleared state.
  codes.insert({0, 0});
  for (int orientation : {ORTHO_XY, ORTHO_XZ, ORTHO_ZY, ORTHO_YZ})
    for (int ortho_zy : {1, 0}) {
      layout(0, orientation, ortho_zy);
      walk(&codes);
    }
  for (int ortho_zy : {1, 0}) {
    layout(1, ORTHO_XY, ortho_zy);
    walk(&codes);
  }
  // Every item of the menus, whatever state shows it.
  for (SelectableText *t = &mosaic.SelectText; t; t = t->next)
    if (t->FieldID != 0) codes.insert({CURSOR_ON_TEXT, t->FieldID});

  const std::set<std::pair<int, int>> heads = documented_codes();
  std::string missing;
  for (const auto &c : codes)
    if (!heads.count(c)) missing += "! " + std::to_string(c.first) + " " + std::to_string(c.second) + "\n";
  EXPECT_EQ(missing, "") << "codes without an entry in zorview-question-mark.txt";
  // Entries for codes that no click gives are stale.
  std::string stale;
  for (const auto &h : heads)
    if (!codes.count(h)) stale += "! " + std::to_string(h.first) + " " + std::to_string(h.second) + "\n";
  EXPECT_EQ(stale, "") << "entries for codes that nothing reports";
  // The walk finds the regions of both modes, the colorbar and the menus.
  EXPECT_TRUE(codes.count({CURSOR_ON_MOSAIC_PANEL | CURSOR_PLANE_XY | CURSOR_ON_VOXEL, 0}));
  EXPECT_TRUE(codes.count({CURSOR_PLANE_YZ | CURSOR_ON_VOXEL, 0}));
  EXPECT_TRUE(codes.count({CURSOR_ON_COLORBAR | CURSOR_COLORBAR_UPPER, 0}));
  EXPECT_TRUE(codes.count({CURSOR_ON_TEXT, TEXTFIELD_QUESTION}));
  EXPECT_GE(codes.size(), 50u);
}

TEST_F(RegionCodes, EveryEntryHasText) {
  // Each head is followed by at least one line of text before its blank line.
  const std::string text = read_file(DOCS + "zorview-question-mark.txt");
  std::istringstream in(text);
  std::string line, previous;
  int heads = 0;
  while (std::getline(in, line)) {
    if (!previous.empty() && previous[0] == '!') {
      EXPECT_FALSE(line.empty()) << previous;
    }
    if (!line.empty() && line[0] == '!') heads++;
    previous = line;
  }
  EXPECT_GE(heads, 50);
}

TEST(HelpFiles, MenuFilesPassTheOrderCheckAndTheirLinksExist) {
  std::set<std::string> seen, to_check{"zorview-menu.txt"};
  while (!to_check.empty()) {
    const std::string name = *to_check.begin();
    to_check.erase(to_check.begin());
    if (!seen.insert(name).second) continue;
    const std::string path = DOCS + name;
    Captured c = capture_output([&] { EXPECT_EQ(check_help_menu_order(path.c_str(), name.c_str()), 0) << name; });
    EXPECT_EQ(c.out, "") << name;
    std::istringstream in(read_file(path));
    std::string line;
    bool main_page = false;
    while (std::getline(in, line)) {
      if (line.rfind("!0 0", 0) == 0) main_page = true;
      if (!line.empty() && line[0] == '>') to_check.insert(line.substr(1));
    }
    EXPECT_TRUE(main_page) << name;
  }
  EXPECT_GE(seen.size(), 3u);
}

TEST(HelpFiles, TextFilesHoldNoCommentSign) {
  for (const char *name : {"zorview-startup.txt", "zorview-interactive-help1.txt",
                           "zorview-interactive-help2.txt", "zorview-question-mark.txt"}) {
    const std::string text = read_file(DOCS + name);
    EXPECT_GT(text.size(), 200u) << name;
    EXPECT_EQ(text.find('#'), std::string::npos) << name;
    // Lines longer than the reader's 1023 characters would be split.
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) EXPECT_LT(line.size(), 1023u) << name;
  }
}

TEST(HelpFiles, StartupPageNamesEveryOption) {
  const std::string text = read_file(DOCS + "zorview-startup.txt");
  for (char letter : std::string("AadDzZxXpPemoOwW3hHnNTSvVyYitGgrf"))
    EXPECT_NE(text.find(std::string("-") + letter + " "), std::string::npos) << letter;
  for (const char *word : {".vistrel", ".zorview", "ZOR_HOME"})
    EXPECT_NE(text.find(word), std::string::npos) << word;
}

TEST(HelpFiles, InteractiveHelpNamesEveryKey) {
  const std::string text = read_file(DOCS + "zorview-interactive-help2.txt");
  // Each key of the image window, written in double quotes.
  for (const char *key : {"\"c\"", "\"C\"", "\"d\"", "\"D\"", "\"F\"", "\"f\"", "\"g\"", "\"h\"", "\"H\"",
                          "\"i\"", "\"l\"", "\"L\"", "\"m\"", "\"M\"", "\"n\"", "\"N\"", "\"q\"", "\"r\"",
                          "\"R\"", "\"s\"", "\"S\"", "\"t\"", "\"v\"", "\"w\"", "\"W\"", "\"z\"", "\"Z\"",
                          "\"A\"", "\"3\"", "\"?\"", "\"+\"", "\"-\"", "\"<\"", "\">\"", "\"u\"", "\"b\""})
    EXPECT_NE(text.find(key), std::string::npos) << key;
}

}  // namespace
