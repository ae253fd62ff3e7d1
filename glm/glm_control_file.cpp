// The model's control file: a keyword block, a "runs:" line, then one line
// per run naming its image, its event file and optionally its table.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "glm_internal.h"
#include "zor_glm.h"
#include "zor_header.h"
#include "zor_regular_file.h"
#include "zor_text.h"

int glm_output_info = 0;

namespace {

int decode_time_model(char *argument) {
  char word[ZOR_LINE] = "";
  sscanf(argument, "%1023s", word);
  if (!strcmp(word, "glm") || !strcmp(word, "GLM") || !strcmp(word, "fMRI-GLM")) return 0;
  printf("Warning: the argument of 'time-model' (%s) is not recognized as GLM,\n", word);
  puts("so the -t [file name] option will fail using zorview.");
  puts("Valid arguments: GLM, glm, fMRI-GLM");
  return 0;
}

int decode_baseline_terms(char *argument) {
  int n;
  if (sscanf(argument, "%d", &n) != 1) {
    puts("Error: `baseline-terms' requires an argument (1,2,3).");
    return -1;
  }
  if (n < 0 || n > 4) {
    puts("Error: allowed value for `baseline-terms' are 0-4.");
    return -1;
  }
  GLM_input.nbaseline_terms = n;
  for (int j = 0; j < GLM_MAX_EVENTS; j++)
    if (GLM.drift_correct_table[j] == -1) GLM.drift_correct_table[j] = n;
  return 0;
}

int decode_scale_event(char *argument) {
  float scale;
  char word[ZOR_LINE];
  int n = -1;
  if (sscanf(argument, "%f %1023s", &scale, word) == 2 && std::isfinite(scale)) n = GLM_EventNumberFromCharID(word[0]);
  // A comma names no slot of the table; it gets the usage message too.
  if (n < 0) {
    puts("Error: use `scale-event [scale] [event].");
    return -1;
  }
  GLM.event_scale[n] = scale;
  return 0;
}

int decode_noise_model(char *argument) {
  char word[ZOR_LINE];
  float half_life = 0.0f;
  int nread = sscanf(argument, "%1023s %f", word, &half_life);
  if (nread < 1 || (nread == 2 && !std::isfinite(half_life))) {
    puts("Error: `noise-model' requires a character argument (OLS,iWLS,fPET)");
    return -1;
  }
  if (!strcmp(word, "none") || !strcmp(word, "OLS")) {
    GLM_input.noise_model = NOISE_OLS;
  } else if (!strcmp(word, "iWLS")) {
    GLM_input.noise_model = NOISE_iWLS;
  } else if (!strcmp(word, "fPET")) {
    GLM_input.noise_model = NOISE_fPET;
  } else {
    puts("Error: `noise-model' requires an integer argument (fPET or none).");
    return -1;
  }
  GLM_input.half_life = nread == 2 ? half_life : 0.0f;
  return 0;
}

int decode_band(char *argument, float *low, float *high, const char *message) {
  float a, b;
  if (sscanf(argument, "%g %g", &a, &b) != 2 || !std::isfinite(a) || !std::isfinite(b)) {
    puts(message);
    return -1;
  }
  *low = a;
  *high = b;
  return 0;
}

// Marks table events by their characters; a character that names no event
// ends the keyword block after its message, as a "runs:" line would.
int mark_events(const char *characters, int *table, int value, const char *keyword) {
  for (const char *p = characters; *p; p++) {
    if (*p <= ' ') continue;
    int n = GLM_EventNumberFromCharID(*p);
    if (n < 1) {
      printf("Error using %s: event %c is undefined.\n", keyword, *p);
      return 1;
    }
    table[n] = value;
  }
  return 0;
}

int decode_drift_correct(char *argument) {
  int nterms;
  if (sscanf(argument, "%d", &nterms) != 1) {
    puts("Error: `drift-correct' requires an integer argument, followed by event IDs.");
    return -1;
  }
  // The count is taken as one digit: the event characters follow it.
  return mark_events(argument[0] ? argument + 1 : argument, GLM.drift_correct_table, nterms,
                     "drift-correct");
}

}  // namespace

