// Animation and album files (.abt, .fla, .atd, .fi, .lvp, .tub, .pan): the
// program scanner's rules, but the files are numbered without leading zeros,
// <source>_1.jpg, <source>_2.jpg, ...
#include "extract/extract.h"
#include "extract/jpeg_scan.h"

namespace pix {

int AnimationAlbumScan(const ConvertCall& call) {
  JpegScanRules rules;
  rules.suffix = "_%d.jpg";
  return RunJpegScan(call, rules);
}

}  // namespace pix
