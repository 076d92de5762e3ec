// Every sample source, cut short at every length (sampled for large files) and
// with bits flipped, goes through its route and its previews without a crash,
// a sanitizer report, a file written outside the target folder, or a
// temporary file left behind.
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "common/paths.h"
#include "pixmisc.h"
#include "platform/platform.h"
#include "support.h"

namespace {

namespace fs = std::filesystem;

bool TempDirEmpty() {
  const std::string& t = pix::platform::TempDir();
  return t.empty() || fs::is_empty(t);
}

// Runs one damaged copy through pixMISC and the previews.
void Exercise(const pixtest::Scratch& s, const std::string& ext, const std::string& target, const pixtest::Bytes& bytes,
              const std::string& what) {
  const std::string src = s.path("src/in" + ext);
  pixtest::WriteFile(src, bytes);
  fs::create_directories(s.dir() / "out");
  pixMISC(src.c_str(), s.path("out/" + target).c_str());
  unsigned char* block = nullptr;
  int n = seeMISC(src.c_str(), &block);
  if (block) {
    ASSERT_GT(n, 0) << what;
    pixFree(block);
  }
  for (int index = 0; index < 2; ++index) {
    block = nullptr;
    n = seeMultiMISC(src.c_str(), index, &block);
    if (block) pixFree(block);
  }
  ASSERT_EQ(fs::directory_iterator(s.dir() / "src")->path().filename().string(), "in" + ext) << what;
  ASSERT_TRUE(TempDirEmpty()) << what << ": temporary file left behind";
  fs::remove_all(s.dir() / "out");
}

TEST(Robustness, TruncatedAndBitFlippedSamples) {
  std::vector<pixtest::Sample> samples = pixtest::Samples();
  if (samples.empty()) GTEST_SKIP() << "no samples yet";
  std::mt19937 rng(1234);
  for (const pixtest::Sample& sample : samples) {
    SCOPED_TRACE(sample.source);
    pixtest::Scratch s;
    fs::create_directories(s.dir() / "src");
    pixtest::Bytes full = pixtest::ReadFile(sample.source);
    std::string ext = pix::Split(sample.source.c_str()).ext;
    // every prefix for small files, about 200 spread lengths for larger ones
    std::size_t step = full.size() <= 1024 ? 1 : full.size() / 200 + 1;
    for (std::size_t len = 0; len < full.size(); len += step) {
      pixtest::Bytes cut(full.begin(), full.begin() + static_cast<std::ptrdiff_t>(len));
      Exercise(s, ext, sample.target, cut, "prefix " + std::to_string(len));
      if (HasFatalFailure()) return;
    }
    for (int round = 0; round < 60 && !full.empty(); ++round) {
      pixtest::Bytes flipped = full;
      int flips = 1 + round % 8;
      for (int k = 0; k < flips; ++k) {
        std::size_t at = rng() % flipped.size();
        // the header bytes matter most: aim half of the flips at the first 64
        if (k % 2 == 0) at %= std::min<std::size_t>(64, flipped.size());
        flipped[at] ^= static_cast<std::uint8_t>(1u << (rng() % 8));
      }
      Exercise(s, ext, sample.target, flipped, "flip round " + std::to_string(round));
      if (HasFatalFailure()) return;
    }
  }
}

}  // namespace
