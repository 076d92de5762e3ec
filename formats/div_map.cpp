// DIV game-maker MAP pictures ("map" 8-bit with a 6-bit palette, "m16" 16-bit
// 5:6:5 colour; optionally animated, with control points) to PNG. The source
// may be gzip-compressed: it is read through zlib's gzip reader, which reads
// plain files as they are. A one-line summary of the picture goes to standard
// output. Only the first frame is written. Returns 1 when the PNG was written,
// 0 otherwise (missing, foreign or truncated source, picture over 8192 pixels
// across or down, libpng failure, no target).
#include <zlib.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "common/console.h"
#include "common/files.h"
#include "common/image.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kMaxSide = 8192;

struct DivMap {
  std::uint32_t width = 0, height = 0;
  int bits = 8;
  char description[32] = {};
  std::uint8_t palette[768] = {};
  std::uint32_t frames = 1;
  // Only the bytes the PNG uses: the first width x height pixels of the
  // 8-bit data, or the rows at a stride of width x frames of the 16-bit data.
  // Zero-filled, so a picture of no frames comes out blank.
  std::vector<std::uint8_t> pixels;
};

class GzSource {
 public:
  explicit GzSource(const char* path) : f_(gzopen(path, "rb")) {}
  ~GzSource() {
    if (f_) gzclose(f_);
  }
  GzSource(const GzSource&) = delete;
  GzSource& operator=(const GzSource&) = delete;
  bool ok() const { return f_ != nullptr; }
  bool read(void* dst, std::size_t n) {
    auto* p = static_cast<std::uint8_t*>(dst);
    while (n > 0) {
      unsigned chunk = n > (1u << 20) ? (1u << 20) : static_cast<unsigned>(n);
      int got = gzread(f_, p, chunk);
      if (got <= 0) return false;
      p += got;
      n -= static_cast<std::size_t>(got);
    }
    return true;
  }
  std::uint16_t u16(bool& good) {
    std::uint8_t b[2] = {};
    if (!read(b, 2)) good = false;
    return static_cast<std::uint16_t>(b[0] | b[1] << 8);
  }

 private:
  gzFile f_;
};

// The magic up to its first zero byte, compared as a string.
bool MagicIs(const std::uint8_t* header, const char* magic) {
  std::size_t n = 0;
  while (n < 48 && header[n]) ++n;
  return n == std::strlen(magic) && std::memcmp(header, magic, n) == 0;
}

// Reads the pixel data: total bytes in stream order, keeping those the PNG
// uses. False when the data comes short.
bool ReadPixels(GzSource& in, DivMap& m) {
  const std::uint64_t bpp = m.bits / 8;
  const std::uint64_t rowBytes = m.width * bpp;
  const std::uint64_t stride = m.bits == 16 ? rowBytes * m.frames : rowBytes;
  const std::uint64_t total = rowBytes * m.height * m.frames;
  const bool keep = m.width <= kMaxSide && m.height <= kMaxSide;
  if (keep) m.pixels.assign(static_cast<std::size_t>(rowBytes * m.height), 0);
  std::vector<std::uint8_t> chunk(1 << 16);
  for (std::uint64_t pos = 0; pos < total;) {
    std::size_t n = static_cast<std::size_t>(total - pos < chunk.size() ? total - pos : chunk.size());
    if (!in.read(chunk.data(), n)) return false;
    if (keep && rowBytes) {
      // Copy the parts of rows 0..height-1 (each at row * stride) inside this chunk.
      for (std::uint64_t i = 0; i < n;) {
        std::uint64_t at = pos + i;
        std::uint64_t row = at / stride, col = at % stride;
        if (row >= m.height) break;
        if (col >= rowBytes) {
          i += stride - col;
          continue;
        }
        std::uint64_t k = rowBytes - col;
        if (k > n - i) k = n - i;
        std::memcpy(m.pixels.data() + row * rowBytes + col, chunk.data() + i, static_cast<std::size_t>(k));
        i += k;
      }
    }
    pos += n;
  }
  return true;
}

bool ReadMap(const char* path, DivMap& m) {
  GzSource in(path);
  if (!in.ok()) return false;
  std::uint8_t header[48];
  if (!in.read(header, sizeof header)) return false;
  if (MagicIs(header, "m16\x1A\x0D\x0A")) {
    m.bits = 16;
  } else if (MagicIs(header, "map\x1A\x0D\x0A")) {
    m.bits = 8;
  } else {
    return false;
  }
  m.width = header[8] | header[9] << 8;
  m.height = header[10] | header[11] << 8;
  std::memcpy(m.description, header + 16, 31);
  bool good = true;
  if (m.bits == 8) {
    std::uint8_t rest[576];
    good = in.read(m.palette, sizeof m.palette) && in.read(rest, sizeof rest);
  }
  std::uint16_t control = in.u16(good);
  std::vector<std::uint8_t> skip(4 * (control & 0xFFF));
  if (good && !skip.empty()) good = in.read(skip.data(), skip.size());
  if (good && (control & 0x1000)) {
    m.frames = in.u16(good);
    std::uint16_t sequence = in.u16(good);
    in.u16(good);  // speed in milliseconds
    skip.resize(2 * std::size_t(sequence));
    if (good && !skip.empty()) good = in.read(skip.data(), skip.size());
  }
  return good && ReadPixels(in, m);
}

bool WriteMapPng(const char* target, const DivMap& m) {
  if (m.width > kMaxSide || m.height > kMaxSide) return false;
  Image img;
  if (!img.allocate(m.width, m.height, m.bits == 8 ? 1 : 4)) return false;
  if (m.bits == 8) {
    img.palette.resize(256);
    for (int i = 0; i < 256; ++i)
      img.palette[i] = Rgb{static_cast<std::uint8_t>(m.palette[3 * i] * 4), static_cast<std::uint8_t>(m.palette[3 * i + 1] * 4),
                           static_cast<std::uint8_t>(m.palette[3 * i + 2] * 4)};
    img.pixels = m.pixels;
  } else {
    for (std::size_t i = 0; i < std::size_t(m.width) * m.height; ++i) {
      unsigned p = m.pixels[2 * i] | m.pixels[2 * i + 1] << 8;
      std::uint8_t* d = img.pixels.data() + 4 * i;
      if (p == 0) continue;  // transparent
      d[0] = static_cast<std::uint8_t>((p >> 11) << 3);
      d[1] = static_cast<std::uint8_t>(((p >> 5) & 63) << 2);
      d[2] = static_cast<std::uint8_t>((p & 31) << 3);
      d[3] = 255;
    }
  }
  Sink out;
  if (!out.open(target)) return false;
  return WritePng(out, img) && out.close();
}

}  // namespace

int DivMapToPng(const ConvertCall& call) {
  if (call.memoryMode()) return 0;
  DivMap m;
  if (!ReadMap(call.source, m)) return 0;
  if (m.description[0])
    PrintOut("%s: \"%s\" %ux%u pixels (%d bits)", call.source, m.description, m.width, m.height, m.bits);
  else
    PrintOut("%s: %ux%u pixels (%d bits)", call.source, m.width, m.height, m.bits);
  return WriteMapPng(call.target, m) ? 1 : 0;
}

}  // namespace pix
