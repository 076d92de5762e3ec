// AliceSoft PMS pictures (".pms"): "PM" header, either 8-bit indexed with a
// 256-colour palette or 16-bit 5:6:5 colour, each coded with copies from the
// rows above and runs. Read into an 8-bit or 24-bit BMP; and a BMP is written
// as PMS (1-8 bits as 8-bit, 24/32 bits as 16-bit), equal pixels as runs.
#include <cstdint>
#include <functional>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/bmp_source.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kMaxSide = 16384;
constexpr std::uint32_t kHeaderSize = 48;

// Decodes the codes into out (width x height, zero where the stream stops).
// Both depths share the copies from the rows above and the runs; 16-bit
// counts are one less and add three codes of their own (FB/FA: one pixel
// from the row above, left or right; F9: a run sharing one high byte).
template <typename T>
void Decode(ByteReader in, std::uint32_t w, std::vector<T>& out) {
  constexpr bool kWide = sizeof(T) == 2;
  constexpr std::size_t kBias = kWide ? 0 : 1;
  auto value = [&in] { return kWide ? static_cast<T>(in.u16le()) : static_cast<T>(in.u8()); };
  std::size_t p = 0;
  const std::size_t n = out.size();
  auto from = [&](std::size_t back, std::size_t count) {
    for (std::size_t k = 0; k < count && p < n; ++k, ++p) out[p] = p >= back ? out[p - back] : 0;
  };
  while (p < n && !in.atEnd()) {
    const std::uint8_t c = in.u8();
    if (c <= 0xF7) {
      if (!kWide) {
        out[p++] = c;
        continue;
      }
      const std::uint8_t hi = in.u8();
      if (in.bad()) break;
      out[p++] = static_cast<T>(hi << 8 | c);
    } else if (c == 0xFF || c == 0xFE) {
      const std::size_t count = std::size_t(in.u8()) + 2 + kBias;
      if (in.bad()) break;
      from(std::size_t(w) * (c == 0xFF ? 1 : 2), count);
    } else if (c == 0xFD) {
      const std::size_t count = std::size_t(in.u8()) + 3 + kBias;
      const T v = value();
      if (in.bad()) break;
      for (std::size_t k = 0; k < count && p < n; ++k) out[p++] = v;
    } else if (c == 0xFC) {
      const std::size_t count = std::size_t(in.u8()) + 2 + kBias;
      const T a = value(), b = value();
      if (in.bad()) break;
      for (std::size_t k = 0; k < count && p < n; ++k) {
        out[p++] = a;
        if (p < n) out[p++] = b;
      }
    } else if (kWide && (c == 0xFB || c == 0xFA)) {
      const std::size_t back = c == 0xFB ? std::size_t(w) + 1 : std::size_t(w) - 1;
      out[p] = (back > 0 && p >= back) ? out[p - back] : 0;
      ++p;
    } else if (kWide && c == 0xF9) {
      const std::size_t count = std::size_t(in.u8()) + 1;
      const std::uint8_t a = in.u8();
      const unsigned high = ((a & 0xE0u) << 8) + ((a & 0x18u) << 6) + ((a & 0x07u) << 2);
      for (std::size_t k = 0; k < count && !in.bad(); ++k) {
        const std::uint8_t b = in.u8();
        if (in.bad()) break;
        const unsigned low = ((b & 0xC0u) << 5) + ((b & 0x3Cu) << 3) + (b & 0x03u);
        if (p < n) out[p++] = static_cast<T>(high | low);
      }
      if (in.bad()) break;
    } else {
      const T v = value();
      if (in.bad()) break;
      out[p++] = v;
    }
  }
}

