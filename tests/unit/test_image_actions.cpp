#include <gtest/gtest.h>

#include <cmath>

#include "graph_fixture.h"

namespace {

// A 16x16x10 stack in a 5 by 2 mosaic at zoom 2: panel (c, r) starts at
// window x = 2 * (17 c + 1), y = 30 + 2 * (17 r + 1); rows are flipped.
class ImageActions : public GraphFixture {
 protected:
  void SetUp() override {
    GraphFixture::SetUp();
    make_stack(IPOINT3D{16, 16, 10}, 4);
  }
  // Window position of voxel (x, y) on the panel of slice z.
  static IPOINT2D pixel_of(int x, int y, int z) {
    int c = z % 5, r = z / 5;
    return IPOINT2D{2 * (17 * c + 1) + 2 * x + 1, 30 + 2 * (17 * r + 1) + 2 * (15 - y) + 1};
  }
  void locate(int x, int y) {
    mosaic.cursor_selection = CURSOR_IMAGE_WINDOW;
    mosaic.update_regions = 0;
    graph.update_regions = 0;
    define_mosaic_cursor_location(x, y);
  }
  void click(int x, int y) {
    locate(x, y);
    action_image_button1(1, x, y);
    action_image_button1(0, x, y);
  }
};

TEST_F(ImageActions, ClickOnAVoxelMovesTheCrossHairAndRefillsTheGraph) {
  open_graph(1);
  IPOINT2D p = pixel_of(5, 7, 6);
  click(p.x, p.y);
  EXPECT_EQ(mosaic.icross.x, 5);
  EXPECT_EQ(mosaic.icross.y, 7);
  EXPECT_EQ(mosaic.icross.z, 6);
  EXPECT_TRUE(mosaic.update_regions & REGION_CROSS);
  EXPECT_EQ(graph.update_regions & (GRAPH_REBUILD | GRAPH_MENUS), GRAPH_REBUILD | GRAPH_MENUS);
  EXPECT_FLOAT_EQ(graph.yVector[2], 5 + 70 + 600 + 2000.0f);
}

TEST_F(ImageActions, ClickWithoutCrossHairMovesNothing) {
  mosaic.display_crosshairs = 0;
  const IPOINT3D before = mosaic.icross;
  IPOINT2D p = pixel_of(5, 7, 6);
  click(p.x, p.y);
  EXPECT_EQ(mosaic.icross.x, before.x);
  EXPECT_EQ(mosaic.icross.z, before.z);
}

TEST_F(ImageActions, DragAlongOneAxisAloneIsAClick) {
  IPOINT2D p = pixel_of(5, 7, 6), q = pixel_of(3, 7, 6);
  locate(p.x, p.y);
  action_image_button1(1, q.x, q.y);  // pressed at q, released at p: same row
  action_image_button1(0, p.x, p.y);
  EXPECT_EQ(mosaic.icross.x, 5);
  EXPECT_FLOAT_EQ(contrast_low, 0.0f);
  EXPECT_FLOAT_EQ(contrast_high, 1.0f);
}

TEST_F(ImageActions, DiagonalDragMovesTheContrastByTheFormula) {
  IPOINT2D p = pixel_of(5, 7, 6);
  const float rx = (float)mosaic.ImageRegionPixels.x, ry = (float)mosaic.ImageRegionPixels.y;
  locate(p.x + 20, p.y + 10);
  action_image_button1(1, p.x, p.y);
  action_image_button1(0, p.x + 20, p.y + 10);
  const float dx = 20.0f / rx, dy = 10.0f / ry;
  // Widen: high += dx (1.75 - 1) / 2, low -= dx (0.5 + 0) / 2; then shift
  // both by dy (1.75 - high).
  float high = 1.0f + dx * 0.75f / 2.0f, low = 0.0f - dx * 0.5f / 2.0f;
  const float shift = dy * (1.75f - high);
  EXPECT_FLOAT_EQ(contrast_high, high + shift);
  EXPECT_FLOAT_EQ(contrast_low, low + shift);
  EXPECT_EQ(mosaic.icross.x, 8);  // a drag is not a click
}

TEST_F(ImageActions, NarrowingDragAndUpwardDrag) {
  contrast_low = 0.2f;
  contrast_high = 0.8f;
  contrast_drag(-0.5f, -0.25f);
  // step = 0.5 * 0.6 = 0.3: low 0.35, high 0.65; shift = 0.25 * (0.5 + 0.35)
  EXPECT_FLOAT_EQ(contrast_low, 0.35f - 0.25f * 0.85f);
  EXPECT_FLOAT_EQ(contrast_high, 0.65f - 0.25f * 0.85f);
}

TEST_F(ImageActions, ContrastArrowStepsHaveTheirGuards) {
  contrast_arrow_step(CONTRAST_DOWN);  // min((1.75 - 1) / 2, 0.05)
  EXPECT_FLOAT_EQ(contrast_low, 0.05f);
  EXPECT_FLOAT_EQ(contrast_high, 1.05f);
  contrast_low = -0.4f;
  contrast_high = 0.6f;
  contrast_arrow_step(CONTRAST_UP);  // min((-0.4 + 0.5) / 2, 0.05) = 0.05
  EXPECT_FLOAT_EQ(contrast_low, -0.45f);
  contrast_arrow_step(CONTRAST_UP);  // (0.05) / 2 = 0.025
  EXPECT_FLOAT_EQ(contrast_low, -0.475f);
  contrast_low = 0.0f;
  contrast_high = 1.0f;
  contrast_arrow_step(CONTRAST_RIGHT);  // a = 0.05, b = min(0.05, 0.05)
  EXPECT_FLOAT_EQ(contrast_high, 1.025f);
  EXPECT_FLOAT_EQ(contrast_low, -0.025f);
  contrast_low = 0.45f;
  contrast_high = 0.5f;
  contrast_arrow_step(CONTRAST_LEFT);  // a = min(0.05 / 2, 0.05) = 0.025
  EXPECT_FLOAT_EQ(contrast_low, 0.4625f);
  EXPECT_FLOAT_EQ(contrast_high, 0.4875f);
}

TEST_F(ImageActions, HighContrastAtItsGuardMakesTheDownStepZero) {
  contrast_low = 0.3f;
  contrast_high = 1.75f;
  contrast_arrow_step(CONTRAST_DOWN);
  EXPECT_FLOAT_EQ(contrast_low, 0.3f);
  EXPECT_FLOAT_EQ(contrast_high, 1.75f);
}

TEST_F(ImageActions, ArrowsOffTheDataStepTheContrast) {
  locate(0, 100);  // left of every panel: on nothing
  action_image_arrow_up_down(0);
  EXPECT_FLOAT_EQ(contrast_high, 1.05f);
  EXPECT_TRUE(mosaic.update_regions & REGION_IMAGES);
}

TEST_F(ImageActions, ArrowsOnAVoxelStepTheCrossHairWithTheFlip) {
  open_graph(1);
  IPOINT2D p = pixel_of(5, 7, 6);
  mosaic.icross = IPOINT3D{5, 7, 6};
  locate(p.x, p.y);
  action_image_arrow_up_down(1);  // Up on a flipped XY panel: y + 1
  EXPECT_EQ(mosaic.icross.y, 8);
  EXPECT_TRUE(graph.update_regions & GRAPH_REBUILD);
  locate(p.x, p.y);
  action_image_arrow_left_right(0);  // Right: x + 1
  EXPECT_EQ(mosaic.icross.x, 6);
  mosaic.flip_X11_y = 0;
  locate(p.x, p.y);
  action_image_arrow_up_down(1);
  EXPECT_EQ(mosaic.icross.y, 7);
}

TEST_F(ImageActions, AtTheStackEdgeTheCrossHairStaysAndTheGraphIsNotRefilled) {
  open_graph(1);
  IPOINT2D p = pixel_of(15, 7, 6);
  mosaic.icross = IPOINT3D{15, 7, 6};
  locate(p.x, p.y);
  action_image_arrow_left_right(0);
  EXPECT_EQ(mosaic.icross.x, 15);
  EXPECT_EQ(graph.update_regions & GRAPH_REBUILD, 0);
  EXPECT_TRUE(mosaic.update_regions & REGION_CROSS);
}

TEST_F(ImageActions, WheelOverAVoxelStepsThroughSlices) {
  IPOINT2D p = pixel_of(5, 7, 6);
  mosaic.icross = IPOINT3D{5, 7, 6};
  locate(p.x, p.y);
  action_image_button5();  // down: out, z + 1
  EXPECT_EQ(mosaic.icross.z, 7);
  locate(p.x, p.y);
  action_image_button4();
  action_image_button4();
  EXPECT_EQ(mosaic.icross.z, 5);
  // Elsewhere the wheel acts as the Up and Down arrows: the contrast.
  locate(0, 100);
  action_image_button5();
  EXPECT_FLOAT_EQ(contrast_high, 1.05f);
}

TEST_F(ImageActions, InAndOutShiftAReducedSlice) {
  // Four of ten slices shown: 3..6.
  mosaic.DimPanels.z = 4;
  mosaic.DimPanels.x = 0;
  compute_display_size_reset();
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  ASSERT_EQ(mosaic.display_slice[3], 1);
  ASSERT_EQ(mosaic.display_slice[2], 0);
  mosaic.icross = IPOINT3D{5, 7, 4};
  locate(2 * 1 + 2 * 5 + 1, 30 + 2 + 2 * 3);  // first panel
  ASSERT_TRUE(mosaic.cursor_selection & CURSOR_ON_MOSAIC_PANEL);
  action_image_arrow_in_out(0);
  EXPECT_EQ(mosaic.display_slice[3], 0);
  EXPECT_EQ(mosaic.display_slice[7], 1);
  EXPECT_EQ(mosaic.icross.z, 5);
  action_image_arrow_in_out(1);
  action_image_arrow_in_out(1);
  EXPECT_EQ(mosaic.display_slice[2], 1);
  EXPECT_EQ(mosaic.display_slice[6], 0);
  EXPECT_EQ(mosaic.icross.z, 3);
}

TEST_F(ImageActions, CentralSlicesOfATypedNumber) {
  int slices[30];
  mark_central_slices(10, 30, slices);
  for (int k = 0; k < 30; k++) EXPECT_EQ(slices[k], k >= 10 && k <= 19) << k;
  mark_central_slices(11, 30, slices);
  for (int k = 0; k < 30; k++) EXPECT_EQ(slices[k], k >= 10 && k <= 20) << k;
}

TEST_F(ImageActions, PoundSignOnASingleSliceDoesNothing) {
  make_stack(IPOINT3D{16, 16, 1}, 2);
  const int panels = mosaic.DimPanels.z;
  action_key_pound_sign();  // would open a prompt on a window otherwise
  EXPECT_EQ(mosaic.DimPanels.z, panels);
}

TEST_F(ImageActions, CrossHairModesWrapBothWays) {
  mosaic.display_crosshairs = 3;
  action_key_control_c(1);
  EXPECT_EQ(mosaic.display_crosshairs, 0);
  action_key_control_c(2);
  EXPECT_EQ(mosaic.display_crosshairs, 3);
}

TEST_F(ImageActions, GridKeysAreTwoSwitches) {
  mosaic.update_regions = 0;
  action_key_l();
  EXPECT_EQ(mosaic.display_grid, 1);
  action_key_L();
  EXPECT_EQ(mosaic.display_grid, 3);
  action_key_l();
  EXPECT_EQ(mosaic.display_grid, 2);
  EXPECT_EQ(mosaic.update_regions, REGION_COPY);
}

TEST_F(ImageActions, TimeStepRedrawOfATimeGraphMovesTheMarker) {
  open_graph(1);
  mosaic.update_regions = graph.update_regions = 0;
  increment_graph_location(1);
  time_step_redraw();
  EXPECT_EQ(graph.iTime, 1);
  EXPECT_EQ(mosaic.update_regions, REGION_IMAGES | REGION_INFO);
  EXPECT_EQ(graph.update_regions, GRAPH_INFO | GRAPH_MARKER | GRAPH_MENUS);
}

TEST_F(ImageActions, MapStepWithoutEarlierLogFileClearsTheFilter) {
  activation_stack.nt = 3;
  activation_stack.n3d = image_stack.n3d;
  allocate_stack_data(3, activation_stack.n3d, &activation_stack);
  activation.data_type = 1;
  activation.pFilter = activation_stack.Volume[0];
  snprintf(activation_files.file_name, sizeof activation_files.file_name, "maps/effect.nii");
  activation_files.start_image = 0;
  activation_files.end_image = 2;
  activation_files.scale_log = 0;
  action_increment_activation_map();
  EXPECT_EQ(activation.imap, 1);
  EXPECT_EQ(activation.pFilter, nullptr);
  EXPECT_EQ(activation.fSpaceMatrix, activation_stack.Volume[1]);
  EXPECT_STREQ(activation.map_name, "maps/effect");
  action_decrement_activation_map();
  action_decrement_activation_map();
  EXPECT_EQ(activation.imap, 2);
  memset(&activation_files, 0, sizeof activation_files);
}

TEST_F(ImageActions, LinearMapAfterALogMapIsFilteredByIt) {
  activation_stack.nt = 3;
  activation_stack.n3d = image_stack.n3d;
  allocate_stack_data(3, activation_stack.n3d, &activation_stack);
  activation.data_type = 1;
  file_list linear{};
  snprintf(linear.file_name, sizeof linear.file_name, "T-map.nii");
  linear.start_image = 2;
  linear.end_image = 2;
  snprintf(activation_files.file_name, sizeof activation_files.file_name, "P-map.nii");
  activation_files.start_image = 0;
  activation_files.end_image = 1;
  activation_files.scale_log = 1;
  activation_files.next = &linear;
  activation.imap = 1;
  action_increment_activation_map();
  EXPECT_EQ(activation.imap, 2);
  EXPECT_EQ(activation.scale_log, 0);
  EXPECT_EQ(activation.pFilter, activation_stack.Volume[1]);
  memset(&activation_files, 0, sizeof activation_files);
}

TEST_F(ImageActions, GraphArrowsMoveTheLimitOnThePointersSide) {
  open_graph(1);
  compute_graph_limits();
  graph.Min = POINT2D{0.0f, 0.0f};
  graph.Max = POINT2D{10.0f, 100.0f};
  graph.cursor_selection = GRAPH_CURSOR_WINDOW;
  define_graph_cursor_location(390, 15 + 10);  // right third, upper half
  action_graph_arrow_left_right(0);
  EXPECT_FLOAT_EQ(graph.Max.x, 11.0f);
  EXPECT_EQ(graph.fixed.x, 1);
  action_graph_arrow_up_down(1);
  EXPECT_FLOAT_EQ(graph.Max.y, 110.0f);
  EXPECT_EQ(graph.fixed.y, 1);
  define_graph_cursor_location(10, 15 + 290);  // left third, lower half
  action_graph_arrow_left_right(1);
  EXPECT_FLOAT_EQ(graph.Min.x, -1.1f);
  graph.units_percent = 1;
  graph.Min.y = -12.0f;
  action_graph_arrow_up_down(0);
  EXPECT_FLOAT_EQ(graph.Min.y, -15.0f);
  graph.Min.y = -3.0f;
  action_graph_arrow_up_down(1);
  EXPECT_FLOAT_EQ(graph.Min.y, -2.0f);
}

TEST_F(ImageActions, HistogramRangeSelectionSetsTheGrayWindow) {
  image_scale_min = 0.0f;
  image_scale_max = 100.0f;
  open_graph(0, 0);
  graph.Min = POINT2D{0.0f, 0.0f};
  graph.Max = POINT2D{99.0f, 10.0f};
  graph.cursor_selection = GRAPH_CURSOR_WINDOW;
  define_graph_cursor_location(300, 100);
  action_graph_button23(1);
  define_graph_cursor_location(100, 100);
  action_graph_button23(0);
  EXPECT_EQ(graph.ix_low_select, 25);
  EXPECT_EQ(graph.ix_high_select, 74);  // rint(74.25)
  // xscale = 99 / 99: the indices are the data values here.
  EXPECT_FLOAT_EQ(image_scale_min, 25.0f);
  EXPECT_FLOAT_EQ(image_scale_max, 74.0f);
  EXPECT_TRUE(mosaic.update_regions & REGION_COLORBAR_LABEL);
}

}  // namespace

