// Changing the model by hand: adding, moving and deleting stimuli, table
// regressors taken from a drawn time course, and excluded time points. The
// arguments are time points on the concatenated axis; the stored times are
// seconds. The caller rebuilds the design (GLM_define_basis_functions) after
// each change.
#include <cstdio>
#include <cstring>

#include "zor_alloc.h"
#include "zor_exit.h"
#include "zor_glm.h"

namespace {

// Index of an event number among the events, -1 when absent, and how many
// entries carry it.
int find_event(int event_number, int *count) {
  int index = -1;
  *count = 0;
  for (int j = 0; j < GLM.nevents; j++) {
    if (GLM.event_number[j] == event_number) {
      index = j;
      (*count)++;
    }
  }
  return index;
}

bool rises_and_stays(int shape) { return shape == SHAPE_GAMMA || shape == SHAPE_SIGMOID; }

// The end of stimulus s of event j as drawn: a gamma or sigmoid lasts its
// time constant.
float stimulus_end(int j, int s) {
  if (rises_and_stays(GLM.event_shape[j])) return GLM.event_tau1[j] + GLM.stim_on[j][s];
  return GLM.stim_off[j][s];
}

char event_char(int event_number) {
  char id = ' ';
  if (GLM_EventCharIDFromInteger(event_number, &id)) id = ' ';
  return id;
}

bool event_number_in_range(int event_number) {
  if (event_number >= 0 && event_number < GLM_MAX_EVENTS) return true;
  printf("Error: the event number (%d) is out of range (0 to %d).\n", event_number, GLM_MAX_EVENTS - 1);
  return false;
}

// A new event slot at the end of the list, or -1 (with the reader's message)
// when every slot is taken.
int new_event_slot(void) {
  if (GLM.nevents >= GLM_MAX_EVENTS) {
    printf("Error: # of stimulus events (%d) > max dimension in program (%d).\n", GLM.nevents + 1, GLM_MAX_EVENTS);
    return -1;
  }
  const int j = GLM.nevents++;
  GLM.nstims[j] = 0;
  GLM.length_drugIRF[j] = 0;
  GLM.drugIRF[j] = GLM.plasmaIRF[j] = nullptr;
  return j;
}

void copy_event(int to, int from) {
  GLM.event_number[to] = GLM.event_number[from];
  GLM.event_shape[to] = GLM.event_shape[from];
  GLM.event_tau1[to] = GLM.event_tau1[from];
  GLM.event_tau2[to] = GLM.event_tau2[from];
  GLM.event_alpha[to] = GLM.event_alpha[from];
  GLM.nstims[to] = GLM.nstims[from];
  const size_t n = (size_t)GLM.nstims[from];
  memcpy(GLM.stim_on[to], GLM.stim_on[from], n * sizeof(float));
  memcpy(GLM.stim_off[to], GLM.stim_off[from], n * sizeof(float));
  memcpy(GLM.stim_mag[to], GLM.stim_mag[from], n * sizeof(float));
  memcpy(GLM.table_icolumn[to], GLM.table_icolumn[from], n * sizeof(int));
  GLM.length_drugIRF[to] = GLM.length_drugIRF[from];
  GLM.drugIRF[to] = GLM.drugIRF[from];
  GLM.plasmaIRF[to] = GLM.plasmaIRF[from];
}

// Takes event index j out of the list; later events move down one index.
void remove_event(int j) {
  if (GLM.drugIRF[j]) free_float_vector(GLM.drugIRF[j]);
  if (GLM.plasmaIRF[j]) free_float_vector(GLM.plasmaIRF[j]);
  for (int k = j; k + 1 < GLM.nevents; k++) copy_event(k, k + 1);
  const int last = GLM.nevents - 1;
  GLM.event_number[last] = 0;
  GLM.event_shape[last] = 0;
  GLM.event_tau1[last] = GLM.event_tau2[last] = 0.0f;
  GLM.event_alpha[last] = 1.0f;
  GLM.nstims[last] = 0;
  GLM.length_drugIRF[last] = 0;
  GLM.drugIRF[last] = GLM.plasmaIRF[last] = nullptr;
  GLM.nevents--;
}

// The run that holds a time (seconds), -1 if none.
int run_holding_time(float time) {
  for (int r = 0; r < GLM.nruns && r < GLM_MAX_RUNS; r++)
    if (GLM.run_start[r] * GLM.tr[0] <= time && time <= GLM.run_stop[r] * GLM.tr[0]) return r;
  return -1;
}

}  // namespace

