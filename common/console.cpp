#include "common/console.h"

#include <cstdarg>

namespace pix {

void PrintErr(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::vfprintf(stderr, fmt, ap);
  va_end(ap);
  std::fflush(stderr);
}

void PrintOut(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::vfprintf(stdout, fmt, ap);
  va_end(ap);
  std::fflush(stdout);
}

std::string FormatV(const char* fmt, std::va_list ap) {
  std::va_list ap2;
  va_copy(ap2, ap);
  int n = std::vsnprintf(nullptr, 0, fmt, ap);
  std::string s(n > 0 ? static_cast<std::size_t>(n) : 0, '\0');
  if (n > 0) std::vsnprintf(s.data(), s.size() + 1, fmt, ap2);
  va_end(ap2);
  return s;
}

std::string Format(const char* fmt, ...) {
  std::va_list ap;
  va_start(ap, fmt);
  std::string s = FormatV(fmt, ap);
  va_end(ap);
  return s;
}

}  // namespace pix
