// The Levenberg-Marquardt minimiser: lmdif of MINPACK with its subordinate
// routines, in column-major storage and zero-based indices. Every loop is
// bounded by its counts, the damping search by 10 rounds and the whole run by
// the evaluation limit, so residuals that turn NaN cannot make it run on.
#include <cmath>

#include "zor_curve_fit.h"

namespace {

constexpr double kMachineEpsilon = 2.220446049250313e-16;
constexpr double kSmallest = 2.2250738585072014e-308;
constexpr double kSmallComponent = 1.4916681462400413e-154;
constexpr double kLargeComponent = 1.3407807929942596e+154;

// Step control of lmdif.
constexpr double p1 = 0.1, p25 = 0.25, p5 = 0.5, p75 = 0.75, p0001 = 1.0e-4;

inline double square(double v) { return v * v; }
inline double larger(double a, double b) { return a > b ? a : b; }
inline double smaller(double a, double b) { return a < b ? a : b; }

}  // namespace

double lm_enorm(int n, const double *x) {
  double s1 = 0.0, s2 = 0.0, s3 = 0.0, x1max = 0.0, x3max = 0.0;
  const double agiant = kLargeComponent / n;
  for (int i = 0; i < n; i++) {
    const double xabs = std::fabs(x[i]);
    if (xabs > kSmallComponent && xabs < agiant) {
      s2 += xabs * xabs;
    } else if (xabs > kSmallComponent) {
      if (xabs > x1max) {
        s1 = 1.0 + s1 * square(x1max / xabs);
        x1max = xabs;
      } else {
        s1 += square(xabs / x1max);
      }
    } else if (xabs > x3max) {
      s3 = 1.0 + s3 * square(x3max / xabs);
      x3max = xabs;
    } else if (xabs != 0.0) {
      s3 += square(xabs / x3max);
    }
  }
  if (s1 != 0.0) return x1max * std::sqrt(s1 + (s2 / x1max) / x1max);
  if (s2 != 0.0) {
    const double t = s2 >= x3max ? s2 * (1.0 + (x3max / s2) * (x3max * s3))
                                 : x3max * ((s2 / x3max) + (x3max * s3));
    return std::sqrt(t);
  }
  return x3max * std::sqrt(s3);
}

void lm_qrfac(int m, int n, double *a, int pivot, int *ipvt, double *rdiag, double *acnorm,
              double *wa) {
  for (int j = 0; j < n; j++) {
    acnorm[j] = lm_enorm(m, &a[j * m]);
    rdiag[j] = acnorm[j];
    wa[j] = rdiag[j];
    if (pivot) ipvt[j] = j;
  }
  const int minmn = m < n ? m : n;
  for (int j = 0; j < minmn; j++) {
    if (pivot) {
      // The column of largest remaining norm goes to position j.
      int kmax = j;
      for (int k = j; k < n; k++)
        if (rdiag[k] > rdiag[kmax]) kmax = k;
      if (kmax != j) {
        for (int i = 0; i < m; i++) {
          const double t = a[j * m + i];
          a[j * m + i] = a[kmax * m + i];
          a[kmax * m + i] = t;
        }
        rdiag[kmax] = rdiag[j];
        wa[kmax] = wa[j];
        const int k = ipvt[j];
        ipvt[j] = ipvt[kmax];
        ipvt[kmax] = k;
      }
    }
    // The Householder transformation that zeroes column j below the diagonal.
    double ajnorm = lm_enorm(m - j, &a[j * m + j]);
    if (ajnorm != 0.0) {
      if (a[j * m + j] < 0.0) ajnorm = -ajnorm;
      for (int i = j; i < m; i++) a[j * m + i] /= ajnorm;
      a[j * m + j] += 1.0;
      for (int k = j + 1; k < n; k++) {
        double sum = 0.0;
        for (int i = j; i < m; i++) sum += a[j * m + i] * a[k * m + i];
        const double t = sum / a[j * m + j];
        for (int i = j; i < m; i++) a[k * m + i] -= t * a[j * m + i];
        if (pivot && rdiag[k] != 0.0) {
          const double r = a[k * m + j] / rdiag[k];
          rdiag[k] *= std::sqrt(larger(0.0, 1.0 - r * r));
          if (0.05 * square(rdiag[k] / wa[k]) <= kMachineEpsilon) {
            rdiag[k] = lm_enorm(m - j - 1, &a[k * m + j + 1]);
            wa[k] = rdiag[k];
          }
        }
      }
    }
    rdiag[j] = -ajnorm;
  }
}

