// The flat PowerPoint record walk shared by the picture count and PPTtoJPG:
// from offset 512 on, records of a 32-bit little-endian header word and a
// 32-bit little-endian length; the walk ends at a short read or a length 0.
#pragma once

#include <cstdint>

#include "common/reader.h"
#include "extract/jpeg_source.h"

namespace pix {

// The header word of a record that holds a JPEG picture.
inline constexpr std::uint32_t kPptJpegRecord = 0xF01D46A0u;
inline constexpr std::int64_t kPptFirstRecord = 512;

// Reads the next record header; false where the walk ends. The read position
// is then at the record's body.
inline bool NextPptRecord(BlockSource& src, std::uint32_t& header, std::uint32_t& length) {
  std::uint8_t rec[8];
  if (src.read(rec, 8) < 8) return false;
  ByteReader r(rec, 8);
  header = r.u32leAt(0);
  length = r.u32leAt(4);
  return length != 0;
}

}  // namespace pix
