// Times the tensor fits over a whole study held in memory: OLS and WLS over
// every voxel and DTI-NL over the first voxels, on one thread (processor
// time of the thread, best of the rounds; the wall clock beside it), then
// the whole-volume path on two threads, checked against the one-thread maps.
//
//   fit_tensor_bench FOLDER NVOXELS_NL [ROUNDS]
//     FOLDER holds DTI-OLS.ctl, DTI-WLS.ctl, DTI-NL.ctl and series.f32
//     (float32 voxel series of the study, voxel after voxel).
#include <time.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "zor.h"

namespace {

std::vector<float> read_series(const std::string &name, int ntime, int *nvoxels) {
  std::vector<float> values;
  FILE *fp = fopen(name.c_str(), "rb");
  if (!fp) return values;
  fseek(fp, 0, SEEK_END);
  const long bytes = ftell(fp);
  rewind(fp);
  *nvoxels = (int)(bytes / ((long)sizeof(float) * ntime));
  values.resize((size_t)*nvoxels * ntime);
  if (fread(values.data(), sizeof(float), values.size(), fp) != values.size()) values.clear();
  fclose(fp);
  return values;
}

double seconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Processor time of the calling thread: on a shared machine the wall clock
// also counts the time other programs hold the processor.
double thread_seconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return t.tv_sec + 1e-9 * t.tv_nsec;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 3) {
    fprintf(stderr, "usage: fit_tensor_bench FOLDER NVOXELS_NL [ROUNDS]\n");
    return 2;
  }
  const std::string dir = argv[1];
  const int nl_voxels = atoi(argv[2]);
  const int rounds = argc > 3 && atoi(argv[3]) > 0 ? atoi(argv[3]) : 1;
  std::vector<float> series;
  int nvoxels = 0;
  for (const char *model : {"DTI-OLS", "DTI-WLS", "DTI-NL"}) {
    std::string control = dir + "/" + model + ".ctl";
    std::vector<char> name(control.begin(), control.end());
    name.push_back('\0');
    if (FIT_read_control_file(0, name.data())) return 1;
    const int ntime = FIT.ntime, nout = FIT.nparam_output;
    if (series.empty()) series = read_series(dir + "/series.f32", ntime, &nvoxels);
    if (series.empty()) return 1;
    const int n = strcmp(model, "DTI-NL") ? nvoxels : (nl_voxels < nvoxels ? nl_voxels : nvoxels);
    std::vector<float> one((size_t)n * nout), two((size_t)n * nout);
    std::vector<int> r1(n), r2(n);
    double best = 1e30, best_wall = 1e30;
    for (int round = 0; round < rounds; round++) {
      auto start = std::chrono::steady_clock::now();
      const double cpu = thread_seconds();
      if (FIT_fit_voxels(n, ntime, series.data(), 1, r1.data(), nullptr, nullptr, one.data())) return 1;
      const double took = thread_seconds() - cpu, wall = seconds_since(start);
      if (took < best) best = took;
      if (wall < best_wall) best_wall = wall;
    }
    auto start = std::chrono::steady_clock::now();
    if (FIT_fit_voxels(n, ntime, series.data(), 2, r2.data(), nullptr, nullptr, two.data())) return 1;
    const double threaded = seconds_since(start);
    const bool same = r1 == r2 && memcmp(one.data(), two.data(), one.size() * sizeof(float)) == 0;
    printf("%s voxels %d\n", model, n);
    printf("%s engine seconds %.4f (wall %.4f)\n", model, best, best_wall);
    printf("%s engine seconds per voxel %.4g\n", model, best / n);
    printf("%s two threads seconds %.4f, maps %s\n", model, threaded, same ? "identical" : "DIFFERENT");
    if (!same) return 1;
    // A few values for the comparison with dipy.
    printf("%s voxel 1 FA %.6g MD %.6g\n", model, one[(size_t)1 * nout + 6], one[(size_t)1 * nout + 1]);
  }
  return 0;
}
