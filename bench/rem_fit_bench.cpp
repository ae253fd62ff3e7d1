// Times the group model's fit as the view runs it at each cursor move: one
// generalized least-squares fit over 200 files and the tests of 4 conditions,
// for each of 2000 voxels, and checks every value against the computation
// through every file-by-file matrix.
//
//   rem_fit_bench FOLDER [ROUNDS]   (FOLDER receives the study's files; the
//                                    best median of ROUNDS passes is reported)
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "zor.h"

namespace {

const int kFiles = 200, kVoxels = 2000;

// Values in [0, 1) from a hash of voxel, file and stream: the numpy side
// reads the same numbers from the files written here.
float uniform(uint64_t v, uint64_t t, uint64_t stream) {
  uint64_t h = (v * 2654435761ULL + t * 40503ULL + stream * 97531ULL + 12345ULL) & 0xffffffffULL;
  h = (h * 2246822519ULL) & 0xffffffffULL;
  return (float)((double)h / 4294967296.0);
}

void write_text(const std::string &name, const std::string &text) {
  FILE *fp = fopen(name.c_str(), "w");
  if (!fp) return;
  fputs(text.c_str(), fp);
  fclose(fp);
}

void write_floats(const std::string &name, const std::vector<float> &values) {
  FILE *fp = fopen(name.c_str(), "wb");
  if (!fp) return;
  fwrite(values.data(), sizeof(float), values.size(), fp);
  fclose(fp);
}

struct Results {
  std::vector<float> values;
  void take(const float *v, int n) { values.insert(values.end(), v, v + n); }
};

// One cursor fit: the fit and every condition's test; `all` goes through
// every matrix.
void cursor_fit(bool all, float sigma2, float *y, float *se, float *fit, float *band, float *average, int nconditions,
                Results *out) {
  if (all)
    REMInternal_fit_final_all_matrices(sigma2, kFiles, y, se, fit, band, average);
  else
    REM_fit_final(sigma2, kFiles, y, se, fit, band, average);
  for (int k = 0; k < nconditions; k++) {
    float r[5];
    REM_calculate_F(kFiles, 1, k, REM_get_DOF_effective(), &r[0], &r[1], &r[2], &r[3], &r[4]);
    if (out) out->take(r, 5);
  }
  if (out) {
    out->take(REM.Beta_c, REM.ncoeff);
    for (int c = 0; c < REM.ncoeff; c++) out->take(REM.Variance_cc[c], REM.ncoeff);
    out->take(fit, kFiles);
    out->take(band, kFiles);
    out->take(average, kFiles);
  }
}

double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 2) {
    fprintf(stderr, "usage: rem_fit_bench FOLDER [ROUNDS]\n");
    return 2;
  }
  const std::string dir = argv[1];
  const int rounds = argc > 2 && atoi(argv[2]) > 0 ? atoi(argv[2]) : 3;
  write_text(dir + "/s.hdr", "x 1\ny 1\nz 1\nt 1\nstorage-type float\ndegrees-of-freedom 20\n");
  write_floats(dir + "/s.bfloat", {0.0f});
  std::string control = "smoothing 5 10\nconditions a-b c d a,b,c,d\n"
                        "event a\n0 99\nevent b\n100 199\nevent c ramp\n0 99\nevent d ramp\n100 199\n"
                        "measurements:\n";
  std::vector<float> magnitudes(kFiles);
  for (int t = 0; t < kFiles; t++) {
    magnitudes[t] = 0.8f + 0.4f * uniform(0, t, 9);
    char line[64];
    snprintf(line, sizeof line, " %.9g\n", magnitudes[t]);
    control += dir + "/s.bfloat" + line;
  }
  write_text(dir + "/study.rem", control);
  std::string name = dir + "/study.rem";
  std::vector<char> path(name.begin(), name.end());
  path.push_back('\0');
  // The reader's report goes to the null device; the figures follow.
  fflush(stdout);
  const int saved = dup(1), quiet = open("/dev/null", O_WRONLY);
  if (quiet >= 0) dup2(quiet, 1);
  int failed = REM_read_control_file(path.data());
  int nconditions = 0;
  if (!failed) failed = REM_define_conditions(REM_input.condition_string, &nconditions);
  fflush(stdout);
  if (saved >= 0) dup2(saved, 1);
  if (quiet >= 0) close(quiet);
  if (saved >= 0) close(saved);
  if (failed) {
    fprintf(stderr, "the study could not be read\n");
    return 1;
  }

  std::vector<float> design((size_t)kFiles * REM.ncoeff);
  for (int t = 0; t < kFiles; t++)
    for (int c = 0; c < REM.ncoeff; c++) design[(size_t)t * REM.ncoeff + c] = REM.X_tc[t][c];
  std::vector<float> y((size_t)kVoxels * kFiles), se((size_t)kVoxels * kFiles), sigma2(kVoxels);
  for (int v = 0; v < kVoxels; v++) {
    sigma2[v] = 0.05f + 2.0f * uniform(v, 0, 3);
    for (int t = 0; t < kFiles; t++) {
      float signal = 0.0f;
      for (int c = 0; c < REM.ncoeff; c++) signal += REM.X_tc[t][c] * (float)((v + c) % 5 - 2);
      y[(size_t)v * kFiles + t] = signal + 2.0f * (uniform(v, t, 1) - 0.5f);
      se[(size_t)v * kFiles + t] = 0.2f + uniform(v, t, 2);
    }
  }
  write_floats(dir + "/design.f32", design);
  write_floats(dir + "/y.f32", y);
  write_floats(dir + "/se.f32", se);
  write_floats(dir + "/sigma2.f32", sigma2);

  std::vector<float> fit(kFiles), band(kFiles), average(kFiles);
  double best = 1e30;
  std::vector<double> took(kVoxels);
  for (int round = 0; round < rounds; round++) {
    for (int v = 0; v < kVoxels; v++) {
      auto start = std::chrono::steady_clock::now();
      cursor_fit(false, sigma2[v], &y[(size_t)v * kFiles], &se[(size_t)v * kFiles], fit.data(), band.data(),
                 average.data(), nconditions, nullptr);
      took[v] = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    best = std::min(best, median(took));
  }

  // Every voxel once more by both roads: the values must agree to the bit.
  long long differences = 0, compared = 0;
  std::vector<double> full_took;
  for (int v = 0; v < kVoxels; v++) {
    Results quick, full;
    cursor_fit(false, sigma2[v], &y[(size_t)v * kFiles], &se[(size_t)v * kFiles], fit.data(), band.data(),
               average.data(), nconditions, &quick);
    auto start = std::chrono::steady_clock::now();
    cursor_fit(true, sigma2[v], &y[(size_t)v * kFiles], &se[(size_t)v * kFiles], fit.data(), band.data(),
               average.data(), nconditions, &full);
    if (v % 50 == 0) full_took.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    compared += (long long)quick.values.size();
    if (quick.values.size() != full.values.size()) {
      differences += (long long)quick.values.size();
      continue;
    }
    for (size_t i = 0; i < quick.values.size(); i++)
      differences += memcmp(&quick.values[i], &full.values[i], sizeof(float)) != 0;
  }

  Results first;
  cursor_fit(false, sigma2[1], &y[kFiles], &se[kFiles], fit.data(), band.data(), average.data(), nconditions, &first);
  printf("files %d events %d conditions %d voxels %d\n", kFiles, REM.ncoeff, nconditions, kVoxels);
  printf("effective dof %d\n", REM_get_DOF_effective());
  printf("engine median microseconds %.2f\n", best * 1e6);
  printf("full computation median microseconds %.1f\n", median(full_took) * 1e6);
  printf("values compared with the full computation %lld, differing %lld\n", compared, differences);
  printf("p_raw of voxel 1:");
  for (int k = 0; k < nconditions; k++) printf(" %.6g", first.values[(size_t)k * 5 + 1]);
  printf("\n");
  return differences != 0;
}
