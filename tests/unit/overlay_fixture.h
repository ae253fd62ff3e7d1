// A small shown stack, fresh overlay records and a scratch working folder
// for the region, wire and tract file tests.
#ifndef ZOR_OVERLAY_FIXTURE_H
#define ZOR_OVERLAY_FIXTURE_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "test_support.h"
#include "zor.h"

class OverlayFiles : public ::testing::Test {
 protected:
  // 4 x 3 x 2 voxels of 2 x 2 x 3 mm.
  void SetUp() override {
    image_stack = data_stack{};
    image_stack.dim = IPOINT3D{4, 3, 2};
    image_stack.resolution = POINT3D{2.0f, 2.0f, 3.0f};
    image_stack.n2d = 12;
    image_stack.n3d = 24;
    mosaic.stack = &image_stack;
    initialize_overlay_records();
    DTI_tracts_reset();
    atomic_file_reset();
    char buf[4096];
    ASSERT_NE(getcwd(buf, sizeof buf), nullptr);
    old_dir = buf;
    dir = make_temp_dir();
    ASSERT_EQ(chdir(dir.c_str()), 0);
  }
  void TearDown() override {
    ASSERT_EQ(chdir(old_dir.c_str()), 0);
    overlay_map_reset();
    ovl_root_reset();
    wire_root_reset();
    DTI_tracts_reset();
    atomic_file_reset();
    mosaic.stack = nullptr;
    image_stack = data_stack{};
  }

  static int flat(int x, int y, int z) { return x + 4 * (y + 3 * z); }

  static std::string read_file(const std::string &name) {
    std::ifstream f(name, std::ios::binary);
    std::stringstream ss;
    ss << f.rdbuf();
    return ss.str();
  }

  // Names of everything in the working folder.
  std::vector<std::string> folder_entries() const {
    std::vector<std::string> names;
    for (const auto &e : std::filesystem::directory_iterator(dir))
      names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

  // An empty list node, as the list reader makes them: the file reader
  // gives it storage for what it reads.
  static ovl_list *new_node() {
    ovl_list *node = static_cast<ovl_list *>(calloc(1, sizeof(ovl_list)));
    ovl_list *last = &ovl_root;  // freed by ovl_root_reset
    while (last->next) last = last->next;
    last->next = node;
    return node;
  }

  std::string dir, old_dir;
};

#endif
