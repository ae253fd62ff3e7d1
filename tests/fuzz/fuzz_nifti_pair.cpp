// A NIfTI-1 pair: the first 348 bytes are "in.hdr", the rest "in.img".
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const size_t cut = size < 348 ? size : 348;
  fuzz_check(
      [&] {
        fuzz_write("in.hdr", data, cut);
        fuzz_write("in.img", data + cut, size - cut);
      },
      [] { return fuzz_program({"-v", "in.img"}); }, {0}, FUZZ_RESET_PROGRAM);
  return 0;
}
