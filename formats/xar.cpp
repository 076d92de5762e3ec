// Xara documents (.xar, Xara X / Xtreme): the preview GIF a document stores
// before its drawing, written unchanged as the target (result 1; in memory
// mode its bytes). A Xar file is "XARA" A3 A3 0D 0A and a flat list of records
// (32-bit little-endian tag and data size); record 61 holds a complete GIF.
// The preview lies among the first records, before the compressed part, the
// document or a child list begins. Where the walk finds no GIF preview (a
// BMP, PNG or JPEG one, or a file that is not a Xar document at all, as the
// ".tsk" previews try this first) the first 4 MiB are searched for a GIF
// stream whose blocks hold together up to its trailer.
#include <cstdint>

#include "common/files.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/embedded_pictures.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::size_t kHead = std::size_t(4) << 20;
constexpr int kMaxRecords = 16;
constexpr std::uint32_t kTagDown = 1, kTagEndOfFile = 3, kTagStartCompression = 30,
                        kTagDocument = 40, kTagPreviewGif = 61;

bool HasXarSignature(const ByteReader& r) {
  static const std::uint8_t kSignature[8] = {'X', 'A', 'R', 'A', 0xA3, 0xA3, 0x0D, 0x0A};
  for (std::size_t i = 0; i < 8; ++i)
    if (r.at(i) != kSignature[i]) return false;
  return true;
}

// Where the preview GIF record's data starts and how long it is, or
// {kNotFound, 0} when the first records hold none.
struct Span {
  std::uint64_t offset = kNotFound;
  std::uint64_t size = 0;
};

Span PreviewRecord(const ByteReader& head, std::uint64_t fileSize) {
  std::uint64_t at = 8;
  for (int i = 0; i < kMaxRecords && at + 8 <= fileSize && head.has(at, 8); ++i) {
    const std::uint32_t tag = head.u32leAt(at), size = head.u32leAt(at + 4);
    if (tag == kTagPreviewGif) {
      if (size == 0 || size > kMaxStoredPicture || at + 8 + size > fileSize) return {};
      return {at + 8, size};
    }
    if (tag == kTagStartCompression || tag == kTagEndOfFile || tag == kTagDown || tag == kTagDocument)
      return {};
    at += 8 + std::uint64_t(size);
  }
  return {};
}

}  // namespace

int XarToGif(const ConvertCall& call) {
  if (call.memoryMode() && !call.out) return 0;
  InFile in(call.source);
  if (!in) return 0;
  const std::int64_t fileSize = in.size();
  FileWindow head(in);
  if (fileSize <= 0 || !head.load(0, kHead)) return 0;
  ByteReader gif;
  FileWindow record(in);
  if (HasXarSignature(head.reader())) {
    const Span span = PreviewRecord(head.reader(), static_cast<std::uint64_t>(fileSize));
    if (span.offset != kNotFound && record.load(span.offset, static_cast<std::size_t>(span.size)) &&
        record.size() == span.size) {
      const ByteReader data = record.reader();
      const std::size_t length = GifStreamLength(data, 0);
      if (length) gif = data.sub(0, length);
    }
  }
  if (gif.size() == 0) gif = FirstStoredStream(head.reader(), "GIF8", GifStreamLength);
  if (gif.size() == 0) return 0;
  return WriteOne(call, [&](Sink& s) { return s.write(gif.data(), gif.size()); });
}

}  // namespace pix
