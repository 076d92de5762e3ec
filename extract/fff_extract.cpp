// FFF files carry a JFIF preview first and the picture after it: the first
// "JFIF" (found in 512-byte blocks) is passed over, and everything from
// 6 bytes before the second one to the end of the source is written as the
// target. Result 1, or 0 when there is no second "JFIF".
#include "common/files.h"
#include "common/search.h"
#include "extract/extract.h"
#include "extract/jpeg_scan.h"

namespace pix {

int FffExtract(const ConvertCall& call) {
  if (call.memoryMode()) return 0;
  BlockSource src;
  if (!src.open(call.source)) return 0;
  ScanBlock block(512);
  int seen = 0;
  for (;;) {
    std::size_t got = src.read(block.data(), 512);
    if (src.eof()) return 0;
    int p = FindPattern(static_cast<int>(got), block.data(), "JFIF");
    if (p < 0) continue;
    src.seekCur(-static_cast<std::int64_t>(got));
    if (++seen == 1) {
      src.seekCur(p + 4);  // the search goes on right after the first tag
      continue;
    }
    src.seekCur(p - 6);
    Sink sink;
    if (!sink.open(call.target)) return 0;
    CopyToEnd(src, sink);
    sink.close();
    return 1;
  }
}

}  // namespace pix
