// Palm OS resource database (".prc"): every bitmap resource ("Tbmp", "tAIB")
// becomes a BMP, numbered "<name>_0001.bmp" on; memory mode gives the first.
// Of each bitmap family the deepest decodable rendition is taken (standard
// density preferred); 1-8 bits go to an 8-bit palette BMP, 16 bits to 24 bits.
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

constexpr std::size_t kHeaderSize = 78;

struct Rendition {
  std::uint32_t width = 0, height = 0, rowBytes = 0;
  std::uint16_t flags = 0;
  int bits = 0, version = 0, compression = 0xFF, density = 72;
  std::size_t dataAt = 0;  // the first byte after the header inside the resource
};

// The system palette of 8-bit bitmaps without a colour table.
std::array<Rgb, 256> SystemPalette() {
  static constexpr std::uint8_t kLevel[6] = {0xFF, 0xCC, 0x99, 0x66, 0x33, 0x00};
  std::array<Rgb, 256> p{};
  for (int hb = 0; hb < 2; ++hb)
    for (int hr = 0; hr < 2; ++hr)
      for (int r = 0; r < 3; ++r)
        for (int b = 0; b < 3; ++b)
          for (int g = 0; g < 6; ++g) {
            const int i = 108 * hb + 54 * hr + 18 * r + 6 * b + g;
            if (i < 215) p[i] = Rgb{kLevel[3 * hr + r], kLevel[g], kLevel[3 * hb + b]};
          }
  static constexpr std::uint8_t kGreys[10] = {0x11, 0x22, 0x44, 0x55, 0x77, 0x88, 0xAA, 0xBB, 0xDD, 0xEE};
  for (int i = 0; i < 10; ++i) p[215 + i] = Rgb{kGreys[i], kGreys[i], kGreys[i]};
  p[225] = Rgb{0xC0, 0xC0, 0xC0};
  p[226] = Rgb{0x80, 0, 0};
  p[227] = Rgb{0x80, 0, 0x80};
  p[228] = Rgb{0, 0x80, 0};
  p[229] = Rgb{0, 0x80, 0x80};
  return p;
}

// Reads the rows of one rendition (after the colour table and the other
// blocks) into raw, rowBytes per row; short compressed data leaves zeros.
bool ReadRows(ByteReader in, const Rendition& r, Bytes& raw) {
  raw.assign(std::size_t(r.rowBytes) * r.height, 0);
  if (r.compression == 0xFF || !(r.flags & 0x8000)) {
    if (!in.has(0, raw.size())) return false;
    in.bytes(raw.data(), raw.size());
    return true;
  }
  for (std::uint32_t y = 0; y < r.height && !in.atEnd(); ++y) {
    std::uint8_t* row = raw.data() + std::size_t(y) * r.rowBytes;
    const std::uint8_t* above = y ? row - r.rowBytes : nullptr;
    std::size_t x = 0;
    if (r.compression == 0) {
      while (x < r.rowBytes && !in.atEnd()) {
        const std::uint8_t flags = in.u8();
        for (int k = 0; k < 8 && x < r.rowBytes; ++k, ++x)
          row[x] = (flags & (0x80 >> k)) || !above ? in.u8() : above[x];
      }
    } else if (r.compression == 1) {
      while (x < r.rowBytes && !in.atEnd()) {
        const std::uint8_t n = in.u8(), v = in.u8();
        for (int k = 0; k < n && x < r.rowBytes; ++k) row[x++] = v;
      }
    } else if (r.compression == 2) {
      UnpackBits(in, row, r.rowBytes);
    } else {
      return false;
    }
  }
  return true;
}

// Decodes one rendition of a resource into img.
bool DecodeRendition(const ByteReader& res, const Rendition& r, Image& img) {
  ByteReader in = res.sub(r.dataAt, res.size() - std::min(res.size(), r.dataAt));
  std::vector<Rgb> table;
  if (r.flags & 0x4000) {
    const std::uint16_t n = in.u16be();
    if (n > 256) return false;
    for (std::uint16_t i = 0; i < n; ++i) {
      in.u8();
      const std::uint8_t red = in.u8(), green = in.u8(), blue = in.u8();
      table.push_back(Rgb{red, green, blue});
    }
  }
  if (r.version < 3 && (r.flags & 0x0400)) in.skip(8);
  if (r.flags & 0x8000 && r.compression != 0xFF) in.skip(r.version >= 3 ? 4 : 2);
  if (in.bad()) return false;
  Bytes raw;
  if (!ReadRows(in.rest(), r, raw)) return false;
  if (r.bits == 16) {
    if (!img.allocate(r.width, r.height, 3)) return false;
    for (std::uint32_t y = 0; y < r.height; ++y)
      for (std::uint32_t x = 0; x < r.width; ++x) {
        const std::size_t o = std::size_t(y) * r.rowBytes + std::size_t(x) * 2;
        const unsigned v = unsigned(raw[o]) << 8 | raw[o + 1];
        std::uint8_t* p = img.row(y) + std::size_t(x) * 3;
        p[0] = static_cast<std::uint8_t>((v >> 11) * 255 / 31);
        p[1] = static_cast<std::uint8_t>(((v >> 5) & 63) * 255 / 63);
        p[2] = static_cast<std::uint8_t>((v & 31) * 255 / 31);
      }
    return true;
  }
  const int levels = 1 << r.bits;
  if (!table.empty()) {
    img.palette = table;
    img.palette.resize(static_cast<std::size_t>(levels));
  } else if (r.bits == 8) {
    const std::array<Rgb, 256> system = SystemPalette();
    img.palette.assign(system.begin(), system.end());
  } else if (r.bits == 2) {
    img.palette = {Rgb{255, 255, 255}, Rgb{192, 192, 192}, Rgb{128, 128, 128}, Rgb{0, 0, 0}};
  } else {
    for (int v = 0; v < levels; ++v) {
      const auto g = static_cast<std::uint8_t>(255 - v * 255 / (levels - 1));
      img.palette.push_back(Rgb{g, g, g});
    }
  }
  img.bits = r.bits;
  if (!img.allocate(r.width, r.height, 1)) return false;
  for (std::uint32_t y = 0; y < r.height; ++y)
    for (std::uint32_t x = 0; x < r.width; ++x) {
      const std::size_t bit = std::size_t(x) * r.bits;
      const std::uint8_t b = raw[std::size_t(y) * r.rowBytes + bit / 8];
      img.row(y)[x] = static_cast<std::uint8_t>((b >> (8 - r.bits - bit % 8)) & (levels - 1));
    }
  return true;
}

