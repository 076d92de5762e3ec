// HRU bitmaps (".hru") to GIF. The HRU picture format itself is known only
// by name and by the first bytes of one file ("5KP51]*grr..."); its header,
// palette and pixel coding are undocumented, so no HRU picture is decoded.
// What is handled is an ".hru" file that carries a GIF picture inside: the
// first "GIF87a"/"GIF89a" stream giflib can read is written as the target
// (its first picture). Returns 1 when written, 0 for anything else.
#include <cstdint>
#include <cstring>

#include "common/image.h"
#include "common/series.h"
#include "formats/formats.h"

namespace pix {

int HruToGif(const ConvertCall& call) {
  Bytes data;
  if (!call.source || !ReadWholeFile(call.source, data)) return 0;
  Image img;
  bool found = false;
  int tries = 0;  // a few candidate signatures at most: each try reads the rest of the file
  for (std::size_t at = 0; !found && tries < 16 && at + 6 <= data.size(); ++at) {
    if (data[at] != 'G' || (std::memcmp(&data[at], "GIF87a", 6) != 0 && std::memcmp(&data[at], "GIF89a", 6) != 0))
      continue;
    ++tries;
    found = ReadGif(Bytes(data.begin() + std::ptrdiff_t(at), data.end()), img);
  }
  if (!found) return 0;
  return WriteOne(call, [&](Sink& out) { return WriteGif(out, img); });
}

}  // namespace pix
