// A fit study: the control file "fit.txt", then after lines "@@" the
// gradient table "g.dti" and the registration file "reg.txt"; the run
// "run.bfloat" (10 time points) is valid. After a read, the engine's
// records are printed, so that a second run must give the same ones.
#include "fuzz_model_files.h"
#include "zor.h"

namespace {

void print_engine() {
  printf("fit %d %d %d %d %d %d %d\n", FIT.fit_class, FIT.type, FIT.initialized, FIT.ntime, FIT.nfiles,
         FIT.nparam_fit, FIT.dim_x);
  for (int i = 0; i < FIT.nparam_output && i < FIT_MAX_PARAMETERS; i++) printf("%s\n", FIT.param_name[i]);
  if (!FIT.xVector) return;
  for (int r = 0; r < FIT.dim_x; r++)
    for (int j = 0; j < FIT.ntime; j++) printf("%a\n", FIT.xVector[r][j]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::vector<std::string> parts = fuzz_parts(data, size, 3);
  fuzz_check(
      [&] {
        fuzz_write_run();
        fuzz_write("fit.txt", parts[0]);
        fuzz_write("g.dti", parts[1]);
        fuzz_write("reg.txt", parts[2]);
      },
      [] {
        FuzzName name("fit.txt");
        const int r = FIT_read_control_file(1, name.text);
        if (r == 0) print_engine();
        return r;
      },
      {0, 1}, FUZZ_RESET_FIT);
  return 0;
}
