// The statistics of one condition on the last fit: F, a signed
// contrast-to-noise value, uncorrected and corrected p values, the effect
// size and its standard error.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "glm_internal.h"
#include "zor_glm.h"
#include "zor_special.h"

namespace {

// The float whose bit pattern is 27: p values never go below it, so that
// -log10 stays finite.
float too_small_value(void) {
  unsigned int bits = 27;
  float value;
  memcpy(&value, &bits, sizeof value);
  return value;
}

}  // namespace

int GLM_calculate_F(int ntime, float sigma2, int resels, int lCondition, float *Fstat, float *cnr, float *p_raw,
                    float *p_cor, float *effect_size, float *effect_sem) {
  if (sigma2 == 0.0f) {
    *cnr = *effect_size = *effect_sem = 0.0f;
    *p_raw = *p_cor = 1.0f;
    return 0;
  }
  if (lCondition < 0 || lCondition > GLM.nconditions - 1) {
    printf("Error: the specified condition (%d) is out of range (0-%d)\n", lCondition, GLM.nconditions - 1);
    return 1;
  }
  if (ntime != GLM.ntime) {
    puts("Error: # time points != # used in GLM fit.");
    return 1;
  }
  if (!GLM.contrast_matrix[lCondition] || !GLM.FCovar[lCondition] || !GLM.FCovarInv[lCondition]) {
    printf("Error: the contrasts of condition %d are not defined.\n", lCondition);
    return 1;
  }
  glm_condition_statistics(GLM.Beta_c, sigma2, resels, lCondition, Fstat, cnr, p_raw, p_cor, effect_size,
                           effect_sem);
  return 0;
}

namespace {

// Everything of a condition's statistics but the integral behind p: the
// argument x of that integral and its two degrees of freedom instead.
void statistics_before_p(const float *coefficients, float sigma2, int resels, int lCondition, float *Fstat,
                         float *cnr, float *p_cor, float *effect_size, float *effect_sem, float *x_out,
                         float *df1_out, float *df2_out) {
  const float ec3constant = 0.1169f;
  int **C = GLM.contrast_matrix[lCondition];
  float **covar = GLM.FCovar[lCondition], **covar_inv = GLM.FCovarInv[lCondition];
  int nrows = GLM.ncontrasts[lCondition];

  int ncol = glm_contrast_columns();
  thread_local std::vector<float> CBeta;
  CBeta.resize((size_t)(nrows > 0 ? nrows : 0));
  float CBetaMax = 0.0f;
  int lContrastMax = 0;
  for (int i = 0; i < nrows; i++) {
    float sum = 0.0f;
    for (int c = 0; c < ncol; c++) sum += C[i][c] * coefficients[c];
    CBeta[i] = sum;
    if (i == 0 || fabsf(sum) > fabsf(CBetaMax)) {
      CBetaMax = sum;
      lContrastMax = i;
    }
  }
  *effect_size = CBetaMax;
  *effect_sem = sqrt(covar[lContrastMax][lContrastMax] * sigma2);

  float numerator = 0.0f;
  for (int i = 0; i < nrows; i++)
    for (int j = 0; j < nrows; j++) numerator += covar_inv[i][j] * CBeta[i] * CBeta[j];
  float df1 = nrows, df2 = GLM.dof;
  float F = numerator / sigma2 / df1;
  *Fstat = F;
  *cnr = sqrt(F);

  double ec3 = ec3constant * ((double)F * (df2 - 1) / df2 - 1) / pow((double)F / df2 + 1, (df2 - 1) / 2.0);
  *p_cor = resels * ec3;
  if (CBetaMax < 0) *cnr = -*cnr;

  float x = df2 / (df1 * F + df2);
  if (!(x >= 0 && x <= 1)) x = 1;
  *x_out = x;
  *df1_out = df1;
  *df2_out = df2;
}

// The p values from the integral's value.
void statistics_after_p(double beta, float df1, float *p_raw, float *p_cor) {
  const float too_small = too_small_value();
  if (df1 == 1) {
    *p_raw = beta;
  } else {
    *p_raw = 2 * beta;
    if (*p_raw == 2) *p_raw = 1;
    if (*p_raw > 1) *p_raw = 2 - *p_raw;
  }
  if (*p_cor > 1 || *p_cor < 0) *p_cor = 1;
  if (*p_raw < too_small) *p_raw = too_small;
  if (*p_cor < too_small) *p_cor = too_small;
}

}  // namespace

void glm_condition_statistics(const float *coefficients, float sigma2, int resels, int lCondition, float *Fstat,
                              float *cnr, float *p_raw, float *p_cor, float *effect_size, float *effect_sem) {
  float x, df1, df2;
  statistics_before_p(coefficients, sigma2, resels, lCondition, Fstat, cnr, p_cor, effect_size, effect_sem, &x,
                      &df1, &df2);
  // Without degrees of freedom left the integral is undefined; its value at
  // x = 1 stands for it.
  double beta = df2 > 0 ? ibeta(df2 * 0.5, 0.5 * df1, x) : 1.0;
  statistics_after_p(beta, df1, p_raw, p_cor);
}

void glm_voxels_statistics(int count, const float *coefficients, const float *sigma2, int resels,
                           float *statistics) {
  const int nconditions = GLM.nconditions, ncoeff = GLM.ncoeff;
  thread_local std::vector<double> x, beta;
  thread_local std::vector<int> fitted;
  x.resize((size_t)(count > 0 ? count : 0));
  beta.resize(x.size());
  fitted.resize(x.size());
  for (int k = 0; k < nconditions; k++) {
    int n = 0;
    float df1 = 1.0f, df2 = 0.0f;
    for (int v = 0; v < count; v++) {
      float *out = statistics + ((size_t)v * nconditions + k) * 6;
      if (sigma2[v] == 0.0f) {
        out[0] = out[1] = out[4] = out[5] = 0.0f;
        out[2] = out[3] = 1.0f;
        continue;
      }
      float xv;
      statistics_before_p(coefficients + (size_t)v * ncoeff, sigma2[v], resels, k, &out[0], &out[1], &out[3],
                          &out[4], &out[5], &xv, &df1, &df2);
      x[n] = xv;
      fitted[n++] = v;
    }
    if (n == 0) continue;
    // The degrees of freedom are the condition's, the same at every voxel.
    if (df2 > 0)
      ibeta_many(df2 * 0.5, 0.5 * df1, n, x.data(), beta.data());
    else
      for (int i = 0; i < n; i++) beta[i] = 1.0;
    for (int i = 0; i < n; i++) {
      float *out = statistics + ((size_t)fitted[i] * nconditions + k) * 6;
      statistics_after_p(beta[i], df1, &out[2], &out[3]);
    }
  }
}
