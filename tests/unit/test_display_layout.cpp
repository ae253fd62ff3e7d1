#include <gtest/gtest.h>

#include <cstdlib>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "test_support.h"
#include "zor.h"

namespace {

// A fresh display state over a synthetic stack of the given shape.
class DisplayLayout : public ::testing::Test {
 protected:
  data_stack stack{};

  void SetUp() override { use_stack(64, 64, 20, 1.0f, 1.0f, 1.0f); }
  void TearDown() override {
    free(mosaic.display_slice);
    mosaic = mosaic_display{};
  }

  void use_stack(int nx, int ny, int nz, float rx, float ry, float rz) {
    free(mosaic.display_slice);
    mosaic = mosaic_display{};
    stack = data_stack{};
    stack.dim = IPOINT3D{nx, ny, nz};
    stack.resolution = POINT3D{rx, ry, rz};
    mosaic.stack = &stack;
    mosaic.Attach_ColorBar = 1;
    mosaic.display_ortho_ZY = 1;
    mosaic.flip_X11_y = 1;
    mosaic.mosaic_orientation = ORTHO_XY;
    compute_display_size_reset();
  }

  std::vector<int> shown_slices() {
    std::vector<int> shown;
    for (int k = 0; k < mosaic.DisplayVolumeDim.z; k++)
      if (mosaic.display_slice[k]) shown.push_back(k);
    return shown;
  }
};

struct Grid {
  int nx, ny;
};
Grid panels_for(int n) {
  Grid g{-1, -1};
  automatically_set_panels(n, &g.nx, &g.ny);
  return g;
}

TEST(AutomaticPanels, SmallCountsFollowTheHandTunedRows) {
  EXPECT_EQ(panels_for(1).nx, 1);
  EXPECT_EQ(panels_for(4).nx, 2);
  EXPECT_EQ(panels_for(4).ny, 2);
  EXPECT_EQ(panels_for(7).nx, 4);
  EXPECT_EQ(panels_for(9).nx, 3);
  EXPECT_EQ(panels_for(10).nx, 5);
  EXPECT_EQ(panels_for(10).ny, 2);
}

TEST(AutomaticPanels, SeventeenGivesFiveByFourAndEighteenSixByThree) {
  EXPECT_EQ(panels_for(17).nx, 5);
  EXPECT_EQ(panels_for(17).ny, 4);
  EXPECT_EQ(panels_for(18).nx, 6);
  EXPECT_EQ(panels_for(18).ny, 3);
  EXPECT_EQ(panels_for(16).nx, 4);
  EXPECT_EQ(panels_for(19).nx, 5);
}

TEST(AutomaticPanels, LargeCountsAndTheCap) {
  EXPECT_EQ(panels_for(101).nx, 12);
  EXPECT_EQ(panels_for(101).ny, 9);
  EXPECT_EQ(panels_for(122).nx, 16);
  EXPECT_EQ(panels_for(122).ny, 8);
  EXPECT_EQ(panels_for(225).nx, 15);
  EXPECT_EQ(panels_for(226).nx, 16);
  EXPECT_EQ(panels_for(1000).ny, 16);
}

TEST_F(DisplayLayout, MosaicOfAllSlicesAtZoomOne) {
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  EXPECT_EQ(mosaic.DimPanels.x, 5);
  EXPECT_EQ(mosaic.DimPanels.y, 4);
  EXPECT_EQ(mosaic.DimPanels.z, 20);
  EXPECT_EQ(mosaic.PixelDim.x, 64);
  EXPECT_EQ(mosaic.PixelDim.z, 20);
  EXPECT_EQ(mosaic.ImageRegionPixels.x, 64 * 5 + 6);
  EXPECT_EQ(mosaic.ImageRegionPixels.y, 64 * 4 + 5);
  EXPECT_EQ(mosaic.nx_ColorBar, 50);  // 326 / 8 = 40, raised to 50
  EXPECT_EQ(rough.x, 376);
  EXPECT_EQ(rough.y, 261 + 75);
  EXPECT_EQ(shown_slices().size(), 20u);
}

TEST_F(DisplayLayout, ZoomMultipliesTheRegionAndCapsTheColorbar) {
  mosaic.zoom_window = 4;
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  EXPECT_EQ(mosaic.ImageRegionPixels.x, 4 * 326);
  EXPECT_EQ(mosaic.ImageRegionPixels.y, 4 * 261);
  EXPECT_EQ(mosaic.nx_ColorBar, 100);
  EXPECT_EQ(rough.x, 1304 + 100);
}

TEST_F(DisplayLayout, RightPanelWidensOnlyTheRoughSize) {
  mosaic.nx_RightPanel = 40;
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  EXPECT_EQ(rough.x, 326 + 50 + 40);
}

TEST_F(DisplayLayout, NoColorbarWhenDetached) {
  mosaic.Attach_ColorBar = 0;
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  EXPECT_EQ(mosaic.nx_ColorBar, 0);
  EXPECT_EQ(rough.x, 326);
}

TEST_F(DisplayLayout, ThreePlanesWithZyAtTheUpperRight) {
  mosaic.display_3orthogonal = 1;
  mosaic.DimPanels.z = 4;
  mosaic.zoom_window = 2;
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  EXPECT_EQ(mosaic.ImageRegionPixels.x, 2 * (64 + 3 + 20));
  EXPECT_EQ(mosaic.ImageRegionPixels.y, 2 * (64 + 3 + 20));
}

TEST_F(DisplayLayout, ThreePlanesWithYzAtTheLowerRight) {
  mosaic.display_3orthogonal = 1;
  mosaic.display_ortho_ZY = 0;
  mosaic.DimPanels.z = 4;
  mosaic.zoom_window = 2;
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  EXPECT_EQ(mosaic.ImageRegionPixels.x, 2 * (64 + 3 + 64));
  EXPECT_EQ(mosaic.ImageRegionPixels.y, 2 * (64 + 3 + 20));
}

TEST_F(DisplayLayout, AnisotropicVoxelsBecomeRectangles) {
  use_stack(32, 32, 10, 1.0f, 1.0f, 3.0f);
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  EXPECT_EQ(mosaic.PixelDim.z, 30);
  EXPECT_FLOAT_EQ(mosaic.PixelResolution.z, 3.0f);
  mosaic.mosaic_orientation = ORTHO_XZ;
  compute_display_size(&rough, 1.0f);
  // Mosaic of XZ panels: 32 slices along y, of which the 10 panels of the
  // previous layout show a centred run; panels are 32 by 30 pixels.
  EXPECT_EQ(mosaic.DisplayVolumeDim.z, 32);
  EXPECT_EQ(mosaic.DimPanels.z, 10);
  EXPECT_EQ(mosaic.DimPanels.x, 5);
  EXPECT_EQ(mosaic.DimPanels.y, 2);
  EXPECT_EQ(mosaic.ImageRegionPixels.x, 32 * 5 + 6);
  EXPECT_EQ(mosaic.ImageRegionPixels.y, 30 * 2 + 3);
  EXPECT_EQ(shown_slices().front(), 11);
}

TEST_F(DisplayLayout, FinestAxisGetsOnePixelAndCoarseAxesRoundUp) {
  use_stack(10, 10, 7, 2.0f, 2.0f, 3.0f);
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  EXPECT_FLOAT_EQ(mosaic.PixelResolution.x, 1.0f);
  EXPECT_EQ(mosaic.PixelDim.z, 11);  // 7 * 1.5 = 10.5, one more for the lost part
}

TEST_F(DisplayLayout, OneSliceGivesOnePanel) {
  use_stack(64, 64, 1, 1.0f, 1.0f, 1.0f);
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  EXPECT_EQ(mosaic.DimPanels.x, 1);
  EXPECT_EQ(mosaic.DimPanels.y, 1);
  EXPECT_EQ(mosaic.DimPanels.z, 1);
}

TEST_F(DisplayLayout, TooManyPanelsAreClippedToTheSlices) {
  mosaic.DimPanels.z = 100;
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  EXPECT_EQ(mosaic.DimPanels.z, 20);
}

TEST_F(DisplayLayout, ReducedSetIsACentredRun) {
  use_stack(16, 16, 30, 1.0f, 1.0f, 1.0f);
  mosaic.DimPanels.z = 10;
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  std::vector<int> even = shown_slices();
  ASSERT_EQ(even.size(), 10u);
  EXPECT_EQ(even.front(), 10);
  EXPECT_EQ(even.back(), 19);

  mosaic.DimPanels.z = 11;
  compute_display_size(&rough, 1.0f);
  std::vector<int> odd = shown_slices();
  ASSERT_EQ(odd.size(), 11u);
  EXPECT_EQ(odd.front(), 10);
  EXPECT_EQ(odd.back(), 20);
}

TEST_F(DisplayLayout, UnchangedCountKeepsTheUsersSlices) {
  use_stack(16, 16, 30, 1.0f, 1.0f, 1.0f);
  mosaic.DimPanels.z = 3;
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  for (int k = 0; k < 30; k++) mosaic.display_slice[k] = (k == 0 || k == 5 || k == 29);
  compute_display_size(&rough, 1.0f);
  EXPECT_EQ(shown_slices(), (std::vector<int>{0, 5, 29}));
  mosaic.mosaic_orientation = ORTHO_ZY;  // 16 slices now: a new centred run
  compute_display_size(&rough, 1.0f);
  EXPECT_EQ(shown_slices(), (std::vector<int>{7, 8, 9}));
}

TEST_F(DisplayLayout, ChosenColumnCountIsKeptWithEnoughRows) {
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  mosaic.DimPanels.x = 3;
  compute_display_size(&rough, 1.0f);
  EXPECT_EQ(mosaic.DimPanels.x, 3);
  EXPECT_EQ(mosaic.DimPanels.y, 7);
  mosaic.DimPanels.x = 1;
  compute_display_size(&rough, 1.0f);
  EXPECT_EQ(mosaic.DimPanels.y, 20);
}

TEST_F(DisplayLayout, FirstLayoutChoosesZoomFromTheScreen) {
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  mosaic.DimPanels.x = 0;  // as the entry point leaves it without a column count
  choose_image_window_geometry(2560, 1600, 1);
  EXPECT_EQ(mosaic.zoom_window, 4);
  EXPECT_FLOAT_EQ(mosaic.PixelScale, 1.0f);
  EXPECT_EQ(mosaic.ImageRegionPixels.x, 1304);
  EXPECT_EQ(lPixelsX_ImageInfoArea, 300);
  EXPECT_EQ(lXBottomMenu, 300);
  EXPECT_EQ(lPixelsX_BottomMenu, 1304 + 100 + 1 - 300);
}

TEST_F(DisplayLayout, ZoomGivesWayBeforeUndersampling) {
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  mosaic.zoom_window = 4;
  // At zoom 2 the window is 752 by 597; at 3, 1128 by 858 does not fit.
  choose_image_window_geometry(1000, 1000, 0);
  EXPECT_EQ(mosaic.zoom_window, 2);
  EXPECT_FLOAT_EQ(mosaic.PixelScale, 1.0f);
}

TEST_F(DisplayLayout, TooSmallScreenUndersamplesAtZoomOne) {
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  mosaic.DimPanels.x = 0;
  choose_image_window_geometry(400, 300, 1);
  EXPECT_EQ(mosaic.zoom_window, 1);
  float ratio = 336.0f / (300.0f * 0.9f);
  EXPECT_FLOAT_EQ(mosaic.PixelScale, ratio);
  EXPECT_GT(mosaic.PixelScale, 1.0f);
  EXPECT_EQ(mosaic.PixelDim.x, 52);  // 64 / 1.244 = 51.4
}

TEST_F(DisplayLayout, UnusableVoxelSidesAreShownAsOneWithOneWarning) {
  const float nan = std::nanf(""), inf = INFINITY;
  const POINT3D sizes[] = {{0, 0, 0}, {nan, nan, nan}, {-2, 1, 1}, {inf, 1, 1}, {1e-40f, 1, 1}, {1, -inf, 0}};
  use_stack(64, 64, 20, 1, 1, 1);
  IPOINT2D want;
  compute_display_size(&want, 1.0f);
  const IPOINT3D want_pixels = mosaic.PixelDim;
  const IPOINT2D want_region = mosaic.ImageRegionPixels;
  for (const POINT3D &r : sizes) {
    use_stack(64, 64, 20, r.x, r.y, r.z);
    IPOINT2D rough{};
    Captured c = capture_output([&] { compute_display_size(&rough, 1.0f); });
    char line[200];
    snprintf(line, sizeof line, "Warning: voxel size (%g,%g,%g) cannot be displayed; such sides are shown as 1.\n",
             r.x, r.y, r.z);
    EXPECT_EQ(c.out, line);
    EXPECT_EQ(mosaic.PixelDim.x, want_pixels.x) << line;
    EXPECT_EQ(mosaic.PixelDim.y, want_pixels.y) << line;
    EXPECT_EQ(mosaic.PixelDim.z, want_pixels.z) << line;
    EXPECT_EQ(mosaic.ImageRegionPixels.x, want_region.x) << line;
    EXPECT_EQ(mosaic.ImageRegionPixels.y, want_region.y) << line;
    EXPECT_EQ(rough.x, want.x) << line;
    // Once per run.
    c = capture_output([&] { choose_image_window_geometry(2560, 1600, 1); });
    EXPECT_EQ(c.out, "") << line;
    EXPECT_GE(mosaic.PixelDim.x, 1);
    EXPECT_TRUE(image_window_fits_x());
  }
}

TEST_F(DisplayLayout, ExtremeAnisotropyIsScaledUntilItFitsTheScreen) {
  // One side 1e30 times the others: the first scaling cannot reach the screen.
  use_stack(32, 32, 4, 1e-30f, 1, 1);
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  mosaic.DimPanels.x = 0;
  choose_image_window_geometry(2560, 1600, 1);
  EXPECT_TRUE(image_window_fits_x());
  IPOINT2D size = image_window_size();
  EXPECT_LE(size.y, 1600);
  EXPECT_LE(size.x, 2560);
  EXPECT_GE(mosaic.PixelDim.x, 1);
  EXPECT_GT(mosaic.PixelScale, 1.0e20f);
}

TEST_F(DisplayLayout, PanelsAcrossBeyondWhatXAllowsAreDetected) {
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  mosaic.DimPanels.x = 100000;
  choose_image_window_geometry(2560, 1600, 1);
  EXPECT_FALSE(image_window_fits_x());
  EXPECT_EQ(image_window_size().x, 200102);
  mosaic.DimPanels.x = 2147483647;
  choose_image_window_geometry(2560, 1600, 0);
  EXPECT_FALSE(image_window_fits_x());
  EXPECT_EQ(image_window_size().x, 2147483647);
  // A thousand panels across is wider than the screen, and X can still make it.
  mosaic.DimPanels.x = 1000;
  choose_image_window_geometry(2560, 1600, 0);
  EXPECT_TRUE(image_window_fits_x());
  EXPECT_GT(image_window_size().x, 2560);
}

TEST_F(DisplayLayout, LaterLayoutsKeepTheZoom) {
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  mosaic.zoom_window = 2;
  choose_image_window_geometry(2560, 1600, 0);
  EXPECT_EQ(mosaic.zoom_window, 2);
}

}  // namespace

