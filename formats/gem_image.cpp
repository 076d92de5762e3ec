// GEM bit images: a header of big-endian words (version, header length in
// words, planes, pattern length, pixel size in micrometres, width, height) and
// run-length coded lines of ceil(width / 8) bytes per plane, plane 0 first.
// Records: 00 00 FF n repeats the next line n times; 00 n repeats the next
// pattern n times; 80 n copies n bytes; any other byte x is a run of x & 7F
// bytes of FF (bit 7 set) or 00. Bit 1 is black, the top bit leftmost.
#include "formats/gem_image.h"

#include <algorithm>
#include <cstdint>

#include "common/reader.h"

namespace pix {

bool ReadGemImage(const Bytes& data, Image& img) {
  ByteReader in(data);
  std::uint16_t version = in.u16be(), headerWords = in.u16be(), planes = in.u16be(), pattern = in.u16be();
  in.skip(4);  // pixel width and height in micrometres
  std::uint16_t width = in.u16be(), height = in.u16be();
  if (in.bad() || version == 0xFFFF || version > 2 || headerWords < 8 || planes < 1 || planes > 8 || pattern < 1 ||
      pattern > 8 || width == 0 || height == 0 || !in.seek(std::size_t(headerWords) * 2))
    return false;
  if (!img.allocate(width, height, 1)) return false;
  img.palette = {{255, 255, 255}, {0, 0, 0}};
  img.bits = 1;
  const std::size_t rowBytes = (width + 7u) / 8u, lineBytes = rowBytes * planes;
  Bytes line(lineBytes);
  std::uint32_t y = 0;
  while (y < height && !in.atEnd()) {
    std::size_t pos = 0;
    int repeat = 1;
    std::fill(line.begin(), line.end(), 0);
    while (pos < lineBytes && !in.atEnd()) {
      std::uint8_t x = in.u8();
      if (x == 0) {
        std::uint8_t n = in.u8();
        if (n == 0) {  // 00 00 FF n: line replication
          if (in.u8() != 0xFF) {  // not a record this format has: the stream ends here
            in.seek(in.size());
            break;
          }
          std::uint8_t times = in.u8();
          repeat = std::max<int>(1, times);
          continue;
        }
        std::uint8_t pat[8] = {};
        if (!in.bytes(pat, pattern)) break;
        for (int r = 0; r < n; ++r)
          for (std::size_t b = 0; b < pattern && pos < lineBytes; ++b) line[pos++] = pat[b];
      } else if (x == 0x80) {
        std::uint8_t n = in.u8();
        for (int b = 0; b < n && pos < lineBytes && !in.atEnd(); ++b) line[pos++] = in.u8();
      } else {
        std::uint8_t v = x & 0x80 ? 0xFF : 0x00;
        for (int b = 0; b < (x & 0x7F) && pos < lineBytes; ++b) line[pos++] = v;
      }
    }
    for (; repeat > 0 && y < height; --repeat, ++y) {
      std::uint8_t* out = img.row(y);
      for (std::uint32_t px = 0; px < width; ++px) out[px] = line[px / 8] >> (7 - px % 8) & 1;
    }
  }
  return true;
}

}  // namespace pix
