// Conditions: statistical tests on the fitted coefficients written as words
// of event characters ("-" flips the sign, "," starts a further row), their
// contrast matrices and the covariances of the contrasts.
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "glm_internal.h"
#include "zor_alloc.h"
#include "zor_glm.h"
#include "zor_text.h"
#include "zor_matrix.h"

namespace {

// Columns of the contrast rows now held, which may differ from the model's
// count after the design has been rebuilt and before the conditions are.
int ncoeff_save = 0;
int contrast_width = 0;

void release_conditions(void) {
  for (int k = 0; k < GLM.nconditions && k < GLM_MAX_CONDITIONS; k++) {
    int n = GLM.ncontrasts[k];
    if (GLM.contrast_matrix[k]) free_int_matrix(GLM.contrast_matrix[k], n, contrast_width);
    if (GLM.FCovar[k]) free_float_matrix(GLM.FCovar[k], n, n);
    if (GLM.FCovarInv[k]) free_float_matrix(GLM.FCovarInv[k], n, n);
    GLM.contrast_matrix[k] = nullptr;
    GLM.FCovar[k] = GLM.FCovarInv[k] = nullptr;
    GLM.ncontrasts[k] = 0;
  }
  GLM.nconditions = 0;
}

// Adds one word's rows to its contrast matrix; 1 for a character that
// names no event of the model.
int fill_contrast(int k, const std::string &word) {
  int row = 0, sign = 1;
  for (char c : word) {
    if (c == '-') {
      sign = -1;
    } else if (c == ',') {
      row++;
      sign = 1;
    } else {
      int n = GLM_EventNumberFromCharID(c);
      int found = 0;
      for (int j = 0; j < GLM.nevents; j++) {
        if (GLM.event_number[j] != n) continue;
        GLM.contrast_matrix[k][row][j] += sign;
        found = 1;
      }
      if (!found) {
        if (n >= 1 && n <= 61)
          printf("Error: one of the events in the conditions (%c) is not defined.\n", c);
        else
          printf("Error: event type %c is not allowed.\n", c);
        return 1;
      }
    }
  }
  return 0;
}

}  // namespace

int glm_contrast_columns(void) { return GLM.ncoeff < contrast_width ? GLM.ncoeff : contrast_width; }

void GLM_define_conditions_reset(void) {
  release_conditions();
  ncoeff_save = contrast_width = 0;
}

int GLM_define_conditions(int DefineContrasts, char *condition_string, int *nconditions) {
  release_conditions();
  ncoeff_save = GLM.ncoeff;
  // Event columns come first, so rows as wide as the events always hold them.
  contrast_width = GLM.ncoeff > GLM.nevents ? GLM.ncoeff : GLM.nevents;
  if (contrast_width < 1) contrast_width = 1;

  std::vector<std::string> words = split_words(condition_string);
  if (words.empty()) {
    *nconditions = 0;
    return 0;
  }
  if ((int)words.size() > GLM_MAX_CONDITIONS) {
    printf("Error: the number of conditions (%d) > max dimension in program (%d).\n", (int)words.size(),
           GLM_MAX_CONDITIONS);
    *nconditions = 0;
    return 1;
  }
  int count = (int)words.size();
  for (int k = 0; k < count; k++) {
    int commas = 0;
    for (char c : words[k]) commas += c == ',';
    GLM.ncontrasts[k] = commas + 1;
    if (DefineContrasts) {
      GLM.contrast_matrix[k] = int_matrix(GLM.ncontrasts[k], contrast_width);
      for (int i = 0; i < GLM.ncontrasts[k]; i++)
        for (int c = 0; c < contrast_width; c++) GLM.contrast_matrix[k][i][c] = 0;
    }
  }
  GLM.nconditions = count;
  *nconditions = count;

  for (int k = 0; k < count; k++) {
    snprintf(GLM.condition_string[k], ZOR_LINE, "%s", words[k].c_str());
    if (DefineContrasts && fill_contrast(k, words[k])) return 1;
  }
  if (DefineContrasts && GLM.initialized == 2) {
    for (int k = 0; k < count; k++) {
      GLM.FCovar[k] = float_matrix(GLM.ncontrasts[k], GLM.ncontrasts[k]);
      GLM.FCovarInv[k] = float_matrix(GLM.ncontrasts[k], GLM.ncontrasts[k]);
    }
    GLM_calc_covariance_matrix();
  }
  return 0;
}

