// Conditions of the group model and their tests: the contrast rows (a
// repeated character counts once), the F and t statistics, the error that
// keeps the effect's sign, the corrected p and the floor of every p.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "python_oracle.h"
#include "rem_test_files.h"

namespace {

float bits_27(void) {
  unsigned int bits = 27;
  float f;
  memcpy(&f, &bits, sizeof f);
  return f;
}

class RemConditions : public ::testing::Test {
 protected:
  RemStudy s;
  void SetUp() override {
    REM_engine_reset();
    std::string f = s.native("m", 10);
    std::string list = "event p\n0 3\n\nevent c\n4 7\n\nevent d ramp\n0 7\nmeasurements:\n";
    for (int i = 0; i < 8; i++) list += f + "\n";
    ASSERT_EQ(read_rem(s.text("a.rem", list)).result, 0);
  }
  struct Defined {
    int result = -99, n = -1;
    std::string out;
  };
  Defined define(const std::string &text) {
    Defined d;
    std::string copy = text;
    Captured c = capture_output([&] { d.result = REM_define_conditions(copy.data(), &d.n); });
    d.out = c.out;
    return d;
  }
  struct Test {
    int result = -99;
    float cnr = -7, p_raw = -7, p_cor = -7, size = -7, sem = -7;
    std::string out;
  };
  Test test(int k, int dof, int resels = 0, int ntime = 8) {
    Test t;
    Captured c = capture_output(
        [&] { t.result = REM_calculate_F(ntime, resels, k, dof, &t.cnr, &t.p_raw, &t.p_cor, &t.size, &t.sem); });
    t.out = c.out;
    return t;
  }
  // Coefficients and their covariance as a fit would leave them.
  void set_fit(std::vector<float> beta, std::vector<std::vector<float>> variance) {
    for (int a = 0; a < 3; a++) {
      REM.Beta_c[a] = beta[a];
      for (int b = 0; b < 3; b++) REM.Variance_cc[a][b] = variance[a][b];
    }
  }
};

TEST_F(RemConditions, NeedAModel) {
  REM_engine_reset();
  Defined d = define("p");
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.out, "Error: the REM basis functions should be defined before the conditions.\n");
}

TEST_F(RemConditions, BlankStringGivesNoConditions) {
  Defined d = define("  \t ");
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.n, 0);
  EXPECT_EQ(REM_get_nconditions(), 0);
}

TEST_F(RemConditions, RowsSignsAndNames) {
  Defined d = define("p c p-c pc-d,d-p");
  ASSERT_EQ(d.result, 0);
  EXPECT_EQ(d.n, 4);
  EXPECT_EQ(REM.nconditions, 4);
  EXPECT_EQ(REM.ncontrasts[3], 2);
  int **C = REM.contrast_matrix[2];
  EXPECT_EQ(C[0][0], 1);
  EXPECT_EQ(C[0][1], -1);
  EXPECT_EQ(C[0][2], 0);
  C = REM.contrast_matrix[3];
  EXPECT_EQ(C[0][0], 1);
  EXPECT_EQ(C[0][1], 1);
  EXPECT_EQ(C[0][2], -1);
  EXPECT_EQ(C[1][2], 1);  // the comma turns the sign back
  EXPECT_EQ(C[1][0], -1);
  char name[ZOR_LINE];
  EXPECT_EQ(REM_get_condition_string(3, name), 0);
  EXPECT_STREQ(name, "pc-d,d-p");
  strcpy(name, "kept");
  EXPECT_EQ(REM_get_condition_string(4, name), 1);
  EXPECT_STREQ(name, "kept");
}

TEST_F(RemConditions, RepeatedCharacterCountsOnce) {
  ASSERT_EQ(define("pp ppc p-p").result, 0);
  EXPECT_EQ(REM.contrast_matrix[0][0][0], 1);
  EXPECT_EQ(REM.contrast_matrix[1][0][0], 1);
  EXPECT_EQ(REM.contrast_matrix[1][0][1], 1);
  EXPECT_EQ(REM.contrast_matrix[2][0][0], -1);  // the last sign set stands
}

