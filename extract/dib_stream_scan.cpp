// Packed device-independent bitmaps (a 40-byte bitmap info header, its colour
// table and its pixels, without a file header) kept inside album, skin and
// thumbnail files. Each one found is written as a bitmap file (the 14-byte
// "BM" header put in front of the packed bitmap, which is what a ".dib" file
// holds) named "<source name>_%04d.dib" beside the target, numbered from 1;
// memory mode hands over the one with the wanted number (1 or less: the
// first). Run-length and bit-field bitmaps are copied as they are. The search
// resumes after each bitmap taken.
#include "common/endian.h"
#include "extract/extract.h"
#include "extract/sized_scan.h"

namespace pix {
namespace {

constexpr std::int64_t kLargestSide = 32768;

// Bytes of colour table (and bit-field masks) after the 40-byte header; -1
// when the header is not a packed bitmap's.
std::int64_t TableBytes(const ByteReader& h) {
  const std::uint32_t bits = h.u16leAt(14);
  const std::uint32_t compression = h.u32leAt(16);
  const std::uint32_t used = h.u32leAt(32);
  std::int64_t entries = 0;
  if (bits <= 8) {
    const std::uint32_t most = 1u << bits;
    if (used > most) return -1;
    entries = used ? used : most;
  } else {
    if (used > 256) return -1;
    entries = used;
  }
  return entries * 4 + (compression == 3 ? 12 : 0);
}

std::uint64_t MeasureDib(const ByteReader& h, std::uint64_t room) {
  if (h.size() < 40 || h.u32leAt(0) != 40) return 0;
  const std::int64_t width = static_cast<std::int32_t>(h.u32leAt(4));
  std::int64_t height = static_cast<std::int32_t>(h.u32leAt(8));
  if (height < 0) height = -height;
  if (width < 1 || width > kLargestSide || height < 1 || height > kLargestSide) return 0;
  const std::uint32_t bits = h.u16leAt(14);
  if (h.u16leAt(12) != 1) return 0;
  if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32) return 0;
  const std::uint32_t compression = h.u32leAt(16);
  const std::uint32_t imageSize = h.u32leAt(20);
  const bool fits = compression == 0 || (compression == 1 && bits == 8) || (compression == 2 && bits == 4) ||
                    (compression == 3 && (bits == 16 || bits == 32));
  if (!fits || ((compression == 1 || compression == 2) && imageSize == 0)) return 0;
  const std::int64_t table = TableBytes(h);
  if (table < 0) return 0;
  const std::int64_t pixels = imageSize ? imageSize : (width * bits + 31) / 32 * 4 * height;
  const std::uint64_t length = static_cast<std::uint64_t>(40 + table + pixels);
  return length <= room ? length : 0;
}

// The bitmap file header in front of the packed bitmap.
std::size_t BitmapFileHeader(const ByteReader& h, std::uint64_t length, std::uint8_t* out) {
  out[0] = 'B';
  out[1] = 'M';
  PutLe32(out + 2, static_cast<std::uint32_t>(14 + length));
  PutLe32(out + 6, 0);
  PutLe32(out + 10, static_cast<std::uint32_t>(14 + 40 + TableBytes(h)));
  return 14;
}

constexpr SizedScanRules kDibRules = {"_%04d.dib", {0x28, 0, 0, 0}, 4, 40, MeasureDib, nullptr, BitmapFileHeader};

}  // namespace

int DibStreamScan(const ConvertCall& call) { return RunSizedScan(call, kDibRules); }

}  // namespace pix
