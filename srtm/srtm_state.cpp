// The engine's records, their resets and the release of what they hold;
// event characters.
#include <cstdio>
#include <cstring>

#include "srtm_internal.h"
#include "zor_alloc.h"
#include "zor_event_chars.h"
#include "zor_exit.h"

srtm_glm_struct SRTM;
SRTM_INPUT SRTM_input;
srtm_allocation srtm_alloc;
double *srtm_frame_time = nullptr;

void srtm_free_run(int irun) {
  int rows = srtm_alloc.table_rows[irun], frames = srtm_alloc.table_frames[irun];
  if (SRTM.table_value[irun]) free_double_matrix(SRTM.table_value[irun], rows, frames);
  SRTM.table_value[irun] = nullptr;
  if (srtm_alloc.run_vectors[irun]) {
    free_double_vector(SRTM.reference_region[irun]);
    free_double_vector(SRTM.ref_region_deriv[irun]);
    free_double_vector(SRTM.target_region[irun]);
    free_double_vector(SRTM.k2prime_rel[irun]);
  }
  SRTM.reference_region[irun] = SRTM.ref_region_deriv[irun] = SRTM.target_region[irun] = nullptr;
  SRTM.k2prime_rel[irun] = nullptr;
  srtm_alloc.run_vectors[irun] = 0;
  srtm_alloc.table_rows[irun] = srtm_alloc.table_frames[irun] = 0;
  free_float_vector(SRTM.PET_TAC_4D[irun]);
  SRTM.PET_TAC_4D[irun] = nullptr;
}

namespace {

void free_design(void) {
  int nt = srtm_alloc.design_ntime, nc = srtm_alloc.design_ncoeff;
  if (SRTM.Xorig_tc) {
    free_float_vector(SRTM.NoiseRaw_t);
    free_float_vector(SRTM.NoiseFit_t);
    free_double_vector(SRTM.Weight_t);
    free_double_vector(SRTM.Residue_t);
    free_double_vector(SRTM.HatDiag_t);
    free_double_vector(SRTM.Beta_c);
    free_double_matrix(SRTM.Xorig_tc, nt, nc);
    free_double_matrix(SRTM.Xmix_tc, nt, nc);
    free_double_matrix(SRTM.X_tc, nt, nc);
    free_double_matrix(SRTM.XTXm1_cc, nc, nc);
    free_double_matrix(SRTM.XTXm1XT_ct, nc, nt);
  }
  SRTM.NoiseRaw_t = SRTM.NoiseFit_t = nullptr;
  SRTM.Weight_t = SRTM.Residue_t = SRTM.HatDiag_t = SRTM.Beta_c = nullptr;
  SRTM.Xorig_tc = SRTM.Xmix_tc = SRTM.X_tc = SRTM.XTXm1_cc = SRTM.XTXm1XT_ct = nullptr;
  srtm_alloc.design_ntime = srtm_alloc.design_ncoeff = 0;
}

void free_static(void) {
  free_float_vector(SRTM.target_t);
  free_int_vector(SRTM.include_time);
  free_double_vector(srtm_frame_time);
  SRTM.target_t = nullptr;
  SRTM.include_time = nullptr;
  srtm_frame_time = nullptr;
  srtm_alloc.static_ntime = 0;
}

double *zeroed_double_vector(int n) {
  double *v = double_vector(n > 0 ? n : 1);
  for (int j = 0; j < (n > 0 ? n : 1); j++) v[j] = 0.0;
  return v;
}

double **zeroed_double_matrix(int rows, int cols) {
  int r = rows > 0 ? rows : 1, c = cols > 0 ? cols : 1;
  double **m = double_matrix(r, c);
  for (int i = 0; i < r; i++)
    for (int j = 0; j < c; j++) m[i][j] = 0.0;
  return m;
}

float *zeroed_float_vector(int n) {
  float *v = float_vector(n > 0 ? n : 1);
  for (int j = 0; j < (n > 0 ? n : 1); j++) v[j] = 0.0f;
  return v;
}

}  // namespace

void srtm_allocate_design(void) {
  free_design();
  int nt = SRTM.ntime > 0 ? SRTM.ntime : 1, nc = SRTM.ncoeff > 0 ? SRTM.ncoeff : 1;
  SRTM.NoiseRaw_t = zeroed_float_vector(nt);
  SRTM.NoiseFit_t = zeroed_float_vector(nt);
  SRTM.Weight_t = zeroed_double_vector(nt);
  SRTM.Residue_t = zeroed_double_vector(nt);
  SRTM.HatDiag_t = zeroed_double_vector(nt);
  SRTM.Beta_c = zeroed_double_vector(nc);
  SRTM.Xorig_tc = zeroed_double_matrix(nt, nc);
  SRTM.Xmix_tc = zeroed_double_matrix(nt, nc);
  SRTM.X_tc = zeroed_double_matrix(nt, nc);
  SRTM.XTXm1_cc = zeroed_double_matrix(nc, nc);
  SRTM.XTXm1XT_ct = zeroed_double_matrix(nc, nt);
  srtm_alloc.design_ntime = nt;
  srtm_alloc.design_ncoeff = nc;
}

