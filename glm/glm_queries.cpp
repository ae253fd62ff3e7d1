// The model without a control file, and what the viewer asks of it: the
// empty model over the loaded runs, run timing, baseline terms, events, the
// stimuli one after another, and what lies at a time point.
#include <cstdio>
#include <cstring>

#include "zor_alloc.h"
#include "zor_exit.h"
#include "zor_glm.h"

namespace {

// Position of the stimulus iterator: the next stimulus to hand out.
int next_stimulus = 0;

int index_of_event_number(int event_number) {
  for (int j = 0; j < GLM.nevents; j++)
    if (GLM.event_number[j] == event_number) return j;
  return -1;
}

}  // namespace

int GLM_initialize(int ntime, int nruns) {
  if (ntime == 0 || nruns == 0) {
    puts("Error: zero value passed to GLM_initialized");
    return 1;
  }
  if (ntime < 0 || nruns < 0 || nruns > GLM_MAX_RUNS) {
    printf("Error: cannot set up a model of %d time points in %d runs (at most %d runs).\n", ntime, nruns,
           GLM_MAX_RUNS);
    return 1;
  }
  GLM.ntime = ntime;
  GLM.nruns = nruns;
  for (int r = 0; r < GLM_MAX_RUNS; r++) GLM.tr[r] = 1.0f;
  if (GLM.include_time) free_int_vector(GLM.include_time);
  GLM.include_time = int_vector(ntime);
  for (int t = 0; t < ntime; t++) GLM.include_time[t] = 1;
  GLM.ncoeff = 0;
  GLM_define_conditions_reset();
  GLM.nexclude = 0;
  GLM.nevents = 0;
  GLM.initialized = 1;
  return 0;
}

void GLM_initialize_run(int index_run, float start, float stop, float time_step) {
  if (index_run < 0 || index_run >= GLM_MAX_RUNS) {
    printf("Error: run %d is outside the model (0 to %d).\n", index_run, GLM_MAX_RUNS - 1);
    return;
  }
  GLM.run_start[index_run] = (int)start;
  GLM.run_stop[index_run] = (int)stop;
  GLM.tr[index_run] = time_step != 0.0f ? time_step : 1.0f;
}

int GLM_is_initialized(void) { return GLM.initialized; }

int GLM_get_nbaseline_terms(void) { return GLM_input.nbaseline_terms; }

int GLM_set_nbaseline_terms(int nbaseline) {
  if (nbaseline < 0 || nbaseline > 4) {
    printf("Error: # of baseline terms (%d) should be >=0 and <=4.\n", nbaseline);
    return 1;
  }
  GLM_input.nbaseline_terms = nbaseline;
  return 0;
}

int GLM_get_number_events(void) { return GLM.nevents; }

int GLM_get_event_number(int index_event) {
  if (index_event < 0 || index_event >= GLM.nevents) return 0;
  return GLM.event_number[index_event];
}

int GLM_event_is_defined(int event_number) { return index_of_event_number(event_number) >= 0; }

int GLM_get_paradigm_shape(int event_number) {
  if (event_number >= 63) {
    printf("Error: the event number (%d) is out of range in GLM_get_paradigm_shape().\n", event_number);
    zor_exit(1);
  }
  if (event_number < 1 && GLM.nevents > 0) return GLM.event_shape[0];
  const int j = index_of_event_number(event_number);
  return j >= 0 ? GLM.event_shape[j] : 0;
}

int GLM_get_tr(int irun, float *tr) {
  if (irun < 0 || irun >= GLM.nruns || irun >= GLM_MAX_RUNS) return 1;
  *tr = GLM.tr[irun];
  return 0;
}

float GLM_get_run_start_time(int iRun) {
  if (iRun < 0 || iRun >= GLM.nruns || iRun >= GLM_MAX_RUNS) {
    printf("Error: run %d does not exist\n", iRun);
    zor_exit(1);
  }
  return (float)GLM.run_start[iRun] * GLM.tr[iRun];
}

void GLM_get_stimulus_reset(void) { next_stimulus = 0; }

int GLM_get_stimulus(int index_event, float *stim_on, float *stim_off) {
  if (index_event < 0 || index_event >= GLM.nevents || next_stimulus >= GLM.nstims[index_event]) {
    next_stimulus = 0;
    return 0;
  }
  const int s = next_stimulus++;
  *stim_on = GLM.stim_on[index_event][s];
  switch (GLM.event_shape[index_event]) {
    case SHAPE_GAMMA:
    case SHAPE_SIGMOID:
    case SHAPE_SINE:
    case SHAPE_COSINE: *stim_off = *stim_on + 1.0f; break;
    default: *stim_off = GLM.stim_off[index_event][s]; break;
  }
  return 1;
}

int GLM_identify_time_point(int iTime, char *residue_string, char *output_string) {
  if (GLM.initialized == 0) {
    puts("Error in GLM_identify_stimulus: first initialize the GLM");
    return 1;
  }
  if (iTime < 0 || iTime >= GLM.ntime) {
    printf("Error: time point (%d) is outside the GLM (0 to %d)\n", iTime, GLM.ntime - 1);
    return 1;
  }
  if (GLM.include_time && GLM.include_time[iTime] == 0) {
    strcpy(output_string, "ignored");
    return 0;
  }
  // Gamma and sigmoid stimuli last, as stored, to the end of their run.
  const float location_time = (float)iTime * GLM.tr[0];
  int hits = 0, event_hit = -1;
  for (int j = 0; j < GLM.nevents; j++) {
    if (GLM.event_shape[j] == SHAPE_TABLE || GLM_event_is_in_string(residue_string, j)) continue;
    for (int s = 0; s < GLM.nstims[j]; s++) {
      if (GLM.stim_on[j][s] <= location_time && location_time <= GLM.stim_off[j][s]) {
        hits++;
        event_hit = j;
      }
    }
  }
  if (hits == 0) {
    strcpy(output_string, " ");
  } else if (hits > 1) {
    sprintf(output_string, "%d stimuli", hits);
  } else {
    char id;
    if (GLM_EventCharIDFromInteger(GLM.event_number[event_hit], &id)) id = ' ';
    switch (GLM.event_shape[event_hit]) {
      case SHAPE_SQUARE:
      case SHAPE_GAMMA:
      case SHAPE_SIGMOID:
      case SHAPE_DRUGIRF:
      case SHAPE_RAMPDOWN:
      case SHAPE_EXPDOWN: sprintf(output_string, "%c", id); break;
      case SHAPE_RAMPUP: sprintf(output_string, "%d", (int)id); break;
      default: break;  // other shapes leave the text as it was
    }
  }
  return 0;
}
