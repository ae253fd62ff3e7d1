// Wire frames drawn on axial slices, their filling into the region, and the
// tract density map of the tracts that pass through the region.
//
// A wire is one start point, then three points per cubic Bezier segment
// (two handles and the end point), all in space coordinates; its last point
// has colour 0. A closed wire ends on its start point, coordinate for
// coordinate, and is filled on a fine grid by counting crossings along rows
// and columns, then brought down to the image grid with fractional weights
// at its edge.
#ifndef ZOR_WIRES_H
#define ZOR_WIRES_H

#include "zor_overlay.h"
#include "zor_types.h"

// Plane vector helpers of the crossing test.
POINT2D vector_difference_2D(POINT2D v_end, POINT2D v_start);  // end - start
POINT2D unit_vector_2D(POINT2D v);
float cross_product_2D(POINT2D a, POINT2D b);  // a.x b.y - a.y b.x
float dot_product_2D(POINT2D a, POINT2D b);
// Whether segment 1 crosses segment 2; both are half open (start in, end
// out), so a crossing at the joint of two pieces counts once. Parallel
// segments and segments without length never cross.
int intersecting_2D_vectors(POINT2D v1_start, POINT2D v1_end, POINT2D v2_start, POINT2D v2_end);

// Fills the closed wire whose terminating point has index iLastPoint in
// `wire_root` into `overlay_map` (weights above 0.05 are stored, in the
// root's colour) and rebuilds the region's list.
void fill_last_closed_wire(int iLastPoint);
// Fills every wire of `wire_root` that ends on its own first point.
void fill_closed_wires(void);

// The working wire: emptied, mirrored in x across the stack's extent.
void action_clear_wires(void);
void action_mirror_wires(void);

// Modal drawing of one wire with the mouse on an axial slice (button 1
// places points, Return ends, "c" closes and fills, "u" takes back a
// segment, Escape restores the wires as they were).
void action_draw_wires(void);

// Keys of the wire tools.
void action_key_C(void);  // next colour of every wire
void action_key_D(void);  // clear the wires
void action_key_F(void);  // fill the closed wires
void action_key_M(void);  // mirror the wires in x
void action_key_N(void);  // draw a wire
void action_key_R(void);  // read ".wire" and append it
void action_key_W(void);  // write the wires to ".wire"

// Tractography: the density map `activation.fTractMap` of the tracts that
// touch the region (Retrace 1 first grows the region by its own size along
// the densest voxels), scaled to a largest value of 1.
void action_trace_tracts(int Retrace);
// Adds up to lAdd voxels of the largest density outside the region.
void update_overlay_for_tractography(int lAdd);
// Divisor of the last scaling of the density map.
extern float TractRescaleFactor;
void tractography_reset(void);

#endif
