// Windows BMP (BITMAPINFOHEADER): 1, 4 and 8 bits with the picture's own
// palette, 24 bits, and 32 bits for pictures with alpha. Rows bottom-up,
// padded to 4 bytes.
#include <algorithm>
#include <cstring>

#include "common/image.h"

namespace pix {
namespace {

int AutoDepth(const Image& img) {
  if (img.channels == 4) return 32;
  if (img.channels == 3) return 24;
  if (img.palette.empty()) return 8;
  if (img.palette.size() <= 2) return 1;
  if (img.palette.size() <= 16) return 4;
  return 8;
}

}  // namespace

bool WriteBmp(Sink& out, const Image& img, int bitsPerPixel) {
  if (img.width == 0 || img.height == 0 || img.pixels.size() < std::size_t(img.width) * img.height * img.channels)
    return false;
  int bpp = bitsPerPixel ? bitsPerPixel : AutoDepth(img);
  if (bpp != 1 && bpp != 4 && bpp != 8 && bpp != 24 && bpp != 32) return false;
  const bool paletted = bpp <= 8;
  if (paletted && img.channels != 1) return false;
  // A grey picture written with fewer than 8 bits keeps the top bits of each level.
  const bool greyLevels = paletted && img.palette.empty();
  std::vector<Rgb> palette = greyLevels ? GreyRamp(1 << bpp) : img.palette;
  if (!greyLevels) palette.resize(std::min<std::size_t>(palette.size(), std::size_t(1) << bpp));
  const std::uint32_t colours = paletted ? static_cast<std::uint32_t>(palette.size()) : 0u;
  const std::uint64_t rowBytes = ((std::uint64_t(img.width) * bpp + 31) / 32) * 4;
  const std::uint64_t dataSize = rowBytes * img.height;
  const std::uint32_t offset = 14 + 40 + colours * 4;
  if (dataSize + offset > 0x7FFFFFFFu) return false;
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
  out.put32le(0);  // no compression
  out.put32le(static_cast<std::uint32_t>(dataSize));
  out.put32le(2835);
  out.put32le(2835);
  out.put32le(colours);
  out.put32le(0);
  for (const Rgb& c : palette) {
    std::uint8_t q[4] = {c.b, c.g, c.r, 0};
    out.write(q, 4);
  }
  std::vector<std::uint8_t> line(static_cast<std::size_t>(rowBytes), 0);
  for (std::uint32_t y = img.height; y-- > 0;) {
    std::fill(line.begin(), line.end(), 0);
    const std::uint8_t* src = img.row(y);
    for (std::uint32_t x = 0; x < img.width; ++x) {
      if (paletted) {
        unsigned v = greyLevels ? src[x] >> (8 - bpp) : src[x];
        if (v >= colours) v = 0;
        const unsigned per = 8 / bpp;
        const unsigned shift = 8 - bpp - (x % per) * bpp;
        line[x / per] = static_cast<std::uint8_t>(line[x / per] | (v << shift));
      } else {
        Rgb c = img.rgb(x, y);
        std::uint8_t* d = &line[std::size_t(x) * (bpp / 8)];
        d[0] = c.b;
        d[1] = c.g;
        d[2] = c.r;
        if (bpp == 32) d[3] = img.alpha(x, y);
      }
    }
    out.write(line.data(), line.size());
  }
  return !out.failed();
}

}  // namespace pix