// Walks a bitmap family and decodes its best rendition; false when none is usable.
bool DecodeFamily(const ByteReader& res, Image& img) {
  Rendition best;
  bool found = false;
  std::size_t at = 0;
  for (int guard = 0; guard < 64 && res.has(at, 16); ++guard) {
    Rendition r;
    r.width = res.u16beAt(at);
    r.height = res.u16beAt(at + 2);
    r.rowBytes = res.u16beAt(at + 4);
    r.flags = res.u16beAt(at + 6);
    const std::uint8_t size = res.at(at + 8);
    r.version = res.at(at + 9);
    std::size_t next = 0;
    if (size == 0xFF) {
      next = at + 16;
    } else if (r.version == 3) {
      if (!res.has(at, 24) || res.at(at + 10) != 24) break;
      r.bits = size;
      r.compression = res.at(at + 13);
      r.density = res.u16beAt(at + 14);
      r.dataAt = at + 24;
      const std::uint8_t format = res.at(at + 11);
      if (format > 1) r.bits = 0;
      const std::uint32_t off = res.u32beAt(at + 20);
      next = off ? at + off : 0;
    } else if (r.version <= 2) {
      r.bits = size == 0 && r.version == 0 ? 1 : size;
      r.compression = r.version == 2 ? res.at(at + 13) : 0;
      r.dataAt = at + 16;
      const std::uint16_t off = res.u16beAt(at + 10);
      next = off ? at + std::size_t(off) * 4 : 0;
    } else {
      break;
    }
    const bool depthOk = r.bits == 1 || r.bits == 2 || r.bits == 4 || r.bits == 8 || r.bits == 16;
    if (size != 0xFF && depthOk && r.width && r.height &&
        std::uint64_t(r.rowBytes) * 8 >= std::uint64_t(r.width) * r.bits &&
        (!found || r.bits > best.bits || (r.bits == best.bits && r.density == 72 && best.density != 72))) {
      Image trial;
      if (DecodeRendition(res, r, trial)) {
        best = r;
        img = std::move(trial);
        found = true;
      }
    }
    if (next == 0 || next <= at) break;
    at = next;
  }
  return found;
}

struct Resource {
  std::uint32_t offset = 0, end = 0;
  bool bitmap = false;
};

}  // namespace

int PrcToBmp(const ConvertCall& call) {
  Bytes data;
  if (!call.source || !ReadWholeFile(call.source, data, 64u << 20)) return 0;
  ByteReader in(data);
  if (!in.has(0, kHeaderSize) || !(in.u16beAt(32) & 0x0001)) return 0;
  const std::uint16_t count = in.u16beAt(76);
  if (count == 0 || !in.has(kHeaderSize, std::size_t(count) * 10)) return 0;
  std::vector<Resource> list(count);
  std::vector<std::uint32_t> offsets;
  for (std::uint16_t i = 0; i < count; ++i) {
    const std::size_t e = kHeaderSize + std::size_t(i) * 10;
    const std::string type = in.sub(e, 4).str(4);
    list[i].bitmap = type == "Tbmp" || type == "tAIB";
    list[i].offset = in.u32beAt(e + 6);
    offsets.push_back(list[i].offset);
  }
  std::sort(offsets.begin(), offsets.end());
  bool any = false;
  for (Resource& r : list) {
    auto it = std::upper_bound(offsets.begin(), offsets.end(), r.offset);
    r.end = it == offsets.end() ? static_cast<std::uint32_t>(data.size()) : *it;
    if (r.end > data.size()) r.end = static_cast<std::uint32_t>(data.size());
    if (r.bitmap && r.offset < r.end) any = true;
  }
  if (!any) return 0;
  Series series(call, "_%04d.bmp");
  for (const Resource& r : list) {
    if (!r.bitmap || r.offset >= r.end) continue;
    Image img;
    if (!DecodeFamily(in.sub(r.offset, r.end - r.offset), img)) continue;
    if (!series.add([&](Sink& s) { return WriteBmp(s, img, img.channels == 3 ? 24 : 8); })) break;
    if (series.done()) break;
  }
  return series.finish();
}

}  // namespace pix
