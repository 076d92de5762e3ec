// The Exif thumbnail of a JPEG file, for fast previews. The marker segments
// are read up to the start of scan; an APP1 segment that begins "Exif" holds
// a TIFF structure whose directories are walked (the first one links to the
// second, which names the thumbnail's offset, tag 0x201, and length, tag
// 0x202). The thumbnail's bytes are returned as they stand in the file.
#include <cstdint>
#include <cstring>
#include <vector>

#include "common/budget.h"
#include "common/files.h"
#include "common/reader.h"
#include "pixmisc.h"

namespace pix {
namespace {

constexpr int kMaxSections = 40;
constexpr int kMaxDepth = 5;
// Bytes per component by TIFF format code (0 is unused).
constexpr int kFormatSize[13] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};

// The TIFF data of one Exif block and what the walk found in it.
struct ExifWalk {
  ByteReader data;  // from the TIFF header on
  bool bigEndian = false;
  std::uint64_t thumbOffset = 0, thumbLength = 0;

  std::uint16_t u16(std::size_t off) const { return bigEndian ? data.u16beAt(off) : data.u16leAt(off); }
  std::uint32_t u32(std::size_t off) const { return bigEndian ? data.u32beAt(off) : data.u32leAt(off); }

  // A tag value as a number of its format.
  double number(std::size_t off, int format) const {
    switch (format) {
      case 1: return data.at(off);
      case 3: return u16(off);
      case 4: return u32(off);
      case 5:
      case 10: {
        double num = format == 5 ? static_cast<double>(u32(off)) : static_cast<std::int32_t>(u32(off));
        double den = format == 5 ? static_cast<double>(u32(off + 4)) : static_cast<std::int32_t>(u32(off + 4));
        return den == 0 ? 0 : num / den;
      }
      case 6: return static_cast<std::int8_t>(data.at(off));
      case 8: return static_cast<std::int16_t>(u16(off));
      case 9: return static_cast<std::int32_t>(u32(off));
      case 11: {
        std::uint32_t bits = u32(off);
        float f;
        std::memcpy(&f, &bits, sizeof f);
        return f;
      }
      case 12: {
        std::uint64_t lo = u32(off), hi = u32(off + 4);
        std::uint64_t bits = bigEndian ? (lo << 32 | hi) : (hi << 32 | lo);
        double d;
        std::memcpy(&d, &bits, sizeof d);
        return d;
      }
      default: return 0;
    }
  }

  static std::uint64_t asCount(double v) {
    if (!(v > 0)) return 0;
    if (v > 4294967295.0) return 4294967295u;
    return static_cast<std::uint64_t>(v);
  }

  void walk(std::uint64_t start, int level) {
    if (level >= kMaxDepth) return;
    const std::uint64_t length = data.size();
    if (start + 2 > length) return;
    const std::uint64_t entries = u16(static_cast<std::size_t>(start));
    const std::uint64_t dirEnd = start + 2 + 12 * entries;
    if (dirEnd + 4 > length && dirEnd != length && dirEnd + 2 != length) return;

    std::uint64_t offset = 0, size = 0;
    for (std::uint64_t i = 0; i < entries; ++i) {
      const std::size_t entry = static_cast<std::size_t>(start + 2 + 12 * i);
      const int tag = u16(entry);
      const int format = u16(entry + 2);
      if (format < 1 || format > 12) continue;
      const std::uint64_t bytes = static_cast<std::uint64_t>(kFormatSize[format]) * u32(entry + 4);
      std::uint64_t valueAt = entry + 8;
      if (bytes > 4) {
        valueAt = u32(entry + 8);
        if (valueAt + bytes > length) continue;
      }
      if (tag == 0x201) offset = asCount(number(static_cast<std::size_t>(valueAt), format));
      if (tag == 0x202) size = asCount(number(static_cast<std::size_t>(valueAt), format));
    }
    if (dirEnd + 4 <= length) {
      const std::uint64_t next = u32(static_cast<std::size_t>(dirEnd));
      if (next != 0 && next < length) walk(next, level + 1);
    }
    if (size != 0 && offset != 0 && offset <= length) {
      thumbOffset = offset;
      thumbLength = size < length - offset ? size : length - offset;
    }
  }
};

// Reads the marker segments of a JPEG file up to the start of scan. Returns
// the thumbnail of its Exif block (empty when there is none or on failure).
std::vector<std::uint8_t> ReadThumbnail(const char* path) {
  InFile in(path);
  if (!in) return {};
  if (in.getc() != 0xFF || in.getc() != 0xD8) return {};
  int sections = 0;
  for (;;) {
    if (sections >= kMaxSections) return {};
    int marker = 0;
    for (int fill = 0;; ++fill) {
      marker = in.getc();
      if (marker != 0xFF) break;
      if (fill >= 6) return {};  // a seventh fill byte
    }
    if (marker < 0) return {};
    int hi = in.getc(), lo = in.getc();
    if (hi < 0 || lo < 0) return {};
    const std::size_t length = static_cast<std::size_t>(hi << 8 | lo);
    if (length < 2) return {};
    std::vector<std::uint8_t> section(length);
    section[0] = static_cast<std::uint8_t>(hi);
    section[1] = static_cast<std::uint8_t>(lo);
    if (in.read(section.data() + 2, length - 2) != length - 2) return {};
    ++sections;
    if (marker == 0xD9) return {};
    if (marker == 0xDA) return {};  // start of scan without an Exif block
    if (marker == 0xE1) {
      if (length >= 6 && std::memcmp(section.data() + 2, "Exif", 4) == 0) {
        if (length < 8) return {};
        ExifWalk w{ByteReader(section.data() + 8, length - 8)};
        const std::uint8_t a = w.data.at(0), b = w.data.at(1);
        if (a == 'I' && b == 'I') w.bigEndian = false;
        else if (a == 'M' && b == 'M') w.bigEndian = true;
        else return {};
        if (w.u16(2) != 42) return {};
        const std::uint64_t first = w.u32(4);
        if (first >= w.data.size()) return {};
        w.walk(first, 0);
        if (w.thumbLength == 0) return {};
        const auto* from = w.data.data() + w.thumbOffset;
        return std::vector<std::uint8_t>(from, from + w.thumbLength);
      }
      --sections;  // other APP1 blocks are not kept
    }
  }
}

}  // namespace
}  // namespace pix

extern "C" int extract_thumbnail_from_jpeg(const char* source, unsigned char** out) {
  pix::CallScope scope(source);
  std::vector<std::uint8_t> thumb = pix::ReadThumbnail(source);
  if (thumb.empty()) return 0;
  return pix::HandOver(thumb.data(), thumb.size(), out);
}
