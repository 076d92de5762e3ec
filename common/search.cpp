#include "common/search.h"

#include <cstring>

namespace pix {

int FindPattern(int n, const std::uint8_t* block, const char* pattern) {
  if (n < 1) return -1;
  const std::size_t len = std::strlen(pattern);
  if (len == 0) return 0;
  const auto first = static_cast<unsigned char>(pattern[0]);
  const std::uint8_t* p = block;
  const std::uint8_t* end = block + n;
  // memchr finds candidates fast; the comparison itself may run past n.
  while (p < end) {
    p = static_cast<const std::uint8_t*>(std::memchr(p, first, static_cast<std::size_t>(end - p)));
    if (!p) return -1;
    // The second byte is checked in place: most candidates fail there.
    if ((len == 1 || p[1] == static_cast<unsigned char>(pattern[1])) && std::memcmp(p + 1, pattern + 1, len - 1) == 0)
      return static_cast<int>(p - block);
    ++p;
  }
  return -1;
}

int FindPair(int n, const std::uint8_t* block, std::uint8_t x, std::uint8_t y) {
  if (n < 1) return -1;
  const std::uint8_t* p = block;
  const std::uint8_t* end = block + n;
  while (p < end) {
    p = static_cast<const std::uint8_t*>(std::memchr(p, x, static_cast<std::size_t>(end - p)));
    if (!p) return -1;
    if (p[1] == y) return static_cast<int>(p - block);
    ++p;
  }
  return -1;
}

int FindStartOfPicture(int n, const std::uint8_t* block) {
  for (int i = 0; i + 4 <= n; ++i)
    if (block[i] == 0xFF && block[i + 1] == 0xD8 && block[i + 2] == 0xFF && block[i + 3] == 0xE0) return i;
  return -1;
}

int FindShortStart(int n, const std::uint8_t* block) {
  for (int i = 0; i + 4 <= n; ++i)
    if (block[i] == 0xFF && block[i + 1] == 0xD8 && block[i + 2] == 0xFF) return i;
  return -1;
}

int FindThree(int n, const std::uint8_t* block, std::uint8_t a, std::uint8_t b, std::uint8_t c) {
  for (int i = 0; i < n; ++i)
    if (block[i] == a && block[i + 1] == b && block[i + 2] == c) return i;
  return -1;
}

int FindFour(int n, const std::uint8_t* block, std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d) {
  for (int i = 0; i + 12 <= n; ++i)
    if (block[i] == a && block[i + 1] == b && block[i + 2] == c && block[i + 3] == d) return i;
  return -1;
}

int FindWide(int n, const std::uint8_t* block, const char letters[5]) {
  for (int i = 0; i + 5 <= n; ++i) {
    bool hit = true;
    for (int k = 0; k < 5 && hit; ++k) hit = block[i + 2 * k] == static_cast<std::uint8_t>(letters[k]);
    if (hit) return i;
  }
  return -1;
}

}  // namespace pix
