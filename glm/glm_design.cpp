// The design matrix over all runs: one column per event, built on a fine
// time axis and sampled at the start of each TR, then the polynomial
// baseline of each run; excluded time points get zero rows for the fit.
#include <cstdio>
#include <vector>

#include "zor_alloc.h"
#include "zor_glm.h"

namespace {

// Sizes of what the last call allocated, so that it can be released even
// after the model's counts have changed.
struct Allocated {
  int present = 0;
  int ntime = 0;
  int ncoeff = 0;
} allocated;

int rows(int n) { return n > 0 ? n : 1; }

void release_matrices(void) {
  if (!allocated.present) return;
  int nt = rows(allocated.ntime), nc = rows(allocated.ncoeff);
  free_float_matrix(GLM.Xorig_tc, nt, nc);
  free_float_matrix(GLM.X_tc, nt, nc);
  free_float_matrix(GLM.XTXm1_cc, nc, nc);
  free_float_matrix(GLM.XTXm1XT_ct, nc, nt);
  free_float_vector(GLM.Beta_c);
  free_float_vector(GLM.Weight_t);
  free_float_vector(GLM.Residue_t);
  free_float_vector(GLM.NoiseRaw_t);
  free_float_vector(GLM.NoiseFit_t);
  free_float_vector(GLM.HatDiag_t);
  GLM.Xorig_tc = GLM.X_tc = GLM.XTXm1_cc = GLM.XTXm1XT_ct = nullptr;
  GLM.Beta_c = GLM.Weight_t = GLM.Residue_t = GLM.NoiseRaw_t = GLM.NoiseFit_t = GLM.HatDiag_t = nullptr;
  allocated.present = 0;
}

void allocate_matrices(void) {
  int nt = rows(GLM.ntime), nc = rows(GLM.ncoeff);
  GLM.Xorig_tc = float_matrix(nt, nc);
  GLM.X_tc = float_matrix(nt, nc);
  GLM.XTXm1_cc = float_matrix(nc, nc);
  GLM.XTXm1XT_ct = float_matrix(nc, nt);
  GLM.Beta_c = float_vector(nc);
  GLM.Weight_t = float_vector(nt);
  GLM.Residue_t = float_vector(nt);
  GLM.NoiseRaw_t = float_vector(nt);
  GLM.NoiseFit_t = float_vector(nt);
  GLM.HatDiag_t = float_vector(nt);
  allocated = {1, GLM.ntime, GLM.ncoeff};
  for (int t = 0; t < nt; t++) {
    for (int c = 0; c < nc; c++) GLM.X_tc[t][c] = GLM.Xorig_tc[t][c] = 0.0f;
    GLM.Weight_t[t] = GLM.NoiseRaw_t[t] = GLM.NoiseFit_t[t] = 1.0f;
    GLM.Residue_t[t] = GLM.HatDiag_t[t] = 0.0f;
  }
  for (int a = 0; a < nc; a++) {
    GLM.Beta_c[a] = 0.0f;
    for (int b = 0; b < nc; b++) GLM.XTXm1_cc[a][b] = 0.0f;
    for (int t = 0; t < nt; t++) GLM.XTXm1XT_ct[a][t] = 0.0f;
  }
}

void rebuild_inclusion(void) {
  if (GLM.include_time) free_int_vector(GLM.include_time);
  GLM.include_time = int_vector(rows(GLM.ntime));
  for (int t = 0; t < GLM.ntime; t++) GLM.include_time[t] = 1;
  for (int s = 0; s < GLM.nexclude; s++) {
    int a = GLM.exclude_start[s] < 0 ? 0 : GLM.exclude_start[s];
    int b = GLM.exclude_end[s] > GLM.ntime - 1 ? GLM.ntime - 1 : GLM.exclude_end[s];
    for (int t = a; t <= b; t++) GLM.include_time[t] = 0;
  }
  GLM.ntime_included = 0;
  for (int t = 0; t < GLM.ntime; t++) GLM.ntime_included += GLM.include_time[t];
  GLM.dof = GLM.ntime_included - GLM.ncoeff;
}

int is_baseline_shape(int shape) { return shape >= SHAPE_BASELINE0 && shape <= SHAPE_BASELINE_ES; }

int build_event_column(int j, int nsteps_per_tr, float *paradigm) {
  int n = GLM.event_number[j];
  int shape = GLM.event_shape[j];
  if (shape == SHAPE_TABLE) {
    GLMInternal_create_table(j, nsteps_per_tr, paradigm);
    GLM.ntable_events++;
  } else if (shape == SHAPE_INTERACT) {
    GLMInternal_create_interaction(j, paradigm);
  } else if (shape >= SHAPE_BASELINE0 && shape <= SHAPE_BASELINE3) {
    GLMInternal_BaselineEvent(j, shape - SHAPE_BASELINE0, 0);
  } else if (shape == SHAPE_BASELINE_ES) {
    GLMInternal_BaselineEvent(j, -1, GLM.event_tau1[j]);
  } else {
    if (GLMInternal_create_stimulus_paradigm(j, nsteps_per_tr, paradigm)) return 1;
    if (shape == SHAPE_DRUGIRF) {
      GLMInternal_convolve_paradigm_IRF(1, nsteps_per_tr, paradigm, j);
      GLMInternal_convolve_paradigm_IRF(2, nsteps_per_tr, paradigm, j);
    }
  }
  // Baseline events wrote their column themselves.
  if (is_baseline_shape(shape)) return 0;

  if (shape != SHAPE_INTERACT && !(shape == SHAPE_TABLE && GLM.convolve_table[n] == 0))
    GLMInternal_convolve_paradigm_IRF(0, nsteps_per_tr, paradigm, j);
  if (GLM_input.fPET_integral && shape != SHAPE_TABLE) GLMInternal_integrate_paradigm(nsteps_per_tr, paradigm);
  int ncoarse = shape == SHAPE_TABLE || shape == SHAPE_INTERACT;
  GLMInternal_normalize_paradigm(ncoarse ? GLM.ntime : GLM.ntime * nsteps_per_tr, paradigm, GLM.event_scale[n]);
  for (int t = 0; t < GLM.ntime; t++)
    GLM.X_tc[t][j] = shape == SHAPE_INTERACT ? paradigm[t] : paradigm[t * nsteps_per_tr];
  return 0;
}

void add_polynomial_columns(void) {
  int terms = GLM_input.nbaseline_terms;
  for (int r = 0; r < GLM.nruns; r++) {
    int d = GLM.run_stop[r] - GLM.run_start[r];
    for (int t = GLM.run_start[r]; t <= GLM.run_stop[r] && t < GLM.ntime; t++) {
      int i = t - GLM.run_start[r];
      // A run of one point divides 0 by 0: its linear terms are not numbers.
      float x = (float)i / (float)d;
      if (terms >= 1) GLM.X_tc[t][GLM.nevents + r] = 1.0f;
      if (terms >= 2) GLM.X_tc[t][GLM.nevents + GLM.nruns + r] = x - 0.5f;
      if (terms >= 3) GLM.X_tc[t][GLM.nevents + 2 * GLM.nruns + r] = x * x - 1.0 / 3.0;
      if (terms >= 4) GLM.X_tc[t][GLM.nevents + 3 * GLM.nruns + r] = x * x * x - 0.25f;
    }
  }
}

}  // namespace

