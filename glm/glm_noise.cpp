// Weights of the time points before a fit. OLS and iWLS start from equal
// weights; the PET model derives them from the cumulated signal and the
// tracer's decay, smoothed by a polynomial over each run.
#include <cmath>
#include <cstdio>
#include <vector>

#include "zor_exit.h"
#include "zor_glm.h"
#include "zor_linear_models.h"

namespace {

void pet_weights_of_run(int r, const float *diff_vector) {
  float tau = GLM_input.half_life * 1.442695;  // half-life to time constant
  int start = GLM.run_start[r];
  int ntime_run = GLM.run_stop[r] - start + 1;
  std::vector<float> noise_raw(ntime_run), noise_fit(ntime_run), include(ntime_run);
  // The first sample counts twice from the second point on.
  float signal = diff_vector[start];
  for (int j = 0; j < ntime_run; j++) {
    if (j > 0) signal += diff_vector[start + j - 1];
    float time_in_run = j * GLM.tr[r];
    noise_raw[j] = tau != 0.0f ? sqrt(fabs(exp(time_in_run / tau) * signal)) : sqrt(fabsf(signal));
    include[j] = (float)GLM.include_time[start + j];
  }
  int nterms = tau != 0.0f ? 4 : 1;
  if (PolynomialDefineGLM(nterms, ntime_run, include.data())) zor_exit(1);
  if (PolynomialFitGLM(ntime_run, noise_raw.data(), noise_fit.data())) zor_exit(1);
  float trace = 0.0f;
  for (int j = 0; j < ntime_run; j++) {
    GLM.NoiseRaw_t[start + j] = noise_raw[j];
    GLM.NoiseFit_t[start + j] = noise_fit[j];
    trace += noise_fit[j];
  }
  for (int j = 0; j < ntime_run; j++) {
    int i = start + j;
    GLM.NoiseRaw_t[i] /= trace / ntime_run;
    GLM.NoiseFit_t[i] /= trace / ntime_run;
    // A zero noise estimate gives an infinite weight, and it is let through.
    GLM.Weight_t[i] = 1 / (GLM.NoiseFit_t[i] * GLM.NoiseFit_t[i]);
  }
}

}  // namespace

void GLM_Update_Weights(int ntime, float *diff_vector) {
  if (ntime != GLM.ntime) {
    printf("Error: the number of data time points (%d) does not match the number in the GLM (%d).\n", ntime,
           GLM.ntime);
    zor_exit(1);
  }
  if (GLM_input.noise_model != NOISE_fPET) {
    for (int t = 0; t < ntime; t++) GLM.Weight_t[t] = GLM.NoiseRaw_t[t] = GLM.NoiseFit_t[t] = 1.0f;
  } else {
    for (int r = 0; r < GLM.nruns; r++) pet_weights_of_run(r, diff_vector);
  }
  GLMInternal_complete_model();
}
