// A wire file "a.wire" read into the working wire. When it is read, the
// wire written back to ".wire" ("%f", six decimals) and read again into a
// fresh wire gives the same control points to those decimals, and writing
// that gives the same file.
#include <cmath>
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

bool same_to_six_decimals(float a, float b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  if (std::isinf(a) || std::isinf(b)) return a == b;
  return std::fabs(a - b) <= 5e-7f + 1e-7f * std::fabs(a);
}

void fresh_wire() { wire_root_reset(); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_check(
      [&] {
        fresh_wire();
        fuzz_write("a.wire", data, size);
      },
      [] {
        const int r = read_wire_file("a.wire", &wire_root, 0);
        printf("%d %d\n", r, wire_root.npts);
        if (r || wire_root.npts == 0) return r;
        std::vector<CONTROL_POINT> first(wire_root.control, wire_root.control + wire_root.npts);
        for (const CONTROL_POINT &p : first) printf("%a %a %a %d\n", p.point.x, p.point.y, p.point.z, p.color);
        if (write_wire_file() != 0) abort();
        const std::string written = file_text(".wire");
        fresh_wire();
        if (read_wire_file(".wire", &wire_root, 0) != 0 || wire_root.npts != (int)first.size()) {
          fprintf(stderr, "the written wire cannot be read back\n");
          abort();
        }
        for (size_t i = 0; i < first.size(); i++) {
          const CONTROL_POINT &p = first[i], &q = wire_root.control[i];
          if (!same_to_six_decimals(p.point.x, q.point.x) || !same_to_six_decimals(p.point.y, q.point.y) ||
              !same_to_six_decimals(p.point.z, q.point.z) || p.color != q.color) {
            fprintf(stderr, "point %zu: %.9g %.9g %.9g %d written, %.9g %.9g %.9g %d read back\n", i, p.point.x,
                    p.point.y, p.point.z, p.color, q.point.x, q.point.y, q.point.z, q.color);
            abort();
          }
        }
        if (write_wire_file() != 0) abort();
        if (file_text(".wire") != written) {
          fprintf(stderr, "the wire written a second time differs\n");
          abort();
        }
        return r;
      },
      {0, 1}, FUZZ_RESET_PROGRAM);
  return 0;
}
