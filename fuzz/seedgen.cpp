// Builds the seed corpora: every sample source whose extension an entry of a
// group takes becomes a seed of that group (selector byte, parameter byte 0,
// then the file). Usage: pixfuzz_seedgen OUTDIR FILE...
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "common/paths.h"
#include "harness.h"

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: pixfuzz_seedgen OUTDIR FILE...\n");
    return 2;
  }
  namespace fs = std::filesystem;
  fs::path out = argv[1];
  int written = 0;
  for (const std::string& group : pixfuzz::Groups()) {
    std::vector<pixfuzz::Entry> entries = pixfuzz::EntriesOf(group);
    for (int i = 2; i < argc; ++i) {
      std::string ext = pix::Lower(pix::Split(argv[i]).ext);
      std::ifstream f(argv[i], std::ios::binary);
      std::vector<char> bytes((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
      if (bytes.size() > 65536) continue;
      for (std::size_t k = 0; k < entries.size(); ++k) {
        if (!pix::ExtMatches(ext, entries[k].srcExt.c_str(), static_cast<int>(entries[k].srcExt.size()) + 1)) continue;
        // one seed per sample and group: the fuzzer mutates the selector
        // and parameter bytes itself
        fs::create_directories(out / group);
        fs::path seed = out / group / (fs::path(argv[i]).filename().string() + "-" + std::to_string(k));
        std::ofstream o(seed, std::ios::binary);
        o.put(static_cast<char>(k));
        o.put(static_cast<char>(0));
        o.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        ++written;
        break;
      }
    }
  }
  std::printf("%d seeds written\n", written);
  return 0;
}
