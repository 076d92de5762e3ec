// Placeholders for the converters not built yet that are not built yet: each recognises
// nothing, writes nothing and returns 0.
#include "formats/formats.h"

namespace pix {

int BinToGif(const ConvertCall&) { return 0; }
int ScmToWav(const ConvertCall&) { return 0; }
int RadianceToPict(const ConvertCall&) { return 0; }
int PicToPcx(const ConvertCall&) { return 0; }
int AviToWav(const ConvertCall&) { return 0; }
int PixToXpm(const ConvertCall&) { return 0; }
int PixToJpeg(const ConvertCall&) { return 0; }
int SddToJpeg(const ConvertCall&) { return 0; }
int IcnsToPng(const ConvertCall&) { return 0; }
int HtaNctToPng(const ConvertCall&) { return 0; }
int SkpSxdToPng(const ConvertCall&) { return 0; }
int MbmToGif(const ConvertCall&) { return 0; }
int SdlLqtToGif(const ConvertCall&) { return 0; }
int XarToGif(const ConvertCall&) { return 0; }
int VobToGif(const ConvertCall&) { return 0; }
int PigToSun(const ConvertCall&) { return 0; }
int ImgToCmuA(const ConvertCall&) { return 0; }
int ImgToCmuB(const ConvertCall&) { return 0; }
int Hs2ToBmp(const ConvertCall&) { return 0; }
int CfaToBmp(const ConvertCall&) { return 0; }
int ImgToBmp(const ConvertCall&) { return 0; }
int AcornSpriteToBmp(const ConvertCall&) { return 0; }
int Ff9ToBmp(const ConvertCall&) { return 0; }
int MappyFmpToBmp(const ConvertCall&) { return 0; }
int PicToBmp(const ConvertCall&) { return 0; }
int MspToBmp(const ConvertCall&) { return 0; }
int IffFlrToBmp(const ConvertCall&) { return 0; }
int IffToTga(const ConvertCall&) { return 0; }
int FrmToBmp(const ConvertCall&) { return 0; }
int RixToBmp(const ConvertCall&) { return 0; }
int GafToBmp(const ConvertCall&) { return 0; }
int SffToPbm(const ConvertCall&) { return 0; }
int PppToPpm(const ConvertCall&) { return 0; }
int MtxToPpm(const ConvertCall&) { return 0; }
int PatToPpm(const ConvertCall&) { return 0; }
int YuvToPpm(const ConvertCall&) { return 0; }
int B3dToPpm(const ConvertCall&) { return 0; }
int CmpToTiff(const ConvertCall&) { return 0; }
int BmzToBmp(const ConvertCall&) { return 0; }

}  // namespace pix
