// The group model: a second-level fit over earlier analyses, each file one
// "time point" with its value and standard error, grouped into events. One
// settings record `REM_input` and one engine record `REM`, both global. The
// engine record is a `glm_struct` of its own, kept in namespace `rem` so that
// it and its shapes stay apart from the first-level model's.
#ifndef ZOR_REM_H
#define ZOR_REM_H

#include <cstdio>

#include "zor_types.h"

enum {
  REM_MAX_FILES = 200,
  REM_MAX_EVENTS = 100,
  REM_MAX_RANGES = 100,
  REM_MAX_CONDITIONS = 100
};

struct REM_INPUT {
  int nfiles;
  char signal_file_name[REM_MAX_FILES][ZOR_LINE];
  float signal_magnitude[REM_MAX_FILES];
  int multiple_comparisons;
  float smoothed_mm;
  float smooth_ratio_mm;
  int nifti_output;
  int global_scaling;
  int overlapping_events;
  char condition_string[ZOR_LINE];
};

namespace rem {

enum REM_shapes { SHAPE_SQUARE = 0, SHAPE_RAMP = 1 };

struct glm_struct {
  int initialized;
  int ntime;
  int nevents;
  int ncoeff;
  int event_number[REM_MAX_EVENTS];
  int event_shape[REM_MAX_EVENTS];
  int nstims[REM_MAX_EVENTS];
  int nsamples[REM_MAX_EVENTS];
  int event_start[REM_MAX_EVENTS][REM_MAX_RANGES];
  int event_stop[REM_MAX_EVENTS][REM_MAX_RANGES];
  int *lDOF_fixed;
  int lDOF_effective;
  float *Beta_c;
  float **X_tc;
  float **SIGm1_tt, **Xw_tc, **XTXw_cc, **Variance_cc, **XTSIGm1_ct, **Product_ct, **XProduct_tt, **Identity_tt,
      **Residue_tt, **Residue2_tt, **SigFE_tt, **SigFE2_tt, **SigFE2R_tt;
  int nconditions;
  int ncontrasts[REM_MAX_CONDITIONS];
  int **contrast_matrix[REM_MAX_CONDITIONS];
  char condition_string[REM_MAX_CONDITIONS][ZOR_LINE];
};

}  // namespace rem

extern rem::glm_struct REM;
extern REM_INPUT REM_input;

// Control file, in either form: groups of file lines after `event` lines, or
// index ranges under events and the files after a "measurements:" line.
int REM_read_control_file(char *file_name);
int REMInternal_decode_keyword(char *line);
int REMInternal_read_control_file_no_overlapping_events(FILE *file);
int REMInternal_read_control_file_overlapping_events(FILE *file);
void REMInternal_describe_rem_format(void);
void REM_describe_input(void);
// Empties REM_input and REM and releases what the engine holds, as at
// program start.
void REM_engine_reset(void);

// Event characters: the alphabet of the first-level model.
int REM_EventNumberFromChar(char event_char);
int REM_EventCharFromInteger(int event_number, char *event_char);
char REM_EventChar(int event_number);
int REM_EventStringFromInteger(int event_number, char *event_string);

// Design and degrees of freedom.
void REMInternal_define_design_matrix(void);
int REMInternal_read_DOFs_from_files(void);
void REMInternal_calculate_effective_DOF(void);

// Queries.
int REM_is_initialized(void);
int REM_get_nconditions(void);
int REM_get_number_events(void);
int REM_get_event_number(int index);
int REM_get_event_index(int event_number);
int REM_get_number_time_points(void);
int REM_get_DOF_fixed(void);
int REM_get_DOF_random(void);
int REM_get_DOF_effective(void);
// 1 for an index out of range, and nothing is written.
int REM_get_condition_string(int ncondition, char *condition_string);
IPOINT2D REM_GetEventLimits(int event_number);
int REM_IdentifyEvent(int iEntry, char *event_char, int *nSample);

// Generalized least squares for one voxel or region with the covariance
// diag(SigFE^2) + Sigma2_RE * I. Fills Beta_c, Variance_cc and the fits; the
// file-by-file work matrices that no result reads (XProduct_tt, Residue_tt,
// Residue2_tt) are left as they were, since the diagonal covariance needs no
// file-by-file product. Returns 0, or 1 with a message.
int REM_fit_final(float Sigma2_RE, int ntime, float *Signal_vector, float *SigFE_vector, float *fit_vector,
                  float *fit_error, float *fit_vector_av);
// The same fit through every file-by-file product and the inversion of the
// whole covariance. REM_fit_final gives the same values to the last bit.
int REMInternal_fit_final_all_matrices(float Sigma2_RE, int ntime, float *Signal_vector, float *SigFE_vector,
                                       float *fit_vector, float *fit_error, float *fit_vector_av);
void REMInternal_compute_residue_matrix(void);

// Conditions and their tests.
int REM_define_conditions(char *condition_string, int *nconditions);
int REM_calculate_F(int ntime, int resels, int lCondition, int lDOF_effective, float *cnr, float *p_raw, float *p_cor,
                    float *effect_size, float *effect_sem);

#endif
