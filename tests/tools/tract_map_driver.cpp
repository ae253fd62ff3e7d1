// Traces the tracts of a tract file through a region over an image of the
// given size and writes the density map and the region's weights as raw
// 32-bit floats (x fastest), for scripts that compare them with numpy.
//
//   tract_map_driver NX NY NZ TRACTS REGION_IN MAP_OUT REGION_OUT RETRACES
//       REGION_IN: weights; RETRACES: how many "ReTrace" clicks follow "Trace".
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "zor.h"
#include "zor_overlay_edit.h"

namespace {
bool write_floats(const char *path, const float *v, size_t n) {
  FILE *fp = fopen(path, "wb");
  const bool ok = fp && fwrite(v, sizeof(float), n, fp) == n;
  if (fp) fclose(fp);
  return ok;
}
}  // namespace

int main(int argc, char **argv) {
  if (argc != 9) {
    fprintf(stderr, "usage: tract_map_driver NX NY NZ TRACTS REGION_IN MAP_OUT REGION_OUT RETRACES\n");
    return 2;
  }
  data_stack &s = image_stack;
  s.dim = IPOINT3D{atoi(argv[1]), atoi(argv[2]), atoi(argv[3])};
  s.resolution = POINT3D{1, 1, 1};
  s.direction = POINT3D{1, 1, 1};
  s.nt = 1;
  s.n2d = s.dim.x * s.dim.y;
  s.n3d = s.n2d * s.dim.z;
  mosaic.stack = &s;
  mosaic.icross = IPOINT3D{0, 0, 0};
  graph.type = -1;
  initialize_overlay_records();
  const size_t n = static_cast<size_t>(s.n3d);
  std::vector<float> map(n, 0.0f), region(n);
  activation.fTractMap = map.data();
  FILE *fp = fopen(argv[5], "rb");
  if (!fp || fread(region.data(), sizeof(float), n, fp) != n) {
    fprintf(stderr, "cannot read %s\n", argv[5]);
    return 2;
  }
  fclose(fp);
  for (size_t i = 0; i < n; i++) overlay_map.weight[i] = region[i];
  update_root_overlay(1, 0);
  if (read_DTI_tract_file(argv[4])) return 1;
  action_trace_tracts(0);
  for (int k = atoi(argv[8]); k > 0; k--) action_trace_tracts(1);
  printf("factor %.9g voxels %d\n", TractRescaleFactor, ovl_root.npts);
  if (!write_floats(argv[6], map.data(), n) || !write_floats(argv[7], overlay_map.weight, n)) return 2;
  return 0;
}
