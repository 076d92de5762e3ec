// Abekas YUV frames (".yuv": raw CCIR 601 4:2:2, no header) to PPM. Each
// 4-byte group holds two pixels as U, Y, V, Y (studio range). The frame size
// is not stored: the file size picks one of the usual frame sizes, else a
// 720-pixel width with as many lines as the size holds; any other size is not
// such a frame.
#include <algorithm>
#include <cstdint>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

std::uint8_t Clamp(double v) { return static_cast<std::uint8_t>(std::clamp(v, 0.0, 255.0)); }

}  // namespace

int YuvToPpm(const ConvertCall& call) {
  Bytes data;
  if (!ReadWholeFile(call.source, data, std::size_t(64) << 20)) return 0;
  static constexpr std::uint32_t kSizes[][2] = {{720, 486}, {720, 576}, {720, 480}, {640, 480},
                                                {768, 576}, {352, 288}, {352, 240}};
  std::uint32_t width = 0, height = 0;
  for (const auto& s : kSizes)
    if (data.size() == std::size_t(s[0]) * s[1] * 2) { width = s[0]; height = s[1]; break; }
  if (width == 0 && !data.empty() && data.size() % 1440 == 0) {
    width = 720;
    height = static_cast<std::uint32_t>(data.size() / 1440);
  }
  Image img;
  if (width == 0 || !img.allocate(width, height, 3)) return 0;
  ByteReader in(data);
  for (std::uint32_t y = 0; y < height; ++y) {
    std::uint8_t* out = img.row(y);
    for (std::uint32_t x = 0; x < width; x += 2) {
      double u = in.u8() - 128.0, y0 = in.u8() - 16.0, v = in.u8() - 128.0, y1 = in.u8() - 16.0;
      for (double l : {y0, y1}) {
        *out++ = Clamp(1.164 * l + 1.596 * v);
        *out++ = Clamp(1.164 * l - 0.813 * v - 0.391 * u);
        *out++ = Clamp(1.164 * l + 2.018 * u);
      }
    }
  }
  return WriteOne(call, [&](Sink& s) { return WritePnm(s, img); });
}

}  // namespace pix
