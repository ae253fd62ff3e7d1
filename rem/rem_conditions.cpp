// Conditions of the group model and their tests. A condition is a word of
// event characters ("-" turns the sign for the rest of the row, "," starts a
// further row); a character sets its column to the sign, so a repeated
// character counts once. The test is an F test of the rows, or a t test for
// one row, on the effective degrees of freedom.
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "rem_internal.h"
#include "zor_alloc.h"
#include "zor_matrix.h"
#include "zor_rem.h"
#include "zor_special.h"

namespace {

// Columns of the contrast rows now held.
int ncoeff_save = 0;

std::vector<std::string> words_of(const char *text) {
  std::vector<std::string> words;
  const char *p = text;
  while (*p) {
    while (*p && isspace((unsigned char)*p)) p++;
    if (!*p) break;
    const char *start = p;
    while (*p && !isspace((unsigned char)*p)) p++;
    words.emplace_back(start, p - start);
  }
  return words;
}

// Sets one word's rows in its contrast matrix; 1 for a character that names
// no event of the model.
int fill_contrast(int k, const std::string &word) {
  int row = 0, sign = 1;
  for (char c : word) {
    if (c == '-') {
      sign = -1;
    } else if (c == ',') {
      row++;
      sign = 1;
    } else {
      int n = REM_EventNumberFromChar(c);
      int found = 0;
      for (int e = 0; e < REM.nevents; e++) {
        if (REM.event_number[e] != n) continue;
        REM.contrast_matrix[k][row][e] = sign;
        found = 1;
      }
      if (!found) {
        printf("Error: one of the events in the conditions (%d) is not defined.\n", n);
        return 1;
      }
    }
  }
  return 0;
}

// The float whose bit pattern is 27: p values never go below it.
float too_small_value(void) {
  unsigned int bits = 27;
  float value;
  memcpy(&value, &bits, sizeof value);
  return value;
}

}  // namespace

void rem_release_conditions(void) {
  for (int k = 0; k < REM_MAX_CONDITIONS; k++) {
    if (REM.contrast_matrix[k]) free_int_matrix(REM.contrast_matrix[k], REM.ncontrasts[k], ncoeff_save);
    REM.contrast_matrix[k] = nullptr;
    REM.ncontrasts[k] = 0;
  }
  REM.nconditions = 0;
}

int REM_define_conditions(char *condition_string, int *nconditions) {
  if (!REM.initialized) {
    puts("Error: the REM basis functions should be defined before the conditions.");
    return 1;
  }
  rem_release_conditions();
  ncoeff_save = REM.ncoeff > 0 ? REM.ncoeff : 1;

  std::vector<std::string> words = words_of(condition_string);
  if (words.empty()) {
    *nconditions = 0;
    return 0;
  }
  if ((int)words.size() > REM_MAX_CONDITIONS) {
    printf("Error: the number of conditions (%d) > max dimension in program (%d).\n", (int)words.size(),
           REM_MAX_CONDITIONS);
    *nconditions = 0;
    return 1;
  }
  const int count = (int)words.size();
  for (int k = 0; k < count; k++) {
    int commas = 0;
    for (char c : words[k]) commas += c == ',';
    REM.ncontrasts[k] = commas + 1;
    REM.contrast_matrix[k] = int_matrix(REM.ncontrasts[k], ncoeff_save);
    for (int i = 0; i < REM.ncontrasts[k]; i++) memset(REM.contrast_matrix[k][i], 0, sizeof(int) * (size_t)ncoeff_save);
  }
  REM.nconditions = count;
  *nconditions = count;
  for (int k = 0; k < count; k++) {
    snprintf(REM.condition_string[k], ZOR_LINE, "%s", words[k].c_str());
    if (fill_contrast(k, words[k])) return 1;
  }
  return 0;
}

int REM_calculate_F(int ntime, int resels, int lCondition, int lDOF_effective, float *cnr, float *p_raw, float *p_cor,
                    float *effect_size, float *effect_sem) {
  const float ec3constant = 0.1169f;
  const float too_small = too_small_value();
  if (lCondition < 0 || lCondition > REM.nconditions - 1) {
    printf("Error: the specified condition (%d) is out of range (0-%d)\n", lCondition, REM.nconditions - 1);
    return 1;
  }
  if (ntime != REM.ntime) {
    printf("Error: # time points (%d) != # used in REM fit (%d).\n", ntime, REM.ntime);
    return 1;
  }
  if (lDOF_effective < 1) {
    // The t and F distributions need at least one degree of freedom.
    printf("Error: the conditions cannot be tested with %d degrees of freedom.\n", lDOF_effective);
    *cnr = *effect_size = *effect_sem = 0.0f;
    *p_raw = *p_cor = 1.0f;
    return 1;
  }

  int **C = REM.contrast_matrix[lCondition];
  const int nrows = REM.ncontrasts[lCondition];
  const int ncol = REM.ncoeff < ncoeff_save ? REM.ncoeff : ncoeff_save;
  std::vector<float> CBeta(nrows);
  float CBetaMax = 0.0f;
  for (int i = 0; i < nrows; i++) {
    float sum = 0.0f;
    for (int c = 0; c < ncol; c++) sum += C[i][c] * REM.Beta_c[c];
    CBeta[i] = sum;
    if (i == 0 || fabsf(sum) > fabsf(CBetaMax)) CBetaMax = sum;
  }
  *effect_size = CBetaMax;

  float **FCovarInv = float_matrix(nrows, nrows);
  for (int i = 0; i < nrows; i++)
    for (int j = 0; j < nrows; j++) {
      float sum = 0.0f;
      for (int a = 0; a < ncol; a++)
        for (int b = 0; b < ncol; b++) sum += C[i][a] * REM.Variance_cc[a][b] * C[j][b];
      FCovarInv[i][j] = sum;
    }
  int iRowFail;
  (void)rInvertSquareMatrix(nrows, FCovarInv, &iRowFail);
  float numerator = 0.0f;
  for (int i = 0; i < nrows; i++)
    for (int j = 0; j < nrows; j++) numerator += FCovarInv[i][j] * CBeta[i] * CBeta[j];
  free_float_matrix(FCovarInv, nrows, nrows);

  const float df1 = nrows, df2 = lDOF_effective;
  const float Fstat = numerator / df1;
  *cnr = sqrt(Fstat);
  // The error follows from the statistic, before the statistic takes the
  // sign of the effect: it keeps the effect's sign.
  *effect_sem = CBetaMax / *cnr;

  const double ec3 =
      ec3constant * ((double)Fstat * (df2 - 1) / df2 - 1) / pow((double)Fstat / df2 + 1, (df2 - 1) / 2.0);
  *p_cor = resels * ec3;
  if (CBetaMax < 0) *cnr = -*cnr;

  if (CBetaMax != 0) {
    const float x = df2 / (df1 * Fstat + df2);
    const double beta = std::isnan(x) ? (double)x : ibeta(df2 * 0.5, 0.5 * df1, x);
    if (df1 == 1) {
      *p_raw = beta;
    } else {
      *p_raw = 2 * beta;
      if (*p_raw == 2) *p_raw = 1;
      if (*p_raw > 1) *p_raw = 2 - *p_raw;
    }
  } else {
    *cnr = 0.0f;
    *p_raw = *p_cor = 1.0f;
  }
  if (*p_cor > 1 || *p_cor < 0) *p_cor = 1;
  if (*p_raw < too_small) *p_raw = too_small;
  if (*p_cor < too_small) *p_cor = too_small;
  return 0;
}
