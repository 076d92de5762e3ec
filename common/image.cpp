#include "common/image.h"

#include <gif_lib.h>
#include <png.h>

#include <csetjmp>
#include <cstring>

namespace pix {

std::uint64_t CheckedSize(std::uint64_t w, std::uint64_t h, std::uint64_t bytesPerPixel, std::uint64_t extra) {
  if (w == 0 || h == 0 || w > kMaxDimension || h > kMaxDimension) return 0;
  if (w * h > kMaxPixels) return 0;
  std::uint64_t n = w * h * bytesPerPixel;
  if (bytesPerPixel && n / bytesPerPixel != w * h) return 0;
  if (n + extra < n) return 0;
  return n + extra;
}

bool Image::allocate(std::uint32_t w, std::uint32_t h, int ch) {
  if (ch < 1 || ch > 4) return false;
  std::uint64_t n = CheckedSize(w, h, static_cast<std::uint64_t>(ch));
  if (n == 0) return false;
  try {
    pixels.assign(static_cast<std::size_t>(n), 0);
  } catch (...) {
    return false;
  }
  width = w;
  height = h;
  channels = ch;
  return true;
}

bool WriteBmp(Sink& out, const Image& img, int bitsPerPixel) {
  if (img.width == 0 || img.height == 0) return false;
  const bool indexed = img.channels == 1;
  int bpp = indexed ? (bitsPerPixel == 1 ? 1 : 8) : 24;
  std::uint32_t colours = indexed ? (bpp == 1 ? 2u : 256u) : 0u;
  std::uint64_t rowBytes = ((std::uint64_t(img.width) * bpp + 31) / 32) * 4;
  std::uint64_t dataSize = rowBytes * img.height;
  std::uint32_t offset = 14 + 40 + colours * 4;
  if (dataSize + offset > 0xFFFFFFFFu) return false;
  out.put8('B');
  out.put8('M');
  out.put32le(static_cast<std::uint32_t>(offset + dataSize));
  out.put32le(0);
  out.put32le(offset);
  out.put32le(40);
  out.put32le(img.width);
  out.put32le(img.height);
  out.put16le(1);
  out.put16le(static_cast<std::uint16_t>(bpp));
  out.put32le(0);
  out.put32le(static_cast<std::uint32_t>(dataSize));
  out.put32le(2835);
  out.put32le(2835);
  out.put32le(colours);
  out.put32le(0);
  for (std::uint32_t i = 0; i < colours; ++i) {
    Rgb c = i < img.palette.size() ? img.palette[i] : Rgb{};
    if (img.palette.empty() && bpp == 8) c = Rgb{std::uint8_t(i), std::uint8_t(i), std::uint8_t(i)};
    std::uint8_t q[4] = {c.b, c.g, c.r, 0};
    out.write(q, 4);
  }
  std::vector<std::uint8_t> line(static_cast<std::size_t>(rowBytes), 0);
  for (std::uint32_t y = img.height; y-- > 0;) {
    std::fill(line.begin(), line.end(), 0);
    const std::uint8_t* src = img.row(y);
    for (std::uint32_t x = 0; x < img.width; ++x) {
      if (bpp == 1) {
        if (src[x]) line[x / 8] = static_cast<std::uint8_t>(line[x / 8] | (0x80 >> (x % 8)));
      } else if (bpp == 8) {
        line[x] = src[x];
      } else {
        const std::uint8_t* p = src + std::size_t(x) * img.channels;
        line[x * 3] = p[2];
        line[x * 3 + 1] = p[1];
        line[x * 3 + 2] = p[0];
      }
    }
    out.write(line.data(), line.size());
  }
  return !out.failed();
}

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

namespace {
int GifWrite(GifFileType* gif, const GifByteType* data, int n) {
  auto* sink = static_cast<Sink*>(gif->UserData);
  return sink->write(data, static_cast<std::size_t>(n)) ? n : 0;
}
}  // namespace

bool WriteGif(Sink& out, const Image& img) {
  if (img.channels != 1 || img.width == 0 || img.height == 0 || img.width > 65535 || img.height > 65535) return false;
  int count = img.palette.empty() ? 256 : static_cast<int>(img.palette.size());
  int bits = 1;
  while ((1 << bits) < count && bits < 8) ++bits;
  ColorMapObject* map = GifMakeMapObject(1 << bits, nullptr);
  if (!map) return false;
  for (int i = 0; i < (1 << bits); ++i) {
    Rgb c = img.palette.empty() ? Rgb{std::uint8_t(i), std::uint8_t(i), std::uint8_t(i)}
                                : (i < count ? img.palette[static_cast<std::size_t>(i)] : Rgb{});
    map->Colors[i] = GifColorType{c.r, c.g, c.b};
  }
  int err = 0;
  GifFileType* gif = EGifOpen(&out, GifWrite, &err);
  if (!gif) {
    GifFreeMapObject(map);
    return false;
  }
  bool good = EGifPutScreenDesc(gif, static_cast<int>(img.width), static_cast<int>(img.height), bits, 0, map) != GIF_ERROR &&
              EGifPutImageDesc(gif, 0, 0, static_cast<int>(img.width), static_cast<int>(img.height), false, nullptr) != GIF_ERROR;
  std::vector<GifPixelType> line(img.width);
  for (std::uint32_t y = 0; good && y < img.height; ++y) {
    const std::uint8_t* src = img.row(y);
    for (std::uint32_t x = 0; x < img.width; ++x)
      line[x] = static_cast<GifPixelType>(src[x] < (1 << bits) ? src[x] : 0);
    good = EGifPutLine(gif, line.data(), static_cast<int>(img.width)) != GIF_ERROR;
  }
  if (EGifCloseFile(gif, &err) == GIF_ERROR) good = false;
  GifFreeMapObject(map);
  return good && !out.failed();
}

namespace {
struct GifInput {
  const Bytes* data;
  std::size_t pos;
};
int GifRead(GifFileType* gif, GifByteType* dst, int n) {
  auto* in = static_cast<GifInput*>(gif->UserData);
  std::size_t left = in->data->size() - in->pos;
  std::size_t k = std::min(left, static_cast<std::size_t>(n < 0 ? 0 : n));
  if (k) std::memcpy(dst, in->data->data() + in->pos, k);
  in->pos += k;
  return static_cast<int>(k);
}
}  // namespace

bool ReadGif(const Bytes& data, Image& img) {
  GifInput in{&data, 0};
  int err = 0;
  GifFileType* gif = DGifOpen(&in, GifRead, &err);
  if (!gif) return false;
  bool good = false;
  GifRecordType type;
  while (DGifGetRecordType(gif, &type) == GIF_OK && type != TERMINATE_RECORD_TYPE) {
    if (type == EXTENSION_RECORD_TYPE) {
      int code = 0;
      GifByteType* ext = nullptr;
      if (DGifGetExtension(gif, &code, &ext) != GIF_OK) break;
      while (ext && DGifGetExtensionNext(gif, &ext) == GIF_OK) {
      }
      continue;
    }
    if (type != IMAGE_DESC_RECORD_TYPE || DGifGetImageDesc(gif) != GIF_OK) break;
    const GifImageDesc& d = gif->Image;
    // One LZW code of at least one bit stands for at most 4096 pixels: a
    // picture larger than that allows for the file's bytes cannot be in it.
    if (d.Width <= 0 || d.Height <= 0 ||
        std::uint64_t(d.Width) * std::uint64_t(d.Height) > std::uint64_t(data.size()) * 8 * 4096 || !img.allocate(static_cast<std::uint32_t>(d.Width),
                                                      static_cast<std::uint32_t>(d.Height), 1))
      break;
    const ColorMapObject* map = d.ColorMap ? d.ColorMap : gif->SColorMap;
    img.palette.clear();
    for (int i = 0; map && i < map->ColorCount; ++i)
      img.palette.push_back({map->Colors[i].Red, map->Colors[i].Green, map->Colors[i].Blue});
    good = true;
    if (d.Interlace) {
      static constexpr int kStart[] = {0, 4, 2, 1}, kStep[] = {8, 8, 4, 2};
      for (int pass = 0; good && pass < 4; ++pass)
        for (int y = kStart[pass]; good && y < d.Height; y += kStep[pass])
          good = DGifGetLine(gif, img.row(static_cast<std::uint32_t>(y)), d.Width) == GIF_OK;
    } else {
      for (int y = 0; good && y < d.Height; ++y)
        good = DGifGetLine(gif, img.row(static_cast<std::uint32_t>(y)), d.Width) == GIF_OK;
    }
    break;
  }
  DGifCloseFile(gif, &err);
  return good;
}

bool WritePnm(Sink& out, const Image& img, bool pbm) {
  if (img.width == 0 || img.height == 0) return false;
  if (pbm) {
    out.printf("P4\n%u %u\n", img.width, img.height);
    std::vector<std::uint8_t> line((img.width + 7) / 8);
    for (std::uint32_t y = 0; y < img.height; ++y) {
      std::fill(line.begin(), line.end(), 0);
      const std::uint8_t* src = img.row(y);
      for (std::uint32_t x = 0; x < img.width; ++x)
        if (src[std::size_t(x) * img.channels]) line[x / 8] = static_cast<std::uint8_t>(line[x / 8] | (0x80 >> (x % 8)));
      out.write(line.data(), line.size());
    }
    return !out.failed();
  }
  bool grey = img.channels == 1;
  if (grey)
    for (std::size_t i = 0; i < img.palette.size(); ++i)
      if (img.palette[i].r != i || img.palette[i].g != i || img.palette[i].b != i) grey = false;
  out.printf("%s\n%u %u\n255\n", grey ? "P5" : "P6", img.width, img.height);
  std::vector<std::uint8_t> line(std::size_t(img.width) * (grey ? 1 : 3));
  for (std::uint32_t y = 0; y < img.height; ++y) {
    const std::uint8_t* src = img.row(y);
    for (std::uint32_t x = 0; x < img.width; ++x) {
      if (grey) {
        line[x] = src[x];
      } else if (img.channels == 1) {
        Rgb c = src[x] < img.palette.size() ? img.palette[src[x]] : Rgb{};
        line[x * 3] = c.r;
        line[x * 3 + 1] = c.g;
        line[x * 3 + 2] = c.b;
      } else {
        std::memcpy(&line[x * 3], src + std::size_t(x) * img.channels, 3);
      }
    }
    out.write(line.data(), line.size());
  }
  return !out.failed();
}

}  // namespace pix