bool ReadPms(const Bytes& data, Image& img) {
  ByteReader in(data);
  if (in.at(0) != 'P' || in.at(1) != 'M' || !in.has(0, 44)) return false;
  const std::uint8_t bits = in.at(6);
  const std::uint32_t w = in.u32leAt(24), h = in.u32leAt(28);
  const std::uint32_t pixelsAt = in.u32leAt(32), extraAt = in.u32leAt(36);
  if ((bits != 8 && bits != 16) || w == 0 || h == 0 || w > kMaxSide || h > kMaxSide) return false;
  if (pixelsAt >= data.size()) return false;
  ByteReader codes = in.sub(pixelsAt, data.size() - pixelsAt);
  if (bits == 8) {
    if (!in.has(extraAt, 768)) return false;
    img.palette.resize(256);
    for (int i = 0; i < 256; ++i)
      img.palette[i] = Rgb{in.at(extraAt + i * 3), in.at(extraAt + i * 3 + 1), in.at(extraAt + i * 3 + 2)};
    img.bits = 8;
    if (!img.allocate(w, h, 1)) return false;
    Decode(codes, w, img.pixels);
    return true;
  }
  if (!img.allocate(w, h, 3)) return false;
  std::vector<std::uint16_t> words(std::size_t(w) * h, 0);
  Decode(codes, w, words);
  for (std::size_t i = 0; i < words.size(); ++i) {
    const unsigned r = words[i] >> 11, g = (words[i] >> 5) & 63, b = words[i] & 31;
    img.pixels[i * 3] = static_cast<std::uint8_t>(r << 3 | r >> 2);
    img.pixels[i * 3 + 1] = static_cast<std::uint8_t>(g << 2 | g >> 4);
    img.pixels[i * 3 + 2] = static_cast<std::uint8_t>(b << 3 | b >> 2);
  }
  return true;
}

// Codes one row of values; runs long enough to pay become FD codes.
template <class Value, class Put>
void EncodeRow(const std::vector<Value>& row, std::size_t minRun, const Put& literal, Sink& s) {
  std::size_t x = 0;
  while (x < row.size()) {
    std::size_t run = 1;
    while (x + run < row.size() && row[x + run] == row[x] && run < minRun + 255) ++run;
    if (run >= minRun) {
      s.put8(0xFD);
      s.put8(static_cast<std::uint8_t>(run - minRun));
      literal(row[x], true);
      x += run;
    } else {
      literal(row[x], false);
      ++x;
    }
  }
}

bool WritePms(Sink& s, const Image& img) {
  const bool indexed = img.indexed();
  s.write("PM", 2);
  s.put16le(1);
  s.put16le(kHeaderSize);
  s.put8(indexed ? 8 : 16);
  for (int i = 0; i < 17; ++i) s.put8(0);  // alpha bits to display position
  s.put32le(img.width);
  s.put32le(img.height);
  s.put32le(indexed ? kHeaderSize + 768 : kHeaderSize);
  s.put32le(indexed ? kHeaderSize : 0);
  s.put32le(0);
  s.put32le(0);
  if (indexed) {
    for (std::size_t i = 0; i < 256; ++i) {
      const Rgb c = i < img.palette.size() ? img.palette[i] : Rgb{};
      s.put8(c.r);
      s.put8(c.g);
      s.put8(c.b);
    }
    for (std::uint32_t y = 0; y < img.height; ++y) {
      std::vector<std::uint8_t> row(img.row(y), img.row(y) + img.width);
      EncodeRow(row, 4, [&](std::uint8_t v, bool inRun) {
        if (!inRun && v > 0xF7) s.put8(0xF8);
        s.put8(v);
      }, s);
    }
  } else {
    for (std::uint32_t y = 0; y < img.height; ++y) {
      std::vector<std::uint16_t> row(img.width);
      for (std::uint32_t x = 0; x < img.width; ++x) {
        const Rgb c = img.rgb(x, y);
        row[x] = static_cast<std::uint16_t>((c.r >> 3) << 11 | (c.g >> 2) << 5 | (c.b >> 3));
      }
      EncodeRow(row, 3, [&](std::uint16_t v, bool inRun) {
        if (!inRun && (v & 0xFF) > 0xF7) s.put8(0xF8);
        s.put16le(v);
      }, s);
    }
  }
  return !s.failed();
}

}  // namespace

int PmsToBmp(const ConvertCall& call) {
  return ConvertWhole(
      call, [](const Bytes& data, Image& img) { return ReadPms(data, img); },
      [](Sink& s, const Image& img) { return WriteBmp(s, img, img.indexed() ? 8 : 24); }, 64u << 20);
}

int BmpToPms(const ConvertCall& call) {
  return ConvertWhole(
      call, [](const Bytes& data, Image& img) { return ReadBmpSource(data, img); },
      [](Sink& s, const Image& img) { return WritePms(s, img); }, std::size_t(1) << 30);
}

}  // namespace pix
