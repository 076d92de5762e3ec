// Source files, the output sink (a file or a growable memory buffer),
// temporary files and memory results.
#pragma once

#include "common/compat.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace pix {

using Bytes = std::vector<std::uint8_t>;

// A source opened "rb" with the stdio semantics the scanners are built on:
// short reads, a sticky end-of-file indicator, relative and absolute seeks.
class InFile {
 public:
  InFile() = default;
  explicit InFile(const char* path) { open(path); }
  ~InFile() { close(); }
  InFile(const InFile&) = delete;
  InFile& operator=(const InFile&) = delete;

  bool open(const char* path);
  void close();
  bool ok() const { return f_ != nullptr; }
  explicit operator bool() const { return ok(); }

  std::size_t read(void* dst, std::size_t n);  // bytes read; sets eof() on a short read
  // True at the end of the file, and once the call's read budget is spent.
  bool eof() const { return spent_ || (f_ && std::feof(f_) != 0); }
  bool seekCur(std::int64_t delta);             // false (position kept) when it would go before 0
  bool seekSet(std::int64_t pos);
  bool seekEnd(std::int64_t delta);
  std::int64_t tell() const;
  std::int64_t size();                          // whole file size; position kept
  int getc();                                   // EOF at the end
  std::FILE* raw() { return f_; }

 private:
  std::FILE* f_ = nullptr;
  bool spent_ = false;
};

// Reads a whole file; false when it cannot be opened or is larger than maxBytes.
bool ReadWholeFile(const char* path, Bytes& out, std::size_t maxBytes = std::size_t(1) << 30);

// Where a converter's output goes: a file opened "wb", or a growable memory
// buffer. Both modes share every write, so file and memory outputs are equal.
class Sink {
 public:
  Sink() = default;
  ~Sink() { close(); }
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;

  // File mode when path is non-empty, memory mode otherwise. False when the
  // file cannot be created.
  bool open(const char* path);
  bool openMemory();
  bool isMemory() const { return memory_; }
  bool ok() const { return memory_ || f_ != nullptr; }

  bool write(const void* data, std::size_t n);
  bool write(const Bytes& b) { return write(b.data(), b.size()); }
  bool put8(std::uint8_t v) { return write(&v, 1); }
  bool put16le(std::uint16_t v);
  bool put16be(std::uint16_t v);
  bool put32le(std::uint32_t v);
  bool put32be(std::uint32_t v);
  bool puts(const char* text);
  bool printf(const char* fmt, ...) PIX_PRINTF(2, 3);
  // Overwrites bytes already written at offset (for sizes known only at the end).
  bool patch(std::size_t offset, const void* data, std::size_t n);

  std::size_t size() const { return size_; }
  bool failed() const { return failed_; }
  const Bytes& memory() const { return mem_; }

  // File mode: flushes and closes; false when a write failed.
  bool close();
  // Memory mode: hands the bytes to the caller as a memory result (see
  // HandOver) and returns their count, 0 on failure or in file mode.
  int release(unsigned char** out);

 private:
  std::FILE* f_ = nullptr;
  bool memory_ = false;
  bool failed_ = false;
  std::size_t size_ = 0;
  Bytes mem_;
};

// The memory result: a malloc'ed block of n + 1 bytes (the last one zero)
// stored through out; returns n. Returns 0 and leaves *out untouched when
// n is 0, too large, out is null, or allocation fails.
int HandOver(const void* data, std::size_t n, unsigned char** out);
inline int HandOver(const Bytes& b, unsigned char** out) { return HandOver(b.data(), b.size(), out); }

// A file in the private temporary directory, unique to this call, deleted
// when the owner goes out of scope.
class TempFile {
 public:
  explicit TempFile(const char* suffix);
  ~TempFile();
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  const std::string& path() const { return path_; }
  bool ok() const { return !path_.empty(); }

 private:
  std::string path_;
};

// Allocation helper: a fresh block of size bytes, null on failure or size < 1.
void* AllocBlock(std::int32_t size);
// Buffer growth: allocates or reallocates *buffer to size bytes and stores the
// result back (null on failure, the old block then being freed).
void* GrowBuffer(void** buffer, std::int32_t size);

}  // namespace pix
