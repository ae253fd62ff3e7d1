// Loads the volume files named on the command line into one stack, as the
// viewer does at start-up, and prints on standard error the seconds the load
// took, by the wall clock and in processor time (user + system). The
// loader's own progress lines go to standard output.
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "zor.h"

int main(int argc, char **argv) {
  if (argc < 2) {
    fprintf(stderr, "usage: bench_volume_load file [file ...]\n");
    return 2;
  }
  file_list *head = &image_files;
  snprintf(head->file_name, sizeof head->file_name, "%s", argv[1]);
  for (int i = 2; i < argc; i++) {
    file_list *node = static_cast<file_list *>(calloc(1, sizeof(file_list)));
    snprintf(node->file_name, sizeof node->file_name, "%s", argv[i]);
    head->next = node;
    head = node;
  }
  auto cpu_seconds = [] {
    rusage u;
    getrusage(RUSAGE_SELF, &u);
    return u.ru_utime.tv_sec + u.ru_stime.tv_sec + 1e-6 * (u.ru_utime.tv_usec + u.ru_stime.tv_usec);
  };
  int nfiles = 0;
  const double cpu_start = cpu_seconds();
  const auto start = std::chrono::steady_clock::now();
  const int failed = read_SpaceTime_data(0, 1, &image_stack, &image_files, &nfiles);
  const auto stop = std::chrono::steady_clock::now();
  const double cpu = cpu_seconds() - cpu_start;
  if (failed) return 1;
  // Touch the result so nothing can be skipped.
  double sum = 0;
  for (int t = 0; t < image_stack.nt; t += 37) sum += image_stack.Volume[t][image_stack.n3d / 2];
  fprintf(stderr, "%.6f %.6f %d %g\n", std::chrono::duration<double>(stop - start).count(), cpu,
          image_stack.nt, sum);
  return 0;
}
