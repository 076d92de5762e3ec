// GEM bit images (".img", Digital Research's GEM desktop): the reader shared
// by the routes whose source is a GEM raster.
#pragma once

#include "common/files.h"
#include "common/image.h"

namespace pix {

// A GEM bit image (one to eight planes, the XIMG palette where there is
// one) as an indexed picture. False when the header is not a GEM raster's or
// the size is refused. A stream that ends early leaves the remaining lines
// index 0 (white with the default palettes); a height far beyond what the
// data reaches is cut to the lines it codes.
bool ReadGemImage(const Bytes& data, Image& img);

}  // namespace pix
