// Converters of formats known by name only, whose layout no description or
// sample shows: each recognises nothing, writes nothing and returns 0.
#include "formats/formats.h"

namespace pix {

// ".pig" pictures are named after a Ricoh scanner's files, but no description or
// sample of their layout is known; the Descent texture archives of the same
// extension are not single pictures. Nothing is recognised.
int PigToSun(const ConvertCall&) { return 0; }
// ".mtx" textures (Maw-Ware, Alchemy Mindworks) are known by name only; the
// documented ".mtx" files are matrices, scenes and music, not pictures.
int MtxToPpm(const ConvertCall&) { return 0; }
// Picture-bearing ".b3d" files are known by name only; Blitz3D models ("BB3D")
// and QuickDraw 3D metafiles ("3DMF") of that extension hold no picture.
int B3dToPpm(const ConvertCall&) { return 0; }

}  // namespace pix
