// IFF "FORM" groups in animation files (".ani"). Each group is cut from 4 bytes
// before its "FORM" up to 4 bytes before the next one and written as
// "<source name>_%04d.iff" beside the target, numbered from 1. The first group
// is written specially: the first 6 bytes of the scan block that found it, then
// the block's text from offset 18 up to its first zero byte, and then the
// source from the offset equal to that block's length on.
#include <algorithm>
#include <cstring>
#include <string>

#include "common/files.h"
#include "common/paths.h"
#include "common/search.h"
#include "extract/containers_io.h"
#include "extract/extract.h"

namespace pix {
namespace {

constexpr std::size_t kScanBytes = 4097;
constexpr std::size_t kCopyBytes = 4096;
// A group after the first starts 4 bytes before its own "FORM": hits inside
// its first 5 bytes are that signature, not the next group.
constexpr std::int64_t kOwnSignature = 5;

}  // namespace

int IffFormScan(const ConvertCall& call) {
  if (call.memoryMode()) return 0;
  InFile in(call.source);
  if (!in) return 0;
  ScanBlock block(kScanBytes);
  int counter = 0;
  bool first = true;

  for (;;) {
    const std::size_t n = ReadBlock(in, block, kScanBytes);
    if (n == 0 || in.eof()) return counter;
    const int p = FindPattern(static_cast<int>(n), block.data(), "FORM");
    if (p < 0) continue;
    in.seekCur(-static_cast<std::int64_t>(n));
    in.seekCur(p - 4);  // fails at the very start of the file: the position stays at 0
    const std::int64_t start = in.tell();

    ++counter;
    const std::string name = SiblingName(call.target, call.source, "_%04d.iff", counter);
    Sink out;
    if (name.empty() || !out.open(name.c_str())) return counter - 1;

    std::int64_t skipUntil = -1;
    if (first) {
      first = false;
      out.write(block.data(), 6);
      const void* zero = std::memchr(block.data(), 0, n);
      const std::size_t text = zero ? static_cast<std::size_t>(static_cast<const std::uint8_t*>(zero) - block.data()) : n;
      if (text > 18) out.write(block.data() + 18, text - 18);
      in.seekSet(static_cast<std::int64_t>(n));
    } else {
      skipUntil = start + kOwnSignature;
    }

    for (;;) {
      const std::int64_t at = in.tell();
      const std::size_t m = ReadBlock(in, block, kCopyBytes);
      if (m == 0 || in.eof()) {
        out.write(block.data(), m);
        out.close();
        return counter;
      }
      std::size_t from = 0;
      if (skipUntil > at) from = static_cast<std::size_t>(std::min<std::int64_t>(skipUntil - at, static_cast<std::int64_t>(m)));
      int f = FindPattern(static_cast<int>(m - from), block.data() + from, "FORM");
      if (f >= 0) {
        f += static_cast<int>(from);
        out.write(block.data(), static_cast<std::size_t>(f));
        out.close();
        in.seekCur(-static_cast<std::int64_t>(m));
        in.seekCur(f);
        break;
      }
      out.write(block.data(), m);
    }
  }
}

}  // namespace pix
