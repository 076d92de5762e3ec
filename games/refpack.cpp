// The QFS (RefPack) expander of the shape archives: a 5-byte header (flags,
// 0xFB, expanded size as 24-bit big-endian; bit 0 of the flags adds a 3-byte
// field that is skipped) and a stream of commands, each copying literal bytes
// from the input and then repeating bytes already produced.
#include <new>

#include "common/console.h"
#include "common/reader.h"
#include "games/games.h"

namespace pix {

bool IsQfs(const std::uint8_t* data, std::size_t size) {
  return size >= 2 && (data[0] & 0xFE) == 0x10 && data[1] == 0xFB;
}

bool QfsExpand(const std::uint8_t* data, std::size_t size, std::vector<std::uint8_t>& out) {
  ByteReader in(data, size);
  const std::size_t expected = std::size_t(in.at(2)) << 16 | std::size_t(in.at(3)) << 8 | in.at(4);
  try {
    out.assign(expected, 0);
  } catch (const std::bad_alloc&) {
    PrintErr("Insufficient memory.\n");
    return false;
  }
  std::size_t pos = (in.at(0) & 1) ? 8 : 5;
  std::size_t produced = 0;  // what the commands ask for, written or not
  std::size_t written = 0;

  auto literals = [&](std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, ++produced) {
      if (pos >= size) return;
      std::uint8_t b = in.at(pos++);
      if (written < expected) out[written++] = b;
    }
  };
  auto copy = [&](std::size_t length, std::size_t distance) {
    for (std::size_t i = 0; i < length; ++i, ++produced) {
      if (written >= expected) continue;
      // Bytes before the start of the output read as zero.
      out[written] = distance <= written ? out[written - distance] : 0;
      ++written;
    }
  };

  while (pos < size) {
    const std::uint8_t b0 = in.at(pos), b1 = in.at(pos + 1), b2 = in.at(pos + 2), b3 = in.at(pos + 3);
    if (b0 < 0x80) {
      pos += 2;
      literals(b0 & 3);
      copy(((b0 >> 2) & 7) + 3, ((b0 & 0x60) << 3) + b1 + 1);
    } else if (b0 < 0xC0) {
      pos += 3;
      literals(b1 >> 6);
      copy((b0 & 0x3F) + 4, ((b1 & 0x3F) << 8) + b2 + 1);
    } else if (b0 < 0xE0) {
      pos += 4;
      literals(b0 & 3);
      copy(((b0 >> 2) & 3) * 256 + b3 + 5, ((b0 & 0x10) << 12) + (b1 << 8) + b2 + 1);
    } else if (b0 < 0xFC) {
      pos += 1;
      literals((b0 & 0x1F) * 4 + 4);
    } else {
      pos += 1;
      if (pos < size && written < expected) literals(b0 & 3);
      break;
    }
  }
  if (produced != expected)
    PrintErr("Warning: bad length ? %d instead of %d\n", static_cast<int>(produced), static_cast<int>(expected));
  return true;
}

}  // namespace pix
