// The engine's records, the table of fit types, the accessors and the
// description of a study.
#include <cstdio>
#include <cstring>

#include "fit_internal.h"
#include "zor_alloc.h"
#include "zor_atomic_file.h"
#include "zor_exit.h"
#include "zor_fit.h"

namespace {

constexpr fit_struct initial_fit() {
  fit_struct f{};
  f.fit_class = -1;
  f.type = -1;
  return f;
}

constexpr FIT_INPUT initial_input() {
  FIT_INPUT f{};
  f.nifti_output = 1;
  return f;
}

}  // namespace

__thread fit_struct FIT = initial_fit();
FIT_INPUT FIT_input = initial_input();
IPOINT3D ReverseBDirection;

namespace {

#define FIT_TENSOR_NAMES                                                                       \
  {"S0", "MD", "LD", "RD", "A", "dA", "FA", "FA.x", "FA.y", "FA.z", "Dxx", "Dyy", "Dzz", "Dxy", \
   "Dxz", "Dyz", "Diag_sem", "Doff_sem"}

const fit_type_entry fit_types[] = {
    {"survival-2", "survival-2", FIT_SURVIVAL, FIT_SURVIVAL2, 2, 3, {"R0", "tau", "R0_div_tau"}},
    {"survival-3", "survival-3", FIT_SURVIVAL, FIT_SURVIVAL3, 3, 3, {"R0", "tau", "power"}},
    {"survival-5", "survival-5", FIT_SURVIVAL, FIT_SURVIVAL5, 5, 5, {"R0", "tau0", "R1", "tau1", "alpha"}},
    {"FDG-polynomial", "FDG-poly", FIT_OTHER, FIT_FDG_POLY, 5, 5, {"C0", "k2+k3", "A", "B", "C"}},
    {"FDG-exponential", "FDG-exp", FIT_OTHER, FIT_FDG_EXP, 3, 3, {"L", "E", "Tau"}},
    {"DTI-OLS", "DTI-OLS", FIT_DIFFUSION, FIT_DTI_OLS, 7, 18, FIT_TENSOR_NAMES},
    {"DTI-WLS", "DTI-WLS", FIT_DIFFUSION, FIT_DTI_WLS, 7, 18, FIT_TENSOR_NAMES},
    {"DTI-NL", "DTI-NL", FIT_DIFFUSION, FIT_DTI_NL, 7, 18, FIT_TENSOR_NAMES},
    {"T2", "T2", FIT_RELAXATION, FIT_T2, 3, 3, {"T2", "R2", "S0"}},
    {"T1-IR", "T1-IR", FIT_RELAXATION, FIT_T1_IR, 4, 4, {"T1", "R1", "S0", "unity"}},
};

}  // namespace

const fit_type_entry *fit_type_by_argument(const char *argument) {
  for (const fit_type_entry &e : fit_types)
    if (!strcmp(e.argument, argument)) return &e;
  return nullptr;
}

const fit_type_entry *fit_type_by_type(int type) {
  for (const fit_type_entry &e : fit_types)
    if (e.type == type) return &e;
  return nullptr;
}

void fit_release_arrays(void) {
  if (FIT.Weight) free_float_vector(FIT.Weight);
  FIT.Weight = nullptr;
  if (FIT.xVector) free_float_matrix(FIT.xVector, FIT.dim_x, FIT.ntime);
  FIT.xVector = nullptr;
  if (FIT_input.xVector) free_float_vector(FIT_input.xVector);
  FIT_input.xVector = nullptr;
  FIT_input.ntime = 0;
}

void FIT_reset(void) {
  fit_release_arrays();
  const int notify = FIT_input.notify;
  memset(&FIT_input, 0, sizeof FIT_input);
  FIT_input.notify = notify;
  FIT_input.nifti_output = 1;
  memset(&FIT, 0, sizeof FIT);
  FIT.fit_class = -1;
  FIT.type = -1;
  ReverseBDirection = IPOINT3D{0, 0, 0};
}

int FIT_get_type(char *fit_type) {
  const fit_type_entry *e = fit_type_by_type(FIT.type);
  if (!e) return 1;
  strcpy(fit_type, e->text);
  return 0;
}

int FIT_get_number_fit_parameters(void) { return FIT.nparam_fit; }
int FIT_get_number_output_parameters(void) { return FIT.nparam_output; }
int FIT_is_initialized(void) { return FIT.initialized; }
int FIT_get_number_time_points(void) { return FIT.ntime; }

float FIT_get_output_parameter(int iparam) {
  if (iparam < 0 || iparam >= FIT.nparam_output || iparam >= FIT_MAX_PARAMETERS) {
    printf("Error: parameter index %d is out of range (%d to %d) in FIT_get_output_parameter()\n", iparam, 0,
           FIT.nparam_output - 1);
    zor_exit(1);
  }
  return FIT.param_output[iparam];
}

int FIT_get_parameter_name(int iparam, char *parameter_name) {
  if (iparam < 0 || iparam >= FIT.nparam_output || iparam >= FIT_MAX_PARAMETERS) {
    printf("Error: parameter index %d is out of range (%d to %d) in FIT_get_parameter_name()\n", iparam, 0,
           FIT.nparam_output - 1);
    return 1;
  }
  strcpy(parameter_name, FIT.param_name[iparam]);
  return 0;
}

float FIT_get_x_vector(int itime) {
  if (FIT.fit_class == FIT_RELAXATION || FIT.fit_class == FIT_SURVIVAL) {
    if (itime < 0 || itime >= FIT.ntime || !FIT.xVector) {
      printf("Error: time index %d is out of range (%d to %d) in FIT_get_x_vector()\n", itime, 0, FIT.ntime - 1);
      zor_exit(1);
    }
    return FIT.xVector[0][itime];
  }
  if (itime > FIT.ntime - 1) itime = FIT.ntime - 1;
  if (itime < 0) itime = 0;
  return (float)itime;
}

int FIT_describe(void) {
  char text[ZOR_LINE] = "undefined";
  FIT_get_type(text);
  printf("Fit type: %s\n", text);
  printf("# parameters to fit = %d, # output parameters = %d\n", FIT.nparam_fit, FIT.nparam_output);
  for (int i = 0; i < FIT.nparam_output && i < FIT_MAX_PARAMETERS; i++) printf("   %s\n", FIT.param_name[i]);
  printf("Number of time points = %d in %d files.\n", FIT.ntime, FIT.nfiles);
  if (!fit_is_tensor(FIT.type) || !FIT.xVector) return 0;
  atomic_file out;
  FILE *fp = atomic_file_open(&out, "used.dti");
  if (!fp) {
    printf("Error: cannot write the file %s.\n", "used.dti");
    return 1;
  }
  for (int j = 0; j < FIT.ntime; j++)
    fprintf(fp, "%g %g %g %g\n", FIT.xVector[0][j], FIT.xVector[1][j], FIT.xVector[2][j], FIT.xVector[3][j]);
  if (atomic_file_commit(&out)) {
    printf("Error: cannot write the file %s.\n", "used.dti");
    return 1;
  }
  return 0;
}