int GLMInternal_decode_keyword(char *line) {
  char keyword[ZOR_LINE] = "";
  if (sscanf(line, "%1023s", keyword) != 1) return -1;
  char *argument = argument_of(line);

  if (!strcmp(keyword, "time-model")) return decode_time_model(argument);
  if (!strcmp(keyword, "baseline-terms")) return decode_baseline_terms(argument);
  if (!strcmp(keyword, "scale-event")) return decode_scale_event(argument);
  if (!strcmp(keyword, "AR")) {
    int order;
    float smooth;
    int nread = sscanf(argument, "%d %f", &order, &smooth);
    if (nread < 1 || (nread == 2 && !std::isfinite(smooth))) {
      puts("Error: `AR' requires an integer argument.");
      return -1;
    }
    GLM_input.AR_order = order;
    GLM_input.AR_smooth_mm = nread == 2 ? smooth : 1.0f;
    return 0;
  }
  if (!strcmp(keyword, "noise-model")) return decode_noise_model(argument);
  if (!strcmp(keyword, "frequency-filter"))
    return decode_band(argument, &GLM_input.freq_low_pre, &GLM_input.freq_high_pre,
                       "Error: `frequency-filter' requires two arguments.");
  if (!strcmp(keyword, "residue-filter"))
    return decode_band(argument, &GLM_input.freq_low_post, &GLM_input.freq_high_post,
                       "Error: `residue-filter' requires two arguments.");
  if (!strcmp(keyword, "multiple-comparisons")) {
    int value;
    if (sscanf(argument, "%d", &value) != 1) {
      puts("Error: `multiple-comparisons' requires an integer argument.");
      return -1;
    }
    GLM_input.multiple_comparisons = value;
    return 0;
  }
  if (!strcmp(keyword, "normalize-BOLD")) {
    GLM_input.normalize_runs = 1;
    return 0;
  }
  if (!strcmp(keyword, "normalize-IRON")) {
    GLM_input.normalize_runs = 2;
    return 0;
  }
  if (!strcmp(keyword, "notify")) {
    GLM_input.notify = 1;
    return 0;
  }
  if (!strcmp(keyword, "fPET-analysis")) {
    GLM_input.fPET_integral = 1;
    GLM_input.nbaseline_terms = 0;
    return 0;
  }
  if (!strcmp(keyword, "output-format")) {
    char word[ZOR_LINE] = "";
    sscanf(argument, "%1023s", word);
    if (!strcmp(word, "nifti") || !strcmp(word, "NIFTI")) GLM_input.nifti_output = 1;
    if (!strcmp(word, "zor") || !strcmp(word, "ZOR")) GLM_input.nifti_output = 0;
    return 0;
  }
  if (!strcmp(keyword, "IRF") || !strcmp(keyword, "HRF-file")) {
    char word[ZOR_LINE] = "";
    sscanf(argument, "%1023s", word);
    strcpy(GLM_input.HRF_file_name, word);
    return 0;
  }
  if (!strcmp(keyword, "conditions")) {
    copy_without_line_end(GLM_input.condition_string, argument);
    return 0;
  }
  if (!strcmp(keyword, "convolve-table"))
    return mark_events(argument, GLM.convolve_table, 1, "convolve-table");
  if (!strcmp(keyword, "drift-correct")) return decode_drift_correct(argument);
  if (!strcmp(keyword, "runs:") || !strcmp(keyword, "runs") || !strcmp(keyword, "files:") ||
      !strcmp(keyword, "files"))
    return 1;
  return -1;
}

void GLMInternal_describe_glm_format(void) {
  puts("\nExample glm input file:\n");
  puts("notify                # optional; turn on output information");
  puts("baseline-terms 3      # optional; allowed options are 1-4 (default = 2)");
  puts("normalize-BOLD        # optional; normalize raw signal for BOLD");
  puts("IRF BOLD.irf          # optional; use an I.R.F. for F.I.R. analyses");
  puts("convolve-table 8 9    # optional; convolve table events 8 & 9 with IRF");
  puts("conditions 1 2 12 1-2 # mandatory; Statistical tests MUST be included");
  puts("runs:                 # mandatory; This means that runs follow.");
  puts("../fMRI-run1.bshort run1.glm table1.dat # start listing runs, tables optional");
  puts("../fMRI-run2.bshort run2.glm            # ... and so on ...\n");
}

