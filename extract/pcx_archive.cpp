// PCX picture archives (".pca"): a sequence of records, each a 32-bit
// little-endian length A, A bytes skipped, 4 bytes skipped, a 32-bit value not
// used, a 32-bit little-endian picture size S and S bytes of PCX file. Every
// picture is written as "<source name>_%04d.pcx" beside the target, numbered
// from 0. Pictures larger than the 44,100-byte picture buffer are passed over.
#include <cstdint>
#include <string>
#include <vector>

#include "common/files.h"
#include "common/paths.h"
#include "extract/extract.h"

namespace pix {
namespace {

constexpr std::uint32_t kPictureBuffer = 44100;

enum class Record { Picture, Skipped, End };

bool ReadU32(InFile& in, std::uint32_t& v) {
  std::uint8_t b[4];
  if (in.read(b, 4) != 4) return false;
  v = static_cast<std::uint32_t>(b[0]) | static_cast<std::uint32_t>(b[1]) << 8 |
      static_cast<std::uint32_t>(b[2]) << 16 | static_cast<std::uint32_t>(b[3]) << 24;
  return true;
}

Record ReadRecord(InFile& in, std::vector<std::uint8_t>& picture, std::uint32_t& size) {
  std::uint32_t skip = 0, unused = 0;
  if (!ReadU32(in, skip) || !in.seekCur(skip) || !in.seekCur(4) || !ReadU32(in, unused) || !ReadU32(in, size))
    return Record::End;
  if (size == 0) return Record::End;
  if (size > kPictureBuffer) return in.seekCur(size) ? Record::Skipped : Record::End;
  if (in.read(picture.data(), size) != size || in.eof()) return Record::End;
  return Record::Picture;
}

}  // namespace

int PcxArchiveRead(const ConvertCall& call) {
  if (call.memoryMode()) return 0;
  InFile in(call.source);
  if (!in) return 0;
  std::vector<std::uint8_t> picture(kPictureBuffer);
  int counter = 0;
  for (;;) {
    std::uint32_t size = 0;
    const Record r = ReadRecord(in, picture, size);
    if (r == Record::End) break;
    if (r == Record::Skipped) continue;
    const std::string name = SiblingName(call.target, call.source, "_%04d.pcx", counter);
    Sink out;
    if (name.empty() || !out.open(name.c_str())) break;
    out.write(picture.data(), size);
    if (!out.close()) break;
    ++counter;
  }
  return counter;
}

}  // namespace pix
