// Sun raster files, standard (uncompressed) type: indexed and grey pictures
// as 8 bits with an RGB colour map (all reds, then greens, then blues), RGB
// as 24 bits in BGR order. Big-endian header; rows padded to 16 bits.
#include <vector>

#include "common/image.h"

namespace pix {

bool WriteSun(Sink& out, const Image& img) {
  if (img.width == 0 || img.height == 0) return false;
  const bool mapped = img.channels == 1;
  const std::uint32_t depth = mapped ? 8 : 24;
  const std::size_t rowBytes = (std::size_t(img.width) * depth / 8 + 1) & ~std::size_t(1);
  const std::uint64_t length = std::uint64_t(rowBytes) * img.height;
  if (length > 0x7FFFFFFFu) return false;
  std::vector<Rgb> palette;
  if (mapped) {
    palette = img.palette.empty() ? GreyRamp(256) : img.palette;
    if (palette.size() > 256) palette.resize(256);
  }
  out.put32be(0x59A66A95);
  out.put32be(img.width);
  out.put32be(img.height);
  out.put32be(depth);
  out.put32be(static_cast<std::uint32_t>(length));
  out.put32be(1);                                           // standard type
  out.put32be(mapped ? 1 : 0);                              // RGB colour map
  out.put32be(static_cast<std::uint32_t>(palette.size() * 3));
  for (const Rgb& c : palette) out.put8(c.r);
  for (const Rgb& c : palette) out.put8(c.g);
  for (const Rgb& c : palette) out.put8(c.b);
  std::vector<std::uint8_t> line(rowBytes);
  for (std::uint32_t y = 0; y < img.height; ++y) {
    std::fill(line.begin(), line.end(), 0);
    const std::uint8_t* src = img.row(y);
    for (std::uint32_t x = 0; x < img.width; ++x) {
      if (mapped) {
        line[x] = src[x] < palette.size() ? src[x] : 0;
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

}  // namespace pix
