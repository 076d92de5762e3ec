// Radiance pictures (".hdr", ".rad", ".pic"; Greg Ward's RGBE/XYZE
// high-dynamic-range format) to a Macintosh PICT (version 2, one
// DirectBitsRect), converted through ImageMagick: its HDR coder decodes and
// tone-maps, its PICT coder writes. The target path itself (result 1), or the
// bytes in memory mode. The header is checked here first: "#?" at the start,
// text lines up to an empty one with a FORMAT of 32-bit_rle_rgbe or
// 32-bit_rle_xyze if any, then a resolution line such as "-Y 512 +X 768"
// whose sizes the library accepts (a PICT row holds at most 4095 pixels) and
// that the file's size makes believable.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "common/files.h"
#include "common/image.h"
#include "common/magick.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::size_t kHeaderArea = 64 * 1024;
constexpr std::size_t kMaxLine = 4096;
constexpr std::uint32_t kMaxPictWidth = 4095;

// One text line up to LF (not kept); false at the end of the bytes, for a
// line too long, or for bytes that are not text.
bool ReadLine(ByteReader& r, std::string& line) {
  line.clear();
  for (;;) {
    if (r.atEnd()) return false;
    const std::uint8_t c = r.u8();
    if (c == '\n') return true;
    if (line.size() >= kMaxLine || c == 0) return false;
    line.push_back(static_cast<char>(c));
  }
}

// "[+-]Y n [+-]X m" or "[+-]X m [+-]Y n": the sizes along Y and X.
bool ParseResolution(const std::string& line, std::uint32_t& ySize, std::uint32_t& xSize) {
  char s1 = 0, a1 = 0, s2 = 0, a2 = 0;
  long n1 = 0, n2 = 0;
  int used = 0;
  if (std::sscanf(line.c_str(), "%c%c %ld %c%c %ld%n", &s1, &a1, &n1, &s2, &a2, &n2, &used) != 6) return false;
  if (static_cast<std::size_t>(used) != line.size()) return false;
  auto sign = [](char c) { return c == '+' || c == '-'; };
  if (!sign(s1) || !sign(s2) || n1 < 1 || n2 < 1 || n1 > 32767 || n2 > 32767) return false;
  if (a1 == 'Y' && a2 == 'X') {
    ySize = static_cast<std::uint32_t>(n1);
    xSize = static_cast<std::uint32_t>(n2);
    return true;
  }
  if (a1 == 'X' && a2 == 'Y') {
    xSize = static_cast<std::uint32_t>(n1);
    ySize = static_cast<std::uint32_t>(n2);
    return true;
  }
  return false;
}

// Run-length coding packs a plain picture tightly, but not without bound: a
// header that declares far more pixels than the file can hold is not believed.
constexpr std::uint64_t kMaxPacking = 256;
constexpr std::uint64_t kSmallPicture = std::uint64_t(16) << 20;

bool SoundHeader(const ByteReader& head, std::uint64_t fileSize) {
  ByteReader r = head;
  if (r.u8() != '#' || r.u8() != '?') return false;
  std::string line;
  if (!ReadLine(r, line)) return false;  // the program name
  for (;;) {
    if (!ReadLine(r, line)) return false;
    if (line.empty()) break;
    if (line.rfind("FORMAT=", 0) == 0 && line != "FORMAT=32-bit_rle_rgbe" && line != "FORMAT=32-bit_rle_xyze")
      return false;
  }
  std::uint32_t ySize = 0, xSize = 0;
  if (!ReadLine(r, line) || !ParseResolution(line, ySize, xSize)) return false;
  const std::uint64_t raw = CheckedSize(xSize, ySize, 4);
  return xSize <= kMaxPictWidth && raw != 0 && raw <= kMaxPacking * fileSize + kSmallPicture;
}

}  // namespace

int RadianceToPict(const ConvertCall& call) {
  if (call.memoryMode() && !call.out) return 0;
  {
    InFile in(call.source);
    FileWindow head(in);
    if (!in || !head.load(0, kHeaderArea) || !SoundHeader(head.reader(), static_cast<std::uint64_t>(in.size())))
      return 0;
  }
  Bytes pict;
  if (!MagickConvert(call.source, "HDR", "PICT", pict)) return 0;
  return WriteOne(call, [&](Sink& s) { return s.write(pict); });
}

}  // namespace pix
