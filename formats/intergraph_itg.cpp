// Intergraph bilevel raster files (".itg", Intergraph raster data type 9,
// run-length coded) to raw PBM. A 512-byte header block (little-endian:
// header type 08 09 or C8 09, words to follow, data type, ..., width at 184,
// height at 188, scan-line orientation at 194) and usually a second block;
// the data start at 2 x words-to-follow + 4. Each line is a list of 16-bit
// run lengths, alternately background (white) and ink (black), starting with
// a background run, optionally behind a line header (0x5900, words to
// follow, line number, pixels to skip). Orientation 4 stores rows top to
// bottom, 6 bottom to top; other orientations, CCITT Group 4 (type 24) and
// tiled files are refused. A run stream that ends early leaves the rest
// white. Writes the target path itself and returns 1, 0 for anything else.
#include <algorithm>
#include <cstdint>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint16_t kLineHeader = 0x5900;

struct ItgState {
  ByteReader in;
  Image* img = nullptr;
  bool lineHeaders = false;
};

// Paints runs into row y until the width is reached or `end` (a byte offset).
void Runs(ItgState& s, std::uint32_t y, std::size_t end) {
  const std::uint32_t width = s.img->width;
  std::uint8_t* row = s.img->row(y);
  std::uint32_t x = 0;
  bool ink = false;
  int count = 0;
  while (x < width && s.in.pos() + 2 <= end) {
    const std::uint32_t n = std::min<std::uint32_t>(s.in.u16le(), width - x);
    if (ink) std::fill_n(row + x, n, std::uint8_t(1));
    x += n;
    ink = !ink;
    ++count;
  }
  // A line that ended on an ink run is closed by an empty background run.
  if (!s.lineHeaders && count % 2 == 0 && s.in.pos() + 2 <= end && s.in.u16leAt(s.in.pos()) == 0) s.in.skip(2);
}

bool Decode(const Bytes& data, Image& img) {
  ItgState s{ByteReader(data), &img, false};
  ByteReader& in = s.in;
  if (!in.has(0, 512) || (in.at(0) & 0x3F) != 8 || in.at(1) != 9) return false;
  const std::uint16_t wtf = in.u16leAt(2), type = in.u16leAt(4);
  const std::uint32_t width = in.u32leAt(184), height = in.u32leAt(188);
  const std::uint8_t orientation = in.at(194);
  const std::size_t dataAt = 2 * std::size_t(wtf) + 4;
  if (wtf < 254 || (wtf + 2) % 256 != 0 || type != 9 || (orientation != 4 && orientation != 6)) return false;
  if (dataAt >= in.size() || !img.allocate(width, height, 1)) return false;
  img.palette = {{255, 255, 255}, {0, 0, 0}};
  img.bits = 1;
  in.seek(dataAt);
  s.lineHeaders = in.u16leAt(dataAt) == kLineHeader;
  for (std::uint32_t line = 0; line < height && in.remaining() >= 2; ++line) {
    const std::uint32_t y = orientation == 4 ? line : height - 1 - line;
    std::size_t end = in.size();
    if (s.lineHeaders) {
      if (in.u16leAt(in.pos()) != kLineHeader) break;
      const std::size_t start = in.pos();
      in.skip(2);
      const std::uint16_t words = in.u16le();
      in.skip(4);
      end = std::min(in.size(), start + (std::size_t(words) + 2) * 2);
      if (end < in.pos()) break;
      Runs(s, y, end);
      in.seek(end);
    } else {
      Runs(s, y, end);
    }
  }
  return true;
}

}  // namespace

int ItgToPbm(const ConvertCall& call) {
  return ConvertWhole(
      call, [](const Bytes& data, Image& img) { return Decode(data, img); },
      [](Sink& out, const Image& img) { return WritePnm(out, img, true); });
}

}  // namespace pix
