// StarCraft maps (".scm": an MPQ archive whose sounds the map editor stores
// uncompressed) and any other file that keeps whole RIFF WAVE files: each
// "RIFF" .. "WAVE" "fmt " found is copied unchanged to "<source name>_%04d.wav"
// beside the target, numbered from 1, and the search resumes after it. A
// sound whose declared size runs past the end of the file is copied as far
// as the file goes. Compressed or encrypted archive members are not seen.
#include <algorithm>

#include "extract/sized_scan.h"
#include "formats/formats.h"

namespace pix {
namespace {

std::uint64_t MeasureWave(const ByteReader& h, std::uint64_t room) {
  if (h.size() < 16) return 0;
  const std::uint32_t size = h.u32leAt(4);
  if (h.u32beAt(8) != 0x57415645u || h.u32beAt(12) != 0x666D7420u || size < 12) return 0;  // "WAVE", "fmt "
  return std::min<std::uint64_t>(std::uint64_t(size) + 8, room);
}

constexpr SizedScanRules kWaveRules = {"_%04d.wav", {'R', 'I', 'F', 'F'}, 4, 16, MeasureWave, nullptr, nullptr};

}  // namespace

int ScmToWav(const ConvertCall& call) { return RunSizedScan(call, kWaveRules); }

}  // namespace pix
