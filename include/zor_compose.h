// From the volume in memory to window pixels: per display pixel, which
// voxels contribute and with which weights (the neighbourhood tables); per
// pixel, the gray value, map, overlay, cross-hair and projection gathered by
// those weights and blended into one RGB value; and the mappings between
// space, voxel indices and pixels of the image region. Only make_image,
// make_orthogonal_images and make_mosaic_images speak to the X server.
#ifndef ZOR_COMPOSE_H
#define ZOR_COMPOSE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "zor_display_state.h"
#include "zor_types.h"

// Sampling tables of the four planes, always all four.
void create_neighborhoods(void);
void create_neighborhood(int which_slice);
// Reverses the rows of a plane's table, so that it is read by window row.
void invert_neighborhood(int which_slice);
// Frees the four tables and forgets that they were ever built.
void neighborhoods_reset(void);

// Axes (0 x, 1 y, 2 z) of a plane's orientation: horizontal, vertical and
// the normal along which its slices step.
void plane_axis_indices(int orientation, int *h, int *v, int *n);
// A plane's size in display pixels (columns, rows) and its table.
IPOINT2D plane_pixel_size(int which_orientation);
Neighborhood *plane_neighborhood(int which_orientation);
int plane_on_grid(int which_orientation);

// The layers of one zoomed pixel of a plane (MOSAIC: a mosaic panel of
// slice iCross), gathered by the plane's table.
void interpolate_2d(int iCross, int which_image, IPOINT2D PixelIndex, float *fData, float *fMap,
                    float *fOvl, float *fCross, float *fProj, int *ovl_color, POINT3D *v3Map);
// The five layers blended into one RGB value (red << 16 | green << 8 | blue).
unsigned long image_pixel(float fData, float fMap, float fOvl, float fCross, float fProj,
                          int ovl_color, POINT3D v3Map);
// The gray level 0..255 of a data value under the gray window.
int gray_level(float fData);

// Points the panels at time point iTime of the shown stack, or, for a
// negative iTime, at anatomy volume anatomy_stack.nt + iTime; marks the gray
// projections stale.
void set_mosaic_SpaceMatrix(int iTime);

// The sample shown at a voxel, by the data type of the stack and the
// display's choice of function of complex or vector samples.
float mosaic_data_1d(int ispace);
// Whether the shown volume has samples; a stack whose volumes are not
// loaded leaves the panels as the layout filled them.
int shown_samples_exist(void);
float activation_data_1d(int ispace);
float mosaic_data_3d(IPOINT3D voxel);
float activation_data_3d(IPOINT3D voxel);

// The gray window from the data (find_extrema) or from the saved range.
void rescale_image(int find_extrema);
void rescale_image_settings(void);
void rescale_image_reset(void);
// The slope and offset from the gray window to levels 0..255, taken before
// each composition.
void update_gray_scale_factors(void);

// Every pixel of a plane image (MOSAIC: panel of slice iXYZ), row by row,
// `columns * zoom` wide and `rows * zoom` high.
void compose_plane(int which_image, int iXYZ, std::vector<unsigned long> &pixels);
// The same into rows of 32-bit RGB pixels `row_pixels` apart.
void compose_plane_rows(int which_image, int iXYZ, uint32_t *rows, size_t row_pixels);
void make_image(int which_image, int iXYZ);
void make_orthogonal_images(void);
void make_mosaic_images(void);
// Where panel k of the shown slices starts in the image region (window
// pixels, zoomed); its column and row in the mosaic.
IPOINT2D mosaic_panel_origin(int k);

// Pixels of the image region from space, from fractional voxel indices, and
// from a voxel index of a mosaic panel; (-1, -1) for a point on no shown
// slice of a mosaic.
IPOINT2D Convert_Space_to_Pixel(int which_orientation, POINT3D Space, int CenterPixel);
IPOINT2D Convert_rVoxel_to_Pixel(int which_slice, POINT3D DataIndex, int CenterPixel);
IPOINT2D Convert_3DMosaicIndex_to_Pixel(int which_orientation, POINT3D DataIndex,
                                        int CenterPixel);
// Whether a space point lies on the shown plane (3 planes) or on a shown
// slice (mosaic); warns once per run about points off the stack in-plane.
int coordinates_on_slice(POINT3D point);
void coordinates_on_slice_reset(void);

// Maximum-intensity projections of the gray image and of the map.
void update_grayscale_MIPs(void);
void update_activation_MIPs(void);
float MIP_data_3d(IPOINT3D voxel, int which_orientation);
float MIP_activation_3d(IPOINT3D voxel, int which_orientation);
int MIP_data_index_3d(IPOINT3D voxel, int which_orientation);
int MIP_activation_index_3d(IPOINT3D voxel, int which_orientation);

#endif