void srtm_free_conditions(void) {
  int nc = srtm_alloc.condition_ncoeff;
  for (int l = 0; l < SRTM_MAX_CONDITIONS; l++) {
    int n = SRTM.ncontrasts[l];
    if (SRTM.contrast_matrix[l]) free_int_matrix(SRTM.contrast_matrix[l], n, nc);
    if (SRTM.FCovar[l]) free_double_matrix(SRTM.FCovar[l], n, n);
    if (SRTM.FCovarInv[l]) free_double_matrix(SRTM.FCovarInv[l], n, n);
    SRTM.contrast_matrix[l] = nullptr;
    SRTM.FCovar[l] = SRTM.FCovarInv[l] = nullptr;
    SRTM.ncontrasts[l] = 0;
    SRTM.BP_condition[l] = SRTM.DV_condition[l] = 0;
  }
  SRTM.nconditions = 0;
  srtm_alloc.condition_ncoeff = 0;
}

void SRTM_engine_reset(void) {
  for (int r = 0; r < SRTM_MAX_RUNS; r++) srtm_free_run(r);
  free_design();
  free_static();
  srtm_free_conditions();
  srtm_clear_shape_cache();
  free_float_vector(SRTM.Mask_Reference);
  free_float_vector(SRTM.Mask_Target);
  SRTM = srtm_glm_struct{};
  SRTM_input = SRTM_INPUT{};
  srtm_alloc = srtm_allocation{};
}

void srtm_reset_inputs(void) {
  int notify = SRTM_input.notify, plasma = SRTM_input.plasma_column;
  SRTM_input = SRTM_INPUT{};
  SRTM_input.notify = notify;
  SRTM_input.plasma_column = plasma;
  SRTM_input.nifti_output = 1;
  strcpy(SRTM_input.reference_region_file, "none");
  strcpy(SRTM_input.target_region_file, "none");

  SRTM.initialized = SRTM.ntime = SRTM.ncoeff = SRTM.nruns = 0;
  SRTM.sigma2 = 0.0;
  for (int j = 0; j < SRTM_MAX_EVENTS; j++) {
    SRTM.event_id[j] = SRTM.event_type[j] = SRTM.event_shape[j] = 0;
    SRTM.nperiods[j] = SRTM.icolumn[j] = SRTM.iTimeMax[j] = 0;
    SRTM.tau[j] = 0.0;
    SRTM.alpha[j] = 1.0;
    for (int p = 0; p < SRTM_MAX_PERIODS; p++) SRTM.period_start[j][p] = SRTM.period_stop[j][p] = 0.0;
  }
  for (int r = 0; r < SRTM_MAX_RUNS; r++) {
    srtm_free_run(r);
    SRTM.nt[r] = SRTM.run_istart[r] = SRTM.run_istop[r] = 0;
    SRTM.table_ncolumns[r] = SRTM.table_nt[r] = 0;
    SRTM.k2prime_base[r] = 0.0;
    SRTM.IgnoreString[r][0] = '\0';
    SRTM.ExcludeString[r][0] = '\0';
  }
  for (int c = 0; c < SRTM_MAX_COLUMNS; c++) strcpy(SRTM.table_column_name[c], "undefined");
  // A new study: the design, the conditions and the first-call state of the
  // static build belong to the old one.
  free_design();
  free_static();
  srtm_free_conditions();
  srtm_clear_shape_cache();
  srtm_alloc.roi_dims_known = srtm_alloc.target_dims_known = 0;
}

int SRTM_EventNumberFromChar(char c) { return event_number_from_char(c); }

int SRTM_EventCharFromInteger(int event_number, char *c) { return event_char_from_number(event_number, c); }

char SRTM_EventChar(int event_number) {
  char c;
  if (SRTM_EventCharFromInteger(event_number, &c)) {
    printf("Programming error: event number %d apparently is not defined!\n", event_number);
    zor_exit(1);
  }
  return c;
}

const char *srtm_type_name(int type) {
  switch (type) {
    case srtm::TYPE_R1: return "R1";
    case srtm::TYPE_k2: return "k2";
    case srtm::TYPE_k2a: return "k2a";
    case srtm::TYPE_DVb: return "V_over_b";
    case srtm::TYPE_1b: return "1_over_b";
    case srtm::TYPE_CON: return "constant";
    case srtm::TYPE_LIN: return "linear";
    default: return "unknown";
  }
}

const char *srtm_shape_name(int shape) {
  switch (shape) {
    case srtm::SHAPE_CONSTANT: return "constant";
    case srtm::SHAPE_GAMMA: return "gamma";
    case srtm::SHAPE_GAMMAINT: return "gamma-integral";
    case srtm::SHAPE_SIGMOID: return "sigmoid";
    case srtm::SHAPE_TABLE: return "table";
    default: return "unknown";
  }
}
