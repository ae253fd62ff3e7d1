// Eigen decomposition of a symmetric 3 by 3 matrix: Householder reduction to
// tridiagonal form (tred2), then QL iterations with implicit shifts (tql2),
// following the classic EISPACK routines of those names for a fixed order.
#include <cmath>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

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

// Two (or four) decompositions side by side, one to each lane of a vector
// of doubles: every step of tred2 and tql2 above, operation for operation,
// so each lane gets exactly the values its own decomposition gets; the long
// chains of square roots and divisions then run at once. A lane whose QL
// rounds are done, or whose rotation has not yet begun, keeps its values
// (each step's result is taken only for the lanes it belongs to). Where the
// lanes would branch apart in the reduction, each is decomposed alone.
namespace {

// Four lanes are two pairs for the compiler when the processor's vectors
// hold two doubles; the values are the same either way.
#pragma GCC diagnostic ignored "-Wpsabi"
template <int L>
struct lane_types;
template <>
struct lane_types<2> {
  typedef double vd __attribute__((vector_size(16)));
  typedef long long vm __attribute__((vector_size(16)));
};
template <>
struct lane_types<4> {
  typedef double vd __attribute__((vector_size(32)));
  typedef long long vm __attribute__((vector_size(32)));
};

template <int L>
struct Lanes {
  typedef typename lane_types<L>::vd vd;
  typedef typename lane_types<L>::vm vm;

  static vd all(double x) {
    vd v;
    for (int k = 0; k < L; k++) v[k] = x;
    return v;
  }
  static vd take(vm m, vd a, vd b) { return (vd)(((vm)a & m) | ((vm)b & ~m)); }
  static vd vabs(vd x) { return (vd)((vm)x & ~(vm)all(-0.0)); }
  // The processor's square root, pair by pair: the correctly rounded value
  // that sqrt gives.
  static vd vsqrt(vd x) {
#if defined(__SSE2__)
    for (int k = 0; k < L; k += 2) {
      __m128d h;
      memcpy(&h, (const char *)&x + 8 * k, sizeof h);
      h = _mm_sqrt_pd(h);
      memcpy((char *)&x + 8 * k, &h, sizeof h);
    }
#else
    for (int k = 0; k < L; k++) x[k] = sqrt(x[k]);
#endif
    return x;
  }
  static vd vlength(vd x, vd y) { return vsqrt(x * x + y * y); }
  static vm mask(const bool *b) {
    vm m;
    for (int k = 0; k < L; k++) m[k] = b[k] ? -1LL : 0LL;
    return m;
  }
  // 1 when the mask holds in every lane, 0 in none, -1 when they differ.
  static int agree(vm m) {
    int set = 0;
    for (int k = 0; k < L; k++) set += m[k] != 0;
    return set == L ? 1 : (set == 0 ? 0 : -1);
  }

  static bool tred2(vd V[N][N], vd d[N], vd e[N]) {
    for (int j = 0; j < N; j++) d[j] = V[N - 1][j];

    for (int i = N - 1; i > 0; i--) {
      vd scale = all(0.0);
      vd h = all(0.0);
      for (int k = 0; k < i; k++) scale += vabs(d[k]);

      const int reduced = agree(scale == 0.0);
      if (reduced < 0) return false;
      if (reduced) {
        e[i] = d[i - 1];
        for (int j = 0; j < i; j++) {
          d[j] = V[i - 1][j];
          V[i][j] = all(0.0);
          V[j][i] = all(0.0);
        }
      } else {
        for (int k = 0; k < i; k++) {
          d[k] /= scale;
          h += d[k] * d[k];
        }
        vd f = d[i - 1];
        vd g = vsqrt(h);
        g = take(f > 0.0, -g, g);
        e[i] = scale * g;
        h -= f * g;
        d[i - 1] = f - g;
        for (int j = 0; j < i; j++) e[j] = all(0.0);

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
        f = all(0.0);
        for (int j = 0; j < i; j++) {
          e[j] /= h;
          f += e[j] * d[j];
        }
        const vd hh = f / (h + h);
        for (int j = 0; j < i; j++) e[j] -= hh * d[j];
        for (int j = 0; j < i; j++) {
          f = d[j];
          g = e[j];
          for (int k = j; k <= i - 1; k++) V[k][j] -= (f * e[k] + g * d[k]);
          d[j] = V[i - 1][j];
          V[i][j] = all(0.0);
        }
      }
      d[i] = h;
    }

    for (int i = 0; i < N - 1; i++) {
      V[N - 1][i] = V[i][i];
      V[i][i] = all(1.0);
      const vd h = d[i + 1];
      const int nonzero = agree(h != 0.0);
      if (nonzero < 0) return false;
      if (nonzero) {
        for (int k = 0; k <= i; k++) d[k] = V[k][i + 1] / h;
        for (int j = 0; j <= i; j++) {
          vd g = all(0.0);
          for (int k = 0; k <= i; k++) g += V[k][i + 1] * V[k][j];
          for (int k = 0; k <= i; k++) V[k][j] -= g * d[k];
        }
      }
      for (int k = 0; k <= i; k++) V[k][i + 1] = all(0.0);
    }
    for (int j = 0; j < N; j++) {
      d[j] = V[N - 1][j];
      V[N - 1][j] = all(0.0);
    }
    V[N - 1][N - 1] = all(1.0);
    e[0] = all(0.0);
    return true;
  }

