// Structured Fax Files (".sff", the ISDN fax store: "Sfff", version 1) to PBM:
// every page to "<source name>_0001.pbm" on. Pages are scan-line records of
// one-dimensional Modified Huffman code (bits taken low bit first), runs of
// white lines, damaged-line marks (the previous line again) and skipped user
// data. Normal-resolution pages (98 lines per inch) have every line written
// twice so pixels come out square; fine pages line for line.
#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kMaxWidth = 14592;
constexpr std::uint32_t kMaxLines = 20000;
constexpr std::size_t kMaxPagePixels = std::size_t(1) << 26;  // a page ends there

struct Code {
  std::uint16_t bits;
  std::uint8_t length;
  std::uint16_t run;
};

// Terminating codes 0-63, make-up codes 64-1728, then the make-up codes both colours share.
constexpr Code kWhite[] = {
    {0x35, 8, 0}, {0x7, 6, 1}, {0x7, 4, 2}, {0x8, 4, 3}, {0xB, 4, 4}, {0xC, 4, 5}, {0xE, 4, 6}, {0xF, 4, 7},
    {0x13, 5, 8}, {0x14, 5, 9}, {0x7, 5, 10}, {0x8, 5, 11}, {0x8, 6, 12}, {0x3, 6, 13}, {0x34, 6, 14},
    {0x35, 6, 15}, {0x2A, 6, 16}, {0x2B, 6, 17}, {0x27, 7, 18}, {0xC, 7, 19}, {0x8, 7, 20}, {0x17, 7, 21},
    {0x3, 7, 22}, {0x4, 7, 23}, {0x28, 7, 24}, {0x2B, 7, 25}, {0x13, 7, 26}, {0x24, 7, 27}, {0x18, 7, 28},
    {0x2, 8, 29}, {0x3, 8, 30}, {0x1A, 8, 31}, {0x1B, 8, 32}, {0x12, 8, 33}, {0x13, 8, 34}, {0x14, 8, 35},
    {0x15, 8, 36}, {0x16, 8, 37}, {0x17, 8, 38}, {0x28, 8, 39}, {0x29, 8, 40}, {0x2A, 8, 41}, {0x2B, 8, 42},
    {0x2C, 8, 43}, {0x2D, 8, 44}, {0x4, 8, 45}, {0x5, 8, 46}, {0xA, 8, 47}, {0xB, 8, 48}, {0x52, 8, 49},
    {0x53, 8, 50}, {0x54, 8, 51}, {0x55, 8, 52}, {0x24, 8, 53}, {0x25, 8, 54}, {0x58, 8, 55}, {0x59, 8, 56},
    {0x5A, 8, 57}, {0x5B, 8, 58}, {0x4A, 8, 59}, {0x4B, 8, 60}, {0x32, 8, 61}, {0x33, 8, 62}, {0x34, 8, 63},
    {0x1B, 5, 64}, {0x12, 5, 128}, {0x17, 6, 192}, {0x37, 7, 256}, {0x36, 8, 320}, {0x37, 8, 384},
    {0x64, 8, 448}, {0x65, 8, 512}, {0x68, 8, 576}, {0x67, 8, 640}, {0xCC, 9, 704}, {0xCD, 9, 768},
    {0xD2, 9, 832}, {0xD3, 9, 896}, {0xD4, 9, 960}, {0xD5, 9, 1024}, {0xD6, 9, 1088}, {0xD7, 9, 1152},
    {0xD8, 9, 1216}, {0xD9, 9, 1280}, {0xDA, 9, 1344}, {0xDB, 9, 1408}, {0x98, 9, 1472}, {0x99, 9, 1536},
    {0x9A, 9, 1600}, {0x18, 6, 1664}, {0x9B, 9, 1728}, {0x8, 11, 1792}, {0xC, 11, 1856}, {0xD, 11, 1920},
    {0x12, 12, 1984}, {0x13, 12, 2048}, {0x14, 12, 2112}, {0x15, 12, 2176}, {0x16, 12, 2240},
    {0x17, 12, 2304}, {0x1C, 12, 2368}, {0x1D, 12, 2432}, {0x1E, 12, 2496}, {0x1F, 12, 2560},
};
constexpr Code kBlack[] = {
    {0x37, 10, 0}, {0x2, 3, 1}, {0x3, 2, 2}, {0x2, 2, 3}, {0x3, 3, 4}, {0x3, 4, 5}, {0x2, 4, 6}, {0x3, 5, 7},
    {0x5, 6, 8}, {0x4, 6, 9}, {0x4, 7, 10}, {0x5, 7, 11}, {0x7, 7, 12}, {0x4, 8, 13}, {0x7, 8, 14},
    {0x18, 9, 15}, {0x17, 10, 16}, {0x18, 10, 17}, {0x8, 10, 18}, {0x67, 11, 19}, {0x68, 11, 20},
    {0x6C, 11, 21}, {0x37, 11, 22}, {0x28, 11, 23}, {0x17, 11, 24}, {0x18, 11, 25}, {0xCA, 12, 26},
    {0xCB, 12, 27}, {0xCC, 12, 28}, {0xCD, 12, 29}, {0x68, 12, 30}, {0x69, 12, 31}, {0x6A, 12, 32},
    {0x6B, 12, 33}, {0xD2, 12, 34}, {0xD3, 12, 35}, {0xD4, 12, 36}, {0xD5, 12, 37}, {0xD6, 12, 38},
    {0xD7, 12, 39}, {0x6C, 12, 40}, {0x6D, 12, 41}, {0xDA, 12, 42}, {0xDB, 12, 43}, {0x54, 12, 44},
    {0x55, 12, 45}, {0x56, 12, 46}, {0x57, 12, 47}, {0x64, 12, 48}, {0x65, 12, 49}, {0x52, 12, 50},
    {0x53, 12, 51}, {0x24, 12, 52}, {0x37, 12, 53}, {0x38, 12, 54}, {0x27, 12, 55}, {0x28, 12, 56},
    {0x58, 12, 57}, {0x59, 12, 58}, {0x2B, 12, 59}, {0x2C, 12, 60}, {0x5A, 12, 61}, {0x66, 12, 62},
    {0x67, 12, 63}, {0xF, 10, 64}, {0xC8, 12, 128}, {0xC9, 12, 192}, {0x5B, 12, 256}, {0x33, 12, 320},
    {0x34, 12, 384}, {0x35, 12, 448}, {0x6C, 13, 512}, {0x6D, 13, 576}, {0x4A, 13, 640}, {0x4B, 13, 704},
    {0x4C, 13, 768}, {0x4D, 13, 832}, {0x72, 13, 896}, {0x73, 13, 960}, {0x74, 13, 1024}, {0x75, 13, 1088},
    {0x76, 13, 1152}, {0x77, 13, 1216}, {0x52, 13, 1280}, {0x53, 13, 1344}, {0x54, 13, 1408},
    {0x55, 13, 1472}, {0x5A, 13, 1536}, {0x5B, 13, 1600}, {0x64, 13, 1664}, {0x65, 13, 1728}, {0x8, 11, 1792},
    {0xC, 11, 1856}, {0xD, 11, 1920}, {0x12, 12, 1984}, {0x13, 12, 2048}, {0x14, 12, 2112}, {0x15, 12, 2176},
    {0x16, 12, 2240}, {0x17, 12, 2304}, {0x1C, 12, 2368}, {0x1D, 12, 2432}, {0x1E, 12, 2496},
    {0x1F, 12, 2560},
};

