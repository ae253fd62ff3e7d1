#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "srtm_test_files.h"

namespace {

using namespace srtm;

PetRunPlan run_of(const std::string &events, const std::vector<double> &seconds) {
  PetRunPlan plan;
  plan.events = events;
  plan.durations = seconds;
  for (size_t t = 0; t < seconds.size(); t++) {
    plan.reference.push_back(100.0f * (t + 1) * std::exp(-0.15f * t));
    plan.target.push_back(80.0f * (t + 1) * std::exp(-0.09f * t) + 3.0f * (t % 3));
  }
  return plan;
}

std::vector<double> frames(int n) {
  std::vector<double> s;
  for (int t = 0; t < n; t++) s.push_back(60.0 * (1 + t % 5));
  return s;
}

struct Fitted {
  PetModel m;
  int result = -99;
  std::string out;
  Fitted(const std::string &keywords, const std::vector<PetRunPlan> &runs) : m(keywords, runs) {
    if (m.read.result != 0) return;
    Captured c = capture_output([&] {
      result = SRTM_define_static_basis_functions();
      if (result == 0) result = SRTM_define_conditions(SRTM_input.condition_string);
    });
    out = c.out;
  }
};

// A curve made by the model's own discrete equations from R1, k2 and k2a:
// Ct = R1 X_R1 + k2 X_k2 - k2a Int Ct, solved frame by frame.
std::vector<float> model_curve(double R1, double k2, double k2a) {
  std::vector<float> ct(SRTM.ntime);
  for (int r = 0; r < SRTM.nruns; r++) {
    double integral = 0.0;
    for (int j = 0; j < SRTM.nt[r]; j++) {
      int i = SRTM.run_istart[r] + j;
      double dt = SRTM.table_value[r][0][j];
      double c = (R1 * SRTM.Xorig_tc[i][0] + k2 * SRTM.Xorig_tc[i][1] - k2a * integral) / (1.0 + k2a * dt);
      integral += dt * c;
      ct[i] = (float)c;
    }
  }
  return ct;
}

TEST(PetFit, RecoversTheModelsOwnCurve) {
  Fitted f("conditions 3\n", {run_of("0\n1 R1\n\n2 k2\n\n3 k2a\n\n", frames(26))});
  ASSERT_EQ(f.result, 0) << f.m.read.printed.out << f.out;
  std::vector<float> ct = model_curve(1.2, 0.3, 0.1);
  std::vector<float> fit(SRTM.ntime), err(SRTM.ntime);
  double sigma2 = -1;
  ASSERT_EQ(SRTM_define_dynamic_basis_functions(SRTM.ntime, ct.data()), 0);
  ASSERT_EQ(SRTM_fit_data(SRTM.ntime, ct.data(), fit.data(), err.data(), &sigma2), 0);
  EXPECT_NEAR(SRTM.Beta_c[0], 1.2, 1.2e-5);
  EXPECT_NEAR(SRTM.Beta_c[1], 0.3, 0.3e-5);
  EXPECT_NEAR(SRTM.Beta_c[2], 0.1, 0.1e-5);
  EXPECT_EQ(sigma2, SRTM.sigma2);
  double e;
  EXPECT_NEAR(SRTM_get_parameter_value(2, 5, &e), 0.3 / 0.1 - 1, 2e-5);
  EXPECT_NEAR(SRTM_get_parameter_value(0, 5, &e), 1.2, 1.2e-5);
  EXPECT_NEAR(SRTM_get_parameter_value(1, 5, &e), 1.2 / 0.3, 4e-5);
  EXPECT_NEAR(SRTM_get_parameter_value(-2, 5, &e), 0.1, 1e-6);
  for (int t = 0; t < SRTM.ntime; t++) EXPECT_NEAR(fit[t], ct[t], 1e-4 * std::fabs(ct[t]) + 1e-4);
}

TEST(PetFit, FitErrorUsesTheSignedDiagonal) {
  Fitted f("conditions 3\n", {run_of("0\n1 R1\n\n2 k2\n\n3 k2a\n\n", frames(12))});
  ASSERT_EQ(f.result, 0) << f.out;
  std::vector<float> data(SRTM.target_t, SRTM.target_t + SRTM.ntime), fit(SRTM.ntime), err(SRTM.ntime);
  double sigma2;
  ASSERT_EQ(SRTM_fit_data(SRTM.ntime, data.data(), fit.data(), err.data(), &sigma2), 0);
  double ss = 0.0;
  for (int t = 0; t < SRTM.ntime; t++) {
    double y = 0.0;
    for (int c = 0; c < 3; c++) y += SRTM.Beta_c[c] * SRTM.X_tc[t][c];
    ss += (data[t] - y) * (data[t] - y);
    float e = 0.0f;
    for (int c = 0; c < 3; c++) e += (float)(SRTM.Xorig_tc[t][c] * SRTM.XTXm1_cc[c][c] * std::sqrt(sigma2));
    EXPECT_EQ(err[t], e);
    EXPECT_FLOAT_EQ((float)SRTM.Residue_t[t], data[t] - fit[t]);
  }
  EXPECT_NEAR(sigma2, ss / SRTM.dof, 1e-9 * sigma2);
}

TEST(PetFit, Messages) {
  SRTM_engine_reset();
  std::vector<float> v(3);
  double s;
  Captured c = capture_output([&] { EXPECT_EQ(SRTM_fit_data(3, v.data(), v.data(), v.data(), &s), 1); });
  EXPECT_EQ(c.out, "Error in SRTM_fit_data: first initialize the GLM (0) and define stimuli\n");
  char cond[] = "1";
  c = capture_output([&] { EXPECT_EQ(SRTM_define_conditions(cond), 1); });
  EXPECT_EQ(c.out, "Error: SRTM_define_conditions called but SRTM.initialized = 0\n");
  Fitted f("", {run_of("0\n1 R1\n\n2 k2a\n\n", frames(5))});
  ASSERT_EQ(f.result, 0);
  c = capture_output([&] { SRTM_fit_data(4, v.data(), v.data(), v.data(), &s); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: the number of data time points (4) does not match the number in the GLM (5).\n");
}

TEST(PetConditions, SignsRowsAndMessages) {
  Fitted f("conditions 1-23 11 1,2 -3 23,-1\n", {run_of("0\n1 R1\n\n2 k2\n\n3 k2a\n\n", frames(10))});
  ASSERT_EQ(f.result, 0) << f.out;
  ASSERT_EQ(SRTM.nconditions, 5);
  auto row = [](int l, int r) {
    return std::vector<int>(SRTM.contrast_matrix[l][r], SRTM.contrast_matrix[l][r] + 3);
  };
  EXPECT_EQ(row(0, 0), (std::vector<int>{1, -1, -1}));
  EXPECT_EQ(row(1, 0), (std::vector<int>{2, 0, 0}));
  EXPECT_EQ(SRTM.ncontrasts[2], 2);
  EXPECT_EQ(row(2, 0), (std::vector<int>{1, 0, 0}));
  EXPECT_EQ(row(2, 1), (std::vector<int>{0, 1, 0}));
  EXPECT_EQ(row(3, 0), (std::vector<int>{0, 0, -1}));
  EXPECT_EQ(row(4, 1), (std::vector<int>{-1, 0, 0}));
  EXPECT_STREQ(SRTM.condition_name[0], "1-23");
  EXPECT_EQ(SRTM.BP_condition[3], 1);
  EXPECT_EQ(SRTM.BP_condition[0], 0);
  EXPECT_EQ(SRTM.BP_condition[2], 0);
  // FCovar = C (X'WX)^-1 C'.
  EXPECT_DOUBLE_EQ(SRTM.FCovar[1][0][0], 4 * SRTM.XTXm1_cc[0][0]);
  char name[ZOR_LINE];
  EXPECT_EQ(SRTM_get_condition_name(2, name), 0);
  EXPECT_STREQ(name, "1,2");
  EXPECT_EQ(SRTM_get_condition_name(5, name), 1);
  Captured c = capture_output([] { SRTM_describe_conditions(); });
  EXPECT_EQ(c.out, "Conditions to be tested:\n1-23 11 1,2 -3 23,-1 \n");
  char bad1[] = "14";
  c = capture_output([&] { EXPECT_EQ(SRTM_define_conditions(bad1), 1); });
  EXPECT_EQ(c.out, "Error: one of the events in the conditions (4) is not defined.\n");
  EXPECT_EQ(SRTM.nconditions, 0);
  char bad2[] = "1+2";
  c = capture_output([&] { EXPECT_EQ(SRTM_define_conditions(bad2), 1); });
  EXPECT_EQ(c.out, "Error: event type + is not allowed.\n");
  char none[] = "   ";
  EXPECT_EQ(SRTM_define_conditions(none), 0);
  EXPECT_EQ(SRTM.nconditions, 0);
}

TEST(PetConditions, MoreThanAHundredAreRefused) {
  std::string many;
  for (int l = 0; l < 101; l++) many += "1 ";
  Fitted f("conditions " + many + "\n", {run_of("0\n1 R1\n\n2 k2a\n\n", frames(5))});
  EXPECT_EQ(f.result, 1);
  EXPECT_EQ(f.out, "Error: 101 conditions were given, more than the 100 allowed.\n");
}

struct Tested {
  double cnr, p_raw, p_cor;
  float effect, sem;
  int result;
  std::string out;
};

Tested test_condition(int l, double resels = 0, int ntime = -1) {
  Tested t{};
  Captured c = capture_output([&] {
    t.result = SRTM_calculate_F(ntime < 0 ? SRTM.ntime : ntime, SRTM.sigma2, resels, l, &t.cnr, &t.p_raw, &t.p_cor,
                                &t.effect, &t.sem);
  });
  t.out = c.out;
  return t;
}

TEST(PetStatistics, OneAndTwoRowTests) {
  Fitted f("conditions 3 1,3 2-3\n", {run_of("0\n1 R1\n\n2 k2\n\n3 k2a\n\n", frames(14))});
  ASSERT_EQ(f.result, 0) << f.out;
  std::vector<float> data(SRTM.target_t, SRTM.target_t + SRTM.ntime), fit(SRTM.ntime), err(SRTM.ntime);
  double sigma2;
  ASSERT_EQ(SRTM_fit_data(SRTM.ntime, data.data(), fit.data(), err.data(), &sigma2), 0);
  Tested a = test_condition(0);
  ASSERT_EQ(a.result, 0);
  double F = SRTM.Beta_c[2] * SRTM.Beta_c[2] / SRTM.FCovar[0][0][0] / sigma2;
  double x = SRTM.dof / (F + SRTM.dof);
  EXPECT_NEAR(a.p_raw, ibeta(0.5 * SRTM.dof, 0.5, x), 1e-12);
  EXPECT_NEAR(std::fabs(a.cnr), std::sqrt(F), 1e-9 * std::sqrt(F));
  EXPECT_FLOAT_EQ(a.effect, (float)SRTM.Beta_c[2]);
  EXPECT_FLOAT_EQ(a.sem, (float)std::sqrt(std::fabs(SRTM.FCovar[0][0][0] * sigma2)));
  EXPECT_EQ(a.p_cor, 3.720075976020836e-44);  // resels 0, floored
  Tested b = test_condition(1, 2.0);
  double b2 = ibeta(0.5 * SRTM.dof, 1.0, SRTM.dof / (2 * 0 + SRTM.dof));
  (void)b2;
  ASSERT_EQ(b.result, 0);
  // Winner of the two rows: the larger |C beta|.
  double r0 = SRTM.Beta_c[0], r1 = SRTM.Beta_c[2];
  EXPECT_FLOAT_EQ(b.effect, (float)(std::fabs(r1) > std::fabs(r0) ? r1 : r0));
  EXPECT_LE(b.p_raw, 1.0);
  Tested bad = test_condition(3);
  EXPECT_EQ(bad.result, 1);
  EXPECT_EQ(bad.out, "Error: the specified condition (3) is out of range (0-2)\n");
  bad = test_condition(0, 0, 3);
  EXPECT_EQ(bad.out, "Error: # time points != # used in GLM fit.\n");
  SRTM.sigma2 = 0.0;
  Tested zero = test_condition(7);
  EXPECT_EQ(zero.result, 0);
  EXPECT_EQ(zero.p_raw, 1.0);
  EXPECT_EQ(zero.p_cor, 1.0);
  EXPECT_EQ(zero.cnr, 0.0);
}

TEST(PetStatistics, DoubledTwoRowPValueFolds) {
  Fitted f("conditions 1,2\n", {run_of("0\n1 R1\n\n2 k2\n\n3 k2a\n\n", frames(14))});
  ASSERT_EQ(f.result, 0);
  std::vector<float> ct = model_curve(1.0, 0.2, 0.1);
  for (size_t t = 0; t < ct.size(); t++) ct[t] += (t % 2 ? 0.5f : -0.5f);
  std::vector<float> fit(SRTM.ntime), err(SRTM.ntime);
  double s2;
  SRTM_define_dynamic_basis_functions(SRTM.ntime, ct.data());
  SRTM_fit_data(SRTM.ntime, ct.data(), fit.data(), err.data(), &s2);
  // Force a small F so that the beta integral exceeds one half.
  double keep0 = SRTM.Beta_c[0], keep1 = SRTM.Beta_c[1];
  SRTM.Beta_c[0] = 1e-9;
  SRTM.Beta_c[1] = 1e-9;
  Tested t = test_condition(0);
  double num = 0;
  double cb[2] = {1e-9, 1e-9};
  for (int i = 0; i < 2; i++)
    for (int j = 0; j < 2; j++) num += SRTM.FCovarInv[0][i][j] * cb[i] * cb[j];
  double F = num / s2 / 2;
  double b = ibeta(0.5 * SRTM.dof, 1.0, SRTM.dof / (2 * F + SRTM.dof));
  ASSERT_GT(2 * b, 1.0);
  EXPECT_NEAR(t.p_raw, 2 - 2 * b, 1e-12);
  SRTM.Beta_c[0] = keep0;
  SRTM.Beta_c[1] = keep1;
}

TEST(PetParameters, FixedK2PrimeWithoutK2Event) {
  Fitted f("conditions 2\n", {run_of("40\n1 R1\n\n2 k2a\n\n", frames(10))});
  ASSERT_EQ(f.result, 0) << f.out;
  std::vector<float> data(SRTM.target_t, SRTM.target_t + SRTM.ntime), fit(SRTM.ntime), err(SRTM.ntime);
  double s2;
  SRTM_fit_data(SRTM.ntime, data.data(), fit.data(), err.data(), &s2);
  double e = -1;
  double tau = 0;
  Captured c = capture_output([&] { tau = SRTM_get_parameter_value(1, 3, &e); });
  EXPECT_EQ(c.out, "");
  EXPECT_NEAR(tau, 40.0, 1e-4);
  EXPECT_EQ(e, 0.0);
  double k2 = -1;
  c = capture_output([&] { k2 = SRTM_get_parameter_value(-1, 3, &e); });
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(c.out, "error for fixed k2 = 0\n");
  EXPECT_EQ(k2, 0.0);
  EXPECT_EQ(e, 0.0);
  double R1e;
  double R1 = SRTM_get_parameter_value(0, 3, &R1e);
  double bp = SRTM_get_parameter_value(2, 3, &e);
  EXPECT_NEAR(bp, R1 / tau / SRTM.Beta_c[1] - 1.0, 1e-9 * std::fabs(bp) + 1e-12);
  EXPECT_NEAR(R1e, std::sqrt(SRTM.XTXm1_cc[0][0] * SRTM.sigma2), 1e-12);
}

TEST(PetParameters, FrameOutsideEveryK2aPeriodEndsTheProgram) {
  Fitted f("conditions 2\n", {run_of("0\n1 R1\n\n3 k2\n\n2 k2a\n5 20\n", frames(10))});
  ASSERT_EQ(f.result, 0) << f.out;
  std::vector<float> data(SRTM.target_t, SRTM.target_t + SRTM.ntime), fit(SRTM.ntime), err(SRTM.ntime);
  double s2, e;
  SRTM_fit_data(SRTM.ntime, data.data(), fit.data(), err.data(), &s2);
  Captured c = capture_output([&] { SRTM_get_parameter_value(-2, 0, &e); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "iParameter = -2, k2prime = 0\nError: parameter k2a not found at time point 0 in run 1\n");
  c = capture_output([&] { SRTM_get_parameter_value(2, 1, &e); });
  EXPECT_EQ(c.exit_status, 1);
  c = capture_output([&] { SRTM_get_parameter_value(5, 1, &e); });
  EXPECT_EQ(c.out, "Error: parameter 5 is not defined in SRTM_get_parameter_value()\n");
}

TEST(PetParameters, GammaAtItsStartIsNotGuarded) {
  // A gamma k2a of alpha 0.5 starting right at frame 2's time.
  Fitted f("", {run_of("0\n1 R1\n\n2 k2\n\n3 k2a gamma\n" + std::to_string(0.0) + " 2 0.5\n", frames(10))});
  ASSERT_EQ(f.result, 0) << f.out;
  // Frame 0 is at the start: x = 0 exactly gives 0; shift the start by the tolerance.
  SRTM.period_start[2][0] += 0.0005;
  double e;
  double v = SRTM_get_parameter_value(-2, 0, &e);
  EXPECT_TRUE(std::isnan(v));
}

TEST(PetParameters, BindingPotentialOfADifferenceCondition) {
  Fitted f("conditions 2-3\n",
           {run_of("0\n1 R1\n\n4 k2\n\n2 k2a\n0 10\n3 k2a sigmoid\n10 4\n", frames(16))});
  ASSERT_EQ(f.result, 0) << f.out;
  std::vector<float> data(SRTM.target_t, SRTM.target_t + SRTM.ntime), fit(SRTM.ntime), err(SRTM.ntime);
  double s2;
  SRTM_fit_data(SRTM.ntime, data.data(), fit.data(), err.data(), &s2);
  ASSERT_EQ(SRTM_BP_condition(0), 1);
  double e1, e2, be;
  int t1 = SRTM_iTime_for_BP(2), t2 = SRTM_iTime_for_BP(3);
  EXPECT_EQ(t1, SRTM_get_itime_from_time((float)SRTM.period_start[2][0]));
  EXPECT_EQ(t2, SRTM_get_itime_from_time((float)SRTM.period_stop[3][0]));
  double p1 = SRTM_get_parameter_value(2, t1, &e1), p2 = SRTM_get_parameter_value(2, t2, &e2);
  double bp = SRTM_calculate_BP_condition(0, &be);
  EXPECT_DOUBLE_EQ(bp, p1 - p2);
  EXPECT_DOUBLE_EQ(be, std::sqrt(e1 * e1 + e2 * e2));
  be = -7;
  EXPECT_EQ(SRTM_calculate_BP_condition(3, &be), 0.0);
  EXPECT_EQ(be, -7);
}

TEST(PetParameters, DistributionVolumeModel) {
  PetRunPlan plan = run_of("0\n1 b\n\n2 V_b\n\n", frames(12));
  std::vector<double> plasma;
  for (int t = 0; t < 12; t++) plasma.push_back(500.0 * std::exp(-0.3 * t) + 20);
  plan.extra = {plasma};
  Fitted f("time-model DV\nplasma-column 2\n", {plan});
  ASSERT_EQ(f.result, 0) << f.m.read.printed.out << f.out;
  EXPECT_FALSE(SRTM_is_SRTM_model());
  std::vector<float> data(SRTM.target_t, SRTM.target_t + SRTM.ntime), fit(SRTM.ntime), err(SRTM.ntime);
  double s2, e, eb, ev;
  SRTM_fit_data(SRTM.ntime, data.data(), fit.data(), err.data(), &s2);
  double inv_b = SRTM_get_parameter_value(-4, 4, &e);
  double b = SRTM_get_parameter_value(4, 4, &eb);
  EXPECT_DOUBLE_EQ(b, 1.0 / inv_b);
  EXPECT_DOUBLE_EQ(eb, e * inv_b * inv_b);
  double V = SRTM_get_parameter_value(3, 4, &ev);
  EXPECT_DOUBLE_EQ(V, SRTM.Beta_c[1] * b);
}

TEST(PetPartialFits, DeliveryAndBindingAddUpToTheFit) {
  Fitted f("", {run_of("30\n1 R1\n\n2 k2a\n\n", frames(8))});
  ASSERT_EQ(f.result, 0);
  std::vector<float> data(SRTM.target_t, SRTM.target_t + SRTM.ntime), fit(SRTM.ntime), err(SRTM.ntime);
  double s2;
  SRTM_fit_data(SRTM.ntime, data.data(), fit.data(), err.data(), &s2);
  for (int t = 0; t < 8; t++) {
    float d, b, c0, c1;
    ASSERT_EQ(SRTM_binding_fit(0, t, &d), 0);
    ASSERT_EQ(SRTM_binding_fit(1, t, &b), 0);
    ASSERT_EQ(SRTM_coeff_fit(0, t, &c0), 0);
    ASSERT_EQ(SRTM_coeff_fit(1, t, &c1), 0);
    EXPECT_NEAR(d + b, fit[t], 1e-3);
    EXPECT_FLOAT_EQ(c1, (float)(SRTM.Beta_c[1] * SRTM.Xorig_tc[t][1]));
  }
  float x;
  Captured c = capture_output([&] { EXPECT_EQ(SRTM_binding_fit(0, 8, &x), 1); });
  EXPECT_EQ(c.out, "Error: time index (8) >= SRTM time points (8) in SRTM_binding_fit()\n");
  c = capture_output([&] { EXPECT_EQ(SRTM_coeff_fit(0, 9, &x), 1); });
  EXPECT_EQ(c.out, "Error: time index (9) >= SRTM time points (8) in SRTM_coeff_fit()\n");
  std::vector<float> r(8), n(8);
  ASSERT_EQ(SRTM_get_residue(8, r.data()), 0);
  EXPECT_FLOAT_EQ(r[3], (float)SRTM.Residue_t[3]);
  ASSERT_EQ(SRTM_get_noise_model(1, 8, n.data()), 0);
  double av = 0;
  for (int t = 0; t < 8; t++) av += SRTM.NoiseFit_t[t];
  av /= 8;
  float ss = 0;
  for (int t = 0; t < 8; t++) ss += (float)(SRTM.Residue_t[t] * SRTM.Residue_t[t]);
  EXPECT_FLOAT_EQ(n[2], (float)(SRTM.NoiseFit_t[2] * std::sqrt(ss / 8.0) / av));
  c = capture_output([&] { EXPECT_EQ(SRTM_get_noise_model(0, 7, n.data()), 1); });
  EXPECT_EQ(c.out, "Error: the specified # of time points (7) does not match the GLM (8).\n");
  c = capture_output([&] { EXPECT_EQ(SRTM_get_residue(9, r.data()), 1); });
  EXPECT_EQ(c.out, "Error: the specified # of time points (9) does not match the GLM (8).\n");
}

TEST(PetTime, RunsMinutesAndFrames) {
  Fitted f("", {run_of("0\n1 R1\n\n", {60, 120, 180}), run_of("0\n1 R1\n\n", {240, 60})});
  ASSERT_EQ(f.result, 0) << f.out;
  // Midpoints 0.5, 2, 4.5, then the second run goes on: +2 (half its first frame), +2.5.
  EXPECT_DOUBLE_EQ(SRTM_time_total_minutes(0), 0.5);
  EXPECT_DOUBLE_EQ(SRTM_time_total_minutes(2), 4.5);
  EXPECT_DOUBLE_EQ(SRTM_time_total_minutes(3), 6.5);
  EXPECT_DOUBLE_EQ(SRTM_time_total_minutes(4), 9.0);
  EXPECT_EQ(SRTM_time_total_minutes(-1), 0.0);
  EXPECT_DOUBLE_EQ(SRTM_time_run_minutes(1), 2.0);
  EXPECT_DOUBLE_EQ(SRTM_time_run_minutes(4), 9.0 - 4.5);
  EXPECT_EQ(SRTM_get_run_number(-3), 0);
  EXPECT_EQ(SRTM_get_run_number(3), 1);
  EXPECT_EQ(SRTM_get_itime_in_run(4), 1);
  EXPECT_EQ(SRTM_get_run_number_from_time(0.0), 0);
  EXPECT_EQ(SRTM_get_run_number_from_time(5.0), 1);   // between runs: the last run, not before the first
  EXPECT_EQ(SRTM_get_run_number_from_time(50.0), 1);
  EXPECT_EQ(SRTM_get_itime_in_run_from_time(2.9), 1);
  EXPECT_EQ(SRTM_get_itime_in_run_from_time(3.5), 2);
  EXPECT_EQ(SRTM_get_itime_in_run_from_time(100.0), 1);
  EXPECT_EQ(SRTM_get_itime_from_time(8.0), 4);
  EXPECT_EQ(SRTM_get_itime_from_time(0.0), 0);
  int a, b;
  SRTM_get_start_stop_times(1, &a, &b);
  EXPECT_EQ(a, 3);
  EXPECT_EQ(b, 4);
  Captured c = capture_output([&] { SRTM_get_start_stop_times(2, &a, &b); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error: run 2 does not exist\n");
  c = capture_output([&] { SRTM_time_total_minutes(5); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "itime_total = 5, nruns = 2, it = 5\n"
                   "Programming error: time point (5) not found in SRTM_time_total_minutes()\n");
  c = capture_output([&] { SRTM_get_run_number(5); });
  EXPECT_EQ(c.out, "Programming error: iRun undefined by SRTM_get_run_number()\n");
  EXPECT_EQ(SRTM_get_nruns(), 2);
  EXPECT_EQ(SRTM_get_ntime(0), 3);
  EXPECT_EQ(SRTM_get_number_coefficients(), 1);
  EXPECT_EQ(SRTM_is_initialized(), 2);
  EXPECT_TRUE(SRTM_is_SRTM_model());
  EXPECT_FALSE(SRTM_k2a_coefficient(0));
  SRTM_set_half_life(109.8f);
  EXPECT_FLOAT_EQ(SRTM_get_half_life(), 109.8f);
}

TEST(PetTime, FirstRunOnlyWhileReading) {
  SRTM_engine_reset();
  PetStudy s;
  SRTM.nt[0] = 2;
  std::string t = s.table("t", {"d"}, {{60}, {120}});
  std::vector<char> name(t.begin(), t.end());
  name.push_back('\0');
  ASSERT_EQ(SRTM_read_table_file(name.data(), 0), 0);
  EXPECT_DOUBLE_EQ(SRTM_time_total_minutes(1), 2.0);
  Captured c = capture_output([&] { SRTM_time_total_minutes(2); });
  EXPECT_EQ(c.out, "Programming error: time point (2) for 1st run not found in SRTM_time_total_minutes()\n");
}

TEST(PetVoxels, EveryVoxelMatchesItsOwnFitOnAnyNumberOfThreads) {
  Fitted f("half-life 20.4\nconditions 3 1,3 -2\n", {run_of("0\n1 R1\n\n2 k2\n\n3 k2a\n\n4 k2a gamma\n8 3\n", frames(13)),
                                                   run_of("0\n1 R1\n\n2 k2\n\n3 k2a\n\n4 k2a gamma\n8 3\n", frames(11))});
  ASSERT_EQ(f.result, 0) << f.out;
  const int nv = 150, T = SRTM.ntime, C = SRTM.ncoeff, L = SRTM.nconditions;
  std::vector<float> series((size_t)nv * T);
  for (int v = 0; v < nv; v++) {
    std::vector<float> ct = model_curve(0.8 + 0.01 * v, 0.2, 0.05 + 0.001 * v);
    for (int t = 0; t < T; t++) series[(size_t)v * T + t] = ct[t] + 0.3f * (float)std::sin(v * 7.0 + t * 3.0);
  }
  std::vector<double> beta((size_t)nv * C), s2(nv), dof(nv), stats((size_t)nv * L * 5);
  std::vector<double> beta1 = beta, s21 = s2, dof1 = dof, stats1 = stats;
  ASSERT_EQ(SRTM_fit_voxels(nv, T, series.data(), 3.0, 3, beta.data(), s2.data(), dof.data(), stats.data()), 0);
  ASSERT_EQ(SRTM_fit_voxels(nv, T, series.data(), 3.0, 1, beta1.data(), s21.data(), dof1.data(), stats1.data()), 0);
  EXPECT_EQ(beta, beta1);
  EXPECT_EQ(stats, stats1);
  for (int v = 0; v < nv; v++) {
    float *y = series.data() + (size_t)v * T;
    std::vector<float> fit(T), err(T);
    double sigma2;
    ASSERT_EQ(SRTM_define_dynamic_basis_functions(T, y), 0);
    ASSERT_EQ(SRTM_fit_data(T, y, fit.data(), err.data(), &sigma2), 0);
    ASSERT_EQ(sigma2, s2[v]) << v;
    ASSERT_EQ(SRTM.dof, dof[v]) << v;
    for (int c = 0; c < C; c++) ASSERT_EQ(SRTM.Beta_c[c], beta[(size_t)v * C + c]) << v;
    for (int l = 0; l < L; l++) {
      double cnr, pr, pc;
      float es, em;
      ASSERT_EQ(SRTM_calculate_F(T, sigma2, 3.0, l, &cnr, &pr, &pc, &es, &em), 0);
      const double *s = &stats[((size_t)v * L + l) * 5];
      ASSERT_EQ(cnr, s[0]);
      ASSERT_EQ(pr, s[1]);
      ASSERT_EQ(pc, s[2]);
      ASSERT_EQ((double)es, s[3]);
      ASSERT_EQ((double)em, s[4]);
    }
  }
}

TEST(PetFailures, AllZeroReferenceCurveRunsOnWithTheSingularMatrix) {
  PetRunPlan plan = run_of("0\n1 R1\n\n2 k2\n\n3 k2a\n\n", frames(8));
  plan.reference.assign(8, 0.0f);
  PetModel m("conditions 3\n", {plan});
  ASSERT_EQ(m.read.result, 0);
  int result = -1;
  Captured c = capture_output([&] { result = SRTM_define_static_basis_functions(); });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(c.out, "Warning: the normal matrix of the PET model is singular (column 1).\n");
  ASSERT_EQ(SRTM_define_conditions(SRTM_input.condition_string), 0);
  std::vector<float> data(SRTM.target_t, SRTM.target_t + 8), fit(8), err(8);
  double s2;
  EXPECT_EQ(SRTM_fit_data(8, data.data(), fit.data(), err.data(), &s2), 0);
  double cnr, pr, pc;
  float es, em;
  // The hat matrix of the partial inverse leaves no degrees of freedom:
  // the beta integral refuses them and ends the run with its message.
  c = capture_output([&] { SRTM_calculate_F(8, s2, 0, 0, &cnr, &pr, &pc, &es, &em); });
  EXPECT_LT(SRTM.dof, 0.0);
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out.substr(0, 27), "ibeta: Domain error!, a = -");
}

TEST(PetFailures, NotANumberFrameGivesPlainIeeeResults) {
  Fitted f("conditions 3 1,2\n", {run_of("0\n1 R1\n\n2 k2\n\n3 k2a\n\n", frames(10))});
  ASSERT_EQ(f.result, 0);
  std::vector<float> data(SRTM.target_t, SRTM.target_t + 10), fit(10), err(10);
  data[4] = NAN;
  double s2;
  ASSERT_EQ(SRTM_define_dynamic_basis_functions(10, data.data()), 0);
  ASSERT_EQ(SRTM_fit_data(10, data.data(), fit.data(), err.data(), &s2), 0);
  EXPECT_TRUE(std::isnan(s2));
  for (int l = 0; l < 2; l++) {
    double cnr, pr, pc;
    float es, em;
    ASSERT_EQ(SRTM_calculate_F(10, s2, 1, l, &cnr, &pr, &pc, &es, &em), 0);
    EXPECT_EQ(pr, 1.0);  // a test that is not a number is no evidence
    EXPECT_TRUE(std::isnan(pc));  // the corrected p keeps the IEEE result
    EXPECT_TRUE(std::isnan(cnr));
  }
  std::vector<double> b(3), s(1), d(1), st(10);
  ASSERT_EQ(SRTM_fit_voxels(1, 10, data.data(), 1, 2, b.data(), s.data(), d.data(), st.data()), 0);
  EXPECT_TRUE(std::isnan(s[0]));
  EXPECT_EQ(st[1], 1.0);
}

TEST(PetFailures, MapVoxelsWithoutDegreesOfFreedomAreMarked) {
  Fitted f("conditions 3\n", {run_of("0\n1 R1\n\n2 k2\n\n3 k2a\n\n", frames(3))});
  ASSERT_EQ(f.result, 0);
  std::vector<float> data(SRTM.target_t, SRTM.target_t + 3);
  data[1] += 5.0f;
  std::vector<double> b(3), s(1), d(1), st(5);
  Captured c = capture_output([&] { EXPECT_EQ(SRTM_fit_voxels(1, 3, data.data(), 0, 1, b.data(), s.data(), d.data(), st.data()), 0); });
  // Three frames for three coefficients: 3.5 - 1.25 * 3 is below zero, and
  // the exact fit leaves a residual of rounding alone.
  EXPECT_LT(d[0], 0.0);
  ASSERT_NE(s[0], 0.0);
  EXPECT_TRUE(std::isnan(st[1]));
  EXPECT_EQ(c.out, "Warning: 1 voxels have no degrees of freedom left; their tests are not a number.\n");
}

TEST(PetParameters, ErrorsUseTheSignedDiagonalTimesTheShape) {
  // A table-shaped k2a whose column is negative at frame 2.
  PetRunPlan plan = run_of("0\n1 R1\n\n2 k2\n\n3 k2a table\n1\n", frames(10));
  plan.extra = {{1.0, 2.0, -0.5, 3.0, 4.0, 3.0, 2.5, 2.0, 1.5, 1.0}};
  Fitted f("", {plan});
  ASSERT_EQ(f.result, 0) << f.out;
  std::vector<float> data(SRTM.target_t, SRTM.target_t + 10), fit(10), err(10);
  double s2, e;
  SRTM_fit_data(10, data.data(), fit.data(), err.data(), &s2);
  double v = SRTM_get_parameter_value(-2, 4, &e);
  EXPECT_DOUBLE_EQ(v, SRTM.Beta_c[2] * 1.0);  // 4 is the peak: normalised to 1
  EXPECT_DOUBLE_EQ(e, std::sqrt(SRTM.XTXm1_cc[2][2] * 1.0 * SRTM.sigma2));
  v = SRTM_get_parameter_value(-2, 3, &e);
  EXPECT_DOUBLE_EQ(v, SRTM.Beta_c[2] * 0.75);
  EXPECT_DOUBLE_EQ(e, std::sqrt(SRTM.XTXm1_cc[2][2] * 0.75 * SRTM.sigma2));  // the shape, not its square
  v = SRTM_get_parameter_value(-2, 2, &e);
  EXPECT_DOUBLE_EQ(v, SRTM.Beta_c[2] * -0.125);
  EXPECT_TRUE(std::isnan(e));  // a negative shape leaves a negative sum under the root
}

}  // namespace
