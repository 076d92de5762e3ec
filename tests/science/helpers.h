// Shared by the astronomy tests: the generated sources, reading FITS files
// back with astropy and fitsverify, splitting headers into cards.
#pragma once

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

// A file made by samples/gen_science.py.
inline std::string Sample(const std::string& name) { return std::string(pixtest::kSourceDir) + "/samples/" + name; }

}  // namespace scitest
