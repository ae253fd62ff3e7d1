#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "fit_engine_setup.h"

namespace {

struct Scheme {
  std::vector<std::vector<float>> rows = std::vector<std::vector<float>>(4);
  int n = 0;
};

// One b = 0 point, then 30 directions spread over the sphere at b 1000 and 2000.
Scheme scheme() {
  Scheme s;
  auto add = [&](double x, double y, double z, double b) {
    s.rows[0].push_back((float)x);
    s.rows[1].push_back((float)y);
    s.rows[2].push_back((float)z);
    s.rows[3].push_back((float)b);
    s.n++;
  };
  add(0, 0, 0, 0);
  for (double b : {1000.0, 2000.0})
    for (int i = 0; i < 30; i++) {
      const double z = 1.0 - (2.0 * i + 1.0) / 30.0, r = std::sqrt(1.0 - z * z), phi = i * 2.399963229728653;
      add(r * std::cos(phi), r * std::sin(phi), z, b);
    }
  return s;
}

// D = R diag(l) Rᵀ for a rotation R about the axis (1, 1, 1) by `angle`.
void rotated_tensor(const double l[3], double angle, double D[3][3], double R[3][3]) {
  const double k = 1.0 / std::sqrt(3.0), c = std::cos(angle), s = std::sin(angle);
  const double u[3] = {k, k, k};
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 3; j++) {
      const double cross = (i == j) ? 0.0 : ((j == (i + 1) % 3) ? -u[3 - i - j] : u[3 - i - j]);
      R[i][j] = (i == j ? c : 0.0) + (1.0 - c) * u[i] * u[j] + s * cross;
    }
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 3; j++) {
      D[i][j] = 0.0;
      for (int k2 = 0; k2 < 3; k2++) D[i][j] += R[i][k2] * l[k2] * R[j][k2];
    }
}

std::vector<float> signal(const Scheme &s, double S0, const double D[3][3], double noise = 0.0) {
  std::vector<float> y(s.n);
  for (int j = 0; j < s.n; j++) {
    const double g[3] = {s.rows[0][j], s.rows[1][j], s.rows[2][j]};
    double q = 0.0;
    for (int a = 0; a < 3; a++)
      for (int b = 0; b < 3; b++) q += g[a] * D[a][b] * g[b];
    y[j] = (float)(S0 * std::exp(-s.rows[3][j] * q) * (1.0 + noise * std::sin(7.3 * j + 0.4)));
  }
  return y;
}

class TensorFits : public ::testing::Test {
 protected:
  Scheme s = scheme();
  void TearDown() override { fresh_fit_engine(); }
};

TEST_F(TensorFits, ExactTensorGivesItsMaps) {
  const double l[3] = {1.7e-3, 0.4e-3, 0.2e-3};
  double D[3][3], R[3][3];
  rotated_tensor(l, 0.7, D, R);
  for (const char *model : {"DTI-OLS", "DTI-WLS"}) {
    set_fit_engine(model, s.n, s.rows);
    std::vector<float> y = signal(s, 900.0, D), fit(s.n, -1.0f);
    float chi2 = -1.0f;
    ASSERT_EQ(FIT_data(s.n, y.data(), fit.data(), &chi2), 0) << model;
    const float *o = FIT.param_output;
    EXPECT_NEAR(o[0], 900.0, 900.0 * 2e-5) << model;
    const double md = (l[0] + l[1] + l[2]) / 3.0;
    EXPECT_NEAR(o[1], md, md * 2e-4) << model;
    EXPECT_NEAR(o[2], l[0], l[0] * 2e-4) << model;
    EXPECT_NEAR(o[3], (l[1] + l[2]) / 2.0, 2e-7) << model;
    const double fa = std::sqrt(1.5 * ((l[0] - md) * (l[0] - md) + (l[1] - md) * (l[1] - md) + (l[2] - md) * (l[2] - md)) /
                                (l[0] * l[0] + l[1] * l[1] + l[2] * l[2]));
    EXPECT_NEAR(o[6], fa, 2e-4) << model;
    // The principal vector: the first column of R, dominant component positive, scaled by FA.
    double v[3] = {R[0][0], R[1][0], R[2][0]};
    int big = 0;
    for (int i = 1; i < 3; i++)
      if (std::fabs(v[i]) > std::fabs(v[big])) big = i;
    const double sign = v[big] < 0 ? -1.0 : 1.0;
    for (int i = 0; i < 3; i++) EXPECT_NEAR(o[7 + i], sign * v[i] * fa, 5e-4) << model << " " << i;
    EXPECT_GT(o[7 + big], 0.0f) << model;
    const double Dv[6] = {D[0][0], D[1][1], D[2][2], D[0][1], D[0][2], D[1][2]};
    for (int i = 0; i < 6; i++) {
      EXPECT_NEAR(o[10 + i], Dv[i], 2e-7) << model << " " << i;
      EXPECT_EQ(FIT.param_value[1 + i], o[10 + i]) << model;
    }
    EXPECT_EQ(FIT.param_value[0], o[0]);
    EXPECT_LT(o[16], 1e-6) << model;
    EXPECT_LT(chi2, 1e-4 * 900.0) << model;
    for (int j = 0; j < s.n; j++) {
      EXPECT_NEAR(fit[j], y[j], 2e-3 * y[0]) << model << " " << j;
    }
  }
}

