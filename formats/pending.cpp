// Placeholders for the converters not built yet that are not built yet: each recognises
// nothing, writes nothing and returns 0.
#include "formats/formats.h"

namespace pix {

int ScmToWav(const ConvertCall&) { return 0; }
int BmpToPms(const ConvertCall&) { return 0; }
int AviToWav(const ConvertCall&) { return 0; }
int IcnsToPng(const ConvertCall&) { return 0; }
int BmpToOtb(const ConvertCall&) { return 0; }
// ".pig" pictures are named after a Ricoh scanner's files, but no description or
// sample of their layout is known; the Descent texture archives of the same
// extension are not single pictures. Nothing is recognised.
int PigToSun(const ConvertCall&) { return 0; }
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
// ".mtx" textures (Maw-Ware, Alchemy Mindworks) are known by name only; the
// documented ".mtx" files are matrices, scenes and music, not pictures.
int MtxToPpm(const ConvertCall&) { return 0; }
// Picture-bearing ".b3d" files are known by name only; Blitz3D models ("BB3D")
// and QuickDraw 3D metafiles ("3DMF") of that extension hold no picture.
int B3dToPpm(const ConvertCall&) { return 0; }
int BmzToBmp(const ConvertCall&) { return 0; }

}  // namespace pix
