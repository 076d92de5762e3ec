// A 128 x 64, 256-colour PCX to a TI-85 grey picture program ("GrayPic"):
// each colour becomes one of 8 grey levels (0 white .. 7 black), written as
// three 1024-byte bit planes (level bits 4, 2 and 1) after a 74-byte header,
// and closed by a zero byte and a 16-bit sum of the variable data.
// Result: 1 written, 0 refused.
#include <cstring>

#include "common/endian.h"
#include "common/files.h"
#include "common/reader.h"
#include "retro/retro.h"

namespace pix {
namespace {

constexpr int kWidth = 128, kHeight = 64, kPixels = kWidth * kHeight;

}  // namespace

int PcxToTiGrayPic(const ConvertCall& call) {
  if (!call.source || call.memoryMode()) return 0;
  Bytes file;
  if (!ReadWholeFile(call.source, file, std::size_t(64) << 20)) return 0;
  ByteReader f(file);
  if (file.size() < 128 + 769) return 0;
  if (f.at(1) != 5 || f.at(2) != 1 || f.at(3) != 8) return 0;
  if (f.at(8) - f.at(4) != kWidth - 1 || f.at(10) - f.at(6) != kHeight - 1) return 0;
  const std::size_t paletteAt = file.size() - 768;
  if (f.at(paletteAt - 1) != 12) return 0;
  std::uint8_t grey[256];
  for (int i = 0; i < 256; ++i) {
    int sum = f.at(paletteAt + 3 * i) + f.at(paletteAt + 3 * i + 1) + f.at(paletteAt + 3 * i + 2);
    grey[i] = static_cast<std::uint8_t>(7 - (sum / 3) / 32);
  }

  std::vector<std::uint8_t> level(kPixels, grey[0]);
  std::size_t pos = 128;
  int n = 0;
  while (n < kPixels && pos < file.size()) {
    std::uint8_t b = f.at(pos++);
    int count = 1;
    if ((b & 0xC0) == 0xC0) {
      count = b & 0x3F;
      b = f.at(pos++);
    }
    for (; count > 0 && n < kPixels; --count) level[n++] = grey[b];
  }

  Bytes out(3149, 0);
  std::memcpy(out.data(), "**TI85**", 8);
  out[8] = 0x1A;
  out[9] = 0x0C;
  out[10] = 0x00;
  std::memcpy(out.data() + 11, "8-Image Flash 32 Tavel Morquin           .", 42);
  auto put16 = [&](std::size_t at, unsigned v) { PutLe16(&out[at], v); };
  put16(53, 3092);
  put16(55, 11);
  put16(57, 3077);
  out[59] = 0x0C;
  out[60] = 7;
  std::memcpy(out.data() + 61, "GrayPic", 7);
  put16(68, 3077);
  put16(70, 3075);
  out[72] = 0x00;
  out[73] = 0x7F;
  const int bits[3] = {4, 2, 1};
  for (int p = 0; p < 3; ++p)
    for (int i = 0; i < kPixels; ++i)
      if (level[i] & bits[p]) out[74 + p * 1024 + i / 8] |= static_cast<std::uint8_t>(0x80 >> (i % 8));
  out[3146] = 0;
  unsigned sum = 0;
  for (std::size_t i = 55; i <= 3146; ++i) sum += out[i];
  put16(3147, sum & 0xFFFF);

  Sink sink;
  if (!sink.open(call.target)) return 0;
  sink.write(out);
  return sink.close() ? 1 : 0;
}

}  // namespace pix
