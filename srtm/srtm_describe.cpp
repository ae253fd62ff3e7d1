// Accessors of the engine's state and its reports.
#include <cstdio>
#include <cstring>

#include "srtm_internal.h"

int SRTM_is_initialized(void) { return SRTM.initialized; }
int SRTM_get_nruns(void) { return SRTM.nruns; }
int SRTM_get_ntime(int iRun) {
  if (iRun < 0 || iRun >= SRTM.nruns) return SRTM.ntime;
  return SRTM.nt[iRun];
}
int SRTM_get_nconditions(void) { return SRTM.nconditions; }
int SRTM_get_number_coefficients(void) { return SRTM.ncoeff; }
int SRTM_is_SRTM_model(void) { return SRTM.pet_model == 0; }
int SRTM_k2a_coefficient(int iCoeff) {
  return iCoeff >= 0 && iCoeff < SRTM.ncoeff && SRTM.event_type[iCoeff] == srtm::TYPE_k2a;
}
int SRTM_get_condition_name(int ncondition, char *condition_name) {
  if (ncondition < 0 || ncondition >= SRTM.nconditions) return 1;
  strcpy(condition_name, SRTM.condition_name[ncondition]);
  return 0;
}
float SRTM_get_half_life(void) { return SRTM_input.half_life; }
void SRTM_set_half_life(float half_life) { SRTM_input.half_life = half_life; }

void SRTM_describe_conditions(void) {
  puts("Conditions to be tested:");
  for (int l = 0; l < SRTM.nconditions; l++) printf("%s ", SRTM.condition_name[l]);
  printf("\n");
}

void SRTM_describe_input_files(void) {
  puts("\nFiles: DATA          GLM          TABLE");
  puts("-----------------------------------------");
  for (int r = 0; r < SRTM_input.nruns; r++)
    printf("%d %s %s %s\n", r + 1, SRTM_input.run_name[r], SRTM_input.glm_name[r], SRTM_input.table_name[r]);
  printf("\n");
}
