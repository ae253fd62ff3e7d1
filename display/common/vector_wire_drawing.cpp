// Vector fields and wire frames over the panels: headless lines per voxel,
// and chained cubic Bezier curves in space coordinates.
#include <cmath>

#include "zor_annotate.h"
#include "zor_colour.h"
#include "zor_compose.h"
#include "zor_geometry.h"
#include "zor_x11.h"

namespace {

bool off_screen(IPOINT2D p) { return p.x == -1 && p.y == -1; }

// The line of one voxel's vector on a panel, when the vector counts.
void add_vector(std::vector<annotation_line> &lines, int which_slice, int orientation,
                IPOINT3D voxel) {
  const data_stack *s = mosaic.stack;
  const IPOINT3D &d = s->dim;
  const POINT3D v = activation.v3SpaceMatrix[voxel.x + d.x * (voxel.y + d.y * voxel.z)];
  const float length = sqrtf(v.x * v.x + v.y * v.y + v.z * v.z);
  if (!(length > get_activation_threshold(-1))) return;
  const float high = get_activation_threshold(1);
  // A vector as long as the high threshold spans one voxel.
  POINT3D half{v.x / high * s->resolution.x / 2.0f, v.y / high * s->resolution.y / 2.0f,
               v.z / high * s->resolution.z / 2.0f};
  switch (orientation) {
    case ORTHO_XY: half.z = 0.0f; break;
    case ORTHO_XZ: half.y = 0.0f; break;
    default: half.x = 0.0f; break;
  }
  const POINT3D c = Convert_Voxel_to_Space(voxel, s);
  const POINT3D p1{c.x - half.x, c.y - half.y, c.z - half.z};
  const POINT3D p2{c.x + half.x, c.y + half.y, c.z + half.z};
  IPOINT2D a = Convert_Space_to_Pixel(which_slice, p1, 1);
  IPOINT2D b = Convert_Space_to_Pixel(which_slice, p2, 1);
  if (off_screen(a) || off_screen(b)) return;  // off every shown slice
  lines.push_back({a, b, activation.visible ? COLOR_WHITE : COLOR_RED});
}

}  // namespace

std::vector<annotation_line> vector_field_segments(void) {
  std::vector<annotation_line> lines;
  if (!activation.v3SpaceMatrix) return lines;
  const IPOINT3D &d = mosaic.stack->dim;
  const IPOINT3D &c = mosaic.icross;
  if (!mosaic.display_3orthogonal) {
    for (int z = 0; z < d.z; z++)
      for (int y = 0; y < d.y; y++)
        for (int x = 0; x < d.x; x++)
          add_vector(lines, MOSAIC, mosaic.mosaic_orientation, IPOINT3D{x, y, z});
    return lines;
  }
  for (int y = 0; y < d.y; y++)
    for (int x = 0; x < d.x; x++) add_vector(lines, ORTHO_XY, ORTHO_XY, IPOINT3D{x, y, c.z});
  for (int z = 0; z < d.z; z++)
    for (int x = 0; x < d.x; x++) add_vector(lines, ORTHO_XZ, ORTHO_XZ, IPOINT3D{x, c.y, z});
  const int third = mosaic.display_ortho_ZY ? ORTHO_ZY : ORTHO_YZ;
  for (int z = 0; z < d.z; z++)
    for (int y = 0; y < d.y; y++) add_vector(lines, third, third, IPOINT3D{c.x, y, z});
  return lines;
}

void draw_vector_field(void) {
  for (const annotation_line &l : vector_field_segments())
    DPRIMITIVE_DrawLine(Drawable_ImageData, l.color, l.from, l.to);
}

void ComputeBezier(POINT3D *point_control, int number_points, POINT3D *wire_draw) {
  const POINT3D &p0 = point_control[0], &p1 = point_control[1], &p2 = point_control[2],
                &p3 = point_control[3];
  const float cx = 3.0f * (p1.x - p0.x), bx = 3.0f * (p2.x - p1.x) - cx,
              ax = p3.x - p0.x - cx - bx;
  const float cy = 3.0f * (p1.y - p0.y), by = 3.0f * (p2.y - p1.y) - cy,
              ay = p3.y - p0.y - cy - by;
  const float dt = number_points > 1 ? 1.0f / (float)(number_points - 1) : 0.0f;
  for (int j = 0; j < number_points; j++) {
    const float t = (float)j * dt;
    const float t2 = t * t, t3 = t2 * t;
    wire_draw[j].x = ax * t3 + bx * t2 + cx * t + p0.x;
    wire_draw[j].y = ay * t3 + by * t2 + cy * t + p0.y;
    wire_draw[j].z = p0.z;
  }
}

// A wire's colour as drawn: a colour that a file gave outside the known
// ones is drawn cyan, the colour of a new wire.
static int wire_colour(int color) {
  return color >= COLOR_CYAN && color <= COLOR_BLACK ? color : COLOR_CYAN;
}

std::vector<annotation_line> wire_frame_segments(std::vector<annotation_line> *points) {
  std::vector<annotation_line> lines;
  const int npts = wire_root.npts;
  const CONTROL_POINT *control = wire_root.control;
  if (npts <= 0 || !control) return lines;
  // Wires belong to the axial plane.
  const int which_orientation = mosaic.display_3orthogonal ? ORTHO_XY : MOSAIC;
  const bool open = control[npts - 1].color != 0;
  int open_start = 0;
  for (int j = 0; j < npts; j++)
    if (control[j].color == 0) open_start = j + 1;
  int start_wire = 0;
  int color = control[0].color;
  for (int j = 0; j < npts; j++) {
    const int n = j - start_wire;
    if (n > 0 && n % 3 == 0) {
      POINT3D four[4] = {control[j - 3].point, control[j - 2].point, control[j - 1].point,
                         control[j].point};
      POINT3D curve[40];
      ComputeBezier(four, 40, curve);
      if (coordinates_on_slice(curve[0])) {
        for (int k = 0; k < 39; k++) {
          IPOINT2D a = Convert_Space_to_Pixel(which_orientation, curve[k], 1);
          IPOINT2D b = Convert_Space_to_Pixel(which_orientation, curve[k + 1], 1);
          lines.push_back({a, b, wire_colour(color)});
        }
      }
    } else if (open && j >= open_start && points && coordinates_on_slice(control[j].point)) {
      IPOINT2D a = Convert_Space_to_Pixel(which_orientation, control[j].point, 1);
      points->push_back({a, a, COLOR_RED});
    }
    if (control[j].color == 0) {
      start_wire = j + 1;
      if (j + 1 < npts) color = control[j + 1].color;
    }
  }
  return lines;
}

void draw_wire_frames(void) {
  std::vector<annotation_line> points;
  for (const annotation_line &l : wire_frame_segments(&points))
    DPRIMITIVE_DrawLine(Drawable_ImageData, l.color, l.from, l.to);
  for (const annotation_line &p : points) DPRIMITIVE_DrawPoint(Drawable_ImageData, COLOR_RED, p.from);
}
