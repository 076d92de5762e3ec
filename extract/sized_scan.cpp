// The sliding-window search and copy shared by the bitmap and packed-bitmap
// scanners (see sized_scan.h). Memory stays constant: one window of the
// source and one copy block, whatever the file's size; the position only
// ever moves forward.
#include "extract/sized_scan.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "common/files.h"
#include "common/paths.h"

namespace pix {
namespace {

constexpr std::size_t kWindow = 64 * 1024;
constexpr std::size_t kCopyBlock = 4096;

// First i in [from, end) where the signature stands whole inside r, or end.
std::size_t FindSignature(const ByteReader& r, std::size_t from, std::size_t end, const SizedScanRules& rules) {
  const std::uint8_t first = rules.signature[0];
  while (from < end) {
    const void* hit = std::memchr(r.data() + from, first, end - from);
    if (!hit) return end;
    const std::size_t i = static_cast<std::size_t>(static_cast<const std::uint8_t*>(hit) - r.data());
    if (!r.has(i, rules.signatureLength)) return end;
    bool same = true;
    for (std::size_t k = 1; k < rules.signatureLength && same; ++k) same = r.at(i + k) == rules.signature[k];
    if (same) return i;
    from = i + 1;
  }
  return end;
}

// Copies length bytes from offset of the source into the sink, in blocks.
void CopyStream(InFile& in, std::uint64_t offset, std::uint64_t length, Sink& sink) {
  if (!in.seekSet(static_cast<std::int64_t>(offset))) return;
  std::uint8_t block[kCopyBlock];
  while (length > 0) {
    const std::size_t want = static_cast<std::size_t>(std::min<std::uint64_t>(length, kCopyBlock));
    const std::size_t got = in.read(block, want);
    if (got == 0) return;
    sink.write(block, got);
    length -= got;
  }
}

}  // namespace

int RunSizedScan(const ConvertCall& call, const SizedScanRules& rules) {
  const bool memory = call.memoryMode();
  if (memory && !call.out) return 0;
  InFile in(call.source);
  if (!in) return 0;
  const std::int64_t fileSize = in.size();
  if (fileSize <= 0) return 0;
  const std::uint64_t size = static_cast<std::uint64_t>(fileSize);
  const int wanted = call.arg1 <= 1 ? 1 : call.arg1;

  FileWindow window(in);
  int found = 0;
  std::uint64_t pos = 0;
  while (pos < size) {
    if (!window.load(pos, kWindow + rules.headerLength)) break;
    const ByteReader r = window.reader();
    const std::size_t end = std::min(kWindow, r.size());
    std::uint64_t next = pos + end;
    for (std::size_t i = FindSignature(r, 0, end, rules); i < end; i = FindSignature(r, i + 1, end, rules)) {
      const ByteReader header = r.sub(i, rules.headerLength);
      const std::uint64_t at = pos + i;
      const std::uint64_t length = rules.measure(header, size - at);
      if (length == 0 || length > size - at) continue;
      ++found;
      next = at + length;
      if (memory && found != wanted) break;
      std::uint8_t head[16];
      const std::size_t headLength = rules.prefix ? rules.prefix(header, length, head) : 0;
      Sink sink;
      if (memory) {
        sink.openMemory();
      } else {
        const std::string name = SiblingName(call.target, call.source, rules.suffix, found);
        if (name.empty() || !sink.open(name.c_str())) return found - 1;
      }
      sink.write(head, headLength);
      CopyStream(in, at, length, sink);
      if (memory) return sink.release(call.out);
      sink.close();
      break;
    }
    pos = next;
  }
  return memory ? 0 : found;
}

}  // namespace pix
