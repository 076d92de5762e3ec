// GEM raster images (".img" of GEM Paint, Ventura and much Atari ST software,
// including the XIMG palette extension): big-endian header words, then rows
// of 1 to 8 bit planes coded with scanline runs, pattern runs, bit strings
// and solid runs. Written as one BMP (1, 4 or 8 bits with the palette) to the
// target path, or handed back in memory mode.
#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"
#include "formats/gem_image.h"

namespace pix {
namespace {

struct GemHeader {
  std::uint32_t headerBytes = 0, width = 0, height = 0;
  int planes = 0, patternLength = 0;
  bool ximg = false;
};

bool ReadHeader(const ByteReader& r, GemHeader& h) {
  const unsigned version = r.u16beAt(0), words = r.u16beAt(2);
  h.planes = r.u16beAt(4);
  h.patternLength = r.u16beAt(6);
  h.width = r.u16beAt(12);
  h.height = r.u16beAt(14);
  h.headerBytes = 2 * words;
  if (version < 1 || version > 2 || words < 8 || !r.has(0, h.headerBytes)) return false;
  if (h.planes < 1 || h.planes > 8 || h.patternLength < 1 || h.patternLength > 8) return false;
  if (h.width < 1 || h.width > 32767 || h.height < 1 || h.height > 32767) return false;
  const std::size_t paletteBytes = 6 * (std::size_t(1) << h.planes);
  h.ximg = r.at(16) == 'X' && r.at(17) == 'I' && r.at(18) == 'M' && r.at(19) == 'G' && r.u16beAt(20) == 0 &&
           22 + paletteBytes <= h.headerBytes;
  return true;
}

std::vector<Rgb> Palette(const ByteReader& r, const GemHeader& h) {
  const int n = 1 << h.planes;
  std::vector<Rgb> pal(n);
  auto level = [](unsigned v) { return static_cast<std::uint8_t>(std::min(v, 1000u) * 255 / 1000); };
  for (int i = 0; i < n; ++i) {
    if (h.ximg) {
      const std::size_t at = 22 + 6 * std::size_t(i);
      pal[i] = Rgb{level(r.u16beAt(at)), level(r.u16beAt(at + 2)), level(r.u16beAt(at + 4))};
    } else if (h.planes == 4) {
      // Plane 0 red, 1 green, 2 blue, 3 dims: value 0 is white paper, 15 black ink.
      const bool red = i & 1, green = i & 2, blue = i & 4, dim = i & 8;
      std::uint8_t grey = 0;
      if (!red && !green && !blue) grey = dim ? 85 : 255;
      else if (red && green && blue) grey = dim ? 0 : 170;
      else {
        const std::uint8_t on = dim ? 170 : 255;
        pal[i] = Rgb{std::uint8_t(red ? on : 0), std::uint8_t(green ? on : 0), std::uint8_t(blue ? on : 0)};
        continue;
      }
      pal[i] = Rgb{grey, grey, grey};
    } else {
      const auto g = static_cast<std::uint8_t>(255 - i * 255 / (n - 1));
      pal[i] = Rgb{g, g, g};
    }
  }
  return pal;
}

// One plane row of rowBytes; an item that would pass the row's end is cut.
void ReadPlaneRow(ByteReader& in, int patternLength, std::uint8_t* out, std::size_t rowBytes) {
  std::size_t x = 0;
  auto put = [&](std::uint8_t v) {
    if (x < rowBytes) out[x++] = v;
  };
  while (x < rowBytes && !in.atEnd()) {
    const std::uint8_t b = in.u8();
    if (b == 0) {
      const unsigned n = in.u8();
      std::uint8_t pattern[8] = {};
      in.bytes(pattern, patternLength);
      for (unsigned i = 0; i < n && x < rowBytes; ++i)
        for (int k = 0; k < patternLength; ++k) put(pattern[k]);
    } else if (b == 0x80) {
      const unsigned n = in.u8();
      for (unsigned i = 0; i < n && !in.atEnd(); ++i) put(in.u8());
    } else {
      for (int i = 0; i < (b & 0x7F); ++i) put(b & 0x80 ? 0xFF : 0x00);
    }
  }
}

// Walks the coded rows; with img null it only counts the rows the data
// reaches (at most the header's height), without painting.
std::uint32_t WalkRows(const ByteReader& file, const GemHeader& h, std::uint32_t height, Image* img) {
  ByteReader in = file.sub(h.headerBytes, file.size() - h.headerBytes);
  const std::size_t rowBytes = (h.width + 7) / 8;
  std::vector<std::uint8_t> plane(rowBytes);
  std::uint32_t y = 0;
  while (y < height && !in.atEnd()) {
    unsigned repeat = 1;
    if (in.remaining() >= 4 && in.at(in.pos()) == 0 && in.at(in.pos() + 1) == 0 && in.at(in.pos() + 2) == 0xFF) {
      in.skip(3);
      repeat = std::max<unsigned>(1, in.u8());
    }
    std::uint8_t* out = img ? img->row(y) : nullptr;
    for (int p = 0; p < h.planes; ++p) {
      if (out) std::fill(plane.begin(), plane.end(), std::uint8_t(0));
      ReadPlaneRow(in, h.patternLength, plane.data(), rowBytes);
      if (!out) continue;
      for (std::uint32_t x = 0; x < h.width; ++x)
        if (plane[x >> 3] & (0x80 >> (x & 7))) out[x] = static_cast<std::uint8_t>(out[x] | 1 << p);
    }
    if (out)
      for (unsigned i = 1; i < repeat && y + i < height; ++i) std::copy(out, out + h.width, img->row(y + i));
    y = std::min<std::uint32_t>(height, y + repeat);
  }
  return y;
}

bool Decode(const ByteReader& file, Image& img) {
  GemHeader h;
  if (!ReadHeader(file, h)) return false;
  // A picture whose data ends early keeps its height, the missing rows
  // white; but a height far beyond what the data reaches (more than 128
  // times, and 64 rows) is a damaged header, believed only as far as its data
  // goes, so that a few bytes cannot ask for a huge picture.
  const std::uint32_t reached = WalkRows(file, h, h.height, nullptr);
  if (reached == 0) return false;
  const std::uint32_t rows = std::uint64_t(h.height) > std::uint64_t(reached) * 128 + 64 ? reached : h.height;
  // No real picture packs more than 32768 pixels into a byte of its data.
  const std::uint64_t data = file.size() > h.headerBytes ? file.size() - h.headerBytes : 0;
  if (std::uint64_t(h.width) * rows > data * 32768) return false;
  if (!img.allocate(h.width, rows, 1)) return false;
  img.palette = Palette(file, h);
  img.bits = h.planes;
  WalkRows(file, h, rows, &img);
  return true;
}

}  // namespace

bool ReadGemImage(const Bytes& data, Image& img) { return Decode(ByteReader(data), img); }

int ImgToBmp(const ConvertCall& call) {
  return ConvertWhole(
      call, [](const Bytes& bytes, Image& img) { return ReadGemImage(bytes, img); },
      [](Sink& s, const Image& img) { return WriteBmp(s, img); });
}

}  // namespace pix
