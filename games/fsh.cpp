// Electronic Arts shape archives (".fsh", and ".qfs" when QFS-compressed; the
// first two bytes decide) to BMP: one BMP per bitmap in the target's directory,
// named from the target's stem and the object number, an 8-bit grey BMP beside
// each bitmap that carries alpha, one BMP per mipmap level. Everything else
// goes to the working directory, so that the archive can be rebuilt from the
// pieces: the text index "index.fsh", each non-bitmap object as "%04d.BIN",
// and the alpha bytes of local palettes in "alpha8.dat". Progress goes to
// standard output, warnings to standard error. Returns the BMPs written; a
// fatal condition stops the walk and returns the count so far.
//
// 16-bit pixels widen to 8 bits per channel by bit replication (a 5-bit 31
// becomes 255, a 4-bit 15 becomes 255); the 1-bit alpha of 1:5:5:5 becomes 0
// or 255. The 16-bit "NFS5" palette (0x29) is 5:6:5, widened the same way.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "common/console.h"
#include "common/files.h"
#include "common/paths.h"
#include "common/reader.h"
#include "games/games.h"

namespace pix {
namespace {

constexpr std::size_t kMaxAttachedData = 16384;

bool IsBitmapCode(int c) { return c == 0x7B || c == 0x7D || c == 0x7F || c == 0x7E || c == 0x78 || c == 0x6D; }
bool IsPaletteCode(int c) { return c == 0x22 || c == 0x24 || c == 0x2D || c == 0x2A || c == 0x29; }

int BytesPerPixel(int c) {
  switch (c) {
    case 0x7B: return 1;
    case 0x7D: return 4;
    case 0x7F: return 3;
    default: return 2;
  }
}

const char* BitmapLabel(int c) {
  switch (c) {
    case 0x7B: return "8 bit ";
    case 0x7D: return "32 bit (8:8:8:8)\n";
    case 0x7F: return "24 bit (0:8:8:8)\n";
    case 0x7E: return "16 bit (1:5:5:5)\n";
    case 0x78: return "16 bit (0:5:6:5)\n";
    default: return "16 bit (4:4:4:4)\n";
  }
}

const char* PaletteLabel(int c) {
  switch (c) {
    case 0x24: return " (24-bit palette)";
    case 0x22: return " (24-bit DOS palette)";
    case 0x2D: return " (16-bit palette)";
    case 0x29: return " (16-bit NFS5 palette)";
    case 0x2A: return " (32-bit palette)";
    default: return "";
  }
}

bool HasAlpha(int c) { return c == 0x7D || c == 0x7E || c == 0x6D; }

std::uint8_t Widen5(unsigned v) { return static_cast<std::uint8_t>((v << 3) | (v >> 2)); }
std::uint8_t Widen6(unsigned v) { return static_cast<std::uint8_t>((v << 2) | (v >> 4)); }
std::uint8_t Widen4(unsigned v) { return static_cast<std::uint8_t>(v * 17); }

// Bytes below 0x21, above 0x7E, and "%" become "%" and two hex digits.
std::string Escape(const ByteReader& a, std::size_t at, std::size_t n) {
  std::string s;
  char hex[4];
  for (std::size_t i = 0; i < n; ++i) {
    std::uint8_t b = a.at(at + i);
    if (b < 0x21 || b > 0x7E || b == '%') {
      std::snprintf(hex, sizeof hex, "%%%02X", b);
      s += hex;
    } else {
      s += static_cast<char>(b);
    }
  }
  return s;
}

std::string Hex(const ByteReader& a, std::size_t at, std::size_t n) {
  static const char kDigits[] = "0123456789ABCDEF";
  std::string s;
  s.reserve(2 * n);
  for (std::size_t i = 0; i < n; ++i) {
    std::uint8_t b = a.at(at + i);
    s += kDigits[b >> 4];
    s += kDigits[b & 15];
  }
  return s;
}

// 256 colours as 32-bit values: blue in the lowest byte, then green, red, and
// a top byte (the palette's alpha, where it has one).
struct Palette {
  std::uint32_t c[256] = {};
};

// Reads the palette block at `at`. False for a code that is no palette.
bool ReadPalette(const ByteReader& a, std::size_t at, Palette& pal) {
  const int code = a.at(at) & 0x7F;
  int count = static_cast<std::int16_t>(a.u16leAt(at + 4));
  count = std::clamp(count, 0, 256);
  pal = Palette{};
  const std::size_t body = at + 16;
  for (int i = 0; i < count; ++i) {
    std::uint32_t v;
    switch (code) {
      case 0x24:
      case 0x22: {
        std::size_t p = body + 3 * std::size_t(i);
        v = std::uint32_t(a.at(p)) << 16 | std::uint32_t(a.at(p + 1)) << 8 | a.at(p + 2);
        if (code == 0x22) v <<= 2;
        break;
      }
      case 0x2D: {
        unsigned e = a.u16leAt(body + 2 * std::size_t(i));
        v = std::uint32_t((e >> 10) & 31) << 19 | std::uint32_t((e >> 5) & 31) << 11 | std::uint32_t(e & 31) << 3;
        if (e & 0x8000) v |= 0xFF000000u;
        break;
      }
      case 0x29: {
        unsigned e = a.u16leAt(body + 2 * std::size_t(i));
        v = std::uint32_t(Widen5(e >> 11)) << 16 | std::uint32_t(Widen6((e >> 5) & 63)) << 8 | Widen5(e & 31);
        break;
      }
      case 0x2A:
        v = a.u32leAt(body + 4 * std::size_t(i));
        break;
      default:
        return false;
    }
    pal.c[i] = v;
  }
  return true;
}

// Bytes of one palette entry of a palette code.
std::size_t PaletteEntrySize(int code) {
  return code == 0x2A ? 4 : (code == 0x24 || code == 0x22) ? 3 : 2;
}

// One bitmap's pixels: `bpp` bytes per pixel at `base` of `src` (zero past it).
struct PixelSource {
  const ByteReader* src;
  std::size_t base;
  int code;
  int width;

