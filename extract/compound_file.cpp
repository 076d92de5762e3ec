// OLE2 compound files read through libolecf: the root storage's named
// streams, and every stream of the file depth first. A stream is read whole
// only when its declared size fits in the file (a real stream never exceeds
// it), and all reading of one call stays within its allowance. Directories
// far larger or deeper than real files have are not handed to the library.
#include "extract/compound_file.h"

#include <libolecf.h>

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "common/reader.h"

namespace pix {
namespace {

constexpr std::uint8_t kSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
constexpr int kMaxDepth = 32;
constexpr int kMaxItems = 100000;

// Owners of the library's handles; errors are dropped where they arise.
struct ItemOwner {
  libolecf_item_t* item = nullptr;
  ~ItemOwner() {
    if (item) libolecf_item_free(&item, nullptr);
  }
};

void Drop(libolecf_error_t*& error) {
  if (error) libolecf_error_free(&error);
  error = nullptr;
}

// The library builds the directory tree recursively, in time that grows with
// the square of the number of entries: a crafted directory of tens of
// thousands of entries takes minutes, and a chain of them runs the stack out.
// A directory is handed to it only when it has the size and depth of real
// files (a thumbnail cache of some four thousand pictures).
constexpr std::uint32_t kMaxEntries = 4096;
constexpr int kMaxTreeDepth = 96;
constexpr std::uint32_t kEndOfChain = 0xFFFFFFFE, kNoEntry = 0xFFFFFFFF;
constexpr std::size_t kHeaderFatSectors = 109;

class DirectoryCheck {
 public:
  explicit DirectoryCheck(const char* path) : in_(path) {}

  bool tame() {
    std::uint8_t head[512];
    if (!in_ || in_.read(head, sizeof head) != sizeof head) return false;
    const ByteReader h(head, sizeof head);
    const unsigned shift = h.u16leAt(30);
    if (shift != 9 && shift != 12) return false;
    sector_ = std::size_t(1) << shift;
    // The allocation table's sectors: as many as the header says, and no
    // more than the file's sectors need. Those beyond the header's 109 are
    // listed in a chain of sectors whose last word names the next one.
    const std::uint64_t sectors = static_cast<std::uint64_t>(std::max<std::int64_t>(in_.size(), 0)) / sector_;
    const std::size_t fatCount =
        static_cast<std::size_t>(std::min<std::uint64_t>(h.u32leAt(44), sectors / (sector_ / 4) + 1));
    for (std::size_t i = 0; i < kHeaderFatSectors && fatSectors_.size() < fatCount; ++i)
      fatSectors_.push_back(h.u32leAt(76 + 4 * i));
    std::uint32_t next = h.u32leAt(68);
    while (next < kEndOfChain && fatSectors_.size() < fatCount) {
      Bytes words;
      if (!readSector(next, words)) return false;
      const ByteReader w(words);
      for (std::size_t i = 0; i + 4 < sector_ && fatSectors_.size() < fatCount; i += 4) fatSectors_.push_back(w.u32leAt(i));
      next = w.u32leAt(sector_ - 4);
    }
    return readDirectory(h.u32leAt(48)) && shallow();
  }

 private:
  bool readSector(std::uint32_t sector, Bytes& out) {
    out.assign(sector_, 0);
    const std::int64_t at = (static_cast<std::int64_t>(sector) + 1) * static_cast<std::int64_t>(sector_);
    return in_.seekSet(at) && in_.read(out.data(), sector_) == sector_;
  }

  bool nextSector(std::uint32_t sector, std::uint32_t& next) {
    const std::size_t perSector = sector_ / 4;
    const std::size_t index = sector / perSector;
    if (index >= fatSectors_.size()) return false;
    std::uint8_t word[4];
    const std::int64_t at = (static_cast<std::int64_t>(fatSectors_[index]) + 1) * static_cast<std::int64_t>(sector_) +
                            static_cast<std::int64_t>(4 * (sector % perSector));
    if (fatSectors_[index] >= kEndOfChain || !in_.seekSet(at) || in_.read(word, 4) != 4) return false;
    next = ByteReader(word, 4).u32leAt(0);
    return true;
  }

  // The left, right and child links of every entry, following the
  // directory's sector chain; false when it is longer than kMaxEntries.
  bool readDirectory(std::uint32_t sector) {
    while (sector < kEndOfChain) {
      if (links_.size() / 3 + sector_ / 128 > kMaxEntries) return false;
      Bytes entries;
      if (!readSector(sector, entries)) return false;
      const ByteReader e(entries);
      for (std::size_t at = 0; at + 128 <= sector_; at += 128)
        for (std::size_t k = 0; k < 3; ++k) links_.push_back(e.u32leAt(at + 68 + 4 * k));
      if (!nextSector(sector, sector)) return false;
    }
    return !links_.empty();
  }

  // No path from the root through left, right and child links is longer
  // than kMaxTreeDepth, and no entry is reached twice.
  bool shallow() const {
    const std::size_t count = links_.size() / 3;
    std::vector<bool> seen(count, false);
    std::vector<std::pair<std::uint32_t, int>> stack{{0u, 0}};
    while (!stack.empty()) {
      const auto [entry, depth] = stack.back();
      stack.pop_back();
      if (entry == kNoEntry || entry >= count) continue;
      if (seen[entry] || depth > kMaxTreeDepth) return false;
      seen[entry] = true;
      for (std::size_t k = 0; k < 3; ++k) stack.push_back({links_[3 * entry + k], depth + 1});
    }
    return true;
  }

