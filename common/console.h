// Console messages of the converters that descend from console tools. They go
// through here so that tests can capture them; nothing ever reads the console.
#pragma once

#include "common/compat.h"

#include <cstdarg>
#include <cstdio>
#include <string>

namespace pix {

// Writes a message to standard error, exactly as given.
void PrintErr(const char* fmt, ...) PIX_PRINTF(1, 2);
// Writes a message to standard output, exactly as given.
void PrintOut(const char* fmt, ...) PIX_PRINTF(1, 2);

// While alive, collects the messages this thread's converters print instead
// of writing them to the console (a batch run files them per conversion).
class ConsoleCapture {
 public:
  ConsoleCapture();
  ~ConsoleCapture();
  ConsoleCapture(const ConsoleCapture&) = delete;
  ConsoleCapture& operator=(const ConsoleCapture&) = delete;
  const std::string& text() const { return text_; }

 private:
  friend void Emit(std::FILE*, const std::string&);
  std::string text_;
  ConsoleCapture* previous_;
};

// printf into a string.
std::string Format(const char* fmt, ...) PIX_PRINTF(1, 2);
std::string FormatV(const char* fmt, std::va_list ap);

}  // namespace pix
