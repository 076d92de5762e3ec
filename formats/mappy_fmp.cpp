// Mappy FMP tile maps (the freeware 2-D game map editor): an IFF-like
// "FORM ... FMAP" file with a map header (MPHD), palette (CMAP), block
// definitions (BKDT), animations (ANDT), tile graphics (BGFX) and layers of
// block references (BODY, LYR1..7). Layer 0 is rendered (each cell's
// background tile, then its foreground tiles with the transparent colour
// left out) and written as one 24-bit BMP to the target path; a map too large
// to render gives the sheet of all tiles instead, 16 to a row.
#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kMaxRender = 16384;
constexpr std::uint64_t kMaxRenderBytes = std::uint64_t(128) << 20;
constexpr std::uint32_t kSheetColumns = 16;

struct Fmp {
  ByteReader mphd, cmap, bkdt, andt, bgfx, body;
  bool haveMphd = false, haveBkdt = false, haveBgfx = false, haveBody = false;
  bool little = true;
  int type = 0;
  std::uint32_t mapW = 0, mapH = 0, tileW = 0, tileH = 0, depth = 0, blockSize = 0, tiles = 0;
  std::size_t pixelBytes = 0, tileBytes = 0;
  bool graphicNumbers = false;  // later files: BKDT holds tile numbers, not byte offsets

  std::uint32_t u16(const ByteReader& r, std::size_t at) const { return little ? r.u16leAt(at) : r.u16beAt(at); }
  std::uint32_t u32(const ByteReader& r, std::size_t at) const { return little ? r.u32leAt(at) : r.u32beAt(at); }
};

bool ReadChunks(const ByteReader& file, Fmp& m) {
  if (file.sub(0, 4).str(4) != "FORM" || file.sub(8, 4).str(4) != "FMAP") return false;
  std::size_t at = 12;
  while (file.has(at, 8)) {
    const std::string id = file.sub(at, 4).str(4);
    const std::uint32_t len = file.u32beAt(at + 4);
    if (!file.has(at + 8, len)) break;  // a chunk past the end of the file ends the walk
    const ByteReader data = file.sub(at + 8, len);
    if (id == "MPHD") { m.mphd = data; m.haveMphd = true; }
    else if (id == "CMAP") m.cmap = data;
    else if (id == "BKDT") { m.bkdt = data; m.haveBkdt = true; }
    else if (id == "ANDT") m.andt = data;
    else if (id == "BGFX") { m.bgfx = data; m.haveBgfx = true; }
    else if (id == "BODY") { m.body = data; m.haveBody = true; }
    at += 8 + std::size_t(len) + (len & 1);
  }
  if (!m.haveMphd || !m.haveBkdt || !m.haveBgfx || !m.haveBody || m.mphd.size() < 24) return false;
  m.little = m.mphd.at(2) == 1;
  m.type = m.mphd.at(3);
  m.mapW = m.u16(m.mphd, 4);
  m.mapH = m.u16(m.mphd, 6);
  m.tileW = m.u16(m.mphd, 12);
  m.tileH = m.u16(m.mphd, 14);
  m.depth = m.u16(m.mphd, 16);
  m.blockSize = m.u16(m.mphd, 18);
  m.pixelBytes = m.depth == 8 ? 1 : m.depth == 15 || m.depth == 16 ? 2 : m.depth == 24 ? 3 : m.depth == 32 ? 4 : 0;
  if (m.pixelBytes == 0 || m.blockSize < 16 || m.mapW == 0 || m.mapH == 0 || m.tileW == 0 || m.tileH == 0) return false;
  if (m.tileW > 1024 || m.tileH > 1024) return false;
  m.tileBytes = std::size_t(m.tileW) * m.tileH * m.pixelBytes;
  m.tiles = static_cast<std::uint32_t>(std::min<std::size_t>(m.u16(m.mphd, 22), m.bgfx.size() / m.tileBytes));
  if (m.body.size() < std::size_t(m.mapW) * m.mapH * 2) return false;  // packed layers are not read
  if (m.type != 0) {
    m.graphicNumbers = true;
    for (std::size_t at = 0; at + 16 <= m.bkdt.size() && m.graphicNumbers; at += m.blockSize)
      for (int k = 0; k < 4; ++k) m.graphicNumbers = m.graphicNumbers && m.u32(m.bkdt, at + 4 * std::size_t(k)) < m.tiles;
  }
  return true;
}

