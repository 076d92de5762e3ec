// OLE2 compound files read through libolecf: the root storage's named
// streams, and every stream of the file depth first. A stream is read whole
// only when its declared size fits in the file (a real stream never exceeds
// it), and what is read is charged to the call's read budget. A file whose
// structure does not hold together (compound_check.cpp) is not handed to the
// library.
#include "extract/compound_file.h"

#include <libolecf.h>

#include <cstring>

#include "common/budget.h"

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

}  // namespace

struct CompoundFile::Impl {
  libolecf_file_t* file = nullptr;
  bool opened = false;
  std::uint64_t fileSize = 0;
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
    if (size > fileSize || !ChargeRead(size)) return false;
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

  // False once the visitor asked to stop.
  bool walk(libolecf_item_t* storage, int depth,
            const std::function<bool(const Bytes&)>& visit) {
    libolecf_error_t* error = nullptr;
    int count = 0;
    if (libolecf_item_get_number_of_sub_items(storage, &count, &error) != 1) {
      Drop(error);
      return true;
    }
    for (int i = 0; i < count; ++i) {
      if (++items > kMaxItems || BudgetSpent()) return false;
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
        if (readItem(sub.item, data) && !visit(data)) return false;
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
  if (!CompoundStructureSound(path)) return false;
  auto impl = std::make_unique<Impl>();
  {
    InFile in(path);
    const std::int64_t size = in ? in.size() : -1;
    if (size <= 0) return false;
    impl->fileSize = static_cast<std::uint64_t>(size);
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

void CompoundFile::forEachStream(const std::function<bool(const Bytes&)>& visit) {
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
