#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "fit_engine_setup.h"

namespace {

std::vector<std::vector<float>> tensor_scheme(int n) {
  std::vector<std::vector<float>> rows(4);
  for (int j = 0; j < n; j++) {
    const double z = j == 0 ? 0 : 1.0 - (2.0 * j - 1.0) / (n - 1), r = std::sqrt(1.0 - z * z), phi = j * 2.39996;
    rows[0].push_back(j == 0 ? 0.0f : (float)(r * std::cos(phi)));
    rows[1].push_back(j == 0 ? 0.0f : (float)(r * std::sin(phi)));
    rows[2].push_back(j == 0 ? 0.0f : (float)z);
    rows[3].push_back(j == 0 ? 0.0f : (j % 2 ? 1000.0f : 2000.0f));
  }
  return rows;
}

// Curves that vary from voxel to voxel, with background voxels among them.
std::vector<float> series_for(int nvox, int ntime, const std::vector<std::vector<float>> &rows, const char *model) {
  std::vector<float> s((size_t)nvox * ntime);
  for (int v = 0; v < nvox; v++)
    for (int j = 0; j < ntime; j++) {
      const double noise = 1.0 + 0.03 * std::sin(12.9898 * v + 78.233 * j);
      double y;
      if (!strncmp(model, "DTI", 3)) {
        const double d1 = 1e-3 + 5e-4 * std::sin(0.1 * v), d2 = 4e-4, g = rows[0][j] * (0.5 + 0.5 * std::cos(0.2 * v));
        y = (800 + v) * std::exp(-rows[3][j] * (d2 + d1 * g * g)) * noise;
      } else if (!strcmp(model, "T2")) {
        y = (1000 + 3 * v) * std::exp(-rows[0][j] / (30.0 + v % 40)) * noise;
      } else if (!strcmp(model, "survival-3")) {
        const double x = (2.0 * j) / ntime - 1.0;
        y = 100.0 / (std::exp((x - 0.01 * (v % 30)) / 0.15) + 1.0) * noise;
      } else {
        y = 50.0 * std::exp(-0.2 * j) + (1 + v % 5) * j + 10.0 * noise;
      }
      s[(size_t)v * ntime + j] = (float)y;
    }
  for (int v = 7; v < nvox; v += 23) s[(size_t)v * ntime + 3] = 0.0f;  // background
  return s;
}

struct VoxelResults {
  std::vector<int> result;
  std::vector<float> chi2, values, outputs;
};

VoxelResults one_by_one(int nvox, int ntime, const std::vector<float> &series) {
  VoxelResults r{std::vector<int>(nvox), std::vector<float>(nvox), std::vector<float>((size_t)nvox * FIT.nparam_fit),
                 std::vector<float>((size_t)nvox * FIT.nparam_output)};
  std::vector<float> y(ntime), fit(ntime);
  for (int v = 0; v < nvox; v++) {
    for (int i = 0; i < FIT_MAX_PARAMETERS; i++) FIT.param_value[i] = FIT.param_output[i] = 0.0f;
    std::fill(fit.begin(), fit.end(), 0.0f);
    std::copy(series.begin() + (size_t)v * ntime, series.begin() + (size_t)(v + 1) * ntime, y.begin());
    float chi2 = 0.0f;
    r.result[v] = FIT_data(ntime, y.data(), fit.data(), &chi2);
    r.chi2[v] = chi2;
    for (int i = 0; i < FIT.nparam_fit; i++) r.values[(size_t)v * FIT.nparam_fit + i] = FIT.param_value[i];
    for (int i = 0; i < FIT.nparam_output; i++) r.outputs[(size_t)v * FIT.nparam_output + i] = FIT.param_output[i];
  }
  return r;
}

void expect_same_bits(const std::vector<float> &a, const std::vector<float> &b, const char *what) {
  ASSERT_EQ(a.size(), b.size());
  EXPECT_EQ(memcmp(a.data(), b.data(), a.size() * sizeof(float)), 0) << what;
}

class VoxelFits : public ::testing::TestWithParam<const char *> {
 protected:
  void TearDown() override { fresh_fit_engine(); }
};

TEST_P(VoxelFits, EveryVoxelOnThreadsEqualsItsOwnFit) {
  const char *model = GetParam();
  const int ntime = !strncmp(model, "DTI", 3) ? 25 : 16, nvox = 301;
  std::vector<std::vector<float>> rows;
  if (!strncmp(model, "DTI", 3)) rows = tensor_scheme(ntime);
  if (!strcmp(model, "T2")) {
    rows.push_back({});
    for (int j = 0; j < ntime; j++) rows[0].push_back(10.0f * (j + 1));
  }
  set_fit_engine(model, ntime, rows);
  const std::vector<float> series = series_for(nvox, ntime, rows, model);
  VoxelResults want = one_by_one(nvox, ntime, series);
  // The model as the read left it, for the threaded path.
  set_fit_engine(model, ntime, rows);
  for (int threads : {1, 2, 3}) {
    VoxelResults got{std::vector<int>(nvox, -5), std::vector<float>(nvox), std::vector<float>(want.values.size()),
                     std::vector<float>(want.outputs.size())};
    ASSERT_EQ(FIT_fit_voxels(nvox, ntime, series.data(), threads, got.result.data(), got.chi2.data(),
                             got.values.data(), got.outputs.data()),
              0);
    EXPECT_EQ(got.result, want.result) << model << " threads " << threads;
    expect_same_bits(got.chi2, want.chi2, "chi2");
    expect_same_bits(got.values, want.values, "values");
    expect_same_bits(got.outputs, want.outputs, "outputs");
    // The caller's engine holds the last voxel's fit.
    for (int i = 0; i < FIT.nparam_output; i++)
      EXPECT_EQ(FIT.param_output[i], want.outputs[(size_t)(nvox - 1) * FIT.nparam_output + i]);
  }
}

INSTANTIATE_TEST_SUITE_P(Models, VoxelFits,
                         ::testing::Values("DTI-OLS", "DTI-WLS", "DTI-NL", "T2", "survival-3", "FDG-polynomial"),
                         [](const ::testing::TestParamInfo<const char *> &info) {
                           std::string name = info.param;
                           for (char &c : name)
                             if (c == '-') c = '_';
                           return name;
                         });

// Maps alone (no curve, no chi-square read): the whole-map path lays the
// design out once and skips the curves, and must still give every voxel the
// outputs of its own single fit, bit for bit, on one thread or several.
TEST(VoxelFitsMapsAlone, TensorOutputsEqualEachVoxelsOwnFit) {
  for (const char *model : {"DTI-OLS", "DTI-WLS", "DTI-NL"}) {
    const int ntime = 33, nvox = !strcmp(model, "DTI-NL") ? 150 : 3000;
    const std::vector<std::vector<float>> rows = tensor_scheme(ntime);
    set_fit_engine(model, ntime, rows);
    std::vector<float> series = series_for(nvox, ntime, rows, model);
    // Half the voxels hold whole numbers, as a scanner stores them.
    for (int v = 0; v < nvox; v += 2)
      for (int j = 0; j < ntime; j++) series[(size_t)v * ntime + j] = std::round(series[(size_t)v * ntime + j]);
    for (int j = 0; j < ntime; j++) series[(size_t)5 * ntime + j] = 0.0f;  // empty background
    series[(size_t)9 * ntime + 2] = std::nanf("");
    VoxelResults want = one_by_one(nvox, ntime, series);
    for (int threads : {1, 2}) {
      set_fit_engine(model, ntime, rows);
      std::vector<int> result(nvox, -5);
      std::vector<float> outputs(want.outputs.size(), -7.0f);
      ASSERT_EQ(FIT_fit_voxels(nvox, ntime, series.data(), threads, result.data(), nullptr, nullptr, outputs.data()),
                0);
      EXPECT_EQ(result, want.result) << model << " threads " << threads;
      expect_same_bits(outputs, want.outputs, model);
      // The caller's engine holds the last voxel's fit, as a single fit leaves it.
      for (int i = 0; i < FIT.nparam_fit; i++)
        EXPECT_EQ(FIT.param_value[i], want.values[(size_t)(nvox - 1) * FIT.nparam_fit + i]) << model;
    }
  }
  fresh_fit_engine();
}

TEST(VoxelFitsRefusal, NoModelOrWrongLength) {
  fresh_fit_engine();
  float series[4] = {1, 2, 3, 4};
  Captured c = capture_output([&] { EXPECT_EQ(FIT_fit_voxels(1, 4, series, 2, nullptr, nullptr, nullptr, nullptr), 1); });
  EXPECT_EQ(c.out, "Error: the fit engine has no model: read a control file first.\n");
  set_fit_engine("FDG-exponential", 5);
  c = capture_output([&] { EXPECT_EQ(FIT_fit_voxels(1, 4, series, 2, nullptr, nullptr, nullptr, nullptr), 1); });
  EXPECT_EQ(c.out, "Error: the number of time points (4) does not match the fit (5).\n");
  fresh_fit_engine();
}

}  // namespace
