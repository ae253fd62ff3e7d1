// The first line of a model control file "model.txt", which names the
// engine that reads the rest.
#include "fuzz_support.h"
#include "zor.h"
#include "zor_time_model.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_check([&] { fuzz_write("model.txt", data, size); },
             [] {
               char name[] = "model.txt";
               return determine_TimeSeriesModel(name);
             },
             {0, MODEL_GLM, MODEL_REM, MODEL_SRTM, MODEL_FIT}, FUZZ_RESET_NONE);
  return 0;
}
