// The converters of this folder, as the route table and the previews call them.
#pragma once

#include "common/call.h"

namespace pix {

// Fonts and DIV MAP
int BdfToXbm(const ConvertCall& call);
int PsfToXbm(const ConvertCall& call);
int DivMapToPng(const ConvertCall& call);

// Converters not built yet
int ImgToPgm(const ConvertCall& call);
int IcsToDib(const ConvertCall& call);
int TgaWlm(const ConvertCall& call);
int GpbToTga(const ConvertCall& call);
int Dc2ToTga(const ConvertCall& call);
int BinToGif(const ConvertCall& call);
int CbmFbmToSun(const ConvertCall& call);
int ScmToWav(const ConvertCall& call);
int BmpToPms(const ConvertCall& call);
int RadianceToPict(const ConvertCall& call);
int GifToJif(const ConvertCall& call);
int ItgToPbm(const ConvertCall& call);
int PgcToPbm(const ConvertCall& call);
int PicToPcx(const ConvertCall& call);
int AviToWav(const ConvertCall& call);
int AmiToKoala(const ConvertCall& call);
int PixToXpm(const ConvertCall& call);
int PixToJpeg(const ConvertCall& call);
int SddToJpeg(const ConvertCall& call);
int IcnsToPng(const ConvertCall& call);
int HtaNctToPng(const ConvertCall& call);
int FpgToPng(const ConvertCall& call);
int SkpSxdToPng(const ConvertCall& call);
int HruToGif(const ConvertCall& call);
int MbmToGif(const ConvertCall& call);
int SdlLqtToGif(const ConvertCall& call);
int XarToGif(const ConvertCall& call);
int VobToGif(const ConvertCall& call);
int JifToGif(const ConvertCall& call);
int BmpToOtb(const ConvertCall& call);
int PigToSun(const ConvertCall& call);
int ImgToCmuA(const ConvertCall& call);
int ImgToCmuB(const ConvertCall& call);
int Hs2ToBmp(const ConvertCall& call);
int CfaToBmp(const ConvertCall& call);
int ImgToBmp(const ConvertCall& call);
int AcornSpriteToBmp(const ConvertCall& call);
int Ff9ToBmp(const ConvertCall& call);
int BdtToBmp(const ConvertCall& call);
int MappyFmpToBmp(const ConvertCall& call);
int YpcToBmp(const ConvertCall& call);
int DatToBmp(const ConvertCall& call);
int NpmToBmp(const ConvertCall& call);
int SirToBmp(const ConvertCall& call);
int MgcToBmp(const ConvertCall& call);
int PicToBmp(const ConvertCall& call);
int EpaToBmp(const ConvertCall& call);
int ZbrToBmp(const ConvertCall& call);
int PvrToBmp(const ConvertCall& call);
int PmsToBmp(const ConvertCall& call);
int AwgToBmp(const ConvertCall& call);
int BmfToBmp(const ConvertCall& call);
int CmxToBmp(const ConvertCall& call);
int OtbNlmToBmp(const ConvertCall& call);
int PdbToBmp(const ConvertCall& call);
int MspToBmp(const ConvertCall& call);
int ArtToBmp(const ConvertCall& call);
int ShsBinQt2ToBmp(const ConvertCall& call);
int PrcToBmp(const ConvertCall& call);
int PatToBmp(const ConvertCall& call);
int IffFlrToBmp(const ConvertCall& call);
int IffToTga(const ConvertCall& call);
int LcaToBmp(const ConvertCall& call);
int FrmToBmp(const ConvertCall& call);
int RixToBmp(const ConvertCall& call);
int GafToBmp(const ConvertCall& call);
int CapToBmp(const ConvertCall& call);
int SffToPbm(const ConvertCall& call);
int PppToPpm(const ConvertCall& call);
int MtxToPpm(const ConvertCall& call);
int PatToPpm(const ConvertCall& call);
int YuvToPpm(const ConvertCall& call);
int B3dToPpm(const ConvertCall& call);
int CmpToTiff(const ConvertCall& call);
int BmzToBmp(const ConvertCall& call);

}  // namespace pix
