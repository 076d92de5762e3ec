// Apple icon families (".icns": "icns", the file length, then typed elements
// of several renditions of one icon) to PNG. The largest rendition is
// written as the target: a PNG member as it is stored; the classic members
// decoded (run-length packed 24-bit RGB with its 8-bit mask, packed "ARGB",
// 8- and 4-bit indexed in the Mac system palettes and 1-bit, each with the
// 1-bit mask of its size) and written as RGBA PNG. On equal size a stored PNG
// wins, then ARGB, 24-bit, 8-, 4- and 1-bit. JPEG 2000 members cannot be
// decoded here: only when the family has nothing else is the largest written
// as it is stored, beside the target as "<target name>.jp2". Result 1, or 0.
#include <array>
#include <cstring>
#include <string>

#include "common/files.h"
#include "common/image.h"
#include "common/paths.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/embedded_pictures.h"
#include "formats/formats.h"

namespace pix {
namespace {

enum class Kind { Png, Argb, Rgb24, Indexed8, Indexed4, Mono, Jp2, Other };  // Other: masks, lists

struct Member {
  Kind kind;
  std::uint32_t type;
  int width, height;
  ByteReader data;
};

std::uint32_t Type(const char* s) {
  return std::uint32_t(std::uint8_t(s[0])) << 24 | std::uint32_t(std::uint8_t(s[1])) << 16 |
         std::uint32_t(std::uint8_t(s[2])) << 8 | std::uint32_t(std::uint8_t(s[3]));
}

struct Layout {
  const char* type;
  Kind kind;
  int width, height;
  const char* mask;  // the member that holds its transparency
};

constexpr Layout kClassic[] = {
    {"is32", Kind::Rgb24, 16, 16, "s8mk"}, {"il32", Kind::Rgb24, 32, 32, "l8mk"},
    {"ih32", Kind::Rgb24, 48, 48, "h8mk"}, {"it32", Kind::Rgb24, 128, 128, "t8mk"},
    {"ic04", Kind::Argb, 16, 16, nullptr}, {"ic05", Kind::Argb, 32, 32, nullptr},
    {"icsb", Kind::Argb, 18, 18, nullptr}, {"ics8", Kind::Indexed8, 16, 16, "ics#"},
    {"icl8", Kind::Indexed8, 32, 32, "ICN#"}, {"ich8", Kind::Indexed8, 48, 48, "ich#"},
    {"icm8", Kind::Indexed8, 16, 12, "icm#"}, {"ics4", Kind::Indexed4, 16, 16, "ics#"},
    {"icl4", Kind::Indexed4, 32, 32, "ICN#"}, {"ich4", Kind::Indexed4, 48, 48, "ich#"},
    {"icm4", Kind::Indexed4, 16, 12, "icm#"}, {"ICN#", Kind::Mono, 32, 32, "ICN#"},
    {"ics#", Kind::Mono, 16, 16, "ics#"},     {"ich#", Kind::Mono, 48, 48, "ich#"},
    {"icm#", Kind::Mono, 16, 12, "icm#"},     {"ICON", Kind::Mono, 32, 32, nullptr},
};

struct Embedded {
  const char* type;
  int side;
};
constexpr Embedded kEmbedded[] = {{"icp4", 16}, {"icp5", 32},  {"icp6", 64},  {"ic07", 128}, {"ic08", 256},
                                  {"ic09", 512}, {"ic10", 1024}, {"ic11", 32}, {"ic12", 64},  {"ic13", 256},
                                  {"ic14", 512}, {"sb24", 24},  {"SB24", 48},  {"icsB", 36},  {"ic04", 16},
                                  {"ic05", 32},  {"icsb", 18}};

bool IsJp2(const ByteReader& d) {
  return (d.u32beAt(0) == 12 && d.u32beAt(4) == 0x6A502020u) || d.u32beAt(0) == 0xFF4FFF51u;
}

const Layout* ClassicLayout(std::uint32_t type) {
  for (const Layout& l : kClassic)
    if (Type(l.type) == type) return &l;
  return nullptr;
}

Rgb MacColour8(int k) {
  if (k < 215) return {std::uint8_t((5 - k / 36) * 0x33), std::uint8_t((5 - k % 36 / 6) * 0x33), std::uint8_t((5 - k % 6) * 0x33)};
  if (k == 255) return {0, 0, 0};
  static const std::uint8_t steps[10] = {0xEE, 0xDD, 0xBB, 0xAA, 0x88, 0x77, 0x55, 0x44, 0x22, 0x11};
  const std::uint8_t v = steps[(k - 215) % 10];
  switch ((k - 215) / 10) {
    case 0: return {v, 0, 0};
    case 1: return {0, v, 0};
    case 2: return {0, 0, v};
    default: return {v, v, v};
  }
}

constexpr std::array<std::uint32_t, 16> kMac16 = {0xFFFFFF, 0xFCF305, 0xFF6402, 0xDD0806, 0xF20884, 0x4600A5,
                                                  0x0000D4, 0x02ABEA, 0x1FB714, 0x006411, 0x562C05, 0x90713A,
                                                  0xC0C0C0, 0x808080, 0x404040, 0x000000};

// Unpacks the run-length coding of the classic members into `out` (filled to
// its size; what the data lacks stays 0).
void Unpack(ByteReader d, std::vector<std::uint8_t>& out) {
  std::size_t o = 0;
  while (o < out.size() && !d.atEnd()) {
    const std::uint8_t n = d.u8();
    if (n < 0x80) {
      for (int i = 0; i <= n && o < out.size() && !d.atEnd(); ++i) out[o++] = d.u8();
    } else {
      const std::uint8_t v = d.u8();
      for (int i = 0; i < n - 125 && o < out.size(); ++i) out[o++] = v;
    }
  }
}

struct Family {
  std::vector<Member> members;

