// The engine's global records and the resets that make every reader callable
// again within one process.
#include <cstring>

#include "glm_internal.h"
#include "zor_alloc.h"
#include "zor_glm.h"

glm_struct GLM;
GLM_INPUT GLM_input;
hrf_struct HRF;

namespace {

void release_table(int irun) {
  if (GLM.table_value[irun]) {
    free_float_matrix(GLM.table_value[irun], GLM_MAX_TABLE_COLUMNS, GLM.table_ntime[irun]);
    GLM.table_value[irun] = nullptr;
  }
}

void reset_input(void) {
  int notify = GLM_input.notify;
  GLM_input.normalize_runs = 0;
  GLM_input.nbaseline_terms = 3;
  GLM_input.notify = notify;
  GLM_input.multiple_comparisons = 0;
  GLM_input.AR_order = 0;
  GLM_input.AR_smooth_mm = 1.0f;
  GLM_input.freq_low_pre = GLM_input.freq_high_pre = 0.0f;
  GLM_input.freq_low_post = GLM_input.freq_high_post = 0.0f;
  GLM_input.phase_shift = 0.0f;
  GLM_input.noise_model = NOISE_OLS;
  GLM_input.half_life = 0.0f;
  GLM_input.nifti_output = 1;
  GLM_input.fPET_integral = 0;
  GLM_input.HRF_file_name[0] = '\0';
  GLM_input.condition_string[0] = '\0';
  GLM_input.nruns = 0;
  for (int r = 0; r < GLM_MAX_RUNS; r++) {
    GLM_input.run_name[r][0] = '\0';
    GLM_input.glm_name[r][0] = '\0';
    GLM_input.table_name[r][0] = '\0';
  }
}

}  // namespace

void GLM_reset_model(void) {
  reset_input();
  glm_output_info = 0;

  GLM.initialized = 0;
  GLM.ntime = 0;
  GLM.nbaseline = 0;
  GLM.nevents = 0;
  GLM.ntable_events = 0;
  GLM.nruns = 0;
  GLM.nexclude = 0;
  GLM.ntime_included = 0;
  GLM.ncoeff = 0;
  GLM_define_conditions_reset();
  GLM.AR_order = 0;
  for (int r = 0; r < GLM_MAX_RUNS; r++) {
    release_table(r);
    GLM.tr[r] = 0.0f;
    GLM.run_start[r] = GLM.run_stop[r] = 0;
    GLM.table_ncolumns[r] = GLM.table_ntime[r] = 0;
  }
  for (int c = 0; c < GLM_MAX_TABLE_COLUMNS; c++) strcpy(GLM.table_column_name[c], "undefined");
  for (int j = 0; j < GLM_MAX_EVENTS; j++) {
    GLM.convolve_table[j] = 0;
    GLM.drift_correct_table[j] = -1;
    GLM.event_scale[j] = 1.0f;
    GLM.event_shape[j] = 0;
    GLM.event_number[j] = 0;
    GLM.nstims[j] = 0;
    GLM.event_tau1[j] = GLM.event_tau2[j] = 0.0f;
    GLM.event_alpha[j] = 1.0f;
    if (GLM.drugIRF[j]) free_float_vector(GLM.drugIRF[j]);
    if (GLM.plasmaIRF[j]) free_float_vector(GLM.plasmaIRF[j]);
    GLM.drugIRF[j] = GLM.plasmaIRF[j] = nullptr;
    GLM.length_drugIRF[j] = 0;
    memset(GLM.stim_on[j], 0, sizeof GLM.stim_on[j]);
    memset(GLM.stim_off[j], 0, sizeof GLM.stim_off[j]);
    memset(GLM.stim_mag[j], 0, sizeof GLM.stim_mag[j]);
    memset(GLM.table_icolumn[j], 0, sizeof GLM.table_icolumn[j]);
  }
  memset(GLM.exclude_start, 0, sizeof GLM.exclude_start);
  memset(GLM.exclude_end, 0, sizeof GLM.exclude_end);
}

void GLM_engine_reset(void) {
  GLM_reset_model();
  GLM_input.notify = 0;
  GLM_read_hrf_file_reset();
  GLM_define_basis_functions_reset();
  GLMInternal_whiten_model_reset();
  GLM_FrequencyFilter_reset();
  GLM_get_stimulus_reset();
  glm_fit_copies_reset();
  GLM.ncoeff = 0;
  GLM.dof = 0.0f;
  GLM.Sigma2 = 0.0f;
}
