// Table files: a line of column names, then one line of numbers per time
// point of the run. Table events take their regressors from these columns.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "zor_alloc.h"
#include "zor_exit.h"
#include "zor_glm.h"
#include "zor_regular_file.h"
#include "zor_text.h"

namespace {

int read_column_names(FILE *fp, const char *file_name, int irun) {
  char line[ZOR_LINE];
  if (!get_line_with_comment(fp, line, ZOR_LINE)) {
    printf("Error reading line %d of TABLE file %s\n", 1, file_name);
    return 1;
  }
  std::vector<std::string> names = split_words(line);
  int ncolumns = (int)names.size();
  if (ncolumns > GLM_MAX_TABLE_COLUMNS) {
    printf("Error: the TABLE file %s has %d columns, more than the %d allowed.\n", file_name, ncolumns,
           GLM_MAX_TABLE_COLUMNS);
    return 1;
  }
  for (int c = 0; c < ncolumns; c++) {
    if (irun == 0) {
      snprintf(GLM.table_column_name[c], ZOR_LINE, "%s", names[c].c_str());
    } else if (strcmp(GLM.table_column_name[c], names[c].c_str())) {
      printf("Warning: runs 1 & %d have mismatched names (%s & %s) in column %d.\n", irun + 1,
             GLM.table_column_name[c], names[c].c_str(), c);
    }
  }
  GLM.table_ncolumns[irun] = ncolumns;
  if (irun > 0 && ncolumns != GLM.table_ncolumns[0])
    printf("Warning: the tables for runs %d/%d have different numbers of columns (%d/%d)\n", 1, irun + 1,
           GLM.table_ncolumns[0], ncolumns);
  return 0;
}

}  // namespace

int GLM_read_table_file(char *file_name, int irun, int ntime_run) {
  if (file_name[0] == '\0') return 0;
  FILE *fp = fopen_regular(file_name, "r");
  if (!fp) {
    printf("Error attempting to open the TABLE file %s.\n", file_name);
    return 1;
  }
  if (read_column_names(fp, file_name, irun)) {
    fclose(fp);
    return 1;
  }
  char line[ZOR_LINE];
  int ntime = 0;
  while (get_line_with_comment(fp, line, ZOR_LINE)) ntime++;
  if (ntime != ntime_run) {
    printf("Error: the number of time points in the table (%d) does not match the data file (%d).\n", ntime,
           ntime_run);
    fclose(fp);
    return 1;
  }

  rewind(fp);
  get_line_with_comment(fp, line, ZOR_LINE);
  if (GLM.table_value[irun]) free_float_matrix(GLM.table_value[irun], GLM_MAX_TABLE_COLUMNS, GLM.table_ntime[irun]);
  GLM.table_ntime[irun] = ntime;
  GLM.table_value[irun] = float_matrix(GLM_MAX_TABLE_COLUMNS, ntime > 0 ? ntime : 1);
  for (int c = 0; c < GLM_MAX_TABLE_COLUMNS; c++)
    for (int t = 0; t < ntime; t++) GLM.table_value[irun][c][t] = 0.0f;

  int ncolumns = GLM.table_ncolumns[irun];
  for (int t = 0; t < ntime; t++) {
    get_line_with_comment(fp, line, ZOR_LINE);
    std::vector<std::string> words = split_words(line);
    for (int c = 0; c < ncolumns; c++) {
      if (c >= (int)words.size()) {
        printf("Error reading line %d of TABLE file %s\n", t + 2, file_name);
        fclose(fp);
        return 1;
      }
      float value;
      if (sscanf(words[c].c_str(), "%f", &value) != 1) continue;  // not a number: left as it was
      if (!std::isfinite(value)) {  // infinities are no usable entry either
        printf("Error: table entry %d in column %d of run %d is not a number.\n", t, c, irun + 1);
        fclose(fp);
        zor_exit(1);
      }
      GLM.table_value[irun][c][t] = value;
    }
  }
  fclose(fp);
  return 0;
}
