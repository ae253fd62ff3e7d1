// Reports of the model for the user: the stimulus list and, after an error
// in an event file, an example of the shape's format.
#include <cstdio>

#include "glm_internal.h"
#include "zor_glm.h"

namespace {

void tail_on_off(void) {
  puts("30 60       # [ON time] [OFF time] [optional magnitude]");
  puts("90 120      # [ON time] [OFF time] [optional magnitude]");
  puts("...         # ... and so on");
}

// The character of an interaction partner, which is stored as a number.
char partner_char(float value) {
  char c;
  if (GLM_EventCharIDFromInteger(glm_whole_number(value), &c)) return '?';
  return c;
}

void describe_first(int j, int s) {
  char c = GLM_EventCharID(GLM.event_number[j]);
  float on = GLM.stim_on[j][s], off = GLM.stim_off[j][s], mag = GLM.stim_mag[j][s];
  float tau = GLM.event_tau1[j];
  switch (GLM.event_shape[j]) {
    case SHAPE_SQUARE: printf("%5.1f %5.1f %8.2f (square event %c)\n", on, off, mag, c); break;
    case SHAPE_RAMPUP: printf("%5.1f %5.1f %8.2f (ramp-up event %c)\n", on, off, mag, c); break;
    case SHAPE_RAMPDOWN: printf("%5.1f %5.1f %8.2f (ramp-down event %c)\n", on, off, mag, c); break;
    case SHAPE_EXPDOWN:
      printf("%5.1f %5.1f %8.2f (exponential-down event %c, tau = %5.1f)\n", on, off, mag, c, tau);
      break;
    case SHAPE_SINE: printf("%5.1f %5.1f %8.2f (sine event %c, period = %g)\n", on, off, mag, c, tau); break;
    case SHAPE_COSINE: printf("%5.1f %5.1f %8.2f (cosine event %c, period = %g)\n", on, off, mag, c, tau); break;
    case SHAPE_GAMMA:
      if (GLM.event_alpha[j] == 1.0f)
        printf("%5.1f %5.1f %8.2f (gamma event %c, tau = %5.1f)\n", on, off, mag, c, tau);
      else
        printf("%5.1f %5.1f %8.2f (gamma event %c, tau = %5.1f, alpha = %4.1f)\n", on, off, mag, c, tau,
               GLM.event_alpha[j]);
      break;
    case SHAPE_SIGMOID: printf("%5.1f %5.1f %8.2f (sigmoid event %c, tau = %5.1f)\n", on, off, mag, c, tau); break;
    case SHAPE_DRUGIRF:
      printf("%5.1f %5.1f %8.2f (drug-IRF event %c, tau = %g %g)\n", on, off, mag, c, tau, GLM.event_tau2[j]);
      break;
    case SHAPE_TABLE: {
      int icolumn = GLM.table_icolumn[j][s];
      const char *name = icolumn >= 0 && icolumn < GLM_MAX_TABLE_COLUMNS ? GLM.table_column_name[icolumn] : "";
      printf("%5.1f %5.1f          (table event %c, column %d -> %s)\n", on, off, c, icolumn, name);
      break;
    }
    case SHAPE_BASELINE0: printf("%5.1f %5.1f          (baseline event %c, DC term)\n", on, off, c); break;
    case SHAPE_BASELINE1: printf("%5.1f %5.1f          (baseline event %c, linear term)\n", on, off, c); break;
    case SHAPE_BASELINE2: printf("%5.1f %5.1f          (baseline event %c, quadratic term)\n", on, off, c); break;
    case SHAPE_BASELINE3: printf("%5.1f %5.1f          (baseline event %c, cubic term)\n", on, off, c); break;
    case SHAPE_BASELINE_ES:
      printf("%5.1f %5.1f          (baseline-exp-sat event %c, tau = %g)\n", on, off, c, tau);
      break;
    case SHAPE_INTERACT:
      printf("%5.1f %5.1f          (interaction event %c, event %c times event %c)\n", on, off, c,
             partner_char(GLM.event_tau1[j]), partner_char(GLM.event_tau2[j]));
      break;
    default: break;
  }
}

}  // namespace

