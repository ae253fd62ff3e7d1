#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "test_support.h"
#include "zor.h"
#include "zor_annotate.h"
#include "zor_colour.h"
#include "zor_compose.h"

namespace {

// A 16 x 12 x 4 stack of 1 mm voxels from the origin, a 2 by 2 mosaic at
// zoom 2 with the vertical flip; cross at (2, 5, 1).
class Annotations : public ::testing::Test {
 protected:
  data_stack stack{};
  std::vector<float> data, map;
  int display_slice[4] = {1, 1, 1, 1};

  void SetUp() override {
    mosaic = mosaic_display{};
    activation = Activation{};
    graph = graph_struct{};
    graph.type = -1;
    stack.dim = IPOINT3D{16, 12, 4};
    stack.resolution = POINT3D{1, 1, 1};
    stack.direction = POINT3D{1, 1, 1};
    stack.origin = POINT3D{0, 0, 0};
    stack.fov = POINT3D{16, 12, 4};
    stack.n3d = 16 * 12 * 4;
    stack.resolution_t = 2.5f;
    stack.ijk_to_xyz = scale_and_shift_to_mat44(stack.resolution, stack.origin, stack.direction);
    stack.xyz_to_ijk = invert_mat44(stack.ijk_to_xyz);
    data.assign(stack.n3d, 0.0f);
    for (int i = 0; i < stack.n3d; i++) data[i] = (float)i * 0.5f;
    map.assign(stack.n3d, 0.0f);
    mosaic.stack = &stack;
    mosaic.fSpaceMatrix = data.data();
    mosaic.PixelDim = stack.dim;
    mosaic.PixelResolution = POINT3D{1, 1, 1};
    mosaic.DisplayVolumeDim = stack.dim;
    mosaic.DisplayVolumeRes = stack.resolution;
    mosaic.DimPanels = IPOINT3D{2, 2, 4};
    mosaic.display_slice = display_slice;
    mosaic.zoom_window = 2;
    mosaic.flip_X11_y = 1;
    mosaic.icross = IPOINT3D{2, 5, 1};
    activation.fSpaceMatrix = map.data();
    activation.data_type = 1;
    activation.thresh_lin_low = 1.0f;
    activation.thresh_lin_high = 4.0f;
    coordinates_on_slice_reset();
    label_planes_reset();
    highlight_active_image_plane_reset();
    wire_root = wire_list{};
  }
  void TearDown() override { wire_root = wire_list{}; }
};

IPOINT2D mosaic_pixel(float x, float y, float z) {
  return Convert_rVoxel_to_Pixel(MOSAIC, POINT3D{x, y, z}, 0);
}

TEST_F(Annotations, ShortCrossNearAnEdgeIsClippedToTheVolume) {
  std::vector<annotation_line> lines = crosshair_segments(1);
  ASSERT_EQ(lines.size(), 2u);
  // Along x from voxel 0 to 7 (2 - 5 clipped, 2 + 5), on the panel of z 1.
  EXPECT_EQ(lines[0].from.x, mosaic_pixel(0, 5, 1).x);
  EXPECT_EQ(lines[0].to.x, mosaic_pixel(7, 5, 1).x);
  EXPECT_EQ(lines[0].from.y, lines[0].to.y);
  // Along y from 0 to 10.
  EXPECT_EQ(lines[1].from.y, mosaic_pixel(2, 0, 1).y);
  EXPECT_EQ(lines[1].to.y, mosaic_pixel(2, 10, 1).y);
  // Second panel: left 2 * (16 + 2) = 36; voxel x 0 at 36, 7 at 50.
  EXPECT_EQ(lines[0].from.x, 36);
  EXPECT_EQ(lines[0].to.x, 50);
  EXPECT_EQ(lines[0].color, COLOR_CYAN);
}

TEST_F(Annotations, FullCrossSpansTheVolume) {
  std::vector<annotation_line> lines = crosshair_segments(0);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].to.x, mosaic_pixel(15, 5, 1).x);
  EXPECT_EQ(lines[1].to.y, mosaic_pixel(2, 11, 1).y);
}

