// A picture as an 8-bit RGB PNG, written beside the target and renamed over
// it only when complete.
#include <png.h>

#include <csetjmp>
#include <cstring>
#include <vector>

#include "zor_atomic_file.h"
#include "zor_picture.h"

namespace {

struct png_failure {
  std::string message;
};

void on_png_error(png_structp png, png_const_charp message) {
  static_cast<png_failure *>(png_get_error_ptr(png))->message = message;
  longjmp(png_jmpbuf(png), 1);
}

void on_png_warning(png_structp, png_const_charp) {}

// The encoder. libpng reports errors by longjmp back to the setjmp here,
// which would skip destructors: the row buffer belongs to the caller.
bool encode(FILE *stream, const picture_canvas &canvas, unsigned char *row,
            png_failure *failure) {
  png_structp png =
      png_create_write_struct(PNG_LIBPNG_VER_STRING, failure, on_png_error, on_png_warning);
  if (!png) {
    failure->message = "out of memory";
    return false;
  }
  png_infop info = png_create_info_struct(png);
  if (!info) {
    png_destroy_write_struct(&png, nullptr);
    failure->message = "out of memory";
    return false;
  }
  if (setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    return false;
  }
  png_init_io(png, stream);
  // Pictures are flat colour areas: fast filtering and compression keep
  // the file small without costing more than the composition.
  png_set_compression_level(png, 1);
  png_set_filter(png, 0, PNG_FILTER_SUB);
  png_set_IHDR(png, info, (png_uint_32)canvas.width, (png_uint_32)canvas.height, 8,
               PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  // One row of bytes at a time: the picture is not copied whole.
  for (int y = 0; y < canvas.height; y++) {
    const uint32_t *in = canvas.pixels.data() + (size_t)y * (size_t)canvas.width;
    for (int x = 0; x < canvas.width; x++) {
      row[3 * (size_t)x] = (unsigned char)(in[x] >> 16);
      row[3 * (size_t)x + 1] = (unsigned char)(in[x] >> 8);
      row[3 * (size_t)x + 2] = (unsigned char)in[x];
    }
    png_write_row(png, row);
  }
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return true;
}

}  // namespace

int write_picture_png(const picture_canvas &canvas, const char *path, std::string *error) {
  if (canvas.width <= 0 || canvas.height <= 0) {
    *error = "the picture is empty";
    return 1;
  }
  atomic_file file;
  FILE *stream = atomic_file_open(&file, path);
  if (!stream) {
    *error = std::string("cannot write the file ") + path;
    return 1;
  }
  png_failure failure;
  std::vector<unsigned char> row((size_t)canvas.width * 3);
  if (!encode(stream, canvas, row.data(), &failure)) {
    atomic_file_abandon(&file);
    *error = std::string("cannot write the file ") + path + " (" + failure.message + ")";
    return 1;
  }
  if (atomic_file_commit(&file)) {
    *error = std::string("cannot write the file ") + path;
    return 1;
  }
  return 0;
}
