// FFF files carry a JFIF preview first and the picture after it: the first
// "JFIF" (found in 512-byte blocks) is passed over, and everything from
// 6 bytes before the second one to the end of the source is written as the
// target. Result 1, or 0 when there is no second "JFIF".
#include "extract/extract.h"
#include "extract/jpeg_scan.h"

namespace pix {

int FffExtract(const ConvertCall& call) { return ExtractFromJfif(call, 1); }

}  // namespace pix
