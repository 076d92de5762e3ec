// Flash movies (".swf", plain "FWS" or zlib-compressed "CWS"): the movie is
// read into a flat list of tags, and the JPEG picture defined under a wanted
// character id is rebuilt as a standalone JPEG file (codes 6, 21 and 35). The
// result is 1 after writing the target, the picture's length in memory mode,
// and 0 when no defining tag carries the id or the picture cannot be rebuilt.
// A code 6 picture that is a complete JPEG is copied as it stands when the
// movie has no usable tables tag.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>


#include "common/inflate.h"
#include "common/console.h"
#include "common/files.h"
#include "common/reader.h"
#include "extract/extract.h"

namespace pix {
namespace {

constexpr std::size_t kMaxMovie = std::size_t(512) << 20;

struct Tag {
  std::uint16_t code = 0;
  const std::uint8_t* data = nullptr;
  std::size_t length = 0;
  int frame = 0;
};

// Reading inside one tag's data: a read past its end is refused with a
// diagnostic on standard error.
struct TagData {
  const Tag& tag;
  std::size_t pos = 0;

  std::uint16_t u16() {
    if (pos + 2 > tag.length) {
      PrintErr("GetU16() out of bounds: TagID = %i\n", tag.code);
      return 0;
    }
    const std::uint16_t v = static_cast<std::uint16_t>(tag.data[pos] | tag.data[pos + 1] << 8);
    pos += 2;
    return v;
  }
};

// Bit reader for the frame rectangle, most significant bit first.
class Bits {
 public:
  explicit Bits(ByteReader& r) : r_(r) {}
  std::uint32_t get(int n) {
    std::uint32_t v = 0;
    for (int i = 0; i < n; ++i) {
      if (left_ == 0) {
        cur_ = r_.u8();
        left_ = 8;
      }
      --left_;
      v = v << 1 | ((cur_ >> left_) & 1u);
    }
    return v;
  }
  std::int32_t getSigned(int n) {
    std::uint32_t v = get(n);
    if (n > 0 && n < 32 && (v & (1u << (n - 1)))) v |= ~0u << n;
    return static_cast<std::int32_t>(v);
  }

