// Region editing on small stacks: rectangles, growing, erosion and
// dilation, threshold selection, clusters, moves, mirroring, the listed
// regions, statistics, clipping and flattening, with hand-computed results
// and brute-force versions of the rules as written.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "graph_fixture.h"
#include "test_support.h"
#include "zor_overlay_edit.h"
#include "zor_panels.h"

namespace {

class OverlayEditing : public GraphFixture {
 protected:
  void SetUp() override {
    GraphFixture::SetUp();
    overlay_edit_reset();
    make_stack(IPOINT3D{6, 5, 4}, 3);
  }
  void TearDown() override {
    overlay_edit_reset();
    GraphFixture::TearDown();
  }
  int idx(int x, int y, int z) const {
    const IPOINT3D d = image_stack.dim;
    return x + d.x * (y + d.y * z);
  }
  void set(int x, int y, int z, float w = 1.0f) {
    overlay_map.weight[idx(x, y, z)] = w;
    overlay_map.color[idx(x, y, z)] = ovl_root.color;
  }
  float w(int x, int y, int z) const { return overlay_map.weight[idx(x, y, z)]; }
  std::vector<int> members() const {
    std::vector<int> m;
    for (int i = 0; i < image_stack.n3d; i++)
      if (overlay_map.weight[i] != 0.0f) m.push_back(i);
    return m;
  }
  // A map of one volume over the stack, visible, with a low threshold.
  void make_map(const std::vector<float> &values, float low) {
    free_stack_data(activation_stack.nt, &activation_stack);
    activation_stack = data_stack{};
    activation_stack.dim = image_stack.dim;
    activation_stack.n3d = image_stack.n3d;
    activation_stack.nt = 1;
    allocate_stack_data(1, activation_stack.n3d, &activation_stack);
    for (int i = 0; i < activation_stack.n3d; i++) activation_stack.Volume[0][i] = values[i];
    activation.stack = &activation_stack;
    activation.nmaps = 1;
    activation.data_type = 1;
    activation.visible = 1;
    activation.scale_log = 0;
    activation.fSpaceMatrix = activation_stack.Volume[0];
    activation.thresh_lin_low = low;
    activation.thresh_lin_high = low + 10.0f;
  }
  // Pointer over voxel (x, y) of slice z on the XY plane.
  void point_at(int x, int y, int z) {
    mosaic.cursor_selection = CURSOR_IMAGE_WINDOW | CURSOR_ON_VOXEL | CURSOR_ON_MOSAIC_PANEL |
                              CURSOR_PLANE_XY;
    mosaic.icursor = IPOINT3D{x, y, z};
  }
};

// The cube walk as written: grow in cubes of growing half-width around the
// seed until a pass adds nothing.
std::vector<float> cube_walk(IPOINT3D d, IPOINT3D seed, const std::vector<int16_t> &binary) {
  std::vector<float> w((size_t)d.x * d.y * d.z, 0.0f);
  auto at = [&](int x, int y, int z) { return x + d.x * (y + d.y * z); };
  w[at(seed.x, seed.y, seed.z)] = 1.0f;
  int dist = 0, count = 1;
  while (count > 0) {
    count = 0;
    dist++;
    for (int k = -dist; k <= dist; k++)
      for (int j = -dist; j <= dist; j++)
        for (int i = -dist; i <= dist; i++) {
          const int x = seed.x + i, y = seed.y + j, z = seed.z + k;
          if (x < 0 || y < 0 || z < 0 || x >= d.x || y >= d.y || z >= d.z) continue;
          if (i == 0 && j == 0 && k == 0) continue;
          if (w[at(x, y, z)] != 0.0f || !binary[at(x, y, z)]) continue;
          bool touches = false;
          for (int c = -1; c <= 1; c++)
            for (int b = -1; b <= 1; b++)
              for (int a = -1; a <= 1; a++) {
                const int xx = x + a, yy = y + b, zz = z + c;
                if (xx < 0 || yy < 0 || zz < 0 || xx >= d.x || yy >= d.y || zz >= d.z) continue;
                if ((a || b || c) && w[at(xx, yy, zz)] != 0.0f) touches = true;
              }
          if (touches) {
            w[at(x, y, z)] = 1.0f;
            count++;
          }
        }
  }
  return w;
}

// The box rule as written: OR or AND over the in-stack voxels of the box.
std::vector<int16_t> box_rule(IPOINT3D d, const std::vector<int16_t> &in, int dilate, int nrel,
                              int dims) {
  std::vector<int16_t> out(in.size());
  const int rz = dims == 3 ? nrel : 0;
  for (int z = 0; z < d.z; z++)
    for (int y = 0; y < d.y; y++)
      for (int x = 0; x < d.x; x++) {
        int v = dilate ? 0 : 1;
        for (int k = -rz; k <= rz; k++)
          for (int j = -nrel; j <= nrel; j++)
            for (int i = -nrel; i <= nrel; i++) {
              const int xx = x + i, yy = y + j, zz = z + k;
              if (xx < 0 || yy < 0 || zz < 0 || xx >= d.x || yy >= d.y || zz >= d.z) continue;
              const int b = in[xx + d.x * (yy + d.y * zz)];
              v = dilate ? (v | b) : (v & b);
            }
        out[x + d.x * (y + d.y * z)] = (int16_t)v;
      }
  return out;
}

TEST_F(OverlayEditing, ListIsRebuiltFromTheMapInZYXOrderWithItsName) {
  set(5, 0, 0);
  set(1, 2, 0, 0.5f);
  set(0, 0, 3);
  overlay_map.number = 7;
  update_root_overlay(1, 1);
  ASSERT_EQ(ovl_root.npts, 3);
  EXPECT_EQ(ovl_root.voxel[0].x, 5);
  EXPECT_EQ(ovl_root.voxel[1].y, 2);
  EXPECT_FLOAT_EQ(ovl_root.weight[1], 0.5f);
  EXPECT_EQ(ovl_root.voxel[2].z, 3);
  EXPECT_STREQ(ovl_root.name, "ovl7");
  EXPECT_TRUE(mosaic.update_regions & REGION_MENUS);
  action_clear_overlay();
  EXPECT_EQ(ovl_root.npts, 0);
  EXPECT_STREQ(ovl_root.name, "none");
  // And back: the map from the list, in the root's colour.
  ovl_root.npts = 1;
  ovl_root.voxel[0] = IPOINT3D{2, 3, 1};
  ovl_root.weight[0] = 0.25f;
  ovl_root.color = COLOR_GREEN;
  update_overlay_map();
  EXPECT_FLOAT_EQ(w(2, 3, 1), 0.25f);
  EXPECT_EQ(overlay_map.color[idx(2, 3, 1)], COLOR_GREEN);
  EXPECT_EQ(members().size(), 1u);
}

TEST_F(OverlayEditing, RectangleDrawnTwiceRemovesWhatTheFirstAdded) {
  // Drag right and up in voxel rows (down on the flipped screen is lower y).
  point_at(1, 1, 2);
  action_image_draw_overlay(1);
  point_at(3, 3, 2);
  action_image_draw_overlay(-1);
  // Corners (1,1) and (4,4): x 1..3, y 1..3 on slice 2.
  EXPECT_EQ(ovl_root.npts, 9);
  for (int y = 1; y <= 3; y++)
    for (int x = 1; x <= 3; x++) EXPECT_FLOAT_EQ(w(x, y, 2), 1.0f);
  EXPECT_EQ(overlay_map.color[idx(2, 2, 2)], ovl_root.color);
  EXPECT_TRUE(mosaic.update_regions & REGION_IMAGES);
  EXPECT_EQ(drawing_overlay, 0);
  point_at(1, 1, 2);
  action_image_draw_overlay(1);
  point_at(3, 3, 2);
  action_image_draw_overlay(-1);
  EXPECT_EQ(ovl_root.npts, 0);
  EXPECT_EQ(overlay_map.color[idx(2, 2, 2)], 0);
}

TEST_F(OverlayEditing, RectangleOverAHalfFilledAreaSwapsInsideAndOutside) {
  set(1, 1, 0);
  set(2, 1, 0);
  update_root_overlay(1, 1);
  point_at(1, 1, 0);
  action_image_draw_overlay(1);
  point_at(2, 2, 0);
  action_image_draw_overlay(-1);
  EXPECT_FLOAT_EQ(w(1, 1, 0), 0.0f);
  EXPECT_FLOAT_EQ(w(2, 1, 0), 0.0f);
  EXPECT_FLOAT_EQ(w(1, 2, 0), 1.0f);
  EXPECT_FLOAT_EQ(w(2, 2, 0), 1.0f);
  EXPECT_EQ(ovl_root.npts, 2);
}

TEST_F(OverlayEditing, RectangleDraggedDownTakesOnlyTheRowsStrictlyBetween) {
  // Pressed on row 4 and let go on row 1 (down the flipped screen): the far
  // corner is row 2, so rows 2 and 3 are taken.
  point_at(1, 4, 1);
  action_image_draw_overlay(1);
  point_at(2, 1, 1);
  action_image_draw_overlay(-1);
  EXPECT_EQ(ovl_root.npts, 4);
  EXPECT_FLOAT_EQ(w(1, 2, 1), 1.0f);
  EXPECT_FLOAT_EQ(w(2, 3, 1), 1.0f);
  EXPECT_FLOAT_EQ(w(1, 4, 1), 0.0f);
  EXPECT_FLOAT_EQ(w(1, 1, 1), 0.0f);
  // A press and release on one voxel takes that voxel.
  point_at(4, 4, 3);
  action_image_draw_overlay(1);
  action_image_draw_overlay(-1);
  EXPECT_FLOAT_EQ(w(4, 4, 3), 1.0f);
  EXPECT_EQ(ovl_root.npts, 5);
}

TEST_F(OverlayEditing, RectangleOnTheOtherPlanesKeepsTheSliceOfThePress) {
  // XZ plane: the fixed axis is y.
  mosaic.cursor_selection = CURSOR_IMAGE_WINDOW | CURSOR_ON_VOXEL | CURSOR_PLANE_XZ;
  mosaic.icursor = IPOINT3D{0, 2, 0};
  action_image_draw_overlay(1);
  mosaic.icursor = IPOINT3D{1, 4, 1};  // the pointer moved to another row
  action_image_draw_overlay(-1);
  EXPECT_EQ(ovl_root.npts, 4);
  EXPECT_FLOAT_EQ(w(1, 2, 1), 1.0f);
  EXPECT_FLOAT_EQ(w(1, 4, 1), 0.0f);
  // ZY plane: the fixed axis is x.
  action_clear_overlay();
  mosaic.cursor_selection = CURSOR_IMAGE_WINDOW | CURSOR_ON_VOXEL | CURSOR_PLANE_ZY;
  mosaic.icursor = IPOINT3D{3, 0, 0};
  action_image_draw_overlay(1);
  mosaic.icursor = IPOINT3D{3, 1, 2};
  action_image_draw_overlay(-1);
  EXPECT_EQ(ovl_root.npts, 6);
  EXPECT_FLOAT_EQ(w(3, 1, 2), 1.0f);
}

TEST_F(OverlayEditing, ButtonsTwoAndThreeDrawThroughThePointer) {
  point_at(0, 0, 0);
  action_image_button23(1);
  EXPECT_EQ(drawing_overlay, 1);
  point_at(1, 0, 0);
  mosaic.update_regions = 0;
  graph.update_regions = 0;
  action_image_button23(0);
  EXPECT_EQ(ovl_root.npts, 2);
  EXPECT_TRUE(mosaic.update_regions & REGION_MENUS);
  EXPECT_TRUE(graph.update_regions & GRAPH_MENUS);
  // Let go off the data: nothing is drawn and the drag ends.
  point_at(0, 0, 0);
  action_image_button23(1);
  mosaic.cursor_selection = CURSOR_IMAGE_WINDOW | CURSOR_ON_COLORBAR;
  action_image_button23(0);
  EXPECT_EQ(drawing_overlay, 0);
  EXPECT_EQ(ovl_root.npts, 2);
}

TEST_F(OverlayEditing, ErodingAOneVoxelRegionClearsIt) {
  set(2, 2, 2);
  update_root_overlay(1, 1);
  action_erode_dilate_overlay(0);
  EXPECT_EQ(ovl_root.npts, 0);
  EXPECT_STREQ(ovl_root.name, "none");
}

TEST_F(OverlayEditing, ErosionDistanceThreeStillErodesByOne) {
  graph.ed_distance = 3;
  // A 6x5x4 block filling the stack minus its x = 0 face.
  for (int z = 0; z < 4; z++)
    for (int y = 0; y < 5; y++)
      for (int x = 1; x < 6; x++) set(x, y, z);
  update_root_overlay(1, 1);
  action_erode_dilate_overlay(0);
  // Only x = 1 goes: the stack's own faces do not erode.
  EXPECT_EQ(ovl_root.npts, 4 * 5 * 4);
  EXPECT_FLOAT_EQ(w(1, 2, 2), 0.0f);
  EXPECT_FLOAT_EQ(w(2, 0, 0), 1.0f);
  EXPECT_FLOAT_EQ(w(5, 4, 3), 1.0f);
}

TEST_F(OverlayEditing, TwoDimensionalErosionStaysWithinEachSlice) {
  // Slices 1 and 2 full: in 2-D nothing erodes (every face is a stack edge
  // within the slice); in 3-D the slices touch empty ones above and below.
  for (int z = 1; z <= 2; z++)
    for (int y = 0; y < 5; y++)
      for (int x = 0; x < 6; x++) set(x, y, z);
  update_root_overlay(1, 1);
  graph.ed_dimension = 2;
  action_erode_dilate_overlay(0);
  EXPECT_EQ(ovl_root.npts, 60);
  graph.ed_dimension = 3;
  action_erode_dilate_overlay(0);
  EXPECT_EQ(ovl_root.npts, 0);
}

TEST_F(OverlayEditing, DilationGrowsByTheBoxAndErosionKeepsColourValues) {
  ovl_root.color = COLOR_RED;
  set(0, 0, 0);
  update_root_overlay(1, 1);
  action_erode_dilate_overlay(1);
  EXPECT_EQ(ovl_root.npts, 8);
  EXPECT_EQ(overlay_map.color[idx(1, 1, 1)], COLOR_RED);
  action_erode_dilate_overlay(0);
  // The corner voxel sees only the 2x2x2 block inside the stack.
  EXPECT_EQ(ovl_root.npts, 1);
  EXPECT_FLOAT_EQ(w(0, 0, 0), 1.0f);
  EXPECT_EQ(overlay_map.color[idx(1, 1, 1)], COLOR_RED);  // weight 0, colour kept
}

TEST_F(OverlayEditing, BoxMorphologyMatchesTheRuleOnRandomVolumes) {
  std::mt19937 rng(15);
  make_stack(IPOINT3D{9, 7, 5}, 1);
  const IPOINT3D d = image_stack.dim;
  for (int trial = 0; trial < 24; trial++) {
    std::vector<int16_t> in((size_t)image_stack.n3d);
    const int density = 20 + 10 * (trial % 7);
    for (auto &v : in) v = (int16_t)((int)(rng() % 100) < density);
    const int dilate = trial % 2, nrel = 1 + (trial / 2) % 3, dims = (trial / 6) % 2 ? 2 : 3;
    graph.ed_dimension = dims;
    std::vector<int16_t> got = in;
    erode_dilate_binary(dilate, nrel, image_stack.n3d, got.data());
    EXPECT_EQ(got, box_rule(d, in, dilate, nrel, dims)) << "trial " << trial;
  }
}

TEST_F(OverlayEditing, MovingOffTheEdgeComesBackAtTheOtherSide) {
  ovl_root.color = COLOR_BLUE;
  set(5, 1, 0, 0.5f);
  set(2, 4, 3);
  update_root_overlay(1, 1);
  move_overlay_in_one_direction(0, 1);
  EXPECT_FLOAT_EQ(w(0, 1, 0), 0.5f);
  EXPECT_EQ(overlay_map.color[idx(0, 1, 0)], COLOR_BLUE);
  EXPECT_FLOAT_EQ(w(3, 4, 3), 1.0f);
  move_overlay_in_one_direction(1, 1);
  EXPECT_FLOAT_EQ(w(3, 0, 3), 1.0f);
  move_overlay_in_one_direction(2, -1);
  EXPECT_FLOAT_EQ(w(3, 0, 2), 1.0f);
  EXPECT_FLOAT_EQ(w(0, 2, 3), 0.5f);
  EXPECT_EQ(ovl_root.npts, 2);
  EXPECT_EQ(graph.update_regions & (GRAPH_REBUILD | GRAPH_MENUS), GRAPH_REBUILD | GRAPH_MENUS);
}

TEST_F(OverlayEditing, ArrowsWithoutCrossHairMoveTheRegion) {
  mosaic.display_crosshairs = 0;
  set(2, 2, 1);
  update_root_overlay(1, 1);
  point_at(0, 0, 1);
  action_image_arrow_left_right(0);  // Right: +x
  EXPECT_FLOAT_EQ(w(3, 2, 1), 1.0f);
  action_image_arrow_up_down(0);  // Down on a flipped screen: -y
  EXPECT_FLOAT_EQ(w(3, 1, 1), 1.0f);
  EXPECT_TRUE(mosaic.update_regions & REGION_IMAGES);
  // "<" and ">" move it through the plane: out is +z.
  mosaic.DimPanels.z = mosaic.DisplayVolumeDim.z;  // every slice shown
  point_at(0, 0, 1);
  action_image_arrow_in_out(0);
  EXPECT_FLOAT_EQ(w(3, 1, 2), 1.0f);
  action_image_arrow_in_out(1);
  action_image_arrow_in_out(1);
  EXPECT_FLOAT_EQ(w(3, 1, 0), 1.0f);
  EXPECT_EQ(ovl_root.npts, 1);
}

TEST_F(OverlayEditing, MirrorMovesEachVoxelAcrossXInTheRootColour) {
  ovl_root.color = COLOR_YELLOW;
  set(0, 1, 2, 0.5f);
  overlay_map.color[idx(0, 1, 2)] = COLOR_RED;
  set(4, 0, 0);
  update_root_overlay(1, 1);
  action_key_m();
  EXPECT_FLOAT_EQ(w(5, 1, 2), 0.5f);
  EXPECT_EQ(overlay_map.color[idx(5, 1, 2)], COLOR_YELLOW);
  EXPECT_FLOAT_EQ(w(1, 0, 0), 1.0f);
  EXPECT_FLOAT_EQ(w(0, 1, 2), 0.0f);
  EXPECT_EQ(ovl_root.npts, 2);
}

TEST_F(OverlayEditing, NextColourWrapsFromWhiteToCyan) {
  action_key_c();  // no region: nothing
  EXPECT_EQ(ovl_root.color, COLOR_MAGENTA);
  set(1, 1, 1);
  update_root_overlay(1, 1);
  ovl_root.color = COLOR_WHITE;
  action_key_c();
  EXPECT_EQ(ovl_root.color, COLOR_CYAN);
  EXPECT_EQ(overlay_map.color[idx(1, 1, 1)], COLOR_CYAN);
}

TEST_F(OverlayEditing, ThresholdSelectionLeavesZeroValuedVoxelsUntouched) {
  // Values x + 10y + 100z at t = 0; voxel (0,0,0) is 0.
  set(0, 0, 0);
  set(5, 4, 3);
  set(1, 0, 0);
  update_root_overlay(1, 1);
  graph.hist_marker = 3.0f;
  graph.select_above = 0;
  action_select_above_below_threshold();
  // Below 3 and in the region: (1,0,0); (0,0,0) is zero and stays.
  EXPECT_FLOAT_EQ(w(0, 0, 0), 1.0f);
  EXPECT_FLOAT_EQ(w(1, 0, 0), 1.0f);
  EXPECT_FLOAT_EQ(w(5, 4, 3), 0.0f);
  EXPECT_EQ(overlay_map.color[idx(5, 4, 3)], 0);
  EXPECT_EQ(ovl_root.npts, 2);
  // Without a region: everything above the marker, zero still untouched.
  action_clear_overlay();
  graph.select_above = 1;
  graph.hist_marker = 334.5f;
  action_select_above_below_threshold();
  int expected = 0;
  for (int z = 0; z < 4; z++)
    for (int y = 0; y < 5; y++)
      for (int x = 0; x < 6; x++) expected += x + 10 * y + 100 * z > 334.5f;
  EXPECT_EQ(expected, 7);
  EXPECT_EQ(ovl_root.npts, 7);
  EXPECT_FLOAT_EQ(w(5, 4, 3), 1.0f);
  EXPECT_FLOAT_EQ(w(4, 3, 3), 0.0f);  // 334 is not above
}

TEST_F(OverlayEditing, GrowingFromANonActivatedSeedIsCanceled) {
  std::vector<float> map((size_t)image_stack.n3d, 0.0f);
  make_map(map, 2.0f);
  mosaic.icross = IPOINT3D{1, 1, 1};
  Captured c = capture_output([] { EXPECT_EQ(grow_activated_region(0), -1); });
  EXPECT_EQ(c.out, "Center voxel not activated; function canceled.\n");
  EXPECT_EQ(ovl_root.npts, 0);
}

TEST_F(OverlayEditing, GrowingTakesTheSeedsSideOfZeroAndCornerNeighbours) {
  std::vector<float> map((size_t)image_stack.n3d, 0.0f);
  // Negative blob: a diagonal chain from the seed, plus a positive voxel
  // beside it that must not join.
  map[idx(1, 1, 1)] = -5.0f;
  map[idx(2, 2, 2)] = -3.0f;  // corner neighbour
  map[idx(3, 3, 3)] = -2.5f;
  map[idx(1, 2, 1)] = 9.0f;
  map[idx(4, 1, 1)] = -8.0f;  // not connected
  map[idx(0, 0, 0)] = -2.0f;  // at the threshold: not beyond it
  make_map(map, 2.0f);
  mosaic.icross = IPOINT3D{1, 1, 1};
  ovl_root.color = COLOR_GREEN;
  EXPECT_EQ(grow_activated_region(0), 3);
  EXPECT_FLOAT_EQ(w(2, 2, 2), 1.0f);
  EXPECT_FLOAT_EQ(w(3, 3, 3), 1.0f);
  EXPECT_FLOAT_EQ(w(1, 2, 1), 0.0f);
  EXPECT_FLOAT_EQ(w(0, 0, 0), 0.0f);
  // The seed keeps colour 0; the grown voxels take the root's colour.
  EXPECT_EQ(overlay_map.color[idx(1, 1, 1)], 0);
  EXPECT_EQ(overlay_map.color[idx(2, 2, 2)], COLOR_GREEN);
  EXPECT_STREQ(ovl_root.name, "ovl1");
}

TEST_F(OverlayEditing, GrowingEqualsTheCubeWalkOnRandomMaps) {
  std::mt19937 rng(3);
  make_stack(IPOINT3D{11, 9, 7}, 1);
  for (int trial = 0; trial < 20; trial++) {
    std::vector<float> map((size_t)image_stack.n3d);
    for (auto &v : map) v = (float)(rng() % 100) / 10.0f - 3.0f;
    const IPOINT3D seed{(int)(rng() % 11), (int)(rng() % 9), (int)(rng() % 7)};
    map[idx(seed.x, seed.y, seed.z)] = 8.0f;
    make_map(map, 2.5f);
    mosaic.icross = seed;
    grow_activated_region(0);
    std::vector<int16_t> binary(map.size());
    for (size_t i = 0; i < map.size(); i++) binary[i] = map[i] > 2.5f;
    const std::vector<float> expected = cube_walk(image_stack.dim, seed, binary);
    std::vector<float> got(overlay_map.weight, overlay_map.weight + image_stack.n3d);
    EXPECT_EQ(got, expected) << "trial " << trial;
  }
}

TEST_F(OverlayEditing, GrowingWithAnOpeningDropsThinBridges) {
  make_stack(IPOINT3D{12, 12, 1}, 1);
  graph.ed_dimension = 2;
  std::vector<float> map((size_t)image_stack.n3d, 0.0f);
  // Two 4x4 squares joined by a one-voxel bridge.
  for (int y = 1; y < 5; y++)
    for (int x = 1; x < 5; x++) map[idx(x, y, 0)] = map[idx(x + 6, y, 0)] = 5.0f;
  map[idx(5, 2, 0)] = map[idx(6, 2, 0)] = 5.0f;
  make_map(map, 1.0f);
  mosaic.icross = IPOINT3D{2, 2, 0};
  EXPECT_EQ(grow_activated_region(0), 34);
  EXPECT_FLOAT_EQ(w(8, 2, 0), 1.0f);
  EXPECT_EQ(grow_activated_region(1), 16);
  EXPECT_FLOAT_EQ(w(8, 2, 0), 0.0f);
}

TEST_F(OverlayEditing, GrowingOverAWholeVolumeOfEqualValuesTakesEveryVoxel) {
  make_stack(IPOINT3D{64, 64, 40}, 1);
  std::vector<float> map((size_t)image_stack.n3d, 3.0f);
  make_map(map, 1.0f);
  mosaic.icross = IPOINT3D{0, 63, 39};
  EXPECT_EQ(grow_activated_region(0), image_stack.n3d);
}

TEST_F(OverlayEditing, NaNVoxelsOfTheMapNeverJoin) {
  std::vector<float> map((size_t)image_stack.n3d, 4.0f);
  map[idx(2, 2, 2)] = NAN;
  make_map(map, 1.0f);
  mosaic.icross = IPOINT3D{0, 0, 0};
  EXPECT_EQ(grow_activated_region(0), image_stack.n3d - 1);
  EXPECT_FLOAT_EQ(w(2, 2, 2), 0.0f);
  // A NaN seed fails no comparison: it is taken on the negative side,
  // where no voxel of this map lies, and the region is the seed alone.
  mosaic.icross = IPOINT3D{2, 2, 2};
  Captured c = capture_output([] { EXPECT_EQ(grow_activated_region(0), 1); });
  EXPECT_EQ(c.out, "");
  EXPECT_FLOAT_EQ(w(2, 2, 2), 1.0f);
}

TEST_F(OverlayEditing, ClusterKeepsTheConnectedPartAroundTheCrossHair) {
  set(0, 0, 0);
  set(1, 1, 1);  // corner neighbour of (0,0,0)
  set(3, 3, 3);  // apart
  update_root_overlay(1, 1);
  mosaic.icross = IPOINT3D{2, 2, 2};  // not in the region: nothing
  action_cluster_overlay();
  EXPECT_EQ(ovl_root.npts, 3);
  mosaic.icross = IPOINT3D{1, 1, 1};
  action_cluster_overlay();
  EXPECT_EQ(ovl_root.npts, 2);
  EXPECT_FLOAT_EQ(w(3, 3, 3), 0.0f);
  EXPECT_TRUE(voxel_touches_activated_neighbor(IPOINT3D{2, 2, 2}));
  EXPECT_FALSE(voxel_touches_activated_neighbor(IPOINT3D{3, 3, 3}));
}

TEST_F(OverlayEditing, RegionsTouchingEveryFaceAndOneSliceStacks) {
  make_stack(IPOINT3D{5, 4, 1}, 2);
  for (int y = 0; y < 4; y++)
    for (int x = 0; x < 5; x++) set(x, y, 0);
  update_root_overlay(1, 1);
  action_erode_dilate_overlay(0);  // the stack's faces do not erode
  EXPECT_EQ(ovl_root.npts, 20);
  action_erode_dilate_overlay(1);
  EXPECT_EQ(ovl_root.npts, 20);
  move_overlay_in_one_direction(2, 1);  // one slice: comes back at once
  EXPECT_EQ(ovl_root.npts, 20);
  mosaic.icross = IPOINT3D{4, 3, 0};
  action_cluster_overlay();
  EXPECT_EQ(ovl_root.npts, 20);
  // Empty region: every edit does nothing.
  action_clear_overlay();
  action_erode_dilate_overlay(1);
  action_cluster_overlay();
  action_key_c();
  EXPECT_EQ(ovl_root.npts, 0);
}

// Two listed regions behind the root, as a list file makes them.
class OverlayList : public OverlayEditing {
 protected:
  ovl_list *add(const char *name, int color, std::vector<IPOINT3D> v, float weight) {
    ovl_list *n = static_cast<ovl_list *>(calloc(1, sizeof(ovl_list)));
    snprintf(n->name, sizeof n->name, "%s", name);
    n->color = (int16_t)color;
    n->voxel = ipoint3d_vector(image_stack.n3d);
    n->weight = float_vector(image_stack.n3d);
    for (const IPOINT3D &p : v) {
      n->voxel[n->npts] = p;
      n->weight[n->npts++] = weight;
    }
    ovl_list *last = &ovl_root;
    while (last->next) last = last->next;
    last->next = n;
    return n;
  }
};

TEST_F(OverlayList, StepsForwardAndBackWithWrapAndShowsTheNodesName) {
  ovl_list *a = add("left", COLOR_RED, {{0, 0, 0}, {1, 0, 0}}, 1.0f);
  ovl_list *b = add("right", COLOR_BLUE, {{5, 4, 3}}, 0.5f);
  mosaic.toggle_overlays = 1;
  action_step_overlay_list(1, 0);
  EXPECT_TRUE(a->active);
  EXPECT_FALSE(ovl_root.active);
  EXPECT_STREQ(ovl_root.name, "left");
  EXPECT_EQ(ovl_root.npts, 2);
  EXPECT_EQ(overlay_map.color[idx(1, 0, 0)], COLOR_RED);
  action_step_overlay_list(1, 0);
  EXPECT_TRUE(b->active);
  EXPECT_STREQ(ovl_root.name, "right");
  EXPECT_EQ(ovl_root.npts, 1);
  EXPECT_FLOAT_EQ(w(5, 4, 3), 0.5f);
  action_step_overlay_list(1, 0);  // from the last back to the first
  EXPECT_TRUE(a->active);
  action_step_overlay_list(0, 0);  // from the first back to the last
  EXPECT_TRUE(b->active);
  action_step_overlay_list(0, 0);
  EXPECT_TRUE(a->active);
  EXPECT_TRUE(mosaic.update_regions & REGION_IMAGES);
  EXPECT_EQ(graph.update_regions & (GRAPH_REBUILD | GRAPH_MENUS), GRAPH_REBUILD | GRAPH_MENUS);
}

TEST_F(OverlayList, CombineKeepsTheWeightAtOneWhereTwoRegionsOverlap) {
  add("a", COLOR_RED, {{0, 0, 0}, {1, 0, 0}}, 1.0f);
  add("b", COLOR_BLUE, {{1, 0, 0}, {2, 0, 0}}, 1.0f);
  add("c", COLOR_GREEN, {{2, 0, 0}, {3, 0, 0}}, 0.25f);
  mosaic.toggle_overlays = 1;
  overlay_map.number = 4;
  action_step_overlay_list(1, 1);
  action_step_overlay_list(1, 1);
  EXPECT_FLOAT_EQ(w(1, 0, 0), 1.0f);
  EXPECT_EQ(overlay_map.color[idx(1, 0, 0)], COLOR_RED);  // 1 does not exceed 1
  EXPECT_EQ(overlay_map.color[idx(2, 0, 0)], COLOR_BLUE);
  EXPECT_STREQ(ovl_root.name, "ovl4");
  action_step_overlay_list(1, 1);
  EXPECT_FLOAT_EQ(w(2, 0, 0), 1.0f);
  EXPECT_FLOAT_EQ(w(3, 0, 0), 0.25f);
  EXPECT_EQ(overlay_map.color[idx(3, 0, 0)], COLOR_GREEN);
  EXPECT_EQ(ovl_root.npts, 4);
}

TEST_F(OverlayList, WiresStepByCopyOrAppend) {
  wire_list *n = static_cast<wire_list *>(calloc(1, sizeof(wire_list)));
  strcpy(n->name, "arc");
  n->npts = 2;
  n->control = control_vector(2);
  n->control[0] = CONTROL_POINT{POINT3D{1, 2, 3}, 1};
  n->control[1] = CONTROL_POINT{POINT3D{4, 5, 6}, 0};
  wire_root.next = n;
  mosaic.toggle_overlays = 2;
  action_step_overlay_list(1, 0);
  EXPECT_EQ(wire_root.npts, 2);
  EXPECT_STREQ(wire_root.name, "arc");
  action_step_overlay_list(1, 1);
  EXPECT_EQ(wire_root.npts, 4);
  EXPECT_FLOAT_EQ(wire_root.control[3].point.y, 5.0f);
  mosaic.toggle_overlays = 0;
  action_step_overlay_list(1, 0);
  EXPECT_EQ(wire_root.npts, 4);
}

TEST_F(OverlayEditing, StatisticsAtTheCrossHairWithoutARegion) {
  mosaic.icross = IPOINT3D{2, 1, 3};
  Captured all = capture_output([] { write_roi_stats(1); });
  EXPECT_EQ(all.out, "Image\tValue\n0\t312\n1\t1312\n2\t2312\n");
  graph.iTime = 1;
  Captured one = capture_output([] { write_roi_stats(0); });
  EXPECT_EQ(one.out, "Image\tValue\n1\t1312\n");
}

TEST_F(OverlayEditing, StatisticsOfARegionAreItsWeightedMeanAndDeviation) {
  set(0, 0, 0, 1.0f);
  set(1, 0, 0, 0.5f);
  set(0, 1, 0, 0.25f);
  update_root_overlay(1, 1);
  // Values 0, 1, 10 (+1000 t), weights 1, 0.5, 0.25: mean 3/1.75,
  // deviation sqrt(sum w (v - mean)^2 / 1.75).
  const double m = 3.0 / 1.75;
  const double sd = sqrt((1.0 * m * m + 0.5 * (1 - m) * (1 - m) + 0.25 * (10 - m) * (10 - m)) / 1.75);
  char expected[512];
  snprintf(expected, sizeof expected,
           "Overlay ovl1, # points = 3\nImage\tAverage\tStDev\n0\t%g\t%g\n1\t%g\t%g\n2\t%g\t%g\n", m,
           sd, m + 1000, sd, m + 2000, sd);
  Captured c = capture_output([] { write_roi_stats(1); });
  EXPECT_EQ(c.out, expected);
  graph.iTime = 2;
  snprintf(expected, sizeof expected, "Overlay ovl1, # points = 3\nAverage\tStDev\n%g\t%g\n",
           m + 2000, sd);
  c = capture_output([] { write_roi_stats(0); });
  EXPECT_EQ(c.out, expected);
}

TEST_F(OverlayEditing, HalfWeightsEverywhereGiveTheSameMeanAsFullWeights) {
  for (int x = 0; x < 4; x++) set(x, 2, 1, 1.0f);
  update_root_overlay(1, 1);
  Captured full = capture_output([] { write_roi_stats(1); });
  for (int x = 0; x < 4; x++) set(x, 2, 1, 0.5f);
  update_root_overlay(1, 1);
  Captured half = capture_output([] { write_roi_stats(1); });
  EXPECT_EQ(full.out, half.out);
  EXPECT_NE(full.out.find("0\t121.5\t1.11803\n"), std::string::npos) << full.out;
}

TEST_F(OverlayEditing, ClippingAndNegatingTheShownVolume) {
  set(1, 1, 1);
  update_root_overlay(1, 1);
  mosaic.MIPStatus = 1;
  action_clip_using_overlay(1);
  EXPECT_FLOAT_EQ(image_stack.Volume[0][idx(1, 1, 1)], 111.0f);
  EXPECT_FLOAT_EQ(image_stack.Volume[0][idx(2, 1, 1)], 0.0f);
  EXPECT_FLOAT_EQ(image_stack.Volume[1][idx(2, 1, 1)], 1112.0f);  // other volumes stay
  EXPECT_EQ(mosaic.MIPStatus, 0);
  fill_values();
  action_clip_using_overlay(0);
  EXPECT_FLOAT_EQ(image_stack.Volume[0][idx(1, 1, 1)], 0.0f);
  EXPECT_FLOAT_EQ(image_stack.Volume[0][idx(2, 1, 1)], 112.0f);
  action_reverse_image_contrast();
  EXPECT_FLOAT_EQ(image_stack.Volume[0][idx(2, 1, 1)], -112.0f);
}

TEST_F(OverlayEditing, LegendreBasisAndItsGuard) {
  EXPECT_FLOAT_EQ(Power_int(0.5f, 0), 1.0f);
  EXPECT_FLOAT_EQ(Power_int(0.5f, 1), 0.5f);
  EXPECT_FLOAT_EQ(Power_int(0.5f, 2), -0.125f);
  EXPECT_FLOAT_EQ(Power_int(0.5f, 3), -0.4375f);
  // 2*voxel/dim - 1: voxel 3 of 8 gives -0.25, voxel 0 gives -1.
  EXPECT_FLOAT_EQ(SpatialPolyDesign(IPOINT3D{8, 4, 2}, IPOINT3D{1, 2, 0}, IPOINT3D{3, 0, 1}),
                  -0.25f * 1.0f);
  Captured c = capture_output([] { Power_int(0.1f, 4); });
  EXPECT_EQ(c.out, "Programming error: iPoly = 4 in Power_int()\n");
  EXPECT_EQ(c.exit_status, 1);
}

TEST_F(OverlayEditing, FlatteningRemovesASmoothBiasFittedOnTheRegion) {
  value = [](int x, int y, int z, int t) {
    const float px = 2.0f * x / 8.0f - 1.0f, py = 2.0f * y / 8.0f - 1.0f;
    return expf(0.7f + 0.3f * px - 0.2f * py + 0.1f * px * py);
  };
  make_stack(IPOINT3D{8, 8, 4}, 1);
  for (int z = 0; z < 4; z++)
    for (int y = 1; y < 7; y++)
      for (int x = 1; x < 7; x++) set(x, y, z);
  Captured c = capture_output([] { action_flatten_across_overlay(); });
  EXPECT_EQ(c.out, "Polynomial dim = 2 2 1, ncoeff = 4, voxel steps = 1 1 1\n");
  for (int i = 0; i < image_stack.n3d; i++) EXPECT_NEAR(image_stack.Volume[0][i], 1.0f, 2e-5f) << i;
}

TEST_F(OverlayEditing, FlatteningAThinStackHasNoCoefficients) {
  set(1, 1, 1);
  // 6x5x4: orders 1 1 1, one coefficient, the constant: every voxel becomes
  // exp(log v - constant) where log v is not below it.
  Captured c = capture_output([] { action_flatten_across_overlay(); });
  EXPECT_EQ(c.out, "Polynomial dim = 1 1 1, ncoeff = 1, voxel steps = 1 1 1\n");
  EXPECT_NEAR(image_stack.Volume[0][idx(1, 1, 1)], 1.0f, 1e-5f);
  EXPECT_NEAR(image_stack.Volume[0][idx(2, 1, 1)], 112.0f / 111.0f, 1e-4f);
  EXPECT_NEAR(image_stack.Volume[0][idx(0, 0, 0)], expf(-logf(111.0f)), 1e-6f);
  make_stack(IPOINT3D{6, 5, 2}, 1);
  set(1, 1, 1);
  c = capture_output([] { action_flatten_across_overlay(); });
  EXPECT_EQ(c.out, "Polynomial dim = 1 1 0, ncoeff = 0, voxel steps = 1 1 1\n");
  EXPECT_NEAR(image_stack.Volume[0][idx(1, 1, 1)], 111.0f, 1e-3f);
}

TEST_F(OverlayEditing, FlatteningWithoutRegionVoxelsFailsToInvert) {
  make_stack(IPOINT3D{8, 8, 4}, 1);
  Captured c = capture_output([] { action_flatten_across_overlay(); });
  EXPECT_EQ(c.out,
            "Polynomial dim = 2 2 1, ncoeff = 4, voxel steps = 1 1 1\n"
            "Failure to invert matrix for spatial flattening!!\n");
  EXPECT_EQ(c.exit_status, 1);
}

}  // namespace