// Runs by code: index (1 << length) | code, value run + 1 (0: no such code).
struct CodeTable {
  std::vector<std::uint16_t> white, black;
  CodeTable() : white(1 << 14, 0), black(1 << 14, 0) {
    for (const Code& c : kWhite) white[(1u << c.length) | c.bits] = static_cast<std::uint16_t>(c.run + 1);
    for (const Code& c : kBlack) black[(1u << c.length) | c.bits] = static_cast<std::uint16_t>(c.run + 1);
  }
};

// Least significant bit first, as the line records store them.
class BitReader {
 public:
  explicit BitReader(ByteReader in) : in_(in) {}
  int bit() {
    if (left_ == 0) {
      if (in_.atEnd()) return -1;
      byte_ = in_.u8();
      left_ = 8;
    }
    --left_;
    int b = byte_ & 1;
    byte_ >>= 1;
    return b;
  }

 private:
  ByteReader in_;
  std::uint8_t byte_ = 0;
  int left_ = 0;
};

// One run: make-up codes and a terminating code; -1 at a code not in the tables
// (an EOL code included) or at the end of the bits.
int ReadRun(BitReader& bits, const std::vector<std::uint16_t>& table) {
  int total = 0;
  for (;;) {
    std::uint32_t code = 0;
    int run = -1;
    for (int length = 1; length <= 13; ++length) {
      int b = bits.bit();
      if (b < 0) return -1;
      code = code << 1 | static_cast<std::uint32_t>(b);
      if (std::uint16_t v = table[(1u << length) | code]) {
        run = v - 1;
        break;
      }
    }
    if (run < 0) return -1;
    total += run;
    if (run < 64 || total > 65535) return total;
  }
}

