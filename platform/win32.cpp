// Win32 side of the platform layer (built only on Windows).
#ifdef _WIN32
#include "platform/platform.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <mutex>

#undef DeleteFile
#undef MessageBox

namespace pix::platform {
namespace {

struct PrivateDir {
  std::string path;
  ~PrivateDir() {
    if (path.empty()) return;
    WIN32_FIND_DATAA fd;
    HANDLE h = FindFirstFileA((path + "*").c_str(), &fd);
    if (h != INVALID_HANDLE_VALUE) {
      do {
        std::string p = path + fd.cFileName;
        if (!(fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) DeleteFileA(p.c_str());
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

std::string MakeTempFile(const char* suffix) {
  const std::string& dir = TempDir();
  if (dir.empty()) return {};
  char name[MAX_PATH];
  if (!GetTempFileNameA(dir.c_str(), "pix", 0, name)) return {};
  std::string path = std::string(name) + (suffix ? suffix : "");
  if (suffix && *suffix) {
    if (!MoveFileA(name, path.c_str())) { DeleteFileA(name); return {}; }
  }
  return path;
}

std::string MakeTempFolder() {
  std::string file = MakeTempFile("");
  if (file.empty()) return {};
  DeleteFileA(file.c_str());
  if (!CreateDirectoryA(file.c_str(), nullptr)) return {};
  return file + "\\";
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
