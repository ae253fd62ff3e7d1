// One batch: the model of a control file, fitted at every voxel of its
// study, its maps written into the working folder, where the viewer started
// on the same control file opens them.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "zor_atomic_file.h"
#include "zor_fit.h"
#include "zor_glm.h"
#include "zor_maps.h"
#include "zor_rem.h"
#include "zor_srtm.h"
#include "zor_stack.h"
#include "zor_time_model.h"

namespace {

std::string working_folder() {
  std::vector<char> buffer(4096);
  while (!getcwd(buffer.data(), buffer.size())) {
    if (buffer.size() > (1u << 20)) return ".";
    buffer.resize(buffer.size() * 2);
  }
  return buffer.data();
}

// Whether a file can be made in the working folder: tried before the fit,
// so that a long run does not end in nothing.
bool folder_is_writable() {
  atomic_file probe;
  if (!atomic_file_open(&probe, ".zormaps-probe")) return false;
  atomic_file_abandon(&probe);
  return true;
}

int run_in_folder(const maps_options *options, int model) {
  std::vector<map_output> outputs;
  maps_study study;
  int failed = 1, nifti = 1;
  switch (model) {
    case 1:
      failed = maps_glm(options, &outputs, &study);
      nifti = GLM_input.nifti_output;
      break;
    case 2:
      failed = maps_rem(options, &outputs, &study);
      nifti = REM_input.nifti_output;
      break;
    case 3:
      failed = maps_srtm(options, &outputs, &study);
      nifti = SRTM_input.nifti_output;
      break;
    default:
      failed = maps_fit(options, &outputs, &study);
      nifti = FIT_input.nifti_output;
      break;
  }
  if (failed) {
    maps_release_study(&study);
    return 1;
  }
  // The names and format the views open: NIfTI-1 unless the control file
  // asks for the native format.
  for (const map_output &m : outputs) {
    const std::string file = m.name + (nifti ? ".nii" : ".bfloat");
    const int failed = nifti ? write_nifti_volumes(file.c_str(), &study.geometry, m.nt, m.values.data(), m.lDOF)
                             : write_native_volumes(file.c_str(), &study.first_header, m.nt, m.values.data(), m.lDOF);
    if (failed) {
      maps_release_study(&study);
      return 1;
    }
    printf("wrote %s\n", file.c_str());
  }
  maps_release_study(&study);
  return 0;
}

}  // namespace

int maps_thread_count(const maps_options *options) {
  if (options->nthreads > 0) return options->nthreads;
  const unsigned n = std::thread::hardware_concurrency();
  return n > 0 ? (int)n : 1;
}

void maps_reset(void) {
  maps_progress_reset();
  read_SpaceTime_data_reset();
  GLM_engine_reset();
  REM_engine_reset();
  SRTM_engine_reset();
  FIT_reset();
}

int maps_run(const maps_options *options) {
  maps_set_progress(options->progress);
  std::vector<char> control(options->control.begin(), options->control.end());
  control.push_back('\0');
  const int model = determine_TimeSeriesModel(control.data());
  if (model == 0) return 1;

  // Names are read and maps written from the working folder, exactly as
  // the viewer started there on the same control file reads its files and
  // opens its maps: run a batch where the viewer will run.
  if (!folder_is_writable()) {
    printf("Error: cannot write maps into the folder %s.\n", working_folder().c_str());
    return 1;
  }
  return run_in_folder(options, model);
}
