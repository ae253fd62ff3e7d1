// Region files (".ovl"): one voxel a line, "x y z" or "x y z weight", with
// zero-based voxel indices of the shown stack and a weight from 0 to 1.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "zor_alloc.h"
#include "zor_atomic_file.h"
#include "zor_display_state.h"
#include "zor_exit.h"
#include "zor_overlay.h"
#include "zor_regular_file.h"
#include "zor_text.h"

namespace {

IPOINT3D shown_dim() {
  if (mosaic.stack) return mosaic.stack->dim;
  return IPOINT3D{0, 0, 0};
}

int64_t flat_index(IPOINT3D dim, int x, int y, int z) {
  return x + static_cast<int64_t>(dim.x) * (y + static_cast<int64_t>(dim.y) * z);
}

void print_syntax_help() {
  puts("Error: The syntax in an overlay file can be one of the following:");
  puts("1)  x y z         (voxel indices), OR");
  puts("2)  x y z weight  (for variable weight in range 0:1)");
}

[[noreturn]] void missing_storage(const char *what) {
  printf("Programming error: %s is not allocated in read_overlay_file\n", what);
  zor_exit(1);
}

// Entries read for a list node, added to the node when the file is done.
struct NodeEntries {
  std::vector<IPOINT3D> voxel;
  std::vector<float> weight;
};

// Stores one checked voxel. Returns 0, or 1 when a list node is full.
int store_voxel(ovl_list *ovl, NodeEntries *entries, IPOINT3D dim, int x, int y, int z, float w,
                const char *file_name) {
  if (ovl == &ovl_root) {
    int64_t i = flat_index(dim, x, y, z);
    overlay_map.weight[i] = w;
    overlay_map.color[i] = ovl_root.color;
    return 0;
  }
  // A node holds at most one entry per voxel; repeated lines could exceed it.
  int64_t room = static_cast<int64_t>(dim.x) * dim.y * dim.z;
  if (ovl->npts + static_cast<int64_t>(entries->voxel.size()) >= room) {
    printf("Error: the overlay in file %s holds more entries than the image has voxels.\n",
           file_name);
    return 1;
  }
  entries->voxel.push_back(IPOINT3D{x, y, z});
  entries->weight.push_back(w);
  return 0;
}

// A list node holds exactly its entries, not room for a whole volume: long
// lists of regions, or of files that do not exist, cost next to nothing.
void append_to_node(ovl_list *ovl, const NodeEntries &entries) {
  const int added = static_cast<int>(entries.voxel.size());
  if (added == 0) return;
  const int total = ovl->npts + added;
  IPOINT3D *voxel = ipoint3d_vector(total);
  float *weight = float_vector(total);
  if (ovl->npts > 0) {
    memcpy(voxel, ovl->voxel, sizeof(IPOINT3D) * static_cast<size_t>(ovl->npts));
    memcpy(weight, ovl->weight, sizeof(float) * static_cast<size_t>(ovl->npts));
  }
  memcpy(voxel + ovl->npts, entries.voxel.data(), sizeof(IPOINT3D) * static_cast<size_t>(added));
  memcpy(weight + ovl->npts, entries.weight.data(), sizeof(float) * static_cast<size_t>(added));
  free_ipoint3d_vector(ovl->voxel);
  free_float_vector(ovl->weight);
  ovl->voxel = voxel;
  ovl->weight = weight;
  ovl->npts = total;
}

}  // namespace

int read_overlay_file(const char *file_name, ovl_list *ovl) {
  FILE *fp = fopen_regular(file_name, "r");
  if (!fp) {
    printf("Error opening file %s\n", file_name);
    return 1;
  }
  if (ovl == &ovl_root && (!overlay_map.weight || !overlay_map.color)) missing_storage("overlay_map");
  NodeEntries entries;
  IPOINT3D dim = shown_dim();
  char line[ZOR_LINE];
  int result = 0;
  while (get_line_with_comment(fp, line, ZOR_LINE)) {
    int x, y, z;
    float w;
    int n = sscanf(line, "%d %d %d %f", &x, &y, &z, &w);
    if (n == 3) {
      w = 1.0f;
    } else if (n != 4) {
      print_syntax_help();
      result = 1;
      break;
    }
    // Written so that a weight that is not a number is refused too.
    if (!(w >= 0.0f && w <= 1.0f)) {
      puts("Error: use weight values <= 1. in overlays.");
      result = 1;
      break;
    }
    if (x < 0 || x >= dim.x || y < 0 || y >= dim.y || z < 0 || z >= dim.z) {
      puts("Error: the overlay in file .ovl does not agree with the image dimensions.");
      result = 1;
      break;
    }
    if (store_voxel(ovl, &entries, dim, x, y, z, w, file_name)) {
      result = 1;
      break;
    }
  }
  fclose(fp);
  // What was read before a bad line stays, as it always has.
  if (ovl != &ovl_root) append_to_node(ovl, entries);
  return result;
}

int write_overlay_file(void) {
  IPOINT3D dim = shown_dim();
  if (!overlay_map.weight && static_cast<int64_t>(dim.x) * dim.y * dim.z > 0) {
    puts("Programming error: overlay_map is not allocated in write_overlay_file");
    zor_exit(1);
  }
  atomic_file out;
  FILE *fp = atomic_file_open(&out, ".ovl");
  if (!fp) {
    puts("Error opening file (.ovl).");
    return 1;
  }
  int count = 0;
  float total_weight = 0.0f;
  for (int z = 0; z < dim.z; z++)
    for (int y = 0; y < dim.y; y++)
      for (int x = 0; x < dim.x; x++) {
        float w = overlay_map.weight[flat_index(dim, x, y, z)];
        if (w == 0.0f) continue;
        if (w == 1.0f)
          fprintf(fp, "%d %d %d\n", x, y, z);
        else
          fprintf(fp, "%d %d %d %g\n", x, y, z, w);
        count++;
        total_weight += w;
      }
  if (atomic_file_commit(&out)) {
    puts("Error writing file (.ovl).");
    return 1;
  }
  const POINT3D res = mosaic.stack ? mosaic.stack->resolution : POINT3D{0, 0, 0};
  float volume = total_weight * res.x * res.y * res.z;
  printf("%d pixels (total weight = %g, volume = %g) written to file .ovl\n", count, total_weight,
         volume);
  if (count != ovl_root.npts) {
    printf("Programming error: # overlay pixels not consistent (%d versus %d)\n", count,
           ovl_root.npts);
    return 1;
  }
  return 0;
}
