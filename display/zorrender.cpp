// zorrender: the image window's picture written to a PNG file, without an
// X server. The viewer's own start-up reads the files and options; this
// program then lays out, composes and draws what the window would show.
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "zor.h"
#include "zor_colour.h"
#include "zor_compose.h"
#include "zor_picture.h"
#include "zor_startup.h"
#include "zorview_main.h"

namespace {

const int kMaxZoom = 16;

struct render_request {
  std::string out;
  int zoom = 0;
  int interpolate = 0;
  std::vector<int> slices;
  bool have_cross = false;
  IPOINT3D cross{};
  bool have_volume = false;
  int volume = 0;
  bool have_thresholds = false;
  float low = 0.0f, high = 0.0f;
  std::string region, wire;
};

render_request request;

const char *kUsage =
    "Usage: zorrender [the viewer's options and files] --out figure.png [options]\n"
    "Writes the picture of zorview's image window for the same files and\n"
    "settings as a PNG file, without an X server: the gray image, the map with\n"
    "its colour scheme and thresholds, regions, wire frames, cross-hairs and\n"
    "the colorbar with its tick marks. Text (plane labels, the colorbar's\n"
    "numbers, menus and the read-out) is left out: the picture is the image\n"
    "region and the colorbar beside it, without the menus.\n"
    "  --out FILE            the PNG file to write (replaced only when complete)\n"
    "  --zoom N              zoom 1 to 16 (default: as the viewer chooses for a\n"
    "                        1920x1200 screen)\n"
    "  --mosaic              a mosaic of slices (overrides -m)\n"
    "  --planes              the three orthogonal planes (overrides -m)\n"
    "  --slices LIST         the mosaic's slices, 0-based, e.g. 3,4,10\n"
    "  --cross X,Y,Z         the cross-hair voxel (default: the volume's centre)\n"
    "  --volume T            the time point shown, 0-based (default 0)\n"
    "  --map-threshold L,H   the map's low and high thresholds, L < H\n"
    "  --interpolate         interpolated zoom, as Ctrl-i in the viewer\n"
    "  --region FILE         a region file (voxel list), shown in cyan\n"
    "  --wire FILE           a wire file (control points), shown as drawn\n"
    "  --help                this text\n"
    "All other words go to the viewer's option reader (zorview -h lists them).\n";

[[noreturn]] void fail(const std::string &message) {
  printf("Error: %s\n", message.c_str());
  zor_exit(1);
}

bool parse_int(const std::string &text, int *value) {
  if (text.empty()) return false;
  errno = 0;
  char *end = nullptr;
  long v = strtol(text.c_str(), &end, 10);
  if (errno || *end || v < INT_MIN || v > INT_MAX) return false;
  *value = (int)v;
  return true;
}

bool parse_float(const std::string &text, float *value) {
  if (text.empty()) return false;
  errno = 0;
  char *end = nullptr;
  float v = strtof(text.c_str(), &end);
  if (errno || *end || !(v == v)) return false;
  *value = v;
  return true;
}

std::vector<std::string> split(const std::string &text) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (true) {
    size_t comma = text.find(',', start);
    parts.push_back(text.substr(start, comma == std::string::npos ? std::string::npos
                                                                   : comma - start));
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  return parts;
}

// Takes the renderer's own options out of the argument list; what is left
// goes to the viewer's start-up.
std::vector<std::string> take_own_options(int argc, char **argv) {
  std::vector<std::string> rest{"zorview"};
  bool mosaic = false, planes = false;
  for (int i = 1; i < argc; i++) {
    const std::string a = argv[i];
    auto value = [&]() -> std::string {
      if (i + 1 >= argc) fail("option " + a + " needs a value");
      return argv[++i];
    };
    if (a == "--help" || a == "-help") {
      fputs(kUsage, stdout);
      zor_exit(0);
    } else if (a == "--out") {
      request.out = value();
    } else if (a == "--zoom") {
      std::string v = value();
      if (!parse_int(v, &request.zoom) || request.zoom < 1 || request.zoom > kMaxZoom)
        fail("--zoom " + v + ": the zoom must be an integer from 1 to 16");
    } else if (a == "--mosaic") {
      mosaic = true;
    } else if (a == "--planes") {
      planes = true;
    } else if (a == "--slices") {
      std::string v = value();
      for (const std::string &s : split(v)) {
        int k;
        if (!parse_int(s, &k) || k < 0) fail("--slices " + v + ": expected slice numbers 0, 1, ...");
        request.slices.push_back(k);
      }
    } else if (a == "--cross") {
      std::string v = value();
      std::vector<std::string> p = split(v);
      if (p.size() != 3 || !parse_int(p[0], &request.cross.x) ||
          !parse_int(p[1], &request.cross.y) || !parse_int(p[2], &request.cross.z))
        fail("--cross " + v + ": expected three voxel indices X,Y,Z");
      request.have_cross = true;
    } else if (a == "--volume") {
      std::string v = value();
      if (!parse_int(v, &request.volume) || request.volume < 0)
        fail("--volume " + v + ": expected a time point 0, 1, ...");
      request.have_volume = true;
    } else if (a == "--map-threshold") {
      std::string v = value();
      std::vector<std::string> p = split(v);
      if (p.size() != 2 || !parse_float(p[0], &request.low) || !parse_float(p[1], &request.high) ||
          !(request.low < request.high))
        fail("--map-threshold " + v + ": expected two numbers LOW,HIGH with LOW < HIGH");
      request.have_thresholds = true;
    } else if (a == "--region") {
      request.region = value();
    } else if (a == "--wire") {
      request.wire = value();
    } else if (a == "--interpolate") {
      request.interpolate = 1;
    } else if (a.size() > 2 && a[0] == '-' && a[1] == '-') {
      fail("unknown option " + a + " (zorrender --help lists the options)");
    } else {
      rest.push_back(a);
    }
  }
  if (request.out.empty()) fail("no output file: give --out figure.png");
  if (mosaic && planes) fail("--mosaic and --planes exclude each other");
  if (planes && !request.slices.empty()) fail("--slices needs a mosaic, not --planes");
  // The layout options go last, so that they win over any -m before them.
  if (planes) {
    rest.insert(rest.end(), {"-m", "-1"});
  } else if (!request.slices.empty()) {
    rest.insert(rest.end(), {"-m", std::to_string(request.slices.size())});
  } else if (mosaic) {
    rest.insert(rest.end(), {"-m", "0"});
  }
  if (request.zoom > 0) rest.insert(rest.end(), {"-z", std::to_string(request.zoom)});
  return rest;
}

int render_picture(void) {
  const data_stack *stack = mosaic.stack;
  if (request.have_volume) {
    if (request.volume >= stack->nt)
      fail("--volume " + std::to_string(request.volume) + ": the images have " +
           std::to_string(stack->nt) + " time points (0 to " + std::to_string(stack->nt - 1) +
           ")");
    set_mosaic_SpaceMatrix(request.volume);
  }
  if (request.have_cross) {
    const IPOINT3D &d = stack->dim, &c = request.cross;
    if (c.x < 0 || c.y < 0 || c.z < 0 || c.x >= d.x || c.y >= d.y || c.z >= d.z)
      fail("--cross: voxel outside the volume of " + std::to_string(d.x) + "x" +
           std::to_string(d.y) + "x" + std::to_string(d.z));
    mosaic.icross = c;
  }
  if (request.have_thresholds) {
    if (!activation.nmaps || !activation.visible) fail("--map-threshold needs a map (-a, -p or -A)");
    set_activation_threshold(-1, request.low);
    set_activation_threshold(1, request.high);
  }
  mosaic.interpolate = request.interpolate;
  // The gray window comes from the whole volume, before any region.
  rescale_image(1);
  if (!request.region.empty()) {
    ovl_root.color = (int16_t)COLOR_CYAN;
    if (read_overlay_file(request.region.c_str(), &ovl_root)) zor_exit(1);
    for (int i = 0; i < stack->n3d; i++)
      if (overlay_map.weight[i] != 0.0f) ovl_root.npts++;
  }
  if (!request.wire.empty() && read_wire_file(request.wire.c_str(), &wire_root, 0)) zor_exit(1);

  // With a zoom asked for, a screen large enough that the zoom is kept.
  if (request.zoom > 0)
    choose_image_window_geometry(1 << 20, 1 << 20, 1);
  else
    choose_image_window_geometry(1920, 1200, 1);
  if (!request.slices.empty()) {
    const int nz = mosaic.DisplayVolumeDim.z;
    for (int k : request.slices)
      if (k >= nz)
        fail("--slices: slice " + std::to_string(k) + " beyond the " + std::to_string(nz) +
             " slices of the mosaic");
    for (int k = 0; k < nz; k++) mosaic.display_slice[k] = 0;
    for (int k : request.slices) {
      if (mosaic.display_slice[k]) fail("--slices: slice " + std::to_string(k) + " named twice");
      mosaic.display_slice[k] = 1;
    }
  }

  create_neighborhoods();
  update_color_scheme();
  update_gray_scale_factors();
  picture_canvas canvas;
  compose_image_picture(&canvas);
  std::string error;
  if (write_picture_png(canvas, request.out.c_str(), &error)) fail(error);
  return 0;
}

}  // namespace

int main(int argc, char **argv) {
  std::vector<std::string> words = take_own_options(argc, argv);
  std::vector<char *> pointers;
  for (std::string &w : words) pointers.push_back(w.data());
  pointers.push_back(nullptr);
  zorview_after_loading = render_picture;
  return zorview_main((int)words.size(), pointers.data());
}
