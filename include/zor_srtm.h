// The reference-tissue kinetic model for dynamic PET: control file, event
// and table files, reference and target regions, the design with its
// running integrals and noise weights, the fit, conditions and the kinetic
// parameters (R1, tau2', BP, V, b). All times are minutes. One engine
// record `SRTM` and its settings `SRTM_input`, both global.
#ifndef ZOR_SRTM_H
#define ZOR_SRTM_H

#include "zor_header.h"
#include "zor_types.h"

enum {
  SRTM_MAX_RUNS = 50,
  SRTM_MAX_EVENTS = 61,
  SRTM_MAX_PERIODS = 50,
  SRTM_MAX_CONDITIONS = 100,
  SRTM_MAX_COLUMNS = 50
};

// The engine's own event types and shapes; the fMRI model has enumerations
// of the same names with other values, so these live apart.
namespace srtm {
enum GLM_types { TYPE_R1 = 0, TYPE_k2 = 1, TYPE_k2a = 2, TYPE_DVb = 3, TYPE_1b = 4, TYPE_CON = 5, TYPE_LIN = 6 };
enum GLM_shapes { SHAPE_CONSTANT = 0, SHAPE_GAMMA = 1, SHAPE_GAMMAINT = 2, SHAPE_SIGMOID = 3, SHAPE_TABLE = 4 };
}  // namespace srtm

struct SRTM_INPUT {
  int notify;
  int multiple_comparisons;
  int plasma_column;
  int nruns;
  float half_life;
  int nifti_output;
  char condition_string[ZOR_LINE];
  char reference_region_file[ZOR_LINE];
  char target_region_file[ZOR_LINE];
  char run_name[SRTM_MAX_RUNS][ZOR_LINE];
  char glm_name[SRTM_MAX_RUNS][ZOR_LINE];
  char table_name[SRTM_MAX_RUNS][ZOR_LINE];
  int append[SRTM_MAX_RUNS];
};

struct srtm_glm_struct {
  int pet_model;
  int initialized;
  int ntime;
  int ncoeff;
  int nruns;
  double sigma2;
  int nt[SRTM_MAX_RUNS];
  int run_istart[SRTM_MAX_RUNS], run_istop[SRTM_MAX_RUNS];
  int table_ncolumns[SRTM_MAX_RUNS], table_nt[SRTM_MAX_RUNS];
  char table_column_name[SRTM_MAX_COLUMNS][ZOR_LINE];
  double **table_value[SRTM_MAX_RUNS];
  double *reference_region[SRTM_MAX_RUNS];
  double *ref_region_deriv[SRTM_MAX_RUNS];
  double *target_region[SRTM_MAX_RUNS];
  double k2prime_base[SRTM_MAX_RUNS];
  double *k2prime_rel[SRTM_MAX_RUNS];
  float *PET_TAC_4D[SRTM_MAX_RUNS];
  char ExcludeString[SRTM_MAX_RUNS][ZOR_LINE];
  int event_id[SRTM_MAX_EVENTS];
  int event_type[SRTM_MAX_EVENTS];
  int event_shape[SRTM_MAX_EVENTS];
  int nperiods[SRTM_MAX_EVENTS];
  int icolumn[SRTM_MAX_EVENTS];
  double tau[SRTM_MAX_EVENTS];
  double alpha[SRTM_MAX_EVENTS];
  int iTimeMax[SRTM_MAX_EVENTS];
  double period_start[SRTM_MAX_EVENTS][SRTM_MAX_PERIODS];
  double period_stop[SRTM_MAX_EVENTS][SRTM_MAX_PERIODS];
  double nincluded, dof;
  char IgnoreString[SRTM_MAX_RUNS][ZOR_LINE];
  int *include_time;
  float *target_t;
  float *NoiseRaw_t, *NoiseFit_t;
  double *Weight_t;
  double **Xorig_tc, **Xmix_tc, **X_tc;
  double **XTXm1_cc;
  double **XTXm1XT_ct;
  double *HatDiag_t;
  double *Beta_c;
  double *Residue_t;
  int nconditions;
  int ncontrasts[SRTM_MAX_CONDITIONS];
  int **contrast_matrix[SRTM_MAX_CONDITIONS];
  char condition_name[SRTM_MAX_CONDITIONS][ZOR_LINE];
  double **FCovar[SRTM_MAX_CONDITIONS], **FCovarInv[SRTM_MAX_CONDITIONS];
  int BP_condition[SRTM_MAX_CONDITIONS], DV_condition[SRTM_MAX_CONDITIONS];
  float *Mask_Reference, *Mask_Target;
};

extern srtm_glm_struct SRTM;
extern SRTM_INPUT SRTM_input;

// Releases everything the engine holds and forgets every first-call state
// (the region readers' remembered dimensions, the static build's first
// call), as at program start; `pet_model` and `plasma_column` go to 0.
void SRTM_engine_reset(void);

