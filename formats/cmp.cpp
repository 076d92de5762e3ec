// ".cmp" pictures to TIFF. Two kinds are read, each recognised by its own
// exact test (neither has a signature):
// - Westwood screens: a little-endian word with the file size less 2 (type 4:
//   less 3), a type byte, and a run-length coded 320 x 200 picture; types 1
//   and 4 hold 4-bit pixels row by row (16-bit counts little- and big-endian),
//   type 2 the same column by column. No palette is stored: the EGA colours.
// - Public Painter (Atari ST): an escape byte, a page byte (0: 640 x 400,
//   C8: 640 x 800) and runs (escape, count k, value: k + 1 times; any other
//   byte as it is) that must fill the monochrome screen exactly.
// LEAD toolkit files ("LEAD", "LTRI") and "LzH2" files use undocumented
// packings and give nothing.
#include <cstdint>
#include <cstring>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

bool ReadWestwood(const Bytes& data, Image& img) {
  ByteReader in(data);
  std::uint16_t size = in.u16le();
  std::uint8_t type = in.u8();
  if (in.bad() || (type != 1 && type != 2 && type != 4)) return false;
  if (std::size_t(size) + (type == 4 ? 3 : 2) != data.size()) return false;
  Bytes out(32000, 0);
  std::size_t pos = 0;
  while (pos < out.size() && !in.atEnd()) {
    std::uint8_t c = in.u8();
    if (c == 0) {
      std::uint16_t n = type == 4 ? in.u16be() : in.u16le();
      std::uint8_t v = in.u8();
      if (in.bad()) break;
      for (std::uint32_t k = 0; k < n && pos < out.size(); ++k) out[pos++] = v;
    } else if (c < 0x80) {
      for (int k = 0; k < c && pos < out.size() && !in.atEnd(); ++k) out[pos++] = in.u8();
    } else {
      std::uint8_t v = in.u8();
      if (in.bad()) break;
      for (int k = 0; k < 0x100 - c && pos < out.size(); ++k) out[pos++] = v;
    }
  }
  if (!img.allocate(320, 200, 1)) return false;
  img.palette = PcColours();
  img.bits = 4;
  for (std::size_t k = 0; k < out.size(); ++k) {
    // Byte k: two pixels, the high nibble first; by rows, or by columns of bytes for type 2.
    std::size_t row = type == 2 ? k % 200 : k / 160, col = type == 2 ? k / 200 : k % 160;
    img.row(static_cast<std::uint32_t>(row))[col * 2] = out[k] >> 4;
    img.row(static_cast<std::uint32_t>(row))[col * 2 + 1] = out[k] & 15;
  }
  return true;
}

bool ReadPublicPainter(const Bytes& data, Image& img) {
  if (data.size() < 3 || data.size() > 65536) return false;
  ByteReader in(data);
  std::uint8_t escape = in.u8(), page = in.u8();
  if (page != 0 && page != 0xC8) return false;
  const std::uint32_t height = page == 0 ? 400 : 800;
  Bytes screen(std::size_t(80) * height);
  std::size_t pos = 0;
  while (!in.atEnd()) {
    std::uint8_t b = in.u8();
    if (b != escape) {
      if (pos >= screen.size()) return false;
      screen[pos++] = b;
      continue;
    }
    std::uint8_t k = in.u8(), v = in.u8();
    if (in.bad() || pos + k + 1u > screen.size()) return false;  // a run past the screen: not this format
    for (int r = 0; r <= k; ++r) screen[pos++] = v;
  }
  if (pos != screen.size()) return false;
  if (!img.allocate(640, height, 1)) return false;
  img.palette = {{255, 255, 255}, {0, 0, 0}};
  img.bits = 1;
  for (std::uint32_t y = 0; y < height; ++y)
    for (std::uint32_t x = 0; x < 640; ++x) img.row(y)[x] = screen[y * 80 + x / 8] >> (7 - x % 8) & 1;
  return true;
}

}  // namespace

int CmpToTiff(const ConvertCall& call) {
  Bytes data;
  if (!ReadWholeFile(call.source, data, std::size_t(1) << 20) || data.size() < 4) return 0;
  ByteReader head(data);
  std::string magic = head.str(4);
  if (magic == "LEAD" || magic == "LTRI" || magic == "LzH2") return 0;
  Image img;
  if (!ReadWestwood(data, img) && !ReadPublicPainter(data, img)) return 0;
  return WriteOne(call, [&](Sink& s) { return WriteTiff(s, img); });
}

}  // namespace pix
