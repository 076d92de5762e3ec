#include "common/inflate.h"

#include <zlib.h>

#include <algorithm>

namespace pix {

bool Inflate(const std::uint8_t* data, std::size_t size, int windowBits, std::size_t limit, Bytes& out) {
  z_stream z{};
  if (inflateInit2(&z, windowBits) != Z_OK) return false;
  z.next_in = const_cast<Bytef*>(data);
  z.avail_in = static_cast<uInt>(std::min<std::size_t>(size, 0x7FFFFFFF));
  int rc = Z_OK;
  while (rc == Z_OK && out.size() < limit) {
    const std::size_t have = out.size(), room = std::min<std::size_t>(limit - have, 65536);
    try {
      out.resize(have + room);
    } catch (...) {
      break;
    }
    z.next_out = out.data() + have;
    z.avail_out = static_cast<uInt>(room);
    rc = inflate(&z, Z_NO_FLUSH);
    out.resize(have + room - z.avail_out);
    if (z.avail_out == room && rc == Z_OK) break;  // no progress: the input is used up
  }
  inflateEnd(&z);
  return rc == Z_STREAM_END;
}

}  // namespace pix
