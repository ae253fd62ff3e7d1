// Normal equations of the weighted model: the inverse normal matrix, the
// pseudo-inverse, the hat diagonal and, for weighted noise models, the
// effective degrees of freedom.
#include "glm_internal.h"
#include "zor_glm.h"
#include "zor_matrix.h"

unsigned long glm_model_generation = 0;

void GLMInternal_complete_model(void) {
  glm_model_generation++;
  int nc = GLM.ncoeff, nt = GLM.ntime;
  float **X = GLM.X_tc;
  for (int a = 0; a < nc; a++) {
    for (int b = 0; b < nc; b++) {
      float sum = 0.0f;
      for (int t = 0; t < nt; t++) sum += GLM.Weight_t[t] * X[t][a] * X[t][b];
      GLM.XTXm1_cc[a][b] = sum;
    }
  }
  // A singular model runs on with what the inversion leaves.
  int iRowFail;
  rInvertSquareMatrix(nc, GLM.XTXm1_cc, &iRowFail);
  for (int a = 0; a < nc; a++) {
    for (int t = 0; t < nt; t++) {
      float sum = 0.0f;
      for (int b = 0; b < nc; b++) sum += GLM.XTXm1_cc[a][b] * X[t][b];
      GLM.XTXm1XT_ct[a][t] = sum;
    }
  }
  float trace = 0.0f;
  int nincluded = 0;
  for (int t = 0; t < nt; t++) {
    float sum = 0.0f;
    for (int a = 0; a < nc; a++) sum += X[t][a] * GLM.XTXm1XT_ct[a][t] * GLM.Weight_t[t];
    GLM.HatDiag_t[t] = sum;
    trace += sum;
    nincluded += GLM.include_time[t];
  }
  if (GLM_input.noise_model != NOISE_OLS) GLM.dof = (float)(nincluded + 0.5 - 1.25 * (double)trace);
  GLM_calc_covariance_matrix();
}
