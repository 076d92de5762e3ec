// Album files (.albm): every FF D8 FF found in 1024-byte blocks starts a
// stream that ends at the second block holding FF D9; files are
// <source>_0000.jpg on. In memory mode, arg1 picks the stream (from 1).
#include "extract/extract.h"
#include "extract/jpeg_scan.h"

namespace pix {

int AlbumScan(const ConvertCall& call) {
  JpegScanRules rules;
  rules.scanBlock = 1024;
  rules.start = JpegScanRules::Start::ShortStart;
  rules.end = JpegScanRules::End::SecondPair;
  rules.fromOne = false;
  rules.memoryCapable = true;
  rules.memorySkip = 4;
  return RunJpegScan(call, rules);
}

}  // namespace pix
