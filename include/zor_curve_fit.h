// Nonlinear least squares: a Levenberg-Marquardt minimiser in the manner of
// MINPACK's lmdif (forward-difference Jacobian, scaling from the Jacobian's
// column norms), a small driver around it for y = f(x, p) models, and the
// two point-spread fits of the image actions. Every nonlinear fit of the
// program goes through lm_minimize. Nothing here keeps state between calls,
// so separate threads may each run their own fits.
#ifndef ZOR_CURVE_FIT_H
#define ZOR_CURVE_FIT_H

struct lm_control_type {
  double ftol;       // relative tolerance on the sum of squares
  double xtol;       // relative tolerance on the parameters
  double gtol;       // orthogonality tolerance
  double epsilon;    // relative error of the function, for the difference Jacobian
  double stepbound;  // factor of the initial step bound
  double fnorm;      // out: norm of the residual
  int maxcall;       // evaluations allowed: maxcall * (number of parameters + 1)
  int nfev;          // out: evaluations made
  int info;          // out: status, index of lm_shortmsg and lm_infmsg
};

// The caller's data for lm_evaluate_default.
struct lm_data_type {
  double *user_x;
  double *user_y;
  double (*user_func)(double x, double *p);
};

// Residuals at `par` into fvec; a negative *info asks the minimiser to stop.
typedef void(lm_evaluate_ftype)(double *par, int m_dat, double *fvec, void *data, int *info);
// A progress report; the minimiser makes no report calls.
typedef void(lm_print_ftype)(int n_par, double *par, int m_dat, double *fvec, void *data, int iflag,
                             int iter, int nfev);

// Status texts by `info`, 0 to 10.
extern const char *lm_infmsg[];
extern const char *lm_shortmsg[];

// Tolerances 30 machine epsilons, step bound 100, 100 calls per parameter.
void lm_initialize_control(lm_control_type *control);
// Fits n_par parameters (start values in `par`, results out) to m_dat
// residuals. Sets control->info, nfev and fnorm.
void lm_minimize(int m_dat, int n_par, double *par, lm_evaluate_ftype *evaluate,
                 lm_print_ftype *printout, void *data, lm_control_type *control);
// fvec[i] = user_y[i] - user_func(user_x[i], par) for `data` an lm_data_type.
void lm_evaluate_default(double *par, int m_dat, double *fvec, void *data, int *info);
// Prints the parameters and the residual norm.
void lm_print_default(int n_par, double *par, int m_dat, double *fvec, void *data, int iflag,
                      int iter, int nfev);
// Prints nothing.
void lm_print_maps(int n_par, double *par, int m_dat, double *fvec, void *data, int iflag,
                   int iter, int nfev);

// The minimiser proper and its subordinate routines. Matrices are column
// major: entry (i, j) of an m by n matrix is at [j * m + i] (ldr for r).
// Indices in ipvt start at 0. Work arrays as in lm_minimize.
void lm_lmdif(int m, int n, double *x, double *fvec, double ftol, double xtol, double gtol,
              int maxfev, double epsfcn, double *diag, int mode, double factor, int *info,
              int *nfev, double *fjac, int *ipvt, double *qtf, double *wa1, double *wa2,
              double *wa3, double *wa4, lm_evaluate_ftype *evaluate, lm_print_ftype *printout,
              void *data);
void lm_lmpar(int n, double *r, int ldr, int *ipvt, double *diag, double *qtb, double delta,
              double *par, double *x, double *sdiag, double *wa1, double *wa2);
void lm_qrfac(int m, int n, double *a, int pivot, int *ipvt, double *rdiag, double *acnorm,
              double *wa);
void lm_qrsolv(int n, double *r, int ldr, int *ipvt, double *diag, double *qtb, double *x,
               double *sdiag, double *wa);
double lm_enorm(int n, const double *x);

// Point-spread fits over npoints samples, p = (amp, center, width): start
// values in, results out. Each prints its status and returns 0.
double func_gaussian(double x, double *p);    // p0 exp(-(x-p1)^2 / 2 / p2 / p2)
double func_1_over_r2(double x, double *p);   // p0 p2^2 / (p2^2 + (x-p1)^2)
int fit_gaussian(int npoints, double *x, double *y, float *center, float *amp, float *width);
int fit_1_over_r2(int npoints, double *x, double *y, float *center, float *amp, float *width);

#endif
