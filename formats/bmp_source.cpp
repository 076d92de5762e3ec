// Reading an uncompressed BMP as a converter's source (see bmp_source.h).
#include "formats/bmp_source.h"

#include <cstdint>

#include "common/reader.h"

namespace pix {
namespace {

// Position of the lowest set bit and the width of a colour mask.
void MaskShape(std::uint32_t mask, int& shift, int& width) {
  shift = 0;
  width = 0;
  if (mask == 0) return;
  while (!(mask & 1u)) { mask >>= 1; ++shift; }
  while (mask & 1u) { mask >>= 1; ++width; }
}

std::uint8_t MaskedChannel(std::uint32_t v, std::uint32_t mask) {
  int shift = 0, width = 0;
  MaskShape(mask, shift, width);
  if (width == 0) return 0;
  std::uint32_t c = (v & mask) >> shift;
  std::uint32_t top = (width >= 32) ? 0xFFFFFFFFu : ((1u << width) - 1);
  return static_cast<std::uint8_t>(c * 255u / top);
}

}  // namespace

bool ReadBmpSource(const Bytes& data, Image& img) { return ReadBmpSource(ByteReader(data), img); }

bool ReadBmpSource(const ByteReader& data, Image& img) {
  ByteReader in = data.rest();
  if (in.u8() != 'B' || in.u8() != 'M') return false;
  in.seek(10);
  const std::uint32_t dataOffset = in.u32le();
  const std::uint32_t infoSize = in.u32le();
  if (in.bad()) return false;
  std::int64_t width = 0, height = 0;
  std::uint16_t bits = 0;
  std::uint32_t compression = 0, used = 0;
  int entryBytes = 4;
  std::uint32_t masks[3] = {0x00FF0000u, 0x0000FF00u, 0x000000FFu};
  if (infoSize == 12) {
    width = in.u16le();
    height = in.u16le();
    in.u16le();
    bits = in.u16le();
    entryBytes = 3;
  } else if (infoSize >= 40 && infoSize <= 4096) {
    width = in.s32le();
    height = in.s32le();
    in.u16le();
    bits = in.u16le();
    compression = in.u32le();
    in.skip(12);
    used = in.u32le();
    if (compression == 3 && infoSize >= 52) {
      in.seek(14 + 40);
      for (std::uint32_t& m : masks) m = in.u32le();
    } else if (compression == 3) {
      in.seek(14 + infoSize);
      for (std::uint32_t& m : masks) m = in.u32le();
    }
  } else {
    return false;
  }
  if (in.bad()) return false;
  const bool topDown = height < 0;
  if (topDown) height = -height;
  if (width <= 0 || height <= 0) return false;
  if (compression != 0 && !(compression == 3 && bits == 32)) return false;
  if (bits != 1 && bits != 4 && bits != 8 && bits != 24 && bits != 32) return false;

  const std::uint64_t stride = (static_cast<std::uint64_t>(width) * bits + 31) / 32 * 4;
  if (CheckedSize(static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height), 1) == 0) return false;
  if (!in.has(dataOffset, stride * static_cast<std::uint64_t>(height))) return false;

