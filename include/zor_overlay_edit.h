// Editing the working region of interest. `overlay_map` is the truth: every
// edit changes the map and then rebuilds the voxel list of `ovl_root` from
// it (update_root_overlay). The actions set update_regions bits and leave
// the drawing to Update_Regions, except the red rectangle of a drag.
#ifndef ZOR_OVERLAY_EDIT_H
#define ZOR_OVERLAY_EDIT_H

#include <cstdint>

#include "zor_overlay.h"
#include "zor_types.h"

// True while a rectangle is being dragged with button 2 or 3.
extern int drawing_overlay;

// List from map (z, y, x order); with set_name the name becomes "none" or
// "ovl<number>"; with update_text the menus are laid out and drawn again.
void update_root_overlay(int set_name, int update_text);
// Map from list, in the root's colour.
void update_overlay_map(void);

// Rectangles: press 1 starts at the voxel under the pointer, 0 follows the
// pointer, -1 ends and toggles every voxel of the box.
void action_image_draw_overlay(int press);

// Growing from the cross-hair over the voxels of the map beyond the low
// threshold on the seed's side of zero, after an opening of `distance`
// (0 none). Returns the number of voxels in the region, or -1 when the
// seed is not activated (the message has been printed).
int grow_activated_region(int distance);
// The same behind the "Erode & dilate?" prompt.
void action_select_activated_region(void);
// Waits for a click on a voxel, then grows from it.
void action_select_activated_point(void);
// Whether one of the 26 neighbours of the voxel is in the region.
int voxel_touches_activated_neighbor(IPOINT3D voxel);
// Grows the region from `seed` over the voxels with `binary` set, as the
// cube walk does: the 26-connected part of binary joined to the seed. The
// region is cleared first; the seed gets weight 1 and colour 0, every
// other voxel weight 1 and the root's colour. Returns the voxels added
// besides the seed.
int grow_region_from_seed(IPOINT3D seed, const int16_t *binary);

// Box erosion (dilate 0) or dilation (1) of a 0/1 vector over the shown
// stack, half-width nrel in x and y, and in z when graph.ed_dimension is 3.
void erode_dilate_binary(int dilate, int nrel, int n3d, int16_t *binary);
void action_erode_dilate_overlay(int dilate);
void action_select_above_below_threshold(void);
void action_cluster_overlay(void);
void move_overlay_in_one_direction(int direction, int increment);
void action_step_overlay_list(int next, int combine);
void action_clear_overlay(void);
void action_mirror_overlay(void);

// The image through the region.
void action_flatten_across_overlay(void);
float SpatialPolyDesign(IPOINT3D Dim, IPOINT3D iPolyPower, IPOINT3D Voxel);
float Power_int(float x, int iPoly);
void action_clip_using_overlay(int keep_inside);
void action_reverse_image_contrast(void);

// Statistics of the region (or of the cross-hair voxel) on standard output.
void write_roi_stats(int all_points);

// Keys of the region tools.
void action_key_c(void);  // next colour
void action_key_d(void);  // clear the region
void action_key_m(void);  // mirror in x
void action_key_n(void);  // grow from a chosen activated voxel
void action_key_r(void);  // read ".ovl" into the region
void action_key_w(void);  // write the region to ".ovl"

// The region items of the graph window's menus (selection by threshold,
// above or below, the threshold, erode, dilate, distance, cluster,
// flatten, dimension, keep inside, keep outside): acts on `field` and
// returns 1, or returns 0 for any other item.
int overlay_graph_text_selection(int field, int button);

// The region's volume in mm^3: the weight sum times the voxel size.
float overlay_volume(void);
// Forgets the drag in progress and releases the scratch volumes.
void overlay_edit_reset(void);
void overlay_scratch_reset(void);

#endif
