// Palettes that games keep in a file beside the picture: found by name (any
// case) in the source's directory only.
#pragma once

#include <string>
#include <vector>

#include "common/files.h"
#include "common/image.h"

namespace pix {

// The bytes of the file `name` (compared without regard to case) in the
// directory of `source`; false when there is none or it is larger than maxBytes.
bool ReadSideFile(const char* source, const std::string& name, Bytes& out, std::size_t maxBytes);

}  // namespace pix
