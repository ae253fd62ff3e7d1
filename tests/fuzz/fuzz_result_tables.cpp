// A result table "t.roi" that the run has already written once, replaced by
// the input, then extended with one more region's columns. Every line of the
// old table that the new one keeps must come back whole, with the new
// columns behind it.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "zor_display_state.h"
#include "zor_overlay.h"
#include "zor_roi_files.h"

namespace {

std::vector<std::string> lines_of(const std::string &text) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

std::string slurp(const char *name) {
  std::ifstream in(name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string old_table(reinterpret_cast<const char *>(data), size);
  fuzz_check([&] { fuzz_write("old.roi", old_table); },
             [&] {
               roi_files_reset();
               float x[3] = {0, 1, 2}, y[3] = {1.5f, -2, 3e7f};
               graph_struct saved = graph;
               graph.type = 0;
               graph.npoints = 3;
               graph.xVector = x;
               graph.yVector = y;
               snprintf(ovl_root.name, sizeof ovl_root.name, "%s", "r1");
               int result = write_ovl_into_roi_file("t.roi");
               if (result == 0) {
                 if (get_number_rois_in_file("t.roi") != 1) abort();
                 if (rename("old.roi", "t.roi") != 0) abort();
                 snprintf(ovl_root.name, sizeof ovl_root.name, "%s", "r2");
                 result = write_ovl_into_roi_file("t.roi");
                 if (result == 0) {
                   if (get_number_rois_in_file("t.roi") != 2) abort();
                   const std::vector<std::string> before = lines_of(old_table);
                   const std::vector<std::string> after = lines_of(slurp("t.roi"));
                   if (after.size() != 4) abort();
                   for (size_t k = 0; k < before.size() && k < after.size(); k++)
                     if (after[k].compare(0, before[k].size(), before[k]) != 0) abort();
                 } else if (get_number_rois_in_file("t.roi") != 1) {
                   abort();
                 }
               }
               graph = saved;
               roi_files_reset();
               return result;
             },
             {0, 1}, FUZZ_RESET_PROGRAM);
  return 0;
}
