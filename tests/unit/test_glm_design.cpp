#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>

#include "glm_test_files.h"

namespace {

using Design = GlmModel;

TEST(DesignMatrix, SquareEventsWithoutKernelAndBaselineColumns) {
  Design d("baseline-terms 4\n", {{6, "2\n\n1\n2 6 2\n"}, {5, "2\n\n1\n0 2\n"}});
  ASSERT_EQ(d.read.result, 0) << d.read.printed.out;
  ASSERT_EQ(d.result, 0) << d.out;
  EXPECT_EQ(GLM.initialized, 2);
  EXPECT_EQ(GLM.ncoeff, 1 + 2 * 4);
  EXPECT_EQ(GLM.nbaseline, 8);
  EXPECT_EQ(GLM.dof, 11.0f - 9.0f);
  // Samples at the start of each TR: t = 2, 4, 6 in run 1 and 12, 14 in run 2.
  float expected[11] = {0, 1, 1, 1, 0, 0, 0.5f, 0.5f, 0, 0, 0};
  for (int t = 0; t < 11; t++) EXPECT_FLOAT_EQ(GLM.X_tc[t][0], expected[t]) << t;
  for (int t = 0; t < 11; t++) {
    int r = t < 6 ? 0 : 1;
    int i = t - (r ? 6 : 0), d2 = r ? 4 : 5;
    float x = (float)i / d2;
    EXPECT_EQ(GLM.X_tc[t][1 + r], 1.0f);
    EXPECT_EQ(GLM.X_tc[t][1 + (1 - r)], 0.0f);
    EXPECT_EQ(GLM.X_tc[t][3 + r], x - 0.5f);
    EXPECT_EQ(GLM.X_tc[t][5 + r], (float)(x * x - 1.0 / 3.0));
    EXPECT_EQ(GLM.X_tc[t][7 + r], x * x * x - 0.25f);
    EXPECT_EQ(GLM.X_tc[t][7 + (1 - r)], 0.0f);
  }
}

TEST(DesignMatrix, AbuttingSquaresOverlapWithoutKernel) {
  Design d("", {{10, "2\n\n1\n0 4\n4 8\n"}});
  ASSERT_EQ(d.read.result, 0);
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.out, "Error: overlapping stimuli for event 1 and stimulus 1\n");
  EXPECT_NE(GLM.initialized, 2);
}

TEST(DesignMatrix, AbuttingSquaresSeparatedWithKernel) {
  Design d("IRF BOLD-monkey\n", {{10, "2\n\n1\n0 4\n4 8\n"}});
  ASSERT_EQ(d.read.result, 0);
  EXPECT_EQ(d.result, 0) << d.out;
}

TEST(DesignMatrix, KernelStepAboveTheTrRefused) {
  GlmStudy s;
  std::string k = s.text("k.irf", "10 5 1\n2 4\n1 1\n");
  Design d("IRF " + k + "\n", {{10, "2\n\n1\n0 4\n"}});
  ASSERT_EQ(d.read.result, 0);
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.out, "Error: the IRF time step (5.000000) must be <= TR (2.000000)\n");
}

TEST(DesignMatrix, OnePointRunHasNoLinearTerm) {
  Design d("baseline-terms 2\n", {{1, "2\n\n1\n0 1\n"}, {4, "2\n\n2\n0 2\n"}});
  ASSERT_EQ(d.read.result, 0);
  ASSERT_EQ(d.result, 0) << d.out;
  EXPECT_TRUE(std::isnan(GLM.X_tc[0][2 + 2]));
  EXPECT_FALSE(std::isnan(GLM.X_tc[1][2 + 3]));
}

TEST(DesignMatrix, NoBaselineTerms) {
  Design d("fPET-analysis\n", {{8, "2\n\n1\n0 4\n"}});
  ASSERT_EQ(d.result, 0);
  EXPECT_EQ(GLM.ncoeff, 1);
  EXPECT_EQ(GLM.nbaseline, 0);
}

