// Conversions through ImageMagick's MagickCore, kept behind one call so that
// nothing else includes its headers. Builds without ImageMagick (the Windows
// build) keep the call: it prints one line saying so and fails.
#pragma once

#include <string>

#include "common/files.h"

namespace pix {

// Decodes the source file as `sourceFormat` (a MagickCore coder name such as
// "HDR"; the file's bytes are handed over as a blob, so its name means
// nothing to ImageMagick) and encodes the first picture as `format` ("PICT")
// into `out`. MagickCore prints nothing and writes no file. False when the
// source cannot be read or decoded, the encoding fails, or the build has no
// ImageMagick.
bool MagickConvert(const char* source, const char* sourceFormat, const char* format, Bytes& out);

// A PNG thumbnail of at most 160 x 120 of the first picture of `source`, a
// file MagickCore reads by its name and content (a coder prefix such as
// "TGA:" may lead), written to `png`: small pictures are enlarged by whole
// pixels (at most 8 times), large ones shrunk smoothly. For the batch tool's
// contact sheet, which shows the library's own outputs. False when the
// picture cannot be read or written, or the build has no ImageMagick.
bool MagickThumbnail(const std::string& source, const std::string& png);

}  // namespace pix
