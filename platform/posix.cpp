// POSIX side of the platform layer.
#ifndef _WIN32
#include "platform/platform.h"

#include <dirent.h>
#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <strings.h>

namespace pix::platform {
namespace {

// Removes the private directory (and the files a crashed call left at its
// top) when the library is unloaded.
struct PrivateDir {
  std::string path;
  ~PrivateDir() {
    if (path.empty()) return;
    std::string dir = path.substr(0, path.size() - 1);
    if (DIR* d = opendir(dir.c_str())) {
      while (dirent* e = readdir(d)) {
        if (std::strcmp(e->d_name, ".") == 0 || std::strcmp(e->d_name, "..") == 0) continue;
        std::string p = path + e->d_name;
        if (unlink(p.c_str()) != 0) rmdir(p.c_str());
      }
      closedir(d);
    }
    rmdir(dir.c_str());
  }
};

PrivateDir& Private() {
  static PrivateDir dir;
  static std::once_flag once;
  std::call_once(once, [] {
    const char* base = std::getenv("TMPDIR");
    if (!base || !*base) base = "/tmp";
    std::string tmpl = std::string(base) + "/pixmisc-XXXXXX";
    std::vector<char> buf(tmpl.begin(), tmpl.end());
    buf.push_back('\0');
    if (mkdtemp(buf.data())) {  // mkdtemp creates the directory with mode 0700
      dir.path = std::string(buf.data()) + "/";
    }
  });
  return dir;
}

}  // namespace

const std::string& TempDir() { return Private().path; }

std::string MakeTempFile(const char* suffix) {
  const std::string& dir = TempDir();
  if (dir.empty()) return {};
  std::string tmpl = dir + "tmpXXXXXX" + (suffix ? suffix : "");
  std::vector<char> buf(tmpl.begin(), tmpl.end());
  buf.push_back('\0');
  int fd = mkstemps(buf.data(), suffix ? static_cast<int>(std::strlen(suffix)) : 0);
  if (fd < 0) return {};
  close(fd);
  return buf.data();
}

std::string MakeTempFolder() {
  const std::string& dir = TempDir();
  if (dir.empty()) return {};
  std::string tmpl = dir + "dirXXXXXX";
  std::vector<char> buf(tmpl.begin(), tmpl.end());
  buf.push_back('\0');
  if (!mkdtemp(buf.data())) return {};
  return std::string(buf.data()) + "/";
}

bool DeleteFile(const std::string& path) { return unlink(path.c_str()) == 0; }
bool MakeDir(const std::string& path) { return mkdir(path.c_str(), 0700) == 0; }
bool RemoveDir(const std::string& path) { return rmdir(path.c_str()) == 0; }

std::string HostProgramDir() {
  char buf[4096];
  ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  if (n <= 0) return "./";
  std::string p(buf, static_cast<size_t>(n));
  return p.substr(0, p.rfind('/') + 1);
}

std::string LibraryDir() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&LibraryDir), &info) == 0 || !info.dli_fname) return HostProgramDir();
  std::string p = info.dli_fname;
  size_t slash = p.rfind('/');
  if (slash == std::string::npos) return "./";
  return p.substr(0, slash + 1);
}

std::vector<std::string> ListDir(const std::string& dir, const char* suffix) {
  std::vector<std::string> names;
  DIR* d = opendir(dir.empty() ? "." : dir.c_str());
  if (!d) return names;
  size_t sl = suffix ? std::strlen(suffix) : 0;
  while (dirent* e = readdir(d)) {
    std::string name = e->d_name;
    if (name == "." || name == "..") continue;
    std::string full = dir + (dir.empty() || dir.back() == '/' ? "" : "/") + name;
    struct stat st{};
    if (stat(full.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) continue;
    if (sl && (name.size() < sl || strcasecmp(name.c_str() + name.size() - sl, suffix) != 0)) continue;
    names.push_back(name);
  }
  closedir(d);
  std::sort(names.begin(), names.end());
  return names;
}

void MessageBox(const char* text, MessageIcon) { std::fprintf(stderr, "Pixamorph: %s\n", text ? text : ""); }

std::tm LocalNow() {
  std::time_t now = std::time(nullptr);
  std::tm t{};
  localtime_r(&now, &t);
  return t;
}

bool FileExists(const std::string& path) {
  struct stat st{};
  return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

long long FileSize(const std::string& path) {
  struct stat st{};
  if (stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return -1;
  return static_cast<long long>(st.st_size);
}

}  // namespace pix::platform
#endif
