// Residue strings: sets of events that the viewer takes out of the data and
// the fit for display, and the fitted value of one event at a time point.
#include <cstdio>
#include <cstring>

#include "zor_glm.h"

void GLM_define_table_residue(char *residue_string) {
  int n = 0;
  for (int j = 0; j < GLM.nevents; j++)
    if (GLM.event_shape[j] == SHAPE_TABLE) residue_string[n++] = GLM_EventCharID(GLM.event_number[j]);
  residue_string[n] = '\0';
}

void GLM_define_residue_from_inclusion(char *include_string, char *residue_string) {
  int n = 0;
  for (int j = 0; j < GLM.nevents; j++)
    if (!GLM_event_is_in_string(include_string, j)) residue_string[n++] = GLM_EventCharID(GLM.event_number[j]);
  residue_string[n] = '\0';
}

int GLM_invalid_residue(char *residue_string) {
  // Every character is looked up, and none is refused.
  for (const char *p = residue_string; *p; p++) {
    int n = GLM_EventNumberFromCharID(*p);
    for (int j = 0; j < GLM.nevents; j++)
      if (GLM.event_number[j] == n) break;
  }
  return 0;
}

int GLM_event_is_in_string(char *string, int index_event) {
  if (!string || string[0] == '\0') return 0;
  if (index_event < 0 || index_event >= GLM_MAX_EVENTS) return 0;
  for (const char *p = string; *p; p++)
    if (GLM_EventNumberFromCharID(*p) == GLM.event_number[index_event]) return 1;
  return 0;
}

int GLM_get_number_events_inside_residue(char *residue_string) {
  int count = 0;
  for (int j = 0; j < GLM.nevents; j++) count += GLM_event_is_in_string(residue_string, j);
  return count;
}

int GLM_create_selective_residue(char *residue_string, int ntime, float *data_vector, float *fit_vector) {
  if (!residue_string || residue_string[0] == '\0') return 0;
  if (ntime != GLM.ntime) {
    printf("Error: # time points (%d) does not match GLM (%d) in GLM_adjust_event()\n", ntime, GLM.ntime);
    return 1;
  }
  if (GLM.ncoeff < 1) {
    puts("Error: no coefficients assigned yet in GLM_adjust.");
    return 1;
  }
  for (int c = 0; c < GLM.ncoeff - GLM.nbaseline; c++) {
    if (!GLM_event_is_in_string(residue_string, c)) continue;
    for (int t = 0; t < ntime; t++) {
      float term = GLM.Xorig_tc[t][c] * GLM.Beta_c[c];
      data_vector[t] -= term;
      fit_vector[t] -= term;
    }
  }
  return 0;
}

int GLM_event_fit(int baseline, char *residue_string, int index_event, int index_time, float *fit) {
  if (index_time >= GLM.ntime || index_time < 0) {
    printf("Error: time index (%d) >= GLM time points (%d) in GLM_fit_residue()\n", index_time, GLM.ntime);
    return 1;
  }
  if (GLM.ncoeff <= 0) {
    puts("Error: no coefficients assigned yet in GLM_fit_residue.");
    return 1;
  }
  *fit = 0.0f;
  int t = index_time;
  if (baseline)
    for (int c = GLM.ncoeff - GLM.nbaseline; c < GLM.ncoeff; c++) *fit += GLM.Beta_c[c] * GLM.Xorig_tc[t][c];
  int event_column = index_event >= 0 && index_event < GLM.ncoeff - GLM.nbaseline;
  if (event_column && (!residue_string || residue_string[0] == '\0' || !GLM_event_is_in_string(residue_string, index_event)))
    *fit += GLM.Beta_c[index_event] * GLM.Xorig_tc[t][index_event];
  return 0;
}
