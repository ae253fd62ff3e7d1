// PET table files: a line of column names, then one row per frame. Column 0
// gives the frame durations in seconds and is turned into the spacing of
// frame midpoints in minutes; the other columns feed table-shaped events,
// a relative k2' and the plasma curve.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "srtm_internal.h"
#include "zor_alloc.h"
#include "zor_exit.h"
#include "zor_text.h"

namespace {

std::vector<std::string> words_of(const char *line) {
  std::vector<std::string> words;
  char word[ZOR_LINE];
  int n = 0;
  const char *p = line;
  while (sscanf(p, "%1023s%n", word, &n) == 1) {
    words.emplace_back(word);
    p += n;
  }
  return words;
}

double *run_vector(int n, double value) {
  double *v = double_vector(n > 0 ? n : 1);
  for (int j = 0; j < (n > 0 ? n : 1); j++) v[j] = value;
  return v;
}

}  // namespace

int SRTM_read_table_file(char *file_name, int irun) {
  if (irun < 0 || irun >= SRTM_MAX_RUNS) {
    printf("Error: run %d is out of range (1-%d).\n", irun + 1, SRTM_MAX_RUNS);
    return 1;
  }
  FILE *fp = fopen(file_name, "r");
  if (!fp) {
    printf("Error attempting to open the TABLE file %s.\n", file_name);
    return 1;
  }
  char line[ZOR_LINE];
  if (!get_line_with_comment(fp, line, ZOR_LINE)) {
    printf("Error reading the 1st line of TABLE file %s\n", file_name);
    fclose(fp);
    return 1;
  }
  std::vector<std::string> names = words_of(line);
  int ncolumns = (int)names.size();
  if (ncolumns > SRTM_MAX_COLUMNS) {
    printf("Error: the TABLE file %s has %d columns, more than the %d allowed.\n", file_name, ncolumns,
           SRTM_MAX_COLUMNS);
    fclose(fp);
    return 1;
  }
  if (ncolumns < 1) {
    printf("Error: the first line of TABLE file %s names no columns.\n", file_name);
    fclose(fp);
    return 1;
  }
  for (int c = 0; c < ncolumns; c++) {
    if (irun == 0)
      snprintf(SRTM.table_column_name[c], ZOR_LINE, "%s", names[c].c_str());
    else if (strcmp(SRTM.table_column_name[c], names[c].c_str()))
      printf("Warning: runs 1 & %d have mismatched names (%s & %s) in column %d.\n", irun + 1,
             SRTM.table_column_name[c], names[c].c_str(), c);
  }
  SRTM.table_ncolumns[irun] = ncolumns;

  int nrows = 0;
  while (get_line_with_comment(fp, line, ZOR_LINE)) nrows++;
  SRTM.table_nt[irun] = nrows;
  int nt = SRTM.nt[irun];
  if (nrows != nt) {
    printf("Error: the number of time points in table file %s (%d) does not match the data file (%d).\n",
           file_name, nrows, nt);
    fclose(fp);
    return 1;
  }
  rewind(fp);
  get_line_with_comment(fp, line, ZOR_LINE);

  srtm_free_run(irun);
  int frames = nt > 0 ? nt : 1;
  SRTM.table_value[irun] = double_matrix(ncolumns, frames);
  for (int c = 0; c < ncolumns; c++)
    for (int jt = 0; jt < frames; jt++) SRTM.table_value[irun][c][jt] = 0.0;
  srtm_alloc.table_rows[irun] = ncolumns;
  srtm_alloc.table_frames[irun] = frames;
  SRTM.reference_region[irun] = run_vector(nt, 0.0);
  SRTM.ref_region_deriv[irun] = run_vector(nt, 0.0);
  SRTM.target_region[irun] = run_vector(nt, 0.0);
  SRTM.k2prime_rel[irun] = run_vector(nt, 1.0);
  srtm_alloc.run_vectors[irun] = 1;

  double **table = SRTM.table_value[irun];
  for (int jt = 0; jt < nt; jt++) {
    get_line_with_comment(fp, line, ZOR_LINE);
    std::vector<std::string> words = words_of(line);
    for (int c = 0; c < ncolumns; c++) {
      if (c >= (int)words.size()) {
        printf("Error reading line %d of TABLE file %s\n", jt + 2, file_name);
        fclose(fp);
        return 1;
      }
      double value;
      if (sscanf(words[c].c_str(), "%lg", &value) != 1) continue;  // not a number: left as it was
      if (std::isnan(value)) {
        printf("Error: table entry %d in column %d of run %d is not a number.\n", jt, c, irun + 1);
        fclose(fp);
        zor_exit(1);
      }
      table[c][jt] = c == 0 ? value / 60.0 : value;
    }
  }
  fclose(fp);

  // Durations to the spacing of frame midpoints.
  std::vector<double> duration(table[0], table[0] + nt);
  double last_time = 0.0;
  for (int jt = 0; jt < nt; jt++) {
    double dt = duration[jt] / 2.0;
    if (jt > 0) dt += duration[jt - 1] / 2.0;
    double time = last_time + dt;
    table[0][jt] = time - last_time;
    last_time = time;
    if (duration[jt] == 0.0) {
      printf("Error: frame %d of TABLE file %s has no duration.\n", jt, file_name);
      return 1;
    }
  }
  return 0;
}
