// PC Screen Font (PSF version 1 or 2) console fonts to an X bitmap sheet:
// every glyph of the font, 32 cells across and as many rows as the glyph count
// needs. The identifiers are fixed ("psf_width", "psf_height", "psf_bits").
// File mode returns 1 after writing (also for an unreadable font, which leaves
// the target empty); memory mode returns the text's length, with the preview
// consumer's own separators (" x" between values, "s" at line ends and at the end).
#include <cstdint>
#include <cstdio>
#include <string>

#include "common/files.h"
#include "common/image.h"
#include "common/reader.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kPsf2Magic = 0x864AB572;
constexpr std::uint32_t kPsf1Magic = 0x0436;

struct PsfFont {
  std::uint32_t magic = kPsf2Magic;
  std::uint32_t version = 0;
  std::uint32_t headerSize = 32;
  std::uint32_t flags = 0;
  std::uint32_t count = 0;
  std::uint32_t glyphSize = 0;
  std::uint32_t height = 0;
  std::uint32_t width = 0;
  const std::uint8_t* glyphs = nullptr;  // count * glyphSize bytes inside the source
  std::uint64_t glyphBytes = 0;
};

// The Unicode table: one list per glyph. Only its well-formedness matters
// (the sheet does not use it), so values are decoded and dropped.
bool SkipUnicodeTable(ByteReader& in, const PsfFont& f) {
  for (std::uint32_t g = 0; g < f.count; ++g) {
    if (f.magic == kPsf1Magic) {
      for (;;) {
        std::uint16_t v = in.u16le();
        if (in.bad()) return false;
        if (v == 0xFFFF) break;
      }
      continue;
    }
    for (;;) {
      std::uint8_t b = in.u8();
      if (in.bad()) return false;
      if (b == 0xFF) break;
      if (b == 0xFE) continue;  // start of a sequence
      int extra = b >= 0xFC ? 5 : b >= 0xF8 ? 4 : b >= 0xF0 ? 3 : b >= 0xE0 ? 2 : b >= 0xC0 ? 1 : 0;
      if (!in.skip(static_cast<std::size_t>(extra))) return false;
    }
  }
  return true;
}

// Fills the font from the whole source; false for any unreadable font.
bool ReadPsf(const Bytes& data, PsfFont& f) {
  ByteReader in(data);
  std::uint32_t m = in.u32le();
  if (in.bad()) return false;
  if (m == kPsf2Magic) {
    f.version = in.u32le();
    f.headerSize = in.u32le();
    f.flags = in.u32le();
    f.count = in.u32le();
    f.glyphSize = in.u32le();
    f.height = in.u32le();
    f.width = in.u32le();
    if (in.bad() || f.version != 0) return false;
  } else if ((m & 0xFFFF) == kPsf1Magic) {
    std::uint32_t mode = (m >> 16) & 0xFF;
    if (mode > 3) return false;
    f.glyphSize = m >> 24;
    f.count = (mode & 1) ? 512 : 256;
    f.flags = (mode >> 1) & 1;
    f.height = f.glyphSize;
    f.width = 8;
    f.headerSize = 4;
    f.version = 0;
    f.magic = kPsf1Magic;
  } else {
    return false;
  }
  if (f.headerSize > 32 && !in.skip(f.headerSize - 32)) return false;
  f.glyphBytes = std::uint64_t(f.count) * f.glyphSize;
  if (f.glyphBytes > in.remaining()) return false;  // short glyph data
  f.glyphs = f.glyphBytes ? in.take(static_cast<std::size_t>(f.glyphBytes)) : nullptr;
  if ((f.flags & 1) && !SkipUnicodeTable(in, f)) return false;
  return true;
}

// Pixel (x, y) of glyph g; 0 outside the glyph or past the glyph data.
bool PsfPixel(const PsfFont& f, std::uint64_t g, std::uint32_t x, std::uint32_t y) {
  if (g >= f.count || x >= f.width || y >= f.height) return false;
  std::uint64_t off = g * f.glyphSize + std::uint64_t(y) * ((std::uint64_t(f.width) + 7) / 8) + x / 8;
  if (off >= f.glyphBytes) return false;
  return (f.glyphs[off] & (0x80 >> (x % 8))) != 0;
}

void WriteSheet(Sink& out, const PsfFont& f) {
  const std::uint64_t cols = std::uint64_t(32) * f.width;
  const std::uint64_t rows = (std::uint64_t(f.count) + 31) / 32 * f.height;
  // A sheet past the largest picture the library handles is taken as unreadable.
  if (cols && rows && CheckedSize(cols, rows, 1) == 0) return;
  // Glyphs larger than their stored bytes read as blank, but a sheet far past
  // any real console font (16 Mi pixels) must be backed by its glyph data, or
  // a few header bytes could ask for a text of hundreds of megabytes.
  constexpr std::uint64_t kLargeSheet = std::uint64_t(1) << 24;
  if (cols * rows > kLargeSheet && f.glyphBytes * 8 < cols * rows) return;
  const std::uint64_t total = cols * rows / 8;
  const bool memory = out.isMemory();

  out.printf("#define psf_width  %d\n#define psf_height %d\nstatic unsigned char psf_bits[] = {\n",
             static_cast<int>(cols), static_cast<int>(rows));
  std::string text;
  char value[16];
  std::uint64_t n = 0;
  unsigned byte = 0;
  // A sheet with no columns has nothing to walk, however many rows it claims.
  const std::uint64_t walkRows = cols ? rows : 0;
  for (std::uint64_t y = 0; y < walkRows; ++y) {
    for (std::uint64_t x = 0; x < cols; ++x) {
      std::uint64_t g = (y / f.height) * 32 + x / f.width;
      if (PsfPixel(f, g, static_cast<std::uint32_t>(x % f.width), static_cast<std::uint32_t>(y % f.height)))
        byte |= 1u << (x % 8);
      if (x % 8 != 7) continue;
      std::snprintf(value, sizeof value, " 0x%02x", byte);
      text += value;
      byte = 0;
      ++n;
      if (memory) {
        text += n < total ? " x" : "s";
        if (n % 12 == 0) text += 's';
      } else {
        text += n < total ? "," : "};\n";
        if (n % 12 == 0) text += '\n';
      }
    }
    if (text.size() >= 65536) {
      out.write(text.data(), text.size());
      text.clear();
    }
  }
  out.write(text.data(), text.size());
}

}  // namespace

int PsfToXbm(const ConvertCall& call) {
  InFile probe(call.source);
  if (!probe) return 0;
  probe.close();
  Sink out;
  if (call.memoryMode() ? !out.openMemory() : !out.open(call.target)) return 0;

  Bytes data;
  PsfFont font;
  if (ReadWholeFile(call.source, data) && ReadPsf(data, font)) WriteSheet(out, font);

  if (call.memoryMode()) return out.release(call.out);
  out.close();
  return 1;
}

}  // namespace pix
