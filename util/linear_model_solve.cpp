// Weighted least squares by a pseudo-inverse worked out once per design.
#include "linear_model_solve.h"

#include "zor_alloc.h"
#include "zor_matrix.h"

void linear_model_normal_inverse(int nt, int ncoeff, float **X, const float *weights, float **N) {
  for (int a = 0; a < ncoeff; a++) {
    for (int b = 0; b < ncoeff; b++) {
      float sum = 0.0f;
      for (int j = 0; j < nt; j++) {
        const float w = weights ? weights[j] : 1.0f;
        sum += w * X[j][a] * X[j][b];
      }
      N[a][b] = sum;
    }
  }
  int info;
  (void)rInvertSquareMatrix(ncoeff, N, &info);
}

void linear_model_weighted_pinv(int nt, int ncoeff, float **X, const float *weights, float **Ninv,
                                float **Pinv) {
  for (int c = 0; c < ncoeff; c++) {
    for (int j = 0; j < nt; j++) {
      float sum = 0.0f;
      for (int k = 0; k < ncoeff; k++) sum += X[j][k] * Ninv[c][k] * weights[j];
      Pinv[c][j] = sum;
    }
  }
}

void linear_model_apply(int nt, int ncoeff, float **X, float **Pinv, const float *data,
                        float *Beta, float *fit) {
  for (int c = 0; c < ncoeff; c++) {
    float sum = 0.0f;
    for (int j = 0; j < nt; j++) sum += Pinv[c][j] * data[j];
    Beta[c] = sum;
  }
  for (int j = 0; j < nt; j++) {
    float sum = 0.0f;
    for (int c = 0; c < ncoeff; c++) sum += Beta[c] * X[j][c];
    fit[j] = sum;
  }
}

float **linear_model_zero_matrix(int rows, int cols) {
  float **m = float_matrix(rows, cols);
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) m[i][j] = 0.0f;
  return m;
}

float *linear_model_zero_vector(int count) {
  float *v = float_vector(count);
  for (int i = 0; i < count; i++) v[i] = 0.0f;
  return v;
}
