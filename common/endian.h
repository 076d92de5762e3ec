// Little- and big-endian stores into bytes the writers build in memory
// (headers patched after the fact, fixed-layout records).
#pragma once

#include <cstdint>
#include <vector>

namespace pix {

inline void PutLe16(std::uint8_t* p, std::uint32_t v) {
  p[0] = static_cast<std::uint8_t>(v);
  p[1] = static_cast<std::uint8_t>(v >> 8);
}
inline void PutLe32(std::uint8_t* p, std::uint32_t v) {
  PutLe16(p, v);
  PutLe16(p + 2, v >> 16);
}
inline void PutBe16(std::uint8_t* p, std::uint32_t v) {
  p[0] = static_cast<std::uint8_t>(v >> 8);
  p[1] = static_cast<std::uint8_t>(v);
}
inline void PutBe32(std::uint8_t* p, std::uint32_t v) {
  PutBe16(p, v >> 16);
  PutBe16(p + 2, v);
}

// Appending forms for byte vectors.
inline void AppendLe16(std::vector<std::uint8_t>& b, std::uint32_t v) {
  b.push_back(static_cast<std::uint8_t>(v));
  b.push_back(static_cast<std::uint8_t>(v >> 8));
}
inline void AppendLe32(std::vector<std::uint8_t>& b, std::uint32_t v) {
  AppendLe16(b, v);
  AppendLe16(b, v >> 16);
}
inline void AppendBe16(std::vector<std::uint8_t>& b, std::uint32_t v) {
  b.push_back(static_cast<std::uint8_t>(v >> 8));
  b.push_back(static_cast<std::uint8_t>(v));
}
inline void AppendBe32(std::vector<std::uint8_t>& b, std::uint32_t v) {
  AppendBe16(b, v >> 16);
  AppendBe16(b, v);
}

}  // namespace pix
