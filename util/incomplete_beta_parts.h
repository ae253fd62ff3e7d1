// The incomplete beta integral in its parts, shared by the one-value
// function and the one that evaluates many values side by side: which
// expansion a point takes, the expansions' sums, and the prefactors that
// turn a sum into the integral.
#ifndef ZOR_INCOMPLETE_BETA_PARTS_H
#define ZOR_INCOMPLETE_BETA_PARTS_H

constexpr double kIbetaMachEp = 1.1102230246251565e-16;  // 2^-53
constexpr double kIbetaBig = 4503599627370496.0;         // 2^52
constexpr double kIbetaBigInv = 2.220446049250313e-16;   // 2^-52
constexpr double kIbetaThresh = 3.3306690738754696e-16;  // 3·2^-53
constexpr int kIbetaMaxRounds = 300;

enum IbetaKind {
  IBETA_VALUE,          // 0 or 1 at the ends, in value
  IBETA_SERIES,         // the power series in x
  IBETA_FRACTION_X,     // the continued fraction in x
  IBETA_FRACTION_RATIO  // the continued fraction in x/(1-x), divided by 1-x
};

// A point (a, b, x) as its expansion takes it: a, b and x swapped for the
// other tail when flipped (the result is then one minus the expansion's),
// and w = 1 - x.
struct IbetaCase {
  IbetaKind kind = IBETA_VALUE;
  bool flipped = false;
  double a = 0.0, b = 0.0, x = 0.0, w = 0.0;
  double value = 0.0;  // IBETA_VALUE only
};

// a and b above 0.
IbetaCase ibeta_case(double a, double b, double x);

// The series' sum, and the integral from it.
double ibeta_series_sum(double a, double b, double x);
double ibeta_series_result(const IbetaCase &c, double sum);

// The integral from the continued fraction's value.
double ibeta_fraction_value(const IbetaCase &c, double fraction);

#endif
