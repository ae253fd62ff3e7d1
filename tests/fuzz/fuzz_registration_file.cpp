// A registration file "reg.txt" read on its own; the registration it leaves
// is printed, so that a second run must give the same one.
#include "fuzz_support.h"
#include "zor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_check([&] { fuzz_write("reg.txt", data, size); },
             [] {
               char name[] = "reg.txt";
               const int r = read_registration_file(name);
               printf("%d %d %d %d %d\n", Alignment.RigidBody, Alignment.OrientRotation.x,
                      Alignment.OrientRotation.y, Alignment.OrientRotation.z, Alignment.OrientSwapZ);
               for (int i = 0; i < ALIGN_NVALUES; i++) printf("%a ", Alignment.value[i]);
               for (int i = 0; i < 4; i++)
                 for (int j = 0; j < 4; j++) printf("%a %a ", Alignment.Affine[i][j], Alignment.AffineI[i][j]);
               printf("\n");
               return r;
             },
             {0, 1}, FUZZ_RESET_FIT);
  return 0;
}
