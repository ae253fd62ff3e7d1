// Helpers shared by the sources of the PET engine only.
#ifndef ZOR_SRTM_INTERNAL_H
#define ZOR_SRTM_INTERNAL_H

#include <cstdio>

#include "zor_srtm.h"

// A line counts as blank when it holds nothing a number scan could start on.
inline int srtm_line_is_blank(const char *line) {
  int value;
  return sscanf(line, "%d", &value) == EOF;
}

// Sizes with which the engine's arrays were allocated, so that they can be
// released whatever the counts say now.
struct srtm_allocation {
  int table_rows[SRTM_MAX_RUNS];      // columns of table_value
  int table_frames[SRTM_MAX_RUNS];    // frames of table_value and the run vectors
  int run_vectors[SRTM_MAX_RUNS];     // 1 when the run's curves are allocated
  int design_ntime, design_ncoeff;    // the fit's vectors and matrices
  int static_ntime;                   // target_t and include_time, 0 before the first static build
  int condition_ncoeff;               // columns of the contrast rows now held
  int mask_n3d;                       // Mask_Reference and Mask_Target
  // First-call memories of the region readers.
  int roi_dims_known, target_dims_known;
  IPOINT3D roi_dim, target_dim;
};
extern srtm_allocation srtm_alloc;

// The control file's resets of both records (step one of its reading).
void srtm_reset_inputs(void);

// Frees the run's table and curves.
void srtm_free_run(int irun);
// Frees the fit's vectors and matrices and allocates them for the current
// ntime and ncoeff.
void srtm_allocate_design(void);
// Frees the conditions' matrices.
void srtm_free_conditions(void);

// Shape names for messages.
const char *srtm_type_name(int type);
const char *srtm_shape_name(int shape);

// The shape g of an event at time `time` (minutes) for a period from
// `start` to `stop`, as the running integrals and parameters use it; the
// table shape is not handled here.
double srtm_shape_value(int shape, double time, double start, double stop, double tau, double alpha,
                        int test_start);

// Global frame index of frame j of run r is run_istart[r] + j; the time of
// each global frame, cached for the design (rebuilt by the static build).
extern double *srtm_frame_time;
void srtm_update_frame_times(void);
// Forgets the time shapes the static build worked out for the running sums.
void srtm_clear_shape_cache(void);

#endif
