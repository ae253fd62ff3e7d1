// The PET model's control file: a keyword block, a "runs:" line, then one
// line per run naming its data file, its event file and its table file;
// after the runs the event files, the table normalisation and the regions.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "srtm_internal.h"
#include "zor_alloc.h"
#include "zor_exit.h"
#include "zor_header.h"
#include "zor_text.h"

namespace {

int decode_time_model(char *argument) {
  char word[ZOR_LINE] = "";
  sscanf(argument, "%1023s", word);
  if (!strcmp(word, "srtm") || !strcmp(word, "SRTM") || !strcmp(word, "MRTM") || !strcmp(word, "LSRRM")) {
    SRTM.pet_model = 0;
  } else if (!strcmp(word, "DV") || !strcmp(word, "distribution-volume")) {
    SRTM.pet_model = 1;
  } else {
    SRTM.pet_model = 0;
    printf("Warning: the argument of 'time-model' (%s) is not recognized as SRTM,\n", word);
    puts("so the -t [file name] option will fail using zorview.");
    puts("Valid arguments: SRTM, srtm, MRTM, LSRRM ");
  }
  return 0;
}

int read_run_lines(FILE *fp) {
  char line[ZOR_LINE];
  while (get_line_with_comment(fp, line, ZOR_LINE)) {
    if (srtm_line_is_blank(line)) continue;
    int irun = SRTM.nruns;
    if (irun >= SRTM_MAX_RUNS) {
      printf("Error: more than %d runs are listed in the control file.\n", SRTM_MAX_RUNS);
      return 1;
    }
    char word[ZOR_LINE];
    char *p = next_non_white(line);
    if (sscanf(p, "%1023s", word) != 1) {
      printf("Error reading the bshort file name for run %d.\n", irun + 1);
      return 1;
    }
    strcpy(SRTM_input.run_name[irun], word);
    XD_HEADER header;
    if (read_volume_header(0, SRTM_input.run_name[irun], &header)) return 1;
    SRTM.nt[irun] = header.nt;
    p = next_non_white(p + strlen(word));
    if (sscanf(p, "%1023s", word) != 1) {
      printf("Error reading the GLM file name for run %d.\n", irun + 1);
      return 1;
    }
    strcpy(SRTM_input.glm_name[irun], word);
    p = next_non_white(p + strlen(word));
    if (sscanf(p, "%1023s", word) != 1) {
      printf("Three arguments are required for run %d: [data file] [glm file] [table file].\n", irun + 1);
      return 1;
    }
    strcpy(SRTM_input.table_name[irun], word);
    if (SRTM_read_table_file(SRTM_input.table_name[irun], irun)) return 1;
    SRTM.nruns++;
  }
  return 0;
}

int check_events(void) {
  for (int j = 0; j < SRTM.ncoeff; j++) {
    char c;
    if (SRTM_EventCharFromInteger(SRTM.event_id[j], &c)) {
      printf("Programming error: event number (%d) apparenty not defined.?!\n", SRTM.event_id[j]);
      zor_exit(1);
    }
    if (SRTM.event_shape[j] < srtm::SHAPE_CONSTANT || SRTM.event_shape[j] > srtm::SHAPE_TABLE) {
      printf("Programming error: event shape (%d) is unknown.\n", SRTM.event_shape[j]);
      zor_exit(1);
    }
    if (SRTM.event_type[j] == srtm::TYPE_k2 && SRTM.event_shape[j] != srtm::SHAPE_CONSTANT &&
        SRTM.event_shape[j] != srtm::SHAPE_TABLE) {
      printf("Error: type 'k2' events (ID=%c) must be either constant in time\n", c);
      puts("or have a parametric shape read from a table.");
      return 1;
    }
  }
  return 0;
}

// Divides each table event's column by its running extreme, sign kept.
void normalise_table_columns(void) {
  for (int j = 0; j < SRTM.ncoeff; j++) {
    if (SRTM.event_shape[j] != srtm::SHAPE_TABLE) continue;
    int c = SRTM.icolumn[j];
    float value_max = 0.0f;
    int it = 0;
    for (int r = 0; r < SRTM.nruns; r++) {
      for (int jt = 0; jt < SRTM.nt[r]; jt++, it++) {
        float value = (float)SRTM.table_value[r][c][jt];
        if (fabsf(value) > value_max) {
          value_max = value;
          SRTM.iTimeMax[j] = it;
        }
      }
    }
    if (c != 0 && value_max != 0.0f)
      for (int r = 0; r < SRTM.nruns; r++)
        for (int jt = 0; jt < SRTM.nt[r]; jt++) SRTM.table_value[r][c][jt] /= value_max;
  }
}

int read_regions(int verbose) {
  if (SRTM.pet_model == 0) {
    if (!strcmp(SRTM_input.reference_region_file, "none")) {
      puts("Error: the name of a reference region overlay file must be supplied.");
      return 1;
    }
    if (!strcmp(SRTM_input.target_region_file, "none")) {
      puts("Error: the name of a target region overlay file must be supplied.");
      return 1;
    }
    printf("Read reference region data using overlay %s\n", SRTM_input.reference_region_file);
    printf("Read target    region data using overlay %s\n", SRTM_input.target_region_file);
    for (int r = 0; r < SRTM.nruns; r++)
      if (read_ROIs_from_file(verbose, r, SRTM_input.run_name[r])) return 1;
    return 0;
  }
  if (!strcmp(SRTM_input.target_region_file, "none")) {
    puts("Error: the name of a target region overlay file must be supplied.");
    return 1;
  }
  printf("Read target    region data using overlay %s\n", SRTM_input.target_region_file);
  for (int r = 0; r < SRTM.nruns; r++) {
    if (read_target_ROI_from_file(verbose, r, SRTM_input.run_name[r])) return 1;
    int c = SRTM_input.plasma_column;
    if (c < 0 || c >= SRTM.table_ncolumns[r]) {
      printf("Error: the plasma TAC should be in column %d for all runs, but run %d only has %d columns.\n", c + 1,
             r + 1, SRTM.table_ncolumns[r]);
      return 1;
    }
    for (int jt = 0; jt < SRTM.nt[r]; jt++) SRTM.reference_region[r][jt] = SRTM.table_value[r][c][jt];
  }
  return 0;
}

void reference_derivatives(void) {
  for (int r = 0; r < SRTM.nruns; r++) {
    const double *ref = SRTM.reference_region[r];
    for (int jt = 0; jt < SRTM.nt[r]; jt++) {
      float dt = (float)SRTM.table_value[r][0][jt];
      double d = jt == 0 ? ref[jt] / dt : (ref[jt] - ref[jt - 1]) / dt;
      SRTM.ref_region_deriv[r][jt] = (float)d;
    }
  }
}

}  // namespace