void GLM_describe_stimuli(void) {
  printf("GLM description: %d time points in %d %s with TR = %4.1f\n\n  stimuli:\n", GLM.ntime, GLM.nruns,
         GLM.nruns == 1 ? "run" : "runs", GLM.tr[0]);
  printf("\n# events = %d\n\n", GLM.nevents);
  puts(" ON    OFF  STRENGTH");
  puts("----- ----- --------");
  for (int j = 0; j < GLM.nevents; j++) {
    for (int s = 0; s < GLM.nstims[j]; s++) {
      if (s == 0)
        describe_first(j, s);
      else
        printf("%5.1f %5.1f %8.2f\n", GLM.stim_on[j][s], GLM.stim_off[j][s], GLM.stim_mag[j][s]);
    }
  }
  for (int s = 0; s < GLM.nexclude; s++) {
    if (s == 0)
      printf("%5d %5d (excluded segments, units = time points)\n", GLM.exclude_start[s], GLM.exclude_end[s]);
    else
      printf("%5d %5d\n", GLM.exclude_start[s], GLM.exclude_end[s]);
  }
}

void GLMInternal_describe_event_format(int event_shape) {
  switch (event_shape) {
    case SHAPE_SQUARE:
      puts("\nExample of definition for square events:");
      puts("1 square    # [event identifier] [optional event shape]");
      tail_on_off();
      break;
    case SHAPE_RAMPUP:
      puts("\nExample of definition for ramp events:");
      puts("1 ramp-up   # [event identifier] [event shape]");
      tail_on_off();
      break;
    case SHAPE_RAMPDOWN:
      puts("\nExample of definition for ramp events:");
      puts("1 ramp-down # [event identifier] [event shape]");
      tail_on_off();
      break;
    case SHAPE_EXPDOWN:
      puts("\nExample of definition for exponential events:");
      puts("1 exponential-down 10. # [event identifier] [event shape] [time constant for exponential]");
      tail_on_off();
      break;
    case SHAPE_GAMMA:
      puts("\nExample of definition for gamma events:");
      puts("1 gamma 24. # [event identifier] [event shape] [time constant for gamma]");
      puts("30 1.       # [ON time] [optional magnitude]");
      puts("90 2.       # [ON time] [optional magnitude]");
      puts("...         # ... and so on");
      break;
    case SHAPE_SIGMOID:
      puts("\nExample of definition for sigmoid events:");
      puts("1 sigmoid 24. # [event identifier] [event shape] [time constant for sigmoid]");
      puts("30 1.         # [ON time] [optional magnitude]");
      puts("90 2.         # [ON time] [optional magnitude]");
      puts("...           # ... and so on");
      break;
    case SHAPE_DRUGIRF:
      puts("\nExample of definition for drug-IRF events:");
      puts("1 drug-IRF 24. # [event identifier] drug-IRF [tau1] [optional tau2]");
      tail_on_off();
      break;
    case SHAPE_TABLE:
      puts("\nExample of definition for table events:");
      puts("1 table 2  # [event identifier] table [column # in table]");
      break;
    case SHAPE_BASELINE0:
    case SHAPE_BASELINE1:
    case SHAPE_BASELINE2:
    case SHAPE_BASELINE3:
      printf("\nExample of definition for baseline '%d' events:\n", event_shape - SHAPE_BASELINE0);
      printf("1 baseline %d  # [event identifier] baseline [polynomial order]\n", event_shape - SHAPE_BASELINE0);
      break;
    case SHAPE_BASELINE_ES:
      puts("\nExample of definition for baseline-exp-sat events:");
      puts("1 baseline-exp-sat 10  # [event identifier] baseline-exp-sat [tau for exponential]");
      break;
    case SHAPE_SINE:
      puts("\nExample of definition for sinusoidal events:");
      puts("1 sine 30  # [event identifier] sine [period]");
      puts("This is usually used in conjunction with a cosine event.");
      break;
    case SHAPE_COSINE:
      puts("\nExample of definition for sinusoidal events:");
      puts("1 cosine 30  # [event identifier] sine [period]");
      puts("This is usually used in conjunction with a sine event.");
      break;
    case SHAPE_INTERACT:
      puts("\nExample of definition for interaction events (product of 2 events):");
      puts("I interaction 1 2  # [event identifier] interaction [event1] [event2]");
      break;
    default: break;
  }
}
