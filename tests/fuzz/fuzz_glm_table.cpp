// A GLM table "table.dat" for one run of 10 time points.
#include "fuzz_model_files.h"
#include "zor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_check([&] { fuzz_write("table.dat", data, size); },
             [] {
               FuzzName name("table.dat");
               return GLM_read_table_file(name.text, 0, 10);
             },
             {0, 1}, FUZZ_RESET_GLM);
  return 0;
}
