// Reading a Windows or OS/2 BMP file as the source of a converter (BMP to
// OTB or PMS, and the bitmaps inside other containers): uncompressed 1, 4, 8,
// 24 and 32 bits, and 32 bits with bit-field masks, rows bottom-up or top-down.
#pragma once

#include "common/files.h"
#include "common/image.h"
#include "common/reader.h"

namespace pix {

// Decodes the BMP bytes into img: 1-8 bits as an indexed picture with the
// file's colour table (bits kept), 24 and 32 bits as RGB. False for anything
// else (compressed, cut short, sizes the file cannot hold).
bool ReadBmpSource(const Bytes& data, Image& img);
bool ReadBmpSource(const ByteReader& data, Image& img);

// A packed DIB (info header, colour table, pixel bits, no file header) as
// found inside other files: its length in bytes when the info header is a
// valid one (size 12, 40, 108 or 124, sides 1..32768, planes 1, known depth
// and compression) and the whole DIB lies inside `dib`; 0 otherwise.
std::size_t DibLength(const ByteReader& dib);
// Decodes a packed DIB (see DibLength) like ReadBmpSource.
bool ReadDib(const ByteReader& dib, Image& img);
// The depth to write a decoded source picture back as BMP: the source's
// depth for indexed pictures, 24 bits otherwise.
inline int BmpDepthFor(const Image& img) { return img.indexed() ? img.bits : 24; }

}  // namespace pix