// Decodes one line into `line` (one byte per pixel, 1 = black); the rest stays white.
void DecodeLine(ByteReader data, const CodeTable& codes, std::vector<std::uint8_t>& line) {
  std::fill(line.begin(), line.end(), 0);
  BitReader bits(data);
  std::size_t x = 0;
  bool black = false;
  while (x < line.size()) {
    int run = ReadRun(bits, black ? codes.black : codes.white);
    if (run < 0) break;
    std::size_t end = std::min(line.size(), x + static_cast<std::size_t>(run));
    if (black) std::fill(line.begin() + static_cast<std::ptrdiff_t>(x), line.begin() + static_cast<std::ptrdiff_t>(end), 1);
    x = end;
    black = !black;
  }
}

struct Page {
  std::uint32_t width = 0;
  bool doubled = false;
  std::vector<std::uint8_t> pixels;  // lines of `width` bytes
  std::uint32_t lines = 0;
};

// Reads the page whose header starts at the reader's position; false at the end of the document.
bool ReadPage(ByteReader& in, const CodeTable& codes, Page& page) {
  if (in.remaining() < 2 || in.at(in.pos()) != 0xFE) return false;
  std::size_t at = in.pos();
  std::uint8_t length = in.at(at + 1);
  if (length == 0 || !in.has(at, 2 + std::size_t(length)) || length < 16) return false;
  std::uint8_t vertical = in.at(at + 2);
  if (vertical == 255) return false;
  page.width = in.u16leAt(at + 6);
  page.doubled = vertical == 0;
  in.seek(at + 2 + length);
  if (page.width == 0 || page.width > kMaxWidth) return false;
  std::vector<std::uint8_t> line(page.width, 0);
  auto emit = [&](int times) {
    for (int t = 0; t < times && page.lines < kMaxLines && page.pixels.size() < kMaxPagePixels; ++t) {
      page.pixels.insert(page.pixels.end(), line.begin(), line.end());
      ++page.lines;
    }
  };
  const int repeat = page.doubled ? 2 : 1;
  while (!in.atEnd() && page.lines < kMaxLines && page.pixels.size() < kMaxPagePixels) {
    std::uint8_t b = in.at(in.pos());
    if (b == 0xFE) break;  // the next page's header
    in.skip(1);
    if (b >= 1 && b <= 216) {
      if (!in.has(in.pos(), b)) { in.seek(in.size()); break; }
      DecodeLine(in.sub(in.pos(), b), codes, line);
      in.skip(b);
      emit(repeat);
    } else if (b == 0) {
      std::uint16_t n = in.u16le();
      if (in.bad() || !in.has(in.pos(), n)) { in.seek(in.size()); break; }
      DecodeLine(in.sub(in.pos(), n), codes, line);
      in.skip(n);
      emit(repeat);
    } else if (b <= 253) {
      std::fill(line.begin(), line.end(), 0);
      emit((b - 216) * repeat);
    } else {  // 255: 0 repeats the previous line, n > 0 announces n bytes of user data
      std::uint8_t n = in.u8();
      if (in.bad()) break;
      if (n == 0) emit(repeat);
      else if (!in.skip(n)) break;
    }
  }
  return true;
}

}  // namespace

int SffToPbm(const ConvertCall& call) {
  Bytes data;
  if (!ReadWholeFile(call.source, data)) return 0;
  ByteReader in(data);
  if (!in.has(0, 20) || in.str(4) != "Sfff" || in.at(4) != 1) return 0;
  if (!in.seek(in.u16leAt(10)) || in.at(in.pos()) != 0xFE) return 0;
  CodeTable codes;
  Series series(call, "_%04d.pbm");
  for (;;) {
    Page page;
    if (!ReadPage(in, codes, page)) break;
    if (page.lines == 0) continue;
    if (!series.wantsNext()) {
      series.skip();
      continue;
    }
    Image img;
    if (!img.allocate(page.width, page.lines, 1)) break;
    img.palette = {{255, 255, 255}, {0, 0, 0}};
    img.bits = 1;
    img.pixels = std::move(page.pixels);
    if (!series.add([&](Sink& out) { return WritePnm(out, img, true); })) break;
    if (series.done()) break;
  }
  return series.finish();
}

}  // namespace pix
