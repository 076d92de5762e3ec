// The sliding-window search and copy shared by the bitmap and packed-bitmap
// scanners (see sized_scan.h). Memory stays constant: one window of the
// source (64 KiB) and one copy block, whatever the file's size; the position only
// ever moves forward.
#include "extract/sized_scan.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "common/files.h"
#include "common/paths.h"

namespace pix {
namespace {

constexpr std::size_t kWindow = 64 * 1024;
constexpr std::size_t kCopyBlock = 4096;

// First i in [from, end) where the signature stands whole inside r, or end.
// Sixteen candidates at a time compare the signature's first two bytes.
std::size_t FindSignature(const ByteReader& r, std::size_t from, std::size_t end, const SizedScanRules& rules) {
  const std::uint8_t* data = r.data();
  const auto whole = [&](std::size_t i) {
    if (!r.has(i, rules.signatureLength)) return false;
    for (std::size_t k = 1; k < rules.signatureLength; ++k)
      if (r.at(i + k) != rules.signature[k]) return false;
    return true;
  };
  std::size_t i = from;
#if defined(__SSE2__)
  const __m128i a = _mm_set1_epi8(static_cast<char>(rules.signature[0]));
  const __m128i b = _mm_set1_epi8(static_cast<char>(rules.signature[1]));
  for (; i + 17 <= end && r.has(i, 17); i += 16) {
    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + i));
    const __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + i + 1));
    unsigned m = static_cast<unsigned>(_mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi8(x, a), _mm_cmpeq_epi8(y, b))));
    while (m) {
      const std::size_t k = i + static_cast<std::size_t>(__builtin_ctz(m));
      if (whole(k)) return k;
      m &= m - 1;
    }
  }
#endif
  for (; i < end; ++i)
    if (data[i] == rules.signature[0] && whole(i)) return i;
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

  // The window: kWindow bytes searched, and room for the header of a hit in
  // their last bytes.
  std::vector<std::uint8_t> window(kWindow + rules.headerLength);
  int found = 0;
  std::uint64_t pos = 0;
  while (pos < size) {
    if (!in.seekSet(static_cast<std::int64_t>(pos))) break;
    const std::size_t got = in.read(window.data(), window.size());
    if (got == 0) break;
    const ByteReader r(window.data(), got);
    const std::size_t end = std::min(kWindow, r.size());
    std::uint64_t next = pos + end;
    for (std::size_t i = FindSignature(r, 0, end, rules); i < end; i = FindSignature(r, i + 1, end, rules)) {
      const ByteReader header = r.sub(i, rules.headerLength);
      const std::uint64_t at = pos + i;
      std::uint64_t length = rules.measure(header, size - at);
      if (length != 0 && rules.walk) length = rules.walk(in, at, size - at);
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
