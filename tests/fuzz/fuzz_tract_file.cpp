// A tract file "t.trk" over a valid volume, through the program's start-up.
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_check(
      [&] {
        fuzz_write_volume("v.nii", 2);
        fuzz_write("t.trk", data, size);
      },
      [] { return fuzz_program({"v.nii", "-d", "t.trk"}); }, {0}, FUZZ_RESET_PROGRAM);
  return 0;
}
