// Every sample source, cut short at every length (sampled for large files) and
// with bits flipped, goes through its route and its previews without a crash,
// a sanitizer report, a file written outside the target folder, or a
// temporary file left behind.
#include <pthread.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
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
  std::set<std::pair<std::string, std::string>> done;  // a sample listed for several checks runs once
  for (const pixtest::Sample& sample : samples) {
    if (!done.insert({sample.source, pix::Split(sample.target.c_str()).ext}).second) continue;
    SCOPED_TRACE(sample.source);
    pixtest::Scratch s;
    fs::create_directories(s.dir() / "src");
    pixtest::Bytes full = pixtest::ReadFile(sample.source);
    std::string ext = pix::Split(sample.source.c_str()).ext;
    // every prefix through the header (the first 64 bytes, where most
    // decisions are taken), then about 100 spread lengths
    std::vector<std::size_t> lengths;
    for (std::size_t len = 0; len < full.size() && len < 64; ++len) lengths.push_back(len);
    for (std::size_t len = 64, step = full.size() / 100 + 1; len < full.size(); len += step) lengths.push_back(len);
    for (std::size_t len : lengths) {
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

// The compound files from the wild (when their folder is there), cut short
// and with bits flipped, through the compound-file reader and the byte walks.
TEST(Robustness, TruncatedAndBitFlippedCompoundFiles) {
  std::mt19937 rng(7);
  for (const char* name : {"Thumbs.db", "pictures.ppt"}) {
    const std::string path = pixtest::RealWorldFile(name);
    if (path.empty()) GTEST_SKIP() << "no real files in " << pixtest::RealWorldDir().string();
    SCOPED_TRACE(name);
    const pixtest::Bytes full = pixtest::ReadFile(path);
    const std::string ext = fs::path(name).extension().string();
    pixtest::Scratch s;
    fs::create_directories(s.dir() / "src");
    for (std::size_t len : {std::size_t(0), std::size_t(8), std::size_t(511), std::size_t(512), std::size_t(1536),
                            full.size() / 3, full.size() / 2, full.size() - 1}) {
      Exercise(s, ext, "x.jpg", pixtest::Bytes(full.begin(), full.begin() + static_cast<std::ptrdiff_t>(len)),
               "prefix " + std::to_string(len));
      if (HasFatalFailure()) return;
    }
    for (int round = 0; round < 40; ++round) {
      pixtest::Bytes flipped = full;
      for (int k = 0; k < 1 + round % 6; ++k) {
        // header, allocation table and directory sectors first
        std::size_t at = rng() % (k % 2 == 0 ? std::min<std::size_t>(4096, full.size()) : full.size());
        flipped[at] ^= static_cast<std::uint8_t>(1u << (rng() % 8));
      }
      Exercise(s, ext, "x.jpg", flipped, "flip round " + std::to_string(round));
      if (HasFatalFailure()) return;
    }
  }
}

// A compound file whose directory is one long chain of entries: the reading
// library would recurse once per entry (and take minutes over it). It is
// walked as bytes instead, even on a worker thread's small stack.
TEST(Robustness, CompoundFileWithAChainedDirectory) {
  constexpr std::uint32_t kEntries = 40000, kSector = 512, kNone = 0xFFFFFFFF, kEnd = 0xFFFFFFFE;
  const std::uint32_t dirSectors = kEntries / 4, fatSectors = (dirSectors + 100 + 127) / 128;
  pixtest::Bytes file(kSector * (1 + fatSectors + dirSectors), 0);
  auto put32 = [&](std::size_t at, std::uint32_t v) {
    for (int k = 0; k < 4; ++k) file[at + static_cast<std::size_t>(k)] = static_cast<std::uint8_t>(v >> (8 * k));
  };
  const std::uint8_t signature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
  std::copy(signature, signature + 8, file.begin());
  file[24] = 0x3E, file[26] = 3, file[28] = 0xFE, file[29] = 0xFF, file[30] = 9, file[32] = 6;
  put32(44, fatSectors);
  put32(48, fatSectors);  // the directory follows the allocation table
  put32(56, 4096);
  put32(60, kEnd);
  put32(68, kEnd);
  for (std::uint32_t i = 0; i < 109; ++i) put32(76 + 4 * i, i < fatSectors ? i : kNone);
  for (std::uint32_t sector = 0; sector < fatSectors + dirSectors; ++sector) {
    const std::uint32_t next = sector < fatSectors ? 0xFFFFFFFD : sector + 1 < fatSectors + dirSectors ? sector + 1 : kEnd;
    put32(kSector + 4 * sector, next);
  }
  for (std::uint32_t sector = fatSectors + dirSectors; sector < fatSectors * 128; ++sector)
    put32(kSector + 4 * sector, kNone);
  for (std::uint32_t e = 0; e < kEntries; ++e) {
    const std::size_t at = kSector * (1 + fatSectors) + 128 * std::size_t(e);
    file[at] = e == 0 ? 'R' : 'a';
    file[at + 64] = 4;       // name length with its terminator
    file[at + 66] = e == 0 ? 5 : 2;
    put32(at + 68, kNone);  // left
    put32(at + 72, e > 0 && e + 1 < kEntries ? e + 1 : kNone);  // right: the next entry
    put32(at + 76, e == 0 ? 1 : kNone);  // the root's child
    put32(at + 116, kEnd);
  }
  pixtest::Scratch s;
  pixtest::WriteFile(s.path("deep.db"), file);
  struct Job {
    std::string source, target;
    int result = -1;
  } job{s.path("deep.db"), s.path("deep.jpg")};
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  pthread_attr_setstacksize(&attr, 1 << 20);
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attr,
                           [](void* p) -> void* {
                             auto* j = static_cast<Job*>(p);
                             j->result = pixMISC(j->source.c_str(), j->target.c_str());
                             return nullptr;
                           },
                           &job),
            0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attr);
  EXPECT_EQ(job.result, 0);  // no picture in it
}

}  // namespace
