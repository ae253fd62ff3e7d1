// Scratch studies for the group-model tests: measurement volumes in the
// native format or as NIfTI files with a degrees-of-freedom extension, and
// control files that list them.
#ifndef ZOR_REM_TEST_FILES_H
#define ZOR_REM_TEST_FILES_H

#include <cstdint>
#include <string>
#include <vector>

#include "nifti_test_files.h"
#include "test_support.h"
#include "zor_rem.h"

struct RemStudy {
  std::string dir = make_temp_dir();

  std::string path(const std::string &name) const { return dir + "/" + name; }
  std::string text(const std::string &name, const std::string &content) const {
    return write_text_file(dir, name, content);
  }
  // A native volume of 2 by 1 by 1 voxels and nt time points (each voxel's
  // values given, time after time); `dof` 0 writes no degrees of freedom.
  std::string native(const std::string &stem, int dof, int nt = 1, std::vector<float> values = {}) const {
    std::string header = "x 2\ny 1\nz 1\nt " + std::to_string(nt) + "\nstorage-type float\n";
    if (dof != 0) header += "degrees-of-freedom " + std::to_string(dof) + "\n";
    text(stem + ".hdr", header);
    values.resize(2 * (size_t)nt, 0.0f);
    write_binary_file(dir, stem + ".bfloat", values.data(), values.size() * sizeof(float));
    return path(stem + ".bfloat");
  }
  // A NIfTI volume of 2 by 1 by 1 voxels whose first extension has the given
  // code and, after it, the integer `dof`.
  std::string nifti(const std::string &name, int32_t ecode, int32_t dof) const {
    NiftiFields s;
    s.dim[0] = 3;
    s.dim[1] = 2;
    s.dim[2] = 1;
    s.dim[3] = 1;
    // Extender 1 0 0 0, then esize 16, the code and the count.
    const int32_t esize = 16;
    std::vector<unsigned char> tail(20, 0);
    tail[0] = 1;
    memcpy(&tail[4], &esize, 4);
    memcpy(&tail[8], &ecode, 4);
    memcpy(&tail[12], &dof, 4);
    s.after_header = tail;
    s.vox_offset = 372;
    float data[2] = {0, 0};
    std::string bytes = nifti_file_bytes(s, data, sizeof data);
    return write_binary_file(dir, name, bytes.data(), bytes.size());
  }
};

struct RemRead {
  int result = -99;
  Captured printed;
};

inline RemRead read_rem(const std::string &file) {
  REM_engine_reset();
  RemRead r;
  std::vector<char> name(file.begin(), file.end());
  name.push_back('\0');
  r.printed = capture_output([&] { r.result = REM_read_control_file(name.data()); });
  return r;
}

// What a failed keyword line prints after its own message.
inline std::string rem_format_example() {
  return "\nExample input file:\n\n"
         "smoothing 0.5 1.5  # [prior smoothing (mm)] [smoothing for var. ratio]\n"
         "conditions p c p-c # mandatory; Statistical tests MUST be included\n"
         "event p # pre-treated group\n"
         "../group1/subject1/S-1.bfloat # any previous output file\n"
         "../group1/subject2/S-1.bfloat # same output file, but diffent analysis\n"
         "../group1/subjectn/S-1.bfloat\n"
         "event c # control group"
         "../group2/subject1/S-1.bfloat\n"
         "../group2/subject2/S-1.bfloat\n"
         "../group2/subjectn/S-1.bfloat\n"
         "...\n"
         "\nOR\n\n"
         "\nExample input file:\n\n"
         "smoothing 0.5 1.5  # [prior smoothing (mm)] [smoothing for var. ratio]\n"
         "conditions p c p-c # mandatory; Statistical tests MUST be included\n"
         "event p square # pre-treated group, DC level\n"
         "0 7            # start, stop files; there could be more entries below\n"
         "event P ramp   # pre-treated group, linear change over time"
         "0 7            # start, stop files\n"
         "event c square # pre-treated group, DC level\n"
         "8 15           # start, stop files\n"
         "event C ramp   # pre-treated group, linear change over time"
         "8 15           # start, stop files\n"
         "measurements:"
         "../group1/subject1/S-1.bfloat # file 0\n"
         "../group1/subject2/S-1.bfloat # file 1\n"
         "...\n"
         "../group2/subject8/S-1.bfloat # file 15\n";
}

#endif
