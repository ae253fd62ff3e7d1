// The first line of every model control file, "time-model <name>", tells
// which engine reads the rest of it.
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "zor_text.h"
#include "zor_time_model.h"

namespace {

// A line holds something when a number scan could start on it.
bool line_has_content(const char *line) {
  int value;
  return sscanf(line, "%d", &value) != EOF;
}

void describe_first_line(const char *file_name) {
  printf("Error: the first line in the time model file %s should be 'time-model [model name]'.\n",
         file_name);
  puts("models:");
  puts("\tglm, GLM, fMRI-GLM");
  puts("\tsrtm, SRTM, MRTM, LSRRM");
  puts("\trem, REM, mem, MEM");
  puts("\tOR generalized fitting, with the argument indicating the fit type");
}

bool is_one_of(const char *word, std::initializer_list<const char *> names) {
  for (const char *name : names)
    if (strcmp(word, name) == 0) return true;
  return false;
}

}  // namespace

int determine_TimeSeriesModel(char *FileName) {
  FILE *fp = fopen(FileName, "r");
  if (!fp) {
    printf("Error: cannot open file %s containing the time model\n", FileName);
    return 0;
  }
  char line[ZOR_LINE] = "";
  bool found = false;
  while (get_line_with_comment(fp, line, ZOR_LINE)) {
    if (line_has_content(line)) {
      found = true;
      break;
    }
  }
  fclose(fp);
  if (!found) line[0] = '\0';

  char keyword[ZOR_LINE] = "";
  sscanf(line, "%1023s", keyword);
  if (strcmp(keyword, "time-model") != 0) {
    describe_first_line(FileName);
    return 0;
  }
  // The argument starts at the first non-blank character after the keyword;
  // a missing name leaves the word empty, which no fixed name matches.
  const char *argument = next_non_white(strstr(line, "time-model") + strlen("time-model"));
  char word[ZOR_LINE] = "";
  sscanf(argument, "%1023s", word);

  if (is_one_of(word, {"glm", "GLM", "fMRI-GLM"})) {
    puts("Time model is GLM for fMRI (1st level)");
    return MODEL_GLM;
  }
  if (is_one_of(word, {"rem", "REM", "mem", "MEM"})) {
    puts("Time model is REM/MEM (random-effects or mixed-effects model)");
    return MODEL_REM;
  }
  if (is_one_of(word, {"srtm", "SRTM", "MRTM", "LSRRM"})) {
    puts("Time model is SRTM for PET");
    return MODEL_SRTM;
  }
  if (is_one_of(word, {"DV", "distribution-volume"})) {
    puts("Time model is DV for PET");
    return MODEL_SRTM;
  }
  // Any other word names a fit type, which the fitting engine judges.
  puts("Time model is generalized fitting");
  return MODEL_FIT;
}