 private:
  ByteReader& r_;
  std::uint8_t cur_ = 0;
  int left_ = 0;
};

// The movie's bytes after the 8-byte header, inflated when compressed; false
// for a short header or an unknown signature.
bool ReadMovie(const char* path, Bytes& file, Bytes& inflated, ByteReader& body) {
  if (!ReadWholeFile(path, file, kMaxMovie)) return false;
  if (file.size() < 8) return false;
  if ((file[0] != 'F' && file[0] != 'C') || file[1] != 'W' || file[2] != 'S') return false;
  if (file[0] == 'C') {
    Inflate(file.data() + 8, file.size() - 8, kZlibStream, kMaxMovie, inflated);  // a cut movie keeps what it gave
    body = ByteReader(inflated.data(), inflated.size());
  } else {
    body = ByteReader(file.data() + 8, file.size() - 8);
  }
  return true;
}

// Reads the tags in file order and hands each to `visit` until it returns
// false or a tag cannot be read whole. Tags are visited as they are read
// rather than collected first, so a movie of millions of empty tags costs no
// more memory than its bytes.
template <class Visit>
void ReadTags(ByteReader& r, Visit visit) {
  Bits bits(r);
  const int n = static_cast<int>(bits.get(5));
  for (int i = 0; i < 4; ++i) bits.getSigned(n);  // Xmin, Xmax, Ymin, Ymax
  r.u16le();                                      // frame rate
  r.u16le();                                      // frame count
  int frame = 0;
  while (!r.bad()) {
    const std::uint16_t word = r.u16le();
    if (r.bad()) break;
    Tag t;
    t.code = static_cast<std::uint16_t>(word >> 6);
    std::size_t length = word & 63u;
    if (length == 63) {
      length = r.u32le();
      if (r.bad()) break;
    }
    if (t.code == 39) length = 4;  // sprites: the nested tags follow as ordinary tags
    t.data = r.take(length);
    if (!t.data && length) break;
    t.length = length;
    t.frame = frame;
    if (t.code == 1) ++frame;
    if (!visit(t)) break;
  }
}

bool IsDefining(std::uint16_t code) {
  static constexpr std::uint16_t kCodes[] = {2, 22, 32, 46, 10, 48, 11, 33, 37, 6, 21, 35, 20, 36, 38, 39, 7, 34, 14, 60};
  return std::find(std::begin(kCodes), std::end(kCodes), code) != std::end(kCodes);
}

// Start of the last FF D9 FF D8 lying wholly inside [from, to), or -1.
std::int64_t LastJoint(const Tag& t, std::size_t from, std::size_t to) {
  for (std::size_t i = to; i >= from + 4; --i) {
    const std::uint8_t* p = t.data + i - 4;
    if (p[0] == 0xFF && p[1] == 0xD9 && p[2] == 0xFF && p[3] == 0xD8) return static_cast<std::int64_t>(i - 4);
  }
  return -1;
}

// The picture part [from, to) of a tag without its tables/image joint.
void AppendJoined(const Tag& t, std::size_t from, std::size_t to, Bytes& out) {
  const std::int64_t j = LastJoint(t, from, to);
  if (j < 0) {
    out.insert(out.end(), t.data + from, t.data + to);
    return;
  }
  const auto joint = static_cast<std::size_t>(j);
  out.insert(out.end(), t.data + from, t.data + joint);
  out.insert(out.end(), t.data + joint + 4, t.data + to);
}

// A tables tag serves only when it holds a JPEG start (FF D8) in 4 bytes or
// more; an empty one, which some authoring tools write, counts as absent.
bool UsableTables(const Tag& t) {
  for (std::size_t i = 0; t.length >= 4 && i + 1 < t.length; ++i)
    if (t.data[i] == 0xFF && t.data[i + 1] == 0xD8) return true;
  return false;
}

bool Rebuild(const Tag& t, const Tag* tables, Bytes& out) {
  switch (t.code) {
    case 6:
      if (t.length <= 2) return false;
      if (!tables || !UsableTables(*tables)) {
        // Without tables, a picture that is a whole JPEG of its own is
        // copied as it stands.
        if (t.length < 4 || t.data[2] != 0xFF || t.data[3] != 0xD8) return false;
        out.insert(out.end(), t.data + 2, t.data + t.length);
        return true;
      }
      out.insert(out.end(), tables->data, tables->data + (tables->length >= 2 ? tables->length - 2 : 0));
      if (t.length > 4) out.insert(out.end(), t.data + 4, t.data + t.length);
      return true;
    case 21:
      if (t.length <= 2) return false;
      AppendJoined(t, 2, t.length, out);
      return true;
    case 35: {
      if (t.length <= 6) return false;
      const std::uint32_t alpha = ByteReader(t.data, t.length).u32leAt(2);
      const std::size_t end = alpha > t.length - 6 ? t.length : 6 + static_cast<std::size_t>(alpha);
      AppendJoined(t, 6, end, out);
      return true;
    }
    default:
      return false;
  }
}

}  // namespace

int SwfPictureExtract(const ConvertCall& call) {
  const bool memory = call.memoryMode();
  if (memory && !call.out) return 0;
  Bytes file, inflated;
  ByteReader body;
  if (!ReadMovie(call.source, file, inflated, body)) return 0;

  // The tags point into the movie's bytes, which outlive the walk.
  bool haveTables = false;
  Tag tables;
  int result = 0;
  ReadTags(body, [&](const Tag& t) {
    if (t.code == 8) {
      tables = t;
      haveTables = true;
      return true;
    }
    if (!IsDefining(t.code)) return true;
    TagData d{t};
    const int id = d.u16();
    if (id != call.arg1) return true;
    Bytes picture;
    if (!Rebuild(t, haveTables ? &tables : nullptr, picture) || picture.empty()) return false;
    if (memory) {
      result = HandOver(picture, call.out);
      return false;
    }
    Sink out;
    if (!out.open(call.target) || !out.write(picture)) return false;
    result = out.close() ? 1 : 0;
    return false;
  });
  return result;
}

}  // namespace pix
