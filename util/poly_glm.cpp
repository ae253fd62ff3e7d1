// Weighted polynomial fit along a curve, for noise smoothing and drift
// removal. Columns are centred so that low orders stay well conditioned.
#include <cstdio>

#include "linear_model_solve.h"
#include "zor_alloc.h"
#include "zor_exit.h"
#include "zor_linear_models.h"

poly_glm_record PolyGLM;

namespace {

bool poly_first_call = true;

void free_poly_glm() {
  free_float_matrix(PolyGLM.X, PolyGLM.nt, PolyGLM.ncoeff);
  free_float_matrix(PolyGLM.Pinv, PolyGLM.ncoeff, PolyGLM.nt);
  free_float_vector(PolyGLM.Beta);
}

void fill_polynomial_design(int order, int npoints, float **X) {
  for (int j = 0; j < npoints; j++) {
    const double t = static_cast<double>(j) / npoints;
    const double column[4] = {1.0, t - 0.5, t * t - 0.3333333333333333, t * t * t - 0.25};
    for (int c = 0; c < order; c++) X[j][c] = static_cast<float>(column[c]);
  }
}

}  // namespace

void PolyGLM_reset() {
  if (!poly_first_call) free_poly_glm();
  PolyGLM = poly_glm_record{};
  poly_first_call = true;
}

int PolynomialDefineGLM(int order, int npoints, float *weights) {
  if (order < 1) {
    printf("Error: the order of the polynomial (%d) must be >= 1.\n", order);
    return 1;
  }
  if (order > 4) {
    // Four columns (a cubic) are accepted; the message has always said 3.
    printf("Error: the order of the polynomial (%d) must be <= 3.\n", order);
    return 1;
  }
  if (npoints < 2) {
    printf("Error: the # of points (%d) must be >= 2.\n", npoints);
    return 1;
  }

  if (!poly_first_call) free_poly_glm();
  poly_first_call = false;
  PolyGLM.nt = npoints;
  PolyGLM.ncoeff = order;
  PolyGLM.X = linear_model_zero_matrix(npoints, order);
  PolyGLM.Pinv = linear_model_zero_matrix(order, npoints);
  PolyGLM.Beta = linear_model_zero_vector(order);

  fill_polynomial_design(order, npoints, PolyGLM.X);
  float **normal_inverse = linear_model_zero_matrix(order, order);
  linear_model_normal_inverse(npoints, order, PolyGLM.X, weights, normal_inverse);
  linear_model_weighted_pinv(npoints, order, PolyGLM.X, weights, normal_inverse, PolyGLM.Pinv);
  free_float_matrix(normal_inverse, order, order);
  return 0;
}

int PolynomialFitGLM(int npoints, float *data, float *fit) {
  if (PolyGLM.ncoeff < 1) {
    printf("Error in PolynomialFitGLM: order of polynomial (%d) < 1.\n", PolyGLM.ncoeff);
    return 1;
  }
  if (npoints != PolyGLM.nt) {
    printf("Error: the number of data time points (%d) does not match the number in the GLM (%d).\n",
           npoints, PolyGLM.nt);
    zor_exit(1);
  }
  linear_model_apply(npoints, PolyGLM.ncoeff, PolyGLM.X, PolyGLM.Pinv, data, PolyGLM.Beta, fit);
  return 0;
}

int PolynomialRemoveGLM(int first_coefficient, int npoints, float *data, float *fit) {
  if (npoints != PolyGLM.nt) {
    printf("Error: # time points (%d) does not match GLM (%d) in PolynomialRemoveGLM()\n", npoints,
           PolyGLM.nt);
    return 1;
  }
  const int first = first_coefficient < 0 ? 0 : first_coefficient;
  for (int j = 0; j < npoints; j++) {
    float part = 0.0f;
    for (int c = first; c < PolyGLM.ncoeff; c++) part += PolyGLM.Beta[c] * PolyGLM.X[j][c];
    data[j] -= part;
    fit[j] -= part;
  }
  return 0;
}
