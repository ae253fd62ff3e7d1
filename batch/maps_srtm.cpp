// Maps of the reference-tissue PET model: for every condition "P-", "T-"
// and "S-" (effect and error) as for the linear model, and for conditions
// on the k2a terms the binding potential ("BP-"). Each voxel's curve gets
// its own dynamic design, as the viewer builds it for the curve under the
// cursor.
#include <cmath>
#include <cstdio>
#include <vector>

#include "zor_maps.h"
#include "zor_srtm.h"

namespace {

float signed_log_p(double p_raw, double cnr) {
  float value = (float)-log10(p_raw);
  if (cnr < 0.0) value = -value;
  return value + 0.0f;
}

}  // namespace

int maps_srtm(const maps_options *options, std::vector<map_output> *outputs, maps_study *study) {
  std::vector<char> name(options->control.begin(), options->control.end());
  name.push_back('\0');
  if (SRTM_read_control_file(0, name.data())) return 1;
  if (SRTM_define_static_basis_functions()) return 1;
  if (SRTM_define_conditions(SRTM_input.condition_string)) return 1;
  std::vector<std::string> runs;
  for (int r = 0; r < SRTM_input.nruns; r++) runs.push_back(SRTM_input.run_name[r]);
  if (maps_load_study(runs, SRTM.ntime, "runs", study) || maps_apply_mask(options->mask, study)) return 1;

  const int nt = SRTM.ntime, nc = SRTM.ncoeff, L = SRTM.nconditions;
  const int lDOF = (int)lrint(SRTM.dof);
  std::vector<int> P(L), T(L), S(L), BP(L, -1);
  for (int k = 0; k < L; k++) {
    char condition[ZOR_LINE];
    if (SRTM_get_condition_name(k, condition)) return 1;
    P[k] = maps_add_output(outputs, study, std::string("P-") + condition, 1, lDOF);
    T[k] = maps_add_output(outputs, study, std::string("T-") + condition, 1, lDOF);
    S[k] = maps_add_output(outputs, study, std::string("S-") + condition, 2, lDOF);
    if (SRTM_BP_condition(k)) BP[k] = maps_add_output(outputs, study, std::string("BP-") + condition, 1, lDOF);
  }

  const int nvoxels = (int)study->voxels.size();
  const int nthreads = maps_thread_count(options);
  study->nthreads = nthreads;
  const int block = 4096;
  std::vector<float> series((size_t)block * nt), column(block);
  std::vector<double> beta((size_t)block * (nc > 0 ? nc : 1)), sigma2(block), dof(block),
      stats((size_t)block * (L > 0 ? L : 1) * 5);
  bool built = false;
  for (int first = 0; first < nvoxels; first += block) {
    const int count = nvoxels - first < block ? nvoxels - first : block;
    maps_copy_series(study, first, count, series.data());
    if (SRTM_fit_voxels(count, nt, series.data(), study->n3d, nthreads, beta.data(), sigma2.data(), dof.data(),
                        stats.data()))
      return 1;
    for (int k = 0; k < L; k++) {
      for (int i = 0; i < count; i++) {
        const double *s = &stats[((size_t)i * L + k) * 5];
        column[i] = signed_log_p(s[1], s[0]);
      }
      maps_store(study, &(*outputs)[P[k]], 0, first, count, column.data(), 1);
      for (int j = 0; j < 3; j++) {
        const int offset = j == 0 ? 0 : j + 2;  // cnr, effect, error
        for (int i = 0; i < count; i++) column[i] = (float)stats[((size_t)i * L + k) * 5 + offset];
        maps_store(study, &(*outputs)[j == 0 ? T[k] : S[k]], j == 0 ? 0 : j - 1, first, count, column.data(), 1);
      }
      if (BP[k] < 0) continue;
      // The binding potential reads only the coefficients and the frame
      // times: each voxel's own coefficients are put in place in turn.
      if (!built) {
        std::vector<float> y(series.begin(), series.begin() + nt), fit(nt), err(nt);
        double s2;
        if (SRTM_define_dynamic_basis_functions(nt, y.data()) || SRTM_fit_data(nt, y.data(), fit.data(), err.data(), &s2))
          return 1;
        built = true;
      }
      std::vector<double> kept(SRTM.Beta_c, SRTM.Beta_c + nc);
      for (int i = 0; i < count; i++) {
        for (int c = 0; c < nc; c++) SRTM.Beta_c[c] = beta[(size_t)i * nc + c];
        double error = 0.0;
        column[i] = (float)SRTM_calculate_BP_condition(k, &error);
      }
      for (int c = 0; c < nc; c++) SRTM.Beta_c[c] = kept[c];
      maps_store(study, &(*outputs)[BP[k]], 0, first, count, column.data(), 1);
    }
    maps_progress("fitting the PET model", first + count, nvoxels);
  }
  return 0;
}
