#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <sstream>
#include <vector>

#include "python_oracle.h"
#include "zor.h"

namespace {

// A float row-pointer matrix that frees itself.
struct Matrix {
  int rows, cols;
  float **m;
  Matrix(int r, int c) : rows(r), cols(c), m(float_matrix(r, c)) {
    for (int i = 0; i < r; i++)
      for (int j = 0; j < c; j++) m[i][j] = 0.0f;
  }
  Matrix(const std::vector<std::vector<float>> &v) : Matrix(int(v.size()), int(v[0].size())) {
    for (int i = 0; i < rows; i++)
      for (int j = 0; j < cols; j++) m[i][j] = v[i][j];
  }
  ~Matrix() { free_float_matrix(m, rows, cols); }
  Matrix(const Matrix &) = delete;
  Matrix transposed() const {
    Matrix t(cols, rows);
    for (int i = 0; i < rows; i++)
      for (int j = 0; j < cols; j++) t.m[j][i] = m[i][j];
    return t;
  }
  Matrix(Matrix &&o) noexcept : rows(o.rows), cols(o.cols), m(o.m) { o.m = nullptr, o.rows = 0; }
};

// Small integers: every product and sum is exact in single precision.
const std::vector<std::vector<float>> kA = {{1, 2, 3}, {-4, 5, 6}};        // 2 by 3
const std::vector<std::vector<float>> kB = {{7, -8}, {9, 10}, {11, 12}};   // 3 by 2
const std::vector<std::vector<float>> kAB = {{58, 48}, {83, 154}};         // A·B

void expect_equal(const Matrix &c, const std::vector<std::vector<float>> &want) {
  for (int i = 0; i < c.rows; i++)
    for (int j = 0; j < c.cols; j++) EXPECT_EQ(c.m[i][j], want[i][j]) << i << "," << j;
}

TEST(MatrixProduct, PlainOperands) {
  Matrix A(kA), B(kB), C(2, 2);
  Matrix_Product(C.m, 2, 2, A.m, 0, 3, B.m, 0);
  expect_equal(C, kAB);
}

TEST(MatrixProduct, FirstOperandTransposed) {
  Matrix A(kA), B(kB), C(2, 2);
  Matrix At = A.transposed();
  Matrix_Product(C.m, 2, 2, At.m, 1, 3, B.m, 0);
  expect_equal(C, kAB);
}

TEST(MatrixProduct, SecondOperandTransposed) {
  Matrix A(kA), B(kB), C(2, 2);
  Matrix Bt = B.transposed();
  Matrix_Product(C.m, 2, 2, A.m, 0, 3, Bt.m, 1);
  expect_equal(C, kAB);
}

TEST(MatrixProduct, BothOperandsTransposed) {
  Matrix A(kA), B(kB), C(2, 2);
  Matrix At = A.transposed(), Bt = B.transposed();
  Matrix_Product(C.m, 2, 2, At.m, 1, 3, Bt.m, 1);
  expect_equal(C, kAB);
}

TEST(MatrixProduct, OverwritesWhatWasInTheResult) {
  Matrix A(kA), B(kB), C(2, 2);
  for (int i = 0; i < 2; i++)
    for (int j = 0; j < 2; j++) C.m[i][j] = 1e6f;
  Matrix_Product(C.m, 2, 2, A.m, 0, 3, B.m, 0);
  expect_equal(C, kAB);
}

TEST(MatrixProduct, TransposedSelfProductIsTheNormalMatrix) {
  Matrix A(kA), C(3, 3);
  Matrix_Product(C.m, 3, 3, A.m, 1, 2, A.m, 0);
  expect_equal(C, {{17, -18, -21}, {-18, 29, 36}, {-21, 36, 45}});
}

TEST(MatrixVectorProduct, PlainAndTransposed) {
  Matrix A(kA);
  float x3[3] = {1, -1, 2};
  float y2[2] = {99, 99};
  Matrix_Vector_Product(y2, 2, A.m, 0, 3, x3);
  EXPECT_EQ(y2[0], 5.0f);
  EXPECT_EQ(y2[1], 3.0f);

  float x2[2] = {2, -1};
  float y3[3] = {99, 99, 99};
  Matrix_Vector_Product(y3, 3, A.m, 1, 2, x2);
  EXPECT_EQ(y3[0], 6.0f);
  EXPECT_EQ(y3[1], -1.0f);
  EXPECT_EQ(y3[2], 0.0f);
}

TEST(TraceOfMatrix, SumsTheDiagonalOnly) {
  Matrix M({{1.5f, 100, 100}, {100, -2.25f, 100}, {100, 100, 4}});
  EXPECT_EQ(Trace_of_Matrix(3, M.m), 3.25f);
  EXPECT_EQ(Trace_of_Matrix(1, M.m), 1.5f);
  EXPECT_EQ(Trace_of_Matrix(0, M.m), 0.0f);
}

TEST(MatrixPseudoInverse, MatchesNumpyPinvOnFullRankDesigns) {
  std::mt19937 rng(12345);
  std::normal_distribution<float> normal(0.0f, 1.0f);
  const int shapes[][2] = {{3, 3}, {6, 2}, {10, 4}, {25, 5}, {40, 3}};
  for (const auto &shape : shapes) {
    const int nrow = shape[0], ncol = shape[1];
    Matrix X(nrow, ncol), P(ncol, nrow);
    std::ostringstream input;
    input.precision(9);
    input << nrow << " " << ncol << "\n";
    for (int i = 0; i < nrow; i++)
      for (int j = 0; j < ncol; j++) {
        X.m[i][j] = normal(rng) + (j == 0 ? 1.0f : 0.0f);
        input << X.m[i][j] << "\n";
      }
    Matrix_PseudoInverse(X.m, nrow, ncol, P.m);

    std::vector<double> want;
    ASSERT_TRUE(run_python_oracle(
        "import sys, numpy as np\n"
        "v = sys.stdin.read().split()\n"
        "r, c = int(v[0]), int(v[1])\n"
        "X = np.array([float(t) for t in v[2:]], dtype=np.float64).reshape(r, c)\n"
        "print(np.linalg.cond(X))\n"
        "for t in np.linalg.pinv(X).ravel(): print(repr(float(t)))\n",
        input.str(), want));
    ASSERT_EQ(want.size(), size_t(1 + ncol * nrow));
    const double condition = want[0];
    double largest = 0.0;
    for (size_t k = 1; k < want.size(); k++) largest = std::max(largest, std::fabs(want[k]));
    // Single precision normal equations lose about cond² ulps.
    const double tolerance = 20.0 * condition * condition * 1.2e-7 * largest;
    for (int c = 0; c < ncol; c++)
      for (int r = 0; r < nrow; r++)
        EXPECT_NEAR(P.m[c][r], want[1 + c * nrow + r], tolerance)
            << nrow << "x" << ncol << " at " << c << "," << r;
  }
}

TEST(MatrixPseudoInverse, IsALeftInverse) {
  Matrix X({{1, 0.5f}, {1, -0.25f}, {1, 2}, {1, 1}}), P(2, 4), I(2, 2);
  Matrix_PseudoInverse(X.m, 4, 2, P.m);
  Matrix_Product(I.m, 2, 2, P.m, 0, 4, X.m, 0);
  EXPECT_NEAR(I.m[0][0], 1.0f, 1e-6);
  EXPECT_NEAR(I.m[0][1], 0.0f, 1e-6);
  EXPECT_NEAR(I.m[1][0], 0.0f, 1e-6);
  EXPECT_NEAR(I.m[1][1], 1.0f, 1e-6);
}

TEST(MatrixPseudoInverse, SingularDesignStillReturns) {
  // Two equal columns: the inversion fails silently and P is left as it
  // comes out, without ending the run.
  Matrix X({{1, 1}, {2, 2}, {3, 3}}), P(2, 3);
  int status = run_catching_exit([&] { Matrix_PseudoInverse(X.m, 3, 2, P.m); });
  EXPECT_EQ(status, -1);
}

}  // namespace
