#include "common/files.h"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "common/budget.h"
#include "common/console.h"
#include "common/reader.h"
#include "platform/platform.h"

#ifdef _WIN32
#define fseeko _fseeki64
#define ftello _ftelli64
using FileOffset = long long;
#else
using FileOffset = off_t;
#endif

namespace pix {

bool InFile::open(const char* path) {
  close();
  spent_ = false;
  if (!path || !*path) return false;
  f_ = std::fopen(path, "rb");
  return f_ != nullptr;
}

void InFile::close() {
  if (f_) std::fclose(f_);
  f_ = nullptr;
}

std::size_t InFile::read(void* dst, std::size_t n) {
  if (!f_ || n == 0 || spent_) return 0;
  std::size_t got = std::fread(dst, 1, n, f_);
  if (CallScope* scope = CallScope::Current(); scope && !scope->chargeRead(got)) {
    spent_ = true;
    return 0;
  }
  return got;
}

bool InFile::seekCur(std::int64_t delta) {
  if (!f_) return false;
  std::int64_t pos = tell();
  if (pos < 0 || pos + delta < 0) return false;
  return fseeko(f_, static_cast<FileOffset>(delta), SEEK_CUR) == 0;
}

bool InFile::seekSet(std::int64_t pos) {
  if (!f_ || pos < 0) return false;
  return fseeko(f_, static_cast<FileOffset>(pos), SEEK_SET) == 0;
}

bool InFile::seekEnd(std::int64_t delta) {
  if (!f_) return false;
  std::int64_t sz = size();
  if (sz + delta < 0) return false;
  return fseeko(f_, static_cast<FileOffset>(delta), SEEK_END) == 0;
}

std::int64_t InFile::tell() const { return f_ ? static_cast<std::int64_t>(ftello(f_)) : -1; }

std::int64_t InFile::size() {
  if (!f_) return -1;
  std::int64_t here = tell();
  if (fseeko(f_, 0, SEEK_END) != 0) return -1;
  std::int64_t end = tell();
  fseeko(f_, static_cast<FileOffset>(here), SEEK_SET);
  return end;
}

int InFile::getc() {
  if (!f_ || spent_) return EOF;
  if (CallScope* scope = CallScope::Current(); scope && !scope->chargeRead(1)) {
    spent_ = true;
    return EOF;
  }
  return std::fgetc(f_);
}

bool FileWindow::load(std::uint64_t offset, std::size_t length) {
  bytes_.clear();
  offset_ = offset;
  if (offset > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) ||
      !file_.seekSet(static_cast<std::int64_t>(offset)))
    return false;
  std::int64_t size = file_.size();
  if (size < 0 || offset >= static_cast<std::uint64_t>(size)) return false;
  std::uint64_t avail = static_cast<std::uint64_t>(size) - offset;
  try {
    bytes_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(avail, length)));
  } catch (...) {
    return false;
  }
  bytes_.resize(file_.read(bytes_.data(), bytes_.size()));
  return !bytes_.empty();
}

bool ReadWholeFile(const char* path, Bytes& out, std::size_t maxBytes) {
  InFile in(path);
  if (!in) return false;
  std::int64_t sz = in.size();
  if (sz < 0 || static_cast<std::uint64_t>(sz) > maxBytes) return false;
  out.assign(static_cast<std::size_t>(sz), 0);
  std::size_t got = in.read(out.data(), out.size());
  out.resize(got);
  return true;
}

bool Sink::open(const char* path) {
  close();
  failed_ = false;
  size_ = 0;
  mem_.clear();
  if (!path || !*path) return openMemory();
  memory_ = false;
  CallScope* scope = CallScope::Current();
  if (scope && (scope->exceeded() || !scope->chargeFile())) {
    failed_ = true;
    return false;
  }
  const bool existed = platform::FileExists(path);
  f_ = std::fopen(path, "wb");
  if (f_ && scope) scope->recordCreated(path, existed);
  return f_ != nullptr;
}

bool Sink::openMemory() {
  close();
  memory_ = true;
  failed_ = false;
  size_ = 0;
  mem_.clear();
  return true;
}