TEST_F(TensorFits, NonlinearFitOfATensorItsModelCanHold) {
  // Its model takes Dxy for the x z term as well: a tensor with Dxz = Dxy fits exactly.
  const double D[3][3] = {{1.5e-3, 0.3e-3, 0.3e-3}, {0.3e-3, 0.6e-3, 0.1e-3}, {0.3e-3, 0.1e-3, 0.5e-3}};
  set_fit_engine("DTI-NL", s.n, s.rows);
  std::vector<float> y = signal(s, 1200.0, D), fit(s.n, -1.0f);
  float chi2 = -1.0f;
  ASSERT_EQ(FIT_data(s.n, y.data(), fit.data(), &chi2), 0);
  const double Dv[6] = {D[0][0], D[1][1], D[2][2], D[0][1], D[0][2], D[1][2]};
  EXPECT_NEAR(FIT.param_output[0], 1200.0, 1200.0 * 2e-5);
  for (int i = 0; i < 6; i++) EXPECT_NEAR(FIT.param_output[10 + i], Dv[i], 2e-7) << i;
  EXPECT_NEAR(FIT.param_output[1], (D[0][0] + D[1][1] + D[2][2]) / 3.0, 1e-7);
  EXPECT_LT(chi2, 1e-4 * 1200.0);
  for (int j = 0; j < s.n; j++) {
    EXPECT_NEAR(fit[j], y[j], 2e-3 * y[0]) << j;
    // The drawn curve is the same model.
    EXPECT_NEAR(FIT_get_fit_value((float)j, 0.0f), fit[j], 1e-3 * y[0]) << j;
  }
}

TEST_F(TensorFits, AnisotropyAndItsErrorFollowTheirDefinitions) {
  set_fit_engine("DTI-OLS", s.n, s.rows);
  const double S0 = 1.0, Dxx = 1.2e-3, Dyy = 0.5e-3, Dzz = 0.3e-3, Dxy = 0.1e-3, Dxz = -0.2e-3, Dyz = 0.05e-3;
  const double ds = 3e-5, os = 2e-5;
  FITInternal_SetDTIOutputParameters(S0, Dxx, Dyy, Dzz, Dxy, Dxz, Dyz, ds, os);
  const double MD = (Dxx + Dyy + Dzz) / 3.0;  // the trace is invariant
  const double sos = (Dxx - MD) * (Dxx - MD) + (Dyy - MD) * (Dyy - MD) + (Dzz - MD) * (Dzz - MD) +
                     2 * (Dxy * Dxy + Dxz * Dxz + Dyz * Dyz);
  const double A = std::sqrt(sos) / 2.449489742783178 / MD;
  const double c = 0.3333333333333333 / A;
  auto g = [&](double D) { return ((2.0 * D / 3.0) / MD + 1.0) / 12.0 / A - A / 3.0; };
  const double dA = std::sqrt(c * c * (os / MD) * (os / MD) * ((Dxy / MD) * (Dxy / MD) + (Dxz / MD) * (Dxz / MD) +
                                                                (Dyz / MD) * (Dyz / MD)) +
                              (ds / MD) * (ds / MD) * (g(Dxx) * g(Dxx) + g(Dyy) * g(Dyy) + g(Dzz) * g(Dzz)));
  EXPECT_NEAR(FIT.param_output[1], MD, MD * 1e-6);
  EXPECT_NEAR(FIT.param_output[4], A, A * 1e-6);
  EXPECT_NEAR(FIT.param_output[5], dA, dA * 1e-5);
  EXPECT_FLOAT_EQ(FIT.param_output[16], (float)ds);
  EXPECT_FLOAT_EQ(FIT.param_output[17], (float)os);
}

