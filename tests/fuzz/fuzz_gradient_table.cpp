// A gradient table "g.dti" for a tensor study of one run of 10 time points.
// The first byte picks the control file: bits 0 to 2 reverse x, y, z, bit 3
// adds a registration with rotations, bits 4 and 5 pick the tensor fit.
// When the study is read, the table as used (written to "used.dti") and
// read back without reversal or rotation gives the same directions and
// b-values to the six digits written, wherever they are finite.
#include <cmath>
#include <vector>

#include "fuzz_model_files.h"
#include "zor.h"

namespace {

std::string control_file(uint8_t flags) {
  static const char *types[] = {"DTI-OLS", "DTI-WLS", "DTI-NL", "DTI-OLS"};
  std::string s = std::string("time-model ") + types[(flags >> 4) & 3] + "\n";
  if (flags & 8) s += "registration-file reg.txt\n";
  if (flags & 7) {
    s += "reverse";
    if (flags & 1) s += " x";
    if (flags & 2) s += " y";
    if (flags & 4) s += " z";
    s += "\n";
  }
  return s + "files:\nrun.bfloat g.dti\n";
}

bool same_to_six_digits(float a, float b) {
  return std::fabs(a - b) <= 2e-5f * std::max(1.0f, std::fabs(a));
}

// The table as used, read back as given: no reversal, no rotation.
void check_used_table() {
  const int n = FIT.ntime;
  std::vector<float> used[4];
  for (int r = 0; r < 4; r++) used[r].assign(FIT.xVector[r], FIT.xVector[r] + n);
  if (FIT_describe() != 0) abort();
  ReverseBDirection = IPOINT3D{0, 0, 0};
  Alignment_reset();
  Alignment.value[ALIGN_XSCALE] = Alignment.value[ALIGN_YSCALE] = Alignment.value[ALIGN_ZSCALE] = 1.0f;
  Alignment.RigidBody = 1;
  define_affine_matrix();
  char name[] = "used.dti";
  if (FIT_read_DTI_description_file(0, name) != 0) {
    fprintf(stderr, "the table as used cannot be read back\n");
    abort();
  }
  for (int j = 0; j < n; j++) {
    // An infinite or undefined entry spreads through the rotation to the
    // others: such a record is not read back as it was used.
    bool finite = true;
    for (int r = 0; r < 4; r++) finite = finite && std::isfinite(used[r][j]);
    if (!finite) continue;
    for (int r = 0; r < 4; r++)
      if (!same_to_six_digits(used[r][j], FIT.xVector[r][j])) {
        fprintf(stderr, "row %d point %d: %.9g used, %.9g read back\n", r, j, used[r][j], FIT.xVector[r][j]);
        abort();
      }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size == 0) return 0;
  const std::string control = control_file(data[0]);
  fuzz_check(
      [&] {
        fuzz_write_run();
        fuzz_write("fit.txt", control);
        fuzz_write("reg.txt", "set registration-orientation 1 0 -1 1\nset registration-rotations 30 -20 45\n");
        fuzz_write("g.dti", data + 1, size - 1);
      },
      [] {
        FuzzName name("fit.txt");
        const int r = FIT_read_control_file(0, name.text);
        if (r == 0) check_used_table();
        return r;
      },
      {0, 1}, FUZZ_RESET_FIT);
  return 0;
}
