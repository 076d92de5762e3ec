// SensiCam ".b16" frames: width and height at offsets 12 and 16, 16-bit
// pixels low byte first from offset 128. Wrapped in a fixed FITS header whose
// size cards hold the numbers without padding (so only three-digit sizes keep
// the later cards on their 80-column slots) and the pixels byte-swapped; the
// data are not padded to a whole record.
#include <cstring>
#include <string>
#include <vector>

#include "science/science.h"

namespace pix {
namespace {

std::string Card(const char* text) {
  std::string s(text);
  s.resize(80, ' ');
  return s;
}

}  // namespace

int B16ToFits(const ConvertCall& call) {
  InFile in(call.source);
  if (!in) return 0;
  bool memory = call.memoryMode();
  Sink out;
  if (!out.open(memory ? nullptr : call.target)) return 0;

  std::uint8_t head[20] = {};
  in.read(head, sizeof head);
  auto le32 = [&](int at) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(head[at]) | static_cast<std::uint32_t>(head[at + 1]) << 8 |
                                     static_cast<std::uint32_t>(head[at + 2]) << 16 |
                                     static_cast<std::uint32_t>(head[at + 3]) << 24);
  };
  int width = le32(12), height = le32(16);

  std::string text = Card("SIMPLE  =                    T") + Card("BITPIX  =                   16") +
                     Card("NAXIS   =                    2") + "NAXIS1  =" + std::string(18, ' ');
  text += std::to_string(width);
  text += std::string(50, ' ') + "NAXIS2  =" + std::string(18, ' ');
  text += std::to_string(height);
  text += std::string(50, ' ') + Card("ORIGIN  = 'SensiCam File-Program 1.10  '") +
          Card("ORIGIN  = 'Copyright (C) 1996 PCO      '") + Card("ORIGIN  = 'Version: B/W                '") + "END";
  text.resize(2880, ' ');
  out.write(text.data(), text.size());

  in.seekSet(128);
  std::vector<std::uint8_t> block(1 << 16);
  std::size_t carry = 0;
  while (std::size_t n = in.read(block.data() + carry, block.size() - carry)) {
    n += carry;
    std::size_t whole = n & ~std::size_t(1);
    for (std::size_t i = 0; i < whole; i += 2) std::swap(block[i], block[i + 1]);
    out.write(block.data(), whole);
    carry = n - whole;
    if (carry) block[0] = block[whole];
  }
  if (memory) return out.release(call.out);
  return out.close() ? 1 : 0;
}

}  // namespace pix
