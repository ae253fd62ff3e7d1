// The working region, wire and tract records, their allocation and their
// return to the empty state.
#include <cstdlib>
#include <cstring>

#include "zor_alloc.h"
#include "zor_display_state.h"
#include "zor_overlay.h"

ovl_map overlay_map;
ovl_list ovl_root;
wire_list wire_root;
DTI_TRACTS DTI_tracts;

CONTROL_POINT *control_vector(int count) {
  // Same rule as the other vectors: the byte count in 64 bits.
  const char *message = "Allocation error in control_vector().";
  if (count < 0) alloc_error(message);
  size_t bytes = static_cast<size_t>(count) * sizeof(CONTROL_POINT);
  void *p = malloc(bytes ? bytes : 1);
  if (!p) alloc_error(message);
  return static_cast<CONTROL_POINT *>(p);
}

void free_control_vector(CONTROL_POINT *v) { free(v); }

void overlay_map_reset(void) {
  free_float_vector(overlay_map.weight);
  free_short_vector(overlay_map.color);
  overlay_map = ovl_map{};
}

void ovl_root_reset(void) {
  ovl_list *node = ovl_root.next;
  while (node) {
    ovl_list *next = node->next;
    free_ipoint3d_vector(node->voxel);
    free_float_vector(node->weight);
    free(node);
    node = next;
  }
  free_ipoint3d_vector(ovl_root.voxel);
  free_float_vector(ovl_root.weight);
  ovl_root = ovl_list{};
}

void wire_root_reset(void) {
  wire_list *node = wire_root.next;
  while (node) {
    wire_list *next = node->next;
    free_control_vector(node->control);
    free(node);
    node = next;
  }
  free_control_vector(wire_root.control);
  wire_root = wire_list{};
}

void DTI_tracts_reset(void) {
  free_int_vector(DTI_tracts.array);
  DTI_tracts = DTI_TRACTS{};
}

void initialize_overlay_records(void) {
  overlay_map_reset();
  ovl_root_reset();
  wire_root_reset();
  int n3d = mosaic.stack ? mosaic.stack->n3d : 0;

  overlay_map.weight = float_vector(n3d);
  overlay_map.color = short_vector(n3d);
  memset(overlay_map.weight, 0, sizeof(float) * static_cast<size_t>(n3d));
  memset(overlay_map.color, 0, sizeof(int16_t) * static_cast<size_t>(n3d));
  overlay_map.number = 1;

  strcpy(ovl_root.name, "none");
  ovl_root.color = COLOR_MAGENTA;
  ovl_root.npts = 0;
  ovl_root.active = 1;
  ovl_root.next = nullptr;
  ovl_root.voxel = ipoint3d_vector(n3d);
  ovl_root.weight = float_vector(n3d);
  memset(ovl_root.voxel, 0, sizeof(IPOINT3D) * static_cast<size_t>(n3d));
  memset(ovl_root.weight, 0, sizeof(float) * static_cast<size_t>(n3d));

  strcpy(wire_root.name, "none");
  wire_root.active = 1;
  wire_root.control = nullptr;
  wire_root.npts = 0;
  wire_root.next = nullptr;

  DTI_tracts.ntracts = 0;
}
