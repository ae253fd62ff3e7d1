// A region file "a.ovl" read into the working region of a 4 x 3 x 2 stack.
// When it is read, the region written back to ".ovl" (weights with six
// significant digits) and read again into fresh records gives the same
// region to those digits, and writing that gives the same file.
#include <cstring>
#include <fstream>
#include <sstream>

#include "fuzz_support.h"
#include "zor.h"

namespace {

std::string file_text(const char *name) {
  std::ifstream f(name, std::ios::binary);
  std::stringstream ss;
  ss << f.rdbuf();
  return ss.str();
}

std::string region_text() {
  std::string s;
  char line[96];
  for (int i = 0; i < 24; i++) {
    // The file holds the voxels of non-zero weight only; a weight read as
    // "-0" is no weight either, and comes back as 0.
    const float w = overlay_map.weight[i] == 0.0f ? 0.0f : overlay_map.weight[i];
    snprintf(line, sizeof line, "%d %g %d\n", i, w, w != 0.0f ? overlay_map.color[i] : 0);
    s += line;
  }
  return s;
}

// What the viewer does after a read into the root: its list counts the
// voxels of the map.
void bring_root_up_to_date() {
  ovl_root.npts = 0;
  for (int i = 0; i < 24; i++)
    if (overlay_map.weight[i] != 0.0f) ovl_root.npts++;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_check(
      [&] {
        fuzz_shown_stack();
        fuzz_write("a.ovl", data, size);
      },
      [] {
        const int r = read_overlay_file("a.ovl", &ovl_root);
        printf("%d %d\n", r, ovl_root.npts);
        if (r) return r;
        bring_root_up_to_date();
        const std::string region = region_text();
        printf("%s", region.c_str());
        if (write_overlay_file() != 0) abort();
        const std::string written = file_text(".ovl");
        fuzz_shown_stack();
        if (read_overlay_file(".ovl", &ovl_root) != 0) abort();
        bring_root_up_to_date();
        if (region_text() != region) {
          fprintf(stderr, "region read back:\n%s--- first read:\n%s", region_text().c_str(), region.c_str());
          abort();
        }
        if (write_overlay_file() != 0) abort();
        if (file_text(".ovl") != written) abort();
        return r;
      },
      {0, 1}, FUZZ_RESET_PROGRAM);
  return 0;
}
