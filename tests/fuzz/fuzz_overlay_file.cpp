// A region file "a.ovl" read into the working region of a 4 x 3 x 2 stack.
#include "fuzz_support.h"
#include "zor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_check(
      [&] {
        fuzz_shown_stack();
        fuzz_write("a.ovl", data, size);
      },
      [] {
        const int r = read_overlay_file("a.ovl", &ovl_root);
        printf("%d %d\n", r, ovl_root.npts);
        for (int i = 0; i < ovl_root.npts; i++) {
          const IPOINT3D v = ovl_root.voxel[i];
          if (v.x < 0 || v.x >= 4 || v.y < 0 || v.y >= 3 || v.z < 0 || v.z >= 2) abort();
          printf("%d %d %d %g\n", v.x, v.y, v.z, ovl_root.weight[i]);
        }
        return r;
      },
      {0, 1}, FUZZ_RESET_PROGRAM);
  return 0;
}
