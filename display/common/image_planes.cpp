// Composed planes into their client images, and the images into the image
// pixmap at the panel positions of the layout: one XPutImage per panel.
#include <cstdint>
#include <vector>

#include "zor_compose.h"
#include "zor_picture.h"
#include "zor_x11.h"

namespace {

XImage *plane_image(int which_orientation) {
  switch (which_orientation) {
    case ORTHO_ZY: return XImage_ZY;
    case ORTHO_XZ: return XImage_XZ;
    case ORTHO_YZ: return XImage_YZ;
    default: return XImage_XY;
  }
}

void put_plane(int which_orientation, int left, int top) {
  XImage *image = plane_image(which_orientation);
  XPutImage(XConnection, XPixmap_image, XGC_image, image, 0, 0, left, top,
            (unsigned)image->width, (unsigned)image->height);
}

// Number of slices along the display's slice axis.
int slices_along_display_axis(void) {
  const IPOINT3D &d = mosaic.stack->dim;
  switch (mosaic.mosaic_orientation) {
    case ORTHO_ZY:
    case ORTHO_YZ: return d.x;
    case ORTHO_XZ: return d.y;
    default: return d.z;
  }
}

}  // namespace

void make_image(int which_image, int iXYZ) {
  const int which_orientation = which_image == MOSAIC ? mosaic.mosaic_orientation : which_image;
  XImage *image = plane_image(which_orientation);
  if (!image) return;
  const IPOINT2D size = plane_pixel_size(which_orientation);
  const int Z = mosaic.zoom_window;
  const int width = size.x * Z, height = size.y * Z;
  if (width > image->width || height > image->height) return;
  // A 32-bit image in this machine's byte order takes the pixels as they
  // are composed; any other format goes through XPutPixel.
  const uint32_t probe = 1;
  const bool host_lsb = *(const unsigned char *)&probe == 1;
  if (image->bits_per_pixel == 32 && (image->byte_order == LSBFirst) == host_lsb &&
      image->bytes_per_line % 4 == 0) {
    compose_plane_rows(which_image, iXYZ, (uint32_t *)image->data,
                       (size_t)image->bytes_per_line / 4);
    return;
  }
  static std::vector<uint32_t> pixels;
  pixels.resize((size_t)width * (size_t)height);
  compose_plane_rows(which_image, iXYZ, pixels.data(), (size_t)width);
  for (int y = 0; y < height; y++)
    for (int x = 0; x < width; x++) XPutPixel(image, x, y, pixels[(size_t)width * y + x]);
}

std::vector<plane_place> shown_plane_places(void) {
  std::vector<plane_place> places;
  if (!shown_samples_exist()) return places;
  const int Z = mosaic.zoom_window;
  if (mosaic.display_3orthogonal) {
    const IPOINT3D &P = mosaic.PixelDim;
    places.push_back({ORTHO_XY, 0, IPOINT2D{Z, Z}});
    places.push_back({ORTHO_XZ, 0, IPOINT2D{Z, Z * (P.y + 2)}});
    if (mosaic.display_ortho_ZY)
      places.push_back({ORTHO_ZY, 0, IPOINT2D{Z * (P.x + 2), Z}});
    else
      places.push_back({ORTHO_YZ, 0, IPOINT2D{Z * (P.x + 2), Z * (P.y + 2)}});
    return places;
  }
  const int slices = slices_along_display_axis();
  const int panels = mosaic.DimPanels.x * mosaic.DimPanels.y;
  int k = 0;
  for (int j = 0; j < slices && j < mosaic.DisplayVolumeDim.z; j++) {
    if (!mosaic.display_slice[j]) continue;
    // Slices beyond the grid's panels are not placed.
    if (k >= panels) break;
    places.push_back({MOSAIC, j, mosaic_panel_origin(k)});
    k++;
  }
  return places;
}

void make_orthogonal_images(void) {
  for (const plane_place &p : shown_plane_places()) {
    make_image(p.which_image, p.iXYZ);
    put_plane(p.which_image, p.at.x, p.at.y);
  }
}

void make_mosaic_images(void) {
  for (const plane_place &p : shown_plane_places()) {
    make_image(p.which_image, p.iXYZ);
    put_plane(mosaic.mosaic_orientation, p.at.x, p.at.y);
  }
}
