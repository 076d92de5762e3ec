// X bitmaps (.xbm) to the HP48 GROB text form: "GROB <width> <height> " and
// two hex digits a byte, low nibble first. An X bitmap and a GROB agree on bit
// order (leftmost pixel in the lowest bit), so only the nibble order changes.
// Result: 0 written, 1 refused.
#include <cctype>
#include <cstdlib>

#include "common/files.h"
#include "retro/retro.h"

namespace pix {
namespace {

// A cursor over the text with the matching rules of formatted input: a blank
// in a pattern takes any run of white space, a number skips white space first.
struct Text {
  const Bytes& t;
  std::size_t pos = 0;
  bool end() const { return pos >= t.size(); }
  int peek() const { return pos < t.size() ? t[pos] : -1; }
  void blanks() {
    while (!end() && std::isspace(t[pos])) ++pos;
  }
  bool literal(const char* s) {
    for (; *s; ++s) {
      if (peek() != static_cast<unsigned char>(*s)) return false;
      ++pos;
    }
    return true;
  }
  bool number(long long& v, int base) {
    blanks();
    std::size_t start = pos;
    bool negative = false;
    if (peek() == '-' || peek() == '+') negative = t[pos++] == '-';
    if (base == 16 && peek() == '0' && pos + 1 < t.size() && (t[pos + 1] == 'x' || t[pos + 1] == 'X') &&
        pos + 2 < t.size() && std::isxdigit(t[pos + 2]))
      pos += 2;
    std::size_t digits = pos;
    v = 0;
    while (!end() && (base == 16 ? std::isxdigit(t[pos]) : std::isdigit(t[pos]))) {
      int d = std::isdigit(t[pos]) ? t[pos] - '0' : std::tolower(t[pos]) - 'a' + 10;
      if (v < (1LL << 40)) v = v * base + d;
      ++pos;
    }
    if (pos == digits) {
      pos = start;
      return false;
    }
    if (negative) v = -v;
    return true;
  }
  // "<name> %d", tried at every place until it matches.
  bool find(const char* name, long long& v) {
    while (!end()) {
      std::size_t at = pos;
      if (literal(name)) {
        blanks();
        if (number(v, 10)) return true;
      }
      pos = at + 1;
    }
    return false;
  }
};

}  // namespace

int XbmToGrob(const ConvertCall& call) {
  if (!call.source || call.memoryMode()) return 1;
  Bytes file;
  if (!ReadWholeFile(call.source, file, std::size_t(64) << 20)) return 1;
  Text in{file};
  long long width = 0, height = 0;
  if (!in.find("_width", width) || !in.find("_height", height)) return 1;
  Sink out;
  if (!out.open(call.target)) return 1;
  out.printf("GROB %lld %lld ", width, height);
  while (!in.end() && in.peek() != '{') ++in.pos;
  if (!in.end()) ++in.pos;
  static const char kHex[] = "0123456789ABCDEF";
  while (!in.end()) {
    if (in.t[in.pos++] == '}') break;
    // " 0x%x": what matched before a mismatch stays read, as with formatted input.
    in.blanks();
    long long v = 0;
    if (in.literal("0x") && in.number(v, 16)) {
      char pair[2] = {kHex[v & 0x0F], kHex[(v >> 4) & 0x0F]};
      out.write(pair, 2);
    }
  }
  return out.close() ? 0 : 1;
}

}  // namespace pix
