// Truevision Targa, uncompressed, rows bottom-up: type 1 (8-bit indices with
// a 24-bit colour map), type 3 (8-bit grey), type 2 (24-bit BGR or 32-bit
// BGRA with 8 alpha bits).
#include <vector>

#include "common/image.h"

namespace pix {

bool WriteTga(Sink& out, const Image& img) {
  if (img.width == 0 || img.height == 0 || img.width > 65535 || img.height > 65535) return false;
  const bool mapped = img.indexed();
  const bool grey = img.grey();
  const int depth = img.channels == 1 ? 8 : img.channels == 4 ? 32 : 24;
  const std::size_t mapLength = mapped ? std::min<std::size_t>(img.palette.size(), 256) : 0;
  out.put8(0);                              // no identification field
  out.put8(mapped ? 1 : 0);                 // colour map present
  out.put8(mapped ? 1 : grey ? 3 : 2);      // image type
  out.put16le(0);                           // first map entry
  out.put16le(static_cast<std::uint16_t>(mapLength));
  out.put8(mapped ? 24 : 0);
  out.put16le(0);                           // origin x, y
  out.put16le(0);
  out.put16le(static_cast<std::uint16_t>(img.width));
  out.put16le(static_cast<std::uint16_t>(img.height));
  out.put8(static_cast<std::uint8_t>(depth));
  out.put8(depth == 32 ? 8 : 0);            // alpha bits, bottom-left origin
  for (std::size_t i = 0; i < mapLength; ++i) {
    const Rgb& c = img.palette[i];
    std::uint8_t q[3] = {c.b, c.g, c.r};
    out.write(q, 3);
  }
  std::vector<std::uint8_t> line(std::size_t(img.width) * (depth / 8));
  for (std::uint32_t y = img.height; y-- > 0;) {
    const std::uint8_t* src = img.row(y);
    for (std::uint32_t x = 0; x < img.width; ++x) {
      if (img.channels == 1) {
        line[x] = mapped && src[x] >= mapLength ? 0 : src[x];
      } else {
        std::uint8_t* d = &line[std::size_t(x) * (depth / 8)];
        const std::uint8_t* p = src + std::size_t(x) * img.channels;
        d[0] = p[2];
        d[1] = p[1];
        d[2] = p[0];
        if (depth == 32) d[3] = p[3];
      }
    }
    out.write(line.data(), line.size());
  }
  return !out.failed();
}

}  // namespace pix
