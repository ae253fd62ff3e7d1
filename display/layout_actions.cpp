// Keys that change the layout of the image window: mode and zoom. Each
// ends with a rebuild of the window.
#include "zor_x11.h"

void action_key_3(void) {
  if (mosaic.stack->dim.z == 1 || mosaic.MIP) return;
  mosaic.display_3orthogonal = !mosaic.display_3orthogonal;
  mosaic.zoom_window += mosaic.display_3orthogonal ? 1 : -1;
  if (mosaic.zoom_window < 1) mosaic.zoom_window = 1;
  update_XWindow_image(1);
}

void action_key_z(void) {
  mosaic.zoom_window -= 1;
  if (mosaic.zoom_window == 0) mosaic.zoom_window = 1;
  update_XWindow_image(1);
}

void action_key_Z(void) {
  mosaic.zoom_window += 1;
  update_XWindow_image(1);
}
