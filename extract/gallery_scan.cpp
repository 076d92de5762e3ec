// Gallery files (.pfr, .gal): JFIF streams found in 512-byte blocks, each
// copied from 6 bytes before "JFIF" to the first FF D9 into
// <source>_0001.jpg on. The scan stops at the end of the source.
#include "extract/extract.h"
#include "extract/jpeg_scan.h"

namespace pix {

int GalleryScan(const ConvertCall& call) {
  JpegScanRules rules;
  rules.scanBlock = 512;
  return RunJpegScan(call, rules);
}

}  // namespace pix
