// The fit of one time series over all runs: coefficients, the drawn fit,
// the masked residue and the noise variance, with the iterated weights of
// the iWLS noise model; the fit of a whole map, voxel by voxel on several
// threads; baseline removal and noise curves for display.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

#include "glm_internal.h"
#include "zor_exit.h"
#include "zor_glm.h"

namespace {

typedef float four __attribute__((vector_size(16)));

inline four load_four(const float *p) {
  four v;
  memcpy(&v, p, sizeof v);
  return v;
}

// Copies of the model's matrices laid out for the fit: the design and its
// weighted form by column (coefficient after coefficient), and the
// pseudo-inverse by time point with its rows padded to a multiple of four.
// With them, four coefficients or four time points are summed side by side,
// lane by lane the same products and sums in the same order as the plain
// loops over the model's own matrices.
struct FitCopies {
  unsigned long generation = 0;
  bool valid = false;
  int ntime = 0, ncoeff = 0, padded = 0;
  float **source = nullptr, **source_orig = nullptr, **source_pinv = nullptr;
  std::vector<float> X, Xorig;  // [c * ntime + t]
  std::vector<float> pinv;      // [t * padded + c]
};
FitCopies copies;

const FitCopies &fit_copies(int ntime) {
  FitCopies &d = copies;
  const int nc = GLM.ncoeff;
  if (d.valid && d.generation == glm_model_generation && d.ntime == ntime && d.ncoeff == nc &&
      d.source == GLM.X_tc && d.source_orig == GLM.Xorig_tc && d.source_pinv == GLM.XTXm1XT_ct)
    return d;
  d.generation = glm_model_generation;
  d.ntime = ntime;
  d.ncoeff = nc;
  d.padded = (nc + 3) / 4 * 4;
  d.source = GLM.X_tc;
  d.source_orig = GLM.Xorig_tc;
  d.source_pinv = GLM.XTXm1XT_ct;
  d.X.assign((size_t)ntime * (size_t)nc, 0.0f);
  d.Xorig.assign(d.X.size(), 0.0f);
  d.pinv.assign((size_t)ntime * (size_t)d.padded, 0.0f);
  for (int t = 0; t < ntime; t++)
    for (int c = 0; c < nc; c++) {
      d.X[(size_t)c * ntime + t] = GLM.X_tc[t][c];
      d.Xorig[(size_t)c * ntime + t] = GLM.Xorig_tc[t][c];
      d.pinv[(size_t)t * d.padded + c] = GLM.XTXm1XT_ct[c][t];
    }
  d.valid = true;
  return d;
}

// Coefficients first..first+4V-1: each the sum over time, in time order, of
// the pseudo-inverse times the weighted data.
template <int V>
void project_group(const FitCopies &d, int first, int ntime, const float *weighted, float *beta) {
  four sum[V] = {};
  const float *p = d.pinv.data() + first;
  for (int t = 0; t < ntime; t++, p += d.padded) {
    const float w = weighted[t];
    const four ww = {w, w, w, w};
    for (int v = 0; v < V; v++) sum[v] += load_four(p + 4 * v) * ww;
  }
  float out[4 * V];
  memcpy(out, sum, sizeof out);
  for (int j = 0; j < 4 * V && first + j < d.ncoeff; j++) beta[first + j] = out[j];
}

}  // namespace

void glm_fit_copies_reset(void) { copies = FitCopies{}; }

