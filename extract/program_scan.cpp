// Programs, screen savers and the like (.dll, .exe, .scr, ...) keep their
// pictures as plain JFIF streams. Each stream found by its "JFIF" tag is
// copied, from 6 bytes before the tag to the first FF D9, into
// <source>_0001.jpg, <source>_0002.jpg, ... beside the target.
#include "extract/extract.h"
#include "extract/jpeg_scan.h"

namespace pix {

int ProgramScan(const ConvertCall& call) {
  JpegScanRules rules;  // 4097-byte scan blocks, "JFIF" - 6, first FF D9, from _0001
  return RunJpegScan(call, rules);
}

}  // namespace pix
