// Regularised incomplete beta integral I_x(a, b), after the Cephes
// formulation: a power series for small b·x, otherwise one of two continued
// fractions on whichever side of the mean converges faster, with a switch
// to logarithms where the prefactor would overflow or underflow.
#include <cmath>
#include <cstdio>

#include "incomplete_beta_parts.h"
#include "zor_exit.h"
#include "zor_special.h"

namespace {

constexpr double kMachEp = kIbetaMachEp;
constexpr double kMaxGam = 171.6243769563027;       // tgamma overflows above
constexpr double kMaxLog = 709.782712893384;        // log of the largest double
constexpr double kMinLog = -745.1332191019412;      // log of the smallest denormal
constexpr double kBig = kIbetaBig;
constexpr double kBigInv = kIbetaBigInv;
constexpr double kThresh = kIbetaThresh;
constexpr int kMaxRounds = kIbetaMaxRounds;

// The largest double below 1, used when 1 - t would lose everything.
constexpr double kBelowOne = 1.0 - kMachEp;

// Keeps the continued-fraction convergents in range.
void rescale(double pk, double qk, double &pkm1, double &pkm2, double &qkm1, double &qkm2) {
  if (fabs(qk) + fabs(pk) > kBig) {
    pkm2 *= kBigInv;
    pkm1 *= kBigInv;
    qkm2 *= kBigInv;
    qkm1 *= kBigInv;
  }
  if (fabs(qk) < kBigInv || fabs(pk) < kBigInv) {
    pkm2 *= kBig;
    pkm1 *= kBig;
    qkm2 *= kBig;
    qkm1 *= kBig;
  }
}

// Both continued fractions share this skeleton; they differ in the variable
// (x or x/(1-x)) and in how the eight coefficients start and move.
struct FractionTerms {
  double k1, k2, k3, k4, k5, k6, k7, k8;
};

template <typename Advance>
double continued_fraction(double z, FractionTerms k, Advance advance) {
  double pkm2 = 0.0, qkm2 = 1.0, pkm1 = 1.0, qkm1 = 1.0;
  double ans = 1.0, r = 1.0;
  for (int n = 0; n < kMaxRounds; n++) {
    double xk = -(z * k.k1 * k.k2) / (k.k3 * k.k4);
    double pk = pkm1 + pkm2 * xk;
    double qk = qkm1 + qkm2 * xk;
    pkm2 = pkm1;
    pkm1 = pk;
    qkm2 = qkm1;
    qkm1 = qk;

    xk = (z * k.k5 * k.k6) / (k.k7 * k.k8);
    pk = pkm1 + pkm2 * xk;
    qk = qkm1 + qkm2 * xk;
    pkm2 = pkm1;
    pkm1 = pk;
    qkm2 = qkm1;
    qkm1 = qk;

    if (qk != 0.0) r = pk / qk;
    double t;
    if (r != 0.0) {
      t = fabs((ans - r) / r);
      ans = r;
    } else {
      t = 1.0;
    }
    if (t < kThresh) break;

    advance(k);
    rescale(pk, qk, pkm1, pkm2, qkm1, qkm2);
  }
  return ans;
}

// First expansion, in x.
double incbcf(double a, double b, double x) {
  FractionTerms k{a, a + b, a, a + 1.0, 1.0, b - 1.0, a + 1.0, a + 2.0};
  return continued_fraction(x, k, [](FractionTerms &t) {
    t.k1 += 1.0;
    t.k2 += 1.0;
    t.k3 += 2.0;
    t.k4 += 2.0;
    t.k5 += 1.0;
    t.k6 -= 1.0;
    t.k7 += 2.0;
    t.k8 += 2.0;
  });
}

// Second expansion, in x/(1-x).
double incbd(double a, double b, double x) {
  FractionTerms k{a, b - 1.0, a, a + 1.0, 1.0, a + b, a + 1.0, a + 2.0};
  return continued_fraction(x / (1.0 - x), k, [](FractionTerms &t) {
    t.k1 += 1.0;
    t.k2 -= 1.0;
    t.k3 += 2.0;
    t.k4 += 2.0;
    t.k5 += 1.0;
    t.k6 += 1.0;
    t.k7 += 2.0;
    t.k8 += 2.0;
  });
}

// Γ(a+b) / (Γ(a) Γ(b)) and the three log-gammas of a pair. A map calls
// the function with the same few pairs (one per condition) at every voxel,
// so the values of the last pairs are kept: the very numbers the
// expressions give, without recomputing the gammas.
struct GammaTerms {
  double a = -1.0, b = -1.0;  // no pair: a and b are positive
  bool have_ratio = false, have_logs = false;
  double ratio = 0.0;
  double log_ab = 0.0, log_a = 0.0, log_b = 0.0;
};

GammaTerms &gamma_terms(double a, double b) {
  constexpr int kKept = 8;
  thread_local GammaTerms kept[kKept];
  thread_local int next = 0;
  for (GammaTerms &g : kept)
    if (g.a == a && g.b == b) return g;
  GammaTerms &g = kept[next];
  next = (next + 1) % kKept;
  g = GammaTerms{};
  g.a = a, g.b = b;
  return g;
}

double gamma_ratio(double a, double b) {
  GammaTerms &g = gamma_terms(a, b);
  if (!g.have_ratio) g.ratio = tgamma(a + b) / (tgamma(a) * tgamma(b)), g.have_ratio = true;
  return g.ratio;
}

const GammaTerms &log_gammas(double a, double b) {
  GammaTerms &g = gamma_terms(a, b);
  if (!g.have_logs) {
    // The reentrant form: the same values, without the shared sign.
    int sign;
    g.log_ab = lgamma_r(a + b, &sign), g.log_a = lgamma_r(a, &sign), g.log_b = lgamma_r(b, &sign);
    g.have_logs = true;
  }
  return g;
}

}  // namespace

