// A compressed single-file NIfTI-1 volume "in.nii.gz" through the program's
// start-up, so that the stream is inflated by the volume loader itself.
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_check([&] { fuzz_write("in.nii.gz", data, size); },
             [] { return fuzz_program({"-v", "in.nii.gz"}); }, {0}, FUZZ_RESET_PROGRAM);
  return 0;
}
