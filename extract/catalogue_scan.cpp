// Catalogues, slide shows and presentations (.pps, .vfs, .gal, .qt, ...):
// JFIF streams found in 512-byte blocks, copied from 6 bytes before "JFIF".
// A stream ends at the first FF D9, unless its scan block also holds "Exif":
// then, in file mode, each block holding FF D9 is written up to that pair
// only and the second such block ends the stream. Files are
// <source>_0000.jpg on. In memory mode, arg1 picks the stream (from 1) and
// the first FF D9 always ends it.
#include "extract/extract.h"
#include "extract/jpeg_scan.h"

namespace pix {

int CatalogueScan(const ConvertCall& call) {
  JpegScanRules rules;
  rules.scanBlock = 512;
  rules.before = JpegScanRules::Before::ExifTest;
  rules.fromOne = false;
  rules.memoryCapable = true;
  rules.memorySkip = 10;
  return RunJpegScan(call, rules);
}

}  // namespace pix
