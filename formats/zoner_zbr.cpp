// Zoner Zebra drawings (".zbr", id 9A 02): the 100 x 100, 16-colour preview
// every file carries after its header (a colour table and bottom-up 4-bit
// rows, as in a Windows DIB) is written as a 4-bit BMP, in file or memory
// mode. The drawing itself is not rendered.
#include <cstdint>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::size_t kPalette = 104, kPixels = 168, kSide = 100, kStride = 52;

bool ReadZbr(const Bytes& data, Image& img) {
  ByteReader in(data);
  if (in.u16leAt(0) != 0x029A || !in.has(0, kPixels + kStride * kSide)) return false;
  for (std::size_t i = 0; i < 16; ++i)
    img.palette.push_back(Rgb{in.at(kPalette + i * 4 + 2), in.at(kPalette + i * 4 + 1), in.at(kPalette + i * 4)});
  img.bits = 4;
  if (!img.allocate(kSide, kSide, 1)) return false;
  for (std::uint32_t y = 0; y < kSide; ++y) {
    const std::size_t row = kPixels + (kSide - 1 - y) * kStride;
    for (std::uint32_t x = 0; x < kSide; ++x) {
      const std::uint8_t b = in.at(row + x / 2);
      img.row(y)[x] = x % 2 ? (b & 15) : (b >> 4);
    }
  }
  return true;
}

}  // namespace

int ZbrToBmp(const ConvertCall& call) {
  return ConvertWhole(
      call, ReadZbr, [](Sink& s, const Image& img) { return WriteBmp(s, img, 4); }, 64u << 20);
}

}  // namespace pix
