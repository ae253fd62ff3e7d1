// Times the tract density map and the filling of a closed wire on inputs
// written by bench/wire_tract_bench.py. Prints the median of ROUNDS runs of
// each, in milliseconds, and writes each result beside its input so that the
// script can check it against numpy.
//
//   zor_wire_tract_bench DIR ROUNDS
//   DIR/tracts.trk, DIR/region.f32 (96x96x60): the tract map -> DIR/tractmap.f32
//   DIR/loop.wire: filled on 64x64x30 and 256x256x30 images -> DIR/fill64.f32,
//   DIR/fill256.f32 (the wire's slice)
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

#include "bench_files.h"
#include "zor.h"
#include "zor_overlay_edit.h"

namespace {

double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

void set_stack(int nx, int ny, int nz, float res) {
  overlay_map_reset();
  ovl_root_reset();
  wire_root_reset();
  data_stack &s = image_stack;
  s = data_stack{};
  s.dim = IPOINT3D{nx, ny, nz};
  s.resolution = POINT3D{res, res, 3.0f};
  s.direction = POINT3D{1, 1, 1};
  s.origin = POINT3D{-(nx - 1) * res / 2.0f, -(ny - 1) * res / 2.0f, 0.0f};
  s.fov = POINT3D{nx * res, ny * res, nz * 3.0f};
  s.nt = 1;
  s.n2d = nx * ny;
  s.n3d = nx * ny * nz;
  s.ijk_to_xyz = scale_and_shift_to_mat44(s.resolution, s.origin, s.direction);
  s.xyz_to_ijk = invert_mat44(s.ijk_to_xyz);
  mosaic.stack = &s;
  graph.type = -1;
  initialize_overlay_records();
}

double time_fill(const std::string &dir, int n, float res, int rounds, const char *out) {
  set_stack(n, n, 30, res);
  if (read_wire_file((dir + "/loop.wire").c_str(), &wire_root, 0)) exit(1);
  std::vector<double> t;
  for (int r = 0; r < rounds; r++) {
    const double t0 = bench_wall_ms();
    fill_closed_wires();
    t.push_back(bench_wall_ms() - t0);
  }
  const int iz = 15;
  bench_save(dir + "/" + out, overlay_map.weight + static_cast<size_t>(n) * n * iz, static_cast<size_t>(n) * n);
  return median(t);
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: zor_wire_tract_bench DIR ROUNDS\n");
    return 2;
  }
  const std::string dir = argv[1];
  const int rounds = atoi(argv[2]);

  set_stack(96, 96, 60, 2.0f);
  const size_t n3d = static_cast<size_t>(image_stack.n3d);
  std::vector<float> map(n3d, 0.0f);
  activation.fTractMap = map.data();
  const std::vector<float> region = bench_load(dir + "/region.f32", n3d);
  for (size_t i = 0; i < n3d; i++) overlay_map.weight[i] = region[i];
  update_root_overlay(1, 0);
  fflush(stdout);
  // The reader's report goes to standard error, away from the figures.
  const int saved = dup(1);
  dup2(2, 1);
  const int failed = read_DTI_tract_file((dir + "/tracts.trk").c_str());
  fflush(stdout);
  dup2(saved, 1);
  if (failed) return 1;
  std::vector<double> t;
  for (int r = 0; r < rounds; r++) {
    const double t0 = bench_wall_ms();
    action_trace_tracts(0);
    t.push_back(bench_wall_ms() - t0);
  }
  bench_save(dir + "/tractmap.f32", map.data(), n3d);
  activation.fTractMap = nullptr;
  printf("tractmap %.3f\n", median(t));
  printf("fill64 %.3f\n", time_fill(dir, 64, 3.0f, rounds, "fill64.f32"));
  printf("fill256 %.3f\n", time_fill(dir, 256, 0.75f, rounds, "fill256.f32"));
  return 0;
}
