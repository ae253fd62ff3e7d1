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

// Design matrix.
int GLM_define_basis_functions(void);
void GLM_define_basis_functions_reset(void);
int GLMInternal_create_stimulus_paradigm(int index_event, int nsteps_per_tr, float *paradigm);
int GLMInternal_create_table(int index_event, int nsteps_per_tr, float *paradigm);
void GLMInternal_create_interaction(int index_event, float *paradigm);
void GLMInternal_BaselineEvent(int index_event, int ibaseline_order, float tau);
int GLMInternal_convolve_paradigm_IRF(int convolution_flag, int nsteps_per_tr, float *paradigm, int index_event);
void GLMInternal_integrate_paradigm(int nsteps_per_tr, float *paradigm);
float GLMInternal_normalize_paradigm(int ntime, float *paradigm, float max_value);
void GLMInternal_complete_model(void);
void GLM_describe_basis_functions(void);
float **GLM_get_design_matrix(void);
int GLM_number_time_points(void);
int GLM_is_excluded(int index_time);
int GLM_get_number_excluded_regions(void);
int GLM_get_excluded_region(int index_exclude, int *exclude_start, int *exclude_end);

// Fit, noise models, filters.
void GLM_Update_Weights(int ntime, float *diff_vector);
int GLM_PreFilter(int PostGLM, int ntime, float *data_vector);
void GLM_FrequencyFilter(int PostGLM, int ntime, float *data_vector);
void GLM_FrequencyFilter_reset(void);
void GLMInternal_whiten_data(float *data_vector);
void GLMInternal_whiten_model(int first_time);
void GLMInternal_whiten_model_reset(void);
int GLM_fit_data(int ntime, float *data_vector, float *fit_vector, float *sigma2);
void GLMInternal_fit_data(int ntime, float *data_vector, float *fit_vector, float *sigma2);
int GLM_remove_baseline(int option, int ntime, float *data_vector, float *fit_vector);
float GLM_compute_baseline(void);
// The baseline GLM_compute_baseline gives for these coefficients of the model.
float GLM_compute_baseline_of(const float *coefficients);
int GLM_get_noise_model(void);
void GLM_set_noise_model(int imodel);
int GLM_get_noise(int GetFit, int ntime, float *noise_stdev);
void GLM_set_preGLM_frequency_band(float freq_low, float freq_high);
void GLM_set_preGLM_phase_shift(float phase_shift);
void GLM_get_preGLM_frequency_band(float *freq_low, float *freq_high);
void GLM_get_preGLM_phase_shift(float *phase_shift);

// Conditions and statistics.
int GLM_define_conditions(int DefineContrasts, char *condition_string, int *nconditions);
void GLM_define_conditions_reset(void);
void GLM_calc_covariance_matrix(void);
// Fits every series of a map (nvoxels series of ntime points, voxel after
// voxel) under the current model and gives each voxel's noise variance
// (sigma2[v], when sigma2 is not null) and, for each condition k, six
// values at statistics[(v * nconditions + k) * 6]: F, cnr, p_raw, p_cor,
// effect size and its error (when statistics is not null). Each value is the
// one GLM_fit_data and GLM_calculate_F give for that voxel alone, in voxel
// order; a voxel without noise gets F 0. Up to nthreads threads share the
// voxels, except under iWLS, whose fits follow one another. The engine is
// left as the last voxel's fit leaves it. Returns 0, or 1 with a message.
int GLM_fit_voxels(int nvoxels, int ntime, const float *series, int resels, int nthreads, float *sigma2,
                   float *statistics);
// The same, giving each voxel's ncoeff coefficients at coefficients[v * ncoeff]
// as well (when coefficients is not null).
int GLM_fit_voxels_coefficients(int nvoxels, int ntime, const float *series, int resels, int nthreads,
                                float *sigma2, float *statistics, float *coefficients);
// The same for voxels first..first+nvoxels-1 of volumes as they lie in memory
// (volumes[t][voxel]), with outputs indexed from 0 for voxel `first`: the
// data as they are (no pre-fit filter), the weights in place. Not under iWLS,
// whose fits follow one another (1 with a message). The engine's own fit is
// left as it was.
int GLM_fit_volume_voxels(int first, int nvoxels, int ntime, const float *const *volumes, int resels, int nthreads,
                          float *sigma2, float *statistics, float *coefficients);
int GLM_calculate_F(int ntime, float sigma2, int resels, int lCondition, float *Fstat, float *cnr, float *p_raw,
                    float *p_cor, float *effect_size, float *effect_sem);
int GLM_create_all_conditions(char *condition_string);
int GLM_create_all_single_conditions(char *condition_string);
int GLM_get_nconditions(void);
int GLM_get_condition_string(int ncondition, char *condition_string);
int GLM_event_fit(int baseline, char *residue_string, int index_event, int index_time, float *fit);
void GLM_define_table_residue(char *residue_string);
void GLM_define_residue_from_inclusion(char *include_string, char *residue_string);
int GLM_invalid_residue(char *residue_string);
int GLM_event_is_in_string(char *string, int index_event);
int GLM_get_number_events_inside_residue(char *residue_string);
int GLM_create_selective_residue(char *residue_string, int ntime, float *data_vector, float *fit_vector);

// The model without a control file and the viewer's queries.
int GLM_initialize(int ntime, int nruns);
void GLM_initialize_run(int index_run, float start, float stop, float time_step);
// Changing the model by hand; times are time points of the concatenated axis.
int GLM_define_1_stimulus(int event_number, int ishape, float TimePoint_on, float TimePoint_off, float TimePoint_tau,
                          float alpha);
int GLM_delete_1_stimulus(int event_number, float location_TimePoint, int Verbose);
int GLM_define_table_event_interactive(int event_number, int istart, int iend, int ntime, float *table_data);
// Mode 1 excludes the points from start to end; any other mode flips them.
void GLM_modify_excluded_region(int mode, int start, int end);
int GLM_identify_time_point(int iTime, char *residue_string, char *output_string);
int GLM_is_initialized(void);
int GLM_get_nbaseline_terms(void);
int GLM_set_nbaseline_terms(int nbaseline);
int GLM_get_number_events(void);
int GLM_get_event_number(int index_event);
int GLM_event_is_defined(int event_number);
int GLM_get_paradigm_shape(int event_number);
int GLM_get_tr(int irun, float *tr);
float GLM_get_run_start_time(int iRun);
// The stimuli of one event in turn: -1 rewinds and gives 0; then 1 with each
// stimulus, and 0 (rewinding) after the last. Gamma, sigmoid, sine and
// cosine stimuli end one second after they start.
int GLM_get_stimulus(int index_event, float *stim_on, float *stim_off);
void GLM_get_stimulus_reset(void);

#endif
