// Fills the closed wires of a wire file over a one-volume stack of the given
// geometry and writes the region's weights as raw 32-bit floats (x fastest),
// for scripts that compare them with numpy.
//
//   wire_fill_driver NX NY NZ RX RY RZ OX OY OZ DX DY DZ WIRE OUT
//       R: voxel size, O: origin, D: axis directions (1 or -1).
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "zor.h"

int main(int argc, char **argv) {
  if (argc != 15) {
    fprintf(stderr, "usage: wire_fill_driver NX NY NZ RX RY RZ OX OY OZ DX DY DZ WIRE OUT\n");
    return 2;
  }
  float v[12];
  for (int i = 0; i < 12; i++) v[i] = static_cast<float>(atof(argv[1 + i]));
  data_stack &s = image_stack;
  s.dim = IPOINT3D{static_cast<int>(v[0]), static_cast<int>(v[1]), static_cast<int>(v[2])};
  s.resolution = POINT3D{v[3], v[4], v[5]};
  s.origin = POINT3D{v[6], v[7], v[8]};
  s.direction = POINT3D{v[9], v[10], v[11]};
  s.fov = POINT3D{s.dim.x * s.resolution.x, s.dim.y * s.resolution.y, s.dim.z * s.resolution.z};
  s.nt = 1;
  s.n2d = s.dim.x * s.dim.y;
  s.n3d = s.n2d * s.dim.z;
  s.ijk_to_xyz = scale_and_shift_to_mat44(s.resolution, s.origin, s.direction);
  s.xyz_to_ijk = invert_mat44(s.ijk_to_xyz);
  mosaic.stack = &s;
  graph.type = -1;
  initialize_overlay_records();
  if (read_wire_file(argv[13], &wire_root, 0)) return 1;
  fill_closed_wires();
  FILE *fp = fopen(argv[14], "wb");
  if (!fp || fwrite(overlay_map.weight, sizeof(float), static_cast<size_t>(s.n3d), fp) !=
                 static_cast<size_t>(s.n3d)) {
    fprintf(stderr, "cannot write %s\n", argv[14]);
    return 2;
  }
  fclose(fp);
  return 0;
}
