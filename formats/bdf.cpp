// BDF bitmap fonts to an X bitmap sheet: the first 256 glyphs, 32 cells across
// and 8 down, each cell the font's bounding box. Glyphs are drawn from their
// cell's top left corner (BBX offsets ignored) and are not clipped to the cell.
// The identifier is the source path itself. File mode returns 0 when written
// and 1 when a file cannot be opened or the font does not parse (the parser's
// "bdf2xbm" message goes to standard error); memory mode returns the text's
// length, its value lines ending in the byte 0xE8 as the preview consumer wants.
#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "common/console.h"
#include "common/files.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr int kMaxTokens = 64;

struct BdfState {
  InFile* src = nullptr;
  char line[256] = {};
  const char* tokens[kMaxTokens] = {};
  int lineNo = 0;
  int cellW = 0, cellH = 0;
  std::vector<std::uint8_t> sheet;  // empty until FONTBOUNDINGBOX
  bool failed = false;
};

// Reports a parse error the way the console tool did and marks the parse failed.
void Fail(BdfState& s, const char* fmt, ...) PIX_PRINTF(2, 3);
void Fail(BdfState& s, const char* fmt, ...) {
  char text[512];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(text, sizeof text, fmt, ap);
  va_end(ap);
  if (s.lineNo != 0)
    PrintErr("bdf2xbm:%d: %s\n", s.lineNo, text);
  else
    PrintErr("bdf2xbm: %s\n", text);
  s.failed = true;
}

// One line of at most 255 characters, like a standard line read: a longer
// line's rest comes back as the next line.
bool ReadRawLine(BdfState& s) {
  int n = 0;
  while (n < 255) {
    int c = s.src->getc();
    if (c == EOF) break;
    s.line[n++] = static_cast<char>(c);
    if (c == '\n') break;
  }
  s.line[n] = '\0';
  return n > 0;
}

// Reads the next line that has tokens, upper-casing them in place. Returns the
// token count (0 at end of file); only the first 64 tokens are kept, the other
// slots point at an empty string.
int ReadLine(BdfState& s) {
  static const char kEmpty[] = "";
  for (;;) {
    if (!ReadRawLine(s)) return 0;
    ++s.lineNo;
    int count = 0;
    char* p = s.line;
    while (*p) {
      while (*p && std::isspace(static_cast<unsigned char>(*p))) ++p;
      if (!*p) break;
      if (count < kMaxTokens) s.tokens[count] = p;
      ++count;
      while (*p && !std::isspace(static_cast<unsigned char>(*p))) {
        *p = static_cast<char>(std::toupper(static_cast<unsigned char>(*p)));
        ++p;
      }
      if (*p) *p++ = '\0';
    }
    if (count == 0) continue;
    for (int i = count; i < kMaxTokens; ++i) s.tokens[i] = kEmpty;
    return count;
  }
}

// A decimal integer like the C library's conversion, saturated to int.
int ToInt(const char* t) {
  long long v = std::strtoll(t, nullptr, 10);
  if (v > INT_MAX) return INT_MAX;
  if (v < INT_MIN) return INT_MIN;
  return static_cast<int>(v);
}

bool Is(const char* token, const char* word) { return std::strcmp(token, word) == 0; }

void SetPixel(BdfState& s, long long x, long long y) {
  const long long rowBytes = 4LL * s.cellW;
  long long at = x / 8 + rowBytes * y;
  if (x < 0 || y < 0 || at >= static_cast<long long>(s.sheet.size())) return;  // outside the sheet
  s.sheet[static_cast<std::size_t>(at)] |= static_cast<std::uint8_t>(1u << (x % 8));
}

void ReadGlyph(BdfState& s) {
  int code = -1, w = -1, h = -1;
  for (;;) {
    int n = ReadLine(s);
    if (n == 0 || Is(s.tokens[0], "ENDCHAR")) return;
    if (Is(s.tokens[0], "ENCODING") && n == 2) {
      code = ToInt(s.tokens[1]);
      if (code < 0 || code >= 256) return;  // the parser skips the rest of this glyph
    } else if (Is(s.tokens[0], "BBX") && n == 5) {
      w = ToInt(s.tokens[1]);
      h = ToInt(s.tokens[2]);
      if (w < 1 || w > 64 || h < 1 || h > 64) return Fail(s, "bad BBX (%dx%d)", w, h);
    } else if (Is(s.tokens[0], "BITMAP")) {
      if (w < 0) return Fail(s, "missing BBX");
      if (code < 0) return Fail(s, "missing ENDCODING");
      const std::size_t chars = static_cast<std::size_t>((w + 7) / 8) * 2;
      for (int y = 0; y < h; ++y) {
        if (ReadLine(s) != 1 || std::strlen(s.tokens[0]) != chars) return Fail(s, "bad BITMAP");
        for (int x = 0; x < w; ++x) {
          char c = s.tokens[0][x / 4];
          int digit;
          if (c >= '0' && c <= '9')
            digit = c - '0';
          else if (c >= 'A' && c <= 'F')
            digit = c - 'A' + 10;
          else
            return Fail(s, "bad hexchar in BITMAP");
          if (digit & (1 << (3 - x % 4)))
            SetPixel(s, static_cast<long long>(code % 32) * s.cellW + x, static_cast<long long>(code / 32) * s.cellH + y);
        }
      }
    }
  }
}