TEST_F(TensorFits, DominantComponentOfThePrincipalVectorIsNonNegative) {
  set_fit_engine("DTI-OLS", s.n, s.rows);
  // Principal direction along (-0.8, 0.6, 0) or its opposite: x dominates.
  const double l1 = 2e-3, l2 = 0.3e-3;
  const double vx = -0.8, vy = 0.6;
  const double Dxx = l2 + (l1 - l2) * vx * vx, Dyy = l2 + (l1 - l2) * vy * vy, Dxy = (l1 - l2) * vx * vy;
  FITInternal_SetDTIOutputParameters(1.0, Dxx, Dyy, l2, Dxy, 0.0, 0.0, 0.0, 0.0);
  const float fa = FIT.param_output[6];
  EXPECT_GT(FIT.param_output[7], 0.0f);
  EXPECT_NEAR(FIT.param_output[7], 0.8 * fa, 1e-6);
  EXPECT_NEAR(FIT.param_output[8], -0.6 * fa, 1e-6);
  // Equal x and y magnitudes: y wins over z only if strictly larger, x never.
  FITInternal_SetDTIOutputParameters(1.0, 1e-3, 1e-3, 0.2e-3, -0.9e-3, 0.0, 0.0, 0.0, 0.0);
  EXPECT_LT(FIT.param_output[7], 0.0f);
  EXPECT_GT(FIT.param_output[8], 0.0f);
}

TEST_F(TensorFits, IsotropicTensorHasNoAnisotropyNorVector) {
  set_fit_engine("DTI-OLS", s.n, s.rows);
  FITInternal_SetDTIOutputParameters(500.0, 1e-3, 1e-3, 1e-3, 0.0, 0.0, 0.0, 0.0, 0.0);
  EXPECT_EQ(FIT.param_output[6], 0.0f);
  EXPECT_EQ(FIT.param_output[7], 0.0f);
  EXPECT_EQ(FIT.param_output[8], 0.0f);
  EXPECT_EQ(FIT.param_output[9], 0.0f);
  EXPECT_FLOAT_EQ(FIT.param_output[1], 1e-3f);
}

TEST_F(TensorFits, AllZeroEigenvaluesLeaveFaUndefinedWithoutCrashing) {
  set_fit_engine("DTI-OLS", s.n, s.rows);
  FITInternal_SetDTIOutputParameters(500.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0);
  EXPECT_TRUE(std::isnan(FIT.param_output[6]));
  EXPECT_EQ(FIT.param_output[1], 0.0f);
  EXPECT_EQ(FIT.param_output[0], 500.0f);
}

