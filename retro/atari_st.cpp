// Atari ST screen pictures to IFF ILBM: NEOchrome (.neo: 128-byte header,
// 32000 bytes of screen) and Degas (.pi?, .pc?, .pl?: resolution word,
// 16 palette words, then 32000 bytes of screen or, with bit 15 of the
// resolution set, PackBits lines that are already ILBM ByteRun1). The screen
// interleaves the planes word by word; the ILBM body takes them line by line,
// plane by plane. The memory form keeps two quirks of its own: each body word
// gives only its first byte, and the colour bytes sit one byte late.
#include "common/budget.h"
#include "common/files.h"
#include "common/paths.h"
#include "common/reader.h"
#include "pixmisc.h"
#include "retro/ilbm_writer.h"
#include "retro/retro.h"

namespace pix {
namespace {

struct Resolution {
  std::uint16_t width, height;
  std::uint8_t planes;
};
constexpr Resolution kResolutions[3] = {{320, 200, 4}, {640, 200, 2}, {640, 400, 1}};
constexpr std::size_t kScreenBytes = 32000;

Rgb StColour(std::uint16_t w) {
  return Rgb{static_cast<std::uint8_t>((w >> 3) & 0xE0), static_cast<std::uint8_t>((w & 0x70) << 1),
             static_cast<std::uint8_t>((w << 5) & 0xE0)};
}

int Convert(const char* source, const char* target, unsigned char** out) {
  if (!source) return 0;
  const std::string ext = Split(source).ext;
  const bool neo = ExtMatches(ext, ".neo", 4);
  const bool degas = ExtMatches(ext, ".pi", 3) || ExtMatches(ext, ".pl", 3) || ExtMatches(ext, ".pc", 3);
  if (!neo && !degas) return 0;
  Bytes file;
  if (!ReadWholeFile(source, file, std::size_t(1) << 20)) return 0;
  ByteReader r(file);

  std::uint16_t resolution;
  bool compressed = false;
  if (neo) {
    r.u16be();
    resolution = r.u16be();
  } else {
    resolution = r.u16be();
    compressed = resolution & 0x8000;
  }
  std::vector<Rgb> palette;
  for (int i = 0; i < 16; ++i) palette.push_back(StColour(r.u16be()));
  const std::size_t dataAt = neo ? 128 : 34;
  if (r.bad() || file.size() < dataAt) return 0;
  if ((resolution & 3) == 3) return 0;
  const Resolution& res = kResolutions[resolution & 3];

  const std::size_t n = std::min(kScreenBytes, file.size() - dataAt);  // the packed body and its 32 animation bytes
  if (compressed && n < 32) return 0;

  const bool memory = target == nullptr || target[0] == '\0';
  Sink sink;
  if (!sink.open(memory ? nullptr : target)) return 0;
  IlbmWriter ilbm(sink);
  IlbmWriter::Header h;
  h.width = res.width;
  h.height = res.height;
  h.planes = res.planes;
  h.xAspect = res.width == 640 && res.height == 200 ? 5 : 10;
  h.yAspect = 11;
  h.palette = palette;

  if (compressed) {
    h.compression = 1;
    h.bodySize = static_cast<std::uint32_t>(n - 32);
    ilbm.header(h, memory);
    sink.write(file.data() + dataAt, h.bodySize);
  } else {
    h.bodySize = kScreenBytes;
    ilbm.header(h, memory);
    const std::size_t groups = res.width / 16, lineBytes = groups * res.planes * 2;
    std::vector<std::uint8_t> line(lineBytes), body;
    for (std::size_t y = 0; y < res.height; ++y) {
      for (std::size_t i = 0; i < lineBytes; ++i) line[i] = r.at(dataAt + y * lineBytes + i);  // short files read as zero
      body.clear();
      for (std::size_t p = 0; p < res.planes; ++p) {
        for (std::size_t g = 0; g < groups; ++g) {
          const std::uint8_t* word = line.data() + (g * res.planes + p) * 2;
          body.push_back(word[0]);
          if (!memory) body.push_back(word[1]);
        }
      }
      sink.write(body.data(), body.size());
    }
  }
  if (memory) return sink.release(out);
  return sink.close() ? 1 : 0;
}

}  // namespace
}  // namespace pix

extern "C" int PC1toIFF(const char* source, const char* target, unsigned char** out) {
  return pix::InCallScope(source, [&]() -> int {
    return pix::Convert(source, target, out);
  });
}
