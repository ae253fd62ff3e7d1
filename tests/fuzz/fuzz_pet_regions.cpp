// The regions of a PET study: the reference region "ref.ovl", then after
// lines "@@" the target region "tgt.ovl" and the run's header "run.hdr".
// The control file, the event file, the table (10 frames) and the run's
// data "run.bfloat" (2 x 2 x 1 floats, 10 frames) are valid.
#include "fuzz_model_files.h"
#include "zor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::vector<std::string> parts = fuzz_parts(data, size, 3);
  fuzz_check(
      [&] {
        fuzz_write_run();
        fuzz_write("srtm.txt",
                   "reference-region ref.ovl\ntarget-region tgt.ovl\nconditions 2\nruns:\n"
                   "run.bfloat run.pet table.dat\n");
        fuzz_write("run.pet", "0\n1 R1\n\n2 k2a\n\n");
        std::string table = "duration ref\n";
        for (int i = 1; i <= 10; i++) table += "60 " + std::to_string(i) + "\n";
        fuzz_write("table.dat", table);
        fuzz_write("ref.ovl", parts[0]);
        fuzz_write("tgt.ovl", parts[1]);
        fuzz_write("run.hdr", parts[2]);
      },
      [] {
        FuzzName name("srtm.txt");
        const int r = SRTM_read_control_file(0, name.text);
        if (r) return r;
        // The study's condition string, on its design.
        if (SRTM_define_static_basis_functions()) return 1;
        return SRTM_define_conditions(SRTM_input.condition_string);
      },
      {0, 1}, FUZZ_RESET_SRTM);
  return 0;
}
