// Client-side images: pixel buffers the program writes itself, sent to the
// server by one XPutImage per surface.
#include <cstdlib>

#include "zor_alloc.h"
#include "zor_x11.h"

void initialize_XImage(XImage *Image, unsigned long color) {
  for (int x = 0; x < Image->width; x++)
    for (int y = 0; y < Image->height; y++) XPutPixel(Image, x, y, color);
}

XImage *create_filled_XImage(char **buffer, int width, int height, unsigned long color) {
  if (width < 1) width = 1;
  if (height < 1) height = 1;
  // Xlib works out the line length from the server's bits per pixel for
  // this depth; the buffer is then exactly that many lines.
  XImage *image = XCreateImage(XConnection, XVisual, (unsigned)XScreen_depth, ZPixmap, 0, nullptr,
                               (unsigned)width, (unsigned)height, 8, 0);
  if (!image) alloc_error("Allocation error in create_filled_XImage().");
  size_t bytes = (size_t)image->bytes_per_line * (size_t)image->height;
  *buffer = (char *)malloc(bytes ? bytes : 1);
  if (!*buffer) alloc_error("Allocation error in create_filled_XImage().");
  image->data = *buffer;
  initialize_XImage(image, color);
  return image;
}
