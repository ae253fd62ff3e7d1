// A FreeSurfer series "run_": the slice header "run_000.hdr", the series
// header "run.bhdr" and two slices of shorts, cut from the input at "@@".
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::vector<std::string> parts = fuzz_parts(data, size, 4);
  fuzz_check(
      [&] {
        fuzz_write("run_000.hdr", parts[0]);
        fuzz_write("run.bhdr", parts[1]);
        fuzz_write("run_000.bshort", parts[2]);
        fuzz_write("run_001.bshort", parts[3]);
      },
      [] { return fuzz_program({"-v", "run_000.bshort"}); }, {0}, FUZZ_RESET_PROGRAM);
  return 0;
}
