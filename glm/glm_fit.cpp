// The fit of one time series over all runs: coefficients, the drawn fit,
// the masked residue and the noise variance, with the iterated weights of
// the iWLS noise model; baseline removal and noise curves for display.
#include <cmath>
#include <cstdio>
#include <vector>

#include "zor_exit.h"
#include "zor_glm.h"

namespace {

// Coefficients first..first+N-1 of the fit, each summed over time in time
// order exactly as a plain loop would: the N sums run side by side so the
// processor is not left waiting on one long chain of additions.
template <int N>
void project_block(int first, int ntime, const float *weighted) {
  float sum[N] = {};
  const float *row[N];
  for (int j = 0; j < N; j++) row[j] = GLM.XTXm1XT_ct[first + j];
  for (int t = 0; t < ntime; t++) {
    float w = weighted[t];
    for (int j = 0; j < N; j++) sum[j] += row[j][t] * w;
  }
  for (int j = 0; j < N; j++) GLM.Beta_c[first + j] = sum[j];
}

}  // namespace

void GLMInternal_fit_data(int ntime, float *data_vector, float *fit_vector, float *sigma2) {
  int nc = GLM.ncoeff;
  // The weighted data, (include x weight) x value, once for every coefficient.
  static thread_local std::vector<float> weighted;
  weighted.resize((size_t)(ntime > 0 ? ntime : 0));
  for (int t = 0; t < ntime; t++) weighted[t] = GLM.include_time[t] * GLM.Weight_t[t] * data_vector[t];
  // Blocks of at most 16 sums, as even as possible.
  static void (*const block[17])(int, int, const float *) = {
      nullptr,           project_block<1>,  project_block<2>,  project_block<3>,  project_block<4>,
      project_block<5>,  project_block<6>,  project_block<7>,  project_block<8>,  project_block<9>,
      project_block<10>, project_block<11>, project_block<12>, project_block<13>, project_block<14>,
      project_block<15>, project_block<16>};
  int nblocks = (nc + 15) / 16;
  for (int b = 0, c = 0; b < nblocks; b++) {
    int n = (nc - c) / (nblocks - b);
    block[n](c, ntime, weighted.data());
    c += n;
  }
  const float *beta = GLM.Beta_c;
  float sum2 = 0.0f;
  for (int t = 0; t < ntime; t++) {
    const float *xo = GLM.Xorig_tc[t], *xw = GLM.X_tc[t];
    float drawn = 0.0f, fit = 0.0f;
    for (int k = 0; k < nc; k++) {
      drawn += beta[k] * xo[k];
      fit += beta[k] * xw[k];
    }
    fit_vector[t] = drawn;
    float y_prime = GLM.include_time[t] * data_vector[t];
    sum2 += (y_prime - fit) * (y_prime - fit);
    GLM.Residue_t[t] = GLM.include_time[t] * (data_vector[t] - drawn);
  }
  *sigma2 = sum2 / GLM.dof;
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