TEST_F(TensorFits, ZeroOrNaNSampleGivesZeroMapsAndLeavesTheFit) {
  const double l[3] = {1.5e-3, 0.5e-3, 0.5e-3};
  double D[3][3], R[3][3];
  rotated_tensor(l, 0.2, D, R);
  for (const char *model : {"DTI-OLS", "DTI-WLS", "DTI-NL"}) {
    for (float bad : {0.0f, -3.0f, std::numeric_limits<float>::quiet_NaN()}) {
      set_fit_engine(model, s.n, s.rows);
      std::vector<float> y = signal(s, 700.0, D), fit(s.n, 42.0f);
      for (int i = 0; i < FIT_MAX_PARAMETERS; i++) FIT.param_output[i] = FIT.param_value[i] = 9.0f;
      y[5] = bad;
      float chi2;
      EXPECT_EQ(FIT_data(s.n, y.data(), fit.data(), &chi2), 0);
      for (int i = 0; i < FIT_MAX_PARAMETERS; i++) {
        EXPECT_EQ(FIT.param_output[i], 0.0f) << model << " " << i;
        EXPECT_EQ(FIT.param_value[i], 0.0f) << model << " " << i;
      }
      for (int j = 0; j < s.n; j++) EXPECT_EQ(fit[j], 42.0f);
    }
  }
}

// Weighted least squares on the log curve in double precision, weights w.
std::vector<double> weighted_solution(const Scheme &s, const std::vector<float> &logy, const std::vector<double> &w) {
  double N[7][8] = {};
  for (int j = 0; j < s.n; j++) {
    const double x = s.rows[0][j], y = s.rows[1][j], z = s.rows[2][j], b = s.rows[3][j];
    const double row[7] = {1, -x * x * b, -y * y * b, -z * z * b, -2 * x * y * b, -2 * x * z * b, -2 * y * z * b};
    for (int a = 0; a < 7; a++) {
      for (int c = 0; c < 7; c++) N[a][c] += w[j] * row[a] * row[c];
      N[a][7] += w[j] * row[a] * logy[j];
    }
  }
  for (int p = 0; p < 7; p++)
    for (int r = p + 1; r < 7; r++) {
      const double f = N[r][p] / N[p][p];
      for (int c = p; c < 8; c++) N[r][c] -= f * N[p][c];
    }
  std::vector<double> beta(7);
  for (int p = 6; p >= 0; p--) {
    double sum = N[p][7];
    for (int c = p + 1; c < 7; c++) sum -= N[p][c] * beta[c];
    beta[p] = sum / N[p][p];
  }
  return beta;
}

TEST_F(TensorFits, WeightedFitUsesSquaredSignalsAndKeepsThemUntilTheNextCurve) {
  const double l[3] = {1.4e-3, 0.6e-3, 0.3e-3};
  double D[3][3], R[3][3];
  rotated_tensor(l, 1.1, D, R);
  set_fit_engine("DTI-WLS", s.n, s.rows);
  std::vector<float> a = signal(s, 800.0, D, 0.08), b = signal(s, 650.0, D, 0.05), fit(s.n);
  float chi2;
  ASSERT_EQ(FIT_data(s.n, a.data(), fit.data(), &chi2), 0);
  std::vector<float> loga(s.n), logb(s.n);
  std::vector<double> wa(s.n), ones(s.n, 1.0);
  for (int j = 0; j < s.n; j++) {
    loga[j] = std::log(a[j]);
    logb[j] = std::log(b[j]);
    wa[j] = (double)a[j] * a[j];
  }
  std::vector<double> want = weighted_solution(s, loga, wa), ols = weighted_solution(s, loga, ones);
  for (int i = 1; i < 7; i++) {
    EXPECT_NEAR(FIT.param_value[i], want[i], 2e-6) << i;
    EXPECT_GT(std::fabs(want[i] - ols[i]), 1e-7) << "weights make a difference for " << i;
  }
  // The design still carries the first curve's weights.
  ASSERT_EQ(GeneralFitGLM(s.n, logb.data(), fit.data()), 0);
  std::vector<double> with_a = weighted_solution(s, logb, wa);
  for (int i = 1; i < 7; i++) EXPECT_NEAR(GeneralGLM.Beta[i], with_a[i], 2e-6) << i;
}

