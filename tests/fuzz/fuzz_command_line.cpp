// The option loop: each input line is one word of the command line, beside
// a valid volume "v.nii".
#include <sstream>

#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string text = fuzz_text(data, size);
  std::vector<std::string> words;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) words.push_back(line);
  fuzz_check([] { fuzz_write_volume("v.nii", 3); }, [&] { return fuzz_program(words); }, {0}, FUZZ_RESET_PROGRAM);
  return 0;
}