int SRTMInternal_decode_keyword(char *line) {
  char keyword[ZOR_LINE] = "";
  if (sscanf(line, "%1023s", keyword) != 1) return -1;
  char *argument = argument_of(line);

  if (!strcmp(keyword, "time-model")) return decode_time_model(argument);
  if (!strcmp(keyword, "plasma-column")) {
    int value;
    if (sscanf(argument, "%d", &value) != 1) {
      puts("Error: `plasma-column' requires an integer argument.");
      return -1;
    }
    SRTM_input.plasma_column = value - 1;
    return 0;
  }
  if (!strcmp(keyword, "multiple-comparisons")) {
    int value;
    if (sscanf(argument, "%d", &value) != 1) {
      puts("Error: `multiple-comparisons' requires an integer argument.");
      return -1;
    }
    SRTM_input.multiple_comparisons = value;
    return 0;
  }
  if (!strcmp(keyword, "half-life")) {
    float value;
    if (sscanf(argument, "%g", &value) != 1) {
      puts("Error: `half-life' requires a floating argument.");
      return -1;
    }
    SRTM_input.half_life = value;
    return 0;
  }
  if (!strcmp(keyword, "output-format")) {
    char word[ZOR_LINE] = "";
    sscanf(argument, "%1023s", word);
    if (!strcmp(word, "nifti") || !strcmp(word, "NIFTI")) SRTM_input.nifti_output = 1;
    if (!strcmp(word, "zor") || !strcmp(word, "ZOR")) SRTM_input.nifti_output = 0;
    return 0;
  }
  if (!strcmp(keyword, "reference-region") || !strcmp(keyword, "target-region")) {
    char word[ZOR_LINE];
    char *field = keyword[0] == 'r' ? SRTM_input.reference_region_file : SRTM_input.target_region_file;
    if (sscanf(argument, "%1023s", word) == 1) strcpy(field, word);
    return 0;
  }
  if (!strcmp(keyword, "conditions")) {
    copy_without_line_end(SRTM_input.condition_string, argument);
    return 0;
  }
  if (!strcmp(keyword, "files:") || !strcmp(keyword, "files") || !strcmp(keyword, "runs:") ||
      !strcmp(keyword, "runs"))
    return 1;
  return -1;
}

void SRTMInternal_describe_glm_format(void) {
  puts("\nExample glm input file:");
  puts("conditions 1 2 12 1-2           # mandatory; Statistical tests MUST be included");
  puts("runs:                           # mandatory; This means that runs follow.");
  puts("../srtm1.nii srtm1.glm srtm1.table # start listing runs, each with a GLM description and table");
  puts("../srtm2.nii srtm2.glm srtm2.table # ... and so on");
}

int SRTM_read_control_file(int verbose, char *file_name) {
  srtm_reset_inputs();

  FILE *fp = fopen(file_name, "r");
  if (!fp) {
    printf("Error: cannot open the file %s.\n", file_name);
    return 1;
  }
  int list_found;
  if (read_control_keywords(fp, file_name, SRTMInternal_decode_keyword, srtm_line_is_blank,
                            SRTMInternal_describe_glm_format, &list_found)) {
    fclose(fp);
    return 1;
  }
  int failed = read_run_lines(fp);
  fclose(fp);
  if (failed) return 1;

  SRTM_input.nruns = SRTM.nruns;
  for (int r = 0; r < SRTM.nruns; r++) {
    SRTM.run_istart[r] = r == 0 ? 0 : SRTM.run_istop[r - 1] + 1;
    SRTM.run_istop[r] = SRTM.run_istart[r] + SRTM.nt[r] - 1;
  }
  for (int r = 0; r < SRTM.nruns; r++)
    if (SRTM_read_GLM_file(SRTM_input.glm_name[r], r)) return 1;

  if (check_events()) return 1;
  normalise_table_columns();
  if (read_regions(verbose)) return 1;
  reference_derivatives();

  srtm_allocate_design();
  SRTM.initialized = 1;
  return 0;
}
