// PNG pictures kept whole inside presentations and slide shows (PowerPoint
// ".ppt"/".pps" picture streams, ".pzp" and ".ssp" albums). A picture starts
// at the full 8-byte PNG signature and is followed chunk by chunk, from an
// "IHDR" of 13 bytes to the CRC of "IEND"; every chunk's CRC must match, so a
// picture broken apart by the container's sectors is passed over, as is one
// that runs past the end of the file. Each picture is copied unchanged to
// "<source name>_%04d.png" beside the target, numbered from 1; memory mode
// hands over the one with the wanted number.
#include <zlib.h>

#include <algorithm>

#include "extract/extract.h"
#include "extract/sized_scan.h"

namespace pix {
namespace {

constexpr std::uint32_t kLargestChunk = 0x7FFFFFFF;

std::uint64_t AfterSignature(const ByteReader& h, std::uint64_t room) {
  // The first chunk must be a 13-byte "IHDR".
  if (h.size() < 16 || h.u32beAt(8) != 13 || h.u32beAt(12) != 0x49484452u) return 0;
  return room >= 8 + 25 ? room : 0;
}

// CRC of the chunk type and data at the read position, checked against the
// 4 bytes after them.
bool ChunkCrcMatches(InFile& in, std::uint64_t bytes) {
  std::uint8_t block[4096];
  uLong crc = crc32(0, nullptr, 0);
  while (bytes > 0) {
    const std::size_t want = static_cast<std::size_t>(std::min<std::uint64_t>(bytes, sizeof block));
    if (in.read(block, want) != want) return false;
    crc = crc32(crc, block, static_cast<uInt>(want));
    bytes -= want;
  }
  std::uint8_t stored[4];
  if (in.read(stored, 4) != 4) return false;
  return ByteReader(stored, 4).u32beAt(0) == static_cast<std::uint32_t>(crc);
}

std::uint64_t WalkChunks(InFile& in, std::uint64_t at, std::uint64_t room) {
  std::uint64_t off = 8;
  while (off + 12 <= room) {
    if (!in.seekSet(static_cast<std::int64_t>(at + off))) return 0;
    std::uint8_t head[8];
    if (in.read(head, 8) != 8) return 0;
    const ByteReader h(head, 8);
    const std::uint32_t length = h.u32beAt(0), type = h.u32beAt(4);
    if (length > kLargestChunk || off + 12 + length > room) return 0;
    if (!in.seekCur(-4) || !ChunkCrcMatches(in, 4 + std::uint64_t(length))) return 0;
    off += 12 + std::uint64_t(length);
    if (type == 0x49454E44u) return off;  // "IEND"
  }
  return 0;
}

constexpr SizedScanRules kPngRules = {
    "_%04d.png", {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A}, 8, 16, AfterSignature, WalkChunks, nullptr};

}  // namespace

int PresentationPngScan(const ConvertCall& call) { return RunSizedScan(call, kPngRules); }

}  // namespace pix
