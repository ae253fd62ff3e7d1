// Drift removal from a table column: its polynomial trend over the points
// where the column is non-zero is taken out, the mean included.
#include <vector>

#include "zor_exit.h"
#include "zor_glm.h"
#include "zor_linear_models.h"

void GLMInternal_drift_correct_table(int irun, int icolumn, int nterms) {
  if (nterms == 0) return;
  if (!GLM.table_value[irun] || icolumn < 0 || icolumn >= GLM_MAX_TABLE_COLUMNS) return;
  int n = GLM.table_ntime[irun];
  float *column = GLM.table_value[irun][icolumn];
  std::vector<float> include(n > 0 ? n : 1), fit(n > 0 ? n : 1);
  for (int t = 0; t < n; t++) include[t] = column[t] != 0.0f ? 1.0f : 0.0f;
  if (PolynomialDefineGLM(nterms, n, include.data())) zor_exit(1);
  if (PolynomialFitGLM(n, column, fit.data())) zor_exit(1);
  if (PolynomialRemoveGLM(0, n, column, fit.data())) zor_exit(1);
}
