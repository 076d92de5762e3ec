// Nokia picture message (".npm"): "NPM", a text of up to 120 characters, then
// a small 1-bit picture (1 = black, byte-aligned rows). Written as a 1-bit BMP
// (white at index 0, black at 1) in file or memory mode; the text is dropped.
#include <cstdint>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {

namespace {

bool ReadNpm(const Bytes& data, Image& img) {
  ByteReader in(data);
  if (in.str(3) != "NPM") return false;
  in.seek(4);
  const std::size_t textLength = in.u8();
  // The text area is one zero byte and the text, in either order.
  in.skip(1 + textLength);
  const std::uint32_t w = in.u8(), h = in.u8();
  in.skip(3);
  if (in.bad() || w == 0 || h == 0) return false;
  const std::size_t stride = (w + 7) / 8;
  const std::size_t start = in.pos();
  if (!in.has(start, stride * h)) return false;
  img.palette = {Rgb{255, 255, 255}, Rgb{0, 0, 0}};
  img.bits = 1;
  if (!img.allocate(w, h, 1)) return false;
  for (std::uint32_t y = 0; y < h; ++y)
    for (std::uint32_t x = 0; x < w; ++x)
      img.row(y)[x] = (in.at(start + y * stride + x / 8) >> (7 - x % 8)) & 1;
  return true;
}

}  // namespace

int NpmToBmp(const ConvertCall& call) {
  return ConvertWhole(
      call, ReadNpm, [](Sink& s, const Image& img) { return WriteBmp(s, img, 1); }, 1u << 20);
}

}  // namespace pix
