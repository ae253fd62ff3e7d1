// The group engine's global records, their reset, the event alphabet and the
// small queries the view asks.
#include <climits>
#include <cstring>

#include "rem_internal.h"
#include "zor_alloc.h"
#include "zor_glm.h"
#include "zor_rem.h"

rem::glm_struct REM;
REM_INPUT REM_input;

namespace {

// Sizes the matrices were allocated with, so that they can be released
// after the model has changed.
int matrix_ntime = 0, matrix_ncoeff = 0;

void release(float **&m, int nrows, int ncols) {
  if (m) free_float_matrix(m, nrows, ncols);
  m = nullptr;
}

}  // namespace

void rem_release_matrices(void) {
  const int n = matrix_ntime, c = matrix_ncoeff;
  release(REM.X_tc, n, c);
  release(REM.SIGm1_tt, n, n);
  release(REM.Xw_tc, n, c);
  release(REM.XTXw_cc, c, c);
  release(REM.Variance_cc, c, c);
  release(REM.XTSIGm1_ct, c, n);
  release(REM.Product_ct, c, n);
  release(REM.XProduct_tt, n, n);
  release(REM.Identity_tt, n, n);
  release(REM.Residue_tt, n, n);
  release(REM.Residue2_tt, n, n);
  release(REM.SigFE_tt, n, n);
  release(REM.SigFE2_tt, n, n);
  release(REM.SigFE2R_tt, n, n);
  if (REM.Beta_c) free_float_vector(REM.Beta_c);
  REM.Beta_c = nullptr;
  if (REM.lDOF_fixed) free_int_vector(REM.lDOF_fixed);
  REM.lDOF_fixed = nullptr;
  matrix_ntime = matrix_ncoeff = 0;
}

void rem_allocate_matrices(void) {
  rem_release_matrices();
  // Rows and columns of at least one, so that an empty model still has
  // matrices to point at.
  const int n = REM.ntime > 0 ? REM.ntime : 1;
  const int c = REM.ncoeff > 0 ? REM.ncoeff : 1;
  matrix_ntime = n;
  matrix_ncoeff = c;
  auto cleared = [](int rows, int cols) {
    float **m = float_matrix(rows, cols);
    for (int i = 0; i < rows; i++) memset(m[i], 0, sizeof(float) * (size_t)cols);
    return m;
  };
  REM.X_tc = cleared(n, c);
  REM.SIGm1_tt = cleared(n, n);
  REM.Xw_tc = cleared(n, c);
  REM.XTXw_cc = cleared(c, c);
  REM.Variance_cc = cleared(c, c);
  REM.XTSIGm1_ct = cleared(c, n);
  REM.Product_ct = cleared(c, n);
  REM.XProduct_tt = cleared(n, n);
  REM.Identity_tt = cleared(n, n);
  REM.Residue_tt = cleared(n, n);
  REM.Residue2_tt = cleared(n, n);
  REM.SigFE_tt = cleared(n, n);
  REM.SigFE2_tt = cleared(n, n);
  REM.SigFE2R_tt = cleared(n, n);
  REM.Beta_c = float_vector(c);
  memset(REM.Beta_c, 0, sizeof(float) * (size_t)c);
  for (int t = 0; t < n; t++) REM.Identity_tt[t][t] = 1.0f;
}

void REM_engine_reset(void) {
  rem_release_conditions();
  rem_release_matrices();
  rem_fit_reset();
  REM_input.nfiles = 0;
  for (int j = 0; j < REM_MAX_FILES; j++) {
    REM_input.signal_file_name[j][0] = '\0';
    REM_input.signal_magnitude[j] = 1.0f;
  }
  REM_input.multiple_comparisons = 1;
  REM_input.smoothed_mm = 0.0f;
  REM_input.smooth_ratio_mm = 1.0f;
  REM_input.nifti_output = 1;
  REM_input.global_scaling = 0;
  REM_input.overlapping_events = 0;
  REM_input.condition_string[0] = '\0';

  REM.initialized = 0;
  REM.ntime = REM.nevents = REM.ncoeff = 0;
  REM.lDOF_effective = 0;
  memset(REM.event_number, 0, sizeof REM.event_number);
  memset(REM.event_shape, 0, sizeof REM.event_shape);
  memset(REM.nstims, 0, sizeof REM.nstims);
  memset(REM.nsamples, 0, sizeof REM.nsamples);
  memset(REM.event_start, 0, sizeof REM.event_start);
  memset(REM.event_stop, 0, sizeof REM.event_stop);
}

int rem_is_group_keyword(const char *word) {
  return !strcmp(word, "event") || !strcmp(word, "subjects") || !strcmp(word, "sessions");
}

int REM_EventNumberFromChar(char event_char) { return GLM_EventNumberFromCharID(event_char); }
int REM_EventCharFromInteger(int event_number, char *event_char) {
  return GLM_EventCharIDFromInteger(event_number, event_char);
}
char REM_EventChar(int event_number) { return GLM_EventCharID(event_number); }
int REM_EventStringFromInteger(int event_number, char *event_string) {
  return GLM_EventStringFromInteger(event_number, event_string);
}

int REM_is_initialized(void) { return REM.initialized; }
int REM_get_nconditions(void) { return REM.nconditions; }
int REM_get_number_events(void) { return REM.nevents; }
int REM_get_event_number(int index) {
  if (index < 0 || index >= REM.nevents) return 0;
  return REM.event_number[index];
}
int REM_get_event_index(int event_number) {
  for (int e = 0; e < REM.nevents; e++)
    if (REM.event_number[e] == event_number) return e;
  return -1;
}
int REM_get_number_time_points(void) { return REM.ntime; }
int REM_get_DOF_fixed(void) {
  // Headers may hold any value: the total is kept within an int.
  long long total = 0;
  if (REM.lDOF_fixed)
    for (int t = 0; t < REM.ntime; t++) total += REM.lDOF_fixed[t];
  if (total > INT_MAX) return INT_MAX;
  if (total < INT_MIN) return INT_MIN;
  return (int)total;
}
int REM_get_DOF_random(void) { return REM.ntime - REM.ncoeff; }
int REM_get_DOF_effective(void) { return REM.lDOF_effective; }
int REM_get_condition_string(int ncondition, char *condition_string) {
  if (ncondition < 0 || ncondition >= REM.nconditions) return 1;
  strcpy(condition_string, REM.condition_string[ncondition]);
  return 0;
}
