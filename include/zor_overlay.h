// Regions of interest, wire frames and diffusion tracts: the records the
// viewer draws on top of the image, and their text and binary files.
//
// A region lives in two forms: `overlay_map` holds one weight and colour per
// voxel of the shown stack (the truth, used for display and editing), and
// `ovl_root` holds the same region as a voxel list. Further `ovl_list` nodes
// behind the root hold the regions named by a list file. Voxel counts and
// dimensions always come from `mosaic.stack`.
#ifndef ZOR_OVERLAY_H
#define ZOR_OVERLAY_H

#include <cstdint>

#include "zor_types.h"

enum defined_colors {
  COLOR_CYAN = 1,
  COLOR_RED = 2,
  COLOR_GREEN = 3,
  COLOR_BLUE = 4,
  COLOR_PURPLE = 5,
  COLOR_YELLOW = 6,
  COLOR_ORANGE = 7,
  COLOR_MAGENTA = 8,
  COLOR_SKY = 9,
  COLOR_WHITE = 10,
  COLOR_GRAY = 11,
  COLOR_BLACK = 12
};

// The working region in volume form.
struct ovl_map {
  float *weight;   // n3d weights, 0 outside the region, at most 1
  int16_t *color;  // n3d colours from defined_colors
  int number;      // serial number of the next working region ("ovl<number>")
};

// A named region in list form.
struct ovl_list {
  char name[1024];
  int npts;         // voxels in use
  int16_t color;    // from defined_colors
  int active;       // true for the node selected in the list
  IPOINT3D *voxel;  // the root: room for n3d voxels; list nodes: their npts entries
  float *weight;    // likewise
  ovl_list *next;
};

// One control point of a wire, in space coordinates. A colour of 0 marks
// the last point of a wire.
struct CONTROL_POINT {
  POINT3D point;
  int color;
};

// A named set of wires. A wire is one start point, then three points per
// Bezier segment; its final point has colour 0.
struct wire_list {
  char name[1024];
  int active;
  CONTROL_POINT *control;
  int npts;
  wire_list *next;
};

// A tract file in memory: the whole file as 32-bit words, header included,
// followed by zero words up to `length_array`.
struct DTI_TRACTS {
  IPOINT3D dim;
  int length_array;  // words in array
  int ntracts;
  int *array;
};

extern ovl_map overlay_map;
extern ovl_list ovl_root;
extern wire_list wire_root;
extern DTI_TRACTS DTI_tracts;

// Control points; allocation failure ends the run through alloc_error.
CONTROL_POINT *control_vector(int count);
void free_control_vector(CONTROL_POINT *v);

// Sets up the empty working region and wire for the shown stack: a zeroed
// map, `ovl_root` "none" in magenta, active, with room for every voxel,
// `wire_root` "none", active, without points, and no tracts.
void initialize_overlay_records(void);

// Free everything the records own and return them to their empty state.
void overlay_map_reset(void);
void ovl_root_reset(void);   // also frees the nodes behind the root
void wire_root_reset(void);  // also frees the nodes behind the root
void DTI_tracts_reset(void);

// List files: one entry a line, "name file [colour]". Nodes are appended
// behind the root; a member file that fails to read leaves a short node.
int read_overlay_list(const char *list_file_name);
int read_wire_list(const char *list_file_name);

// Colour word of a list line; 1 (cyan) for an unknown word.
int overlay_list_color(const char *word);
int wire_list_color(const char *word);

// Region files: lines "x y z [weight]". Into `ovl_root` the voxels go to
// `overlay_map` (merged, the file wins); the caller then brings the root's
// list up to date. Into any other node they are appended.
int read_overlay_file(const char *file_name, ovl_list *ovl);
// Writes `overlay_map` to ".ovl" in the working directory.
int write_overlay_file(void);

// Wire files: "x y z colour" per control point. Points are appended; with a
// non-zero new_color, points of colour 1 take it.
int read_wire_file(const char *file_name, wire_list *wire, int new_color);
// Writes `wire_root` to ".wire" in the working directory.
int write_wire_file(void);

// Binary tract file: dims, then per tract its length and flat indices.
int read_DTI_tract_file(const char *file_name);

// Longest tract a file may hold (exclusive).
enum { DTI_MAX_TRACT_LENGTH = 3000 };

#endif
