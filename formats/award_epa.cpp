// Award BIOS boot logos (".epa"): version 2 ("AWBM", 8-bit indices or four
// bit planes per row, then "RGB " and a 6-bit palette) and version 1 (text
// cells of 8 x 14 pixels, two PC text colours per cell). Written as an 8-bit
// or 4-bit BMP, in file or memory mode.
#include <cstdint>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kMaxSide = 4096;

std::uint8_t Six(std::uint8_t v) { return static_cast<std::uint8_t>((v & 63) << 2 | (v & 63) >> 4); }

bool IsRgbMark(const ByteReader& in, std::size_t at) {
  return in.has(at, 4) && in.at(at) == 'R' && in.at(at + 1) == 'G' && in.at(at + 2) == 'B' && in.at(at + 3) == ' ';
}

bool ReadVersion2(const ByteReader& in, Image& img) {
  const std::uint32_t w = in.u16leAt(4), h = in.u16leAt(6);
  if (w == 0 || h == 0 || w > kMaxSide || h > kMaxSide) return false;
  const std::size_t full = std::size_t(w) * h;
  const std::size_t segment = (w + 7) / 8;
  const std::size_t planar = 4 * segment * h;
  if (IsRgbMark(in, 8 + full) && in.has(12 + full, 768)) {
    img.bits = 8;
    for (int i = 0; i < 256; ++i) {
      const std::size_t p = 12 + full + std::size_t(i) * 3;
      img.palette.push_back(Rgb{Six(in.at(p)), Six(in.at(p + 1)), Six(in.at(p + 2))});
    }
    if (!img.allocate(w, h, 1)) return false;
    for (std::size_t i = 0; i < full; ++i) img.pixels[i] = in.at(8 + i);
    return true;
  }
  if (IsRgbMark(in, 8 + planar) && in.has(12 + planar, 48)) {
    img.bits = 4;
    for (int i = 0; i < 16; ++i) {
      const std::size_t p = 12 + planar + std::size_t(i) * 3;
      img.palette.push_back(Rgb{Six(in.at(p + 2)), Six(in.at(p + 1)), Six(in.at(p))});
    }
    if (!img.allocate(w, h, 1)) return false;
    for (std::uint32_t y = 0; y < h; ++y)
      for (std::uint32_t x = 0; x < w; ++x) {
        std::uint8_t v = 0;
        for (int plane = 0; plane < 4; ++plane) {
          const std::uint8_t b = in.at(8 + (std::size_t(y) * 4 + plane) * segment + x / 8);
          v |= static_cast<std::uint8_t>(((b >> (7 - x % 8)) & 1) << plane);
        }
        img.row(y)[x] = v;
      }
    return true;
  }
  return false;
}

bool ReadVersion1(const ByteReader& in, Image& img) {
  const std::uint32_t cw = in.at(0), ch = in.at(1);
  const std::size_t cells = std::size_t(cw) * ch;
  if (cells == 0 || cells > 256) return false;
  if (in.size() != 2 + 15 * cells + 70 && in.size() != 2 + 15 * cells) return false;
  img.palette = PcColours();
  img.bits = 4;
  if (!img.allocate(cw * 8, ch * 14, 1)) return false;
  for (std::size_t cell = 0; cell < cells; ++cell) {
    const std::uint8_t attr = in.at(2 + cell);
    const std::uint32_t cx = static_cast<std::uint32_t>(cell % cw) * 8, cy = static_cast<std::uint32_t>(cell / cw) * 14;
    for (std::uint32_t r = 0; r < 14; ++r) {
      const std::uint8_t bits = in.at(2 + cells + cell * 14 + r);
      for (std::uint32_t x = 0; x < 8; ++x)
        img.row(cy + r)[cx + x] = (bits >> (7 - x)) & 1 ? (attr & 15) : (attr >> 4);
    }
  }
  return true;
}

}  // namespace

int EpaToBmp(const ConvertCall& call) {
  return ConvertWhole(
      call,
      [](const Bytes& data, Image& img) {
        const ByteReader in(data);
        const bool v2 = in.has(0, 8) && in.sub(0, 4).str(4) == "AWBM";
        return v2 ? ReadVersion2(in, img) : ReadVersion1(in, img);
      },
      [](Sink& s, const Image& img) { return WriteBmp(s, img, img.bits == 8 ? 8 : 4); }, 64u << 20);
}

}  // namespace pix
