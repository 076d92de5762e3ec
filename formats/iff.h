// The pictures of an IFF file, for the IFF/FLR to BMP and IFF to TGA
// converters: Electronic Arts IFF-85 (FORM ILBM and FORM PBM, at any depth
// inside FORM, LIST and CAT groups) and the Maxis IFF of The Sims (".iff"
// objects, ".flr" floors: BMP_ chunks and the frames of SPR# and SPR2
// sprites, with their PALT palettes). Pictures are numbered in file order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/image.h"
#include "common/reader.h"

namespace pix {

struct IffPicture {
  enum class Kind { Ilbm, Pbm, Bmp, Sprite1, Sprite2 };
  Kind kind = Kind::Ilbm;
  std::size_t offset = 0;   // FORM contents after the type / BMP_ data / sprite chunk data
  std::size_t length = 0;
  std::uint32_t frame = 0;  // sprite frame number within its chunk
};

struct MaxisPalette {
  std::uint16_t id = 0;
  std::vector<Rgb> colours;
};

struct IffFile {
  std::vector<IffPicture> pictures;
  std::vector<MaxisPalette> palettes;
};

// Lists the pictures; false when the bytes are no IFF file of either kind.
bool ScanIff(const ByteReader& file, IffFile& iff);
// Decodes one listed picture; false when it cannot be decoded.
bool DecodeIffPicture(const ByteReader& file, const IffFile& iff, const IffPicture& pic, Image& img);

// The two halves of the reader.
bool ScanEaIff(const ByteReader& file, IffFile& iff);
bool DecodeIlbm(const ByteReader& form, bool pbm, Image& img);
bool ScanMaxisIff(const ByteReader& file, IffFile& iff);
bool DecodeMaxisSprite(const ByteReader& chunk, const IffFile& iff, const IffPicture& pic, Image& img);

}  // namespace pix
