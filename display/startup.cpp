// Program entry: command line or start-up file, options and model control
// files, the model's files, the stacks, the default model, overlays, the
// graph record, the windows and the event loop, in the order written out
// below.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "zor.h"
#include "zor_compose.h"
#include "zor_startup.h"
#include "zor_x11.h"
#include "zorview_main.h"

char program_name[1024] = "zorview";
zorview_options startup_options;
int (*zorview_after_loading)(void) = nullptr;

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
  for (data_stack *stack : {&image_stack, &anatomy_stack, &activation_stack}) {
    free_stack_data(stack->nt, stack);
    memset(stack, 0, sizeof *stack);
  }
  read_SpaceTime_data_reset();
  roi_files_reset();
  rem_view_reset();
  srtm_view_reset();
  graph_reset();
  graph_actions_reset();
  image_actions_reset();
  action_select_slices_reset();
  compute_display_size_reset();
  my_getopt_reset();
  glm_view_reset();
  GLM_engine_reset();
  FT_graph_data_reset();
  selectable_text_reset();
}

namespace {

const zorview_options &o_flags() { return startup_options; }

// The linear model with no events: a baseline for each image file.
void set_up_default_model(int nruns) {
  // The model holds at most GLM_MAX_RUNS runs; longer lists open without
  // one, as the user asked for none.
  if (nruns > GLM_MAX_RUNS) {
    graph.time_model = 0;
    return;
  }
  initialize_TimeSeriesModel(MODEL_GLM);
  if (GLM_initialize(image_stack.nt, nruns)) {
    graph.time_model = 0;
    return;
  }
  int run = 0;
  for (file_list *node = &image_files; node && node->file_name[0]; node = node->next, run++)
    GLM_initialize_run(run, (float)node->start_image, (float)node->end_image, node->time_step);
  glm_model.shape = SHAPE_GAMMA;
  GLM_define_basis_functions();
  if (GLM_input.notify) GLM_describe_basis_functions();
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
  graph.freq_domain = 0;
  graph.time_model = 0;
  strcpy(ROI_file_name, ".roi");

  // 4. Options. Model control files are read here, at once.
  parse_command_options(myargv, myargc);

  // 5. A named model adds its run files and maps to the lists.
  if (TimeSeriesModel_is_initialized()) {
    int model_flags[5] = {o_flags().IncludeTimeData, o_flags().IncludeMaps, o_flags().UseT, o_flags().UseS,
                          o_flags().Verbose};
    if (define_TimeSeriesModel(5, model_flags)) zor_exit(1);
  }

  // 6. Nothing to show.
  if (file_list_is_empty(&image_files)) {
    puts("Error: no image files and no .zorview file");
    zor_exit(1);
  }

  // 7-9. The stacks, in the fixed order anatomy, activation, images: the
  //      first file loaded sets the common grid for all of them.
  const int Verbose = startup_options.Verbose;
  int nfiles = 0, nruns = 0;
  if (!file_list_is_empty(&anatomy_files) &&
      read_SpaceTime_data(Verbose, 1, &anatomy_stack, &anatomy_files, &nfiles))
    zor_exit(1);
  if (!file_list_is_empty(&activation_files) &&
      read_SpaceTime_data(Verbose, 1, &activation_stack, &activation_files, &nfiles))
    zor_exit(1);
  for (file_list *node = &activation_files; node && node->file_name[0]; node = node->next)
    if (node->scale_log == 2) convert_activation_scale(node);
  if (read_SpaceTime_data(Verbose, 1, &image_stack, &image_files, &nruns)) zor_exit(1);

  // 10. The shortest image file decides whether a default model can run.
  int min_nt = 100000;
  for (file_list *node = &image_files; node; node = node->next)
    if (node->nt < min_nt) min_nt = node->nt;

  // 11. Wire frames assume voxel axes parallel to the coordinate axes.
  if (image_stack.off_diagonal) {
    puts("Warning: the data has voxel indices             (i,j,k)");
    puts("         that are not parallel with coordinates (x,y,z).");
    puts("         The coordinates will display correctly, but");
    puts("         wire frames won't work.");
  }

  // 12. Without a named model, series of three or more points each open
  //     under an empty linear model over their runs.
  if (!TimeSeriesModel_is_initialized()) {
    if (min_nt > 2)
      set_up_default_model(nruns);
    else
      graph.time_model = 0;
  }

  // 13. The display state, with what the options asked for.
  mosaic.zoom_window = startup_options.zoom_window;
  mosaic.zoom_image = 1;
  mosaic.pan = IPOINT3D{0, 0, 0};
  mosaic.flip_X11_y = startup_options.flip_X11_y;
  mosaic.Attach_ColorBar = 1;
  mosaic.display_ortho_ZY = startup_options.display_ortho_ZY;
  mosaic.mosaic_orientation = ORTHO_XY;
  graph.type = -1;
  initialize_mosaic_ovl(startup_options.number_panels);
  mosaic.DimPanels.x = startup_options.nPanelsX;

  // 14. Wires, overlays and tracts named on the command line.
  load_startup_overlays();

  // 16. The graph record: no graph window yet.
  initialize_graph();

  // 17. A stack without a time step counts in units of one.
  if (graph.time_model == 2) mosaic.stack->resolution_t = 0.5f;
  if (mosaic.stack->resolution_t == 0.0f) mosaic.stack->resolution_t = 1.0f;

  // A program without windows (the figure renderer) takes over here, with
  // everything loaded and set as the viewer would have it.
  if (zorview_after_loading) zor_exit(zorview_after_loading());

  // 18. The windows and the first picture.
  initialize_XWindows();
  rescale_image(1);
  update_XWindow_image(1);
  fill_graph_vector();
  graph.update_regions |= 1;
  mosaic.update_regions = 1;
  Update_Regions();

  // 19. Only a confirmed quit ends the loop.
  loop_X_events();
  zor_exit(1);
}
