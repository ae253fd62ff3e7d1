// Position labels of the planes and tick marks every ten voxels along
// their edges.
#include <cmath>
#include <cstdio>

#include "zor_annotate.h"
#include "zor_compose.h"
#include "zor_geometry.h"
#include "zor_x11.h"

namespace {

// Whether the tick step was announced, in the three-plane view and in the
// mosaic.
int announced_ortho = 0, announced_mosaic = 0;

float &axis_ref(POINT3D &p, int a) { return a == 0 ? p.x : (a == 1 ? p.y : p.z); }
float axis_value(const POINT3D &p, int a) { return a == 0 ? p.x : (a == 1 ? p.y : p.z); }

int orientation_of(int which_orientation) {
  return which_orientation == MOSAIC ? mosaic.mosaic_orientation : which_orientation;
}

// Ticks along axis a, at both edges of axis b.
std::vector<annotation_line> ticks(int which_orientation, int istep, int iZ, int a, int b) {
  std::vector<annotation_line> lines;
  if (istep < 1) return lines;
  const data_stack *s = mosaic.stack;
  const float o = axis_value(s->origin, a);
  const float end = o + axis_value(s->fov, a) * axis_value(s->direction, a);
  const float rMin = fminf(o, end), rMax = fmaxf(o, end);
  // A field of view that is not a number, infinite, or too wide for the
  // float steps to advance gets no ticks.
  if (!((rMax - rMin) / (float)istep < 100000.0f) || !(rMax + (float)istep > rMax)) return lines;
  POINT3D base;
  if (iZ < 0) {
    base = Convert_Voxel_to_Space(mosaic.icross, s);
  } else {
    IPOINT3D voxel{0, 0, 0};
    switch (mosaic.mosaic_orientation) {
      case ORTHO_ZY:
      case ORTHO_YZ: voxel.x = iZ; break;
      case ORTHO_XZ: voxel.y = iZ; break;
      default: voxel.z = iZ; break;
    }
    base = Convert_Voxel_to_Space(voxel, s);
  }
  const float rb = axis_value(s->resolution, b) * axis_value(s->direction, b);
  const float ob = axis_value(s->origin, b);
  const float fb = axis_value(s->fov, b) * axis_value(s->direction, b);
  const float starts[2] = {ob - rb / 2.0f, ob + fb - rb / 2.0f};
  const float steps[2] = {rb, -rb};
  for (float pos = truncf(rMin / (float)istep) * (float)istep - (float)istep; pos < rMax;
       pos += (float)istep) {
    if (!(pos > rMin)) continue;
    for (int edge = 0; edge < 2; edge++) {
      POINT3D p1 = base, p2 = base;
      axis_ref(p1, a) = pos;
      axis_ref(p2, a) = pos;
      axis_ref(p1, b) = starts[edge];
      axis_ref(p2, b) = starts[edge] + steps[edge];
      lines.push_back({Convert_Space_to_Pixel(which_orientation, p1, 1),
                       Convert_Space_to_Pixel(which_orientation, p2, 1), COLOR_CYAN});
    }
  }
  return lines;
}

std::string label_text(float value) {
  char text[64];
  snprintf(text, sizeof text, value > 0.0f ? "+%g" : "%g", value);
  return text;
}

// The label of a plane: the reference voxel at its far corner, the space
// coordinate along its normal.
annotation_text plane_label(int which_slice, int orientation, int slice) {
  const IPOINT3D &d = mosaic.stack->dim;
  const bool flip = mosaic.flip_X11_y;
  IPOINT3D voxel;
  int normal;
  switch (orientation) {
    case ORTHO_XZ:
      voxel = IPOINT3D{d.x, slice, flip ? 0 : d.z};
      normal = 1;
      break;
    case ORTHO_ZY:
      voxel = IPOINT3D{slice, flip ? 0 : d.y, d.z};
      normal = 0;
      break;
    case ORTHO_YZ:
      voxel = IPOINT3D{slice, d.y, flip ? 0 : d.z};
      normal = 0;
      break;
    default:
      voxel = IPOINT3D{d.x, flip ? 0 : d.y, slice};
      normal = 2;
      break;
  }
  POINT3D space = Convert_Voxel_to_Space(voxel, mosaic.stack);
  IPOINT2D at = Convert_rVoxel_to_Pixel(
      which_slice, POINT3D{(float)voxel.x, (float)voxel.y, (float)voxel.z}, 0);
  return annotation_text{IPOINT2D{at.x - 30, at.y - 8}, label_text(axis_value(space, normal))};
}

// Ten voxels, from the voxel side the display uses; held within int.
int tick_step(void) {
  const float step = truncf(display_voxel_size(mosaic.stack).x * 10.0f);
  return step < 1.0e9f ? (int)step : 1000000000;
}

void draw_lines(const std::vector<annotation_line> &lines) {
  for (const annotation_line &l : lines)
    DPRIMITIVE_DrawLine(Drawable_ImageData, l.color, l.from, l.to);
}

void draw_texts(const std::vector<annotation_text> &texts) {
  for (const annotation_text &t : texts) {
    std::string copy = t.text;
    DPRIMITIVE_DrawText(Drawable_ImageData, COLOR_CYAN, t.at, copy.data());
  }
}

}  // namespace

