#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <sstream>
#include <vector>

#include "python_oracle.h"
#include "zor.h"

namespace {

class LinearModels : public ::testing::Test {
 protected:
  void SetUp() override {
    PolyGLM_reset();
    GeneralGLM_reset();
  }
  void TearDown() override {
    PolyGLM_reset();
    GeneralGLM_reset();
  }
};

// Weighted least squares in double precision by numpy, for a design X
// (n by p), weights w and data y. Returns beta, the fit, the unweighted
// standard errors the model reports, and the condition number of XᵀWX.
struct Reference {
  std::vector<double> beta, fit, sem;
  double condition = 0.0;
};

bool numpy_wls(const std::vector<std::vector<float>> &X, const std::vector<float> &w,
               const std::vector<float> &y, Reference &ref) {
  const int n = int(X.size()), p = int(X[0].size());
  std::ostringstream input;
  input.precision(9);
  input << n << " " << p << "\n";
  for (int j = 0; j < n; j++) {
    input << w[j] << " " << y[j];
    for (int c = 0; c < p; c++) input << " " << X[j][c];
    input << "\n";
  }
  std::vector<double> out;
  if (!run_python_oracle(
          "import sys, numpy as np\n"
          "v = sys.stdin.read().split()\n"
          "n, p = int(v[0]), int(v[1])\n"
          "t = np.array(v[2:], dtype=np.float64).reshape(n, p + 2)\n"
          "w, y, X = t[:, 0], t[:, 1], t[:, 2:]\n"
          "s = np.sqrt(w)\n"
          "beta = np.linalg.lstsq(X * s[:, None], y * s, rcond=None)[0]\n"
          "fit = X @ beta\n"
          "if n > p:\n"
          "    sigma = np.sqrt(np.sum((y - fit) ** 2) / (n - p))\n"
          "    sem = np.sqrt(np.diag(np.linalg.inv(X.T @ X))) * sigma\n"
          "else:\n"
          "    sem = np.zeros(p)\n"
          "cond = np.linalg.cond(X.T @ (X * w[:, None]))\n"
          "for q in [beta, fit, sem, [cond]]:\n"
          "    print(' '.join(repr(float(a)) for a in q))\n",
          input.str(), out))
    return false;
  if (out.size() != size_t(2 * p + n + 1)) return false;
  ref.beta.assign(out.begin(), out.begin() + p);
  ref.fit.assign(out.begin() + p, out.begin() + p + n);
  ref.sem.assign(out.begin() + p + n, out.begin() + 2 * p + n);
  ref.condition = out.back();
  return true;
}

std::vector<std::vector<float>> polynomial_design(int order, int n) {
  std::vector<std::vector<float>> X(n, std::vector<float>(order));
  for (int j = 0; j < n; j++) {
    const double t = double(j) / n;
    const double column[4] = {1.0, t - 0.5, t * t - 0.3333333333333333, t * t * t - 0.25};
    for (int c = 0; c < order; c++) X[j][c] = float(column[c]);
  }
  return X;
}

// Single precision through normal equations: the error of the coefficients
// grows with the condition number of XᵀWX, that of the fitted curve (a
// projection) less so; the sums add a term that grows with sqrt(n).
constexpr double kFloatEps = 6e-8;
double beta_tolerance(double condition, int n, double scale) {
  return kFloatEps * (4.0 * std::sqrt(double(n)) + 2.0 * condition) * scale;
}
double fit_tolerance(double condition, int n, double scale) {
  return kFloatEps * (4.0 * std::sqrt(double(n)) + 0.5 * condition) * scale;
}

// ---- Polynomial model --------------------------------------------------

TEST_F(LinearModels, OrderOneWithUnitWeightsFitsTheMean) {
  std::vector<float> w(5, 1.0f), data = {1, 2, 3, 4, 10}, fit(5);
  ASSERT_EQ(PolynomialDefineGLM(1, 5, w.data()), 0);
  ASSERT_EQ(PolynomialFitGLM(5, data.data(), fit.data()), 0);
  for (float f : fit) EXPECT_FLOAT_EQ(f, 4.0f);
  EXPECT_FLOAT_EQ(PolyGLM.Beta[0], 4.0f);
}

TEST_F(LinearModels, ZeroWeightPointHasNoEffectButIsFitted) {
  const int n = 12;
  std::vector<float> w(n, 1.0f), data(n), fit_a(n), fit_b(n);
  w[5] = 0.0f;
  for (int j = 0; j < n; j++) data[j] = 2.0f + 0.5f * j - 0.03f * j * j + ((j * 7) % 3) * 0.1f;
  ASSERT_EQ(PolynomialDefineGLM(3, n, w.data()), 0);
  ASSERT_EQ(PolynomialFitGLM(n, data.data(), fit_a.data()), 0);
  data[5] = 1000.0f;
  ASSERT_EQ(PolynomialFitGLM(n, data.data(), fit_b.data()), 0);
  for (int j = 0; j < n; j++) EXPECT_EQ(fit_a[j], fit_b[j]) << j;
  // The left-out point still lies on the fitted curve.
  const float expected = PolyGLM.Beta[0] + PolyGLM.Beta[1] * PolyGLM.X[5][1] +
                         PolyGLM.Beta[2] * PolyGLM.X[5][2];
  EXPECT_FLOAT_EQ(fit_b[5], expected);
  EXPECT_NE(fit_b[5], 0.0f);
}

TEST_F(LinearModels, OnePointIsRefused) {
  float w[1] = {1.0f};
  Captured c = capture_output([&] { EXPECT_EQ(PolynomialDefineGLM(2, 1, w), 1); });
  EXPECT_EQ(c.out, "Error: the # of points (1) must be >= 2.\n");
  EXPECT_EQ(c.exit_status, -1);
}

TEST_F(LinearModels, OrderFiveIsRefusedWithTheMessageThatNamesThree) {
  std::vector<float> w(10, 1.0f);
  Captured c = capture_output([&] { EXPECT_EQ(PolynomialDefineGLM(5, 10, w.data()), 1); });
  EXPECT_EQ(c.out, "Error: the order of the polynomial (5) must be <= 3.\n");
}

TEST_F(LinearModels, OrderZeroIsRefused) {
  std::vector<float> w(10, 1.0f);
  Captured c = capture_output([&] { EXPECT_EQ(PolynomialDefineGLM(0, 1, w.data()), 1); });
  // The order is checked before the number of points.
  EXPECT_EQ(c.out, "Error: the order of the polynomial (0) must be >= 1.\n");
}

TEST_F(LinearModels, OrderFourFitsACubicExactly) {
  const int n = 20;
  std::vector<float> w(n, 1.0f), data(n), fit(n);
  for (int j = 0; j < n; j++) {
    const double t = double(j) / n;
    data[j] = float(1.0 - 2.0 * t + 3.0 * t * t - 4.0 * t * t * t);
  }
  ASSERT_EQ(PolynomialDefineGLM(4, n, w.data()), 0);
  ASSERT_EQ(PolynomialFitGLM(n, data.data(), fit.data()), 0);
  // Single precision with nearly collinear cubic columns: a few 1e-5.
  for (int j = 0; j < n; j++) EXPECT_NEAR(fit[j], data[j], 1e-4) << j;
  EXPECT_NEAR(PolyGLM.Beta[3], -4.0f, 1e-3);
}

TEST_F(LinearModels, PolynomialFitsMatchNumpyWeightedLeastSquares) {
  std::mt19937 rng(99);
  std::normal_distribution<float> noise(0.0f, 3.0f);
  std::uniform_real_distribution<float> weight(0.0f, 2.0f);
  for (int order = 1; order <= 4; order++) {
    for (int n : {2, 7, 40, 250}) {
      if (order > n) continue;
      std::vector<float> w(n), data(n), fit(n);
      for (int j = 0; j < n; j++) {
        w[j] = (j % 5 == 3) ? 0.0f : weight(rng);
        data[j] = 100.0f + 0.2f * j + noise(rng);
      }
      if (n == 2) w = {1.0f, 0.5f};
      ASSERT_EQ(PolynomialDefineGLM(order, n, w.data()), 0);
      ASSERT_EQ(PolynomialFitGLM(n, data.data(), fit.data()), 0);
      Reference ref;
      ASSERT_TRUE(numpy_wls(polynomial_design(order, n), w, data, ref));
      const double tolerance = beta_tolerance(ref.condition, n, 100.0);
      for (int c = 0; c < order; c++)
        EXPECT_NEAR(PolyGLM.Beta[c], ref.beta[c], tolerance)
            << "order " << order << " n " << n << " coefficient " << c;
      const double fit_tol = fit_tolerance(ref.condition, n, 100.0);
      for (int j = 0; j < n; j++)
        EXPECT_NEAR(fit[j], ref.fit[j], fit_tol) << "order " << order << " n " << n << " point " << j;
    }
  }
}

TEST_F(LinearModels, FitBeforeAnyDefinitionIsRefused) {
  float data[3] = {1, 2, 3}, fit[3];
  Captured c = capture_output([&] { EXPECT_EQ(PolynomialFitGLM(3, data, fit), 1); });
  EXPECT_EQ(c.out, "Error in PolynomialFitGLM: order of polynomial (0) < 1.\n");
  EXPECT_EQ(c.exit_status, -1);
}

TEST_F(LinearModels, PolynomialFitOfTheWrongLengthEndsTheRun) {
  std::vector<float> w(8, 1.0f), data(9, 1.0f), fit(9);
  ASSERT_EQ(PolynomialDefineGLM(2, 8, w.data()), 0);
  Captured c = capture_output([&] { PolynomialFitGLM(9, data.data(), fit.data()); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: the number of data time points (9) does not match the number in the GLM (8).\n");
}

TEST_F(LinearModels, RemoveTakesOutTheDriftAndKeepsTheMean) {
  const int n = 30;
  std::vector<float> w(n, 1.0f), data(n), fit(n);
  for (int j = 0; j < n; j++) data[j] = 50.0f + 0.4f * j + ((j % 4) - 1.5f);
  ASSERT_EQ(PolynomialDefineGLM(2, n, w.data()), 0);
  ASSERT_EQ(PolynomialFitGLM(n, data.data(), fit.data()), 0);
  std::vector<float> before = data, fit_before = fit;
  ASSERT_EQ(PolynomialRemoveGLM(1, n, data.data(), fit.data()), 0);
  for (int j = 0; j < n; j++) {
    const float drift = PolyGLM.Beta[1] * PolyGLM.X[j][1];
    EXPECT_FLOAT_EQ(data[j], before[j] - drift);
    EXPECT_NEAR(fit[j], PolyGLM.Beta[0], 1e-4);
    EXPECT_NEAR(fit_before[j] - fit[j], drift, 1e-4);
  }
  // The constant is the line's value at the middle, j = n/2, where the
  // drift column is 0.
  EXPECT_NEAR(PolyGLM.Beta[0], 50.0f + 0.4f * 15.0f, 0.1);
}

TEST_F(LinearModels, RemoveFromCoefficientZeroLeavesResiduals) {
  const int n = 10;
  std::vector<float> w(n, 1.0f), data(n), fit(n);
  for (int j = 0; j < n; j++) data[j] = float(j * j);
  ASSERT_EQ(PolynomialDefineGLM(2, n, w.data()), 0);
  ASSERT_EQ(PolynomialFitGLM(n, data.data(), fit.data()), 0);
  std::vector<float> residual(n);
  for (int j = 0; j < n; j++) residual[j] = data[j] - fit[j];
  ASSERT_EQ(PolynomialRemoveGLM(0, n, data.data(), fit.data()), 0);
  for (int j = 0; j < n; j++) {
    EXPECT_NEAR(data[j], residual[j], 1e-4);
    EXPECT_NEAR(fit[j], 0.0f, 1e-4);
  }
}

TEST_F(LinearModels, RemoveWithTheWrongLengthIsRefused) {
  std::vector<float> w(6, 1.0f), data(5, 2.0f), fit(5, 2.0f);
  ASSERT_EQ(PolynomialDefineGLM(1, 6, w.data()), 0);
  Captured c = capture_output([&] { EXPECT_EQ(PolynomialRemoveGLM(0, 5, data.data(), fit.data()), 1); });
  EXPECT_EQ(c.out, "Error: # time points (5) does not match GLM (6) in PolynomialRemoveGLM()\n");
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(data[0], 2.0f);
}

TEST_F(LinearModels, RedefinitionReplacesTheModel) {
  std::vector<float> w(50, 1.0f), data(50), fit(50);
  for (int j = 0; j < 50; j++) data[j] = float(j % 7);
  ASSERT_EQ(PolynomialDefineGLM(4, 50, w.data()), 0);
  ASSERT_EQ(PolynomialDefineGLM(1, 5, w.data()), 0);
  EXPECT_EQ(PolyGLM.nt, 5);
  EXPECT_EQ(PolyGLM.ncoeff, 1);
  ASSERT_EQ(PolynomialFitGLM(5, data.data(), fit.data()), 0);
  EXPECT_FLOAT_EQ(fit[0], 2.0f);
  // A refused definition leaves the last one in place.
  capture_output([&] { PolynomialDefineGLM(7, 5, w.data()); });
  EXPECT_EQ(PolyGLM.ncoeff, 1);
}

TEST_F(LinearModels, DefinitionStartsFromZeroedCoefficients) {
  std::vector<float> w(4, 1.0f);
  ASSERT_EQ(PolynomialDefineGLM(3, 4, w.data()), 0);
  for (int c = 0; c < 3; c++) EXPECT_EQ(PolyGLM.Beta[c], 0.0f);
}

// ---- General model -----------------------------------------------------

struct Basis {
  int rows, cols;
  float **m;
  explicit Basis(const std::vector<std::vector<float>> &v)
      : rows(int(v.size())), cols(int(v[0].size())), m(float_matrix(rows, cols)) {
    for (int i = 0; i < rows; i++)
      for (int j = 0; j < cols; j++) m[i][j] = v[i][j];
  }
  ~Basis() { free_float_matrix(m, rows, cols); }
};

std::vector<std::vector<float>> exponential_design(int n, double k) {
  std::vector<std::vector<float>> X(n, std::vector<float>(3));
  for (int j = 0; j < n; j++) {
    X[j][0] = float(std::exp(-k * j));
    X[j][1] = 1.0f;
    X[j][2] = float(j) / n;
  }
  return X;
}

TEST_F(LinearModels, GeneralFitsMatchNumpyWeightedLeastSquares) {
  std::mt19937 rng(5);
  std::normal_distribution<float> noise(0.0f, 0.5f);
  std::uniform_real_distribution<float> weight(0.1f, 3.0f);
  for (int n : {4, 16, 120}) {
    for (bool weighted : {false, true}) {
      auto design = exponential_design(n, 0.2);
      Basis basis(design);
      std::vector<float> w(n, 1.0f), data(n), fit(n);
      for (int j = 0; j < n; j++) {
        if (weighted) w[j] = (j == 1) ? 0.0f : weight(rng);
        data[j] = 10.0f * design[j][0] + 3.0f - 2.0f * design[j][2] + noise(rng);
      }
      ASSERT_EQ(GeneralDefineGLM(3, n, w.data(), basis.m), 0);
      ASSERT_EQ(GeneralFitGLM(n, data.data(), fit.data()), 0);
      Reference ref;
      ASSERT_TRUE(numpy_wls(design, w, data, ref));
      const double tolerance = beta_tolerance(ref.condition, n, 10.0);
      for (int c = 0; c < 3; c++) {
        EXPECT_NEAR(GeneralGLM_GetBeta(c), ref.beta[c], tolerance) << n << " " << weighted << " " << c;
        EXPECT_NEAR(GeneralGLM_GetSEM(c), ref.sem[c], tolerance + 1e-4 * ref.sem[c])
            << n << " " << weighted << " " << c;
      }
      const double fit_tol = fit_tolerance(ref.condition, n, 10.0);
      for (int j = 0; j < n; j++) EXPECT_NEAR(fit[j], ref.fit[j], fit_tol) << n << " point " << j;
    }
  }
}

TEST_F(LinearModels, GeneralStandardErrorsIgnoreTheWeights) {
  // A line fitted with weights: the errors use the unweighted inverse of
  // XᵀX and the plain residual sum of squares of the weighted fit.
  const int n = 9;
  std::vector<std::vector<float>> design;
  std::vector<float> w(n), data(n), fit(n);
  for (int j = 0; j < n; j++) {
    design.push_back({1.0f, float(j)});
    w[j] = 1.0f + (j % 3);
    data[j] = 2.0f + 0.5f * j + ((j % 2) ? 0.3f : -0.3f);
  }
  Basis basis(design);
  ASSERT_EQ(GeneralDefineGLM(2, n, w.data(), basis.m), 0);
  ASSERT_EQ(GeneralFitGLM(n, data.data(), fit.data()), 0);
  double rss = 0.0, sx = 0.0, sxx = 0.0;
  for (int j = 0; j < n; j++) {
    rss += double(data[j] - fit[j]) * (data[j] - fit[j]);
    sx += j;
    sxx += double(j) * j;
  }
  const double det = n * sxx - sx * sx;
  const double sigma = std::sqrt(rss / (n - 2));
  EXPECT_NEAR(GeneralGLM_GetSEM(0), std::sqrt(sxx / det) * sigma, 1e-5);
  EXPECT_NEAR(GeneralGLM_GetSEM(1), std::sqrt(n / det) * sigma, 1e-6);
}

TEST_F(LinearModels, GeneralModelCopiesTheBasis) {
  std::vector<std::vector<float>> design = {{1, 0}, {1, 1}, {1, 2}, {1, 3}};
  std::vector<float> w(4, 1.0f), data = {1, 3, 5, 7}, fit(4);
  {
    Basis basis(design);
    ASSERT_EQ(GeneralDefineGLM(2, 4, w.data(), basis.m), 0);
  }  // the caller's matrix is gone
  ASSERT_EQ(GeneralFitGLM(4, data.data(), fit.data()), 0);
  EXPECT_NEAR(GeneralGLM_GetBeta(0), 1.0f, 1e-5);
  EXPECT_NEAR(GeneralGLM_GetBeta(1), 2.0f, 1e-5);
  EXPECT_NEAR(GeneralGLM_GetSEM(0), 0.0f, 1e-5);
}

TEST_F(LinearModels, SaturatedGeneralModelHasZeroStandardErrors) {
  std::vector<std::vector<float>> design = {{1, 0}, {1, 1}};
  Basis basis(design);
  std::vector<float> w(2, 1.0f), data = {4, 9}, fit(2);
  ASSERT_EQ(GeneralDefineGLM(2, 2, w.data(), basis.m), 0);
  ASSERT_EQ(GeneralFitGLM(2, data.data(), fit.data()), 0);
  EXPECT_EQ(GeneralGLM_GetSEM(0), 0.0f);
  EXPECT_EQ(GeneralGLM_GetSEM(1), 0.0f);
  EXPECT_NEAR(fit[1], 9.0f, 1e-5);
}

TEST_F(LinearModels, GeneralDefinitionChecks) {
  std::vector<std::vector<float>> design = {{1}, {1}};
  Basis basis(design);
  std::vector<float> w(2, 1.0f);
  Captured c = capture_output([&] { EXPECT_EQ(GeneralDefineGLM(0, 2, w.data(), basis.m), 1); });
  EXPECT_EQ(c.out, "Error: the # of coefficients in the GLM (0) must be >= 1.\n");
  c = capture_output([&] { EXPECT_EQ(GeneralDefineGLM(1, 1, w.data(), basis.m), 1); });
  EXPECT_EQ(c.out, "Error: the # of points (1) must be >= 2.\n");
}

TEST_F(LinearModels, GeneralFitErrors) {
  float data[3] = {1, 2, 3}, fit[3];
  Captured c = capture_output([&] { EXPECT_EQ(GeneralFitGLM(3, data, fit), 1); });
  EXPECT_EQ(c.out, "Error in GeneralFitGLM: order of polynomial (0) < 1.\n");

  std::vector<std::vector<float>> design = {{1}, {1}};
  Basis basis(design);
  std::vector<float> w(2, 1.0f);
  ASSERT_EQ(GeneralDefineGLM(1, 2, w.data(), basis.m), 0);
  c = capture_output([&] { GeneralFitGLM(3, data, fit); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: the number of data time points (3) does not match the number in the GLM (2).\n");
}

TEST_F(LinearModels, CoefficientOutOfRangeEndsTheRun) {
  std::vector<std::vector<float>> design = {{1, 0}, {1, 1}, {1, 2}};
  Basis basis(design);
  std::vector<float> w(3, 1.0f);
  ASSERT_EQ(GeneralDefineGLM(2, 3, w.data(), basis.m), 0);
  Captured c = capture_output([] { GeneralGLM_GetBeta(2); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error: coefficient 2 is out of range in GeneralGLM_GetBeta (0 to 1)\n");
  c = capture_output([] { GeneralGLM_GetSEM(-1); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Programming error: coefficient -1 is out of range in GeneralGLM_GetSEM (0 to 1)\n");
}

TEST_F(LinearModels, ResetForgetsBothModels) {
  std::vector<std::vector<float>> design = {{1}, {1}};
  Basis basis(design);
  std::vector<float> w(2, 1.0f);
  ASSERT_EQ(GeneralDefineGLM(1, 2, w.data(), basis.m), 0);
  ASSERT_EQ(PolynomialDefineGLM(1, 2, w.data()), 0);
  GeneralGLM_reset();
  PolyGLM_reset();
  EXPECT_EQ(GeneralGLM.ncoeff, 0);
  EXPECT_EQ(GeneralGLM.X, nullptr);
  EXPECT_EQ(PolyGLM.ncoeff, 0);
  EXPECT_EQ(PolyGLM.Pinv, nullptr);
  // And both can be defined again afterwards.
  EXPECT_EQ(GeneralDefineGLM(1, 2, w.data(), basis.m), 0);
  EXPECT_EQ(PolynomialDefineGLM(1, 2, w.data()), 0);
}

}  // namespace
