// Matlab level-4 matrix files as height fields: a 20-byte header (type code
// MOPT in decimal, rows, columns, imaginary flag, name length), the name, then
// the values column by column as 8-byte (P = 0) or 4-byte (P = 1) reals.
// Little-endian (M = 0) or, from big-endian machines, big-endian (M = 1).
#include <cfloat>
#include <cmath>
#include <cstring>

#include "common/console.h"
#include "common/image.h"
#include "common/reader.h"
#include "science/science.h"

namespace pix {

bool AllocateHeights(HeightMap& map, std::uint32_t width, std::uint32_t height) {
  bool good = CheckedSize(width, height, sizeof(float)) != 0;
  if (good) {
    try {
      map.values.assign(std::size_t(width) * height, 0.0f);
    } catch (...) {
      good = false;
    }
  }
  if (!good) {
    PrintErr("Could not allocate memory for heightfield (%lu bytes)",
             static_cast<unsigned long>(std::uint64_t(width) * height * sizeof(float)));
    return false;
  }
  map.width = width;
  map.height = height;
  return true;
}

bool ReadMatlab(const Bytes& data, HeightMap& map) {
  ByteReader in(data);
  if (data.size() < 20) {
    PrintErr("Problem reading matlab file header.\n");
    return false;
  }
  // Files written on big-endian machines say so in the thousands of their
  // type code (1000, 1010), itself stored big-endian; every number is then
  // big-endian.
  const std::uint32_t bigType = in.u32beAt(0);
  const bool big = bigType == 1000 || bigType == 1010;
  auto u32 = [&] { return big ? in.u32be() : in.u32le(); };
  std::int32_t type = static_cast<std::int32_t>(u32());
  if (big) type -= 1000;
  std::uint32_t rows = u32(), columns = u32();
  u32();  // imaginary flag: only the real part is read
  std::uint32_t nameLength = u32();
  int m = type / 1000, p = (type / 10) % 10, t = type % 10;
  if (type < 0 || m != 0 || (p != 0 && p != 1) || t != 0) return false;
  if (!in.skip(nameLength)) return false;
  if (rows == 0 || columns == 0) return false;
  std::size_t valueSize = p == 1 ? 4 : 8;
  if (std::uint64_t(rows) * columns > in.remaining() / valueSize) return false;
  if (!AllocateHeights(map, columns, rows)) return false;
  for (std::uint32_t x = 0; x < columns; ++x) {
    for (std::uint32_t y = 0; y < rows; ++y) {
      float v;
      if (p == 1) {
        std::uint32_t bits = u32();
        std::memcpy(&v, &bits, 4);
      } else {
        const std::uint64_t first = u32(), second = u32();
        const std::uint64_t bits = big ? first << 32 | second : second << 32 | first;
        double d;
        std::memcpy(&d, &bits, 8);
        // Plain narrowing; magnitudes past the float range become infinite.
        if (std::isfinite(d) && std::fabs(d) > FLT_MAX) v = d > 0 ? HUGE_VALF : -HUGE_VALF;
        else v = static_cast<float>(d);
      }
      map.values[std::size_t(y) * columns + x] = v;
    }
  }
  return !in.bad();
}

bool WriteMatlab(const char* path, const HeightMap& map) {
  Sink out;
  if (!out.open(path) || out.isMemory()) return false;
  out.put32le(10);
  out.put32le(map.height);
  out.put32le(map.width);
  out.put32le(0);
  out.put32le(5);
  out.write("topo", 5);
  for (std::uint32_t x = 0; x < map.width; ++x) {
    for (std::uint32_t y = 0; y < map.height; ++y) {
      std::uint32_t bits;
      std::memcpy(&bits, &map.values[std::size_t(y) * map.width + x], 4);
      out.put32le(bits);
    }
  }
  return out.close();
}

}  // namespace pix