// Colour of pixel i of tile t, and whether it is the transparent one.
Rgb TilePixel(const Fmp& m, std::uint32_t t, std::size_t i, bool& transparent) {
  const std::size_t at = std::size_t(t) * m.tileBytes + i * m.pixelBytes;
  const ByteReader& g = m.bgfx;
  if (m.depth == 8) {
    const std::uint8_t v = g.at(at);
    transparent = v == 0;
    return Rgb{m.cmap.at(3 * std::size_t(v)), m.cmap.at(3 * std::size_t(v) + 1), m.cmap.at(3 * std::size_t(v) + 2)};
  }
  if (m.pixelBytes == 2) {
    const unsigned v = g.u16beAt(at);
    const bool five = m.depth == 15;
    transparent = v == (five ? 0x7C1Fu : 0xF81Fu);
    const unsigned r = five ? (v >> 10) & 31 : v >> 11, gr = five ? (v >> 5) & 31 : (v >> 5) & 63, b = v & 31;
    return Rgb{std::uint8_t(r << 3 | r >> 2), std::uint8_t(five ? (gr << 3 | gr >> 2) : (gr << 2 | gr >> 4)), std::uint8_t(b << 3 | b >> 2)};
  }
  const std::size_t o = m.pixelBytes == 4 ? 1 : 0;
  const Rgb c{g.at(at + o), g.at(at + o + 1), g.at(at + o + 2)};
  transparent = c == Rgb{255, 0, 255};
  return c;
}

void DrawTile(const Fmp& m, std::uint32_t t, bool keyed, Image& img, std::uint32_t left, std::uint32_t top) {
  if (t >= m.tiles) return;
  for (std::uint32_t y = 0; y < m.tileH; ++y)
    for (std::uint32_t x = 0; x < m.tileW; ++x) {
      bool transparent = false;
      const Rgb c = TilePixel(m, t, std::size_t(y) * m.tileW + x, transparent);
      if (keyed && transparent) continue;
      std::uint8_t* p = img.row(top + y) + std::size_t(left + x) * 3;
      p[0] = c.r;
      p[1] = c.g;
      p[2] = c.b;
    }
}

// A graphic field of a block as a tile number, or past the last tile when invalid.
std::uint32_t TileOf(const Fmp& m, std::uint32_t field) {
  if (m.graphicNumbers) return field;
  return field % m.tileBytes == 0 ? static_cast<std::uint32_t>(field / m.tileBytes) : m.tiles;
}

// The BKDT offset of the block a layer value shows, or -1.
std::int64_t BlockOf(const Fmp& m, std::int16_t v) {
  if (v >= 0) return m.type == 0 ? v : std::int64_t(v) * m.blockSize;
  if (m.type != 0) return -1;
  // An animation, measured back from the end of ANDT; its first frame is at its start offset.
  const std::int64_t anim = std::int64_t(m.andt.size()) + v;
  if (anim < 0 || !m.andt.has(std::size_t(anim), 16)) return -1;
  const std::int64_t frame = std::int64_t(m.andt.size()) + static_cast<std::int32_t>(m.u32(m.andt, std::size_t(anim) + 8));
  if (frame < 0 || !m.andt.has(std::size_t(frame), 4)) return -1;
  return static_cast<std::int32_t>(m.u32(m.andt, std::size_t(frame)));
}

bool Render(const Fmp& m, Image& img) {
  const std::uint64_t w = std::uint64_t(m.mapW) * m.tileW, h = std::uint64_t(m.mapH) * m.tileH;
  if (w > kMaxRender || h > kMaxRender || w * h * 3 > kMaxRenderBytes) {
    if (m.tiles == 0) return false;
    const std::uint32_t cols = std::min(kSheetColumns, m.tiles), rows = (m.tiles + kSheetColumns - 1) / kSheetColumns;
    if (!img.allocate(cols * m.tileW, rows * m.tileH, 3)) return false;
    for (std::uint32_t t = 0; t < m.tiles; ++t) DrawTile(m, t, false, img, (t % kSheetColumns) * m.tileW, (t / kSheetColumns) * m.tileH);
    return true;
  }
  if (!img.allocate(static_cast<std::uint32_t>(w), static_cast<std::uint32_t>(h), 3)) return false;
  for (std::uint32_t cy = 0; cy < m.mapH; ++cy)
    for (std::uint32_t cx = 0; cx < m.mapW; ++cx) {
      const auto v = static_cast<std::int16_t>(m.u16(m.body, 2 * (std::size_t(cy) * m.mapW + cx)));
      const std::int64_t block = BlockOf(m, v);
      if (block < 0 || block % m.blockSize != 0 || !m.bkdt.has(std::size_t(block), 16)) continue;  // stays black
      for (int k = 0; k < 4; ++k) {
        const std::uint32_t field = m.u32(m.bkdt, std::size_t(block) + 4 * std::size_t(k));
        if (k > 0 && field == 0) continue;
        DrawTile(m, TileOf(m, field), k > 0, img, cx * m.tileW, cy * m.tileH);
      }
    }
  return true;
}

}  // namespace

int MappyFmpToBmp(const ConvertCall& call) {
  return ConvertWhole(
      call,
      [](const Bytes& bytes, Image& img) {
        Fmp m;
        return ReadChunks(ByteReader(bytes), m) && Render(m, img);
      },
      [](Sink& s, const Image& img) { return WriteBmp(s, img, 24); });
}

}  // namespace pix