TEST_F(Annotations, ThreePlaneCrossHasSixSegments) {
  mosaic.display_3orthogonal = 1;
  mosaic.display_ortho_ZY = 1;
  std::vector<annotation_line> lines = crosshair_segments(0);
  ASSERT_EQ(lines.size(), 6u);
  // Along z on the ZY panel: columns from 2 * (16 + 0 + 2) = 36.
  EXPECT_EQ(lines[5].from.x, 36);
  EXPECT_EQ(lines[5].to.x, 2 * (16 + 3 + 2));
  mosaic.display_ortho_ZY = 0;
  lines = crosshair_segments(0);
  // On YZ: along y, columns from 36 to 2 * (16 + 11 + 2).
  EXPECT_EQ(lines[4].to.x, 2 * (16 + 11 + 2));
}

TEST_F(Annotations, FrameBarsOfEachPanel) {
  mosaic.PixelDim = IPOINT3D{16, 12, 4};
  std::vector<frame_bar> xy = panel_frame_bars(ORTHO_XY);
  ASSERT_EQ(xy.size(), 4u);
  EXPECT_EQ(xy[1].at.y, 2 * 13);
  EXPECT_EQ(xy[3].at.x, 2 * 17);
  std::vector<frame_bar> yz = panel_frame_bars(ORTHO_YZ);
  EXPECT_EQ(yz[1].at.y, 2 * (12 + 1 + 4 + 1));
  EXPECT_EQ(yz[3].at.x, 2 * (16 + 1 + 12 + 1));
  EXPECT_EQ(yz[3].which, 4);
}

TEST_F(Annotations, SliceBordersDrawChosenSlicesLastInRed) {
  int chosen[4] = {0, 1, 0, 0};
  std::vector<annotation_line> lines = slice_border_segments(4, chosen);
  ASSERT_EQ(lines.size(), 4u * 4 + 4);
  EXPECT_EQ(lines[0].from.x, 2 - 1);
  EXPECT_EQ(lines[0].from.y, 2 + 29);
  EXPECT_EQ(lines[0].to.x, 1 + 2 * 16 + 2);
  EXPECT_EQ(lines[16].color, COLOR_RED);
  EXPECT_EQ(lines[16].from.x, (16 + 1 + 1) * 2 - 1);
}

TEST_F(Annotations, BezierEndsAtItsOuterControlPoints) {
  POINT3D c[4] = {{0, 0, 3}, {1, 2, 9}, {3, 2, 9}, {4, 0, 9}};
  POINT3D curve[40];
  ComputeBezier(c, 40, curve);
  EXPECT_FLOAT_EQ(curve[0].x, 0.0f);
  EXPECT_FLOAT_EQ(curve[39].x, 4.0f);
  EXPECT_NEAR(curve[39].y, 0.0f, 1e-5);
  EXPECT_FLOAT_EQ(curve[20].z, 3.0f);
  // Symmetric controls: the middle of the curve is at x 2, y 1.5.
  POINT3D mid[3];
  ComputeBezier(c, 3, mid);
  EXPECT_FLOAT_EQ(mid[1].x, 2.0f);
  EXPECT_FLOAT_EQ(mid[1].y, 1.5f);
}

TEST_F(Annotations, ClosedWireDrawsItsCurvesInItsColour) {
  CONTROL_POINT pts[4] = {{{2, 2, 1}, COLOR_YELLOW}, {{4, 6, 1}, 1}, {{8, 6, 1}, 1},
                          {{10, 2, 1}, 0}};
  wire_root.control = pts;
  wire_root.npts = 4;
  std::vector<annotation_line> points;
  std::vector<annotation_line> lines = wire_frame_segments(&points);
  ASSERT_EQ(lines.size(), 39u);
  EXPECT_TRUE(points.empty());
  EXPECT_EQ(lines[0].color, COLOR_YELLOW);
  IPOINT2D start = Convert_Space_to_Pixel(MOSAIC, POINT3D{2, 2, 1}, 1);
  EXPECT_EQ(lines[0].from.x, start.x);
  EXPECT_EQ(lines[0].from.y, start.y);
  // On a slice that is not shown, nothing.
  display_slice[1] = 0;
  EXPECT_TRUE(wire_frame_segments(&points).empty());
}