TEST(DesignMatrix, ExcludedPointsKeepTheirDrawnValues) {
  Design d("baseline-terms 1\n", {{8, "2\n\n1\n0 6\n\n-1\n1 2\n"}});
  ASSERT_EQ(d.result, 0) << d.out;
  EXPECT_EQ(GLM.ntime_included, 6);
  EXPECT_FLOAT_EQ(GLM.dof, 4.0f);
  EXPECT_EQ(GLM.include_time[1], 0);
  EXPECT_EQ(GLM.X_tc[1][0], 0.0f);
  EXPECT_EQ(GLM.X_tc[2][1], 0.0f);
  EXPECT_EQ(GLM.Xorig_tc[1][0], 1.0f);
  EXPECT_EQ(GLM.Xorig_tc[2][1], 1.0f);
  EXPECT_TRUE(GLM_is_excluded(2));
  EXPECT_FALSE(GLM_is_excluded(3));
  EXPECT_EQ(GLM_get_number_excluded_regions(), 1);
  int a = -1, b = -1;
  EXPECT_EQ(GLM_get_excluded_region(0, &a, &b), 0);
  EXPECT_EQ(a, 1);
  EXPECT_EQ(b, 2);
  EXPECT_EQ(GLM_get_excluded_region(1, &a, &b), 1);
  EXPECT_EQ(GLM_number_time_points(), 8);
  EXPECT_EQ(GLM_get_design_matrix(), GLM.Xorig_tc);
}

TEST(DesignMatrix, ZeroRegressorGivesASingularModelThatRunsOn) {
  // A ramp sampled only where it is zero, at its start.
  Design d("baseline-terms 1\n", {{6, "2\n\n1 ramp-up\n4 5\n"}});
  ASSERT_EQ(d.result, 0) << d.out;
  for (int t = 0; t < 6; t++) EXPECT_EQ(GLM.X_tc[t][0], 0.0f);
  EXPECT_EQ(GLM.initialized, 2);
}

TEST(DesignMatrix, GammaStimuliAddAndPeakAtTheScale) {
  Design d("scale-event 3 1\n", {{40, "1\n\n1 gamma 2\n2 1\n4 3\n"}});
  ASSERT_EQ(d.result, 0) << d.out;
  float peak = 0;
  for (int t = 0; t < 40; t++) peak = std::max(peak, GLM.X_tc[t][0]);
  EXPECT_FLOAT_EQ(peak, 3.0f);
  // Before the second stimulus the first alone: only the ratio of magnitudes counts.
  float u = (3.0f - 2.0f) / 2.0f;
  float first_alone = (float)(1.0f * pow(u, 1.0f) * exp((1 - u) * 1.0f));
  float t6_first = (6.0f - 2.0f) / 2.0f, t6_second = (6.0f - 4.0f) / 2.0f;
  float sum6 = (float)(exp(1 - t6_first) * t6_first) + (float)(3.0 * t6_second * exp(1 - t6_second));
  EXPECT_NEAR(GLM.X_tc[3][0] / GLM.X_tc[6][0], first_alone / sum6, 1e-6);
}

TEST(DesignMatrix, SharpGammaOnALongRunStaysFinite) {
  // Far from the peak u^alpha overflows while exp((1-u) alpha) vanishes.
  Design d("baseline-terms 1\n", {{3000, "1\n\n1 gamma 0.5 100\n0\n"}});
  ASSERT_EQ(d.result, 0) << d.out;
  for (int t = 0; t < 3000; t++) ASSERT_TRUE(std::isfinite(GLM.X_tc[t][0])) << t;
  EXPECT_FLOAT_EQ(GLM.X_tc[0][0], 0.0f);
  EXPECT_FLOAT_EQ(GLM.X_tc[2999][0], 0.0f);
  float peak = 0;
  for (int t = 0; t < 3000; t++) peak = std::max(peak, GLM.X_tc[t][0]);
  EXPECT_FLOAT_EQ(peak, 1.0f);
}