  static void tql2(vd V[N][N], vd d[N], vd e[N]) {
    for (int i = 1; i < N; i++) e[i - 1] = e[i];
    e[N - 1] = all(0.0);

    vd f = all(0.0);
    double tst1[L];
    for (int k = 0; k < L; k++) tst1[k] = 0.0;
    const double eps = 2.220446049250313e-16;
    const int max_rounds = 100;

    for (int l = 0; l < N; l++) {
      int m[L], rounds[L];
      bool active[L];
      bool any = false;
      for (int k = 0; k < L; k++) {
        tst1[k] = fmax(tst1[k], fabs(d[l][k]) + fabs(e[l][k]));
        m[k] = l;
        while (m[k] < N - 1) {
          if (fabs(e[m[k]][k]) <= eps * tst1[k]) break;
          m[k]++;
        }
        active[k] = m[k] > l;
        rounds[k] = 0;
        any = any || active[k];
      }
      while (any) {
        const vm act = mask(active);
        int top = l;
        for (int k = 0; k < L; k++)
          if (m[k] > top) top = m[k];
        vd g = d[l];
        vd p = (d[l + 1] - g) / (2.0 * e[l]);
        vd r = vlength(p, all(1.0));
        r = take(p < 0.0, -r, r);
        d[l] = take(act, e[l] / (p + r), d[l]);
        d[l + 1] = take(act, e[l] * (p + r), d[l + 1]);
        const vd dl1 = d[l + 1];
        vd h = g - d[l];
        for (int i = l + 2; i < N; i++) d[i] = take(act, d[i] - h, d[i]);
        f = take(act, f + h, f);

        for (int k = 0; k < L; k++) p[k] = d[m[k]][k];
        vd c = all(1.0), c2 = c, c3 = c;
        const vd el1 = e[l + 1];
        vd s = all(0.0), s2 = all(0.0);
        for (int i = top - 1; i >= l; i--) {
          // The rotation of lane k runs from its own m - 1 down.
          bool from[L];
          for (int k = 0; k < L; k++) from[k] = i <= m[k] - 1;
          const vm on = act & mask(from);
          const vd c3n = c2, c2n = c, s2n = s;
          const vd gn = c * e[i];
          const vd hn = c * p;
          const vd rn = vlength(p, e[i]);
          e[i + 1] = take(on, s * rn, e[i + 1]);
          const vd sn = e[i] / rn;
          const vd cn = p / rn;
          const vd pn = cn * d[i] - sn * gn;
          d[i + 1] = take(on, hn + sn * (cn * gn + sn * d[i]), d[i + 1]);
          for (int k = 0; k < N; k++) {
            const vd hv = V[k][i + 1];
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
        any = false;
        for (int k = 0; k < L; k++) {
          if (active[k]) active[k] = fabs(e[l][k]) > eps * tst1[k] && ++rounds[k] < max_rounds;
          any = any || active[k];
        }
      }
      d[l] += f;
      e[l] = all(0.0);
    }
  }

  // A[k], V[k], d[k] for the lanes k.
  static void decompose(double (*const A[L])[3], double (*const V[L])[3], double *const d[L]) {
    vd W[N][N], dd[N], e[N];
    for (int i = 0; i < N; i++)
      for (int j = 0; j < N; j++)
        for (int k = 0; k < L; k++) W[i][j][k] = A[k][i][j];
    if (!tred2(W, dd, e)) {
      for (int k = 0; k < L; k++) eigen_decomposition(A[k], V[k], d[k]);
      return;
    }
    tql2(W, dd, e);
    for (int k = 0; k < L; k++) {
      for (int i = 0; i < N; i++) {
        d[k][i] = dd[i][k];
        for (int j = 0; j < N; j++) V[k][i][j] = W[i][j][k];
      }
      sort_ascending(V[k], d[k]);
    }
  }
};

}  // namespace

void eigen_decomposition_pair(double A0[3][3], double A1[3][3], double V0[3][3], double V1[3][3], double d0[3],
                              double d1[3]) {
  double (*const A[2])[3] = {A0, A1};
  double (*const V[2])[3] = {V0, V1};
  double *const d[2] = {d0, d1};
  Lanes<2>::decompose(A, V, d);
}

void eigen_decomposition_four(double (*A[4])[3], double (*V[4])[3], double *d[4]) {
  Lanes<4>::decompose(A, V, d);
}
