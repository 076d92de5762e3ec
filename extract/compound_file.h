// OLE2 compound files (PowerPoint documents, Windows thumbnail caches): the
// streams as the file's allocation tables chain them, which is not the order
// their sectors lie in the file. The one place that knows the reading
// library; everything else sees names and bytes.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "common/files.h"

namespace pix {

// True when the file begins with the compound-file signature.
bool LooksLikeCompoundFile(const char* path);

// True when its header, tables and directory hold together and the directory
// has the size and depth of real files: only such files go to the library.
bool CompoundStructureSound(const char* path);

class CompoundFile {
 public:
  CompoundFile();
  ~CompoundFile();
  CompoundFile(const CompoundFile&) = delete;
  CompoundFile& operator=(const CompoundFile&) = delete;

  // False when the file is not a compound file the library can read.
  bool open(const char* path);

  // The bytes of a stream of the root storage; false when there is none or
  // it cannot be read whole.
  bool readStream(const char* name, Bytes& out);

  // The bytes of every stream, storages walked depth first in the
  // directory's order; `visit` returns false to stop. Streams that cannot be
  // read are passed over; the walk stops once the call's read budget is spent.
  void forEachStream(const std::function<bool(const Bytes& data)>& visit);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace pix
