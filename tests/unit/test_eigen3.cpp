#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <random>
#include <sstream>
#include <vector>

#include "python_oracle.h"
#include "zor.h"

namespace {

struct Decomposition {
  double V[3][3];
  double d[3];
};

Decomposition decompose(double A[3][3]) {
  Decomposition r{};
  eigen_decomposition(A, r.V, r.d);
  return r;
}

// |A v - λ v| for each column, and VᵀV against the identity.
void expect_consistent(double A[3][3], const Decomposition &r, double tolerance) {
  for (int c = 0; c < 3; c++) {
    for (int i = 0; i < 3; i++) {
      double av = 0.0;
      for (int k = 0; k < 3; k++) av += A[i][k] * r.V[k][c];
      EXPECT_NEAR(av, r.d[c] * r.V[i][c], tolerance) << "column " << c;
    }
    for (int c2 = 0; c2 < 3; c2++) {
      double dot = 0.0;
      for (int k = 0; k < 3; k++) dot += r.V[k][c] * r.V[k][c2];
      EXPECT_NEAR(dot, c == c2 ? 1.0 : 0.0, 1e-13);
    }
  }
}

TEST(EigenDecomposition, MatchesNumpyEighOnRandomSymmetricMatrices) {
  std::mt19937 rng(2024);
  std::uniform_real_distribution<double> uniform(-5.0, 5.0);
  const int count = 200;
  std::vector<Decomposition> ours;
  std::ostringstream input;
  input.precision(17);
  for (int n = 0; n < count; n++) {
    double A[3][3];
    for (int i = 0; i < 3; i++)
      for (int j = i; j < 3; j++) A[i][j] = A[j][i] = uniform(rng);
    for (int i = 0; i < 3; i++)
      for (int j = 0; j < 3; j++) input << A[i][j] << " ";
    input << "\n";
    ours.push_back(decompose(A));
    expect_consistent(A, ours.back(), 1e-12);
  }

  std::vector<double> want;
  ASSERT_TRUE(run_python_oracle(
      "import sys, numpy as np\n"
      "v = np.array(sys.stdin.read().split(), dtype=np.float64).reshape(-1, 3, 3)\n"
      "for A in v:\n"
      "    w, V = np.linalg.eigh(A)\n"
      "    print(' '.join(repr(float(t)) for t in w))\n"
      "    print(' '.join(repr(float(t)) for t in V.ravel()))\n",
      input.str(), want));
  ASSERT_EQ(want.size(), size_t(count * 12));

  for (int n = 0; n < count; n++) {
    const double *w = &want[n * 12];
    const double *V = &want[n * 12 + 3];
    const Decomposition &r = ours[n];
    EXPECT_LE(r.d[0], r.d[1]);
    EXPECT_LE(r.d[1], r.d[2]);
    for (int c = 0; c < 3; c++) {
      EXPECT_NEAR(r.d[c], w[c], 1e-12 * std::max(1.0, std::fabs(w[c]))) << "matrix " << n;
      // Vectors agree up to sign; well separated eigenvalues make them unique.
      double dot = 0.0;
      for (int k = 0; k < 3; k++) dot += r.V[k][c] * V[k * 3 + c];
      const double sign = dot < 0 ? -1.0 : 1.0;
      double gap = 1e300;
      for (int c2 = 0; c2 < 3; c2++)
        if (c2 != c) gap = std::min(gap, std::fabs(w[c] - w[c2]));
      const double tolerance = 1e-13 * 10.0 / std::max(gap, 1e-3);
      for (int k = 0; k < 3; k++)
        EXPECT_NEAR(r.V[k][c], sign * V[k * 3 + c], tolerance) << "matrix " << n << " col " << c;
    }
  }
}

TEST(EigenDecomposition, DiagonalMatrixIsSortedAscending) {
  double A[3][3] = {{5, 0, 0}, {0, -2, 0}, {0, 0, 1}};
  Decomposition r = decompose(A);
  EXPECT_DOUBLE_EQ(r.d[0], -2.0);
  EXPECT_DOUBLE_EQ(r.d[1], 1.0);
  EXPECT_DOUBLE_EQ(r.d[2], 5.0);
  // The eigenvector of -2 is the y axis, of 5 the x axis.
  EXPECT_NEAR(std::fabs(r.V[1][0]), 1.0, 1e-15);
  EXPECT_NEAR(std::fabs(r.V[2][1]), 1.0, 1e-15);
  EXPECT_NEAR(std::fabs(r.V[0][2]), 1.0, 1e-15);
}

TEST(EigenDecomposition, RepeatedEigenvaluesGiveAnOrthonormalBasis) {
  // A diffusion tensor of a cylinder: two equal small eigenvalues.
  double A[3][3] = {{1.2, 0.4, 0.0}, {0.4, 1.2, 0.0}, {0.0, 0.0, 0.8}};
  Decomposition r = decompose(A);
  EXPECT_NEAR(r.d[0], 0.8, 1e-14);
  EXPECT_NEAR(r.d[1], 0.8, 1e-14);
  EXPECT_NEAR(r.d[2], 1.6, 1e-14);
  expect_consistent(A, r, 1e-14);
}

TEST(EigenDecomposition, LeavesTheInputUnchanged) {
  double A[3][3] = {{2, 1, 0.5}, {1, 3, -1}, {0.5, -1, 4}};
  double copy[3][3];
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 3; j++) copy[i][j] = A[i][j];
  Decomposition r = decompose(A);
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 3; j++) EXPECT_EQ(A[i][j], copy[i][j]);
  EXPECT_NEAR(r.d[0] + r.d[1] + r.d[2], 9.0, 1e-13);
}

