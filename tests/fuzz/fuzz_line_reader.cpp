// The line readers: every line of the input file, with and without the
// comment cut, into the 1024-character buffer every caller hands in.
#include <cstring>

#include "fuzz_support.h"
#include "zor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  for (int with_comment = 0; with_comment < 2; with_comment++)
    fuzz_check([&] { fuzz_write("lines.txt", data, size); },
               [&] {
                 FILE *f = fopen("lines.txt", "r");
                 if (!f) return 1;
                 char buffer[1024];
                 int lines = 0;
                 while ((with_comment ? get_line_with_comment(f, buffer, 1024)
                                      : get_line(f, buffer, 1024)) != nullptr) {
                   if (strnlen(buffer, 1024) >= 1024) abort();
                   const std::vector<std::string> words = split_words(buffer);
                   printf("%zu %d|", words.size(), is_blank_line(buffer));
                   lines++;
                 }
                 fclose(f);
                 return lines > 0 ? 0 : 0;
               },
               {0}, FUZZ_RESET_NONE);
  return 0;
}
