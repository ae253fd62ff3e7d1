// Event files: the run's TR, then blocks of one header line and its stimulus
// lines, each block after a blank line. Events with the same ID in several
// runs are one event, one column of the design.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "glm_internal.h"
#include "zor_alloc.h"
#include "zor_exit.h"
#include "zor_glm.h"
#include "zor_regular_file.h"
#include "zor_text.h"

namespace {

enum { NO_SHAPE_YET = -1, EXCLUSION = -1 };

struct EventReader {
  const char *file_name;
  int irun;
  int line_number;
  int event_number;  // EXCLUSION for an exclusion block
  int index;         // the event's index in the model
  int shape;         // NO_SHAPE_YET before the first header
  int istim;         // stimulus lines since the header, for messages
  float tau1, tau2;
};

int is_run_spanning(int shape) {
  return shape == SHAPE_TABLE || (shape >= SHAPE_BASELINE0 && shape <= SHAPE_BASELINE_ES) ||
         shape == SHAPE_INTERACT;
}

int has_time_constant(int shape) {
  return shape == SHAPE_GAMMA || shape == SHAPE_SIGMOID || shape == SHAPE_EXPDOWN ||
         shape == SHAPE_DRUGIRF || shape == SHAPE_SINE || shape == SHAPE_COSINE;
}

int find_event(int event_number) {
  for (int j = 0; j < GLM.nevents; j++)
    if (GLM.event_number[j] == event_number) return j;
  return -1;
}

// Appends one stimulus, or reports that the event is full and drops it.
void append_stimulus(int index, float on, float off, float magnitude, int icolumn) {
  int n = GLM.nstims[index];
  if (n >= GLM_MAX_STIMS) {
    printf("Error: the number of stimuli (%d) for event %c > max dimension in program (%d).\n", n + 1,
           GLM_EventCharID(GLM.event_number[index]), GLM_MAX_STIMS);
    return;
  }
  GLM.stim_on[index][n] = on;
  GLM.stim_off[index][n] = off;
  GLM.stim_mag[index][n] = magnitude;
  GLM.table_icolumn[index][n] = icolumn;
  GLM.nstims[index] = n + 1;
}

int build_drug_kernels(int index, float tau1, float tau2) {
  if (HRF.time_step == 0.0f) HRF.time_step = GLM.tr[0];
  float m = (tau1 > tau2 ? tau1 : tau2) / HRF.time_step;
  if (!(m < 1.0e6f)) {
    printf("Error: the drug-IRF time constants of event %c are too long for the time step (%g).\n",
           GLM_EventCharID(GLM.event_number[index]), HRF.time_step);
    return 1;
  }
  int length = m < 1.0f ? 10 : (int)m * 10;
  GLM.length_drugIRF[index] = length;
  GLM.drugIRF[index] = float_vector(length);
  GLM.plasmaIRF[index] = float_vector(length);
  for (int j = 0; j < length; j++) {
    float t = j * HRF.time_step;
    // A zero tau1 switches this kernel off (the design skips it).
    GLM.drugIRF[index][j] = tau1 != 0.0f ? (float)((t / tau1) * exp(-t / tau1)) : 0.0f;
    GLM.plasmaIRF[index][j] = tau2 != 0.0f ? (float)exp(-t / tau2) : 0.0f;
  }
  return 0;
}

// The "# words read" form of the argument-count message.
void words_read_message(EventReader &r, int event_number, int nread, const char *hint) {
  printf("Error on line %d for event type %d in file %s, # words read = %d\n", r.line_number, event_number,
         r.file_name, nread);
  puts(hint);
}

// Decides the shape from the header's words; prints and returns -1 when
// the words don't fit the shape. `alpha` and `r.tau2` are settled here.
int shape_of_header(EventReader &r, int event_number, char id, const char *word, const char *w1,
                    const char *w2, int nread, float *alpha) {
  *alpha = 1.0f;
  if (nread == 1 || !strcmp(word, "square")) return SHAPE_SQUARE;
  if (!strcmp(word, "ramp-up")) return SHAPE_RAMPUP;
  if (!strcmp(word, "ramp-down")) return SHAPE_RAMPDOWN;
  if (!strcmp(word, "gamma") || !strcmp(word, "sigmoid") || !strcmp(word, "exponential-down")) {
    int shape = !strcmp(word, "gamma") ? SHAPE_GAMMA : !strcmp(word, "sigmoid") ? SHAPE_SIGMOID : SHAPE_EXPDOWN;
    if (nread != 3 && nread != 4) {
      printf("Error on line %d for event type %d in file %s\n", r.line_number, event_number, r.file_name);
      puts("For gamma & sigmoid shapes, specify the time constant and optionally alpha.");
    } else if (!(r.tau1 > 0.0f)) {
      printf("Error reading stim %d of event %c:\n", r.istim, id);
      printf("Gamma & sigmoid time constants (%f) must be > 0\n", r.tau1);
    } else if (shape == SHAPE_GAMMA && nread == 4 && !(r.tau2 >= 0.0f && r.tau2 <= GLM_MAX_GAMMA_ALPHA)) {
      // Beyond this the two factors of the gamma shape overflow before
      // their product is taken.
      printf("Error reading stim %d of event %c:\n", r.istim, id);
      printf("The gamma shape parameter alpha (%g) must be from 0 to %g.\n", r.tau2, GLM_MAX_GAMMA_ALPHA);
    } else {
      if (nread == 4) *alpha = r.tau2;
      return shape;
    }
    GLMInternal_describe_event_format(shape);
    return -1;
  }
  if (!strcmp(word, "sine") || !strcmp(word, "cosine")) {
    int shape = !strcmp(word, "sine") ? SHAPE_SINE : SHAPE_COSINE;
    if (nread != 3) {
      words_read_message(r, event_number, nread, "For sine or cosine shapes, specify the period.");
    } else if (!(r.tau1 > 0.0f)) {
      printf("Error reading stim %d of event %c:\n", r.istim, id);
      printf("Sine and cosine events must have a period (%g) must be > 0\n", r.tau1);
    } else if (!std::isfinite((float)(6.283185308 / r.tau1))) {
      printf("Error reading stim %d of event %c:\n", r.istim, id);
      printf("The period (%g) of a sine or cosine event is too short.\n", r.tau1);
    } else {
      return shape;
    }
    GLMInternal_describe_event_format(shape);
    return -1;
  }
  if (!strcmp(word, "drug-IRF")) {
    if (nread < 3) {
      printf("Error on line %d for event type %d in file %s\n", r.line_number, event_number, r.file_name);
      puts("Error: for drug-IRF shape, specify the convolution time constant.");
    } else if (!(r.tau1 >= 0.0f)) {
      printf("Error reading stim %d of event %c:\n", r.istim, id);
      printf("Time constant for shape drug-IRF (%f) must be >= 0.\n", r.tau1);
    } else {
      if (nread == 3) r.tau2 = 0.0f;
      return SHAPE_DRUGIRF;
    }
    GLMInternal_describe_event_format(SHAPE_DRUGIRF);
    return -1;
  }
  if (!strcmp(word, "table")) {
    int icolumn = glm_whole_number(r.tau1);
    if (nread != 3) {
      words_read_message(r, event_number, nread, "For table events, give the column entry.");
    } else if (icolumn < 0 || icolumn > GLM.table_ncolumns[r.irun]) {
      printf("Error: The TABLE event %c refers to column %d for run %d,\n", id, icolumn, r.irun + 1);
      printf("...but allowed values are 0 to %d.\n", GLM.table_ncolumns[r.irun]);
    } else {
      return SHAPE_TABLE;
    }
    GLMInternal_describe_event_format(SHAPE_TABLE);
    return -1;
  }
  if (!strcmp(word, "baseline")) {
    int iorder = glm_whole_number(r.tau1);
    int shape = SHAPE_BASELINE0 + (iorder >= 0 && iorder <= 3 ? iorder : 0);
    if (nread != 3) {
      words_read_message(r, event_number, nread, "For baseline events, give the polynomial order.");
    } else if (iorder < 0 || iorder > 3) {
      printf("Error: The BASELINE event %c refers to order %d for run %d,\n", id, iorder, r.irun + 1);
      puts("...but allowed values are 0 to 3.");
    } else if (GLM_input.nbaseline_terms > iorder) {
      printf("Error: redundant baseline terms: `baseline-terms %d'\n", GLM_input.nbaseline_terms);
      printf("is not compatible with an explicit baseline event of order %d.\n", iorder);
    } else {
      return shape;
    }
    GLMInternal_describe_event_format(shape);
    return -1;
  }
  if (!strcmp(word, "baseline-exp-sat")) {
    if (nread != 3) {
      words_read_message(r, event_number, nread, "For baseline-exp-sat events, give the exponential time constant.");
    } else if (!(r.tau1 > 0.0f)) {
      printf("Error: The baseline-exp-sat event %c uses a tau value (%g) <= 1 for run %d,\n", id, r.tau1,
             r.irun + 1);
    } else {
      return SHAPE_BASELINE_ES;
    }
    GLMInternal_describe_event_format(SHAPE_BASELINE_ES);
    return -1;
  }
  if (!strcmp(word, "interaction")) {
    if (nread != 4) {
      words_read_message(r, event_number, nread, "For interaction events, give two event types that interact.");
    } else {
      int a = GLM_EventNumberFromCharID(w1[0]);
      int b = GLM_EventNumberFromCharID(w2[0]);
      if (a < 1 || b < 1) {
        printf("One of the interacting events (%c, %c) is not allowed\n", w1[0], w2[0]);
        printf("on line %d in file %s\n", r.line_number, r.file_name);
      } else if (find_event(a) < 0 || find_event(b) < 0) {
        printf("For event %c, interacting events must be previously defined.\n", id);
      } else if (a == b) {
        printf("For event %c, the two interacting events are the same!\n", id);
      } else {
        return SHAPE_INTERACT;
      }
    }
    GLMInternal_describe_event_format(SHAPE_INTERACT);
    return -1;
  }
  puts("Error: stimulus shapes are 'square' (default), 'gamma', 'sigmoid', 'drug-IRF'");
  printf("or `table' (error on line %d).\n", r.line_number);
  return -1;
}

int check_known_event(EventReader &r, int index, int shape, float alpha) {
  char c = GLM_EventCharID(GLM.event_number[index]);
  if (GLM.event_shape[index] != shape) {
    printf("Error: event %c does not have a consistent shape.\n", c);
    printf("The shape is %d in the 1st run and %d in run %d\n", GLM.event_shape[index], shape, r.irun + 1);
    return 1;
  }
  if (has_time_constant(shape) &&
      (GLM.event_tau1[index] != r.tau1 || GLM.event_alpha[index] != alpha ||
       (shape == SHAPE_DRUGIRF && GLM.event_tau2[index] != r.tau2))) {
    printf("Error: event %c does not have a consistent time constant.\n", c);
    return 1;
  }
  if (shape >= SHAPE_BASELINE0 && shape <= SHAPE_BASELINE_ES) {
    printf("Error: event %c is a baseline regressor and must be unique.\n", c);
    puts("Use different regressors in different runs.");
    return 1;
  }
  return 0;
}

int read_header(EventReader &r, char *line) {
  char id[ZOR_LINE], word[ZOR_LINE] = "", w1[ZOR_LINE] = "", w2[ZOR_LINE] = "";
  int nread = sscanf(line, "%1023s %1023s %1023s %1023s", id, word, w1, w2);
  int infinite = 0;
  if (nread >= 3 && sscanf(w1, "%f", &r.tau1) == 1 && !std::isfinite(r.tau1)) infinite = 1;
  if (nread >= 4 && sscanf(w2, "%f", &r.tau2) == 1 && !std::isfinite(r.tau2)) infinite = 1;
  r.istim = 0;

  int event_number = id[0] == '-' ? EXCLUSION : GLM_EventNumberFromCharID(id[0]);
  if (event_number == 0) {
    printf("Event number (%d) for event (%c) is not allowed on line %d in file %s\n", event_number, id[0],
           r.line_number, r.file_name);
    return 1;
  }
  if (infinite) {
    printf("Error on line %d for event type %d in file %s\n", r.line_number, event_number, r.file_name);
    puts("The numbers of an event header must be finite.");
    return 1;
  }
  float alpha;
  int shape = shape_of_header(r, event_number, id[0], word, w1, w2, nread, &alpha);
  if (shape < 0) return 1;
  if (event_number == 0) {  // refused above already; kept as the reader's last guard
    printf("Error read line %d of the GLM file %s.\n", r.line_number, r.file_name);
    puts("Stim event 0 is reserved for the baseline condition.");
    return 1;
  }
  r.event_number = event_number;
  r.shape = shape;
  if (event_number == EXCLUSION) return 0;

  int index = find_event(event_number);
  if (index >= 0) {
    if (check_known_event(r, index, shape, alpha)) return 1;
  } else {
    if (GLM.nevents + 1 > GLM_MAX_EVENTS) {
      printf("Error: # of stimulus events (%d) > max dimension in program (%d).\n", GLM.nevents + 1,
             GLM_MAX_EVENTS);
      zor_exit(1);
    }
    index = GLM.nevents++;
    GLM.event_number[index] = event_number;
    GLM.event_shape[index] = shape;
    GLM.nstims[index] = 0;
    GLM.event_tau1[index] = r.tau1;
    GLM.event_tau2[index] = r.tau2;
    GLM.event_alpha[index] = alpha;
    GLM.length_drugIRF[index] = 0;
    GLM.drugIRF[index] = GLM.plasmaIRF[index] = nullptr;
    if (shape == SHAPE_DRUGIRF && build_drug_kernels(index, r.tau1, r.tau2)) return 1;
  }
  r.index = index;

  float run_on = GLM.run_start[r.irun] * GLM.tr[0];
  float run_off = GLM.run_stop[r.irun] * GLM.tr[0];
  if (shape == SHAPE_TABLE) {
    int icolumn = glm_whole_number(r.tau1);
    append_stimulus(index, run_on, run_off, 1.0f, icolumn);
    if (icolumn >= GLM.table_ncolumns[r.irun]) {
      printf("Error: column number (%d) for event %c\n", icolumn, id[0]);
      printf("       >= number of columns (%d) for run %d\n", GLM.table_ncolumns[r.irun], r.irun + 1);
      return 1;
    }
    if (GLM.drift_correct_table[event_number] == -1) GLM.drift_correct_table[event_number] = GLM_input.nbaseline_terms;
    if (GLM.drift_correct_table[event_number] > 0) {
      if (glm_output_info)
        printf("drift-correct table event %c for run %d and column %d using %d terms\n", id[0], r.irun + 1,
               icolumn, GLM_input.nbaseline_terms);
      GLMInternal_drift_correct_table(r.irun, icolumn, GLM_input.nbaseline_terms);
    }
  } else if (is_run_spanning(shape)) {
    append_stimulus(index, run_on, run_off, 1.0f, 0);
  }
  return 0;
}

int read_stimulus(EventReader &r, char *line) {
  r.istim++;
  float on = 0.0f, off = 0.0f, magnitude = 1.0f;
  int shape = r.shape;
  if (shape == NO_SHAPE_YET) {
    printf("Error reading line %d of the GLM file %s: a blank line and an event header must come first.\n",
           r.line_number, r.file_name);
    return 1;
  }
  if (r.event_number != EXCLUSION && is_run_spanning(shape)) {
    printf("Error interpretting line %d of the GLM file %s\n", r.line_number, r.file_name);
    puts("Only a blank line should follow a table, baseline, or interaction event.");
    GLMInternal_describe_event_format(shape);
    return 1;
  }
  if (shape == SHAPE_GAMMA || shape == SHAPE_SIGMOID) {
    if (sscanf(line, "%f %f", &on, &magnitude) < 1) {
      printf("Error reading line %d of the GLM file %s\n", r.line_number, r.file_name);
      printf("This line should at least give the ON time for event %c and stim %d.\n",
             GLM_EventCharID(r.event_number), r.istim);
      GLMInternal_describe_event_format(shape);
      return 1;
    }
    off = (GLM.run_stop[r.irun] - GLM.run_start[r.irun]) * GLM.tr[r.irun];
  } else if (shape == SHAPE_SQUARE || shape == SHAPE_RAMPUP || shape == SHAPE_RAMPDOWN || shape == SHAPE_EXPDOWN ||
             shape == SHAPE_DRUGIRF || shape == SHAPE_SINE || shape == SHAPE_COSINE) {
    if (sscanf(line, "%f %f %f", &on, &off, &magnitude) < 2) {
      printf("Error reading line %d of the GLM file %s\n", r.line_number, r.file_name);
      printf("This should be on time & off time for event %c and stim %d.\n", GLM_EventCharID(r.event_number),
             r.istim);
      GLMInternal_describe_event_format(shape);
      return 1;
    }
  } else {
    printf("The shape (%d) for event %c is not defined.\n", shape, GLM_EventCharID(r.event_number));
    return 1;
  }

  if (on < 0.0f) {
    printf("Error: ON time must be > 0 for stim %d of event %c.\n", r.istim, GLM_EventCharID(r.event_number));
    return 1;
  }
  if (r.event_number != EXCLUSION && !(on < off)) {
    printf("Error: OFF time must be > ON time for stim %d of event %c.\n", r.istim, GLM_EventCharID(r.event_number));
    return 1;
  }
  if (r.event_number != EXCLUSION) {
    float last = (GLM.run_stop[r.irun] - GLM.run_start[r.irun]) * GLM.tr[r.irun];
    if (!std::isfinite(off) || !std::isfinite(magnitude)) {
      printf("Error reading line %d of the GLM file %s\n", r.line_number, r.file_name);
      printf("The times and magnitude of stim %d of event %c must be finite numbers.\n", r.istim,
             GLM_EventCharID(r.event_number));
      return 1;
    }
    if (on > last) {
      printf("Error reading line %d of the GLM file %s\n", r.line_number, r.file_name);
      printf("Stim %d of event %c starts after the last time point of its run (%g seconds).\n", r.istim,
             GLM_EventCharID(r.event_number), last);
      return 1;
    }
  }
  if (r.event_number == EXCLUSION && on > off) {
    // An exclusion block has no character: this message cannot be completed.
    printf("Error: OFF time must be >= ON time for exclusion segments (event %c).\n", GLM_EventCharID(r.event_number));
    return 1;
  }
  if (r.event_number == EXCLUSION) {
    // Segments are time points of this run: anything else (NaN, infinities,
    // values past the run's end) would turn into a meaningless index.
    int last = GLM.run_stop[r.irun] - GLM.run_start[r.irun];
    if (!std::isfinite(on) || !(off < (float)last + 1.0f)) {
      printf("Error reading line %d of the GLM file %s\n", r.line_number, r.file_name);
      printf("Excluded segments are time points of the run, from 0 to %d.\n", last);
      return 1;
    }
    if (GLM.nexclude >= GLM_MAX_EXCLUDE) {
      printf("Error: the number of segments to exclude (%d) > max dimension in program (%d).\n", GLM.nexclude + 1,
             GLM_MAX_EXCLUDE);
      return 0;
    }
    GLM.exclude_start[GLM.nexclude] = (int)(GLM.run_start[r.irun] + on);
    GLM.exclude_end[GLM.nexclude] = (int)(GLM.run_start[r.irun] + off);
    GLM.nexclude++;
    return 0;
  }
  float shift = GLM.run_start[r.irun] * GLM.tr[r.irun];
  append_stimulus(r.index, shift + on, shift + off, magnitude, 0);
  return 0;
}

void check_events_complete(void) {
  for (int j = 0; j < GLM.nevents; j++) {
    char c;
    if (GLM_EventCharIDFromInteger(GLM.event_number[j], &c)) {
      printf("Programming error: event number (%d) apparenty not defined.?!\n", GLM.event_number[j]);
      zor_exit(1);
    }
    if (GLM.nstims[j] < 1) {
      printf("Error checking problem: # stims < 1 for event %c.\n", c);
      puts("Check format of event description file.");
      zor_exit(1);
    }
    if (GLM.event_shape[j] < SHAPE_SQUARE || GLM.event_shape[j] > SHAPE_INTERACT) {
      printf("Programming error: the event shape (%d) is unknown.\n", GLM.event_shape[j]);
      zor_exit(1);
    }
  }
}

int read_event_lines(FILE *fp, EventReader &r) {
  char line[ZOR_LINE];
  int header_next = 0;
  while (get_line_with_comment(fp, line, ZOR_LINE)) {
    r.line_number++;
    if (is_blank_line(line)) {
      header_next = 1;
      continue;
    }
    int failed = header_next ? read_header(r, line) : read_stimulus(r, line);
    header_next = 0;
    if (failed) return 1;
  }
  return 0;
}

}  // namespace

