// A GLM event file "run.glm" for one run of 10 time points, then after a
// line "@@" a condition string over its events.
#include "fuzz_model_files.h"
#include "zor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::vector<std::string> parts = fuzz_parts(data, size, 2);
  fuzz_check([&] { fuzz_write("run.glm", parts[0]); },
             [&] {
               FuzzName name("run.glm");
               const int r = GLM_read_event_file(name.text, 0, 10);
               if (r) return r;
               std::vector<char> conditions(parts[1].begin(), parts[1].end());
               conditions.resize(std::max<size_t>(conditions.size() + 1, 1024), '\0');
               int n = 0;
               return GLM_define_conditions(1, conditions.data(), &n);
             },
             {0, 1}, FUZZ_RESET_GLM);
  return 0;
}
