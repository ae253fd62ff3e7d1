// Helpers shared by the sources of the fit engine only.
#ifndef ZOR_FIT_INTERNAL_H
#define ZOR_FIT_INTERNAL_H

#include <cstdio>

// A line counts as blank when it holds nothing a number scan could start on.
inline int fit_line_is_blank(const char *line) {
  int value;
  return sscanf(line, "%d", &value) == EOF;
}

// One row of the table of fit types.
struct fit_type_entry {
  const char *argument;  // the word of time-model
  const char *text;      // what FIT_get_type gives back
  int fit_class;
  int type;
  int nparam_fit;
  int nparam_output;
  const char *names[18];
};

// The entry of a time-model word, or of a type; null when there is none.
const fit_type_entry *fit_type_by_argument(const char *argument);
const fit_type_entry *fit_type_by_type(int type);

// Frees the weights and x data of FIT and the x list of FIT_input.
void fit_release_arrays(void);

// Whether the type is one of the three tensor fits.
inline int fit_is_tensor(int type) { return type == 1 || type == 2 || type == 3; }

#endif
