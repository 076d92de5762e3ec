// SmartDraw symbol libraries (.sdl) and ".lqt" containers: GIF pictures stored
// whole inside an undocumented container. Every GIF stream ("GIF87a" or
// "GIF89a", a screen of accepted size, blocks that hold together up to the
// trailer) is copied unchanged to "<source name>_%04d.gif" beside the target,
// numbered from 1; the result is the number written. A damaged or cut-short
// candidate is passed over and the search goes on one byte after its start.
#include "common/files.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/embedded_pictures.h"
#include "formats/formats.h"

namespace pix {

int SdlLqtToGif(const ConvertCall& call) {
  InFile in;
  FileWindow window(in);
  if (!LoadScanSource(call, in, window)) return 0;
  Series series(call, "_%04d.gif");
  int found = 0;
  CopyStoredStreams(window.reader(), "GIF8", GifStreamLength, 1, series, found);
  return series.finish();
}

}  // namespace pix
