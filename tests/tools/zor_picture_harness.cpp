// Opens the image window over volumes read from raw float files (x fastest,
// then y, then z), with an optional map and region, and runs the event loop:
// the picture as the program composes it, on data whose values a test knows.
//   zor_picture_harness NX NY NZ VOLUME.raw [options]
// Options: -r RX RY RZ  voxel sizes        -m N   panels (negative: 3 planes)
//          -x N  panels across             -z N   zoom
//          -y    no vertical flip          -Y     YZ as third plane
//          -a MAP.raw  linear map          -log   the map holds -log10(p)
//          -lo V -hi V  thresholds         -s N   colour scheme
//          -sign N  colour sign            -T     transparent map
//          -o FILE  region file            -oc N  region colour
//          -ot      transparent regions    -i     interpolation
//          -c N  cross-hair mode           -g N   grid and labels
//          -cross X Y Z  cross-hair voxel  -w FILE wire file
//          -vf VECTORS.raw  vector map (3 floats a voxel), drawn as a field
//          -t RT  seconds per time point   -mip   maximum-intensity projections
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "zor.h"
#include "zor_colour.h"
#include "zor_compose.h"
#include "zor_x11.h"

namespace {

std::vector<float> read_floats(const char *path, size_t count) {
  std::vector<float> values(count, 0.0f);
  FILE *f = fopen(path, "rb");
  if (!f || fread(values.data(), sizeof(float), count, f) != count) {
    fprintf(stderr, "cannot read %zu floats from %s\n", count, path);
    exit(2);
  }
  fclose(f);
  return values;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 5) return 2;
  image_stack.dim = IPOINT3D{atoi(argv[1]), atoi(argv[2]), atoi(argv[3])};
  const char *volume_path = argv[4];
  image_stack.resolution = POINT3D{1.0f, 1.0f, 1.0f};
  image_stack.direction = POINT3D{1.0f, 1.0f, 1.0f};
  image_stack.nt = 1;
  image_stack.resolution_t = 1.0f;
  mosaic.zoom_window = 0;
  mosaic.zoom_image = 1;
  mosaic.flip_X11_y = 1;
  mosaic.Attach_ColorBar = 1;
  mosaic.display_ortho_ZY = 1;
  mosaic.mosaic_orientation = ORTHO_XY;
  int number_panels = 0, nPanelsX = 0, scheme = 0, sign = 1, transparent = 0, log_map = 0;
  int region_colour = COLOR_CYAN, transparent_regions = 0, interpolate = 0, crosshairs = 3;
  int grid = 0;
  bool have_low = false, have_high = false, have_cross = false;
  float low = 0, high = 0;
  IPOINT3D cross{};
  const char *map_path = nullptr, *region_path = nullptr, *wire_path = nullptr,
             *vector_path = nullptr;
  for (int i = 5; i < argc; i++) {
    const char *a = argv[i];
    auto next = [&](void) { return i + 1 < argc ? argv[++i] : (char *)"0"; };
    if (!strcmp(a, "-r") && i + 3 < argc) {
      float rx = (float)atof(next()), ry = (float)atof(next()), rz = (float)atof(next());
      image_stack.resolution = POINT3D{rx, ry, rz};
    } else if (!strcmp(a, "-m")) number_panels = atoi(next());
    else if (!strcmp(a, "-x")) nPanelsX = atoi(next());
    else if (!strcmp(a, "-z")) mosaic.zoom_window = atoi(next());
    else if (!strcmp(a, "-y")) mosaic.flip_X11_y = 0;
    else if (!strcmp(a, "-Y")) mosaic.display_ortho_ZY = 0;
    else if (!strcmp(a, "-a")) map_path = next();
    else if (!strcmp(a, "-log")) log_map = 1;
    else if (!strcmp(a, "-lo")) have_low = true, low = (float)atof(next());
    else if (!strcmp(a, "-hi")) have_high = true, high = (float)atof(next());
    else if (!strcmp(a, "-s")) scheme = atoi(next());
    else if (!strcmp(a, "-sign")) sign = atoi(next());
    else if (!strcmp(a, "-T")) transparent = 1;
    else if (!strcmp(a, "-o")) region_path = next();
    else if (!strcmp(a, "-oc")) region_colour = atoi(next());
    else if (!strcmp(a, "-ot")) transparent_regions = 1;
    else if (!strcmp(a, "-i")) interpolate = 1;
    else if (!strcmp(a, "-mip")) mosaic.MIP = 1;
    else if (!strcmp(a, "-c")) crosshairs = atoi(next());
    else if (!strcmp(a, "-g")) grid = atoi(next());
    else if (!strcmp(a, "-w")) wire_path = next();
    else if (!strcmp(a, "-vf")) vector_path = next();
    else if (!strcmp(a, "-t")) image_stack.resolution_t = (float)atof(next());
    else if (!strcmp(a, "-cross")) {
      have_cross = true;
      cross.x = atoi(next());
      cross.y = atoi(next());
      cross.z = atoi(next());
    }
  }
  image_stack.ijk_to_xyz =
      scale_and_shift_to_mat44(image_stack.resolution, POINT3D{0, 0, 0}, image_stack.direction);
  image_stack.xyz_to_ijk = invert_mat44(image_stack.ijk_to_xyz);
  image_stack.origin = POINT3D{0, 0, 0};
  image_stack.fov = POINT3D{image_stack.dim.x * image_stack.resolution.x,
                            image_stack.dim.y * image_stack.resolution.y,
                            image_stack.dim.z * image_stack.resolution.z};
  image_stack.n2d = image_stack.dim.x * image_stack.dim.y;
  image_stack.n3d = image_stack.n2d * image_stack.dim.z;
  image_stack.data_type = 0;
  static std::vector<float> volume = read_floats(volume_path, (size_t)image_stack.n3d);
  static float *volumes[1] = {volume.data()};
  image_stack.Volume = volumes;

