// Film strips (".flm"): F frames of W x (H + E) pixels stored as 32-bit pixels
// from the start of the file, described by a 36-byte big-endian trailer that
// begins "Rand". The frames are rebuilt into one tall 24-bit PCX picture (three
// planes, run-length encoded), followed by the trailer with its numbers in
// little-endian order. File mode writes "<target name>_0000.pcx" beside the
// target; memory mode returns the same bytes.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "common/budget.h"
#include "common/endian.h"
#include "common/files.h"
#include "common/paths.h"
#include "extract/extract.h"
#include "pixmisc.h"

namespace pix {
namespace {

constexpr std::size_t kTrailer = 36;

struct Trailer {
  std::uint8_t bytes[kTrailer];
  std::uint32_t frames = 0;
  std::uint16_t width = 0, height = 0, extra = 0, spare = 0;
};

bool ReadTrailer(InFile& in, Trailer& t) {
  if (!in.seekEnd(-static_cast<std::int64_t>(kTrailer))) return false;
  if (in.read(t.bytes, kTrailer) != kTrailer) return false;
  if (std::memcmp(t.bytes, "Rand", 4) != 0) return false;
  const std::uint8_t* b = t.bytes;
  t.frames = static_cast<std::uint32_t>(b[4]) << 24 | static_cast<std::uint32_t>(b[5]) << 16 |
             static_cast<std::uint32_t>(b[6]) << 8 | b[7];
  t.width = static_cast<std::uint16_t>(b[12] << 8 | b[13]);
  t.height = static_cast<std::uint16_t>(b[14] << 8 | b[15]);
  t.extra = static_cast<std::uint16_t>(b[16] << 8 | b[17]);
  t.spare = static_cast<std::uint16_t>(b[18] << 8 | b[19]);
  return true;
}

// The trailer as appended to the PCX file: its numbers in little-endian order.
void HostOrder(Trailer& t) {
  std::uint8_t* b = t.bytes;
  for (int i = 0; i < 4; ++i) b[4 + i] = static_cast<std::uint8_t>(t.frames >> (8 * i));
  const std::uint16_t fields[4] = {t.width, t.height, t.extra, t.spare};
  for (int k = 0; k < 4; ++k) {
    b[12 + 2 * k] = static_cast<std::uint8_t>(fields[k]);
    b[13 + 2 * k] = static_cast<std::uint8_t>(fields[k] >> 8);
  }
}

void WritePcxHeader(Sink& out, const Trailer& t, std::uint64_t rows) {
  std::uint8_t h[128] = {};
  auto put16 = [&h](int at, std::uint32_t v) { PutLe16(h + at, v); };
  h[0] = 10;
  h[1] = 5;
  h[2] = 1;
  h[3] = 8;
  put16(8, static_cast<std::uint32_t>(t.width) - 1);
  put16(10, static_cast<std::uint32_t>(rows - 1));
  put16(12, 640);
  put16(14, 480);
  h[65] = 3;
  put16(66, (static_cast<std::uint32_t>(t.width) + 1) & ~1u);
  put16(68, 1);
  out.write(h, sizeof h);
}

// One plane line with the PCX run-length rule: runs of up to 63 equal bytes;
// a run longer than one, or a lone byte of 192 or more, as (192 + n, value).
void EncodePlane(const std::uint8_t* line, std::size_t w, std::vector<std::uint8_t>& enc) {
  for (std::size_t i = 0; i < w;) {
    std::size_t n = 1;
    while (i + n < w && n < 63 && line[i + n] == line[i]) ++n;
    if (n > 1 || line[i] >= 192) enc.push_back(static_cast<std::uint8_t>(192 + n));
    enc.push_back(line[i]);
    i += n;
  }
}

bool BuildStrip(InFile& in, Trailer& t, Sink& out) {
  const std::uint64_t rows = (static_cast<std::uint64_t>(t.height) + t.extra) * t.frames;
  const std::size_t w = t.width;
  std::vector<std::uint8_t> pixels(4 * w), planes(3 * w), enc;
  enc.reserve(6 * w);
  if (!in.seekSet(0)) return false;
  WritePcxHeader(out, t, rows);
  for (std::uint64_t y = 0; y < rows; ++y) {
    const std::size_t got = in.read(pixels.data(), pixels.size());
    if (got < pixels.size()) std::memset(pixels.data() + got, 0, pixels.size() - got);
    for (std::size_t x = 0; x < w; ++x)
      for (std::size_t c = 0; c < 3; ++c) planes[c * w + x] = pixels[4 * x + c];
    enc.clear();
    for (std::size_t c = 0; c < 3; ++c) EncodePlane(planes.data() + c * w, w, enc);
    out.write(enc.data(), enc.size());
    if (got < pixels.size()) break;  // the source ends inside the pixel data
  }
  HostOrder(t);
  out.write(t.bytes, kTrailer);
  return !out.failed();
}

}  // namespace

int FilmStripToPcx(const ConvertCall& call) {
  const bool memory = call.out != nullptr;
  if (!memory && call.memoryMode()) return 0;
  std::string name;
  if (!memory) {
    const SplitPath t = Split(call.target);
    name = FormatPath("%s%s%s_0000.pcx", t.drive.c_str(), t.dir.c_str(), t.name.c_str());
    if (name.empty()) return 0;
  }
  InFile in(call.source);
  if (!in) return 0;
  Trailer t;
  if (!ReadTrailer(in, t) || t.width == 0) return 0;

  Sink out;
  if (memory) {
    out.openMemory();
  } else if (!out.open(name.c_str())) {
    return 0;
  }
  if (!BuildStrip(in, t, out)) return 0;
  if (memory) return out.release(call.out);
  return out.close() ? 1 : 0;
}

}  // namespace pix

extern "C" int get_nb_frames_from_flm(const char* path) {
  pix::CallScope scope(path);
  pix::InFile in(path);
  if (!in) return 0;
  pix::Trailer t;
  if (!pix::ReadTrailer(in, t)) return 0;
  return static_cast<int>(t.frames);
}
