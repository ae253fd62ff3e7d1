// The native format: the text header "in.hdr", then after a line "@@" the
// data, stored under the extension the input's first byte picks.
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const char *const extensions[] = {"bshort", "bfloat", "blong", "bdouble", "ushort"};
  if (size == 0) return 0;
  const std::string name = std::string("in.") + extensions[data[0] % 5];
  const std::vector<std::string> parts = fuzz_parts(data + 1, size - 1, 2);
  fuzz_check(
      [&] {
        fuzz_write("in.hdr", parts[0]);
        fuzz_write(name, parts[1]);
      },
      [&] { return fuzz_program({"-v", name}); }, {0}, FUZZ_RESET_PROGRAM);
  return 0;
}
