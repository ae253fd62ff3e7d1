// Opens the viewer's windows over an empty synthetic stack and runs the
// event loop, without reading any file: the start-up order of the program
// from the layout on, for end-to-end tests of the window layer.
//   zor_window_harness NX NY NZ [-r RX RY RZ] [-m N] [-x N] [-z N] [-3] [-y] [-Y]
#include <cstdlib>
#include <cstring>

#include "zor.h"
#include "zor_x11.h"

int main(int argc, char **argv) {
  if (argc < 4) return 2;
  int number_panels = 0, nPanelsX = 0;
  image_stack.dim = IPOINT3D{atoi(argv[1]), atoi(argv[2]), atoi(argv[3])};
  image_stack.resolution = POINT3D{1.0f, 1.0f, 1.0f};
  image_stack.direction = POINT3D{1.0f, 1.0f, 1.0f};
  image_stack.nt = 1;
  mosaic.zoom_window = 0;
  mosaic.zoom_image = 1;
  mosaic.flip_X11_y = 1;
  mosaic.Attach_ColorBar = 1;
  mosaic.display_ortho_ZY = 1;
  mosaic.mosaic_orientation = ORTHO_XY;
  for (int i = 4; i < argc; i++) {
    const char *a = argv[i];
    if (!strcmp(a, "-r") && i + 3 < argc) {
      image_stack.resolution =
          POINT3D{(float)atof(argv[i + 1]), (float)atof(argv[i + 2]), (float)atof(argv[i + 3])};
      i += 3;
    } else if (!strcmp(a, "-m") && i + 1 < argc) {
      number_panels = atoi(argv[++i]);
    } else if (!strcmp(a, "-x") && i + 1 < argc) {
      nPanelsX = atoi(argv[++i]);
      if (nPanelsX < 1) nPanelsX = 1;
    } else if (!strcmp(a, "-z") && i + 1 < argc) {
      mosaic.zoom_window = atoi(argv[++i]);
      if (mosaic.zoom_window < 0) mosaic.zoom_window = 0;
    } else if (!strcmp(a, "-3")) {
      number_panels = -1;
    } else if (!strcmp(a, "-y")) {
      mosaic.flip_X11_y = !mosaic.flip_X11_y;
    } else if (!strcmp(a, "-Y")) {
      mosaic.display_ortho_ZY = !mosaic.display_ortho_ZY;
    }
  }
  image_stack.ijk_to_xyz =
      scale_and_shift_to_mat44(image_stack.resolution, POINT3D{0, 0, 0}, image_stack.direction);

  image_stack.n2d = image_stack.dim.x * image_stack.dim.y;
  image_stack.n3d = image_stack.n2d * image_stack.dim.z;
  graph.type = -1;
  initialize_mosaic_ovl(number_panels);
  mosaic.DimPanels.x = nPanelsX;

  initialize_XWindows();
  update_XWindow_image(1);
  graph.update_regions |= 1;
  mosaic.update_regions = 1;
  Update_Regions();
  loop_X_events();
  zor_exit(1);
}
