// Electronic Arts IFF-85 pictures: FORM ILBM (interleaved bit planes, up to 8
// planes with a colour map, extra half-brite, HAM6 and HAM8, 24 and 32 planes
// of true colour) and FORM PBM (one byte per pixel), stored raw or packed
// with ByteRun1. Decodes to an indexed or RGB(A) picture.
#include <string>

#include "formats/iff.h"

namespace pix {
namespace {

constexpr int kMaxDepth = 16;
constexpr std::uint32_t kHam = 0x800, kHalfBrite = 0x80;

struct Bmhd {
  std::uint16_t width = 0, height = 0;
  int planes = 0, masking = 0, compression = 0;
};

struct IlbmChunks {
  bool haveBmhd = false;
  Bmhd bmhd;
  ByteReader cmap, body;
  bool haveBody = false, haveCamg = false;
  std::uint32_t camg = 0;
};

// Walks the local chunks of one FORM ILBM or PBM (the bytes after its type).
IlbmChunks LocalChunks(const ByteReader& form) {
  IlbmChunks c;
  std::size_t pos = 0;
  while (form.has(pos, 8)) {
    const std::uint32_t id = form.u32beAt(pos), size = form.u32beAt(pos + 4);
    if (!form.has(pos + 8, size)) break;
    ByteReader data = form.sub(pos + 8, size);
    if (id == 0x424D4844 && size >= 20) {  // BMHD
      c.haveBmhd = true;
      c.bmhd.width = data.u16beAt(0);
      c.bmhd.height = data.u16beAt(2);
      c.bmhd.planes = data.at(8);
      c.bmhd.masking = data.at(9);
      c.bmhd.compression = data.at(10);
    } else if (id == 0x434D4150) {  // CMAP
      c.cmap = data;
    } else if (id == 0x43414D47 && size >= 4) {  // CAMG
      c.haveCamg = true;
      c.camg = data.u32beAt(0);
    } else if (id == 0x424F4459) {  // BODY
      c.body = data;
      c.haveBody = true;
    }
    pos += 8 + std::size_t(size) + (size & 1);
  }
  return c;
}

bool Decodable(const IlbmChunks& c, bool pbm) {
  if (!c.haveBmhd || !c.haveBody || c.bmhd.width == 0 || c.bmhd.height == 0) return false;
  if (c.bmhd.compression > 1) return false;
  if (pbm) return c.bmhd.planes == 8;
  return (c.bmhd.planes >= 1 && c.bmhd.planes <= 8) || c.bmhd.planes == 24 || c.bmhd.planes == 32;
}

void Walk(const ByteReader& r, IffFile& iff, std::size_t base, int depth) {
  std::size_t pos = 0;
  while (r.has(pos, 8)) {
    const std::string id = r.sub(pos, 4).str(4);
    const std::uint32_t size = r.u32beAt(pos + 4);
    if (!r.has(pos + 8, size)) break;  // a chunk longer than its group ends the walk
    if ((id == "FORM" || id == "LIST" || id == "CAT ") && size >= 4) {
      const std::string type = r.sub(pos + 8, 4).str(4);
      ByteReader inner = r.sub(pos + 12, size - 4);
      const bool ilbm = id == "FORM" && type == "ILBM", pbm = id == "FORM" && type == "PBM ";
      if (ilbm || pbm) {
        if (Decodable(LocalChunks(inner), pbm))
          iff.pictures.push_back({pbm ? IffPicture::Kind::Pbm : IffPicture::Kind::Ilbm, base + pos + 12, size - 4u, 0});
      } else if (depth < kMaxDepth) {
        Walk(inner, iff, base + pos + 12, depth + 1);
      }
    }
    pos += 8 + std::size_t(size) + (size & 1);
  }
}

// One row of rowBytes from the body: raw, or unpacked with ByteRun1 (a run
// past the row is cut).
void ReadRow(ByteReader& body, bool packed, std::uint8_t* row, std::size_t rowBytes) {
  if (!packed) {
    body.bytes(row, rowBytes);
    return;
  }
  UnpackBits(body, row, rowBytes);
}

std::vector<Rgb> ColourMap(const ByteReader& cmap) {
  std::vector<Rgb> map(std::min<std::size_t>(cmap.size() / 3, 256));
  bool nibbles = !map.empty();
  for (std::size_t i = 0; i < map.size() * 3; ++i)
    if (cmap.at(i) & 0x0F) nibbles = false;
  for (std::size_t i = 0; i < map.size(); ++i) {
    std::uint8_t v[3] = {cmap.at(3 * i), cmap.at(3 * i + 1), cmap.at(3 * i + 2)};
    if (nibbles)
      for (std::uint8_t& c : v) c = static_cast<std::uint8_t>(c | c >> 4);
    map[i] = Rgb{v[0], v[1], v[2]};
  }
  return map;
}

// Hold-and-modify rows: the top two bits choose, the rest is data.
void HamRow(const std::uint8_t* values, std::uint32_t width, int planes, const std::vector<Rgb>& map, std::uint8_t* out) {
  const int dataBits = planes - 2;
  const unsigned mask = (1u << dataBits) - 1;
  Rgb held = map.empty() ? Rgb{} : map[0];
  for (std::uint32_t x = 0; x < width; ++x) {
    const unsigned v = values[x], data = v & mask;
    const std::uint8_t level = static_cast<std::uint8_t>(dataBits == 4 ? data * 17 : (data << 2) | (data >> 4));
    switch (v >> dataBits) {
      case 0: held = data < map.size() ? map[data] : Rgb{}; break;
      case 1: held.b = level; break;
      case 2: held.r = level; break;
      default: held.g = level; break;
    }
    out[3 * x] = held.r;
    out[3 * x + 1] = held.g;
    out[3 * x + 2] = held.b;
  }
}

}  // namespace

bool ScanEaIff(const ByteReader& file, IffFile& iff) {
  const std::string magic = file.sub(0, 4).str(4);
  if (magic != "FORM" && magic != "LIST" && magic != "CAT ") return false;
  Walk(file, iff, 0, 0);
  return true;
}

bool DecodeIlbm(const ByteReader& form, bool pbm, Image& img) {
  const IlbmChunks c = LocalChunks(form);
  if (!Decodable(c, pbm)) return false;
  const std::uint32_t w = c.bmhd.width, h = c.bmhd.height;
  const int planes = c.bmhd.planes;
  const bool packed = c.bmhd.compression == 1;
  const std::size_t rowBytes = pbm ? w + (w & 1) : ((w + 15) / 16) * 2;
  const int rowsPerLine = pbm ? 1 : planes + (c.bmhd.masking == 1 ? 1 : 0);
  // Every row must be there: raw bodies hold them all, ByteRun1 expands at most 64 times.
  const std::uint64_t need = std::uint64_t(rowBytes) * rowsPerLine * h;
  if (CheckedSize(w, h, 4) == 0 || (packed ? need > std::uint64_t(c.body.size()) * 64 : need > c.body.size())) return false;
  std::vector<Rgb> map = ColourMap(c.cmap);
  const bool ham = (c.haveCamg ? (c.camg & kHam) != 0 : planes == 6 && map.size() == 16) && (planes == 6 || planes == 8);
  const bool ehb = !ham && planes == 6 && (c.haveCamg ? (c.camg & kHalfBrite) != 0 : map.size() == 32);
  const bool deep = planes > 8;
  if (!img.allocate(w, h, deep ? (planes == 32 ? 4 : 3) : ham ? 3 : 1)) return false;
  if (!deep && !ham) {
    map.resize(std::size_t(1) << planes);
    if (ehb)
      for (int i = 32; i < 64; ++i) {
        const Rgb& c = map[i - 32];
        map[i] = Rgb{std::uint8_t(c.r >> 1), std::uint8_t(c.g >> 1), std::uint8_t(c.b >> 1)};
      }
    img.palette = map;
    img.bits = planes;
  }
  ByteReader body = c.body;
  std::vector<std::uint8_t> line(rowBytes);
  std::vector<std::uint32_t> values(w);
  std::vector<std::uint8_t> small(w);
  for (std::uint32_t y = 0; y < h; ++y) {
    std::uint8_t* out = img.row(y);
    if (pbm) {
      ReadRow(body, packed, line.data(), rowBytes);
      for (std::uint32_t x = 0; x < w; ++x) out[x] = line[x];
      continue;
    }
    std::fill(values.begin(), values.end(), 0u);
    for (int p = 0; p < rowsPerLine; ++p) {
      std::fill(line.begin(), line.end(), std::uint8_t(0));
      ReadRow(body, packed, line.data(), rowBytes);
      if (p >= planes) continue;  // the mask plane
      for (std::uint32_t x = 0; x < w; ++x)
        if (line[x >> 3] & (0x80 >> (x & 7))) values[x] |= 1u << p;
    }
    if (deep) {
      for (std::uint32_t x = 0; x < w; ++x)
        for (int ch = 0; ch < img.channels; ++ch)
          out[std::size_t(x) * img.channels + ch] = static_cast<std::uint8_t>(values[x] >> (8 * ch));
    } else if (ham) {
      for (std::uint32_t x = 0; x < w; ++x) small[x] = static_cast<std::uint8_t>(values[x]);
      HamRow(small.data(), w, planes, map, out);
    } else {
      for (std::uint32_t x = 0; x < w; ++x) out[x] = static_cast<std::uint8_t>(values[x]);
    }
  }
  return true;
}

}  // namespace pix