void lm_qrsolv(int n, double *r, int ldr, int *ipvt, double *diag, double *qtb, double *x,
               double *sdiag, double *wa) {
  // Copy R and Qᵀb; the diagonal of R is kept in x.
  for (int j = 0; j < n; j++) {
    for (int i = j; i < n; i++) r[j * ldr + i] = r[i * ldr + j];
    x[j] = r[j * ldr + j];
    wa[j] = qtb[j];
  }
  // Eliminate the diagonal matrix D by Givens rotations.
  for (int j = 0; j < n; j++) {
    const int l = ipvt[j];
    if (diag[l] != 0.0) {
      for (int k = j; k < n; k++) sdiag[k] = 0.0;
      sdiag[j] = diag[l];
      double qtbpj = 0.0;
      for (int k = j; k < n; k++) {
        if (sdiag[k] == 0.0) continue;
        const int kk = k * ldr + k;
        double sn, cs;
        if (std::fabs(r[kk]) < std::fabs(sdiag[k])) {
          const double cotan = r[kk] / sdiag[k];
          sn = p5 / std::sqrt(p25 + p25 * square(cotan));
          cs = sn * cotan;
        } else {
          const double tn = sdiag[k] / r[kk];
          cs = p5 / std::sqrt(p25 + p25 * square(tn));
          sn = cs * tn;
        }
        r[kk] = cs * r[kk] + sn * sdiag[k];
        const double t = cs * wa[k] + sn * qtbpj;
        qtbpj = -sn * wa[k] + cs * qtbpj;
        wa[k] = t;
        for (int i = k + 1; i < n; i++) {
          const double u = cs * r[k * ldr + i] + sn * sdiag[i];
          sdiag[i] = -sn * r[k * ldr + i] + cs * sdiag[i];
          r[k * ldr + i] = u;
        }
      }
    }
    sdiag[j] = r[j * ldr + j];
    r[j * ldr + j] = x[j];
  }
  // Solve the triangular system; a singular one gets a least-squares solution.
  int nsing = n;
  for (int j = 0; j < n; j++) {
    if (sdiag[j] == 0.0 && nsing == n) nsing = j;
    if (nsing < n) wa[j] = 0.0;
  }
  for (int j = nsing - 1; j >= 0; j--) {
    double sum = 0.0;
    for (int i = j + 1; i < nsing; i++) sum += r[j * ldr + i] * wa[i];
    wa[j] = (wa[j] - sum) / sdiag[j];
  }
  for (int j = 0; j < n; j++) x[ipvt[j]] = wa[j];
}

