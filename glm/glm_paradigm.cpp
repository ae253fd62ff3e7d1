// Regressors on the fine time axis: stimulus shapes, table columns,
// interactions and explicit baseline events, convolution with a kernel,
// integration and scaling to a peak.
#include <cmath>
#include <cstdio>
#include <vector>

#include "glm_internal.h"
#include "zor_exit.h"
#include "zor_glm.h"

int GLMInternal_create_stimulus_paradigm(int index_event, int nsteps_per_tr, float *paradigm) {
  int nfine = GLM.ntime * nsteps_per_tr;
  int shape = GLM.event_shape[index_event];
  float tau = GLM.event_tau1[index_event];
  float alpha = GLM.event_alpha[index_event];
  float w = 6.283185308 / tau;
  float step = GLM.tr[0] / nsteps_per_tr;
  for (int i = 0; i < nfine; i++) paradigm[i] = 0.0f;
  for (int i = 0; i < nfine; i++) {
    float t = step * i;
    for (int s = 0; s < GLM.nstims[index_event]; s++) {
      float on = GLM.stim_on[index_event][s], off = GLM.stim_off[index_event][s];
      if (!(on <= t && t <= off)) continue;
      if (shape != SHAPE_GAMMA && shape != SHAPE_SIGMOID && paradigm[i] != 0.0f) {
        printf("Error: overlapping stimuli for event %c and stimulus %d\n", GLM_EventCharID(GLM.event_number[index_event]),
               s);
        return 1;
      }
      float m = GLM.stim_mag[index_event][s];
      float u = (t - on) / tau;
      switch (shape) {
        case SHAPE_SQUARE:
        case SHAPE_DRUGIRF: paradigm[i] += m; break;
        case SHAPE_RAMPUP: paradigm[i] += m * (t - on) / (off - on); break;
        case SHAPE_RAMPDOWN: paradigm[i] += m * (1 - (t - on) / (off - on)); break;
        case SHAPE_EXPDOWN: paradigm[i] += m * exp(-u); break;
        case SHAPE_SINE: paradigm[i] += m * sin(w * (t - on)); break;
        case SHAPE_COSINE: paradigm[i] += m * cos(w * (t - on)); break;
        case SHAPE_GAMMA: {
          // Far from the peak one factor overflows while the other vanishes:
          // the value there is 0.
          auto value = m * pow(u, alpha) * exp((1 - u) * alpha);
          if (!std::isfinite(value)) value = 0;
          paradigm[i] += value;
          break;
        }
        case SHAPE_SIGMOID: paradigm[i] += m * u / sqrt(1 + u * u); break;
        default: break;
      }
    }
  }
  return 0;
}

int GLMInternal_create_table(int index_event, int nsteps_per_tr, float *paradigm) {
  int nfine = GLM.ntime * nsteps_per_tr;
  float step = GLM.tr[0] / nsteps_per_tr;
  float tr = GLM.tr[0];
  for (int i = 0; i < nfine; i++) paradigm[i] = 0.0f;
  int irun = 0;
  for (int i = 0; i < nfine; i++) {
    while (irun < GLM.nruns - 1 && i / nsteps_per_tr > GLM.run_stop[irun]) irun++;
    float t = step * i;
    for (int s = 0; s < GLM.nstims[index_event]; s++) {
      if (!(GLM.stim_on[index_event][s] <= t && t <= GLM.stim_off[index_event][s])) continue;
      int ntime_run = GLM.run_stop[irun] - GLM.run_start[irun] + 1;
      if (GLM.table_ntime[irun] != ntime_run || !GLM.table_value[irun]) {
        printf("Programming error: # points in table (%d) != # points in run %d (%d)\n", GLM.table_ntime[irun], irun,
               ntime_run);
        zor_exit(1);
      }
      int icolumn = GLM.table_icolumn[index_event][s];
      // Rows past the file's columns hold nothing; the last row is the array's end.
      if (icolumn < 0 || icolumn > GLM.table_ncolumns[irun] || icolumn >= GLM_MAX_TABLE_COLUMNS) {
        printf("Programming error: column number %d is out of range (0 to %d\n", icolumn, GLM.table_ncolumns[irun]);
        zor_exit(1);
      }
      const float *column = GLM.table_value[irun][icolumn];
      float f = (t - GLM.run_start[irun] * tr) / tr;
      if (f <= 0) {
        paradigm[i] = column[0];
      } else if (f >= ntime_run - 1) {
        paradigm[i] = column[ntime_run - 1];
      } else {
        int k = (int)f;
        double mix = f - k;
        paradigm[i] = (1.0 - mix) * column[k] + mix * column[k + 1];
      }
    }
  }
  return 0;
}

