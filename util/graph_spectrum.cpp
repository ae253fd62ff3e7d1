// The magnitude spectrum of the graph's curve. The spectrum is recomputed on
// every cursor move in frequency mode, so the plans (made with FFTW's
// measuring planner) and buffers are kept and only made again when the
// curve's length changes.
#include <fftw3.h>

#include <cmath>

#include "zor_display_state.h"
#include "zor_time_model.h"

namespace {

struct SpectrumPlans {
  fftw_plan plan_forward = nullptr;
  fftw_plan plan_reverse = nullptr;
  double *Data_in = nullptr;
  fftw_complex *Data_out = nullptr;
  int nInput = 0;
  int nOutput = 0;
  unsigned flags = 0;  // FFTW_MEASURE
} spectrum;

void release_plans(void) {
  if (spectrum.plan_forward) fftw_destroy_plan(spectrum.plan_forward);
  if (spectrum.plan_reverse) fftw_destroy_plan(spectrum.plan_reverse);
  if (spectrum.Data_in) fftw_free(spectrum.Data_in);
  if (spectrum.Data_out) fftw_free(spectrum.Data_out);
  spectrum = SpectrumPlans{};
}

// The measuring planner overwrites the arrays: plans come before the data.
void make_plans(int n) {
  release_plans();
  spectrum.nInput = n;
  spectrum.nOutput = n / 2 + 1;
  spectrum.Data_in = static_cast<double *>(fftw_malloc(sizeof(double) * (size_t)n));
  spectrum.Data_out =
      static_cast<fftw_complex *>(fftw_malloc(sizeof(fftw_complex) * (size_t)spectrum.nOutput));
  spectrum.plan_forward =
      fftw_plan_dft_r2c_1d(n, spectrum.Data_in, spectrum.Data_out, spectrum.flags);
  spectrum.plan_reverse =
      fftw_plan_dft_c2r_1d(n, spectrum.Data_out, spectrum.Data_in, spectrum.flags);
}

}  // namespace

void FT_graph_data_reset(void) { release_plans(); }

void FT_graph_data(void) {
  const int n = graph.npoints;
  if (n < 1 || !graph.yVector) return;
  if (n != spectrum.nInput || !spectrum.plan_forward) make_plans(n);
  for (int j = 0; j < n; j++) spectrum.Data_in[j] = graph.yVector[j];
  fftw_execute(spectrum.plan_forward);
  for (int j = 0; j < n; j++) {
    const double re = spectrum.Data_out[j / 2][0];
    const double im = spectrum.Data_out[j / 2][1];
    graph.yVector[j] = static_cast<float>(sqrt(re * re + im * im));
  }
}
