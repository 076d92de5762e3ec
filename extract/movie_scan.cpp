// QuickTime movies (.mov) with Motion-JPEG frames: every FF D8 found in
// 512-byte blocks starts a frame that ends at the first FF D9; frames are
// <source>_0000.jpg on. After a frame the scan resumes as far before the
// byte after its end marker as the marker stood from the end of its copy
// block. In memory mode, arg1 picks the frame (from 1).
#include "extract/extract.h"
#include "extract/jpeg_scan.h"

namespace pix {

int MovieScan(const ConvertCall& call) {
  JpegScanRules rules;
  rules.scanBlock = 512;
  rules.start = JpegScanRules::Start::Soi;
  rules.resume = JpegScanRules::Resume::Movie;
  rules.fromOne = false;
  rules.memoryCapable = true;
  rules.memorySkip = 2;
  return RunJpegScan(call, rules);
}

}  // namespace pix
