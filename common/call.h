// The one shape every converter has: a call record in, a signed 32-bit out.
#pragma once

namespace pix {

// What a converter is given. The route table fills `target` and the constant
// arguments; the preview entries leave `target` null and set `out` (and, for
// containers, `arg1` to the wanted picture). Each converter gives arg1/arg2 the
// meaning its format needs (mode, wanted index, kind).
struct ConvertCall {
  const char* source = nullptr;
  const char* target = nullptr;       // null or "": memory mode
  int arg1 = 0;
  int arg2 = 0;
  unsigned char** out = nullptr;      // where a memory result goes

  bool memoryMode() const { return target == nullptr || target[0] == '\0'; }
};

using ConverterFn = int (*)(const ConvertCall&);

}  // namespace pix
