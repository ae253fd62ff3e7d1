#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "zor.h"
#include "zor_colour.h"

namespace {

unsigned long rgb(int r, int g, int b) { return ((unsigned long)r << 16) | (g << 8) | b; }

// A linear map with thresholds 2 .. 10, scheme 0, shown, opaque.
class ColourScheme : public ::testing::Test {
 protected:
  void SetUp() override {
    activation = Activation{};
    mosaic = mosaic_display{};
    graph = graph_struct{};
    graph.type = -1;
    activation.visible = 1;
    activation.thresh_lin_low = 2.0f;
    activation.thresh_lin_high = 10.0f;
    activation.thresh_log_low = 3.0f;
    activation.thresh_log_high = 20.0f;
    update_color_scheme();
  }
};

TEST_F(ColourScheme, ThresholdsComeFromThePairOfTheCurrentScale) {
  EXPECT_EQ(get_activation_threshold(-1), 2.0f);
  EXPECT_EQ(get_activation_threshold(1), 10.0f);
  EXPECT_EQ(get_activation_threshold(0), 10.0f);
  activation.scale_log = 1;
  EXPECT_EQ(get_activation_threshold(-1), 3.0f);
  EXPECT_EQ(get_activation_threshold(1), 20.0f);
}

TEST_F(ColourScheme, LowThresholdMapsToLevelZeroAndHighToTop) {
  EXPECT_FLOAT_EQ(act_scale_slope, 383.0f / 8.0f);
  EXPECT_EQ(activation_color_level(2.0f, 383), 0);
  EXPECT_EQ(activation_color_level(6.0f, 383), 191);
  EXPECT_EQ(activation_color_level(10.0f, 383), 383);
  EXPECT_EQ(activation_color_level(11.0f, 383), 383);
  EXPECT_EQ(activation_color_level(1.0f, 383), 0);
}

TEST_F(ColourScheme, TopLevelPerScheme) {
  EXPECT_EQ(color_scheme_top_level(0), 383);
  EXPECT_EQ(color_scheme_top_level(-1), 383);
  EXPECT_EQ(color_scheme_top_level(2), 511);
  EXPECT_EQ(color_scheme_top_level(-2), 511);
  EXPECT_EQ(color_scheme_top_level(3), 1279);
  EXPECT_EQ(color_scheme_top_level(-3), 1279);
}

TEST_F(ColourScheme, SchemeZeroAtAndAboveHighIsYellow) {
  EXPECT_EQ(activation_color_scheme0(10.0f, 0), rgb(255, 255, 0));
  EXPECT_EQ(activation_color_scheme0(50.0f, 0), rgb(255, 255, 0));
  // Negative values: the top of the blue-green ramp is pure green.
  EXPECT_EQ(activation_color_scheme0(-10.0f, 0), rgb(0, 255, 0));
}

TEST_F(ColourScheme, SchemeZeroBelowLowIsDarkRedOrDarkBlue) {
  EXPECT_EQ(activation_color_scheme0(1.0f, 77), rgb(128, 0, 0));
  EXPECT_EQ(activation_color_scheme0(-1.0f, 77), rgb(0, 0, 128));
}

TEST_F(ColourScheme, SchemeZeroRamps) {
  // 6 is level 191: past the red half, green rises.
  EXPECT_EQ(activation_color_scheme0(6.0f, 0), rgb(255, 63, 0));
  EXPECT_EQ(activation_color_scheme0(-6.0f, 0), rgb(0, 63, 192));
  // 3 is level 47: red only.
  EXPECT_EQ(activation_color_scheme0(3.0f, 0), rgb(47 + 128, 0, 0));
  EXPECT_EQ(activation_color_scheme0(-3.0f, 0), rgb(0, 0, 47 + 128));
}

TEST_F(ColourScheme, SchemeOneBlueRedYellow) {
  activation.color_scheme = 2;
  update_color_scheme();
  EXPECT_EQ(activation_color_scheme1(2.0f, 0), rgb(0, 0, 255));
  EXPECT_EQ(activation_color_scheme1(6.0f, 0), rgb(255, 0, 0));  // level 255
  EXPECT_EQ(activation_color_scheme1(10.0f, 0), rgb(255, 255, 0));
  EXPECT_EQ(activation_color_scheme1(-4.0f, 0), rgb(0, 0, 255));  // below low: level 0
}

TEST_F(ColourScheme, SchemeTwoSpectrum) {
  activation.color_scheme = 3;
  activation.thresh_lin_low = 0.0f;
  activation.thresh_lin_high = 1279.0f;
  update_color_scheme();
  EXPECT_EQ(activation_color_scheme2(0.0f, 0), rgb(255, 0, 255));
  EXPECT_EQ(activation_color_scheme2(300.0f, 0), rgb(0, 44, 255));
  EXPECT_EQ(activation_color_scheme2(600.0f, 0), rgb(0, 255, 167));
  EXPECT_EQ(activation_color_scheme2(800.0f, 0), rgb(32, 255, 0));
  EXPECT_EQ(activation_color_scheme2(1279.0f, 0), rgb(255, 0, 0));
  EXPECT_EQ(activation_color_scheme2(2000.0f, 0), rgb(255, 0, 0));
}

TEST_F(ColourScheme, TransparentColoursBlendSeventyPercentGray) {
  activation.transparent = 1;
  // Yellow over gray 10: 255 * 0.3 + 7 = 83.5, 0 * 0.3 + 7 = 7.
  EXPECT_EQ(activation_color_scheme0(10.0f, 10), rgb(83, 83, 7));
}

TEST_F(ColourScheme, EqualThresholdsGiveLevelZeroOrTopWithoutCrashing) {
  activation.thresh_lin_low = activation.thresh_lin_high = 5.0f;
  update_color_scheme();
  EXPECT_EQ(activation_color_level(4.0f, 383), 0);
  EXPECT_EQ(activation_color_level(6.0f, 383), 383);
}

TEST(ChangeLimit, StepsToThreeSignificantFigures) {
  EXPECT_FLOAT_EQ(change_limit(100.0f, -1.0f), 99.0f);
  EXPECT_FLOAT_EQ(change_limit(1000.0f, 1.0f), 1001.0f);
  EXPECT_FLOAT_EQ(change_limit(1234.0f, 10.0f), 1240.0f);
  EXPECT_FLOAT_EQ(change_limit(12345.0f, 100.0f), 12400.0f);
}

TEST(ChangeLimit, AStepDownThatRoundingUndoesGoesUp) {
  // -1000 - 0.5 rounds back to -1000 at three figures: the step is taken
  // the other way.
  EXPECT_FLOAT_EQ(change_limit(-1000.0f, -0.5f), -999.5f);
  EXPECT_FLOAT_EQ(change_limit(1000.0f, -0.5f), 999.0f);
}

TEST_F(ColourScheme, SetThresholdClipsTheLowBoundOnMagnitudeAndLogScales) {
  set_activation_threshold(-1, -3.0f);
  EXPECT_EQ(activation.thresh_lin_low, 0.0f);
  EXPECT_EQ(mosaic.update_regions, REGION_IMAGES | REGION_COLORBAR_LABEL | REGION_MENUS);
  activation.color_scheme = 2;
  set_activation_threshold(-1, -3.0f);
  EXPECT_EQ(activation.thresh_lin_low, -3.0f);
  activation.scale_log = 1;
  set_activation_threshold(-1, -3.0f);
  EXPECT_EQ(activation.thresh_log_low, 0.0f);
  set_activation_threshold(1, 7.0f);
  EXPECT_EQ(activation.thresh_log_high, 7.0f);
  EXPECT_EQ(activation.thresh_lin_high, 10.0f);
}

TEST_F(ColourScheme, LogThresholdSteps) {
  activation.scale_log = 1;
  activation.thresh_log_low = 3.0f;
  activation.thresh_log_high = 4.0f;
  change_activation_threshold(-1, 1.5f);  // 4.5 -> 4, meets high -> 3
  EXPECT_EQ(activation.thresh_log_low, 3.0f);
  change_activation_threshold(1, -1.0f);  // 3 meets low: high goes back up
  EXPECT_EQ(activation.thresh_log_high, 4.0f);
  change_activation_threshold(1, 0.5f);
  EXPECT_EQ(activation.thresh_log_high, 4.5f);
  change_activation_threshold(-1, -10.0f);
  EXPECT_EQ(activation.thresh_log_low, 0.0f);
}

TEST_F(ColourScheme, LinearLowStepBelowZeroStopsAtZeroInSchemeZero) {
  activation.thresh_lin_low = 0.5f;
  change_activation_threshold(-1, -1.0f);
  EXPECT_EQ(activation.thresh_lin_low, 0.0f);
  activation.color_scheme = 2;
  activation.thresh_lin_low = 0.5f;
  change_activation_threshold(-1, -1.0f);
  EXPECT_FLOAT_EQ(activation.thresh_lin_low, -0.5f);
}

TEST_F(ColourScheme, GrayscaleRangeStepKeepsMinBelowMax) {
  image_scale_min = 0.0f;
  image_scale_max = 100.0f;
  graph.type = 0;
  graph.space_model = 0;
  change_grayscale_range(-1, 150.0f);
  EXPECT_EQ(image_scale_min, 100.0f);
  EXPECT_EQ(graph.update_regions, 1);
  change_grayscale_range(1, 10.0f);
  EXPECT_EQ(image_scale_max, 110.0f);
}

TEST(ColorbarLabels, ExponentOfTheRange) {
  EXPECT_EQ(colorbar_label_exponent(100.0f), 0);
  EXPECT_EQ(colorbar_label_exponent(99999.0f), 0);
  EXPECT_EQ(colorbar_label_exponent(100000.0f), 5);
  EXPECT_EQ(colorbar_label_exponent(5.0f), 0);
  EXPECT_EQ(colorbar_label_exponent(1.5f), -1);
  EXPECT_EQ(colorbar_label_exponent(0.5f), -1);
  EXPECT_EQ(colorbar_label_exponent(0.05f), -3);
}

TEST(ColorbarLabels, StepNearestToSixTicks) {
  EXPECT_EQ(colorbar_tick_step(100.0f, 0), 20);
  EXPECT_EQ(colorbar_tick_step(8.0f, 0), 1);
  EXPECT_EQ(colorbar_tick_step(0.5f, -1), 1);
  EXPECT_EQ(colorbar_tick_step(1000.0f, 0), 200);
}

TEST_F(ColourScheme, LinearTicksOfRangeHundred) {
  activation.thresh_lin_low = 0.0f;
  activation.thresh_lin_high = 100.0f;
  int colored = -1;
  std::vector<colorbar_tick> t = colorbar_ticks(500, &colored);
  EXPECT_EQ(colored, 1);
  ASSERT_EQ(t.size(), 4u);  // 20, 40, 60, 80: 0 is the low end itself
  EXPECT_EQ(t[0].label, "20");
  EXPECT_EQ(t[0].y, 400);
  EXPECT_EQ(t[3].label, "80");
  EXPECT_EQ(t[3].y, 100);
}

TEST_F(ColourScheme, SmallRangeTicksCarryAnExponent) {
  activation.thresh_lin_low = 0.0f;
  activation.thresh_lin_high = 0.5f;
  int colored;
  std::vector<colorbar_tick> t = colorbar_ticks(100, &colored);
  ASSERT_EQ(t.size(), 4u);
  EXPECT_EQ(t[0].label, "1e-1");
  EXPECT_EQ(t[0].y, 80);
  EXPECT_EQ(t[3].label, "4e-1");
}

TEST_F(ColourScheme, LogMapLabelsGrowInExponentUpward) {
  activation.scale_log = 1;
  activation.thresh_log_low = 2.0f;
  activation.thresh_log_high = 9.0f;
  int colored;
  std::vector<colorbar_tick> t = colorbar_ticks(700, &colored);
  ASSERT_EQ(t.size(), 6u);
  for (size_t i = 0; i < t.size(); i++) {
    EXPECT_EQ(t[i].label, "10^-" + std::to_string(3 + i));
    if (i) {
      EXPECT_LT(t[i].y, t[i - 1].y);
    }
  }
}

TEST_F(ColourScheme, GrayBarTicksUseTheGrayWindow) {
  activation.visible = 0;
  image_scale_min = 0.0f;
  image_scale_max = 1000.0f;
  int colored;
  std::vector<colorbar_tick> t = colorbar_ticks(1000, &colored);
  EXPECT_EQ(colored, 0);
  ASSERT_EQ(t.size(), 4u);
  EXPECT_EQ(t[0].label, "200");
  EXPECT_EQ(t[0].y, 800);
}

TEST_F(ColourScheme, ColorbarRampOfSchemeZeroHasNegativeOnTheLeft) {
  std::vector<unsigned long> p(10 * 8);
  fill_colorbar_pixels(p.data(), 10, 8);
  EXPECT_EQ(p[0], rgb(0, 255, 0));     // top row, left: -high
  EXPECT_EQ(p[9], rgb(255, 255, 0));   // top row, right: +high
  EXPECT_EQ(p[4], rgb(0, 255, 0));
  EXPECT_EQ(p[5], rgb(255, 255, 0));
  // Row 7: 10 - 7 = 3, level 47.
  EXPECT_EQ(p[7 * 10 + 9], rgb(175, 0, 0));
  EXPECT_EQ(p[7 * 10 + 0], rgb(0, 0, 175));
}

TEST_F(ColourScheme, ColorbarWithTransparencyBlendsWithWhite) {
  activation.transparent = 1;
  std::vector<unsigned long> p(2 * 4);
  fill_colorbar_pixels(p.data(), 2, 4);
  // Yellow with 70% white: 255 and 0 * 0.3 + 178.5.
  EXPECT_EQ(p[1], rgb(255, 255, 178));
}

TEST_F(ColourScheme, SignedSchemesDoNotFlipTheBar) {
  activation.color_scheme = -2;
  std::vector<unsigned long> p(4 * 8);
  fill_colorbar_pixels(p.data(), 4, 8);
  EXPECT_EQ(p[0], rgb(255, 255, 0));
  EXPECT_EQ(p[3], rgb(255, 255, 0));
  activation.color_scheme = -1;
  fill_colorbar_pixels(p.data(), 4, 8);
  EXPECT_EQ(p[0], rgb(0, 255, 0));
}

TEST_F(ColourScheme, GrayRampWithTheMapHidden) {
  activation.visible = 0;
  image_scale_min = 0.0f;
  image_scale_max = 255.0f;
  image_scale_slope = 1.0f;
  image_scale_offset = 0.0f;
  std::vector<unsigned long> p(3 * 255);
  fill_colorbar_pixels(p.data(), 3, 255);
  EXPECT_EQ(p[0], rgb(255, 255, 255));
  EXPECT_EQ(p[3 * 100], rgb(155, 155, 155));
  EXPECT_EQ(p[3 * 254 + 2], rgb(1, 1, 1));
}

TEST_F(ColourScheme, ArrowsWrapTheScheme) {
  activation.color_scheme = 3;
  action_ColorBar_arrow_left_right(0);
  EXPECT_EQ(activation.color_scheme, -3);
  EXPECT_TRUE(mosaic.update_regions & REGION_COLORBAR);
  action_ColorBar_arrow_left_right(1);
  EXPECT_EQ(activation.color_scheme, 3);
  action_ColorBar_arrow_left_right(1);
  EXPECT_EQ(activation.color_scheme, 2);
}

TEST_F(ColourScheme, BackToSchemeZeroReappliesTheSignRule) {
  activation.color_scheme = 1;
  activation.thresh_lin_low = -4.0f;
  action_ColorBar_arrow_left_right(0);  // 1 -> 2: signed, keeps -4
  EXPECT_EQ(activation.thresh_lin_low, -4.0f);
  activation.color_scheme = -1;
  action_ColorBar_arrow_left_right(0);  // -1 -> 0: magnitude, clipped
  EXPECT_EQ(activation.color_scheme, 0);
  EXPECT_EQ(activation.thresh_lin_low, 0.0f);
}

TEST(ColorbarArrows, StepByRange) {
  EXPECT_FLOAT_EQ(colorbar_arrow_step(1.0f), 0.05f);
  EXPECT_FLOAT_EQ(colorbar_arrow_step(8.0f), 0.1f);  // 10^trunc(0.9 - 2)
  EXPECT_FLOAT_EQ(colorbar_arrow_step(100.0f), 10.0f);
  EXPECT_FLOAT_EQ(colorbar_arrow_step(15.0f), 1.0f);
  EXPECT_FLOAT_EQ(colorbar_arrow_step(5000.0f), 100.0f);
}

TEST_F(ColourScheme, ButtonOneSetsTheAddressedBoundFromTheRow) {
  mosaic.ImageRegionPixels = IPOINT2D{100, 200};
  mosaic.cursor.y = 50.0f;
  mosaic.cursor_selection = CURSOR_ON_COLORBAR | CURSOR_COLORBAR_UPPER;
  action_ColorBar_button1();
  EXPECT_FLOAT_EQ(activation.thresh_lin_high, 8.0f);  // 10 - 50 * 8 / 200
  mosaic.cursor.y = 150.0f;
  mosaic.cursor_selection = CURSOR_ON_COLORBAR | CURSOR_COLORBAR_LOWER;
  action_ColorBar_button1();
  EXPECT_FLOAT_EQ(activation.thresh_lin_low, 3.5f);  // 8 - 150 * 6 / 200
}

TEST_F(ColourScheme, ButtonOneOnTheGrayBarSetsTheGrayWindow) {
  activation.visible = 0;
  image_scale_min = 0.0f;
  image_scale_max = 200.0f;
  graph.type = 0;
  graph.space_model = 0;
  mosaic.ImageRegionPixels = IPOINT2D{100, 200};
  mosaic.cursor.y = 150.0f;
  mosaic.cursor_selection = CURSOR_ON_COLORBAR | CURSOR_COLORBAR_LOWER;
  action_ColorBar_button1();
  EXPECT_FLOAT_EQ(image_scale_min, 50.0f);
  EXPECT_EQ(graph.update_regions, 1);
  EXPECT_TRUE(mosaic.update_regions & REGION_IMAGES);
}

TEST_F(ColourScheme, ButtonsTwoAndThreeStepATenthOfTheRangeAtLeastOne) {
  mosaic.cursor_selection = CURSOR_ON_COLORBAR | CURSOR_COLORBAR_UPPER;
  action_ColorBar_button23();  // range 8: step 1
  EXPECT_FLOAT_EQ(activation.thresh_lin_high, 11.0f);
  mosaic.cursor_selection = CURSOR_ON_COLORBAR | CURSOR_COLORBAR_LOWER;
  activation.thresh_lin_high = 102.0f;
  action_ColorBar_button23();  // range 100: step 10 down
  EXPECT_FLOAT_EQ(activation.thresh_lin_low, 0.0f);
}

TEST_F(ColourScheme, ArrowUpDownStepsTheAddressedBound) {
  mosaic.cursor_selection = CURSOR_ON_COLORBAR | CURSOR_COLORBAR_UPPER;
  activation.thresh_lin_high = 102.0f;  // range 100: step 10
  action_ColorBar_arrow_up_down(1);
  EXPECT_FLOAT_EQ(activation.thresh_lin_high, 112.0f);
  mosaic.cursor_selection = CURSOR_ON_COLORBAR | CURSOR_COLORBAR_LOWER;
  action_ColorBar_arrow_up_down(0);
  EXPECT_FLOAT_EQ(activation.thresh_lin_low, 0.0f);  // 2 - 10 clipped in scheme 0
}

TEST_F(ColourScheme, DefaultThresholdsWithoutALinearMap) {
  data_stack stack{};
  stack.n3d = 1000;
  mosaic.stack = &stack;
  activation.stack = &activation_stack;
  activation_stack = data_stack{};
  activation_files = file_list{};
  rescale_activation();
  EXPECT_EQ(activation.thresh_log_high, 20.0f);
  EXPECT_EQ(activation.thresh_log_low, 5.0f);  // -log10(0.01 / 1000)
  EXPECT_EQ(activation.thresh_lin_low, 0.0f);
  EXPECT_EQ(activation.thresh_lin_high, 1e20f);
  GLM_input.multiple_comparisons = 1;
  rescale_activation();
  GLM_input.multiple_comparisons = 0;
  EXPECT_EQ(activation.thresh_log_low, 2.0f);
}

TEST_F(ColourScheme, LinearThresholdsSpanTheFirstLinearMapsMagnitudes) {
  data_stack stack{};
  stack.n3d = 4;
  mosaic.stack = &stack;
  activation_stack = data_stack{};
  activation_stack.n3d = 4;
  activation_stack.nt = 2;
  activation_stack.data_type = 0;
  float log_map[4] = {9, 9, 9, 9}, lin_map[4] = {-7.0f, 0.5f, 3.0f, -1.0f};
  float *volumes[2] = {log_map, lin_map};
  activation_stack.Volume = volumes;
  activation.stack = &activation_stack;
  file_list second{};
  second.nt = 1;
  second.scale_log = 0;
  activation_files = file_list{};
  activation_files.nt = 1;
  activation_files.scale_log = 1;
  activation_files.next = &second;
  rescale_activation();
  activation_files.next = nullptr;
  activation_stack.Volume = nullptr;
  EXPECT_EQ(activation.thresh_lin_low, 0.5f);
  EXPECT_EQ(activation.thresh_lin_high, 7.0f);
}

}  // namespace
