// Microsoft Paint pictures of Windows 1 and 2 (".msp"): a 32-byte header
// ("DanM" for version 1, raw rows; "LinS" for version 2, rows run-length
// coded behind a map of their lengths), one bit per pixel, a set bit white.
// Written as one 1-bit BMP (black, white) to the target path, or handed back
// in memory mode. Rows the file does not hold come out white.
#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::size_t kHeader = 32;

// Version 2: one row from its coded bytes; short rows are filled white.
void UnpackRow(ByteReader coded, std::uint8_t* row, std::size_t rowBytes) {
  std::size_t x = 0;
  while (x < rowBytes && !coded.atEnd()) {
    const std::uint8_t t = coded.u8();
    if (t == 0) {
      const std::uint8_t n = coded.u8(), v = coded.u8();
      for (int i = 0; i < n && x < rowBytes; ++i) row[x++] = v;
    } else {
      for (int i = 0; i < t && !coded.atEnd(); ++i) {
        const std::uint8_t v = coded.u8();
        if (x < rowBytes) row[x++] = v;
      }
    }
  }
}

bool Decode(const ByteReader& file, Image& img) {
  const bool v1 = file.has(0, kHeader) && file.sub(0, 4).str(4) == "DanM";
  const bool v2 = file.has(0, kHeader) && file.sub(0, 4).str(4) == "LinS";
  if (!v1 && !v2) return false;
  const std::uint32_t w = file.u16leAt(4), h = file.u16leAt(6);
  // The first row (version 1) or the row map (version 2) must be there.
  if (w == 0 || h == 0 || !file.has(kHeader, v1 ? (w + 7) / 8 : 2 * std::size_t(h))) return false;
  // Rows past the end of a cut file come out white, but no coding packs a
  // row into less than 1/128 of its bytes: a raster far larger than the whole
  // file could fill is a damaged header, refused before allocating.
  const std::size_t rowBytes = (w + 7) / 8;
  if (std::uint64_t(rowBytes) * h > std::uint64_t(file.size() - kHeader) * 128 + 65536) return false;
  if (!img.allocate(w, h, 1)) return false;
  img.palette = {Rgb{0, 0, 0}, Rgb{255, 255, 255}};
  img.bits = 1;
  std::vector<std::uint8_t> line(rowBytes);
  std::size_t codedAt = kHeader + 2 * std::size_t(h);
  for (std::uint32_t y = 0; y < h; ++y) {
    std::fill(line.begin(), line.end(), std::uint8_t(0xFF));
    if (v1) {
      ByteReader part = file.sub(kHeader + rowBytes * y, rowBytes);  // the part past the end stays white
      part.bytes(line.data(), part.size());
    } else {
      const std::size_t length = file.u16leAt(kHeader + 2 * std::size_t(y));
      if (length) UnpackRow(file.sub(codedAt, length), line.data(), rowBytes);
      codedAt += length;
    }
    std::uint8_t* out = img.row(y);
    for (std::uint32_t x = 0; x < w; ++x) out[x] = (line[x >> 3] >> (7 - (x & 7))) & 1;
  }
  return true;
}

}  // namespace

int MspToBmp(const ConvertCall& call) {
  return ConvertWhole(
      call, [](const Bytes& bytes, Image& img) { return Decode(ByteReader(bytes), img); },
      [](Sink& s, const Image& img) { return WriteBmp(s, img, 1); });
}

}  // namespace pix
