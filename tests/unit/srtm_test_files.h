// Scratch PET studies for the kinetic-model tests: run volumes in the native
// format, tables of frame timing, event files, region files and control
// files, and a reader that keeps what the engine printed.
#ifndef ZOR_SRTM_TEST_FILES_H
#define ZOR_SRTM_TEST_FILES_H

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "test_support.h"
#include "zor.h"

struct PetStudy {
  std::string dir = make_temp_dir();

  std::string path(const std::string &name) const { return dir + "/" + name; }
  std::string text(const std::string &name, const std::string &content) const {
    return write_text_file(dir, name, content);
  }
  // A run of nt float volumes of nx by ny by nz voxels; `values` holds the
  // voxels of each volume in turn (zeros when short).
  std::string run(const std::string &stem, int nt, int nx = 2, int ny = 2, int nz = 1,
                  const std::vector<float> &values = {}) const {
    text(stem + ".hdr", "x " + std::to_string(nx) + "\ny " + std::to_string(ny) + "\nz " + std::to_string(nz) +
                            "\nt " + std::to_string(nt) + "\nstorage-type float\n");
    std::vector<float> data((size_t)nx * ny * nz * nt, 0.0f);
    for (size_t j = 0; j < values.size() && j < data.size(); j++) data[j] = values[j];
    write_binary_file(dir, stem + ".bfloat", data.data(), data.size() * sizeof(float));
    return path(stem + ".bfloat");
  }
  // A table whose first column is the frame durations (seconds) and further
  // columns as given, row by row.
  std::string table(const std::string &name, const std::vector<std::string> &names,
                    const std::vector<std::vector<double>> &rows) const {
    std::string s;
    for (size_t c = 0; c < names.size(); c++) s += (c ? " " : "") + names[c];
    s += "\n";
    for (const auto &row : rows) {
      for (size_t c = 0; c < row.size(); c++) {
        char b[64];
        snprintf(b, sizeof b, "%s%.17g", c ? " " : "", row[c]);
        s += b;
      }
      s += "\n";
    }
    return text(name, s);
  }
};

struct PetRead {
  int result = -99;
  Captured printed;
};

inline PetRead read_pet_control(const std::string &file) {
  SRTM_engine_reset();
  PetRead r;
  std::vector<char> name(file.begin(), file.end());
  name.push_back('\0');
  r.printed = capture_output([&] { r.result = SRTM_read_control_file(0, name.data()); });
  return r;
}

inline std::string pet_control_example() {
  return "\nExample glm input file:\n"
         "conditions 1 2 12 1-2           # mandatory; Statistical tests MUST be included\n"
         "runs:                           # mandatory; This means that runs follow.\n"
         "../srtm1.nii srtm1.glm srtm1.table # start listing runs, each with a GLM description and table\n"
         "../srtm2.nii srtm2.glm srtm2.table # ... and so on\n";
}

// A study of 2 by 2 by 1 voxels: reference region voxel 0, target voxel 1.
// Each run: (event-file text, frame durations in seconds, reference curve,
// target curve, extra table columns). Voxels 2 and 3 hold the target curve
// times 2 and 3.
struct PetRunPlan {
  std::string events;
  std::vector<double> durations;
  std::vector<float> reference, target;
  std::vector<std::vector<double>> extra;  // further table columns, each of nt values
  std::vector<std::string> extra_names;
};

struct PetModel {
  PetStudy s;
  PetRead read;
  std::string control;

  PetModel(const std::string &keywords, const std::vector<PetRunPlan> &runs, const std::string &reference_ovl = "0 0 0\n",
           const std::string &target_ovl = "1 0 0\n") {
    std::string list = keywords;
    list += "reference-region " + s.text("ref.ovl", reference_ovl) + "\n";
    list += "target-region " + s.text("target.ovl", target_ovl) + "\n";
    list += "runs:\n";
    for (size_t r = 0; r < runs.size(); r++) {
      const PetRunPlan &plan = runs[r];
      int nt = (int)plan.durations.size();
      std::vector<float> values(4 * (size_t)nt, 0.0f);
      for (int t = 0; t < nt; t++) {
        values[4 * t + 0] = t < (int)plan.reference.size() ? plan.reference[t] : 0.0f;
        float target = t < (int)plan.target.size() ? plan.target[t] : 0.0f;
        values[4 * t + 1] = target;
        values[4 * t + 2] = 2 * target;
        values[4 * t + 3] = 3 * target;
      }
      std::string stem = "run" + std::to_string(r + 1);
      std::string data = s.run(stem, nt, 2, 2, 1, values);
      std::vector<std::string> names = {"duration"};
      for (const auto &n : plan.extra_names) names.push_back(n);
      while (names.size() < plan.extra.size() + 1) names.push_back("c" + std::to_string(names.size()));
      std::vector<std::vector<double>> rows;
      for (int t = 0; t < nt; t++) {
        std::vector<double> row = {plan.durations[t]};
        for (const auto &col : plan.extra) row.push_back(col[t]);
        rows.push_back(row);
      }
      std::string table = s.table(stem + ".table", names, rows);
      std::string glm = s.text(stem + ".glm", plan.events);
      list += data + " " + glm + " " + table + "\n";
    }
    control = s.text("pet.ctl", list);
    read = read_pet_control(control);
  }
};

// Runs `body` inside `dir`, for files named relative to a control file.
template <typename F>
void pet_in_directory(const std::string &dir, F body) {
  char old[4096];
  if (!getcwd(old, sizeof old)) old[0] = '\0';
  if (chdir(dir.c_str()) != 0) return;
  body();
  if (chdir(old) != 0) return;
}

#endif