TEST_F(RemConditions, UndefinedEventIsNamedByItsNumber) {
  Defined d = define("p x");
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.out, "Error: one of the events in the conditions (33) is not defined.\n");
  d = define("p+c");
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.out, "Error: one of the events in the conditions (0) is not defined.\n");
}

TEST_F(RemConditions, MoreThanAHundredConditionsRefused) {
  std::string many;
  for (int i = 0; i < 101; i++) many += "p ";
  Defined d = define(many);
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.out, "Error: the number of conditions (101) > max dimension in program (100).\n");
  EXPECT_EQ(d.n, 0);
}

TEST_F(RemConditions, TestArgumentsAreChecked) {
  ASSERT_EQ(define("p c").result, 0);
  Test t = test(2, 10);
  EXPECT_EQ(t.result, 1);
  EXPECT_EQ(t.out, "Error: the specified condition (2) is out of range (0-1)\n");
  t = test(-1, 10);
  EXPECT_EQ(t.out, "Error: the specified condition (-1) is out of range (0-1)\n");
  t = test(0, 10, 0, 7);
  EXPECT_EQ(t.result, 1);
  EXPECT_EQ(t.out, "Error: # time points (7) != # used in REM fit (8).\n");
  t = test(0, 0);
  EXPECT_EQ(t.result, 1);
  EXPECT_EQ(t.out, "Error: the conditions cannot be tested with 0 degrees of freedom.\n");
  EXPECT_EQ(t.p_raw, 1.0f);
  EXPECT_EQ(t.cnr, 0.0f);
}

TEST_F(RemConditions, SingleRowIsATwoSidedTTest) {
  ASSERT_EQ(define("p-c c").result, 0);
  set_fit({2.0f, 3.5f, 0.0f}, {{0.25f, 0.05f, 0}, {0.05f, 0.36f, 0}, {0, 0, 1}});
  Test t = test(0, 12, 1);
  ASSERT_EQ(t.result, 0);
  const double var = 0.25 + 0.36 - 2 * 0.05, tval = -1.5 / sqrt(var);
  EXPECT_FLOAT_EQ(t.size, -1.5f);
  EXPECT_NEAR(t.cnr, tval, 1e-5);
  // The error keeps the sign of the effect.
  EXPECT_NEAR(t.sem, -sqrt(var), 1e-6);
  std::vector<double> p;
  ASSERT_TRUE(run_python_oracle("import sys\nfrom scipy import stats\nt, df = map(float, sys.stdin.read().split())\n"
                                "print('%.17g' % (2 * stats.t.sf(abs(t), df)))\n",
                                std::to_string(tval) + " 12", p));
  ASSERT_EQ(p.size(), 1u);
  EXPECT_NEAR(t.p_raw, p[0], 1e-6 * p[0] + 1e-12);
  const double F = tval * tval, df2 = 12;
  const double ec3 = 0.1169f * (F * (df2 - 1) / df2 - 1) / pow(F / df2 + 1, (df2 - 1) / 2);
  EXPECT_NEAR(t.p_cor, ec3 < 0 || ec3 > 1 ? 1.0 : ec3, 1e-5);
}

TEST_F(RemConditions, SeveralRowsAreAnFTestWithTheDoubling) {
  ASSERT_EQ(define("p,c").result, 0);
  set_fit({0.5f, -0.8f, 0.0f}, {{0.2f, 0.0f, 0}, {0.0f, 0.3f, 0}, {0, 0, 1}});
  Test t = test(0, 20, 1000);
  ASSERT_EQ(t.result, 0);
  const double F = (0.25 / 0.2 + 0.64 / 0.3) / 2;
  EXPECT_FLOAT_EQ(t.size, -0.8f);
  EXPECT_NEAR(t.cnr, -sqrt(F), 1e-5);
  EXPECT_NEAR(t.sem, -0.8 / sqrt(F), 1e-5);
  std::vector<double> p;
  ASSERT_TRUE(run_python_oracle("import sys\nfrom scipy import special\nF, d1, d2 = map(float, sys.stdin.read().split())\n"
                                "b = special.betainc(d2 / 2, d1 / 2, d2 / (d1 * F + d2))\n"
                                "p = 2 * b\np = 1.0 if p == 2 else (2 - p if p > 1 else p)\nprint('%.17g' % p)\n",
                                std::to_string(F) + " 2 20", p));
  ASSERT_EQ(p.size(), 1u);
  EXPECT_NEAR(t.p_raw, p[0], 1e-5 * p[0]);
  EXPECT_EQ(t.p_cor, 1.0f);  // 1000 resels push it above 1
}

