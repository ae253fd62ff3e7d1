// Special functions and small kernels: the regularised incomplete beta
// function behind every p value, a Gaussian and a Lanczos kernel, and the
// amplitude and phase of a complex voxel.
#ifndef ZOR_SPECIAL_H
#define ZOR_SPECIAL_H

#include "zor_types.h"

// Regularised incomplete beta function I_x(a, b). a or b not above 0 ends
// the run with status 1 after a message.
double ibeta(double a, double b, double x);

// out[i] = ibeta(a, b, x[i]) for i below n, to the bit, several at a time.
void ibeta_many(double a, double b, int n, const double *x, double *out);

// exp(-(x² + y²)/(2·sigma²)).
double Gauss(double x, double y, double sigma);

// Windowed sinc of half-width a: 1 near 0, 0 beyond |x| = a.
double Lanczos_filter(int a, double x);

// Square root of x² + y², without any guard against overflow.
double hypot2(double x, double y);

// Length of the pair, and its angle in radians from -π to π.
float compute_amplitude(FCOMPLEX value);
float compute_phase(FCOMPLEX value);

#endif