  InFile in_;
  std::size_t sector_ = 512;
  std::vector<std::uint32_t> fatSectors_;
  std::vector<std::uint32_t> links_;  // left, right, child of each entry
};

}  // namespace

struct CompoundFile::Impl {
  libolecf_file_t* file = nullptr;
  bool opened = false;
  std::uint64_t fileSize = 0;
  std::uint64_t allowance = 0;  // bytes that may still be read
  int items = 0;

  ~Impl() {
    if (opened) libolecf_file_close(file, nullptr);
    if (file) libolecf_file_free(&file, nullptr);
  }

  bool readItem(libolecf_item_t* item, Bytes& out) {
    libolecf_error_t* error = nullptr;
    std::uint32_t size = 0;
    if (libolecf_item_get_size(item, &size, &error) != 1) {
      Drop(error);
      return false;
    }
    if (size > fileSize || size > allowance) return false;
    allowance -= size;
    try {
      out.assign(size, 0);
    } catch (...) {
      return false;
    }
    std::size_t got = 0;
    while (got < size) {
      const ssize_t n = libolecf_stream_read_buffer(item, out.data() + got, size - got, &error);
      if (n <= 0) {
        Drop(error);
        return false;
      }
      got += static_cast<std::size_t>(n);
    }
    return true;
  }

  std::string name(libolecf_item_t* item) {
    libolecf_error_t* error = nullptr;
    std::size_t size = 0;
    if (libolecf_item_get_utf8_name_size(item, &size, &error) != 1 || size == 0 || size > 4096) {
      Drop(error);
      return {};
    }
    std::string s(size, '\0');
    if (libolecf_item_get_utf8_name(item, reinterpret_cast<std::uint8_t*>(s.data()), size, &error) != 1) {
      Drop(error);
      return {};
    }
    s.resize(std::strlen(s.c_str()));
    return s;
  }

  // False once the visitor asked to stop.
  bool walk(libolecf_item_t* storage, int depth,
            const std::function<bool(const std::string&, const Bytes&)>& visit) {
    libolecf_error_t* error = nullptr;
    int count = 0;
    if (libolecf_item_get_number_of_sub_items(storage, &count, &error) != 1) {
      Drop(error);
      return true;
    }
    for (int i = 0; i < count; ++i) {
      if (++items > kMaxItems) return false;
      ItemOwner sub;
      if (libolecf_item_get_sub_item(storage, i, &sub.item, &error) != 1) {
        Drop(error);
        continue;
      }
      std::uint8_t type = 0;
      if (libolecf_item_get_type(sub.item, &type, &error) != 1) {
        Drop(error);
        continue;
      }
      if (type == LIBOLECF_ITEM_TYPE_STORAGE) {
        if (depth < kMaxDepth && !walk(sub.item, depth + 1, visit)) return false;
      } else if (type == LIBOLECF_ITEM_TYPE_STREAM) {
        Bytes data;
        if (readItem(sub.item, data) && !visit(name(sub.item), data)) return false;
      }
    }
    return true;
  }
};

bool LooksLikeCompoundFile(const char* path) {
  InFile in(path);
  std::uint8_t head[8];
  return in && in.read(head, 8) == 8 && std::memcmp(head, kSignature, 8) == 0;
}

CompoundFile::CompoundFile() = default;
CompoundFile::~CompoundFile() = default;

bool CompoundFile::open(const char* path) {
  impl_.reset();
  if (!LooksLikeCompoundFile(path)) return false;
  if (!DirectoryCheck(path).tame()) return false;
  auto impl = std::make_unique<Impl>();
  {
    InFile in(path);
    const std::int64_t size = in ? in.size() : -1;
    if (size <= 0) return false;
    impl->fileSize = static_cast<std::uint64_t>(size);
    impl->allowance = 64 * impl->fileSize + (std::uint64_t(256) << 20);
  }
  libolecf_error_t* error = nullptr;
  if (libolecf_file_initialize(&impl->file, &error) != 1) {
    Drop(error);
    return false;
  }
  if (libolecf_file_open(impl->file, path, LIBOLECF_OPEN_READ, &error) != 1) {
    Drop(error);
    return false;
  }
  impl->opened = true;
  impl_ = std::move(impl);
  return true;
}

bool CompoundFile::readStream(const char* name, Bytes& out) {
  if (!impl_) return false;
  libolecf_error_t* error = nullptr;
  ItemOwner root, item;
  if (libolecf_file_get_root_item(impl_->file, &root.item, &error) != 1) {
    Drop(error);
    return false;
  }
  const int found = libolecf_item_get_sub_item_by_utf8_name(root.item, reinterpret_cast<const std::uint8_t*>(name),
                                                           std::strlen(name), &item.item, &error);
  Drop(error);
  if (found != 1) return false;
  std::uint8_t type = 0;
  if (libolecf_item_get_type(item.item, &type, &error) != 1 || type != LIBOLECF_ITEM_TYPE_STREAM) {
    Drop(error);
    return false;
  }
  return impl_->readItem(item.item, out);
}

void CompoundFile::forEachStream(const std::function<bool(const std::string&, const Bytes&)>& visit) {
  if (!impl_) return;
  libolecf_error_t* error = nullptr;
  ItemOwner root;
  if (libolecf_file_get_root_item(impl_->file, &root.item, &error) != 1) {
    Drop(error);
    return;
  }
  impl_->walk(root.item, 0, visit);
}

}  // namespace pix
