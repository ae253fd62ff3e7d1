// Point-spread fits of a profile through the image: a Gaussian and a
// 1/(1 + r^2) shape, each with amplitude, centre and width.
#include <cmath>
#include <cstdio>

#include "zor_curve_fit.h"

double func_gaussian(double x, double *p) {
  const double d = x - p[1];
  return p[0] * std::exp(-d * d / 2.0 / p[2] / p[2]);
}

double func_1_over_r2(double x, double *p) {
  const double d = x - p[1];
  const double w2 = p[2] * p[2];
  return p[0] * w2 / (w2 + d * d);
}

namespace {

int fit_point_spread(double (*model)(double, double *), int npoints, double *x, double *y,
                     float *center, float *amp, float *width) {
  lm_control_type control;
  lm_initialize_control(&control);
  lm_data_type data = {x, y, model};
  double p[3] = {*amp, *center, *width};
  lm_minimize(npoints, 3, p, lm_evaluate_default, lm_print_maps, &data, &control);
  printf("status: %s after %d evaluations\n", lm_shortmsg[control.info], control.nfev);
  *amp = (float)p[0];
  *center = (float)p[1];
  *width = (float)p[2];
  return 0;
}

}  // namespace

int fit_gaussian(int npoints, double *x, double *y, float *center, float *amp, float *width) {
  return fit_point_spread(func_gaussian, npoints, x, y, center, amp, width);
}

int fit_1_over_r2(int npoints, double *x, double *y, float *center, float *amp, float *width) {
  return fit_point_spread(func_1_over_r2, npoints, x, y, center, amp, width);
}