void Parse(BdfState& s) {
  int n = ReadLine(s);
  if (n != 2 || !Is(s.tokens[0], "STARTFONT")) return Fail(s, "not a bdf-file");
  for (;;) {
    n = ReadLine(s);
    if (n == 0 || Is(s.tokens[0], "ENDFONT")) return;
    if (Is(s.tokens[0], "FONTBOUNDINGBOX") && n == 5) {
      if (!s.sheet.empty()) return Fail(s, "multiple FONTBOUNDINGBOXes!?!");
      s.cellW = ToInt(s.tokens[1]);
      s.cellH = ToInt(s.tokens[2]);
      if (s.cellW < 1 || s.cellW > 64 || s.cellH < 1 || s.cellH > 64)
        return Fail(s, "bad bounding box %dx%d\n", s.cellW, s.cellH);
      s.sheet.assign(static_cast<std::size_t>(4 * s.cellW) * 8 * s.cellH, 0);
    } else if (Is(s.tokens[0], "STARTCHAR")) {
      if (s.sheet.empty()) return Fail(s, "no FONTBOUNDINGBOX");
      ReadGlyph(s);
      if (s.failed) return;
    }
  }
}

// The identifier: the source path used as a format with (W, H) as its
// arguments. Integer conversions take W, then H, then 0; "%%" is a percent
// sign; any other conversion is copied as it stands.
std::string Identifier(const char* pattern, int w, int h) {
  std::string out;
  const int args[2] = {w, h};
  int next = 0;
  for (const char* p = pattern; *p && out.size() < 255;) {
    if (*p != '%') {
      out += *p++;
      continue;
    }
    if (p[1] == '%') {
      out += '%';
      p += 2;
      continue;
    }
    const char* start = p++;
    while (*p && std::strchr("-+ #0", *p)) ++p;
    while (std::isdigit(static_cast<unsigned char>(*p)) || *p == '.') ++p;
    while (*p && std::strchr("hlLqjzt", *p)) ++p;
    if (*p && std::strchr("diouxXc", *p)) {
      std::string spec(start, p);
      spec.erase(std::remove_if(spec.begin(), spec.end(), [](char c) { return std::strchr("hlLqjzt", c) != nullptr; }),
                 spec.end());
      if (spec.size() > 24) spec.resize(24);
      spec += *p;
      char piece[300];
      std::snprintf(piece, sizeof piece, spec.c_str(), next < 2 ? args[next] : 0);
      ++next;
      out += piece;
      ++p;
    } else {
      if (*p) ++p;
      out.append(start, p);
    }
  }
  if (out.size() > 255) out.resize(255);
  return out;
}

void WriteSheet(Sink& out, const BdfState& s, const char* namePattern) {
  const std::string id = Identifier(namePattern, s.cellW, s.cellH);
  out.printf("#define %s_width %d\n", id.c_str(), 32 * s.cellW);
  out.printf("#define %s_height %d\n", id.c_str(), 8 * s.cellH);
  out.printf("static unsigned char %s_bits[] = {\n", id.c_str());
  const bool memory = out.isMemory();
  std::string text;
  char value[8];
  for (std::size_t i = 0; i < s.sheet.size(); ++i) {
    std::snprintf(value, sizeof value, "0x%02x,", s.sheet[i]);
    text += value;
    if (i % 16 == 15) text += memory ? '\xE8' : '\n';
  }
  if (memory)
    text += "\xE0\xDC\xE8";
  else
    text += "};\n";
  out.write(text.data(), text.size());
}

}  // namespace

int BdfToXbm(const ConvertCall& call) {
  const bool memory = call.memoryMode();
  const int cannotOpen = memory ? 0 : 1;
  InFile src(call.source);
  if (!src) return cannotOpen;
  BdfState s;
  s.src = &src;
  Parse(s);
  src.close();
  if (s.failed) return memory ? 0 : 1;  // a font that does not parse leaves no file
  Sink out;
  if (memory ? !out.openMemory() : !out.open(call.target)) return cannotOpen;
  if (!s.sheet.empty()) WriteSheet(out, s, call.source);
  if (memory) return out.release(call.out);
  out.close();
  return 0;
}

}  // namespace pix
