// The figure renderer's own work, timed in one process: laying out,
// composing and encoding the image window's picture to PNG, round after
// round, for the files and options on the command line (the viewer's).
// Prints the first round and the median and 95th percentile of the others
// in milliseconds of wall time, and the median processor time (both threads
// of the composition counted).
//   zor_render_figure ROUNDS OUT.png [the viewer's options and files]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "bench_files.h"
#include "zor.h"
#include "zor_colour.h"
#include "zor_compose.h"
#include "zor_picture.h"
#include "zorview_main.h"

namespace {

int rounds = 20;
const char *out_path = nullptr;

double cpu_ms() {
  timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return (double)t.tv_sec * 1000.0 + (double)t.tv_nsec / 1e6;
}

int time_rounds(void) {
  std::vector<double> times, cpu;
  picture_canvas canvas;
  for (int r = 0; r < rounds; r++) {
    const double start = bench_wall_ms(), start_cpu = cpu_ms();
    choose_image_window_geometry(1 << 20, 1 << 20, 1);
    create_neighborhoods();
    update_color_scheme();
    update_gray_scale_factors();
    compose_image_picture(&canvas);
    std::string error;
    if (write_picture_png(canvas, out_path, &error)) {
      printf("Error: %s\n", error.c_str());
      return 1;
    }
    times.push_back(bench_wall_ms() - start);
    cpu.push_back(cpu_ms() - start_cpu);
  }
  std::vector<double> warm(times.begin() + 1, times.end());
  std::sort(warm.begin(), warm.end());
  const double median = warm.empty() ? times[0] : warm[warm.size() / 2];
  const double p95 = warm.empty() ? times[0] : warm[std::min(warm.size() - 1, warm.size() * 95 / 100)];
  std::vector<double> warm_cpu(cpu.begin() + 1, cpu.end());
  std::sort(warm_cpu.begin(), warm_cpu.end());
  const double cpu_median = warm_cpu.empty() ? cpu[0] : warm_cpu[warm_cpu.size() / 2];
  printf("picture %dx%d  first %.2f ms  median %.2f ms  p95 %.2f ms  (cpu median %.2f ms)\n",
         canvas.width, canvas.height, times[0], median, p95, cpu_median);
  return 0;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 4) {
    puts("usage: zor_render_figure ROUNDS OUT.png [the viewer's options and files]");
    return 1;
  }
  rounds = std::max(atoi(argv[1]), 1);
  out_path = argv[2];
  std::vector<char *> words{(char *)"zorview"};
  for (int i = 3; i < argc; i++) words.push_back(argv[i]);
  words.push_back(nullptr);
  zorview_after_loading = time_rounds;
  return zorview_main((int)words.size() - 1, words.data());
}
