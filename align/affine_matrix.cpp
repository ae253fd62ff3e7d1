// Affine matrices of a registration: 90-degree orientation steps, a rigid
// or deck-of-cards rotation, scales and skews, offsets, and the inverse.
#include <cmath>
#include <cstring>

#include "zor_align.h"
#include "zor_geometry.h"

struct Alignment Alignment;

namespace {

typedef float matrix3[3][3];

void product3(const matrix3 a, const matrix3 b, matrix3 c) {
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 3; j++) {
      float sum = 0.0f;
      for (int k = 0; k < 3; k++) sum += a[i][k] * b[k][j];
      c[i][j] = sum;
    }
}

void identity4(float m[4][4]) {
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) m[i][j] = i == j ? 1.0f : 0.0f;
}

}  // namespace

void Alignment_reset(void) { memset(&Alignment, 0, sizeof Alignment); }

void define_cosine_sine(int iAngle, float *cs, float *sn) {
  *cs = 0.0f;
  *sn = 0.0f;
  // Chosen by the count of quarter turns, which cannot overflow as the
  // angle in degrees would for a count from a damaged file.
  switch (iAngle) {
    case 0: *cs = 1.0f; break;
    case 2: *cs = -1.0f; break;
    case 1: *sn = 1.0f; break;
    case -1: *sn = -1.0f; break;
    default: break;  // 270, -180 and beyond: left 0, a singular rotation
  }
}

void calculate_orientation_rotation(void) {
  float c, s;
  define_cosine_sine(Alignment.OrientRotation.x, &c, &s);
  const matrix3 rx = {{1, 0, 0}, {0, c, -s}, {0, s, c}};
  define_cosine_sine(Alignment.OrientRotation.y, &c, &s);
  const matrix3 ry = {{c, 0, s}, {0, 1, 0}, {-s, 0, c}};
  define_cosine_sine(Alignment.OrientRotation.z, &c, &s);
  const matrix3 rz = {{c, -s, 0}, {s, c, 0}, {0, 0, 1}};
  const matrix3 sz = {{1, 0, 0}, {0, 1, 0}, {0, 0, Alignment.OrientSwapZ ? -1.0f : 1.0f}};
  matrix3 ryz, rxyz, orient;
  product3(ry, rz, ryz);
  product3(rx, ryz, rxyz);
  product3(rxyz, sz, orient);
  identity4(Alignment.Orient);
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 3; j++) Alignment.Orient[i][j] = orient[i][j];
}

void define_affine_matrix(void) {
  calculate_orientation_rotation();
  const float *v = Alignment.value;
  const double degree = 0.017453292522222223;
  const double t = (float)(v[ALIGN_THETA] * degree);
  const double p = (float)(v[ALIGN_PHI] * degree);
  const double s = (float)(v[ALIGN_PSI] * degree);

  matrix3 rot;
  if (Alignment.RigidBody) {
    const double ct = std::cos(t), st = std::sin(t), cp = std::cos(p), sp = std::sin(p);
    const double cs = std::cos(s), ss = std::sin(s);
    const double m[3][3] = {{ct * cs + ss * st * sp, -st * cp, ct * ss - cs * st * sp},
                            {st * cs - ss * ct * sp, ct * cp, st * ss + cs * ct * sp},
                            {-cp * ss, -sp, cp * cs}};
    for (int i = 0; i < 3; i++)
      for (int j = 0; j < 3; j++) rot[i][j] = (float)m[i][j];
  } else {
    // Deck of cards: an in-plane rotation and shears in z.
    const double m[3][3] = {{std::cos(t), -std::sin(t), std::tan(s)},
                            {std::sin(t), std::cos(t), std::tan(p)},
                            {0.0, 0.0, 1.0}};
    for (int i = 0; i < 3; i++)
      for (int j = 0; j < 3; j++) rot[i][j] = (float)m[i][j];
  }
  const float xs = v[ALIGN_XSCALE], ys = v[ALIGN_YSCALE], zs = v[ALIGN_ZSCALE];
  const matrix3 scale = {{1.0f / xs, v[ALIGN_SKEW_XY] / xs, v[ALIGN_SKEW_XZ] / xs},
                         {0.0f, 1.0f / ys, v[ALIGN_SKEW_YZ] / ys},
                         {0.0f, 0.0f, 1.0f / zs}};
  matrix3 rs, orient, affine;
  product3(rot, scale, rs);
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 3; j++) orient[i][j] = Alignment.Orient[i][j];
  product3(rs, orient, affine);

  identity4(Alignment.Affine);
  for (int i = 0; i < 3; i++) {
    for (int j = 0; j < 3; j++) Alignment.Affine[i][j] = affine[i][j];
    Alignment.Affine[i][3] = -v[ALIGN_X_OFF + i];
  }
  mat44 forward, inverse;
  memcpy(forward.m, Alignment.Affine, sizeof forward.m);
  inverse = invert_mat44(forward);
  memcpy(Alignment.AffineI, inverse.m, sizeof inverse.m);
}
