// Placeholders for the astronomy converters that are not built yet: each recognises
// nothing, writes nothing and returns 0.
#include "science/science.h"

namespace pix {

int SbigToFits(const ConvertCall&) { return 0; }
int FtzToFits(const ConvertCall&) { return 0; }
int IbgToFits(const ConvertCall&) { return 0; }
int B16ToFits(const ConvertCall&) { return 0; }
int PicToFits(const ConvertCall&) { return 0; }
int HeightField(const ConvertCall&) { return 0; }

}  // namespace pix
