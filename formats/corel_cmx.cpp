// Corel Presentation Exchange drawings (".cmx": "RIFF" or "RIFX", form
// "CMX1"): the preview picture of the "DISP" chunk (clipboard format 8 or 17
// and a packed Windows DIB) is written as a BMP of the same depth (24 bits for deeper ones), in file or
// memory mode. The drawing itself is not rendered.
#include <cstdint>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/bmp_source.h"
#include "formats/formats.h"

namespace pix {
namespace {

constexpr int kMaxDepth = 8;
constexpr int kMaxChunks = 100000;

struct Walk {
  const ByteReader& file;
  bool bigEndian = false;
  int chunks = 0;
};

std::uint32_t Size(const Walk& w, std::size_t at) { return w.bigEndian ? w.file.u32beAt(at) : w.file.u32leAt(at); }

bool Tag(const ByteReader& in, std::size_t at, const char* tag) {
  for (int i = 0; i < 4; ++i)
    if (in.at(at + i) != static_cast<std::uint8_t>(tag[i])) return false;
  return true;
}

// A DISP chunk's picture; false when it holds none.
bool ReadDisp(const ByteReader& file, std::size_t data, std::size_t size, Image& img) {
  if (size < 4 || !file.has(data, 4)) return false;
  const std::uint32_t format = file.u32leAt(data);
  if (format != 8 && format != 17) return false;
  return ReadDib(file.sub(data + 4, size - 4), img);
}

// Walks the chunks in [from, to), descending into lists, for the first usable DISP.
bool Find(Walk& w, std::size_t from, std::size_t to, int depth, Image& img) {
  std::size_t at = from;
  while (at + 8 <= to && w.file.has(at, 8) && ++w.chunks < kMaxChunks) {
    const std::uint64_t size = Size(w, at + 4);
    const std::size_t data = at + 8;
    const std::size_t avail = to - data;
    const std::size_t inside = size < avail ? static_cast<std::size_t>(size) : avail;
    if (Tag(w.file, at, "DISP") && ReadDisp(w.file, data, inside, img)) return true;
    if (Tag(w.file, at, "LIST") && depth < kMaxDepth && inside >= 4 && Find(w, data + 4, data + inside, depth + 1, img))
      return true;
    at = data + inside + (inside & 1);
  }
  return false;
}

}  // namespace

int CmxToBmp(const ConvertCall& call) {
  Bytes data;
  if (!call.source || !ReadWholeFile(call.source, data, 256u << 20)) return 0;
  ByteReader in(data);
  if (!in.has(0, 12) || !(Tag(in, 0, "RIFF") || Tag(in, 0, "RIFX")) || !Tag(in, 8, "CMX1")) return 0;
  Walk w{in, Tag(in, 0, "RIFX")};
  Image img;
  bool found = Find(w, 12, data.size(), 0, img);
  // A damaged chunk list: look for the preview chunk by its tag.
  for (std::size_t at = 12; !found && at + 8 <= data.size(); ++at)
    if (Tag(in, at, "DISP")) {
      const std::uint64_t size = Size(w, at + 4);
      const std::size_t avail = data.size() - at - 8;
      found = ReadDisp(in, at + 8, size < avail ? static_cast<std::size_t>(size) : avail, img);
    }
  if (!found) return 0;
  return WriteOne(call, [&](Sink& s) { return WriteBmp(s, img, BmpDepthFor(img)); });
}

}  // namespace pix
