// EPOC / Symbian multi-bitmap files (".mbm": UIDs 10000037 and 10000042, or
// 1000008A for exported files) to GIF: every bitmap of the file, numbered
// "<source name>_0001.gif" on, grey, 16- and 256-colour bitmaps with their own
// palettes and 12-, 16- and 24-bit ones mapped to the nearest colour of the
// system's 256-colour palette. Uncompressed bitmaps and the byte, 12-, 16- and
// 24-bit run-length schemes are read. In memory mode the wanted bitmap's GIF.
#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kMaxBitmaps = 10000;
constexpr std::uint32_t kMaxSide = 16384;

std::array<Rgb, 256> SystemPalette() {
  static constexpr std::uint8_t kExtra[40] = {
      0x11, 0x22, 0x44, 0x55, 0x77, 0x11, 0x22, 0x44, 0x55, 0x77, 0x11, 0x22, 0x44, 0x55,
      0x77, 0x11, 0x22, 0x44, 0x55, 0x77, 0x88, 0xAA, 0xBB, 0xDD, 0xEE, 0x88, 0xAA, 0xBB,
      0xDD, 0xEE, 0x88, 0xAA, 0xBB, 0xDD, 0xEE, 0x88, 0xAA, 0xBB, 0xDD, 0xEE};
  // Which channels each run of five extra shades lights: grey, red, green, blue, blue, green, red, grey.
  static constexpr int kRuns[8] = {7, 1, 2, 4, 4, 2, 1, 7};
  std::array<Rgb, 256> p{};
  for (int k = 0; k < 256; ++k) {
    if (k >= 108 && k < 148) {
      std::uint8_t v = kExtra[k - 108];
      int run = kRuns[(k - 108) / 5];
      p[k] = {static_cast<std::uint8_t>(run & 1 ? v : 0), static_cast<std::uint8_t>(run & 2 ? v : 0),
              static_cast<std::uint8_t>(run & 4 ? v : 0)};
      continue;
    }
    int x = k < 108 ? k : k - 40;
    p[k] = {static_cast<std::uint8_t>(x % 6 * 0x33), static_cast<std::uint8_t>(x % 36 / 6 * 0x33),
            static_cast<std::uint8_t>(x / 36 * 0x33)};
  }
  return p;
}

const std::vector<Rgb> kSixteen = {
    {0, 0, 0},       {0x55, 0x55, 0x55}, {0x80, 0, 0},    {0x80, 0x80, 0},    {0, 0x80, 0},    {0xFF, 0, 0},
    {0xFF, 0xFF, 0}, {0, 0xFF, 0},       {0xFF, 0, 0xFF}, {0, 0, 0xFF},       {0, 0xFF, 0xFF}, {0x80, 0, 0x80},
    {0, 0, 0x80},    {0, 0x80, 0x80},    {0xAA, 0xAA, 0xAA}, {0xFF, 0xFF, 0xFF}};

// Nearest system colour by squared distance (the first of equals), with a
// small cache of colours already looked up.
class Nearest {
 public:
  explicit Nearest(const std::array<Rgb, 256>& p) : pal_(p) {}
  std::uint8_t operator()(Rgb c) {
    std::uint32_t key = static_cast<std::uint32_t>(c.r) << 16 | c.g << 8 | c.b;
    Slot& s = cache_[(key ^ key >> 12) & 4095];
    if (s.used && s.key == key) return s.index;
    int best = 0, bestD = 1 << 30;
    for (int i = 0; i < 256; ++i) {
      int dr = c.r - pal_[i].r, dg = c.g - pal_[i].g, db = c.b - pal_[i].b;
      int d = dr * dr + dg * dg + db * db;
      if (d < bestD) { bestD = d; best = i; }
    }
    s = {true, key, static_cast<std::uint8_t>(best)};
    return s.index;
  }

 private:
  struct Slot { bool used = false; std::uint32_t key = 0; std::uint8_t index = 0; };
  const std::array<Rgb, 256>& pal_;
  std::array<Slot, 4096> cache_{};
};

struct Section {
  std::uint32_t width = 0, height = 0, bpp = 0, colour = 0, compression = 0;
  ByteReader data;
};

std::size_t Stride(const Section& s) {
  if (s.bpp == 24) return (std::size_t(s.width) * 3 + 11) / 12 * 12;
  std::size_t bits = std::size_t(s.width) * (s.bpp == 12 ? 16 : s.bpp);
  return (bits + 31) / 32 * 4;
}

// Fills the raster from the section's data; rows the data does not reach stay 0.
void Unpack(const Section& s, ByteReader in, Bytes& raster) {
  std::size_t pos = 0, n = raster.size();
  if (s.compression == 0) {
    std::size_t k = std::min(n, in.remaining());
    in.bytes(raster.data(), k);
    return;
  }
  if (s.compression == 2) {  // 16-bit words: 4 bits of repeat count, 12 bits of colour
    while (pos + 1 < n && in.remaining() >= 2) {
      std::uint16_t w = in.u16le();
      for (int r = (w >> 12) + 1; r > 0 && pos + 1 < n; --r) {
        raster[pos++] = static_cast<std::uint8_t>(w & 0xFF);
        raster[pos++] = static_cast<std::uint8_t>(w >> 8 & 0x0F);
      }
    }
    return;
  }
  std::size_t unit = s.compression == 1 ? 1 : s.compression == 3 ? 2 : 3;
  while (pos < n && in.remaining() > 0) {
    std::uint8_t m = in.u8();
    if (m < 0x80) {
      std::uint8_t px[3] = {};
      if (!in.bytes(px, unit)) break;
      for (int r = m + 1; r > 0; --r) {
        for (std::size_t b = 0; b < unit && pos < n; ++b) raster[pos++] = px[b];
      }
    } else {
      std::size_t k = (256 - m) * unit;
      for (std::size_t b = 0; b < k && pos < n && in.remaining() > 0; ++b) raster[pos++] = in.u8();
    }
  }
}

