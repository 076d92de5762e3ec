// GIMP patterns (".pat", "GPAT" at 20): one picture of grey, grey + alpha,
// RGB or RGBA samples after a short big-endian header (header size, version,
// width, height, bytes per pixel, "GPAT") and a NUL-terminated name. Written
// as a 24-bit BMP or as a PPM, alpha blended onto white. Photoshop pattern
// collections ("8BPT") and the other ".pat" kinds are not read.
#include <cstdint>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kMaxSide = 16384;

bool ReadGimpPattern(const Bytes& data, Image& img) {
  ByteReader in(data);
  const std::uint32_t header = in.u32be(), version = in.u32be(), w = in.u32be(), h = in.u32be(), bpp = in.u32be();
  if (in.bad() || in.str(4) != "GPAT") return false;
  if ((version != 1 && version != 2) || bpp < 1 || bpp > 4 || header < 25 || header > 24 + 256) return false;
  if (w == 0 || h == 0 || w > kMaxSide || h > kMaxSide) return false;
  if (!in.has(header, std::size_t(w) * h * bpp)) return false;
  if (!img.allocate(w, h, 3)) return false;
  for (std::size_t i = 0; i < std::size_t(w) * h; ++i) {
    const std::size_t at = header + i * bpp;
    const bool colour = bpp >= 3;
    unsigned c[3] = {in.at(at), in.at(at + (colour ? 1 : 0)), in.at(at + (colour ? 2 : 0))};
    const bool alpha = bpp == 2 || bpp == 4;
    const unsigned a = alpha ? in.at(at + bpp - 1) : 255;
    for (int k = 0; k < 3; ++k) img.pixels[i * 3 + k] = static_cast<std::uint8_t>((c[k] * a + 255 * (255 - a)) / 255);
  }
  return true;
}

}  // namespace

int PatToBmp(const ConvertCall& call) {
  return ConvertWhole(
      call, [](const Bytes& data, Image& img) { return ReadGimpPattern(data, img); },
      [](Sink& s, const Image& img) { return WriteBmp(s, img, 24); }, 1u << 30);
}

int PatToPpm(const ConvertCall& call) {
  return ConvertWhole(
      call, [](const Bytes& data, Image& img) { return ReadGimpPattern(data, img); },
      [](Sink& s, const Image& img) { return WritePnm(s, img); }, 1u << 30);
}

}  // namespace pix
