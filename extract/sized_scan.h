// The engine behind the scanners for streams that declare their own length
// (bitmap files, packed bitmaps): the source is searched through a window
// that slides forward for a short signature; at each hit the member's rules
// read the header there and give the stream's length (0: not a stream, the
// search goes on one byte further); an accepted stream is copied (after the
// member's prefix, if any) and the search resumes right after it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "common/call.h"
#include "common/files.h"
#include "common/reader.h"

namespace pix {

struct SizedScanRules {
  const char* suffix;             // "_%04d.bmp": files numbered from 1
  std::uint8_t signature[8];      // the bytes a stream starts with
  std::size_t signatureLength;   // 2 to 8
  std::size_t headerLength;       // bytes measure() is given at a hit (fewer at the file's end)
  // The whole stream's length for the header at a hit, 0 when the bytes
  // there are not such a stream; `room` is what the file holds from the hit on.
  std::uint64_t (*measure)(const ByteReader& header, std::uint64_t room);
  // For streams whose length only a walk through them tells (null when the
  // header says it): the length of the stream at `at` read through `in`, 0
  // when it is not a whole stream. Called after measure() accepted the header.
  std::uint64_t (*walk)(InFile& in, std::uint64_t at, std::uint64_t room);
  // Bytes written before the stream (up to 16), or null.
  std::size_t (*prefix)(const ByteReader& header, std::uint64_t length, std::uint8_t* out);
};

// File mode: every stream as "<source name><suffix>" beside the target, the
// number of files written. Memory mode: stream number call.arg1 (1 or less:
// the first) handed over through call.out, its length; 0 (out untouched)
// when there is no such stream.
int RunSizedScan(const ConvertCall& call, const SizedScanRules& rules);

}  // namespace pix
