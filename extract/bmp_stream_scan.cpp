// Windows bitmap files ("BM" streams) stored whole inside other files: albums,
// slide shows, skins, button libraries, programs. Each stream is written out
// unchanged as "<source name>_%04d.bmp" beside the target, numbered from 1;
// memory mode hands over the stream with the wanted number (1 or less: the
// first). A "BM" is taken for a bitmap only when its header holds together:
// reserved words 0, a declared size that the file holds, a known info header
// with one plane, a usual bit count, a width, a height and a pixel offset
// inside the stream. The search resumes after each bitmap taken, so bitmaps
// nested in a bitmap's bytes are not looked for.
#include "extract/extract.h"
#include "extract/sized_scan.h"

namespace pix {
namespace {

bool KnownInfoSize(std::uint32_t n) {
  return n == 12 || n == 40 || n == 52 || n == 56 || n == 64 || n == 108 || n == 124;
}

bool KnownBitCount(std::uint32_t n) { return n == 1 || n == 4 || n == 8 || n == 16 || n == 24 || n == 32; }

std::uint64_t MeasureBmp(const ByteReader& h, std::uint64_t room) {
  if (h.size() < 30) return 0;
  const std::uint32_t size = h.u32leAt(2);
  if (h.u16leAt(6) != 0 || h.u16leAt(8) != 0) return 0;
  if (size < 26 || size > room) return 0;
  const std::uint32_t info = h.u32leAt(14);
  if (!KnownInfoSize(info)) return 0;
  std::int64_t width, height;
  std::uint32_t planes, bits;
  if (info == 12) {
    width = h.u16leAt(18);
    height = h.u16leAt(20);
    planes = h.u16leAt(22);
    bits = h.u16leAt(24);
  } else {
    width = static_cast<std::int32_t>(h.u32leAt(18));
    height = static_cast<std::int32_t>(h.u32leAt(22));
    planes = h.u16leAt(26);
    bits = h.u16leAt(28);
  }
  if (planes != 1 || !KnownBitCount(bits) || width < 1 || height == 0) return 0;
  const std::uint32_t pixels = h.u32leAt(10);
  if (pixels < 14 + info || pixels >= size) return 0;
  return size;
}

constexpr SizedScanRules kBmpRules = {"_%04d.bmp", {'B', 'M'}, 2, 30, MeasureBmp, nullptr, nullptr};

}  // namespace

int BmpStreamScan(const ConvertCall& call) { return RunSizedScan(call, kBmpRules); }

}  // namespace pix
