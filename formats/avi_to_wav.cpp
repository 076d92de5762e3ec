// Audio Video Interleave files (RIFF "AVI ", with OpenDML "AVIX" parts after
// it) to RIFF WAVE: the first audio stream ("auds") of the header list is
// written as the target, its format block ("strf", a WAVEFORMATEX: PCM or a
// compressed format tag with its extra bytes) as the "fmt " chunk and the
// bytes of all its "NNwb" chunks of the "movi" lists, in file order and
// also inside "rec " groups, as the "data" chunk. The chunk tree is walked
// with strict bounds; a chunk running past its list or the file is clipped
// and ends the walk. Result 1, or 0 (no file) without audio data.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "common/files.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr int kDeepest = 8;
constexpr std::uint32_t kLargestFormat = 65536;
constexpr std::uint64_t kLargestData = 0xFFFFFFFFull - 64 - kLargestFormat;

std::uint32_t Fourcc(const char* s) {
  return static_cast<std::uint32_t>(std::uint8_t(s[0])) | static_cast<std::uint32_t>(std::uint8_t(s[1])) << 8 |
         static_cast<std::uint32_t>(std::uint8_t(s[2])) << 16 | static_cast<std::uint32_t>(std::uint8_t(s[3])) << 24;
}

struct AviWalk {
  AviWalk(InFile& file, std::uint64_t size) : in(file), fileSize(size) {}
  InFile& in;
  std::uint64_t fileSize;
  Sink* out = nullptr;       // null: measuring only
  int streams = 0;           // "strl" lists seen
  int audio = -1;            // the audio stream's number
  bool strlIsAudio = false;  // the current "strl" is the chosen audio stream
  Bytes format;
  std::uint64_t data = 0;    // audio bytes found (and written)

  bool read(std::uint64_t at, void* dst, std::size_t n) {
    return in.seekSet(static_cast<std::int64_t>(at)) && in.read(dst, n) == n;
  }

  bool IsAudioData(std::uint32_t id) const {
    if (audio < 0 || audio > 99) return false;
    const char want[4] = {char('0' + audio / 10), char('0' + audio % 10), 'w', 'b'};
    return id == Fourcc(want);
  }

  void copyData(std::uint64_t at, std::uint64_t n) {
    n = std::min(n, kLargestData - data);
    data += n;
    if (!out || !in.seekSet(static_cast<std::int64_t>(at))) return;
    std::uint8_t block[4096];
    while (n > 0) {
      const std::size_t want = static_cast<std::size_t>(std::min<std::uint64_t>(n, sizeof block));
      const std::size_t got = in.read(block, want);
      if (got == 0) return;
      out->write(block, got);
      n -= got;
    }
  }

  // Walks the chunks in [begin, end) of a list of the given type. False ends
  // the whole walk (a damaged size).
  bool list(std::uint64_t begin, std::uint64_t end, std::uint32_t type, int depth) {
    std::uint64_t p = begin;
    while (p + 8 <= end) {
      std::uint8_t head[12];
      if (!read(p, head, 8)) return false;
      const ByteReader h(head, 8);
      const std::uint32_t id = h.u32leAt(0), size = h.u32leAt(4);
      if (size == 0xFFFFFFFFu) return false;
      const std::uint64_t body = p + 8;
      const bool clipped = body + size > end;
      const std::uint64_t bodyEnd = clipped ? end : body + size;
      if (id == Fourcc("LIST")) {
        // A list cut short by the file is walked as far as it goes.
        if (size < 4 || bodyEnd < body + 4 || depth >= kDeepest || !read(body, head + 8, 4)) return false;
        const std::uint32_t inner = ByteReader(head + 8, 4).u32leAt(0);
        if (inner == Fourcc("strl")) strlIsAudio = false;
        const bool walkIn = inner == Fourcc("hdrl") || inner == Fourcc("strl") || inner == Fourcc("movi") ||
                            inner == Fourcc("rec ");
        if (walkIn && !list(body + 4, bodyEnd, inner, depth + 1)) return false;
        if (inner == Fourcc("strl")) ++streams;
      } else if (type == Fourcc("strl") && id == Fourcc("strh")) {
        std::uint8_t kind[4];
        if (size >= 4 && read(body, kind, 4) && ByteReader(kind, 4).u32leAt(0) == Fourcc("auds") && audio < 0) {
          audio = streams;
          strlIsAudio = true;
        }
      } else if (type == Fourcc("strl") && id == Fourcc("strf") && strlIsAudio && format.empty()) {
        if (clipped || size < 14 || size > kLargestFormat) return false;
        format.resize(size);
        if (!read(body, format.data(), size)) return false;
      } else if ((type == Fourcc("movi") || type == Fourcc("rec ")) && IsAudioData(id)) {
        copyData(body, bodyEnd - body);
      }
      if (clipped) return false;
      p = bodyEnd + (size & 1);
    }
    return true;
  }

  // Every RIFF part of the file: "AVI " first, then any "AVIX".
  bool run() {
    std::uint64_t p = 0;
    bool first = true;
    while (p + 12 <= fileSize) {
      std::uint8_t head[12];
      if (!read(p, head, 12)) break;
      const ByteReader h(head, 12);
      const std::uint32_t type = h.u32leAt(8);
      if (h.u32leAt(0) != Fourcc("RIFF") || type != Fourcc(first ? "AVI " : "AVIX")) {
        if (first) return false;
        break;
      }
      const std::uint64_t end = std::min<std::uint64_t>(p + 8 + h.u32leAt(4), fileSize);
      if (!list(p + 12, end, type, 1)) break;
      p = end + (end & 1);
      first = false;
    }
    return true;
  }
};

}  // namespace

int AviToWav(const ConvertCall& call) {
  InFile in(call.source);
  if (!in) return 0;
  const std::int64_t size = in.size();
  if (size < 12) return 0;
  // First the format and the amount of audio, then the file.
  AviWalk measure(in, static_cast<std::uint64_t>(size));
  if (!measure.run() || measure.format.empty() || measure.data == 0) return 0;
  const Bytes format = measure.format;
  const std::uint64_t data = measure.data;
  return WriteOne(call, [&](Sink& s) {
    const std::uint32_t f = static_cast<std::uint32_t>(format.size());
    const std::uint32_t d = static_cast<std::uint32_t>(data);
    s.write("RIFF", 4);
    s.put32le(4 + (8 + f + (f & 1)) + (8 + d + (d & 1)));
    s.write("WAVEfmt ", 8);
    s.put32le(f);
    s.write(format);
    if (f & 1) s.put8(0);
    s.write("data", 4);
    s.put32le(d);
    AviWalk copy(in, static_cast<std::uint64_t>(size));
    copy.out = &s;
    copy.run();
    if (copy.data != data) return false;
    if (d & 1) s.put8(0);
    return true;
  });
}

}  // namespace pix