namespace {

// The start-of-run defaults over a loaded stack.
class DisplayDefaults : public ::testing::Test {
 protected:
  void SetUp() override {
    free(mosaic.display_slice);
    mosaic = mosaic_display{};
    activation = Activation{};
    image_stack = data_stack{};
    image_stack.dim = IPOINT3D{64, 64, 20};
    image_stack.resolution = POINT3D{1.0f, 1.0f, 1.0f};
    image_stack.n2d = 64 * 64;
    image_stack.n3d = 64 * 64 * 20;
    image_stack.nt = 3;
    activation_stack = data_stack{};
    anatomy_stack = data_stack{};
    mosaic.Attach_ColorBar = 1;
    compute_display_size_reset();
  }
  void TearDown() override {
    overlay_map_reset();
    ovl_root_reset();
    wire_root_reset();
    free(activation.fTractMap);
    free(mosaic.display_slice);
    mosaic = mosaic_display{};
    activation = Activation{};
    image_stack = data_stack{};
    activation_stack = data_stack{};
    anatomy_stack = data_stack{};
    activation_files = file_list{};
  }
};

TEST_F(DisplayDefaults, AllSlicesWithoutMaps) {
  initialize_mosaic_ovl(0);
  EXPECT_EQ(mosaic.stack, &image_stack);
  EXPECT_EQ(activation.stack, &activation_stack);
  EXPECT_EQ(mosaic.DimPanels.z, 20);
  EXPECT_EQ(mosaic.display_3orthogonal, 0);
  EXPECT_EQ(mosaic.display_crosshairs, 3);
  EXPECT_EQ(mosaic.MIPStatus, -1);
  EXPECT_EQ(mosaic.icross.x, 32);
  EXPECT_EQ(mosaic.icross.z, 10);
  EXPECT_EQ(activation.visible, 0);
  EXPECT_EQ(activation.nmaps, 0);
  EXPECT_EQ(activation.color_sign, 1);
  EXPECT_STREQ(ovl_root.name, "none");
  EXPECT_EQ(ovl_root.color, COLOR_MAGENTA);
  EXPECT_STREQ(wire_root.name, "none");
  EXPECT_EQ(overlay_map.number, 1);
  EXPECT_FLOAT_EQ(contrast_high, 1.0f);
}

TEST_F(DisplayDefaults, NegativePanelsOpenThreePlanesWithFour) {
  initialize_mosaic_ovl(-1);
  EXPECT_EQ(mosaic.display_3orthogonal, 1);
  EXPECT_EQ(mosaic.DimPanels.z, 4);
}

TEST_F(DisplayDefaults, PanelCountIsClippedToTheSlices) {
  initialize_mosaic_ovl(100);
  EXPECT_EQ(mosaic.DimPanels.z, 20);
  EXPECT_EQ(mosaic.DimPanels.x, 5);
}

TEST_F(DisplayDefaults, AnatomyVolumesComeFirstInTime) {
  anatomy_stack.nt = 2;
  initialize_mosaic_ovl(0);
  EXPECT_EQ(graph.iTime, -2);
}

TEST_F(DisplayDefaults, RealMapsAreShownAndNamedAfterTheirFile) {
  std::vector<float> volume(64 * 64 * 20, 0.0f);
  float *volumes[1] = {volume.data()};
  activation_stack.nt = 1;
  activation_stack.n3d = 64 * 64 * 20;
  activation_stack.data_type = DATA_MAGNITUDE;
  activation_stack.Volume = volumes;
  strcpy(activation_files.file_name, "maps.v1/tmap.nii");
  activation_files.scale_log = 1;
  initialize_mosaic_ovl(0);
  EXPECT_EQ(activation.visible, 1);
  EXPECT_EQ(activation.data_type, 1);
  EXPECT_EQ(activation.fSpaceMatrix, volume.data());
  EXPECT_STREQ(activation.map_name, "maps.v1/tmap");
  EXPECT_EQ(activation.scale_log, 1);
}

TEST_F(DisplayDefaults, VectorMapsGetAZeroedTractMap) {
  activation_stack.data_type = DATA_VECTOR;
  allocate_stack_data(1, 10, &activation_stack);
  initialize_mosaic_ovl(0);
  EXPECT_EQ(activation.data_type, 3);
  EXPECT_EQ(activation.display_data_type, -3);
  ASSERT_NE(activation.fTractMap, nullptr);
  EXPECT_FLOAT_EQ(activation.fTractMap[9], 0.0f);
  free_stack_data(activation_stack.nt, &activation_stack);
}

}  // namespace

namespace {

TEST(DisplayLayoutLimits, HugeZoomNeitherOverflowsNorStepsDownForEver) {
  data_stack stack{};
  stack.dim = IPOINT3D{64, 64, 20};
  stack.resolution = POINT3D{1.0f, 1.0f, 1.0f};
  free(mosaic.display_slice);
  mosaic = mosaic_display{};
  mosaic.stack = &stack;
  mosaic.Attach_ColorBar = 1;
  mosaic.zoom_window = 2147483647;
  compute_display_size_reset();
  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  EXPECT_EQ(mosaic.ImageRegionPixels.x, 2147483647);
  EXPECT_EQ(rough.x, 2147483647);
  choose_image_window_geometry(2560, 1600, 0);
  EXPECT_EQ(mosaic.zoom_window, 5);  // the largest zoom that fits: 1730 by 1380 pixels
  EXPECT_FLOAT_EQ(mosaic.PixelScale, 1.0f);
  free(mosaic.display_slice);
  mosaic = mosaic_display{};
}

}  // namespace
