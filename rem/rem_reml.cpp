// The between-file variance of the group model at one voxel, by restricted
// maximum likelihood. With V = diag(se^2) + s I and W = V^-1, the fit
// b = (X'WX)^-1 X'Wy leaves the residue r = y - Xb, and
//   l(s) = -1/2 [ log det V + log det X'WX + r'Wr ],
//   dl/ds = 1/2 [ |Wr|^2 - tr P ],  E[-d2l/ds2] = 1/2 tr PP,
// with P = W - WX(X'WX)^-1X'W. The traces need only the small matrices
// G_k = X'W^kX:  tr P = sum w - tr(A G2),  tr PP = sum w^2 - 2 tr(A G3) +
// tr(A G2 A G2), A = (X'WX)^-1. Everything is in double.
#include <cmath>
#include <vector>

#include "zor_maps.h"
#include "zor_rem.h"

namespace {

struct Evaluation {
  bool ok = false;
  double loglik = 0.0, score = 0.0, information = 0.0;
};

// Cholesky factor of a symmetric positive definite p x p matrix in place
// (lower triangle); false when it is not positive definite.
bool cholesky(std::vector<double> &a, int p) {
  for (int j = 0; j < p; j++) {
    double d = a[j * p + j];
    for (int k = 0; k < j; k++) d -= a[j * p + k] * a[j * p + k];
    if (!(d > 0.0)) return false;
    d = sqrt(d);
    a[j * p + j] = d;
    for (int i = j + 1; i < p; i++) {
      double s = a[i * p + j];
      for (int k = 0; k < j; k++) s -= a[i * p + k] * a[j * p + k];
      a[i * p + j] = s / d;
    }
  }
  return true;
}

// The inverse of the matrix whose Cholesky factor is `l`.
void cholesky_inverse(const std::vector<double> &l, int p, std::vector<double> &inverse) {
  std::vector<double> e(p), x(p);
  inverse.assign((size_t)p * p, 0.0);
  for (int col = 0; col < p; col++) {
    for (int i = 0; i < p; i++) {
      double s = i == col ? 1.0 : 0.0;
      for (int k = 0; k < i; k++) s -= l[i * p + k] * e[k];
      e[i] = s / l[i * p + i];
    }
    for (int i = p - 1; i >= 0; i--) {
      double s = e[i];
      for (int k = i + 1; k < p; k++) s -= l[k * p + i] * x[k];
      x[i] = s / l[i * p + i];
    }
    for (int i = 0; i < p; i++) inverse[i * p + col] = x[i];
  }
}

Evaluation evaluate(const reml_design &d, const float *y, const float *se, double s) {
  Evaluation out;
  const int n = d.ntime, p = d.ncoeff;
  std::vector<double> w(n);
  double logdet_v = 0.0, sum_w = 0.0, sum_w2 = 0.0;
  for (int t = 0; t < n; t++) {
    const double v = (double)se[t] * se[t] + s;
    if (!(v > 0.0)) return out;
    w[t] = 1.0 / v;
    logdet_v += log(v);
    sum_w += w[t];
    sum_w2 += w[t] * w[t];
  }
  std::vector<double> g1((size_t)p * p, 0.0), g2(g1), g3(g1), b(p, 0.0);
  for (int t = 0; t < n; t++) {
    const double *x = &d.X[(size_t)t * p];
    const double w1 = w[t], w2 = w1 * w1, w3 = w2 * w1;
    for (int i = 0; i < p; i++) {
      b[i] += x[i] * w1 * y[t];
      for (int j = 0; j <= i; j++) {
        const double xx = x[i] * x[j];
        g1[i * p + j] += xx * w1;
        g2[i * p + j] += xx * w2;
        g3[i * p + j] += xx * w3;
      }
    }
  }
  for (int i = 0; i < p; i++)
    for (int j = 0; j < i; j++) {
      g1[j * p + i] = g1[i * p + j];
      g2[j * p + i] = g2[i * p + j];
      g3[j * p + i] = g3[i * p + j];
    }
  std::vector<double> l = g1, a;
  if (p > 0 && !cholesky(l, p)) return out;
  double logdet_a = 0.0;
  for (int i = 0; i < p; i++) logdet_a += 2.0 * log(l[i * p + i]);
  cholesky_inverse(l, p, a);
  std::vector<double> beta(p, 0.0);
  for (int i = 0; i < p; i++)
    for (int j = 0; j < p; j++) beta[i] += a[i * p + j] * b[j];
  double rwr = 0.0, pyy = 0.0;
  for (int t = 0; t < n; t++) {
    double fit = 0.0;
    for (int c = 0; c < p; c++) fit += d.X[(size_t)t * p + c] * beta[c];
    const double r = y[t] - fit;
    rwr += r * w[t] * r;
    pyy += (w[t] * r) * (w[t] * r);
  }
  // tr(A G2), tr(A G3), tr(A G2 A G2).
  std::vector<double> ag2((size_t)p * p, 0.0);
  double tr_ag2 = 0.0, tr_ag3 = 0.0, tr_ag2ag2 = 0.0;
  for (int i = 0; i < p; i++)
    for (int j = 0; j < p; j++) {
      double s2 = 0.0;
      for (int k = 0; k < p; k++) s2 += a[i * p + k] * g2[k * p + j];
      ag2[i * p + j] = s2;
    }
  for (int i = 0; i < p; i++) {
    tr_ag2 += ag2[i * p + i];
    for (int k = 0; k < p; k++) tr_ag3 += a[i * p + k] * g3[k * p + i];
    for (int k = 0; k < p; k++) tr_ag2ag2 += ag2[i * p + k] * ag2[k * p + i];
  }
  const double tr_p = sum_w - tr_ag2;
  const double tr_pp = sum_w2 - 2.0 * tr_ag3 + tr_ag2ag2;
  out.ok = true;
  out.loglik = -0.5 * (logdet_v + logdet_a + rwr);
  out.score = 0.5 * (pyy - tr_p);
  out.information = 0.5 * tr_pp;
  return out;
}

}  // namespace

