// The image window's picture in memory: the image region with its planes,
// the colorbar beside it, and the lines drawn over them (cross-hairs, wire
// frames, vector fields, colorbar ticks), as 0xRRGGBB pixels. The planes and
// the colorbar come from the same composition functions that fill the
// window's images; nothing here speaks to an X server.
#ifndef ZOR_PICTURE_H
#define ZOR_PICTURE_H

#include <cstdint>
#include <string>
#include <vector>

#include "zor_types.h"

// Row-major pixels, `width` per row.
struct picture_canvas {
  int width = 0, height = 0;
  std::vector<uint32_t> pixels;
};

// One plane image of the layout: which_image (MOSAIC or an ORTHO_ plane),
// the slice of a mosaic panel, and its top-left pixel in the image region.
struct plane_place {
  int which_image;
  int iXYZ;
  IPOINT2D at;
};

// The planes the current layout shows, in the order they are composed:
// the shown slices of the mosaic, or the three planes.
std::vector<plane_place> shown_plane_places(void);

// 0xRRGGBB of a line colour of the image window (COLOR_CYAN...).
uint32_t image_line_rgb(int color);

void picture_resize(picture_canvas *canvas, int width, int height, uint32_t fill);
// Composes a plane straight into the canvas with its top-left at `at`;
// nothing when it does not fit.
void picture_put_plane(picture_canvas *canvas, int which_image, int iXYZ, IPOINT2D at);
// A solid line one pixel wide from a to b, both ends included, clipped to
// the canvas: the pixels the image window's line drawing lights.
void picture_draw_line(picture_canvas *canvas, IPOINT2D a, IPOINT2D b, uint32_t rgb);
void picture_draw_point(picture_canvas *canvas, IPOINT2D p, uint32_t rgb);

// The image region and the colorbar (when attached) as the image window
// shows them after its first full repaint, text left out: background, plane
// images, colorbar ramp, cross-hair lines, wire frames, the vector field and
// the colorbar's tick marks. The display state must be laid out
// (choose_image_window_geometry) and the sampling tables built.
void compose_image_picture(picture_canvas *canvas);

// Writes the canvas as an 8-bit RGB PNG, replacing the file atomically.
// Returns 0, or 1 with a message in *error.
int write_picture_png(const picture_canvas &canvas, const char *path, std::string *error);

#endif
