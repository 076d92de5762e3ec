// GIMP patterns (".pat": "GPAT" at offset 20) to PPM. Big-endian header: header
// size (24 + the NUL-terminated name), version, width, height, bytes per pixel
// (1 grey, 2 grey and alpha, 3 RGB, 4 RGBA), "GPAT", the name; then the pixels,
// rows top to bottom. Grey is spread to RGB; alpha is blended onto white.
#include <cstdint>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {

int PatToPpm(const ConvertCall& call) {
  Bytes data;
  if (!ReadWholeFile(call.source, data)) return 0;
  ByteReader in(data);
  std::uint32_t header = in.u32be(), version = in.u32be(), width = in.u32be(), height = in.u32be(),
                depth = in.u32be();
  if (in.bad() || in.str(4) != "GPAT" || (version != 1 && version != 2) || depth < 1 || depth > 4 ||
      header < 25 || header > 24 + 256 || width == 0 || height == 0 || width > 16384 || height > 16384)
    return 0;
  std::uint64_t bytes = CheckedSize(width, height, depth);
  if (bytes == 0 || !in.has(header, bytes)) return 0;  // a cut pattern is no use
  Image img;
  if (!img.allocate(width, height, 3)) return 0;
  in.seek(header);
  for (std::uint32_t y = 0; y < height; ++y) {
    std::uint8_t* out = img.row(y);
    for (std::uint32_t x = 0; x < width; ++x, out += 3) {
      std::uint8_t px[4] = {};
      in.bytes(px, depth);
      int r = px[0], g = depth >= 3 ? px[1] : px[0], b = depth >= 3 ? px[2] : px[0];
      int a = depth == 2 ? px[1] : depth == 4 ? px[3] : 255;
      out[0] = static_cast<std::uint8_t>((r * a + 255 * (255 - a)) / 255);
      out[1] = static_cast<std::uint8_t>((g * a + 255 * (255 - a)) / 255);
      out[2] = static_cast<std::uint8_t>((b * a + 255 * (255 - a)) / 255);
    }
  }
  return WriteOne(call, [&](Sink& s) { return WritePnm(s, img); });
}

}  // namespace pix
