// What the fuzz targets call: every route row (and the catch-all targets),
// every preview extension and every other export, grouped into targets.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pixfuzz {

enum class Kind { Route, Single, Multi, Count, Export };

struct Entry {
  Kind kind;
  std::string srcExt;  // extension the input file is given ("" for none)
  std::string dstExt;  // target extension (routes), "" for memory mode
  int which = 0;       // counting export / other export number
  std::string label;
};

// The target groups, by name: routes-extract, routes-retro, routes-science,
// routes-games, routes-formats, previews, multi, counts, exports.
std::vector<std::string> Groups();
std::vector<Entry> EntriesOf(const std::string& group);

// Runs one entry on `bytes` inside a private scratch folder and checks that
// nothing was left outside the target folder or in the private temp
// directory (aborting with a message when something was). `param` varies
// the call (wanted index, frame number, flags).
void RunEntry(const Entry& e, const std::uint8_t* bytes, std::size_t size, std::uint8_t param);

}  // namespace pixfuzz