TEST_F(Annotations, WireColoursOutsideTheKnownOnesAreDrawnCyan) {
  for (int colour : {13, 99, -4, 2147483647}) {
    CONTROL_POINT pts[4] = {{{2, 2, 1}, colour}, {{4, 6, 1}, colour}, {{8, 6, 1}, colour}, {{10, 2, 1}, 0}};
    wire_root.control = pts;
    wire_root.npts = 4;
    std::vector<annotation_line> points;
    std::vector<annotation_line> lines = wire_frame_segments(&points);
    ASSERT_EQ(lines.size(), 39u);
    for (const annotation_line &l : lines) ASSERT_EQ(l.color, COLOR_CYAN) << colour;
  }
  CONTROL_POINT known[4] = {{{2, 2, 1}, COLOR_BLACK}, {{4, 6, 1}, 1}, {{8, 6, 1}, 1}, {{10, 2, 1}, 0}};
  wire_root.control = known;
  std::vector<annotation_line> points;
  EXPECT_EQ(wire_frame_segments(&points)[0].color, COLOR_BLACK);
}

TEST_F(Annotations, OpenWireShowsItsControlPointsInRed) {
  CONTROL_POINT pts[6] = {{{2, 2, 1}, 1}, {{4, 6, 1}, 1}, {{8, 6, 1}, 1},
                          {{10, 2, 1}, 1}, {{11, 3, 1}, 1}, {{12, 4, 1}, 1}};
  wire_root.control = pts;
  wire_root.npts = 6;
  std::vector<annotation_line> points;
  std::vector<annotation_line> lines = wire_frame_segments(&points);
  EXPECT_EQ(lines.size(), 39u);
  ASSERT_EQ(points.size(), 5u);  // all but the segment end
  EXPECT_EQ(points[0].color, COLOR_RED);
}

TEST_F(Annotations, VectorsAboveTheLowThresholdSpanAVoxelAtTheHighOne) {
  std::vector<POINT3D> v(stack.n3d, POINT3D{0, 0, 0});
  v[3 + 16 * (4 + 12 * 1)] = POINT3D{4.0f, 0.0f, 9.0f};  // length above 1; x = high
  v[5 + 16 * (4 + 12 * 1)] = POINT3D{0.5f, 0.0f, 0.0f};  // below the low threshold
  activation.v3SpaceMatrix = v.data();
  activation.visible = 1;
  std::vector<annotation_line> lines = vector_field_segments();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].color, COLOR_WHITE);
  IPOINT2D a = Convert_Space_to_Pixel(MOSAIC, POINT3D{2.5f, 4, 1}, 1);
  IPOINT2D b = Convert_Space_to_Pixel(MOSAIC, POINT3D{3.5f, 4, 1}, 1);
  EXPECT_EQ(lines[0].from.x, a.x);
  EXPECT_EQ(lines[0].to.x, b.x);
  EXPECT_EQ(lines[0].from.y, lines[0].to.y);
  activation.visible = 0;
  EXPECT_EQ(vector_field_segments()[0].color, COLOR_RED);
}

TEST_F(Annotations, TicksEveryStepAtBothEdges) {
  std::vector<annotation_line> h = horizontal_tick_segments(MOSAIC, 5, 1);
  // x from 0 to 16: ticks at 5, 10, 15, each at the top and bottom edges.
  ASSERT_EQ(h.size(), 6u);
  IPOINT2D tick5 = Convert_Space_to_Pixel(MOSAIC, POINT3D{5, -0.5f, 1}, 1);
  EXPECT_EQ(h[0].from.x, tick5.x);
  EXPECT_EQ(h[0].from.y, tick5.y);
  EXPECT_EQ(h[0].to.x, tick5.x);
  std::vector<annotation_line> v = vertical_tick_segments(MOSAIC, 5, 1);
  ASSERT_EQ(v.size(), 4u);  // y 5 and 10
  EXPECT_EQ(v[0].from.y, v[0].to.y);
}

TEST_F(Annotations, PlaneLabelsCarryTheSignedCoordinate) {
  mosaic.display_3orthogonal = 1;
  stack.ijk_to_xyz = scale_and_shift_to_mat44(stack.resolution, POINT3D{-8, -6, -2}, stack.direction);
  stack.xyz_to_ijk = invert_mat44(stack.ijk_to_xyz);
  std::vector<annotation_text> t = plane_labels_ortho();
  ASSERT_EQ(t.size(), 3u);
  EXPECT_EQ(t[0].text, "-1");  // z of slice 1
  EXPECT_EQ(t[1].text, "-1");  // y of row 5
  EXPECT_EQ(t[2].text, "-6");  // x of column 2
  mosaic.icross = IPOINT3D{10, 8, 3};
  t = plane_labels_ortho();
  EXPECT_EQ(t[0].text, "+1");
  EXPECT_EQ(t[1].text, "+2");
  EXPECT_EQ(t[2].text, "+2");
  IPOINT2D corner = Convert_rVoxel_to_Pixel(ORTHO_XY, POINT3D{16, 0, 3}, 0);
  EXPECT_EQ(t[0].at.x, corner.x - 30);
  EXPECT_EQ(t[0].at.y, corner.y - 8);
}