namespace {

TEST_F(ImageActions, NaturalLogMapsBecomeBaseTenOnlyInTheirOwnVolumes) {
  activation_stack.nt = 3;
  activation_stack.n3d = image_stack.n3d;
  allocate_stack_data(3, activation_stack.n3d, &activation_stack);
  for (int t = 0; t < 3; t++)
    for (int j = 0; j < activation_stack.n3d; j++) activation_stack.Volume[t][j] = 2.0f;
  file_list file{};
  file.start_image = 1;
  file.end_image = 2;
  file.scale_log = 2;
  convert_activation_scale(&file);
  EXPECT_FLOAT_EQ(activation_stack.Volume[0][5], 2.0f);
  EXPECT_FLOAT_EQ(activation_stack.Volume[1][5], 2.0f * 0.4343f);
  EXPECT_FLOAT_EQ(activation_stack.Volume[2][0], 2.0f * 0.4343f);
}

}  // namespace

#include "zor_colour.h"

namespace {

TEST(ColorbarGuards, InfiniteGrayWindowHasNoTicksAndSteps) {
  activation.visible = 0;
  image_scale_min = 0.0f;
  image_scale_max = INFINITY;
  int colored = -1;
  EXPECT_TRUE(colorbar_ticks(300, &colored).empty());
  EXPECT_EQ(colored, 0);
  // 10^inf is no integer: the processor's conversion, then at least 1.
  EXPECT_FLOAT_EQ(colorbar_arrow_step(INFINITY), 1.0f);
  EXPECT_FLOAT_EQ(colorbar_arrow_step(250.0f), 10.0f);
  image_scale_max = 1.0f;
}

}  // namespace

