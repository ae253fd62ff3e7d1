// Small scalar kernels: Gaussian and Lanczos weights for resampling, plane
// length, and the amplitude and phase of a complex voxel.
#include <cmath>

#include "zor_special.h"

namespace {
// The kernels and the phase use this rounded value of π on purpose: the
// phase of (-1, 0) must come out as this constant, not as M_PI.
constexpr double kPi = 3.141592654;
constexpr double kTwoPi = 6.283185308;
constexpr float kHalfPi = 1.5707964f;
}  // namespace

double Gauss(double x, double y, double sigma) {
  return exp(-(x * x + y * y) / (2.0 * sigma * sigma));
}

double Lanczos_filter(int a, double x) {
  if (fabs(x) < 1e-05) return 1.0;
  if (fabs(x / a) > 1.0) return 0.0;
  const double pix = kPi * x;
  return a * sin(pix) * sin(pix / a) / (pix * pix);
}

double hypot2(double x, double y) { return sqrt(x * x + y * y); }

float compute_amplitude(FCOMPLEX value) {
  return static_cast<float>(hypot2(value.real, value.imag));
}

float compute_phase(FCOMPLEX value) {
  if (value.real == 0.0f) {
    if (value.imag > 0.0f) return kHalfPi;
    if (value.imag < 0.0f) return -kHalfPi;
    return 0.0f;
  }
  // Kept in double until the end so that the shifted value of a negative
  // real axis is compared before it is rounded to float.
  double phase = atan(value.imag / value.real);
  if (value.real < 0.0f) phase += kPi;
  if (phase > kPi) phase -= kTwoPi;
  return static_cast<float>(phase);
}
