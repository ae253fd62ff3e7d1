#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "python_oracle.h"
#include "zor_display_state.h"
#include "zor_time_model.h"

namespace {

// numpy's magnitude of the real FFT, each bin j/2 standing at sample j.
std::vector<double> numpy_spectrum(const std::vector<float> &y) {
  std::ostringstream input;
  input.precision(9);
  for (float v : y) input << v << "\n";
  const std::string script =
      "import sys, numpy as np\n"
      "y = np.array([float(w) for w in sys.stdin.read().split()], dtype=np.float32)\n"
      "m = np.abs(np.fft.rfft(y.astype(np.float64)))\n"
      "print(' '.join(repr(float(m[j // 2])) for j in range(len(y))))\n";
  std::vector<double> numbers;
  EXPECT_TRUE(run_python_oracle(script, input.str(), numbers));
  return numbers;
}

std::vector<float> known_curve(int n, double phase) {
  std::vector<float> y(n);
  for (int j = 0; j < n; j++)
    y[j] = (float)(100.0 + 7.0 * sin(2 * M_PI * 3 * j / n + phase) + 2.5 * cos(2 * M_PI * 5 * j / n) +
                   0.01 * j * j);
  return y;
}

std::vector<float> spectrum_of(std::vector<float> y) {
  graph.npoints = (int)y.size();
  graph.yVector = y.data();
  FT_graph_data();
  graph.yVector = nullptr;
  return y;
}

void expect_like_numpy(const std::vector<float> &curve) {
  std::vector<float> ours = spectrum_of(curve);
  std::vector<double> reference = numpy_spectrum(curve);
  ASSERT_EQ(reference.size(), ours.size());
  for (size_t j = 0; j < ours.size(); j++)
    EXPECT_NEAR(ours[j], reference[j], 1e-5 * (1.0 + fabs(reference[j]))) << "n " << curve.size() << " j " << j;
}

TEST(Spectrum, MagnitudesMatchNumpyOnAKnownCurve) {
  FT_graph_data_reset();
  expect_like_numpy(known_curve(64, 0.3));
}

TEST(Spectrum, EachBinFillsTwoNeighbouringSamples) {
  FT_graph_data_reset();
  std::vector<float> y = spectrum_of(known_curve(40, 0.0));
  for (int j = 0; j < 40; j += 2) EXPECT_EQ(y[j], y[j + 1]) << j;
  // A sine of 3 cycles peaks in bin 3, which fills samples 6 and 7.
  EXPECT_GT(y[6], y[4]);
  EXPECT_GT(y[6], y[8]);
}

TEST(Spectrum, OddLengthKeepsTheLastBinInRange) {
  FT_graph_data_reset();
  expect_like_numpy(known_curve(33, 1.0));
}

TEST(Spectrum, CurvesOfChangingLengthOneAfterAnother) {
  FT_graph_data_reset();
  for (int n : {16, 65, 65, 8, 300, 31, 64}) expect_like_numpy(known_curve(n, 0.1 * n));
}

TEST(Spectrum, ConstantCurveHasOnlyTheZeroBin) {
  FT_graph_data_reset();
  std::vector<float> y = spectrum_of(std::vector<float>(20, 2.0f));
  EXPECT_FLOAT_EQ(y[0], 40.0f);
  EXPECT_FLOAT_EQ(y[1], 40.0f);
  for (int j = 2; j < 20; j++) EXPECT_NEAR(y[j], 0.0f, 1e-5) << j;
}

}  // namespace
