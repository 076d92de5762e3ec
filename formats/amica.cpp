// Amica Paint pictures (Commodore 64, ".ami") to Koala Painter files. An
// Amica picture is the C64 load address (normally 0x4000) and a stream
// packed with the escape byte 0xC2 ("C2 n v" repeats v n times, "C2 00"
// ends the picture, any other byte stands for itself) that unpacks to 10257
// bytes: the multicolour bitmap (8000), screen RAM (1000), colour RAM
// (1000), the background colour and Amica's colour-rotation table (256).
// The Koala file is the load address 0x6000 and the first 10001 of those
// bytes (the rotation table is dropped). Writes the target path itself and
// returns 1; a stream that unpacks to less than the Koala body gives 0.
#include <algorithm>
#include <cstdint>

#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::size_t kAmicaBytes = 10257, kKoalaBody = 10001;
constexpr std::uint8_t kEscape = 0xC2;

// Unpacks the stream after the load address; false when it gives less than
// the Koala body.
bool Unpack(const Bytes& data, Bytes& image) {
  ByteReader in(data);
  in.skip(2);
  image.assign(kAmicaBytes, 0);
  std::size_t done = 0;
  while (done < image.size() && in.remaining() > 0) {
    const std::uint8_t b = in.u8();
    if (b != kEscape) {
      image[done++] = b;
      continue;
    }
    const std::uint8_t n = in.u8();
    if (n == 0) break;
    const std::uint8_t v = in.u8();
    if (in.bad()) break;
    const std::size_t k = std::min<std::size_t>(n, image.size() - done);
    std::fill_n(image.begin() + std::ptrdiff_t(done), k, v);
    done += k;
  }
  return done >= kKoalaBody;
}

}  // namespace

int AmiToKoala(const ConvertCall& call) {
  Bytes data, image;
  if (!call.source || !ReadWholeFile(call.source, data) || data.size() < 3) return 0;
  if (!Unpack(data, image)) return 0;
  // Colour RAM and background hold one colour each (low nibble).
  for (std::size_t i = 9000; i < kKoalaBody; ++i) image[i] &= 0x0F;
  return WriteOne(call, [&](Sink& out) { return out.put16le(0x6000) && out.write(image.data(), kKoalaBody); });
}

}  // namespace pix
