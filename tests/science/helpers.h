// Shared by the astronomy tests: building sources, reading FITS files back
// with astropy and fitsverify, splitting headers into cards.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "support.h"

namespace scitest {

using pixtest::Bytes;

// 80-character cards from the start of a FITS file up to and including END.
std::vector<std::string> Cards(const Bytes& fits);
// The card starting with key (first 8 characters compared after padding), or "".
std::string CardFor(const std::vector<std::string>& cards, const std::string& key);

struct FitsPixels {
  bool ok = false;
  int width = 0, height = 0;
  std::vector<long> values;  // physical values, row by row, as astropy gives them
  std::string error;
};
// Opens the file with astropy and returns the primary array.
FitsPixels AstropyRead(const std::string& path);

// fitsverify's "*** Error:" messages, each with its continuation lines.
std::vector<std::string> FitsVerifyErrors(const std::string& path);

inline void Put16le(Bytes& b, unsigned v) {
  b.push_back(static_cast<std::uint8_t>(v));
  b.push_back(static_cast<std::uint8_t>(v >> 8));
}
inline void Put32le(Bytes& b, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

// Appends b to a (vector::insert trips a false bounds warning of GCC 12 here).
inline void Append(Bytes& a, const Bytes& b) {
  std::size_t at = a.size();
  a.resize(at + b.size());
  if (!b.empty()) std::memcpy(a.data() + at, b.data(), b.size());
}

}  // namespace scitest
