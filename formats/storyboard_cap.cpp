// IBM Storyboard screen captures (".cap"). The old form ("EP_CAP") holds a
// CGA screen (640 x 200 in 2 colours or 320 x 200 in 4) packed with 16-bit
// literal and run codes; the new form (C1 at offset 2) holds a 4- or
// 16-colour planar screen stored in vertical 8-pixel strips, or a 256-colour
// picture, packed with byte codes. Written as an indexed BMP, in file or
// memory mode. The colours of the new 4- and 16-colour forms follow the
// palette bytes as far as they are understood; shapes are exact, colours may
// not be. Text-mode captures are not read.
#include <cstdint>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

Rgb Pc(std::uint32_t c) {
  return Rgb{static_cast<std::uint8_t>(c >> 16), static_cast<std::uint8_t>(c >> 8), static_cast<std::uint8_t>(c)};
}

// Old form: 16-bit codes; a short result stays zero (captures are often cut).
bool ReadOld(const ByteReader& in, Image& img) {
  if (in.at(6) != 0) return false;
  const int mode = in.at(7);
  if (mode != 4 && mode != 6) return false;
  const std::uint32_t rowBytes = in.u16leAt(11), rows = in.u16leAt(13);
  if (rowBytes == 0 || rows == 0 || !in.has(0, 17)) return false;
  const std::size_t segment = in.u16leAt(15);
  const int bits = mode == 6 ? 1 : 2;
  const std::uint32_t w = rowBytes * 8 / bits;
  Bytes raw(std::size_t(rowBytes) * rows, 0);
  ByteReader codes = in.sub(17, segment);
  std::size_t o = 0;
  while (o < raw.size() && codes.remaining() >= 2) {
    const std::uint16_t n = codes.u16le();
    if (n == 0) break;
    if (n < 0x8000) {
      for (std::uint16_t k = 0; k < n && !codes.atEnd(); ++k) {
        const std::uint8_t v = codes.u8();
        if (o < raw.size()) raw[o++] = v;
      }
    } else {
      const std::uint8_t v = codes.u8();
      if (codes.bad()) break;
      for (std::uint32_t k = 0; k < n - 0x8000u && o < raw.size(); ++k) raw[o++] = v;
    }
  }
  if (mode == 6) img.palette = {Pc(0x000000), Pc(0xFFFFFF)};
  else img.palette = {Pc(0x000000), Pc(0x55FFFF), Pc(0xFF55FF), Pc(0xFFFFFF)};
  img.bits = bits;
  if (!img.allocate(w, rows, 1)) return false;
  for (std::uint32_t y = 0; y < rows; ++y)
    for (std::uint32_t x = 0; x < w; ++x) {
      const std::size_t bit = std::size_t(x) * bits;
      const std::uint8_t b = raw[std::size_t(y) * rowBytes + bit / 8];
      img.row(y)[x] = static_cast<std::uint8_t>((b >> (8 - bits - bit % 8)) & ((1 << bits) - 1));
    }
  return true;
}

// New form packing; `wide` adds 16-bit counts and copies from the row above.
bool Unpack(ByteReader in, bool wide, std::size_t rowBytes, Bytes& out) {
  std::size_t o = 0;
  auto put = [&](std::uint8_t v) { if (o < out.size()) out[o++] = v; };
  while (o < out.size() && !in.atEnd()) {
    const std::uint8_t b = in.u8();
    if (b == 0x00) {
      while (o < out.size() && !in.atEnd()) put(in.u8());
    } else if (b == 0x80) {
      return false;
    } else if (b < 0x7F || (b == 0x7F && !wide)) {
      for (int k = 0; k < b && !in.atEnd(); ++k) put(in.u8());
    } else if (b == 0x7F) {
      const std::uint16_t n = in.u16le();
      for (std::uint32_t k = 0; k < n && !in.atEnd(); ++k) put(in.u8());
    } else if (wide && b == 0xFF) {
      const std::uint16_t n = in.u16le();
      const std::uint8_t v = in.u8();
      if (in.bad()) break;
      for (std::uint32_t k = 0; k < n && o < out.size(); ++k) put(v);
    } else if (wide && (b == 0xFE || b == 0xFD)) {
      const std::size_t n = b == 0xFE ? in.u8() : in.u16le();
      if (in.bad()) break;
      if (n > rowBytes || o < rowBytes) return false;
      for (std::size_t k = 0; k < n && o < out.size(); ++k) put(out[o - rowBytes]);
    } else {
      const std::uint8_t v = in.u8();
      if (in.bad()) break;
      for (int k = 0; k < (b & 0x7F); ++k) put(v);
    }
  }
  return true;
}

