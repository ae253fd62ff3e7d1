// Amplitude and phase of complex voxels, and the small Gaussian weight used
// by smoothing.
#ifndef ZOR_COMPLEX_H
#define ZOR_COMPLEX_H

#include "zor_types.h"

float compute_amplitude(FCOMPLEX value);
// Radians from -pi to pi.
float compute_phase(FCOMPLEX value);
// exp(-(x^2 + y^2) / (2 sigma^2))
double Gauss(double x, double y, double sigma);
double hypot2(double x, double y);

#endif
