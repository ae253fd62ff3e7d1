// Filling a closed wire into the region. The loop is sampled at 40 points
// per Bezier segment; a fine working grid (500 by 500 for images narrower
// than that, the image grid itself otherwise) is marked by counting
// crossings of the loop along each row and then each column of a window
// around it: a pixel is inside when both counts say so, which removes the
// streaks a row touching the loop at a tangent would leave. The fine mask is
// then smoothed down onto the image grid, so that edge voxels get a fraction.
//
// Each test edge of a row or column only needs the loop pieces near it:
// pieces are sorted into the rows and columns their bounding box (widened
// by two pixels) reaches, and each is tested against the test edges it can
// touch. The crossing test itself and its inputs are the same as in a walk
// over every piece, so the mask is too.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "zor_annotate.h"
#include "zor_compose.h"
#include "zor_exit.h"
#include "zor_geometry.h"
#include "zor_graph.h"
#include "zor_overlay_edit.h"
#include "zor_stack.h"
#include "zor_wires.h"
#include "zor_x11.h"

POINT2D vector_difference_2D(POINT2D v_end, POINT2D v_start) {
  return POINT2D{v_end.x - v_start.x, v_end.y - v_start.y};
}

POINT2D unit_vector_2D(POINT2D v) {
  const float length = sqrtf(v.x * v.x + v.y * v.y);
  return POINT2D{v.x / length, v.y / length};
}

float cross_product_2D(POINT2D a, POINT2D b) { return a.x * b.y - a.y * b.x; }

float dot_product_2D(POINT2D a, POINT2D b) { return a.x * b.x + a.y * b.y; }

int intersecting_2D_vectors(POINT2D v1_start, POINT2D v1_end, POINT2D v2_start, POINT2D v2_end) {
  const POINT2D d1 = vector_difference_2D(v1_end, v1_start);
  const POINT2D d2 = vector_difference_2D(v2_end, v2_start);
  const float l1 = sqrtf(dot_product_2D(d1, d1));
  const float l2 = sqrtf(dot_product_2D(d2, d2));
  if (l1 == 0.0f || l2 == 0.0f) return 0;
  const POINT2D u1 = unit_vector_2D(d1);
  const POINT2D u2 = unit_vector_2D(d2);
  const float denominator = cross_product_2D(u2, u1);
  if (denominator == 0.0f) return 0;
  const float s = (cross_product_2D(u2, v2_start) - cross_product_2D(u2, v1_start)) / denominator;
  float t;
  if (fabsf(u2.x) <= fabsf(u2.y))
    t = (v1_start.y + s * u1.y - v2_start.y) / u2.y;
  else
    t = (v1_start.x + s * u1.x - v2_start.x) / u2.x;
  return s >= 0.0f && s < l1 && t >= 0.0f && t < l2;
}

