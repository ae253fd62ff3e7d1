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

// Whole maps of tensor fits on this thread, between begin and end: the
// model's layouts are taken once, and the fitted curves are worked out only
// when `need_curve` says that someone reads them. Each voxel's results are
// the same to the last bit as its own single fit's.
void fit_tensor_batch_begin(int npoints, int need_curve);
void fit_tensor_batch_end(void);
// Whether a whole map is being fitted on this thread.
int fit_tensor_batch_active(void);
// Whether fitted curves are wanted (always, outside a whole map).
int fit_tensor_batch_need_curve(void);
// Whether the batch holds the model in force for curves of this length.
int fit_tensor_batch_ready(int npoints);
// Takes the model in force into the batch; 0 when it is not a tensor model.
int fit_tensor_batch_take_model(int npoints);
// As fit_tensor_general_fit, from the batch's layouts.
int fit_tensor_batch_fit(int npoints, const float *data, float *fit);
// The weighted pseudo-inverse of the batch's design, as the normal inverse
// and weighted pseudo-inverse passes make it, into the batch's layout.
void fit_tensor_batch_weighted_pinv(int npoints, const float *weights);

// As fit_tensor_batch_fit for four curves at once, given point by point
// (data4[4 j + k] is point j of curve k): the coefficients and their errors
// of each curve, [coefficient][curve]. The fitted curves are not kept.
void fit_tensor_batch_fit4(int npoints, const float *data4, float beta[][4], float sem[][4]);
// Whole-map linear fits of up to four curves (n of them, voxel after voxel
// from `series`): for each curve k in turn, FIT's values and outputs are set
// as FIT_DTI_linear_OLS sets them, then done(context, k, result) is called.
void fit_tensor_ols_group(int n, const float *series, int npoints, void (*done)(void *context, int k, int result),
                          void *context);

#endif
