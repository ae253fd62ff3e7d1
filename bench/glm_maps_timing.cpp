// Times the statistical maps of a whole study computed in memory, as the
// "P" key computes them: a generated 64x64x32 study of 300 time points in
// two runs, a model of 10 coefficients (two drawn events, four baseline
// terms per run) and the four conditions two events give. Best of ROUNDS.
//
//   zor_glm_maps_timing FOLDER [ROUNDS [THREADS]]   (FOLDER receives the design
//   matrix; THREADS 0, the default, takes one per processor)
#include <fcntl.h>
#include <unistd.h>

#include <time.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "zor.h"

namespace {

// The same noise the numpy side computes: a hash of voxel and time.
float noise(uint64_t v, uint64_t t) {
  uint64_t h = (v * 2654435761ULL + t * 40503ULL + 12345ULL) & 0xffffffffULL;
  h = (h * 2246822519ULL) & 0xffffffffULL;
  return (float)((double)h / 4294967296.0 - 0.5);
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 2) {
    fprintf(stderr, "usage: zor_glm_maps_timing FOLDER [ROUNDS]\n");
    return 2;
  }
  const std::string dir = argv[1];
  const int rounds = argc > 2 && atoi(argv[2]) > 0 ? atoi(argv[2]) : 1;
  if (argc > 3) glm_maps_threads = atoi(argv[3]);
  const IPOINT3D dim{64, 64, 32};
  const int nvox = dim.x * dim.y * dim.z, ntime = 300;

  GLM_input.nbaseline_terms = 4;
  if (GLM_initialize(ntime, 2)) return 1;
  GLM_initialize_run(0, 0, 149, 2.0f);
  GLM_initialize_run(1, 150, 299, 2.0f);
  for (int on : {10, 50, 90, 160, 200, 250}) GLM_define_1_stimulus(1, SHAPE_SQUARE, on, on + 10, 0, 1);
  GLM_define_1_stimulus(2, SHAPE_GAMMA, 120, 120, 6, 2);
  if (GLM_define_basis_functions()) return 1;

  FILE *fp = fopen((dir + "/design.f32").c_str(), "wb");
  if (!fp) return 1;
  for (int t = 0; t < ntime; t++) fwrite(GLM.Xorig_tc[t], sizeof(float), GLM.ncoeff, fp);
  fclose(fp);

  data_stack &s = image_stack;
  s.dim = dim;
  s.resolution = POINT3D{1, 1, 1};
  s.n2d = dim.x * dim.y;
  s.n3d = nvox;
  s.data_type = DATA_MAGNITUDE;
  allocate_stack_data(ntime, nvox, &s);
  for (int t = 0; t < ntime; t++)
    for (int v = 0; v < nvox; v++)
      s.Volume[t][v] = 1000.0f + (v % 7) * GLM.Xorig_tc[t][0] + (v % 5) * GLM.Xorig_tc[t][1] + 20.0f * noise(v, t);

  // The progress lines go to /dev/null while the maps are timed.
  double seconds = 1e30, cpu_seconds = 1e30;
  const int saved = dup(1), null = open("/dev/null", O_WRONLY);
  for (int round = 0; round < rounds; round++) {
    fflush(stdout);
    dup2(null, 1);
    timespec cpu0, cpu1;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &cpu0);
    auto start = std::chrono::steady_clock::now();
    const int status = action_compute_p_value();
    const double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &cpu1);
    const double cpu = (cpu1.tv_sec - cpu0.tv_sec) + 1e-9 * (cpu1.tv_nsec - cpu0.tv_nsec);
    if (cpu < cpu_seconds) cpu_seconds = cpu;
    fflush(stdout);
    dup2(saved, 1);
    if (status) return 1;
    if (took < seconds) seconds = took;
  }
  printf("voxels %d time points %d coefficients %d conditions %d threads %u\n", nvox, ntime, GLM.ncoeff,
         GLM.nconditions, std::thread::hardware_concurrency());
  printf("engine seconds %.3f\n", seconds);
  printf("engine processor seconds %.3f\n", cpu_seconds);
  printf("maps of voxel 1:");
  for (int m = 0; m < activation_stack.nt; m++) printf(" %.6g", activation_stack.Volume[m][1]);
  printf("\n");
  return 0;
}
