// Whole-volume fits: every voxel's curve gets its own dynamic design, fit
// and tests, on several threads, each with its own copy of the design.
#include <algorithm>
#include <cmath>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

#include "srtm_design_core.h"
#include "srtm_internal.h"
#include "zor_alloc.h"

namespace {

double **matrix_copy(double **source, int rows, int cols) {
  double **m = double_matrix(rows > 0 ? rows : 1, cols > 0 ? cols : 1);
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) m[i][j] = source ? source[i][j] : 0.0;
  return m;
}

// One thread's arrays.
struct Worker {
  srtm_fit_arrays a;
  std::vector<srtm_run_polynomial> poly;
  std::vector<float> betas;  // the polynomials' coefficients, this thread's own
  int T, C;

  Worker(const std::vector<srtm_run_polynomial> &shared, const double *decay) : poly(shared) {
    T = SRTM.ntime;
    C = SRTM.ncoeff;
    const int t = T > 0 ? T : 1;
    a.NoiseRaw_t = float_vector(t);
    a.NoiseFit_t = float_vector(t);
    a.Weight_t = double_vector(t);
    a.HatDiag_t = double_vector(t);
    a.Residue_t = double_vector(t);
    a.Beta_c = double_vector(C > 0 ? C : 1);
    a.Xorig_tc = matrix_copy(SRTM.Xorig_tc, T, C);
    a.X_tc = matrix_copy(nullptr, T, C);
    a.XTXm1_cc = matrix_copy(nullptr, C, C);
    a.XTXm1XT_ct = matrix_copy(nullptr, C, T);
    for (int l = 0; l < SRTM_MAX_CONDITIONS; l++) a.FCovar[l] = a.FCovarInv[l] = nullptr;
    for (int l = 0; l < SRTM.nconditions; l++) {
      a.FCovar[l] = matrix_copy(nullptr, SRTM.ncontrasts[l], SRTM.ncontrasts[l]);
      a.FCovarInv[l] = matrix_copy(nullptr, SRTM.ncontrasts[l], SRTM.ncontrasts[l]);
    }
    betas.assign(4 * poly.size() + 1, 0.0f);
    for (size_t r = 0; r < poly.size(); r++) poly[r].Beta = &betas[4 * r];
    a.dof = a.sigma2 = 0.0;
    a.singular = 0;
    a.decay = decay;
  }
  ~Worker() {
    free_float_vector(a.NoiseRaw_t);
    free_float_vector(a.NoiseFit_t);
    free_double_vector(a.Weight_t);
    free_double_vector(a.HatDiag_t);
    free_double_vector(a.Residue_t);
    free_double_vector(a.Beta_c);
    const int t = T > 0 ? T : 1, c = C > 0 ? C : 1;
    free_double_matrix(a.Xorig_tc, t, c);
    free_double_matrix(a.X_tc, t, c);
    free_double_matrix(a.XTXm1_cc, c, c);
    free_double_matrix(a.XTXm1XT_ct, c, t);
    for (int l = 0; l < SRTM.nconditions; l++) {
      int n = SRTM.ncontrasts[l] > 0 ? SRTM.ncontrasts[l] : 1;
      free_double_matrix(a.FCovar[l], n, n);
      free_double_matrix(a.FCovarInv[l], n, n);
    }
  }
  Worker(const Worker &) = delete;
  Worker &operator=(const Worker &) = delete;

  int no_dof = 0;  // voxels whose tests were left undone: no degrees of freedom

  // Returns 1 when the voxel's normal matrix was singular.
  int fit(const float *curve, double resels, double *beta, double *sigma2, double *dof, double *statistics) {
    for (int r = 0; r < SRTM.nruns; r++) srtm_noise_model(r, curve, &poly[r], a);
    srtm_dynamic_columns(curve, a.Xorig_tc);
    srtm_pseudo_inverse(a);
    srtm_fit_core(a, curve, nullptr, nullptr);
    if (beta)
      for (int c = 0; c < C; c++) beta[c] = a.Beta_c[c];
    if (sigma2) *sigma2 = a.sigma2;
    if (dof) *dof = a.dof;
    if (statistics) {
      for (int l = 0; l < SRTM.nconditions; l++) {
        double cnr = 0.0, p_raw = 1.0, p_cor = 1.0;
        float effect = 0.0f, sem = 0.0f;
        if (a.sigma2 != 0.0 && a.dof <= 0.0) {
          // A single fit would end the program in the beta integral here;
          // a map marks the voxel instead.
          cnr = p_raw = p_cor = NAN;
          effect = sem = NAN;
          if (l == 0) no_dof++;
        } else if (a.sigma2 != 0.0) {
          srtm_F_core(a, a.sigma2, resels, l, &cnr, &p_raw, &p_cor, &effect, &sem);
        }
        double *s = statistics + (size_t)l * 5;
        s[0] = cnr;
        s[1] = p_raw;
        s[2] = p_cor;
        s[3] = effect;
        s[4] = sem;
      }
    }
    return a.singular != 0;
  }
};

}  // namespace

int SRTM_fit_voxels(int nvoxels, int ntime, const float *series, double resels, int nthreads, double *beta,
                    double *sigma2, double *dof, double *statistics) {
  if (SRTM.initialized != 2) {
    printf("Error in SRTM_fit_data: first initialize the GLM (%d) and define stimuli\n", SRTM.initialized);
    return 1;
  }
  if (ntime != SRTM.ntime) {
    printf("Error: the number of data time points (%d) does not match the number in the GLM (%d).\n", ntime,
           SRTM.ntime);
    return 1;
  }
  if (nvoxels <= 0) return 0;
  std::vector<srtm_run_polynomial> poly(SRTM.nruns > 0 ? SRTM.nruns : 1);
  if (srtm_define_run_polynomials(poly.data())) return 1;
  poly.resize(SRTM.nruns);

  std::vector<double> decay(SRTM.ntime > 0 ? SRTM.ntime : 1);
  srtm_decay_factors(decay.data());

  if (nthreads < 1) nthreads = 1;
  const int chunk = 64;
  const int nchunks = (nvoxels + chunk - 1) / chunk;
  if (nthreads > nchunks) nthreads = nchunks;
  std::atomic<int> next{0};
  std::atomic<int> singular{0}, no_dof{0};
  const int C = SRTM.ncoeff, L = SRTM.nconditions;
  auto work = [&]() {
    Worker w(poly, decay.data());
    for (;;) {
      int k = next.fetch_add(1);
      if (k >= nchunks) break;
      int end = std::min(nvoxels, (k + 1) * chunk);
      for (int v = k * chunk; v < end; v++) {
        int bad = w.fit(series + (size_t)v * ntime, resels, beta ? beta + (size_t)v * C : nullptr,
                        sigma2 ? sigma2 + v : nullptr, dof ? dof + v : nullptr,
                        statistics ? statistics + (size_t)v * L * 5 : nullptr);
        if (bad) singular.fetch_add(1);
      }
    }
    no_dof.fetch_add(w.no_dof);
  };
  std::vector<std::thread> threads;
  for (int i = 1; i < nthreads; i++) threads.emplace_back(work);
  work();
  for (auto &t : threads) t.join();
  srtm_free_run_polynomials(poly.data());
  if (no_dof.load())
    printf("Warning: %d voxels have no degrees of freedom left; their tests are not a number.\n", no_dof.load());
  if (singular.load())
    printf("Warning: the normal matrix of the PET model is singular for %d voxels.\n", singular.load());
  return 0;
}
