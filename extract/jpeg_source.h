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

namespace pix {

class BlockSource {
 public:
  // Bytes fetched from the file at once, and how much of the window is kept
  // behind the read position when it slides forward (covers every step back
  // the scanners take).
  static constexpr std::size_t kChunk = 256 * 1024;
  static constexpr std::size_t kKeep = 32 * 1024;

  BlockSource() = default;
  BlockSource(const BlockSource&) = delete;
  BlockSource& operator=(const BlockSource&) = delete;

  bool open(const char* path) {
    if (!file_.open(path)) return false;
    buf_.assign(kChunk + kKeep, 0);
    winStart_ = pos_ = filePos_ = 0;
    winLen_ = 0;
    eof_ = false;
    return true;
  }
  bool ok() const { return file_.ok(); }

  std::size_t read(void* dst, std::size_t n) {
    auto* out = static_cast<std::uint8_t*>(dst);
    std::size_t got = 0;
    while (got < n) {
      if (pos_ >= winStart_ && pos_ < winStart_ + static_cast<std::int64_t>(winLen_)) {
        std::size_t off = static_cast<std::size_t>(pos_ - winStart_);
        std::size_t k = std::min(n - got, winLen_ - off);
        std::memcpy(out + got, buf_.data() + off, k);
        got += k;
        pos_ += static_cast<std::int64_t>(k);
        continue;
      }
      if (!refill()) break;
    }
    if (got < n) eof_ = true;
    return got;
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
  // Makes the window hold bytes at pos_; false when the file has none there.
  bool refill() {
    const std::int64_t winEnd = winStart_ + static_cast<std::int64_t>(winLen_);
    if (winLen_ > 0 && pos_ == winEnd) {
      // Reading on: slide, keeping the last kKeep bytes for steps back.
      std::size_t keep = std::min<std::size_t>(kKeep, winLen_);
      std::memmove(buf_.data(), buf_.data() + (winLen_ - keep), keep);
      winStart_ = winEnd - static_cast<std::int64_t>(keep);
      winLen_ = keep;
    } else {
      winStart_ = pos_;
      winLen_ = 0;
    }
    const std::int64_t readAt = winStart_ + static_cast<std::int64_t>(winLen_);
    if (filePos_ != readAt) {
      if (!file_.seekSet(readAt)) return false;
      filePos_ = readAt;
    }
    std::size_t r = file_.read(buf_.data() + winLen_, buf_.size() - winLen_);
    filePos_ += static_cast<std::int64_t>(r);
    winLen_ += r;
    return r > 0;
  }

  InFile file_;
  std::vector<std::uint8_t> buf_;
  std::int64_t winStart_ = 0;
  std::size_t winLen_ = 0;
  std::int64_t filePos_ = 0;  // where the file itself stands
  std::int64_t pos_ = 0;
  bool eof_ = false;
};

}  // namespace pix
