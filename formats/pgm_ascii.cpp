// Binary grey-level PGM pictures (P5) to character pictures: a grid of
// characters, one per cell, taken from a caller-given string ordered dark to
// light by the cell's brightness (a pixel value over 255, whatever the file's
// maximum). Rows end in "\r\n". Returns 1 when the text was written, 0
// otherwise; the target is created only once the picture has been read, so a
// source that is not a binary PGM leaves no file behind.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "common/budget.h"
#include "common/console.h"
#include "common/files.h"
#include "common/image.h"
#include "pixmisc.h"

namespace pix {
namespace {

struct GreyPicture {
  int width = 0, height = 0;
  std::vector<std::uint8_t> pixels;
  std::uint8_t at(int x, int y) const { return pixels[std::size_t(y) * width + x]; }
};

// Formatted reading over the whole file, with the C library's scanning rules:
// numbers skip leading white space, a white-space directive skips any amount.
class Scanner {
 public:
  explicit Scanner(const Bytes& data) : d_(data) {}
  int peek() const { return pos_ < d_.size() ? d_[pos_] : -1; }
  int get() { return pos_ < d_.size() ? d_[pos_++] : -1; }
  void skipSpace() {
    while (pos_ < d_.size() && std::strchr(" \t\n\v\f\r", d_[pos_])) ++pos_;
  }
  bool number(long long& v) {
    skipSpace();
    bool neg = false;
    if (peek() == '+' || peek() == '-') neg = get() == '-';
    if (peek() < '0' || peek() > '9') return false;
    v = 0;
    while (peek() >= '0' && peek() <= '9') {
      if (v < (1LL << 40)) v = v * 10 + (get() - '0');
      else get();
    }
    if (neg) v = -v;
    return true;
  }
  std::size_t remaining() const { return d_.size() - pos_; }
  const std::uint8_t* here() const { return d_.data() + pos_; }

 private:
  const Bytes& d_;
  std::size_t pos_ = 0;
};

bool ReadPgm(const Bytes& data, GreyPicture& pic) {
  Scanner in(data);
  long long kind = 0, w = 0, h = 0, maxval = 0;
  if (in.get() != 'P' || !in.number(kind)) return false;
  in.skipSpace();
  // Comment lines: "#", one character, then up to and including the next line feed.
  while (in.peek() == '#') {
    in.get();
    if (in.get() < 0) break;
    int c;
    do c = in.get();
    while (c >= 0 && c != '\n');
    PrintOut("\n");
  }
  if (!in.number(w) || !in.number(h)) return false;
  in.skipSpace();
  if (!in.number(maxval)) return false;
  in.get();
  if (kind != 5 || w < 1 || h < 1 || CheckedSize(std::uint64_t(w), std::uint64_t(h), 1) == 0) return false;
  std::size_t n = std::size_t(w) * std::size_t(h);
  if (in.remaining() < n) return false;
  pic.width = static_cast<int>(w);
  pic.height = static_cast<int>(h);
  pic.pixels.assign(in.here(), in.here() + n);
  return true;
}

// Brightness of one cell, 0 (black) to 1 (white).
double CellValue(const GreyPicture& p, bool average, long long r, long long c, long long rows, long long cols) {
  const long long w = p.width, h = p.height;
  if (!average) return p.at(static_cast<int>(c * w / cols), static_cast<int>(r * h / rows)) / 255.0;
  long long r0 = r * h / rows, r1 = (r + 1) * h / rows;
  long long c0 = c * w / cols, c1 = (c + 1) * w / cols;
  if (r1 > h - 1) r1 = h - 1;
  if (c1 > w - 1) c1 = w - 1;
  double sum = 0;
  for (long long y = r0; y <= r1; ++y)
    for (long long x = c0; x <= c1; ++x) sum += p.at(static_cast<int>(x), static_cast<int>(y)) / 255.0;
  return sum / double((c1 - c0 + 1) * (r1 - r0 + 1));
}

}  // namespace
}  // namespace pix

extern "C" int PGMtoASCII(const char* source, const char* target, int /*unused*/, int average, int invert,
                          int columns, int rows, const char* chars) {
  return pix::InCallScope(source, [&]() -> int {
    using namespace pix;
    if (!target || !*target) return 0;  // a text file is the only output
    Bytes data;
    GreyPicture pic;
    if (!source || !ReadWholeFile(source, data) || !ReadPgm(data, pic)) return 0;
    long long cols = 80, lines = 80;
    if (columns > 0 && rows > 0) {
      cols = columns;
      lines = rows;
    }
    if (CheckedSize(std::uint64_t(cols), std::uint64_t(lines), 1) == 0) return 0;  // grid too large
    Sink out;
    if (!out.open(target)) return 0;
    const std::string levels = chars ? chars : "";
    const long long n = static_cast<long long>(levels.size());
    std::string text;
    for (long long r = 0; r < lines; ++r) {
      for (long long c = 0; c < cols; ++c) {
        if (n == 0) continue;  // no characters: nothing for the cell
        double v = CellValue(pic, average != 0, r, c, lines, cols);
        if (v < 0) v = 0;
        if (v > 1) v = 1;
        if (invert) v = 1 - v;
        text += levels[static_cast<std::size_t>(v * double(n - 1))];
      }
      text += "\r\n";
      if (text.size() >= 65536) {
        out.write(text.data(), text.size());
        text.clear();
      }
    }
    out.write(text.data(), text.size());
    return out.close() ? 1 : 0;
  });
}
