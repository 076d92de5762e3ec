// Reading a Windows or OS/2 BMP file as the source of a converter that writes
// some other format (OTB, PMS): uncompressed 1, 4, 8, 24 and 32 bits, and
// 32 bits with bit-field masks, rows bottom-up or top-down.
#pragma once

#include "common/files.h"
#include "common/image.h"

namespace pix {

// Decodes the BMP bytes into img: 1-8 bits as an indexed picture with the
// file's colour table (bits kept), 24 and 32 bits as RGB. False for anything
// else (compressed, cut short, sizes the file cannot hold).
bool ReadBmpSource(const Bytes& data, Image& img);

}  // namespace pix