  static std::vector<float> map;
  static float *maps[1];
  static std::vector<POINT3D> vectors;
  static POINT3D *vector_volumes[1];
  if (map_path || vector_path) {
    activation_stack = image_stack;
    activation_stack.Volume = nullptr;
    if (vector_path) {
      std::vector<float> flat = read_floats(vector_path, 3 * (size_t)image_stack.n3d);
      vectors.resize((size_t)image_stack.n3d);
      memcpy(vectors.data(), flat.data(), flat.size() * sizeof(float));
      vector_volumes[0] = vectors.data();
      activation_stack.v3Volume = vector_volumes;
      activation_stack.data_type = DATA_VECTOR;
    } else {
      map = read_floats(map_path, (size_t)image_stack.n3d);
      maps[0] = map.data();
      activation_stack.Volume = maps;
      activation_stack.data_type = DATA_MAGNITUDE;
    }
    activation_stack.nt = 1;
    snprintf(activation_files.file_name, sizeof activation_files.file_name, "%s",
             vector_path ? vector_path : map_path);
    activation_files.nt = 1;
    activation_files.scale_log = log_map;
  }

  graph.type = -1;
  const int mip = mosaic.MIP;
  initialize_mosaic_ovl(number_panels);
  mosaic.MIP = mip;
  mosaic.DimPanels.x = nPanelsX;
  graph.iTime = 0;
  set_mosaic_SpaceMatrix(0);
  graph.iLastTime = 0;
  if (have_cross) mosaic.icross = cross;
  mosaic.interpolate = interpolate;
  mosaic.display_crosshairs = crosshairs;
  mosaic.display_grid = grid;
  mosaic.transparent_overlay = transparent_regions;
  if (activation.nmaps) {
    rescale_activation();
    activation.color_scheme = scheme;
    activation.color_sign = sign;
    activation.transparent = transparent;
    if (have_low) set_activation_threshold(-1, low);
    if (have_high) set_activation_threshold(1, high);
    if (vector_path) activation.vector_field = 1;
  }
  // The gray window comes from the whole volume, before any region.
  rescale_image(1);
  if (region_path) {
    ovl_root.color = (int16_t)region_colour;
    if (read_overlay_file(region_path, &ovl_root)) return 3;
    for (int i = 0; i < image_stack.n3d; i++)
      if (overlay_map.weight[i] != 0.0f) ovl_root.npts++;
  }
  if (wire_path && read_wire_file(wire_path, &wire_root, 0)) return 3;

  initialize_XWindows();
  update_XWindow_image(1);
  mosaic.update_regions = REGION_INFO;
  Update_Regions();
  loop_X_events();
  zor_exit(1);
}
