// The group fit: generalized least squares with the covariance
// diag(SE^2) + sigma2_RE * I, its checks, its special cases, and the
// diagonal road against the computation through every file-by-file matrix.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "rem_test_files.h"

namespace {

// Reads a model of n files from the event part of a control file in the
// range form ("event p\n0 3\n...").
int read_model(RemStudy &s, const std::string &events, int n, const std::vector<float> &magnitudes = {}) {
  std::string f = s.native("m", 10);
  std::string list = events + "measurements:\n";
  for (int i = 0; i < n; i++) {
    list += f;
    if (i < (int)magnitudes.size()) list += " " + std::to_string(magnitudes[i]);
    list += "\n";
  }
  return read_rem(s.text("model.rem", list)).result;
}

struct Fit {
  int result = -99;
  std::vector<float> fit, error, average;
  Captured printed;
};

Fit fit(float sigma2, std::vector<float> y, std::vector<float> se, bool all_matrices = false) {
  Fit f;
  const size_t n = y.size();
  f.fit.assign(n, -1.0f);
  f.error.assign(n, -1.0f);
  f.average.assign(n, -1.0f);
  f.printed = capture_output([&] {
    f.result = all_matrices ? REMInternal_fit_final_all_matrices(sigma2, (int)n, y.data(), se.data(), f.fit.data(),
                                                                   f.error.data(), f.average.data())
                            : REM_fit_final(sigma2, (int)n, y.data(), se.data(), f.fit.data(), f.error.data(),
                                            f.average.data());
  });
  return f;
}

class RemFit : public ::testing::Test {
 protected:
  RemStudy s;
  void SetUp() override { REM_engine_reset(); }
};

TEST_F(RemFit, NeedsAModel) {
  Fit f = fit(1.0f, {1, 2}, {0, 0});
  EXPECT_EQ(f.result, 1);
  EXPECT_EQ(f.printed.out, "Error in REM_fit_data: first initialize the REM\n");
  EXPECT_EQ(f.fit[0], -1.0f);
}

TEST_F(RemFit, AnotherNumberOfFilesEndsTheRun) {
  ASSERT_EQ(read_model(s, "event p\n0 2\n", 3), 0);
  Fit f = fit(1.0f, {1, 2}, {0, 0});
  EXPECT_EQ(f.printed.exit_status, 1);
  EXPECT_EQ(f.printed.out, "Error: the number of data time points (2) does not match the number in the REM (3).\n");
}

TEST_F(RemFit, WithoutStandardErrorsTheFitIsOrdinaryLeastSquares) {
  ASSERT_EQ(read_model(s, "event p\n0 2\n\nevent c\n3 6\n", 7), 0);
  std::vector<float> y = {1, 2, 4, 10, 11, 13, 14};
  Fit f = fit(2.0f, y, std::vector<float>(7, 0.0f));
  ASSERT_EQ(f.result, 0);
  EXPECT_NEAR(REM.Beta_c[0], 7.0 / 3.0, 1e-5);
  EXPECT_NEAR(REM.Beta_c[1], 12.0, 1e-5);
  // Variance of a group mean: sigma2 / n.
  EXPECT_NEAR(REM.Variance_cc[0][0], 2.0 / 3.0, 1e-6);
  EXPECT_NEAR(REM.Variance_cc[1][1], 0.5, 1e-6);
  EXPECT_NEAR(f.fit[1], 7.0 / 3.0, 1e-5);
  EXPECT_NEAR(f.error[4], sqrt(0.5), 1e-6);
  EXPECT_NEAR(f.average[6], 12.0, 1e-5);
}

TEST_F(RemFit, StandardErrorsWeightTheFiles) {
  ASSERT_EQ(read_model(s, "event p\n0 3\n", 4), 0);
  std::vector<float> y = {1, 3, 6, 10}, se = {1, 2, 0.5f, 3};
  const double s2 = 0.75;
  Fit f = fit((float)s2, y, se);
  ASSERT_EQ(f.result, 0);
  double sw = 0, swy = 0;
  for (int t = 0; t < 4; t++) {
    double w = 1.0 / (s2 + (double)se[t] * se[t]);
    sw += w;
    swy += w * y[t];
  }
  EXPECT_NEAR(REM.Beta_c[0], swy / sw, 1e-5);
  EXPECT_NEAR(REM.Variance_cc[0][0], 1.0 / sw, 1e-6);
  EXPECT_NEAR(REM.SIGm1_tt[2][2], 1.0 / (s2 + 0.25), 1e-6);
  EXPECT_EQ(REM.SIGm1_tt[2][1], 0.0f);
  EXPECT_EQ(REM.SigFE_tt[3][3], 3.0f);
  EXPECT_EQ(REM.SigFE2_tt[3][3], 9.0f);
}

TEST_F(RemFit, NoRandomVarianceIsAFixedEffectsFit) {
  ASSERT_EQ(read_model(s, "event p\n0 2\n", 3), 0);
  std::vector<float> y = {2, 4, 9}, se = {1, 1, 2};
  Fit f = fit(0.0f, y, se);
  ASSERT_EQ(f.result, 0);
  const double sw = 1 + 1 + 0.25;
  EXPECT_NEAR(REM.Beta_c[0], (2 + 4 + 9 * 0.25) / sw, 1e-5);
}

TEST_F(RemFit, RampAverageFitTakesTheFullHeight) {
  ASSERT_EQ(read_model(s, "event p\n0 3\n\nevent P ramp\n0 3\n", 4), 0);
  Fit f = fit(1.0f, {1, 2, 3, 4}, {0, 0, 0, 0});
  ASSERT_EQ(f.result, 0);
  const float bp = REM.Beta_c[0], bP = REM.Beta_c[1];
  EXPECT_NEAR(bp, 1.0, 1e-5);
  EXPECT_NEAR(bP, 3.0, 1e-5);
  EXPECT_EQ(f.average[0], bp);          // the ramp is 0 at its first file
  EXPECT_EQ(f.average[2], bp + bP);     // and counts whole from then on
  EXPECT_NEAR(f.fit[2], 3.0, 1e-5);
}

TEST_F(RemFit, MagnitudesScaleTheFitButNotItsAverage) {
  ASSERT_EQ(read_model(s, "event p\n0 3\n", 4, {1, 2, 2, 1}), 0);
  Fit f = fit(1.0f, {1, 2, 2, 1}, {0, 0, 0, 0});
  ASSERT_EQ(f.result, 0);
  EXPECT_NEAR(REM.Beta_c[0], 2.0, 1e-5);
  EXPECT_NEAR(f.fit[0], 1.0, 1e-5);
  EXPECT_EQ(f.average[0], REM.Beta_c[0]);
  EXPECT_NEAR(f.error[0], 0.5 * sqrt(REM.Variance_cc[0][0]), 1e-6);
}

bool same_bits(const float *a, const float *b, int n) { return memcmp(a, b, sizeof(float) * (size_t)n) == 0; }

struct Snapshot {
  std::vector<float> beta, variance, normal, product, weighted, fits, sigm1;
};

Snapshot snapshot(const Fit &f) {
  Snapshot s;
  const int n = REM.ntime, c = REM.ncoeff;
  s.beta.assign(REM.Beta_c, REM.Beta_c + c);
  for (int i = 0; i < c; i++) {
    s.variance.insert(s.variance.end(), REM.Variance_cc[i], REM.Variance_cc[i] + c);
    s.normal.insert(s.normal.end(), REM.XTXw_cc[i], REM.XTXw_cc[i] + c);
    s.product.insert(s.product.end(), REM.Product_ct[i], REM.Product_ct[i] + n);
    s.weighted.insert(s.weighted.end(), REM.XTSIGm1_ct[i], REM.XTSIGm1_ct[i] + n);
  }
  for (int t = 0; t < n; t++) {
    s.weighted.insert(s.weighted.end(), REM.Xw_tc[t], REM.Xw_tc[t] + c);
    s.sigm1.push_back(REM.SIGm1_tt[t][t]);
  }
  s.fits = f.fit;
  s.fits.insert(s.fits.end(), f.error.begin(), f.error.end());
  s.fits.insert(s.fits.end(), f.average.begin(), f.average.end());
  return s;
}

void expect_same(const Snapshot &a, const Snapshot &b, const std::string &what) {
  EXPECT_TRUE(same_bits(a.beta.data(), b.beta.data(), (int)a.beta.size())) << what;
  EXPECT_TRUE(same_bits(a.variance.data(), b.variance.data(), (int)a.variance.size())) << what;
  EXPECT_TRUE(same_bits(a.normal.data(), b.normal.data(), (int)a.normal.size())) << what;
  EXPECT_TRUE(same_bits(a.product.data(), b.product.data(), (int)a.product.size())) << what;
  EXPECT_TRUE(same_bits(a.weighted.data(), b.weighted.data(), (int)a.weighted.size())) << what;
  EXPECT_TRUE(same_bits(a.fits.data(), b.fits.data(), (int)a.fits.size())) << what;
  EXPECT_TRUE(same_bits(a.sigm1.data(), b.sigm1.data(), (int)a.sigm1.size())) << what;
}

// The diagonal road and the full computation, on the same voxel.
void compare_roads(float sigma2, const std::vector<float> &y, const std::vector<float> &se, const std::string &what) {
  Fit full = fit(sigma2, y, se, true);
  ASSERT_EQ(full.result, 0) << what;
  Snapshot a = snapshot(full);
  Fit quick = fit(sigma2, y, se);
  ASSERT_EQ(quick.result, 0) << what;
  expect_same(snapshot(quick), a, what);
  // And once more after a fit of other values, so nothing is carried over.
  fit(sigma2 + 1.0f, std::vector<float>(y.size(), 3.0f), std::vector<float>(se.size(), 0.5f), true);
  Fit again = fit(sigma2, y, se);
  expect_same(snapshot(again), a, what + " after another fit");
}

TEST_F(RemFit, DiagonalRoadGivesTheSameBitsAsEveryMatrix) {
  std::mt19937 rng(13);
  std::uniform_real_distribution<float> u(0.0f, 1.0f);
  const char *designs[] = {
      "event p\n0 9\n\nevent c\n10 19\n",
      "event p square\n0 12\n\nevent P ramp\n0 12\n\nevent c\n8 19\n3 5\n",
      "event p\n0 19\n\nevent q ramp\n2 7\n5 11\n\nevent r\n15 15\n\nevent s\n0 0\n19 19\n",
  };
  for (const char *design : designs) {
    std::vector<float> magnitudes(20);
    for (float &m : magnitudes) m = 0.5f + 2.0f * u(rng);
    ASSERT_EQ(read_model(s, design, 20, magnitudes), 0) << design;
    for (int trial = 0; trial < 6; trial++) {
      std::vector<float> y(20), se(20);
      for (int t = 0; t < 20; t++) {
        y[t] = 10.0f * u(rng) - 3.0f;
        se[t] = trial == 1 ? 0.0f : 2.0f * u(rng);
      }
      float sigma2 = trial == 2 ? 0.0f : (trial == 3 ? -0.001f : 3.0f * u(rng));
      if (trial == 4) se[3] = 3e20f;  // a variance that overflows: weight 0
      if (trial == 5) {
        se[4] = 1e-23f;               // a variance so small its weight overflows
        sigma2 = 0.0f;
      }
      compare_roads(sigma2, y, se, std::string(design) + " trial " + std::to_string(trial));
    }
  }
}

TEST_F(RemFit, DiagonalRoadMatchesAtTwoHundredFiles) {
  std::vector<float> magnitudes(200);
  std::mt19937 rng(200);
  std::uniform_real_distribution<float> u(0.0f, 1.0f);
  for (float &m : magnitudes) m = 0.8f + 0.4f * u(rng);
  ASSERT_EQ(read_model(s, "event a\n0 99\n\nevent b\n100 199\n\nevent c ramp\n0 99\n\nevent d ramp\n100 199\n",
                       200, magnitudes),
            0);
  for (int voxel = 0; voxel < 3; voxel++) {
    std::vector<float> y(200), se(200);
    for (int t = 0; t < 200; t++) {
      y[t] = 4.0f * u(rng) - 2.0f;
      se[t] = 0.2f + u(rng);
    }
    compare_roads(0.05f + 2.0f * u(rng), y, se, "voxel " + std::to_string(voxel));
  }
}

TEST_F(RemFit, DiagonalRoadLeavesTheFileByFileProductsAlone) {
  ASSERT_EQ(read_model(s, "event p\n0 2\n", 3), 0);
  fit(1.0f, {1, 2, 3}, {1, 1, 1}, true);
  const float residue = REM.Residue_tt[0][1];
  REM.XProduct_tt[0][0] = 12345.0f;
  Fit f = fit(1.0f, {1, 2, 4}, {1, 2, 1});
  ASSERT_EQ(f.result, 0);
  EXPECT_EQ(REM.XProduct_tt[0][0], 12345.0f);
  EXPECT_EQ(REM.Residue_tt[0][1], residue);
  fit(1.0f, {1, 2, 4}, {1, 2, 1}, true);
  EXPECT_NE(REM.XProduct_tt[0][0], 12345.0f);
}

TEST_F(RemFit, UndefinedInputsTakeTheFullComputation) {
  ASSERT_EQ(read_model(s, "event p\n0 4\n\nevent c\n3 5\n", 6), 0);
  std::vector<float> y = {1, 2, 3, 4, 5, 6};
  // A singular covariance, an undefined error and an infinite one.
  for (auto se : std::vector<std::vector<float>>{{1, 1, 0, 1, 1, 1}, {1, NAN, 1, 1, 1, 1}, {1, 1, 1, INFINITY, 1, 1}}) {
    Fit full = fit(0.0f, y, se, true);
    Snapshot a = snapshot(full);
    Fit quick = fit(0.0f, y, se);
    EXPECT_EQ(quick.result, 0);
    expect_same(snapshot(quick), a, "undefined input");
  }
}

TEST_F(RemFit, UndefinedMagnitudeGivesUndefinedValuesWithoutFailing) {
  RemRead r = read_rem(s.text("a.rem", "event p\n0 2\nmeasurements:\n" + s.native("a", 5) + " 1\n" +
                                           s.native("b", 5) + " nan\n" + s.native("c", 5) + " 2\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM.X_tc[0][0], 0.5f);  // the undefined magnitude is never the largest
  EXPECT_TRUE(std::isnan(REM.X_tc[1][0]));
  Fit f = fit(1.0f, {1, 2, 3}, {1, 1, 1});
  EXPECT_EQ(f.result, 0);
  EXPECT_TRUE(std::isnan(REM.Beta_c[0]));
}

TEST_F(RemFit, SingularCovarianceLeavesWhatTheInversionReached) {
  ASSERT_EQ(read_model(s, "event p\n0 2\n", 3), 0);
  Fit f = fit(0.0f, {1, 2, 3}, {1, 0, 1});
  ASSERT_EQ(f.result, 0);
  // The factorisation stops at the second column: the first pivot has been
  // inverted in place, the rest is the covariance as it was.
  EXPECT_EQ(REM.SIGm1_tt[0][0], 1.0f);
  EXPECT_EQ(REM.SIGm1_tt[1][1], 0.0f);
  EXPECT_EQ(REM.SIGm1_tt[2][2], 1.0f);
}

TEST_F(RemFit, EventWithoutFilesLeavesAZeroColumn) {
  // A plain list that leaves the second group empty.
  RemRead r = read_rem(s.text("plain.rem", "event p\n" + s.native("a", 5) + "\n" + s.native("b", 5) +
                                               "\nevent q\nevent c\n" + s.native("c", 5) + "\n"));
  ASSERT_EQ(r.result, 0);
  Fit f = fit(1.0f, {1, 2, 3}, {0, 0, 0});
  ASSERT_EQ(f.result, 0);
  for (int c = 0; c < 3; c++) EXPECT_EQ(REM.XTXw_cc[1][c], 0.0f);
  Fit full = fit(1.0f, {1, 2, 3}, {0, 0, 0}, true);
  expect_same(snapshot(f), snapshot(full), "empty event");
}

}  // namespace
