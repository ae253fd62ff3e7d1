// Generalized least squares over the files of the group model, with the
// covariance diag(SigFE^2) + Sigma2_RE * I.
//
// The covariance is diagonal, so its inverse is the diagonal of reciprocals
// that the general inversion gives for it, and every product with it has one
// term that is not an exact zero. The fit takes that road whenever the
// inputs leave those zeros exact (finite values, no zero or undefined
// variance); otherwise, and on request, it goes through every file-by-file
// product and the general inversion. Both give the same bits.
#include <cmath>
#include <cstdio>

#include "rem_internal.h"
#include "zor_exit.h"
#include "zor_matrix.h"
#include "zor_rem.h"

namespace {

int check_fit(int ntime) {
  if (!REM.initialized) {
    puts("Error in REM_fit_data: first initialize the REM");
    return 1;
  }
  if (ntime != REM.ntime) {
    printf("Error: the number of data time points (%d) does not match the number in the REM (%d).\n", ntime,
           REM.ntime);
    zor_exit(1);
  }
  return 0;
}

// Whether the inverse of the covariance is the plain diagonal of
// reciprocals and every zero of the products is exact.
bool diagonal_road_applies(float Sigma2_RE, const float *SigFE_vector) {
  if (!std::isfinite(Sigma2_RE)) return false;
  for (int t = 0; t < REM.ntime; t++) {
    if (!std::isfinite(SigFE_vector[t])) return false;
    const float variance = Sigma2_RE + SigFE_vector[t] * SigFE_vector[t];
    if (variance == 0.0f) return false;
    for (int c = 0; c < REM.ncoeff; c++)
      if (!std::isfinite(REM.X_tc[t][c])) return false;
  }
  return true;
}

// Whether the off-diagonal entries of the three file-by-file covariance
// matrices are known to be zero, so that the diagonal road need only write
// their diagonals.
bool off_diagonals_clear = false;

void clear_off_diagonals(void) {
  for (int i = 0; i < REM.ntime; i++)
    for (int j = 0; j < REM.ntime; j++)
      if (i != j) REM.SigFE_tt[i][j] = REM.SigFE2_tt[i][j] = REM.SIGm1_tt[i][j] = 0.0f;
  off_diagonals_clear = true;
}

// The products with the inverse covariance, one term each, summed from zero
// as the general product sums them.
void diagonal_covariance_products(float Sigma2_RE, const float *SigFE_vector) {
  if (!off_diagonals_clear) clear_off_diagonals();
  for (int t = 0; t < REM.ntime; t++) {
    const float se = SigFE_vector[t];
    const float se2 = 0.0f + se * se;
    const float variance = 1.0f * Sigma2_RE + se2;
    const float w = (float)(1.0 / (double)variance);
    REM.SigFE_tt[t][t] = se;
    REM.SigFE2_tt[t][t] = se2;
    REM.SIGm1_tt[t][t] = w;
    for (int c = 0; c < REM.ncoeff; c++) {
      const float xw = 0.0f + REM.X_tc[t][c] * w;
      REM.XTSIGm1_ct[c][t] = xw;
      REM.Xw_tc[t][c] = xw;
    }
  }
}

// The normal matrix of the weighted design, its pseudo-inverse (so that an
// event without files doesn't stop the fit) and the estimator.
void normal_equations(void) {
  const int n = REM.ntime, nc = REM.ncoeff;
  Matrix_Product(REM.XTXw_cc, nc, nc, REM.X_tc, 1, n, REM.Xw_tc, 0);
  Matrix_PseudoInverse(REM.XTXw_cc, nc, nc, REM.Variance_cc);
  Matrix_Product(REM.Product_ct, nc, n, REM.Variance_cc, 0, nc, REM.XTSIGm1_ct, 0);
}

// The coefficients, the fits and their band.
void coefficients_and_fits(float *Signal_vector, float *fit_vector, float *fit_error, float *fit_vector_av) {
  const int n = REM.ntime, nc = REM.ncoeff;
  for (int c = 0; c < nc; c++) {
    float sum = 0.0f;
    for (int t = 0; t < n; t++) sum += REM.Product_ct[c][t] * Signal_vector[t];
    REM.Beta_c[c] = sum;
  }
  for (int t = 0; t < n; t++) {
    float fit = 0.0f, fit_av = 0.0f, band = 0.0f;
    for (int c = 0; c < nc; c++) {
      const float x = REM.X_tc[t][c];
      fit += x * REM.Beta_c[c];
      // As if every file's magnitude were 1.
      if (x != 0.0f) fit_av += REM.Beta_c[c];
      band += x * sqrt((double)REM.Variance_cc[c][c]);
    }
    fit_vector[t] = fit;
    fit_vector_av[t] = fit_av;
    fit_error[t] = band;
  }
}

}  // namespace

