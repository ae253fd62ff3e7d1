// The first-level linear model for fMRI time series: control file, event and
// table files, response functions, design matrix, fit, noise models and
// statistics. One engine record `GLM`, its settings `GLM_input` and the
// response kernel `HRF`, all global.
#ifndef ZOR_GLM_H
#define ZOR_GLM_H

#include "zor_types.h"

enum {
  GLM_MAX_RUNS = 50,
  GLM_MAX_EVENTS = 62,
  GLM_MAX_STIMS = 10000,
  GLM_MAX_EXCLUDE = 10000,
  GLM_MAX_TABLE_COLUMNS = 50,
  GLM_MAX_CONDITIONS = 100
};

enum Noise_Models { NOISE_OLS = 0, NOISE_iWLS = 1, NOISE_fPET = 2 };

enum GLM_shapes {
  SHAPE_SQUARE = 0,
  SHAPE_GAMMA = 1,
  SHAPE_SIGMOID = 2,
  SHAPE_TABLE = 3,
  SHAPE_DRUGIRF = 4,
  SHAPE_SINE = 5,
  SHAPE_COSINE = 6,
  SHAPE_RAMPUP = 7,
  SHAPE_RAMPDOWN = 8,
  SHAPE_EXPDOWN = 9,
  SHAPE_BASELINE0 = 10,
  SHAPE_BASELINE1 = 11,
  SHAPE_BASELINE2 = 12,
  SHAPE_BASELINE3 = 13,
  SHAPE_BASELINE_ES = 14,
  SHAPE_INTERACT = 15
};

struct GLM_INPUT {
  int normalize_runs;
  int nbaseline_terms;
  int notify;
  int multiple_comparisons;
  int AR_order;
  float AR_smooth_mm;
  float freq_low_pre, freq_high_pre;
  float freq_low_post, freq_high_post;
  float phase_shift;
  int noise_model;
  float half_life;
  int nifti_output;
  int fPET_integral;
  char HRF_file_name[ZOR_LINE];
  char condition_string[ZOR_LINE];
  int nruns;
  char run_name[GLM_MAX_RUNS][ZOR_LINE];
  char glm_name[GLM_MAX_RUNS][ZOR_LINE];
  char table_name[GLM_MAX_RUNS][ZOR_LINE];
};

struct glm_struct {
  int initialized;
  int ntime;
  int nbaseline;
  int nevents;
  int ntable_events;
  int nruns;
  float tr[GLM_MAX_RUNS];
  int run_start[GLM_MAX_RUNS], run_stop[GLM_MAX_RUNS];
  int table_ncolumns[GLM_MAX_RUNS], table_ntime[GLM_MAX_RUNS];
  char table_column_name[GLM_MAX_TABLE_COLUMNS][ZOR_LINE];
  float **table_value[GLM_MAX_RUNS];
  int event_number[GLM_MAX_EVENTS];
  int event_shape[GLM_MAX_EVENTS];
  int nstims[GLM_MAX_EVENTS];
  float event_tau1[GLM_MAX_EVENTS], event_tau2[GLM_MAX_EVENTS], event_alpha[GLM_MAX_EVENTS];
  int length_drugIRF[GLM_MAX_EVENTS];
  float *drugIRF[GLM_MAX_EVENTS], *plasmaIRF[GLM_MAX_EVENTS];
  int convolve_table[GLM_MAX_EVENTS];       // by event number
  int drift_correct_table[GLM_MAX_EVENTS];  // by event number
  float event_scale[GLM_MAX_EVENTS];        // by event number
  float stim_on[GLM_MAX_EVENTS][GLM_MAX_STIMS];
  float stim_off[GLM_MAX_EVENTS][GLM_MAX_STIMS];
  float stim_mag[GLM_MAX_EVENTS][GLM_MAX_STIMS];
  int table_icolumn[GLM_MAX_EVENTS][GLM_MAX_STIMS];
  int nexclude;
  int exclude_start[GLM_MAX_EXCLUDE], exclude_end[GLM_MAX_EXCLUDE];
  int ntime_included;
  int ncoeff;
  float dof;
  int *include_time;
  float **Xorig_tc, **X_tc;
  float **XTXm1_cc;
  float **XTXm1XT_ct;
  float *Beta_c;
  float *Weight_t, *NoiseRaw_t, *NoiseFit_t, *Residue_t, *HatDiag_t;
  float **WhiteFilter_tt, **ResMat_tt;
  float **ARMixm1_rr;
  int AR_order;
  int nconditions;
  int ncontrasts[GLM_MAX_CONDITIONS];
  int **contrast_matrix[GLM_MAX_CONDITIONS];
  char condition_string[GLM_MAX_CONDITIONS][ZOR_LINE];
  float **FCovar[GLM_MAX_CONDITIONS], **FCovarInv[GLM_MAX_CONDITIONS];
  float Sigma2;
};

struct hrf_struct {
  int unbiased;
  float time_length;
  float time_step;
  int npoints;
  int nexp;
  int nhrf;
  float *tau;
  float *weight;
  float *amp;
  char file_name[ZOR_LINE];
};

extern glm_struct GLM;
extern GLM_INPUT GLM_input;
extern hrf_struct HRF;

// Control file.
int GLM_read_control_file(char *file_name, int notify);
int GLMInternal_decode_keyword(char *line);
void GLMInternal_describe_glm_format(void);
// Empties GLM_input (keeping `notify`) and the event part of GLM.
void GLM_reset_model(void);
// Releases everything the engine holds and forgets every first-call state,
// as at program start.
void GLM_engine_reset(void);

// Events, tables and the writer.
int GLM_read_event_file(char *file_name, int irun, int ntime_run);
int GLM_read_table_file(char *file_name, int irun, int ntime_run);
int GLM_write_glm_files(char *dat_file_name, char *stim_file_root);
int GLM_EventNumberFromCharID(char event_char);
int GLM_EventCharIDFromInteger(int event_number, char *event_char);
char GLM_EventCharID(int event_number);
int GLM_EventStringFromInteger(int event_number, char *event_string);
void GLMInternal_describe_event_format(int event_shape);
void GLM_describe_stimuli(void);
void GLMInternal_drift_correct_table(int irun, int icolumn, int nterms);

// Response functions.
int GLM_read_hrf_file(int notify, char *file_name);
void GLM_read_hrf_file_reset(void);

#endif