TEST_F(RemConditions, NoEffectGivesPOfOneAndAnUndefinedError) {
  ASSERT_EQ(define("c").result, 0);
  set_fit({1.0f, 0.0f, 0.0f}, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
  Test t = test(0, 10, 1);
  ASSERT_EQ(t.result, 0);
  EXPECT_EQ(t.cnr, 0.0f);
  EXPECT_EQ(t.p_raw, 1.0f);
  EXPECT_EQ(t.p_cor, 1.0f);
  EXPECT_EQ(t.size, 0.0f);
  EXPECT_TRUE(std::isnan(t.sem));
}

TEST_F(RemConditions, ZeroVarianceGivesAnInfiniteStatisticAndTheFloor) {
  ASSERT_EQ(define("p").result, 0);
  set_fit({1.0f, 0.0f, 0.0f}, {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}});
  Test t = test(0, 10, 1);
  ASSERT_EQ(t.result, 0);
  // The inversion of the zero covariance stops at once and leaves it: F is 0.
  EXPECT_EQ(t.cnr, 0.0f);
  EXPECT_TRUE(std::isinf(t.sem));
  EXPECT_EQ(t.p_raw, 1.0f);
}

TEST_F(RemConditions, PValuesStopAtTheFloatOfBitPattern27) {
  ASSERT_EQ(define("p p,c").result, 0);
  set_fit({100.0f, 50.0f, 0.0f}, {{1e-6f, 0, 0}, {0, 1e-6f, 0}, {0, 0, 1}});
  for (int k = 0; k < 2; k++) {
    Test t = test(k, 30, 0);
    ASSERT_EQ(t.result, 0);
    EXPECT_EQ(t.p_raw, bits_27()) << k;
    EXPECT_EQ(t.p_cor, bits_27()) << k;  // no resels: nothing to correct
    EXPECT_NE((double)t.p_raw, 3.720075976020836e-44);  // a double floor would differ
  }
}

TEST_F(RemConditions, NaNEffectGivesUndefinedValuesWithoutFailing) {
  ASSERT_EQ(define("p").result, 0);
  set_fit({NAN, 0.0f, 0.0f}, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
  Test t = test(0, 10, 1);
  EXPECT_EQ(t.result, 0);
  EXPECT_TRUE(std::isnan(t.cnr));
  EXPECT_TRUE(std::isnan(t.p_raw));
}

TEST_F(RemConditions, FitThenTestThroughTheModel) {
  ASSERT_EQ(define("p-c").result, 0);
  std::vector<float> y = {1, 2, 3, 2, 6, 7, 5, 6}, se(8, 0.5f), f(8), e(8), a(8);
  ASSERT_EQ(REM_fit_final(0.5f, 8, y.data(), se.data(), f.data(), e.data(), a.data()), 0);
  Test t = test(0, REM_get_DOF_effective(), 1);
  ASSERT_EQ(t.result, 0);
  EXPECT_FLOAT_EQ(t.size, REM.Beta_c[0] - REM.Beta_c[1]);
  EXPECT_LT(t.cnr, 0.0f);
  EXPECT_LT(t.sem, 0.0f);
  EXPECT_GT(t.p_raw, 0.0f);
  EXPECT_LT(t.p_raw, 0.05f);
}

}  // namespace
