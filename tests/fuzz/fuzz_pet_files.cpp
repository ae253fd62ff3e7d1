// The PET table "table.dat" and, after a line "@@", the event file
// "run.pet", read for run 0 in a fresh engine.
#include "fuzz_model_files.h"
#include "zor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::vector<std::string> parts = fuzz_parts(data, size, 2);
  fuzz_check(
      [&] {
        fuzz_write("table.dat", parts[0]);
        fuzz_write("run.pet", parts[1]);
      },
      [] {
        FuzzName table("table.dat"), events("run.pet");
        const int r = SRTM_read_table_file(table.text, 0);
        if (r) return r;
        return SRTM_read_GLM_file(events.text, 0);
      },
      {0, 1}, FUZZ_RESET_SRTM);
  return 0;
}
