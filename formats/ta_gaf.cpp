// Total Annihilation GAF sprite archives: named entries of frames, each frame
// an 8-bit image (raw or run-length rows) or a stack of layers drawn over one
// another. The palette is not in the file: "palette.pal" beside the source
// (256 entries of red, green, blue, unused; or plain triples), else a grey
// ramp. Every frame of every entry becomes an 8-bit BMP
// "<source name>_0001.bmp", ...; the result is the number written.
#include <set>

#include "common/budget.h"
#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"
#include "formats/side_palette.h"

namespace pix {
namespace {

constexpr std::uint32_t kVersion = 0x00010100, kMaxEntries = 10000, kMaxSide = 4096, kMaxLayers = 64;
constexpr std::size_t kFrameHeader = 24;

std::vector<Rgb> GamePalette(const char* source) {
  Bytes pal;
  if (!ReadSideFile(source, "palette.pal", pal, 1 << 16) || pal.size() < 768) return GreyRamp(256);
  const std::size_t step = pal.size() >= 1024 ? 4 : 3;
  std::vector<Rgb> out(256);
  for (std::size_t i = 0; i < 256; ++i) out[i] = Rgb{pal[step * i], pal[step * i + 1], pal[step * i + 2]};
  return out;
}

struct FrameHeader {
  std::uint32_t width = 0, height = 0;
  int x = 0, y = 0;
  std::uint8_t transparent = 0, compression = 0;
  unsigned layers = 0;
  std::uint32_t dataAt = 0;
};

bool ReadFrameHeader(const ByteReader& file, std::size_t at, FrameHeader& h) {
  if (!file.has(at, kFrameHeader)) return false;
  h.width = file.u16leAt(at);
  h.height = file.u16leAt(at + 2);
  h.x = static_cast<std::int16_t>(file.u16leAt(at + 4));
  h.y = static_cast<std::int16_t>(file.u16leAt(at + 6));
  h.transparent = file.at(at + 8);
  h.compression = file.at(at + 9);
  h.layers = file.u16leAt(at + 10);
  h.dataAt = file.u32leAt(at + 16);
  return h.width >= 1 && h.width <= kMaxSide && h.height >= 1 && h.height <= kMaxSide && h.layers <= kMaxLayers &&
         h.dataAt < file.size();
}

// The indices of one image (no layers): raw, or rows of skip, repeat and copy codes.
bool ReadImage(const ByteReader& file, const FrameHeader& h, std::vector<std::uint8_t>& px) {
  px.assign(std::size_t(h.width) * h.height, h.transparent);
  if (h.compression == 0) {
    if (!file.has(h.dataAt, px.size())) return false;
    file.sub(h.dataAt, px.size()).bytes(px.data(), px.size());
    return true;
  }
  if (h.compression != 1) return false;
  std::size_t at = h.dataAt;
  for (std::uint32_t y = 0; y < h.height; ++y) {
    if (!file.has(at, 2)) return false;
    const std::size_t count = file.u16leAt(at);
    ByteReader row = file.sub(at + 2, count);
    if (row.bad()) return false;
    at += 2 + count;
    std::uint8_t* out = px.data() + std::size_t(y) * h.width;
    std::uint32_t x = 0;
    while (!row.atEnd() && x < h.width) {
      const std::uint8_t m = row.u8();
      if (m & 1) {
        x += m >> 1;
      } else if (m & 2) {
        const std::uint8_t v = row.u8();
        for (int i = 0; i <= (m >> 2) && x < h.width; ++i) out[x++] = v;
      } else {
        for (int i = 0; i <= (m >> 2) && !row.atEnd(); ++i) {
          const std::uint8_t v = row.u8();
          if (x < h.width) out[x++] = v;
        }
      }
    }
  }
  return true;
}

bool DecodeFrame(const ByteReader& file, std::size_t at, Image& img) {
  FrameHeader h;
  if (!ReadFrameHeader(file, at, h) || !img.allocate(h.width, h.height, 1)) return false;
  if (h.layers == 0) return ReadImage(file, h, img.pixels);
  std::fill(img.pixels.begin(), img.pixels.end(), h.transparent);
  if (!file.has(h.dataAt, 4 * std::size_t(h.layers))) return false;
  std::set<std::size_t> drawn;
  for (unsigned i = 0; i < h.layers; ++i) {
    const std::size_t layerAt = file.u32leAt(h.dataAt + 4 * std::size_t(i));
    FrameHeader layer;
    std::vector<std::uint8_t> px;
    // One level of layers: a layer with layers of its own is left out, and a
    // layer listed twice is drawn once. Every layer drawn counts against the
    // call's work budget, as frames of many large layers may share them.
    if (!drawn.insert(layerAt).second || !ReadFrameHeader(file, layerAt, layer) || layer.layers != 0) continue;
    if (!ChargeRead(std::uint64_t(layer.width) * layer.height)) return false;
    if (!ReadImage(file, layer, px)) continue;
    const std::int64_t left = std::int64_t(h.x) - layer.x, top = std::int64_t(h.y) - layer.y;
    for (std::uint32_t y = 0; y < layer.height; ++y)
      for (std::uint32_t x = 0; x < layer.width; ++x) {
        const std::uint8_t v = px[std::size_t(y) * layer.width + x];
        const std::int64_t cx = left + x, cy = top + y;
        if (v == layer.transparent || cx < 0 || cy < 0 || cx >= h.width || cy >= h.height) continue;
        img.row(static_cast<std::uint32_t>(cy))[cx] = v;
      }
  }
  return true;
}

}  // namespace

int GafToBmp(const ConvertCall& call) {
  Bytes bytes;
  if (!call.source || !ReadWholeFile(call.source, bytes)) return 0;
  const ByteReader file(bytes);
  const std::uint32_t entries = file.u32leAt(4);
  if (file.size() < 12 || file.u32leAt(0) != kVersion || entries < 1 || entries > kMaxEntries || !file.has(12, 4 * std::size_t(entries)))
    return 0;
  const std::vector<Rgb> palette = GamePalette(call.source);
  Series series(call, "_%04d.bmp");
  // Tables may point many times at the same entry or frame: each frame is
  // written once, so a small file of repeated pointers cannot make thousands
  // of copies.
  std::set<std::size_t> written;
  for (std::uint32_t e = 0; e < entries; ++e) {
    const std::size_t entryAt = file.u32leAt(12 + 4 * std::size_t(e));
    const unsigned frames = file.u16leAt(entryAt);
    if (!file.has(entryAt, 40 + 8 * std::size_t(frames))) continue;  // an entry past the end is skipped
    for (unsigned f = 0; f < frames; ++f) {
      const std::size_t frameAt = file.u32leAt(entryAt + 40 + 8 * std::size_t(f));
      Image img;
      if (!written.insert(frameAt).second || !DecodeFrame(file, frameAt, img)) continue;
      img.palette = palette;
      if (!series.add([&](Sink& s) { return WriteBmp(s, img, 8); })) return series.finish();  // output budget spent
      if (series.done()) return series.finish();  // memory mode has its frame
    }
  }
  return series.finish();
}

}  // namespace pix
