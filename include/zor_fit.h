// The generalized fit engine: one signal curve per voxel or region against
// a known x axis. Diffusion tensors from b-value series, T2 and
// inversion-recovery T1 relaxation, survival curves and FDG uptake. The
// control file picks the fit type and the x data; all data files of a study
// are one time axis. Records `FIT` and `FIT_input`, both global.
#ifndef ZOR_FIT_H
#define ZOR_FIT_H

#include "zor_types.h"

enum FIT_CLASSES { FIT_DIFFUSION = 0, FIT_RELAXATION = 1, FIT_SURVIVAL = 2, FIT_OTHER = 3 };
enum FIT_TYPES {
  FIT_T2 = 0,
  FIT_DTI_OLS = 1,
  FIT_DTI_WLS = 2,
  FIT_DTI_NL = 3,
  FIT_T1_IR = 4,
  FIT_FDG_POLY = 5,
  FIT_FDG_EXP = 6,
  FIT_SURVIVAL2 = 7,
  FIT_SURVIVAL3 = 8,
  FIT_SURVIVAL5 = 9
};
enum { FIT_MAX_FILES = 50, FIT_MAX_PARAMETERS = 20, FIT_DTI_OUTPUTS = 18 };

struct FIT_INPUT {
  char type[ZOR_LINE];  // the argument of time-model
  int notify;
  int nfiles;
  int nifti_output;  // 1 NIfTI map names (default), 0 native
  char file_name[FIT_MAX_FILES][ZOR_LINE];
  char description_file_name[FIT_MAX_FILES][ZOR_LINE];
  int dim_x;
  int ntime;        // values in the x list
  float *xVector;   // the x list
};

struct fit_struct {
  int fit_class;  // FIT_CLASSES, -1 before the type is known
  int type;       // FIT_TYPES, -1 before the type is known
  int initialized;
  int ntime;
  int nfiles;
  int nparam_fit;
  int nparam_output;
  int dim_x;  // rows of xVector: 4 (direction, b) for tensors, else 1
  int nt[FIT_MAX_FILES];
  int file_start[FIT_MAX_FILES], file_stop[FIT_MAX_FILES];
  char param_name[FIT_MAX_PARAMETERS][ZOR_LINE];
  float param_output[FIT_MAX_PARAMETERS];  // outputs of the last fit
  float param_value[FIT_MAX_PARAMETERS];   // fitted parameters of the last fit
  float dof;
  float *Weight;
  float **xVector;  // [row][point]
};

// Each thread has its own FIT and its own linear model, so that several
// threads may fit curves at once (FIT_fit_voxels). Everything else reads
// and writes the calling thread's copy, which for the viewer is the one.
// (__thread, not thread_local: the record has no dynamic initialisation,
// so no wrapper call is needed to reach it.)
extern __thread fit_struct FIT;
extern FIT_INPUT FIT_input;
extern IPOINT3D ReverseBDirection;

// Control file and its parts. 0 success, 1 after a printed failure.
int FIT_read_control_file(int verbose, char *file_name);
// 0 go on, 1 end of keywords, -1 error.
int FITInternal_decode_keyword(char *line);
int FITInternal_read_map_array(char *argument);
void FITInternal_describe_format(void);
int FIT_read_DTI_description_file(int iFile, char *file_name);
int read_registration_file(char *FileName);
// Prints the fit type, its parameters and time points; for tensor fits also
// writes the rotated gradient table to "used.dti". Returns 0, or 1 when the
// table could not be written.
int FIT_describe(void);
// Releases everything the engine holds, as at program start (keeps notify).
void FIT_reset(void);

// Accessors.
int FIT_get_type(char *fit_type);
int FIT_get_number_fit_parameters(void);
int FIT_get_number_output_parameters(void);
float FIT_get_output_parameter(int iparam);
int FIT_get_parameter_name(int iparam, char *parameter_name);
int FIT_is_initialized(void);
int FIT_get_number_time_points(void);
float FIT_get_x_vector(int itime);

// Tensor fits: 0, or 1 when the linear model fails.
int FIT_define_DTI_basis_functions(int ntime, float *weight);
int FIT_DTI_linear_OLS(int npoints, float *ydata, float *fit);
int FIT_DTI_linear_WLS(int npoints, float *ydata, float *fit);
int FIT_DTI_nonlinear(int npoints, float *ydata, float *fit);
void FITInternal_SetDTIOutputParameters(double S0, double Dxx, double Dyy, double Dzz, double Dxy,
                                        double Dxz, double Dyz, double Diag_sem, double Doff_sem);
double FIT_func_DTI_nonlinear(double x, double *p);

// Relaxation, survival and FDG fits: 0, or 1.
int FIT_T2_value(int npoints, float *ydata, float *fit);
int FIT_T1_from_IR_magnitude(int npoints, float *ydata, float *fit);
int FIT_survival2(int npoints, float *ydata, float *fit);
int FIT_survival3(int npoints, float *ydata, float *fit);
int FIT_survival5(int npoints, float *ydata, float *fit);
int FIT_FDG_polynomial(int npoints, float *ydata, float *fit);
int FIT_FDG_exponential(int npoints, float *ydata, float *fit);
int FIT_define_FDG_basis_functions(int ntime, float k23, float *weight);
void fit_line(int npoints, float *x, float *y, float *slope, float *offset, float *sigma);
void grid_search_t1(int nt, int iTau, float *signal_array, float *T1, float *A, float *B,
                    float *argmax);
float Barral_gamma(int nt, int iTau, float *signal_array, float T1);
float Barral_psi(int nt, float *signal_array, float T1);
float Barral_A(int nt, int iTau, float *signal_array, float T1, float B);
double FIT_func_survival2(double x, double *p);
double FIT_func_survival3(double x, double *p);
double FIT_func_survival5(double x, double *p);
double FIT_func_FDG_polynomial(double x, double *p);
double FIT_func_FDG_exponential(double x, double *p);

// Dispatch on FIT.type; chi2_dof is the mean square of data - fit.
int FIT_data(int ntime, float *ydata, float *fit, float *chi2_dof);
// The fitted curve at x, for drawing.
float FIT_get_fit_value(float x, float ymax);

// Fits nvoxels series (ntime points each, voxel after voxel) on up to
// nthreads threads. Each voxel starts from cleared parameter arrays and a
// cleared fit vector, and its values are those FIT_data then gives for that
// voxel alone on the engine as it stands: its result (0 or 1) in result[v],
// chi2_dof[v], its nparam_fit parameters at values[v * nparam_fit] and its
// nparam_output outputs at outputs[v * nparam_output] (any of the four may
// be null). The caller's engine is left as the last voxel's fit leaves it.
// Returns 0, or 1 with a message for an engine not ready.
int FIT_fit_voxels(int nvoxels, int ntime, const float *series, int nthreads, int *result,
                   float *chi2_dof, float *values, float *outputs);

#endif
