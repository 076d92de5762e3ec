// A source file read through one large window, with the stdio semantics the
// block scanners are built on: a read of n bytes returns what is there and
// raises the end-of-file indicator when it comes up short; every seek clears
// that indicator; seeks may go past the end but never before the start.
// Reads and seeks inside the window cost no system call, so a scanner can
// read small blocks and step back and forth as much as it likes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "common/files.h"
#include "common/search.h"

namespace pix {

class BlockSource {
 public:
  // Bytes fetched from the file at once, and how much of the window is kept
  // behind the read position when it slides forward (covers every step back
  // the scanners take).
  static constexpr std::size_t kChunk = 256 * 1024;
  static constexpr std::size_t kKeep = 32 * 1024;
  static constexpr std::size_t kCapacity = kChunk + kKeep;

  BlockSource() = default;
  BlockSource(const BlockSource&) = delete;
  BlockSource& operator=(const BlockSource&) = delete;

  bool open(const char* path) {
    mem_ = nullptr;
    memSize_ = 0;
    if (!file_.open(path)) return false;
    // Zeroed slack after the window: searches over a view may look a few
    // bytes past its end.
    buf_.assign(kCapacity + kScanSlack, 0);
    winStart_ = pos_ = filePos_ = 0;
    winLen_ = 0;
    eof_ = false;
    return true;
  }
  // The same reading over bytes already in memory (a stream of a compound
  // file); they must outlive the reading.
  bool openMemory(const std::uint8_t* data, std::size_t size) {
    file_.close();
    mem_ = data;
    memSize_ = size;
    buf_.assign(kCapacity + kScanSlack, 0);
    winStart_ = pos_ = filePos_ = 0;
    winLen_ = 0;
    eof_ = false;
    return true;
  }
  bool ok() const { return file_.ok() || mem_ != nullptr; }

  std::size_t read(void* dst, std::size_t n) {
    auto* out = static_cast<std::uint8_t*>(dst);
    std::size_t got = 0;
    while (got < n) {
      if (pos_ >= winStart_ && pos_ < winEnd()) {
        std::size_t off = static_cast<std::size_t>(pos_ - winStart_);
        std::size_t k = std::min(n - got, winLen_ - off);
        std::memcpy(out + got, buf_.data() + off, k);
        got += k;
        pos_ += static_cast<std::int64_t>(k);
        continue;
      }
      if (!fill()) break;
    }
    if (got < n) eof_ = true;
    return got;
  }

  // Like read, but hands out the bytes where they stand in the window
  // (valid until the next read or view) instead of copying them. Only for
  // n up to kKeep.
  const std::uint8_t* view(std::size_t n, std::size_t* got) {
    if (!(pos_ >= winStart_ && pos_ + static_cast<std::int64_t>(n) <= winEnd())) fill();
    std::size_t k = 0;
    const std::uint8_t* p = buf_.data();
    if (pos_ >= winStart_ && pos_ < winEnd()) {
      std::size_t off = static_cast<std::size_t>(pos_ - winStart_);
      k = std::min(n, winLen_ - off);
      p += off;
    }
    pos_ += static_cast<std::int64_t>(k);
    if (k < n) eof_ = true;
    *got = k;
    return p;
  }

  bool eof() const { return eof_; }
  std::int64_t tell() const { return pos_; }

  // Relative seek; false (position kept) when it would go before the start.
  bool seekCur(std::int64_t delta) {
    if (pos_ + delta < 0) return false;
    pos_ += delta;
    eof_ = false;
    return true;
  }
  bool seekSet(std::int64_t pos) {
    if (pos < 0) return false;
    pos_ = pos;
    eof_ = false;
    return true;
  }

 private:
  std::int64_t winEnd() const { return winStart_ + static_cast<std::int64_t>(winLen_); }

  // Slides the window on (or moves it) so that it holds the bytes at pos_
  // and a full chunk after them, as far as the file has them; false when it
  // has none there.
  bool fill() {
    const std::int64_t end = winEnd();
    if (winLen_ > 0 && pos_ >= winStart_ && pos_ <= end) {
      // Reading on: slide, keeping up to kKeep bytes before pos_ for steps back.
      std::int64_t from = std::max(winStart_, pos_ - static_cast<std::int64_t>(kKeep));
      std::size_t keep = static_cast<std::size_t>(end - from);
      std::memmove(buf_.data(), buf_.data() + (from - winStart_), keep);
      winStart_ = from;
      winLen_ = keep;
    } else {
      winStart_ = pos_;
      winLen_ = 0;
    }
    const std::int64_t readAt = winEnd();
    if (mem_) {
      const std::size_t from = std::min(static_cast<std::size_t>(readAt), memSize_);
      const std::size_t k = std::min(kCapacity - winLen_, memSize_ - from);
      if (k) std::memcpy(buf_.data() + winLen_, mem_ + from, k);
      winLen_ += k;
      return pos_ < winEnd();
    }
    if (filePos_ != readAt) {
      if (!file_.seekSet(readAt)) return false;
      filePos_ = readAt;
    }
    std::size_t r = file_.read(buf_.data() + winLen_, kCapacity - winLen_);
    filePos_ += static_cast<std::int64_t>(r);
    winLen_ += r;
    return pos_ < winEnd();
  }

  InFile file_;
  const std::uint8_t* mem_ = nullptr;
  std::size_t memSize_ = 0;
  std::vector<std::uint8_t> buf_;
  std::int64_t winStart_ = 0;
  std::size_t winLen_ = 0;
  std::int64_t filePos_ = 0;  // where the file itself stands
  std::int64_t pos_ = 0;
  bool eof_ = false;
};

}  // namespace pix
