// A small shown stack with samples in every time point, laid out as a
// mosaic at zoom 2 without an X server, with the graph and overlay records
// fresh, for tests of the graph and of the image-window actions.
#ifndef ZOR_GRAPH_FIXTURE_H
#define ZOR_GRAPH_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>

#include "zor.h"
#include "zor_compose.h"

class GraphFixture : public ::testing::Test {
 protected:
  // The value of voxel (x, y, z) at time t.
  std::function<float(int, int, int, int)> value = [](int x, int y, int z, int t) {
    return (float)(x + 10 * y + 100 * z + 1000 * t);
  };

  void make_stack(IPOINT3D dim, int nt, POINT3D resolution = POINT3D{1.0f, 1.0f, 1.0f},
                  POINT3D origin = POINT3D{0.0f, 0.0f, 0.0f}) {
    release_stacks();
    data_stack &s = image_stack;
    s.dim = dim;
    s.resolution = resolution;
    s.direction = POINT3D{1.0f, 1.0f, 1.0f};
    s.origin = origin;
    s.ijk_to_xyz = scale_and_shift_to_mat44(resolution, origin, s.direction);
    s.xyz_to_ijk = invert_mat44(s.ijk_to_xyz);
    s.nt = nt;
    s.n2d = dim.x * dim.y;
    s.n3d = dim.x * dim.y * dim.z;
    s.resolution_t = 1.0f;
    s.data_type = 0;
    allocate_stack_data(nt, s.n3d, &s);
    fill_values();
    mosaic.stack = &image_stack;
    mosaic.Attach_ColorBar = 1;
    mosaic.display_ortho_ZY = 1;
    mosaic.flip_X11_y = 1;
    mosaic.zoom_window = 2;
    mosaic.display_crosshairs = 3;
    mosaic.icross = IPOINT3D{dim.x / 2, dim.y / 2, dim.z / 2};
    compute_display_size_reset();
    IPOINT2D rough;
    compute_display_size(&rough, 1.0f);
    graph.iTime = 0;
    set_mosaic_SpaceMatrix(0);
    initialize_overlay_records();
  }

  void fill_values() {
    data_stack &s = image_stack;
    for (int t = 0; t < s.nt; t++)
      for (int z = 0; z < s.dim.z; z++)
        for (int y = 0; y < s.dim.y; y++)
          for (int x = 0; x < s.dim.x; x++)
            s.Volume[t][x + s.dim.x * (y + s.dim.y * z)] = value(x, y, z, t);
  }

  // A graph of this type with a data area, as an open window would have.
  void open_graph(int type, int space_model = 0) {
    graph.size = IPOINT2D{400, 300};
    graph.type = type;
    graph.space_model = space_model;
    initialize_graph();
  }

  void SetUp() override {
    release_stacks();
    free(mosaic.display_slice);
    mosaic = mosaic_display{};
    activation = Activation{};
    graph_reset();
    graph = graph_struct{};
    graph_actions_reset();
    image_actions_reset();
    rescale_image_reset();
    roi_files_reset();
    contrast_low = 0.0f;
    contrast_high = 1.0f;
    image_scale_min = 0.0f;
    image_scale_max = 1.0f;
    initialize_graph();  // the record's defaults, as at start-up
  }

  void TearDown() override {
    overlay_map_reset();
    ovl_root_reset();
    wire_root_reset();
    graph_reset();
    graph = graph_struct{};
    free(mosaic.display_slice);
    mosaic = mosaic_display{};
    activation = Activation{};
    release_stacks();
  }

  static void release_stacks() {
    for (data_stack *s : {&image_stack, &anatomy_stack, &activation_stack}) {
      free_stack_data(s->nt, s);
      memset(s, 0, sizeof *s);
    }
  }
};

#endif
