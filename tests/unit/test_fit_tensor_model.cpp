#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "../../fit/fit_internal.h"
#include "fit_engine_setup.h"

namespace {

// A random seven-column design, weights and data.
struct Problem {
  int nt;
  std::vector<float> design, weights, data;
  std::vector<float *> rows;
  explicit Problem(int n, unsigned seed) : nt(n), design((size_t)n * 7), weights(n), data(n), rows(n) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> u(-1.0f, 1.0f);
    for (int j = 0; j < n; j++) {
      rows[j] = &design[(size_t)j * 7];
      rows[j][0] = 1.0f;
      for (int c = 1; c < 7; c++) rows[j][c] = -1000.0f * u(rng) * u(rng);
      weights[j] = 100.0f + 5000.0f * std::fabs(u(rng));
      data[j] = 4.0f + 0.5f * u(rng);
    }
  }
};

TEST(TensorModelPasses, SameBitsAsTheGeneralModel) {
  for (int n : {7, 12, 65, 130}) {
    for (unsigned seed : {1u, 2u, 3u}) {
      Problem p(n, seed);
      GeneralGLM_reset();
      ASSERT_EQ(GeneralDefineGLM(7, n, p.weights.data(), p.rows.data()), 0);
      // The weighted pseudo-inverse worked out again on the same design.
      float normal[49], *normal_rows[7], pinv[7][130], *pinv_rows[7];
      for (int c = 0; c < 7; c++) normal_rows[c] = &normal[c * 7], pinv_rows[c] = pinv[c];
      fit_tensor_normal_inverse(n, GeneralGLM.X, p.weights.data(), normal_rows);
      fit_tensor_weighted_pinv(n, GeneralGLM.X, p.weights.data(), normal_rows, pinv_rows);
      for (int c = 0; c < 7; c++)
        EXPECT_EQ(memcmp(pinv[c], GeneralGLM.Pinv[c], n * sizeof(float)), 0) << n << " " << seed << " " << c;

      std::vector<float> fit1(n), fit2(n), data = p.data;
      ASSERT_EQ(GeneralFitGLM(n, data.data(), fit1.data()), 0);
      float beta[7], sem[7];
      memcpy(beta, GeneralGLM.Beta, sizeof beta);
      memcpy(sem, GeneralGLM.Sem, sizeof sem);
      memset(GeneralGLM.Beta, 0, sizeof beta);
      memset(GeneralGLM.Sem, 0, sizeof sem);
      ASSERT_EQ(fit_tensor_general_fit(n, p.data.data(), fit2.data()), 0);
      EXPECT_EQ(memcmp(fit1.data(), fit2.data(), n * sizeof(float)), 0) << n << " " << seed;
      EXPECT_EQ(memcmp(beta, GeneralGLM.Beta, sizeof beta), 0) << n << " " << seed;
      EXPECT_EQ(memcmp(sem, GeneralGLM.Sem, sizeof sem), 0) << n << " " << seed;
    }
  }
  GeneralGLM_reset();
}

TEST(TensorModelPasses, OtherModelsGoThroughTheGeneralFit) {
  GeneralGLM_reset();
  float data[3] = {1, 2, 3}, fit[3];
  Captured c = capture_output([&] { EXPECT_EQ(fit_tensor_general_fit(3, data, fit), 1); });
  EXPECT_EQ(c.out, "Error in GeneralFitGLM: order of polynomial (0) < 1.\n");
}

double ulp_error(float got, double want) {
  if (want == 0.0) return got == 0.0f ? 0.0 : 1e9;
  const float f = (float)want;
  const double ulp = std::nextafter(std::fabs(f), std::numeric_limits<float>::infinity()) - std::fabs(f);
  return std::fabs(got - want) / ulp;
}

