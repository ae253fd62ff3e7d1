// What the region does to the image and what it reports about it: clipping
// the shown volume to the region or away from it, negating the shown
// volume, removing a smooth multiplicative bias fitted on the region, and
// the region's statistics on standard output.
#include <cmath>
#include <cstdio>
#include <vector>

#include "zor_alloc.h"
#include "zor_exit.h"
#include "zor_graph.h"
#include "zor_matrix.h"
#include "zor_overlay_edit.h"
#include "zor_stack.h"

namespace {

// Applies `f` to the value of each voxel of the shown volume: real stacks
// through their value, complex and vector ones through every component.
template <class F>
void for_each_component(int i, F f) {
  switch (mosaic.stack->data_type) {
    case 0:
      if (mosaic.fSpaceMatrix) f(mosaic.fSpaceMatrix[i]);
      break;
    case 1:
    case 2:
      if (mosaic.fcSpaceMatrix) {
        f(mosaic.fcSpaceMatrix[i].real);
        f(mosaic.fcSpaceMatrix[i].imag);
      }
      break;
    default:
      if (mosaic.v3SpaceMatrix) {
        f(mosaic.v3SpaceMatrix[i].x);
        f(mosaic.v3SpaceMatrix[i].y);
        f(mosaic.v3SpaceMatrix[i].z);
      }
      break;
  }
}

bool shown_volume(void) {
  if (!mosaic.stack || mosaic.stack->n3d <= 0) return false;
  switch (mosaic.stack->data_type) {
    case 0: return mosaic.fSpaceMatrix != nullptr;
    case 1:
    case 2: return mosaic.fcSpaceMatrix != nullptr;
    default: return mosaic.v3SpaceMatrix != nullptr;
  }
}

// The magnitude of a voxel of the shown volume.
float magnitude(int i) {
  switch (mosaic.stack->data_type) {
    case 0: return mosaic.fSpaceMatrix[i];
    case 1: return hypotf(mosaic.fcSpaceMatrix[i].real, mosaic.fcSpaceMatrix[i].imag);
    case 2: return fabsf(mosaic.fcSpaceMatrix[i].real);
    default: {
      const POINT3D v = mosaic.v3SpaceMatrix[i];
      return sqrtf(v.x * v.x + v.y * v.y + v.z * v.z);
    }
  }
}

// Stores a real value, clearing the other components.
void store_real(int i, float value) {
  switch (mosaic.stack->data_type) {
    case 0: mosaic.fSpaceMatrix[i] = value; break;
    case 1:
    case 2: mosaic.fcSpaceMatrix[i] = FCOMPLEX{value, 0.0f}; break;
    default: mosaic.v3SpaceMatrix[i] = POINT3D{value, 0.0f, 0.0f}; break;
  }
}

void projections_stale(void) {
  if (mosaic.MIPStatus == 1) mosaic.MIPStatus = 0;
}

int held(int v, int lo, int hi) { return v < lo ? lo : (v > hi ? hi : v); }

}  // namespace

void action_clip_using_overlay(int keep_inside) {
  if (!shown_volume() || !overlay_map.weight) return;
  for (int i = 0; i < mosaic.stack->n3d; i++) {
    const bool in = overlay_map.weight[i] != 0.0f;
    if (in != (keep_inside != 0)) for_each_component(i, [](float &v) { v = 0.0f; });
  }
  projections_stale();
}

void action_reverse_image_contrast(void) {
  if (!shown_volume()) return;
  for (int i = 0; i < mosaic.stack->n3d; i++) for_each_component(i, [](float &v) { v = -v; });
  projections_stale();
}

float Power_int(float x, int iPoly) {
  switch (iPoly) {
    case 0: return 1.0f;
    case 1: return x;
    case 2: return (3.0f * x * x - 1.0f) / 2.0f;
    case 3: return (5.0f * x * x * x - 3.0f * x) / 2.0f;
    default:
      printf("Programming error: iPoly = %d in Power_int()\n", iPoly);
      zor_exit(1);
  }
}

float SpatialPolyDesign(IPOINT3D Dim, IPOINT3D iPolyPower, IPOINT3D Voxel) {
  const float x = 2.0f * (float)Voxel.x / (float)Dim.x - 1.0f;
  const float y = 2.0f * (float)Voxel.y / (float)Dim.y - 1.0f;
  const float z = 2.0f * (float)Voxel.z / (float)Dim.z - 1.0f;
  return Power_int(x, iPolyPower.x) * Power_int(y, iPolyPower.y) * Power_int(z, iPolyPower.z);
}

