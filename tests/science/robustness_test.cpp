// Damaged sources: each sample with random bytes overwritten or cut short
// must convert or fail cleanly (the sanitizer build watches the memory).
#include <random>

#include "helpers.h"
#include "science/science.h"

namespace {

using pixtest::Bytes;

struct Target {
  const char* sample;
  const char* ext;
  pix::ConverterFn fn;
  const char* dstExt;  // file-mode target extension, or null for memory mode
};

TEST(Robustness, DamagedSamples) {
  const Target targets[] = {
      {"sample.st7", ".st7", pix::SbigToFits, nullptr}, {"sample.ftz", ".ftz", pix::FtzToFits, nullptr},
      {"sample.b16", ".b16", pix::B16ToFits, nullptr},  {"sample.pic", ".pic", pix::PicToFits, nullptr},
      {"sample_topo.mat", ".mat", pix::HeightField, ".gif"},
  };
  pixtest::Scratch s;
  std::mt19937 rng(5);
  for (const auto& t : targets) {
    SCOPED_TRACE(t.sample);
    Bytes base = pixtest::ReadFile(std::string(pixtest::kSourceDir) + "/samples/" + t.sample);
    ASSERT_FALSE(base.empty());
    for (int round = 0; round < 60; ++round) {
      Bytes b = base;
      if (round % 3 == 0) b.resize(rng() % b.size());
      int hits = 1 + static_cast<int>(rng() % 40);
      for (int i = 0; i < hits && !b.empty(); ++i) b[rng() % b.size()] = static_cast<std::uint8_t>(rng());
      std::string src = s.path(std::string("x") + t.ext), dst = s.path(std::string("y") + (t.dstExt ? t.dstExt : ".fts"));
      pixtest::WriteFile(src, b);
      unsigned char* block = nullptr;
      testing::internal::CaptureStdout();
      testing::internal::CaptureStderr();
      int n = t.fn({src.c_str(), t.dstExt ? dst.c_str() : nullptr, 0, 0, &block});
      testing::internal::GetCapturedStdout();
      testing::internal::GetCapturedStderr();
      if (!t.dstExt) pixtest::TakeBlock(block, n);
      EXPECT_GE(n, 0);
    }
  }
}

}  // namespace
