// Survival curves of a global connectivity measure, x from -1 to 1: a
// Fermi-like step with two, three or five parameters, fitted to the curve
// scaled by its sample of largest magnitude.
#include <cmath>
#include <cstdio>
#include <vector>

#include "zor_curve_fit.h"
#include "zor_fit.h"

namespace {

thread_local std::vector<double> x_scratch, y_scratch;

void clear(bool values, bool outputs) {
  const int n = FIT.nparam_fit > FIT.nparam_output ? FIT.nparam_fit : FIT.nparam_output;
  for (int i = 0; i < n && i < FIT_MAX_PARAMETERS; i++) {
    if (values) FIT.param_value[i] = 0.0f;
    if (outputs) FIT.param_output[i] = 0.0f;
  }
}

enum { FITTED = 0, FAILED = 1, NOT_FITTED = 2 };

// Fits `model` from the start values of the type and writes the fit vector
// and the parameters in p (FITTED); or clears the results and gives FAILED
// or NOT_FITTED.
int fit_survival(int npoints, float *ydata, float *fit, double (*model)(double, double *), bool survival2,
                 double *p) {
  x_scratch.resize(npoints > 0 ? npoints : 1);
  y_scratch.resize(npoints > 0 ? npoints : 1);
  double amp = 0.0;
  for (int j = 0; j < npoints; j++) {
    x_scratch[j] = FIT_get_x_vector(j);
    y_scratch[j] = ydata[j];
    if (std::fabs(y_scratch[j]) > std::fabs(amp)) amp = y_scratch[j];
  }
  if (amp == 0.0) {
    clear(true, true);
    return FAILED;
  }
  for (int j = 0; j < npoints; j++) y_scratch[j] /= amp;

  int ihalf = 0;
  double diff_min = 1e10;
  for (int j = 0; j < npoints; j++) {
    const double d = std::fabs(y_scratch[j] - 0.5);
    if (d < diff_min) {
      diff_min = d;
      ihalf = j;
    }
  }
  if (ihalf == 0 || ihalf >= npoints) {
    clear(!survival2, true);
    return NOT_FITTED;
  }
  // The slope at the half point needs a sample on each side: with the half
  // point last there is none after it, and the curve is not fitted.
  if (ihalf == npoints - 1) {
    clear(true, true);
    return FAILED;
  }
  const float slope = ((float)y_scratch[ihalf + 1] - (float)y_scratch[ihalf - 1]) /
                      ((float)x_scratch[ihalf + 1] - (float)x_scratch[ihalf - 1]);
  const double rate = -2.0 * slope;
  const double R0 = x_scratch[ihalf];
  p[0] = R0;
  p[1] = rate;
  if (FIT.type == FIT_SURVIVAL3) p[2] = 1.0;
  if (FIT.type == FIT_SURVIVAL5) {
    p[2] = 4.0 * R0;
    p[3] = rate / 2.0;
    p[4] = 0.0;
  }
  lm_data_type data = {x_scratch.data(), y_scratch.data(), model};
  lm_control_type control;
  lm_initialize_control(&control);
  lm_minimize(npoints, FIT.nparam_fit, p, lm_evaluate_default, lm_print_maps, &data, &control);
  for (int j = 0; j < npoints; j++) fit[j] = (float)(amp * model(x_scratch[j], p));
  return FITTED;
}

}  // namespace

double FIT_func_survival2(double x, double *p) { return 1.0 / (std::exp((x - p[0]) * p[1]) + 1.0); }

double FIT_func_survival3(double x, double *p) {
  return 1.0 / std::pow(std::exp((x - p[0]) * p[1]) * (std::pow(2.0, p[2]) - 1.0) + 1.0, 1.0 / p[2]);
}

double FIT_func_survival5(double x, double *p) {
  return (1.0 - p[4]) / (std::exp((x - p[0]) * p[1]) + 1.0) + p[4] / (std::exp((x - p[2]) * p[3]) + 1.0);
}

int FIT_survival2(int npoints, float *ydata, float *fit) {
  double p[5] = {0};
  const int r = fit_survival(npoints, ydata, fit, FIT_func_survival2, true, p);
  if (r != FITTED) return r == FAILED ? 1 : 0;
  // This fit gives its results as outputs only.
  FIT.param_output[0] = (float)p[0];
  FIT.param_output[1] = (float)(1.0 / p[1]);
  FIT.param_output[2] = (float)(p[0] * p[1]);
  return 0;
}

int FIT_survival3(int npoints, float *ydata, float *fit) {
  double p[5] = {0};
  const int r = fit_survival(npoints, ydata, fit, FIT_func_survival3, false, p);
  if (r != FITTED) return r == FAILED ? 1 : 0;
  FIT.param_value[0] = (float)p[0];
  FIT.param_value[1] = (float)(1.0 / p[1]);
  FIT.param_value[2] = (float)p[2];
  return 0;
}

int FIT_survival5(int npoints, float *ydata, float *fit) {
  double p[5] = {0};
  const int r = fit_survival(npoints, ydata, fit, FIT_func_survival5, false, p);
  if (r != FITTED) return r == FAILED ? 1 : 0;
  FIT.param_value[0] = (float)p[0];
  FIT.param_value[1] = (float)(1.0 / p[1]);
  FIT.param_value[2] = (float)p[2];
  FIT.param_value[3] = (float)(1.0 / p[3]);
  FIT.param_value[4] = (float)p[4];
  return 0;
}