void action_flatten_across_overlay(void) {
  if (!shown_volume() || !overlay_map.weight) return;
  const IPOINT3D d = mosaic.stack->dim;
  const IPOINT3D npoly{held(d.x / 4, 0, 3), held(d.y / 4, 0, 3), held(d.z / 4, 0, 3)};
  const int ncoeff = npoly.x * npoly.y * npoly.z;
  const IPOINT3D step{d.x < 32 ? 1 : d.x / 32, d.y < 32 ? 1 : d.y / 32, d.z < 32 ? 1 : d.z / 32};
  printf("Polynomial dim = %d %d %d, ncoeff = %d, voxel steps = %d %d %d\n", npoly.x, npoly.y,
         npoly.z, ncoeff, step.x, step.y, step.z);
  const int n3d = mosaic.stack->n3d;
  std::vector<float> logv((size_t)n3d);
  for (int i = 0; i < n3d; i++) {
    const float m = magnitude(i);
    logv[i] = m > 0.0f ? logf(m) : 0.0f;
    store_real(i, logv[i]);
  }
  // Powers of each coefficient, z outermost, then y, then x.
  std::vector<IPOINT3D> power;
  for (int pz = 0; pz < npoly.z; pz++)
    for (int py = 0; py < npoly.y; py++)
      for (int px = 0; px < npoly.x; px++) power.push_back(IPOINT3D{px, py, pz});
  std::vector<float> beta((size_t)ncoeff, 0.0f);
  if (ncoeff > 0) {
    float **XtX = float_matrix(ncoeff, ncoeff);
    std::vector<float> XtY((size_t)ncoeff, 0.0f), basis((size_t)ncoeff);
    for (int r = 0; r < ncoeff; r++)
      for (int c = 0; c < ncoeff; c++) XtX[r][c] = 0.0f;
    for (int z = 0; z < d.z; z += step.z)
      for (int y = 0; y < d.y; y += step.y)
        for (int x = 0; x < d.x; x += step.x) {
          const int i = x + d.x * (y + d.y * z);
          const float v = logv[i];
          if (overlay_map.weight[i] == 0.0f || v == 0.0f) continue;
          for (int c = 0; c < ncoeff; c++)
            basis[c] = SpatialPolyDesign(d, power[c], IPOINT3D{x, y, z});
          for (int r = 0; r < ncoeff; r++) {
            XtY[r] += basis[r] * v;
            for (int c = 0; c < ncoeff; c++) XtX[r][c] += basis[r] * basis[c];
          }
        }
    int info = 0;
    if (rInvertSquareMatrix(ncoeff, XtX, &info)) {
      puts("Failure to invert matrix for spatial flattening!!");
      free_float_matrix(XtX, ncoeff, ncoeff);
      zor_exit(1);
    }
    for (int r = 0; r < ncoeff; r++) {
      float s = 0.0f;
      for (int c = 0; c < ncoeff; c++) s += XtX[r][c] * XtY[c];
      beta[r] = s;
    }
    free_float_matrix(XtX, ncoeff, ncoeff);
  }
  // Without coefficients there is no fit and no constant to take away.
  const float beta0 = ncoeff > 0 ? beta[0] : 0.0f;
  for (int z = 0; z < d.z; z++)
    for (int y = 0; y < d.y; y++)
      for (int x = 0; x < d.x; x++) {
        const int i = x + d.x * (y + d.y * z);
        float fit = 0.0f;
        for (int c = 1; c < ncoeff; c++) fit += beta[c] * SpatialPolyDesign(d, power[c], IPOINT3D{x, y, z});
        float v = logv[i] - fit;
        if (v < 0.0f) v = 0.0f;
        store_real(i, expf(v - beta0));
      }
  projections_stale();
}

void write_roi_stats(int all_points) {
  const data_stack *s = mosaic.stack;
  if (!s || s->n3d <= 0) return;
  const int ddt = mosaic.display_data_type;
  // The volume now shown: a time point of the stack, or, for a negative
  // time, a volume of the anatomy counted from its end.
  auto value_at = [&](int ispace, int t) -> float {
    if (t < 0) {
      const int a = anatomy_stack.nt + t;
      if (a < 0 || !anatomy_stack.Volume || ispace >= anatomy_stack.n3d) return 0.0f;
      return stack_data_4d(&anatomy_stack, ddt, ispace, a);
    }
    if (t >= s->nt) return 0.0f;
    return stack_data_4d(s, ddt, ispace, t);
  };
  const int first = all_points ? 0 : graph.iTime;
  const int end = all_points ? s->nt : graph.iTime + 1;
  if (ovl_root.npts == 0) {
    const IPOINT3D c = mosaic.icross;
    const IPOINT3D d = s->dim;
    const bool inside = c.x >= 0 && c.x < d.x && c.y >= 0 && c.y < d.y && c.z >= 0 && c.z < d.z;
    const int ispace = inside ? c.x + d.x * (c.y + d.y * c.z) : 0;
    printf("Image\tValue\n");
    for (int t = first; t < end; t++) printf("%d\t%g\n", t, inside ? value_at(ispace, t) : 0.0f);
    return;
  }
  printf("Overlay %s, # points = %d\n", ovl_root.name, ovl_root.npts);
  printf(all_points ? "Image\tAverage\tStDev\n" : "Average\tStDev\n");
  const IPOINT3D d = s->dim;
  for (int t = first; t < end; t++) {
    double sum_w = 0.0, sum_wv = 0.0;
    for (int k = 0; k < ovl_root.npts; k++) {
      const IPOINT3D v = ovl_root.voxel[k];
      const double w = ovl_root.weight[k];
      sum_w += w;
      sum_wv += w * value_at(v.x + d.x * (v.y + d.y * v.z), t);
    }
    const double average = sum_w != 0.0 ? sum_wv / sum_w : 0.0;
    double sum_w2 = 0.0, sum_sq = 0.0;
    for (int k = 0; k < ovl_root.npts; k++) {
      const IPOINT3D v = ovl_root.voxel[k];
      const double w = ovl_root.weight[k];
      const double diff = value_at(v.x + d.x * (v.y + d.y * v.z), t) - average;
      sum_w2 += w;
      if (diff != 0.0) sum_sq += w * diff * diff;
    }
    const double stdev = sum_w2 != 0.0 ? sqrt(sum_sq / sum_w2) : 0.0;
    if (all_points)
      printf("%d\t%g\t%g\n", t, average, stdev);
    else
      printf("%g\t%g\n", average, stdev);
  }
}
