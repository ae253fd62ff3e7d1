// A PET study: the control file "srtm.txt", then after lines "@@" the event
// file "run.pet" and the table "table.dat"; the run "run.bfloat" is valid.
#include "fuzz_model_files.h"
#include "zor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::vector<std::string> parts = fuzz_parts(data, size, 3);
  fuzz_check(
      [&] {
        fuzz_write_run();
        fuzz_write("srtm.txt", parts[0]);
        fuzz_write("run.pet", parts[1]);
        fuzz_write("table.dat", parts[2]);
      },
      [] {
        FuzzName name("srtm.txt");
        const int r = SRTM_read_control_file(1, name.text);
        if (r) return r;
        // The study's condition string, on its design.
        if (SRTM_define_static_basis_functions()) return 1;
        return SRTM_define_conditions(SRTM_input.condition_string);
      },
      {0, 1}, FUZZ_RESET_SRTM);
  return 0;
}