namespace {

int index_of_event(int event_number) {
  for (int j = 0; j < GLM.nevents; j++)
    if (GLM.event_number[j] == event_number) return j;
  return -1;
}

}  // namespace

void GLMInternal_create_interaction(int index_event, float *paradigm) {
  int a = index_of_event(glm_whole_number(GLM.event_tau1[index_event]));
  int b = index_of_event(glm_whole_number(GLM.event_tau2[index_event]));
  if (a < 0 || b < 0 || a == b) {
    puts("Programming error in function GLMInternal_create_interaction.");
    printf("icoeff1 = %d, icoeff2 = %d\n", a, b);
    zor_exit(1);
  }
  for (int t = 0; t < GLM.ntime; t++) paradigm[t] = GLM.X_tc[t][a] * GLM.X_tc[t][b];
}

void GLMInternal_BaselineEvent(int index_event, int ibaseline_order, float tau) {
  if (ibaseline_order < 0) printf("tau = %g\n", tau);
  float tr = GLM.tr[0];
  for (int t = 0; t < GLM.ntime; t++) {
    for (int s = 0; s < GLM.nstims[index_event]; s++) {
      int a = (int)(GLM.stim_on[index_event][s] / tr);
      int b = (int)(GLM.stim_off[index_event][s] / tr);
      if (t < a || t > b) continue;
      float x = (float)(t - a) / (b - a);
      float value;
      switch (ibaseline_order) {
        case 0: value = 1.0f; break;
        case 1: value = x; break;
        case 2: value = x * x; break;
        case 3: value = x * x * x; break;
        default: value = 1 - exp(-(t - a) * tr / tau); break;
      }
      GLM.X_tc[t][index_event] = value;
    }
  }
}

int GLMInternal_convolve_paradigm_IRF(int convolution_flag, int nsteps_per_tr, float *paradigm, int index_event) {
  const float *kernel;
  int length;
  if (convolution_flag == 0) {
    if (!HRF.nhrf) return 0;
    kernel = HRF.amp;
    length = HRF.npoints;
  } else if (convolution_flag == 1) {
    if (GLM.event_tau2[index_event] == 0.0f) return 0;
    kernel = GLM.plasmaIRF[index_event];
    length = GLM.length_drugIRF[index_event];
    if (length == 0 || !kernel) {
      puts("Programming error 1 in function GLMInternal_convolve_paradigm_IRF.");
      zor_exit(1);
    }
  } else {
    if (GLM.event_tau1[index_event] == 0.0f) return 0;
    kernel = GLM.drugIRF[index_event];
    length = GLM.length_drugIRF[index_event];
    if (length == 0 || !kernel) {
      puts("Programming error 2 in function GLMInternal_convolve_paradigm_IRF.");
      zor_exit(1);
    }
  }
  int nfine = GLM.ntime * nsteps_per_tr;
  std::vector<float> out(nfine > 0 ? nfine : 1);
  // A causal direct sum over the whole concatenated axis: a response runs
  // on into the next run.
  for (int i = 0; i < nfine; i++) {
    float sum = 0.0f;
    int last = i < length - 1 ? i : length - 1;
    for (int k = 0; k <= last; k++) sum += paradigm[i - k] * kernel[k];
    out[i] = sum;
  }
  for (int i = 0; i < nfine; i++) paradigm[i] = out[i];
  return 0;
}

void GLMInternal_integrate_paradigm(int nsteps_per_tr, float *paradigm) {
  int nfine = GLM.ntime * nsteps_per_tr;
  // Each sample becomes the sum of the samples below it, added in order.
  float sum = 0.0f;
  for (int i = 0; i < nfine; i++) {
    float old = paradigm[i];
    paradigm[i] = sum;
    sum += old;
  }
}

float GLMInternal_normalize_paradigm(int ntime, float *paradigm, float max_value) {
  float max_shape = 0.0f;
  for (int i = 0; i < ntime; i++)
    if (fabsf(paradigm[i]) > fabsf(max_shape)) max_shape = paradigm[i];
  if (max_shape != 0.0f) {
    float scale = max_value / fabsf(max_shape);
    for (int i = 0; i < ntime; i++) paradigm[i] *= scale;
  }
  return max_shape * max_value;
}