void GLM_define_basis_functions_reset(void) {
  release_matrices();
  if (GLM.include_time) free_int_vector(GLM.include_time);
  GLM.include_time = nullptr;
}

int GLM_define_basis_functions(void) {
  int nsteps_per_tr = 1;
  if (HRF.nhrf) {
    double ratio = GLM.tr[0] / HRF.time_step + 0.5;
    nsteps_per_tr = ratio >= 1.0 && ratio < 1.0e6 ? (int)ratio : 0;
    if (nsteps_per_tr < 1) {
      printf("Error: the IRF time step (%f) must be <= TR (%f)\n", HRF.time_step, GLM.tr[0]);
      return 1;
    }
  }
  release_matrices();
  GLM.nbaseline = GLM.nruns * GLM_input.nbaseline_terms;
  GLM.ncoeff = GLM.nevents + GLM.nbaseline;
  GLM.ntable_events = 0;
  allocate_matrices();
  rebuild_inclusion();

  std::vector<float> paradigm((size_t)rows(GLM.ntime) * nsteps_per_tr);
  for (int j = 0; j < GLM.nevents; j++)
    if (build_event_column(j, nsteps_per_tr, paradigm.data())) return 1;
  add_polynomial_columns();

  for (int t = 0; t < GLM.ntime; t++) {
    for (int c = 0; c < GLM.ncoeff; c++) {
      GLM.Xorig_tc[t][c] = GLM.X_tc[t][c];
      GLM.X_tc[t][c] *= GLM.include_time[t];
    }
  }
  GLMInternal_whiten_model(1);
  GLMInternal_complete_model();
  GLM.initialized = 2;
  return 0;
}

void GLM_describe_basis_functions(void) {
  FILE *fp = fopen("basis.dat", "w");
  if (!fp) {
    puts("Cannot open basis function output file ...");
    return;
  }
  int terms = GLM_input.nbaseline_terms;
  fprintf(fp, "x ");
  for (int j = 0; j < GLM.nevents; j++) fprintf(fp, "event_%c ", GLM_EventCharID(GLM.event_number[j]));
  const char *names[4] = {"offset", "slope", "quad", "triad"};
  for (int k = 0; k < terms && k < 4; k++)
    for (int r = 0; r < GLM.nruns; r++) fprintf(fp, "%s%d ", names[k], r);
  fprintf(fp, "\n");
  for (int t = 0; t < GLM.ntime; t++) {
    fprintf(fp, "%d ", t);
    for (int c = 0; c < GLM.ncoeff; c++) fprintf(fp, "%f ", GLM.Xorig_tc[t][c]);
    fprintf(fp, "\n");
  }
  fclose(fp);
}

float **GLM_get_design_matrix(void) { return GLM.Xorig_tc; }

int GLM_number_time_points(void) { return GLM.ntime; }

int GLM_is_excluded(int index_time) {
  if (!GLM.initialized || !GLM.include_time || index_time < 0 || index_time >= GLM.ntime) return 0;
  return GLM.include_time[index_time] == 0;
}

int GLM_get_number_excluded_regions(void) { return GLM.nexclude; }

int GLM_get_excluded_region(int index_exclude, int *exclude_start, int *exclude_end) {
  if (index_exclude < 0 || index_exclude >= GLM.nexclude) return 1;
  *exclude_start = GLM.exclude_start[index_exclude];
  *exclude_end = GLM.exclude_end[index_exclude];
  return 0;
}
