// The tensor fits' passes through the general linear model, worked out side
// by side: the same products and sums, each in the same order as the
// model's own routines, so every result is the same to the last bit; only
// independent sums are interleaved, so that one sum need not wait for
// another to finish.
#include <cmath>
#include <cstdio>

#include "fit_internal.h"
#include "zor_exit.h"
#include "zor_linear_models.h"
#include "zor_matrix.h"

void fit_tensor_normal_inverse(int nt, float **X, const float *weights, float **N) {
  float sum[7][7] = {};
  for (int j = 0; j < nt; j++) {
    const float w = weights ? weights[j] : 1.0f;
    const float *x = X[j];
    for (int a = 0; a < 7; a++) {
      const float wa = w * x[a];
      for (int b = 0; b < 7; b++) sum[a][b] += wa * x[b];
    }
  }
  for (int a = 0; a < 7; a++)
    for (int b = 0; b < 7; b++) N[a][b] = sum[a][b];
  int info;
  (void)rInvertSquareMatrix(7, N, &info);
}

void fit_tensor_weighted_pinv(int nt, float **X, const float *weights, float **Ninv, float **Pinv) {
  for (int c = 0; c < 7; c++) {
    const float *n = Ninv[c];
    float *p = Pinv[c];
    for (int j = 0; j < nt; j++) {
      const float *x = X[j];
      float sum = 0.0f;
      for (int k = 0; k < 7; k++) sum += x[k] * n[k] * weights[j];
      p[j] = sum;
    }
  }
}

int fit_tensor_general_fit(int npoints, const float *data, float *fit) {
  const int nc = GeneralGLM.ncoeff;
  if (nc != 7 || npoints != GeneralGLM.nt) return GeneralFitGLM(npoints, const_cast<float *>(data), fit);
  float beta[7] = {};
  for (int j = 0; j < npoints; j++) {
    const float d = data[j];
    for (int c = 0; c < 7; c++) beta[c] += GeneralGLM.Pinv[c][j] * d;
  }
  float sum = 0.0f;
  for (int j = 0; j < npoints; j++) {
    const float *x = GeneralGLM.X[j];
    float f = 0.0f;
    for (int c = 0; c < 7; c++) f += beta[c] * x[c];
    const float r = data[j] - f;
    fit[j] = f;
    sum += r * r;
  }
  for (int c = 0; c < 7; c++) GeneralGLM.Beta[c] = beta[c];
  if (npoints == nc) {
    for (int c = 0; c < nc; c++) GeneralGLM.Sem[c] = 0.0f;
  } else {
    const float s = std::sqrt(sum / static_cast<float>(npoints - nc));
    for (int c = 0; c < nc; c++) GeneralGLM.Sem[c] = std::sqrt(GeneralGLM.XTXm1[c][c]) * s;
  }
  return 0;
}