std::vector<annotation_line> horizontal_tick_segments(int which_orientation, int istep, int iZ) {
  int a, b;
  switch (orientation_of(which_orientation)) {
    case ORTHO_ZY: a = 2, b = 1; break;
    case ORTHO_XZ: a = 0, b = 2; break;
    case ORTHO_YZ: a = 1, b = 2; break;
    default: a = 0, b = 1; break;
  }
  return ticks(which_orientation, istep, iZ, a, b);
}

std::vector<annotation_line> vertical_tick_segments(int which_orientation, int istep, int iZ) {
  int a, b;
  switch (orientation_of(which_orientation)) {
    case ORTHO_ZY: a = 1, b = 2; break;
    case ORTHO_XZ: a = 2, b = 0; break;
    case ORTHO_YZ: a = 2, b = 1; break;
    default: a = 1, b = 0; break;
  }
  return ticks(which_orientation, istep, iZ, a, b);
}

void horizontal_ticks_on_axis(int which_orientation, int istep, int iZ) {
  draw_lines(horizontal_tick_segments(which_orientation, istep, iZ));
}

void vertical_ticks_on_axis(int which_orientation, int istep, int iZ) {
  draw_lines(vertical_tick_segments(which_orientation, istep, iZ));
}

std::vector<annotation_text> plane_labels_ortho(void) {
  const IPOINT3D &c = mosaic.icross;
  const int third = mosaic.display_ortho_ZY ? ORTHO_ZY : ORTHO_YZ;
  return {plane_label(ORTHO_XY, ORTHO_XY, c.z), plane_label(ORTHO_XZ, ORTHO_XZ, c.y),
          plane_label(third, third, c.x)};
}

std::vector<annotation_text> plane_labels_mosaic(void) {
  std::vector<annotation_text> texts;
  for (int j = 0; j < mosaic.DisplayVolumeDim.z; j++)
    if (mosaic.display_slice[j])
      texts.push_back(plane_label(MOSAIC, mosaic.mosaic_orientation, j));
  return texts;
}

void label_planes_reset(void) {
  announced_ortho = 0;
  announced_mosaic = 0;
}

void label_planes_ortho(void) {
  const int grid = mosaic.display_grid;
  if (grid == 1 || grid == 3) draw_texts(plane_labels_ortho());
  if (grid == 2 || grid == 3) {
    const int istep = tick_step();
    if (grid == 2 && !announced_ortho) {
      printf("label step size = %d mm\n", istep);
      fflush(stdout);
      announced_ortho = 1;
    }
    const int third = mosaic.display_ortho_ZY ? ORTHO_ZY : ORTHO_YZ;
    for (int panel : {(int)ORTHO_XY, third, (int)ORTHO_XZ}) {
      horizontal_ticks_on_axis(panel, istep, -1);
      vertical_ticks_on_axis(panel, istep, -1);
    }
  }
}

void label_planes_mosaic(void) {
  const int grid = mosaic.display_grid;
  const int istep = tick_step();
  if (grid == 2 && !announced_mosaic) {
    printf("label step size = %d mm\n", istep);
    fflush(stdout);
    announced_mosaic = 1;
  }
  for (int j = 0; j < mosaic.DisplayVolumeDim.z; j++) {
    if (!mosaic.display_slice[j]) continue;
    if (grid == 1 || grid == 3) draw_texts({plane_label(MOSAIC, mosaic.mosaic_orientation, j)});
    if (grid == 2 || grid == 3) {
      horizontal_ticks_on_axis(MOSAIC, istep, j);
      vertical_ticks_on_axis(MOSAIC, istep, j);
    }
  }
}
