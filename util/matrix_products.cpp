// Products, pseudo-inverse and trace on row-pointer float matrices. All sums
// are kept in single precision: the engines' results were tuned to it.
#include "zor_alloc.h"
#include "zor_matrix.h"

void Matrix_Product(float **C, int nrow, int ncol, float **A, int transpose_A, int n_inner,
                    float **B, int transpose_B) {
  for (int i = 0; i < nrow; i++) {
    for (int j = 0; j < ncol; j++) {
      float sum = 0.0f;
      for (int k = 0; k < n_inner; k++) {
        const float a = transpose_A ? A[k][i] : A[i][k];
        const float b = transpose_B ? B[j][k] : B[k][j];
        sum += a * b;
      }
      C[i][j] = sum;
    }
  }
}

void Matrix_Vector_Product(float *y, int nrow, float **M, int transpose, int ncol, float *x) {
  for (int i = 0; i < nrow; i++) {
    float sum = 0.0f;
    for (int j = 0; j < ncol; j++) sum += (transpose ? M[j][i] : M[i][j]) * x[j];
    y[i] = sum;
  }
}

void Matrix_PseudoInverse(float **X, int nrow, int ncol, float **P) {
  float **normal = float_matrix(ncol, ncol);
  Matrix_Product(normal, ncol, ncol, X, 1, nrow, X, 0);
  // Callers rely on getting some P even for a rank-deficient design, so a
  // failed inversion is deliberately not reported.
  int info;
  (void)rInvertSquareMatrix(ncol, normal, &info);
  Matrix_Product(P, ncol, nrow, normal, 0, ncol, X, 1);
  free_float_matrix(normal, ncol, ncol);
}

float Trace_of_Matrix(int order, float **M) {
  float sum = 0.0f;
  for (int i = 0; i < order; i++) sum += M[i][i];
  return sum;
}
