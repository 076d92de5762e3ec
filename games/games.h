// The converters of this folder, as the route table and the previews call them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/call.h"

namespace pix {

// Shape archives
int FshToBmp(const ConvertCall& call);

// QFS (RefPack) compression: a stream starts with 0x10 or 0x11, then 0xFB.
bool IsQfs(const std::uint8_t* data, std::size_t size);
// Expands a QFS stream into out (its size the stream's declared size). Prints
// "Warning: bad length ? %d instead of %d\n" when the commands produce another
// count; copies never write past the declared size. False (with "Insufficient
// memory.\n") only when the output cannot be allocated.
bool QfsExpand(const std::uint8_t* data, std::size_t size, std::vector<std::uint8_t>& out);

}  // namespace pix
