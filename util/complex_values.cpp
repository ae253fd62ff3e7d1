// Amplitude and phase of complex voxels, and a Gaussian weight.
#include "zor_complex.h"

#include <cmath>

float compute_amplitude(FCOMPLEX value) {
  return static_cast<float>(hypot2(value.real, value.imag));
}

float compute_phase(FCOMPLEX value) {
  if (value.real == 0.0f) {
    if (value.imag > 0.0f) return 1.5707964f;
    if (value.imag < 0.0f) return -1.5707964f;
    return 0.0f;
  }
  double phase = atan(value.imag / value.real);
  if (value.real < 0.0f) phase += 3.141592654;
  if (phase > 3.141592654) phase -= 6.283185308;
  return static_cast<float>(phase);
}

double Gauss(double x, double y, double sigma) {
  return exp(-(x * x + y * y) / (2.0 * sigma * sigma));
}

double hypot2(double x, double y) { return sqrt(x * x + y * y); }
