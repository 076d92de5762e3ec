// Block reading shared by the container scanners: a read that leaves the unused
// tail of the block zeroed, so a search that looks a few bytes past what was
// read never sees bytes of an earlier block.
#pragma once

#include <cstddef>
#include <cstring>

#include "common/files.h"
#include "common/search.h"

namespace pix {

// Reads up to n bytes (n <= block capacity) into the start of the block.
inline std::size_t ReadBlock(InFile& in, ScanBlock& block, std::size_t n) {
  std::size_t got = in.read(block.data(), n);
  if (got < block.capacity()) std::memset(block.data() + got, 0, block.capacity() - got);
  return got;
}

}  // namespace pix
