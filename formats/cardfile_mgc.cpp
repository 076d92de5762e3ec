// Windows 3.0 Cardfile card indexes ("MGC" at 0, read for ".mgc"): each card
// may carry a one-bit picture (rows padded to 16 bits, 1 = white). Every
// picture is written as a 1-bit BMP (black at index 0, white at 1): one as
// the target itself, several as "<name>_0001.bmp" on. Files without the
// "MGC" signature (the later "RRG"/"DKO" Cardfiles with embedded objects,
// clip catalogues) are not read.
#include <cstdint>
#include <vector>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::size_t kMaxCards = 10000;
constexpr std::size_t kEntry = 52;

// The picture of the card whose data starts at `at` and ends before `end`;
// false when the card has none or it does not fit.
bool CardPicture(const ByteReader& in, std::size_t at, std::size_t end, Image& img) {
  if (!in.has(at, 2)) return false;
  const std::uint16_t size = in.u16leAt(at);
  if (size == 0 || !in.has(at, 10)) return false;
  const std::uint32_t w = in.u16leAt(at + 2), h = in.u16leAt(at + 4);
  const std::size_t stride = (w + 15) / 16 * 2;
  if (w == 0 || h == 0 || size < stride * h) return false;
  if (at + 10 + stride * h > end || !in.has(at + 10, stride * h)) return false;
  img.palette = {Rgb{0, 0, 0}, Rgb{255, 255, 255}};
  img.bits = 1;
  if (!img.allocate(w, h, 1)) return false;
  for (std::uint32_t y = 0; y < h; ++y)
    for (std::uint32_t x = 0; x < w; ++x)
      img.row(y)[x] = (in.at(at + 10 + y * stride + x / 8) >> (7 - x % 8)) & 1;
  return true;
}

}  // namespace

int MgcToBmp(const ConvertCall& call) {
  Bytes data;
  if (!call.source || !ReadWholeFile(call.source, data, 64u << 20)) return 0;
  ByteReader in(data);
  if (!in.has(0, 5) || in.at(0) != 'M' || in.at(1) != 'G' || in.at(2) != 'C') return 0;
  const std::size_t cards = in.u16leAt(3);
  if (cards == 0 || cards > kMaxCards || !in.has(5, cards * kEntry)) return 0;
  std::vector<std::size_t> offsets;
  for (std::size_t i = 0; i < cards; ++i) {
    const std::size_t off = in.u32leAt(5 + i * kEntry + 6);
    if (off < 5 + cards * kEntry || off >= data.size()) return 0;
    if (!offsets.empty() && off <= offsets.back()) return 0;
    offsets.push_back(off);
  }
  std::vector<Image> pictures;
  for (std::size_t i = 0; i < cards; ++i) {
    Image img;
    const std::size_t end = i + 1 < cards ? offsets[i + 1] : data.size();
    if (CardPicture(in, offsets[i], end, img)) pictures.push_back(std::move(img));
  }
  if (pictures.empty()) return 0;
  if (pictures.size() == 1)
    return WriteOne(call, [&](Sink& s) { return WriteBmp(s, pictures[0], 1); });
  Series series(call, "_%04d.bmp");
  for (const Image& img : pictures) {
    if (!series.add([&](Sink& s) { return WriteBmp(s, img, 1); })) break;
    if (series.done()) break;
  }
  return series.finish();
}

}  // namespace pix
