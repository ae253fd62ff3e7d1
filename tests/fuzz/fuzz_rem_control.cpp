// A group-model control file "rem.txt"; the run "run.bfloat" is valid.
// When it is read, its condition string is read as well.
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
        const int r = REM_read_control_file(name.text);
        if (r) return r;
        int n = 0;
        return REM_define_conditions(REM_input.condition_string, &n);
      },
      {0, 1}, FUZZ_RESET_REM);
  return 0;
}
