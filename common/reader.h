// The bounds-checked byte reader every decoder reads through: a cursor over
// bytes in memory, little- and big-endian integers, strings, seeks, and a
// sticky "ran past the end" flag to check after each stage. Reads past the
// end give zeros and set the flag; nothing reads outside the bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace pix {

class ByteReader {
 public:
  ByteReader() = default;
  ByteReader(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  template <class Container>
  explicit ByteReader(const Container& c) : data_(c.data()), size_(c.size()) {}

  std::size_t size() const { return size_; }
  std::size_t pos() const { return pos_; }
  std::size_t remaining() const { return pos_ < size_ ? size_ - pos_ : 0; }
  bool bad() const { return bad_; }          // a read or seek ran past the end
  bool atEnd() const { return pos_ >= size_; }
  const std::uint8_t* data() const { return data_; }

  // Moves the cursor; a position past the end sets bad() and clamps.
  bool seek(std::size_t pos) {
    if (pos > size_) { bad_ = true; pos_ = size_; return false; }
    pos_ = pos;
    return true;
  }
  bool skip(std::size_t n) { return n > remaining() ? seek(size_ + 1) : seek(pos_ + n); }

  std::uint8_t u8() { std::uint8_t v = 0; copy(&v, 1); return v; }
  std::int8_t s8() { return static_cast<std::int8_t>(u8()); }
  std::uint16_t u16le() { std::uint8_t b[2]{}; copy(b, 2); return static_cast<std::uint16_t>(b[0] | b[1] << 8); }
  std::uint16_t u16be() { std::uint8_t b[2]{}; copy(b, 2); return static_cast<std::uint16_t>(b[0] << 8 | b[1]); }
  std::uint32_t u32le() {
    std::uint8_t b[4]{}; copy(b, 4);
    return static_cast<std::uint32_t>(b[0]) | static_cast<std::uint32_t>(b[1]) << 8 |
           static_cast<std::uint32_t>(b[2]) << 16 | static_cast<std::uint32_t>(b[3]) << 24;
  }
  std::uint32_t u32be() {
    std::uint8_t b[4]{}; copy(b, 4);
    return static_cast<std::uint32_t>(b[0]) << 24 | static_cast<std::uint32_t>(b[1]) << 16 |
           static_cast<std::uint32_t>(b[2]) << 8 | static_cast<std::uint32_t>(b[3]);
  }
  std::int16_t s16le() { return static_cast<std::int16_t>(u16le()); }
  std::int16_t s16be() { return static_cast<std::int16_t>(u16be()); }
  std::int32_t s32le() { return static_cast<std::int32_t>(u32le()); }
  std::int32_t s32be() { return static_cast<std::int32_t>(u32be()); }

  // Copies n bytes; the part past the end is zero-filled and sets bad().
  bool bytes(void* dst, std::size_t n) { return copy(dst, n); }
  // n bytes as a string (NULs kept).
  std::string str(std::size_t n) { std::string s(n, '\0'); copy(s.data(), n); return s; }
  // Pointer to n bytes at the cursor, advancing; null (and bad()) when fewer remain.
  const std::uint8_t* take(std::size_t n) {
    if (n > remaining()) { bad_ = true; pos_ = size_; return nullptr; }
    const std::uint8_t* p = data_ + pos_;
    pos_ += n;
    return p;
  }

  // Random access without moving the cursor: 0 outside the bytes.
  std::uint8_t at(std::size_t off) const { return off < size_ ? data_[off] : 0; }
  std::uint16_t u16leAt(std::size_t off) const { return static_cast<std::uint16_t>(at(off) | at(off + 1) << 8); }
  std::uint16_t u16beAt(std::size_t off) const { return static_cast<std::uint16_t>(at(off) << 8 | at(off + 1)); }
  std::uint32_t u32leAt(std::size_t off) const {
    return static_cast<std::uint32_t>(u16leAt(off)) | static_cast<std::uint32_t>(u16leAt(off + 2)) << 16;
  }
  std::uint32_t u32beAt(std::size_t off) const {
    return static_cast<std::uint32_t>(u16beAt(off)) << 16 | static_cast<std::uint32_t>(u16beAt(off + 2));
  }
  bool has(std::size_t off, std::size_t n) const { return off <= size_ && n <= size_ - off; }

  // A reader over length bytes from off (clamped to what there is), with its
  // own cursor at 0. The view sets bad() at once when it had to be clamped.
  ByteReader sub(std::size_t off, std::size_t length) const {
    ByteReader r;
    if (off > size_) off = size_;
    std::size_t n = length < size_ - off ? length : size_ - off;
    r.data_ = data_ + off;
    r.size_ = n;
    r.bad_ = n < length;
    return r;
  }
  // The rest of the bytes from the cursor on, as a view.
  ByteReader rest() const { return sub(pos_, remaining()); }

 private:
  bool copy(void* dst, std::size_t n) {
    std::size_t avail = remaining();
    std::size_t k = n < avail ? n : avail;
    if (k) std::memcpy(dst, data_ + pos_, k);
    if (k < n) {
      std::memset(static_cast<std::uint8_t*>(dst) + k, 0, n - k);
      bad_ = true;
    }
    pos_ += k;
    return k == n;
  }

  const std::uint8_t* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t pos_ = 0;
  bool bad_ = false;
};

// A window of a file read into memory, for converters that stream sources
// too large to hold whole: load() reads [offset, offset + length) (less at
// the end of the file) and reader() gives the bounds-checked reader over it,
// whose offsets are relative to the window's start.
class InFile;
class FileWindow {
 public:
  explicit FileWindow(InFile& file) : file_(file) {}
  // False when nothing could be read at offset.
  bool load(std::uint64_t offset, std::size_t length);
  std::uint64_t offset() const { return offset_; }
  std::size_t size() const { return bytes_.size(); }
  ByteReader reader() const { return ByteReader(bytes_.data(), bytes_.size()); }

 private:
  InFile& file_;
  std::uint64_t offset_ = 0;
  std::vector<std::uint8_t> bytes_;
};

// Unpacks PackBits (ByteRun1) codes from `in` into row[0, n): a count of 0
// to 127 copies the next count + 1 bytes, -1 to -127 repeats the next byte
// 1 - count times, -128 does nothing. A run past the row is cut; a literal
// past it is read and dropped. Stops at the row's end or the input's.
inline void UnpackBits(ByteReader& in, std::uint8_t* row, std::size_t n) {
  std::size_t x = 0;
  while (x < n && !in.atEnd()) {
    const int count = in.s8();
    if (count >= 0) {
      for (int i = 0; i <= count; ++i) {
        const std::uint8_t v = in.u8();
        if (x < n) row[x++] = v;
      }
    } else if (count != -128) {
      const std::uint8_t v = in.u8();
      for (int i = 0; i < 1 - count && x < n; ++i) row[x++] = v;
    }
  }
}

}  // namespace pix