int GLM_define_1_stimulus(int event_number, int ishape, float TimePoint_on, float TimePoint_off, float TimePoint_tau,
                          float alpha) {
  const float stim_on = TimePoint_on * GLM.tr[0];
  const float stim_off_select = TimePoint_off * GLM.tr[0];
  const float event_tau = TimePoint_tau * GLM.tr[0];
  if (GLM.initialized == 0) {
    puts("Error in GLM_define_1_stimulus: first initialize the GLM");
    return 1;
  }
  if (!event_number_in_range(event_number)) return 1;

  const int nevents_save = GLM.nevents;
  int count;
  int j = find_event(event_number, &count);
  if (count > 1) {
    puts("Programming error in GLM_define_1_stimulus");
    zor_exit(1);
  }
  const bool existing = count == 1;
  if (!existing && (j = new_event_slot()) < 0) return 1;

  GLM.event_number[j] = event_number;
  GLM.event_shape[j] = ishape;
  GLM.event_scale[event_number] = 1.0f;
  GLM.event_tau1[j] = event_tau != 0.0f ? event_tau : (stim_off_select - stim_on) / 2;
  GLM.event_tau2[j] = 0.0f;
  GLM.event_alpha[j] = alpha;

  int s = 0;
  bool replacing = false;
  if (existing) {
    // A stimulus the new one touches is replaced, so that drawing over a
    // stimulus moves it; touching two is refused.
    int noverlap = 0, overlapped = -1;
    for (int k = 0; k < GLM.nstims[j]; k++) {
      const float on = GLM.stim_on[j][k], end = stimulus_end(j, k);
      const bool new_end_inside = on <= stim_off_select && stim_off_select <= end;
      const bool new_start_inside = on <= stim_on && stim_on <= end;
      const bool old_inside_new = stim_on <= on && end <= stim_off_select;
      if (new_end_inside || new_start_inside || old_inside_new) {
        noverlap++;
        overlapped = k;
      }
    }
    if (noverlap > 1) {
      printf("Error: stimuli of the same event (%d) cannot overlap.\n", event_number);
      GLM.nevents = nevents_save;
      return 1;
    }
    if (noverlap == 1) {
      s = overlapped;
      replacing = true;
    } else {
      s = GLM.nstims[j];
      if (s >= GLM_MAX_STIMS) {
        printf("Error: the number of stimuli (%d) for event %c > max dimension in program (%d).\n", s + 1,
               event_char(event_number), GLM_MAX_STIMS);
        return 1;
      }
      GLM.nstims[j]++;
    }
  } else {
    GLM.nstims[j] = 1;
    s = 0;
  }

  GLM.stim_on[j][s] = stim_on;
  GLM.stim_mag[j][s] = 1.0f;
  GLM.table_icolumn[j][s] = 0;
  if (!rises_and_stays(ishape)) {
    GLM.stim_off[j][s] = stim_off_select;
  } else if (!replacing) {
    // A gamma or sigmoid rises from its onset and stays to the end of its run.
    int r = run_holding_time(stim_on);
    if (r < 0) r = 0;
    GLM.stim_off[j][s] = GLM.run_stop[r] * GLM.tr[0];
  } else {
    GLM.stim_off[j][s] = stim_off_select;
    for (int r = 0; r < GLM.nruns && r < GLM_MAX_RUNS; r++) {
      if (GLM.run_stop[r] > TimePoint_off) {
        GLM.stim_off[j][s] = GLM.run_stop[r] * GLM.tr[0];
        break;
      }
    }
  }
  return 0;
}

int GLM_delete_1_stimulus(int event_number, float location_TimePoint, int Verbose) {
  const float location_time = location_TimePoint * GLM.tr[0];
  if (GLM.initialized == 0) {
    // The companion's name stands in this message.
    puts("Error in GLM_define_1_stimulus: first initialize the GLM");
    return 1;
  }
  int found = 0, j_found = -1, s_found = -1;
  for (int j = 0; j < GLM.nevents; j++) {
    if (GLM.event_number[j] != event_number) continue;
    for (int s = 0; s < GLM.nstims[j]; s++) {
      if (GLM.stim_on[j][s] <= location_time && location_time <= stimulus_end(j, s)) {
        found++;
        j_found = j;
        s_found = s;
      }
    }
  }
  if (found == 0) return 0;
  if (found > 1) printf("Warning: There is more than one event (%d) found at this location\n", found);
  if (Verbose) printf("delete stimulus of event %c at location %f\n", event_char(event_number), location_time);

  const int j = j_found;
  for (int s = s_found; s + 1 < GLM.nstims[j]; s++) {
    GLM.stim_on[j][s] = GLM.stim_on[j][s + 1];
    GLM.stim_off[j][s] = GLM.stim_off[j][s + 1];
    GLM.stim_mag[j][s] = GLM.stim_mag[j][s + 1];
    GLM.table_icolumn[j][s] = GLM.table_icolumn[j][s + 1];
  }
  GLM.nstims[j]--;
  // An event without stimuli leaves the model; the columns of the events
  // after it move down, so conditions must be built again.
  if (GLM.nstims[j] == 0) remove_event(j);
  return 0;
}

