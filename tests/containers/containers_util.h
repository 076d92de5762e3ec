// Helpers for the container tests: running a converter by call, making real
// pictures with PIL, and assembling containers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/call.h"
#include "support.h"

namespace ctest {

using pixtest::Bytes;

// Runs a converter in file mode (target given) or memory mode (out given).
int CallFile(pix::ConverterFn fn, const std::string& source, const std::string& target, int arg1 = 0, int arg2 = 0);
// Memory mode: the block copied (empty when the result is 0); `result` gets the return value.
Bytes CallMemory(pix::ConverterFn fn, const std::string& source, int arg1, int* result = nullptr);

// A noise picture of w x h pixels written by PIL in the given format ("PNG",
// "GIF", "PCX"); `seed` makes it deterministic.
Bytes MakePicture(const pixtest::Scratch& s, const std::string& format, int w, int h, int seed);

// Deterministic filler that holds none of the signatures the scanners look for.
Bytes Filler(std::size_t n, int seed);

void Append(Bytes& to, const Bytes& more);
void Append(Bytes& to, const std::string& more);
void PutLe(Bytes& to, std::uint32_t v, int bytes);


}  // namespace ctest