void lm_lmpar(int n, double *r, int ldr, int *ipvt, double *diag, double *qtb, double delta,
              double *par, double *x, double *sdiag, double *wa1, double *wa2) {
  // The Gauss-Newton direction; a rank-deficient R gets a least-squares one.
  int nsing = n;
  for (int j = 0; j < n; j++) {
    wa1[j] = qtb[j];
    if (r[j * ldr + j] == 0.0 && nsing == n) nsing = j;
    if (nsing < n) wa1[j] = 0.0;
  }
  for (int j = nsing - 1; j >= 0; j--) {
    wa1[j] /= r[j * ldr + j];
    const double t = wa1[j];
    for (int i = 0; i < j; i++) wa1[i] -= r[j * ldr + i] * t;
  }
  for (int j = 0; j < n; j++) x[ipvt[j]] = wa1[j];

  for (int j = 0; j < n; j++) wa2[j] = diag[j] * x[j];
  double dxnorm = lm_enorm(n, wa2);
  double fp = dxnorm - delta;
  if (fp <= p1 * delta) {
    *par = 0.0;
    return;
  }

  // Lower bound of the parameter, when R has full rank.
  double parl = 0.0;
  if (nsing >= n) {
    for (int j = 0; j < n; j++) {
      const int l = ipvt[j];
      wa1[j] = diag[l] * (wa2[l] / dxnorm);
    }
    for (int j = 0; j < n; j++) {
      double sum = 0.0;
      for (int i = 0; i < j; i++) sum += r[j * ldr + i] * wa1[i];
      wa1[j] = (wa1[j] - sum) / r[j * ldr + j];
    }
    const double t = lm_enorm(n, wa1);
    parl = ((fp / delta) / t) / t;
  }

  // Upper bound.
  for (int j = 0; j < n; j++) {
    double sum = 0.0;
    for (int i = 0; i <= j; i++) sum += r[j * ldr + i] * qtb[i];
    wa1[j] = sum / diag[ipvt[j]];
  }
  const double gnorm = lm_enorm(n, wa1);
  double paru = gnorm / delta;
  if (paru == 0.0) paru = kSmallest / smaller(delta, p1);

  *par = larger(*par, parl);
  *par = smaller(*par, paru);
  if (*par == 0.0) *par = gnorm / dxnorm;

  for (int iter = 1;; iter++) {
    if (*par == 0.0) *par = larger(kSmallest, 0.001 * paru);
    const double root = std::sqrt(*par);
    for (int j = 0; j < n; j++) wa1[j] = root * diag[j];
    lm_qrsolv(n, r, ldr, ipvt, wa1, qtb, x, sdiag, wa2);
    for (int j = 0; j < n; j++) wa2[j] = diag[j] * x[j];
    dxnorm = lm_enorm(n, wa2);
    const double previous = fp;
    fp = dxnorm - delta;
    // Close enough to the bound, or a lower bound of 0 and a step that only
    // shrinks, or ten rounds.
    if (std::fabs(fp) <= p1 * delta || (parl == 0.0 && fp <= previous && previous < 0.0) ||
        iter == 10)
      return;

    // Newton correction.
    for (int j = 0; j < n; j++) {
      const int l = ipvt[j];
      wa1[j] = diag[l] * (wa2[l] / dxnorm);
    }
    for (int j = 0; j < n; j++) {
      wa1[j] /= sdiag[j];
      const double t = wa1[j];
      for (int i = j + 1; i < n; i++) wa1[i] -= r[j * ldr + i] * t;
    }
    const double t = lm_enorm(n, wa1);
    const double parc = ((fp / delta) / t) / t;
    if (fp > 0.0) parl = larger(parl, *par);
    if (fp < 0.0) paru = smaller(paru, *par);
    *par = larger(parl, *par + parc);
  }
}

