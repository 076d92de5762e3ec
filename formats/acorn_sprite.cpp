// RISC OS sprite files (file type FF9, ".ff9" or ".acorn" off RISC OS): a
// sprite area without its first word, holding named sprites of 1 to 32 bits
// per pixel, pixels packed least significant bits first, with an optional
// palette and transparency mask. Each decodable sprite becomes one BMP (1, 4
// or 8 bits with its palette; 24 bits for 16- and 32-bit sprites; masked
// pixels white): a file of one sprite is written to the target path itself,
// several are written as "<source name>_0001.bmp", ...; memory mode hands back
// the first.
#include <algorithm>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kMaxSprites = 10000;
constexpr std::size_t kSpriteHeader = 44;

// Bits per pixel of an old-format screen mode, 0 when unknown.
int OldModeBits(std::uint32_t mode) {
  static constexpr std::uint8_t kModes[50] = {1, 2, 4, 0, 1, 2, 0, 0, 2, 4, 8, 2, 4, 8, 4, 8, 4, 4, 1, 2, 4, 8, 4, 1, 8,
                                              1, 2, 4, 8, 1, 2, 4, 8, 1, 2, 4, 8, 1, 2, 4, 8, 1, 2, 4, 1, 2, 4, 8, 4, 8};
  return mode < 50 ? kModes[mode] : 0;
}

std::vector<Rgb> DefaultPalette(int bpp) {
  static constexpr std::uint32_t kDesktop16[16] = {0xFFFFFF, 0xDDDDDD, 0xBBBBBB, 0x999999, 0x777777, 0x555555,
                                                   0x333333, 0x000000, 0x004499, 0xEEEE00, 0x00CC00, 0xDD0000,
                                                   0xEEEEBB, 0x558800, 0xFFBB00, 0x00BBFF};
  auto hex = [](std::uint32_t v) { return Rgb{std::uint8_t(v >> 16), std::uint8_t(v >> 8), std::uint8_t(v)}; };
  std::vector<Rgb> p;
  if (bpp == 1) {
    p = {hex(0xFFFFFF), hex(0x000000)};
  } else if (bpp == 2) {
    p = {hex(0xFFFFFF), hex(0xBBBBBB), hex(0x777777), hex(0x000000)};
  } else if (bpp == 4) {
    for (std::uint32_t v : kDesktop16) p.push_back(hex(v));
  } else {
    for (int k = 0; k < 256; ++k) {
      const int r = k % 8 + (k % 32) / 16 * 8, g = k % 4 + (k % 128) / 32 * 4, b = k % 4 + (k % 16) / 8 * 4 + k / 128 * 8;
      p.push_back(Rgb{std::uint8_t(r * 17), std::uint8_t(g * 17), std::uint8_t(b * 17)});
    }
  }
  return p;
}

struct Sprite {
  std::uint32_t widthWords = 0, height = 0, firstBit = 0, lastBit = 0;
  std::uint32_t imageAt = 0, maskAt = 0, mode = 0;
  int bpp = 0;
  bool newFormat = false, alphaMask = false;
};

// The value of pixel x of a row: bits from bit position `bit` on, LSB first.
std::uint32_t PixelAt(const ByteReader& r, std::size_t rowAt, std::size_t bit, int bpp) {
  if (bpp == 16) return r.u16leAt(rowAt + bit / 8);
  if (bpp == 32) return r.u32leAt(rowAt + bit / 8);
  return (r.at(rowAt + bit / 8) >> (bit % 8)) & ((1u << bpp) - 1);
}

