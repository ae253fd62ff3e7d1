// Filling closed wires into the region, the crossing test, and the keys that
// recolour, mirror and clear wires.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#include "test_support.h"
#include "zor.h"
#include "zor_overlay_edit.h"

namespace {

class WireFill : public ::testing::Test {
 protected:
  void TearDown() override {
    overlay_map_reset();
    ovl_root_reset();
    wire_root_reset();
    mosaic.stack = nullptr;
    image_stack = data_stack{};
  }

  // A one-volume stack with its voxel geometry; origin at space (ox, oy, oz).
  void make_stack(int nx, int ny, int nz, POINT3D res, POINT3D origin = {0, 0, 0},
                  POINT3D direction = {1, 1, 1}) {
    image_stack = data_stack{};
    image_stack.dim = IPOINT3D{nx, ny, nz};
    image_stack.resolution = res;
    image_stack.origin = origin;
    image_stack.direction = direction;
    image_stack.fov = POINT3D{nx * res.x, ny * res.y, nz * res.z};
    image_stack.nt = 1;
    image_stack.n2d = nx * ny;
    image_stack.n3d = nx * ny * nz;
    image_stack.ijk_to_xyz = scale_and_shift_to_mat44(res, origin, direction);
    image_stack.xyz_to_ijk = invert_mat44(image_stack.ijk_to_xyz);
    mosaic.stack = &image_stack;
    initialize_overlay_records();
    graph.type = -1;
  }

  // A closed polygon of straight Bezier segments (handles at the thirds),
  // appended to wire_root; the last point repeats the first.
  static void add_polygon(const std::vector<POINT2D> &corners, float z, int color = 1) {
    std::vector<CONTROL_POINT> pts;
    const size_t n = corners.size();
    for (size_t k = 0; k < n; k++) {
      const POINT2D a = corners[k], b = corners[(k + 1) % n];
      if (k == 0) pts.push_back({{a.x, a.y, z}, color});
      pts.push_back({{a.x + (b.x - a.x) / 3.0f, a.y + (b.y - a.y) / 3.0f, z}, color});
      pts.push_back({{a.x + 2.0f * (b.x - a.x) / 3.0f, a.y + 2.0f * (b.y - a.y) / 3.0f, z}, color});
      pts.push_back({{b.x, b.y, z}, color});
    }
    pts.back().point = pts.front().point;
    pts.back().color = 0;
    CONTROL_POINT *all = control_vector(wire_root.npts + static_cast<int>(pts.size()));
    for (int i = 0; i < wire_root.npts; i++) all[i] = wire_root.control[i];
    for (size_t i = 0; i < pts.size(); i++) all[wire_root.npts + static_cast<int>(i)] = pts[i];
    free_control_vector(wire_root.control);
    wire_root.control = all;
    wire_root.npts += static_cast<int>(pts.size());
  }

  static float weight(int x, int y, int z) {
    const IPOINT3D d = image_stack.dim;
    return overlay_map.weight[x + d.x * (y + d.y * z)];
  }

  static std::vector<float> weights() {
    return std::vector<float>(overlay_map.weight, overlay_map.weight + image_stack.n3d);
  }

