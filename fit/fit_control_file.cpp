// The fit's control file: a keyword block ending at "files:", then one line
// per data file with, for tensor fits, its gradient table.
#include <cstdio>
#include <cstring>

#include "fit_internal.h"
#include "zor_alloc.h"
#include "zor_align.h"
#include "zor_exit.h"
#include "zor_fit.h"
#include "zor_header.h"
#include "zor_text.h"

namespace {

int decode_time_model(char *argument) {
  char word[ZOR_LINE] = "";
  sscanf(argument, "%1023s", word);
  strcpy(FIT_input.type, word);
  const fit_type_entry *e = fit_type_by_argument(word);
  if (!e) {
    // The list names only some of the types: that is the message users know.
    puts("Error: allowed fit types are:");
    puts("       survival-2");
    puts("       survival-3");
    puts("       survival-5");
    puts("       T2");
    return -1;
  }
  FIT.fit_class = e->fit_class;
  FIT.type = e->type;
  FIT.nparam_fit = e->nparam_fit;
  FIT.nparam_output = e->nparam_output;
  FIT.dim_x = fit_is_tensor(e->type) ? 4 : 1;
  for (int i = 0; i < FIT_MAX_PARAMETERS; i++) FIT.param_name[i][0] = '\0';
  for (int i = 0; i < e->nparam_output; i++) strcpy(FIT.param_name[i], e->names[i]);
  if (e->type == FIT_FDG_POLY || e->type == FIT_FDG_EXP) printf("fit type %d\n", e->type);
  if (fit_is_tensor(e->type)) {
    for (int i = 0; i < 12; i++) Alignment.value[i] = 0.0f;
    Alignment.value[ALIGN_XSCALE] = Alignment.value[ALIGN_YSCALE] = Alignment.value[ALIGN_ZSCALE] = 1.0f;
    Alignment.RigidBody = 1;
  }
  return 0;
}

void decode_reverse(char *argument) {
  if (!fit_is_tensor(FIT.type)) {
    puts("Not DTI: reverse keyword is ignored.");
    return;
  }
  char word[ZOR_LINE];
  int used = 0;
  char *p = argument;
  while (sscanf(p, "%1023s%n", word, &used) == 1) {
    if (!strcmp(word, "x")) ReverseBDirection.x = 1;
    if (!strcmp(word, "y")) ReverseBDirection.y = 1;
    if (!strcmp(word, "z")) ReverseBDirection.z = 1;
    p += used;
  }
}

int is_files_keyword(const char *k) {
  static const char *words[] = {"files:", "files", "runs:",  "runs",   "Files:", "Files",
                                "Runs:",  "Runs",  "Scans:", "Scans", "scans:", "scans"};
  for (const char *w : words)
    if (!strcmp(k, w)) return 1;
  return 0;
}

// The file lines up to the end of the file.
int read_file_lines(FILE *fp) {
  char line[ZOR_LINE];
  while (get_line_with_comment(fp, line, ZOR_LINE)) {
    if (fit_line_is_blank(line)) continue;
    const int ifile = FIT_input.nfiles;
    if (ifile >= FIT_MAX_FILES) {
      printf("Error: more than %d files are listed in the control file.\n", FIT_MAX_FILES);
      return 1;
    }
    char words[2][ZOR_LINE];
    const int nread = sscanf(line, "%1023s %1023s", words[0], words[1]);
    if (nread < 1) {
      printf("Error reading the file name for file %d.\n", ifile + 1);
      return 1;
    }
    if (nread < 2 && fit_is_tensor(FIT.type)) {
      printf("Error reading the DTI description file name for run %d.\n", ifile + 1);
      return 1;
    }
    strcpy(FIT_input.file_name[ifile], words[0]);
    strcpy(FIT_input.description_file_name[ifile], nread >= 2 ? words[1] : words[0]);
    FIT_input.nfiles++;
  }
  return 0;
}

void define_x_axis_for_survival(void) {
  for (int j = 0; j < FIT.ntime; j++) FIT.xVector[0][j] = (float)(2 * j) / (float)FIT.ntime - 1.0f;
}

}  // namespace

int FITInternal_read_map_array(char *argument) {
  if (FIT_input.xVector) free_float_vector(FIT_input.xVector);
  FIT_input.xVector = nullptr;
  FIT_input.ntime = 0;
  char token[ZOR_LINE];
  int used = 0, count = 0;
  float value;
  for (char *p = argument; sscanf(p, "%1023s%n", token, &used) == 1; p += used) {
    if (sscanf(token, "%f", &value) != 1) break;
    count++;
  }
  if (count < 2) {
    puts("Fewer than 2 values were successfully read.");
    return 1;
  }
  FIT_input.xVector = float_vector(count);
  char *p = argument;
  for (int i = 0; i < count; i++) {
    sscanf(p, "%1023s%n", token, &used);
    sscanf(token, "%f", &FIT_input.xVector[i]);
    p += used;
  }
  FIT_input.ntime = count;
  return 0;
}

