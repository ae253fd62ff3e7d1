// The fit of one curve and the test of a condition on its coefficients.
#include <cmath>
#include <cstdio>
#include <vector>

#include "srtm_design_core.h"
#include "srtm_internal.h"
#include "zor_exit.h"
#include "zor_special.h"

void srtm_fit_core(srtm_fit_arrays &a, const float *data, float *fit, float *fit_error) {
  const int T = SRTM.ntime, C = SRTM.ncoeff;
  const int *inc = SRTM.include_time;
  for (int c = 0; c < C; c++) {
    double s = 0.0;
    for (int t = 0; t < T; t++) s += a.XTXm1XT_ct[c][t] * inc[t] * a.Weight_t[t] * data[t];
    a.Beta_c[c] = s;
  }
  double ss = 0.0;
  for (int t = 0; t < T; t++) {
    double y = 0.0, full = 0.0;
    for (int c = 0; c < C; c++) {
      y += a.Beta_c[c] * a.X_tc[t][c];
      full += a.Beta_c[c] * a.Xorig_tc[t][c];
    }
    float f = (float)full;
    if (fit) fit[t] = f;
    double d = inc[t] * data[t] - y;
    ss += d * d;
    a.Residue_t[t] = inc[t] * (data[t] - f);
  }
  a.sigma2 = ss / a.dof;
  if (fit_error) {
    const double root = sqrt(a.sigma2);
    for (int t = 0; t < T; t++) {
      float e = 0.0f;
      for (int c = 0; c < C; c++) e += (float)(a.Xorig_tc[t][c] * a.XTXm1_cc[c][c] * root);
      fit_error[t] = e;
    }
  }
}

void srtm_F_core(const srtm_fit_arrays &a, double sigma2, double resels, int l, double *cnr, double *p_raw,
                 double *p_cor, float *effect_size, float *effect_sem) {
  const int n = SRTM.ncontrasts[l], C = SRTM.ncoeff;
  int **K = SRTM.contrast_matrix[l];
  std::vector<double> cbeta(n > 0 ? n : 1, 0.0);
  const int n_rows = n;
  int best = 0;
  for (int j = 0; j < n_rows; j++) {
    double s = 0.0;
    for (int c = 0; c < C; c++) s += K[j][c] * a.Beta_c[c];
    cbeta[j] = s;
    if (fabs(s) > fabs(cbeta[best])) best = j;
  }
  *effect_size = (float)cbeta[best];
  *effect_sem = (float)sqrt(fabs(a.FCovar[l][best][best] * sigma2));
  double numerator = 0.0;
  for (int i = 0; i < n_rows; i++)
    for (int j = 0; j < n_rows; j++) numerator += a.FCovarInv[l][i][j] * cbeta[i] * cbeta[j];
  const double df1 = n, df2 = a.dof;
  const double F = numerator / sigma2 / df1;
  *cnr = sqrt(fabs(F));
  if (cbeta[best] < 0.0) *cnr = -*cnr;
  double pc = resels * 0.1169 * ((df2 - 1.0) / df2 * F - 1.0) / pow(1.0 + F / df2, (df2 - 1.0) / 2.0);
  if (pc > 1.0 || pc < 0.0) pc = 1.0;
  double x = df2 / (df1 * F + df2);
  if (!(x >= 0.0 && x <= 1.0)) x = 1.0;
  double b = ibeta(0.5 * df2, 0.5 * df1, x);
  double pr = b;
  if (n != 1) {
    pr = 2.0 * b;
    if (pr == 2.0) pr = 1.0;
    if (pr > 1.0) pr = 2.0 - pr;
  }
  const double floor_p = 3.720075976020836e-44;
  *p_raw = pr < floor_p ? floor_p : pr;
  *p_cor = pc < floor_p ? floor_p : pc;
}

int SRTM_fit_data(int ntime, float *data_vector, float *fit_vector, float *fit_error, double *sigma2) {
  if (SRTM.initialized != 2) {
    printf("Error in SRTM_fit_data: first initialize the GLM (%d) and define stimuli\n", SRTM.initialized);
    return 1;
  }
  if (ntime != SRTM.ntime) {
    printf("Error: the number of data time points (%d) does not match the number in the GLM (%d).\n", ntime,
           SRTM.ntime);
    zor_exit(1);
  }
  srtm_fit_arrays a = srtm_engine_arrays();
  srtm_fit_core(a, data_vector, fit_vector, fit_error);
  srtm_store_engine_arrays(a);
  *sigma2 = a.sigma2;
  return 0;
}

int SRTM_calculate_F(int ntime, double sigma2, double resels, int lCondition, double *cnr, double *p_raw,
                     double *p_cor, float *effect_size, float *effect_sem) {
  if (sigma2 == 0.0) {
    *effect_size = 0.0f;
    *effect_sem = 0.0f;
    *cnr = 0.0;
    *p_raw = 1.0;
    *p_cor = 1.0;
    return 0;
  }
  if (lCondition < 0 || lCondition >= SRTM.nconditions) {
    printf("Error: the specified condition (%d) is out of range (0-%d)\n", lCondition, SRTM.nconditions - 1);
    return 1;
  }
  if (ntime != SRTM.ntime) {
    puts("Error: # time points != # used in GLM fit.");
    return 1;
  }
  srtm_fit_arrays a = srtm_engine_arrays();
  srtm_F_core(a, sigma2, resels, lCondition, cnr, p_raw, p_cor, effect_size, effect_sem);
  return 0;
}
