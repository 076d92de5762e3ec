#include "common/image.h"

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

Rgb Image::rgb(std::uint32_t x, std::uint32_t y) const {
  const std::uint8_t* p = row(y) + std::size_t(x) * channels;
  if (channels >= 3) return Rgb{p[0], p[1], p[2]};
  if (palette.empty()) return Rgb{p[0], p[0], p[0]};
  return p[0] < palette.size() ? palette[p[0]] : Rgb{};
}

Image Image::toRgb(bool keepAlpha) const {
  Image out;
  int ch = keepAlpha && channels == 4 ? 4 : 3;
  if (!out.allocate(width, height, ch)) return out;
  for (std::uint32_t y = 0; y < height; ++y) {
    std::uint8_t* d = out.row(y);
    for (std::uint32_t x = 0; x < width; ++x, d += ch) {
      Rgb c = rgb(x, y);
      d[0] = c.r;
      d[1] = c.g;
      d[2] = c.b;
      if (ch == 4) d[3] = alpha(x, y);
    }
  }
  return out;
}

const std::vector<Rgb>& PcColours() {
  static const std::vector<Rgb> kColours = {
      {0, 0, 0},          {0, 0, 0xAA},       {0, 0xAA, 0},       {0, 0xAA, 0xAA},    {0xAA, 0, 0},    {0xAA, 0, 0xAA},
      {0xAA, 0x55, 0},    {0xAA, 0xAA, 0xAA}, {0x55, 0x55, 0x55}, {0x55, 0x55, 0xFF}, {0x55, 0xFF, 0x55},
      {0x55, 0xFF, 0xFF}, {0xFF, 0x55, 0x55}, {0xFF, 0x55, 0xFF}, {0xFF, 0xFF, 0x55}, {0xFF, 0xFF, 0xFF}};
  return kColours;
}

Rgb EgaColour(unsigned reg) {
  auto part = [&](int strong, int weak) { return std::uint8_t(0xAA * ((reg >> strong) & 1) + 0x55 * ((reg >> weak) & 1)); };
  return Rgb{part(2, 5), part(1, 4), part(0, 3)};
}

std::vector<Rgb> GreyRamp(int n) {
  std::vector<Rgb> p;
  for (int i = 0; i < n; ++i) {
    auto v = static_cast<std::uint8_t>(n > 1 ? i * 255 / (n - 1) : 0);
    p.push_back({v, v, v});
  }
  return p;
}

}  // namespace pix
