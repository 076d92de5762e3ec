// PabloPaint pictures (".ppp", Atari ST) to PPM: a 36-byte banner ("PABLO
// PACKED PICTURE: Groupe CDND " and CR LF), the data size as decimal text and
// CR LF, then resolution (0 low 320 x 200 in 16 colours, 1 medium 640 x 200 in
// 4, 2 high 640 x 400 in 2), compression, the size again as a word, 16 ST
// palette words and the screen dump. Only uncompressed pictures are read: the
// packing of compressed ones (type 29) is not known, so they give nothing.
#include <cstdint>
#include <cstring>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {

namespace {

bool ReadPpp(const Bytes& data, Image& img) {
  static const char kBanner[] = "PABLO PACKED PICTURE: Groupe CDND \r\n";
  ByteReader in(data);
  if (in.str(36) != std::string(kBanner, 36)) return false;
  std::uint32_t size = 0;
  int digits = 0;
  while (digits < 6 && in.at(in.pos()) >= '0' && in.at(in.pos()) <= '9') {
    size = size * 10 + (in.u8() - '0');
    ++digits;
  }
  if (digits == 0 || digits > 5 || size > 65535 || in.u8() != '\r' || in.u8() != '\n') return false;
  std::uint8_t resolution = in.u8(), compression = in.u8();
  std::uint16_t sizeWord = in.u16be();
  if (in.bad() || sizeWord != size || resolution > 2 || compression != 0) return false;
  std::uint16_t stPalette[16];
  for (std::uint16_t& w : stPalette) w = in.u16be();
  if (in.bad()) return false;

  static constexpr std::uint32_t kWidth[3] = {320, 640, 640}, kHeight[3] = {200, 200, 400};
  static constexpr int kPlanes[3] = {4, 2, 1};
  const int planes = kPlanes[resolution];
  if (!img.allocate(kWidth[resolution], kHeight[resolution], 1)) return false;
  img.bits = planes;
  for (int i = 0; i < (1 << planes); ++i) {
    std::uint16_t w = stPalette[i];
    img.palette.push_back({static_cast<std::uint8_t>((w >> 8 & 7) * 32), static_cast<std::uint8_t>((w >> 4 & 7) * 32),
                           static_cast<std::uint8_t>((w & 7) * 32)});
  }
  // The screen: 16-pixel groups of one word per plane, top bit leftmost. A
  // screen cut short leaves the rest at colour 0.
  ByteReader screen = in.rest();
  for (std::uint32_t y = 0; y < img.height; ++y) {
    for (std::uint32_t g = 0; g < img.width / 16; ++g) {
      std::uint16_t words[4] = {};
      for (int p = 0; p < planes; ++p) words[p] = screen.u16be();
      for (int b = 0; b < 16; ++b) {
        int index = 0;
        for (int p = 0; p < planes; ++p) index |= (words[p] >> (15 - b) & 1) << p;
        img.row(y)[g * 16 + static_cast<std::uint32_t>(b)] = static_cast<std::uint8_t>(index);
      }
    }
  }
  return true;
}

}  // namespace

int PppToPpm(const ConvertCall& call) {
  return ConvertWhole(
      call, ReadPpp, [](Sink& s, const Image& img) { return WritePnm(s, img.toRgb()); }, std::size_t(1) << 20);
}

}  // namespace pix
