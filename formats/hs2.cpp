// HS2 pictures of the DOS poster program POSTERING: no header, rows of 105
// bytes (840 pixels, one bit each, the leftmost in the high bit, a set bit
// white), as many rows as the file holds (a last partial row is filled
// white). Written as one 1-bit BMP to the target path, or handed back in
// memory mode.
#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kWidth = 840;
constexpr std::size_t kRowBytes = kWidth / 8;
constexpr std::size_t kMaxFile = std::size_t(64) << 20;
// Index 0 black, 1 white: the bit of a pixel is its index.
const std::vector<Rgb> kBlackWhite = {Rgb{0, 0, 0}, Rgb{255, 255, 255}};

}  // namespace

int Hs2ToBmp(const ConvertCall& call) {
  Bytes bytes;
  if (!call.source || !ReadWholeFile(call.source, bytes, kMaxFile) || bytes.empty()) return 0;
  const ByteReader file(bytes);
  const auto height = static_cast<std::uint32_t>((file.size() + kRowBytes - 1) / kRowBytes);
  Image img;
  if (!img.allocate(kWidth, height, 1)) return 0;
  img.palette = kBlackWhite;
  img.bits = 1;
  for (std::uint32_t y = 0; y < height; ++y) {
    std::uint8_t* out = img.row(y);
    for (std::uint32_t x = 0; x < kWidth; ++x) {
      const std::size_t at = y * kRowBytes + x / 8;
      out[x] = at < file.size() ? (file.at(at) >> (7 - x % 8)) & 1 : 1;
    }
  }
  return WriteOne(call, [&](Sink& s) { return WriteBmp(s, img, 1); });
}

}  // namespace pix
