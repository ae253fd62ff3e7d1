// In-place inverse of a square row-pointer matrix: LU factorisation with
// partial pivoting, the inverse of U, the product with the inverse of L, and
// column swaps that undo the pivots. Only an exact zero pivot is singular.
#include <cmath>
#include <cstdio>
#include <vector>

#include "zor_alloc.h"
#include "zor_matrix.h"

namespace {

// Factorises a = P L U in place; returns the singular column or -1.
int lu_factor(int n, double **a, std::vector<int> &pivot) {
  for (int k = 0; k < n; k++) {
    int p = k;
    double largest = fabs(a[k][k]);
    for (int i = k + 1; i < n; i++) {
      if (fabs(a[i][k]) > largest) {
        largest = fabs(a[i][k]);
        p = i;
      }
    }
    pivot[k] = p;
    if (a[p][k] == 0.0) return k;
    if (p != k)  // whole rows, the stored multipliers included
      for (int j = 0; j < n; j++) std::swap(a[p][j], a[k][j]);
    const double r = 1.0 / a[k][k];
    for (int i = k + 1; i < n; i++) a[i][k] *= r;
    for (int j = k + 1; j < n; j++) {
      const double t = a[k][j];
      if (t == 0.0) continue;
      for (int i = k + 1; i < n; i++) a[i][j] -= t * a[i][k];
    }
  }
  return -1;
}

void invert_upper(int n, double **a) {
  for (int j = 0; j < n; j++) {
    a[j][j] = 1.0 / a[j][j];
    const double ajj = -a[j][j];
    // Column j above the diagonal times the already inverted leading block.
    for (int k = 0; k < j; k++) {
      const double t = a[k][j];
      if (t == 0.0) continue;
      for (int i = 0; i < k; i++) a[i][j] += t * a[i][k];
      a[k][j] *= a[k][k];
    }
    for (int i = 0; i < j; i++) a[i][j] *= ajj;
  }
}

void multiply_by_inverse_lower(int n, double **a) {
  std::vector<double> work(n > 0 ? n : 1);
  for (int j = n - 1; j >= 0; j--) {
    for (int i = j + 1; i < n; i++) {
      work[i] = a[i][j];
      a[i][j] = 0.0;
    }
    for (int k = j + 1; k < n; k++) {
      const double t = work[k];
      if (t == 0.0) continue;
      for (int i = 0; i < n; i++) a[i][j] -= t * a[i][k];
    }
  }
}

}  // namespace

int dInvertSquareMatrix(int order, double **matrix, int *info) {
  *info = -1;
  if (order < 0) {
    printf("Error: the matrix order is %d\n", order);
    return 1;
  }
  const int n = order;
  std::vector<int> pivot(n > 0 ? n : 1);
  const int singular = lu_factor(n, matrix, pivot);
  if (singular >= 0) {
    *info = singular;
    return 1;
  }
  invert_upper(n, matrix);
  multiply_by_inverse_lower(n, matrix);
  for (int j = n - 2; j >= 0; j--) {
    const int p = pivot[j];
    if (p == j) continue;
    for (int i = 0; i < n; i++) std::swap(matrix[i][j], matrix[i][p]);
  }
  return 0;
}

int rInvertSquareMatrix(int order, float **matrix, int *info) {
  if (order < 0) return dInvertSquareMatrix(order, nullptr, info);
  double **work = double_matrix(order, order);
  for (int i = 0; i < order; i++)
    for (int j = 0; j < order; j++) work[i][j] = matrix[i][j];
  const int result = dInvertSquareMatrix(order, work, info);
  for (int i = 0; i < order; i++)
    for (int j = 0; j < order; j++) matrix[i][j] = static_cast<float>(work[i][j]);
  free_double_matrix(work, order, order);
  return result;
}