bool DecodeSprite(const ByteReader& s, Image& img) {
  Sprite sp;
  sp.widthWords = s.u32leAt(16) + 1;
  sp.height = s.u32leAt(20) + 1;
  sp.firstBit = s.u32leAt(24);
  sp.lastBit = s.u32leAt(28);
  sp.imageAt = s.u32leAt(32);
  sp.maskAt = s.u32leAt(36);
  sp.mode = s.u32leAt(40);
  const std::uint32_t type = (sp.mode >> 27) & 0x0F;
  sp.newFormat = type != 0;
  if (sp.newFormat) {
    static constexpr int kTypeBits[7] = {0, 1, 2, 4, 8, 16, 32};
    sp.bpp = type < 7 ? kTypeBits[type] : 0;
    sp.alphaMask = (sp.mode >> 31) != 0;
    sp.firstBit = 0;
  } else {
    sp.bpp = OldModeBits(sp.mode);
  }
  if (sp.bpp == 0 || sp.widthWords == 0 || sp.height == 0 || sp.widthWords > kMaxDimension || sp.height > kMaxDimension) return false;
  if (sp.firstBit > 31 || sp.lastBit > 31 || sp.imageAt < kSpriteHeader) return false;
  const std::size_t stride = std::size_t(sp.widthWords) * 4;
  if (!s.has(sp.imageAt, stride * sp.height)) return false;
  const std::int64_t bits = std::int64_t(sp.widthWords) * 32 - sp.firstBit - (31 - sp.lastBit);
  const std::int64_t width = bits / sp.bpp;
  if (width <= 0 || CheckedSize(std::uint64_t(width), sp.height, 3) == 0) return false;
  const std::uint32_t w = static_cast<std::uint32_t>(width), h = sp.height;
  const bool paletted = sp.bpp <= 8;
  if (!img.allocate(w, h, paletted ? 1 : 3)) return false;
  if (paletted) {
    img.palette = DefaultPalette(sp.bpp == 8 ? 8 : sp.bpp);
    const std::size_t entries = std::min<std::size_t>((sp.imageAt - kSpriteHeader) / 8, img.palette.size());
    for (std::size_t i = 0; i < entries; ++i) {
      const std::size_t e = kSpriteHeader + 8 * i;
      img.palette[i] = Rgb{s.at(e + 1), s.at(e + 2), s.at(e + 3)};
    }
    img.bits = sp.bpp;
  }
  for (std::uint32_t y = 0; y < h; ++y) {
    std::uint8_t* out = img.row(y);
    const std::size_t rowAt = sp.imageAt + stride * y;
    for (std::uint32_t x = 0; x < w; ++x) {
      const std::uint32_t v = PixelAt(s, rowAt, sp.firstBit + std::size_t(x) * sp.bpp, sp.bpp);
      if (paletted) {
        out[x] = static_cast<std::uint8_t>(v);
      } else if (sp.bpp == 16) {
        const std::uint32_t c[3] = {v & 31, (v >> 5) & 31, (v >> 10) & 31};
        for (int k = 0; k < 3; ++k) out[3 * x + k] = static_cast<std::uint8_t>(c[k] << 3 | c[k] >> 2);
      } else {
        for (int k = 0; k < 3; ++k) out[3 * x + k] = static_cast<std::uint8_t>(v >> (8 * k));
      }
    }
  }
  if (sp.maskAt == sp.imageAt) return true;
  // Masked pixels are painted white, the desktop's background.
  const int maskBits = sp.newFormat ? (sp.alphaMask ? 8 : 1) : sp.bpp;
  const std::size_t maskStride = sp.newFormat ? (std::size_t(w) * maskBits + 31) / 32 * 4 : stride;
  const std::uint32_t maskFirst = sp.newFormat ? 0 : sp.firstBit;
  if (sp.maskAt < kSpriteHeader || !s.has(sp.maskAt, maskStride * h)) return true;
  int white = -1;
  if (paletted) {
    auto it = std::find(img.palette.begin(), img.palette.end(), Rgb{255, 255, 255});
    if (it != img.palette.end()) {
      white = static_cast<int>(it - img.palette.begin());
    } else if (img.palette.size() < 256) {
      white = static_cast<int>(img.palette.size());
      img.palette.push_back(Rgb{255, 255, 255});
    } else {
      img = img.toRgb();
    }
  }
  for (std::uint32_t y = 0; y < h; ++y)
    for (std::uint32_t x = 0; x < w; ++x) {
      if (PixelAt(s, sp.maskAt + maskStride * y, maskFirst + std::size_t(x) * maskBits, maskBits) != 0) continue;
      if (white >= 0)
        img.row(y)[x] = static_cast<std::uint8_t>(white);
      else
        std::fill_n(img.row(y) + std::size_t(x) * 3, 3, std::uint8_t(255));
    }
  return true;
}

// Every decodable sprite of the area, in order; a sprite past the end of the
// file or a link that goes nowhere ends the walk.
std::vector<Image> ReadSprites(const ByteReader& file) {
  std::vector<Image> sprites;
  const std::uint32_t count = file.u32leAt(0), first = file.u32leAt(4);
  if (file.size() < 12 || count == 0 || count > kMaxSprites || first < 16) return sprites;
  std::size_t at = first - 4;
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint32_t size = file.u32leAt(at);
    if (size < kSpriteHeader || !file.has(at, size)) break;
    Image img;
    if (DecodeSprite(file.sub(at, size), img)) sprites.push_back(std::move(img));
    at += size;
  }
  return sprites;
}

}  // namespace

int AcornSpriteToBmp(const ConvertCall& call) {
  Bytes bytes;
  if (!call.source || !ReadWholeFile(call.source, bytes)) return 0;
  const std::vector<Image> sprites = ReadSprites(ByteReader(bytes));
  if (sprites.empty()) return 0;
  if (sprites.size() == 1 || call.memoryMode())
    return WriteOne(call, [&](Sink& s) { return WriteBmp(s, sprites.front()); });
  Series series(call, "_%04d.bmp");
  for (const Image& img : sprites)
    if (!series.add([&](Sink& s) { return WriteBmp(s, img); })) break;  // output budget spent
  return series.finish();
}

int Ff9ToBmp(const ConvertCall& call) { return AcornSpriteToBmp(call); }

}  // namespace pix
