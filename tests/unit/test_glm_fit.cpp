#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "glm_test_files.h"
#include "zor_linear_models.h"

namespace {

std::vector<float> series_from(const std::vector<double> &beta, double noise_scale, int seed) {
  std::vector<float> y(GLM.ntime);
  unsigned state = seed;
  for (int t = 0; t < GLM.ntime; t++) {
    double v = 0;
    for (int c = 0; c < GLM.ncoeff; c++) v += beta[c] * GLM.Xorig_tc[t][c];
    state = state * 1103515245u + 12345u;
    v += noise_scale * (((state >> 16) & 0x7fff) / 32768.0 - 0.5);
    y[t] = (float)v;
  }
  return y;
}

GlmModel two_runs(const std::string &keywords = "") {
  return GlmModel("baseline-terms 2\n" + keywords,
                  {{20, "2\n\n1\n4 10\n20 26\n\n2 gamma 4\n12\n\n-1\n17 18\n"}, {16, "2\n\n1\n2 8\n\n2 gamma 4\n14\n"}});
}

TEST(Fit, ExactDataGivesItsCoefficients) {
  GlmModel m = two_runs();
  ASSERT_EQ(m.result, 0) << m.read.printed.out << m.out;
  std::vector<double> beta = {3, -2, 100, 90, 5, -4};
  std::vector<float> y = series_from(beta, 0, 1), fit(36);
  float sigma2 = -1;
  EXPECT_EQ(GLM_fit_data(36, y.data(), fit.data(), &sigma2), 0);
  for (int c = 0; c < 6; c++) EXPECT_NEAR(GLM.Beta_c[c], beta[c], 2e-3) << c;
  EXPECT_NEAR(sigma2, 0.0f, 1e-6);
  EXPECT_EQ(GLM.Sigma2, sigma2);
  for (int t = 0; t < 36; t++) EXPECT_NEAR(fit[t], y[t], 2e-3);
}

TEST(Fit, VarianceResidueAndExcludedPoints) {
  GlmModel m = two_runs();
  std::vector<float> y = series_from({3, -2, 100, 90, 5, -4}, 4.0, 7), fit(36);
  y[17] = 1e4f;  // excluded: no weight on the fit
  float sigma2;
  GLM_fit_data(36, y.data(), fit.data(), &sigma2);
  double sse = 0;
  for (int t = 0; t < 36; t++) {
    double f = 0;
    for (int c = 0; c < 6; c++) f += (double)GLM.Beta_c[c] * GLM.Xorig_tc[t][c];
    EXPECT_NEAR(fit[t], f, 1e-3);
    if (t == 17 || t == 18) {
      EXPECT_EQ(GLM.Residue_t[t], 0.0f);
      continue;
    }
    sse += (y[t] - f) * (y[t] - f);
    EXPECT_NEAR(GLM.Residue_t[t], y[t] - fit[t], 1e-4);
  }
  EXPECT_EQ(GLM.dof, 34.0f - 6.0f);
  EXPECT_NEAR(sigma2, sse / 28.0, 1e-4 * sse / 28.0);
  EXPECT_LT(fabs(GLM.Beta_c[2] - 100), 5);
}

TEST(Fit, CountMismatchEndsTheProcess) {
  GlmModel m = two_runs();
  std::vector<float> y(40), fit(40);
  float sigma2;
  Captured c = capture_output([&] { GLM_fit_data(35, y.data(), fit.data(), &sigma2); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: the number of data time points (35) does not match the number in the GLM (36).\n");
  c = capture_output([&] { GLM_PreFilter(0, 37, y.data()); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: the number of data time points (37) does not match the number in the GLM (36).\n");
}

TEST(Fit, IteratedWeightsStartFromEqualWeights) {
  GlmModel m = two_runs("noise-model iWLS\n");
  std::vector<float> y = series_from({3, -2, 100, 90, 5, -4}, 6.0, 3), fit(36);
  for (int t = 25; t < 30; t++) y[t] += 20 * ((t % 2) ? 1 : -1);  // a noisy stretch
  GLM_Update_Weights(36, y.data());
  for (int t = 0; t < 36; t++) EXPECT_EQ(GLM.Weight_t[t], 1.0f);
  float sigma2;
  GLM_fit_data(36, y.data(), fit.data(), &sigma2);
  double mean = 0;
  for (int t = 0; t < 36; t++) mean += GLM.NoiseRaw_t[t];
  EXPECT_NEAR(mean / GLM.ntime_included, 1.0, 1e-5);
  EXPECT_EQ(GLM.Weight_t[17], 0.0f);
  EXPECT_LT(GLM.Weight_t[26], GLM.Weight_t[5]);
  float trace = 0;
  for (int t = 0; t < 36; t++) trace += GLM.HatDiag_t[t];
  EXPECT_FLOAT_EQ(GLM.dof, (float)(34 + 0.5 - 1.25 * trace));
  GLM_Update_Weights(36, y.data());
  for (int t = 0; t < 36; t++) EXPECT_EQ(GLM.Weight_t[t], 1.0f);
}

TEST(Fit, ZeroVarianceSkipsTheIteration) {
  GlmModel m = two_runs("noise-model iWLS\n");
  std::vector<float> y(36, 0.0f), fit(36);
  float sigma2 = -1;
  GLM_fit_data(36, y.data(), fit.data(), &sigma2);
  EXPECT_EQ(sigma2, 0.0f);
  for (int t = 0; t < 36; t++) EXPECT_EQ(GLM.Weight_t[t], 1.0f);
}

TEST(Fit, ConstantSeriesUnderOls) {
  GlmModel m = two_runs();
  std::vector<float> y(36, 250.0f), fit(36);
  float sigma2;
  GLM_fit_data(36, y.data(), fit.data(), &sigma2);
  EXPECT_LT(sigma2, 1e-6f);
  EXPECT_NEAR(GLM.Beta_c[2], 250.0f, 1e-2);
}

TEST(Fit, PetWeightsWithoutDecayAreEqualPerRun) {
  GlmModel m = two_runs("noise-model fPET\n");
  ASSERT_EQ(m.result, 0);
  std::vector<float> y(36);
  for (int t = 0; t < 36; t++) y[t] = 5 + t;
  GLM_Update_Weights(36, y.data());
  for (int r = 0; r < 2; r++) {
    int start = GLM.run_start[r], n = GLM.run_stop[r] - start + 1;
    std::vector<double> raw(n);
    double signal = y[start], mean = 0;
    int used = 0;
    for (int j = 0; j < n; j++) {
      if (j > 0) signal += y[start + j - 1];
      raw[j] = sqrt(fabs(signal));
      if (GLM.include_time[start + j]) {
        mean += raw[j];
        used++;
      }
    }
    mean /= used;  // the one-term fit: the mean over included points
    for (int j = 0; j < n; j++) {
      EXPECT_NEAR(GLM.NoiseFit_t[start + j], 1.0, 1e-5);
      EXPECT_NEAR(GLM.Weight_t[start + j], 1.0, 1e-4);
      EXPECT_NEAR(GLM.NoiseRaw_t[start + j], raw[j] / mean, 1e-5 * raw[j] / mean);
    }
  }
}

TEST(Fit, PetWeightsFollowTheDecay) {
  GlmModel m = two_runs("noise-model fPET 20\n");
  std::vector<float> y(36);
  for (int t = 0; t < 36; t++) y[t] = 50;
  GLM_Update_Weights(36, y.data());
  float tau = 20 * 1.442695;
  // Noise grows with time in each run, so weights fall.
  EXPECT_GT(GLM.Weight_t[1], GLM.Weight_t[15]);
  EXPECT_GT(GLM.Weight_t[21], GLM.Weight_t[35]);
  double ratio = GLM.NoiseRaw_t[10] / GLM.NoiseRaw_t[5];
  double expected = sqrt(exp(20 / tau) * 50 * 11) / sqrt(exp(10 / tau) * 50 * 6);
  EXPECT_NEAR(ratio, expected, 1e-5);
  double sum = 0;
  for (int t = 0; t < 20; t++) sum += GLM.NoiseFit_t[t];
  EXPECT_NEAR(sum / 20, 1.0, 1e-5);
}

TEST(Fit, BaselineRemovalAndPercentUnits) {
  GlmModel m = two_runs();
  std::vector<float> y = series_from({3, -2, 100, 50, 5, -4}, 1.0, 5), fit(36);
  float sigma2;
  GLM_fit_data(36, y.data(), fit.data(), &sigma2);
  std::vector<float> d = y, f = fit;
  EXPECT_EQ(GLM_remove_baseline(0, 36, d.data(), f.data()), 0);
  for (int t = 0; t < 36; t++) {
    float base = 0;
    for (int c = 2; c < 6; c++) base += GLM.Xorig_tc[t][c] * GLM.Beta_c[c];
    EXPECT_NEAR(d[t], y[t] - base, 1e-3);
    EXPECT_NEAR(f[t], GLM.Beta_c[0] * GLM.Xorig_tc[t][0] + GLM.Beta_c[1] * GLM.Xorig_tc[t][1], 1e-3);
  }
  std::vector<float> p = y, g = fit;
  GLM_remove_baseline(1, 36, p.data(), g.data());
  EXPECT_NEAR(p[3], d[3] * 100 / GLM.Beta_c[2], 1e-3);
  EXPECT_NEAR(p[30], d[30] * 100 / GLM.Beta_c[3], 1e-3);
  Captured c = capture_output([&] { EXPECT_EQ(GLM_remove_baseline(0, 30, p.data(), g.data()), 1); });
  EXPECT_EQ(c.out, "Error: # time points (30) does not match GLM (36) in GLM_remove_baseline()\n");
  // Two runs, two terms: the stride of the number of terms reads the first
  // run's constant, then the first run's slope.
  float expected = 20 * GLM.Beta_c[2] / 36 + 16 * GLM.Beta_c[4] / 36;
  EXPECT_FLOAT_EQ(GLM_compute_baseline(), expected);
}

TEST(Fit, BaselineWithoutBaselineTerms) {
  GlmModel m("baseline-terms 0\n", {{10, "2\n\n1\n2 8\n"}});
  ASSERT_EQ(m.result, 0);
  EXPECT_EQ(GLM_compute_baseline(), 0.0f);
}

TEST(Fit, NoiseCurves) {
  GlmModel m = two_runs();
  std::vector<float> y = series_from({3, -2, 100, 50, 5, -4}, 3.0, 9), fit(36), noise(36);
  float sigma2;
  GLM_fit_data(36, y.data(), fit.data(), &sigma2);
  GLM.NoiseRaw_t[4] = 2.0f;
  EXPECT_EQ(GLM_get_noise(0, 36, noise.data()), 0);
  EXPECT_FLOAT_EQ(noise[4], 2.0f * sqrtf(sigma2));
  EXPECT_EQ(GLM_get_noise(1, 36, noise.data()), 0);
  EXPECT_FLOAT_EQ(noise[4], sqrtf(sigma2));
  Captured c = capture_output([&] { EXPECT_EQ(GLM_get_noise(1, 3, noise.data()), 1); });
  EXPECT_EQ(c.out, "Error: the specified # of time points (3) does not match the GLM (36).\n");
}

TEST(Fit, SettingsOfTheViewer) {
  GlmModel m = two_runs();
  GLM_set_noise_model(NOISE_iWLS);
  EXPECT_EQ(GLM_get_noise_model(), NOISE_iWLS);
  float low, high, phase;
  GLM_get_preGLM_frequency_band(&low, &high);
  EXPECT_EQ(low, 0.0f);
  EXPECT_EQ(high, 0.5f);  // 1/TR for a stored 0
  EXPECT_EQ(GLM_input.freq_high_pre, 0.0f);
  GLM_set_preGLM_frequency_band(0.01f, 0.2f);
  GLM_get_preGLM_frequency_band(&low, &high);
  EXPECT_EQ(low, 0.01f);
  EXPECT_EQ(high, 0.2f);
  GLM_set_preGLM_phase_shift(0.5f);
  GLM_get_preGLM_phase_shift(&phase);
  EXPECT_EQ(phase, 0.5f);
}

TEST(PreFilter, NeedsAFinishedModel) {
  GLM_engine_reset();
  float y[4] = {1, 2, 3, 4};
  Captured c = capture_output([&] { EXPECT_EQ(GLM_PreFilter(0, 4, y), 1); });
  EXPECT_EQ(c.out, "Error in GLM_PreFilter: first initialize the GLM and define stimuli\n");
}

TEST(PreFilter, NoBandLeavesTheDataAlone) {
  GlmModel m = two_runs();
  std::vector<float> y = series_from({3, -2, 100, 50, 5, -4}, 3.0, 9), copy = y;
  Captured c = capture_output([&] { EXPECT_EQ(GLM_PreFilter(0, 36, y.data()), 0); });
  EXPECT_EQ(c.out, "");
  EXPECT_EQ(y, copy);
}

TEST(PreFilter, ZeroHighEdgeKeepsOnlyTheLastBin) {
  GlmModel m = two_runs();
  GLM_FrequencyFilter_reset();
  GLM_input.phase_shift = 0.3f;  // runs the filter with the stored band 0, 0
  std::vector<float> y = series_from({3, -2, 100, 50, 5, -4}, 3.0, 9);
  double nyquist = 0;
  for (int k = 0; k < 36; k++) nyquist += y[k] * ((k % 2) ? -1.0 : 1.0);
  Captured c = capture_output([&] { GLM_PreFilter(0, 36, y.data()); });
  EXPECT_EQ(c.out, "Frequency band = 0 to 0.5, filter from 0 to 0 before GLM\n");
  for (int j = 0; j < 36; j++) EXPECT_NEAR(y[j], nyquist / 36 * ((j % 2) ? -1 : 1), 1e-3) << j;
  c = capture_output([&] { GLM_PreFilter(0, 36, y.data()); });
  EXPECT_EQ(c.out, "");  // the band is told once
}

TEST(PreFilter, LowPassOnlyWithAZeroLowEdge) {
  GlmModel m = two_runs();
  GLM_FrequencyFilter_reset();
  GLM_input.freq_high_pre = 1e6f;
  std::vector<float> y = series_from({3, -2, 100, 50, 5, -4}, 3.0, 2), copy = y;
  capture_output([&] { GLM_PreFilter(0, 36, y.data()); });
  for (int j = 0; j < 36; j++) EXPECT_NEAR(y[j], copy[j], 1e-3);
}

TEST(DriftCorrection, TableColumnLosesItsTrend) {
  GlmStudy s;
  std::string rows;
  for (int t = 0; t < 10; t++) rows += std::to_string(2 * t + 1) + " " + std::to_string(t) + "\n";
  std::string table = s.text("t.dat", "a b\n" + rows);
  std::string data = s.run("run1", 10);
  s.text("run1.glm", "2\n\n1 table 0\n\n2 table 1\n");
  ControlRead r = read_control(s.text("a.ctl", "notify\nbaseline-terms 2\ndrift-correct 0 2\nruns:\n" + data + " " +
                                                   s.path("run1.glm") + " " + table + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_NE(r.printed.out.find("drift-correct table event 1 for run 1 and column 0 using 2 terms\n"), std::string::npos);
  EXPECT_EQ(r.printed.out.find("event 2 for run"), std::string::npos);
  for (int t = 0; t < 10; t++) EXPECT_NEAR(GLM.table_value[0][0][t], 0.0f, 1e-4) << t;  // a line, removed whole
  EXPECT_FLOAT_EQ(GLM.table_value[0][1][4], 4.0f);
}

TEST(DriftCorrection, OnlyOverNonZeroPoints) {
  GlmStudy s;
  std::string rows;
  for (int t = 0; t < 8; t++) rows += std::to_string(t < 4 ? 0 : 10 + t) + "\n";
  std::string table = s.text("t.dat", "a\n" + rows);
  std::string data = s.run("run1", 8);
  s.text("run1.glm", "2\n\n1 table 0\n");
  ControlRead r = read_control(s.text("a.ctl", "baseline-terms 1\nruns:\n" + data + " " + s.path("run1.glm") + " " + table + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  // The mean of the non-zero points (15.5) is taken from every point.
  EXPECT_NEAR(GLM.table_value[0][0][0], -15.5f, 1e-4);
  EXPECT_NEAR(GLM.table_value[0][0][7], 17.0f - 15.5f, 1e-4);
}

}  // namespace

namespace {

TEST(PreFilter, ANewModelOfAnotherLengthGetsItsOwnPlans) {
  GlmModel a("baseline-terms 1\nfrequency-filter 0 0.2\n", {{40, "2\n\n1\n4 10\n"}});
  std::vector<float> y(40, 1.0f);
  capture_output([&] { GLM_PreFilter(0, 40, y.data()); });
  GlmModel b("baseline-terms 1\nfrequency-filter 0 0.2\n", {{64, "2\n\n1\n4 10\n"}});
  std::vector<float> z(64, 1.0f);
  Captured c = capture_output([&] { EXPECT_EQ(GLM_PreFilter(0, 64, z.data()), 0); });
  EXPECT_EQ(c.exit_status, -1);
  // A constant keeps its value scaled by the first bin's gain.
  float freq = 1 * (1 / 2.0f) / (64 / 2.0);
  float gain = 1 / (1 + pow(freq / 0.2f, 12.0));
  for (int t = 0; t < 64; t++) EXPECT_NEAR(z[t], gain, 1e-5);
}

TEST(DriftCorrection, OnePointTableEndsTheProcess) {
  GlmStudy s;
  std::string table = s.text("t.dat", "a\n3\n");
  std::string data = s.run("run1", 1);
  s.text("run1.glm", "2\n\n1 table 0\n");
  ControlRead r = read_control(s.text("a.ctl", "baseline-terms 1\nruns:\n" + data + " " + s.path("run1.glm") + " " + table + "\n"));
  EXPECT_EQ(r.printed.exit_status, 1);
  EXPECT_EQ(r.printed.out, "Error: the # of points (1) must be >= 2.\n");
}


// The fit as plain loops over the model's own matrices, in float.
struct PlainFit {
  std::vector<float> beta, fit, residue;
  float sigma2 = 0;
};

PlainFit plain_fit(const std::vector<float> &y) {
  PlainFit p;
  const int nt = GLM.ntime, nc = GLM.ncoeff;
  p.beta.assign(nc, 0.0f);
  p.fit.assign(nt, 0.0f);
  p.residue.assign(nt, 0.0f);
  for (int c = 0; c < nc; c++) {
    float sum = 0.0f;
    for (int t = 0; t < nt; t++) sum += GLM.XTXm1XT_ct[c][t] * (GLM.include_time[t] * GLM.Weight_t[t] * y[t]);
    p.beta[c] = sum;
  }
  float sum2 = 0.0f;
  for (int t = 0; t < nt; t++) {
    float drawn = 0.0f, fit = 0.0f;
    for (int c = 0; c < nc; c++) {
      drawn += p.beta[c] * GLM.Xorig_tc[t][c];
      fit += p.beta[c] * GLM.X_tc[t][c];
    }
    p.fit[t] = drawn;
    float y_prime = GLM.include_time[t] * y[t];
    sum2 += (y_prime - fit) * (y_prime - fit);
    p.residue[t] = GLM.include_time[t] * (y[t] - drawn);
  }
  p.sigma2 = sum2 / GLM.dof;
  return p;
}

int differences(const PlainFit &p, const std::vector<float> &fit, float sigma2) {
  int n = sigma2 != p.sigma2;
  for (int c = 0; c < GLM.ncoeff; c++) n += GLM.Beta_c[c] != p.beta[c];
  for (int t = 0; t < GLM.ntime; t++) n += fit[t] != p.fit[t] || GLM.Residue_t[t] != p.residue[t];
  return n;
}

TEST(Fit, EveryModelSizeFitsBitForBitAsPlainLoops) {
  // From 1 to 22 coefficients, over run lengths that are not multiples of
  // eight: the fast fit must give the very floats of the plain loops.
  for (int terms = 0; terms <= 4; terms++) {
    for (int nruns : {1, 2, 5}) {
      std::vector<std::pair<int, std::string>> runs;
      for (int r = 0; r < nruns; r++) runs.push_back({13 + 2 * r, "2\n\n1\n4 10\n\n2 gamma 4\n12\n"});
      GlmModel m("baseline-terms " + std::to_string(terms) + "\n", runs);
      ASSERT_EQ(m.result, 0) << m.read.printed.out << m.out;
      std::vector<float> y(GLM.ntime), fit(GLM.ntime);
      for (int t = 0; t < GLM.ntime; t++) y[t] = 100.0f + 7.0f * sinf(0.7f * t) + 0.01f * (float)(t * t % 13);
      float sigma2 = -1;
      GLM_fit_data(GLM.ntime, y.data(), fit.data(), &sigma2);
      EXPECT_EQ(differences(plain_fit(y), fit, sigma2), 0) << terms << " terms, " << nruns << " runs";

      // New weights make a new model: the next fit must follow it.
      for (int t = 0; t < GLM.ntime; t++) GLM.Weight_t[t] = 0.5f + 0.25f * (float)(t % 5);
      GLMInternal_complete_model();
      GLM_fit_data(GLM.ntime, y.data(), fit.data(), &sigma2);
      EXPECT_EQ(differences(plain_fit(y), fit, sigma2), 0) << terms << " terms, " << nruns << " runs, weighted";
    }
  }
}

TEST(Fit, RandomModelsAndSeriesFitBitForBitAsPlainLoops) {
  // Random designs (runs, lengths, events, baseline terms, exclusions,
  // weights) and random series: the side-by-side sums may never drift from
  // the plain loops.
  std::mt19937 random(21);
  auto below = [&](int n) { return (int)(random() % (unsigned)n); };
  auto uniform = [&](float low, float high) { return std::uniform_real_distribution<float>(low, high)(random); };
  int models = 0;
  for (int trial = 0; trial < 60; trial++) {
    const int nruns = 1 + below(3);
    // One definition of each event for all runs.
    const std::string gamma = "\n2 gamma " + std::to_string(1 + below(6)) + (below(2) ? " 2" : "") + "\n";
    std::vector<std::pair<int, std::string>> runs;
    for (int r = 0; r < nruns; r++) {
      const int length = 9 + below(40);
      const int last = (length - 1) * 2;  // TR 2: seconds of the last point
      std::string events = "2\n\n1\n";
      const int on = below(last / 2);
      events += std::to_string(on) + " " + std::to_string(on + 1 + below(last / 2)) + " " +
                std::to_string(1 + below(3)) + "\n";
      events += gamma + std::to_string(below(last)) + "\n";
      if (below(2)) events += "\n3 ramp-up\n" + std::to_string(below(last / 2)) + " " + std::to_string(last) + "\n";
      if (below(2)) events += "\n-1\n" + std::to_string(below(length / 2)) + " " + std::to_string(length / 2) + "\n";
      runs.push_back({length, events});
    }
    GlmModel m("baseline-terms " + std::to_string(below(5)) + "\n", runs);
    ASSERT_EQ(m.result, 0) << m.read.printed.out << m.out;
    models++;
    const int nt = GLM.ntime;
    std::vector<float> y(nt), fit(nt);
    for (int series = 0; series < 4; series++) {
      const float scale = series == 3 ? 1.0e6f : 100.0f;
      for (int t = 0; t < nt; t++) y[t] = scale * uniform(-1.0f, 1.0f) + (series == 2 ? 1.0e4f : 0.0f);
      if (series == 1) {
        for (int t = 0; t < nt; t++) GLM.Weight_t[t] = uniform(0.1f, 3.0f);
        GLMInternal_complete_model();
      }
      float sigma2 = -1;
      GLM_fit_data(nt, y.data(), fit.data(), &sigma2);
      EXPECT_EQ(differences(plain_fit(y), fit, sigma2), 0) << "trial " << trial << " series " << series;
    }
  }
  EXPECT_EQ(models, 60);
}

// Every voxel of a small map through the per-voxel calls, in voxel order.
struct VoxelResults {
  std::vector<float> sigma2, statistics;
};

VoxelResults one_by_one(const std::vector<float> &series, int nvoxels, int resels) {
  VoxelResults r;
  const int nt = GLM.ntime, nk = GLM.nconditions;
  std::vector<float> y(nt), fit(nt);
  for (int v = 0; v < nvoxels; v++) {
    std::copy(series.begin() + (size_t)v * nt, series.begin() + (size_t)(v + 1) * nt, y.begin());
    float s2;
    GLM_fit_data(nt, y.data(), fit.data(), &s2);
    r.sigma2.push_back(s2);
    for (int k = 0; k < nk; k++) {
      float out[6] = {0, 0, 0, 0, 0, 0};
      EXPECT_EQ(GLM_calculate_F(nt, s2, resels, k, &out[0], &out[1], &out[2], &out[3], &out[4], &out[5]), 0);
      r.statistics.insert(r.statistics.end(), out, out + 6);
    }
  }
  return r;
}

std::vector<float> map_series(int nvoxels, int seed) {
  std::vector<float> series;
  for (int v = 0; v < nvoxels; v++) {
    // Voxel 3 is flat: no noise left after the fit.
    std::vector<float> y = series_from({v % 5 - 2.0, 0.5 * (v % 3), 100, 90, 5, -4}, v == 3 ? 0.0 : 6.0, seed + v);
    if (v == 3) std::fill(y.begin(), y.end(), 0.0f);
    series.insert(series.end(), y.begin(), y.end());
  }
  return series;
}

void expect_map_equals_one_by_one(const std::string &keywords, int nvoxels, int nthreads) {
  SCOPED_TRACE(keywords + " voxels " + std::to_string(nvoxels) + " threads " + std::to_string(nthreads));
  GlmModel m = two_runs(keywords);
  ASSERT_EQ(m.result, 0) << m.read.printed.out << m.out;
  int nk = 0;
  char conditions[] = "1 2 1-2 1,2";
  ASSERT_EQ(GLM_define_conditions(1, conditions, &nk), 0);
  const std::vector<float> series = map_series(nvoxels, 11);
  const int nt = GLM.ntime;
  VoxelResults want = one_by_one(series, nvoxels, 50);
  std::vector<float> beta_after(GLM.Beta_c, GLM.Beta_c + GLM.ncoeff);
  std::vector<float> residue_after(GLM.Residue_t, GLM.Residue_t + nt);
  const float sigma2_after = GLM.Sigma2;

  // A fresh model, so that weights carried by the first pass do not help.
  GlmModel again = two_runs(keywords);
  ASSERT_EQ(GLM_define_conditions(1, conditions, &nk), 0);
  std::vector<float> sigma2(nvoxels, -1.0f), statistics((size_t)nvoxels * nk * 6, -1.0f);
  ASSERT_EQ(GLM_fit_voxels(nvoxels, nt, series.data(), 50, nthreads, sigma2.data(), statistics.data()), 0);
  int differences = 0;
  for (int v = 0; v < nvoxels; v++) {
    differences += sigma2[v] != want.sigma2[v];
    for (int k = 0; k < nk; k++)
      for (int j = 0; j < 6; j++) {
        const size_t i = ((size_t)v * nk + k) * 6 + j;
        // Without noise the per-voxel call leaves F as it was; the map says 0.
        if (want.sigma2[v] == 0.0f && j == 0) {
          differences += statistics[i] != 0.0f;
          continue;
        }
        differences += statistics[i] != want.statistics[i];
      }
  }
  EXPECT_EQ(differences, 0);
  EXPECT_EQ(GLM.Sigma2, sigma2_after);
  EXPECT_EQ(std::vector<float>(GLM.Beta_c, GLM.Beta_c + GLM.ncoeff), beta_after);
  EXPECT_EQ(std::vector<float>(GLM.Residue_t, GLM.Residue_t + nt), residue_after);
}

TEST(Fit, AMapGivesEachVoxelItsOwnFitOnAnyNumberOfThreads) {
  for (int nthreads : {1, 2, 3, 8})
    for (int nvoxels : {1, 4, 37}) expect_map_equals_one_by_one("", nvoxels, nthreads);
  // Several chunks of voxels per thread, the last one cut short.
  for (int nthreads : {1, 3}) expect_map_equals_one_by_one("", 613, nthreads);
}

TEST(Fit, AMapReadFromTheVolumesGivesEachVoxelItsOwnFit) {
  GlmModel m = two_runs();
  ASSERT_EQ(m.result, 0) << m.read.printed.out << m.out;
  int nk = 0;
  char conditions[] = "1 2 1-2 1,2";
  ASSERT_EQ(GLM_define_conditions(1, conditions, &nk), 0);
  const int nvoxels = 700, first = 9, nt = GLM.ntime;
  const std::vector<float> series = map_series(nvoxels, 23);
  VoxelResults want = one_by_one(series, nvoxels, 50);
  // The volumes, time point by time point.
  std::vector<std::vector<float>> volumes(nt, std::vector<float>(nvoxels));
  std::vector<const float *> rows(nt);
  for (int t = 0; t < nt; t++) {
    for (int v = 0; v < nvoxels; v++) volumes[t][v] = series[(size_t)v * nt + t];
    rows[t] = volumes[t].data();
  }
  for (int nthreads : {1, 2, 5}) {
    SCOPED_TRACE(nthreads);
    const int count = nvoxels - first - 3;
    std::vector<float> sigma2(count, -1.0f), statistics((size_t)count * nk * 6, -1.0f);
    std::vector<float> coefficients((size_t)count * GLM.ncoeff, -1.0f);
    ASSERT_EQ(GLM_fit_volume_voxels(first, count, nt, rows.data(), 50, nthreads, sigma2.data(), statistics.data(),
                                    coefficients.data()),
              0);
    int differences = 0;
    for (int i = 0; i < count; i++) {
      const int v = first + i;
      differences += sigma2[i] != want.sigma2[v];
      for (int k = 0; k < nk; k++)
        for (int j = 0; j < 6; j++) {
          // Without noise the per-voxel call leaves F as it was; the map says 0.
          const float expected = want.sigma2[v] == 0.0f && j == 0 ? 0.0f : want.statistics[((size_t)v * nk + k) * 6 + j];
          differences += statistics[((size_t)i * nk + k) * 6 + j] != expected;
        }
    }
    EXPECT_EQ(differences, 0);
  }
}

TEST(Fit, AMapUnderIterativeWeightsFitsVoxelAfterVoxel) {
  expect_map_equals_one_by_one("noise-model iWLS\n", 9, 2);
}

TEST(Fit, AMapRefusesSeriesOfAnotherLength) {
  GlmModel m = two_runs();
  std::vector<float> series(40, 1.0f);
  std::string out = capture_output([&] { EXPECT_EQ(GLM_fit_voxels(1, 40, series.data(), 1, 2, nullptr, nullptr), 1); }).out;
  EXPECT_EQ(out, "Error: the number of data time points (40) does not match the number in the GLM (36).\n");
}

}  // namespace
