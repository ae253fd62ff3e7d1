#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

#include "test_support.h"
#include "zor.h"
#include "zor_colour.h"
#include "zor_compose.h"

namespace {

unsigned long rgb(int r, int g, int b) { return ((unsigned long)r << 16) | (g << 8) | b; }
unsigned long gray(int g) { return rgb(g, g, g); }

// A 4 x 3 x 2 stack with value 10 x + 100 y + 1000 z (sometimes replaced),
// shown at zoom 1 without flip, gray window 0 .. 2550 so that gray = v / 10.
class Composition : public ::testing::Test {
 protected:
  data_stack stack{};
  std::vector<float> data, map, weights;
  std::vector<int16_t> colours;
  int display_slice[4] = {1, 1, 1, 1};

  void SetUp() override {
    mosaic = mosaic_display{};
    activation = Activation{};
    graph = graph_struct{};
    graph.type = -1;
    stack.dim = IPOINT3D{4, 3, 2};
    stack.resolution = POINT3D{1, 1, 1};
    stack.direction = POINT3D{1, 1, 1};
    stack.n2d = 12;
    stack.n3d = 24;
    stack.ijk_to_xyz = scale_and_shift_to_mat44(stack.resolution, POINT3D{0, 0, 0}, stack.direction);
    stack.xyz_to_ijk = invert_mat44(stack.ijk_to_xyz);
    data.resize(24);
    for (int z = 0; z < 2; z++)
      for (int y = 0; y < 3; y++)
        for (int x = 0; x < 4; x++) data[x + 4 * (y + 3 * z)] = 10.0f * x + 100.0f * y + 1000.0f * z;
    map.assign(24, 0.0f);
    weights.assign(24, 0.0f);
    colours.assign(24, 0);
    overlay_map.weight = weights.data();
    overlay_map.color = colours.data();
    mosaic.stack = &stack;
    mosaic.fSpaceMatrix = data.data();
    mosaic.PixelDim = stack.dim;
    mosaic.PixelResolution = POINT3D{1, 1, 1};
    mosaic.DisplayVolumeDim = stack.dim;
    mosaic.DisplayVolumeRes = stack.resolution;
    mosaic.DimPanels = IPOINT3D{2, 1, 2};
    mosaic.display_slice = display_slice;
    mosaic.zoom_window = 1;
    mosaic.flip_X11_y = 0;
    mosaic.display_crosshairs = 3;
    mosaic.icross = IPOINT3D{1, 1, 1};
    activation.fSpaceMatrix = map.data();
    activation.data_type = 1;
    activation.thresh_lin_low = 2.0f;
    activation.thresh_lin_high = 10.0f;
    activation.color_sign = 1;
    image_scale_min = 0.0f;
    image_scale_max = 2550.0f;
    image_scale_slope = 0.1f;
    image_scale_offset = 0.0f;
    update_color_scheme();
    create_neighborhoods();
  }
  void TearDown() override {
    neighborhoods_reset();
    overlay_map.weight = nullptr;
    overlay_map.color = nullptr;
  }
  std::vector<unsigned long> plane(int which, int slice = 0) {
    std::vector<unsigned long> p;
    compose_plane(which, slice, p);
    return p;
  }
};

TEST_F(Composition, WithoutInterpolationAtResolutionOneEveryPlaneIsOnGrid) {
  EXPECT_EQ(mosaic.OnGridXY, 1);
  EXPECT_EQ(mosaic.OnGridZY, 1);
  EXPECT_EQ(mosaic.OnGridXZ, 1);
  EXPECT_EQ(mosaic.OnGridYZ, 1);
  mosaic.zoom_window = 3;
  create_neighborhoods();
  EXPECT_EQ(mosaic.OnGridXY, 1);
  const Neighborhood &n = mosaic.NeighborsXY[12 * 4 + 5];  // row 4, column 5: voxel (1, 1)
  EXPECT_EQ(n.number, 1);
  EXPECT_EQ(n.address[0].x, 1);
  EXPECT_EQ(n.address[0].y, 1);
  EXPECT_EQ(n.weight[0], 1.0f);
}

TEST_F(Composition, AnisotropicPlanesAreOnGridOnlyWhenStepsLandOnVoxels) {
  // Three display pixels per voxel in z: a third of a voxel per pixel.
  mosaic.PixelResolution = POINT3D{1, 1, 3};
  mosaic.PixelDim = IPOINT3D{4, 3, 6};
  create_neighborhoods();
  EXPECT_EQ(mosaic.OnGridXY, 1);
  EXPECT_EQ(mosaic.OnGridXZ, 0);
  EXPECT_EQ(mosaic.OnGridZY, 0);
  // Half a display pixel per voxel: two voxels per pixel, always whole.
  mosaic.PixelResolution = POINT3D{1, 1, 0.5f};
  mosaic.PixelDim = IPOINT3D{4, 3, 1};
  create_neighborhoods();
  EXPECT_EQ(mosaic.OnGridXZ, 1);
}

TEST_F(Composition, InterpolationAtZoomTwoSamplesQuarterVoxels) {
  mosaic.interpolate = 1;
  mosaic.zoom_window = 2;
  create_neighborhoods();
  EXPECT_EQ(mosaic.OnGridXY, 0);
  // Column 0, row 0: position (0.25, 0.25) between voxels 0 and 1 each way.
  const Neighborhood &n = mosaic.NeighborsXY[0];
  ASSERT_EQ(n.number, 4);
  double a = Lanczos_filter(2, 0.25), b = Lanczos_filter(2, 0.75);
  double sum = (a + b) * (a + b);
  EXPECT_EQ(n.address[0].x, 0);
  EXPECT_EQ(n.address[1].x, 1);
  EXPECT_EQ(n.address[2].y, 1);
  EXPECT_NEAR(n.weight[0], a * a / sum, 1e-6);
  EXPECT_NEAR(n.weight[1], b * a / sum, 1e-6);
  EXPECT_NEAR(n.weight[3], b * b / sum, 1e-6);
  EXPECT_NEAR(n.weight[0] + n.weight[1] + n.weight[2] + n.weight[3], 1.0, 1e-6);
}

TEST_F(Composition, PositionsPastTheLastVoxelBlendWithTheFirst) {
  mosaic.interpolate = 1;
  mosaic.zoom_window = 2;
  create_neighborhoods();
  // Last column of XY: x position 3.75 blends voxel 3 with voxel 0.
  const Neighborhood &n = mosaic.NeighborsXY[7];
  ASSERT_EQ(n.number, 4);
  EXPECT_EQ(n.address[0].x, 3);
  EXPECT_EQ(n.address[1].x, 0);
  double a = Lanczos_filter(2, 0.75), b = Lanczos_filter(2, 0.25);
  EXPECT_NEAR(n.weight[1] / n.weight[0], b / a, 1e-5);
}

TEST_F(Composition, FlippedTablesAreReadByWindowRow) {
  mosaic.flip_X11_y = 1;
  create_neighborhoods();
  EXPECT_EQ(mosaic.NeighborsXY[0].address[0].y, 2);  // top row shows y = 2
  EXPECT_EQ(mosaic.NeighborsXY[4 * 2].address[0].y, 0);
  std::vector<unsigned long> p = plane(ORTHO_XY);
  EXPECT_EQ(p[0], gray(120));        // (0, 2, 1) = 1200
  EXPECT_EQ(p[4 * 2 + 3], gray(103));  // (3, 0, 1) = 1030
}

TEST_F(Composition, GrayValuesOfEachPlaneThroughTheCross) {
  mosaic.icross = IPOINT3D{2, 1, 1};
  std::vector<unsigned long> xy = plane(ORTHO_XY);
  ASSERT_EQ(xy.size(), 12u);
  EXPECT_EQ(xy[4 * 2 + 1], gray(121));  // (1, 2, 1) = 10 + 200 + 1000
  std::vector<unsigned long> zy = plane(ORTHO_ZY);
  ASSERT_EQ(zy.size(), 6u);               // 2 columns (z) by 3 rows (y)
  EXPECT_EQ(zy[2 * 1 + 1], gray(112));  // (2, 1, 1)
  std::vector<unsigned long> xz = plane(ORTHO_XZ);
  EXPECT_EQ(xz[4 * 1 + 3], gray(113));  // (3, 1, 1)
  std::vector<unsigned long> yz = plane(ORTHO_YZ);
  EXPECT_EQ(yz[3 * 0 + 2], gray(22));   // (2, 2, 0)
}

TEST_F(Composition, MosaicPanelsShowTheirOwnSlice) {
  std::vector<unsigned long> s0 = plane(MOSAIC, 0), s1 = plane(MOSAIC, 1);
  EXPECT_EQ(s0[5], gray(11));   // (1, 1, 0)
  EXPECT_EQ(s1[5], gray(111));  // (1, 1, 1)
}

TEST_F(Composition, ZoomedGridPixelsRepeatOverTheirBlock) {
  mosaic.zoom_window = 3;
  create_neighborhoods();
  std::vector<unsigned long> p = plane(MOSAIC, 0);
  ASSERT_EQ(p.size(), 12u * 9u);
  for (int dy = 0; dy < 3; dy++)
    for (int dx = 0; dx < 3; dx++) EXPECT_EQ(p[12 * (3 + dy) + 6 + dx], gray(12));  // (2, 1, 0)
}

TEST_F(Composition, InterpolatedPixelsBlendNeighbours) {
  mosaic.interpolate = 1;
  mosaic.zoom_window = 2;
  create_neighborhoods();
  float fData, fMap, fOvl, fCross, fProj;
  int ovl_color;
  POINT3D v3;
  interpolate_2d(0, MOSAIC, IPOINT2D{3, 2}, &fData, &fMap, &fOvl, &fCross, &fProj, &ovl_color, &v3);
  // Position (1.75, 1.25): the kernel's weights of voxels 1, 2 and rows 1, 2.
  double a = Lanczos_filter(2, 0.75), b = Lanczos_filter(2, 0.25);
  double wx1 = a / (a + b), wx2 = b / (a + b), wy1 = b / (a + b), wy2 = a / (a + b);
  double expected = wx1 * wy1 * 110 + wx2 * wy1 * 120 + wx1 * wy2 * 210 + wx2 * wy2 * 220;
  EXPECT_NEAR(fData, expected, 1e-3);
}

TEST_F(Composition, LargeInterpolatedPlaneEqualsItsPixelsOneByOne) {
  // A plane big enough to be composed in parts: every pixel must still be
  // exactly the blend of its own gathered layers.
  stack.dim = IPOINT3D{130, 97, 2};
  stack.n2d = 130 * 97;
  stack.n3d = stack.n2d * 2;
  data.assign((size_t)stack.n3d, 0.0f);
  map.assign((size_t)stack.n3d, 0.0f);
  weights.assign((size_t)stack.n3d, 0.0f);
  colours.assign((size_t)stack.n3d, 0);
  for (int i = 0; i < stack.n3d; i++) {
    data[(size_t)i] = (float)((i * 37) % 2551);
    map[(size_t)i] = (float)((i * 13) % 23) - 11.0f;
    if (i % 17 == 0) weights[(size_t)i] = 0.5f, colours[(size_t)i] = COLOR_RED;
  }
  overlay_map.weight = weights.data();
  overlay_map.color = colours.data();
  mosaic.fSpaceMatrix = data.data();
  activation.fSpaceMatrix = map.data();
  activation.visible = 1;
  mosaic.PixelDim = stack.dim;
  mosaic.DisplayVolumeDim = stack.dim;
  mosaic.icross = IPOINT3D{40, 30, 1};
  mosaic.interpolate = 1;
  mosaic.zoom_window = 2;
  create_neighborhoods();
  for (int visible = 0; visible < 2; visible++) {
    activation.visible = visible;
    std::vector<unsigned long> p = plane(MOSAIC, 1);
    const IPOINT2D size = plane_pixel_size(ORTHO_XY);
    const int width = size.x * 2, height = size.y * 2;
    ASSERT_EQ(p.size(), (size_t)width * height);
    int differences = 0;
    for (int y = 0; y < height; y++)
      for (int x = 0; x < width; x++) {
        float fData, fMap, fOvl, fCross, fProj;
        int ovl_color;
        POINT3D v3;
        interpolate_2d(1, MOSAIC, IPOINT2D{x, y}, &fData, &fMap, &fOvl, &fCross, &fProj, &ovl_color,
                       &v3);
        differences += p[(size_t)width * y + x] !=
                       image_pixel(fData, fMap, fOvl, fCross, fProj, ovl_color, v3);
      }
    EXPECT_EQ(differences, 0) << "map visible " << visible;
  }
}

TEST_F(Composition, FastPlanesEqualTheirGatheredPixelsOverRandomInputs) {
  // The plane composer's fast pixel and the general gather must agree bit
  // for bit whatever the volume, map, region, zoom, orientation and cross.
  std::mt19937 random(2026);
  auto uniform = [&](float low, float high) { return std::uniform_real_distribution<float>(low, high)(random); };
  auto below = [&](int n) { return (int)(random() % (unsigned)n); };
  std::vector<int> shown;
  int differences = 0, trials = 0;
  for (int trial = 0; trial < 120; trial++) {
    stack.dim = IPOINT3D{2 + below(14), 2 + below(14), 2 + below(5)};
    stack.n2d = stack.dim.x * stack.dim.y;
    stack.n3d = stack.n2d * stack.dim.z;
    const size_t n = (size_t)stack.n3d;
    data.resize(n);
    map.resize(n);
    weights.assign(n, 0.0f);
    colours.assign(n, 0);
    const bool region = below(3) != 0;
    for (size_t i = 0; i < n; i++) {
      data[i] = below(50) == 0 ? NAN : uniform(-3000.0f, 3000.0f);
      map[i] = below(4) == 0 ? 0.0f : uniform(-20.0f, 20.0f);
      if (region && below(4) == 0) weights[i] = uniform(0.0f, 1.0f), colours[i] = (int16_t)(1 + below(12));
    }
    overlay_map.weight = weights.data();
    overlay_map.color = colours.data();
    mosaic.fSpaceMatrix = data.data();
    activation.fSpaceMatrix = map.data();
    activation.visible = below(2);
    const int orientation = below(4);
    mosaic.mosaic_orientation = orientation;
    const IPOINT3D d = stack.dim;
    mosaic.DisplayVolumeDim = orientation == ORTHO_ZY   ? IPOINT3D{d.z, d.y, d.x}
                              : orientation == ORTHO_XZ ? IPOINT3D{d.x, d.z, d.y}
                              : orientation == ORTHO_YZ ? IPOINT3D{d.y, d.z, d.x}
                                                        : d;
    shown.assign((size_t)mosaic.DisplayVolumeDim.z, 1);
    mosaic.display_slice = shown.data();
    mosaic.PixelDim = stack.dim;
    mosaic.icross = IPOINT3D{below(d.x), below(d.y), below(d.z)};
    mosaic.display_crosshairs = below(4);
    mosaic.interpolate = below(2);
    mosaic.zoom_window = 1 + below(3);
    mosaic.flip_X11_y = below(2);
    create_neighborhoods();
    const int slice = below(mosaic.DisplayVolumeDim.z);
    std::vector<unsigned long> p = plane(MOSAIC, slice);
    const IPOINT2D size = plane_pixel_size(orientation);
    const int width = size.x * mosaic.zoom_window, height = size.y * mosaic.zoom_window;
    ASSERT_EQ(p.size(), (size_t)width * height);
    for (int y = 0; y < height; y++)
      for (int x = 0; x < width; x++) {
        float fData, fMap, fOvl, fCross, fProj;
        int ovl_color;
        POINT3D v3;
        interpolate_2d(slice, MOSAIC, IPOINT2D{x, y}, &fData, &fMap, &fOvl, &fCross, &fProj, &ovl_color, &v3);
        differences += p[(size_t)width * y + x] != image_pixel(fData, fMap, fOvl, fCross, fProj, ovl_color, v3);
      }
    trials++;
  }
  mosaic.display_slice = display_slice;
  EXPECT_EQ(trials, 120);
  EXPECT_EQ(differences, 0);
}

TEST_F(Composition, ConstantImageGetsAWindowOfTwentyAroundItsValue) {
  data.assign(24, 7.0f);
  rescale_image(1);
  EXPECT_EQ(image_scale_min, -3.0f);
  EXPECT_EQ(image_scale_max, 17.0f);
  EXPECT_EQ(mosaic.update_regions, REGION_IMAGES | REGION_COLORBAR_LABEL | REGION_MENUS);
}

TEST_F(Composition, GrayWindowFollowsTheDataAndTheContrast) {
  rescale_image(1);
  EXPECT_EQ(image_scale_min, 0.0f);
  EXPECT_EQ(image_scale_max, 1230.0f);
  contrast_low = 0.5f;
  rescale_image(0);
  EXPECT_EQ(image_scale_min, 615.0f);
  EXPECT_EQ(image_scale_max, 1230.0f);
  contrast_low = 0.0f;
}

TEST_F(Composition, OutliersAreClippedAtTenStandardDeviations) {
  std::vector<float> many(1000, 0.0f);
  for (int i = 0; i < 1000; i++) many[i] = (float)(i % 2);
  many[0] = 1e6f;
  data_stack big{};
  big.n3d = 1000;
  big.data_type = 0;
  mosaic.stack = &big;
  mosaic.fSpaceMatrix = many.data();
  rescale_image(1);
  double av = (1e6 + 499) / 1000.0, sumsq = 0;
  for (float v : many) sumsq += (v - av) * (v - av);
  double sd = sqrt(sumsq / 1000);
  EXPECT_FLOAT_EQ(image_scale_max, (float)(av + 10 * sd));
  EXPECT_EQ(image_scale_min, 0.0f);
}

TEST_F(Composition, GrayLevelClipsAtTheWindow) {
  EXPECT_EQ(gray_level(-5.0f), 0);
  EXPECT_EQ(gray_level(2551.0f), 255);
  EXPECT_EQ(gray_level(1000.0f), 100);
  EXPECT_EQ(image_pixel(-5.0f, 0, 0, 0, 0, 0, POINT3D{}), gray(0));
  EXPECT_EQ(image_pixel(99999.0f, 0, 0, 0, 0, 0, POINT3D{}), gray(255));
}

TEST_F(Composition, MapValueAtTheLowThresholdIsNotShown) {
  activation.visible = 1;
  EXPECT_EQ(image_pixel(500.0f, 2.0f, 0, 0, 0, 0, POINT3D{}), gray(50));
  EXPECT_EQ(image_pixel(500.0f, 2.0001f, 0, 0, 0, 0, POINT3D{}), rgb(128, 0, 0));
  EXPECT_EQ(image_pixel(500.0f, 10.0f, 0, 0, 0, 0, POINT3D{}), rgb(255, 255, 0));
  EXPECT_EQ(image_pixel(500.0f, -10.0f, 0, 0, 0, 0, POINT3D{}), rgb(0, 255, 0));
}

TEST_F(Composition, SignedSchemesShowOneSideOnly) {
  activation.visible = 1;
  activation.color_scheme = 1;
  update_color_scheme();
  EXPECT_EQ(image_pixel(500.0f, -10.0f, 0, 0, 0, 0, POINT3D{}), gray(50));
  EXPECT_EQ(image_pixel(500.0f, 10.0f, 0, 0, 0, 0, POINT3D{}), rgb(255, 255, 0));
  activation.color_scheme = -1;
  EXPECT_EQ(image_pixel(500.0f, 10.0f, 0, 0, 0, 0, POINT3D{}), gray(50));
  EXPECT_EQ(image_pixel(500.0f, -10.0f, 0, 0, 0, 0, POINT3D{}), rgb(0, 255, 0));
  activation.color_scheme = -2;
  update_color_scheme();
  EXPECT_EQ(image_pixel(500.0f, -10.0f, 0, 0, 0, 0, POINT3D{}), rgb(255, 255, 0));
  activation.color_scheme = 3;
  update_color_scheme();
  EXPECT_EQ(image_pixel(500.0f, 10.0f, 0, 0, 0, 0, POINT3D{}), rgb(255, 0, 0));
}

TEST_F(Composition, ColourSignSwapsTheWarmSide) {
  activation.visible = 1;
  activation.color_sign = -1;
  EXPECT_EQ(image_pixel(500.0f, 10.0f, 0, 0, 0, 0, POINT3D{}), rgb(0, 255, 0));
}

TEST_F(Composition, LayersInOrderProjectionOverlayMapGray) {
  activation.visible = 1;
  // Projection over an overlay: yellow.
  EXPECT_EQ(image_pixel(500.0f, 10.0f, 1.0f, 0, 1.0f, COLOR_RED, POINT3D{}), rgb(255, 255, 0));
  // Overlay over an activated pixel: the overlay.
  EXPECT_EQ(image_pixel(500.0f, 10.0f, 1.0f, 0, 0, COLOR_RED, POINT3D{}), rgb(255, 0, 0));
  // Half a projection: halfway from gray 50 to 255.
  EXPECT_EQ(image_pixel(500.0f, 0, 0, 0, 0.5f, 0, POINT3D{}), rgb(152, 152, 0));
}

TEST_F(Composition, OverlayColoursAndWeights) {
  const struct {
    int color;
    unsigned long expected;
  } table[] = {
      {0, rgb(0, 255, 255)},          {COLOR_CYAN, rgb(0, 255, 255)},
      {COLOR_RED, rgb(255, 0, 0)},    {COLOR_GREEN, rgb(0, 255, 0)},
      {COLOR_BLUE, rgb(0, 0, 255)},   {COLOR_PURPLE, rgb(127, 0, 255)},
      {COLOR_YELLOW, rgb(255, 255, 0)}, {COLOR_ORANGE, rgb(255, 127, 0)},
      {COLOR_MAGENTA, rgb(255, 0, 255)}, {COLOR_SKY, rgb(0, 191, 255)},
      {COLOR_WHITE, rgb(255, 255, 255)}, {COLOR_BLACK, rgb(0, 255, 255)},
  };
  for (const auto &row : table)
    EXPECT_EQ(image_pixel(500.0f, 0, 1.0f, 0, 0, row.color, POINT3D{}), row.expected) << row.color;
  // Weight 0.5 over gray 50: 50 * 0.5 + 127.5.
  EXPECT_EQ(image_pixel(500.0f, 0, 0.5f, 0, 0, COLOR_RED, POINT3D{}), rgb(152, 0, 0));
  // Transparent overlays keep 85% of the gray whatever the weight.
  mosaic.transparent_overlay = 1;
  EXPECT_EQ(image_pixel(500.0f, 0, 1.0f, 0, 0, COLOR_GREEN, POINT3D{}),
            rgb(0, (int)(50 * 0.85f + (1 - 0.85f) * 255), 0));
}

TEST_F(Composition, CrossHairsInThePixelsOnlyInModeOne) {
  EXPECT_EQ(image_pixel(500.0f, 0, 0, 1.0f, 0, 0, POINT3D{}), gray(50));
  mosaic.display_crosshairs = 2;
  EXPECT_EQ(image_pixel(500.0f, 0, 0, 1.0f, 0, 0, POINT3D{}), gray(50));
  mosaic.display_crosshairs = 1;
  EXPECT_EQ(image_pixel(500.0f, 0, 0, 1.0f, 0, 0, POINT3D{}), rgb(0, 255, 255));
  // Over an overlay, the cross blends with the gray, not the overlay.
  EXPECT_EQ(image_pixel(500.0f, 0, 1.0f, 0.5f, 0, COLOR_RED, POINT3D{}), rgb(0, 152, 152));
}

TEST_F(Composition, PixelatedCrossShowsOnlyInItsOwnPanel) {
  mosaic.display_crosshairs = 1;
  mosaic.icross = IPOINT3D{1, 2, 1};
  std::vector<unsigned long> own = plane(MOSAIC, 1), other = plane(MOSAIC, 0);
  EXPECT_EQ(own[4 * 0 + 1], rgb(0, 255, 255));  // x = 1 column
  EXPECT_EQ(own[4 * 2 + 3], rgb(0, 255, 255));  // y = 2 row
  EXPECT_EQ(own[4 * 0 + 0], gray(100));         // (0, 0, 1)
  EXPECT_EQ(other[4 * 0 + 1], gray(1));
}

TEST_F(Composition, ProjectionLineMarksTheGraphedLineButNotTheCross) {
  graph.type = 0;
  graph.space_model = 1;  // along x
  mosaic.icross = IPOINT3D{1, 2, 0};
  std::vector<unsigned long> p = plane(MOSAIC, 0);
  EXPECT_EQ(p[4 * 2 + 0], rgb(255, 255, 0));
  EXPECT_EQ(p[4 * 2 + 3], rgb(255, 255, 0));
  EXPECT_EQ(p[4 * 2 + 1], gray(21));  // the cross voxel itself
  EXPECT_EQ(p[4 * 1 + 0], gray(10));
}

TEST_F(Composition, OverlayWithoutColourShowsCyan) {
  weights[5] = 1.0f;  // (1, 1, 0), colour 0
  std::vector<unsigned long> p = plane(MOSAIC, 0);
  EXPECT_EQ(p[5], rgb(0, 255, 255));
  colours[5] = COLOR_ORANGE;
  p = plane(MOSAIC, 0);
  EXPECT_EQ(p[5], rgb(255, 127, 0));
}

TEST_F(Composition, LinearMapHiddenWhereTheFilterIsNotSignificant) {
  activation.visible = 1;
  activation.thresh_log_low = 3.0f;
  std::vector<float> filter(24, 0.0f);
  map[5] = 10.0f;
  map[6] = 10.0f;
  filter[6] = -4.0f;  // significant by magnitude
  activation.pFilter = filter.data();
  std::vector<unsigned long> p = plane(MOSAIC, 0);
  EXPECT_EQ(p[5], gray(11));
  EXPECT_EQ(p[6], rgb(255, 255, 0));
  activation.pFilter = nullptr;
}

TEST_F(Composition, DirectionColouredVectors) {
  activation.visible = 1;
  activation.data_type = 3;
  activation.display_data_type = -3;
  std::vector<POINT3D> vectors(24, POINT3D{0, 0, 0});
  vectors[5] = POINT3D{-10.0f, 5.0f, 0.5f};
  activation.v3SpaceMatrix = vectors.data();
  std::vector<unsigned long> p = plane(MOSAIC, 0);
  EXPECT_EQ(p[5], rgb(255, 127, 12));
  activation.display_data_type = -2;
  p = plane(MOSAIC, 0);
  EXPECT_EQ(p[5], rgb(127, 12, 255));
  activation.display_data_type = -1;
  p = plane(MOSAIC, 0);
  EXPECT_EQ(p[5], rgb(12, 255, 127));
}

TEST_F(Composition, ComplexAndVectorSamples) {
  std::vector<FCOMPLEX> c(24, FCOMPLEX{3.0f, 4.0f});
  stack.data_type = 1;
  mosaic.fcSpaceMatrix = c.data();
  const float expected_re_im[4] = {5.0f, (float)(compute_phase(FCOMPLEX{3, 4}) * 57.29577950560105),
                                   3.0f, 4.0f};
  for (int t = 0; t < 4; t++) {
    mosaic.display_data_type = t;
    EXPECT_FLOAT_EQ(mosaic_data_1d(3), expected_re_im[t]) << t;
  }
  stack.data_type = 2;
  c[3] = FCOMPLEX{2.0f, 0.5f};
  mosaic.display_data_type = 0;
  EXPECT_FLOAT_EQ(mosaic_data_1d(3), 2.0f);
  mosaic.display_data_type = 1;
  EXPECT_FLOAT_EQ(mosaic_data_1d(3), 0.5f);
  mosaic.display_data_type = 2;
  EXPECT_FLOAT_EQ(mosaic_data_1d(3), 2.0f * cosf(0.5f));
  mosaic.display_data_type = 7;
  EXPECT_FLOAT_EQ(mosaic_data_1d(3), 2.0f * sinf(0.5f));
  std::vector<POINT3D> v(24, POINT3D{3.0f, 0.0f, 4.0f});
  stack.data_type = 3;
  mosaic.v3SpaceMatrix = v.data();
  mosaic.display_data_type = -1;
  EXPECT_FLOAT_EQ(mosaic_data_1d(0), 5.0f);
  mosaic.display_data_type = 3;
  EXPECT_FLOAT_EQ(mosaic_data_1d(0), 4.0f);
  mosaic.display_data_type = 5;
  EXPECT_FLOAT_EQ(mosaic_data_1d(0), 0.0f);
}

TEST_F(Composition, SampleIndexOutOfRangeIsAProgrammingError) {
  Captured c = capture_output([] { mosaic_data_1d(24); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error: index (24) out of range (24) in mosaic_data_1d\n");
  stack.data_type = 9;
  c = capture_output([] { mosaic_data_1d(0); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error: data type = 9 in function mosaic_data_1d\n");
}

TEST_F(Composition, MapSamplesByType) {
  map[2] = -3.5f;
  EXPECT_EQ(activation_data_1d(2), -3.5f);
  activation.data_type = 0;
  EXPECT_EQ(activation_data_1d(2), 0.0f);
  std::vector<float> tracts(24, 0.0f);
  tracts[2] = 17.0f;
  std::vector<POINT3D> v(24, POINT3D{0, 6, 8});
  activation.data_type = 3;
  activation.v3SpaceMatrix = v.data();
  activation.fTractMap = tracts.data();
  activation.display_data_type = 4;
  EXPECT_EQ(activation_data_1d(2), 17.0f);
  activation.display_data_type = -3;
  EXPECT_EQ(activation_data_1d(2), 10.0f);
  activation.display_data_type = 2;
  EXPECT_EQ(activation_data_1d(2), 6.0f);
}

TEST_F(Composition, ProjectionOfAnAllNegativeImageIsZero) {
  for (float &v : data) v = -v - 1.0f;
  mosaic.MIPStatus = -1;
  update_grayscale_MIPs();
  for (int x = 0; x < 4; x++)
    for (int y = 0; y < 3; y++) EXPECT_EQ(mosaic.MIP_XY[x][y], 0.0f);
  EXPECT_EQ(MIP_data_3d(IPOINT3D{1, 1, 0}, ORTHO_XY), 0.0f);
}

TEST_F(Composition, ProjectionsKeepTheMaximumAndWhereItLies) {
  data[1 + 4 * (2 + 3 * 0)] = 5000.0f;  // (1, 2, 0)
  mosaic.MIPStatus = -1;
  EXPECT_EQ(MIP_data_3d(IPOINT3D{1, 2, 1}, ORTHO_XY), 5000.0f);
  EXPECT_EQ(MIP_data_index_3d(IPOINT3D{1, 2, 1}, ORTHO_XY), 0);
  EXPECT_EQ(MIP_data_3d(IPOINT3D{1, 0, 1}, ORTHO_XZ), 1210.0f);
  EXPECT_EQ(MIP_data_index_3d(IPOINT3D{1, 0, 1}, ORTHO_XZ), 2);
  EXPECT_EQ(MIP_data_3d(IPOINT3D{0, 2, 0}, ORTHO_ZY), 5000.0f);
  EXPECT_EQ(MIP_data_index_3d(IPOINT3D{0, 2, 0}, ORTHO_YZ), 1);
  EXPECT_EQ(mosaic.MIPStatus, 1);
}

TEST_F(Composition, MapProjectionKeepsTheSignOfTheLargestMagnitude) {
  map[0 + 4 * (0 + 3 * 1)] = -9.0f;
  map[0] = 4.0f;
  activation.MIPStatus = -1;
  EXPECT_EQ(MIP_activation_3d(IPOINT3D{0, 0, 0}, ORTHO_XY), -9.0f);
  EXPECT_EQ(MIP_activation_index_3d(IPOINT3D{0, 0, 0}, ORTHO_XY), 1);
}

TEST_F(Composition, ThreePlanePixelsOfVoxels) {
  mosaic.zoom_window = 2;
  mosaic.display_3orthogonal = 1;
  EXPECT_EQ(Convert_rVoxel_to_Pixel(ORTHO_XY, POINT3D{2, 1, 0}, 0).x, 6);
  EXPECT_EQ(Convert_rVoxel_to_Pixel(ORTHO_XY, POINT3D{2, 1, 0}, 0).y, 4);
  IPOINT2D zy = Convert_rVoxel_to_Pixel(ORTHO_ZY, POINT3D{0, 1, 1}, 0);
  EXPECT_EQ(zy.x, (4 + 1 + 2) * 2);
  EXPECT_EQ(zy.y, 4);
  IPOINT2D xz = Convert_rVoxel_to_Pixel(ORTHO_XZ, POINT3D{3, 0, 1}, 1);
  EXPECT_EQ(xz.x, 8 + 1);
  EXPECT_EQ(xz.y, (3 + 1 + 2) * 2 + 1);
  mosaic.flip_X11_y = 1;
  IPOINT2D flipped = Convert_rVoxel_to_Pixel(ORTHO_XY, POINT3D{2, 1, 0}, 1);
  EXPECT_EQ(flipped.x, 7);
  EXPECT_EQ(flipped.y, (2 + 1) * 2 - 1);  // y = 3 - 1
}

TEST_F(Composition, MosaicPixelsOfVoxelsAndOffSlicePoints) {
  mosaic.zoom_window = 2;
  IPOINT2D p = Convert_rVoxel_to_Pixel(MOSAIC, POINT3D{1, 2, 1}, 0);
  // Second panel: left 2 * (4 + 1 + 1) = 12, top 2.
  EXPECT_EQ(p.x, 12 + 2);
  EXPECT_EQ(p.y, 2 + 4);
  IPOINT2D off = Convert_rVoxel_to_Pixel(MOSAIC, POINT3D{1, 2, 0.5f}, 0);
  EXPECT_EQ(off.x, -1);
  EXPECT_EQ(off.y, -1);
  display_slice[0] = 0;
  IPOINT2D hidden = Convert_rVoxel_to_Pixel(MOSAIC, POINT3D{1, 2, 0}, 0);
  EXPECT_EQ(hidden.x, -1);
  IPOINT2D first_panel = Convert_rVoxel_to_Pixel(MOSAIC, POINT3D{1, 2, 1}, 0);
  EXPECT_EQ(first_panel.x, 2 + 2);
}

TEST_F(Composition, SpacePointsThroughTheStacksGeometry) {
  stack.ijk_to_xyz = scale_and_shift_to_mat44(POINT3D{2, 2, 2}, POINT3D{-4, 0, 0}, stack.direction);
  stack.xyz_to_ijk = invert_mat44(stack.ijk_to_xyz);
  mosaic.display_3orthogonal = 1;
  IPOINT2D p = Convert_Space_to_Pixel(ORTHO_XY, POINT3D{0, 2, 0}, 0);
  EXPECT_EQ(p.x, 3);  // voxel x 2
  EXPECT_EQ(p.y, 2);  // voxel y 1
}

TEST_F(Composition, PointsOffTheStackInPlaneWarnOnce) {
  coordinates_on_slice_reset();
  Captured c = capture_output([] {
    EXPECT_EQ(coordinates_on_slice(POINT3D{40, 1, 1}), 1);
    EXPECT_EQ(coordinates_on_slice(POINT3D{40, 1, 1}), 1);
    EXPECT_EQ(coordinates_on_slice(POINT3D{1, 1, 0.5f}), 0);
  });
  EXPECT_EQ(c.out,
            "Warning: a coordinate is out of range on x or y but not z.\n"
            "Check your coordinate system or wire frame coordinates.\n");
}

}  // namespace

namespace {

TEST(ShownVolume, TimePointsOfTheStackAndAnatomyFromItsEnd) {
  data_stack stack{};
  stack.nt = 3;
  stack.data_type = 0;
  float a[1] = {1}, b[1] = {2}, c[1] = {3};
  float *volumes[3] = {a, b, c};
  stack.Volume = volumes;
  mosaic = mosaic_display{};
  mosaic.stack = &stack;
  graph = graph_struct{};
  graph.iTime = 5;
  set_mosaic_SpaceMatrix(2);
  EXPECT_EQ(mosaic.fSpaceMatrix, c);
  EXPECT_EQ(graph.iLastTime, 5);
  EXPECT_EQ(graph.iTime, 2);

  FCOMPLEX x[1] = {{1, 2}}, y[1] = {{3, 4}};
  FCOMPLEX *complex_volumes[2] = {x, y};
  anatomy_stack = data_stack{};
  anatomy_stack.nt = 2;
  anatomy_stack.data_type = 1;
  anatomy_stack.fcVolume = complex_volumes;
  mosaic.MIPStatus = 1;
  set_mosaic_SpaceMatrix(-2);  // the first anatomy volume
  EXPECT_EQ(mosaic.fcSpaceMatrix, x);
  EXPECT_EQ(mosaic.fSpaceMatrix, nullptr);
  EXPECT_EQ(mosaic.MIPStatus, 0);
  set_mosaic_SpaceMatrix(-1);
  EXPECT_EQ(mosaic.fcSpaceMatrix, y);
  EXPECT_EQ(graph.iLastTime, -2);
  mosaic.MIPStatus = -1;
  set_mosaic_SpaceMatrix(0);
  EXPECT_EQ(mosaic.fSpaceMatrix, a);
  EXPECT_EQ(mosaic.MIPStatus, -1);
  anatomy_stack = data_stack{};
}

}  // namespace
