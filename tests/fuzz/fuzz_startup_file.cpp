// The start-up files: the input is ".zorview" (first line: a command line)
// beside a valid volume "v.nii", and the program starts without arguments.
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_check(
      [&] {
        fuzz_write_volume("v.nii", 2);
        fuzz_write(".zorview", data, size);
      },
      [] { return fuzz_program({}); }, {0}, FUZZ_RESET_PROGRAM);
  return 0;
}
