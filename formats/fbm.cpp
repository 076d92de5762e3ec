// FBM "Fuzzy Bitmap" pictures (".fbm", and ".cbm" for colour ones) to Sun
// raster files. An FBM file starts "%bitmap\0" and a 256-byte header of
// fixed-width decimal text fields (columns, rows, planes, bits, physical bits,
// row length, plane length, colour-map length, aspect, title, credits); then
// the colour map (all reds, all greens, all blues), then each plane, rows
// top to bottom padded to the row length. Colour-mapped and grey pictures
// are written as 8-bit Sun rasters with a colour map, three-plane pictures
// as 24-bit ones. Writes the target path itself and returns 1 (memory mode:
// the Sun file's bytes and their count), 0 for anything else.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::size_t kHeaderSize = 256;

struct FbmHeader {
  long cols = 0, rows = 0, planes = 0, bits = 0, physbits = 0;
  long long rowlen = 0, plnlen = 0, clrlen = 0;
};

// A decimal field like atoi: leading blanks, digits up to the first other
// byte or the field's end. Huge values are capped so that checks refuse them.
long long Field(const ByteReader& in, std::size_t off, std::size_t len) {
  std::size_t i = 0;
  while (i < len && (in.at(off + i) == ' ' || in.at(off + i) == '\t')) ++i;
  bool neg = i < len && in.at(off + i) == '-';
  if (neg || (i < len && in.at(off + i) == '+')) ++i;
  long long v = 0;
  for (; i < len; ++i) {
    const std::uint8_t c = in.at(off + i);
    if (c < '0' || c > '9') break;
    if (v < (1LL << 40)) v = v * 10 + (c - '0');
  }
  return neg ? -v : v;
}

bool ReadHeader(const ByteReader& in, FbmHeader& h) {
  static const char kMagic[8] = {'%', 'b', 'i', 't', 'm', 'a', 'p', '\0'};
  if (!in.has(0, kHeaderSize)) return false;
  for (std::size_t i = 0; i < 8; ++i)
    if (in.at(i) != static_cast<std::uint8_t>(kMagic[i])) return false;
  h.cols = static_cast<long>(Field(in, 8, 8));
  h.rows = static_cast<long>(Field(in, 16, 8));
  h.planes = static_cast<long>(Field(in, 24, 8));
  h.bits = static_cast<long>(Field(in, 32, 8));
  h.physbits = static_cast<long>(Field(in, 40, 8));
  h.rowlen = Field(in, 48, 12);
  h.plnlen = Field(in, 60, 12);
  h.clrlen = Field(in, 72, 12);
  if (h.cols < 1 || h.rows < 1 || h.cols > 32767 || h.rows > 32767) return false;
  if (h.planes != 1 && h.planes != 3) return false;
  if (h.bits < 1 || h.bits > 8 || (h.physbits != 1 && h.physbits != 8)) return false;
  if (h.rowlen < 1 || h.rowlen > 32767 || h.clrlen < 0 || h.clrlen > 3 * 256 || h.clrlen % 3) return false;
  const long long minRow = h.physbits == 8 ? h.cols : (h.cols + 7) / 8;
  if (h.rowlen < minRow || h.plnlen < h.rows * h.rowlen) return false;
  // Every plane must be in the file (the last one may end without its padding).
  const long long need = static_cast<long long>(kHeaderSize) + h.clrlen + (h.planes - 1) * h.plnlen + h.rows * h.rowlen;
  return CheckedSize(std::uint64_t(h.cols), std::uint64_t(h.rows), std::uint64_t(h.planes)) != 0 &&
         static_cast<unsigned long long>(need) <= in.size();
}

// The value of pixel x in the row at `off` of a plane.
std::uint8_t Sample(const ByteReader& in, const FbmHeader& h, std::size_t off, long x) {
  if (h.physbits == 8) return in.at(off + std::size_t(x));
  return (in.at(off + std::size_t(x / 8)) >> (7 - x % 8)) & 1;
}

bool Decode(const ByteReader& in, Image& img) {
  FbmHeader h;
  if (!ReadHeader(in, h)) return false;
  const int channels = h.planes == 3 ? 3 : 1;
  if (!img.allocate(std::uint32_t(h.cols), std::uint32_t(h.rows), channels)) return false;
  const std::size_t mapAt = kHeaderSize, dataAt = kHeaderSize + std::size_t(h.clrlen);
  const int maxLevel = (1 << h.bits) - 1;
  const std::size_t colours = std::size_t(h.clrlen / 3);
  if (channels == 1 && colours > 0) {
    img.palette.resize(colours);
    for (std::size_t i = 0; i < colours; ++i)
      img.palette[i] = {in.at(mapAt + i), in.at(mapAt + colours + i), in.at(mapAt + 2 * colours + i)};
    img.bits = h.bits;
  } else if (channels == 1 && h.bits == 1) {
    img.palette = {{0, 0, 0}, {255, 255, 255}};  // bilevel: 0 black, anything else white
    img.bits = 1;
  }
  for (long p = 0; p < h.planes; ++p)
    for (long y = 0; y < h.rows; ++y) {
      const std::size_t rowAt = dataAt + std::size_t(p * h.plnlen + y * h.rowlen);
      std::uint8_t* out = img.row(std::uint32_t(y));
      for (long x = 0; x < h.cols; ++x) {
        int v = Sample(in, h, rowAt, x);
        if (img.indexed()) {
          if (colours > 0) v = std::size_t(v) < colours ? v : 0;
          else v = v ? 1 : 0;
        } else if (maxLevel != 255) {
          v = (std::min(v, maxLevel) * 255 + maxLevel / 2) / maxLevel;
        }
        out[std::size_t(x) * channels + std::size_t(p)] = static_cast<std::uint8_t>(v);
      }
    }
  return true;
}

}  // namespace

int CbmFbmToSun(const ConvertCall& call) {
  return ConvertWhole(
      call, [](const Bytes& data, Image& img) { return Decode(ByteReader(data), img); },
      [](Sink& out, const Image& img) { return WriteSun(out, img); });
}

}  // namespace pix
