// The Maxis IFF of The Sims (objects ".iff", floors ".flr"): a 64-byte text
// signature, then chunks with a 76-byte header (type, size including the
// header, ID, flags, label). Pictures are BMP_ chunks (whole Windows BMP
// files) and the frames of SPR# (8-bit run-coded sprites) and SPR2 (sprites
// with depth and alpha) chunks; PALT chunks hold their palettes by ID.
#include <cstring>
#include <string>

#include "common/budget.h"
#include "formats/iff.h"

namespace pix {
namespace {

constexpr std::size_t kFileHeader = 64, kChunkHeader = 76;
constexpr std::uint32_t kMaxFrames = 100000;

bool IsMaxis(const ByteReader& file) {
  const std::string sig = file.sub(0, 12).str(12);
  return sig == "IFF FILE 2.5" || sig == "IFF FILE 2.0";
}

struct SpriteHeader {
  bool bigEndian = false;
  std::uint32_t version = 0, frames = 0, palette = 0;
  std::uint32_t at(const ByteReader& r, std::size_t off) const { return bigEndian ? r.u32beAt(off) : r.u32leAt(off); }
  std::uint16_t at16(const ByteReader& r, std::size_t off) const { return bigEndian ? r.u16beAt(off) : r.u16leAt(off); }
};

SpriteHeader ReadSpriteHeader(const ByteReader& data, bool spr2) {
  SpriteHeader h;
  h.bigEndian = !spr2 && data.at(0) == 0 && data.at(1) == 0;
  h.version = h.at(data, 0);
  h.frames = h.at(data, 4);
  h.palette = h.at(data, 8);
  return h;
}

// Frame f's offset in the chunk data, 0 when the table or the frame header
// does not fit.
std::size_t FrameOffset(const ByteReader& data, const SpriteHeader& h, std::uint32_t f, std::size_t frameHeader) {
  if (!data.has(12 + 4 * std::size_t(f), 4)) return 0;
  const std::size_t off = h.at(data, 12 + 4 * std::size_t(f));
  return off >= 12 && data.has(off, frameHeader) ? off : 0;
}

// Run codes skip whole rows and runs of transparent pixels, so a few bytes can
// declare a frame of any size; real frames stay far below 4096 pixels per byte
// of their command stream beyond a 1 Mi-pixel allowance. A frame past that is
// a damaged header. A chunk may also list thousands of frames: every frame's
// pixels count against the call's work budget.
bool AffordFrame(std::uint32_t w, std::uint32_t h, int channels, std::size_t streamBytes) {
  const std::uint64_t bytes = CheckedSize(w, h, static_cast<std::uint64_t>(channels));
  if (bytes == 0 || std::uint64_t(w) * h > (std::uint64_t(1) << 20) + 4096 * std::uint64_t(streamBytes)) return false;
  return ChargeRead(bytes);
}

const std::vector<Rgb>* FindPalette(const IffFile& iff, std::uint32_t id) {
  for (const MaxisPalette& p : iff.palettes)
    if (p.id == id) return &p.colours;
  return nullptr;
}

void PaletteFor(const IffFile& iff, std::uint32_t id, Image& img) {
  const std::vector<Rgb>* p = FindPalette(iff, id);
  img.palette = p ? *p : GreyRamp(256);
  img.palette.resize(256);
  img.bits = 8;
}

void Sprite1Frame(ByteReader cmds, Image& img) {
  std::uint32_t y = 0;
  while (cmds.remaining() >= 2) {
    const std::uint8_t cmd = cmds.u8(), count = cmds.u8();
    if (cmd == 0x00 || cmd == 0x10) continue;
    if (cmd == 0x09) { y += count; continue; }
    if (cmd != 0x04 || count < 2) break;
    ByteReader row = cmds.sub(cmds.pos(), count - 2u);
    cmds.skip(count - 2u);
    std::uint32_t x = 0;
    auto paint = [&](std::uint8_t v) {
      if (y < img.height && x < img.width) img.row(y)[x] = v;
      ++x;
    };
    while (row.remaining() >= 2) {
      const std::uint8_t pc = row.u8(), pn = row.u8();
      if (pc == 0x01) {
        x += pn;
      } else if (pc == 0x02) {
        const std::uint8_t v = row.u8();
        row.u8();
        for (int i = 0; i < pn; ++i) paint(v);
      } else if (pc == 0x03) {
        for (int i = 0; i < pn; ++i) paint(row.u8());
        if (pn & 1) row.u8();
      } else {
        break;
      }
    }
    ++y;
  }
}

void Sprite2Frame(ByteReader cmds, std::uint8_t transparent, bool alpha, const std::vector<Rgb>& pal, Image& img) {
  std::uint32_t y = 0;
  while (cmds.remaining() >= 2) {
    const std::uint16_t word = cmds.u16le();
    const unsigned cmd = word >> 13, count = word & 0x1FFF;
    if (cmd == 4) { y += count; continue; }
    if (cmd != 0 || count < 2) break;
    ByteReader row = cmds.sub(cmds.pos(), count - 2u);
    cmds.skip(count - 2u);
    std::uint32_t x = 0;
    auto paint = [&](std::uint8_t v, std::uint8_t a) {
      if (y < img.height && x < img.width) {
        std::uint8_t* p = img.row(y) + std::size_t(x) * img.channels;
        if (!alpha) {
          p[0] = v;
        } else {
          p[0] = pal[v].r;
          p[1] = pal[v].g;
          p[2] = pal[v].b;
          p[3] = v == transparent ? 0 : a;
        }
      }
      ++x;
    };
    while (row.remaining() >= 2) {
      const std::uint16_t pw = row.u16le();
      const unsigned pc = pw >> 13, pn = pw & 0x1FFF;
      if (pc == 1) {
        for (unsigned i = 0; i < pn && !row.atEnd(); ++i) { row.u8(); paint(row.u8(), 255); }
      } else if (pc == 2) {
        for (unsigned i = 0; i < pn && !row.atEnd(); ++i) {
          row.u8();
          const std::uint8_t v = row.u8(), a = row.u8();
          paint(v, static_cast<std::uint8_t>(std::min(31, int(a)) * 255 / 31));
        }
        if ((3 * pn) & 1) row.u8();
      } else if (pc == 3) {
        x += pn;
      } else if (pc == 6) {
        for (unsigned i = 0; i < pn && !row.atEnd(); ++i) paint(row.u8(), 255);
        if (pn & 1) row.u8();
      } else {
        break;
      }
    }
    ++y;
  }
}

}  // namespace

bool ScanMaxisIff(const ByteReader& file, IffFile& iff) {
  if (!IsMaxis(file)) return false;
  // Palettes first, so that a sprite may use one stored after it.
  for (int pass = 0; pass < 2; ++pass) {
    std::size_t pos = kFileHeader;
    while (file.has(pos, kChunkHeader)) {
      const std::string type = file.sub(pos, 4).str(4);
      const std::uint32_t size = file.u32beAt(pos + 4);
      if (size < kChunkHeader || !file.has(pos, size)) break;  // a chunk past the file ends the walk
      const std::size_t dataAt = pos + kChunkHeader, dataLen = size - kChunkHeader;
      ByteReader data = file.sub(dataAt, dataLen);
      if (pass == 0 && type == "PALT") {
        const std::uint32_t n = data.u32leAt(4);
        if (n <= 256 && data.has(16, 3 * std::size_t(n))) {
          MaxisPalette p;
          p.id = file.u16beAt(pos + 8);
          for (std::uint32_t i = 0; i < n; ++i) p.colours.push_back(Rgb{data.at(16 + 3 * i), data.at(17 + 3 * i), data.at(18 + 3 * i)});
          iff.palettes.push_back(std::move(p));
        }
      } else if (pass == 1 && type == "BMP_" && data.at(0) == 'B' && data.at(1) == 'M') {
        iff.pictures.push_back({IffPicture::Kind::Bmp, dataAt, dataLen, 0});
      } else if (pass == 1 && (type == "SPR#" || type == "SPR2")) {
        const bool spr2 = type == "SPR2";
        const SpriteHeader h = ReadSpriteHeader(data, spr2);
        const std::size_t frameHeader = spr2 ? 16 : 8;
        if ((spr2 ? h.version == 1000 : h.version >= 502 && h.version <= 505) && h.frames <= kMaxFrames) {
          for (std::uint32_t f = 0; f < h.frames; ++f) {
            const std::size_t off = FrameOffset(data, h, f, frameHeader);
            if (off == 0) continue;
            const std::uint16_t a = h.at16(data, off + (spr2 ? 0 : 4)), b = h.at16(data, off + (spr2 ? 2 : 6));
            if (a && b) iff.pictures.push_back({spr2 ? IffPicture::Kind::Sprite2 : IffPicture::Kind::Sprite1, dataAt, dataLen, f});
          }
        }
      }
      pos += size;
    }
  }
  return true;
}

bool DecodeMaxisSprite(const ByteReader& data, const IffFile& iff, const IffPicture& pic, Image& img) {
  const bool spr2 = pic.kind == IffPicture::Kind::Sprite2;
  const SpriteHeader h = ReadSpriteHeader(data, spr2);
  const std::size_t off = FrameOffset(data, h, pic.frame, spr2 ? 16 : 8);
  if (off == 0) return false;
  if (!spr2) {
    const std::uint16_t w = h.at16(data, off + 6), ht = h.at16(data, off + 4);
    if (!AffordFrame(w, ht, 1, data.size() - off - 8) || !img.allocate(w, ht, 1)) return false;
    PaletteFor(iff, h.palette, img);
    Sprite1Frame(data.sub(off + 8, data.size() - off - 8), img);
    return true;
  }
  const std::uint16_t w = data.u16leAt(off), ht = data.u16leAt(off + 2);
  const std::uint32_t flags = data.u32leAt(off + 4);
  const std::uint8_t transparent = static_cast<std::uint8_t>(data.u16leAt(off + 10));
  const bool alpha = (flags & 4) != 0;
  Image indexed;
  PaletteFor(iff, h.palette, indexed);
  if (!AffordFrame(w, ht, alpha ? 4 : 1, data.size() - off - 16) || !img.allocate(w, ht, alpha ? 4 : 1)) return false;
  if (alpha) {
    const Rgb t = indexed.palette[transparent];
    for (std::size_t i = 0; i < std::size_t(w) * ht; ++i) {
      img.pixels[4 * i] = t.r;
      img.pixels[4 * i + 1] = t.g;
      img.pixels[4 * i + 2] = t.b;
    }
  } else {
    img.palette = indexed.palette;
    img.bits = 8;
    std::fill(img.pixels.begin(), img.pixels.end(), transparent);
  }
  Sprite2Frame(data.sub(off + 16, data.size() - off - 16), transparent, alpha, indexed.palette, img);
  return true;
}

}  // namespace pix
