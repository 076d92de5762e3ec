// Inputs the fuzz targets once failed on stay fixed: each is run through the
// same harness as in fuzzing (fuzz/regressions/<target>/<input>).
#include <filesystem>

#include "../../fuzz/harness.h"
#include "support.h"

namespace {

namespace fs = std::filesystem;

TEST(FuzzRegressions, EveryKeptInputRunsClean) {
  fs::path dir = fs::path(pixtest::kSourceDir) / "fuzz" / "regressions";
  if (!fs::exists(dir)) GTEST_SKIP() << "no regression inputs";
  int runs = 0;
  for (const auto& group : fs::directory_iterator(dir)) {
    std::vector<pixfuzz::Entry> entries = pixfuzz::EntriesOf(group.path().filename().string());
    ASSERT_FALSE(entries.empty()) << group.path();
    for (const auto& input : fs::directory_iterator(group.path())) {
      pixtest::Bytes data = pixtest::ReadFile(input.path().string());
      if (data.size() < 2) continue;
      SCOPED_TRACE(input.path().string());
      pixfuzz::RunEntry(entries[data[0] % entries.size()], data.data() + 2, data.size() - 2, data[1]);
      ++runs;
    }
  }
  EXPECT_GT(runs, 0);
}

}  // namespace