  // Blue, green, red and alpha of pixel (x, y); for 8-bit pictures the index in b.
  void get(int x, int y, std::uint8_t& b, std::uint8_t& g, std::uint8_t& r, std::uint8_t& alpha) const {
    const int bpp = BytesPerPixel(code);
    std::size_t p = base + (std::size_t(y) * width + x) * bpp;
    alpha = 255;
    switch (code) {
      case 0x7B:
        b = src->at(p);
        g = r = 0;
        return;
      case 0x7D:
        b = src->at(p), g = src->at(p + 1), r = src->at(p + 2), alpha = src->at(p + 3);
        return;
      case 0x7F:
        b = src->at(p), g = src->at(p + 1), r = src->at(p + 2);
        return;
    }
    unsigned e = src->u16leAt(p);
    if (code == 0x7E) {
      r = Widen5((e >> 10) & 31), g = Widen5((e >> 5) & 31), b = Widen5(e & 31);
      alpha = (e & 0x8000) ? 255 : 0;
    } else if (code == 0x78) {
      r = Widen5(e >> 11), g = Widen6((e >> 5) & 63), b = Widen5(e & 31);
    } else {
      alpha = Widen4(e >> 12), r = Widen4((e >> 8) & 15), g = Widen4((e >> 4) & 15), b = Widen4(e & 15);
    }
  }
};

enum class BmpKind { Colour, Alpha };

// Writes one BMP: 8-bit with a palette (a grey one for alpha BMPs) or 24-bit,
// rows bottom-up, each padded with zeros to a multiple of 4 bytes.
bool WriteShapeBmp(const std::string& path, const PixelSource& px, int w, int h, BmpKind kind, const Palette* pal) {
  Sink out;
  if (!out.open(path.c_str())) return false;
  const bool eight = kind == BmpKind::Alpha || px.code == 0x7B;
  const std::uint32_t rowBytes = (std::uint32_t(w) * (eight ? 1 : 3) + 3) & ~3u;
  const std::uint32_t offset = eight ? 1078 : 54;
  const std::uint32_t image = rowBytes * std::uint32_t(h);
  out.write("BM", 2);
  out.put32le(offset + image);
  out.put32le(0);
  out.put32le(offset);
  out.put32le(40);
  out.put32le(static_cast<std::uint32_t>(w));
  out.put32le(static_cast<std::uint32_t>(h));
  out.put16le(1);
  out.put16le(eight ? 8 : 24);
  out.put32le(0);
  out.put32le(image);
  out.put32le(0);
  out.put32le(0);
  out.put32le(0);
  out.put32le(0);
  if (eight) {
    for (int i = 0; i < 256; ++i) {
      std::uint32_t v = kind == BmpKind::Alpha ? std::uint32_t(i) * 0x010101u : (pal ? pal->c[i] & 0xFFFFFFu : 0);
      out.put32le(v);
    }
  }
  std::vector<std::uint8_t> row(rowBytes, 0);
  for (int y = h - 1; y >= 0; --y) {
    for (int x = 0; x < w; ++x) {
      std::uint8_t b, g, r, a;
      px.get(x, y, b, g, r, a);
      if (kind == BmpKind::Alpha) {
        row[x] = a;
      } else if (eight) {
        row[x] = b;
      } else {
        row[3 * x] = b, row[3 * x + 1] = g, row[3 * x + 2] = r;
      }
    }
    out.write(row.data(), row.size());
  }
  return out.close();
}

struct Object {
  std::size_t index;
  std::size_t offset;
  std::size_t end;
};

class ShapeArchive {
 public:
  ShapeArchive(const Bytes& archive, const SplitPath& target) : arch_(archive), a_(arch_), target_(target) {}

