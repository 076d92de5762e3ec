// Deflate data unpacked through zlib, for the formats that carry zlib or gzip
// streams inside them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "common/files.h"

namespace pix {

// zlib's windowBits for the wrappers a stream may have.
inline constexpr int kZlibStream = 15, kGzipStream = 15 + 16, kZlibOrGzip = 15 + 32;

// Appends what the stream unpacks to, at most `limit` bytes, to out. True
// when the stream ended within the limit; a damaged or cut stream keeps what
// it gave before.
bool Inflate(const std::uint8_t* data, std::size_t size, int windowBits, std::size_t limit, Bytes& out);

}  // namespace pix
