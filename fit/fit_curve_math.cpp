// Logarithms and exponentials of whole curves for the tensor fits. Each value
// goes through the C library's double-precision log and exp and is rounded once
// to float, the same values a fit of one curve at a time gives everywhere else
// in the program: maps stay exactly what the cursor's fit shows.
#include <cmath>
#include <vector>

#include "fit_internal.h"

namespace {

// Scanners store whole numbers, mostly below 2^16: their logarithms are
// worked out once, by the same library call, and looked up after that.
constexpr int kWholeNumbers = 65536;

const float *whole_number_logs() {
  static const std::vector<float> table = [] {
    std::vector<float> t(kWholeNumbers);
    for (int i = 0; i < kWholeNumbers; i++) t[i] = (float)std::log((double)i);
    return t;
  }();
  return table.data();
}

}  // namespace

void fit_log_values(int n, const float *x, float *y) {
  const float *table = whole_number_logs();
  for (int i = 0; i < n; i++) {
    const float v = x[i];
    if (v >= 0.0f && v < (float)kWholeNumbers) {
      const int k = (int)v;
      if ((float)k == v) {
        y[i] = table[k];
        continue;
      }
    }
    y[i] = (float)std::log((double)v);
  }
}

void fit_exp_values(int n, float *v) {
  for (int i = 0; i < n; i++) v[i] = (float)std::exp((double)v[i]);
}
