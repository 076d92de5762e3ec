// DIV Games Studio picture archives (".fpg") to PNG pictures, one per map
// record. The file starts "fpg" (8-bit pictures and a shared palette) or
// "f16" (16-bit 5:6:5 pictures) and 1A 0D 0A 00 and a version byte; an
// "fpg" holds the palette (256 x R, G, B of 0..63) and 16 colour ranges
// (576 bytes, not used) before the records. A record: code, record length,
// description (32), file name (12), width, height, control-point count and
// the points (4 bytes each), then the pixels, rows top to bottom; all
// little-endian. Files that clone tools compressed with gzip are inflated
// first. Every picture is written as "<source name>_0001.png"... beside the
// target: palette pictures with the palette times 4 (63 gives 252), 16-bit
// ones as RGBA with word 0 transparent. An empty or oversized record is
// skipped; a record whose length disagrees with its contents or that runs
// past the end ends the walk. Returns the number of pictures written.
#include <cstdint>


#include "common/image.h"
#include "common/reader.h"
#include "common/inflate.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kDivLimit = 8192;
constexpr std::uint32_t kMostPoints = 4096;
constexpr std::size_t kMostInflated = std::size_t(256) << 20;  // a few of the largest pictures

}  // namespace

int FpgToPng(const ConvertCall& call) {
  Bytes data;
  if (!call.source || !ReadWholeFile(call.source, data)) return 0;
  if (data.size() >= 2 && data[0] == 0x1F && data[1] == 0x8B) {
    Bytes plain;
    if (!Inflate(data.data(), data.size(), kZlibOrGzip, kMostInflated, plain)) return 0;
    data.swap(plain);
  }
  ByteReader in(data);
  const std::string kind = in.str(3);
  if ((kind != "fpg" && kind != "f16") || in.u8() != 0x1A || in.u8() != 0x0D || in.u8() != 0x0A || in.u8() != 0 ||
      in.bad())
    return 0;
  const bool paletted = kind == "fpg";
  std::vector<Rgb> palette;
  std::size_t at = 8;
  if (paletted) {
    if (!in.has(8, 768 + 576)) return 0;
    for (std::size_t i = 0; i < 256; ++i)
      palette.push_back({static_cast<std::uint8_t>(in.at(8 + 3 * i) * 4), static_cast<std::uint8_t>(in.at(9 + 3 * i) * 4),
                         static_cast<std::uint8_t>(in.at(10 + 3 * i) * 4)});
    at = 8 + 768 + 576;
  }
  Series series(call, "_%04d.png");
  const std::uint64_t pixelBytes = paletted ? 1 : 2;
  while (in.has(at, 64)) {
    const std::uint32_t length = in.u32leAt(at + 4), width = in.u32leAt(at + 52), height = in.u32leAt(at + 56);
    const std::uint32_t points = in.u32leAt(at + 60);
    if (length < 64 || !in.has(at, length) || points > kMostPoints) break;
    const std::uint64_t need = 64 + 4 * std::uint64_t(points) + std::uint64_t(width) * height * pixelBytes;
    if (need > length) break;
    const std::size_t pixelsAt = at + 64 + 4 * std::size_t(points);
    if (width >= 1 && height >= 1 && width <= kDivLimit && height <= kDivLimit) {
      Image img;
      if (series.wantsNext()) {
        if (!img.allocate(width, height, paletted ? 1 : 4)) break;
        if (paletted) {
          img.palette = palette;
          in.sub(pixelsAt, img.pixels.size()).bytes(img.pixels.data(), img.pixels.size());
        } else {
          for (std::size_t i = 0; i < std::size_t(width) * height; ++i) {
            const std::uint16_t p = in.u16leAt(pixelsAt + 2 * i);
            std::uint8_t* px = img.pixels.data() + 4 * i;
            if (p == 0) continue;
            px[0] = static_cast<std::uint8_t>((p >> 11) << 3);
            px[1] = static_cast<std::uint8_t>(((p >> 5) & 63) << 2);
            px[2] = static_cast<std::uint8_t>((p & 31) << 3);
            px[3] = 255;
          }
        }
      }
      if (!series.add([&](Sink& out) { return WritePng(out, img); })) break;
      if (series.done()) break;
    }
    at += length;
  }
  return series.finish();
}

}  // namespace pix
