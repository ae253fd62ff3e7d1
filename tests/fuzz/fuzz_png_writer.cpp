// The picture writer: a picture made from the input (its first two bytes
// give the size, up to 96 x 96, the rest the colours, repeated over the
// pixels) is written to "p.png" and read back by libpng, which must give
// every pixel's colour; an empty picture is refused with its message and
// leaves no file.
#include <png.h>

#include <sys/stat.h>

#include <cstdlib>
#include <string>

#include "fuzz_support.h"
#include "zor_picture.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  picture_canvas canvas;
  canvas.width = size > 0 ? data[0] % 97 : 0;
  canvas.height = size > 1 ? data[1] % 97 : 0;
  canvas.pixels.assign((size_t)canvas.width * (size_t)canvas.height, 0);
  const uint8_t *colours = size > 2 ? data + 2 : nullptr;
  const size_t ncolours = size > 2 ? size - 2 : 0;
  for (size_t i = 0; i < canvas.pixels.size() && ncolours > 0; i++) {
    // Three bytes a pixel, the top byte from the fourth: the writer keeps the low 24 bits.
    uint32_t v = 0;
    for (int j = 0; j < 4; j++) v = v << 8 | colours[(4 * i + (size_t)j) % ncolours];
    canvas.pixels[i] = v;
  }
  fuzz_check([] {},
             [&] {
               std::string error;
               const int r = write_picture_png(canvas, "p.png", &error);
               printf("%d %s\n", r, error.c_str());
               struct stat st;
               const bool written = stat("p.png", &st) == 0;
               if (r != 0) {
                 if (written || error != "the picture is empty") abort();
                 return r;
               }
               png_image image{};
               image.version = PNG_IMAGE_VERSION;
               if (!png_image_begin_read_from_file(&image, "p.png")) abort();
               image.format = PNG_FORMAT_RGB;
               if ((int)image.width != canvas.width || (int)image.height != canvas.height) abort();
               std::string rgb(PNG_IMAGE_SIZE(image), '\0');
               if (!png_image_finish_read(&image, nullptr, rgb.data(), 0, nullptr)) abort();
               for (size_t i = 0; i < canvas.pixels.size(); i++) {
                 const uint32_t v = canvas.pixels[i];
                 if ((uint8_t)rgb[3 * i] != (uint8_t)(v >> 16) || (uint8_t)rgb[3 * i + 1] != (uint8_t)(v >> 8) ||
                     (uint8_t)rgb[3 * i + 2] != (uint8_t)v)
                   abort();
               }
               return r;
             },
             {0, 1}, FUZZ_RESET_NONE);
  return 0;
}
