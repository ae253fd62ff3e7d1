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

// Selection sort, ascending, moving the vectors along.
void sort_ascending(double V[N][N], double d[N]) {
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

  sort_ascending(V, d);
}

}  // namespace

void eigen_decomposition(double A[3][3], double V[3][3], double d[3]) {
  double e[N];
  for (int i = 0; i < N; i++)
    for (int j = 0; j < N; j++) V[i][j] = A[i][j];
  tred2(V, d, e);
  tql2(V, d, e);
}

// Two decompositions side by side, one to each lane of a pair of doubles:
// every step of tred2 and tql2 above, operation for operation, so each lane
// gets exactly the values its own decomposition gets; the two long chains
// of square roots and divisions then run at once. A lane whose QL rounds
// are done, or whose rotation has not yet begun, keeps its values (each
// step's result is taken only for the lanes it belongs to). Where the two
// would branch apart in the reduction, both are decomposed one at a time.
namespace {

typedef double d2 __attribute__((vector_size(16)));
typedef long long m2 __attribute__((vector_size(16)));

inline d2 both(double x) { return d2{x, x}; }
inline d2 take(m2 m, d2 a, d2 b) { return (d2)(((m2)a & m) | ((m2)b & ~m)); }
inline d2 vabs(d2 x) { return (d2)((m2)x & ~(m2)both(-0.0)); }
inline d2 vsqrt(d2 x) { return d2{sqrt(x[0]), sqrt(x[1])}; }
inline d2 vlength(d2 x, d2 y) { return vsqrt(x * x + y * y); }
inline m2 lanes(bool a, bool b) { return m2{a ? -1LL : 0LL, b ? -1LL : 0LL}; }
// 1 when the mask holds in both lanes, 0 in neither, -1 when they differ.
inline int agree(m2 m) { return m[0] && m[1] ? 1 : (!m[0] && !m[1] ? 0 : -1); }

bool tred2_pair(d2 V[N][N], d2 d[N], d2 e[N]) {
  for (int j = 0; j < N; j++) d[j] = V[N - 1][j];

  for (int i = N - 1; i > 0; i--) {
    d2 scale = both(0.0);
    d2 h = both(0.0);
    for (int k = 0; k < i; k++) scale += vabs(d[k]);

    const int reduced = agree(scale == 0.0);
    if (reduced < 0) return false;
    if (reduced) {
      e[i] = d[i - 1];
      for (int j = 0; j < i; j++) {
        d[j] = V[i - 1][j];
        V[i][j] = both(0.0);
        V[j][i] = both(0.0);
      }
    } else {
      for (int k = 0; k < i; k++) {
        d[k] /= scale;
        h += d[k] * d[k];
      }
      d2 f = d[i - 1];
      d2 g = vsqrt(h);
      g = take(f > 0.0, -g, g);
      e[i] = scale * g;
      h -= f * g;
      d[i - 1] = f - g;
      for (int j = 0; j < i; j++) e[j] = both(0.0);

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
      f = both(0.0);
      for (int j = 0; j < i; j++) {
        e[j] /= h;
        f += e[j] * d[j];
      }
      const d2 hh = f / (h + h);
      for (int j = 0; j < i; j++) e[j] -= hh * d[j];
      for (int j = 0; j < i; j++) {
        f = d[j];
        g = e[j];
        for (int k = j; k <= i - 1; k++) V[k][j] -= (f * e[k] + g * d[k]);
        d[j] = V[i - 1][j];
        V[i][j] = both(0.0);
      }
    }
    d[i] = h;
  }

  for (int i = 0; i < N - 1; i++) {
    V[N - 1][i] = V[i][i];
    V[i][i] = both(1.0);
    const d2 h = d[i + 1];
    const int nonzero = agree(h != 0.0);
    if (nonzero < 0) return false;
    if (nonzero) {
      for (int k = 0; k <= i; k++) d[k] = V[k][i + 1] / h;
      for (int j = 0; j <= i; j++) {
        d2 g = both(0.0);
        for (int k = 0; k <= i; k++) g += V[k][i + 1] * V[k][j];
        for (int k = 0; k <= i; k++) V[k][j] -= g * d[k];
      }
    }
    for (int k = 0; k <= i; k++) V[k][i + 1] = both(0.0);
  }
  for (int j = 0; j < N; j++) {
    d[j] = V[N - 1][j];
    V[N - 1][j] = both(0.0);
  }
  V[N - 1][N - 1] = both(1.0);
  e[0] = both(0.0);
  return true;
}

void tql2_pair(d2 V[N][N], d2 d[N], d2 e[N]) {
  for (int i = 1; i < N; i++) e[i - 1] = e[i];
  e[N - 1] = both(0.0);

  d2 f = both(0.0);
  double tst1[2] = {0.0, 0.0};
  const double eps = 2.220446049250313e-16;
  const int max_rounds = 100;

  for (int l = 0; l < N; l++) {
    int m[2];
    bool active[2];
    int rounds[2] = {0, 0};
    for (int lane = 0; lane < 2; lane++) {
      tst1[lane] = fmax(tst1[lane], fabs(d[l][lane]) + fabs(e[l][lane]));
      m[lane] = l;
      while (m[lane] < N - 1) {
        if (fabs(e[m[lane]][lane]) <= eps * tst1[lane]) break;
        m[lane]++;
      }
      active[lane] = m[lane] > l;
    }
    while (active[0] || active[1]) {
      const m2 act = lanes(active[0], active[1]);
      const int top = m[0] > m[1] ? m[0] : m[1];
      d2 g = d[l];
      d2 p = (d[l + 1] - g) / (2.0 * e[l]);
      d2 r = vlength(p, both(1.0));
      r = take(p < 0.0, -r, r);
      d[l] = take(act, e[l] / (p + r), d[l]);
      d[l + 1] = take(act, e[l] * (p + r), d[l + 1]);
      const d2 dl1 = d[l + 1];
      d2 h = g - d[l];
      for (int i = l + 2; i < N; i++) d[i] = take(act, d[i] - h, d[i]);
      f = take(act, f + h, f);

      p = d2{d[m[0]][0], d[m[1]][1]};
      d2 c = both(1.0), c2 = c, c3 = c;
      const d2 el1 = e[l + 1];
      d2 s = both(0.0), s2 = both(0.0);
      for (int i = top - 1; i >= l; i--) {
        // The rotation of lane k runs from its own m - 1 down.
        const m2 on = act & lanes(i <= m[0] - 1, i <= m[1] - 1);
        const d2 c3n = c2, c2n = c, s2n = s;
        const d2 gn = c * e[i];
        const d2 hn = c * p;
        const d2 rn = vlength(p, e[i]);
        e[i + 1] = take(on, s * rn, e[i + 1]);
        const d2 sn = e[i] / rn;
        const d2 cn = p / rn;
        const d2 pn = cn * d[i] - sn * gn;
        d[i + 1] = take(on, hn + sn * (cn * gn + sn * d[i]), d[i + 1]);
        for (int k = 0; k < N; k++) {
          const d2 hv = V[k][i + 1];
          V[k][i + 1] = take(on, sn * V[k][i] + cn * hv, hv);
          V[k][i] = take(on, cn * V[k][i] - sn * hv, V[k][i]);
        }
        c3 = take(on, c3n, c3);
        c2 = take(on, c2n, c2);
        s2 = take(on, s2n, s2);
        g = take(on, gn, g);
        h = take(on, hn, h);
        r = take(on, rn, r);
        s = take(on, sn, s);
        c = take(on, cn, c);
        p = take(on, pn, p);
      }
      p = -s * s2 * c3 * el1 * e[l] / dl1;
      e[l] = take(act, s * p, e[l]);
      d[l] = take(act, c * p, d[l]);
      for (int lane = 0; lane < 2; lane++)
        if (active[lane]) active[lane] = fabs(e[l][lane]) > eps * tst1[lane] && ++rounds[lane] < max_rounds;
    }
    d[l] += f;
    e[l] = both(0.0);
  }
}

}  // namespace

void eigen_decomposition_pair(double A0[3][3], double A1[3][3], double V0[3][3], double V1[3][3], double d0[3],
                              double d1[3]) {
  d2 V[N][N], d[N], e[N];
  for (int i = 0; i < N; i++)
    for (int j = 0; j < N; j++) V[i][j] = d2{A0[i][j], A1[i][j]};
  if (!tred2_pair(V, d, e)) {
    eigen_decomposition(A0, V0, d0);
    eigen_decomposition(A1, V1, d1);
    return;
  }
  tql2_pair(V, d, e);
  for (int i = 0; i < N; i++) {
    d0[i] = d[i][0];
    d1[i] = d[i][1];
    for (int j = 0; j < N; j++) {
      V0[i][j] = V[i][j][0];
      V1[i][j] = V[i][j][1];
    }
  }
  sort_ascending(V0, d0);
  sort_ascending(V1, d1);
}
