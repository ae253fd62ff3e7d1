// Helpers shared by the sources of the linear-model engine only.
#ifndef ZOR_GLM_INTERNAL_H
#define ZOR_GLM_INTERNAL_H

#include <cstdio>

// The largest shape parameter of a gamma event: up to it the shape's two
// factors stay within range wherever the shape is not vanishingly small.
constexpr float GLM_MAX_GAMMA_ALPHA = 100.0f;

// A number read as a count, an order or an event number: truncated towards
// zero, or INT_MIN when it is no number or lies outside the range of int.
inline int glm_whole_number(float value) {
  if (!(value > -2147483648.0f && value < 2147483648.0f)) return -2147483647 - 1;
  return (int)value;
}

// Whether the notify keyword or the reader's own argument asked for reports.
extern int glm_output_info;

// Columns of the contrast rows now held: the model's count, unless the
// design has been rebuilt since the conditions were.
int glm_contrast_columns(void);

// The statistics of condition lCondition for the `coefficients` and noise
// variance sigma2 (not 0) of one fit; the condition must exist.
void glm_condition_statistics(const float *coefficients, float sigma2, int resels, int lCondition, float *Fstat,
                              float *cnr, float *p_raw, float *p_cor, float *effect_size, float *effect_sem);

// The statistics of every condition at count voxels, each the values
// glm_condition_statistics gives (or those of no fit where the noise
// variance is 0): coefficients count x ncoeff, statistics count x
// nconditions x 6 in the order F, cnr, p, corrected p, effect size, its
// error.
void glm_voxels_statistics(int count, const float *coefficients, const float *sigma2, int resels,
                           float *statistics);

// Bumped each time the model's matrices are completed, so that copies made
// from them (the fit's column-major design) know when they are stale.
extern unsigned long glm_model_generation;

// Drops the fit's copies of the design.
void glm_fit_copies_reset(void);

#endif