TEST(CurveMath, LogarithmIsTheLibraryValueRoundedOnce) {
  std::vector<float> x;
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> u(-40.0f, 40.0f);
  for (int i = 0; i < 200000; i++) x.push_back(std::exp2(u(rng)));
  for (float v : {1.0f, 2.0f, 0.5f, 0.70710677f, 0.70710683f, 1.4142135f, 3.0e38f, 1.2e-38f, 1.0e-40f, 1.4e-45f,
                  65535.0f, 1.0000001f, 0.99999994f})
    x.push_back(v);
  std::vector<float> y(x.size());
  fit_log_values((int)x.size(), x.data(), y.data());
  double worst = 0.0;
  for (size_t i = 0; i < x.size(); i++) {
    const double want = std::log((double)x[i]);
    const double e = std::fabs(want) < 1e-30 ? std::fabs(y[i]) : ulp_error(y[i], want);
    worst = std::max(worst, e);
    ASSERT_LE(e, 0.5) << x[i] << " " << y[i] << " " << want;
    ASSERT_EQ(y[i], (float)want) << x[i];
  }
  EXPECT_EQ(y[x.size() - 13], 0.0f);  // log 1
  float special[3] = {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN(), 1.0f}, out[3];
  fit_log_values(3, special, out);
  EXPECT_TRUE(std::isinf(out[0]) && out[0] > 0);
  EXPECT_TRUE(std::isnan(out[1]));
  EXPECT_EQ(out[2], 0.0f);
}

TEST(CurveMath, WholeNumbersAndTheirNeighboursGiveTheLibraryValue) {
  // Every whole number a 16-bit scanner stores, the floats on either side of
  // each, and the first ones past the range.
  std::vector<float> x;
  for (int i = 0; i < 65536; i++) {
    const float v = (float)i;
    x.push_back(v);
    x.push_back(std::nextafter(v, 0.0f));
    x.push_back(std::nextafter(v, 1e9f));
  }
  for (float v : {65536.0f, 65537.0f, 1e6f, -0.0f, -1.0f, 0.5f, 1.5f, 65535.5f}) x.push_back(v);
  std::vector<float> y(x.size());
  fit_log_values((int)x.size(), x.data(), y.data());
  for (size_t i = 0; i < x.size(); i++) {
    const float want = (float)std::log((double)x[i]);
    if (std::isnan(want)) {
      ASSERT_TRUE(std::isnan(y[i])) << x[i];
    } else {
      ASSERT_EQ(memcmp(&y[i], &want, sizeof want), 0) << x[i] << " " << y[i] << " " << want;
    }
  }
  EXPECT_TRUE(std::isinf(y[0]) && y[0] < 0.0f);  // log 0
}

TEST(CurveMath, ExponentialIsTheLibraryValueRoundedOnce) {
  std::vector<float> x;
  std::mt19937 rng(8);
  std::uniform_real_distribution<float> u(-87.0f, 88.7f);
  for (int i = 0; i < 200000; i++) x.push_back(u(rng));
  std::uniform_real_distribution<float> small(-1.0f, 1.0f);
  for (int i = 0; i < 20000; i++) x.push_back(small(rng) * 1e-3f);
  for (float v : {0.0f, -0.0f, 1.0f, -1.0f, 88.7f, -87.3f, 1e-8f, 0.5f, 10.0f}) x.push_back(v);
  std::vector<float> y = x;
  fit_exp_values((int)y.size(), y.data());
  for (size_t i = 0; i < x.size(); i++) {
    ASSERT_LE(ulp_error(y[i], std::exp((double)x[i])), 0.5) << x[i] << " " << y[i];
    ASSERT_EQ(y[i], (float)std::exp((double)x[i])) << x[i];
  }
  // Past the ends of the range, and values without a number.
  float edges[8] = {89.0f, 1e30f, std::numeric_limits<float>::infinity(), -104.0f, -1e30f,
                    -std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN(), -95.0f};
  fit_exp_values(8, edges);
  EXPECT_TRUE(std::isinf(edges[0]) && std::isinf(edges[1]) && std::isinf(edges[2]));
  EXPECT_EQ(edges[3], 0.0f);
  EXPECT_EQ(edges[4], 0.0f);
  EXPECT_EQ(edges[5], 0.0f);
  EXPECT_TRUE(std::isnan(edges[6]));
  // Subnormal results keep their value to within a unit of the smallest step.
  EXPECT_NEAR(edges[7], std::exp(-95.0), 1.5e-45);
  EXPECT_GT(edges[7], 0.0f);
}

}  // namespace
