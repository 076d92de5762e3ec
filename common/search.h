// The byte searches every scanner uses. Each returns the first offset of a hit
// or -1. Several of them deliberately compare a few bytes past n: blocks they
// run over must carry zeroed slack after their capacity (ScanBlock does).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pix {

// Slack after every scan block; covers the furthest look past n of any search.
inline constexpr std::size_t kScanSlack = 16;

// A scan buffer of `capacity` bytes followed by kScanSlack zero bytes.
class ScanBlock {
 public:
  explicit ScanBlock(std::size_t capacity) : bytes_(capacity + kScanSlack, 0), cap_(capacity) {}
  std::uint8_t* data() { return bytes_.data(); }
  const std::uint8_t* data() const { return bytes_.data(); }
  std::size_t capacity() const { return cap_; }
  std::uint8_t& operator[](std::size_t i) { return bytes_[i]; }

 private:
  std::vector<std::uint8_t> bytes_;
  std::size_t cap_;
};

// First i, 0 <= i < n, where the NUL-terminated pattern stands (the comparison
// may run strlen(pattern) - 1 bytes past n). Empty pattern: 0. n < 1: -1.
int FindPattern(int n, const std::uint8_t* block, const char* pattern);
// First i < n with block[i] == x and block[i+1] == y (may look at block[n]).
int FindPair(int n, const std::uint8_t* block, std::uint8_t x, std::uint8_t y);
// First i with i + 4 <= n and FF D8 FF E0 at i.
int FindStartOfPicture(int n, const std::uint8_t* block);
// First i with i + 4 <= n and FF D8 FF at i.
int FindShortStart(int n, const std::uint8_t* block);
// First i < n with a b c at i (may look two bytes past n).
int FindThree(int n, const std::uint8_t* block, std::uint8_t a, std::uint8_t b, std::uint8_t c);
// First i with i + 12 <= n and a b c d at i: a hit in the last 11 bytes is not reported.
int FindFour(int n, const std::uint8_t* block, std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d);
// First i with i + 5 <= n and the five letters at i, i+2, ..., i+8 (16-bit
// little-endian text found by its low bytes; may look up to 4 bytes past n).
int FindWide(int n, const std::uint8_t* block, const char letters[5]);

}  // namespace pix