// The fit of one series under the current model, into the caller's
// buffers: coefficients, drawn fit, masked residue and noise variance. It
// only reads the model, so that several series may be fitted at once.
static void fit_series(const FitCopies &d, int ntime, const float *data_vector, float *beta, float *fit_vector,
                float *residue, float *sigma2, std::vector<float> &weighted) {
  const int nc = GLM.ncoeff;
  // The weighted data, (include x weight) x value, once for every coefficient.
  weighted.resize((size_t)(ntime > 0 ? ntime : 0));
  for (int t = 0; t < ntime; t++) weighted[t] = GLM.include_time[t] * GLM.Weight_t[t] * data_vector[t];
  // Sixteen coefficients at a time, then what is left in fours.
  int c = 0;
  for (; c + 16 <= nc; c += 16) project_group<4>(d, c, ntime, weighted.data(), beta);
  switch ((nc - c + 3) / 4) {
    case 4: project_group<4>(d, c, ntime, weighted.data(), beta); break;  // 13 to 15 left
    case 3: project_group<3>(d, c, ntime, weighted.data(), beta); break;
    case 2: project_group<2>(d, c, ntime, weighted.data(), beta); break;
    case 1: project_group<1>(d, c, ntime, weighted.data(), beta); break;
    default: break;
  }
  // The drawn and the weighted fit of each time point, each summed over the
  // coefficients in their order, eight time points at a time; the squared
  // residues are then added in time order.
  float sum2 = 0.0f;
  int t0 = 0;
  for (; t0 + 8 <= ntime; t0 += 8) {
    four drawn_lo = {}, drawn_hi = {}, fit_lo = {}, fit_hi = {};
    for (int k = 0; k < nc; k++) {
      const float b = beta[k];
      const four bb = {b, b, b, b};
      const float *xo = &d.Xorig[(size_t)k * ntime + t0], *xw = &d.X[(size_t)k * ntime + t0];
      drawn_lo += bb * load_four(xo);
      drawn_hi += bb * load_four(xo + 4);
      fit_lo += bb * load_four(xw);
      fit_hi += bb * load_four(xw + 4);
    }
    float drawn[8], fit[8];
    memcpy(drawn, &drawn_lo, sizeof drawn_lo);
    memcpy(drawn + 4, &drawn_hi, sizeof drawn_hi);
    memcpy(fit, &fit_lo, sizeof fit_lo);
    memcpy(fit + 4, &fit_hi, sizeof fit_hi);
    for (int j = 0; j < 8; j++) {
      const int t = t0 + j;
      fit_vector[t] = drawn[j];
      float y_prime = GLM.include_time[t] * data_vector[t];
      sum2 += (y_prime - fit[j]) * (y_prime - fit[j]);
      residue[t] = GLM.include_time[t] * (data_vector[t] - drawn[j]);
    }
  }
  for (int t = t0; t < ntime; t++) {
    const float *xo = GLM.Xorig_tc[t], *xw = GLM.X_tc[t];
    float drawn = 0.0f, fit = 0.0f;
    for (int k = 0; k < nc; k++) {
      drawn += beta[k] * xo[k];
      fit += beta[k] * xw[k];
    }
    fit_vector[t] = drawn;
    float y_prime = GLM.include_time[t] * data_vector[t];
    sum2 += (y_prime - fit) * (y_prime - fit);
    residue[t] = GLM.include_time[t] * (data_vector[t] - drawn);
  }
  *sigma2 = sum2 / GLM.dof;
}


void GLMInternal_fit_data(int ntime, float *data_vector, float *fit_vector, float *sigma2) {
  static thread_local std::vector<float> weighted;
  fit_series(fit_copies(ntime), ntime, data_vector, GLM.Beta_c, fit_vector, GLM.Residue_t, sigma2, weighted);
  GLM.Sigma2 = *sigma2;
}

// Whether a series has the model's number of time points; says so if not.
static bool series_length_matches(int ntime) {
  if (ntime == GLM.ntime) return true;
  printf("Error: the number of data time points (%d) does not match the number in the GLM (%d).\n", ntime,
         GLM.ntime);
  return false;
}

