#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "srtm_test_files.h"

namespace {

using namespace srtm;

PetRunPlan run_of(const std::string &events, int nt, double seconds = 60.0) {
  PetRunPlan plan;
  plan.events = events;
  for (int t = 0; t < nt; t++) {
    plan.durations.push_back(seconds);
    plan.reference.push_back(100.0f * (t + 1) * std::exp(-0.1f * t));
    plan.target.push_back(80.0f * (t + 1) * std::exp(-0.07f * t));
  }
  return plan;
}

struct Built {
  PetModel m;
  int result = -99;
  std::string out;
  Built(const std::string &keywords, const std::vector<PetRunPlan> &runs) : m(keywords, runs) {
    if (m.read.result != 0) return;
    Captured c = capture_output([&] { result = SRTM_define_static_basis_functions(); });
    out = c.out;
  }
};

// The running integral of f over run r up to frame j, as the design defines it.
double integral(int r, int j, const std::vector<double> &f, double (*g)(double) = nullptr) {
  double s = 0.0;
  for (int u = 0; u <= j; u++) {
    double gu = g ? g(SRTM_time_total_minutes(SRTM.run_istart[r] + u)) : 1.0;
    s += SRTM.table_value[r][0][u] * gu * f[u];
  }
  return s;
}

std::vector<double> curve(const double *v, int n) { return std::vector<double>(v, v + n); }

TEST(PetDesign, ReferenceFamilyColumns) {
  Built b("", {run_of("0\n1 R1\n\n2 k2\n\n3 k2a\n\n4 constant\n\n5 linear\n\n", 8)});
  ASSERT_EQ(b.result, 0) << b.m.read.printed.out << b.out;
  EXPECT_EQ(SRTM.initialized, 2);
  auto ref = curve(SRTM.reference_region[0], 8), dref = curve(SRTM.ref_region_deriv[0], 8);
  for (int j = 0; j < 8; j++) {
    EXPECT_NEAR(SRTM.Xorig_tc[j][0], integral(0, j, dref), 1e-9);
    EXPECT_NEAR(SRTM.Xorig_tc[j][0], SRTM.reference_region[0][j], 1e-4 * SRTM.reference_region[0][j]);
    EXPECT_EQ(SRTM.Xmix_tc[j][0], SRTM.Xorig_tc[j][0]);  // k2' is free: no k2' part
    EXPECT_NEAR(SRTM.Xorig_tc[j][1], integral(0, j, ref), 1e-9);
    std::vector<double> ct(8);
    for (int u = 0; u < 8; u++) ct[u] = SRTM.target_t[u];
    EXPECT_NEAR(SRTM.Xorig_tc[j][2], -integral(0, j, ct), 1e-9);
    EXPECT_EQ(SRTM.Xorig_tc[j][3], 1.0);
    EXPECT_EQ(SRTM.Xorig_tc[j][4], (double)((float)j / 8.0f));
    EXPECT_EQ(SRTM.Xmix_tc[j][1], 0.0);
  }
}

TEST(PetDesign, FixedK2PrimeFoldsIntoR1) {
  Built b("", {run_of("20\n1 R1\n\n2 k2a\n\n", 6)});
  ASSERT_EQ(b.result, 0) << b.out;
  auto ref = curve(SRTM.reference_region[0], 6), dref = curve(SRTM.ref_region_deriv[0], 6);
  for (int j = 0; j < 6; j++) {
    double first = integral(0, j, dref);
    EXPECT_NEAR(SRTM.Xmix_tc[j][0], first, 1e-9);
    EXPECT_NEAR(SRTM.Xorig_tc[j][0], first + integral(0, j, ref) / 20.0, 1e-6);
  }
}

TEST(PetDesign, LateConstantPeriodSumsFromTheRunStart) {
  Built b("", {run_of("0\n1 R1\n\n2 k2a\n\n3 k2a\n3 10\n", 8)});
  ASSERT_EQ(b.result, 0) << b.out;
  std::vector<double> ct(8);
  for (int u = 0; u < 8; u++) ct[u] = SRTM.target_t[u];
  for (int j = 0; j < 8; j++) {
    double t = SRTM_time_total_minutes(j);
    if (t < SRTM.period_start[2][0])
      EXPECT_EQ(SRTM.Xorig_tc[j][2], 0.0) << j;
    else
      EXPECT_NEAR(SRTM.Xorig_tc[j][2], -integral(0, j, ct), 1e-9) << j;
  }
  // The period starts 3 minutes after the first midpoint (0.5): at 3.5.
  EXPECT_EQ(SRTM.Xorig_tc[2][2], 0.0);
  EXPECT_NEAR(SRTM.Xorig_tc[3][2], -integral(0, 3, ct), 1e-9);
  EXPECT_LT(SRTM.Xorig_tc[3][2], -SRTM.table_value[0][0][3] * ct[3]);  // earlier frames are in the sum
}

TEST(PetDesign, PeriodStopToleranceAndRegressorDropsAfterTheEnd) {
  // Frames at 0.5, 1.5, ...: a period from 0 to 2 (run times) ends at 2.5 exactly.
  Built b("", {run_of("0\n1 R1\n\n2 k2a\n\n3 k2a\n0 2\n", 6)});
  ASSERT_EQ(b.result, 0) << b.out;
  EXPECT_NE(SRTM.Xorig_tc[2][2], 0.0);
  EXPECT_EQ(SRTM.Xorig_tc[3][2], 0.0);
}

TEST(PetDesign, LaterPeriodOverwritesWithoutAdding) {
  // Two periods of a gamma event that both hold frame 4 (4.5 minutes).
  Built b("", {run_of("0\n1 R1\n\n2 k2a\n\n3 k2a gamma\n1 2\n3 k2a gamma\n3 2\n", 6)});
  ASSERT_EQ(b.result, 0) << b.out;
  std::vector<double> ct(6);
  for (int u = 0; u < 6; u++) ct[u] = SRTM.target_t[u];
  double start = SRTM.period_start[2][1];
  double sum = 0.0;
  for (int u = 0; u <= 4; u++) {
    double t = SRTM_time_total_minutes(u);
    double g = t > start ? std::pow((t - start) / 2, 1.0) * std::exp((1 - (t - start) / 2) * 1.0) : 0.0;
    sum += SRTM.table_value[0][0][u] * g * ct[u];
  }
  EXPECT_NEAR(SRTM.Xorig_tc[4][2], -sum, 1e-9);
}

TEST(PetDesign, TwoRunsRestartTheIntegrals) {
  Built b("", {run_of("0\n1 R1\n\n2 k2\n\n3 k2a\n\n", 5), run_of("0\n1 R1\n\n2 k2\n\n3 k2a\n\n", 4)});
  ASSERT_EQ(b.result, 0) << b.out;
  auto ref2 = curve(SRTM.reference_region[1], 4);
  for (int j = 0; j < 4; j++) EXPECT_NEAR(SRTM.Xorig_tc[5 + j][1], integral(1, j, ref2), 1e-9);
  EXPECT_NEAR(SRTM.Xorig_tc[5][1], SRTM.table_value[1][0][0] * ref2[0], 1e-9);
  EXPECT_GT(SRTM_time_total_minutes(5), SRTM_time_total_minutes(4));
}

TEST(PetNoise, NoHalfLifeWeighsByFrameSpacing) {
  Built b("", {run_of("0\n1 R1\n\n2 k2\n\n3 k2a\n\n", 6)});
  ASSERT_EQ(b.result, 0) << b.out;
  // Spacing 0.5 then 1: the first frame gets half the weight of the others.
  EXPECT_NEAR(SRTM.Weight_t[0] * 2, SRTM.Weight_t[1], 1e-6);
  for (int t = 2; t < 6; t++) EXPECT_NEAR(SRTM.Weight_t[t], SRTM.Weight_t[1], 1e-6);
  double sum = 0.0;
  for (int t = 0; t < 6; t++) sum += SRTM.Weight_t[t];
  EXPECT_NEAR(sum, 6.0, 1e-12);
}

TEST(PetNoise, HalfLifeWeightsFollowTheCurve) {
  Built b("half-life 20.4\n", {run_of("0\n1 R1\n\n2 k2\n\n3 k2a\n\n", 8)});
  ASSERT_EQ(b.result, 0) << b.out;
  EXPECT_GT(std::fabs(SRTM.Weight_t[2] - SRTM.Weight_t[6]), 1e-3);
  double life = 20.4f * 1.442695;
  float raw3 = (float)std::sqrt(std::exp((SRTM_time_total_minutes(3) - SRTM_time_total_minutes(0)) / life) *
                                std::fabs(SRTM.target_t[3]));
  EXPECT_FLOAT_EQ(SRTM.NoiseRaw_t[3], (float)(raw3 / std::sqrt(SRTM.table_value[0][0][3])));
}

TEST(PetNoise, AllZeroCurveGivesZeroNoiseAndNoFiniteWeights) {
  Built b("", {run_of("0\n1 R1\n\n2 k2\n\n3 k2a\n\n", 6)});
  ASSERT_EQ(b.result, 0) << b.out;
  std::vector<float> zero(6, 0.0f);
  Captured c = capture_output([&] { EXPECT_EQ(SRTM_define_dynamic_basis_functions(6, zero.data()), 0); });
  for (int t = 0; t < 6; t++) {
    EXPECT_EQ(SRTM.NoiseFit_t[t], 0.0f);
    EXPECT_FALSE(std::isfinite(SRTM.Weight_t[t]));
  }
}

TEST(PetDesign, DynamicLengthMessage) {
  Built b("", {run_of("0\n1 R1\n\n2 k2a\n\n", 6)});
  ASSERT_EQ(b.result, 0);
  std::vector<float> v(5, 1.0f);
  Captured c = capture_output([&] { EXPECT_EQ(SRTM_define_dynamic_basis_functions(5, v.data()), 1); });
  EXPECT_EQ(c.out, "Error: the length of the tissue vector (5) != time dimension of GLM (6)\n");
}

TEST(PetDesign, HatTraceGivesTheDegreesOfFreedom) {
  Built b("", {run_of("0\n1 R1\n\n2 k2\n\n3 k2a\n\n", 10)});
  ASSERT_EQ(b.result, 0);
  float trace = 0.0f;
  for (int t = 0; t < 10; t++) trace += (float)SRTM.HatDiag_t[t];
  EXPECT_NEAR(trace, 3.0f, 1e-4);
  EXPECT_DOUBLE_EQ(SRTM.dof, 10.5 - 1.25 * trace);
}

TEST(PetExclusions, ListsAndTheirLimits) {
  Built b("", {run_of("0\nexclude 1,3\n1 R1\n\n2 k2\n\n3 k2a\n\n", 8)});
  ASSERT_EQ(b.result, 0) << b.out;
  EXPECT_STREQ(SRTM.IgnoreString[0], "1,3");
  EXPECT_EQ(SRTM.nincluded, 6);
  EXPECT_TRUE(SRTM_TimePoint_Is_Ignored(0, 1));
  EXPECT_FALSE(SRTM_TimePoint_Is_Ignored(0, 2));
  EXPECT_TRUE(SRTM_TimePoint_Is_Ignored(0, 8));
  EXPECT_TRUE(SRTM_TimePoint_Is_Ignored(1, 0));
  for (int c = 0; c < 3; c++) EXPECT_EQ(SRTM.X_tc[3][c], 0.0);
  EXPECT_NE(SRTM.Xorig_tc[3][0], 0.0);
  int set[] = {2, 8};
  Captured c = capture_output([&] { EXPECT_EQ(SRTM_set_exclusion_list(0, 2, set), 1); });
  EXPECT_EQ(c.out, "Error: set element 8 is out of range (0,7)\n");
  EXPECT_TRUE(SRTM_TimePoint_Is_Ignored(0, 2));  // the earlier element stays
  EXPECT_FALSE(SRTM_TimePoint_Is_Ignored(0, 1));
  // A list that does not decode is no error here: every frame is taken.
  char list[] = "2,8";
  c = capture_output([&] { EXPECT_EQ(SRTM_Set_Ignore_String(0, list), 0); });
  EXPECT_EQ(c.out, "The list contains a number which is out of range.");
  EXPECT_STREQ(SRTM.IgnoreString[0], "");
  for (int t = 0; t < 8; t++) EXPECT_FALSE(SRTM_TimePoint_Is_Ignored(0, t));
  char empty[] = "";
  EXPECT_EQ(SRTM_Set_Ignore_String(0, empty), 0);
  for (int t = 0; t < 8; t++) EXPECT_FALSE(SRTM_TimePoint_Is_Ignored(0, t));
  char got[ZOR_LINE];
  char good[] = "0-2";
  EXPECT_EQ(SRTM_Set_Ignore_String(0, good), 0);
  EXPECT_EQ(SRTM_Get_Ignore_String(0, got), 0);
  EXPECT_STREQ(got, "0-2");
  EXPECT_EQ(SRTM_set_exclusion_list(3, 0, nullptr), 1);
}

TEST(PetExclusions, ListOutOfRangeInTheEventFileKeepsEveryFrame) {
  Built b("", {run_of("0\nexclude 9\n1 R1\n\n2 k2a\n\n", 6)});
  EXPECT_EQ(b.result, 0);
  EXPECT_EQ(b.out, "The list contains a number which is out of range.");
  EXPECT_EQ(SRTM.nincluded, 6);
  EXPECT_STREQ(SRTM.IgnoreString[0], "");
}

}  // namespace
