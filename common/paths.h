// Path splitting, the path clean-up, target-name formatting and the
// extension comparison shared by the route table and the preview lists.
#pragma once

#include "common/compat.h"

#include <string>

namespace pix {

// Longest path a name may have; longer names are refused (formatted as "").
inline constexpr std::size_t kMaxPath = 4095;

// Drive ("C:" or ""), directory (with its trailing separator, or ""), file
// name without extension, and extension (from the last dot of the file name,
// dot included, or ""). '/' and '\' both separate.
struct SplitPath {
  std::string drive, dir, name, ext;
};
SplitPath Split(const char* path);

// Collapses every run of separators ('/' or '\', mixed) into its first one.
void CleanPath(std::string& path);

// printf-style formatting of a path pattern: every '\' of the pattern itself
// becomes the native separator, then the result goes through CleanPath.
// Returns "" when the result would be longer than kMaxPath.
std::string FormatPath(const char* pattern, ...) PIX_PRINTF(1, 2);

// "%s%s%s<suffix>" from the target's drive and directory and the source's
// name, where suffix is a printf pattern for the number (e.g. "_%04d.jpg").
std::string SiblingName(const char* target, const char* source, const char* suffixPattern, int number);

// Case-insensitive comparison of an extension with a literal over at most n
// characters, stopping early at the end of either string (so a literal
// shorter than n must match exactly).
bool ExtMatches(const std::string& ext, const char* literal, int n);

// Lower-cased copy of an ASCII string.
std::string Lower(std::string s);

}  // namespace pix
