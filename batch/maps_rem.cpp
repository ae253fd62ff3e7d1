// Maps of the group model: the between-file variance of every voxel by
// restricted maximum likelihood ("sigma2", three volumes: the mean
// within-file variance, the between-file share of the total, and
// sigma2_RE), then at each voxel the fit the viewer makes with that
// variance, and for every condition "P-", "T-" and "S-" maps as for the
// first-level model.
#include <cmath>
#include <cstdio>
#include <thread>
#include <vector>

#include "zor_maps.h"
#include "zor_rem.h"

namespace {

float signed_log_p(float p_raw, float cnr) {
  float value = -log10f(p_raw);
  if (cnr < 0.0f) value = -value;
  return value + 0.0f;
}

// Value and error of voxel series i (files of one or two volumes).
void split_series(const float *series, int nfiles, int per_file, float *signal, float *error) {
  for (int j = 0; j < nfiles; j++) {
    signal[j] = series[per_file * j];
    error[j] = per_file == 2 ? series[2 * j + 1] : 0.0f;
  }
}

}  // namespace

int maps_rem(const maps_options *options, std::vector<map_output> *outputs, maps_study *study) {
  std::vector<char> name(options->control.begin(), options->control.end());
  name.push_back('\0');
  if (REM_read_control_file(name.data())) return 1;
  int nconditions = 0;
  if (REM_define_conditions(REM_input.condition_string, &nconditions)) return 1;
  std::vector<std::string> files;
  for (int j = 0; j < REM_input.nfiles; j++) files.push_back(REM_input.signal_file_name[j]);
  if (maps_load_study(files, -1, "measurement files", study)) return 1;
  const int nfiles = REM.ntime;
  const int per_file = study->file_nt.empty() ? 0 : study->file_nt[0];
  for (size_t j = 0; j < study->file_nt.size(); j++) {
    if (study->file_nt[j] != per_file || per_file < 1 || per_file > 2) {
      printf("Error: file %zu [ %s ] holds %d volumes; every file holds a value, or a value and its standard "
             "error, as the first does (%d).\n",
             j, files[j].c_str(), study->file_nt[j], per_file);
      return 1;
    }
  }
  if (study->ntime != per_file * nfiles) {
    printf("Error: the files hold %d volumes in all, not %d.\n", study->ntime, per_file * nfiles);
    return 1;
  }
  if (maps_apply_mask(options->mask, study)) return 1;

  const int lDOF = REM_get_DOF_effective();
  const int variance = maps_add_output(outputs, study, "sigma2", 3, 0);
  std::vector<int> P(nconditions), T(nconditions), S(nconditions);
  for (int k = 0; k < nconditions; k++) {
    char condition[ZOR_LINE];
    REM_get_condition_string(k, condition);
    P[k] = maps_add_output(outputs, study, std::string("P-") + condition, 1, lDOF);
    T[k] = maps_add_output(outputs, study, std::string("T-") + condition, 1, lDOF);
    S[k] = maps_add_output(outputs, study, std::string("S-") + condition, 2, lDOF);
  }

  reml_design design;
  reml_design_from_rem(&design);
  const int nvoxels = (int)study->voxels.size();
  const int nt = study->ntime;
  const int nthreads = maps_thread_count(options);
  study->nthreads = nthreads;
  const int block = 4096;
  std::vector<float> series((size_t)block * nt), tau(block), within(block), share(block);
  std::vector<float> cnr_v(block * (size_t)(nconditions > 0 ? nconditions : 1)), p_v(cnr_v.size()),
      size_v(cnr_v.size()), sem_v(cnr_v.size());
  std::vector<float> signal(nfiles), error(nfiles), fit(nfiles), fit_error(nfiles), fit_av(nfiles);
  for (int first = 0; first < nvoxels; first += block) {
    const int count = nvoxels - first < block ? nvoxels - first : block;
    maps_copy_series(study, first, count, series.data());
    // The variances: each voxel alone, shared out between threads.
    auto estimate = [&](int begin, int end) {
      std::vector<float> y(nfiles), se(nfiles);
      for (int i = begin; i < end; i++) {
        split_series(&series[(size_t)i * nt], nfiles, per_file, y.data(), se.data());
        double mean = 0.0;
        for (int j = 0; j < nfiles; j++) mean += (double)se[j] * se[j] / nfiles;
        const float s = (float)reml_between_variance(&design, y.data(), se.data(), nullptr);
        tau[i] = s;
        within[i] = (float)mean;
        share[i] = s + mean > 0.0 ? (float)(s / (s + mean)) : 0.0f;
      }
    };
    int parts = nthreads < 1 ? 1 : nthreads;
    if (parts > count) parts = count;
    std::vector<std::thread> workers;
    for (int p = 1; p < parts; p++)
      workers.emplace_back(estimate, (int)((long long)count * p / parts), (int)((long long)count * (p + 1) / parts));
    estimate(0, (int)((long long)count / parts));
    for (std::thread &w : workers) w.join();
    maps_store(study, &(*outputs)[variance], 0, first, count, within.data(), 1);
    maps_store(study, &(*outputs)[variance], 1, first, count, share.data(), 1);
    maps_store(study, &(*outputs)[variance], 2, first, count, tau.data(), 1);

    // The fit and tests the viewer makes at the voxel with that variance.
    for (int i = 0; i < count; i++) {
      split_series(&series[(size_t)i * nt], nfiles, per_file, signal.data(), error.data());
      if (REM_fit_final(tau[i], nfiles, signal.data(), error.data(), fit.data(), fit_error.data(), fit_av.data()))
        return 1;
      for (int k = 0; k < nconditions; k++) {
        float cnr = 0.0f, p_raw = 1.0f, p_cor = 1.0f, effect = 0.0f, sem = 0.0f;
        REM_calculate_F(nfiles, REM_input.multiple_comparisons, k, REM_get_DOF_effective(), &cnr, &p_raw, &p_cor,
                        &effect, &sem);
        const size_t at = (size_t)k * block + i;
        cnr_v[at] = cnr;
        p_v[at] = signed_log_p(p_raw, cnr);
        size_v[at] = effect;
        sem_v[at] = sem;
      }
    }
    for (int k = 0; k < nconditions; k++) {
      const size_t at = (size_t)k * block;
      maps_store(study, &(*outputs)[P[k]], 0, first, count, &p_v[at], 1);
      maps_store(study, &(*outputs)[T[k]], 0, first, count, &cnr_v[at], 1);
      maps_store(study, &(*outputs)[S[k]], 0, first, count, &size_v[at], 1);
      maps_store(study, &(*outputs)[S[k]], 1, first, count, &sem_v[at], 1);
    }
    maps_progress("fitting the group model", first + count, nvoxels);
  }
  return 0;
}
