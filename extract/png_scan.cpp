// PNG streams stored byte for byte inside foreign files (albums, banners,
// programs, ...). A stream starts at a PNG signature followed by the IHDR
// chunk's length and type, and runs to the first "IEND" chunk type plus its
// 4-byte CRC. File mode writes every stream as "<source name>_%04d.png"
// beside the target, numbered from 0, and returns how many it wrote; memory
// mode returns the stream numbered call.arg1 (from 1).
#include <cstdint>
#include <cstring>
#include <string>

#include "common/files.h"
#include "common/paths.h"
#include "common/search.h"
#include "extract/containers_io.h"
#include "extract/extract.h"

namespace pix {
namespace {

constexpr std::size_t kPngBlock = 128;
// The signature, then the length and type of the header chunk.
constexpr std::uint8_t kPngStart[16] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A, 0, 0, 0, 0x0D, 'I', 'H', 'D', 'R'};

}  // namespace

int PngScan(const ConvertCall& call) {
  const bool memory = call.memoryMode();
  if (memory && !call.out) return 0;
  InFile in(call.source);
  if (!in) return 0;

  ScanBlock block(kPngBlock);
  // The copy buffer's zeroed slack takes the 8 bytes written past an "IEND"
  // that stands in the last bytes of a block.
  ScanBlock copy(kPngBlock);
  int counter = 0;
  for (;;) {
    const std::size_t n = ReadBlock(in, block, kPngBlock);
    if (n == 0 || in.eof()) return memory ? 0 : counter;
    const int p = FindPattern(static_cast<int>(n), block.data(), "PNG");
    if (p < 0) continue;

    // Step back to the byte before "PNG": only 0x89 makes it a signature.
    in.seekCur(-static_cast<std::int64_t>(n));
    in.seekCur(p - 1);
    if (in.getc() != 0x89) {
      in.seekCur(4);
      continue;
    }
    in.seekCur(-1);
    // Only a whole signature followed by the header chunk starts a stream: a
    // program that merely holds the signature as a constant has none there.
    std::uint8_t head[sizeof kPngStart];
    const std::size_t h = in.read(head, sizeof head);
    in.seekCur(-static_cast<std::int64_t>(h));
    if (h < sizeof head || std::memcmp(head, kPngStart, sizeof head) != 0) {
      in.seekCur(5);
      continue;
    }

    Sink out;
    if (!memory) {
      const std::string name = SiblingName(call.target, call.source, "_%04d.png", counter);
      if (name.empty() || !out.open(name.c_str())) return counter;
    }
    ++counter;
    if (memory) {
      if (counter < call.arg1) {
        in.seekCur(p + 10);
        continue;
      }
      out.openMemory();
    }

    for (;;) {
      const std::size_t m = ReadBlock(in, copy, kPngBlock);
      if (m == 0 || in.eof()) {
        out.write(copy.data(), m);
        if (memory) return out.release(call.out);
        out.close();
        return counter;
      }
      const int q = FindPattern(static_cast<int>(m), copy.data(), "IEND");
      if (q >= 0) {
        out.write(copy.data(), static_cast<std::size_t>(q) + 8);
        if (memory) return out.release(call.out);
        out.close();
        in.seekCur(-static_cast<std::int64_t>(m));
        in.seekCur(q + 8);
        break;
      }
      out.write(copy.data(), m);
    }
  }
}

}  // namespace pix
