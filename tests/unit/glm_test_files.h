// Scratch studies for the linear-model tests: run volumes in the native
// format (a .hdr beside the data), event files, tables and control files.
#ifndef ZOR_GLM_TEST_FILES_H
#define ZOR_GLM_TEST_FILES_H

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "test_support.h"
#include "zor_glm.h"
#include "zor_header.h"

struct GlmStudy {
  std::string dir = make_temp_dir();

  std::string path(const std::string &name) const { return dir + "/" + name; }
  std::string text(const std::string &name, const std::string &content) const {
    return write_text_file(dir, name, content);
  }
  // A run of nt float volumes of 2 by 2 by 1 voxels, all zero.
  std::string run(const std::string &stem, int nt) const {
    text(stem + ".hdr", "x 2\ny 2\nz 1\nt " + std::to_string(nt) + "\nstorage-type float\n");
    std::vector<float> data(4 * (size_t)nt, 0.0f);
    write_binary_file(dir, stem + ".bfloat", data.data(), data.size() * sizeof(float));
    return path(stem + ".bfloat");
  }
};

// Reads a control file in a clean engine and keeps what it printed.
struct ControlRead {
  int result = -99;
  Captured printed;
};

inline ControlRead read_control(const std::string &file, int notify = 0) {
  GLM_engine_reset();
  ControlRead r;
  std::vector<char> name(file.begin(), file.end());
  name.push_back('\0');
  r.printed = capture_output([&] { r.result = GLM_read_control_file(name.data(), notify); });
  return r;
}

// The example a failed keyword line brings.
inline std::string control_file_example() {
  return "\nExample glm input file:\n\n"
         "notify                # optional; turn on output information\n"
         "baseline-terms 3      # optional; allowed options are 1-4 (default = 2)\n"
         "normalize-BOLD        # optional; normalize raw signal for BOLD\n"
         "IRF BOLD.irf          # optional; use an I.R.F. for F.I.R. analyses\n"
         "convolve-table 8 9    # optional; convolve table events 8 & 9 with IRF\n"
         "conditions 1 2 12 1-2 # mandatory; Statistical tests MUST be included\n"
         "runs:                 # mandatory; This means that runs follow.\n"
         "../fMRI-run1.bshort run1.glm table1.dat # start listing runs, tables optional\n"
         "../fMRI-run2.bshort run2.glm            # ... and so on ...\n\n";
}

// Reads a study of one or more runs (length, event file text) with the
// given keyword lines, and builds its design.
struct GlmModel {
  GlmStudy s;
  ControlRead read;
  int result = -99;
  std::string out;

  GlmModel(const std::string &keywords, const std::vector<std::pair<int, std::string>> &runs) {
    std::string list = keywords + "runs:\n";
    for (size_t r = 0; r < runs.size(); r++) {
      std::string stem = "run" + std::to_string(r + 1);
      std::string data = s.run(stem, runs[r].first);
      s.text(stem + ".glm", runs[r].second);
      list += data + " " + s.path(stem + ".glm") + "\n";
    }
    read = read_control(s.text("a.ctl", list));
    if (read.result != 0) return;
    Captured c = capture_output([&] { result = GLM_define_basis_functions(); });
    out = c.out;
  }
};

// Runs `body` inside `dir`, for readers and writers of fixed file names.
template <typename F>
void in_directory(const std::string &dir, F body) {
  char old[4096];
  if (!getcwd(old, sizeof old)) old[0] = '\0';
  if (chdir(dir.c_str()) != 0) return;
  body();
  if (chdir(old) != 0) return;
}

#endif
