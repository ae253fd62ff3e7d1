// Before the fit: the whitening hooks of an autoregressive noise model
// (inactive while no whitening filter exists) and a Butterworth band filter
// of the data through FFTW.
#include <fftw3.h>

#include <cmath>
#include <cstdio>

#include "zor_alloc.h"
#include "zor_exit.h"
#include "zor_glm.h"

namespace {

struct FilterState {
  fftw_plan plan_forward = nullptr;
  fftw_plan plan_reverse = nullptr;
  double *Data_in = nullptr;
  fftw_complex *Data_out = nullptr;
  int nInput = 0;
  int nOutput = 0;
  int first_time = 1;
  int first_filter = 1;
  unsigned flags = 0;  // FFTW's measuring planner
} filter;

void release_filter(void) {
  if (filter.plan_forward) fftw_destroy_plan(filter.plan_forward);
  if (filter.plan_reverse) fftw_destroy_plan(filter.plan_reverse);
  if (filter.Data_in) free_double_vector(filter.Data_in);
  if (filter.Data_out) fftw_free(filter.Data_out);
  filter.plan_forward = filter.plan_reverse = nullptr;
  filter.Data_in = nullptr;
  filter.Data_out = nullptr;
}

void make_plans(int ntime) {
  filter.nInput = ntime;
  filter.nOutput = ntime / 2 + 1;
  filter.Data_in = double_vector(filter.nInput);
  filter.Data_out = (fftw_complex *)fftw_malloc(sizeof(fftw_complex) * filter.nOutput);
  if (!filter.Data_out) alloc_error("Allocation failure in GLM_FrequencyFilter().");
  filter.plan_forward = fftw_plan_dft_r2c_1d(filter.nInput, filter.Data_in, filter.Data_out, filter.flags);
  filter.plan_reverse = fftw_plan_dft_c2r_1d(filter.nInput, filter.Data_out, filter.Data_in, filter.flags);
}

// The copy of the design that a whitening filter would act on.
struct WhiteCopy {
  float **X = nullptr;
  int ntime = 0;
  int ncoeff = 0;
} white;

}  // namespace

void GLM_FrequencyFilter_reset(void) {
  release_filter();
  filter.nInput = filter.nOutput = 0;
  filter.first_time = 1;
  filter.first_filter = 1;
}

void GLM_FrequencyFilter(int PostGLM, int ntime, float *data_vector) {
  if (ntime < 1) return;
  // Plans are made once; a different length (a new model) needs new ones.
  if (filter.first_time || ntime != filter.nInput) {
    release_filter();
    make_plans(ntime);
    filter.first_time = 0;
  }
  if (!PostGLM && GLM_input.freq_low_pre == 0.0f && GLM_input.freq_high_pre == 0.0f && GLM_input.phase_shift == 0.0f)
    return;
  if (PostGLM && GLM_input.freq_low_post == 0.0f && GLM_input.freq_high_post == 0.0f) return;

  for (int j = 0; j < ntime; j++) filter.Data_in[j] = data_vector[j];
  fftw_execute(filter.plan_forward);

  float time_step = GLM.tr[0];
  float freq_low = PostGLM ? GLM_input.freq_low_post : GLM_input.freq_low_pre;
  float freq_high = PostGLM ? GLM_input.freq_high_post : GLM_input.freq_high_pre;
  if (filter.first_filter) {
    printf(PostGLM ? "Frequency band = 0 to %g, filter from %g to %g after GLM\n"
                   : "Frequency band = 0 to %g, filter from %g to %g before GLM\n",
           1 / time_step, freq_low, freq_high);
    filter.first_filter = 0;
  }
  // The scale runs to 1/TR, and bin j+1's gain goes to element j: the zero
  // frequency gets the first bin's gain and the last element is untouched.
  float butterworth_n = 6.0f;
  for (int j = 0; j < ntime / 2; j++) {
    float freq = (j + 1) * (1 / time_step) / (ntime / 2.0);
    float filter_high = 1 / (1 + pow(freq_low / freq, 2 * butterworth_n));
    float filter_low = 1 / (1 + pow(freq / freq_high, 2 * butterworth_n));
    float gain = filter_low * filter_high;
    filter.Data_out[j][0] *= gain;
    filter.Data_out[j][1] *= gain;
  }
  fftw_execute(filter.plan_reverse);
  for (int j = 0; j < ntime; j++) data_vector[j] = filter.Data_in[j] / ntime;
}

int GLM_PreFilter(int PostGLM, int ntime, float *data_vector) {
  if (GLM.initialized != 2) {
    puts("Error in GLM_PreFilter: first initialize the GLM and define stimuli");
    return 1;
  }
  if (ntime != GLM.ntime) {
    printf("Error: the number of data time points (%d) does not match the number in the GLM (%d).\n", ntime,
           GLM.ntime);
    zor_exit(1);
  }
  GLMInternal_whiten_data(data_vector);
  GLMInternal_whiten_model(0);
  GLM_FrequencyFilter(PostGLM, ntime, data_vector);
  return 0;
}

void GLMInternal_whiten_data(float *data_vector) {
  if (GLM.AR_order <= 0 || !GLM.WhiteFilter_tt) return;
  for (int t = GLM.ntime - 1; t >= 0; t--) {
    float sum = 0.0f;
    for (int k = t - GLM.AR_order < 0 ? 0 : t - GLM.AR_order; k <= t; k++) sum += GLM.WhiteFilter_tt[t][k] * data_vector[k];
    data_vector[t] = sum;
  }
}

void GLMInternal_whiten_model_reset(void) {
  if (white.X) free_float_matrix(white.X, white.ntime > 0 ? white.ntime : 1, white.ncoeff);
  white = WhiteCopy{};
}

void GLMInternal_whiten_model(int first_time) {
  if (first_time) {
    GLMInternal_whiten_model_reset();
    white.ntime = GLM.ntime;
    white.ncoeff = GLM.ncoeff;
    white.X = float_matrix(white.ntime > 0 ? white.ntime : 1, white.ncoeff > 0 ? white.ncoeff : 1);
    for (int t = 0; t < GLM.ntime; t++)
      for (int c = 0; c < GLM.ncoeff; c++) white.X[t][c] = GLM.X_tc[t][c];
    return;
  }
  if (GLM.AR_order == 0 || !GLM.WhiteFilter_tt || !white.X) return;
  for (int c = 0; c < white.ncoeff; c++) {
    for (int t = 0; t < white.ntime; t++) {
      float sum = 0.0f;
      for (int k = t - GLM.AR_order < 0 ? 0 : t - GLM.AR_order; k <= t; k++) sum += GLM.WhiteFilter_tt[t][k] * white.X[k][c];
      GLM.X_tc[t][c] = sum;
    }
  }
  GLMInternal_complete_model();
}

void GLM_set_preGLM_frequency_band(float freq_low, float freq_high) {
  GLM_input.freq_low_pre = freq_low;
  GLM_input.freq_high_pre = freq_high;
}

void GLM_set_preGLM_phase_shift(float phase_shift) { GLM_input.phase_shift = phase_shift; }

void GLM_get_preGLM_frequency_band(float *freq_low, float *freq_high) {
  *freq_low = GLM_input.freq_low_pre;
  *freq_high = GLM_input.freq_high_pre != 0.0f ? GLM_input.freq_high_pre : 1 / GLM.tr[0];
}

void GLM_get_preGLM_phase_shift(float *phase_shift) { *phase_shift = GLM_input.phase_shift; }
