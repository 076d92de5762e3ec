#include "common/console.h"

#include <cstdarg>

namespace pix {
namespace {
thread_local ConsoleCapture* tCapture = nullptr;
}  // namespace

ConsoleCapture::ConsoleCapture() : previous_(tCapture) { tCapture = this; }
ConsoleCapture::~ConsoleCapture() { tCapture = previous_; }

void Emit(std::FILE* stream, const std::string& text) {
  if (tCapture) {
    tCapture->text_ += text;
    return;
  }
  std::fputs(text.c_str(), stream);
  std::fflush(stream);
}

void PrintErr(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string text = FormatV(fmt, ap);
  va_end(ap);
  Emit(stderr, text);
}

void PrintOut(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string text = FormatV(fmt, ap);
  va_end(ap);
  Emit(stdout, text);
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
