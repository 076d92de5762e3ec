// Conversions through ImageMagick's MagickCore, kept behind one call so that
// nothing else includes its headers. Builds without ImageMagick (the Windows
// build) keep the call: it prints one line saying so and fails.
#pragma once

#include "common/files.h"

namespace pix {

// Decodes the source file as `sourceFormat` (a MagickCore coder name such as
// "HDR"; the file's bytes are handed over as a blob, so its name means
// nothing to ImageMagick) and encodes the first picture as `format` ("PICT")
// into `out`. MagickCore prints nothing and writes no file. False when the
// source cannot be read or decoded, the encoding fails, or the build has no
// ImageMagick.
bool MagickConvert(const char* source, const char* sourceFormat, const char* format, Bytes& out);

}  // namespace pix
