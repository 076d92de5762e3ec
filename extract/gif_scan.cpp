// GIF streams stored byte for byte inside foreign files.
//
// The block scanners (".mvr"; ".exe", ".big", ".tsk") read 1500-byte blocks and
// cut the source at each signature: a stream runs from its "GIF8" (or
// "GIF89a"/"GIF87a") up to the next one, so bytes after a trailer stay with the
// earlier file. Only the first signature of a block is seen.
//
// The structure scanner (".tcf", ".elm", ".3ds") walks each GIF's blocks to its
// trailer, writes exactly signature to trailer, skips damaged candidates, and
// has a memory mode.
#include <algorithm>
#include <cstdint>
#include <string>

#include "common/budget.h"
#include "common/files.h"
#include "common/paths.h"
#include "common/search.h"
#include "extract/containers_io.h"
#include "extract/extract.h"

namespace pix {
namespace {

constexpr std::size_t kGifBlock = 1500;

struct BlockScheme {
  const char* signatures[2];  // tried in order; null ends the list
  int firstBlocks;            // blocks searched for the first signature
  int firstNumber;            // number of the first file
};

int FindSignature(const BlockScheme& scheme, std::size_t n, const std::uint8_t* data) {
  for (const char* sig : scheme.signatures) {
    if (!sig) break;
    const int g = FindPattern(static_cast<int>(n), data, sig);
    if (g >= 0) return g;
  }
  return -1;
}

int ScanGifBlocks(const ConvertCall& call, const BlockScheme& scheme) {
  if (call.memoryMode()) return 0;
  InFile in(call.source);
  if (!in) return 0;
  ScanBlock block(kGifBlock);

  std::size_t n = 0;
  int g = -1;
  for (int i = 0; i < scheme.firstBlocks && g < 0; ++i) {
    n = ReadBlock(in, block, kGifBlock);
    if (n == 0) return 0;
    g = FindSignature(scheme, n, block.data());
  }
  if (g < 0) return 0;

  Sink out;
  std::string name = SiblingName(call.target, call.source, "_%04d.gif", scheme.firstNumber);
  if (name.empty() || !out.open(name.c_str())) return 0;
  out.write(block.data() + g, n - static_cast<std::size_t>(g));
  int counter = 1;

  for (;;) {
    n = ReadBlock(in, block, kGifBlock);
    if (n == 0) break;
    g = FindSignature(scheme, n, block.data());
    if (g < 0) {
      out.write(block.data(), n);
      continue;
    }
    out.write(block.data(), static_cast<std::size_t>(g));
    out.close();
    ++counter;
    name = SiblingName(call.target, call.source, "_%04d.gif", counter);
    if (name.empty() || !out.open(name.c_str())) return counter - 1;
    out.write(block.data() + g, n - static_cast<std::size_t>(g));
  }
  out.close();
  return counter;
}

// --- the structure scanner ---

constexpr std::size_t kTcfBlock = 1024;
constexpr std::size_t kTcfOverlap = 5;                     // a signature split across blocks is still seen
constexpr std::int64_t kMaxStream = std::int64_t(64) << 20;  // longer chains are taken as damaged
constexpr int kMaxStreams = 10000;

enum class Walk { Complete, Truncated, Damaged };

// Walks one GIF from its signature at `start`; `end` is set just past the
// trailer (Complete) or to the end of the source (Truncated).
class GifWalker {
 public:
  GifWalker(InFile& in, std::int64_t size) : in_(in), size_(size) {}

  Walk walk(std::int64_t start, std::int64_t& end) {
    pos_ = start + 6;
    if (!in_.seekSet(pos_)) return Walk::Damaged;
    std::uint8_t lsd[7];
    if (!take(lsd, 7)) return Walk::Damaged;
    if ((lsd[0] | lsd[1] << 8) == 0 || (lsd[2] | lsd[3] << 8) == 0) return Walk::Damaged;
    if ((lsd[4] & 0x80) && !skip(3 * (std::int64_t(2) << (lsd[4] & 7)))) return truncated(end);
    for (;;) {
      if (pos_ - start > kMaxStream) return Walk::Damaged;
      const int b = byte();
      if (b < 0) return truncated(end);
      if (b == 0x3B) {
        end = pos_;
        return Walk::Complete;
      }
      if (b == 0x2C) {
        std::uint8_t desc[9];
        if (!take(desc, 9)) return truncated(end);
        if ((desc[8] & 0x80) && !skip(3 * (std::int64_t(2) << (desc[8] & 7)))) return truncated(end);
        if (byte() < 0) return truncated(end);  // LZW minimum code size
      } else if (b == 0x21) {
        if (byte() < 0) return truncated(end);  // label
      } else {
        return Walk::Damaged;
      }
      for (;;) {  // data sub-blocks
        const int len = byte();
        if (len < 0) return truncated(end);
        if (len == 0) break;
        if (!skip(len)) return truncated(end);
      }
    }
  }

