// The converters of this folder, as the route table and the previews call them.
#pragma once

#include "common/call.h"

namespace pix {

// Retro converters
int ZxScreenToTiff(const ConvertCall& call);
int ZxSnapshotToTiff(const ConvertCall& call);
int ZxTapeBlockExtract(const ConvertCall& call);
int ZxTapeToZxs(const ConvertCall& call);
int ZxScreenToPrg(const ConvertCall& call);
int CpcScreenToTiff(const ConvertCall& call);
int XbmToGrob(const ConvertCall& call);
int PcxToTiGrayPic(const ConvertCall& call);
int GroToBmp(const ConvertCall& call);
int OricTapeToPpm(const ConvertCall& call);
int IcnToIff(const ConvertCall& call);

}  // namespace pix
