// PixArt pictures (".pix" files beginning "PIXT"; the Atari ST/TT/Falcon
// paint program) to an XPM 3 text, the target path itself (result 1) or the
// same text in memory mode. Big-endian header: "PIXT", version 1 or 2 (14 or
// 16 header bytes), type, planes (bits per pixel 1, 2, 4, 8, 16, 24, 32),
// width, height. Depths 2, 4 and 8 carry a palette of 2^depth RGB triples;
// their pixels are packed indices (type 0) or Atari interleaved bit planes
// (type 1: per 16 pixels one 16-bit word per plane, plane 0 first). Depth 1
// is one plane, 1 black. 16 bits: xRGB 555 (type 0), RGB 565 (type 1) or the
// type-0 word with its bytes exchanged (type 2); 24 bits: B G R (type 0) or
// R G B (type 1); 32 bits: A R G B. Rows top to bottom, no compression; rows
// missing at the end of the file (up to half the picture) stay index 0 /
// black.
#include <cstdint>
#include <string>

#include "common/files.h"
#include "common/image.h"
#include "common/paths.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::size_t kMaxSource = std::size_t(1) << 30;

struct PixArt {
  int version = 0, type = 0, depth = 0;
  std::uint32_t width = 0, height = 0;
};

bool ReadHeader(ByteReader& r, PixArt& h) {
  if (r.str(4) != "PIXT") return false;
  h.version = r.u16be();
  h.type = r.u8();
  h.depth = r.u8();
  h.width = r.u16be();
  h.height = r.u16be();
  r.skip(h.version == 2 ? 4 : 2);
  if (r.bad() || (h.version != 1 && h.version != 2)) return false;
  switch (h.depth) {
    case 1: case 2: case 4: case 8: case 16: case 24: case 32: break;
    default: return false;
  }
  return CheckedSize(h.width, h.height, 4) != 0;
}

// Indexed rows: packed (type 0) or interleaved bit planes (depth 1 and type 1).
void ReadIndexed(ByteReader& r, const PixArt& h, Image& img) {
  const bool planar = h.depth == 1 || h.type == 1;
  const std::size_t groups = (h.width + 15) / 16;
  const std::size_t rowBytes = planar ? groups * 2 * h.depth : (std::size_t(h.width) * h.depth + 7) / 8;
  for (std::uint32_t y = 0; y < h.height && !r.atEnd(); ++y) {
    const ByteReader row = r.sub(r.pos(), rowBytes);
    r.skip(rowBytes);
    std::uint8_t* out = img.row(y);
    for (std::uint32_t x = 0; x < h.width; ++x) {
      unsigned v = 0;
      if (planar) {
        const std::size_t word = (x / 16) * h.depth * 2;
        const unsigned bit = 15 - x % 16;
        for (int p = 0; p < h.depth; ++p) v |= (row.u16beAt(word + 2 * p) >> bit & 1u) << p;
      } else {
        const std::size_t bitPos = std::size_t(x) * h.depth;
        v = row.at(bitPos / 8) >> (8 - h.depth - bitPos % 8) & ((1u << h.depth) - 1);
      }
      out[x] = static_cast<std::uint8_t>(v);
    }
  }
}

std::uint8_t Expand(unsigned v, int bits) {
  return static_cast<std::uint8_t>(bits == 5 ? (v << 3 | v >> 2) : (v << 2 | v >> 4));
}

void ReadDirect(ByteReader& r, const PixArt& h, Image& img) {
  const std::size_t rowBytes = std::size_t(h.width) * (h.depth / 8);
  for (std::uint32_t y = 0; y < h.height && !r.atEnd(); ++y) {
    const ByteReader row = r.sub(r.pos(), rowBytes);
    r.skip(rowBytes);
    std::uint8_t* out = img.row(y);
    for (std::uint32_t x = 0; x < h.width; ++x) {
      std::uint8_t* px = out + std::size_t(x) * 3;
      if (h.depth == 16) {
        const std::uint16_t w = h.type == 2 ? row.u16leAt(std::size_t(x) * 2) : row.u16beAt(std::size_t(x) * 2);
        if (h.type == 1) {
          px[0] = Expand(w >> 11 & 31, 5);
          px[1] = Expand(w >> 5 & 63, 6);
        } else {
          px[0] = Expand(w >> 10 & 31, 5);
          px[1] = Expand(w >> 5 & 31, 5);
        }
        px[2] = Expand(w & 31, 5);
      } else if (h.depth == 24) {
        const std::size_t at = std::size_t(x) * 3;
        const bool bgr = h.type == 0;
        px[0] = row.at(at + (bgr ? 2 : 0));
        px[1] = row.at(at + 1);
        px[2] = row.at(at + (bgr ? 0 : 2));
      } else {
        const std::size_t at = std::size_t(x) * 4;
        px[0] = row.at(at + 1);
        px[1] = row.at(at + 2);
        px[2] = row.at(at + 3);
      }
    }
  }
}

// The C identifier for the XPM array: the source's file name.
std::string ArrayName(const char* source) {
  std::string name = Split(source).name;
  for (char& c : name)
    if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_')) c = '_';
  if (name.empty()) return "image";
  if (name[0] >= '0' && name[0] <= '9') name = std::string("_").append(name);
  return name;
}

}  // namespace

int PixToXpm(const ConvertCall& call) {
  if (!call.source || (call.memoryMode() && !call.out)) return 0;
  Bytes data;
  if (!ReadWholeFile(call.source, data, kMaxSource)) return 0;
  ByteReader r(data);
  PixArt h;
  if (!ReadHeader(r, h)) return 0;
  // Rows missing at the end are filled, but a header that declares far more
  // than the file holds is not believed.
  const std::uint64_t declared = CheckedSize(h.width, h.height, 1) * h.depth / 8;
  if (declared / 2 > r.remaining()) return 0;
  Image img;
  if (h.depth <= 8) {
    if (!img.allocate(h.width, h.height, 1)) return 0;
    img.bits = h.depth;
    if (h.depth == 1) {
      img.palette = {Rgb{255, 255, 255}, Rgb{0, 0, 0}};
    } else {
      for (int i = 0; i < (1 << h.depth); ++i) {
        Rgb c;
        c.r = r.u8();
        c.g = r.u8();
        c.b = r.u8();
        img.palette.push_back(c);
      }
      if (r.bad()) return 0;
    }
    ReadIndexed(r, h, img);
  } else {
    if (!img.allocate(h.width, h.height, 3)) return 0;
    ReadDirect(r, h, img);
  }
  const std::string name = ArrayName(call.source);
  return WriteOne(call, [&](Sink& s) { return WriteXpm(s, img, name.c_str()); });
}

}  // namespace pix