void reml_design_from_rem(reml_design *design) {
  const int n = REM.ntime, nc = REM.ncoeff;
  std::vector<std::vector<double>> kept;  // orthonormal directions so far
  std::vector<int> columns;
  for (int c = 0; c < nc; c++) {
    std::vector<double> v(n);
    double norm0 = 0.0;
    for (int t = 0; t < n; t++) {
      v[t] = REM.X_tc[t][c];
      norm0 += v[t] * v[t];
    }
    if (norm0 == 0.0) continue;
    for (const std::vector<double> &q : kept) {
      double dot = 0.0;
      for (int t = 0; t < n; t++) dot += q[t] * v[t];
      for (int t = 0; t < n; t++) v[t] -= dot * q[t];
    }
    double norm = 0.0;
    for (int t = 0; t < n; t++) norm += v[t] * v[t];
    if (norm <= 1e-20 * norm0) continue;
    norm = sqrt(norm);
    for (int t = 0; t < n; t++) v[t] /= norm;
    kept.push_back(v);
    columns.push_back(c);
  }
  design->ntime = n;
  design->ncoeff = (int)columns.size();
  design->X.assign((size_t)n * columns.size(), 0.0);
  for (int t = 0; t < n; t++)
    for (size_t j = 0; j < columns.size(); j++) design->X[(size_t)t * columns.size() + j] = REM.X_tc[t][columns[j]];
}

double reml_log_likelihood(const reml_design *design, const float *signal, const float *sigfe, double sigma2_RE) {
  Evaluation e = evaluate(*design, signal, sigfe, sigma2_RE);
  return e.ok ? e.loglik : -INFINITY;
}

double reml_between_variance(const reml_design *design, const float *signal, const float *sigfe, int *iterations) {
  const reml_design &d = *design;
  const int n = d.ntime, p = d.ncoeff;
  if (iterations) *iterations = 0;
  if (n - p <= 0) return 0.0;
  bool any_error = false, all_errors = true;
  double mean_var = 0.0, largest_var = 0.0;
  for (int t = 0; t < n; t++) {
    const double v = (double)sigfe[t] * sigfe[t];
    if (v > 0.0) any_error = true;
    else all_errors = false;
    mean_var += v / n;
    if (v > largest_var) largest_var = v;
  }
  // The ordinary fit's residual variance: the answer when no file has an
  // error, and the start of the search otherwise.
  std::vector<float> zeros(n, 0.0f);
  Evaluation ols = evaluate(d, signal, zeros.data(), 1.0);
  if (!ols.ok) return 0.0;
  // At s = 1 with no errors, r'Wr is the residual sum of squares: from the
  // log-likelihood, l = -1/2 (0 + log det X'X + rss).
  std::vector<double> xtx((size_t)p * p, 0.0);
  for (int t = 0; t < n; t++)
    for (int i = 0; i < p; i++)
      for (int j = 0; j < p; j++) xtx[i * p + j] += d.X[(size_t)t * p + i] * d.X[(size_t)t * p + j];
  double logdet = 0.0;
  if (p > 0 && cholesky(xtx, p))
    for (int i = 0; i < p; i++) logdet += 2.0 * log(xtx[i * p + i]);
  const double rss = -2.0 * ols.loglik - logdet;
  const double residual_variance = rss > 0.0 ? rss / (n - p) : 0.0;
  if (!any_error) return residual_variance;

  // Files without an error need a variance above 0 to be weighed at all.
  const double scale = residual_variance > largest_var ? residual_variance : largest_var;
  const double low = all_errors ? 0.0 : 1e-9 * (scale > 0.0 ? scale : 1.0);
  double s = residual_variance - mean_var;
  if (s < low) s = low;
  Evaluation e = evaluate(d, signal, sigfe, s);
  if (!e.ok) return s;
  int steps = 0;
  for (; steps < 200; steps++) {
    if (!(e.information > 0.0)) break;
    double step = e.score / e.information;
    if (s <= low && step <= 0.0) break;  // the maximum is at the boundary
    bool moved = false;
    for (int half = 0; half < 60; half++) {
      double next = s + step;
      if (next < low) next = low;
      Evaluation f = evaluate(d, signal, sigfe, next);
      if (f.ok && f.loglik >= e.loglik) {
        const double change = fabs(next - s);
        s = next;
        e = f;
        moved = change > 0.0;
        if (change <= 1e-12 * (s + mean_var)) moved = false;
        break;
      }
      step *= 0.5;
    }
    if (!moved) break;
  }
  if (iterations) *iterations = steps;
  return s;
}
