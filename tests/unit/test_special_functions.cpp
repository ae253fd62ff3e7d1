#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "test_support.h"
#include "zor.h"

namespace {

TEST(IncompleteBeta, UniformShapeIsTheIdentity) {
  for (double x : {0.0, 1e-300, 1e-9, 0.01, 0.1, 0.3, 0.5, 0.77, 0.95, 0.96, 0.999999, 1.0})
    EXPECT_NEAR(ibeta(1.0, 1.0, x), x, 2e-16 * x) << x;
}

TEST(IncompleteBeta, EndsOfTheInterval) {
  EXPECT_EQ(ibeta(2.5, 7.0, 0.0), 0.0);
  EXPECT_EQ(ibeta(2.5, 7.0, 1.0), 1.0);
}

TEST(IncompleteBeta, KnownClosedForms) {
  // I_x(a, 1) = x^a and I_x(1, b) = 1 - (1-x)^b.
  EXPECT_NEAR(ibeta(3.0, 1.0, 0.4), 0.064, 1e-16);
  EXPECT_NEAR(ibeta(1.0, 4.0, 0.25), 1.0 - std::pow(0.75, 4), 1e-15);
  // Symmetry I_x(a, b) = 1 - I_{1-x}(b, a) across the flip.
  EXPECT_NEAR(ibeta(5.0, 3.0, 0.8), 1.0 - ibeta(3.0, 5.0, 0.2), 1e-15);
  // I_{1/2}(a, a) = 1/2.
  EXPECT_NEAR(ibeta(12.5, 12.5, 0.5), 0.5, 1e-15);
}

TEST(IncompleteBeta, FarUpperTailIsJustBelowOne) {
  // The flipped series vanishes: the result is the largest double below 1.
  EXPECT_EQ(ibeta(0.5, 300.0, 0.9), std::nextafter(1.0, 0.0));
}

TEST(IncompleteBeta, FarLowerTailUnderflowsToZero) {
  EXPECT_EQ(ibeta(300.0, 0.5, 0.01), 0.0);
}

// Bit patterns, so that NaNs compare too.
uint64_t bits_of(double v) {
  uint64_t b;
  memcpy(&b, &v, sizeof b);
  return b;
}

// Every value of ibeta_many against ibeta's own, for one pair (a, b).
void expect_many_equals_one_by_one(double a, double b, const std::vector<double> &x) {
  std::vector<double> out(x.size(), -7.0);
  ibeta_many(a, b, (int)x.size(), x.data(), out.data());
  for (size_t i = 0; i < x.size(); i++)
    ASSERT_EQ(bits_of(out[i]), bits_of(ibeta(a, b, x[i]))) << "a " << a << " b " << b << " x " << x[i];
}

TEST(IncompleteBetaMany, EqualsOneValueAtATimeOnEveryExpansion) {
  std::mt19937_64 random(20261123);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  // Shapes of maps (half the residual and contrast degrees of freedom),
  // small and large shapes, and shapes whose prefactor needs logarithms.
  const double shapes[][2] = {{145.0, 0.5}, {145.0, 1.0}, {0.5, 145.0}, {2.5, 7.0},  {1.0, 1.0},
                              {0.3, 0.2},   {12.5, 12.5}, {300.0, 0.5}, {90.0, 95.0}, {1e-3, 4.0},
                              {400.0, 350.0}, {2e3, 1.5},  {7.0, 1e4},   {1.0, 300.0}, {3.0, 1.0}};
  for (const auto &shape : shapes) {
    std::vector<double> x;
    for (int i = 0; i < 3000; i++) {
      const double u = unit(random);
      // Uniform, packed towards either end, and the float grid a map's x lies on.
      x.push_back(i % 3 == 0 ? u : i % 3 == 1 ? std::pow(u, 8.0) : (double)(float)(1.0 - std::pow(u, 6.0)));
    }
    for (double e : {0.0, 1.0, -0.5, 1.5, 1e-300, 4.9e-324, 0.95, std::nextafter(0.95, 1.0), 0.5,
                     shape[0] / (shape[0] + shape[1]), std::nextafter(1.0, 0.0),
                     std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
      x.push_back(e);
    expect_many_equals_one_by_one(shape[0], shape[1], x);
  }
}

TEST(IncompleteBetaMany, AnyCountAndOrderOfKinds) {
  // Counts that leave lanes empty, and the kinds interleaved.
  for (int n = 0; n <= 9; n++) {
    std::vector<double> x;
    for (int i = 0; i < n; i++) x.push_back(i % 2 ? 0.97 + 0.003 * i : 0.1 * i);
    expect_many_equals_one_by_one(145.0, 0.5, x);
  }
}

TEST(IncompleteBetaMany, DomainErrorEndsTheRun) {
  const double x[2] = {0.5, 0.25};
  double out[2];
  Captured c = capture_output([&] { ibeta_many(0.0, 2.0, 2, x, out); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "ibeta: Domain error!, a = 0, b = 2\n");
}

TEST(IncompleteBeta, DomainErrorEndsTheRun) {
  Captured c = capture_output([] { ibeta(0.0, 2.0, 0.5); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "ibeta: Domain error!, a = 0, b = 2\n");

  c = capture_output([] { ibeta(3.5, -1.25, 0.5); });
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "ibeta: Domain error!, a = 3.5, b = -1.25\n");
}

TEST(IncompleteBeta, ValuesDoNotDependOnWhatWasComputedBefore) {
  // Many shape pairs, visited in two different orders and with the pairs
  // interleaved: every value must come out bit for bit the same, on every
  // branch (series, both fractions, the logarithm path).
  std::vector<double> shapes = {0.5, 1.0, 2.5, 7.0, 40.0, 150.0, 600.0};
  std::vector<double> xs = {1e-6, 0.003, 0.2, 0.5, 0.77, 0.96, 0.999999};
  struct Call {
    double a, b, x;
  };
  std::vector<Call> calls;
  for (double a : shapes)
    for (double b : shapes)
      for (double x : xs) calls.push_back({a, b, x});
  std::vector<double> first;
  for (const Call &c : calls) first.push_back(ibeta(c.a, c.b, c.x));
  int differences = 0;
  for (size_t k = calls.size(); k-- > 0;) {
    const size_t i = (k * 7919) % calls.size();
    differences += ibeta(calls[i].a, calls[i].b, calls[i].x) != first[i];
  }
  EXPECT_EQ(differences, 0);
  // And the same as each value computed with nothing kept from other pairs.
  for (size_t i = 0; i < calls.size(); i += 11) {
    for (int j = 0; j < 9; j++) ibeta(1000.0 + j, 3.0, 0.5);  // push every kept pair out
    EXPECT_EQ(ibeta(calls[i].a, calls[i].b, calls[i].x), first[i]) << i;
  }
}

TEST(Gauss, CentreAndWidth) {
  EXPECT_EQ(Gauss(0.0, 0.0, 2.0), 1.0);
  EXPECT_NEAR(Gauss(1.0, 0.0, 1.0), std::exp(-0.5), 1e-16);
  EXPECT_NEAR(Gauss(3.0, 4.0, 5.0), std::exp(-0.5), 1e-16);
  EXPECT_EQ(Gauss(1.0, 2.0, 0.7), Gauss(-2.0, 1.0, 0.7));
}

TEST(LanczosFilter, EdgeCases) {
  EXPECT_EQ(Lanczos_filter(3, 0.0), 1.0);
  EXPECT_EQ(Lanczos_filter(3, 9e-6), 1.0);
  EXPECT_NEAR(Lanczos_filter(3, 3.0), 0.0, 1e-12);
  EXPECT_EQ(Lanczos_filter(3, 3.5), 0.0);
  EXPECT_EQ(Lanczos_filter(2, -2.0001), 0.0);
}

TEST(LanczosFilter, InsideTheWindow) {
  const double pi = 3.141592654;
  EXPECT_NEAR(Lanczos_filter(2, 0.5), 2 * std::sin(pi * 0.5) * std::sin(pi * 0.25) / (pi * pi * 0.25),
              1e-15);
  EXPECT_EQ(Lanczos_filter(2, 0.7), Lanczos_filter(2, -0.7));
  EXPECT_NEAR(Lanczos_filter(2, 1.0), 0.0, 1e-9);
}

TEST(Hypot2, PlainLength) {
  EXPECT_EQ(hypot2(3.0, 4.0), 5.0);
  EXPECT_EQ(hypot2(-3.0, 4.0), 5.0);
  EXPECT_EQ(hypot2(0.0, 0.0), 0.0);
  EXPECT_NEAR(hypot2(1.0, 1.0), std::sqrt(2.0), 1e-16);
}

TEST(ComplexValues, Amplitude) {
  EXPECT_EQ(compute_amplitude(FCOMPLEX{3.0f, -4.0f}), 5.0f);
  EXPECT_EQ(compute_amplitude(FCOMPLEX{0.0f, 0.0f}), 0.0f);
}

TEST(ComplexValues, PhaseOnTheAxes) {
  EXPECT_EQ(compute_phase(FCOMPLEX{-1.0f, 0.0f}), float(3.141592654));
  EXPECT_EQ(compute_phase(FCOMPLEX{0.0f, 2.0f}), 1.5707964f);
  EXPECT_EQ(compute_phase(FCOMPLEX{0.0f, -2.0f}), -1.5707964f);
  EXPECT_EQ(compute_phase(FCOMPLEX{0.0f, 0.0f}), 0.0f);
  EXPECT_EQ(compute_phase(FCOMPLEX{5.0f, 0.0f}), 0.0f);
}

TEST(ComplexValues, PhaseInEachQuadrant) {
  EXPECT_NEAR(compute_phase(FCOMPLEX{1.0f, 1.0f}), 0.7853982f, 1e-6);
  EXPECT_NEAR(compute_phase(FCOMPLEX{-1.0f, 1.0f}), 2.3561945f, 1e-6);
  EXPECT_NEAR(compute_phase(FCOMPLEX{-1.0f, -1.0f}), -2.3561945f, 1e-6);
  EXPECT_NEAR(compute_phase(FCOMPLEX{1.0f, -1.0f}), -0.7853982f, 1e-6);
  // A point just below the negative real axis wraps to just above -π.
  EXPECT_NEAR(compute_phase(FCOMPLEX{-1.0f, -1e-4f}), -3.1414926f, 1e-6);
}

}  // namespace
