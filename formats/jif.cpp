// Jeff's Image Format (".jif", signature "JIF99a") and GIF. A JIF file has
// the block structure of a GIF89a file (screen descriptor, colour tables,
// extensions, images in sub-blocks, trailer) with another coding of the
// pixel data, which is not documented anywhere public. JIF to GIF reads the
// first picture in either of the two codings it can verify: deflate (a zlib
// stream that inflates to exactly width x height indices) or GIF's own LZW
// (read through giflib as a GIF); the picture is written as a GIF with the
// shared writer. Other data, and JPEG files named ".jif", give 0. Writes the
// target path itself and returns 1 (memory mode: the GIF's bytes and their
// count).
//
// GIF to JIF writes nothing and returns 0: without the real JIF coding any
// file written would claim to be JIF and be unreadable by JIF readers.
#include <cstdint>
#include <cstring>

#include "common/image.h"
#include "common/inflate.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint64_t kDeflateRatio = 1032;

struct JifImage {
  std::uint16_t width = 0, height = 0;
  bool interlaced = false;
  std::vector<Rgb> palette;
  Bytes data;  // the sub-blocks' bytes after the first data byte
};

std::vector<Rgb> Table(ByteReader& in, std::uint8_t packed) {
  std::vector<Rgb> t(std::size_t(2) << (packed & 7));
  for (Rgb& c : t) c = {in.u8(), in.u8(), in.u8()};
  return t;
}

// Walks the blocks to the first image; false when the structure breaks.
bool FirstImage(const Bytes& file, JifImage& img) {
  ByteReader in(file);
  if (in.str(6) != "JIF99a") return false;
  in.skip(4);
  const std::uint8_t screen = in.u8();
  in.skip(2);
  std::vector<Rgb> global;
  if (screen & 0x80) global = Table(in, screen);
  while (!in.bad() && !in.atEnd()) {
    const std::uint8_t kind = in.u8();
    if (kind == 0x21) {
      in.skip(1);
      for (std::uint8_t n = in.u8(); n != 0 && !in.bad(); n = in.u8()) in.skip(n);
    } else if (kind == 0x2C) {
      in.skip(4);
      img.width = in.u16le();
      img.height = in.u16le();
      const std::uint8_t packed = in.u8();
      img.interlaced = (packed & 0x40) != 0;
      img.palette = (packed & 0x80) ? Table(in, packed) : global;
      in.skip(1);
      for (std::uint8_t n = in.u8(); n != 0 && !in.bad(); n = in.u8()) {
        const std::uint8_t* p = in.take(n);
        if (p) img.data.insert(img.data.end(), p, p + n);
      }
      return !in.bad() && !img.palette.empty();
    } else {
      return false;
    }
  }
  return false;
}

// The deflate coding: exactly width x height indices, rows in stored order.
bool Inflated(const JifImage& jif, Image& img) {
  if (jif.data.size() < 2 || jif.data[0] != 0x78 || (jif.data[0] * 256 + jif.data[1]) % 31 != 0) return false;
  // Deflate packs at most about 1032 bytes into one: no larger picture can be in the data.
  if (std::uint64_t(jif.width) * jif.height > std::uint64_t(jif.data.size()) * kDeflateRatio) return false;
  if (!img.allocate(jif.width, jif.height, 1)) return false;
  Bytes stored;
  if (!Inflate(jif.data.data(), jif.data.size(), kZlibStream, img.pixels.size() + 1, stored) ||
      stored.size() != img.pixels.size())
    return false;
  std::uint32_t y = 0;
  static const std::uint32_t kStart[4] = {0, 4, 2, 1}, kStep[4] = {8, 8, 4, 2};
  for (int pass = 0; pass < (jif.interlaced ? 4 : 1); ++pass)
    for (std::uint32_t row = jif.interlaced ? kStart[pass] : 0; row < img.height;
         row += jif.interlaced ? kStep[pass] : 1, ++y)
      std::memcpy(img.row(row), stored.data() + std::size_t(y) * img.width, img.width);
  img.palette = jif.palette;
  for (std::uint8_t& p : img.pixels)
    if (p >= img.palette.size()) p = 0;
  return true;
}

}  // namespace

int JifToGif(const ConvertCall& call) {
  Bytes file;
  if (!call.source || !ReadWholeFile(call.source, file)) return 0;
  JifImage jif;
  if (!FirstImage(file, jif)) return 0;
  Image img;
  if (!Inflated(jif, img)) {
    std::memcpy(file.data(), "GIF89a", 6);
    img = Image();
    if (!ReadGif(file, img)) return 0;
  }
  return WriteOne(call, [&](Sink& out) { return WriteGif(out, img); });
}

int GifToJif(const ConvertCall&) { return 0; }

}  // namespace pix
