// GIMP pixmap brushes (".gpb") to 32-bit Targa pictures with alpha. A pixmap
// brush is a GIMP brush (big-endian header: header size, version, width,
// height, bytes per pixel, "GIMP" and spacing from version 2, the name; then
// a one-byte mask per pixel) directly followed by a GIMP pattern of the same
// size (header size, version, width, height, bytes per pixel, "GPAT", the
// name; then the colours). The Targa takes its colours from the pattern and
// its alpha from the mask; a brush without its pattern gives black paint
// through the mask, an RGBA brush is used as it is. Writes the target path
// itself and returns 1, 0 for anything else.
#include <cstdint>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kGimpLimit = 10000;

// Colours the picture from a pattern at `at` when it matches the brush size.
void Pattern(const ByteReader& in, std::size_t at, Image& img) {
  if (!in.has(at, 24)) return;
  const std::uint32_t headerSize = in.u32beAt(at), width = in.u32beAt(at + 8), height = in.u32beAt(at + 12);
  const std::uint32_t bytes = in.u32beAt(at + 16);
  if (in.u32beAt(at + 20) != 0x47504154 || width != img.width || height != img.height) return;  // "GPAT"
  if (bytes < 1 || bytes > 4 || headerSize < 24) return;
  const std::uint64_t size = CheckedSize(width, height, bytes, std::uint64_t(at) + headerSize);
  if (size == 0 || size > in.size()) return;
  std::size_t p = at + headerSize;
  for (std::size_t i = 0; i < std::size_t(width) * height; ++i, p += bytes) {
    std::uint8_t* px = img.pixels.data() + i * 4;
    const bool colour = bytes >= 3;
    px[0] = in.at(p);
    px[1] = colour ? in.at(p + 1) : px[0];
    px[2] = colour ? in.at(p + 2) : px[0];
    if (bytes == 2 || bytes == 4) px[3] = static_cast<std::uint8_t>((px[3] * in.at(p + bytes - 1) + 127) / 255);
  }
}

bool Decode(const Bytes& data, Image& img) {
  ByteReader in(data);
  const std::uint32_t headerSize = in.u32be(), version = in.u32be(), width = in.u32be(), height = in.u32be();
  std::uint32_t bytes = in.u32be();
  if (in.bad() || version < 1 || version > 3) return false;
  if (version >= 2 && in.u32be() != 0x47494D50) return false;  // "GIMP"
  if (headerSize < (version == 1 ? 20u : 28u) || headerSize > in.size()) return false;
  if (width < 1 || height < 1 || width > kGimpLimit || height > kGimpLimit) return false;
  if (bytes != 4) bytes = 1;  // a layer type in the short-lived version 3
  const std::uint64_t size = CheckedSize(width, height, bytes, headerSize);
  if (size == 0 || size > in.size() || !img.allocate(width, height, 4)) return false;
  for (std::size_t i = 0; i < std::size_t(width) * height; ++i) {
    std::uint8_t* px = img.pixels.data() + i * 4;
    const std::size_t p = headerSize + i * bytes;
    if (bytes == 4) {
      for (int c = 0; c < 4; ++c) px[c] = in.at(p + std::size_t(c));
    } else {
      px[3] = in.at(p);
    }
  }
  if (bytes == 1) Pattern(in, std::size_t(size), img);
  return true;
}

}  // namespace

int GpbToTga(const ConvertCall& call) {
  return ConvertWhole(
      call, [](const Bytes& data, Image& img) { return Decode(data, img); },
      [](Sink& out, const Image& img) { return WriteTga(out, img); });
}

}  // namespace pix
