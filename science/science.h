// The converters of this folder, as the route table and the previews call them.
#pragma once

#include "common/call.h"

namespace pix {

// Astronomy converters
int SbigToFits(const ConvertCall& call);
int FtzToFits(const ConvertCall& call);
int IbgToFits(const ConvertCall& call);
int B16ToFits(const ConvertCall& call);
int PicToFits(const ConvertCall& call);
int HeightField(const ConvertCall& call);

}  // namespace pix