TEST_F(Annotations, MosaicLabelsOnePerShownSlice) {
  display_slice[2] = 0;
  std::vector<annotation_text> t = plane_labels_mosaic();
  ASSERT_EQ(t.size(), 3u);
  EXPECT_EQ(t[0].text, "0");
  EXPECT_EQ(t[1].text, "+1");
  EXPECT_EQ(t[2].text, "+3");
}

TEST_F(Annotations, ReadOutAtTheCrossWithTheMapHidden) {
  char l1[1024], l2[1024], l3[1024];
  graph.iLastTime = 3;
  information_text_image(l1, l2, l3);
  EXPECT_STREQ(l1, "     x      y      z      t    signal");
  // Index 2 + 16 * (5 + 12) = 274, value 137.
  EXPECT_STREQ(l2, "     2      5      1      3       137");
  EXPECT_STREQ(l3, "  2.00   5.00   1.00    7.5  --------");
}

TEST_F(Annotations, ReadOutUnderThePointerOnMotion) {
  char l1[1024], l2[1024], l3[1024];
  mosaic.cursor_selection = CURSOR_IMAGE_WINDOW | CURSOR_ON_VOXEL;
  mosaic.icursor = IPOINT3D{1, 0, 0};
  mosaic.update_regions = REGION_INFO_MOTION;
  activation.visible = 1;
  map[1] = -2.25f;
  information_text_image(l1, l2, l3);
  EXPECT_STREQ(l2, "     1      0      0      0       0.5");
  EXPECT_STREQ(l3, "  1.00   0.00   0.00      0     -2.25");
  // Without the motion bit the cross is shown.
  mosaic.update_regions = REGION_INFO;
  information_text_image(l1, l2, l3);
  EXPECT_STREQ(l2, "     2      5      1      0       137");
}

TEST_F(Annotations, LogMapReadOutGivesANegativePForANegativeEffect) {
  char l1[1024], l2[1024], l3[1024];
  activation.visible = 1;
  activation.scale_log = 1;
  map[274] = -3.0f;
  information_text_image(l1, l2, l3);
  EXPECT_STREQ(l3, "  2.00   5.00   1.00      0  -1.0e-03");
  map[274] = 2.0f;
  information_text_image(l1, l2, l3);
  EXPECT_STREQ(l3, "  2.00   5.00   1.00      0   1.0e-02");
}

TEST_F(Annotations, ReadOutOnTheColorbarTheRightPanelAndText) {
  char l1[1024], l2[1024], l3[1024];
  mosaic.ImageRegionPixels = IPOINT2D{100, 300};
  mosaic.cursor_selection = CURSOR_IMAGE_WINDOW | CURSOR_ON_COLORBAR | CURSOR_COLORBAR_LOWER;
  mosaic.cursor.y = 200;
  activation.visible = 1;
  graph.iLastTime = 4;
  information_text_image(l1, l2, l3);
  EXPECT_STREQ(l1, "Use '?' function for      t    signal");
  EXPECT_STREQ(l2, "a list of options         4   ------");
  EXPECT_STREQ(l3, "for modifying colorbar              2");
  mosaic.cursor_selection = CURSOR_IMAGE_WINDOW | CURSOR_ON_RIGHT_PANEL;
  information_text_image(l1, l2, l3);
  EXPECT_STREQ(l1, "Use mouse clicks or RETURN for other panels.");
  EXPECT_STREQ(l3, "L/R arrows to change values");
  mosaic.cursor_selection = CURSOR_IMAGE_WINDOW | CURSOR_ON_TEXT;
  information_text_image(l1, l2, l3);
  EXPECT_STREQ(l2, "------ ------ ------      4   ------");
  mosaic.SelectText.selected = 1;
  mosaic.SelectText.visible = 1;
  strcpy(mosaic.SelectText.message1, "one");
  strcpy(mosaic.SelectText.message2, "two");
  strcpy(mosaic.SelectText.message3, "three");
  information_text_image(l1, l2, l3);
  EXPECT_STREQ(l1, "one");
  EXPECT_STREQ(l3, "three");
}

}  // namespace
