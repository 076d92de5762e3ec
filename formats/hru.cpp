// HRU bitmaps (".hru") to GIF. The HRU picture format itself is known only
// by name and by the first bytes of one file ("5KP51]*grr..."); its header,
// palette and pixel coding are undocumented, so no HRU picture is decoded.
// What is handled is an ".hru" file that carries a GIF picture inside: the
// first "GIF87a"/"GIF89a" stream giflib can read is written as the target
// (its first picture). Returns 1 when written, 0 for anything else.
#include <cstdint>
#include <string>

#include "common/image.h"
#include "common/reader.h"
#include "common/series.h"
#include "formats/embedded_pictures.h"
#include "formats/formats.h"

namespace pix {

int HruToGif(const ConvertCall& call) {
  auto read = [](const Bytes& data, Image& img) {
    const ByteReader in(data);
    int tries = 0;  // a few candidate signatures at most: each try reads the rest of the file
    for (std::size_t at = FindBytes(in, 0, "GIF8"); at != kNotFound && tries < 16; at = FindBytes(in, at + 1, "GIF8")) {
      const std::string sig = in.sub(at, 6).str(6);
      if (sig != "GIF87a" && sig != "GIF89a") continue;
      ++tries;
      if (ReadGif(Bytes(data.begin() + std::ptrdiff_t(at), data.end()), img)) return true;
    }
    return false;
  };
  return ConvertWhole(call, read, [](Sink& out, const Image& img) { return WriteGif(out, img); });
}

}  // namespace pix
