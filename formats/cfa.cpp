// Bethesda CFA creature animations (The Elder Scrolls: Arena, the Terminator
// games): a header with the frame size, bits per pixel and frame count, a
// translation table from packed values to palette indices, then the frames'
// rows run-length coded and packed most significant bit first. The palette is
// not in the file: "PAL.COL" (any case) in the source's directory gives it
// when present (776 bytes: length 776, version 0xB123, 256 RGB triples),
// otherwise a grey ramp. Each frame becomes an 8-bit BMP: one frame is written
// to the target path itself, several as "<source name>_0001.bmp", ...; memory
// mode hands back frame 1.
#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"
#include "formats/side_palette.h"

namespace pix {
namespace {

constexpr std::size_t kTableAt = 76;
constexpr std::uint64_t kMaxData = std::uint64_t(64) << 20;

std::vector<Rgb> SidePalette(const char* source) {
  Bytes col;
  if (!ReadSideFile(source, "pal.col", col, 1 << 16)) return GreyRamp(256);
  const ByteReader r(col);
  if (r.size() < 776 || r.u32leAt(0) != 776 || r.u32leAt(4) != 0xB123) return GreyRamp(256);
  std::vector<Rgb> pal(256);
  for (std::size_t i = 0; i < 256; ++i) pal[i] = Rgb{r.at(8 + 3 * i), r.at(9 + 3 * i), r.at(10 + 3 * i)};
  return pal;
}

struct Cfa {
  std::uint32_t width = 0, height = 0, stride = 0, frames = 0;
  int bits = 0;
  std::size_t dataAt = 0;
  std::vector<std::uint8_t> rows;  // every frame's rows after the run-length stage
};

bool ReadCfa(const ByteReader& file, Cfa& c) {
  c.width = file.u16leAt(0);
  c.height = file.u16leAt(2);
  c.stride = file.u16leAt(4);
  c.bits = file.at(10);
  c.frames = file.at(11);
  c.dataAt = file.u16leAt(12);
  if (c.width == 0 || c.height == 0 || c.frames == 0 || c.bits < 1 || c.bits > 8) return false;
  if (c.stride < (std::size_t(c.width) * c.bits + 7) / 8) return false;
  if (c.dataAt < kTableAt + (c.bits < 8 ? (std::size_t(1) << c.bits) : 0) || !file.has(0, c.dataAt)) return false;
  const std::uint64_t total = std::uint64_t(c.stride) * c.height * c.frames;
  if (total > kMaxData || CheckedSize(c.width, c.height, 1) == 0) return false;
  // A code pair gives at most 128 bytes.
  if (total > std::uint64_t(file.size() - c.dataAt) * 64 + 128) return false;
  c.rows.assign(static_cast<std::size_t>(total), 0);
  ByteReader in = file.sub(c.dataAt, file.size() - c.dataAt);
  std::size_t at = 0;
  while (at < c.rows.size() && !in.atEnd()) {
    const std::uint8_t ctl = in.u8();
    if (ctl >= 0x80) {
      const std::uint8_t v = in.u8();
      for (int i = 0; i < ctl - 127 && at < c.rows.size(); ++i) c.rows[at++] = v;
    } else {
      for (int i = 0; i <= ctl && !in.atEnd(); ++i) {
        const std::uint8_t v = in.u8();
        if (at < c.rows.size()) c.rows[at++] = v;
      }
    }
  }
  return true;
}

void Frame(const ByteReader& file, const Cfa& c, std::uint32_t f, Image& img) {
  const std::size_t tableSize = c.dataAt - kTableAt;
  for (std::uint32_t y = 0; y < c.height; ++y) {
    const std::size_t rowAt = (std::size_t(f) * c.height + y) * c.stride;
    std::uint8_t* out = img.row(y);
    for (std::uint32_t x = 0; x < c.width; ++x) {
      if (c.bits == 8) {
        out[x] = c.rows[rowAt + x];
        continue;
      }
      unsigned v = 0;
      for (int b = 0; b < c.bits; ++b) {
        const std::size_t bit = std::size_t(x) * c.bits + b;
        v = v << 1 | ((c.rows[rowAt + bit / 8] >> (7 - bit % 8)) & 1);
      }
      out[x] = v < tableSize ? file.at(kTableAt + v) : 0;
    }
  }
}

}  // namespace

int CfaToBmp(const ConvertCall& call) {
  Bytes bytes;
  if (!call.source || !ReadWholeFile(call.source, bytes)) return 0;
  const ByteReader file(bytes);
  Cfa c;
  if (!ReadCfa(file, c)) return 0;
  Image img;
  if (!img.allocate(c.width, c.height, 1)) return 0;
  img.palette = SidePalette(call.source);
  if (c.frames == 1 || call.memoryMode()) {
    Frame(file, c, 0, img);
    return WriteOne(call, [&](Sink& s) { return WriteBmp(s, img, 8); });
  }
  Series series(call, "_%04d.bmp");
  for (std::uint32_t f = 0; f < c.frames; ++f) {
    Frame(file, c, f, img);
    if (!series.add([&](Sink& s) { return WriteBmp(s, img, 8); })) break;  // output budget spent
  }
  return series.finish();
}

}  // namespace pix