  const Member* find(const char* type) const {
    for (const Member& m : members)
      if (m.type == Type(type)) return &m;
    return nullptr;
  }

  // Alpha from a 1-bit mask member (the second half of its data).
  void monoMask(const char* type, Image& img) const {
    const Member* m = type ? find(type) : nullptr;
    const std::size_t plane = std::size_t(img.width) * img.height / 8;
    if (!m || !m->data.has(0, plane * 2)) return;
    for (std::uint32_t y = 0; y < img.height; ++y)
      for (std::uint32_t x = 0; x < img.width; ++x) {
        const std::size_t bit = std::size_t(y) * img.width + x;
        img.row(y)[x * 4 + 3] = (m->data.at(plane + bit / 8) >> (7 - bit % 8)) & 1 ? 255 : 0;
      }
  }

  bool decode(const Member& m, Image& img) const {
    if (!img.allocate(std::uint32_t(m.width), std::uint32_t(m.height), 4)) return false;
    const std::size_t area = std::size_t(m.width) * m.height;
    const Layout* layout = ClassicLayout(m.type);
    for (std::size_t i = 0; i < area; ++i) img.pixels[i * 4 + 3] = 255;
    switch (m.kind) {
      case Kind::Rgb24:
      case Kind::Argb: {
        const int planes = m.kind == Kind::Argb ? 4 : 3;
        ByteReader d = m.data;
        if (m.kind == Kind::Argb) d.skip(4);  // "ARGB"
        std::vector<std::uint8_t> bytes(area * planes);
        if (m.kind == Kind::Rgb24 && d.size() >= area * 4) {
          for (std::size_t i = 0; i < area; ++i)
            for (int c = 0; c < 3; ++c) bytes[c * area + i] = d.at(i * 4 + 1 + c);
        } else {
          if (m.type == Type("it32") && d.u32beAt(0) == 0) d.skip(4);
          Unpack(d.rest(), bytes);
        }
        const int first = planes == 4 ? 1 : 0;
        for (std::size_t i = 0; i < area; ++i) {
          for (int c = 0; c < 3; ++c) img.pixels[i * 4 + c] = bytes[(first + c) * area + i];
          if (planes == 4) img.pixels[i * 4 + 3] = bytes[i];
        }
        if (m.kind == Kind::Rgb24) {
          const Member* mask = find(layout->mask);
          if (mask && mask->data.has(0, area)) {
            for (std::size_t i = 0; i < area; ++i) img.pixels[i * 4 + 3] = mask->data.at(i);
          } else {
            static const char* const kOneBit[] = {"ics#", "ICN#", "ich#", nullptr};
            const int which = m.width == 16 ? 0 : m.width == 32 ? 1 : m.width == 48 ? 2 : 3;
            monoMask(kOneBit[which], img);
          }
        }
        return true;
      }
      case Kind::Indexed8:
      case Kind::Indexed4:
      case Kind::Mono: {
        const int bits = m.kind == Kind::Indexed8 ? 8 : m.kind == Kind::Indexed4 ? 4 : 1;
        if (!m.data.has(0, area * bits / 8)) return false;
        for (std::size_t i = 0; i < area; ++i) {
          const std::size_t bit = i * bits;
          const int v = (m.data.at(bit / 8) >> (8 - bits - bit % 8)) & ((1 << bits) - 1);
          Rgb c;
          if (bits == 8) c = MacColour8(v);
          else if (bits == 4) c = {std::uint8_t(kMac16[v] >> 16), std::uint8_t(kMac16[v] >> 8), std::uint8_t(kMac16[v])};
          else c = v ? Rgb{0, 0, 0} : Rgb{255, 255, 255};
          img.pixels[i * 4] = c.r;
          img.pixels[i * 4 + 1] = c.g;
          img.pixels[i * 4 + 2] = c.b;
        }
        monoMask(layout->mask, img);
        return true;
      }
      default: return false;
    }
  }
};

// Preference on equal size: lower wins.
int Rank(Kind k) { return static_cast<int>(k); }

}  // namespace

int IcnsToPng(const ConvertCall& call) {
  Bytes file;
  if (!ReadWholeFile(call.source, file, std::size_t(64) << 20)) return 0;
  const ByteReader r(file);
  if (r.size() < 8 || r.u32beAt(0) != Type("icns")) return 0;
  const std::size_t length = std::min<std::size_t>(r.u32beAt(4), r.size());
  Family family;
  for (std::size_t off = 8; off + 8 <= length;) {
    const std::uint32_t type = r.u32beAt(off), size = r.u32beAt(off + 4);
    if (size < 8 || size > length - off) break;
    const ByteReader data = r.sub(off + 8, size - 8);
    off += size;
    bool duplicate = false;
    for (const Member& m : family.members) duplicate = duplicate || m.type == type;
    if (duplicate) continue;
    bool known = false;
    for (const Embedded& e : kEmbedded) {
      if (Type(e.type) != type || (!IsPngSignature(data, 0) && !IsJp2(data))) continue;
      family.members.push_back({IsPngSignature(data, 0) ? Kind::Png : Kind::Jp2, type, e.side, e.side, data});
      known = true;
    }
    const Layout* layout = ClassicLayout(type);
    if (known) continue;
    Kind kind = layout ? layout->kind : Kind::Other;
    if (kind == Kind::Argb && (data.size() < 4 || data.u32beAt(0) != Type("ARGB"))) kind = Kind::Other;
    family.members.push_back({kind, type, layout ? layout->width : 0, layout ? layout->height : 0, data});
  }

  const Member* best = nullptr;
  const Member* bestJp2 = nullptr;
  for (const Member& m : family.members) {
    const long area = long(m.width) * m.height;
    if (m.kind == Kind::Other) continue;
    if (m.kind == Kind::Jp2) {
      if (!bestJp2 || area > long(bestJp2->width) * bestJp2->height) bestJp2 = &m;
      continue;
    }
    const long bestArea = best ? long(best->width) * best->height : -1;
    if (area > bestArea || (area == bestArea && Rank(m.kind) < Rank(best->kind))) best = &m;
  }
  if (best && best->kind == Kind::Png) {
    return WriteOne(call, [&](Sink& s) { return s.write(best->data.data(), best->data.size()); });
  }
  if (best) {
    Image img;
    if (!family.decode(*best, img)) return 0;
    return WriteOne(call, [&](Sink& s) { return WritePng(s, img); });
  }
  if (!bestJp2) return 0;
  if (call.memoryMode()) return WriteOne(call, [&](Sink& s) { return s.write(bestJp2->data.data(), bestJp2->data.size()); });
  const SplitPath t = Split(call.target);
  const std::string jp2 = t.drive + t.dir + t.name + ".jp2";
  ConvertCall beside = call;
  beside.target = jp2.c_str();
  return WriteOne(beside, [&](Sink& s) { return s.write(bestJp2->data.data(), bestJp2->data.size()); });
}

}  // namespace pix
