// The affine matrix between two image spaces from a few registration
// parameters, and its inverse. The diffusion fits rotate their gradient
// directions by the inverse.
#ifndef ZOR_ALIGN_H
#define ZOR_ALIGN_H

#include "zor_types.h"

// value[] entries.
enum {
  ALIGN_X_OFF = 0,
  ALIGN_Y_OFF = 1,
  ALIGN_Z_OFF = 2,
  ALIGN_THETA = 3,  // degrees
  ALIGN_PHI = 4,
  ALIGN_PSI = 5,
  ALIGN_XSCALE = 6,
  ALIGN_YSCALE = 7,
  ALIGN_ZSCALE = 8,
  ALIGN_SKEW_XY = 9,
  ALIGN_SKEW_XZ = 10,
  ALIGN_SKEW_YZ = 11,
  ALIGN_NVALUES = 21
};

struct Alignment {
  IPOINT3D dimensionT;  // target space (not used by the matrices)
  POINT3D resolutionT, originT, directionT;
  IPOINT3D dimensionS;  // source space (not used by the matrices)
  POINT3D resolutionS, originS, directionS;
  int RigidBody;            // 1 rigid, 0 deck-of-cards
  IPOINT3D OrientRotation;  // rotations about x, y, z in units of 90 degrees
  IPOINT3D WrapAround;
  int OrientSwapZ;          // non-zero mirrors z
  float value[ALIGN_NVALUES];
  float **slice_value;
  float Orient[4][4], Affine[4][4], AffineI[4][4], AffineH[4][4];
  int registration, interpolation;
};

// The one registration of the program (a struct tag and a variable of the
// same name: write `struct Alignment` for the type).
extern struct Alignment Alignment;

// Orient, Affine and AffineI from the fields above.
void define_affine_matrix(void);
// Orient alone: Rx (Ry Rz) Sz in the upper 3 x 3 block, identity elsewhere.
void calculate_orientation_rotation(void);
// Exact cosine and sine of iAngle * 90 degrees for iAngle -1 to 2; both 0
// for any other multiple.
void define_cosine_sine(int iAngle, float *cs, float *sn);
// Clears the record, as at program start.
void Alignment_reset(void);

#endif