  int convert(bool compressed, std::size_t fileSize);

 private:
  std::string outName(const char* suffixPattern, int n, int level = -1) const {
    std::string pattern = std::string("%s%s%s") + suffixPattern;
    return level < 0 ? FormatPath(pattern.c_str(), target_.drive.c_str(), target_.dir.c_str(), target_.name.c_str(), n)
                     : FormatPath(pattern.c_str(), target_.drive.c_str(), target_.dir.c_str(), target_.name.c_str(), n,
                                  level);
  }
  // "!PAD <size>" directly followed by the gap's bytes in hexadecimal.
  void pad(std::size_t from, std::size_t to) {
    index_.printf("!PAD %d", static_cast<int>(to - from));
    for (std::size_t at = from; at < to; at += 65536) index_.puts(Hex(a_, at, std::min<std::size_t>(65536, to - at)).c_str());
    index_.puts("\n");
  }
  // Ends the walk: "Press Enter" becomes a stop, since nothing waits for the console.
  void passed() {
    PrintErr("WARNING: passed the next block ?\n");
    PrintErr("Press Enter to continue.\n");
    stop_ = true;
  }
  bool bitmap(const Object& o);
  bool writePictures(const PixelSource& px, int w, int h, int n, int level, const Palette* pal);
  void alpha8(const std::string& bmpName, const Palette& pal);

