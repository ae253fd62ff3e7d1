// Times a statistical map: OLS fit and two conditions at every voxel of a
// generated 64x64x32 study of 300 time points, on two threads, and checks
// it against fitting each voxel alone.
//
//   glm_fit_bench FOLDER [ROUNDS]   (FOLDER receives the study's files; the
//                                    best of ROUNDS passes is reported)
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "zor.h"

namespace {

// The same noise the numpy version computes: a hash of voxel and time.
float noise(uint64_t v, uint64_t t) {
  uint64_t h = (v * 2654435761ULL + t * 40503ULL + 12345ULL) & 0xffffffffULL;
  h = (h * 2246822519ULL) & 0xffffffffULL;
  return (float)((double)h / 4294967296.0 - 0.5);
}

void write(const std::string &name, const std::string &text) {
  FILE *fp = fopen(name.c_str(), "w");
  if (!fp) return;
  fputs(text.c_str(), fp);
  fclose(fp);
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 2) {
    fprintf(stderr, "usage: glm_fit_bench FOLDER [ROUNDS]\n");
    return 2;
  }
  std::string dir = argv[1];
  const int nvox = 64 * 64 * 32, ntime = 300;
  write(dir + "/run.hdr", "x 64\ny 64\nz 32\nt 300\nstorage-type float\n");
  write(dir + "/run.glm",
        "2\n\n1\n20 40\n100 120\n200 220\n400 420\n\n2\n60 80\n160 180\n300 320\n500 520\n\n"
        "3 gamma 8\n250\n\n4 ramp-up\n440 480\n\n5 sigmoid 10\n350\n\n6 exponential-down 6\n520 560\n");
  write(dir + "/study.ctl", "baseline-terms 4\nIRF BOLD-monkey\nconditions 1-2 1,2\nruns:\n" + dir + "/run.bfloat " +
                                dir + "/run.glm\n");
  std::string control = dir + "/study.ctl";
  std::vector<char> name(control.begin(), control.end());
  name.push_back('\0');
  if (GLM_read_control_file(name.data(), 0) || GLM_define_basis_functions()) return 1;
  int nconditions;
  if (GLM_define_conditions(1, GLM_input.condition_string, &nconditions)) return 1;

  FILE *fp = fopen((dir + "/design.f32").c_str(), "wb");
  for (int t = 0; t < ntime; t++) fwrite(GLM.Xorig_tc[t], sizeof(float), GLM.ncoeff, fp);
  fclose(fp);

  std::vector<float> data((size_t)nvox * ntime);
  for (int v = 0; v < nvox; v++)
    for (int t = 0; t < ntime; t++)
      data[(size_t)v * ntime + t] = 1000.0f + (v % 7) * GLM.Xorig_tc[t][0] + 20.0f * noise(v, t);

  // The map as the viewer computes it: every voxel through GLM_fit_voxels on
  // two threads, best of ROUNDS passes.
  const int rounds = argc > 2 && atoi(argv[2]) > 0 ? atoi(argv[2]) : 1;
  std::vector<float> stats((size_t)nvox * nconditions * 6);
  double seconds = 1e30;
  for (int round = 0; round < rounds; round++) {
    auto start = std::chrono::steady_clock::now();
    if (GLM_fit_voxels(nvox, ntime, data.data(), nvox, 2, nullptr, stats.data())) return 1;
    const double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (took < seconds) seconds = took;
  }
  // The same voxels one at a time through the per-voxel calls, timed too:
  // every value must agree to the last bit.
  std::vector<float> fit(ntime), y(ntime);
  long long differences = 0;
  auto start = std::chrono::steady_clock::now();
  for (int v = 0; v < nvox; v++) {
    float sigma2, r[6];
    for (int t = 0; t < ntime; t++) y[t] = data[(size_t)v * ntime + t];
    GLM_fit_data(ntime, y.data(), fit.data(), &sigma2);
    for (int k = 0; k < nconditions; k++) {
      GLM_calculate_F(ntime, sigma2, nvox, k, &r[0], &r[1], &r[2], &r[3], &r[4], &r[5]);
      for (int j = 0; j < 6; j++) differences += r[j] != stats[((size_t)v * nconditions + k) * 6 + j];
    }
  }
  const double alone = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  printf("voxels %d time points %d coefficients %d conditions %d\n", nvox, ntime, GLM.ncoeff, nconditions);
  printf("engine seconds %.3f\n", seconds);
  printf("one voxel at a time, one thread: seconds %.3f, values that differ from the map's: %lld\n", alone,
         differences);
  printf("p_raw of voxel 1: %.6g %.6g\n", stats[(size_t)nconditions * 6 + 2], stats[(size_t)nconditions * 6 + 6 + 2]);
  return 0;
}
