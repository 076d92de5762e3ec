// Files that wrap one JPEG picture behind a header of their own (.kiz, .img,
// .xif, .tnl): the picture is taken from 6 bytes before the first "JFIF"
// (found in 512-byte blocks) to the end of the source and written as the
// target. Result 1, or 0 when there is no "JFIF".
#include "extract/extract.h"
#include "extract/jpeg_scan.h"

namespace pix {

int SinglePictureExtract(const ConvertCall& call) { return ExtractFromJfif(call, 0); }

}  // namespace pix
