// Drift removal from table columns: waits for the polynomial fit kit.
#include <cstdio>

#include "zor_exit.h"
#include "zor_glm.h"

void GLMInternal_drift_correct_table(int irun, int icolumn, int nterms) {
  if (nterms == 0) return;
  printf("Error: drift correction of table columns is not available in this build.\n");
  zor_exit(1);
}