  const Bytes& arch_;
  ByteReader a_;
  const SplitPath& target_;
  Sink index_;
  Sink alpha8_;
  bool alpha8Tried_ = false;
  Palette global_;
  bool hasGlobal_ = false;
  int written_ = 0;
  bool stop_ = false;
};

void ShapeArchive::alpha8(const std::string& bmpName, const Palette& pal) {
  if (!alpha8Tried_) {
    alpha8Tried_ = true;
    if (!alpha8_.open("alpha8.dat")) PrintErr("Couldn't write alpha channel data !\n");
  }
  if (!alpha8_.ok()) return;
  std::string top;
  char hex[3];
  for (std::uint32_t v : pal.c) {
    std::snprintf(hex, sizeof hex, "%02X", v >> 24);
    top += hex;
  }
  alpha8_.printf("%s\n%s\n", bmpName.c_str(), top.c_str());
}

// Writes one picture (or mipmap level) and, for codes with alpha, its alpha BMP.
bool ShapeArchive::writePictures(const PixelSource& px, int w, int h, int n, int level, const Palette* pal) {
  std::string path = level < 0 ? outName("_%04d.BMP", n) : outName("_%04d-%d.BMP", n, level);
  if (!WriteShapeBmp(path, px, w, h, BmpKind::Colour, pal)) return false;
  ++written_;
  if (!HasAlpha(px.code)) return true;
  path = level < 0 ? outName("_%04d-a.BMP", n) : outName("_%04d-%da.BMP", n, level);
  if (!WriteShapeBmp(path, px, w, h, BmpKind::Alpha, nullptr)) {
    PrintErr("Unable to create file.\n");
    return false;
  }
  ++written_;
  return true;
}

bool ShapeArchive::bitmap(const Object& o) {
  const std::size_t off = o.offset, end = o.end;
  const int fullCode = a_.at(off), code = fullCode & 0x7F;
  const int w = std::max<int>(0, static_cast<std::int16_t>(a_.u16leAt(off + 4)));
  const int h = std::max<int>(0, static_cast<std::int16_t>(a_.u16leAt(off + 6)));
  int place[4];
  for (int i = 0; i < 4; ++i) place[i] = static_cast<std::int16_t>(a_.u16leAt(off + 8 + 2 * i));
  const unsigned fourth = a_.u16leAt(off + 14);
  const int bpp = BytesPerPixel(code);
  const bool packed = (fullCode & 0x80) != 0;
  const int n = static_cast<int>(o.index);

  // The chain of attached blocks, up to the next object.
  std::vector<std::size_t> blocks{off};
  bool ranPast = false;
  for (std::size_t pos = off;;) {
    std::size_t d = a_.at(pos + 1) | a_.at(pos + 2) << 8 | std::size_t(a_.at(pos + 3)) << 16;
    if (d == 0) break;
    if (pos + d >= end) {
      ranPast = pos + d > end;
      break;
    }
    pos += d;
    blocks.push_back(pos);
  }
  const int attached = static_cast<int>(blocks.size()) - 1;
  auto blockEnd = [&](std::size_t i) {
    std::size_t d = a_.at(blocks[i] + 1) | a_.at(blocks[i] + 2) << 8 | std::size_t(a_.at(blocks[i] + 3)) << 16;
    return d && i + 1 < blocks.size() ? blocks[i] + d : end;
  };

  const Palette* pal = nullptr;
  Palette local;
  bool hasLocal = false;
  for (std::size_t i = 1; i < blocks.size(); ++i)
    if (IsPaletteCode(a_.at(blocks[i]) & 0x7F)) {
      if (!ReadPalette(a_, blocks[i], local)) {
        PrintErr("Unknown palette format.\n");
        return false;
      }
      hasLocal = true;
    }
  if (code == 0x7B) pal = hasLocal ? &local : hasGlobal_ ? &global_ : nullptr;

  // Mipmaps: an unattached, uncompressed square of side 2^levels that holds
  // every level, each level starting on a 16-byte boundary.
  int levels = 0;
  std::size_t mipBytes = 0;
  if (attached == 0 && !packed && (fourth & 0xFFF) == 0 && (fourth >> 12) > 0 && w == h && w == (1 << (fourth >> 12))) {
    for (int k = 0; k <= static_cast<int>(fourth >> 12); ++k) {
      std::size_t side = std::size_t(w) >> k;
      mipBytes = ((mipBytes + 15) & ~std::size_t(15)) + side * side * bpp;
    }
    mipBytes = (mipBytes + 15) & ~std::size_t(15);
    if (off + 16 + mipBytes <= end) levels = static_cast<int>(fourth >> 12);
  }

  std::size_t contentEnd;
  if (levels > 0) {
    PrintOut(" multiscale '%04d-[0 to %d].BMP' (up to %dx%d) %s", n, levels, w, h, BitmapLabel(code));
    index_.printf("%04d-%%d.BMP\n", n);
    index_.printf("MBP %02X x%d %d %d {%d %d %d}\n", fullCode, levels + 1, w, h, place[0], place[1], place[2]);
    if (code == 0x7B) PrintOut(pal ? "(global palette)\n" : "(NO PALETTE !)\n");
    std::size_t at = 0;
    for (int k = 0; k <= levels; ++k) {
      int side = w >> k;
      at = (at + 15) & ~std::size_t(15);
      PixelSource px{&a_, off + 16 + at, code, side};
      if (!writePictures(px, side, side, n, k, pal)) return false;
      at += std::size_t(side) * side * bpp;
    }
    if (HasAlpha(code)) {
      PrintOut("(alpha: %04d-%%da.BMP)\n", n);
      index_.printf("alpha %04d-%%da.BMP\n", n);
    }
    contentEnd = off + 16 + mipBytes;
  } else {
    char bmpName[32];
    std::snprintf(bmpName, sizeof bmpName, "%04d.BMP", n);
    PrintOut(" '%s' (%dx%d) %s%s", bmpName, w, h, packed ? "(compressed) " : "", BitmapLabel(code));
    if (code == 0x7B) PrintOut(hasLocal ? "(local palette)\n" : pal ? "(global palette)\n" : "(NO PALETTE !)\n");
    index_.printf("%s\nBMP %02X +%d %d %d {%d %d %d %d}\n", bmpName, fullCode, attached, w, h, place[0], place[1],
                  place[2], place[3]);
    const std::size_t pixelBytes = std::size_t(w) * h * bpp;
    Bytes body;
    ByteReader bodyReader;
    PixelSource px{&a_, off + 16, code, w};
    if (packed) {
      contentEnd = blockEnd(0);
      const std::size_t from = std::min(off + 16, arch_.size()), to = std::min(contentEnd, arch_.size());
      if (!QfsExpand(arch_.data() + from, to > from ? to - from : 0, body)) return false;
      if (pixelBytes > body.size()) {  // pixels the archive does not hold
        passed();
        return true;
      }
      bodyReader = ByteReader(body);
      px = PixelSource{&bodyReader, 0, code, w};
    } else {
      contentEnd = off + 16 + pixelBytes;
      if (contentEnd > end) {  // pixels the archive does not hold
        passed();
        return true;
      }
    }
    if (!writePictures(px, w, h, n, -1, pal)) return false;
    if (HasAlpha(code)) {
      PrintOut("(alpha: %04d-a.BMP)", n);
      index_.printf("alpha %04d-a.BMP\n", n);
      if (attached == 0) PrintOut("\n");
    }
    if (code == 0x7B && hasLocal) alpha8(bmpName, local);
  }

  // Attached blocks, with the gaps between them.
  if (attached > 0) PrintOut("  (attached:");
  for (std::size_t i = 1; i < blocks.size(); ++i) {
    const std::size_t pos = blocks[i];
    if (pos > contentEnd) pad(contentEnd, pos);
    const int full = a_.at(pos), c = full & 0x7F;
    const int bw = static_cast<std::int16_t>(a_.u16leAt(pos + 4));
    const int bh = static_cast<std::int16_t>(a_.u16leAt(pos + 6));
    if (IsPaletteCode(c)) {
      PrintOut(" palette");
      index_.printf("PAL %02X %d %d {%d %d %d %d}\n", full, bw, bh, static_cast<std::int16_t>(a_.u16leAt(pos + 8)),
                    static_cast<std::int16_t>(a_.u16leAt(pos + 10)), static_cast<std::int16_t>(a_.u16leAt(pos + 12)),
                    static_cast<std::int16_t>(a_.u16leAt(pos + 14)));
      contentEnd = pos + 16 + std::size_t(std::max(bw, 0)) * PaletteEntrySize(c);
    } else if (c == 0x6F) {
      const std::size_t len = std::size_t(std::max(bw, 0));
      PrintOut(" text");
      index_.printf("TXT %02X %d %d\n%s\n", full, bw, bh, Escape(a_, pos + 8, len).c_str());
      contentEnd = pos + 8 + len;
    } else {
      const std::size_t len = blockEnd(i) - pos;
      if (len > kMaxAttachedData) {
        PrintOut(")\n");
        PrintErr("Attached data too large !\n");
        return false;
      }
      PrintOut(" data");
      index_.printf("BIN %02X %d\n%s\n", full, static_cast<int>(len), Hex(a_, pos, len).c_str());
      contentEnd = pos + len;
    }
  }
  if (attached > 0) PrintOut(")\n");
  if (contentEnd < end) pad(contentEnd, end);
  if (ranPast || contentEnd > end) passed();
  return true;
}

int ShapeArchive::convert(bool compressed, std::size_t fileSize) {
  const std::size_t count = a_.u32leAt(8);
  const std::size_t dirEnd = 16 + 8 * count;
  std::size_t archiveEnd = std::min<std::size_t>(a_.u32leAt(4), arch_.size());

  std::vector<Object> objects(count);
  std::vector<std::size_t> offsets(count);
  for (std::size_t i = 0; i < count; ++i) {
    offsets[i] = a_.u32leAt(16 + 8 * i + 4);
    objects[i] = Object{i, offsets[i], 0};
  }
  std::sort(offsets.begin(), offsets.end());
  for (Object& o : objects) {
    auto next = std::upper_bound(offsets.begin(), offsets.end(), o.offset);
    std::size_t end = next != offsets.end() ? *next : archiveEnd;
    o.end = std::max(o.offset, std::min(end, arch_.size()));
  }

  if (!index_.open("index.fsh")) return 0;
  index_.puts(compressed ? "QFS\n" : "FSH\n");
  index_.printf("SHPI %d objects, tag%s\n", static_cast<int>(count), Escape(a_, 12, 4).c_str());
  index_.printf("BUFSZ %d\n", static_cast<int>(fileSize < 500000 ? 2 * fileSize : fileSize + 500000));
  if (count > 0 && offsets[0] > dirEnd) pad(dirEnd, std::min(offsets[0], arch_.size()));

  // The global palette: the last palette object up to and including "!pal".
  for (const Object& o : objects) {
    if (IsPaletteCode(a_.at(o.offset) & 0x7F)) {
      hasGlobal_ = ReadPalette(a_, o.offset, global_);
    }
    if (std::memcmp(arch_.data() + 16 + 8 * o.index, "!pal", 4) == 0) break;
  }

  for (const Object& o : objects) {
    const std::string name = Escape(a_, 16 + 8 * o.index, 4);
    const int fullCode = a_.at(o.offset), code = fullCode & 0x7F;
    PrintOut("'%s' [%02X] ->", name.c_str(), fullCode);
    index_.printf("%s ", name.c_str());
    if (IsBitmapCode(code)) {
      if (!bitmap(o) || stop_) return written_;
      continue;
    }
    char binName[32];
    std::snprintf(binName, sizeof binName, "%04d.BIN", static_cast<int>(o.index));
    Sink bin;
    if (!bin.open(binName)) return written_;
    if (o.end > o.offset) bin.write(arch_.data() + o.offset, o.end - o.offset);
    if (!bin.close()) return written_;
    PrintOut(" '%s'%s\n", binName, IsPaletteCode(code) ? PaletteLabel(code) : "");
    index_.printf("%s\nBIN\n", binName);
  }
  index_.puts("#END\n");
  return written_;
}

}  // namespace

int FshToBmp(const ConvertCall& call) {
  if (call.memoryMode()) return 0;
  Bytes file;
  if (!ReadWholeFile(call.source, file) || file.size() <= 3) return 0;
  const bool compressed = IsQfs(file.data(), file.size());
  Bytes expanded;
  if (compressed && !QfsExpand(file.data(), file.size(), expanded)) return 0;
  const Bytes& archive = compressed ? expanded : file;
  if (archive.size() < 16 || std::memcmp(archive.data(), "SHPI", 4) != 0) return 0;
  const std::size_t count = ByteReader(archive).u32leAt(8);
  if (count > (archive.size() - 16) / 8) return 0;  // the directory must be inside the archive

  const SplitPath target = Split(call.target);
  ShapeArchive shapes(archive, target);
  return shapes.convert(compressed, file.size());
}

}  // namespace pix
