// Placeholders for the retro converters that are not built yet: each recognises
// nothing, writes nothing and returns 0.
#include "retro/retro.h"

namespace pix {

int CpcScreenToTiff(const ConvertCall&) { return 0; }
int XbmToGrob(const ConvertCall&) { return 0; }
int PcxToTiGrayPic(const ConvertCall&) { return 0; }
int GroToBmp(const ConvertCall&) { return 0; }
int OricTapeToPpm(const ConvertCall&) { return 0; }
int IcnToIff(const ConvertCall&) { return 0; }

}  // namespace pix

#include "pixmisc.h"
extern "C" int PC1toIFF(const char*, const char*, unsigned char**) { return 0; }
