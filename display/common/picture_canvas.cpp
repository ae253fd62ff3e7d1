// The image window's picture in a memory buffer: the same plane composition
// and colorbar ramp that fill the window's images, laid out as the window
// lays them out, with its lines rasterised here instead of by the server.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "zor_annotate.h"
#include "zor_colour.h"
#include "zor_compose.h"
#include "zor_graph.h"
#include "zor_overlay.h"
#include "zor_picture.h"

namespace {

// The image region's background: the normal one, and the one that warns
// that the data are undersampled.
const uint32_t kBackground = 0x00BFBF;
const uint32_t kBackgroundUndersampled = 0x009F00;

// Pixels outside the canvas, or right of `clip_x`, are not drawn.
struct line_target {
  picture_canvas *canvas;
  int clip_x;
};

void put_pixel(const line_target &t, int x, int y, uint32_t rgb) {
  picture_canvas *c = t.canvas;
  if (x < 0 || y < 0 || x >= c->width || x >= t.clip_x || y >= c->height) return;
  c->pixels[(size_t)y * (size_t)c->width + (size_t)x] = rgb;
}

void draw_line(const line_target &t, IPOINT2D a, IPOINT2D b, uint32_t rgb) {
  if (a.x == b.x || a.y == b.y) {
    for (int y = std::min(a.y, b.y); y <= std::max(a.y, b.y); y++)
      for (int x = std::min(a.x, b.x); x <= std::max(a.x, b.x); x++) put_pixel(t, x, y, rgb);
    return;
  }
  // A one pixel wide band along the segment: the pixels whose centres lie
  // less than half a pixel from it, between its two ends, and the two end
  // pixels themselves. Exact in integers.
  const int64_t dx = (int64_t)b.x - a.x, dy = (int64_t)b.y - a.y;
  const int64_t length2 = dx * dx + dy * dy;
  for (int y = std::min(a.y, b.y); y <= std::max(a.y, b.y); y++)
    for (int x = std::min(a.x, b.x); x <= std::max(a.x, b.x); x++) {
      const int64_t px = (int64_t)x - a.x, py = (int64_t)y - a.y;
      const int64_t along = px * dx + py * dy;
      const int64_t across = px * dy - py * dx;
      if (along >= 0 && along <= length2 && 4 * across * across < length2)
        put_pixel(t, x, y, rgb);
    }
  put_pixel(t, a.x, a.y, rgb);
  put_pixel(t, b.x, b.y, rgb);
}

void draw_lines(const line_target &t, const std::vector<annotation_line> &lines) {
  for (const annotation_line &l : lines) draw_line(t, l.from, l.to, image_line_rgb(l.color));
}

}  // namespace

uint32_t image_line_rgb(int color) {
  switch (color) {
    case COLOR_CYAN: return 0x00FFFF;
    case COLOR_RED: return 0xFF0000;
    case COLOR_GREEN: return 0x00FF00;
    case COLOR_BLUE: return 0x0000FF;
    case COLOR_PURPLE: return 0x7F00FF;
    case COLOR_YELLOW: return 0xFFFF00;
    case COLOR_ORANGE: return 0xFF7F00;
    case COLOR_MAGENTA: return 0xFF00FF;
    case COLOR_WHITE: return 0xFFFFFF;
    default: return 0x000000;
  }
}

void picture_resize(picture_canvas *canvas, int width, int height, uint32_t fill) {
  canvas->width = std::max(width, 0);
  canvas->height = std::max(height, 0);
  canvas->pixels.assign((size_t)canvas->width * (size_t)canvas->height, fill);
}

void picture_put_plane(picture_canvas *canvas, int which_image, int iXYZ, IPOINT2D at) {
  const int orientation = which_image == MOSAIC ? mosaic.mosaic_orientation : which_image;
  const IPOINT2D size = plane_pixel_size(orientation);
  const int Z = mosaic.zoom_window > 0 ? mosaic.zoom_window : 1;
  const int64_t width = (int64_t)size.x * Z, height = (int64_t)size.y * Z;
  if (at.x < 0 || at.y < 0 || at.x + width > canvas->width || at.y + height > canvas->height)
    return;
  uint32_t *rows = canvas->pixels.data() + (size_t)at.y * (size_t)canvas->width + (size_t)at.x;
  compose_plane_rows(which_image, iXYZ, rows, (size_t)canvas->width);
}

void picture_draw_point(picture_canvas *canvas, IPOINT2D p, uint32_t rgb) {
  put_pixel(line_target{canvas, canvas->width}, p.x, p.y, rgb);
}

void picture_draw_line(picture_canvas *canvas, IPOINT2D a, IPOINT2D b, uint32_t rgb) {
  draw_line(line_target{canvas, canvas->width}, a, b, rgb);
}

void compose_image_picture(picture_canvas *canvas) {
  const IPOINT2D R = mosaic.ImageRegionPixels;
  const int C = mosaic.Attach_ColorBar ? mosaic.nx_ColorBar : 0;
  picture_resize(canvas, R.x + C, R.y,
                 mosaic.PixelScale == 1.0f ? kBackground : kBackgroundUndersampled);
  for (const plane_place &p : shown_plane_places())
    picture_put_plane(canvas, p.which_image, p.iXYZ, p.at);

  // What the window draws over the image region after each copy; the
  // colorbar is copied afterwards and covers what ran over into it.
  const line_target region{canvas, R.x};
  const bool projection_graph = graph.type == 0 && graph.space_model != 0;
  if (mosaic.display_crosshairs > 1 && !projection_graph)
    draw_lines(region, crosshair_segments(mosaic.display_crosshairs - 2));
  if (wire_root.npts != 0) {
    std::vector<annotation_line> points;
    draw_lines(region, wire_frame_segments(&points));
    for (const annotation_line &p : points)
      put_pixel(region, p.from.x, p.from.y, image_line_rgb(COLOR_RED));
  }
  if (activation.vector_field && mosaic.zoom_window > 3)
    draw_lines(region, vector_field_segments());

  if (C <= 0 || R.y <= 0) return;
  std::vector<unsigned long> bar((size_t)C * (size_t)R.y);
  fill_colorbar_pixels(bar.data(), C, R.y);
  for (int y = 0; y < R.y; y++)
    for (int x = 0; x < C; x++)
      canvas->pixels[(size_t)y * canvas->width + (size_t)(R.x + x)] =
          (uint32_t)bar[(size_t)y * C + x];
  int colored = 0;
  for (const colorbar_tick &t : colorbar_ticks(R.y, &colored))
    picture_draw_line(canvas, IPOINT2D{R.x + 1, t.y}, IPOINT2D{R.x + 1 + C / 4, t.y},
                      image_line_rgb(COLOR_WHITE));
}