namespace {

bool same_point(const POINT3D &a, const POINT3D &b) { return a.x == b.x && a.y == b.y && a.z == b.z; }

// A float index bound held to [lo, hi] before it becomes an int.
int clamp_index(double v, int lo, int hi) {
  if (!(v > lo)) return lo;  // also NaN
  if (v > hi) return hi;
  return static_cast<int>(v);
}

// The working grid of the fill: the fine 500 by 500 plane for small
// images, else the image's own grid. Only one plane is ever used.
void make_working_grid(const data_stack *stack, data_stack *grid, bool *fine) {
  memset(grid, 0, sizeof *grid);
  *fine = stack->dim.x < 500 || stack->dim.y < 500;
  if (*fine) {
    grid->dim = IPOINT3D{500, 500, 1};
    grid->nt = 1;
    grid->n2d = grid->n3d = 250000;
    grid->n4d = 250000;
    grid->resolution = POINT3D{static_cast<float>(stack->dim.x) * stack->resolution.x / 500.0f,
                               static_cast<float>(stack->dim.y) * stack->resolution.y / 500.0f,
                               stack->resolution.z};
    grid->origin = stack->origin;
    grid->direction = stack->direction;
    grid->ijk_to_xyz = scale_and_shift_to_mat44(grid->resolution, grid->origin, grid->direction);
    grid->xyz_to_ijk = invert_mat44(grid->ijk_to_xyz);
    grid->data_type = 0;
  } else {
    *grid = *stack;
    grid->nt = 1;
    grid->n4d = grid->n3d;
    grid->Volume = nullptr;
    grid->fcVolume = nullptr;
    grid->v3Volume = nullptr;
    grid->next = nullptr;
    grid->data_type = 0;
  }
  snprintf(grid->name, sizeof grid->name, "%s", "wire fill");
  // One plane holds the mask: the passes only visit k = 0.
  allocate_stack_data(1, grid->dim.x * grid->dim.y, grid);
  grid->n3d = grid->dim.x * grid->dim.y;
  grid->dim.z = 1;
  memset(grid->Volume[0], 0, sizeof(float) * static_cast<size_t>(grid->n3d));
}

// Plane coordinates (the grid's i, j at k = 0) of a point's x and y, for
// sorting pieces into rows and columns. False when the grid's x-y block
// cannot be inverted; every piece is then tried on every test edge.
struct plane_map {
  double a, b, c, d, ox, oy;  // inverse of [[m00 m01] [m10 m11]] and the shift
  bool ok;
};

plane_map make_plane_map(const data_stack *grid) {
  const mat44 &m = grid->ijk_to_xyz;
  const double m00 = m.m[0][0], m01 = m.m[0][1], m10 = m.m[1][0], m11 = m.m[1][1];
  const double det = m00 * m11 - m01 * m10;
  plane_map p{};
  p.ok = det != 0.0 && std::isfinite(det);
  if (!p.ok) return p;
  p.a = m11 / det;
  p.b = -m01 / det;
  p.c = -m10 / det;
  p.d = m00 / det;
  p.ox = m.m[0][3];
  p.oy = m.m[1][3];
  return p;
}

struct piece_box {
  double x0, x1, y0, y1;  // plane coordinates, widened
};

// Crossing counts of one pass. rows: true for the row pass (test edges
// along i at fixed j), false for the column pass (along j at fixed i).
// flips[(line - line0) * span + (pos - pos0)] becomes 1 when the test edge
// from pos to pos + 1 on that line crosses the loop an odd number of times.
void crossing_parities(bool rows, const data_stack *grid, const std::vector<POINT2D> &loop,
                       const std::vector<piece_box> &boxes, bool all_pieces, int line0, int line1,
                       int pos0, int pos1, std::vector<unsigned char> &flips) {
  const int nlines = line1 - line0, span = pos1 - pos0;
  flips.assign(static_cast<size_t>(nlines) * static_cast<size_t>(span), 0);
  if (nlines <= 0 || span <= 0) return;
  // The pieces each line may meet.
  std::vector<std::vector<int>> on_line(static_cast<size_t>(nlines));
  const int npieces = static_cast<int>(loop.size()) - 1;
  for (int k = 0; k < npieces; k++) {
    int first = line0, last = line1 - 1;
    if (!all_pieces) {
      const piece_box &b = boxes[static_cast<size_t>(k)];
      const double lo = rows ? b.y0 : b.x0, hi = rows ? b.y1 : b.x1;
      first = clamp_index(ceil(lo), line0, line1);
      last = clamp_index(floor(hi), line0 - 1, line1 - 1);
    }
    for (int l = first; l <= last; l++) on_line[static_cast<size_t>(l - line0)].push_back(k);
  }
  for (int l = line0; l < line1; l++) {
    unsigned char *f = &flips[static_cast<size_t>(l - line0) * static_cast<size_t>(span)];
    for (int k : on_line[static_cast<size_t>(l - line0)]) {
      int first = pos0, last = pos1 - 1;
      if (!all_pieces) {
        const piece_box &b = boxes[static_cast<size_t>(k)];
        const double lo = rows ? b.x0 : b.y0, hi = rows ? b.x1 : b.y1;
        // The test edge [p, p + 1] must reach the piece's box.
        first = clamp_index(floor(lo) - 1.0, pos0, pos1);
        last = clamp_index(ceil(hi), pos0 - 1, pos1 - 1);
      }
      for (int p = first; p <= last; p++) {
        const POINT3D a = rows ? POINT3D{(float)p, (float)l, 0.0f} : POINT3D{(float)l, (float)p, 0.0f};
        const POINT3D b =
            rows ? POINT3D{(float)(p + 1), (float)l, 0.0f} : POINT3D{(float)l, (float)(p + 1), 0.0f};
        const POINT3D sa = Convert_rVoxel_to_Space(a, grid);
        const POINT3D sb = Convert_rVoxel_to_Space(b, grid);
        if (intersecting_2D_vectors(loop[static_cast<size_t>(k)], loop[static_cast<size_t>(k) + 1],
                                    POINT2D{sa.x, sa.y}, POINT2D{sb.x, sb.y}))
          f[p - pos0] ^= 1;
      }
    }
  }
}

void show_progress(const char *what, int done, int total) {
  if (XWindow_image == 0) return;
  char line1[128], blank[] = " ";
  snprintf(line1, sizeof line1, "%s: %d %c", what, total > 0 ? 100 * done / total : 100, '%');
  show_on_info_line(0, 0, line1, blank, blank);
  refresh_display_image(1);
}

}  // namespace

