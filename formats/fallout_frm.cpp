// Fallout FRM sprites (Fallout 1 and 2): a big-endian header with the frames
// per direction and the offsets of up to six directions, then frames of 8-bit
// palette indices. The palette is not in the file: "<source name>.pal", else
// "color.pal", beside the source (256 RGB triples of 6-bit levels), else a
// grey ramp. Every frame of every distinct direction becomes an 8-bit BMP
// "<source name>_0001.bmp", ...; the result is the number written.
#include <algorithm>

#include "common/image.h"
#include "common/paths.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"
#include "formats/side_palette.h"

namespace pix {
namespace {

constexpr std::size_t kFrameArea = 0x3E, kFrameHeader = 12;
constexpr unsigned kMaxFrames = 1000;

std::vector<Rgb> FalloutPalette(const char* source) {
  Bytes pal;
  if (!ReadSideFile(source, Split(source).name + ".pal", pal, 1 << 20) && !ReadSideFile(source, "color.pal", pal, 1 << 20))
    return GreyRamp(256);
  if (pal.size() < 768) return GreyRamp(256);
  bool sixBits = true;
  for (std::size_t i = 0; i < 768; ++i) sixBits = sixBits && pal[i] <= 63;
  std::vector<Rgb> out(256);
  for (std::size_t i = 0; i < 256; ++i) {
    std::uint8_t c[3];
    for (int k = 0; k < 3; ++k) c[k] = sixBits ? static_cast<std::uint8_t>(pal[3 * i + k] * 255 / 63) : pal[3 * i + k];
    out[i] = Rgb{c[0], c[1], c[2]};
  }
  return out;
}

}  // namespace

int FrmToBmp(const ConvertCall& call) {
  Bytes bytes;
  if (!call.source || !ReadWholeFile(call.source, bytes)) return 0;
  const ByteReader file(bytes);
  const unsigned perDirection = file.u16beAt(8);
  if (file.size() < kFrameArea + kFrameHeader || file.u32beAt(0) != 4 || perDirection < 1 || perDirection > kMaxFrames) return 0;
  // The frames lie in the frame area, as far as the file holds it.
  const std::size_t areaEnd = kFrameArea + std::min<std::size_t>(file.u32beAt(0x3A), file.size() - kFrameArea);
  std::vector<std::uint32_t> directions;
  for (int d = 0; d < 6; ++d) {
    const std::uint32_t off = file.u32beAt(0x22 + 4 * std::size_t(d));
    if (std::find(directions.begin(), directions.end(), off) == directions.end()) directions.push_back(off);
  }
  if (kFrameArea + std::size_t(directions.front()) + kFrameHeader > areaEnd) return 0;
  const std::vector<Rgb> palette = FalloutPalette(call.source);
  Series series(call, "_%04d.bmp");
  for (std::uint32_t dirOff : directions) {
    std::size_t at = kFrameArea + std::size_t(dirOff);
    for (unsigned f = 0; f < perDirection; ++f) {
      if (at > areaEnd || areaEnd - at < kFrameHeader) break;
      const std::uint32_t w = file.u16beAt(at), h = file.u16beAt(at + 2);
      const std::size_t pixels = std::size_t(w) * h;
      if (pixels == 0 || areaEnd - at - kFrameHeader < pixels) break;  // the rest of this direction is missing
      if (!series.wantsNext()) {  // memory mode: another frame is wanted
        series.skip();
      } else {
        Image img;
        if (!img.allocate(w, h, 1)) break;
        img.palette = palette;
        file.sub(at + kFrameHeader, pixels).bytes(img.pixels.data(), pixels);
        if (!series.add([&](Sink& s) { return WriteBmp(s, img, 8); })) return series.finish();  // output budget spent
        if (series.done()) return series.finish();
      }
      at += kFrameHeader + pixels;
    }
  }
  return series.finish();
}

}  // namespace pix