  static Captured fill() {
    return capture_output([] { fill_closed_wires(); });
  }
};

TEST(CrossingTest, CrossingSegmentsCross) {
  EXPECT_EQ(intersecting_2D_vectors({0, 0}, {2, 2}, {0, 2}, {2, 0}), 1);
  EXPECT_EQ(intersecting_2D_vectors({0, 0}, {1, 0}, {0.5f, -1}, {0.5f, 1}), 1);
}

TEST(CrossingTest, SegmentsThatStopShortDoNotCross) {
  EXPECT_EQ(intersecting_2D_vectors({0, 0}, {1, 1}, {0, 3}, {3, 2}), 0);
  EXPECT_EQ(intersecting_2D_vectors({0, 0}, {1, 0}, {2, -1}, {2, 1}), 0);
}

TEST(CrossingTest, ParallelAndEmptySegmentsNeverCross) {
  EXPECT_EQ(intersecting_2D_vectors({0, 0}, {1, 0}, {0, 0}, {1, 0}), 0);
  EXPECT_EQ(intersecting_2D_vectors({0, 0}, {1, 1}, {0, 1}, {1, 2}), 0);
  EXPECT_EQ(intersecting_2D_vectors({1, 1}, {1, 1}, {0, 0}, {2, 2}), 0);
  EXPECT_EQ(intersecting_2D_vectors({0, 0}, {2, 2}, {1, 0}, {1, 0}), 0);
}

TEST(CrossingTest, StartsCountAndEndsDoNot) {
  // Segment 1 starts on segment 2: counted. Segment 1 ends on it: not.
  EXPECT_EQ(intersecting_2D_vectors({1, 0}, {1, 2}, {0, 0}, {2, 0}), 1);
  EXPECT_EQ(intersecting_2D_vectors({1, -2}, {1, 0}, {0, 0}, {2, 0}), 0);
  // The same for segment 2.
  EXPECT_EQ(intersecting_2D_vectors({0, 0}, {2, 0}, {1, 0}, {1, 2}), 1);
  EXPECT_EQ(intersecting_2D_vectors({0, 0}, {2, 0}, {1, -2}, {1, 0}), 0);
}

TEST(CrossingTest, JointOfTwoPiecesCountsOnce) {
  // A path through (1, 0) crosses the edge from (0, 0) to (2, 0) once.
  const int n = intersecting_2D_vectors({1, -1}, {1, 0}, {0, 0}, {2, 0}) +
                intersecting_2D_vectors({1, 0}, {1, 1}, {0, 0}, {2, 0});
  EXPECT_EQ(n, 1);
}

TEST(CrossingTest, HelpersAreThePlaneOperations) {
  const POINT2D d = vector_difference_2D({3, 5}, {1, 1});
  EXPECT_EQ(d.x, 2.0f);
  EXPECT_EQ(d.y, 4.0f);
  const POINT2D u = unit_vector_2D({3, 4});
  EXPECT_FLOAT_EQ(u.x, 0.6f);
  EXPECT_FLOAT_EQ(u.y, 0.8f);
  EXPECT_EQ(cross_product_2D({1, 0}, {0, 1}), 1.0f);
  EXPECT_EQ(cross_product_2D({0, 1}, {1, 0}), -1.0f);
  EXPECT_EQ(dot_product_2D({1, 2}, {3, 4}), 11.0f);
}

TEST_F(WireFill, StraightSidedWireFillsItsInsideWithFractionsAtTheEdge) {
  // 20 x 20 voxels of 2 mm; a square from 10.3 to 30.1 mm on slice 1.
  make_stack(20, 20, 3, {2, 2, 3});
  add_polygon({{10.3f, 10.3f}, {30.1f, 10.3f}, {30.1f, 30.1f}, {10.3f, 30.1f}}, 3.0f);
  Captured c = fill();
  EXPECT_EQ(c.exit_status, -1);
  // Well inside: whole voxels.
  for (int y = 7; y <= 13; y++)
    for (int x = 7; x <= 13; x++) EXPECT_NEAR(weight(x, y, 1), 1.0f, 1e-5f) << x << " " << y;
  // Far outside, and on other slices: nothing.
  EXPECT_EQ(weight(1, 1, 1), 0.0f);
  EXPECT_EQ(weight(18, 18, 1), 0.0f);
  EXPECT_EQ(weight(10, 10, 0), 0.0f);
  EXPECT_EQ(weight(10, 10, 2), 0.0f);
  // The edge at 10.3 mm cuts voxel 5 (10 to 12 mm): a fraction.
  const float edge = weight(5, 10, 1);
  EXPECT_GT(edge, 0.05f);
  EXPECT_LT(edge, 1.0f);
  // The region's list follows the map, in the root's colour.
  int count = 0;
  for (float w : weights()) count += w != 0.0f;
  EXPECT_EQ(ovl_root.npts, count);
  EXPECT_EQ(overlay_map.color[10 + 20 * (10 + 20 * 1)], ovl_root.color);
  EXPECT_STREQ(ovl_root.name, "ovl1");
}

TEST_F(WireFill, LargeImagesAreFilledOnTheirOwnGridWithWholeWeights) {
  make_stack(512, 512, 1, {1, 1, 1});
  add_polygon({{100.5f, 100.5f}, {200.5f, 100.5f}, {200.5f, 150.5f}, {100.5f, 150.5f}}, 0.0f);
  fill();
  int ones = 0;
  for (int y = 0; y < 512; y++)
    for (int x = 0; x < 512; x++) {
      const float w = weight(x, y, 0);
      const bool inside = x >= 101 && x <= 200 && y >= 101 && y <= 150;
      ASSERT_EQ(w, inside ? 1.0f : 0.0f) << x << " " << y;
      ones += w == 1.0f;
    }
  EXPECT_EQ(ones, 100 * 50);
}

TEST_F(WireFill, ImageOf500By499TakesTheFineGridOnBothAxes) {
  // On its own grid the fill would give whole weights; on the fine grid
  // the smoothing leaves fractions at the vertical edges too.
  make_stack(500, 499, 1, {1, 1, 1});
  add_polygon({{100.5f, 100.5f}, {200.5f, 100.5f}, {200.5f, 150.5f}, {100.5f, 150.5f}}, 0.0f);
  fill();
  const float left = weight(100, 125, 0), right = weight(201, 125, 0);
  EXPECT_GT(left, 0.05f);
  EXPECT_LT(left, 0.5f);
  EXPECT_GT(right, 0.05f);
  EXPECT_LT(right, 0.5f);
  EXPECT_GT(weight(101, 125, 0), 0.5f);
  EXPECT_LT(weight(101, 125, 0), 1.0f);
  EXPECT_EQ(weight(99, 125, 0), 0.0f);
}

TEST_F(WireFill, WireThatIsNotClosedIsSkipped) {
  make_stack(20, 20, 1, {2, 2, 3});
  add_polygon({{10.3f, 10.3f}, {30.1f, 10.3f}, {30.1f, 30.1f}, {10.3f, 30.1f}}, 0.0f);
  wire_root.control[wire_root.npts - 1].point.x += 0.5f;  // ends beside its start
  Captured c = capture_output([] { action_key_F(); });
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(ovl_root.npts, 0);
  for (float w : weights()) ASSERT_EQ(w, 0.0f);
  EXPECT_NE(mosaic.update_regions & REGION_IMAGES, 0);
}

TEST_F(WireFill, NestedWiresFillSeparatelyWithoutAHole) {
  // Each wire filled alone, then both: the inner one is filled over the
  // outer one (no hole), and its edge fractions replace the outer weights.
  const std::vector<POINT2D> outer_square{{2.3f, 2.3f}, {29.6f, 2.3f}, {29.6f, 29.6f}, {2.3f, 29.6f}};
  const std::vector<POINT2D> inner_square{{10.3f, 10.3f}, {20.6f, 10.3f}, {20.6f, 20.6f}, {10.3f, 20.6f}};
  std::vector<float> alone[2];
  for (int k = 0; k < 2; k++) {
    make_stack(32, 32, 1, {1, 1, 1});
    add_polygon(k == 0 ? outer_square : inner_square, 0.0f);
    fill();
    alone[k] = weights();
    TearDown();
  }
  make_stack(32, 32, 1, {1, 1, 1});
  add_polygon(outer_square, 0.0f);
  add_polygon(inner_square, 0.0f, 3);
  fill();
  const std::vector<float> both = weights();
  for (size_t i = 0; i < both.size(); i++)
    ASSERT_EQ(both[i], alone[1][i] != 0.0f ? alone[1][i] : alone[0][i]) << i;
  EXPECT_NEAR(weight(15, 15, 0), 1.0f, 1e-5f);
  EXPECT_NEAR(weight(6, 15, 0), 1.0f, 1e-5f);
  EXPECT_LT(weight(10, 15, 0), 1.0f);
}

TEST_F(WireFill, FillingMergesWithTheRegionAndOverwritesUnderTheMask) {
  make_stack(32, 32, 1, {1, 1, 1});
  overlay_map.weight[1 + 32 * 1] = 0.25f;    // outside the wire: stays
  overlay_map.weight[15 + 32 * 15] = 0.25f;  // inside: overwritten
  add_polygon({{5.3f, 5.3f}, {25.6f, 5.3f}, {25.6f, 25.6f}, {5.3f, 25.6f}}, 0.0f);
  fill();
  EXPECT_EQ(weight(1, 1, 0), 0.25f);
  EXPECT_NEAR(weight(15, 15, 0), 1.0f, 1e-5f);
}

TEST_F(WireFill, WireOnASliceOutsideTheStackChangesNothing) {
  make_stack(20, 20, 2, {2, 2, 3});
  add_polygon({{10.3f, 10.3f}, {30.1f, 10.3f}, {30.1f, 30.1f}, {10.3f, 30.1f}}, 30.0f);
  Captured c = fill();
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(ovl_root.npts, 0);
}

TEST_F(WireFill, WireFarOutsideTheGridChangesNothing) {
  make_stack(20, 20, 1, {2, 2, 3});
  add_polygon({{1000.3f, 1000.3f}, {1030.1f, 1000.3f}, {1030.1f, 1030.1f}}, 0.0f);
  Captured c = fill();
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(ovl_root.npts, 0);
  add_polygon({{-1e30f, -1e30f}, {1e30f, -1e30f}, {1e30f, 1e30f}}, 0.0f);
  c = fill();
  EXPECT_EQ(c.exit_status, -1);
}

TEST_F(WireFill, ShortWiresOnTheirStartAreNotLookedAt) {
  make_stack(20, 20, 1, {2, 2, 3});
  // A point alone, then three points ending on the first.
  wire_root.control = control_vector(4);
  wire_root.control[0] = {{5, 5, 0}, 0};
  wire_root.control[1] = {{5, 5, 0}, 1};
  wire_root.control[2] = {{9, 5, 0}, 1};
  wire_root.control[3] = {{5, 5, 0}, 0};
  wire_root.npts = 4;
  Captured c = fill();
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(c.out, "");
  EXPECT_EQ(ovl_root.npts, 0);
}

TEST_F(WireFill, HandleOnTheEndPointIsNoStart) {
  make_stack(20, 20, 1, {2, 2, 3});
  add_polygon({{10.3f, 10.3f}, {30.1f, 10.3f}, {30.1f, 30.1f}, {10.3f, 30.1f}}, 0.0f);
  // The first handle of the last segment placed on the end point.
  wire_root.control[wire_root.npts - 3].point = wire_root.control[0].point;
  Captured c = fill();
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_GT(ovl_root.npts, 0);
}

TEST_F(WireFill, ProgrammingErrorsEndTheRun) {
  make_stack(20, 20, 1, {2, 2, 3});
  add_polygon({{10.3f, 10.3f}, {30.1f, 10.3f}, {30.1f, 30.1f}}, 0.0f);
  const int last = wire_root.npts - 1;
  Captured c = capture_output([&] { fill_last_closed_wire(last + 1); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error: point 10 in fill_last_closed_wire > # wire points (10)\n");
  c = capture_output([&] { fill_last_closed_wire(last - 1); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error: last point in wire array is not a termination.\n");
  wire_root.control[0].point.x = 0.0f;  // the loop no longer closes
  c = capture_output([&] { fill_last_closed_wire(last); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error: no closed loop in fill_last_closed_loop\n");
}

TEST_F(WireFill, ColourKeyStepsTheFirstPointOfEachWire) {
  make_stack(8, 8, 1, {1, 1, 1});
  add_polygon({{1.3f, 1.3f}, {5.1f, 1.3f}, {5.1f, 5.1f}}, 0.0f, 1);
  add_polygon({{1.3f, 1.3f}, {5.1f, 1.3f}, {5.1f, 5.1f}}, 0.0f, 8);
  mosaic.update_regions = 0;
  action_key_C();
  EXPECT_EQ(wire_root.control[0].color, 2);
  EXPECT_EQ(wire_root.control[1].color, 1);
  EXPECT_EQ(wire_root.control[10].color, 1);  // 8 wraps to 1
  EXPECT_EQ(wire_root.control[11].color, 8);
  EXPECT_EQ(wire_root.control[9].color, 0);
  EXPECT_EQ(mosaic.update_regions, REGION_COPY);
}

TEST_F(WireFill, MirrorReflectsXInTheStacksExtent) {
  // x from origin - res/2 = -1 to -1 + 20 * 2 = 39: x' = 38 - x.
  make_stack(20, 20, 1, {2, 2, 3});
  add_polygon({{10.0f, 4.0f}, {30.0f, 4.0f}, {30.0f, 8.0f}}, 1.5f);
  action_key_M();
  EXPECT_EQ(wire_root.control[0].point.x, 28.0f);
  EXPECT_EQ(wire_root.control[3].point.x, 8.0f);
  EXPECT_EQ(wire_root.control[3].point.y, 4.0f);
  EXPECT_EQ(wire_root.control[3].point.z, 1.5f);
}

TEST_F(WireFill, MirrorWithAFlippedAxisUsesTheOrderedEnds) {
  // x0 = -1, x1 = -1 - 40 = -41: lo -41, hi -1, x' = -42 - x.
  make_stack(20, 20, 1, {2, 2, 3}, {0, 0, 0}, {-1, 1, 1});
  add_polygon({{-10.0f, 4.0f}, {-30.0f, 4.0f}, {-30.0f, 8.0f}}, 0.0f);
  action_mirror_wires();
  EXPECT_EQ(wire_root.control[0].point.x, -32.0f);
}

TEST_F(WireFill, ClearKeyEmptiesTheWires) {
  make_stack(8, 8, 1, {1, 1, 1});
  add_polygon({{1.3f, 1.3f}, {5.1f, 1.3f}, {5.1f, 5.1f}}, 0.0f);
  snprintf(wire_root.name, sizeof wire_root.name, "interactive");
  action_key_D();
  EXPECT_EQ(wire_root.npts, 0);
  EXPECT_EQ(wire_root.control, nullptr);
  EXPECT_STREQ(wire_root.name, "none");
  // Mirror, colour and fill of no wire do nothing.
  action_key_C();
  action_key_M();
  Captured c = capture_output([] { action_key_F(); });
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(wire_root.npts, 0);
}

TEST_F(WireFill, WritingAndReadingBackKeepsTheWire) {
  const std::string dir = make_temp_dir();
  char old[4096];
  ASSERT_NE(getcwd(old, sizeof old), nullptr);
  ASSERT_EQ(chdir(dir.c_str()), 0);
  make_stack(20, 20, 1, {2, 2, 3});
  add_polygon({{10.3f, 10.3f}, {30.1f, 10.3f}, {30.1f, 30.1f}, {10.3f, 30.1f}}, 0.0f);
  Captured c = capture_output([] { action_key_W(); });
  EXPECT_EQ(c.out, "13 control points for a wireframe were written to file .wire\n");
  fill();
  const std::vector<float> filled = weights();
  action_key_D();
  action_clear_overlay();
  c = capture_output([] { action_key_R(); });
  EXPECT_EQ(c.out, "");
  EXPECT_EQ(wire_root.npts, 13);
  fill();
  EXPECT_EQ(weights(), filled);
  ASSERT_EQ(chdir(old), 0);
}

}  // namespace
