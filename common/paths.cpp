#include "common/paths.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

#include "platform/platform.h"

namespace pix {
namespace {
bool IsSep(char c) { return c == '/' || c == '\\'; }
}  // namespace

SplitPath Split(const char* path) {
  SplitPath s;
  if (!path) return s;
  std::string p = path;
  std::size_t start = 0;
  if (p.size() >= 2 && p[1] == ':' && ((p[0] >= 'A' && p[0] <= 'Z') || (p[0] >= 'a' && p[0] <= 'z'))) {
    s.drive = p.substr(0, 2);
    start = 2;
  }
  std::size_t lastSep = std::string::npos;
  for (std::size_t i = start; i < p.size(); ++i)
    if (IsSep(p[i])) lastSep = i;
  std::size_t nameStart = start;
  if (lastSep != std::string::npos) {
    s.dir = p.substr(start, lastSep + 1 - start);
    nameStart = lastSep + 1;
  }
  std::string file = p.substr(nameStart);
  std::size_t dot = file.rfind('.');
  if (dot == std::string::npos) {
    s.name = file;
  } else {
    s.name = file.substr(0, dot);
    s.ext = file.substr(dot);
  }
  return s;
}

void CleanPath(std::string& path) {
  std::string out;
  out.reserve(path.size());
  for (std::size_t i = 0; i < path.size(); ++i) {
    if (IsSep(path[i]) && !out.empty() && IsSep(out.back())) continue;
    out.push_back(path[i]);
  }
  path.swap(out);
}

std::string FormatPath(const char* pattern, ...) {
  std::string pat = pattern;
  for (char& c : pat)
    if (c == '\\') c = platform::kSep;
  va_list ap;
  va_start(ap, pattern);
  std::vector<char> buf(kMaxPath + 2);
  int n = std::vsnprintf(buf.data(), buf.size(), pat.c_str(), ap);
  va_end(ap);
  if (n < 0 || static_cast<std::size_t>(n) > kMaxPath) return {};
  std::string out(buf.data(), static_cast<std::size_t>(n));
  CleanPath(out);
  return out;
}

std::string SiblingName(const char* target, const char* source, const char* suffixPattern, int number) {
  SplitPath t = Split(target);
  SplitPath s = Split(source);
  char suffix[64];
  std::snprintf(suffix, sizeof suffix, suffixPattern, number);
  return FormatPath("%s%s%s%s", t.drive.c_str(), t.dir.c_str(), s.name.c_str(), suffix);
}

bool ExtMatches(const std::string& ext, const char* literal, int n) {
  for (int i = 0; i < n; ++i) {
    char a = i < static_cast<int>(ext.size()) ? ext[static_cast<std::size_t>(i)] : '\0';
    char b = literal[i];
    if (a >= 'A' && a <= 'Z') a = static_cast<char>(a - 'A' + 'a');
    if (b >= 'A' && b <= 'Z') b = static_cast<char>(b - 'A' + 'a');
    if (a != b) return false;
    if (a == '\0') return true;
  }
  return true;
}

std::string Lower(std::string s) {
  for (char& c : s)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return s;
}

}  // namespace pix
