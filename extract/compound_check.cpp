// The structure of a compound file, checked before the reading library sees
// it. The library builds the directory tree recursively, in time that grows
// with the square of the number of entries (a crafted directory of tens of
// thousands of entries takes minutes, and a chain of them runs the stack
// out), and it loses memory on several malformed headers and directories. So
// a file goes to it only when its header, allocation tables, mini-stream
// table and directory hold together, and the directory has the size and
// depth of real files (a thumbnail cache of some four thousand pictures).
// Anything else is walked as bytes, as files that are not compound files are.
#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "common/files.h"
#include "common/reader.h"
#include "extract/compound_file.h"

namespace pix {
namespace {

constexpr std::uint32_t kMaxEntries = 4096;
constexpr int kMaxTreeDepth = 96;
constexpr std::uint32_t kEndOfChain = 0xFFFFFFFE, kFree = 0xFFFFFFFF;
constexpr std::size_t kHeaderFatSectors = 109;
constexpr std::uint8_t kEmpty = 0, kStorage = 1, kStream = 2, kRoot = 5;

class StructureCheck {
 public:
  explicit StructureCheck(const char* path) : in_(path) {}

  bool sound() {
    std::uint8_t head[512];
    if (!in_ || in_.read(head, sizeof head) != sizeof head) return false;
    const ByteReader h(head, sizeof head);
    const unsigned shift = h.u16leAt(30);
    if (h.u16leAt(28) != 0xFFFE || (shift != 9 && shift != 12) || h.u16leAt(32) != 6 || h.u32leAt(56) != 4096)
      return false;
    sector_ = std::size_t(1) << shift;
    const std::int64_t size = in_.size();
    if (size < static_cast<std::int64_t>(2 * sector_)) return false;
    sectors_ = static_cast<std::uint64_t>(size) / sector_ - 1;
    return fatSectors(h) && directory(h.u32leAt(48)) && chainOf(h.u32leAt(60), h.u32leAt(64)) && tree();
  }

 private:
  bool valid(std::uint32_t sector) const { return sector < sectors_; }

  bool readSector(std::uint32_t sector, Bytes& out) {
    out.assign(sector_, 0);
    const std::int64_t at = (static_cast<std::int64_t>(sector) + 1) * static_cast<std::int64_t>(sector_);
    return valid(sector) && in_.seekSet(at) && in_.read(out.data(), sector_) == sector_;
  }

  // The sectors of the allocation table: the header lists the first 109,
  // a chain of sectors the rest (the last word of each names the next).
  bool fatSectors(const ByteReader& h) {
    const std::uint32_t count = h.u32leAt(44);
    if (count == 0 || count > sectors_ / (sector_ / 4) + 1) return false;
    for (std::size_t i = 0; i < kHeaderFatSectors; ++i) {
      const std::uint32_t s = h.u32leAt(76 + 4 * i);
      if (i < count ? !valid(s) : s != kFree) return false;
      if (i < count) fat_.push_back(s);
    }
    std::uint32_t next = h.u32leAt(68);
    for (std::uint32_t n = 0; n < h.u32leAt(72); ++n) {
      Bytes words;
      if (fat_.size() >= count || !readSector(next, words)) return false;
      const ByteReader w(words);
      for (std::size_t i = 0; i + 4 < sector_ && fat_.size() < count; i += 4) {
        if (!valid(w.u32leAt(i))) return false;
        fat_.push_back(w.u32leAt(i));
      }
      next = w.u32leAt(sector_ - 4);
    }
    return fat_.size() == count;
  }

  bool nextSector(std::uint32_t sector, std::uint32_t& next) {
    const std::size_t perSector = sector_ / 4;
    if (!valid(sector) || sector / perSector >= fat_.size()) return false;
    std::uint8_t word[4];
    const std::int64_t at = (static_cast<std::int64_t>(fat_[sector / perSector]) + 1) * static_cast<std::int64_t>(sector_) +
                            static_cast<std::int64_t>(4 * (sector % perSector));
    if (!in_.seekSet(at) || in_.read(word, 4) != 4) return false;
    next = ByteReader(word, 4).u32leAt(0);
    return true;
  }

  // A chain of exactly `count` sectors ending the table's way.
  bool chainOf(std::uint32_t sector, std::uint32_t count) {
    if (count > sectors_) return false;
    for (std::uint32_t n = 0; n < count; ++n)
      if (!nextSector(sector, sector)) return false;
    return count == 0 ? sector >= kEndOfChain : sector == kEndOfChain;
  }

  // Type and links of every entry, along the directory's chain of at most
  // kMaxEntries entries.
  bool directory(std::uint32_t sector) {
    while (sector != kEndOfChain) {
      if (entries_.size() + sector_ / 128 > kMaxEntries) return false;
      Bytes data;
      if (!readSector(sector, data)) return false;
      const ByteReader e(data);
      for (std::size_t at = 0; at + 128 <= sector_; at += 128) {
        const unsigned nameBytes = e.u16leAt(at + 64);
        entries_.push_back({e.at(at + 66), nameBytes <= 64 && nameBytes % 2 == 0,
                            {e.u32leAt(at + 68), e.u32leAt(at + 72), e.u32leAt(at + 76)}});
      }
      if (!nextSector(sector, sector)) return false;
    }
    // Every entry, reached or not, is empty, a storage, a stream or the
    // root, and links only to entries there are.
    for (const Entry& e : entries_) {
      if (!e.name || (e.type != kEmpty && e.type != kStorage && e.type != kStream && e.type != kRoot)) return false;
      for (std::uint32_t link : e.links)
        if (link != kFree && link >= entries_.size()) return false;
    }
    return !entries_.empty() && entries_[0].type == kRoot;
  }

  // From the root through left, right and child links, every entry reached
  // is a storage or a stream, no path is longer than kMaxTreeDepth, and no
  // entry is reached twice.
  bool tree() const {
    std::vector<bool> seen(entries_.size(), false);
    std::vector<std::pair<std::uint32_t, int>> stack{{0u, 0}};
    while (!stack.empty()) {
      const auto [index, depth] = stack.back();
      stack.pop_back();
      if (index == kFree) continue;
      if (index >= entries_.size() || seen[index] || depth > kMaxTreeDepth) return false;
      const Entry& e = entries_[index];
      if (index == 0 ? e.type != kRoot : e.type != kStorage && e.type != kStream) return false;
      seen[index] = true;
      for (std::uint32_t link : e.links) stack.push_back({link, depth + 1});
    }
    return true;
  }

  struct Entry {
    std::uint8_t type;
    bool name;  // a name length the format allows
    std::uint32_t links[3];  // left, right, child
  };

  InFile in_;
  std::size_t sector_ = 512;
  std::uint64_t sectors_ = 0;
  std::vector<std::uint32_t> fat_;
  std::vector<Entry> entries_;
};

}  // namespace

bool CompoundStructureSound(const char* path) { return StructureCheck(path).sound(); }

}  // namespace pix
