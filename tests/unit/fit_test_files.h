// Scratch studies for the fit engine tests: data volumes in the native
// format, gradient tables, registration and control files.
#ifndef ZOR_FIT_TEST_FILES_H
#define ZOR_FIT_TEST_FILES_H

#include <string>
#include <vector>

#include "test_support.h"
#include "zor.h"

struct FitStudy {
  std::string dir = make_temp_dir();

  std::string path(const std::string &name) const { return dir + "/" + name; }
  std::string text(const std::string &name, const std::string &content) const {
    return write_text_file(dir, name, content);
  }
  // A file of nt float volumes of nvox by 1 by 1 voxels, voxel-major data
  // given time after time (or zeros).
  std::string volume(const std::string &stem, int nt, int nvox = 1, const std::vector<float> &data = {}) const {
    text(stem + ".hdr", "x " + std::to_string(nvox) + "\ny 1\nz 1\nt " + std::to_string(nt) +
                            "\nstorage-type float\n");
    std::vector<float> values = data;
    values.resize((size_t)nvox * nt, 0.0f);
    write_binary_file(dir, stem + ".bfloat", values.data(), values.size() * sizeof(float));
    return path(stem + ".bfloat");
  }
};

struct FitRead {
  int result = -99;
  Captured printed;
};

inline FitRead read_fit_control(const std::string &file, int verbose = 0) {
  FitRead r;
  std::vector<char> name(file.begin(), file.end());
  name.push_back('\0');
  r.printed = capture_output([&] { r.result = FIT_read_control_file(verbose, name.data()); });
  return r;
}

inline std::string fit_format_example() {
  return "\nExample input file for fits:\n"
         "fit-type [type]     # this MUST be includedfiles:              # mandatory; This means that runs follow.\n"
         "../data-input-1.nii\n"
         "../data-input-2.nii\n";
}

// Clears the engine, the linear model and the registration, as at start.
inline void fresh_fit_engine() {
  FIT_reset();
  GeneralGLM_reset();
  Alignment_reset();
}

#endif
