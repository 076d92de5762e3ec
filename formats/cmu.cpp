// GEM bit images (".img") to CMU window manager bitmaps (".cmu": magic
// F1 00 40 BB, big-endian width, height and depth 1, rows of ceil(width / 8)
// bytes with bit 1 = white and the top bit leftmost, padding bits 1).
// Files beginning FF FF take the other converter: no 1-bit ".img" picture
// starting FF FF is known (GEM rasters start 00 01 or 00 02; the FF FF
// starts known elsewhere are GEM metafiles, Atari load files and MMR
// bitmaps of other extensions), so it recognises nothing and returns 0.
#include <algorithm>
#include <cstdint>

#include "common/image.h"
#include "common/series.h"
#include "formats/formats.h"
#include "formats/gem_image.h"

namespace pix {
namespace {

bool WriteCmu(Sink& out, const Image& img) {
  if (!out.put32be(0xF10040BBu) || !out.put32be(img.width) || !out.put32be(img.height) || !out.put16be(1)) return false;
  Bytes row((img.width + 7u) / 8u);
  for (std::uint32_t y = 0; y < img.height; ++y) {
    std::fill(row.begin(), row.end(), 0xFF);
    for (std::uint32_t x = 0; x < img.width; ++x) {
      const Rgb c = img.rgb(x, y);  // a colour picture goes dark or light
      if (c.r + c.g + c.b < 384) row[x / 8] = static_cast<std::uint8_t>(row[x / 8] & ~(0x80u >> (x % 8)));
    }
    if (!out.write(row)) return false;
  }
  return true;
}

}  // namespace

int ImgToCmuA(const ConvertCall&) { return 0; }

int ImgToCmuB(const ConvertCall& call) {
  return ConvertWhole(
      call, [](const Bytes& data, Image& img) { return ReadGemImage(data, img); },
      [](Sink& s, const Image& img) { return WriteCmu(s, img); });
}

}  // namespace pix
