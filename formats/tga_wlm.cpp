// Targa pictures and CompW bitmaps (".wlm"), both ways. A CompW file starts
// with the two little-endian words 0x23D3 and 3 (D3 23 00 00 03 00 00 00);
// nothing public describes the rest of its header or its coding, and no
// open reader or writer exists. Writing files under a made-up layout would
// hand users pictures no CompW program reads, so neither direction writes
// anything: every call returns 0 and creates no file.
#include "formats/formats.h"

namespace pix {

int TgaWlm(const ConvertCall&) { return 0; }

}  // namespace pix
