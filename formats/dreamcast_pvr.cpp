// Dreamcast PowerVR textures (".pvr": an optional "GBIX" block, then
// "PVRT"): 16-bit texels (ARGB1555, RGB565, ARGB4444) stored as rows,
// twiddled squares or vector-quantised blocks, with or without mipmaps (the
// full-size level comes last). Written as a 24-bit BMP, alpha dropped.
#include <cstdint>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kMaxSide = 4096;

// Index of texel (x, y) inside a twiddled square: y's bits in the even
// positions, x's bits in the odd ones.
std::uint64_t Twiddle(std::uint32_t x, std::uint32_t y) {
  std::uint64_t t = 0;
  for (int i = 0; i < 16; ++i) {
    t |= std::uint64_t((y >> i) & 1) << (2 * i);
    t |= std::uint64_t((x >> i) & 1) << (2 * i + 1);
  }
  return t;
}

bool PowerOfTwo(std::uint32_t v) { return v && !(v & (v - 1)); }

Rgb Texel(std::uint16_t w, int format) {
  auto five = [](unsigned v) { return static_cast<std::uint8_t>(v << 3 | v >> 2); };
  if (format == 0) return Rgb{five((w >> 10) & 31), five((w >> 5) & 31), five(w & 31)};
  if (format == 1) {
    const unsigned g = (w >> 5) & 63;
    return Rgb{five(w >> 11), static_cast<std::uint8_t>(g << 2 | g >> 4), five(w & 31)};
  }
  auto four = [](unsigned v) { return static_cast<std::uint8_t>(v * 17); };
  return Rgb{four((w >> 8) & 15), four((w >> 4) & 15), four(w & 15)};
}

// Position of texel (x, y) in a twiddled picture made of squares of side min(w, h).
std::uint64_t TwiddledIndex(std::uint32_t x, std::uint32_t y, std::uint32_t w, std::uint32_t h) {
  const std::uint32_t s = w < h ? w : h;
  const std::uint64_t square = w > h ? x / s : y / s;
  return square * s * s + Twiddle(x % s, y % s);
}

}  // namespace

int PvrToBmp(const ConvertCall& call) {
  Bytes data;
  if (!call.source || !ReadWholeFile(call.source, data, 64u << 20)) return 0;
  ByteReader in(data);
  std::size_t p = 0;
  if (in.has(0, 8) && in.sub(0, 4).str(4) == "GBIX") {
    const std::uint32_t length = in.u32leAt(4);
    if (length <= 64) p = 8 + length;
  }
  if (!in.has(p, 16) || in.sub(p, 4).str(4) != "PVRT") {
    p = 0;
    for (std::size_t i = 0; i + 16 <= data.size() && i < 128; ++i)
      if (in.at(i) == 'P' && in.at(i + 1) == 'V' && in.at(i + 2) == 'R' && in.at(i + 3) == 'T') { p = i; break; }
    if (!in.has(p, 16) || in.sub(p, 4).str(4) != "PVRT") return 0;
  }
  const std::uint32_t chunk = in.u32leAt(p + 4);
  const int pixel = in.at(p + 8), kind = in.at(p + 9);
  const std::uint32_t w = in.u16leAt(p + 12), h = in.u16leAt(p + 14);
  if (pixel > 2 || w < 8 || h < 8 || w > kMaxSide || h > kMaxSide) return 0;
  const std::size_t start = p + 16;
  std::size_t end = p + 8 + std::size_t(chunk);
  if (end > data.size() || end < start) end = data.size();
  ByteReader body = in.sub(start, end - start);
  const bool square = kind == 1 || kind == 2 || kind == 3 || kind == 4 || kind == 16 || kind == 17;
  if (square && (w != h || !PowerOfTwo(w))) return 0;
  if (kind == 13 && (!PowerOfTwo(w) || !PowerOfTwo(h))) return 0;
  Image img;
  if (!img.allocate(w, h, 3)) return 0;
  const std::size_t texels = std::size_t(w) * h;
  if (kind == 1 || kind == 2 || kind == 9 || kind == 11 || kind == 13) {
    if (body.size() < texels * 2) return 0;
    const std::size_t at = body.size() - texels * 2;  // the full-size level is the last
    for (std::uint32_t y = 0; y < h; ++y)
      for (std::uint32_t x = 0; x < w; ++x) {
        const std::uint64_t i = (kind == 9 || kind == 11) ? std::uint64_t(y) * w + x : TwiddledIndex(x, y, w, h);
        const Rgb c = Texel(body.u16leAt(at + static_cast<std::size_t>(i) * 2), pixel);
        std::uint8_t* o = img.row(y) + std::size_t(x) * 3;
        o[0] = c.r;
        o[1] = c.g;
        o[2] = c.b;
      }
  } else if (kind == 3 || kind == 4 || kind == 16 || kind == 17) {
    const std::size_t indices = texels / 4;
    std::size_t book = 2048;
    if (kind == 16 || kind == 17) {
      std::size_t mips = 0;
      if (kind == 17)
        for (std::uint32_t s = w / 2; s >= 1; s /= 2) mips += s >= 2 ? std::size_t(s / 2) * (s / 2) : 1;  // smaller levels
      if (body.size() < indices + mips) return 0;
      book = body.size() - indices - mips;
      if (book % 8 != 0 || book == 0 || book > 2048) return 0;
    }
    if (body.size() < book + indices) return 0;
    const std::size_t at = body.size() - indices;
    for (std::uint32_t y = 0; y < h; ++y)
      for (std::uint32_t x = 0; x < w; ++x) {
        const std::size_t entry = body.at(at + static_cast<std::size_t>(Twiddle(x / 2, y / 2)));
        if (entry * 8 >= book) return 0;
        const std::size_t texel = (x % 2) * 2 + (y % 2);
        const Rgb c = Texel(body.u16leAt(entry * 8 + texel * 2), pixel);
        std::uint8_t* o = img.row(y) + std::size_t(x) * 3;
        o[0] = c.r;
        o[1] = c.g;
        o[2] = c.b;
      }
  } else {
    return 0;
  }
  return WriteOne(call, [&](Sink& s) { return WriteBmp(s, img, 24); });
}

}  // namespace pix
