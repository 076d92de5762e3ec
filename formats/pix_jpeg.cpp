// Esm Software PIX pictures (.pix, the screen savers of Esm Software): the
// text "Esm Software PIX file" followed by a complete JPEG/JFIF file. The
// JPEG, from its start marker to the end of the source, is written unchanged
// as the target (result 1). Without the text the first 4096 bytes are
// searched for a JPEG start (FF D8 FF). The JPEG's header must hold together
// up to its first scan, with a frame size the library accepts.
#include <cstdint>
#include <string_view>

#include "common/files.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/embedded_pictures.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::string_view kSignature = "Esm Software PIX file";
constexpr std::size_t kSearch = 4096;
constexpr std::size_t kHeaderArea = std::size_t(1) << 20;  // Exif and ICC segments before the scan

std::size_t JpegStart(const ByteReader& head) {
  if (FindBytes(head, 0, kSignature) == 0 && head.at(kSignature.size()) == 0xFF &&
      head.at(kSignature.size() + 1) == 0xD8)
    return kSignature.size();
  const std::size_t at = FindBytes(head.sub(0, kSearch), 0, "\xFF\xD8\xFF");
  return at;
}

}  // namespace

int PixToJpeg(const ConvertCall& call) {
  if (call.memoryMode() && !call.out) return 0;
  InFile in(call.source);
  if (!in) return 0;
  const std::int64_t size = in.size();
  FileWindow head(in);
  if (size <= 0 || !head.load(0, kHeaderArea)) return 0;
  const std::size_t start = JpegStart(head.reader());
  if (start == kNotFound || JpegHeaderLength(head.reader(), start) == 0) return 0;
  return WriteOne(call, [&](Sink& s) {
    if (!in.seekSet(static_cast<std::int64_t>(start))) return false;
    Bytes block(64 * 1024);
    for (;;) {
      const std::size_t got = in.read(block.data(), block.size());
      if (got && !s.write(block.data(), got)) return false;
      if (got < block.size()) return s.size() > 0;
    }
  });
}

}  // namespace pix