namespace {

// Three planes of the 16x16x10 stack at zoom 2: XY at window (2, 32), the
// third plane to its right from x = 2 * 18 = 36, XZ below from y = 30 + 36.
class ThreePlaneActions : public ImageActions {
 protected:
  void three(int ortho_zy) {
    mosaic.display_3orthogonal = 1;
    mosaic.display_ortho_ZY = ortho_zy;
    IPOINT2D rough;
    compute_display_size(&rough, 1.0f);
  }
};

TEST_F(ThreePlaneActions, ClickOnTheXZPlaneSetsXAndZ) {
  three(1);
  mosaic.icross = IPOINT3D{8, 8, 5};
  // XZ plane: column 3, row 2 from the top of 10 rows: z = 10 - 2 - 1 = 7.
  click(2 + 2 * 3 + 1, 30 + 36 + 2 * 2 + 1);
  EXPECT_TRUE(mosaic.cursor_selection & CURSOR_PLANE_XZ);
  EXPECT_EQ(mosaic.icross.x, 3);
  EXPECT_EQ(mosaic.icross.y, 8);
  EXPECT_EQ(mosaic.icross.z, 7);
  EXPECT_EQ(mosaic.update_regions & (REGION_IMAGES | REGION_CROSS), REGION_IMAGES | REGION_CROSS);
}

TEST_F(ThreePlaneActions, ClickOnTheZYPlaneSetsYAndZ) {
  three(1);
  mosaic.icross = IPOINT3D{8, 8, 5};
  // ZY plane: column 4 is z, row 5 from the top of 16 is y = 10.
  click(36 + 2 * 4 + 1, 32 + 2 * 5 + 1);
  EXPECT_TRUE(mosaic.cursor_selection & CURSOR_PLANE_ZY);
  EXPECT_EQ(mosaic.icross.x, 8);
  EXPECT_EQ(mosaic.icross.y, 10);
  EXPECT_EQ(mosaic.icross.z, 4);
}

TEST_F(ThreePlaneActions, EmptyQuadrantReportsOnNothingAndMovesNothing) {
  three(0);
  mosaic.icross = IPOINT3D{8, 8, 5};
  click(36 + 2 * 4 + 1, 32 + 2 * 5 + 1);  // upper right: no plane there
  EXPECT_EQ(mosaic.cursor_selection & (CURSOR_PLANE_ZY | CURSOR_ON_NOTHING),
            CURSOR_PLANE_ZY | CURSOR_ON_NOTHING);
  EXPECT_FALSE(mosaic.cursor_selection & CURSOR_ON_VOXEL);
  EXPECT_EQ(mosaic.icross.x, 8);
  EXPECT_EQ(mosaic.icross.y, 8);
  EXPECT_EQ(mosaic.icross.z, 5);
}

TEST_F(ThreePlaneActions, ArrowsOnTheZYPlaneStepZAndTheWheelStepsX) {
  three(1);
  mosaic.icross = IPOINT3D{8, 8, 5};
  locate(36 + 2 * 4 + 1, 32 + 2 * 5 + 1);
  action_image_arrow_left_right(0);  // Right on ZY: z + 1
  EXPECT_EQ(mosaic.icross.z, 6);
  locate(36 + 2 * 4 + 1, 32 + 2 * 5 + 1);
  action_image_button5();  // out through the ZY plane: x + 1
  EXPECT_EQ(mosaic.icross.x, 9);
}

}  // namespace

