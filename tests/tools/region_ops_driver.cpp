// Runs one region operation of the viewer on volumes given as raw 32-bit
// floats (x fastest) and writes the result the same way, for scripts that
// compare it with scipy.ndimage and numpy.
//
//   region_ops_driver erode|dilate NX NY NZ IN OUT NREL DIMENSION
//       IN: 0/1 values; OUT: the eroded or dilated values.
//   region_ops_driver grow NX NY NZ IN OUT SX SY SZ LOW DISTANCE DIMENSION
//       IN: the map; OUT: region weights grown from the seed.
//   region_ops_driver cluster NX NY NZ IN OUT SX SY SZ
//       IN: region weights; OUT: the part connected to the seed.
//   region_ops_driver threshold NX NY NZ IN OUT MARKER ABOVE
//       IN: image values, then region weights; OUT: the selected weights.
//   region_ops_driver time NX NY NZ IN OUT OP [ARGS...]
//       as above, but OUT receives one line, the operation's milliseconds.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "zor.h"
#include "zor_compose.h"
#include "zor_overlay_edit.h"

namespace {

std::vector<float> read_floats(const char *path, size_t count) {
  std::vector<float> v(count);
  FILE *fp = fopen(path, "rb");
  if (!fp || fread(v.data(), sizeof(float), count, fp) != count) {
    fprintf(stderr, "cannot read %zu floats from %s\n", count, path);
    exit(2);
  }
  fclose(fp);
  return v;
}

void write_floats(const char *path, const float *v, size_t count) {
  FILE *fp = fopen(path, "wb");
  if (!fp || fwrite(v, sizeof(float), count, fp) != count) {
    fprintf(stderr, "cannot write %s\n", path);
    exit(2);
  }
  fclose(fp);
}

void set_up(IPOINT3D dim) {
  data_stack &s = image_stack;
  s.dim = dim;
  s.resolution = POINT3D{1.0f, 1.0f, 1.0f};
  s.nt = 1;
  s.n2d = dim.x * dim.y;
  s.n3d = dim.x * dim.y * dim.z;
  s.data_type = 0;
  allocate_stack_data(1, s.n3d, &s);
  memset(s.Volume[0], 0, sizeof(float) * (size_t)s.n3d);
  mosaic.stack = &s;
  mosaic.fSpaceMatrix = s.Volume[0];
  graph.type = -1;
  graph.ed_dimension = 3;
  initialize_overlay_records();
}

void set_map(const std::vector<float> &values, float low) {
  data_stack &a = activation_stack;
  a.dim = image_stack.dim;
  a.n3d = image_stack.n3d;
  a.nt = 1;
  allocate_stack_data(1, a.n3d, &a);
  memcpy(a.Volume[0], values.data(), sizeof(float) * values.size());
  activation.stack = &a;
  activation.nmaps = 1;
  activation.data_type = 1;
  activation.visible = 1;
  activation.scale_log = 0;
  activation.fSpaceMatrix = a.Volume[0];
  activation.thresh_lin_low = low;
  activation.thresh_lin_high = low + 1.0f;
}

int usage(void) {
  fprintf(stderr, "usage: region_ops_driver [time] OP NX NY NZ IN OUT ARGS...\n");
  return 2;
}

}  // namespace

int main(int argc, char **argv) {
  bool timing = argc > 1 && strcmp(argv[1], "time") == 0;
  if (timing) {
    argv++;
    argc--;
  }
  if (argc < 7) return usage();
  const std::string op = argv[1];
  const IPOINT3D dim{atoi(argv[2]), atoi(argv[3]), atoi(argv[4])};
  const char *in = argv[5], *out = argv[6];
  const size_t n3d = (size_t)dim.x * dim.y * dim.z;
  set_up(dim);
  std::vector<float> result(n3d);
  double ms = 0.0;
  auto clock = [] { return std::chrono::steady_clock::now(); };
  if ((op == "erode" || op == "dilate") && argc == 9) {
    std::vector<float> v = read_floats(in, n3d);
    std::vector<int16_t> binary(n3d);
    for (size_t i = 0; i < n3d; i++) binary[i] = v[i] != 0.0f;
    graph.ed_dimension = atoi(argv[8]);
    auto t0 = clock();
    erode_dilate_binary(op == "dilate", atoi(argv[7]), (int)n3d, binary.data());
    ms = std::chrono::duration<double, std::milli>(clock() - t0).count();
    for (size_t i = 0; i < n3d; i++) result[i] = binary[i];
  } else if (op == "grow" && argc == 13) {
    set_map(read_floats(in, n3d), (float)atof(argv[10]));
    mosaic.icross = IPOINT3D{atoi(argv[7]), atoi(argv[8]), atoi(argv[9])};
    graph.ed_dimension = atoi(argv[12]);
    auto t0 = clock();
    grow_activated_region(atoi(argv[11]));
    ms = std::chrono::duration<double, std::milli>(clock() - t0).count();
    memcpy(result.data(), overlay_map.weight, sizeof(float) * n3d);
  } else if (op == "cluster" && argc == 10) {
    std::vector<float> v = read_floats(in, n3d);
    memcpy(overlay_map.weight, v.data(), sizeof(float) * n3d);
    update_root_overlay(1, 0);
    mosaic.icross = IPOINT3D{atoi(argv[7]), atoi(argv[8]), atoi(argv[9])};
    auto t0 = clock();
    action_cluster_overlay();
    ms = std::chrono::duration<double, std::milli>(clock() - t0).count();
    memcpy(result.data(), overlay_map.weight, sizeof(float) * n3d);
  } else if (op == "threshold" && argc == 9) {
    std::vector<float> v = read_floats(in, 2 * n3d);
    memcpy(image_stack.Volume[0], v.data(), sizeof(float) * n3d);
    memcpy(overlay_map.weight, v.data() + n3d, sizeof(float) * n3d);
    update_root_overlay(1, 0);
    graph.hist_marker = (float)atof(argv[7]);
    graph.select_above = atoi(argv[8]);
    auto t0 = clock();
    action_select_above_below_threshold();
    ms = std::chrono::duration<double, std::milli>(clock() - t0).count();
    memcpy(result.data(), overlay_map.weight, sizeof(float) * n3d);
  } else {
    return usage();
  }
  if (timing) {
    FILE *fp = fopen(out, "w");
    if (!fp) return 2;
    fprintf(fp, "%.3f\n", ms);
    fclose(fp);
  } else {
    write_floats(out, result.data(), n3d);
  }
  return 0;
}
