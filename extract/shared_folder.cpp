// Indexed picture containers (.tjp): a 40-byte big-endian header
// ("TPC\n", header size 40, four unused words, the picture count N, unused
// fields) followed by N + 1 file offsets; picture i spans offsets i-1 to i.
// Every picture is copied to <target name>_0001.jpg ... in the target's
// directory and the result is N. In memory mode picture 1 is returned.
#include <cstdint>
#include <string>
#include <vector>

#include "common/files.h"
#include "common/paths.h"
#include "common/reader.h"
#include "extract/extract.h"
#include "extract/jpeg_scan.h"

namespace pix {
namespace {

constexpr std::uint32_t kMagic = 0x5450430A;
constexpr std::size_t kHeader = 40;

bool CopyRange(InFile& in, std::uint64_t from, std::uint64_t to, Sink& sink) {
  if (!in.seekSet(static_cast<std::int64_t>(from))) return false;
  std::vector<std::uint8_t> buf(64 * 1024);
  std::uint64_t left = to - from;
  while (left > 0) {
    std::size_t want = left < buf.size() ? static_cast<std::size_t>(left) : buf.size();
    std::size_t got = in.read(buf.data(), want);
    sink.write(buf.data(), got);
    if (got < want) break;
    left -= got;
  }
  return true;
}

}  // namespace

int SharedFolderScan(const ConvertCall& call) {
  const bool memory = call.memoryMode();
  if (memory && !call.out) return 0;
  InFile in(call.source);
  if (!in) return 0;
  const std::int64_t size = in.size();
  std::uint8_t head[kHeader];
  if (size < static_cast<std::int64_t>(kHeader) || in.read(head, kHeader) != kHeader) return 0;
  ByteReader hr(head, kHeader);
  if (hr.u32beAt(0) != kMagic || hr.u32beAt(4) != kHeader) return 0;
  const std::uint32_t count = hr.u32beAt(24);
  if (count == 0) return 0;
  // The offset table must be in the file.
  const std::uint64_t tableBytes = 4 * (static_cast<std::uint64_t>(count) + 1);
  if (tableBytes > static_cast<std::uint64_t>(size) - kHeader) return 0;
  std::vector<std::uint8_t> table(static_cast<std::size_t>(tableBytes));
  if (in.read(table.data(), table.size()) != table.size()) return 0;
  ByteReader tr(table);
  const std::uint64_t end = static_cast<std::uint64_t>(size);
  auto offset = [&](std::uint32_t i) {
    std::uint64_t v = tr.u32beAt(4 * static_cast<std::size_t>(i));
    return v < end ? v : end;
  };

  const std::uint32_t last = memory ? 1 : count;
  int written = 0;
  for (std::uint32_t i = 1; i <= last; ++i) {
    std::uint64_t from = offset(i - 1), to = offset(i);
    if (to < from) to = from;
    Sink sink;
    if (memory) {
      sink.openMemory();
    } else {
      char suffix[32];
      std::snprintf(suffix, sizeof suffix, "_%04u.jpg", i);
      std::string name = InTargetDir(call.target, Split(call.target).name + suffix);
      if (name.empty() || !sink.open(name.c_str())) return written;
    }
    CopyRange(in, from, to, sink);
    if (memory) return sink.release(call.out);
    sink.close();
    ++written;
  }
  return written;
}

}  // namespace pix