int GLM_read_event_file(char *file_name, int irun, int ntime_run) {
  FILE *fp = fopen_regular(file_name, "r");
  if (!fp) {
    printf("Error attempting to open the GLM file %s.\n", file_name);
    return 1;
  }
  EventReader r{file_name, irun, 1, 0, -1, NO_SHAPE_YET, 0, 0.0f, 0.0f};
  char line[ZOR_LINE];
  float tr;
  if (!get_line_with_comment(fp, line, ZOR_LINE)) {
    printf("Error reading the 1st line of GLM file %s\n", file_name);
    fclose(fp);
    return 1;
  }
  // A step that is not a positive number would put every sample at one time.
  if (sscanf(line, "%f", &tr) != 1 || !(tr > 0.0f) || !std::isfinite(tr)) {
    printf("Error reading line %d of the GLM file %s (TR).\n", r.line_number, file_name);
    fclose(fp);
    return 1;
  }
  if (irun > 0 && tr != GLM.tr[0]) {
    printf("Error: TR (%f) is not the same as the first run (%f).\n", tr, GLM.tr[0]);
    fclose(fp);
    zor_exit(1);
  }
  GLM.tr[irun] = tr;
  GLM.ntime += ntime_run;
  GLM.run_stop[irun] = GLM.ntime - 1;
  GLM.run_start[irun] = irun == 0 ? 0 : GLM.run_stop[irun - 1] + 1;

  int failed = read_event_lines(fp, r);
  fclose(fp);
  if (failed) return 1;
  check_events_complete();
  return 0;
}
