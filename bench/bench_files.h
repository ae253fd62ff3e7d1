// What the timing programs share: float arrays exchanged with the scripts
// that time them, and their clocks.
#ifndef ZOR_BENCH_FILES_H
#define ZOR_BENCH_FILES_H

#include <time.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

// n floats from a file the script wrote; a file that is short ends the run.
inline std::vector<float> bench_load(const std::string &path, size_t n) {
  std::vector<float> v(n);
  FILE *fp = fopen(path.c_str(), "rb");
  if (!fp || fread(v.data(), sizeof(float), n, fp) != n) {
    fprintf(stderr, "cannot read %s\n", path.c_str());
    exit(2);
  }
  fclose(fp);
  return v;
}

// n floats into a file for the script to compare.
inline void bench_save(const std::string &path, const float *v, size_t n) {
  FILE *fp = fopen(path.c_str(), "wb");
  if (!fp || fwrite(v, sizeof(float), n, fp) != n) exit(2);
  fclose(fp);
}

// Elapsed time, in milliseconds.
inline double bench_wall_ms() {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Processor time of the calling thread, in milliseconds: on a shared
// machine the wall clock also counts the time other programs hold the
// processor.
inline double bench_thread_cpu_ms() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return 1e3 * (double)t.tv_sec + 1e-6 * (double)t.tv_nsec;
}

#endif
