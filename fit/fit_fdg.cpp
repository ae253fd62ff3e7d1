// FDG uptake curves against the frame index: an exponential washout plus a
// cubic, or a line plus a saturating exponential.
#include <cmath>
#include <cstdio>
#include <vector>

#include "zor_curve_fit.h"
#include "zor_exit.h"
#include "zor_fit.h"
#include "zor_linear_models.h"

namespace {

struct fdg_scratch {
  std::vector<float> design, fit;
  std::vector<float *> rows;
  std::vector<double> x, y;
};
thread_local fdg_scratch scratch;

// False, with both parameter arrays cleared, when a sample is 0 or below.
bool samples_positive(int npoints, const float *ydata) {
  for (int j = 0; j < npoints; j++)
    if (!(ydata[j] > 0.0f)) {
      for (int i = 0; i < FIT_MAX_PARAMETERS; i++) FIT.param_value[i] = FIT.param_output[i] = 0.0f;
      return false;
    }
  return true;
}

void index_and_samples(int npoints, const float *ydata) {
  scratch.x.resize(npoints > 0 ? npoints : 1);
  scratch.y.resize(npoints > 0 ? npoints : 1);
  for (int j = 0; j < npoints; j++) {
    scratch.x[j] = j;
    scratch.y[j] = ydata[j];
  }
}

}  // namespace

int FIT_define_FDG_basis_functions(int ntime, float k23, float *weight) {
  if (ntime != FIT.ntime) {
    puts("Programming error 1 in FIT_define_DTI_basis_functions(");
    zor_exit(1);
  }
  const int n = ntime > 0 ? ntime : 1;
  scratch.design.resize((size_t)n * 4);
  scratch.rows.resize(n);
  for (int j = 0; j < ntime; j++) {
    float *row = &scratch.design[(size_t)j * 4];
    scratch.rows[j] = row;
    const float t = (float)j;
    row[0] = std::exp(-k23 * t);
    row[1] = t;
    row[2] = t * t;
    row[3] = t * t * t;
  }
  return GeneralDefineGLM(4, ntime, weight, scratch.rows.data());
}

double FIT_func_FDG_polynomial(double x, double *p) {
  return p[0] * std::exp(-p[1] * x) + p[2] * x + p[3] * x * x + p[4] * x * x * x;
}

double FIT_func_FDG_exponential(double x, double *p) { return p[0] * x + p[1] * (1.0 - std::exp(-p[2] * x)); }

int FIT_FDG_polynomial(int npoints, float *ydata, float *fit) {
  if (!samples_positive(npoints, ydata)) return 0;
  scratch.fit.resize(npoints > 0 ? npoints : 1);
  // A trial without washout; only its failure counts.
  if (FIT_define_FDG_basis_functions(npoints, 0.0f, FIT.Weight)) return 1;
  if (GeneralFitGLM(npoints, ydata, scratch.fit.data())) return 1;
  float mse = 0.0f;
  for (int j = 0; j < npoints; j++) mse += (ydata[j] - scratch.fit[j]) * (ydata[j] - scratch.fit[j]);
  (void)mse;

  const float k23 = 0.3f;
  if (FIT_define_FDG_basis_functions(npoints, k23, FIT.Weight)) return 1;
  if (GeneralFitGLM(npoints, ydata, scratch.fit.data())) return 1;
  double p[5] = {GeneralGLM.Beta[0], k23, GeneralGLM.Beta[1], GeneralGLM.Beta[2], GeneralGLM.Beta[3]};

  index_and_samples(npoints, ydata);
  lm_data_type data = {scratch.x.data(), scratch.y.data(), FIT_func_FDG_polynomial};
  lm_control_type control;
  lm_initialize_control(&control);
  lm_minimize(npoints, 5, p, lm_evaluate_default, lm_print_maps, &data, &control);
  for (int i = 0; i < 5; i++) FIT.param_value[i] = FIT.param_output[i] = (float)p[i];
  for (int j = 0; j < npoints; j++) fit[j] = (float)FIT_func_FDG_polynomial(j, p);
  return 0;
}

int FIT_FDG_exponential(int npoints, float *ydata, float *fit) {
  if (!samples_positive(npoints, ydata)) return 0;
  index_and_samples(npoints, ydata);
  const int last = npoints > 0 ? npoints - 1 : 0;
  double p[3] = {(scratch.y[last] - scratch.y[0]) / (scratch.x[last] - scratch.x[0]), 0.0, 0.05};
  lm_data_type data = {scratch.x.data(), scratch.y.data(), FIT_func_FDG_exponential};
  lm_control_type control;
  lm_initialize_control(&control);
  lm_minimize(npoints, 3, p, lm_evaluate_default, lm_print_maps, &data, &control);
  FIT.param_output[0] = (float)p[0];
  FIT.param_output[1] = (float)p[1];
  FIT.param_output[2] = (float)(p[2] != 0.0 ? 1.0 / p[2] : p[2]);
  for (int i = 0; i < 3; i++) FIT.param_value[i] = (float)p[i];
  for (int j = 0; j < npoints; j++) fit[j] = (float)FIT_func_FDG_exponential(j, p);
  return 0;
}
