// Pictures saved without their quantisation tables (.kqp, .pic): the JFIF
// stream from 6 bytes before "JFIF" (looked for in the first 4096 bytes) is
// written as the target with its first 28 bytes, then a fixed block that
// restores the usual luminance and chrominance tables, then the rest of the
// source. Result 1, or 0 (and no target) without "JFIF".
#include <array>
#include <cstdint>

#include "common/files.h"
#include "common/search.h"
#include "extract/extract.h"
#include "extract/jpeg_scan.h"

namespace pix {
namespace {

constexpr std::array<std::uint8_t, 64> kLuminance = {
    12, 8,  9,  10, 9,  7,  12, 10, 10, 10, 14, 13, 12, 14, 18, 31, 20, 18, 17, 17, 18, 38,
    27, 28, 22, 31, 45, 39, 47, 46, 44, 39, 43, 42, 50, 56, 71, 60, 50, 53, 67, 53, 42, 43,
    62, 85, 63, 67, 74, 76, 80, 81, 80, 48, 60, 88, 94, 87, 78, 93, 71, 78, 80, 77};

constexpr std::array<std::uint8_t, 150> MakeRestoredBlock() {
  std::array<std::uint8_t, 150> b{};
  b[0] = 0x03, b[1] = 0x19, b[2] = 0x1E;  // 13 zero bytes follow
  std::size_t i = 16;
  b[i++] = 0xFF, b[i++] = 0xDB, b[i++] = 0x00, b[i++] = 0x84;
  b[i++] = 0x00;
  for (std::uint8_t v : kLuminance) b[i++] = v;
  b[i++] = 0x01;
  const std::uint8_t chroma[14] = {15, 16, 16, 22, 19, 22, 44, 24, 24, 44, 92, 61, 52, 61};
  for (std::uint8_t v : chroma) b[i++] = v;
  while (i < b.size()) b[i++] = 92;
  return b;
}
constexpr std::array<std::uint8_t, 150> kRestoredBlock = MakeRestoredBlock();
static_assert(kRestoredBlock[16 + 4 + 1 + 64 + 1 + 13] == 61 && kRestoredBlock[16 + 4 + 1 + 64 + 1 + 14] == 92 && kRestoredBlock[149] == 92);

}  // namespace

int HeaderRebuildExtract(const ConvertCall& call) {
  if (call.memoryMode()) return 0;
  BlockSource src;
  if (!src.open(call.source)) return 0;
  ScanBlock block(4096);
  std::size_t got = src.read(block.data(), 4096);
  int p = FindPattern(static_cast<int>(got), block.data(), "JFIF");
  if (p < 0) return 0;
  src.seekCur(-static_cast<std::int64_t>(got));
  src.seekCur(p - 6);
  Sink sink;
  if (!sink.open(call.target)) return 0;
  std::size_t head = src.read(block.data(), 28);
  sink.write(block.data(), head);
  sink.write(kRestoredBlock.data(), kRestoredBlock.size());
  CopyToEnd(src, sink);
  sink.close();
  return 1;
}

}  // namespace pix
