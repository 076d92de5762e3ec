// Every call into the operating system goes through here: the private
// temporary directory, deleting files, the host program's and the library's
// own directory, the message box, directory listings and folders.
#pragma once

#include <ctime>
#include <string>
#include <vector>

namespace pix::platform {

// The native directory separator.
#ifdef _WIN32
inline constexpr char kSep = '\\';
#else
inline constexpr char kSep = '/';
#endif

// The process's private temporary directory (created on first use, mode 0700,
// under TMPDIR or /tmp on POSIX), ending in a separator; "" if it cannot be made.
const std::string& TempDir();

// Creates an empty file in the private temporary directory whose name ends in
// SUFFIX and is unique for this call; returns its path ("" on failure).
std::string MakeTempFile(const char* suffix);

// Creates a fresh empty folder in the private temporary directory; "" on failure.
std::string MakeTempFolder();

bool DeleteFile(const std::string& path);
bool MakeDir(const std::string& path);
bool RemoveDir(const std::string& path);  // must be empty

// Directory of the running program (the host), ending in a separator.
std::string HostProgramDir();
// Directory this library was loaded from, ending in a separator.
std::string LibraryDir();

// Names (not paths) of the regular files in DIR whose name ends in SUFFIX
// (case-insensitive; "" lists every file), sorted.
std::vector<std::string> ListDir(const std::string& dir, const char* suffix);

// The library's message box: captioned "Pixamorph", with the given icon. On
// POSIX it is a line "Pixamorph: <text>" on standard error.
enum class MessageIcon { None, Information, Error };
void MessageBox(const char* text, MessageIcon icon = MessageIcon::None);

// Today's local date and time.
std::tm LocalNow();

// True when a regular file exists at PATH.
bool FileExists(const std::string& path);
// Size of the regular file at PATH, -1 when there is none.
long long FileSize(const std::string& path);

}  // namespace pix::platform