void lm_lmdif(int m, int n, double *x, double *fvec, double ftol, double xtol, double gtol,
              int maxfev, double epsfcn, double *diag, int mode, double factor, int *info,
              int *nfev, double *fjac, int *ipvt, double *qtf, double *wa1, double *wa2,
              double *wa3, double *wa4, lm_evaluate_ftype *evaluate, lm_print_ftype *printout,
              void *data) {
  (void)printout;
  *info = 0;
  *nfev = 0;
  if (n <= 0 || m < n || ftol < 0.0 || xtol < 0.0 || gtol < 0.0 || maxfev <= 0 ||
      !(factor > 0.0))
    return;
  if (mode == 2)
    for (int j = 0; j < n; j++)
      if (diag[j] <= 0.0) return;

  int iflag = 0;
  evaluate(x, m, fvec, data, &iflag);
  *nfev = 1;
  if (iflag < 0) {
    *info = iflag;
    return;
  }
  double fnorm = lm_enorm(m, fvec);
  const double eps = std::sqrt(larger(epsfcn, kMachineEpsilon));
  double par = 0.0, delta = 0.0, xnorm = 0.0;

  for (int iter = 1;;) {
    // Forward-difference Jacobian.
    for (int j = 0; j < n; j++) {
      const double temp = x[j];
      double h = eps * std::fabs(temp);
      if (h == 0.0) h = eps;
      x[j] = temp + h;
      iflag = 0;
      evaluate(x, m, wa4, data, &iflag);
      (*nfev)++;
      x[j] = temp;
      if (iflag < 0) {
        *info = iflag;
        return;
      }
      for (int i = 0; i < m; i++) fjac[j * m + i] = (wa4[i] - fvec[i]) / h;
    }

    lm_qrfac(m, n, fjac, 1, ipvt, wa1, wa2, wa3);

    // On the first round: scaling from the column norms and the step bound.
    if (iter == 1) {
      if (mode != 2)
        for (int j = 0; j < n; j++) diag[j] = wa2[j] == 0.0 ? 1.0 : wa2[j];
      for (int j = 0; j < n; j++) wa3[j] = diag[j] * x[j];
      xnorm = lm_enorm(n, wa3);
      delta = factor * xnorm;
      if (delta == 0.0) delta = factor;
    }

    // Qᵀ fvec, the first n components in qtf.
    for (int i = 0; i < m; i++) wa4[i] = fvec[i];
    for (int j = 0; j < n; j++) {
      const double diagonal = fjac[j * m + j];
      if (diagonal != 0.0) {
        double sum = 0.0;
        for (int i = j; i < m; i++) sum += fjac[j * m + i] * wa4[i];
        const double t = -sum / diagonal;
        for (int i = j; i < m; i++) wa4[i] += fjac[j * m + i] * t;
      }
      fjac[j * m + j] = wa1[j];
      qtf[j] = wa4[j];
    }

    // Norm of the scaled gradient.
    double gnorm = 0.0;
    if (fnorm != 0.0) {
      for (int j = 0; j < n; j++) {
        const int l = ipvt[j];
        if (wa2[l] == 0.0) continue;
        double sum = 0.0;
        for (int i = 0; i <= j; i++) sum += fjac[j * m + i] * (qtf[i] / fnorm);
        gnorm = larger(gnorm, std::fabs(sum / wa2[l]));
      }
    }
    if (gnorm <= gtol) *info = 4;
    if (*info != 0) return;

    if (mode != 2)
      for (int j = 0; j < n; j++) diag[j] = larger(diag[j], wa2[j]);

    for (;;) {
      lm_lmpar(n, fjac, m, ipvt, diag, qtf, delta, &par, wa1, wa2, wa3, wa4);
      for (int j = 0; j < n; j++) {
        wa1[j] = -wa1[j];
        wa2[j] = x[j] + wa1[j];
        wa3[j] = diag[j] * wa1[j];
      }
      const double pnorm = lm_enorm(n, wa3);
      if (iter == 1) delta = smaller(delta, pnorm);

      iflag = 0;
      evaluate(wa2, m, wa4, data, &iflag);
      (*nfev)++;
      if (iflag < 0) {
        *info = iflag;
        return;
      }
      const double fnorm1 = lm_enorm(m, wa4);

      // Actual and predicted reductions, and their ratio.
      double actred = -1.0;
      if (p1 * fnorm1 < fnorm) actred = 1.0 - square(fnorm1 / fnorm);
      for (int j = 0; j < n; j++) {
        wa3[j] = 0.0;
        const double t = wa1[ipvt[j]];
        for (int i = 0; i <= j; i++) wa3[i] += fjac[j * m + i] * t;
      }
      const double temp1 = lm_enorm(n, wa3) / fnorm;
      const double temp2 = std::sqrt(par) * pnorm / fnorm;
      const double prered = temp1 * temp1 + temp2 * temp2 / p5;
      const double dirder = -(temp1 * temp1 + temp2 * temp2);
      const double ratio = prered != 0.0 ? actred / prered : 0.0;

      // Update the step bound.
      if (ratio <= p25) {
        double t = actred >= 0.0 ? p5 : p5 * dirder / (dirder + p5 * actred);
        if (p1 * fnorm1 >= fnorm || t < p1) t = p1;
        delta = t * smaller(delta, pnorm / p1);
        par /= t;
      } else if (par == 0.0 || ratio >= p75) {
        delta = pnorm / p5;
        par *= p5;
      }

      // A successful step moves x.
      if (ratio >= p0001) {
        for (int j = 0; j < n; j++) {
          x[j] = wa2[j];
          wa2[j] = diag[j] * x[j];
        }
        for (int i = 0; i < m; i++) fvec[i] = wa4[i];
        xnorm = lm_enorm(n, wa2);
        fnorm = fnorm1;
        iter++;
      }

      // Convergence, then the limits.
      const bool small_reduction = std::fabs(actred) <= ftol && prered <= ftol && p5 * ratio <= 1.0;
      if (small_reduction) *info = 1;
      if (delta <= xtol * xnorm) *info = small_reduction ? 3 : 2;
      if (*info != 0) return;
      if (*nfev >= maxfev) *info = 5;
      if (std::fabs(actred) <= kMachineEpsilon && prered <= kMachineEpsilon && p5 * ratio <= 1.0)
        *info = 6;
      if (delta <= kMachineEpsilon * xnorm) *info = 7;
      if (gnorm <= kMachineEpsilon) *info = 8;
      if (*info != 0) return;
      if (ratio >= p0001) break;
    }
  }
}
