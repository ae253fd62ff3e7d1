// Maps of the generalized fits: one map per output parameter, named for
// it, and "chi2_dof", the mean square of the data less the fit.
#include <cstdio>
#include <vector>

#include "zor_fit.h"
#include "zor_maps.h"

int maps_fit(const maps_options *options, std::vector<map_output> *outputs, maps_study *study) {
  std::vector<char> name(options->control.begin(), options->control.end());
  name.push_back('\0');
  if (FIT_read_control_file(0, name.data())) return 1;
  std::vector<std::string> files;
  for (int f = 0; f < FIT_input.nfiles; f++) files.push_back(FIT_input.file_name[f]);
  if (maps_load_study(files, FIT.ntime, "data files", study) || maps_apply_mask(options->mask, study)) return 1;

  const int nt = FIT.ntime, nout = FIT.nparam_output;
  std::vector<int> parameter(nout);
  for (int i = 0; i < nout; i++) {
    char parameter_name[ZOR_LINE];
    FIT_get_parameter_name(i, parameter_name);
    parameter[i] = maps_add_output(outputs, study, parameter_name, 1, 0);
  }
  const int chi2 = maps_add_output(outputs, study, "chi2_dof", 1, 0);

  const int nvoxels = (int)study->voxels.size();
  const int nthreads = maps_thread_count(options);
  study->nthreads = nthreads;
  const int block = 16384;
  std::vector<float> series((size_t)block * nt), chi2_dof(block), values((size_t)block * (nout > 0 ? nout : 1));
  std::vector<int> result(block);
  int failed = 0;
  for (int first = 0; first < nvoxels; first += block) {
    const int count = nvoxels - first < block ? nvoxels - first : block;
    maps_copy_series(study, first, count, series.data());
    if (FIT_fit_voxels(count, nt, series.data(), nthreads, result.data(), chi2_dof.data(), nullptr, values.data()))
      return 1;
    for (int i = 0; i < count; i++) failed += result[i] != 0;
    for (int p = 0; p < nout; p++) maps_store(study, &(*outputs)[parameter[p]], 0, first, count, &values[p], nout);
    maps_store(study, &(*outputs)[chi2], 0, first, count, chi2_dof.data(), 1);
    maps_progress("fitting", first + count, nvoxels);
  }
  if (failed) printf("Warning: the fit failed at %d voxels; their maps hold what the fit left.\n", failed);
  return 0;
}
