// Times the region operations on volumes written by bench/region_ops_bench.py:
// growing from a seed over a map, a 3-D box dilation at distance 3 and the
// cluster of a thresholded map around a seed. Prints the median of ROUNDS
// runs of each, in milliseconds of the thread's processor time, and writes each result beside its input
// so that the script can check it against scipy.
//
//   zor_region_ops_bench DIR NX NY NZ ROUNDS SEED_INDEX [CLUSTER_SEED_INDEX]
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench_files.h"
#include "zor.h"
#include "zor_overlay_edit.h"

namespace {

double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 7 && argc != 8) {
    fprintf(stderr, "usage: zor_region_ops_bench DIR NX NY NZ ROUNDS SEED_INDEX [CLUSTER_SEED_INDEX]\n");
    return 2;
  }
  const std::string dir = argv[1];
  const IPOINT3D dim{atoi(argv[2]), atoi(argv[3]), atoi(argv[4])};
  const int rounds = atoi(argv[5]);
  const size_t n3d = (size_t)dim.x * dim.y * dim.z;
  data_stack &s = image_stack;
  s.dim = dim;
  s.resolution = POINT3D{1.0f, 1.0f, 1.0f};
  s.nt = 1;
  s.n2d = dim.x * dim.y;
  s.n3d = (int)n3d;
  allocate_stack_data(1, s.n3d, &s);
  mosaic.stack = &s;
  mosaic.fSpaceMatrix = s.Volume[0];
  graph.type = -1;
  graph.ed_dimension = 3;
  initialize_overlay_records();

  // Growing over the map from the seed.
  data_stack &a = activation_stack;
  a.dim = dim;
  a.n3d = (int)n3d;
  a.nt = 1;
  allocate_stack_data(1, a.n3d, &a);
  std::vector<float> map = bench_load(dir + "/map.f32", n3d);
  memcpy(a.Volume[0], map.data(), sizeof(float) * n3d);
  activation.stack = &a;
  activation.nmaps = 1;
  activation.data_type = 1;
  activation.visible = 1;
  activation.fSpaceMatrix = a.Volume[0];
  activation.thresh_lin_low = 1.0f;
  activation.thresh_lin_high = 10.0f;
  const int seed = atoi(argv[6]);
  const IPOINT3D seed3{seed % dim.x, (seed / dim.x) % dim.y, seed / (dim.x * dim.y)};
  const int cluster_seed = argc == 8 ? atoi(argv[7]) : seed;
  const IPOINT3D cluster_seed3{cluster_seed % dim.x, (cluster_seed / dim.x) % dim.y,
                               cluster_seed / (dim.x * dim.y)};
  std::vector<double> t;
  for (int r = 0; r < rounds; r++) {
    mosaic.icross = seed3;
    double t0 = bench_thread_cpu_ms();
    grow_activated_region(0);
    t.push_back(bench_thread_cpu_ms() - t0);
  }
  bench_save(dir + "/grown.f32", overlay_map.weight, n3d);
  printf("grow %.2f ms (%d voxels)\n", median(t), ovl_root.npts);

  // Dilation at distance 3 in 3-D.
  std::vector<float> region = bench_load(dir + "/region.f32", n3d);
  std::vector<int16_t> binary(n3d);
  t.clear();
  for (int r = 0; r < rounds; r++) {
    for (size_t i = 0; i < n3d; i++) binary[i] = region[i] != 0.0f;
    double t0 = bench_thread_cpu_ms();
    erode_dilate_binary(1, 3, (int)n3d, binary.data());
    t.push_back(bench_thread_cpu_ms() - t0);
  }
  std::vector<float> dilated(n3d);
  for (size_t i = 0; i < n3d; i++) dilated[i] = binary[i];
  bench_save(dir + "/dilated.f32", dilated.data(), n3d);
  printf("dilate3 %.2f ms\n", median(t));

  // The cluster of a thresholded map around the seed.
  std::vector<float> clusters = bench_load(dir + "/clusters.f32", n3d);
  t.clear();
  for (int r = 0; r < rounds; r++) {
    memcpy(overlay_map.weight, clusters.data(), sizeof(float) * n3d);
    update_root_overlay(1, 0);
    mosaic.icross = cluster_seed3;
    double t0 = bench_thread_cpu_ms();
    action_cluster_overlay();
    t.push_back(bench_thread_cpu_ms() - t0);
  }
  bench_save(dir + "/cluster.f32", overlay_map.weight, n3d);
  printf("cluster %.2f ms (%d voxels)\n", median(t), ovl_root.npts);
  return 0;
}
