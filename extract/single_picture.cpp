// Files that wrap one JPEG picture behind a header of their own (.kiz, .img,
// .xif, .tnl): the picture is taken from 6 bytes before the first "JFIF"
// (found in 512-byte blocks) to the end of the source and written as the
// target. Result 1, or 0 when there is no "JFIF".
#include "common/files.h"
#include "common/search.h"
#include "extract/extract.h"
#include "extract/jpeg_scan.h"

namespace pix {

int SinglePictureExtract(const ConvertCall& call) {
  if (call.memoryMode()) return 0;
  BlockSource src;
  if (!src.open(call.source)) return 0;
  ScanBlock block(512);
  for (;;) {
    std::size_t got = src.read(block.data(), 512);
    if (src.eof()) return 0;
    int p = FindPattern(static_cast<int>(got), block.data(), "JFIF");
    if (p < 0) continue;
    src.seekCur(-static_cast<std::int64_t>(got));
    src.seekCur(p - 6);
    Sink sink;
    if (!sink.open(call.target)) return 0;
    CopyToEnd(src, sink);
    sink.close();
    return 1;
  }
}

}  // namespace pix
