// Prints which pixels the default GC font sets for a string, so that a
// test can compare text the program drew with the same string drawn here:
//   zor_text_bitmap STRING
// Output: "width height ascent", then one row of 0 and 1 per pixel row, the
// baseline at row `ascent`.
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <cstdio>
#include <cstring>

int main(int argc, char **argv) {
  if (argc < 2) return 2;
  Display *d = XOpenDisplay(nullptr);
  if (!d) return 3;
  int screen = DefaultScreen(d);
  GC gc = DefaultGC(d, screen);
  XFontStruct *font = XQueryFont(d, XGContextFromGC(gc));
  if (!font) return 4;
  const char *text = argv[1];
  int length = (int)strlen(text);
  int width = XTextWidth(font, text, length);
  int ascent = font->ascent, height = font->ascent + font->descent;
  if (width < 1) width = 1;
  Pixmap p = XCreatePixmap(d, RootWindow(d, screen), (unsigned)width, (unsigned)height,
                           (unsigned)DefaultDepth(d, screen));
  GC local = XCreateGC(d, p, 0, nullptr);
  XSetForeground(d, local, 0);
  XFillRectangle(d, p, local, 0, 0, (unsigned)width, (unsigned)height);
  XSetForeground(d, local, 0xFFFFFF);
  XDrawString(d, p, local, 0, ascent, text, length);
  XImage *image = XGetImage(d, p, 0, 0, (unsigned)width, (unsigned)height, AllPlanes, ZPixmap);
  printf("%d %d %d\n", width, height, ascent);
  for (int y = 0; y < height; y++) {
    for (int x = 0; x < width; x++) putchar((XGetPixel(image, x, y) & 0xFFFFFF) ? '1' : '0');
    putchar('\n');
  }
  XDestroyImage(image);
  XFreePixmap(d, p);
  XCloseDisplay(d);
  return 0;
}