void GLM_calc_covariance_matrix(void) {
  // Rows built for another design are read only as far as both reach.
  int ncol = glm_contrast_columns();
  for (int k = 0; k < GLM.nconditions; k++) {
    int **C = GLM.contrast_matrix[k];
    int n = GLM.ncontrasts[k];
    if (!C || !GLM.FCovar[k] || !GLM.FCovarInv[k]) continue;
    for (int i = 0; i < n; i++) {
      for (int j = 0; j < n; j++) {
        float sum = 0.0f;
        for (int a = 0; a < ncol; a++)
          for (int b = 0; b < ncol; b++) sum += C[i][a] * GLM.XTXm1_cc[a][b] * C[j][b];
        GLM.FCovar[k][i][j] = sum;
        GLM.FCovarInv[k][i][j] = sum;
      }
    }
    int iRowFail;
    rInvertSquareMatrix(n, GLM.FCovarInv[k], &iRowFail);
  }
}

int GLM_create_all_conditions(char *condition_string) {
  if (GLM.nevents < 1) {
    puts("Error in GLM_create_all_conditions: no defined stimuli");
    return 1;
  }
  std::string text;
  char word[8];
  for (int j = 0; j < GLM.nevents; j++) {
    snprintf(word, sizeof word, "%c ", GLM_EventCharID(GLM.event_number[j]));
    text += word;
  }
  for (int j = 0; j < GLM.nevents; j++)
    for (int k = j + 1; k < GLM.nevents; k++) {
      snprintf(word, sizeof word, "%c%c ", GLM_EventCharID(GLM.event_number[j]), GLM_EventCharID(GLM.event_number[k]));
      text += word;
    }
  for (int j = 0; j < GLM.nevents; j++)
    for (int k = j + 1; k < GLM.nevents; k++) {
      snprintf(word, sizeof word, "%c-%c ", GLM_EventCharID(GLM.event_number[j]),
               GLM_EventCharID(GLM.event_number[k]));
      text += word;
    }
  if (text.size() > ZOR_LINE - 1) {
    printf("Error in GLM_create_all_conditions: %d events give too many conditions for one line.\n", GLM.nevents);
    return 1;
  }
  strcpy(condition_string, text.c_str());
  return 0;
}

int GLM_create_all_single_conditions(char *condition_string) {
  if (GLM.nevents < 1) {
    puts("Error in GLM_create_all_single_conditions: no defined stimuli");
    return 1;
  }
  std::string text;
  auto add_group = [&](auto belongs) {
    for (int j = 0; j < GLM.nevents; j++) {
      if (!belongs(GLM.event_shape[j])) continue;
      text += GLM_EventCharID(GLM.event_number[j]);
      text += ' ';
    }
  };
  add_group([](int s) { return s == SHAPE_SQUARE; });
  add_group([](int s) { return s == SHAPE_GAMMA; });
  add_group([](int s) { return s == SHAPE_SIGMOID; });
  add_group([](int s) { return s != SHAPE_SQUARE && s != SHAPE_GAMMA && s != SHAPE_SIGMOID; });
  strcpy(condition_string, text.c_str());
  return 0;
}

int GLM_get_nconditions(void) { return GLM.nconditions; }

int GLM_get_condition_string(int ncondition, char *condition_string) {
  if (ncondition < 0 || ncondition >= GLM.nconditions) return 1;
  strcpy(condition_string, GLM.condition_string[ncondition]);
  return 0;
}