// The power series' sum, for b·x at most 1 and x at most 0.95.
double ibeta_series_sum(double a, double b, double x) {
  const double ai = 1.0 / a;
  double u = (1.0 - b) * x;
  double v = u / (a + 1.0);
  const double t1 = v;
  double t = u;
  double n = 2.0;
  double s = 0.0;
  const double z = kMachEp * ai;
  while (fabs(v) > z) {
    u = (n - b) * x / n;
    t *= u;
    v = t / (a + n);
    s += v;
    n += 1.0;
  }
  s += t1;
  s += ai;
  return s;
}

// The series' value from its sum s.
static double ibeta_series_value(double a, double b, double x, double s) {
  double u = a * log(x);
  if (a + b < kMaxGam && fabs(u) < kMaxLog) {
    const double t = gamma_ratio(a, b);
    return s * t * pow(x, a);
  }
  const GammaTerms &g = log_gammas(a, b);
  const double t = g.log_ab - g.log_a - g.log_b + u + log(s);
  return t < kMinLog ? 0.0 : exp(t);
}

static double ibeta_one_minus(double t) { return t <= kMachEp ? kBelowOne : 1.0 - t; }

IbetaCase ibeta_case(double a, double b, double x) {
  IbetaCase c;
  c.a = a, c.b = b, c.x = x;
  // Callers clamp x to [0, 1]; anything beyond is taken as the nearer end.
  if (x <= 0.0) {
    c.kind = IBETA_VALUE, c.value = 0.0;
    return c;
  }
  if (x >= 1.0) {
    c.kind = IBETA_VALUE, c.value = 1.0;
    return c;
  }
  if (b * x <= 1.0 && x <= 0.95) {
    c.kind = IBETA_SERIES;
    return c;
  }
  double w = 1.0 - x;
  if (x > a / (a + b)) {
    c.flipped = true;
    const double swap_ab = a;
    a = b;
    b = swap_ab;
    const double swap_x = x;
    x = w;
    w = swap_x;
  }
  c.a = a, c.b = b, c.x = x, c.w = w;
  if (c.flipped && b * x <= 1.0 && x <= 0.95)
    c.kind = IBETA_SERIES;
  else if ((a + b - 2.0) * x - (a - 1.0) < 0.0)
    c.kind = IBETA_FRACTION_X;
  else
    c.kind = IBETA_FRACTION_RATIO;
  return c;
}

double ibeta_fraction_value(const IbetaCase &c, double fraction) {
  const double a = c.a, b = c.b, x = c.x, w = c.w;
  if (c.kind == IBETA_FRACTION_RATIO) fraction /= w;
  // Multiply by x^a (1-x)^b Γ(a+b) / (a Γ(a) Γ(b)).
  double y = a * log(x);
  double t = b * log(w);
  if (a + b < kMaxGam && fabs(y) < kMaxLog && fabs(t) < kMaxLog) {
    t = pow(w, b);
    t *= pow(x, a);
    t /= a;
    t *= fraction;
    t *= gamma_ratio(a, b);
  } else {
    const GammaTerms &g = log_gammas(a, b);
    y += t + g.log_ab - g.log_a - g.log_b;
    y += log(fraction / a);
    t = y < kMinLog ? 0.0 : exp(y);
  }
  return c.flipped ? ibeta_one_minus(t) : t;
}

double ibeta_series_result(const IbetaCase &c, double s) {
  const double value = ibeta_series_value(c.a, c.b, c.x, s);
  return c.flipped ? ibeta_one_minus(value) : value;
}

double ibeta(double a, double b, double x) {
  if (a <= 0.0 || b <= 0.0) {
    printf("ibeta: Domain error!, a = %g, b = %g\n", a, b);
    zor_exit(1);
  }
  const IbetaCase c = ibeta_case(a, b, x);
  switch (c.kind) {
    case IBETA_VALUE: return c.value;
    case IBETA_SERIES: return ibeta_series_result(c, ibeta_series_sum(c.a, c.b, c.x));
    case IBETA_FRACTION_X: return ibeta_fraction_value(c, incbcf(c.a, c.b, c.x));
    default: return ibeta_fraction_value(c, incbd(c.a, c.b, c.x));
  }
}
