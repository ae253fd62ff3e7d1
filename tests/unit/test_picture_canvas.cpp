// The in-memory picture: its lines, and the PNG writer's replacement of a
// file only when the picture was written whole.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "test_support.h"
#include "zor_atomic_file.h"
#include "zor_display_state.h"
#include "zor_overlay.h"
#include "zor_picture.h"

namespace {

picture_canvas blank(int w, int h) {
  picture_canvas c;
  picture_resize(&c, w, h, 0);
  return c;
}

int lit(const picture_canvas &c) {
  int n = 0;
  for (uint32_t p : c.pixels) n += p != 0;
  return n;
}

std::string file_text(const std::string &path) {
  std::ifstream f(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(f), {});
}

TEST(PictureCanvas, StraightLinesIncludeBothEnds) {
  picture_canvas c = blank(10, 10);
  picture_draw_line(&c, IPOINT2D{7, 2}, IPOINT2D{2, 2}, 0x00FFFF);
  EXPECT_EQ(lit(c), 6);
  for (int x = 2; x <= 7; x++) EXPECT_EQ(c.pixels[2 * 10 + x], 0x00FFFFu);
  picture_draw_line(&c, IPOINT2D{4, 0}, IPOINT2D{4, 9}, 0xFF0000);
  EXPECT_EQ(lit(c), 6 + 10 - 1);
}

TEST(PictureCanvas, DiagonalIsOnePixelPerStepAndClipped) {
  picture_canvas c = blank(6, 6);
  picture_draw_line(&c, IPOINT2D{-3, -3}, IPOINT2D{8, 8}, 0xFFFFFF);
  // The diagonal only: the neighbours lie 0.707 pixels from it.
  EXPECT_EQ(lit(c), 6);
  for (int i = 0; i < 6; i++) EXPECT_EQ(c.pixels[(size_t)i * 6 + i], 0xFFFFFFu);
}

TEST(PictureCanvas, ShallowLineLightsThePixelsNearestItsPath) {
  picture_canvas c = blank(12, 4);
  picture_draw_line(&c, IPOINT2D{0, 0}, IPOINT2D{10, 2}, 0xFFFFFF);
  // Centres within half a pixel (measured across the line) of y = x / 5.
  for (int x = 0; x <= 10; x++) {
    int expected_rows = 0;
    for (int y = 0; y < 4; y++) {
      const int across = x * 2 - y * 10;  // (x, y) x (10, 2)
      const bool near = 4 * across * across < 104;
      EXPECT_EQ(c.pixels[(size_t)y * 12 + x] != 0, near || (x == 0 && y == 0) ||
                                                        (x == 10 && y == 2))
          << x << "," << y;
      expected_rows += near;
    }
    EXPECT_GE(expected_rows, 1) << x;
  }
}

TEST(PictureCanvas, LineColoursAreTheWindowsOwn) {
  EXPECT_EQ(image_line_rgb(COLOR_CYAN), 0x00FFFFu);
  EXPECT_EQ(image_line_rgb(COLOR_WHITE), 0xFFFFFFu);
  EXPECT_EQ(image_line_rgb(COLOR_ORANGE), 0xFF7F00u);
  EXPECT_EQ(image_line_rgb(COLOR_PURPLE), 0x7F00FFu);
}

TEST(PicturePng, WritesAPngAndReplacesAnEarlierFile) {
  const std::string dir = make_temp_dir();
  const std::string path = write_text_file(dir, "figure.png", "earlier");
  picture_canvas c = blank(3, 2);
  c.pixels[0] = 0x102030;
  std::string error;
  ASSERT_EQ(write_picture_png(c, path.c_str(), &error), 0) << error;
  const std::string bytes = file_text(path);
  ASSERT_GT(bytes.size(), 8u);
  EXPECT_EQ(bytes.substr(0, 8), std::string("\x89PNG\r\n\x1a\n", 8));
}

TEST(PicturePng, FullDiskKeepsTheEarlierFileAndLeavesNothingElse) {
  const std::string dir = make_temp_dir();
  const std::string path = write_text_file(dir, "figure.png", "earlier");
  picture_canvas c = blank(64, 64);
  atomic_file_simulate_full_disk(1);
  std::string error;
  const int status = write_picture_png(c, path.c_str(), &error);
  atomic_file_simulate_full_disk(0);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(error.rfind("cannot write the file " + path, 0), 0u) << error;
  EXPECT_EQ(file_text(path), "earlier");
  int entries = 0;
  for (const auto &entry : std::filesystem::directory_iterator(dir)) entries += !entry.path().empty();
  EXPECT_EQ(entries, 1);
}

TEST(PicturePng, EmptyPictureIsRefused) {
  picture_canvas c;
  std::string error;
  EXPECT_EQ(write_picture_png(c, "/tmp/never-written.png", &error), 1);
  EXPECT_EQ(error, "the picture is empty");
}

}  // namespace
