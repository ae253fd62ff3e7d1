#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "test_support.h"
#include "zor.h"

namespace {

double **make(int n, const std::vector<double> &values) {
  double **m = double_matrix(n, n);
  for (int i = 0; i < n; i++)
    for (int j = 0; j < n; j++) m[i][j] = values[static_cast<size_t>(i * n + j)];
  return m;
}

TEST(MatrixInverse, TwoByTwoClosedForm) {
  double **m = make(2, {4, 7, 2, 6});
  int info = 99;
  EXPECT_EQ(dInvertSquareMatrix(2, m, &info), 0);
  EXPECT_EQ(info, -1);
  EXPECT_NEAR(m[0][0], 0.6, 1e-15);
  EXPECT_NEAR(m[0][1], -0.7, 1e-15);
  EXPECT_NEAR(m[1][0], -0.2, 1e-15);
  EXPECT_NEAR(m[1][1], 0.4, 1e-15);
  free_double_matrix(m, 2, 2);
}

TEST(MatrixInverse, PermutationNeedsEveryPivot) {
  // The inverse of a permutation is its transpose, exactly.
  double **m = make(4, {0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0});
  int info = 0;
  EXPECT_EQ(dInvertSquareMatrix(4, m, &info), 0);
  const double expected[4][4] = {{0, 1, 0, 0}, {0, 0, 0, 1}, {1, 0, 0, 0}, {0, 0, 1, 0}};
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) EXPECT_EQ(m[i][j], expected[i][j]) << i << j;
  free_double_matrix(m, 4, 4);
}

TEST(MatrixInverse, ZeroFirstColumnIsSingularAtZero) {
  double **m = make(2, {0, 1, 0, 2});
  int info = 99;
  EXPECT_EQ(dInvertSquareMatrix(2, m, &info), 1);
  EXPECT_EQ(info, 0);
  free_double_matrix(m, 2, 2);
}

TEST(MatrixInverse, ZeroSecondColumnIsSingularAtOne) {
  double **m = make(2, {1, 0, 2, 0});
  int info = 99;
  EXPECT_EQ(dInvertSquareMatrix(2, m, &info), 1);
  EXPECT_EQ(info, 1);
  free_double_matrix(m, 2, 2);
}

TEST(MatrixInverse, DependentRowsGiveAnExactZeroPivot) {
  double **m = make(3, {1, 2, 3, 2, 4, 6, 1, 0, 1});
  int info = 99;
  EXPECT_EQ(dInvertSquareMatrix(3, m, &info), 1);
  EXPECT_EQ(info, 2);
  free_double_matrix(m, 3, 3);
}

TEST(MatrixInverse, OnlyAnExactZeroIsSingular) {
  double **m = make(2, {1e-300, 0, 0, 1e-300});
  int info = 99;
  EXPECT_EQ(dInvertSquareMatrix(2, m, &info), 0);
  EXPECT_DOUBLE_EQ(m[0][0], 1e300);
  free_double_matrix(m, 2, 2);
}

TEST(MatrixInverse, NegativeOrderIsReported) {
  int info = 99, result = 0;
  Captured c = capture_output([&] { result = dInvertSquareMatrix(-3, nullptr, &info); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(info, -1);
  EXPECT_EQ(c.out, "Error: the matrix order is -3\n");
  float **none = nullptr;
  c = capture_output([&] { result = rInvertSquareMatrix(-1, none, &info); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "Error: the matrix order is -1\n");
}

TEST(MatrixInverse, OrderZeroSucceeds) {
  int info = 99;
  EXPECT_EQ(dInvertSquareMatrix(0, nullptr, &info), 0);
  EXPECT_EQ(info, -1);
}

TEST(MatrixInverse, FloatVersionInvertsAndCopiesBack) {
  float **m = float_matrix(3, 3);
  const float a[3][3] = {{2, 0, 0}, {0, 4, 0}, {1, 0, 1}};
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 3; j++) m[i][j] = a[i][j];
  int info = 0;
  EXPECT_EQ(rInvertSquareMatrix(3, m, &info), 0);
  EXPECT_FLOAT_EQ(m[0][0], 0.5f);
  EXPECT_FLOAT_EQ(m[1][1], 0.25f);
  EXPECT_FLOAT_EQ(m[2][0], -0.5f);
  EXPECT_FLOAT_EQ(m[2][2], 1.0f);
  free_float_matrix(m, 3, 3);
}

TEST(MatrixInverse, FloatVersionCopiesBackAfterAFailure) {
  float **m = float_matrix(2, 2);
  m[0][0] = 0;
  m[0][1] = 3;
  m[1][0] = 0;
  m[1][1] = 5;
  int info = 0;
  EXPECT_EQ(rInvertSquareMatrix(2, m, &info), 1);
  EXPECT_EQ(info, 0);
  EXPECT_EQ(m[0][1], 3.0f);  // nothing was done before the zero pivot
  free_float_matrix(m, 2, 2);
}

TEST(MatrixInverse, ProductWithTheOriginalIsTheIdentity) {
  const int n = 12;
  std::vector<double> a(static_cast<size_t>(n * n));
  unsigned state = 7;
  for (auto &v : a) {
    state = state * 1664525u + 1013904223u;
    v = (state >> 8) / 16777216.0 - 0.5;
  }
  for (int i = 0; i < n; i++) a[static_cast<size_t>(i * n + i)] += n;  // well conditioned
  double **m = make(n, a);
  int info = 0;
  ASSERT_EQ(dInvertSquareMatrix(n, m, &info), 0);
  for (int i = 0; i < n; i++)
    for (int j = 0; j < n; j++) {
      double s = 0;
      for (int k = 0; k < n; k++) s += a[static_cast<size_t>(i * n + k)] * m[k][j];
      EXPECT_NEAR(s, i == j ? 1.0 : 0.0, 1e-13);
    }
  free_double_matrix(m, n, n);
}

}  // namespace
