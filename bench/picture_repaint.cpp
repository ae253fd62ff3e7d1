// Repaints of a 128x128x40 mosaic at zoom 2 with a map over it, driven in
// the program's own repaint path: full recompositions without and with
// interpolation, and cross-hair moves. Run under ZOR_EVENT_TRACE, each
// repaint leaves an "update" line with its milliseconds; an XSync follows
// each so that the server has drawn it before the next begins.
//   zor_picture_repaint ROUNDS
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "zor.h"
#include "zor_colour.h"
#include "zor_compose.h"
#include "zor_x11.h"

int main(int argc, char **argv) {
  const int rounds = argc > 1 ? atoi(argv[1]) : 25;
  const IPOINT3D dim{128, 128, 40};
  image_stack.dim = dim;
  image_stack.resolution = POINT3D{1.0f, 1.0f, 1.0f};
  image_stack.direction = POINT3D{1.0f, 1.0f, 1.0f};
  image_stack.fov = POINT3D{128.0f, 128.0f, 40.0f};
  image_stack.ijk_to_xyz = scale_and_shift_to_mat44(image_stack.resolution, POINT3D{0, 0, 0},
                                                    image_stack.direction);
  image_stack.xyz_to_ijk = invert_mat44(image_stack.ijk_to_xyz);
  image_stack.n2d = dim.x * dim.y;
  image_stack.n3d = image_stack.n2d * dim.z;
  image_stack.nt = 1;
  image_stack.resolution_t = 1.0f;
  std::vector<float> volume((size_t)image_stack.n3d), map((size_t)image_stack.n3d);
  for (int z = 0; z < dim.z; z++)
    for (int y = 0; y < dim.y; y++)
      for (int x = 0; x < dim.x; x++) {
        size_t i = (size_t)x + (size_t)dim.x * ((size_t)y + (size_t)dim.y * (size_t)z);
        float r2 = (float)((x - 64) * (x - 64) + (y - 64) * (y - 64)) + 9.0f * (float)((z - 20) * (z - 20));
        volume[i] = 1000.0f * expf(-r2 / 3000.0f) + (float)((x * 7 + y * 13 + z) % 50);
        map[i] = 12.0f * expf(-r2 / 200.0f) - 3.0f * expf(-((float)((x - 30) * (x - 30))) / 50.0f);
      }
  float *volumes[1] = {volume.data()}, *maps[1] = {map.data()};
  image_stack.Volume = volumes;
  activation_stack = image_stack;
  activation_stack.Volume = maps;
  activation_files.nt = 1;
  snprintf(activation_files.file_name, sizeof activation_files.file_name, "bench-map.nii");
  mosaic.zoom_window = 2;
  mosaic.zoom_image = 1;
  mosaic.flip_X11_y = 1;
  mosaic.Attach_ColorBar = 1;
  mosaic.display_ortho_ZY = 1;
  mosaic.mosaic_orientation = ORTHO_XY;
  graph.type = -1;
  initialize_mosaic_ovl(0);
  mosaic.fSpaceMatrix = volume.data();
  rescale_activation();
  set_activation_threshold(-1, 2.0f);
  set_activation_threshold(1, 10.0f);
  rescale_image(1);
  initialize_XWindows();
  update_XWindow_image(1);
  XSync(XConnection, False);

  const int full = REGION_IMAGES | REGION_COLORBAR | REGION_COLORBAR_LABEL | REGION_MENUS;
  for (int interpolate = 0; interpolate < 2; interpolate++) {
    mosaic.interpolate = interpolate;
    mosaic.update_regions = REGION_NEIGHBORS;
    Update_Regions();
    for (int i = 0; i < rounds; i++) {
      mosaic.update_regions = full;
      Update_Regions();
      XSync(XConnection, False);
    }
  }
  mosaic.interpolate = 0;
  mosaic.update_regions = REGION_NEIGHBORS;
  Update_Regions();
  for (int i = 0; i < rounds; i++) {
    mosaic.icross.x = 40 + i % 50;
    mosaic.icross.y = 30 + (i * 7) % 60;
    mosaic.update_regions = REGION_CROSS;
    Update_Regions();
    XSync(XConnection, False);
  }
  return 0;
}