TEST_F(TensorFits, NonlinearFitLeavesDxzAtItsLinearStart) {
  const double l[3] = {1.6e-3, 0.5e-3, 0.3e-3};
  double D[3][3], R[3][3];
  rotated_tensor(l, 0.9, D, R);
  std::vector<float> y = signal(s, 1000.0, D, 0.03), fit(s.n), linear_fit(s.n);
  set_fit_engine("DTI-OLS", s.n, s.rows);
  float chi2;
  ASSERT_EQ(FIT_data(s.n, y.data(), linear_fit.data(), &chi2), 0);
  float linear[7];
  for (int i = 0; i < 7; i++) linear[i] = FIT.param_value[i];
  const float diag_sem = FIT.param_output[16], doff_sem = FIT.param_output[17];
  set_fit_engine("DTI-NL", s.n, s.rows);
  ASSERT_EQ(FIT_data(s.n, y.data(), fit.data(), &chi2), 0);
  EXPECT_EQ(FIT.param_value[5], linear[5]);
  EXPECT_NE(FIT.param_value[4], linear[4]);
  EXPECT_EQ(FIT.param_output[16], diag_sem);
  EXPECT_EQ(FIT.param_output[17], doff_sem);
  // The fit vector is the model of the final parameters, p[4] in the x z term.
  double p[7];
  for (int i = 0; i < 7; i++) p[i] = FIT.param_value[i];
  for (int j = 0; j < s.n; j++) {
    const double gx = s.rows[0][j], gy = s.rows[1][j], gz = s.rows[2][j], b = s.rows[3][j];
    const double want = p[0] * std::exp(-b * (p[1] * gx * gx + p[2] * gy * gy + p[3] * gz * gz + 2 * gx * gy * p[4] +
                                              2 * gx * gz * p[4] + 2 * gy * gz * p[6]));
    EXPECT_NEAR(fit[j], want, 1e-3 * std::fabs(want) + 1e-3) << j;
    EXPECT_NEAR(FIT_func_DTI_nonlinear(j, p), want, 1e-6 * std::fabs(want)) << j;
  }
}

TEST_F(TensorFits, ModelIndexIsClampedToTheTable) {
  set_fit_engine("DTI-NL", s.n, s.rows);
  double p[7] = {100.0, 1e-3, 1e-3, 1e-3, 0.0, 0.0, 0.0};
  EXPECT_EQ(FIT_func_DTI_nonlinear(-5.0, p), FIT_func_DTI_nonlinear(0.0, p));
  EXPECT_EQ(FIT_func_DTI_nonlinear(1e9, p), FIT_func_DTI_nonlinear(s.n - 1, p));
  FIT.param_value[0] = 100.0f;
  FIT.param_value[1] = FIT.param_value[2] = FIT.param_value[3] = 1e-3f;
  EXPECT_EQ(FIT_get_fit_value(-10.0f, 0.0f), 100.0f);
  EXPECT_EQ(FIT_get_fit_value(std::numeric_limits<float>::quiet_NaN(), 0.0f), 100.0f);
  EXPECT_NEAR(FIT_get_fit_value(1e30f, 0.0f), 100.0 * std::exp(-2.0), 1e-3);
}

TEST_F(TensorFits, DesignOfAnotherLengthIsAProgrammingError) {
  set_fit_engine("DTI-OLS", s.n, s.rows);
  std::vector<float> w(s.n + 1, 1.0f);
  Captured c = capture_output([&] { FIT_define_DTI_basis_functions(s.n + 1, w.data()); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error 1 in FIT_define_DTI_basis_functions(\n");
}

TEST_F(TensorFits, NoDesignIsAFailedFit) {
  set_fit_engine("DTI-OLS", s.n, s.rows);
  GeneralGLM_reset();
  std::vector<float> y(s.n, 100.0f), fit(s.n);
  float chi2 = 5.0f;
  Captured c = capture_output([&] { EXPECT_EQ(FIT_data(s.n, y.data(), fit.data(), &chi2), 1); });
  EXPECT_EQ(c.out, "Error in GeneralFitGLM: order of polynomial (0) < 1.\n");
  EXPECT_EQ(chi2, 0.0f);
}

}  // namespace