namespace {

int is_shortened_shape(int shape) {
  return shape == SHAPE_SQUARE || shape == SHAPE_RAMPUP || shape == SHAPE_RAMPDOWN ||
         shape == SHAPE_EXPDOWN || shape == SHAPE_DRUGIRF;
}

// Stimuli that abut would share one sample of the fine time axis.
void separate_abutting_stimuli(void) {
  for (int j = 0; j < GLM.nevents; j++) {
    if (!is_shortened_shape(GLM.event_shape[j])) continue;
    for (int a = 0; a < GLM.nstims[j]; a++)
      for (int b = 0; b < GLM.nstims[j]; b++)
        if (a != b && GLM.stim_on[j][b] == GLM.stim_off[j][a]) GLM.stim_off[j][a] -= HRF.time_step;
  }
}

int read_run_lines(FILE *fp) {
  char line[ZOR_LINE];
  while (get_line_with_comment(fp, line, ZOR_LINE)) {
    if (is_blank_line(line)) continue;
    int irun = GLM_input.nruns;
    if (irun >= GLM_MAX_RUNS) {
      printf("Error: more than %d runs are listed in the control file.\n", GLM_MAX_RUNS);
      return 1;
    }
    char words[3][ZOR_LINE];
    int nread = sscanf(line, "%1023s %1023s %1023s", words[0], words[1], words[2]);
    if (nread < 1) {
      printf("Error reading the bshort file name for run %d.\n", irun + 1);
      return 1;
    }
    strcpy(GLM_input.run_name[irun], words[0]);
    XD_HEADER header;
    if (read_volume_header(0, GLM_input.run_name[irun], &header)) return 1;
    if (nread < 2) {
      printf("Error reading the GLM file name for run %d.\n", irun + 1);
      return 1;
    }
    strcpy(GLM_input.glm_name[irun], words[1]);
    strcpy(GLM_input.table_name[irun], nread >= 3 ? words[2] : "");
    if (GLM_read_table_file(GLM_input.table_name[irun], irun, header.nt)) return 1;
    if (GLM_read_event_file(GLM_input.glm_name[irun], irun, header.nt)) return 1;
    GLM_input.nruns++;
    GLM.nruns++;
  }
  return 0;
}

}  // namespace

int GLM_read_control_file(char *file_name, int notify) {
  GLM_reset_model();

  FILE *fp = fopen_regular(file_name, "r");
  if (!fp) {
    printf("Error: cannot open the file %s.\n", file_name);
    return 1;
  }

  int list_found;
  if (read_control_keywords(fp, file_name, GLMInternal_decode_keyword, is_blank_line, GLMInternal_describe_glm_format,
                            &list_found)) {
    fclose(fp);
    return 1;
  }

  glm_output_info = notify || GLM_input.notify;
  // The kernel's step is needed by drug-IRF events, so it comes before the runs.
  if (GLM_read_hrf_file(glm_output_info, GLM_input.HRF_file_name)) {
    fclose(fp);
    return 1;
  }
  int failed = read_run_lines(fp);
  fclose(fp);
  if (failed) return 1;

  if (HRF.nhrf) separate_abutting_stimuli();
  if (glm_output_info) GLM_describe_stimuli();

  for (int j = 0; j < GLM.nevents; j++) {
    if (GLM.convolve_table[GLM.event_number[j]] == 1 && GLM.event_shape[j] != SHAPE_TABLE) {
      printf("Error: Convolution for table event %c was requested\n", GLM_EventCharID(GLM.event_number[j]));
      puts("using `convolve-table', but this event is not a table.");
      return 1;
    }
  }
  GLM.initialized = 1;
  return 0;
}
