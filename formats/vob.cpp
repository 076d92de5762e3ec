// Vue d'Esprit object files (.vob, E-on Software): a model with a small GIF
// preview, the program's name "Vue d'Esprit" standing near the start. The
// first GIF stream in the file (blocks that hold together up to the trailer)
// is written unchanged as the target (result 1). DVD video objects share the
// extension: without the name in the first 64 KiB nothing further is read.
// The apostrophe may also be the Windows-1252 one (0x92).
#include <cstdint>

#include "common/files.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/embedded_pictures.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::size_t kMarkerArea = std::size_t(64) << 10;
constexpr std::size_t kGifArea = std::size_t(4) << 20;

bool HasMarker(const ByteReader& r) {
  const ByteReader head = r.sub(0, kMarkerArea);
  return FindBytes(head, 0, "Vue d'Esprit") != kNotFound || FindBytes(head, 0, "Vue d\x92" "Esprit") != kNotFound;
}

}  // namespace

int VobToGif(const ConvertCall& call) {
  if (call.memoryMode() && !call.out) return 0;
  InFile in(call.source);
  if (!in) return 0;
  FileWindow window(in);
  if (!window.load(0, kMarkerArea) || !HasMarker(window.reader())) return 0;
  if (!window.load(0, kGifArea)) return 0;
  const ByteReader gif = FirstStoredStream(window.reader(), "GIF8", GifStreamLength);
  if (gif.size() == 0) return 0;
  return WriteOne(call, [&](Sink& s) { return s.write(gif.data(), gif.size()); });
}

}  // namespace pix
