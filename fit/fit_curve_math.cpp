// Logarithms and exponentials of whole curves for the tensor fits. Each
// value is worked out on its own, by range reduction and a polynomial in
// single precision (the Cephes single-precision forms, within two units in
// the last place of the correctly rounded value), with no calls and no
// branches that depend on the data, so that a curve's values are computed
// side by side.
#include <cstdint>
#include <cstring>

#include "fit_internal.h"

// Floating-point traps are never enabled here: telling the compiler so lets it
// compute both sides of a selection, which is what makes the loops vector code.
#pragma GCC optimize("no-trapping-math", "tree-vectorize", "vect-cost-model=dynamic")

namespace {

inline uint32_t bits_of(float v) {
  uint32_t b;
  memcpy(&b, &v, sizeof b);
  return b;
}

inline float float_of(uint32_t b) {
  float v;
  memcpy(&v, &b, sizeof v);
  return v;
}

// log of one value above 0 (infinity and NaN come back as they are).
inline float log_one(float x) {
  // Subnormal values are scaled into the normal range first.
  const bool tiny = x < 1.17549435e-38f;
  const float scaled = tiny ? x * 8388608.0f : x;
  const uint32_t b = bits_of(scaled);
  int e = (int)((b >> 23) & 0xff) - 126 - (tiny ? 23 : 0);
  float m = float_of((b & 0x007fffffu) | 0x3f000000u);  // in [0.5, 1)
  const bool low = m < 0.707106781186547524f;
  e = low ? e - 1 : e;
  m = low ? m + m - 1.0f : m - 1.0f;
  const float z = m * m;
  float y = 7.0376836292e-2f;
  y = y * m - 1.1514610310e-1f;
  y = y * m + 1.1676998740e-1f;
  y = y * m - 1.2420140846e-1f;
  y = y * m + 1.4249322787e-1f;
  y = y * m - 1.6668057665e-1f;
  y = y * m + 2.0000714765e-1f;
  y = y * m - 2.4999993993e-1f;
  y = y * m + 3.3333331174e-1f;
  y = y * m * z;
  const float fe = (float)e;
  y += -2.12194440e-4f * fe;
  y += -0.5f * z;
  float r = m + y;
  r += 0.693359375f * fe;
  const bool special = !(x < 3.40282347e+38f);  // infinity or NaN
  return special ? x : r;
}

// exp of one value; overflow gives infinity, deep underflow 0, NaN stays.
inline float exp_one(float x) {
  const bool nan = x != x;
  float t = nan ? 0.0f : x;
  const bool over = t > 88.7228391f;
  const bool under = t < -103.972077f;
  t = t > 88.7228391f ? 88.7228391f : t;
  t = t < -103.972077f ? -103.972077f : t;
  // n = nearest integer of t / log 2, by truncation with a correction.
  const float q = 1.44269504088896341f * t + 0.5f;
  int n = (int)q;
  n = (float)n > q ? n - 1 : n;
  const float fn = (float)n;
  float r = t - fn * 0.693359375f;
  r = r - fn * -2.12194440e-4f;
  const float z = r * r;
  float p = 1.9875691500e-4f;
  p = p * r + 1.3981999507e-3f;
  p = p * r + 8.3334519073e-3f;
  p = p * r + 4.1665795894e-2f;
  p = p * r + 1.6666665459e-1f;
  p = p * r + 5.0000001201e-1f;
  p = p * z + r + 1.0f;
  // 2^n in two factors, so that results below the normal range come out
  // subnormal rather than wrong.
  const int n1 = n / 2, n2 = n - n1;
  const float s1 = float_of((uint32_t)(n1 + 127) << 23), s2 = float_of((uint32_t)(n2 + 127) << 23);
  float v = p * s1 * s2;
  v = over ? float_of(0x7f800000u) : v;
  v = under ? 0.0f : v;
  return nan ? x : v;
}

}  // namespace

void fit_log_values(int n, const float *x, float *y) {
  for (int i = 0; i < n; i++) y[i] = log_one(x[i]);
}

void fit_exp_values(int n, float *v) {
  for (int i = 0; i < n; i++) v[i] = exp_one(v[i]);
}
