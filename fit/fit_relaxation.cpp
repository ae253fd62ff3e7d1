// Relaxation fits: T2 from a log-line through the echoes, and T1 from
// magnitude inversion-recovery data by a reduced-dimension grid search over
// T1 (the amplitudes follow from it in closed form).
#include <cmath>
#include <cstdio>
#include <vector>

#include "zor_exit.h"
#include "zor_fit.h"

namespace {

thread_local std::vector<float> x_scratch, y_scratch;

// s(j) = -1 before iTau (taken as negative signal), +1 from it on.
inline double sign_at(int j, int iTau) { return j < iTau ? -1.0 : 1.0; }

}  // namespace

void fit_line(int npoints, float *x, float *y, float *slope, float *offset, float *sigma) {
  if (npoints < 2) {
    printf("Programming error: npoints (%d) < 2 in fit_line.\n", npoints);
    zor_exit(1);
  }
  float mean_x = 0.0f, mean_y = 0.0f;
  for (int j = 0; j < npoints; j++) {
    mean_x += x[j];
    mean_y += y[j];
  }
  mean_x /= (float)npoints;
  mean_y /= (float)npoints;
  float sxy = 0.0f, sxx = 0.0f;
  for (int j = 0; j < npoints; j++) {
    sxy += (y[j] - mean_y) * (x[j] - mean_x);
    sxx += (x[j] - mean_x) * (x[j] - mean_x);
  }
  *slope = sxy / sxx;
  *offset = mean_y - *slope * mean_x;
  if (npoints == 2) {
    *sigma = 0.0f;
    return;
  }
  float sum = 0.0f;
  for (int j = 0; j < npoints; j++) {
    const float dy = y[j] - mean_y;
    sum += dy * dy - dy * *slope * (x[j] - mean_x);
  }
  // The root comes before the division.
  *sigma = std::sqrt(sum) / (float)(npoints - 2);
}

int FIT_T2_value(int npoints, float *ydata, float *fit) {
  x_scratch.resize(npoints > 0 ? npoints : 1);
  y_scratch.resize(npoints > 0 ? npoints : 1);
  for (int j = 0; j < npoints; j++) {
    if (!(ydata[j] > 0.0f)) {
      for (int i = 0; i < 3; i++) FIT.param_value[i] = 0.0f;
      return 0;
    }
    x_scratch[j] = FIT_get_x_vector(j);
    y_scratch[j] = std::log(ydata[j]);
  }
  float slope, offset, sigma;
  fit_line(npoints, x_scratch.data(), y_scratch.data(), &slope, &offset, &sigma);
  const float S0 = std::exp(offset);
  FIT.param_value[0] = -1.0f / slope;  // a flat curve gives an infinite T2
  FIT.param_value[1] = -1000.0f * slope;
  FIT.param_value[2] = S0;
  for (int j = 0; j < npoints; j++) fit[j] = S0 * std::exp(slope * x_scratch[j]);
  return 0;
}

float Barral_gamma(int nt, int iTau, float *signal_array, float T1) {
  double sum_sse = 0.0, sum_ss = 0.0, sum_e = 0.0;
  for (int j = 0; j < nt; j++) {
    const double e = std::exp(-(double)FIT_get_x_vector(j) / T1);
    const double ss = sign_at(j, iTau) * signal_array[j];
    sum_sse += ss * e;
    sum_ss += ss;
    sum_e += e;
  }
  return (float)(sum_sse - sum_ss * sum_e / nt);
}

float Barral_psi(int nt, float *signal_array, float T1) {
  (void)signal_array;
  double sum_e2 = 0.0, sum_e = 0.0;
  for (int j = 0; j < nt; j++) {
    const double ti = FIT_get_x_vector(j);
    sum_e2 += std::exp(-2.0 * ti / T1);
    sum_e += std::exp(-ti / T1);
  }
  return (float)(sum_e2 - sum_e * sum_e / nt);
}

float Barral_A(int nt, int iTau, float *signal_array, float T1, float B) {
  double sum_ss = 0.0, sum_e = 0.0;
  for (int j = 0; j < nt; j++) {
    sum_ss += sign_at(j, iTau) * signal_array[j];
    sum_e += std::exp(-(double)FIT_get_x_vector(j) / T1);
  }
  return (float)((sum_ss - B * sum_e) / nt);
}

void grid_search_t1(int nt, int iTau, float *signal_array, float *T1, float *A, float *B, float *argmax) {
  float best = 0.0f, t1 = 0.0f;
  float start = 1.0f, stop = 10000.0f, step = 200.0f;
  // Steps of 200, 40, 8, 1.6 and 0.32, each sweep around the best so far.
  while (step > 0.1f) {
    for (float test = start; test < stop; test += step) {
      const float gamma = Barral_gamma(nt, iTau, signal_array, test);
      const float value = gamma == 0.0f ? 0.0f : gamma * gamma / Barral_psi(nt, signal_array, test);
      if (value > best) {
        best = value;
        t1 = test;
      }
    }
    start = t1 - step;
    stop = t1 + step;
    step /= 5.0f;
  }
  *T1 = t1;
  *B = Barral_gamma(nt, iTau, signal_array, t1) / Barral_psi(nt, signal_array, t1);
  *A = Barral_A(nt, iTau, signal_array, t1, *B);
  *argmax = best;
}

int FIT_T1_from_IR_magnitude(int npoints, float *ydata, float *fit) {
  int iTau = 0;
  for (int j = 0; j < npoints; j++) {
    if (!(ydata[j] > 0.0f)) {
      for (int i = 0; i < 4; i++) FIT.param_value[i] = 0.0f;
      return 0;
    }
    if (ydata[j] < ydata[iTau]) iTau = j;
  }
  float T1, A, B, best;
  grid_search_t1(npoints, iTau, ydata, &T1, &A, &B, &best);
  // The minimum may sit on either side of the zero crossing; the second
  // search takes it as the last negative point.
  float T1b, Ab, Bb, bestb;
  grid_search_t1(npoints, iTau + 1, ydata, &T1b, &Ab, &Bb, &bestb);
  if (bestb > best) {
    T1 = T1b;
    A = Ab;
    B = Bb;
  }
  FIT.param_value[0] = T1;
  FIT.param_value[1] = 1000.0f / T1;
  FIT.param_value[2] = A;
  FIT.param_value[3] = -B / A - 1.0f;
  // The fitted curve keeps only the integer part, as the drawn one does.
  for (int j = 0; j < npoints; j++)
    fit[j] = (float)std::fabs(std::trunc(A + B * std::exp(-(double)FIT_get_x_vector(j) / T1)));
  return 0;
}
