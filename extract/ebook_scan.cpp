// E-books (.lit) wrap each picture in a Photoshop resource block: after a
// "JFIF" tag the scanner moves on to the "8BIM" block and takes the stream
// that starts 6 bytes before the next "JFIF", up to the first FF D9, as
// <source>_0001.jpg on. A book without pictures gets a message box.
#include "extract/extract.h"
#include "extract/jpeg_scan.h"

namespace pix {

int EbookScan(const ConvertCall& call) {
  JpegScanRules rules;
  rules.before = JpegScanRules::Before::PhotoshopSkip;
  rules.emptyMessage = true;
  return RunJpegScan(call, rules);
}

}  // namespace pix
