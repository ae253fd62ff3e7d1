// The steps of a dynamic build, fit and test written over explicit arrays,
// so that the engine's own record and the per-thread copies of a
// whole-volume fit run the very same arithmetic.
#ifndef ZOR_SRTM_DESIGN_CORE_H
#define ZOR_SRTM_DESIGN_CORE_H

#include "zor_srtm.h"

// The smoothing polynomial of one run: design and weighted pseudo-inverse,
// as the polynomial model of the curve-fitting kit builds them.
struct srtm_run_polynomial {
  int nt, order;
  float **X, **Pinv;
  float *Beta;
};

// Everything a dynamic build and its fit write.
struct srtm_fit_arrays {
  float *NoiseRaw_t, *NoiseFit_t;
  double *Weight_t;
  double **Xorig_tc, **X_tc;
  double **XTXm1_cc, **XTXm1XT_ct;
  double *HatDiag_t, *Beta_c, *Residue_t;
  double **FCovar[SRTM_MAX_CONDITIONS], **FCovarInv[SRTM_MAX_CONDITIONS];
  double dof;
  double sigma2;
  int singular;  // the last inversion of the normal matrix failed (its column + 1)
  const double *decay;  // exp(time in run / mean life) of each frame, or null to work it out
};

// The decay factors of the noise model, for every frame.
void srtm_decay_factors(double *decay);

// The engine's own arrays in that form, and back.
srtm_fit_arrays srtm_engine_arrays(void);
void srtm_store_engine_arrays(const srtm_fit_arrays &a);

// Noise model of run r for curve Ct (all frames): raw and smoothed noise and
// the normalised weights. `poly` null uses the kit's global polynomial
// model, which exits on failure.
void srtm_noise_model(int irun, const float *Ct, srtm_run_polynomial *poly, srtm_fit_arrays &a);
// The k2a and 1/b columns for curve Ct.
void srtm_dynamic_columns(const float *Ct, double **Xorig);
// X, the inverse of the weighted normal matrix, the pseudo-inverse, the hat
// diagonal, dof and the conditions' covariances.
void srtm_pseudo_inverse(srtm_fit_arrays &a);
// Coefficients, fit, residue and sigma2 of one curve; fit and fit_error may
// be null.
void srtm_fit_core(srtm_fit_arrays &a, const float *data, float *fit, float *fit_error);
// The test of one condition for the fit in `a`.
void srtm_F_core(const srtm_fit_arrays &a, double sigma2, double resels, int l, double *cnr, double *p_raw,
                 double *p_cor, float *effect_size, float *effect_sem);

// FCovar = C XTXm1 C' of every condition and its inverse.
void srtm_condition_covariances(double **XTXm1, double ***FCovar, double ***FCovarInv);

// Polynomials of every run for the current inclusion flags (1 when a run has
// fewer than 2 frames, after the kit's message); release with
// srtm_free_run_polynomials.
int srtm_define_run_polynomials(srtm_run_polynomial *poly);
void srtm_free_run_polynomials(srtm_run_polynomial *poly);

#endif
