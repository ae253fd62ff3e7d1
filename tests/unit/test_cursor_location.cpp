#include <gtest/gtest.h>

#include <cstdlib>

#include "zor.h"

namespace {

// A 64x64x20 stack of 1 mm voxels laid out as a 5 by 4 mosaic at zoom 2:
// panel (c, r) starts at window x = 2 * (65 c + 1), y = 30 + 2 * (65 r + 1).
class CursorLocation : public ::testing::Test {
 protected:
  data_stack stack{};

  void SetUp() override {
    free(mosaic.display_slice);
    mosaic = mosaic_display{};
    stack.dim = IPOINT3D{64, 64, 20};
    stack.resolution = POINT3D{1.0f, 1.0f, 1.0f};
    stack.direction = POINT3D{1.0f, 1.0f, 1.0f};
    stack.ijk_to_xyz = scale_and_shift_to_mat44(stack.resolution, POINT3D{0, 0, 0}, stack.direction);
    stack.xyz_to_ijk = invert_mat44(stack.ijk_to_xyz);
    mosaic.stack = &stack;
    mosaic.Attach_ColorBar = 1;
    mosaic.display_ortho_ZY = 1;
    mosaic.flip_X11_y = 1;
    mosaic.zoom_window = 2;
    mosaic.icross = IPOINT3D{32, 32, 10};
    compute_display_size_reset();
    IPOINT2D rough;
    compute_display_size(&rough, 1.0f);
  }
  void TearDown() override {
    free(mosaic.display_slice);
    mosaic = mosaic_display{};
  }