int GLM_define_table_event_interactive(int event_number, int istart, int iend, int ntime, float *table_data) {
  if (GLM.initialized == 0) {
    puts("Error in GLM_define_table_event_interactive: first initialize the GLM");
    return 1;
  }
  if (ntime != GLM.ntime) {
    printf("Error: # time points (%d) not equal to # in GLM.\n", ntime);
    return 1;
  }
  if (!event_number_in_range(event_number)) return 1;
  int count;
  int j = find_event(event_number, &count);
  if (count > 1) {
    puts("Programming error in GLM_define_table_event_interactive");
    zor_exit(1);
  }
  // Every run needs a table before the first drawn regressor.
  for (int r = 0; r < GLM.nruns && r < GLM_MAX_RUNS; r++) {
    if (GLM.table_value[r]) continue;
    const int length = GLM.run_stop[r] - GLM.run_start[r] + 1;
    GLM.table_ntime[r] = length;
    GLM.table_value[r] = float_matrix(GLM_MAX_TABLE_COLUMNS, length > 0 ? length : 1);
    for (int c = 0; c < GLM_MAX_TABLE_COLUMNS; c++)
      for (int t = 0; t < length; t++) GLM.table_value[r][c][t] = 0.0f;
  }
  // The runs the range touches, each with a free column and room for an entry.
  int nnew = 0;
  for (int r = 0; r < GLM.nruns && r < GLM_MAX_RUNS; r++) {
    const bool touched = (GLM.run_start[r] <= istart && istart <= GLM.run_stop[r]) ||
                         (GLM.run_start[r] <= iend && iend <= GLM.run_stop[r]);
    if (!touched) continue;
    if (GLM.table_ncolumns[r] >= GLM_MAX_TABLE_COLUMNS) {
      printf("Error: the table of run %d has no free column (at most %d).\n", r + 1, GLM_MAX_TABLE_COLUMNS);
      return 1;
    }
    nnew++;
  }
  if (count == 0 && (j = new_event_slot()) < 0) return 1;
  if (GLM.nstims[j] + nnew > GLM_MAX_STIMS) {
    printf("Error: the number of stimuli (%d) for event %c > max dimension in program (%d).\n", GLM.nstims[j] + nnew,
           event_char(event_number), GLM_MAX_STIMS);
    if (count == 0) GLM.nevents--;
    return 1;
  }

  GLM.event_number[j] = event_number;
  GLM.event_shape[j] = SHAPE_TABLE;
  GLM.event_tau1[j] = GLM.event_tau2[j] = 0.0f;
  GLM.convolve_table[event_number] = 0;
  GLM.drift_correct_table[event_number] = GLM_input.nbaseline_terms;
  GLM.event_scale[event_number] = 1.0f;

  for (int r = 0; r < GLM.nruns && r < GLM_MAX_RUNS; r++) {
    const bool touched = (GLM.run_start[r] <= istart && istart <= GLM.run_stop[r]) ||
                         (GLM.run_start[r] <= iend && iend <= GLM.run_stop[r]);
    if (!touched) continue;
    const int s = GLM.nstims[j], column = GLM.table_ncolumns[r];
    GLM.stim_on[j][s] = GLM.run_start[r] * GLM.tr[0];
    GLM.stim_off[j][s] = GLM.run_stop[r] * GLM.tr[0];
    GLM.stim_mag[j][s] = 1.0f;
    GLM.table_icolumn[j][s] = column;
    snprintf(GLM.table_column_name[column], ZOR_LINE, "event%d", event_number);
    for (int t = GLM.run_start[r]; t <= GLM.run_stop[r]; t++)
      GLM.table_value[r][column][t - GLM.run_start[r]] = table_data[t];
    GLMInternal_drift_correct_table(r, column, GLM_input.nbaseline_terms);
    GLM.nstims[j]++;
    GLM.table_ncolumns[r]++;
  }
  return 0;
}

void GLM_modify_excluded_region(int mode, int start, int end) {
  if (!GLM.include_time || GLM.ntime <= 0) return;
  const int first = start > 0 ? start : 0, last = end < GLM.ntime - 1 ? end : GLM.ntime - 1;
  for (int t = first; t <= last; t++) GLM.include_time[t] = mode == 1 ? 0 : !GLM.include_time[t];

  // The segments again, from the points.
  int nexclude = 0;
  bool included = true;
  for (int t = 0; t < GLM.ntime; t++) {
    const bool now = GLM.include_time[t] != 0;
    if (included && !now) {
      if (nexclude >= GLM_MAX_EXCLUDE) {
        printf("Error: the number of segments to exclude (%d) > max dimension in program (%d).\n", nexclude + 1,
               GLM_MAX_EXCLUDE);
        // The points stay as they are; the segments name all that fit.
        break;
      }
      GLM.exclude_start[nexclude] = t;
    } else if (!included && now) {
      GLM.exclude_end[nexclude++] = t - 1;
    }
    included = now;
  }
  if (!included && nexclude < GLM_MAX_EXCLUDE) GLM.exclude_end[nexclude++] = GLM.ntime - 1;
  GLM.nexclude = nexclude;
}
