// Corel Gallery clip art (".bmf", "@CorelBMF\n\r"): the preview, a packed
// Windows DIB whose length stands at offset 65 and which starts at 69, is
// written as a BMP of the same depth (24 bits for deeper ones), in file or memory mode. The vector clip
// art is not rendered.
#include <cstdint>
#include <cstring>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/bmp_source.h"
#include "formats/formats.h"

namespace pix {

int BmfToBmp(const ConvertCall& call) {
  auto read = [](const Bytes& data, Image& img) {
    const ByteReader in(data);
    if (!in.has(0, 73) || std::memcmp(data.data(), "@CorelBMF\n\r", 11) != 0) return false;
    if (in.u32leAt(69) != 40) return false;
    const std::size_t length = in.u32leAt(65);
    const ByteReader dib = in.sub(69, length < data.size() - 69 ? length : data.size() - 69);
    return ReadDib(dib, img) && img.width <= 8192 && img.height <= 8192;
  };
  return ConvertWhole(
      call, read, [](Sink& s, const Image& img) { return WriteBmp(s, img, BmpDepthFor(img)); }, 64u << 20);
}

}  // namespace pix