void rem_fit_reset(void) { off_diagonals_clear = false; }

void REMInternal_compute_residue_matrix(void) {
  const int n = REM.ntime, nc = REM.ncoeff;
  Matrix_Product(REM.XTSIGm1_ct, nc, n, REM.X_tc, 1, n, REM.SIGm1_tt, 0);
  Matrix_Product(REM.Xw_tc, n, nc, REM.SIGm1_tt, 0, n, REM.X_tc, 0);
  normal_equations();
  Matrix_Product(REM.XProduct_tt, n, n, REM.X_tc, 0, nc, REM.Product_ct, 0);
  Matrix_Product(REM.Residue_tt, n, n, REM.SIGm1_tt, 0, n, REM.XProduct_tt, 0);
  for (int i = 0; i < n; i++)
    for (int j = 0; j < n; j++) REM.Residue_tt[i][j] = REM.SIGm1_tt[i][j] - REM.Residue_tt[i][j];
  Matrix_Product(REM.Residue2_tt, n, n, REM.Residue_tt, 0, n, REM.Residue_tt, 0);
}

int REMInternal_fit_final_all_matrices(float Sigma2_RE, int ntime, float *Signal_vector, float *SigFE_vector,
                                       float *fit_vector, float *fit_error, float *fit_vector_av) {
  if (check_fit(ntime)) return 1;
  const int n = REM.ntime;
  for (int i = 0; i < n; i++)
    for (int j = 0; j < n; j++) REM.SigFE_tt[i][j] = i == j ? SigFE_vector[i] : 0.0f;
  Matrix_Product(REM.SigFE2_tt, n, n, REM.SigFE_tt, 0, n, REM.SigFE_tt, 0);
  for (int i = 0; i < n; i++)
    for (int j = 0; j < n; j++) REM.SIGm1_tt[i][j] = REM.Identity_tt[i][j] * Sigma2_RE + REM.SigFE2_tt[i][j];
  // A singular covariance (a file without error under no random variance)
  // leaves what the inversion reached, and the products read that.
  int info;
  (void)rInvertSquareMatrix(n, REM.SIGm1_tt, &info);
  off_diagonals_clear = false;
  REMInternal_compute_residue_matrix();
  coefficients_and_fits(Signal_vector, fit_vector, fit_error, fit_vector_av);
  return 0;
}

int REM_fit_final(float Sigma2_RE, int ntime, float *Signal_vector, float *SigFE_vector, float *fit_vector,
                  float *fit_error, float *fit_vector_av) {
  if (check_fit(ntime)) return 1;
  if (!diagonal_road_applies(Sigma2_RE, SigFE_vector))
    return REMInternal_fit_final_all_matrices(Sigma2_RE, ntime, Signal_vector, SigFE_vector, fit_vector, fit_error,
                                              fit_vector_av);
  diagonal_covariance_products(Sigma2_RE, SigFE_vector);
  normal_equations();
  coefficients_and_fits(Signal_vector, fit_vector, fit_error, fit_vector_av);
  return 0;
}
