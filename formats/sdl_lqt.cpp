// SmartDraw symbol libraries (.sdl) and ".lqt" containers: GIF pictures stored
// whole inside an undocumented container. Every GIF stream ("GIF87a" or
// "GIF89a", a screen of accepted size, blocks that hold together up to the
// trailer) is copied unchanged to "<source name>_%04d.gif" beside the target,
// numbered from 1; the result is the number written. A damaged or cut-short
// candidate is passed over and the search goes on one byte after its start.
#include <cstdint>

#include "common/files.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/embedded_pictures.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr int kMaxPictures = 10000;

}  // namespace

int SdlLqtToGif(const ConvertCall& call) {
  InFile in;
  FileWindow window(in);
  if (!LoadScanSource(call, in, window)) return 0;
  const ByteReader r = window.reader();
  Series series(call, "_%04d.gif");
  int found = 0;
  for (std::size_t at = FindBytes(r, 0, "GIF8"); at != kNotFound && found < kMaxPictures && !series.done() && ScanBudgetLeft();) {
    const std::size_t length = GifStreamLength(r, at);
    if (length == 0) {
      at = FindBytes(r, at + 1, "GIF8");
      continue;
    }
    ++found;
    const ByteReader gif = r.sub(at, length);
    if (!series.add([&](Sink& s) { return s.write(gif.data(), gif.size()); })) break;
    at = FindBytes(r, at + length, "GIF8");
  }
  return series.finish();
}

}  // namespace pix
