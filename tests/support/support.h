// Helpers shared by every test program: scratch folders, files, and running
// the independent decoders the tests check our output with.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace pixtest {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

// A fresh folder for one test, removed with everything in it afterwards.
class Scratch {
 public:
  Scratch();
  ~Scratch();
  const fs::path& dir() const { return dir_; }
  std::string path(const std::string& name) const { return (dir_ / name).string(); }
  // Names of the files in the folder, sorted.
  std::vector<std::string> files() const;

 private:
  fs::path dir_;
};

Bytes ReadFile(const std::string& path);
void WriteFile(const std::string& path, const Bytes& bytes);
void WriteFile(const std::string& path, const std::string& text);
Bytes ToBytes(const std::string& s);

struct RunResult {
  int status = -1;  // exit code, -1 when it could not be run
  std::string out;  // standard output
  std::string err;  // standard error
};
// Runs a shell command (standard input from /dev/null).
RunResult Run(const std::string& command);
std::string Quote(const std::string& s);

// True when a program is on PATH.
bool HaveTool(const std::string& name);
// Debian's Python, which has PIL and astropy.
inline const char* kPython = "/usr/bin/python3";

// Skips the test when the tool is missing, except under CI, where the set-up
// script installs every tool and a missing one is a failure.
#define PIX_REQUIRE_TOOL(name)                                                     \
  do {                                                                             \
    if (!::pixtest::HaveTool(name)) {                                              \
      if (std::getenv("CI")) FAIL() << "missing tool " << (name);                  \
      GTEST_SKIP() << "missing tool " << (name);                                   \
    }                                                                              \
  } while (0)

// The pixmisc command-line tool and the shared library of this build.
inline const char* kCli = PIXMISC_CLI;
inline const char* kSharedLib = PIXMISC_SHARED_LIB;
inline const char* kSourceDir = PIXMISC_SOURCE_DIR;

// Reads a binary PNM file (P4, P5 or P6) as decoded by netpbm: width, height,
// and one value per sample (P4 samples are 0 white / 1 black).
struct Pnm {
  int width = 0, height = 0, channels = 0, maxval = 0;
  Bytes samples;
};
bool ParsePnm(const Bytes& data, Pnm& out);

// The project's sample sources (samples/*.list): source path, the target
// file name the demo converts it to, and the row's key=value words (see
// samples/README.md): decoder, ref, file, tol, result, and every bad= case.
struct Sample {
  std::string source;
  std::string target;
  std::map<std::string, std::string> options;
  std::vector<std::string> bad;
  std::string option(const std::string& key) const {
    auto it = options.find(key);
    return it == options.end() ? std::string() : it->second;
  }
};
std::vector<Sample> Samples();

// Decodes a file with a netpbm-style command ("tifftopnm", "giftopnm", ...)
// that writes PNM to standard output; fails the test when it cannot.
Pnm DecodeWith(const std::string& tool, const std::string& path);

// Files from the wild that other projects keep (../shared/realworld beside
// the source tree, or the folder PIXMISC_REALWORLD_DIR names): the folder, and
// a file's path there ("" when the folder is absent).
fs::path RealWorldDir();
std::string RealWorldFile(const std::string& name);

// Takes a memory result, copies it and frees the block.
Bytes TakeBlock(unsigned char* block, int size);

}  // namespace pixtest
