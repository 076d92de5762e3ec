// Sample files (.smp, .tjm) hold JFIF streams the way programs do: the
// program scanner's rules, <source>_0001.jpg on.
#include "extract/extract.h"
#include "extract/jpeg_scan.h"

namespace pix {

int SampleScan(const ConvertCall& call) {
  JpegScanRules rules;
  return RunJpegScan(call, rules);
}

}  // namespace pix
