// Atari Portfolio "PGC" pictures (Portfolio Graphics Compressed) to raw PBM.
// The file is "PG", the revision byte 1, then packets that unpack to the
// 240 x 64 screen (1920 bytes, 30 a row, leftmost pixel in the top bit, a
// set bit dark): an index byte with its top bit set repeats the next byte
// (index & 0x7F) times, one with it clear copies that many bytes. Input that
// ends early leaves the rest of the screen white. Writes the target path
// itself and returns 1 (memory mode: the PBM's bytes and their count).
#include <algorithm>
#include <cstdint>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::uint32_t kWidth = 240, kHeight = 64, kScreenBytes = kWidth / 8 * kHeight;

bool Decode(const Bytes& data, Image& img) {
  ByteReader in(data);
  if (in.u8() != 'P' || in.u8() != 'G' || in.u8() != 1 || in.bad()) return false;
  Bytes screen(kScreenBytes, 0);
  std::size_t done = 0;
  while (done < screen.size() && !in.atEnd()) {
    const std::uint8_t index = in.u8();
    const std::size_t n = std::min<std::size_t>(index & 0x7F, screen.size() - done);
    if (index & 0x80) {
      if (in.atEnd()) break;
      std::fill_n(screen.begin() + std::ptrdiff_t(done), n, in.u8());
      done += n;
    } else {
      const std::size_t k = std::min(n, in.remaining());
      in.bytes(screen.data() + done, k);
      done += k;
    }
  }
  if (!img.allocate(kWidth, kHeight, 1)) return false;
  img.palette = {{255, 255, 255}, {0, 0, 0}};
  img.bits = 1;
  for (std::uint32_t i = 0; i < kWidth * kHeight; ++i) img.pixels[i] = (screen[i / 8] >> (7 - i % 8)) & 1;
  return true;
}

}  // namespace

int PgcToPbm(const ConvertCall& call) {
  return ConvertWhole(
      call, [](const Bytes& data, Image& img) { return Decode(data, img); },
      [](Sink& out, const Image& img) { return WritePnm(out, img, true); });
}

}  // namespace pix
