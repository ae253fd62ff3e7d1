// Eigen decomposition of a symmetric 3 by 3 matrix: Householder reduction to
// tridiagonal form (tred2), then QL iterations with implicit shifts (tql2),
// following the classic EISPACK routines of those names for a fixed order.
#include <cmath>

#include "zor_matrix.h"
#include "zor_special.h"

namespace {

constexpr int N = 3;

// sqrt(x² + y²) as hypot2 gives it, here where the compiler can inline it.
inline double length2(double x, double y) { return sqrt(x * x + y * y); }

// Reduces V (holding the matrix) to tridiagonal form: diagonal in d,
// sub-diagonal in e[1..N-1]; V ends up holding the orthogonal transformation.
void tred2(double V[N][N], double d[N], double e[N]) {
  for (int j = 0; j < N; j++) d[j] = V[N - 1][j];

  for (int i = N - 1; i > 0; i--) {
    double scale = 0.0;
    double h = 0.0;
    for (int k = 0; k < i; k++) scale += fabs(d[k]);

    if (scale == 0.0) {
      // Row already reduced: nothing to annihilate.
      e[i] = d[i - 1];
      for (int j = 0; j < i; j++) {
        d[j] = V[i - 1][j];
        V[i][j] = 0.0;
        V[j][i] = 0.0;
      }
    } else {
      // Householder vector, scaled to avoid under- and overflow.
      for (int k = 0; k < i; k++) {
        d[k] /= scale;
        h += d[k] * d[k];
      }
      double f = d[i - 1];
      double g = sqrt(h);
      if (f > 0) g = -g;
      e[i] = scale * g;
      h -= f * g;
      d[i - 1] = f - g;
      for (int j = 0; j < i; j++) e[j] = 0.0;

      // Similarity transformation applied to the remaining columns.
      for (int j = 0; j < i; j++) {
        f = d[j];
        V[j][i] = f;
        g = e[j] + V[j][j] * f;
        for (int k = j + 1; k <= i - 1; k++) {
          g += V[k][j] * d[k];
          e[k] += V[k][j] * f;
        }
        e[j] = g;
      }
      f = 0.0;
      for (int j = 0; j < i; j++) {
        e[j] /= h;
        f += e[j] * d[j];
      }
      const double hh = f / (h + h);
      for (int j = 0; j < i; j++) e[j] -= hh * d[j];
      for (int j = 0; j < i; j++) {
        f = d[j];
        g = e[j];
        for (int k = j; k <= i - 1; k++) V[k][j] -= (f * e[k] + g * d[k]);
        d[j] = V[i - 1][j];
        V[i][j] = 0.0;
      }
    }
    d[i] = h;
  }

  // Accumulate the transformations.
  for (int i = 0; i < N - 1; i++) {
    V[N - 1][i] = V[i][i];
    V[i][i] = 1.0;
    const double h = d[i + 1];
    if (h != 0.0) {
      for (int k = 0; k <= i; k++) d[k] = V[k][i + 1] / h;
      for (int j = 0; j <= i; j++) {
        double g = 0.0;
        for (int k = 0; k <= i; k++) g += V[k][i + 1] * V[k][j];
        for (int k = 0; k <= i; k++) V[k][j] -= g * d[k];
      }
    }
    for (int k = 0; k <= i; k++) V[k][i + 1] = 0.0;
  }
  for (int j = 0; j < N; j++) {
    d[j] = V[N - 1][j];
    V[N - 1][j] = 0.0;
  }
  V[N - 1][N - 1] = 1.0;
  e[0] = 0.0;
}

// Diagonalises the tridiagonal matrix (d, e) by QL with implicit shifts,
// rotating V along, then sorts eigenvalues and vectors in ascending order.
void tql2(double V[N][N], double d[N], double e[N]) {
  for (int i = 1; i < N; i++) e[i - 1] = e[i];
  e[N - 1] = 0.0;

  double f = 0.0;
  double tst1 = 0.0;
  const double eps = 2.220446049250313e-16;
  // Convergence is normally reached in two or three rounds; the cap only
  // guards against non-finite input keeping the loop alive.
  const int max_rounds = 100;

  for (int l = 0; l < N; l++) {
    tst1 = fmax(tst1, fabs(d[l]) + fabs(e[l]));
    int m = l;
    while (m < N - 1) {
      if (fabs(e[m]) <= eps * tst1) break;
      m++;
    }

    if (m > l) {
      int rounds = 0;
      do {
        // Implicit shift from the leading 2 by 2 block.
        double g = d[l];
        double p = (d[l + 1] - g) / (2.0 * e[l]);
        double r = length2(p, 1.0);
        if (p < 0) r = -r;
        d[l] = e[l] / (p + r);
        d[l + 1] = e[l] * (p + r);
        const double dl1 = d[l + 1];
        double h = g - d[l];
        for (int i = l + 2; i < N; i++) d[i] -= h;
        f += h;

        // QL transformation as a sequence of plane rotations.
        p = d[m];
        double c = 1.0, c2 = c, c3 = c;
        const double el1 = e[l + 1];
        double s = 0.0, s2 = 0.0;
        for (int i = m - 1; i >= l; i--) {
          c3 = c2;
          c2 = c;
          s2 = s;
          g = c * e[i];
          h = c * p;
          r = length2(p, e[i]);
          e[i + 1] = s * r;
          s = e[i] / r;
          c = p / r;
          p = c * d[i] - s * g;
          d[i + 1] = h + s * (c * g + s * d[i]);
          for (int k = 0; k < N; k++) {
            h = V[k][i + 1];
            V[k][i + 1] = s * V[k][i] + c * h;
            V[k][i] = c * V[k][i] - s * h;
          }
        }
        p = -s * s2 * c3 * el1 * e[l] / dl1;
        e[l] = s * p;
        d[l] = c * p;
      } while (fabs(e[l]) > eps * tst1 && ++rounds < max_rounds);
    }
    d[l] += f;
    e[l] = 0.0;
  }

  // Selection sort, ascending, moving the vectors along.
  for (int i = 0; i < N - 1; i++) {
    int k = i;
    double p = d[i];
    for (int j = i + 1; j < N; j++) {
      if (d[j] < p) {
        k = j;
        p = d[j];
      }
    }
    if (k != i) {
      d[k] = d[i];
      d[i] = p;
      for (int j = 0; j < N; j++) {
        const double t = V[j][i];
        V[j][i] = V[j][k];
        V[j][k] = t;
      }
    }
  }
}

}  // namespace

void eigen_decomposition(double A[3][3], double V[3][3], double d[3]) {
  double e[N];
  for (int i = 0; i < N; i++)
    for (int j = 0; j < N; j++) V[i][j] = A[i][j];
  tred2(V, d, e);
  tql2(V, d, e);
}