void fill_last_closed_wire(int iLastPoint) {
  if (iLastPoint < 0 || iLastPoint + 1 > wire_root.npts) {
    printf("Programming error: point %d in fill_last_closed_wire > # wire points (%d)\n", iLastPoint,
           wire_root.npts);
    zor_exit(1);
  }
  const CONTROL_POINT *control = wire_root.control;
  if (control[iLastPoint].color != 0) {
    puts("Programming error: last point in wire array is not a termination.");
    zor_exit(1);
  }
  // The start: the nearest earlier point on the end point. A handle of the
  // last segment lying on it leaves no whole segment, and is passed over.
  int start_wire = -1;
  for (int j = iLastPoint - 2; j >= 0; j--) {
    if (control[j].color == 0) break;
    if (iLastPoint - j >= 3 && same_point(control[j].point, control[iLastPoint].point)) {
      start_wire = j;
      break;
    }
  }
  if (start_wire < 0) {
    puts("Programming error: no closed loop in fill_last_closed_loop");
    zor_exit(1);
  }
  const data_stack *stack = mosaic.stack;
  if (!stack || !overlay_map.weight) return;

  // The loop, 40 samples per segment; neighbouring segments repeat their joint.
  const int number_segments = (iLastPoint - start_wire - 3) / 3 + 1;
  const int ilength = 40 * number_segments;
  std::vector<POINT3D> wire_loop(static_cast<size_t>(ilength));
  for (int s = 0; s < number_segments; s++) {
    POINT3D four[4];
    for (int k = 0; k < 4; k++) four[k] = control[start_wire + 3 * s + k].point;
    ComputeBezier(four, 40, &wire_loop[static_cast<size_t>(40 * s)]);
  }
  POINT3D WireMin{1e10f, 1e10f, wire_loop[0].z}, WireMax{-1e10f, -1e10f, wire_loop[0].z};
  std::vector<POINT2D> loop(static_cast<size_t>(ilength));
  for (int i = 0; i < ilength; i++) {
    const POINT3D &p = wire_loop[static_cast<size_t>(i)];
    WireMin.x = std::min(WireMin.x, p.x);
    WireMin.y = std::min(WireMin.y, p.y);
    WireMax.x = std::max(WireMax.x, p.x);
    WireMax.y = std::max(WireMax.y, p.y);
    loop[static_cast<size_t>(i)] = POINT2D{p.x, p.y};
  }

  data_stack temp_stack;
  bool fine;
  make_working_grid(stack, &temp_stack, &fine);
  const int gx = temp_stack.dim.x, gy = temp_stack.dim.y;
  float *mask = temp_stack.Volume[0];

  // The window: the loop's bounds plus 2 pixels, inside the grid.
  const POINT3D vmin = Convert_Space_to_rVoxel(WireMin, &temp_stack);
  const POINT3D vmax = Convert_Space_to_rVoxel(WireMax, &temp_stack);
  const double lox = std::min(vmin.x, vmax.x), hix = std::max(vmin.x, vmax.x);
  const double loy = std::min(vmin.y, vmax.y), hiy = std::max(vmin.y, vmax.y);
  int ix1 = clamp_index(floor(lox) - 2.0, 0, gx), ix2 = clamp_index(ceil(hix) + 2.0, 0, gx);
  int iy1 = clamp_index(floor(loy) - 2.0, 0, gy), iy2 = clamp_index(ceil(hiy) + 2.0, 0, gy);
  if (ix1 > ix2) std::swap(ix1, ix2);
  if (iy1 > iy2) std::swap(iy1, iy2);

  // Where each piece lies on the grid, widened by two pixels.
  const plane_map pm = make_plane_map(&temp_stack);
  std::vector<piece_box> boxes;
  if (pm.ok) {
    std::vector<POINT2D> plane(static_cast<size_t>(ilength));
    bool finite = true;
    for (int i = 0; i < ilength; i++) {
      const double dx = loop[static_cast<size_t>(i)].x - pm.ox, dy = loop[static_cast<size_t>(i)].y - pm.oy;
      const double u = pm.a * dx + pm.b * dy, v = pm.c * dx + pm.d * dy;
      finite = finite && std::isfinite(u) && std::isfinite(v);
      plane[static_cast<size_t>(i)] = POINT2D{static_cast<float>(u), static_cast<float>(v)};
    }
    if (finite) {
      boxes.resize(static_cast<size_t>(ilength));
      for (int i = 0; i + 1 < ilength; i++) {
        const POINT2D &a = plane[static_cast<size_t>(i)], &b = plane[static_cast<size_t>(i) + 1];
        boxes[static_cast<size_t>(i)] = piece_box{std::min(a.x, b.x) - 2.0, std::max(a.x, b.x) + 2.0,
                                                  std::min(a.y, b.y) - 2.0, std::max(a.y, b.y) + 2.0};
      }
    }
  }
  const bool all_pieces = boxes.empty();

  // Row pass: a pixel is set while the count from the window's left edge is odd.
  std::vector<unsigned char> flips;
  const int nrows = iy2 - iy1, ncols = ix2 - ix1;
  crossing_parities(true, &temp_stack, loop, boxes, all_pieces, iy1, iy2, ix1, ix2, flips);
  for (int y = iy1; y < iy2; y++) {
    if (nrows > 20 && (y - iy1) % (nrows / 20) == 0) show_progress("filling overlay", y - iy1, nrows);
    int inside = 0;
    const unsigned char *f = &flips[static_cast<size_t>(y - iy1) * static_cast<size_t>(ncols)];
    for (int x = ix1; x < ix2; x++) {
      if (inside) mask[x + gx * y] = 1.0f;
      inside ^= f[x - ix1];
    }
  }
  // Column pass: a pixel stays only if its column says inside as well.
  crossing_parities(false, &temp_stack, loop, boxes, all_pieces, ix1, ix2, iy1, iy2, flips);
  for (int x = ix1; x < ix2; x++) {
    if (ncols > 20 && (x - ix1) % (ncols / 20) == 0) show_progress("checking overlay", x - ix1, ncols);
    int inside = 0;
    const unsigned char *f = &flips[static_cast<size_t>(x - ix1) * static_cast<size_t>(nrows)];
    for (int y = iy1; y < iy2; y++) {
      if (!inside) mask[x + gx * y] = 0.0f;
      inside ^= f[y - iy1];
    }
  }

  // The slice, from the grid's own z axis (the image's in both cases).
  const float fz = Convert_Space_to_rVoxel(WireMin, &temp_stack).z;
  const int iZ = std::isfinite(fz) ? clamp_index(floor(fz + 0.5), -1, stack->dim.z) : -1;

  const IPOINT3D d = stack->dim;
  bool reduced = true;
  if (fine) reduced = downsample_stack_xyz(&temp_stack, d.x, d.y, 1) == 0;
  if (reduced && iZ >= 0 && iZ < d.z) {
    const float *values = temp_stack.Volume[0];
    for (int y = 0; y < d.y; y++)
      for (int x = 0; x < d.x; x++) {
        const float v = values[x + d.x * y];
        if (v > 0.05f) {
          const int i = x + d.x * (y + d.y * iZ);
          overlay_map.weight[i] = v;
          overlay_map.color[i] = ovl_root.color;
        }
      }
  }
  free_stack_data(1, &temp_stack);
  update_root_overlay(1, 1);
  if (graph.type == 1) {
    fill_graph_vector();
    modify_graph_vector();
    graph.update_regions |= GRAPH_REBUILD;
  }
}

void fill_closed_wires(void) {
  int start = 0;
  for (int j = 0; j < wire_root.npts; j++) {
    if (wire_root.control[j].color != 0) continue;
    // A wire needs a whole segment to enclose anything; a point alone or a
    // wire of fewer than four points is left as it is.
    if (j - start >= 3 && same_point(wire_root.control[j].point, wire_root.control[start].point)) {
      fill_last_closed_wire(j);
      if (XWindow_image != 0) Update_Regions();
    }
    start = j + 1;
  }
}
