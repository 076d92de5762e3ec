// Shell scraps (".shs"), embedded OLE objects (".bin") and QuickCard files
// (".qt2"): containers that carry a Windows bitmap, either a whole BMP file
// (the native data of a Paintbrush object) or a packed DIB (a presentation
// stream). The first valid BMP in the file, else the first valid DIB, is
// written as a BMP of the same depth (24 bits for deeper ones). Pictures are looked for as contiguous
// bytes: a picture split over non-consecutive compound-file sectors is not
// reassembled.
#include <cstdint>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/bmp_source.h"
#include "formats/formats.h"

namespace pix {
namespace {

// A whole BMP file at `at`: "BM", a size that fits, zero reserved words, a
// pixel offset inside it and a valid info header behind the file header.
bool BmpAt(const ByteReader& in, std::size_t at, Image& img) {
  if (in.at(at) != 'B' || in.at(at + 1) != 'M' || !in.has(at, 30)) return false;
  const std::uint32_t size = in.u32leAt(at + 2), offset = in.u32leAt(at + 10);
  if (in.u32leAt(at + 6) != 0 || size < 26 || offset >= size || !in.has(at, size)) return false;
  if (DibLength(in.sub(at + 14, size - 14)) == 0) return false;
  return ReadBmpSource(in.sub(at, size), img);
}

bool DibAt(const ByteReader& in, std::size_t at, Image& img) {
  const std::uint32_t header = in.u32leAt(at);
  if (header != 40 && header != 108 && header != 124) return false;
  return ReadDib(in.sub(at, in.size() - at), img);
}

}  // namespace

int ShsBinQt2ToBmp(const ConvertCall& call) {
  Bytes data;
  if (!call.source || !ReadWholeFile(call.source, data, 256u << 20)) return 0;
  ByteReader in(data);
  Image img;
  bool found = false;
  for (std::size_t at = 0; !found && at + 30 <= data.size(); ++at) found = BmpAt(in, at, img);
  for (std::size_t at = 0; !found && at + 40 <= data.size(); ++at) found = DibAt(in, at, img);
  if (!found) return 0;
  return WriteOne(call, [&](Sink& s) { return WriteBmp(s, img, BmpDepthFor(img)); });
}

}  // namespace pix