  const bool indexed = bits <= 8;
  if (!img.allocate(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), indexed ? 1 : 3))
    return false;
  if (indexed) {
    std::uint32_t count = used ? used : (1u << bits);
    if (count > (1u << bits)) count = 1u << bits;
    const std::size_t tableAt = 14 + infoSize;
    if (!in.has(tableAt, std::size_t(count) * entryBytes) || tableAt + std::size_t(count) * entryBytes > dataOffset)
      return false;
    img.palette.resize(count);
    for (std::uint32_t i = 0; i < count; ++i) {
      const std::size_t at = tableAt + std::size_t(i) * entryBytes;
      img.palette[i] = Rgb{in.at(at + 2), in.at(at + 1), in.at(at)};
    }
    img.bits = bits;
  }
  for (std::uint32_t y = 0; y < img.height; ++y) {
    const std::uint32_t fileRow = topDown ? y : img.height - 1 - y;
    ByteReader row = in.sub(dataOffset + std::size_t(fileRow) * stride, static_cast<std::size_t>(stride));
    std::uint8_t* out = img.row(y);
    for (std::uint32_t x = 0; x < img.width; ++x) {
      if (bits == 24) {
        const std::size_t at = std::size_t(x) * 3;
        out[x * 3] = row.at(at + 2);
        out[x * 3 + 1] = row.at(at + 1);
        out[x * 3 + 2] = row.at(at);
      } else if (bits == 32) {
        const std::uint32_t v = row.u32leAt(std::size_t(x) * 4);
        out[x * 3] = MaskedChannel(v, masks[0]);
        out[x * 3 + 1] = MaskedChannel(v, masks[1]);
        out[x * 3 + 2] = MaskedChannel(v, masks[2]);
      } else {
        const std::size_t bit = std::size_t(x) * bits;
        const std::uint8_t b = row.at(bit / 8);
        const int shift = 8 - bits - static_cast<int>(bit % 8);
        std::uint8_t v = static_cast<std::uint8_t>((b >> shift) & ((1u << bits) - 1));
        if (v >= img.palette.size()) v = 0;
        out[x] = v;
      }
    }
  }
  return true;
}

namespace {

// Colour-table bytes (with bit-field masks) and header size of a packed DIB;
// false for an info header no reader would accept.
bool DibShape(const ByteReader& dib, std::size_t& header, std::size_t& table, std::size_t& pixels) {
  header = dib.u32leAt(0);
  std::int64_t w = 0, h = 0;
  std::uint32_t planes = 0, bits = 0, compression = 0, used = 0, imageSize = 0;
  if (header == 12) {
    w = dib.u16leAt(4);
    h = dib.u16leAt(6);
    planes = dib.u16leAt(8);
    bits = dib.u16leAt(10);
  } else if (header == 40 || header == 108 || header == 124) {
    w = static_cast<std::int32_t>(dib.u32leAt(4));
    h = static_cast<std::int32_t>(dib.u32leAt(8));
    planes = dib.u16leAt(12);
    bits = dib.u16leAt(14);
    compression = dib.u32leAt(16);
    imageSize = dib.u32leAt(20);
    used = dib.u32leAt(32);
  } else {
    return false;
  }
  if (h < 0) h = -h;
  if (w < 1 || w > 32768 || h < 1 || h > 32768 || planes != 1 || compression > 3) return false;
  if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32) return false;
  if (bits <= 8 && used > (1u << bits)) return false;
  if (used > 256) return false;
  const std::size_t entry = header == 12 ? 3 : 4;
  table = entry * (used ? used : bits <= 8 ? (1u << bits) : 0);
  if (compression == 3 && header == 40) table += 12;
  const std::uint64_t rows = (static_cast<std::uint64_t>(w) * bits + 31) / 32 * 4 * static_cast<std::uint64_t>(h);
  pixels = static_cast<std::size_t>(imageSize && compression != 0 ? imageSize : rows);
  return true;
}

}  // namespace

std::size_t DibLength(const ByteReader& dib) {
  std::size_t header = 0, table = 0, pixels = 0;
  if (!dib.has(0, 16) || !DibShape(dib, header, table, pixels)) return 0;
  const std::uint64_t total = std::uint64_t(header) + table + pixels;
  return dib.has(0, static_cast<std::size_t>(total)) ? static_cast<std::size_t>(total) : 0;
}

bool ReadDib(const ByteReader& dib, Image& img) {
  std::size_t header = 0, table = 0, pixels = 0;
  const std::size_t length = DibLength(dib);
  if (length == 0 || !DibShape(dib, header, table, pixels)) return false;
  Bytes file(14 + length);
  file[0] = 'B';
  file[1] = 'M';
  const std::uint32_t size = static_cast<std::uint32_t>(file.size()), offset = static_cast<std::uint32_t>(14 + header + table);
  for (int i = 0; i < 4; ++i) {
    file[2 + i] = static_cast<std::uint8_t>(size >> (8 * i));
    file[10 + i] = static_cast<std::uint8_t>(offset >> (8 * i));
  }
  ByteReader copy = dib.sub(0, length);
  copy.bytes(file.data() + 14, length);
  return ReadBmpSource(file, img);
}

}  // namespace pix
