// StarImpress presentations (.sdd, StarOffice 3 to 5.2): OLE2 compound files
// whose streams carry the JPEG pictures placed on the slides with their
// original bytes. Every stream of the compound file, as its allocation
// tables chain it (extract/compound_file.h), is searched for JPEGs, in
// directory order; each JPEG whose markers
// hold together up to its end marker is written unchanged to
// "<source name>_%04d.jpg" beside the target, numbered from 1. A file that is
// not a compound file, or whose header or directory does not hold together,
// is searched as it stands. The result is the number of files written.
#include <cstdint>
#include <vector>

#include "common/files.h"
#include "common/reader.h"
#include "common/series.h"
#include "extract/compound_file.h"
#include "formats/embedded_pictures.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr std::size_t kMinJpeg = 128;

// A file that cannot be written ends the whole scan.
void ScanForJpegs(const ByteReader& r, Series& series, int& found) {
  if (!CopyStoredStreams(r, "\xFF\xD8\xFF", JpegStreamLength, kMinJpeg, series, found)) found = kMaxStoredPictures;
}

}  // namespace

int SddToJpeg(const ConvertCall& call) {
  InFile in;
  FileWindow window(in);
  if (!LoadScanSource(call, in, window)) return 0;
  const ByteReader r = window.reader();
  Series series(call, "_%04d.jpg");
  int found = 0;
  CompoundFile cf;
  if (cf.open(call.source)) {
    cf.forEachStream([&](const Bytes& stream) {
      ScanForJpegs(ByteReader(stream), series, found);
      return found < kMaxStoredPictures && !series.done();
    });
  } else {
    ScanForJpegs(r, series, found);
  }
  return series.finish();
}

}  // namespace pix