bool ReadNew(const ByteReader& in, Image& img) {
  const std::uint8_t type = in.at(1), mode = in.at(3);
  const std::uint32_t w = in.u16leAt(5), h = in.u16leAt(7);
  if (w == 0 || h == 0 || w > 4096 || h > 4096) return false;
  if (type == 0x85 || type == 0x86) {
    const std::size_t start = type == 0x85 ? 1856 : 2816;
    if (!in.has(128, 768) || start > in.size()) return false;
    Bytes raw(std::size_t(w) * h, 0);
    if (!Unpack(in.sub(start, in.size() - start), type == 0x86, w, raw)) return false;
    auto six = [](std::uint8_t v) { return static_cast<std::uint8_t>((v & 63) * 255 / 63); };
    for (int i = 0; i < 256; ++i)
      img.palette.push_back(Rgb{six(in.at(128 + i)), six(in.at(384 + i)), six(in.at(640 + i))});
    img.bits = 8;
    if (!img.allocate(w, h, 1)) return false;
    img.pixels = raw;
    return true;
  }
  const int planes = mode == 0x08 ? 2 : 4;
  const std::size_t strips = (w + 7) / 8, plane = strips * h;
  if (2048 > in.size()) return false;
  Bytes raw(plane * planes, 0);
  if (!Unpack(in.sub(2048, in.size() - 2048), false, 0, raw)) return false;
  if (planes == 2) {
    const bool warm = (in.at(13) & 15) == 6;
    const Rgb entries[4] = {PcColours()[in.at(14) & 15], warm ? Pc(0x55FF55) : Pc(0x55FFFF),
                            warm ? Pc(0xFF5555) : Pc(0xFF55FF), warm ? Pc(0xFFFF55) : Pc(0xFFFFFF)};
    static constexpr int kMap[4] = {3, 1, 2, 0};
    for (int v = 0; v < 4; ++v) img.palette.push_back(entries[kMap[v]]);
    img.bits = 2;
  } else {
    static constexpr int kLow[16] = {0, 11, 13, 15, 6, 4, 2, 9, 8, 3, 5, 7, 14, 12, 10, 1};
    static constexpr int kHigh[16] = {0, 11, 6, 4, 13, 15, 2, 9, 8, 3, 14, 12, 5, 7, 10, 1};
    const bool lines200 = mode == 0x01;
    for (int v = 0; v < 16; ++v) {
      const std::uint8_t reg = in.at(13 + static_cast<std::size_t>(lines200 ? kLow[v] : kHigh[v]));
      img.palette.push_back(lines200 && reg == 6 ? Pc(0xAA5500) : EgaColour(reg));
    }
    img.bits = 4;
  }
  if (!img.allocate(w, h, 1)) return false;
  for (std::uint32_t y = 0; y < h; ++y)
    for (std::uint32_t x = 0; x < w; ++x) {
      std::uint8_t v = 0;
      const std::size_t n = std::size_t(x / 8) * h + y;
      for (int p = 0; p < planes; ++p) v |= static_cast<std::uint8_t>(((raw[p * plane + n] >> (7 - x % 8)) & 1) << p);
      img.row(y)[x] = v;
    }
  return true;
}

}  // namespace

int CapToBmp(const ConvertCall& call) {
  Bytes data;
  if (!call.source || !ReadWholeFile(call.source, data, 64u << 20)) return 0;
  ByteReader in(data);
  Image img;
  if (in.has(0, 8) && in.sub(0, 6).str(6) == "EP_CAP") {
    if (!ReadOld(in, img)) return 0;
  } else {
    const std::uint8_t type = in.at(1), mode = in.at(3);
    const bool known = (type == 0x84 && (mode == 0x01 || mode == 0x03 || mode == 0x07 || mode == 0x08)) ||
                       type == 0x85 || type == 0x86;
    if (data.size() < 1856 || in.at(2) != 0xC1 || (in.at(0) != 0x00 && in.at(0) != 0x54) || !known) return 0;
    if (!ReadNew(in, img)) return 0;
  }
  return WriteOne(call, [&](Sink& s) { return WriteBmp(s, img, img.bits <= 1 ? 1 : img.bits <= 4 ? 4 : 8); });
}

}  // namespace pix