  int locate(int x, int y) {
    mosaic.cursor_selection = 0;
    define_mosaic_cursor_location(x, y);
    return mosaic.cursor_selection;
  }
  void three_planes(int ortho_zy) {
    mosaic.display_3orthogonal = 1;
    mosaic.display_ortho_ZY = ortho_zy;
    IPOINT2D rough;
    compute_display_size(&rough, 1.0f);
  }
};

TEST_F(CursorLocation, VoxelOnTheSecondPanelIsFlippedUpward) {
  int sel = locate(2 * 66 + 2 * 10, 30 + 2 + 2 * 5);
  EXPECT_EQ(sel, CURSOR_ON_MOSAIC_PANEL | CURSOR_PLANE_XY | CURSOR_ON_VOXEL);
  EXPECT_EQ(mosaic.icursor.x, 10);
  EXPECT_EQ(mosaic.icursor.y, 64 - 5 - 1);
  EXPECT_EQ(mosaic.icursor.z, 1);
  // Space coordinates of the voxel centre: (10, 64 - 5) less half a voxel.
  EXPECT_FLOAT_EQ(mosaic.cursor.x, 9.5f);
  EXPECT_FLOAT_EQ(mosaic.cursor.y, 58.5f);
  EXPECT_FLOAT_EQ(mosaic.cursor.z, 1.0f);
}

TEST_F(CursorLocation, SecondRowCountsShownSlices) {
  int sel = locate(2 * 1 + 2 * 3, 30 + 2 * 66 + 2 * 7);
  EXPECT_TRUE(sel & CURSOR_ON_VOXEL);
  EXPECT_EQ(mosaic.icursor.z, 5);
  for (int k = 0; k < 5; k++) mosaic.display_slice[k] = 0;  // hide slices 0..4
  locate(2 * 1 + 2 * 3, 30 + 2 * 66 + 2 * 7);
  EXPECT_EQ(mosaic.icursor.z, 10);
}

TEST_F(CursorLocation, GutterBetweenPanelsIsOffTheStack) {
  int sel = locate(2 * 64 + 2, 30 + 2 + 2 * 5);  // the display pixel right of panel 0
  EXPECT_TRUE(sel & CURSOR_OFF_STACK);
  EXPECT_FALSE(sel & CURSOR_ON_VOXEL);
  EXPECT_EQ(mosaic.icursor.x, 0);
}

TEST_F(CursorLocation, LeftEdgeOfTheRegionIsOnNothing) {
  EXPECT_EQ(locate(0, 100), CURSOR_ON_NOTHING);
  EXPECT_EQ(locate(100, 30), CURSOR_ON_NOTHING);  // the row above the first panel
}

TEST_F(CursorLocation, EmptyPanelsBeyondTheSlicesAreOffTheStack) {
  mosaic.DimPanels.z = 17;  // 5 by 4 grid, three empty places at the end
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  int sel = locate(2 * (65 * 4 + 1) + 4, 30 + 2 * (65 * 3 + 1) + 4);
  EXPECT_TRUE(sel & CURSOR_OFF_STACK);
}

TEST_F(CursorLocation, MenusColorbarAndRightPanel) {
  const IPOINT2D &R = mosaic.ImageRegionPixels;
  EXPECT_EQ(locate(10, 10), CURSOR_ON_NOTHING);
  EXPECT_EQ(locate(10, R.y + 40), 0);
  EXPECT_EQ(locate(R.x + 1, 30 + 2), CURSOR_ON_COLORBAR | CURSOR_COLORBAR_UPPER);
  EXPECT_FLOAT_EQ(mosaic.cursor.y, 0.0f);
  EXPECT_EQ(locate(R.x + 1, 30 + 2 + R.y / 2), CURSOR_ON_COLORBAR | CURSOR_COLORBAR_LOWER);
  EXPECT_EQ(locate(R.x + mosaic.nx_ColorBar + 1, 100), CURSOR_ON_RIGHT_PANEL);
}

TEST_F(CursorLocation, ThreePlanesFindEachPlane) {
  three_planes(1);
  int Z = 2;
  // XY at the upper left: z from the cross-hair.
  int sel = locate(Z + Z * 4, 30 + Z + Z * 6);
  EXPECT_TRUE(sel & CURSOR_PLANE_XY);
  EXPECT_EQ(mosaic.icursor.x, 4);
  EXPECT_EQ(mosaic.icursor.y, 64 - 6 - 1);
  EXPECT_EQ(mosaic.icursor.z, 10);
  // XZ below it: y from the cross-hair, z flipped.
  sel = locate(Z + Z * 4, 30 + Z + Z * (65 + 3));
  EXPECT_TRUE(sel & CURSOR_PLANE_XZ);
  EXPECT_EQ(mosaic.icursor.y, 32);
  EXPECT_EQ(mosaic.icursor.z, 20 - 3 - 1);
  // ZY at the upper right: x from the cross-hair.
  sel = locate(Z + Z * (65 + 7), 30 + Z + Z * 2);
  EXPECT_TRUE(sel & CURSOR_PLANE_ZY);
  EXPECT_EQ(mosaic.icursor.x, 32);
  EXPECT_EQ(mosaic.icursor.z, 7);
  EXPECT_EQ(mosaic.icursor.y, 64 - 2 - 1);
  // Lower right is empty with ZY shown.
  sel = locate(Z + Z * (65 + 3), 30 + Z + Z * (65 + 3));
  EXPECT_EQ(sel & (CURSOR_PLANE_YZ | CURSOR_ON_NOTHING), CURSOR_PLANE_YZ | CURSOR_ON_NOTHING);
  EXPECT_FALSE(sel & CURSOR_ON_VOXEL);
}

TEST_F(CursorLocation, UpperRightIsEmptyWithoutZy) {
  three_planes(0);
  int Z = 2;
  int sel = locate(Z + Z * (65 + 3), 30 + Z + Z * 2);
  EXPECT_EQ(sel & 0x108, 0x108);
  EXPECT_FALSE(sel & CURSOR_ON_VOXEL);
  EXPECT_EQ(mosaic.icross.x, 32);
  sel = locate(Z + Z * (65 + 5), 30 + Z + Z * (65 + 3));
  EXPECT_TRUE(sel & CURSOR_PLANE_YZ);
  EXPECT_TRUE(sel & CURSOR_ON_VOXEL);
  EXPECT_EQ(mosaic.icursor.y, 5);
}

TEST_F(CursorLocation, WithoutFlipRowsCountDownward) {
  mosaic.flip_X11_y = 0;
  locate(2 * 66 + 2 * 10, 30 + 2 + 2 * 5);
  EXPECT_EQ(mosaic.icursor.y, 5);
}

TEST_F(CursorLocation, DataIndexFlipHasNoMinusOne) {
  POINT3D v{3.0f, 4.0f, 5.0f};
  POINT3D xy = flip_vertical_DataIndex(ORTHO_XY, v);
  EXPECT_FLOAT_EQ(xy.y, 60.0f);
  EXPECT_FLOAT_EQ(xy.z, 5.0f);
  POINT3D xz = flip_vertical_DataIndex(ORTHO_XZ, v);
  EXPECT_FLOAT_EQ(xz.z, 15.0f);
  EXPECT_FLOAT_EQ(xz.y, 4.0f);
  mosaic.flip_X11_y = 0;
  EXPECT_FLOAT_EQ(flip_vertical_DataIndex(ORTHO_YZ, v).z, 5.0f);
}

TEST_F(CursorLocation, ResetClearsSelectionsAndHoverFlags) {
  SelectableText second{};
  second.selected = 1;
  mosaic.SelectText.selected = 1;
  mosaic.SelectText.next = &second;
  mosaic.cursor_selection = 0x43;
  mosaic.text_selection = 7;
  graph.cursor_selection = 3;
  reset_cursor_selections();
  EXPECT_EQ(mosaic.cursor_selection, 0);
  EXPECT_EQ(mosaic.text_selection, 0);
  EXPECT_EQ(graph.cursor_selection, 0);
  EXPECT_EQ(second.selected, 0);
  EXPECT_EQ(mosaic.SelectText.selected, 0);
  mosaic.SelectText.next = nullptr;
}

}  // namespace
