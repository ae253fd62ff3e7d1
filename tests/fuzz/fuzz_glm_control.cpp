// A GLM study: the control file "glm.txt", then after lines "@@" the event
// file "run.glm", the table "table.dat" and the response "bold.irf"; the
// run "run.bfloat" is valid.
#include "fuzz_model_files.h"
#include "zor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::vector<std::string> parts = fuzz_parts(data, size, 4);
  fuzz_check(
      [&] {
        fuzz_write_run();
        fuzz_write("glm.txt", parts[0]);
        fuzz_write("run.glm", parts[1]);
        fuzz_write("table.dat", parts[2]);
        fuzz_write("bold.irf", parts[3]);
      },
      [] {
        FuzzName name("glm.txt");
        return GLM_read_control_file(name.text, 1);
      },
      {0, 1}, FUZZ_RESET_GLM);
  return 0;
}
