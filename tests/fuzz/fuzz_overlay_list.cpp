// An overlay list "list.txt" (then after "@@" a region file "a.ovl") over a
// valid volume, through the program's start-up.
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::vector<std::string> parts = fuzz_parts(data, size, 2);
  fuzz_check(
      [&] {
        fuzz_write_volume("v.nii", 2);
        fuzz_write("list.txt", parts[0]);
        fuzz_write("a.ovl", parts[1]);
      },
      [] { return fuzz_program({"v.nii", "-o", "list.txt"}); }, {0}, FUZZ_RESET_PROGRAM);
  return 0;
}
