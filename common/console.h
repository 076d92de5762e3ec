// Console messages of the converters that descend from console tools. They go
// through here so that tests can capture them; nothing ever reads the console.
#pragma once

#include "common/compat.h"

#include <cstdio>

namespace pix {

// Writes a message to standard error, exactly as given.
void PrintErr(const char* fmt, ...) PIX_PRINTF(1, 2);
// Writes a message to standard output, exactly as given.
void PrintOut(const char* fmt, ...) PIX_PRINTF(1, 2);

}  // namespace pix
