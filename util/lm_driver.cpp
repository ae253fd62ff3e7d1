// The driver of the minimiser: default controls, work arrays, the status
// texts and the residuals of a y = f(x, p) model.
#include <cstdio>
#include <cstdlib>

#include "zor_curve_fit.h"

const char *lm_infmsg[] = {
    "improper input parameters",
    "the relative error in the sum of squares is at most tol",
    "the relative error between x and the solution is at most tol",
    "both errors are at most tol",
    "fvec is orthogonal to the columns of the jacobian to machine precision",
    "number of calls to fcn has reached or exceeded maxcall*(n+1)",
    "ftol is too small: no further reduction in the sum of squares is possible",
    "xtol too small: no further improvement in approximate solution x possible",
    "gtol too small: no further improvement in approximate solution x possible",
    "not enough memory",
    "break requested within function evaluation"};

const char *lm_shortmsg[] = {"invalid input", "success (f)",   "success (p)", "success (f,p)",
                             "degenerate",    "call limit",    "failed (f)",  "failed (p)",
                             "failed (o)",    "no memory",     "user break"};

void lm_initialize_control(lm_control_type *control) {
  const double tolerance = 6.661338147750939e-15;  // 30 machine epsilons
  control->maxcall = 100;
  control->epsilon = tolerance;
  control->stepbound = 100.0;
  control->ftol = tolerance;
  control->xtol = tolerance;
  control->gtol = tolerance;
}

void lm_minimize(int m_dat, int n_par, double *par, lm_evaluate_ftype *evaluate,
                 lm_print_ftype *printout, void *data, lm_control_type *control) {
  control->info = 0;
  control->nfev = 0;
  // Sizes that cannot be right are left to the input check of lm_lmdif; the
  // arrays then get one element so that nothing is read out of them.
  const size_t m = m_dat > 0 ? (size_t)m_dat : 1;
  const size_t n = n_par > 0 ? (size_t)n_par : 1;
  double *fvec = (double *)malloc(m * sizeof(double));
  double *diag = (double *)malloc(n * sizeof(double));
  double *qtf = (double *)malloc(n * sizeof(double));
  double *fjac = (double *)malloc(n * m * sizeof(double));
  double *wa1 = (double *)malloc(n * sizeof(double));
  double *wa2 = (double *)malloc(n * sizeof(double));
  double *wa3 = (double *)malloc(n * sizeof(double));
  double *wa4 = (double *)malloc(m * sizeof(double));
  int *ipvt = (int *)malloc(n * sizeof(int));
  const bool allocated = fvec && diag && qtf && fjac && wa1 && wa2 && wa3 && wa4 && ipvt;
  if (!allocated) {
    control->info = 9;
  } else {
    // The evaluation limit, kept within int range.
    const long long limit = (long long)control->maxcall * ((long long)n_par + 1);
    const int maxfev = limit > 2147483647LL ? 2147483647 : (int)limit;
    lm_lmdif(m_dat, n_par, par, fvec, control->ftol, control->xtol, control->gtol, maxfev,
             control->epsilon, diag, 1, control->stepbound, &control->info, &control->nfev, fjac,
             ipvt, qtf, wa1, wa2, wa3, wa4, evaluate, printout, data);
    control->fnorm = m_dat > 0 ? lm_enorm(m_dat, fvec) : 0.0;
    if (control->info < 0) control->info = 10;
  }
  free(fvec);
  free(diag);
  free(qtf);
  free(fjac);
  free(wa1);
  free(wa2);
  free(wa3);
  free(wa4);
  free(ipvt);
}

void lm_evaluate_default(double *par, int m_dat, double *fvec, void *data, int *info) {
  (void)info;
  const lm_data_type *d = static_cast<const lm_data_type *>(data);
  for (int i = 0; i < m_dat; i++) fvec[i] = d->user_y[i] - d->user_func(d->user_x[i], par);
}

void lm_print_default(int n_par, double *par, int m_dat, double *fvec, void *data, int iflag,
                      int iter, int nfev) {
  (void)data;
  if (iflag == 2) printf("trying step in gradient direction\n");
  else if (iflag == 1) printf("determining gradient (iteration %d)\n", iter);
  else if (iflag == 0) printf("starting minimization\n");
  else if (iflag == -1) printf("terminated after %d evaluations\n", nfev);
  printf("  par: ");
  for (int i = 0; i < n_par; i++) printf(" %12g", par[i]);
  printf(" => norm: %12g\n", lm_enorm(m_dat, fvec));
}

void lm_print_maps(int n_par, double *par, int m_dat, double *fvec, void *data, int iflag,
                   int iter, int nfev) {
  (void)n_par, (void)par, (void)m_dat, (void)fvec, (void)data, (void)iflag, (void)iter, (void)nfev;
}
