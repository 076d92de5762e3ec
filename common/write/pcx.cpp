// ZSoft PCX version 5, run-length encoded: indexed and grey pictures as one
// 8-bit plane followed by the 256-colour palette (0x0C and 768 bytes), RGB
// as three 8-bit planes per line.
#include <vector>

#include "common/endian.h"
#include "common/image.h"

namespace pix {
namespace {

// One plane line, run-length encoded: runs of up to 63, and any byte of the
// form 11xxxxxx written as a run of one.
void EncodeLine(std::vector<std::uint8_t>& dst, const std::uint8_t* src, std::size_t n) {
  std::size_t i = 0;
  while (i < n) {
    std::size_t run = 1;
    while (i + run < n && run < 63 && src[i + run] == src[i]) ++run;
    if (run > 1 || (src[i] & 0xC0) == 0xC0) dst.push_back(static_cast<std::uint8_t>(0xC0 | run));
    dst.push_back(src[i]);
    i += run;
  }
}

}  // namespace

bool WritePcx(Sink& out, const Image& img) {
  if (img.width == 0 || img.height == 0 || img.width > 65535 || img.height > 65535) return false;
  const int planes = img.channels == 1 ? 1 : 3;
  std::uint32_t bytesPerLine = img.width + (img.width & 1);  // even
  std::uint8_t h[128] = {};
  h[0] = 0x0A;
  h[1] = 5;
  h[2] = 1;
  h[3] = 8;
  PutLe16(h + 8, img.width - 1);
  PutLe16(h + 10, img.height - 1);
  h[12] = 72;
  h[14] = 72;
  h[65] = static_cast<std::uint8_t>(planes);
  PutLe16(h + 66, bytesPerLine);
  h[68] = 1;
  out.write(h, sizeof h);
  std::vector<std::uint8_t> plane(bytesPerLine), coded;
  for (std::uint32_t y = 0; y < img.height; ++y) {
    coded.clear();
    const std::uint8_t* src = img.row(y);
    for (int p = 0; p < planes; ++p) {
      std::fill(plane.begin(), plane.end(), 0);
      for (std::uint32_t x = 0; x < img.width; ++x) plane[x] = src[std::size_t(x) * img.channels + p];
      EncodeLine(coded, plane.data(), plane.size());
    }
    out.write(coded.data(), coded.size());
  }
  if (planes == 1) {
    std::vector<Rgb> palette = img.palette.empty() ? GreyRamp(256) : img.palette;
    palette.resize(256);
    out.put8(0x0C);
    for (const Rgb& c : palette) {
      std::uint8_t q[3] = {c.r, c.g, c.b};
      out.write(q, 3);
    }
  }
  return !out.failed();
}

}  // namespace pix
