// Float to int as the processor's truncating conversion gives it: NaN,
// infinities and values beyond the int range all become INT_MIN, where a
// plain cast would be undefined. Every conversion of a computed coordinate,
// bin or index that may meet such a value goes through these.
#ifndef ZOR_FLOAT_INT_H
#define ZOR_FLOAT_INT_H

#include <climits>
#include <cmath>

// Truncation toward zero.
inline int truncate_to_int(double v) {
  if (!(v > -2147483649.0 && v < 2147483648.0)) return INT_MIN;
  return (int)v;
}

// Rounding to the nearest integer, halves to even (rint in the default
// rounding mode).
inline int round_to_int(double v) { return truncate_to_int(std::rint(v)); }

#endif
