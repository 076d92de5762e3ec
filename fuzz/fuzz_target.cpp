// One libFuzzer target per group (PIXFUZZ_GROUP). The first byte picks the
// entry, the second varies the call; the rest is the source file.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "harness.h"

#ifndef PIXFUZZ_GROUP
#error "PIXFUZZ_GROUP must name the target group"
#endif

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::vector<pixfuzz::Entry> entries = pixfuzz::EntriesOf(PIXFUZZ_GROUP);
  if (size < 2 || entries.empty()) return 0;
  const pixfuzz::Entry& e = entries[data[0] % entries.size()];
  pixfuzz::RunEntry(e, data + 2, size - 2, data[1]);
  return 0;
}
