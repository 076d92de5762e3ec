// IFF pictures to BMP and TGA. The source is an Electronic Arts IFF-85 file
// (Amiga and DOS paint pictures, FORM ILBM and FORM PBM) or a Maxis IFF of The
// Sims (".iff" objects, ".flr" floors), told apart by their first bytes.
// IFF/FLR to BMP writes every picture as "<source name>_0001.bmp", ... beside
// the target (arg1 > 0: only that picture) and returns the count; in memory
// mode it hands back picture arg1 (1 when arg1 <= 0). Palette pictures become
// 8-bit BMPs, HAM, deep and alpha pictures 24-bit ones; BMP_ chunks are
// copied as they stand. IFF to TGA writes picture 1 as a 24-bit TGA (32 bits
// for a sprite with alpha).
#include "common/series.h"
#include "formats/bmp_source.h"
#include "formats/formats.h"
#include "formats/iff.h"

namespace pix {

bool ScanIff(const ByteReader& file, IffFile& iff) { return ScanMaxisIff(file, iff) || ScanEaIff(file, iff); }

bool DecodeIffPicture(const ByteReader& file, const IffFile& iff, const IffPicture& pic, Image& img) {
  const ByteReader part = file.sub(pic.offset, pic.length);
  switch (pic.kind) {
    case IffPicture::Kind::Ilbm: return DecodeIlbm(part, false, img);
    case IffPicture::Kind::Pbm: return DecodeIlbm(part, true, img);
    case IffPicture::Kind::Bmp: return ReadBmpSource(part, img);
    default: return DecodeMaxisSprite(part, iff, pic, img);
  }
}

namespace {

struct Source {
  Bytes bytes;
  ByteReader file;
  IffFile iff;
  bool load(const char* path) {
    if (!path || !ReadWholeFile(path, bytes)) return false;
    file = ByteReader(bytes);
    return ScanIff(file, iff) && !iff.pictures.empty();
  }
};

bool WriteAsBmp(Sink& s, const Image& img) {
  if (img.channels == 1) return WriteBmp(s, img, 8);
  return WriteBmp(s, img.channels == 4 ? img.toRgb() : img, 24);
}

}  // namespace

int IffFlrToBmp(const ConvertCall& call) {
  Source src;
  if (!src.load(call.source)) return 0;
  Series series(call, "_%04d.bmp");
  const bool onlyOne = !call.memoryMode() && call.arg1 > 0;
  for (const IffPicture& pic : src.iff.pictures) {
    if (!series.wantsNext() || (onlyOne && series.next() != call.arg1)) {
      series.skip();
      continue;
    }
    const ByteReader part = src.file.sub(pic.offset, pic.length);
    // A write that fails (the call's output budget is spent) ends the series.
    if (pic.kind == IffPicture::Kind::Bmp) {
      if (!series.add([&](Sink& s) { return s.write(part.data(), part.size()); })) break;
    } else {
      Image img;
      if (!DecodeIffPicture(src.file, src.iff, pic, img))
        series.skip();
      else if (!series.add([&](Sink& s) { return WriteAsBmp(s, img); }))
        break;
    }
    if (series.done()) break;
  }
  return series.finish();
}

int IffToTga(const ConvertCall& call) {
  Source src;
  if (!src.load(call.source)) return 0;
  Image img;
  if (!DecodeIffPicture(src.file, src.iff, src.iff.pictures.front(), img)) return 0;
  if (img.channels == 1) img = img.toRgb();
  return WriteOne(call, [&](Sink& s) { return WriteTga(s, img); });
}

}  // namespace pix
