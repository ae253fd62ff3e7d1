// Program entry: command line or start-up file, options, then the volumes'
// headers. Loading, models, windows and the event loop follow in later
// steps, in the order written out below.
#include <cstdio>
#include <string>
#include <vector>

#include "zor.h"
#include "zor_startup.h"
#include "zorview_main.h"

char program_name[1024] = "zorview";
zorview_options startup_options;

void zorview_startup_reset(void) {
  zorview_options &o = startup_options;
  o.number_panels = 0;
  o.nPanelsX = 0;
  o.zoom_window = 0;
  o.flip_X11_y = 1;
  o.display_ortho_ZY = 1;
  o.IncludeTimeData = 1;
  o.IncludeMaps = 1;
  o.UseT = 0;
  o.UseS = 0;
  o.Verbose = 0;
  o.ovl_name.clear();
  o.wire_name.clear();
  o.DTI_tract_name.clear();
  clear_file_list(&image_files);
  clear_file_list(&anatomy_files);
  clear_file_list(&activation_files);
  my_getopt_reset();
}

namespace {

// Until the stacks are loaded, each named volume is at least described: its
// header is read, and its summary shown as a verbose load would show it.
int describe_file_list(file_list *list, int Verbose) {
  if (file_list_is_empty(list)) return 0;
  for (file_list *node = list; node; node = node->next) {
    if (read_volume_header(Verbose, node->file_name, &node->header)) return 1;
    if (!Verbose) print_volume_header_summary(&node->header);
    node->nt = node->header.nt;
    node->time_step = node->header.resolution_t;
  }
  return 0;
}

}  // namespace

int zorview_main(int argc, char **argv) {
  // 1. The argument list: any number of tokens of any length.
  zorview_startup_reset();
  std::vector<std::string> myargv;
  for (int i = 0; i < argc; i++) myargv.emplace_back(argv[i]);
  if (myargv.empty()) myargv.emplace_back("zorview");
  int myargc = static_cast<int>(myargv.size());
  snprintf(program_name, sizeof program_name, "%s", "zorview");

  // 2. An empty command line (or a lone flip) is taken from .vistrel or
  //    .zorview in the working directory.
  apply_startup_files(myargv, &myargc);

  // 3. Defaults: no time points loaded yet. (Display, graph and overlay
  //    defaults are set where those records live.)
  image_stack.nt = 0;
  anatomy_stack.nt = 0;
  activation_stack.nt = 0;

  // 4. Options. Model control files would be read here, at once.
  parse_command_options(myargv, myargc);

  // 5. Next: a named model adds its run files and maps to the lists.

  // 6. Nothing to show.
  if (file_list_is_empty(&image_files)) {
    puts("Error: no image files and no .zorview file");
    zor_exit(1);
  }

  // 7-9. Next: load the stacks in the fixed order anatomy, activation,
  //      images (the first anatomy file sets the common grid). For now the
  //      headers are read in that order, and a bad one ends the run.
  const int Verbose = startup_options.Verbose;
  if (describe_file_list(&anatomy_files, Verbose)) zor_exit(1);
  if (describe_file_list(&activation_files, Verbose)) zor_exit(1);
  if (describe_file_list(&image_files, Verbose)) zor_exit(1);

  // 10. The shortest image file decides whether a default model can run.
  int min_nt = 100000;
  for (file_list *node = &image_files; node; node = node->next)
    if (node->nt < min_nt) min_nt = node->nt;
  (void)min_nt;

  // Next, in this order: the warning for voxel axes not parallel to the
  // coordinates; the default model when every image file has more than 2
  // time points; the display state; wires, overlays and tracts; the graph;
  // the windows and the first picture; then the event loop, which only a
  // confirmed quit ends.
  return 0;
}
