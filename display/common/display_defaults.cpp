// The display state at the start of a run, over the loaded stacks: what the
// image window shows first, the colour map's defaults and the empty working
// region and wire.
#include <cstring>

#include "zor_panels.h"
#include "zor_alloc.h"
#include "zor_colour.h"
#include "zor_compose.h"
#include "zor_display_state.h"
#include "zor_header.h"
#include "zor_overlay.h"

// The file name without what follows its last dot (a dot in a folder name
// does not count).
static void copy_without_extension(char *destination, const char *source) {
  strcpy(destination, source);
  char *slash = strrchr(destination, '/');
  char *dot = strrchr(destination, '.');
  if (dot && (!slash || dot > slash)) *dot = '\0';
}

void initialize_mosaic_ovl(int number_panels) {
  contrast_low = 0.0f;
  contrast_high = 1.0f;
  mosaic.display_3orthogonal = 0;
  mosaic.nx_RightPanel = 0;
  mosaic.MIP = 0;
  mosaic.MIPStatus = -1;
  activation.MIPStatus = -1;
  mosaic.stack = &image_stack;
  activation.stack = &activation_stack;

  if (number_panels < 0)
    mosaic.display_3orthogonal = 1;
  else if (number_panels > mosaic.stack->dim.z)
    number_panels = mosaic.stack->dim.z;

  mosaic.interpolate = 0;
  mosaic.display_crosshairs = 3;
  mosaic.display_grid = 0;
  activation.vector_field = 0;
  activation.display_data_type = 0;
  mosaic.display_data_type = 0;
  mosaic.transparent_overlay = 0;

  if (number_panels >= 1)
    mosaic.DimPanels.z = number_panels;
  else if (number_panels < 0)
    mosaic.DimPanels.z = 4;
  else
    mosaic.DimPanels.z = mosaic.stack->dim.z;

  IPOINT2D rough;
  compute_display_size(&rough, 1.0f);
  const IPOINT3D &dim = mosaic.stack->dim;
  mosaic.icross = IPOINT3D{dim.x / 2, dim.y / 2, dim.z / 2};

  // A negative time point addresses the anatomy stack: the display opens on
  // the first anatomy volume when there is one.
  graph.iTime = -anatomy_stack.nt;
  set_mosaic_SpaceMatrix(graph.iTime);

  activation.visible = 0;
  activation.transparent = 0;
  activation.nmaps = activation_stack.nt;
  activation.imap = 0;
  activation.data_type = 0;
  if (activation.nmaps != 0) {
    activation.visible = 1;
    if (activation_stack.data_type == DATA_MAGNITUDE) {
      activation.data_type = 1;
      activation.fSpaceMatrix = activation_stack.Volume ? activation_stack.Volume[0] : nullptr;
    } else if (activation_stack.data_type == DATA_VECTOR) {
      activation.data_type = 3;
      activation.v3SpaceMatrix = activation_stack.v3Volume ? activation_stack.v3Volume[0] : nullptr;
      activation.display_data_type = -3;
      activation.fTractMap = float_vector(activation_stack.n3d);
      memset(activation.fTractMap, 0, sizeof(float) * (size_t)activation_stack.n3d);
    } else {
      activation.data_type = 2;
      activation.fcSpaceMatrix = activation_stack.fcVolume ? activation_stack.fcVolume[0] : nullptr;
    }
    copy_without_extension(activation.map_name, activation_files.file_name);
    activation.scale_log = activation_files.scale_log;
    rescale_activation();
  }

  activation.color_scheme = 0;
  activation.color_sign = 1;
  mosaic.toggle_overlays = 0;

  initialize_overlay_records();
  initialize_selectable_text();
}
