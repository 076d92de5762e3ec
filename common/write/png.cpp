// PNG through libpng, written through the output sink.
#include <png.h>

#include <csetjmp>

#include "common/image.h"

namespace pix {

namespace {
void PngWrite(png_structp png, png_bytep data, png_size_t n) {
  auto* sink = static_cast<Sink*>(png_get_io_ptr(png));
  if (!sink->write(data, n)) png_error(png, "write failed");
}
void PngFlush(png_structp) {}
}  // namespace

bool WritePng(Sink& out, const Image& img) {
  if (img.width == 0 || img.height == 0) return false;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  if (!png) return false;
  png_infop info = png_create_info_struct(png);
  if (!info) {
    png_destroy_write_struct(&png, nullptr);
    return false;
  }
  if (setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    return false;
  }
  png_set_write_fn(png, &out, PngWrite, PngFlush);
  int type = img.channels == 1 ? PNG_COLOR_TYPE_PALETTE : img.channels == 4 ? PNG_COLOR_TYPE_RGBA : PNG_COLOR_TYPE_RGB;
  if (img.channels == 1 && img.palette.empty()) type = PNG_COLOR_TYPE_GRAY;
  png_set_IHDR(png, info, img.width, img.height, 8, type, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  if (type == PNG_COLOR_TYPE_PALETTE) {
    png_color pal[256];
    int n = static_cast<int>(img.palette.size() > 256 ? 256 : img.palette.size());
    for (int i = 0; i < n; ++i) pal[i] = png_color{img.palette[i].r, img.palette[i].g, img.palette[i].b};
    png_set_PLTE(png, info, pal, n);
  }
  png_write_info(png, info);
  for (std::uint32_t y = 0; y < img.height; ++y) png_write_row(png, const_cast<png_bytep>(img.row(y)));
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  return !out.failed();
}

}  // namespace pix
