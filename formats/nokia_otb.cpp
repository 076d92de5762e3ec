// Nokia bi-level pictures: the over-the-air bitmap (".otb") and the Logo
// Manager file (".nlm", "NLM " signature) are read into a 1-bit BMP (white
// at index 0, black at 1), in file or memory mode; and a BMP is written as an
// over-the-air bitmap (one continuous bit stream, 1 = black).
#include <cstdint>
#include <cstring>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/bmp_source.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::size_t kMaxSource = 16u << 20;

Image BlackWhite() {
  Image img;
  img.palette = {Rgb{255, 255, 255}, Rgb{0, 0, 0}};
  img.bits = 1;
  return img;
}

// Logo Manager: "NLM ", version, type, one byte, width, height, depth, then
// byte-aligned rows. Every row must be there.
bool ReadNlm(const Bytes& data, Image& img) {
  ByteReader in(data);
  if (in.str(4) != "NLM ") return false;
  in.seek(7);
  const std::uint32_t w = in.u8(), h = in.u8();
  in.u8();
  if (in.bad() || w == 0 || h == 0) return false;
  const std::size_t stride = (w + 7) / 8;
  if (!in.has(10, stride * h)) return false;
  img = BlackWhite();
  if (!img.allocate(w, h, 1)) return false;
  for (std::uint32_t y = 0; y < h; ++y)
    for (std::uint32_t x = 0; x < w; ++x)
      img.row(y)[x] = (in.at(10 + y * stride + x / 8) >> (7 - x % 8)) & 1;
  return true;
}

// Over-the-air bitmap: info byte (0x10 = 16-bit sides), width, height,
// depth 1, then the bits. Rows are byte-aligned when the file holds enough
// bytes for that, one continuous stream otherwise; a short stream leaves the
// rest white.
bool ReadOtb(const Bytes& data, Image& img) {
  ByteReader in(data);
  const std::uint8_t info = in.u8();
  std::uint32_t w = 0, h = 0;
  if (info & 0x10) {
    w = in.u16be();
    h = in.u16be();
  } else {
    w = in.u8();
    h = in.u8();
  }
  const std::uint8_t depth = in.u8();
  if (in.bad() || depth != 1 || w == 0 || h == 0) return false;
  const std::size_t start = in.pos();
  const std::size_t have = in.remaining();
  if (have == 0) return false;
  img = BlackWhite();
  if (!img.allocate(w, h, 1)) return false;
  const std::size_t stride = (w + 7) / 8;
  const bool aligned = (w % 8 == 0) || have >= stride * h;
  for (std::uint32_t y = 0; y < h; ++y)
    for (std::uint32_t x = 0; x < w; ++x) {
      const std::uint64_t bit = aligned ? std::uint64_t(y) * stride * 8 + x : std::uint64_t(y) * w + x;
      if (bit / 8 >= have) continue;
      img.row(y)[x] = (in.at(start + static_cast<std::size_t>(bit / 8)) >> (7 - bit % 8)) & 1;
    }
  return true;
}

// Black when the luminance is under the middle.
bool Dark(Rgb c) { return (299u * c.r + 587u * c.g + 114u * c.b) / 1000u < 128u; }

}  // namespace

int OtbNlmToBmp(const ConvertCall& call) {
  return ConvertWhole(
      call,
      [](const Bytes& data, Image& img) {
        const bool nlm = data.size() >= 4 && std::memcmp(data.data(), "NLM ", 4) == 0;
        return nlm ? ReadNlm(data, img) : ReadOtb(data, img);
      },
      [](Sink& s, const Image& img) { return WriteBmp(s, img, 1); }, kMaxSource);
}

int BmpToOtb(const ConvertCall& call) {
  auto read = [](const Bytes& data, Image& img) {
    return ReadBmpSource(data, img) && img.width <= 0xFFFF && img.height <= 0xFFFF;
  };
  return ConvertWhole(call, read, [](Sink& s, const Image& img) {
    const bool wide = img.width > 255 || img.height > 255;
    if (wide) {
      s.put8(0x10);
      s.put16be(static_cast<std::uint16_t>(img.width));
      s.put16be(static_cast<std::uint16_t>(img.height));
    } else {
      s.put8(0);
      s.put8(static_cast<std::uint8_t>(img.width));
      s.put8(static_cast<std::uint8_t>(img.height));
    }
    s.put8(1);
    Bytes bits((std::uint64_t(img.width) * img.height + 7) / 8, 0);
    std::uint64_t n = 0;
    for (std::uint32_t y = 0; y < img.height; ++y)
      for (std::uint32_t x = 0; x < img.width; ++x, ++n)
        if (Dark(img.rgb(x, y))) bits[static_cast<std::size_t>(n / 8)] |= static_cast<std::uint8_t>(0x80 >> (n % 8));
    return s.write(bits) && !s.failed();
  });
}

}  // namespace pix
