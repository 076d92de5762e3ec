// Solitaire Image Recorder pictures (".sir", "O:" magic): 8-bit grey (type
// 17) or 24-bit colour in three planes, red, green, blue (type 11), after a
// 3072-byte header and look-up table. Written as an 8-bit grey or 24-bit BMP.
#include <cstdint>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {

namespace {

bool ReadSir(const Bytes& data, Image& img) {
  ByteReader in(data);
  if (in.u16leAt(0) != 0x3A4F || !in.has(0, 10)) return false;
  const std::uint16_t type = in.u16leAt(4);
  const std::uint32_t w = in.u16leAt(6), h = in.u16leAt(8);
  if (type != 11 && type != 17) return false;
  const int planes = type == 11 ? 3 : 1;
  const std::uint64_t need = CheckedSize(w, h, planes);
  if (need == 0 || need > (std::uint64_t(256) << 20)) return false;
  // The pixels start at 3072; files whose table is two bytes shorter start at 3070.
  std::size_t start = 3072;
  if (!in.has(start, static_cast<std::size_t>(need))) {
    if (data.size() != 3070 + need) return false;
    start = 3070;
  }
  if (!img.allocate(w, h, planes)) return false;
  const std::size_t plane = std::size_t(w) * h;
  for (std::size_t i = 0; i < plane; ++i)
    for (int c = 0; c < planes; ++c) img.pixels[i * planes + c] = in.at(start + c * plane + i);
  return true;
}

}  // namespace

int SirToBmp(const ConvertCall& call) {
  return ConvertWhole(
      call, ReadSir, [](Sink& s, const Image& img) { return WriteBmp(s, img, img.channels == 3 ? 24 : 8); },
      std::size_t(800) << 20);
}

}  // namespace pix