void FITInternal_describe_format(void) {
  printf("\nExample input file for fits:\n");
  // The first line has no line end of its own: the two lines print as one.
  printf("fit-type [type]     # this MUST be included");
  puts("files:              # mandatory; This means that runs follow.");
  puts("../data-input-1.nii");
  puts("../data-input-2.nii");
}

int FITInternal_decode_keyword(char *line) {
  char keyword[ZOR_LINE] = "";
  if (sscanf(line, "%1023s", keyword) != 1) return -1;
  char *argument = argument_of(line);

  if (!strcmp(keyword, "time-model")) return decode_time_model(argument);
  if (!strcmp(keyword, "output-format")) {
    char word[ZOR_LINE] = "";
    sscanf(argument, "%1023s", word);
    if (!strcmp(word, "nifti") || !strcmp(word, "NIFTI")) FIT_input.nifti_output = 1;
    if (!strcmp(word, "zor") || !strcmp(word, "ZOR")) FIT_input.nifti_output = 0;
    return 0;
  }
  if (!strcmp(keyword, "reverse")) {
    decode_reverse(argument);
    return 0;
  }
  if (!strcmp(keyword, "x-array") || !strcmp(keyword, "x-vector")) return FITInternal_read_map_array(argument);
  if (!strcmp(keyword, "registration-file")) {
    if (!fit_is_tensor(FIT.type)) {
      puts("No DTI: registration-file is ignored.");
      return 0;
    }
    char word[ZOR_LINE] = "";
    sscanf(argument, "%1023s", word);
    return read_registration_file(word);
  }
  if (is_files_keyword(keyword)) {
    if (fit_is_tensor(FIT.type)) define_affine_matrix();
    return 1;
  }
  return -1;
}

int FIT_read_control_file(int verbose, char *file_name) {
  // Start clean: a second control file in the same run keeps nothing of the first.
  fit_release_arrays();
  const int notify = FIT_input.notify;
  const int nifti_output = 1;
  memset(&FIT_input, 0, sizeof FIT_input);
  FIT_input.notify = notify;
  FIT_input.nifti_output = nifti_output;
  memset(&FIT, 0, sizeof FIT);
  FIT.fit_class = -1;
  FIT.type = -1;
  ReverseBDirection = IPOINT3D{0, 0, 0};

  FILE *fp = fopen(file_name, "r");
  if (!fp) {
    printf("Error: cannot open the file %s.\n", file_name);
    return 1;
  }
  int list_found;
  if (read_control_keywords(fp, file_name, FITInternal_decode_keyword, fit_line_is_blank, FITInternal_describe_format,
                            &list_found)) {
    fclose(fp);
    return 1;
  }
  const int failed = read_file_lines(fp);
  fclose(fp);
  if (failed) return 1;

  FIT.nfiles = FIT_input.nfiles;
  FIT.ntime = 0;
  for (int i = 0; i < FIT.nfiles; i++) {
    XD_HEADER header;
    if (read_volume_header(verbose, FIT_input.file_name[i], &header)) return 1;
    FIT.nt[i] = header.nt;
    FIT.file_start[i] = FIT.ntime;
    FIT.ntime += header.nt;
    FIT.file_stop[i] = FIT.ntime - 1;
  }

  // The arrays get at least one element, so that a study without files
  // has nothing unallocated behind its pointers.
  const int size = FIT.ntime > 0 ? FIT.ntime : 1;
  if (FIT.dim_x < 1) FIT.dim_x = 1;
  FIT.Weight = float_vector(size);
  for (int j = 0; j < size; j++) FIT.Weight[j] = 1.0f;
  FIT.xVector = float_matrix(FIT.dim_x, size);
  for (int r = 0; r < FIT.dim_x; r++)
    for (int j = 0; j < size; j++) FIT.xVector[r][j] = 0.0f;

  if (fit_is_tensor(FIT.type)) {
    for (int i = 0; i < FIT.nfiles; i++)
      if (FIT_read_DTI_description_file(i, FIT_input.description_file_name[i])) return 1;
    FIT_define_DTI_basis_functions(FIT.ntime, FIT.Weight);
  }
  if (FIT.type == FIT_FDG_POLY) FIT_define_FDG_basis_functions(FIT.ntime, 1.0f, FIT.Weight);

  if (FIT.fit_class == FIT_SURVIVAL) define_x_axis_for_survival();
  if (FIT.fit_class == FIT_RELAXATION) {
    if (FIT_input.ntime != FIT.ntime) {
      printf("Error: the number of x values (%d) does not match the number of images (%d).\n", FIT_input.ntime,
             FIT.ntime);
      puts("Did you use the 'x-values' keyword to define a list of x values for fitting?");
      return 1;
    }
    for (int j = 0; j < FIT.ntime; j++) FIT.xVector[0][j] = FIT_input.xVector[j];
  }

  FIT.dof = (float)(FIT.ntime - FIT.nparam_fit);
  printf("fit type still %d\n", FIT.type);
  FIT.initialized = 1;
  return 0;
}
