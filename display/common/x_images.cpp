// Client-side images: pixel buffers the program writes itself, sent to the
// server by one XPutImage per surface.
#include <cstdlib>

#include "zor_x11.h"

void initialize_XImage(XImage *Image, unsigned long color) {
  for (int x = 0; x < Image->width; x++)
    for (int y = 0; y < Image->height; y++) XPutPixel(Image, x, y, color);
}

XImage *create_filled_XImage(char **buffer, int width, int height, unsigned long color) {
  if (width < 1) width = 1;
  if (height < 1) height = 1;
  // The screen depth counted as bytes per pixel always covers the real
  // line length, so the server never has to be asked about padding.
  size_t bytes = (size_t)XScreen_depth * (size_t)width * (size_t)height;
  *buffer = (char *)malloc(bytes);
  XImage *image = XCreateImage(XConnection, XVisual, (unsigned)XScreen_depth, ZPixmap, 0, *buffer,
                               (unsigned)width, (unsigned)height, 8, 0);
  XInitImage(image);
  initialize_XImage(image, color);
  return image;
}
