// Palm OS picture database (".pdb" of type "vIMG", creator "View"): one grey
// picture of 1, 2 or 4 bits (0 = white), stored plainly or run-length coded.
// Written as an 8-bit BMP whose palette holds the picture's grey levels.
#include <cstdint>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kMaxSide = 16384;
constexpr std::size_t kHeaderSize = 78;
constexpr std::size_t kPictureHeader = 58;

// Expands the run-length coded pixel area into out (already zeroed, so what
// the stream does not reach stays white); runs past the end are clipped.
void Unpack(ByteReader in, Bytes& out) {
  std::size_t o = 0;
  while (o < out.size() && !in.atEnd()) {
    const std::uint8_t c = in.u8();
    if (c >= 0x80) {
      const std::uint8_t v = in.u8();
      if (in.bad()) break;
      for (int i = 0; i < c - 0x7F && o < out.size(); ++i) out[o++] = v;
    } else {
      for (int i = 0; i <= c && o < out.size(); ++i) {
        const std::uint8_t v = in.u8();
        if (in.bad()) return;
        out[o++] = v;
      }
    }
  }
}

bool ReadPdb(const Bytes& data, Image& img) {
  ByteReader in(data);
  if (!in.has(0, kHeaderSize) || in.u16beAt(32) & 0x0001) return false;
  in.seek(60);
  if (in.str(8) != "vIMGView") return false;
  in.seek(76);
  const std::uint16_t records = in.u16be();
  if (records == 0) return false;
  const std::uint32_t first = in.u32be();
  std::uint32_t end = static_cast<std::uint32_t>(data.size());
  if (records > 1) {
    in.skip(4);
    const std::uint32_t next = in.u32be();
    if (!in.bad() && next > first && next < end) end = next;
  }
  if (in.bad() || first < kHeaderSize || first >= end) return false;
  ByteReader rec = in.sub(first, end - first);
  if (!rec.has(0, kPictureHeader)) return false;
  const std::uint8_t compression = rec.at(32) & 0x07;
  const std::uint8_t type = rec.at(33);
  const int bits = type == 0 ? 2 : type == 2 ? 4 : 1;
  const std::uint32_t w = rec.u16beAt(54), h = rec.u16beAt(56);
  if (compression > 1 || w == 0 || h == 0 || w > kMaxSide || h > kMaxSide) return false;
  const std::size_t stride = (std::size_t(w) * bits + 7) / 8;
  Bytes packed(stride * h, 0);
  ByteReader pixels = rec.sub(kPictureHeader, rec.size() - kPictureHeader);
  if (compression == 0) {
    if (!pixels.has(0, packed.size())) return false;
    pixels.bytes(packed.data(), packed.size());
  } else {
    if (pixels.size() == 0) return false;
    Unpack(pixels, packed);
  }
  const int levels = 1 << bits;
  for (int v = 0; v < levels; ++v) {
    const auto g = static_cast<std::uint8_t>(255 - v * 255 / (levels - 1));
    img.palette.push_back(Rgb{g, g, g});
  }
  img.bits = bits;
  if (!img.allocate(w, h, 1)) return false;
  for (std::uint32_t y = 0; y < h; ++y)
    for (std::uint32_t x = 0; x < w; ++x) {
      const std::size_t bit = std::size_t(x) * bits;
      const std::uint8_t b = packed[y * stride + bit / 8];
      img.row(y)[x] = static_cast<std::uint8_t>((b >> (8 - bits - bit % 8)) & (levels - 1));
    }
  return true;
}

}  // namespace

int PdbToBmp(const ConvertCall& call) {
  return ConvertWhole(
      call, ReadPdb, [](Sink& s, const Image& img) { return WriteBmp(s, img, 8); }, 64u << 20);
}

}  // namespace pix
