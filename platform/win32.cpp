// Win32 side of the platform layer (built only on Windows).
#ifdef _WIN32
#include "platform/platform.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <mutex>

#undef DeleteFile
#undef MessageBox

namespace pix::platform {
namespace {

// Removes the private directory (and the files a crashed call left at its
// top) when the library is unloaded.
struct PrivateDir {
  std::string path;
  ~PrivateDir() {
    if (path.empty()) return;
    WIN32_FIND_DATAA fd;
    HANDLE h = FindFirstFileA((path + "*").c_str(), &fd);
    if (h != INVALID_HANDLE_VALUE) {
      do {
        if (std::strcmp(fd.cFileName, ".") == 0 || std::strcmp(fd.cFileName, "..") == 0) continue;
        std::string p = path + fd.cFileName;
        if (fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
          RemoveDirectoryA(p.c_str());
        } else {
          DeleteFileA(p.c_str());
        }
      } while (FindNextFileA(h, &fd));
      FindClose(h);
    }
    RemoveDirectoryA(path.c_str());
  }
};

PrivateDir& Private() {
  static PrivateDir dir;
  static std::once_flag once;
  std::call_once(once, [] {
    char base[MAX_PATH + 1];
    DWORD n = GetTempPathA(sizeof base, base);
    if (n == 0 || n > MAX_PATH) return;
    for (unsigned i = 0; i < 1000; ++i) {
      char name[MAX_PATH + 64];
      std::snprintf(name, sizeof name, "%spixmisc-%lu-%u\\", base, GetCurrentProcessId(), i);
      if (CreateDirectoryA(name, nullptr)) { dir.path = name; return; }
    }
  });
  return dir;
}

}  // namespace

const std::string& TempDir() { return Private().path; }

namespace {

// The first free name "<dir>pix<thread>-<n><suffix>" that CREATE (a new file
// or folder, failing when the name exists) takes: unique per call without any
// shared counter.
template <typename Create>
std::string MakeUnique(const char* suffix, Create create) {
  const std::string& dir = TempDir();
  if (dir.empty()) return {};
  for (unsigned n = 0; n < 100000; ++n) {
    char name[64];
    std::snprintf(name, sizeof name, "pix%lu-%u", GetCurrentThreadId(), n);
    std::string path = dir + name + (suffix ? suffix : "");
    if (path.size() >= MAX_PATH) return {};
    if (create(path)) return path;
    DWORD e = GetLastError();
    if (e != ERROR_FILE_EXISTS && e != ERROR_ALREADY_EXISTS) return {};
  }
  return {};
}

}  // namespace

std::string MakeTempFile(const char* suffix) {
  return MakeUnique(suffix, [](const std::string& path) {
    HANDLE h = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) return false;
    CloseHandle(h);
    return true;
  });
}

std::string MakeTempFolder() {
  std::string dir = MakeUnique("", [](const std::string& path) { return CreateDirectoryA(path.c_str(), nullptr) != 0; });
  return dir.empty() ? dir : dir + "\\";
}

bool DeleteFile(const std::string& path) { return DeleteFileA(path.c_str()) != 0; }
bool MakeDir(const std::string& path) { return CreateDirectoryA(path.c_str(), nullptr) != 0; }
bool RemoveDir(const std::string& path) { return RemoveDirectoryA(path.c_str()) != 0; }

static std::string DirOfModule(HMODULE m) {
  char buf[MAX_PATH];
  DWORD n = GetModuleFileNameA(m, buf, sizeof buf);
  if (n == 0 || n >= sizeof buf) return ".\\";
  std::string p(buf, n);
  return p.substr(0, p.find_last_of("\\/") + 1);
}

std::string HostProgramDir() { return DirOfModule(nullptr); }

std::string LibraryDir() {
  HMODULE m = nullptr;
  GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCSTR>(&LibraryDir), &m);
  return DirOfModule(m);
}

std::vector<std::string> ListDir(const std::string& dir, const char* suffix) {
  std::vector<std::string> names;
  std::string d = dir.empty() ? ".\\" : dir;
  if (d.back() != '\\' && d.back() != '/') d += '\\';
  WIN32_FIND_DATAA fd;
  HANDLE h = FindFirstFileA((d + "*" + (suffix ? suffix : "")).c_str(), &fd);
  if (h == INVALID_HANDLE_VALUE) return names;
  do {
    if (!(fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) names.push_back(fd.cFileName);
  } while (FindNextFileA(h, &fd));
  FindClose(h);
  std::sort(names.begin(), names.end());
  return names;
}

void MessageBox(const char* text, MessageIcon icon) {
  UINT flags = MB_OK;
  if (icon == MessageIcon::Information) flags |= MB_ICONINFORMATION;
  if (icon == MessageIcon::Error) flags |= MB_ICONERROR;
  MessageBoxA(GetForegroundWindow(), text ? text : "", "Pixamorph", flags);
}

std::tm LocalNow() {
  std::time_t now = std::time(nullptr);
  std::tm t{};
  localtime_s(&t, &now);
  return t;
}

bool FileExists(const std::string& path) {
  DWORD a = GetFileAttributesA(path.c_str());
  return a != INVALID_FILE_ATTRIBUTES && !(a & FILE_ATTRIBUTE_DIRECTORY);
}

long long FileSize(const std::string& path) {
  WIN32_FILE_ATTRIBUTE_DATA d;
  if (!GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &d) || (d.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
    return -1;
  return static_cast<long long>(d.nFileSizeHigh) << 32 | d.nFileSizeLow;
}

}  // namespace pix::platform
#endif