 private:
  int byte() {
    if (pos_ >= size_) return -1;
    const int c = in_.getc();
    if (c < 0) return -1;
    ++pos_;
    return c;
  }
  bool take(std::uint8_t* dst, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
      const int c = byte();
      if (c < 0) return false;
      dst[i] = static_cast<std::uint8_t>(c);
    }
    return true;
  }
  bool skip(std::int64_t n) {
    if (n > size_ - pos_) return false;
    // walking over a record costs what reading it would: a file of many
    // overlapping candidates cannot make the walks quadratic without bound
    if (!ChargeRead(static_cast<std::uint64_t>(n))) return false;
    pos_ += n;
    return in_.seekSet(pos_);
  }
  Walk truncated(std::int64_t& end) {
    end = size_;
    return Walk::Truncated;
  }

  InFile& in_;
  std::int64_t size_;
  std::int64_t pos_ = 0;
};

bool IsSignature(const std::uint8_t* p) {
  return p[0] == 'G' && p[1] == 'I' && p[2] == 'F' && p[3] == '8' && (p[4] == '7' || p[4] == '9') && p[5] == 'a';
}

bool CopyRange(InFile& in, std::int64_t from, std::int64_t to, Sink& out) {
  if (!in.seekSet(from)) return false;
  std::uint8_t buf[kTcfBlock];
  while (from < to) {
    const std::size_t want = static_cast<std::size_t>(std::min<std::int64_t>(to - from, kTcfBlock));
    const std::size_t got = in.read(buf, want);
    if (got == 0) break;
    out.write(buf, got);
    from += static_cast<std::int64_t>(got);
  }
  return !out.failed();
}

}  // namespace

int GifScanOneSig(const ConvertCall& call) {
  static constexpr BlockScheme kScheme{{"GIF8", nullptr}, 6, 0};
  return ScanGifBlocks(call, kScheme);
}

int GifScanTwoSigs(const ConvertCall& call) {
  static constexpr BlockScheme kScheme{{"GIF89a", "GIF87a"}, 100, 1};
  return ScanGifBlocks(call, kScheme);
}

int GifScanTcf(const ConvertCall& call) {
  const bool memory = call.memoryMode();
  if (memory && (!call.out || call.arg1 < 1)) return 0;
  InFile in(call.source);
  if (!in) return 0;
  const std::int64_t size = in.size();
  if (size < 0) return 0;
  GifWalker walker(in, size);
  ScanBlock block(kTcfBlock);

  int counter = 0;
  std::int64_t pos = 0;
  while (pos < size && counter < kMaxStreams) {
    if (!in.seekSet(pos)) break;
    const std::size_t n = ReadBlock(in, block, kTcfBlock);
    if (n == 0) break;
    const bool last = pos + static_cast<std::int64_t>(n) >= size;
    // Hits whose six signature bytes are not all inside the block are left to
    // the next block, which starts kTcfOverlap bytes earlier.
    std::int64_t hit = -1;
    for (std::size_t from = 0; from < n;) {
      const int g = FindPattern(static_cast<int>(n - from), block.data() + from, "GIF8");
      if (g < 0) break;
      const std::size_t at = from + static_cast<std::size_t>(g);
      if (at + 6 > n) break;
      if (IsSignature(block.data() + at)) {
        hit = pos + static_cast<std::int64_t>(at);
        break;
      }
      from = at + 1;
    }
    if (hit < 0) {
      if (last) break;
      pos += static_cast<std::int64_t>(n > kTcfOverlap ? n - kTcfOverlap : n);
      continue;
    }

    std::int64_t end = 0;
    const Walk walked = walker.walk(hit, end);
    if (BudgetSpent()) break;
    if (walked == Walk::Damaged) {
      pos = hit + 1;
      continue;
    }
    ++counter;
    if (memory) {
      if (counter == call.arg1) {
        Sink out;
        out.openMemory();
        CopyRange(in, hit, end, out);
        return out.release(call.out);
      }
    } else {
      const std::string name = SiblingName(call.target, call.source, "_%04d.bmp", counter);
      Sink out;
      if (name.empty() || !out.open(name.c_str())) return counter - 1;
      CopyRange(in, hit, end, out);
      out.close();
    }
    pos = end;
  }
  return memory ? 0 : counter;
}

}  // namespace pix
