// A response-function file "bold.irf".
#include "fuzz_model_files.h"
#include "zor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_check([&] { fuzz_write("bold.irf", data, size); },
             [] {
               FuzzName name("bold.irf");
               return GLM_read_hrf_file(1, name.text);
             },
             {0, 1}, FUZZ_RESET_GLM);
  return 0;
}
