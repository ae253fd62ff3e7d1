// One pixel of a plane: its layers gathered by the sampling table, then the
// projection line, overlay, map, gray value and pixelated cross-hair
// blended into one RGB value.
#include <cmath>
#include <cstdio>

#include "pixel_blend.h"
#include "zor_colour.h"
#include "zor_compose.h"
#include "zor_exit.h"
#include "zor_geometry.h"
#include "zor_overlay.h"
#include "zor_special.h"

namespace {

const double kDegreesPerRadian = 57.29577950560105;

float vector_length(POINT3D v) {
  float sum = 0.0f;
  // Exact zeros add nothing and are skipped.
  if (v.x != 0.0f) sum += v.x * v.x;
  if (v.y != 0.0f) sum += v.y * v.y;
  if (v.z != 0.0f) sum += v.z * v.z;
  return sqrtf(sum);
}

// A complex sample by the display's choice; `polar` when stored as
// magnitude and phase.
float complex_value(FCOMPLEX c, bool polar, int display_data_type) {
  switch (display_data_type) {
    case 0: return polar ? c.real : compute_amplitude(c);
    case 1: return polar ? c.imag : (float)(compute_phase(c) * kDegreesPerRadian);
    case 2: return polar ? c.real * cosf(c.imag) : c.real;
    default: return polar ? c.real * sinf(c.imag) : c.imag;
  }
}

float vector_value(POINT3D v, int display_data_type) {
  if (display_data_type <= 0) return vector_length(v);
  switch (display_data_type) {
    case 1: return v.x;
    case 2: return v.y;
    case 3: return v.z;
    default: return 0.0f;
  }
}

}  // namespace

int shown_samples_exist(void) {
  if (!mosaic.stack) return 0;
  switch (mosaic.stack->data_type) {
    case 0: return mosaic.fSpaceMatrix != nullptr;
    case 3: return mosaic.v3SpaceMatrix != nullptr;
    default: return mosaic.fcSpaceMatrix != nullptr;
  }
}

float mosaic_data_1d(int ispace) {
  const data_stack *stack = mosaic.stack;
  if (ispace < 0 || ispace >= stack->n3d) {
    printf("Programming error: index (%d) out of range (%d) in mosaic_data_1d\n", ispace,
           stack->n3d);
    zor_exit(1);
  }
  // A stack whose volumes are not loaded reads as zeros.
  switch (stack->data_type) {
    case 0: return mosaic.fSpaceMatrix ? mosaic.fSpaceMatrix[ispace] : 0.0f;
    case 1:
    case 2:
      if (!mosaic.fcSpaceMatrix) return 0.0f;
      return complex_value(mosaic.fcSpaceMatrix[ispace], stack->data_type == 2,
                           mosaic.display_data_type);
    case 3:
      if (!mosaic.v3SpaceMatrix) return 0.0f;
      return vector_value(mosaic.v3SpaceMatrix[ispace], mosaic.display_data_type);
    default:
      printf("Programming error: data type = %d in function mosaic_data_1d\n", stack->data_type);
      zor_exit(1);
  }
  return 0.0f;
}

float activation_data_1d(int ispace) {
  switch (activation.data_type) {
    case 1: return activation.fSpaceMatrix ? activation.fSpaceMatrix[ispace] : 0.0f;
    case 2: {
      int stored = activation.stack ? activation.stack->data_type : 0;
      if ((stored != 1 && stored != 2) || !activation.fcSpaceMatrix) return 0.0f;
      return complex_value(activation.fcSpaceMatrix[ispace], stored == 2,
                           activation.display_data_type);
    }
    case 3:
      if (activation.display_data_type == 4)
        return activation.fTractMap ? activation.fTractMap[ispace] : 0.0f;
      if (!activation.v3SpaceMatrix) return 0.0f;
      return vector_value(activation.v3SpaceMatrix[ispace], activation.display_data_type);
    default: return 0.0f;
  }
}

float mosaic_data_3d(IPOINT3D voxel) {
  return mosaic_data_1d(Voxel3D_to_1D(voxel, mosaic.stack->dim));
}

float activation_data_3d(IPOINT3D voxel) {
  return activation_data_1d(Voxel3D_to_1D(voxel, mosaic.stack->dim));
}

int gray_level(float fData) { return pixel_gray_level(fData); }

unsigned long image_pixel(float fData, float fMap, float fOvl, float fCross, float fProj,
                          int ovl_color, POINT3D v3Map) {
  return blend_pixel(fData, fMap, fOvl, fCross, fProj, ovl_color, v3Map);
}
