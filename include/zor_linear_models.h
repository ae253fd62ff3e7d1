// Two small weighted least-squares models in single precision, each one
// global record: a polynomial along a curve (noise smoothing, drift removal)
// and the same with a design given by the caller. A model is defined once
// with its weights, which works out the weighted pseudo-inverse, and then
// fitted to many curves at the cost of one matrix-vector pass each.
#ifndef ZOR_LINEAR_MODELS_H
#define ZOR_LINEAR_MODELS_H

struct poly_glm_record {
  int nt;        // number of points
  int ncoeff;    // number of coefficients
  float **X;     // design [point][coefficient]
  float **Pinv;  // weighted pseudo-inverse [coefficient][point]
  float *Beta;   // fitted coefficients
};

struct general_glm_record {
  int nt;
  int ncoeff;
  float **X;      // design [point][coefficient], a copy of the caller's
  float **XTXm1;  // unweighted inverse of the normal matrix
  float **Pinv;   // weighted pseudo-inverse [coefficient][point]
  float *Beta;    // fitted coefficients
  float *Sem;     // unweighted standard errors of the coefficients
};

// One model of each kind at a time: each definition replaces the last.
extern poly_glm_record PolyGLM;
// The general model is one per thread, so that threads may fit curves side by side.
extern __thread general_glm_record GeneralGLM;

// `order` columns (1 to 4) of 1, j/n - 0.5, j²/n² - 1/3, j³/n³ - 0.25;
// `weights` one per point, 0 leaving the point out of the fit.
// Returns 0, or 1 after a message.
int PolynomialDefineGLM(int order, int npoints, float *weights);
// Fits `data`, writing the fitted curve to `fit`. Returns 0, or 1 for an
// undefined model; a length that differs from the definition ends the run.
int PolynomialFitGLM(int npoints, float *data, float *fit);
// Subtracts from `data` and `fit` the part of the last fit carried by the
// coefficients from `first_coefficient` upward. Returns 0, or 1.
int PolynomialRemoveGLM(int first_coefficient, int npoints, float *data, float *fit);

// `basis` [point][coefficient] is copied. Returns 0, or 1 after a message.
int GeneralDefineGLM(int ncoeff, int npoints, float *weights, float **basis);
// As PolynomialFitGLM, and also sets the standard errors.
int GeneralFitGLM(int npoints, float *data, float *fit);
// One coefficient or its standard error from the last fit; an index out of
// range ends the run.
float GeneralGLM_GetBeta(int coefficient);
float GeneralGLM_GetSEM(int coefficient);

// Free the models and forget them, as before the first definition.
void PolyGLM_reset();
void GeneralGLM_reset();

#endif
