// Lists such as "0,3-5,9-7,z" over 64 entries, with and without "all": the
// count stays within the table (entries are the caller's to range-check).
#include "fuzz_support.h"
#include "zor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string text = fuzz_text(data, size);
  for (int default_all = 0; default_all < 2; default_all++)
    fuzz_check([] {},
               [&] {
                 int number = -1;
                 std::vector<int> selection(64, -1);
                 const int r = decode_selection_list(text.c_str(), 64, default_all, &number,
                                                     selection.data());
                 if (number < 0 || number > 64) abort();
                 printf("%d %d\n", r, number);
                 for (int i = 0; i < number && i < 64; i++) printf("%d ", selection[i]);
                 return r;
               },
               {0, 1}, FUZZ_RESET_NONE);
  return 0;
}
