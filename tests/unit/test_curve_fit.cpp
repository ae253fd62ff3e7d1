#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "python_oracle.h"
#include "zor.h"

namespace {

double line_model(double x, double *p) { return p[0] + p[1] * x; }
// The second parameter takes no part.
double ignores_second(double x, double *p) { return p[0] * std::exp(-p[2] * x); }
double always_nan(double, double *) { return std::numeric_limits<double>::quiet_NaN(); }

struct Counting {
  int calls = 0;
  int break_at = -1;
};

void counting_nan(double *par, int m_dat, double *fvec, void *data, int *info) {
  (void)par;
  Counting *c = static_cast<Counting *>(data);
  c->calls++;
  for (int i = 0; i < m_dat; i++) fvec[i] = std::numeric_limits<double>::quiet_NaN();
  if (c->break_at > 0 && c->calls >= c->break_at) *info = -1;
}

void quadratic_residuals(double *par, int m_dat, double *fvec, void *data, int *info) {
  Counting *c = static_cast<Counting *>(data);
  c->calls++;
  for (int i = 0; i < m_dat; i++) fvec[i] = par[0] * i - (2.0 * i + 1.0) + par[1];
  if (c->break_at > 0 && c->calls >= c->break_at) *info = -1;
}

TEST(Minimiser, DefaultControl) {
  lm_control_type c{};
  lm_initialize_control(&c);
  EXPECT_EQ(c.ftol, 6.661338147750939e-15);
  EXPECT_EQ(c.xtol, 6.661338147750939e-15);
  EXPECT_EQ(c.gtol, 6.661338147750939e-15);
  EXPECT_EQ(c.epsilon, 6.661338147750939e-15);
  EXPECT_EQ(c.stepbound, 100.0);
  EXPECT_EQ(c.maxcall, 100);
}

TEST(Minimiser, MessageTables) {
  EXPECT_STREQ(lm_shortmsg[0], "invalid input");
  EXPECT_STREQ(lm_shortmsg[3], "success (f,p)");
  EXPECT_STREQ(lm_shortmsg[5], "call limit");
  EXPECT_STREQ(lm_shortmsg[10], "user break");
  EXPECT_STREQ(lm_infmsg[4], "fvec is orthogonal to the columns of the jacobian to machine precision");
  EXPECT_STREQ(lm_infmsg[5], "number of calls to fcn has reached or exceeded maxcall*(n+1)");
  EXPECT_STREQ(lm_infmsg[8], "gtol too small: no further improvement in approximate solution x possible");
  EXPECT_STREQ(lm_infmsg[9], "not enough memory");
}

TEST(Minimiser, FitsAStraightLineExactly) {
  double x[6], y[6];
  for (int i = 0; i < 6; i++) x[i] = i, y[i] = 3.0 - 0.5 * i;
  lm_data_type data = {x, y, line_model};
  lm_control_type c;
  lm_initialize_control(&c);
  double p[2] = {0.0, 0.0};
  lm_minimize(6, 2, p, lm_evaluate_default, lm_print_maps, &data, &c);
  EXPECT_NEAR(p[0], 3.0, 1e-12);
  EXPECT_NEAR(p[1], -0.5, 1e-12);
  EXPECT_LT(c.fnorm, 1e-12);
  EXPECT_GE(c.info, 1);
  EXPECT_LE(c.info, 4);
  EXPECT_GT(c.nfev, 0);
}

TEST(Minimiser, FewerPointsThanParametersIsInvalidInputAndLeavesParameters) {
  double x[2] = {0, 1}, y[2] = {1, 2};
  lm_data_type data = {x, y, ignores_second};
  lm_control_type c;
  lm_initialize_control(&c);
  double p[3] = {1.5, 2.5, 3.5};
  lm_minimize(2, 3, p, lm_evaluate_default, lm_print_maps, &data, &c);
  EXPECT_EQ(c.info, 0);
  EXPECT_EQ(c.nfev, 0);
  EXPECT_EQ(p[0], 1.5);
  EXPECT_EQ(p[1], 2.5);
  EXPECT_EQ(p[2], 3.5);
}

TEST(Minimiser, BadControlsAreInvalidInput) {
  double x[4] = {0, 1, 2, 3}, y[4] = {1, 2, 3, 4};
  lm_data_type data = {x, y, line_model};
  const char *fields[] = {"ftol", "xtol", "gtol", "maxcall", "stepbound"};
  for (const char *field : fields) {
    lm_control_type c;
    lm_initialize_control(&c);
    std::string f = field;
    if (f == "ftol") c.ftol = -1.0;
    if (f == "xtol") c.xtol = -1.0;
    if (f == "gtol") c.gtol = -1.0;
    if (f == "maxcall") c.maxcall = 0;
    if (f == "stepbound") c.stepbound = 0.0;
    double p[2] = {7.0, 8.0};
    lm_minimize(4, 2, p, lm_evaluate_default, lm_print_maps, &data, &c);
    EXPECT_EQ(c.info, 0) << field;
    EXPECT_EQ(p[0], 7.0) << field;
    EXPECT_EQ(p[1], 8.0) << field;
  }
}

TEST(Minimiser, AParameterTheModelIgnoresKeepsItsStartValue) {
  double x[10], y[10];
  for (int i = 0; i < 10; i++) x[i] = i, y[i] = 5.0 * std::exp(-0.3 * i);
  lm_data_type data = {x, y, ignores_second};
  lm_control_type c;
  lm_initialize_control(&c);
  double p[3] = {4.0, 0.123456789, 0.25};
  lm_minimize(10, 3, p, lm_evaluate_default, lm_print_maps, &data, &c);
  EXPECT_EQ(p[1], 0.123456789);
  EXPECT_NEAR(p[0], 5.0, 1e-9);
  EXPECT_NEAR(p[2], 0.3, 1e-9);
}

TEST(Minimiser, NaNResidualsEndAtTheCallLimit) {
  // Nothing ever improves, so every trial step counts until the limit of
  // 100 * (n + 1) evaluations: the count is structural here.
  for (int n = 1; n <= 4; n++) {
    Counting counter;
    lm_control_type c;
    lm_initialize_control(&c);
    std::vector<double> p(n, 1.0);
    lm_minimize(8, n, p.data(), counting_nan, lm_print_maps, &counter, &c);
    EXPECT_EQ(c.info, 5) << n;
    EXPECT_EQ(c.nfev, 100 * (n + 1)) << n;
    EXPECT_EQ(counter.calls, c.nfev) << n;
  }
}

TEST(Minimiser, NaNModelThroughTheDefaultEvaluationIsBounded) {
  double x[5] = {0, 1, 2, 3, 4}, y[5] = {1, 2, 3, 4, 5};
  lm_data_type data = {x, y, always_nan};
  lm_control_type c;
  lm_initialize_control(&c);
  c.maxcall = 3;
  double p[2] = {1.0, 1.0};
  lm_minimize(5, 2, p, lm_evaluate_default, lm_print_maps, &data, &c);
  EXPECT_EQ(c.info, 5);
  EXPECT_EQ(c.nfev, 9);
}

TEST(Minimiser, SmallCallLimitWithAnOrdinaryProblem) {
  Counting counter;
  lm_control_type c;
  lm_initialize_control(&c);
  c.maxcall = 1;  // two evaluations for one parameter... and two for the Jacobian of two
  double p[2] = {100.0, -50.0};
  lm_minimize(6, 2, p, quadratic_residuals, lm_print_maps, &counter, &c);
  // The first evaluation, the Jacobian and one trial are always made.
  EXPECT_GE(c.nfev, 3);
  EXPECT_LE(c.nfev, 3 + 2);
}

TEST(Minimiser, UserBreakBecomesStatus10) {
  Counting counter;
  counter.break_at = 5;
  lm_control_type c;
  lm_initialize_control(&c);
  double p[2] = {100.0, -50.0};
  lm_minimize(6, 2, p, quadratic_residuals, lm_print_maps, &counter, &c);
  EXPECT_EQ(c.info, 10);
  EXPECT_EQ(counter.calls, 5);
}

TEST(Minimiser, EuclideanNormWithoutOverflowOrUnderflow) {
  double big[3] = {1e200, 1e200, 0.0};
  EXPECT_DOUBLE_EQ(lm_enorm(3, big), std::sqrt(2.0) * 1e200);
  double tiny[2] = {3e-170, 4e-170};
  EXPECT_NEAR(lm_enorm(2, tiny) / 5e-170, 1.0, 1e-15);
  double mixed[3] = {3.0, 4.0, 1e-200};
  EXPECT_DOUBLE_EQ(lm_enorm(3, mixed), 5.0);
  double zero[2] = {0.0, 0.0};
  EXPECT_EQ(lm_enorm(2, zero), 0.0);
}

TEST(Minimiser, QrFactorisationReproducesTheColumnNorms) {
  // Column-major 4 by 2; the larger column is pivoted first.
  double a[8] = {1, 0, 0, 0, 0, 3, 4, 0};
  int ipvt[2];
  double rdiag[2], acnorm[2], wa[2];
  lm_qrfac(4, 2, a, 1, ipvt, rdiag, acnorm, wa);
  EXPECT_EQ(ipvt[0], 1);
  EXPECT_EQ(ipvt[1], 0);
  EXPECT_DOUBLE_EQ(acnorm[0], 1.0);
  EXPECT_DOUBLE_EQ(acnorm[1], 5.0);
  EXPECT_DOUBLE_EQ(std::fabs(rdiag[0]), 5.0);
  EXPECT_DOUBLE_EQ(std::fabs(rdiag[1]), 1.0);
}

std::string python_gaussian_oracle(const char *model) {
  return std::string(
             "import sys, math\n"
             "import numpy as np\n"
             "from scipy.optimize import leastsq\n"
             "v = [float(t) for t in sys.stdin.read().split()]\n"
             "n = int(v[0]); x = v[1:1+n]; y = v[1+n:1+2*n]; start = v[1+2*n:4+2*n]\n"
             "def gaussian(t, p):\n"
             "    d = t - p[1]\n"
             "    return p[0] * math.exp(-d * d / 2.0 / p[2] / p[2])\n"
             "def r2(t, p):\n"
             "    d = t - p[1]\n"
             "    w2 = p[2] * p[2]\n"
             "    return p[0] * w2 / (w2 + d * d)\n"
             "f = ") +
         model +
         "\n"
         "T = 6.661338147750939e-15\n"
         "p, cov, d, msg, ier = leastsq(lambda p: np.array([yy - f(xx, p) for xx, yy in zip(x, y)]),\n"
         "    np.array(start), full_output=True, ftol=T, xtol=T, gtol=T, epsfcn=T, factor=100, maxfev=400)\n"
         "print('%.17g %.17g %.17g %d %d' % (p[0], p[1], p[2], ier, d['nfev']))\n";
}

void check_point_spread(bool gaussian) {
  const int n = 25;
  std::vector<double> x(n), y(n);
  std::ostringstream input;
  input.precision(17);
  input << n;
  for (int i = 0; i < n; i++) x[i] = i, input << " " << x[i];
  for (int i = 0; i < n; i++) {
    const double d = i - 11.3;
    const double clean = gaussian ? -40.0 * std::exp(-d * d / 2.0 / 2.7 / 2.7) : -40.0 * 9.0 / (9.0 + d * d);
    y[i] = clean + 0.8 * std::sin(1.7 * i);
    input << " " << y[i];
  }
  float center = 12.0f, amp = -38.0f, width = 3.0f;
  input << " " << (double)amp << " " << (double)center << " " << (double)width;
  Captured out = capture_output([&] {
    if (gaussian)
      EXPECT_EQ(fit_gaussian(n, x.data(), y.data(), &center, &amp, &width), 0);
    else
      EXPECT_EQ(fit_1_over_r2(n, x.data(), y.data(), &center, &amp, &width), 0);
  });
  std::vector<double> want;
  ASSERT_TRUE(run_python_oracle(python_gaussian_oracle(gaussian ? "gaussian" : "r2"), input.str(), want));
  ASSERT_EQ(want.size(), 5u);
  EXPECT_NEAR(amp, want[0], 2e-6 * std::fabs(want[0]));
  EXPECT_NEAR(center, want[1], 2e-6 * std::fabs(want[1]));
  EXPECT_NEAR(width, want[2], 2e-6 * std::fabs(want[2]));
  char line[200];
  snprintf(line, sizeof line, "status: %s after %d evaluations\n", lm_shortmsg[(int)want[3]], (int)want[4]);
  EXPECT_EQ(out.out, line);
}

TEST(PointSpreadFits, GaussianAgainstScipyLeastsq) { check_point_spread(true); }
TEST(PointSpreadFits, InverseSquareAgainstScipyLeastsq) { check_point_spread(false); }

TEST(PointSpreadFits, ModelFunctions) {
  double p[3] = {2.0, 1.0, 0.5};
  EXPECT_DOUBLE_EQ(func_gaussian(1.0, p), 2.0);
  EXPECT_DOUBLE_EQ(func_gaussian(1.5, p), 2.0 * std::exp(-0.5));
  EXPECT_DOUBLE_EQ(func_1_over_r2(1.0, p), 2.0);
  EXPECT_DOUBLE_EQ(func_1_over_r2(1.5, p), 1.0);
}

TEST(PointSpreadFits, TooFewPointsReportsInvalidInputAndKeepsTheStart) {
  double x[2] = {0, 1}, y[2] = {1, 1};
  float center = 0.5f, amp = 1.0f, width = 2.0f;
  Captured out = capture_output([&] { EXPECT_EQ(fit_gaussian(2, x, y, &center, &amp, &width), 0); });
  EXPECT_EQ(out.out, "status: invalid input after 0 evaluations\n");
  EXPECT_EQ(center, 0.5f);
  EXPECT_EQ(amp, 1.0f);
  EXPECT_EQ(width, 2.0f);
}

}  // namespace
