#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <vector>

#include "graph_fixture.h"

namespace {

using GraphData = GraphFixture;

TEST(FloatToInt, UnrepresentableValuesGiveTheProcessorsIndefiniteInteger) {
  EXPECT_EQ(truncate_to_int(NAN), INT_MIN);
  EXPECT_EQ(truncate_to_int(INFINITY), INT_MIN);
  EXPECT_EQ(truncate_to_int(-INFINITY), INT_MIN);
  EXPECT_EQ(truncate_to_int(3.0e9), INT_MIN);
  EXPECT_EQ(truncate_to_int(-3.0e9), INT_MIN);
  EXPECT_EQ(truncate_to_int(-2.9), -2);
  EXPECT_EQ(truncate_to_int(2147483647.0), INT_MAX);
  EXPECT_EQ(round_to_int(2.5), 2);
  EXPECT_EQ(round_to_int(3.5), 4);
  EXPECT_EQ(round_to_int(NAN), INT_MIN);
}

TEST_F(GraphData, FirstInitializationSetsTheDefaultsAndLaterOnesKeepThem) {
  EXPECT_EQ(graph.type, -1);
  EXPECT_EQ(graph.histogram_bins, 100);
  EXPECT_EQ(graph.ed_distance, 1);
  EXPECT_EQ(graph.ed_dimension, 3);
  EXPECT_EQ(graph.select_above, 1);
  make_stack(IPOINT3D{8, 6, 4}, 12);
  graph.histogram_bins = 30;
  open_graph(1);
  EXPECT_EQ(graph.histogram_bins, 30);
  EXPECT_EQ(graph.npoints, 12);
  EXPECT_EQ(graph.ix_low_select, -1);
  EXPECT_EQ(graph.bin_width, 1);
  EXPECT_FLOAT_EQ(graph.xLow, 0.0f);
  EXPECT_FLOAT_EQ(graph.xHigh, 11.0f);
  EXPECT_EQ(mosaic.display_crosshairs, 3);
  EXPECT_EQ(graph.update_regions, 0xD);
  EXPECT_TRUE(mosaic.update_regions & REGION_IMAGES);
}

TEST_F(GraphData, ProfileLengthsFollowTheAxisAndPutTheCrossHairInThePixels) {
  make_stack(IPOINT3D{8, 6, 4}, 3, POINT3D{2.0f, 1.0f, 3.0f});
  open_graph(0, 1);
  EXPECT_EQ(graph.npoints, 8);
  EXPECT_EQ(mosaic.display_crosshairs, 1);
  EXPECT_FLOAT_EQ(graph.xLow, 0.0f);
  EXPECT_FLOAT_EQ(graph.xHigh, 14.0f);  // voxel 7 at 2 mm
  open_graph(0, 3);
  EXPECT_EQ(graph.npoints, 4);
  EXPECT_FLOAT_EQ(graph.xHigh, 9.0f);
  open_graph(0, 0);
  EXPECT_EQ(graph.npoints, 100);
}

TEST_F(GraphData, TimeCourseIsReadAtTheCrossHair) {
  make_stack(IPOINT3D{8, 6, 4}, 5);
  mosaic.icross = IPOINT3D{3, 2, 1};
  open_graph(1);
  for (int t = 0; t < 5; t++) {
    EXPECT_FLOAT_EQ(graph.yVector1[t], 3 + 20 + 100 + 1000.0f * t);
    EXPECT_FLOAT_EQ(graph.yVector[t], graph.yVector1[t]);
    EXPECT_FLOAT_EQ(graph.xVector[t], (float)t);
  }
}

TEST_F(GraphData, WithoutCrossHairTheTimeCourseFollowsThePointer) {
  make_stack(IPOINT3D{8, 6, 4}, 3);
  open_graph(1);
  mosaic.display_crosshairs = 0;
  mosaic.icross = IPOINT3D{1, 1, 1};
  mosaic.icursor = IPOINT3D{7, 5, 3};
  fill_graph_vector();
  EXPECT_FLOAT_EQ(graph.yVector1[2], 7 + 50 + 300 + 2000.0f);
  mosaic.display_crosshairs = 3;
  fill_graph_vector();
  EXPECT_FLOAT_EQ(graph.yVector1[2], 1 + 10 + 100 + 2000.0f);
}

TEST_F(GraphData, RegionGivesTheWeightedMeanAndStandardDeviation) {
  make_stack(IPOINT3D{8, 6, 4}, 2);
  open_graph(1);
  ovl_root.npts = 2;
  ovl_root.voxel[0] = IPOINT3D{0, 0, 0};  // values 0, 1000
  ovl_root.weight[0] = 1.0f;
  ovl_root.voxel[1] = IPOINT3D{4, 0, 0};  // values 4, 1004
  ovl_root.weight[1] = 0.5f;
  fill_graph_vector();
  // mean = (0*1 + 4*0.5) / 1.5 = 4/3; sd = sqrt((16/9 + 0.5*64/9) / 1.5)
  EXPECT_FLOAT_EQ(graph.yVector1[0], 4.0f / 3.0f);
  EXPECT_FLOAT_EQ(graph.yVector2[0], (float)std::sqrt((16.0 / 9 + 0.5 * 64.0 / 9) / 1.5));
  EXPECT_FLOAT_EQ(graph.yVector1[1], 1000.0f + 4.0f / 3.0f);
}

TEST_F(GraphData, ProfileAlongYReadsTheLineThroughTheCrossHairInSpaceUnits) {
  make_stack(IPOINT3D{8, 6, 4}, 1, POINT3D{1.0f, 2.5f, 1.0f}, POINT3D{-3.0f, -5.0f, 0.0f});
  mosaic.icross = IPOINT3D{2, 0, 3};
  open_graph(0, 2);
  ASSERT_EQ(graph.npoints, 6);
  for (int j = 0; j < 6; j++) {
    EXPECT_FLOAT_EQ(graph.yVector1[j], 2 + 10.0f * j + 300);
    EXPECT_FLOAT_EQ(graph.xVector[j], Convert_Voxel_to_Space(IPOINT3D{2, j, 3}, &image_stack).y);
  }
}

TEST_F(GraphData, HistogramCountsNonZeroValuesInTheirBins) {
  value = [](int x, int y, int z, int t) { return (float)(x % 4); };  // 0, 1, 2, 3
  make_stack(IPOINT3D{8, 2, 1}, 1);
  image_scale_min = 0.0f;
  image_scale_max = 4.0f;
  graph.histogram_bins = 10;
  open_graph(0, 0);
  ASSERT_EQ(graph.npoints, 10);
  std::vector<float> expected(10, 0.0f);
  // 1 -> bin 2, 2 -> bin 5, 3 -> bin 7, four voxels each; zeros left out.
  expected[2] = expected[5] = expected[7] = 4.0f;
  for (int j = 0; j < 10; j++) {
    EXPECT_FLOAT_EQ(graph.yVector1[j], expected[j]) << j;
    EXPECT_FLOAT_EQ(graph.xVector[j], 0.4f * j);
  }
}

TEST_F(GraphData, HistogramOfAConstantOrNanImageIsSafe) {
  value = [](int x, int y, int z, int t) { return x == 0 ? NAN : (x == 1 ? INFINITY : 5.0f); };
  make_stack(IPOINT3D{4, 1, 1}, 1);
  image_scale_min = image_scale_max = 5.0f;  // an empty gray window
  open_graph(0, 0);
  float total = 0.0f;
  for (int j = 0; j < graph.npoints; j++) total += graph.yVector1[j];
  EXPECT_FLOAT_EQ(total, 0.0f);  // every bin index is the indefinite integer
}

TEST_F(GraphData, AllZeroHistogramHasEmptyBinsAndLimitsOfTen) {
  value = [](int, int, int, int) { return 0.0f; };
  make_stack(IPOINT3D{4, 4, 2}, 1);
  open_graph(0, 0);
  compute_graph_limits();
  for (int j = 0; j < graph.npoints; j++) EXPECT_FLOAT_EQ(graph.yVector1[j], 0.0f);
  EXPECT_FLOAT_EQ(graph.Min.y, -10.0f);
  EXPECT_FLOAT_EQ(graph.Max.y, 10.0f);
}

TEST_F(GraphData, LimitsWidenByAFiftiethInXAndATenthInY) {
  make_stack(IPOINT3D{4, 4, 2}, 11);
  open_graph(1);
  for (int j = 0; j < 11; j++) graph.yVector[j] = (float)(j % 3);  // 0..2
  compute_graph_limits();
  EXPECT_FLOAT_EQ(graph.Min.x, -0.2f);
  EXPECT_FLOAT_EQ(graph.Max.x, 10.2f);
  EXPECT_FLOAT_EQ(graph.Min.y, -0.2f);
  EXPECT_FLOAT_EQ(graph.Max.y, 2.2f);
  EXPECT_FLOAT_EQ(graph.ScaleDraw.x, 400.0f / 10.4f);
  EXPECT_FLOAT_EQ(graph.ScaleDraw.y, 300.0f / 2.4f);
  // Percent units round outward to whole percents instead.
  graph.units_percent = 1;
  compute_graph_limits();
  EXPECT_FLOAT_EQ(graph.Min.y, -1.0f);
  EXPECT_FLOAT_EQ(graph.Max.y, 3.0f);
  // Fixed limits stay.
  graph.fixed = IPOINT2D{1, 1};
  graph.Min = POINT2D{1.0f, 5.0f};
  graph.Max = POINT2D{2.0f, 6.0f};
  compute_graph_limits();
  EXPECT_FLOAT_EQ(graph.Min.y, 5.0f);
  EXPECT_FLOAT_EQ(graph.Max.x, 2.0f);
}

TEST_F(GraphData, ConstantCurveIsWidenedByTenAndNotByATenth) {
  make_stack(IPOINT3D{4, 4, 2}, 6);
  open_graph(1);
  for (int j = 0; j < 6; j++) graph.yVector[j] = 50.0f;
  compute_graph_limits();
  EXPECT_FLOAT_EQ(graph.Min.y, 40.0f);
  EXPECT_FLOAT_EQ(graph.Max.y, 60.0f);
}

TEST_F(GraphData, SmoothingWithWidthOneIsTheRawCurve) {
  make_stack(IPOINT3D{2, 2, 1}, 6);
  open_graph(1);
  float x[6] = {0, 1, 2, 3, 4, 5}, y[6] = {3, -1, 4, 1, 5, 9}, sx[6], sy[6];
  smooth_graph_vector(x, y, sx, sy);
  for (int j = 0; j < 6; j++) {
    EXPECT_EQ(sx[j], x[j]);
    EXPECT_EQ(sy[j], y[j]);
  }
  float bx[6], by[6];
  for (int j = 0; j < 6; j++) graph.yVector[j] = y[j];
  EXPECT_EQ(reduce_graph_vectors(bx, by), 6);
  for (int j = 0; j < 6; j++) EXPECT_EQ(by[j], y[j]);
}

TEST_F(GraphData, SmoothingWindowIsAsymmetric) {
  make_stack(IPOINT3D{2, 2, 1}, 6);
  open_graph(1);
  float x[6] = {0, 1, 2, 3, 4, 5}, y[6] = {1, 2, 3, 4, 5, 6}, sx[6], sy[6];
  graph.bin_width = 4;  // offsets -2 .. 1
  smooth_graph_vector(x, y, sx, sy);
  EXPECT_FLOAT_EQ(sy[0], 1.5f);
  EXPECT_FLOAT_EQ(sy[2], 2.5f);
  EXPECT_FLOAT_EQ(sy[5], 5.0f);
  graph.bin_width = 3;  // offsets -1 .. 0
  smooth_graph_vector(x, y, sx, sy);
  EXPECT_FLOAT_EQ(sy[0], 1.0f);
  EXPECT_FLOAT_EQ(sy[1], 1.5f);
  EXPECT_FLOAT_EQ(sy[5], 5.5f);
}

TEST_F(GraphData, BinningLeavesSlotZeroEmptyAndDropsTheLastGroup) {
  make_stack(IPOINT3D{2, 2, 1}, 7);
  open_graph(1);
  graph.bin_data = 1;
  graph.bin_width = 2;
  for (int j = 0; j < 7; j++) graph.yVector[j] = (float)(10 * j);
  float bx[7], by[7];
  const int nbins = reduce_graph_vectors(bx, by);
  ASSERT_EQ(nbins, 4);
  EXPECT_TRUE(std::isnan(by[0]));
  EXPECT_FLOAT_EQ(bx[1], 0.5f);
  EXPECT_FLOAT_EQ(by[1], 5.0f);
  EXPECT_FLOAT_EQ(by[2], 25.0f);
  EXPECT_FLOAT_EQ(by[3], 45.0f);  // points 4 and 5; point 6 is dropped
}

TEST_F(GraphData, DataUnitsMapToTruncatedPixels) {
  make_stack(IPOINT3D{2, 2, 1}, 2);
  open_graph(1);
  graph.Min = POINT2D{-1.0f, -2.0f};
  graph.Max = POINT2D{3.0f, 2.0f};
  graph.ScaleDraw = POINT2D{100.0f, 75.0f};
  IPOINT2D p = Space2D_to_GraphPixels(POINT2D{0.999f, 1.0f});
  EXPECT_EQ(p.x, 199);
  EXPECT_EQ(p.y, 75);
  p = Space2D_to_GraphPixels(POINT2D{NAN, 1.0f});
  EXPECT_EQ(p.x, INT_MIN);
}

TEST_F(GraphData, PointerOverThePlotGivesTheNearestTimePoint) {
  make_stack(IPOINT3D{2, 2, 1}, 11);
  open_graph(1);
  graph.Min = POINT2D{-0.2f, 0.0f};
  graph.Max = POINT2D{10.2f, 30.0f};
  graph.cursor_selection = GRAPH_CURSOR_WINDOW;
  define_graph_cursor_location(200, 15 + 100);
  EXPECT_EQ(graph.cursor_selection, GRAPH_CURSOR_WINDOW | GRAPH_CURSOR_ON_DATA);
  EXPECT_EQ(graph.icursor.y, 100);
  EXPECT_FLOAT_EQ(graph.cursor.y, 20.0f);
  EXPECT_FLOAT_EQ(graph.cursor.x, -0.2f + 200 * 10.4f / 400);
  // rint(10 * (cursor.x - Min.x) / 10.4) = rint(5.0) = 5
  EXPECT_EQ(graph.icursor.x, 5);
  // Outside the plot the index runs on, unclipped.
  define_graph_cursor_location(399 + 200, 20);
  EXPECT_GT(graph.icursor.x, 10);
}

TEST_F(GraphData, PointerOverTheGraphOfOneTimePointGivesThatPoint) {
  // One time point: the axis has no span, and the pointer's place along it
  // is no number.
  make_stack(IPOINT3D{2, 2, 1}, 1);
  open_graph(1);
  compute_graph_limits();
  graph.cursor_selection = GRAPH_CURSOR_WINDOW;
  for (int x : {0, 200, 399}) {
    define_graph_cursor_location(x, 15 + 100);
    EXPECT_EQ(graph.icursor.x, 0) << x;
  }
  set_graph_location();
  EXPECT_EQ(graph.iTime, 0);
}

TEST_F(GraphData, ClickInTheTopStripBeyondAnyFieldIsOnNothing) {
  make_stack(IPOINT3D{2, 2, 1}, 11);
  open_graph(1);
  graph.cursor_selection = GRAPH_CURSOR_WINDOW;
  define_graph_cursor_location(390, 5);
  EXPECT_EQ(graph.cursor_selection, GRAPH_CURSOR_WINDOW | GRAPH_CURSOR_ON_NOTHING);
  EXPECT_EQ(graph.icursor.y, -1);
  const int before = graph.iTime;
  action_graph_button1();
  EXPECT_EQ(graph.iTime, before);
  EXPECT_EQ(graph.update_regions & GRAPH_MARKER, 0);
}

TEST_F(GraphData, ProjectionIndexIsClippedToTheAxis) {
  make_stack(IPOINT3D{8, 6, 4}, 1);
  open_graph(0, 1);
  compute_graph_limits();
  graph.cursor_selection = GRAPH_CURSOR_WINDOW;
  define_graph_cursor_location(399, 100);
  EXPECT_EQ(graph.icursor.x, 7);
  define_graph_cursor_location(0, 100);
  EXPECT_EQ(graph.icursor.x, 0);
  set_graph_location();
  EXPECT_EQ(mosaic.icross.x, 0);
}

TEST_F(GraphData, TimeSteppingWrapsThroughTheAnatomy) {
  make_stack(IPOINT3D{2, 2, 1}, 3);
  anatomy_stack.nt = 2;
  open_graph(1);
  set_mosaic_SpaceMatrix(2);
  increment_graph_location(0);
  EXPECT_EQ(graph.iTime, -2);
  EXPECT_EQ(graph.iLastTime, 2);
  decrement_graph_location(0);
  EXPECT_EQ(graph.iTime, 2);
  set_mosaic_SpaceMatrix(-2);
  decrement_graph_location(1);
  EXPECT_EQ(graph.iTime, 2);
  anatomy_stack.nt = 0;
}

TEST_F(GraphData, TimeSteppingFromTheEndsOfTheIntRangeWraps) {
  make_stack(IPOINT3D{2, 2, 1}, 3);
  anatomy_stack.nt = 2;
  open_graph(1);
  set_mosaic_SpaceMatrix(INT_MIN);
  decrement_graph_location(1);
  EXPECT_EQ(graph.iTime, 2);
  set_mosaic_SpaceMatrix(INT_MAX);
  increment_graph_location(1);
  EXPECT_EQ(graph.iTime, -2);
  anatomy_stack.nt = 0;
}

TEST_F(GraphData, ProjectionSteppingWrapsAlongItsAxis) {
  make_stack(IPOINT3D{8, 6, 4}, 1);
  open_graph(0, 2);
  mosaic.icross.y = 5;
  increment_graph_location(0);
  EXPECT_EQ(mosaic.icross.y, 0);
  decrement_graph_location(0);
  EXPECT_EQ(mosaic.icross.y, 5);
}

TEST_F(GraphData, ReadOutLinesOfTheTimeGraph) {
  make_stack(IPOINT3D{4, 4, 2}, 5);
  mosaic.icross = IPOINT3D{1, 2, 1};
  open_graph(1);
  set_mosaic_SpaceMatrix(3);
  char l1[ZOR_LINE], l2[ZOR_LINE], l3[ZOR_LINE];
  EXPECT_EQ(position_text_graph(0, l1, l2, l3), 1);
  EXPECT_STREQ(l1, "    time   graph");
  EXPECT_STREQ(l2, "       3      3121");
  EXPECT_STREQ(l3, "       3");
  set_mosaic_SpaceMatrix(-1);
  position_text_graph(0, l1, l2, l3);
  EXPECT_STREQ(l2, "                 ");
  EXPECT_STREQ(l3, "      -1");
  // A pointer motion off the plot leaves the line alone.
  graph.cursor_selection = GRAPH_CURSOR_WINDOW;
  EXPECT_EQ(position_text_graph(1, l1, l2, l3), 0);
}

TEST_F(GraphData, WindowTitleNamesTheGraphAndItsFile) {
  make_stack(IPOINT3D{4, 4, 2}, 5);
  char title[3 * ZOR_LINE];
  open_graph(1);
  graph_window_title(title);
  EXPECT_STREQ(title, "time points  ----  output to file .roi (0)");
  open_graph(0, 0);
  graph_window_title(title);
  EXPECT_STREQ(title, "histogram  ----  output to file .hist (0)");
  open_graph(0, 3);
  graph_window_title(title);
  EXPECT_STREQ(title, "z projection  ----  output to file .pz (0)");
}

TEST_F(GraphData, MarkerSitsOnTheLastTimePointOrTheCrossHair) {
  make_stack(IPOINT3D{8, 6, 4}, 5, POINT3D{2.0f, 1.0f, 1.0f});
  open_graph(1);
  float x = 0.0f;
  set_mosaic_SpaceMatrix(0);
  set_mosaic_SpaceMatrix(4);
  EXPECT_EQ(graph_marker_x(&x), 1);
  EXPECT_FLOAT_EQ(x, 0.0f);  // the previous time point
  set_mosaic_SpaceMatrix(-1);
  set_mosaic_SpaceMatrix(2);
  EXPECT_EQ(graph_marker_x(&x), 0);
  open_graph(0, 1);
  mosaic.icross.x = 3;
  EXPECT_EQ(graph_marker_x(&x), 1);
  EXPECT_FLOAT_EQ(x, 6.0f);
}

}  // namespace
