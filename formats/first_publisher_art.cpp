// First Publisher clip art (".art"): a 1-bit picture (1 = white) after an
// edge rectangle, rows padded to 16 bits; or the high-resolution kind (FF FF,
// sizes, rows packed with PackBits). Written as a 1-bit BMP (black at index
// 0, white at 1).
#include <cstdint>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kMaxSide = 8192;

Image WhiteOnBlack() {
  Image img;
  img.palette = {Rgb{0, 0, 0}, Rgb{255, 255, 255}};
  img.bits = 1;
  return img;
}

void Unpack(const Bytes& rows, std::size_t stride, Image& img) {
  for (std::uint32_t y = 0; y < img.height; ++y)
    for (std::uint32_t x = 0; x < img.width; ++x)
      img.row(y)[x] = (rows[y * stride + x / 8] >> (7 - x % 8)) & 1;
}

// Standard kind: left, right, top, bottom, then the rows; every row must be there.
bool ReadStandard(ByteReader& in, Image& img) {
  const std::uint16_t left = in.u16le(), right = in.u16le(), top = in.u16le(), bottom = in.u16le();
  if (in.bad() || right <= left || bottom <= top) return false;
  const std::uint32_t w = right - left, h = bottom - top;
  if (w > kMaxSide || h > kMaxSide) return false;
  const std::size_t stride = (w + 15) / 16 * 2;
  if (!in.has(8, stride * h)) return false;
  Bytes rows(stride * h);
  in.bytes(rows.data(), rows.size());
  img = WhiteOnBlack();
  if (!img.allocate(w, h, 1)) return false;
  Unpack(rows, stride, img);
  return true;
}

// High-resolution kind: the rows are one PackBits stream whose row length
// (a few padding bytes past the pixels) follows from the total.
bool ReadHigh(ByteReader& in, Image& img) {
  in.seek(6);
  const std::uint16_t w = in.u16le(), h = in.u16le(), one = in.u16le();
  if (in.bad() || one != 1 || w == 0 || h == 0 || w > kMaxSide || h > kMaxSide) return false;
  const std::size_t minStride = (w + 7) / 8;
  const std::size_t limit = (minStride + 3) * h;
  Bytes rows;
  while (!in.atEnd() && rows.size() <= limit) {
    const std::int8_t n = in.s8();
    if (n >= 0) {
      for (int k = 0; k <= n && !in.bad(); ++k) {
        const std::uint8_t v = in.u8();
        if (!in.bad()) rows.push_back(v);
      }
    } else if (n != -128) {
      const std::uint8_t v = in.u8();
      if (in.bad()) break;
      rows.insert(rows.end(), static_cast<std::size_t>(1 - n), v);
    }
  }
  if (rows.size() % h != 0) return false;
  const std::size_t stride = rows.size() / h;
  if (stride < minStride || stride > minStride + 3) return false;
  img = WhiteOnBlack();
  if (!img.allocate(w, h, 1)) return false;
  Unpack(rows, stride, img);
  return true;
}

}  // namespace

int ArtToBmp(const ConvertCall& call) {
  return ConvertWhole(
      call,
      [](const Bytes& data, Image& img) {
        ByteReader in(data);
        if (in.at(0) == 'J' && in.at(1) == 'G') return false;  // "JG": the compressed online-service kind
        return in.u16leAt(0) == 0xFFFF ? ReadHigh(in, img) : ReadStandard(in, img);
      },
      [](Sink& s, const Image& img) { return WriteBmp(s, img, 1); }, 16u << 20);
}

}  // namespace pix
