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

// The general model's passes for the seven-column tensor design, side by
// side but with every result the same as the model's own routines give:
// the normal matrix inverted, the weighted pseudo-inverse, and a fit that
// sets Beta and Sem as GeneralFitGLM does (data must not be fit).
void fit_tensor_normal_inverse(int nt, float **X, const float *weights, float **N);
void fit_tensor_weighted_pinv(int nt, float **X, const float *weights, float **Ninv, float **Pinv);
int fit_tensor_general_fit(int npoints, const float *data, float *fit);

// y = log(x) for x above 0, and v = exp(v) in place, value by value, each the
// library's double result rounded to float; for whole curves of the tensor fits.
void fit_log_values(int n, const float *x, float *y);
void fit_exp_values(int n, float *v);

#endif
