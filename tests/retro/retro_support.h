// Helpers of the retro tests: running the command-line tool and decoders,
// and packing Spectrum memory the way the snapshot formats store it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support.h"

namespace retrotest {

using pixtest::Bytes;

// Runs `pixmisc convert SRC DST`; returns the tool's result line value (or -1).
int CliConvert(const std::string& src, const std::string& dst);


inline void Put16le(Bytes& b, std::size_t at, unsigned v) {
  b[at] = static_cast<std::uint8_t>(v);
  b[at + 1] = static_cast<std::uint8_t>(v >> 8);
}
inline void Put16be(Bytes& b, std::size_t at, unsigned v) {
  b[at] = static_cast<std::uint8_t>(v >> 8);
  b[at + 1] = static_cast<std::uint8_t>(v);
}

}  // namespace retrotest
