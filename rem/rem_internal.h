// Helpers shared by the sources of the group engine only.
#ifndef ZOR_REM_INTERNAL_H
#define ZOR_REM_INTERNAL_H

#include <cstdio>

// A line counts as blank when it holds nothing a number scan could start on.
inline int rem_line_is_blank(const char *line) {
  int value;
  return sscanf(line, "%d", &value) == EOF;
}

// Whether the first word of a line opens a group of files.
int rem_is_group_keyword(const char *word);

// Releases the design, the work matrices and the per-file degrees of
// freedom, whatever sizes they were made with.
void rem_release_matrices(void);
// Allocates and clears them for the model's files and coefficients.
void rem_allocate_matrices(void);
// Releases the contrast matrices of every condition.
void rem_release_conditions(void);
// Forgets what the fit knows of the work matrices it last wrote.
void rem_fit_reset(void);

#endif
