// The converters of this folder, as the route table and the previews call them.
#pragma once

#include "common/call.h"

namespace pix {

// Shape archives
int FshToBmp(const ConvertCall& call);

}  // namespace pix
