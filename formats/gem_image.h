// GEM bit images (".img", Digital Research's GEM desktop): the monochrome
// reader shared by the routes whose source is a GEM raster.
#pragma once

#include "common/files.h"
#include "common/image.h"

namespace pix {

// Plane 0 of a GEM bit image as an indexed picture (index 0 white, 1 black;
// `bits` 1). False when the header is not a GEM raster's or the size is
// refused. A stream that ends early leaves the remaining lines white.
bool ReadGemImage(const Bytes& data, Image& img);

}  // namespace pix