TEST(EigenDecomposition, ZeroMatrix) {
  double A[3][3] = {};
  Decomposition r = decompose(A);
  for (int c = 0; c < 3; c++) EXPECT_EQ(r.d[c], 0.0);
  expect_consistent(A, r, 0.0);
}

TEST(EigenDecomposition, NonFiniteInputReturns) {
  double A[3][3] = {{NAN, 1, 0}, {1, 2, 0}, {0, 0, 3}};
  Decomposition r = decompose(A);
  (void)r;  // reaching here is the point: no endless iteration
  SUCCEED();
}

// Two decompositions side by side give, bit for bit, what each gives alone:
// on tensors of every shape, on pairs whose reductions branch apart, and on
// matrices without a number or with infinities.
void expect_pair_equals_singles(double A0[3][3], double A1[3][3], const char *what) {
  double W0[3][3], W1[3][3], e0[3], e1[3];
  double V0[3][3], V1[3][3], d0[3], d1[3];
  eigen_decomposition(A0, W0, e0);
  eigen_decomposition(A1, W1, e1);
  eigen_decomposition_pair(A0, A1, V0, V1, d0, d1);
  EXPECT_EQ(memcmp(V0, W0, sizeof V0), 0) << what;
  EXPECT_EQ(memcmp(V1, W1, sizeof V1), 0) << what;
  EXPECT_EQ(memcmp(d0, e0, sizeof d0), 0) << what;
  EXPECT_EQ(memcmp(d1, e1, sizeof d1), 0) << what;
}

TEST(EigenDecompositionPair, EachLaneEqualsItsOwnDecomposition) {
  std::mt19937 rng(77);
  std::normal_distribution<double> normal(0.0, 1.0);
  std::uniform_int_distribution<int> kind(0, 9);
  std::vector<std::array<double, 9>> matrices;
  for (int n = 0; n < 40000; n++) {
    double A[3][3];
    const int k = kind(rng);
    for (int i = 0; i < 3; i++)
      for (int j = i; j < 3; j++) {
        double v = normal(rng);
        if (k < 5) v = (i == j ? 1e-3 : 0.0) + 3e-4 * v;  // diffusion tensors
        else if (k == 5 && i != j) v = 0.0;                // diagonal
        else if (k == 6 && i != j && j == 2) v = 0.0;      // already reduced
        else if (k == 7) v = std::round(v);                // repeated values
        else if (k == 9 && i != j && j == 2) v *= 1e-20;   // nearly split: a lane's QL starts lower
        A[i][j] = A[j][i] = v;
      }
    if (k == 8) A[0][0] = A[1][1];  // a cylinder-like pair
    std::array<double, 9> a;
    memcpy(a.data(), A, sizeof A);
    matrices.push_back(a);
  }
  for (double special : {0.0, (double)NAN, (double)INFINITY, -(double)INFINITY, 1e-300, 1e300}) {
    std::array<double, 9> a{};
    a[0] = a[4] = a[8] = 1.0;
    a[1] = a[3] = special;
    matrices.push_back(a);
    matrices.push_back(std::array<double, 9>{special, 0, 0, 0, special, 0, 0, 0, special});
  }
  for (size_t n = 0; n + 1 < matrices.size(); n++) {
    double A0[3][3], A1[3][3];
    memcpy(A0, matrices[n].data(), sizeof A0);
    memcpy(A1, matrices[n + 1].data(), sizeof A1);
    expect_pair_equals_singles(A0, A1, ("pair " + std::to_string(n)).c_str());
    if (HasFailure()) break;
  }
  // Four at a time, from every starting place.
  for (size_t n = 0; n + 3 < matrices.size(); n++) {
    double A[4][3][3], V[4][3][3], d[4][3], W[3][3], e[3];
    double (*a[4])[3], (*v[4])[3], *dd[4];
    for (int k = 0; k < 4; k++) {
      memcpy(A[k], matrices[n + k].data(), sizeof A[k]);
      a[k] = A[k], v[k] = V[k], dd[k] = d[k];
    }
    eigen_decomposition_four(a, v, dd);
    for (int k = 0; k < 4; k++) {
      eigen_decomposition(A[k], W, e);
      ASSERT_EQ(memcmp(V[k], W, sizeof W), 0) << "four from " << n << " lane " << k;
      ASSERT_EQ(memcmp(d[k], e, sizeof e), 0) << "four from " << n << " lane " << k;
    }
  }
}

}  // namespace
