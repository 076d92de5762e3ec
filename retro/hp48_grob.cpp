// HP48/HP49 graphic objects (.gro, .gf2) to a monochrome BMP in the
// calculator's display colours. The file is "HPHP48-" or "HPHP49-" and a
// letter, then the object as 4-bit nibbles, low nibble first: prolog 0x02B1E,
// length, height and width (5 nibbles each), then the rows, each a whole
// number of bytes with the leftmost pixel in the lowest bit.
// Result: file mode 0 written, 1 refused; memory mode the byte count.
#include <cstring>

#include "common/endian.h"
#include "common/files.h"
#include "common/image.h"
#include "common/reader.h"
#include "retro/retro.h"

namespace pix {
namespace {

constexpr std::size_t kHeader = 8;
constexpr std::uint32_t kGraphicProlog = 0x02B1E;

std::uint32_t Field(const ByteReader& f, std::size_t nibble) {
  std::uint32_t v = 0;
  for (int k = 0; k < 5; ++k) {
    std::size_t n = nibble + static_cast<std::size_t>(k);
    std::uint8_t b = f.at(kHeader + n / 2);
    v |= static_cast<std::uint32_t>(n % 2 ? b >> 4 : b & 0x0F) << (4 * k);
  }
  return v;
}

std::uint8_t Reverse(std::uint8_t b) {
  b = static_cast<std::uint8_t>((b & 0xF0) >> 4 | (b & 0x0F) << 4);
  b = static_cast<std::uint8_t>((b & 0xCC) >> 2 | (b & 0x33) << 2);
  return static_cast<std::uint8_t>((b & 0xAA) >> 1 | (b & 0x55) << 1);
}

// The BMP of a valid object, or an empty vector.
Bytes GrobBmp(const Bytes& file) {
  ByteReader f(file);
  if (file.size() < kHeader ||
      (std::memcmp(file.data(), "HPHP48-", 7) != 0 && std::memcmp(file.data(), "HPHP49-", 7) != 0))
    return {};
  if (Field(f, 0) != kGraphicProlog) return {};
  const std::uint64_t length = Field(f, 5), height = Field(f, 10), width = Field(f, 15);
  const std::uint64_t rowBytes = (width + 7) / 8;
  if (length != 2 * rowBytes * height + 15 || kHeader + (length + 5) / 2 > file.size()) return {};
  const std::uint64_t stride = 4 * ((width + 31) / 32);
  if (CheckedSize(stride, height, 1, 62) == 0) return {};
  const std::uint32_t image = static_cast<std::uint32_t>(stride * height);

  Bytes bmp(62 + image, 0);
  auto put16 = [&](std::size_t at, std::uint32_t v) { PutLe16(&bmp[at], v); };
  auto put32 = [&](std::size_t at, std::uint32_t v) { PutLe32(&bmp[at], v); };
  bmp[0] = 'B';
  bmp[1] = 'M';
  put32(2, 62 + image);
  put32(10, 62);
  put32(14, 40);
  put32(18, static_cast<std::uint32_t>(width));
  put32(22, static_cast<std::uint32_t>(height));
  put16(26, 1);
  put16(28, 1);
  put32(34, image);
  put32(38, 2140);
  put32(42, 2140);
  put32(46, 2);
  put32(50, 2);
  const std::uint8_t palette[8] = {0x5E, 0xA4, 0x6C, 0, 0x85, 0x25, 0x27, 0};  // blue, green, red, 0
  std::memcpy(bmp.data() + 54, palette, sizeof palette);
  const std::size_t data = kHeader + 10;
  for (std::uint64_t r = 0; r < height; ++r) {
    std::uint8_t* row = bmp.data() + 62 + (height - 1 - r) * stride;
    for (std::uint64_t k = 0; k < rowBytes; ++k) row[k] = Reverse(f.at(data + r * rowBytes + k));
  }
  return bmp;
}

}  // namespace

int GroToBmp(const ConvertCall& call) {
  const bool memory = call.memoryMode();
  const int refused = memory ? 0 : 1;
  Bytes file;
  if (!call.source || !ReadWholeFile(call.source, file, std::size_t(64) << 20)) return refused;
  Bytes bmp = GrobBmp(file);
  if (bmp.empty()) return refused;
  if (memory) return HandOver(bmp, call.out);
  Sink out;
  if (!out.open(call.target)) return refused;
  out.write(bmp);
  return out.close() ? 0 : 1;
}

}  // namespace pix