bool Decode(const Section& s, const std::array<Rgb, 256>& system, Image& img) {
  std::size_t stride = Stride(s);
  // No scheme expands a byte of data past 128 raster bytes: a raster far
  // larger than its data could fill is a damaged header, not a picture.
  if (stride * s.height > s.data.size() * std::size_t(128) + 65536) return false;
  if (!img.allocate(s.width, s.height, 1)) return false;
  Bytes raster(stride * s.height, 0);
  Unpack(s, s.data, raster);
  bool direct = s.bpp >= 12;
  if (s.bpp <= 8) {
    int levels = 1 << s.bpp;
    if (!s.colour) {
      img.palette = GreyRamp(levels);
    } else if (s.bpp == 4) {
      img.palette = kSixteen;
    } else if (s.bpp == 8) {
      img.palette.assign(system.begin(), system.end());
    } else {
      img.palette = GreyRamp(levels);  // 1- and 2-bit bitmaps have no colour palette
    }
    img.bits = static_cast<int>(s.bpp);
  } else {
    img.palette.assign(system.begin(), system.end());
  }
  Nearest nearest(system);
  for (std::uint32_t y = 0; y < s.height; ++y) {
    const std::uint8_t* row = raster.data() + std::size_t(y) * stride;
    std::uint8_t* out = img.row(y);
    for (std::uint32_t x = 0; x < s.width; ++x) {
      if (!direct) {
        std::size_t bit = std::size_t(x) * s.bpp;  // leftmost pixel in the low bits
        out[x] = static_cast<std::uint8_t>(row[bit / 8] >> (bit % 8) & ((1u << s.bpp) - 1));
        continue;
      }
      Rgb c;
      if (s.bpp == 24) {
        const std::uint8_t* p = row + std::size_t(x) * 3;
        c = {p[2], p[1], p[0]};
      } else {
        std::uint16_t w = static_cast<std::uint16_t>(row[x * 2] | row[x * 2 + 1] << 8);
        if (s.bpp == 16) {
          int r = w >> 11, g = w >> 5 & 63, b = w & 31;
          c = {static_cast<std::uint8_t>(r << 3 | r >> 2), static_cast<std::uint8_t>(g << 2 | g >> 4),
               static_cast<std::uint8_t>(b << 3 | b >> 2)};
        } else {
          c = {static_cast<std::uint8_t>((w >> 8 & 15) * 17), static_cast<std::uint8_t>((w >> 4 & 15) * 17),
               static_cast<std::uint8_t>((w & 15) * 17)};
        }
      }
      out[x] = nearest(c);
    }
  }
  return true;
}

bool ReadSection(const ByteReader& file, std::uint32_t off, Section& s) {
  if (!file.has(off, 40)) return false;
  std::uint32_t length = file.u32leAt(off), header = file.u32leAt(off + 4);
  s.width = file.u32leAt(off + 8);
  s.height = file.u32leAt(off + 12);
  s.bpp = file.u32leAt(off + 24);
  s.colour = file.u32leAt(off + 28);
  s.compression = file.u32leAt(off + 36);
  if (header < 40 || length < header || !file.has(off, length)) return false;
  if (s.width == 0 || s.height == 0 || s.width > kMaxSide || s.height > kMaxSide) return false;
  bool depthOk = s.bpp == 1 || s.bpp == 2 || s.bpp == 4 || s.bpp == 8 || s.bpp == 12 || s.bpp == 16 || s.bpp == 24;
  if (!depthOk || s.compression > 4) return false;
  static constexpr std::uint32_t kSchemeDepth[5] = {0, 8, 12, 16, 24};
  if (s.compression > 1 && kSchemeDepth[s.compression] != s.bpp) return false;
  if (s.compression == 1 && s.bpp > 8) return false;
  s.data = file.sub(off + header, length - header);
  return true;
}

}  // namespace

int MbmToGif(const ConvertCall& call) {
  Bytes bytes;
  if (!ReadWholeFile(call.source, bytes)) return 0;
  ByteReader file(bytes);
  std::uint32_t uid2 = file.u32leAt(4);
  if (!file.has(0, 20) || file.u32leAt(0) != 0x10000037u || (uid2 != 0x10000042u && uid2 != 0x1000008Au)) return 0;
  std::uint32_t table = file.u32leAt(16);
  if (!file.has(table, 4)) return 0;
  std::uint32_t count = file.u32leAt(table);
  if (count == 0 || count > kMaxBitmaps || !file.has(std::size_t(table) + 4, std::uint64_t(count) * 4)) return 0;
  std::array<Rgb, 256> system = SystemPalette();
  Series series(call, "_%04d.gif");
  for (std::uint32_t i = 0; i < count; ++i) {
    Section s;
    if (!ReadSection(file, file.u32leAt(std::size_t(table) + 4 + std::size_t(i) * 4), s)) continue;  // damaged bitmaps are passed over
    if (!series.wantsNext()) {
      series.skip();
      continue;
    }
    Image img;
    if (!Decode(s, system, img)) continue;
    if (!series.add([&](Sink& out) { return WriteGif(out, img); })) break;
    if (series.done()) break;
  }
  return series.finish();
}

}  // namespace pix
