// ".img" pictures that begin "IM" to binary PGM. Two grey formats start so:
// - the ITEX file of Imaging Technology frame grabbers (also saved by
//   Hamamatsu camera software): a 64-byte header of 16-bit little-endian
//   words ("IM", comment length, width, height, x and y offset, type 0/2/3
//   for 8/16/32-bit pixels), the comment, then the pixels row after row;
// - the GE Genesis medical image ("IMGF", 32-bit big-endian words: pixel
//   data offset, width, height, depth, compression, window width and level).
// 8-bit pixels are copied; deeper ones are stretched from the picture's
// minimum to its maximum onto 0..255 (a Genesis window is used when set).
// Writes the target path itself and returns 1 (memory mode: the PGM's
// bytes and their count), 0 for anything else.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

// Deep samples before they are brought down to bytes.
struct DeepPicture {
  std::uint32_t width = 0, height = 0;
  std::vector<std::uint32_t> samples;
};

void Stretch(const DeepPicture& deep, Image& img) {
  std::uint32_t lo = UINT32_MAX, hi = 0;
  for (std::uint32_t v : deep.samples) {
    lo = std::min(lo, v);
    hi = std::max(hi, v);
  }
  for (std::size_t i = 0; i < deep.samples.size(); ++i)
    img.pixels[i] = hi == lo ? 128
                             : static_cast<std::uint8_t>((std::uint64_t(deep.samples[i] - lo) * 255 + (hi - lo) / 2) /
                                                         (hi - lo));
}

void Window(const DeepPicture& deep, std::int64_t width, std::int64_t level, Image& img) {
  const std::int64_t low = level - width / 2;
  for (std::size_t i = 0; i < deep.samples.size(); ++i) {
    const std::int64_t v = (std::int64_t(deep.samples[i]) - low) * 255 / width;
    img.pixels[i] = static_cast<std::uint8_t>(std::clamp<std::int64_t>(v, 0, 255));
  }
}

bool DecodeItex(ByteReader& in, Image& img) {
  in.seek(2);
  const std::uint16_t comment = in.u16le();
  const std::uint16_t width = in.u16le(), height = in.u16le();
  in.skip(4);
  const std::uint16_t type = in.u16le();
  const int bytes = type == 0 ? 1 : type == 2 ? 2 : type == 3 ? 4 : 0;
  if (bytes == 0 || in.bad()) return false;
  const std::uint64_t size = CheckedSize(width, height, std::uint64_t(bytes), 64 + std::uint64_t(comment));
  if (size == 0 || size > in.size() || !img.allocate(width, height, 1)) return false;
  in.seek(64 + std::size_t(comment));
  if (bytes == 1) return in.bytes(img.pixels.data(), img.pixels.size());
  DeepPicture deep{width, height, std::vector<std::uint32_t>(img.pixels.size())};
  for (std::uint32_t& v : deep.samples) v = bytes == 2 ? in.u16le() : in.u32le();
  if (in.bad()) return false;
  Stretch(deep, img);
  return true;
}

bool DecodeGenesis(ByteReader& in, Image& img) {
  in.seek(4);
  const std::uint32_t offset = in.u32be(), width = in.u32be(), height = in.u32be();
  const std::uint32_t depth = in.u32be(), compression = in.u32be();
  const std::int32_t window = in.s32be(), level = in.s32be();
  if (in.bad() || width < 1 || height < 1 || width > 8192 || height > 8192) return false;
  if ((depth != 8 && depth != 16) || compression != 1) return false;
  const std::uint64_t size = CheckedSize(width, height, depth / 8, offset);
  if (size == 0 || size > in.size() || !img.allocate(width, height, 1)) return false;
  in.seek(offset);
  if (depth == 8) return in.bytes(img.pixels.data(), img.pixels.size());
  DeepPicture deep{width, height, std::vector<std::uint32_t>(img.pixels.size())};
  for (std::uint32_t& v : deep.samples) v = in.u16be();
  if (in.bad()) return false;
  if (window > 0 && level > 0) Window(deep, window, level, img);
  else Stretch(deep, img);
  return true;
}

bool Decode(const Bytes& data, Image& img) {
  ByteReader in(data);
  if (!in.has(0, 64) || in.at(0) != 'I' || in.at(1) != 'M') return false;
  if (in.at(2) == 'G' && in.at(3) == 'F') return DecodeGenesis(in, img);
  return DecodeItex(in, img);
}

}  // namespace

int ImgToPgm(const ConvertCall& call) {
  return ConvertWhole(
      call, [](const Bytes& data, Image& img) { return Decode(data, img); },
      [](Sink& out, const Image& img) { return WritePnm(out, img); });
}

}  // namespace pix
