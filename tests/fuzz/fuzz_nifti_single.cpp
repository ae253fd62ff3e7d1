// A single-file NIfTI-1 volume "in.nii" through the program's start-up.
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_check([&] { fuzz_write("in.nii", data, size); },
             [] { return fuzz_program({"-v", "in.nii"}); }, {0}, FUZZ_RESET_PROGRAM);
  return 0;
}
