// Routes whose source format could not be identified: each converter
// recognises nothing, writes nothing and returns 0, in file and memory mode.
//
// ".bdt" (BdtToBmp): named "PhotoTime thumb album" in one converter's format
//   list, probably the thumbnail catalogue of a photo organiser of the early
//   2000s; no signature, layout or sample is public.
// ".ypc" (YpcToBmp): "WhyPic" pictures, starting with the two bytes "Yp";
//   nothing public describes what follows, and two bytes alone would match
//   any text starting "Yp", so nothing is read.
// ".awg" (AwgToBmp): Ability Draw drawings (Ability Office); the sibling
//   Ability formats are compound files, but no ".awg" layout or sample exists.
// ".lca" (LcaToBmp): "LCA (preview)" in one converter's list, a document
//   carrying a preview picture; the program that writes it is unknown.
#include "formats/formats.h"

namespace pix {

int BdtToBmp(const ConvertCall&) { return 0; }
int YpcToBmp(const ConvertCall&) { return 0; }
int AwgToBmp(const ConvertCall&) { return 0; }
int LcaToBmp(const ConvertCall&) { return 0; }

}  // namespace pix
