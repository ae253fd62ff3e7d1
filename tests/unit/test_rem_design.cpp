// The group design matrix and the degrees of freedom: magnitudes over the
// largest of their event, ramps, overlapping ranges, empty events, the
// per-file degrees of freedom from the headers and the effective count.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "rem_test_files.h"

namespace {

class RemDesign : public ::testing::Test {
 protected:
  RemStudy s;
  void SetUp() override { REM_engine_reset(); }
  std::string list(int n, const std::vector<float> &magnitudes = {}) {
    std::string out;
    for (int i = 0; i < n; i++) {
      out += s.native("m" + std::to_string(i), 8);
      if (i < (int)magnitudes.size()) out += " " + std::to_string(magnitudes[i]);
      out += "\n";
    }
    return out;
  }
};

TEST_F(RemDesign, MagnitudesAreDividedByTheLargestOfTheirEvent) {
  RemRead r = read_rem(s.text("a.rem", "event p\n0 2\n\nevent c\n2 3\nmeasurements:\n" + list(4, {2, 4, 8, 1})));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM.X_tc[0][0], 2.0f / 8.0f);
  EXPECT_EQ(REM.X_tc[1][0], 4.0f / 8.0f);
  EXPECT_EQ(REM.X_tc[2][0], 1.0f);
  EXPECT_EQ(REM.X_tc[3][0], 0.0f);
  EXPECT_EQ(REM.X_tc[2][1], 1.0f);
  EXPECT_EQ(REM.X_tc[3][1], 1.0f / 8.0f);
  EXPECT_EQ(REM.X_tc[0][1], 0.0f);
}

TEST_F(RemDesign, RampRisesFromZeroToOneOverEachRange) {
  RemRead r = read_rem(s.text("a.rem", "event p ramp\n0 4\n5 6\nmeasurements:\n" + list(7, {1, 1, 1, 1, 2, 1, 1})));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  for (int t = 0; t <= 4; t++) EXPECT_EQ(REM.X_tc[t][0], (t == 4 ? 1.0f : 0.5f) * (float)t / 4.0f) << t;
  EXPECT_EQ(REM.X_tc[5][0], 0.0f);
  EXPECT_EQ(REM.X_tc[6][0], 0.5f);
}

TEST_F(RemDesign, LaterRangeOverwritesAnEarlierOne) {
  RemRead r = read_rem(s.text("a.rem", "event p ramp\n0 4\n2 3\nmeasurements:\n" + list(5)));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM.X_tc[1][0], 0.25f);
  EXPECT_EQ(REM.X_tc[2][0], 0.0f);  // not 0.5 + 0
  EXPECT_EQ(REM.X_tc[3][0], 1.0f);  // not 0.75 + 1
  EXPECT_EQ(REM.X_tc[4][0], 1.0f);
}

TEST_F(RemDesign, OneFileRampIsUndefined) {
  RemRead r = read_rem(s.text("a.rem", "event p ramp\n1 1\nmeasurements:\n" + list(2)));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_TRUE(std::isnan(REM.X_tc[1][0]));
  EXPECT_EQ(REM.X_tc[0][0], 0.0f);
}

TEST_F(RemDesign, MatricesAreSizedAndTheIdentityIsSet) {
  RemRead r = read_rem(s.text("a.rem", "event p\n" + list(3) + "event c\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM.ncoeff, 2);
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 3; j++) EXPECT_EQ(REM.Identity_tt[i][j], i == j ? 1.0f : 0.0f);
  for (int t = 0; t < 3; t++) EXPECT_EQ(REM.X_tc[t][1], 0.0f);
}

// Degrees of freedom.
class RemDegrees : public ::testing::Test {
 protected:
  RemStudy s;
  void SetUp() override { REM_engine_reset(); }
};

TEST_F(RemDegrees, NiftiExtensionCarriesTheDegreesOfFreedom) {
  std::string a = s.nifti("a.nii", 20, 37), b = s.nifti("b.nii", 20, 0), c = s.nifti("c.nii", 4, 99);
  std::string d = s.native("d", 12), e = s.native("e", 0);
  RemRead r = read_rem(s.text("a.rem", "event p\n" + a + "\n" + b + "\n" + c + "\n" + d + "\n" + e + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  ASSERT_NE(REM.lDOF_fixed, nullptr);
  EXPECT_EQ(REM.lDOF_fixed[0], 37);
  EXPECT_EQ(REM.lDOF_fixed[1], 1);  // 0 counts 1
  EXPECT_EQ(REM.lDOF_fixed[2], 1);  // another code carries none
  EXPECT_EQ(REM.lDOF_fixed[3], 12);
  EXPECT_EQ(REM.lDOF_fixed[4], 1);
  EXPECT_EQ(REM_get_DOF_fixed(), 52);
  EXPECT_EQ(REM_get_DOF_random(), 4);
  // Without prior smoothing the ratio is infinite: the fixed total stands.
  EXPECT_EQ(REM_get_DOF_effective(), 52);
  EXPECT_NE(r.printed.out.find("Degrees of freedom: fixed = 52, random = 4, smoothed = 52\n"), std::string::npos);
}

// The formula in double throughout, as an independent check of the rounding.
int effective_dof(double fixed, double random, double signal_mm, double noise_mm) {
  double ratio = pow(1.0 + 2.0 * noise_mm * noise_mm / (signal_mm * signal_mm), 1.5);
  return (int)rint(1.0 / (1.0 / fixed + 1.0 / (random * ratio)));
}

TEST_F(RemDegrees, EffectiveCountFromTheSmoothingWidths) {
  std::string f = s.native("m", 20);
  std::string files;
  for (int i = 0; i < 12; i++) files += f + "\n";
  for (auto widths : std::vector<std::pair<float, float>>{{4, 8}, {6, 6}, {8, 3}, {2.5f, 10}, {10, 0.5f}}) {
    RemRead r = read_rem(s.text("a.rem", "smoothing " + std::to_string(widths.first) + " " +
                                             std::to_string(widths.second) + "\nevent p\n0 5\n\nevent c\n6 11\n"
                                             "measurements:\n" + files));
    ASSERT_EQ(r.result, 0) << r.printed.out;
    EXPECT_EQ(REM_get_DOF_effective(), effective_dof(240, 10, widths.first, widths.second))
        << widths.first << " " << widths.second;
    char line[200];
    snprintf(line, sizeof line,
             "Effective isotropic resolution    = %4.2f mm\nSmoothing FWHM for variance ratio = %g mm\n"
             "Degrees of freedom: fixed = 240, random = 10, smoothed = %d\n",
             widths.first, widths.second, REM_get_DOF_effective());
    EXPECT_EQ(r.printed.out.rfind(line, 0), 0u) << r.printed.out;
  }
}

TEST_F(RemDegrees, NoRandomDegreesUnderAnInfiniteRatioLeaveNone) {
  std::string f = s.native("m", 20);
  RemRead r = read_rem(s.text("a.rem", "event p\n" + f + "\nevent c\n" + f + "\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM_get_DOF_random(), 0);
  EXPECT_EQ(REM_get_DOF_effective(), 0);
}

TEST_F(RemDegrees, NegativeRandomDegreesUnderAnInfiniteRatioKeepTheFixedTotal) {
  std::string f = s.native("m", 20);
  RemRead r = read_rem(s.text("a.rem", "event p\n" + f + "\nevent c\nevent d\n"));
  ASSERT_EQ(r.result, 0) << r.printed.out;
  EXPECT_EQ(REM_get_DOF_random(), -2);
  EXPECT_EQ(REM_get_DOF_effective(), 20);
}

}  // namespace
