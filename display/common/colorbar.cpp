// The colorbar strip right of the image region: its ramp goes into the
// image pixmap, its ticks and labels onto the window after each copy.
#include <cmath>
#include <vector>

#include "zor_colour.h"
#include "zor_x11.h"

void create_colorbar(void) {
  if (!mosaic.Attach_ColorBar || XWindow_image == 0 || !XImage_colorbar) return;
  int W = mosaic.nx_ColorBar, H = mosaic.ImageRegionPixels.y;
  if (W <= 0 || H <= 0) return;
  std::vector<unsigned long> pixels((size_t)W * (size_t)H);
  fill_colorbar_pixels(pixels.data(), W, H);
  for (int j = 0; j < H; j++)
    for (int i = 0; i < W; i++) XPutPixel(XImage_colorbar, i, j, pixels[(size_t)j * W + i]);
  XPutImage(XConnection, XPixmap_image, XGC_image, XImage_colorbar, 0, 0,
            mosaic.ImageRegionPixels.x, 0, (unsigned)W, (unsigned)H);
}

void label_colorbar(void) {
  if (!mosaic.Attach_ColorBar || XWindow_image == 0) return;
  int colored = 0;
  const IPOINT2D &R = mosaic.ImageRegionPixels;
  int C = mosaic.nx_ColorBar;
  std::vector<colorbar_tick> ticks = colorbar_ticks(R.y, &colored);
  for (const colorbar_tick &t : ticks) {
    DPRIMITIVE_DrawLine(Drawable_ImageData, COLOR_WHITE, IPOINT2D{R.x + 1, t.y},
                        IPOINT2D{R.x + 1 + C / 4, t.y});
    IPOINT2D at{(int)truncf((float)C * 0.3f + (float)R.x), t.y - 2 > 15 ? t.y - 2 : 15};
    std::vector<char> text(t.label.begin(), t.label.end());
    text.push_back('\0');
    // Letters straight on the colours; on the gray ramp, black on white.
    if (colored)
      DPRIMITIVE_DrawText(Drawable_ImageData, COLOR_WHITE, at, text.data());
    else
      DPRIMITIVE_FillText(Drawable_ImageData, COLOR_WHITE, at, text.data());
  }
}