TEST(DesignMatrix, NegativePeakKeepsItsSign) {
  Design d("", {{10, "2\n\n1\n2 6 -4\n"}});
  ASSERT_EQ(d.result, 0);
  EXPECT_EQ(GLM.X_tc[2][0], -1.0f);
  EXPECT_EQ(GLM.X_tc[0][0], 0.0f);
}

TEST(DesignMatrix, TableInterpolatedOnTheFineAxis) {
  GlmStudy s;
  std::string table = s.text("t.dat", "a b\n0 1\n10 2\n20 3\n30 4\n");
  std::string data = s.run("run1", 4);
  s.text("run1.glm", "2\n\n1 table 1\n\n2 table 0\n");
  std::string k = s.text("k.irf", "4 1 1\n2 4\n1 1\n");
  ControlRead r = read_control(
      s.text("a.ctl", "drift-correct 0 12\nconvolve-table 1\nIRF " + k + "\nruns:\n" + data + " " + s.path("run1.glm") + " " + table + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  std::vector<float> paradigm(8);
  GLMInternal_create_table(1, 2, paradigm.data());
  // Step 1 s: the column at f = 0, 0.5, 1, ... 3; the last sample lies past
  // the entry's end, the run's last TR.
  float expected[8] = {0, 5, 10, 15, 20, 25, 30, 0};
  for (int i = 0; i < 8; i++) EXPECT_FLOAT_EQ(paradigm[i], expected[i]) << i;
  Captured c = capture_output([] { EXPECT_EQ(GLM_define_basis_functions(), 0); });
  EXPECT_EQ(GLM.ntable_events, 2);
  // Unconvolved table 0 is scaled over the first ntime fine samples only:
  // its peak there is 15, and the later samples keep their values.
  EXPECT_FLOAT_EQ(GLM.X_tc[0][1], 0.0f);
  EXPECT_FLOAT_EQ(GLM.X_tc[1][1], 10.0f / 15.0f);
  EXPECT_FLOAT_EQ(GLM.X_tc[2][1], 20.0f);
  EXPECT_FLOAT_EQ(GLM.X_tc[3][1], 30.0f);
}

TEST(DesignMatrix, InteractionIsTheProductOfItsPartners) {
  Design d("baseline-terms 1\n", {{10, "2\n\n1\n2 10\n\n2 ramp-up\n0 18\n\n3 interaction 1 2\n"}});
  ASSERT_EQ(d.result, 0) << d.out;
  float peak = 0;
  for (int t = 0; t < 10; t++) peak = std::max(peak, fabsf(GLM.X_tc[t][0] * GLM.X_tc[t][1]));
  for (int t = 0; t < 10; t++) EXPECT_FLOAT_EQ(GLM.X_tc[t][2], GLM.X_tc[t][0] * GLM.X_tc[t][1] / peak) << t;
}

TEST(DesignMatrix, InteractionWithLetterPartnersIsAProgrammingError) {
  Design d("", {{10, "2\n\na\n2 10\n\nb ramp-up\n0 18\n\nc interaction a b\n"}});
  ASSERT_EQ(d.read.result, 0);
  EXPECT_EQ(d.out, "Programming error in function GLMInternal_create_interaction.\nicoeff1 = -1, icoeff2 = -1\n");
}

TEST(DesignMatrix, ExplicitBaselineEvents) {
  Design d("baseline-terms 0\n",
           {{5, "2\n\n1 baseline 0\n\n2 baseline 1\n\n3 baseline 2\n\n4 baseline 3\n\n5 baseline-exp-sat 4\n"},
            {5, "2\n\n6\n0 2\n"}});
  ASSERT_EQ(d.result, 0) << d.read.printed.out << d.out;
  EXPECT_EQ(d.out, "tau = 4\n");
  for (int t = 0; t < 10; t++) {
    float x = t <= 4 ? t / 4.0f : 0.0f;
    EXPECT_EQ(GLM.X_tc[t][0], t <= 4 ? 1.0f : 0.0f);
    EXPECT_EQ(GLM.X_tc[t][1], x);
    EXPECT_EQ(GLM.X_tc[t][2], x * x);
    EXPECT_EQ(GLM.X_tc[t][3], x * x * x);
    EXPECT_FLOAT_EQ(GLM.X_tc[t][4], t <= 4 ? (float)(1 - exp(-t * 2.0 / 4.0)) : 0.0f);
  }
}

TEST(DesignMatrix, ConvolutionIsACausalSumOverAllRuns) {
  GLM_engine_reset();
  GLM.ntime = 6;
  HRF.nhrf = 1;
  float kernel[3] = {1.0f, 0.5f, 0.25f};
  HRF.amp = kernel;
  HRF.npoints = 3;
  float p[6] = {0, 1, 0, 0, 2, 0};
  GLMInternal_convolve_paradigm_IRF(0, 1, p, 0);
  float expected[6] = {0, 1, 0.5f, 0.25f, 2, 1};
  for (int i = 0; i < 6; i++) EXPECT_FLOAT_EQ(p[i], expected[i]);
  HRF.amp = nullptr;
  HRF.nhrf = 0;
  float q[6] = {1, 2, 3, 4, 5, 6};
  GLMInternal_convolve_paradigm_IRF(0, 1, q, 0);  // no kernel: unchanged
  EXPECT_EQ(q[5], 6.0f);
  GLM.event_tau2[0] = 1.0f;
  Captured c = capture_output([&] { GLMInternal_convolve_paradigm_IRF(1, 1, q, 0); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error 1 in function GLMInternal_convolve_paradigm_IRF.\n");
  GLM.event_tau1[0] = 1.0f;
  c = capture_output([&] { GLMInternal_convolve_paradigm_IRF(2, 1, q, 0); });
  EXPECT_EQ(c.out, "Programming error 2 in function GLMInternal_convolve_paradigm_IRF.\n");
  GLM_engine_reset();
}

TEST(DesignMatrix, IntegrationAndNormalisation) {
  GLM_engine_reset();
  GLM.ntime = 5;
  float p[5] = {1, 2, -3, 4, 0};
  GLMInternal_integrate_paradigm(1, p);
  float expected[5] = {0, 1, 3, 0, 4};
  for (int i = 0; i < 5; i++) EXPECT_EQ(p[i], expected[i]);
  float q[4] = {1, -4, 4, 2};
  EXPECT_EQ(GLMInternal_normalize_paradigm(4, q, 2.0f), -8.0f);
  EXPECT_EQ(q[1], -2.0f);
  EXPECT_EQ(q[2], 2.0f);
  EXPECT_EQ(q[3], 1.0f);
  float z[3] = {0, 0, 0};
  EXPECT_EQ(GLMInternal_normalize_paradigm(3, z, 5.0f), 0.0f);
  EXPECT_EQ(z[1], 0.0f);
  GLM_engine_reset();
}

TEST(DesignMatrix, ShapesOnTheFineAxis) {
  Design d("IRF BOLD-rat\n", {{4, "1\n\n1 ramp-down\n0 2 2\n"}});
  ASSERT_EQ(d.result, 0);
  std::vector<float> p(40);
  ASSERT_EQ(GLMInternal_create_stimulus_paradigm(0, 10, p.data()), 0);
  EXPECT_FLOAT_EQ(p[0], 2.0f);
  EXPECT_FLOAT_EQ(p[5], 2.0f * (1 - 0.5f / 2.0f));
  EXPECT_EQ(p[21], 0.0f);
}

TEST(DesignMatrix, RebuildingReleasesAndRestoresWeights) {
  Design d("baseline-terms 2\n", {{8, "2\n\n1\n0 4\n"}});
  ASSERT_EQ(d.result, 0);
  GLM.Weight_t[3] = 7.0f;
  GLM_input.nbaseline_terms = 1;
  ASSERT_EQ(GLM_define_basis_functions(), 0);
  EXPECT_EQ(GLM.ncoeff, 2);
  EXPECT_EQ(GLM.Weight_t[3], 1.0f);
}

TEST(DesignMatrix, PseudoInverseAndHatDiagonal) {
  Design d("baseline-terms 2\n", {{12, "2\n\n1\n4 10\n"}});
  ASSERT_EQ(d.result, 0);
  // (X'X)^-1 X' X = I and the hat diagonal sums to the number of columns.
  for (int a = 0; a < GLM.ncoeff; a++)
    for (int b = 0; b < GLM.ncoeff; b++) {
      float sum = 0;
      for (int t = 0; t < GLM.ntime; t++) sum += GLM.XTXm1XT_ct[a][t] * GLM.X_tc[t][b];
      EXPECT_NEAR(sum, a == b ? 1.0f : 0.0f, 1e-5);
    }
  float trace = 0;
  for (int t = 0; t < GLM.ntime; t++) trace += GLM.HatDiag_t[t];
  EXPECT_NEAR(trace, 3.0f, 1e-5);
  EXPECT_EQ(GLM.dof, 9.0f);
}

TEST(DesignMatrix, WeightedModelsUseTheEffectiveDegreesOfFreedom) {
  Design d("baseline-terms 2\nnoise-model iWLS\n", {{12, "2\n\n1\n4 10\n\n-1\n0 1\n"}});
  ASSERT_EQ(d.result, 0);
  float trace = 0;
  for (int t = 0; t < GLM.ntime; t++) trace += GLM.HatDiag_t[t];
  EXPECT_FLOAT_EQ(GLM.dof, (float)(10 + 0.5 - 1.25 * trace));
}

std::string slurp(const std::string &path) {
  std::ifstream in(path);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

TEST(DesignMatrix, BasisFileForPlotting) {
  Design d("baseline-terms 4\n", {{3, "2\n\n1\n2 4\n\na\n0 1\n"}, {3, "2\n\n1\n0 1\n"}});
  ASSERT_EQ(d.result, 0) << d.out;
  in_directory(d.s.dir, [] { GLM_describe_basis_functions(); });
  std::string text = slurp(d.s.path("basis.dat"));
  std::string header = "x event_1 event_a offset0 offset1 slope0 slope1 quad0 quad1 triad0 triad1 \n";
  ASSERT_EQ(text.substr(0, header.size()), header);
  std::istringstream lines(text.substr(header.size()));
  std::string line;
  for (int t = 0; t < 6; t++) {
    ASSERT_TRUE(std::getline(lines, line));
    std::string expected = std::to_string(t) + " ";
    for (int c = 0; c < GLM.ncoeff; c++) {
      char v[32];
      snprintf(v, sizeof v, "%f ", GLM.Xorig_tc[t][c]);
      expected += v;
    }
    EXPECT_EQ(line, expected);
  }
  mkdir(d.s.path("x").c_str(), 0755);
  mkdir(d.s.path("x/basis.dat").c_str(), 0755);
  Captured c;
  in_directory(d.s.path("x"), [&] { c = capture_output([] { GLM_describe_basis_functions(); }); });
  EXPECT_EQ(c.out, "Cannot open basis function output file ...\n");
}

}  // namespace

namespace {

TEST(DesignMatrix, EmptyModelBuildsAndFits) {
  GlmStudy s;
  ControlRead r = read_control(s.text("a.ctl", "runs:\n"));
  ASSERT_EQ(r.result, 0);
  EXPECT_EQ(GLM_define_basis_functions(), 0);
  EXPECT_EQ(GLM.ncoeff, 0);
  EXPECT_EQ(GLM.ntime, 0);
  float sigma2 = -1;
  EXPECT_EQ(GLM_fit_data(0, nullptr, nullptr, &sigma2), 0);
}

}  // namespace
