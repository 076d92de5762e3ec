// The preview lists: which converter shows a source in memory, chosen by the
// source extension alone.
#pragma once

#include <span>

#include "common/call.h"

namespace pix {

struct PreviewEntry {
  const char* ext;
  int compared;
  bool exactly3;
  const char* converterName;
  ConverterFn converter;
  int arg1;  // constant extra argument of seeMISC's entries
};

std::span<const PreviewEntry> SingleList();  // seeMISC, plain entries
std::span<const PreviewEntry> MultiList();   // seeMultiMISC

// The name of the converter seeMISC would run for a source ("" if none);
// for the signature-checked kinds the first bytes decide.
const char* SingleConverterName(const char* source);
const char* MultiConverterName(const char* source);

}  // namespace pix
