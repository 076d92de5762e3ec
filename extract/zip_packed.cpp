// Zip-packed picture files (.imd): one member is unpacked into a private
// temporary folder and the first ".jpg" there (".bmp" when arg1 is 1) is
// read back in 10,000-byte blocks. With a target it is written as the target
// (result 1); in memory mode its bytes are returned. The folder is removed
// on every path, and a member name can only ever name a file inside it.
#include <unzip.h>

#include <string>
#include <vector>

#include "common/files.h"
#include "common/paths.h"
#include "extract/extract.h"
#include "platform/platform.h"

namespace pix {
namespace {

// The private folder and whatever was unpacked into it, removed at scope end.
class WorkFolder {
 public:
  WorkFolder() : path_(platform::MakeTempFolder()) {}
  ~WorkFolder() {
    if (path_.empty()) return;
    for (const std::string& name : platform::ListDir(path_, "")) platform::DeleteFile(path_ + name);
    platform::RemoveDir(path_);
  }
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

class ZipFile {
 public:
  explicit ZipFile(const char* path) : z_(unzOpen64(path)) {}
  ~ZipFile() {
    if (z_) unzClose(z_);
  }
  ZipFile(const ZipFile&) = delete;
  ZipFile& operator=(const ZipFile&) = delete;
  unzFile get() const { return z_; }

 private:
  unzFile z_;
};

bool EndsWith(const std::string& s, const std::string& tail) {
  return s.size() >= tail.size() && Lower(s.substr(s.size() - tail.size())) == tail;
}

// The last component of a member name: no separators, never "." or "..".
std::string SafeName(const std::string& member) {
  std::size_t cut = member.find_last_of("/\\");
  std::string name = cut == std::string::npos ? member : member.substr(cut + 1);
  if (name.empty() || name == "." || name == ".." || name.find(':') != std::string::npos) return {};
  return name;
}

// Unpacks the first member whose name ends in ext into folder.
bool UnpackOne(const char* zipPath, const std::string& ext, const std::string& folder) {
  ZipFile zip(zipPath);
  if (!zip.get()) return false;
  for (int rc = unzGoToFirstFile(zip.get()); rc == UNZ_OK; rc = unzGoToNextFile(zip.get())) {
    char raw[1024];
    unz_file_info64 info{};
    if (unzGetCurrentFileInfo64(zip.get(), &info, raw, sizeof raw - 1, nullptr, 0, nullptr, 0) != UNZ_OK) return false;
    raw[sizeof raw - 1] = 0;
    std::string name = SafeName(raw);
    if (name.empty() || !EndsWith(name, ext)) continue;
    if (unzOpenCurrentFile(zip.get()) != UNZ_OK) return false;
    Sink out;
    bool good = out.open((folder + name).c_str());
    std::vector<std::uint8_t> buf(64 * 1024);
    for (;;) {
      int got = unzReadCurrentFile(zip.get(), buf.data(), static_cast<unsigned>(buf.size()));
      if (got < 0) good = false;
      if (got <= 0) break;
      if (good) good = out.write(buf.data(), static_cast<std::size_t>(got));
    }
    if (unzCloseCurrentFile(zip.get()) != UNZ_OK) good = false;
    return out.close() && good;
  }
  return false;
}

}  // namespace

int ZipPackedScan(const ConvertCall& call) {
  const bool memory = call.memoryMode();
  if (memory && !call.out) return 0;
  const std::string ext = call.arg1 == 1 ? ".bmp" : ".jpg";
  WorkFolder folder;
  if (folder.path().empty()) return 0;
  if (!UnpackOne(call.source, ext, folder.path())) return 0;
  std::vector<std::string> found = platform::ListDir(folder.path(), ext.c_str());
  if (found.empty()) return 0;

  InFile in((folder.path() + found.front()).c_str());
  if (!in) return 0;
  Sink sink;
  if (memory) {
    sink.openMemory();
  } else if (!sink.open(call.target)) {
    return 0;
  }
  std::vector<std::uint8_t> block(10000);
  for (;;) {
    std::size_t got = in.read(block.data(), block.size());
    sink.write(block.data(), got);
    if (got < block.size()) break;
  }
  in.close();
  if (memory) return sink.release(call.out);
  return sink.close() && sink.size() > 0 ? 1 : 0;
}

}  // namespace pix