bool Sink::write(const void* data, std::size_t n) {
  if (n == 0) return !failed_;
  if (CallScope* scope = CallScope::Current(); scope && !scope->chargeWrite(n)) {
    failed_ = true;
    return false;
  }
  if (memory_) {
    try {
      const auto* p = static_cast<const std::uint8_t*>(data);
      mem_.insert(mem_.end(), p, p + n);
    } catch (...) {
      failed_ = true;
      return false;
    }
  } else {
    if (!f_ || std::fwrite(data, 1, n, f_) != n) {
      failed_ = true;
      return false;
    }
  }
  size_ += n;
  return true;
}

bool Sink::put16le(std::uint16_t v) {
  std::uint8_t b[2] = {static_cast<std::uint8_t>(v), static_cast<std::uint8_t>(v >> 8)};
  return write(b, 2);
}
bool Sink::put16be(std::uint16_t v) {
  std::uint8_t b[2] = {static_cast<std::uint8_t>(v >> 8), static_cast<std::uint8_t>(v)};
  return write(b, 2);
}
bool Sink::put32le(std::uint32_t v) {
  std::uint8_t b[4] = {static_cast<std::uint8_t>(v), static_cast<std::uint8_t>(v >> 8),
                       static_cast<std::uint8_t>(v >> 16), static_cast<std::uint8_t>(v >> 24)};
  return write(b, 4);
}
bool Sink::put32be(std::uint32_t v) {
  std::uint8_t b[4] = {static_cast<std::uint8_t>(v >> 24), static_cast<std::uint8_t>(v >> 16),
                       static_cast<std::uint8_t>(v >> 8), static_cast<std::uint8_t>(v)};
  return write(b, 4);
}
bool Sink::puts(const char* text) { return write(text, std::strlen(text)); }

bool Sink::printf(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string text = FormatV(fmt, ap);
  va_end(ap);
  return write(text.data(), text.size());
}

bool Sink::patch(std::size_t offset, const void* data, std::size_t n) {
  if (offset + n > size_) return false;
  if (memory_) {
    std::memcpy(mem_.data() + offset, data, n);
    return true;
  }
  if (!f_) return false;
  FileOffset here = ftello(f_);
  if (fseeko(f_, static_cast<FileOffset>(offset), SEEK_SET) != 0) return false;
  bool good = std::fwrite(data, 1, n, f_) == n;
  fseeko(f_, here, SEEK_SET);
  if (!good) failed_ = true;
  return good;
}

bool Sink::close() {
  if (!f_) return !failed_;
  bool good = std::fclose(f_) == 0 && !failed_;
  f_ = nullptr;
  return good;
}

int Sink::release(unsigned char** out) {
  if (!memory_ || failed_) return 0;
  int n = HandOver(mem_, out);
  mem_.clear();
  mem_.shrink_to_fit();
  size_ = 0;
  return n;
}

int HandOver(const void* data, std::size_t n, unsigned char** out) {
  if (!out || n == 0 || n >= static_cast<std::size_t>(std::numeric_limits<int>::max())) return 0;
  auto* block = static_cast<unsigned char*>(std::malloc(n + 1));
  if (!block) return 0;
  std::memcpy(block, data, n);
  block[n] = 0;
  *out = block;
  return static_cast<int>(n);
}

TempFile::TempFile(const char* suffix) : path_(platform::MakeTempFile(suffix)) {}
TempFile::~TempFile() {
  if (!path_.empty()) platform::DeleteFile(path_);
}

void* AllocBlock(std::int32_t size) {
  if (size < 1) return nullptr;
  return std::malloc(static_cast<std::size_t>(size));
}

void* GrowBuffer(void** buffer, std::int32_t size) {
  if (size < 1) return *buffer;
  void* p = *buffer ? std::realloc(*buffer, static_cast<std::size_t>(size)) : std::malloc(static_cast<std::size_t>(size));
  if (!p) std::free(*buffer);
  *buffer = p;
  return p;
}

}  // namespace pix
