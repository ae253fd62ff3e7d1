// The group design: one column per event, each file's magnitude over the
// largest of its event, flat or rising over each range; the degrees of
// freedom of the files from their headers, and the effective degrees of
// freedom of the tests.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "rem_internal.h"
#include "zor_alloc.h"
#include "zor_header.h"
#include "zor_rem.h"

namespace {

// Range r of event e, cut to the files of the model.
void range_within_files(int e, int r, int *first, int *last) {
  *first = REM.event_start[e][r] < 0 ? 0 : REM.event_start[e][r];
  *last = REM.event_stop[e][r] >= REM.ntime ? REM.ntime - 1 : REM.event_stop[e][r];
}

}  // namespace

void REMInternal_define_design_matrix(void) {
  REM.ncoeff = REM.nevents;
  rem_allocate_matrices();
  for (int e = 0; e < REM.nevents; e++) {
    float max_signal_mag = -1e10f;
    for (int r = 0; r < REM.nstims[e]; r++) {
      int first, last;
      range_within_files(e, r, &first, &last);
      for (int t = first; t <= last; t++)
        if (REM_input.signal_magnitude[t] > max_signal_mag) max_signal_mag = REM_input.signal_magnitude[t];
    }
    for (int t = 0; t < REM.ntime; t++) {
      // A file in two ranges of one event takes the later range.
      for (int r = 0; r < REM.nstims[e]; r++) {
        const int start = REM.event_start[e][r], stop = REM.event_stop[e][r];
        if (t < start || t > stop) continue;
        const float amplitude = REM_input.signal_magnitude[t] / max_signal_mag;
        if (REM.event_shape[e] == rem::SHAPE_RAMP)
          REM.X_tc[t][e] = amplitude * (t - start) / (stop - start);
        else
          REM.X_tc[t][e] = amplitude;
      }
    }
  }
}

int REMInternal_read_DOFs_from_files(void) {
  if (REM.lDOF_fixed) free_int_vector(REM.lDOF_fixed);
  REM.lDOF_fixed = int_vector(REM.ntime > 0 ? REM.ntime : 1);
  for (int t = 0; t < REM.ntime; t++) REM.lDOF_fixed[t] = 1;
  for (int t = 0; t < REM.ntime; t++) {
    XD_HEADER header;
    memset(&header, 0, sizeof header);
    if (read_volume_header(0, REM_input.signal_file_name[t], &header)) return 1;
    REM.lDOF_fixed[t] = header.lDOF != 0 ? header.lDOF : 1;
  }
  REMInternal_calculate_effective_DOF();
  return 0;
}

void REMInternal_calculate_effective_DOF(void) {
  const float fwhm_signal = REM_input.smoothed_mm;
  const float fwhm_noise = REM_input.smooth_ratio_mm;
  const int lDOF_fixed = REM_get_DOF_fixed();
  const int lDOF_random = REM_get_DOF_random();

  // Without prior smoothing the ratio is infinite, and the fixed total stands.
  const float ratio_base = 1.0 + 2.0 * fwhm_noise * fwhm_noise / (fwhm_signal * fwhm_signal);
  const float DOF_ratio = pow((double)ratio_base, 1.5);
  const float inverse_fixed = 1.0f / (float)lDOF_fixed;
  const double effective = rint(1.0 / (inverse_fixed + 1.0 / ((double)lDOF_random * DOF_ratio)));
  // An undefined value (no random degrees of freedom under an infinite
  // ratio, or no files) leaves no degrees of freedom for the tests.
  REM.lDOF_effective = std::isfinite(effective) && fabs(effective) < 2147483647.0 ? (int)effective : 0;

  printf("Effective isotropic resolution    = %4.2f mm\n", fwhm_signal);
  printf("Smoothing FWHM for variance ratio = %g mm\n", fwhm_noise);
  printf("Degrees of freedom: fixed = %d, random = %d, smoothed = %d\n", lDOF_fixed, lDOF_random, REM.lDOF_effective);
}

IPOINT2D REM_GetEventLimits(int event_number) {
  IPOINT2D limits = {-1, -1};
  int e = REM_get_event_index(event_number);
  if (e < 0) return limits;
  limits.x = REM.event_start[e][0];
  limits.y = REM.event_stop[e][REM.nstims[e] > 0 ? REM.nstims[e] - 1 : 0];
  return limits;
}

int REM_IdentifyEvent(int iEntry, char *event_char, int *nSample) {
  if (iEntry < 0 || iEntry >= REM.ntime) {
    printf("Error: entry %d is invalid in function REM_IdentifyEvent\n", iEntry);
    return 1;
  }
  int hits = 0, last = -1;
  for (int e = 0; e < REM.nevents; e++)
    for (int r = 0; r < REM.nstims[e]; r++)
      if (iEntry >= REM.event_start[e][r] && iEntry <= REM.event_stop[e][r]) {
        hits++;
        last = e;
      }
  if (hits == 0) {
    *nSample = -1;
    *event_char = '?';
    return 0;
  }
  *event_char = REM_EventChar(REM.event_number[last]);
  *nSample = iEntry - REM.event_start[last][0];
  if (hits > 1) *event_char = '?';
  return hits;
}
