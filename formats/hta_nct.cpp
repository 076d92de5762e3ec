// Hemera thumbnail archives (.hta) and Nero CoverDesigner templates (.nct):
// PNG pictures stored whole inside a binary container. Every PNG is copied,
// bytes unchanged, to "<source name>_%04d.png" beside the target, numbered
// from 1; the result is the number written.
// - .hta: "\x89HTA\r\n\x1a\n", a 32-bit version (100), a member count N and
//   N (offset, length) pairs, all little-endian; the members are picture
//   files back to back. PNG members are copied, others (JPEG) skipped, and a
//   member outside the file is passed over.
// - .nct (and an .hta without its signature): the layout is not documented;
//   PNG streams are found by their signature and walked chunk by chunk to
//   IEND. A stream cut short is dropped.
#include <cstdint>

#include "common/files.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/embedded_pictures.h"
#include "formats/formats.h"

namespace pix {
namespace {

bool HasArchiveSignature(const ByteReader& r) {
  static const std::uint8_t kSignature[8] = {0x89, 'H', 'T', 'A', 0x0D, 0x0A, 0x1A, 0x0A};
  for (std::size_t i = 0; i < 8; ++i)
    if (r.at(i) != kSignature[i]) return false;
  return r.has(0, 16);
}

// The member table; false when the archive is not sound enough to walk.
bool CopyMembers(const ByteReader& r, Series& series) {
  const std::uint64_t count = r.u32leAt(12);
  const std::uint64_t tableEnd = 16 + 8 * count;
  if (count == 0 || tableEnd > r.size()) return false;
  for (std::uint64_t i = 0; i < count && i < kMaxStoredPictures && !series.done(); ++i) {
    const std::uint64_t offset = r.u32leAt(16 + 8 * i), length = r.u32leAt(20 + 8 * i);
    if (offset < tableEnd || length == 0 || offset + length > r.size()) continue;
    const ByteReader member = r.sub(offset, length);
    const std::size_t png = PngStreamLength(member, 0);
    if (png == 0) continue;
    const ByteReader stored = member.sub(0, png);
    if (!series.add([&](Sink& s) { return s.write(stored.data(), stored.size()); })) break;
  }
  return true;
}

}  // namespace

int HtaNctToPng(const ConvertCall& call) {
  InFile in;
  FileWindow window(in);
  if (!LoadScanSource(call, in, window)) return 0;
  const ByteReader r = window.reader();
  Series series(call, "_%04d.png");
  if (HasArchiveSignature(r)) {
    if (!CopyMembers(r, series)) return 0;
  } else {
    int found = 0;
    CopyStoredStreams(r, "\x89PNG", PngStreamLength, 1, series, found);
  }
  return series.finish();
}

}  // namespace pix
