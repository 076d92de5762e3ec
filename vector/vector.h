// The converters of this folder, as the route table and the previews call them.
#pragma once

#include "common/call.h"

namespace pix {

// Vector documents
int AffToWmf(const ConvertCall& call);

}  // namespace pix
