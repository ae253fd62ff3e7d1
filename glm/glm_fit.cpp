// The fit of one time series over all runs: coefficients, the drawn fit,
// the masked residue and the noise variance, with the iterated weights of
// the iWLS noise model; baseline removal and noise curves for display.
#include <cmath>
#include <cstdio>

#include "zor_exit.h"
#include "zor_glm.h"

void GLMInternal_fit_data(int ntime, float *data_vector, float *fit_vector, float *sigma2) {
  int nc = GLM.ncoeff;
  for (int c = 0; c < nc; c++) {
    float sum = 0.0f;
    for (int t = 0; t < ntime; t++) sum += GLM.XTXm1XT_ct[c][t] * (GLM.include_time[t] * GLM.Weight_t[t] * data_vector[t]);
    GLM.Beta_c[c] = sum;
  }
  *sigma2 = 0.0f;
  for (int t = 0; t < ntime; t++) {
    float drawn = 0.0f, fit = 0.0f;
    for (int c = 0; c < nc; c++) {
      drawn += GLM.Beta_c[c] * GLM.Xorig_tc[t][c];
      fit += GLM.Beta_c[c] * GLM.X_tc[t][c];
    }
    fit_vector[t] = drawn;
    float y_prime = GLM.include_time[t] * data_vector[t];
    *sigma2 += (y_prime - fit) * (y_prime - fit);
    GLM.Residue_t[t] = GLM.include_time[t] * (data_vector[t] - fit_vector[t]);
  }
  *sigma2 /= GLM.dof;
  GLM.Sigma2 = *sigma2;
}

int GLM_fit_data(int ntime, float *data_vector, float *fit_vector, float *sigma2) {
  if (ntime != GLM.ntime) {
    printf("Error: the number of data time points (%d) does not match the number in the GLM (%d).\n", ntime,
           GLM.ntime);
    zor_exit(1);
  }
  GLMInternal_fit_data(ntime, data_vector, fit_vector, sigma2);
  if (GLM_input.noise_model != NOISE_iWLS || *sigma2 == 0.0f) return 0;

  float tolerance = 0.1f;  // percent
  float difference = 2 * tolerance;
  int n_iterate = 0;
  while (difference > tolerance && n_iterate < 10) {
    float sigma2_last = *sigma2;
    float epsilon = sqrt(sigma2_last) / 10.0;
    double trace = 0.0;
    for (int t = 0; t < ntime; t++) {
      GLM.NoiseRaw_t[t] = (fabsf(data_vector[t] - fit_vector[t]) + epsilon) * GLM.include_time[t];
      trace += GLM.NoiseRaw_t[t];
    }
    for (int t = 0; t < ntime; t++) {
      GLM.NoiseRaw_t[t] /= trace / GLM.ntime_included;
      GLM.Weight_t[t] = GLM.NoiseRaw_t[t] != 0.0f ? 1 / (GLM.NoiseRaw_t[t] * GLM.NoiseRaw_t[t]) : 0.0f;
    }
    GLMInternal_complete_model();
    GLMInternal_fit_data(ntime, data_vector, fit_vector, sigma2);
    difference = fabsf(*sigma2 - sigma2_last) * 100 / sigma2_last;
    n_iterate++;
  }
  return 0;
}

int GLM_remove_baseline(int option, int ntime, float *data_vector, float *fit_vector) {
  if (ntime != GLM.ntime) {
    printf("Error: # time points (%d) does not match GLM (%d) in GLM_remove_baseline()\n", ntime, GLM.ntime);
    return 1;
  }
  int first = GLM.ncoeff - GLM.nbaseline;
  for (int c = first; c < GLM.ncoeff; c++) {
    for (int t = 0; t < ntime; t++) {
      float term = GLM.Xorig_tc[t][c] * GLM.Beta_c[c];
      fit_vector[t] -= term;
      data_vector[t] -= term;
    }
  }
  if (option) {
    // Each run as a percentage of its own constant term.
    for (int r = 0; r < GLM.nruns; r++) {
      int c = first + r;
      if (c >= GLM.ncoeff) break;
      for (int t = GLM.run_start[r]; t <= GLM.run_stop[r] && t < ntime; t++)
        data_vector[t] = GLM.Beta_c[c] != 0.0f ? data_vector[t] * 100 / GLM.Beta_c[c] : 0.0f;
    }
  }
  return 0;
}

float GLM_compute_baseline(void) {
  float baseline = 0.0f;
  for (int r = 0; r < GLM.nruns; r++) {
    int c = GLM.ncoeff - GLM.nbaseline + GLM_input.nbaseline_terms * r;
    // Without baseline terms there is no offset to read.
    if (c < 0 || c >= GLM.ncoeff) continue;
    baseline += (GLM.run_stop[r] - GLM.run_start[r] + 1) * GLM.Beta_c[c] / GLM.ntime;
  }
  return baseline;
}

int GLM_get_noise_model(void) { return GLM_input.noise_model; }

void GLM_set_noise_model(int imodel) { GLM_input.noise_model = imodel; }

int GLM_get_noise(int GetFit, int ntime, float *noise_stdev) {
  if (ntime != GLM.ntime) {
    printf("Error: the specified # of time points (%d) does not match the GLM (%d).\n", ntime, GLM.ntime);
    return 1;
  }
  for (int j = 0; j < ntime; j++)
    noise_stdev[j] = (GetFit ? GLM.NoiseFit_t[j] : GLM.NoiseRaw_t[j]) * sqrt(GLM.Sigma2);
  return 0;
}