int GLM_fit_data(int ntime, float *data_vector, float *fit_vector, float *sigma2) {
  if (!series_length_matches(ntime)) zor_exit(1);
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

int GLM_fit_voxels(int nvoxels, int ntime, const float *series, int resels, int nthreads, float *sigma2,
                   float *statistics) {
  return GLM_fit_voxels_coefficients(nvoxels, ntime, series, resels, nthreads, sigma2, statistics, nullptr);
}

int GLM_fit_voxels_coefficients(int nvoxels, int ntime, const float *series, int resels, int nthreads,
                                float *sigma2, float *statistics, float *coefficients) {
  if (!series_length_matches(ntime)) return 1;
  if (nvoxels <= 0) return 0;
  const int nconditions = GLM.nconditions;
  for (int k = 0; k < nconditions; k++)
    if (!GLM.contrast_matrix[k] || !GLM.FCovar[k] || !GLM.FCovarInv[k]) {
      printf("Error: the contrasts of condition %d are not defined.\n", k);
      return 1;
    }
  const size_t n = (size_t)ntime;
  auto store = [&](int v, float s2, const float *beta) {
    if (sigma2) sigma2[v] = s2;
    if (coefficients) memcpy(coefficients + (size_t)v * GLM.ncoeff, beta, sizeof(float) * (size_t)GLM.ncoeff);
    if (!statistics) return;
    for (int k = 0; k < nconditions; k++) {
      float *out = statistics + ((size_t)v * nconditions + k) * 6;
      if (s2 == 0.0f) {
        out[0] = out[1] = out[4] = out[5] = 0.0f;
        out[2] = out[3] = 1.0f;
        continue;
      }
      glm_condition_statistics(beta, s2, resels, k, &out[0], &out[1], &out[2], &out[3], &out[4], &out[5]);
    }
  };
  std::vector<float> fit(n), y(n);
  if (GLM_input.noise_model == NOISE_iWLS) {
    // Each fit leaves its weights to the next: one voxel after the other.
    for (int v = 0; v < nvoxels; v++) {
      memcpy(y.data(), series + (size_t)v * n, sizeof(float) * n);
      float s2;
      GLM_fit_data(ntime, y.data(), fit.data(), &s2);
      store(v, s2, GLM.Beta_c);
    }
    return 0;
  }
  // The model is only read: the voxels are shared out in runs, each fitted
  // into its own buffers exactly as it would be alone.
  // A chunk of voxels is fitted, then the statistics of its voxels are
  // worked out together.
  const FitCopies &d = fit_copies(ntime);
  const int nc = GLM.ncoeff;
  constexpr int CHUNK = 128;
  auto run = [&](int first, int last) {
    std::vector<float> beta((size_t)(nc > 0 ? nc : 1) * CHUNK), s2(CHUNK), own_fit(n), residue(n), weighted;
    for (int c0 = first; c0 < last; c0 += CHUNK) {
      const int count = last - c0 < CHUNK ? last - c0 : CHUNK;
      for (int j = 0; j < count; j++)
        fit_series(d, ntime, series + (size_t)(c0 + j) * n, &beta[(size_t)j * nc], own_fit.data(), residue.data(),
                   &s2[j], weighted);
      if (sigma2) memcpy(sigma2 + c0, s2.data(), sizeof(float) * (size_t)count);
      if (coefficients)
        memcpy(coefficients + (size_t)c0 * nc, beta.data(), sizeof(float) * (size_t)count * (size_t)nc);
      if (statistics)
        glm_voxels_statistics(count, beta.data(), s2.data(), resels, statistics + (size_t)c0 * nconditions * 6);
    }
  };
  int parts = nthreads < 1 ? 1 : nthreads;
  if (parts > nvoxels) parts = nvoxels;
  std::vector<std::thread> workers;
  for (int p = 1; p < parts; p++)
    workers.emplace_back(run, (int)((long long)nvoxels * p / parts), (int)((long long)nvoxels * (p + 1) / parts));
  run(0, (int)((long long)nvoxels / parts));
  for (std::thread &w : workers) w.join();
  // The engine is left as the last voxel's own fit leaves it.
  memcpy(y.data(), series + (size_t)(nvoxels - 1) * n, sizeof(float) * n);
  float s2;
  GLMInternal_fit_data(ntime, y.data(), fit.data(), &s2);
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

float GLM_compute_baseline(void) { return GLM_compute_baseline_of(GLM.Beta_c); }

float GLM_compute_baseline_of(const float *coefficients) {
  float baseline = 0.0f;
  for (int r = 0; r < GLM.nruns; r++) {
    int c = GLM.ncoeff - GLM.nbaseline + GLM_input.nbaseline_terms * r;
    // Without baseline terms there is no offset to read.
    if (c < 0 || c >= GLM.ncoeff) continue;
    baseline += (GLM.run_stop[r] - GLM.run_start[r] + 1) * coefficients[c] / GLM.ntime;
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