// Event characters: "1"-"9", "a"-"z", "A"-"Z" are 1 to 61, "," is -1.
int SRTM_EventNumberFromChar(char c);
int SRTM_EventCharFromInteger(int event_number, char *c);  // 0, or 1 for no character
char SRTM_EventChar(int event_number);                      // ends the run for no character

// Inputs.
int SRTM_read_control_file(int verbose, char *file_name);
int SRTMInternal_decode_keyword(char *line);
void SRTMInternal_describe_glm_format(void);
int SRTM_read_GLM_file(char *file_name, int irun);
int SRTMInternal_read_start_stop_time(int irun, int icoeff, int ishape, int event_id, int found, int nperiod,
                                      char *line);
int SRTM_read_table_file(char *file_name, int irun);
int read_ROIs_from_file(int verbose, int iRun, char *SRTM_FileName);
int read_target_ROI_from_file(int verbose, int iRun, char *SRTM_FileName);
int read_overlay_mask(char *FileName, IPOINT3D dim, float *weight_vector);
// Reads the run's nt frames into `data`. A file shorter than its header
// says fails at its first missing frame with nothing allocated for it; with
// a null `data` only that check is made.
int read_vistrel_data_file(char *FileName, XD_HEADER header, float *data);

// Design.
int SRTM_define_static_basis_functions(void);
int SRTM_define_dynamic_basis_functions(int ntime, float *tissue_vector);
void SRTM_Calculate_PseudoInverse_and_Covariance(void);
int SRTM_Set_Ignore_String(int irun, char *list);
int SRTM_Get_Ignore_String(int iRun, char *list);
int SRTM_set_exclusion_list(int irun, int nset, int *set);
int SRTM_TimePoint_Is_Ignored(int iRun, int iTime);

// Fit and conditions.
int SRTM_define_conditions(char *condition_string);
int SRTM_fit_data(int ntime, float *data_vector, float *fit_vector, float *fit_error, double *sigma2);
int SRTM_calculate_F(int ntime, double sigma2, double resels, int lCondition, double *cnr, double *p_raw,
                     double *p_cor, float *effect_size, float *effect_sem);

// Fits every voxel of a study: `series` holds nvoxels curves of ntime
// points, voxel after voxel. For each voxel the dynamic design is rebuilt on
// its own curve and fitted, exactly as SRTM_define_dynamic_basis_functions
// and SRTM_fit_data do; per voxel, `beta` (when not null) receives ncoeff
// coefficients, `sigma2` and `dof` one value each, and `statistics` (when not
// null) for each condition k five values at [(v * nconditions + k) * 5]:
// cnr, p_raw, p_cor, effect size and its error, from SRTM_calculate_F with
// `resels`. Up to nthreads threads share the voxels; every value is the one
// a single fit gives (a voxel without degrees of freedom, whose single test
// would end the program, gets tests that are not a number). The engine's
// design, fit and noise model are left as they were before the call.
// Returns 0, or 1 with a message.
int SRTM_fit_voxels(int nvoxels, int ntime, const float *series, double resels, int nthreads, double *beta,
                    double *sigma2, double *dof, double *statistics);

// Parameters and partial fits.
double SRTM_get_parameter_value(int iParameter, int iTime_total, double *Par_error);
int SRTM_BP_condition(int iCondition);
double SRTM_calculate_BP_condition(int iCondition, double *BP_error);
int SRTMInternal_BP_condition(int iCondition);
int SRTMInternal_DV_condition(int iCondition);
int SRTM_iTime_for_BP(int iCoeff);
int SRTM_binding_fit(int ibind, int itime, float *fit);
int SRTM_coeff_fit(int icoeff, int itime, float *fit);
int SRTM_get_residue(int ntime, float *residue);
int SRTM_get_noise_model(int GetFit, int ntime, float *noise_stdev);

// Time mapping.
double SRTM_time_total_minutes(int itime_total);
double SRTM_time_run_minutes(int itime_total);
int SRTM_get_run_number(int iTime_total);
int SRTM_get_run_number_from_time(double Time_total);
int SRTM_get_itime_in_run(int iTime_total);
int SRTM_get_itime_in_run_from_time(double Time_total);
int SRTM_get_itime_from_time(double Time_total);
void SRTM_get_start_stop_times(int iRun, int *istart, int *istop);

// Accessors and reports.
int SRTM_is_initialized(void);
int SRTM_get_nruns(void);
int SRTM_get_ntime(int iRun);
int SRTM_get_nconditions(void);
int SRTM_get_number_coefficients(void);
int SRTM_is_SRTM_model(void);
int SRTM_k2a_coefficient(int iCoeff);
int SRTM_get_condition_name(int ncondition, char *condition_name);
float SRTM_get_half_life(void);
void SRTM_set_half_life(float half_life);
void SRTM_describe_conditions(void);
void SRTM_describe_input_files(void);

#endif
