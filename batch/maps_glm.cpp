// Maps of the first-level linear model: for every condition the signed
// -log10 p ("P-"), the contrast-to-noise ratio ("T-") and the effect size
// with its error ("S-", two volumes), and the mean image ("average").
// Each voxel is fitted as the viewer fits the curve under the cursor:
// weights set, pre-fit filter, fit, then the tests.
#include <cmath>
#include <cstdio>
#include <vector>

#include "zor_glm.h"
#include "zor_maps.h"

namespace {

// The signed -log10 p of a test: positive for a positive contrast.
float signed_log_p(float p_raw, float cnr) {
  float value = -log10f(p_raw);
  if (cnr < 0.0f) value = -value;
  return value + 0.0f;
}

}  // namespace

int maps_glm(const maps_options *options, std::vector<map_output> *outputs, maps_study *study) {
  std::vector<char> name(options->control.begin(), options->control.end());
  name.push_back('\0');
  if (GLM_read_control_file(name.data(), 0)) return 1;
  GLM_input.AR_order = 0;
  if (GLM_input.nruns < 1) {
    puts("Error: the model lists no runs.");
    return 1;
  }
  if (GLM_define_basis_functions()) return 1;
  int nconditions = 0;
  if (GLM_define_conditions(1, GLM_input.condition_string, &nconditions)) return 1;
  std::vector<std::string> runs;
  for (int r = 0; r < GLM_input.nruns; r++) runs.push_back(GLM_input.run_name[r]);
  if (maps_load_study(runs, GLM.ntime, "runs", study) || maps_apply_mask(options->mask, study)) return 1;

  const int nt = GLM.ntime;
  const int lDOF = (int)lrint(GLM.dof);
  const int average = maps_add_output(outputs, study, "average", 1, 0);
  std::vector<int> P(nconditions), T(nconditions), S(nconditions);
  for (int k = 0; k < nconditions; k++) {
    char condition[ZOR_LINE];
    GLM_get_condition_string(k, condition);
    P[k] = maps_add_output(outputs, study, std::string("P-") + condition, 1, lDOF);
    T[k] = maps_add_output(outputs, study, std::string("T-") + condition, 1, lDOF);
    S[k] = maps_add_output(outputs, study, std::string("S-") + condition, 2, lDOF);
  }
  if (nconditions == 0) puts("The model has no conditions: only the average image is written.");

  const int nvoxels = (int)study->voxels.size();
  const int nthreads = maps_thread_count(options);
  study->nthreads = nthreads;
  const int block = 8192;
  std::vector<float> series((size_t)block * nt), sigma2(block), stats((size_t)block * (nconditions > 0 ? nconditions : 1) * 6),
      mean(block), fit(nt), column(block);
  const int noise = GLM_input.noise_model;
  const int resels = study->n3d;
  bool weighted = false;
  const bool filtered =
      GLM_input.freq_low_pre != 0.0f || GLM_input.freq_high_pre != 0.0f || GLM_input.phase_shift != 0.0f;
  for (int first = 0; first < nvoxels; first += block) {
    const int count = nvoxels - first < block ? nvoxels - first : block;
    maps_copy_series(study, first, count, series.data());
    for (int i = 0; i < count; i++) {
      double sum = 0.0;
      const float *y = &series[(size_t)i * nt];
      for (int t = 0; t < nt; t++) sum += y[t];
      mean[i] = (float)(sum / nt);
    }
    maps_store(study, &(*outputs)[average], 0, first, count, mean.data(), 1);
    if (noise == NOISE_OLS) {
      // Unweighted: the weights of every voxel are the same ones, set once.
      if (!weighted) GLM_Update_Weights(nt, series.data());
      weighted = true;
      // The pre-fit filter changes nothing without a band or phase shift.
      if (filtered)
        for (int i = 0; i < count; i++) GLM_PreFilter(0, nt, &series[(size_t)i * nt]);
      if (GLM_fit_voxels(count, nt, series.data(), resels, nthreads, sigma2.data(), stats.data())) return 1;
    } else {
      // Weights that follow each voxel's own data: one fit after another.
      for (int i = 0; i < count; i++) {
        float *y = &series[(size_t)i * nt];
        GLM_Update_Weights(nt, y);
        GLM_PreFilter(0, nt, y);
        float s2 = 0.0f;
        GLM_fit_data(nt, y, fit.data(), &s2);
        sigma2[i] = s2;
        for (int k = 0; k < nconditions; k++) {
          float *out = &stats[((size_t)i * nconditions + k) * 6];
          out[0] = 0.0f;
          GLM_calculate_F(nt, s2, resels, k, &out[0], &out[1], &out[2], &out[3], &out[4], &out[5]);
        }
      }
    }
    for (int k = 0; k < nconditions; k++) {
      for (int i = 0; i < count; i++) {
        const float *s = &stats[((size_t)i * nconditions + k) * 6];
        column[i] = signed_log_p(s[2], s[1]);
      }
      maps_store(study, &(*outputs)[P[k]], 0, first, count, column.data(), 1);
      maps_store(study, &(*outputs)[T[k]], 0, first, count, &stats[(size_t)k * 6 + 1], nconditions * 6);
      maps_store(study, &(*outputs)[S[k]], 0, first, count, &stats[(size_t)k * 6 + 4], nconditions * 6);
      maps_store(study, &(*outputs)[S[k]], 1, first, count, &stats[(size_t)k * 6 + 5], nconditions * 6);
    }
    maps_progress("fitting the linear model", first + count, nvoxels);
  }
  return 0;
}
