// Regions, wires and tracts named on the command line, read once the
// display state exists: wires first, then regions, which win the toggle of
// the active set when both are given, then the tract file. A failed read
// ends the run with status 1.
#include "zor_display_state.h"
#include "zor_exit.h"
#include "zor_overlay.h"
#include "zor_startup.h"

void load_startup_overlays(void) {
  const zorview_options &o = startup_options;
  if (!o.wire_name.empty()) {
    if (read_wire_list(o.wire_name.c_str())) zor_exit(1);
    mosaic.toggle_overlays = 2;
  }
  if (!o.ovl_name.empty()) {
    if (read_overlay_list(o.ovl_name.c_str())) zor_exit(1);
    mosaic.toggle_overlays = 1;
  }
  if (!o.DTI_tract_name.empty() && read_DTI_tract_file(o.DTI_tract_name.c_str())) zor_exit(1);
}
