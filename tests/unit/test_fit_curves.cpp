#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "fit_engine_setup.h"

namespace {

class CurveFits : public ::testing::Test {
 protected:
  void TearDown() override { fresh_fit_engine(); }
};

// T2.

TEST_F(CurveFits, T2OfAnExactDecay) {
  const std::vector<float> te = {10, 20, 40, 60, 90};
  set_fit_engine("T2", 5, {te});
  std::vector<float> y(5), fit(5);
  for (int j = 0; j < 5; j++) y[j] = (float)(1500.0 * std::exp(-te[j] / 45.0));
  for (int i = 0; i < FIT_MAX_PARAMETERS; i++) FIT.param_output[i] = 3.0f;
  float chi2;
  ASSERT_EQ(FIT_data(5, y.data(), fit.data(), &chi2), 0);
  EXPECT_NEAR(FIT.param_value[0], 45.0, 45.0 * 1e-4);
  EXPECT_NEAR(FIT.param_value[1], 1000.0 / 45.0, 1e-2);
  EXPECT_NEAR(FIT.param_value[2], 1500.0, 1500.0 * 1e-4);
  EXPECT_EQ(FIT.param_output[0], 3.0f);  // T2 leaves the outputs alone
  for (int j = 0; j < 5; j++) {
    EXPECT_NEAR(fit[j], y[j], 1e-3 * y[0]);
    EXPECT_NEAR(FIT_get_fit_value(te[j], 0.0f), y[j], 1e-3 * y[0]);
  }
  EXPECT_LT(chi2, 1e-2);
}

TEST_F(CurveFits, T2OfAConstantCurveIsInfinite) {
  set_fit_engine("T2", 4, {{10, 20, 30, 40}});
  std::vector<float> y(4, 700.0f), fit(4);
  ASSERT_EQ(FIT_T2_value(4, y.data(), fit.data()), 0);
  EXPECT_TRUE(std::isinf(FIT.param_value[0]));
  EXPECT_EQ(FIT.param_value[1], 0.0f);
  EXPECT_NEAR(FIT.param_value[2], 700.0f, 1e-3);
}

TEST_F(CurveFits, T2WithANonPositiveSampleClearsItsParameters) {
  set_fit_engine("T2", 4, {{10, 20, 30, 40}});
  std::vector<float> y = {100, 80, 0, 50}, fit(4, 5.0f);
  for (int i = 0; i < 4; i++) FIT.param_value[i] = 9.0f;
  ASSERT_EQ(FIT_T2_value(4, y.data(), fit.data()), 0);
  EXPECT_EQ(FIT.param_value[0], 0.0f);
  EXPECT_EQ(FIT.param_value[2], 0.0f);
  EXPECT_EQ(FIT.param_value[3], 9.0f);
  EXPECT_EQ(fit[0], 5.0f);
}

TEST_F(CurveFits, FitLine) {
  float x[4] = {1, 2, 3, 5}, y[4] = {2.0f, 2.9f, 4.2f, 5.8f};
  float slope, offset, sigma;
  fit_line(4, x, y, &slope, &offset, &sigma);
  double mx = 2.75, my = (2.0 + 2.9 + 4.2 + 5.8) / 4, sxy = 0, sxx = 0;
  for (int j = 0; j < 4; j++) sxy += (y[j] - my) * (x[j] - mx), sxx += (x[j] - mx) * (x[j] - mx);
  const double b = sxy / sxx;
  double sum = 0;
  for (int j = 0; j < 4; j++) sum += (y[j] - my) * (y[j] - my) - (y[j] - my) * b * (x[j] - mx);
  EXPECT_NEAR(slope, b, 1e-6);
  EXPECT_NEAR(offset, my - b * mx, 1e-5);
  EXPECT_NEAR(sigma, std::sqrt(sum) / 2.0, 1e-5);  // the root before the division
  fit_line(2, x, y, &slope, &offset, &sigma);
  EXPECT_EQ(sigma, 0.0f);
  EXPECT_NEAR(slope, 0.9f, 1e-6);
  Captured c = capture_output([&] { fit_line(1, x, y, &slope, &offset, &sigma); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error: npoints (1) < 2 in fit_line.\n");
}

// T1 by inversion recovery.

std::vector<float> ir_curve(const std::vector<float> &ti, double A, double B, double T1) {
  std::vector<float> y;
  for (float t : ti) y.push_back((float)std::fabs(A + B * std::exp(-t / T1)));
  return y;
}

TEST_F(CurveFits, T1OfAnExactInversionRecovery) {
  const std::vector<float> ti = {50, 150, 300, 500, 800, 1200, 2000, 3500};
  set_fit_engine("T1-IR", 8, {ti});
  std::vector<float> y = ir_curve(ti, 1000.0, -2000.0, 850.0), fit(8);
  float chi2;
  ASSERT_EQ(FIT_data(8, y.data(), fit.data(), &chi2), 0);
  EXPECT_NEAR(FIT.param_value[0], 850.0, 0.5);
  EXPECT_NEAR(FIT.param_value[1], 1000.0 / 850.0, 1e-3);
  EXPECT_NEAR(FIT.param_value[2], 1000.0, 1.0);
  EXPECT_NEAR(FIT.param_value[3], 1.0, 2e-3);
  for (int j = 0; j < 8; j++) {
    EXPECT_EQ(fit[j], std::trunc(fit[j])) << "integral fit " << j;
    EXPECT_NEAR(fit[j], y[j], 2.0) << j;
    EXPECT_EQ(FIT_get_fit_value(ti[j], 0.0f), std::trunc(FIT_get_fit_value(ti[j], 0.0f)));
    EXPECT_NEAR(FIT_get_fit_value(ti[j], 0.0f), y[j], 2.0) << j;
  }
}

TEST_F(CurveFits, T1OfAnIncompleteInversion) {
  const std::vector<float> ti = {30, 100, 250, 400, 700, 1000, 1500, 2500, 4000};
  set_fit_engine("T1-IR", 9, {ti});
  std::vector<float> y = ir_curve(ti, 800.0, -1400.0, 1300.0), fit(9);
  ASSERT_EQ(FIT_T1_from_IR_magnitude(9, y.data(), fit.data()), 0);
  EXPECT_NEAR(FIT.param_value[0], 1300.0, 0.5);
  EXPECT_NEAR(FIT.param_value[3], 1400.0 / 800.0 - 1.0, 2e-3);
}

TEST_F(CurveFits, T1WithItsMinimumLastSearchesWithAllPointsNegative) {
  const std::vector<float> ti = {100, 200, 300, 400};
  set_fit_engine("T1-IR", 4, {ti});
  std::vector<float> y = {900, 700, 500, 300}, fit(4);
  ASSERT_EQ(FIT_T1_from_IR_magnitude(4, y.data(), fit.data()), 0);
  for (int i = 0; i < 4; i++) EXPECT_FALSE(std::isnan(FIT.param_value[i])) << i;
  float T1, A, B, best;
  // iTau = 4: every point taken as negative.
  grid_search_t1(4, 4, y.data(), &T1, &A, &B, &best);
  EXPECT_GT(T1, 0.0f);
  EXPECT_GT(best, 0.0f);
}

TEST_F(CurveFits, T1ThatNeverBeatsZeroStaysZero) {
  set_fit_engine("T1-IR", 1, {{300}});
  std::vector<float> y = {500}, fit(1);
  ASSERT_EQ(FIT_T1_from_IR_magnitude(1, y.data(), fit.data()), 0);
  EXPECT_EQ(FIT.param_value[0], 0.0f);
  EXPECT_TRUE(std::isinf(FIT.param_value[1]));
}

TEST_F(CurveFits, BarralTerms) {
  const std::vector<float> ti = {100, 400, 900};
  set_fit_engine("T1-IR", 3, {ti});
  float S[3] = {300, 100, 500};
  const double T1 = 600;
  double e[3], ss = 0, se = 0, sumE = 0, sumE2 = 0;
  for (int j = 0; j < 3; j++) {
    e[j] = std::exp(-ti[j] / T1);
    const double s = j < 2 ? -1.0 : 1.0;
    ss += s * S[j], se += s * S[j] * e[j], sumE += e[j], sumE2 += e[j] * e[j];
  }
  EXPECT_NEAR(Barral_gamma(3, 2, S, T1), se - ss * sumE / 3, 1e-3);
  EXPECT_NEAR(Barral_psi(3, S, T1), sumE2 - sumE * sumE / 3, 1e-6);
  EXPECT_NEAR(Barral_A(3, 2, S, T1, 2.5f), (ss - 2.5 * sumE) / 3, 1e-3);
}

TEST_F(CurveFits, T1WithANonPositiveSampleClearsFourParameters) {
  set_fit_engine("T1-IR", 3, {{100, 200, 300}});
  std::vector<float> y = {100, -1, 50}, fit(3);
  for (int i = 0; i < 5; i++) FIT.param_value[i] = 9.0f;
  ASSERT_EQ(FIT_T1_from_IR_magnitude(3, y.data(), fit.data()), 0);
  for (int i = 0; i < 4; i++) EXPECT_EQ(FIT.param_value[i], 0.0f);
  EXPECT_EQ(FIT.param_value[4], 9.0f);
}

// Survival curves.

std::vector<float> survival_curve(int n, double amp, double R0, double tau, double power = 0.0) {
  std::vector<float> y(n);
  for (int j = 0; j < n; j++) {
    const double x = (float)(2 * j) / (float)n - 1.0f;
    const double e = std::exp((x - R0) / tau);
    y[j] = (float)(power == 0.0 ? amp / (e + 1.0) : amp / std::pow(e * (std::pow(2.0, power) - 1.0) + 1.0, 1.0 / power));
  }
  return y;
}

TEST_F(CurveFits, SurvivalTwoGivesItsResultsAsOutputsOnly) {
  set_fit_engine("survival-2", 40);
  std::vector<float> y = survival_curve(40, 250.0, 0.1, 0.15), fit(40);
  for (int i = 0; i < 5; i++) FIT.param_value[i] = 0.0f;
  float chi2;
  ASSERT_EQ(FIT_data(40, y.data(), fit.data(), &chi2), 0);
  // The curve is scaled by its first sample, a little below the plateau:
  // the model then sits a little off the generating one.
  EXPECT_NEAR(FIT.param_output[0], 0.1, 1e-3);
  EXPECT_NEAR(FIT.param_output[1], 0.15, 1e-3);
  EXPECT_NEAR(FIT.param_output[2], 0.1 / 0.15, 1e-2);
  EXPECT_EQ(FIT.param_value[0], 0.0f);
  EXPECT_EQ(FIT.param_value[1], 0.0f);
  for (int j = 0; j < 40; j++) EXPECT_NEAR(fit[j], y[j], 0.2);
  // Drawn from the zeros of param_value: p1 = 0 sends the exponential to its limits.
  EXPECT_EQ(FIT_get_fit_value(0.5f, 250.0f), 0.0f);
  EXPECT_EQ(FIT_get_fit_value(-0.5f, 250.0f), 250.0f);
}

TEST_F(CurveFits, SurvivalThreeAndFive) {
  set_fit_engine("survival-3", 50);
  std::vector<float> y = survival_curve(50, 80.0, -0.2, 0.1, 2.0), fit(50);
  ASSERT_EQ(FIT_survival3(50, y.data(), fit.data()), 0);
  EXPECT_NEAR(FIT.param_value[0], -0.2, 2e-3);
  EXPECT_NEAR(FIT.param_value[1], 0.1, 2e-3);
  EXPECT_NEAR(FIT.param_value[2], 2.0, 3e-2);
  for (int j = 0; j < 50; j += 7) EXPECT_NEAR(FIT_get_fit_value(FIT_get_x_vector(j), 80.0f), fit[j], 0.1);

  set_fit_engine("survival-5", 60);
  std::vector<float> y5(60), fit5(60);
  for (int j = 0; j < 60; j++) {
    const double x = (float)(2 * j) / 60.0f - 1.0f;
    y5[j] = (float)(100.0 * (0.7 / (std::exp((x + 0.3) / 0.08) + 1.0) + 0.3 / (std::exp((x - 0.4) / 0.1) + 1.0)));
  }
  ASSERT_EQ(FIT_survival5(60, y5.data(), fit5.data()), 0);
  // From its crude start the five-parameter fit need not find the
  // generating curve; it must give a finite curve that the drawing repeats.
  for (int i = 0; i < 5; i++) EXPECT_TRUE(std::isfinite(FIT.param_value[i])) << i;
  for (int j = 0; j < 60; j += 9) EXPECT_NEAR(FIT_get_fit_value(FIT_get_x_vector(j), y5[0]), fit5[j], 0.05);
}

TEST_F(CurveFits, AllZeroSurvivalCurveFails) {
  set_fit_engine("survival-3", 10);
  std::vector<float> y(10, 0.0f), fit(10, 4.0f);
  for (int i = 0; i < 3; i++) FIT.param_value[i] = FIT.param_output[i] = 9.0f;
  float chi2 = 7.0f;
  EXPECT_EQ(FIT_data(10, y.data(), fit.data(), &chi2), 1);
  EXPECT_EQ(chi2, 0.0f);
  for (int i = 0; i < 3; i++) {
    EXPECT_EQ(FIT.param_value[i], 0.0f);
    EXPECT_EQ(FIT.param_output[i], 0.0f);
  }
}

TEST_F(CurveFits, SurvivalHalfPointFirstIsNotFitted) {
  for (const char *model : {"survival-2", "survival-3"}) {
    set_fit_engine(model, 6);
    // Every sample is as far from half the first as the first itself.
    std::vector<float> y = {10, 0, 0, 0, 0, 0}, fit(6, 4.0f);
    for (int i = 0; i < 3; i++) FIT.param_value[i] = FIT.param_output[i] = 9.0f;
    float chi2;
    EXPECT_EQ(FIT_data(6, y.data(), fit.data(), &chi2), 0) << model;
    for (int i = 0; i < 3; i++) {
      EXPECT_EQ(FIT.param_output[i], 0.0f) << model;
      // Survival-2 clears only its outputs.
      EXPECT_EQ(FIT.param_value[i], FIT.type == FIT_SURVIVAL2 ? 9.0f : 0.0f) << model;
    }
    EXPECT_EQ(fit[2], 4.0f);
  }
}

TEST_F(CurveFits, SurvivalHalfPointLastIsAFailedFit) {
  // The slope there would need a sample past the end of the curve.
  for (const char *model : {"survival-2", "survival-3", "survival-5"}) {
    set_fit_engine(model, 6);
    std::vector<float> y = {10, 9.5f, 9, 8.5f, 8, 5}, fit(6, 4.0f);
    for (int i = 0; i < 5; i++) FIT.param_value[i] = FIT.param_output[i] = 9.0f;
    float chi2 = 3.0f;
    EXPECT_EQ(FIT_data(6, y.data(), fit.data(), &chi2), 1) << model;
    EXPECT_EQ(chi2, 0.0f);
    for (int i = 0; i < FIT.nparam_output; i++) EXPECT_EQ(FIT.param_output[i], 0.0f) << model;
    for (int i = 0; i < FIT.nparam_fit; i++) EXPECT_EQ(FIT.param_value[i], 0.0f) << model;
    EXPECT_EQ(fit[5], 4.0f);
  }
}

TEST_F(CurveFits, SurvivalWithNoPointNearHalfStillFits) {
  set_fit_engine("survival-2", 6);
  std::vector<float> y = {1, 1, 0.9f, 0.1f, 0, 0}, fit(6);
  float chi2;
  EXPECT_EQ(FIT_data(6, y.data(), fit.data(), &chi2), 0);
  EXPECT_TRUE(std::isfinite(FIT.param_output[0]));
  EXPECT_GT(FIT.param_output[0], -0.5f);
  EXPECT_LT(FIT.param_output[0], 0.5f);
}

TEST_F(CurveFits, NegativeSurvivalCurveScalesByItsSignedAmplitude) {
  set_fit_engine("survival-2", 40);
  std::vector<float> y = survival_curve(40, -90.0, 0.3, 0.2), fit(40);
  ASSERT_EQ(FIT_survival2(40, y.data(), fit.data()), 0);
  EXPECT_NEAR(FIT.param_output[0], 0.3, 2e-3);
  for (int j = 0; j < 40; j++) EXPECT_NEAR(fit[j], y[j], 0.2);
}

TEST_F(CurveFits, SurvivalCurveWithANaNSampleEndsWithoutHanging) {
  set_fit_engine("survival-3", 40);
  std::vector<float> y = survival_curve(40, 100.0, 0.0, 0.2), fit(40);
  y[30] = std::numeric_limits<float>::quiet_NaN();
  float chi2;
  // The residuals are NaN from the start: the minimiser stops at its call
  // limit and the fit gives what it has, without a crash or an endless loop.
  EXPECT_EQ(FIT_data(40, y.data(), fit.data(), &chi2), 0);
  EXPECT_TRUE(std::isnan(chi2));
}

// FDG.

TEST_F(CurveFits, FdgPolynomialOfAnExactCurve) {
  set_fit_engine("FDG-polynomial", 30);
  double p[5] = {200.0, 0.25, 3.0, -0.05, 0.002};
  std::vector<float> y(30), fit(30);
  for (int j = 0; j < 30; j++) y[j] = (float)FIT_func_FDG_polynomial(j, p);
  float chi2;
  ASSERT_EQ(FIT_data(30, y.data(), fit.data(), &chi2), 0);
  for (int i = 0; i < 5; i++) {
    EXPECT_NEAR(FIT.param_value[i], p[i], 1e-3 * std::fabs(p[i]) + 1e-5) << i;
    EXPECT_EQ(FIT.param_output[i], FIT.param_value[i]);
  }
  for (int j = 0; j < 30; j++) EXPECT_NEAR(FIT_get_fit_value((float)j, 0.0f), y[j], 1e-2);
}

TEST_F(CurveFits, FdgExponentialOfAnExactCurve) {
  set_fit_engine("FDG-exponential", 40);
  double p[3] = {1.5, 60.0, 0.12};
  std::vector<float> y(40), fit(40);
  // Shifted by one frame so that the first sample is positive: the model
  // cannot follow it exactly, but must come far closer than its start.
  for (int j = 0; j < 40; j++) y[j] = (float)FIT_func_FDG_exponential(j + 1, p);
  double start[3] = {(y[39] - y[0]) / 39.0, 0.0, 0.05}, start_chi2 = 0.0;
  for (int j = 0; j < 40; j++) start_chi2 += std::pow(y[j] - FIT_func_FDG_exponential(j, start), 2) / 40.0;
  float chi2;
  ASSERT_EQ(FIT_data(40, y.data(), fit.data(), &chi2), 0);
  EXPECT_LT(chi2, start_chi2 / 50.0);
  EXPECT_EQ(FIT.param_output[0], FIT.param_value[0]);
  EXPECT_FLOAT_EQ(FIT.param_output[2], 1.0f / FIT.param_value[2]);
  for (int j = 0; j < 40; j++) EXPECT_NEAR(FIT_get_fit_value((float)j, 0.0f), fit[j], 1e-3);
}

TEST_F(CurveFits, FdgWithANonPositiveSampleKeepsAStaleFit) {
  for (const char *model : {"FDG-polynomial", "FDG-exponential"}) {
    set_fit_engine(model, 5);
    std::vector<float> y = {5, 6, 0, 8, 9}, fit = {1, 1, 1, 1, 1};
    for (int i = 0; i < FIT_MAX_PARAMETERS; i++) FIT.param_value[i] = FIT.param_output[i] = 9.0f;
    float chi2;
    ASSERT_EQ(FIT_data(5, y.data(), fit.data(), &chi2), 0);
    for (int i = 0; i < FIT_MAX_PARAMETERS; i++) {
      EXPECT_EQ(FIT.param_value[i], 0.0f);
      EXPECT_EQ(FIT.param_output[i], 0.0f);
    }
    // chi2 against the stale vector: (16 + 25 + 1 + 49 + 64) / 5.
    EXPECT_FLOAT_EQ(chi2, 155.0f / 5.0f);
  }
}

TEST_F(CurveFits, FdgDesignOfAnotherLengthIsAProgrammingError) {
  set_fit_engine("FDG-polynomial", 5);
  std::vector<float> w(6, 1.0f);
  Captured c = capture_output([&] { FIT_define_FDG_basis_functions(6, 0.3f, w.data()); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error 1 in FIT_define_DTI_basis_functions(\n");
}

// Dispatch.

TEST_F(CurveFits, UnknownTypeInDispatchAndDrawing) {
  fresh_fit_engine();
  FIT.type = 12;
  float y[3] = {1, 2, 3}, fit[3], chi2 = 5.0f;
  Captured c = capture_output([&] { EXPECT_EQ(FIT_data(3, y, fit, &chi2), 1); });
  EXPECT_EQ(c.out, "Error: the fit type (12) does not exist in FIT_data()\n");
  c = capture_output([&] { EXPECT_EQ(FIT_get_fit_value(1.0f, 1.0f), 1.0f); });
  EXPECT_EQ(c.out, "Error: the fit type (12) does not exist in FIT_get_fit_value()\n");
  FIT.type = -1;
  c = capture_output([&] { FIT_get_fit_value(1.0f, 1.0f); });
  EXPECT_EQ(c.out, "Error: the fit type (-1) does not exist in FIT_get_fit_value()\n");
}

TEST_F(CurveFits, ChiSquareIsOverThePointsNotTheDegreesOfFreedom) {
  set_fit_engine("T2", 4, {{10, 20, 30, 40}});
  std::vector<float> y = {1000, 600, 420, 250}, fit(4);
  float chi2;
  ASSERT_EQ(FIT_data(4, y.data(), fit.data(), &chi2), 0);
  float sum = 0.0f;
  for (int j = 0; j < 4; j++) sum += (y[j] - fit[j]) * (y[j] - fit[j]);
  EXPECT_EQ(chi2, sum / 4.0f);
}

TEST_F(CurveFits, DrawnCurvesOfEachModel) {
  set_fit_engine("T2", 2, {{1, 2}});
  FIT.param_value[0] = 50.0f, FIT.param_value[2] = 1000.0f;
  EXPECT_NEAR(FIT_get_fit_value(25.0f, 0.0f), 1000.0 * std::exp(-0.5), 1e-3);
  set_fit_engine("T1-IR", 2, {{1, 2}});
  FIT.param_value[0] = 800.0f, FIT.param_value[2] = 1000.0f, FIT.param_value[3] = 1.0f;
  EXPECT_EQ(FIT_get_fit_value(0.0f, 0.0f), 1000.0f);  // |1000 - 2000|
  EXPECT_EQ(FIT_get_fit_value(800.0f, 0.0f), std::fabs(std::trunc(1000.0f - 2000.0f * std::exp(-1.0f))));
  set_fit_engine("FDG-exponential", 2);
  FIT.param_value[0] = 2.0f, FIT.param_value[1] = 10.0f, FIT.param_value[2] = 0.5f;
  EXPECT_NEAR(FIT_get_fit_value(2.0f, 0.0f), 4.0 + 10.0 * (1.0 - std::exp(-1.0)), 1e-5);
  set_fit_engine("survival-5", 4);
  const float p[5] = {0.1f, 0.2f, 0.5f, 0.1f, 0.25f};
  for (int i = 0; i < 5; i++) FIT.param_value[i] = p[i];
  const double want = 40.0 * 0.75 / (std::exp((0.3 - 0.1) / 0.2) + 1.0) + 40.0 * 0.25 / (std::exp((0.3 - 0.5) / 0.1) + 1.0);
  EXPECT_NEAR(FIT_get_fit_value(0.3f, 40.0f), want, 1e-4);
}

}  // namespace
