// Logarithms and exponentials of whole curves for the tensor fits. Each value
// goes through the C library's double-precision log and exp and is rounded once
// to float, the same values a fit of one curve at a time gives everywhere else
// in the program: maps stay exactly what the cursor's fit shows.
#include <cmath>

#include "fit_internal.h"

void fit_log_values(int n, const float *x, float *y) {
  for (int i = 0; i < n; i++) y[i] = (float)std::log((double)x[i]);
}

void fit_exp_values(int n, float *v) {
  for (int i = 0; i < n; i++) v[i] = (float)std::exp((double)v[i]);
}
