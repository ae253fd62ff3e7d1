// A group-model control file "rem.txt"; the run "run.bfloat" is valid.
#include "fuzz_model_files.h"
#include "zor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_check(
      [&] {
        fuzz_write_run();
        fuzz_write("rem.txt", data, size);
      },
      [] {
        FuzzName name("rem.txt");
        return REM_read_control_file(name.text);
      },
      {0, 1}, FUZZ_RESET_REM);
  return 0;
}
