// Netpbm PBM (P4), PGM (P5) and PPM (P6).
#include <algorithm>
#include <cstring>

#include "common/image.h"

namespace pix {

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