namespace {

TEST_F(OverlayEditing, GraphMenuItemsActOnTheRegion) {
  set(1, 1, 1);
  set(2, 1, 1);
  update_root_overlay(1, 1);
  graph.update_regions = 0;
  EXPECT_EQ(overlay_graph_text_selection(15, 1), 1);  // dilate
  EXPECT_EQ(ovl_root.npts, 4 * 3 * 3);
  EXPECT_TRUE(graph.update_regions & GRAPH_REBUILD);
  // Eroded: the block touches the stack's faces at x, y, z = 0, which do
  // not erode, so x 0..2, y 0..1, z 0..1 stay.
  EXPECT_EQ(overlay_graph_text_selection(14, 1), 1);
  EXPECT_EQ(ovl_root.npts, 3 * 2 * 2);
  EXPECT_EQ(overlay_graph_text_selection(16, 1), 1);
  EXPECT_EQ(graph.ed_distance, 2);
  overlay_graph_text_selection(16, 2);
  overlay_graph_text_selection(16, 2);
  EXPECT_EQ(graph.ed_distance, 3);  // 1 steps down to 3
  overlay_graph_text_selection(19, 1);
  EXPECT_EQ(graph.ed_dimension, 2);
  overlay_graph_text_selection(12, 1);
  EXPECT_EQ(graph.select_above, 0);
  EXPECT_EQ(overlay_graph_text_selection(21, 1), 1);  // zero inside the region
  EXPECT_FLOAT_EQ(image_stack.Volume[0][idx(1, 1, 1)], 0.0f);
  EXPECT_FLOAT_EQ(image_stack.Volume[0][idx(3, 1, 1)], 113.0f);
  EXPECT_EQ(overlay_graph_text_selection(10, 1), 0);
  EXPECT_EQ(overlay_graph_text_selection(22, 1), 0);
}

}  // namespace

namespace {

TEST_F(OverlayEditing, MenuItemsOfBothWindowsReachTheRegionTools) {
  ovl_root.color = COLOR_RED;
  set(0, 0, 0);
  update_root_overlay(1, 1);
  // The graph's dilate item grows the region as the tool does.
  graph.text_selection = TEXTFIELD_GRAPH_DILATE;
  action_graph_text_selection(1);
  EXPECT_EQ(ovl_root.npts, 8);
  // The image window's delete item clears it with the left button.
  mosaic.text_selection = TEXTFIELD_DEL_OVL_WIRE;
  action_image_text_selection(1);
  EXPECT_EQ(ovl_root.npts, 0);
  EXPECT_FLOAT_EQ(w(0, 0, 0), 0.0f);
}

}  // namespace
