// Print Shop graphics libraries (".dat"): 88 x 52 one-bit pictures (1 =
// black) of 572 bytes each, back to back with no header. Only files whose
// size is an exact multiple of 572 are read, so other ".dat" files stay
// untouched. One picture is written as the target BMP itself; several as
// "<name>_0001.bmp" on (1-bit, white at index 0).
#include <cstdint>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kWidth = 88, kHeight = 52, kStride = 11, kPicture = kStride * kHeight;
constexpr std::size_t kMaxPictures = 10000;

Image Picture(const ByteReader& in, std::size_t n) {
  Image img;
  img.palette = {Rgb{255, 255, 255}, Rgb{0, 0, 0}};
  img.bits = 1;
  if (!img.allocate(kWidth, kHeight, 1)) return img;
  const std::size_t base = n * kPicture;
  for (std::uint32_t y = 0; y < kHeight; ++y)
    for (std::uint32_t x = 0; x < kWidth; ++x)
      img.row(y)[x] = (in.at(base + y * kStride + x / 8) >> (7 - x % 8)) & 1;
  return img;
}

}  // namespace

int DatToBmp(const ConvertCall& call) {
  Bytes data;
  if (!call.source || !ReadWholeFile(call.source, data, kMaxPictures * kPicture)) return 0;
  if (data.empty() || data.size() % kPicture != 0) return 0;
  ByteReader in(data);
  const std::size_t count = data.size() / kPicture;
  if (count == 1) {
    const Image img = Picture(in, 0);
    return WriteOne(call, [&](Sink& s) { return WriteBmp(s, img, 1); });
  }
  Series series(call, "_%04d.bmp");
  for (std::size_t n = 0; n < count; ++n) {
    if (!series.wantsNext()) {
      series.skip();
      continue;
    }
    const Image img = Picture(in, n);
    if (!series.add([&](Sink& s) { return WriteBmp(s, img, 1); })) break;
    if (series.done()) break;
  }
  return series.finish();
}

}  // namespace pix
