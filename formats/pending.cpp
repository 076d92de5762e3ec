// Placeholders for the converters not built yet that are not built yet: each recognises
// nothing, writes nothing and returns 0.
#include "formats/formats.h"

namespace pix {

int BmpToPms(const ConvertCall&) { return 0; }
int MbmToGif(const ConvertCall&) { return 0; }
int BmpToOtb(const ConvertCall&) { return 0; }
int PigToSun(const ConvertCall&) { return 0; }
int ImgToCmuA(const ConvertCall&) { return 0; }
int ImgToCmuB(const ConvertCall&) { return 0; }
int BdtToBmp(const ConvertCall&) { return 0; }
int YpcToBmp(const ConvertCall&) { return 0; }
int DatToBmp(const ConvertCall&) { return 0; }
int NpmToBmp(const ConvertCall&) { return 0; }
int SirToBmp(const ConvertCall&) { return 0; }
int MgcToBmp(const ConvertCall&) { return 0; }
int EpaToBmp(const ConvertCall&) { return 0; }
int ZbrToBmp(const ConvertCall&) { return 0; }
int PvrToBmp(const ConvertCall&) { return 0; }
int PmsToBmp(const ConvertCall&) { return 0; }
int AwgToBmp(const ConvertCall&) { return 0; }
int BmfToBmp(const ConvertCall&) { return 0; }
int CmxToBmp(const ConvertCall&) { return 0; }
int OtbNlmToBmp(const ConvertCall&) { return 0; }
int PdbToBmp(const ConvertCall&) { return 0; }
int ArtToBmp(const ConvertCall&) { return 0; }
int ShsBinQt2ToBmp(const ConvertCall&) { return 0; }
int PrcToBmp(const ConvertCall&) { return 0; }
int PatToBmp(const ConvertCall&) { return 0; }
int LcaToBmp(const ConvertCall&) { return 0; }
int CapToBmp(const ConvertCall&) { return 0; }
int SffToPbm(const ConvertCall&) { return 0; }
int PppToPpm(const ConvertCall&) { return 0; }
int MtxToPpm(const ConvertCall&) { return 0; }
int PatToPpm(const ConvertCall&) { return 0; }
int YuvToPpm(const ConvertCall&) { return 0; }
int B3dToPpm(const ConvertCall&) { return 0; }
int CmpToTiff(const ConvertCall&) { return 0; }

}  // namespace pix