namespace {

TEST_F(ImageActions, GraphXSplitsIntoFileAndTimePoint) {
  file_list second{};
  second.start_image = 10;
  second.end_image = 24;
  image_files.start_image = 0;
  image_files.end_image = 9;
  image_files.next = &second;
  int ifile = -1, itime = -1;
  split_graphX_into_file_and_location(4.0f, &ifile, &itime);
  EXPECT_EQ(ifile, 0);
  EXPECT_EQ(itime, 4);
  split_graphX_into_file_and_location(12.0f, &ifile, &itime);
  EXPECT_EQ(ifile, 1);
  EXPECT_EQ(itime, 2);
  memset(&image_files, 0, sizeof image_files);
}

TEST_F(ImageActions, WithoutCrossHairThePointerMotionRefillsTheTimeCourse) {
  open_graph(1);
  mosaic.display_crosshairs = 0;
  IPOINT2D p = pixel_of(2, 3, 4);
  locate(p.x, p.y);
  action_image_motion_notify();
  EXPECT_TRUE(mosaic.update_regions & REGION_INFO_MOTION);
  EXPECT_TRUE(graph.update_regions & GRAPH_REBUILD);
  EXPECT_FLOAT_EQ(graph.yVector[1], 2 + 30 + 400 + 1000.0f);
  // With a cross-hair a motion touches the read-out only.
  mosaic.display_crosshairs = 3;
  locate(p.x, p.y);
  action_image_motion_notify();
  EXPECT_EQ(mosaic.update_regions, REGION_INFO_MOTION);
  EXPECT_EQ(graph.update_regions, 0);
}

TEST_F(ImageActions, UnchangedCrossHairSkipsTheGraphOnMotion) {
  open_graph(1);
  mosaic.update_regions = REGION_INFO_MOTION;
  update_graph_data(0);  // first call: the cross-hair is new
  graph.yVector[0] = -1.0f;
  update_graph_data(0);  // same cross-hair, a motion: nothing is read
  EXPECT_FLOAT_EQ(graph.yVector[0], -1.0f);
  mosaic.icross.x += 1;
  update_graph_data(0);
  EXPECT_FLOAT_EQ(graph.yVector[0], 9 + 80 + 500.0f);
}

}  // namespace
