// Weighted least squares on a design given by the caller (diffusion tensor,
// FDG), with unweighted standard errors of the coefficients.
#include <cmath>
#include <cstdio>

#include "linear_model_solve.h"
#include "zor_alloc.h"
#include "zor_exit.h"
#include "zor_linear_models.h"

__thread general_glm_record GeneralGLM;

namespace {

thread_local bool general_first_call = true;

void free_general_glm() {
  const int nt = GeneralGLM.nt, nc = GeneralGLM.ncoeff;
  free_float_matrix(GeneralGLM.X, nt, nc);
  free_float_matrix(GeneralGLM.XTXm1, nc, nc);
  free_float_matrix(GeneralGLM.Pinv, nc, nt);
  free_float_vector(GeneralGLM.Beta);
  free_float_vector(GeneralGLM.Sem);
}

void check_coefficient(int coefficient, const char *who) {
  if (coefficient < 0 || coefficient >= GeneralGLM.ncoeff) {
    printf("Programming error: coefficient %d is out of range in %s (0 to %d)\n", coefficient, who,
           GeneralGLM.ncoeff - 1);
    zor_exit(1);
  }
}

}  // namespace

void GeneralGLM_reset() {
  if (!general_first_call) free_general_glm();
  GeneralGLM = general_glm_record{};
  general_first_call = true;
}

int GeneralDefineGLM(int ncoeff, int npoints, float *weights, float **basis) {
  if (ncoeff < 1) {
    printf("Error: the # of coefficients in the GLM (%d) must be >= 1.\n", ncoeff);
    return 1;
  }
  if (npoints < 2) {
    printf("Error: the # of points (%d) must be >= 2.\n", npoints);
    return 1;
  }

  if (!general_first_call) free_general_glm();
  general_first_call = false;
  GeneralGLM.nt = npoints;
  GeneralGLM.ncoeff = ncoeff;
  GeneralGLM.X = linear_model_zero_matrix(npoints, ncoeff);
  GeneralGLM.XTXm1 = linear_model_zero_matrix(ncoeff, ncoeff);
  GeneralGLM.Pinv = linear_model_zero_matrix(ncoeff, npoints);
  GeneralGLM.Beta = linear_model_zero_vector(ncoeff);
  GeneralGLM.Sem = linear_model_zero_vector(ncoeff);

  for (int j = 0; j < npoints; j++)
    for (int c = 0; c < ncoeff; c++) GeneralGLM.X[j][c] = basis[j][c];

  float **normal_inverse = linear_model_zero_matrix(ncoeff, ncoeff);
  linear_model_normal_inverse(npoints, ncoeff, GeneralGLM.X, weights, normal_inverse);
  linear_model_weighted_pinv(npoints, ncoeff, GeneralGLM.X, weights, normal_inverse,
                             GeneralGLM.Pinv);
  free_float_matrix(normal_inverse, ncoeff, ncoeff);
  linear_model_normal_inverse(npoints, ncoeff, GeneralGLM.X, nullptr, GeneralGLM.XTXm1);
  return 0;
}

int GeneralFitGLM(int npoints, float *data, float *fit) {
  const int nc = GeneralGLM.ncoeff;
  if (nc < 1) {
    printf("Error in GeneralFitGLM: order of polynomial (%d) < 1.\n", nc);
    return 1;
  }
  if (npoints != GeneralGLM.nt) {
    printf("Error: the number of data time points (%d) does not match the number in the GLM (%d).\n",
           npoints, GeneralGLM.nt);
    zor_exit(1);
  }
  // Residuals need the data as it was, in case `fit` is `data` itself.
  float *residual = float_vector(npoints);
  for (int j = 0; j < npoints; j++) residual[j] = data[j];
  linear_model_apply(npoints, nc, GeneralGLM.X, GeneralGLM.Pinv, data, GeneralGLM.Beta, fit);

  if (nc == npoints) {
    for (int c = 0; c < nc; c++) GeneralGLM.Sem[c] = 0.0f;
  } else {
    float sum = 0.0f;
    for (int j = 0; j < npoints; j++) {
      const float r = residual[j] - fit[j];
      sum += r * r;
    }
    const float s = std::sqrt(sum / static_cast<float>(npoints - nc));
    for (int c = 0; c < nc; c++) GeneralGLM.Sem[c] = std::sqrt(GeneralGLM.XTXm1[c][c]) * s;
  }
  free_float_vector(residual);
  return 0;
}

float GeneralGLM_GetBeta(int coefficient) {
  check_coefficient(coefficient, "GeneralGLM_GetBeta");
  return GeneralGLM.Beta[coefficient];
}

float GeneralGLM_GetSEM(int coefficient) {
  check_coefficient(coefficient, "GeneralGLM_GetSEM");
  return GeneralGLM.Sem[coefficient];
}
