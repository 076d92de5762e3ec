// Per-call budgets: files crafted to make one call work or write without
// bound end with what was completed; a failed call leaves no empty target.
#include <filesystem>

#include "common/budget.h"
#include "common/files.h"
#include "extract/extract.h"
#include "games/games.h"
#include "pixmisc.h"
#include "support.h"

namespace {

namespace fs = std::filesystem;
using pixtest::Bytes;

void Put(Bytes& b, std::uint32_t v, int n) {
  for (int i = 0; i < n; ++i) b.push_back(static_cast<std::uint8_t>(i < 4 ? v >> (8 * i) : 0));
}

// A shape archive whose directory sends every one of `entries` names to the
// same 256 x 256 32-bit bitmap: 256 KiB of pixels written once per entry.
Bytes SharedBitmapArchive(std::uint32_t entries) {
  Bytes a{'S', 'H', 'P', 'I'};
  Put(a, 0, 4);
  Put(a, entries, 4);
  a.insert(a.end(), {'G', '2', '6', '4'});
  const std::uint32_t body = 16 + 8 * entries;
  for (std::uint32_t i = 0; i < entries; ++i) {
    a.insert(a.end(), {'s', 'h', 'p', 'x'});
    Put(a, body, 4);
  }
  a.push_back(0x7D);  // 32-bit pixels, no next block
  Put(a, 0, 3);
  Put(a, 256, 2);
  Put(a, 256, 2);
  Put(a, 0, 8);
  for (int i = 0; i < 256 * 256; ++i) Put(a, 0xFF000000u | static_cast<std::uint32_t>(i * 2654435761u >> 8), 4);
  a[4] = static_cast<std::uint8_t>(a.size());
  a[5] = static_cast<std::uint8_t>(a.size() >> 8);
  a[6] = static_cast<std::uint8_t>(a.size() >> 16);
  return a;
}

TEST(Budget, ShapeArchivePointingEveryEntryAtOneBitmapStopsAtTheWriteBudget) {
  pixtest::Scratch s;
  const std::string src = s.path("bomb.fsh");
  pixtest::WriteFile(src, SharedBitmapArchive(4000));  // would write about 1 GB
  fs::create_directories(s.dir() / "out");
  const fs::path before = fs::current_path();
  fs::current_path(s.dir());  // its index and alpha files go to the working directory
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  int written = 0;
  {
    // the same mechanism as the exports' limits, scaled down for the test
    pix::BudgetLimits limits = pix::BudgetLimits::ForSource(0);
    limits.writeBytes = 16 << 20;
    pix::CallScope scope(src.c_str(), limits);
    pix::ConvertCall call;
    call.source = src.c_str();
    const std::string target = s.path("out/x.bmp");
    call.target = target.c_str();
    written = pix::FshToBmp(call);
  }
  testing::internal::GetCapturedStdout();
  const std::string err = testing::internal::GetCapturedStderr();
  fs::current_path(before);
  EXPECT_NE(err.find("budget exceeded: bytes written"), std::string::npos) << err;
  EXPECT_GT(written, 10);
  EXPECT_LT(written, 200);  // a colour and an alpha picture per entry
  std::uintmax_t total = 0;
  for (const auto& f : fs::directory_iterator(s.dir() / "out")) total += f.file_size();
  EXPECT_LE(total, std::uintmax_t(16) << 20);
}

// A GIF container of one good picture followed by tens of thousands of
// damaged candidates, each of whose walks hops through all the later ones:
// without a read budget the scan is quadratic in the file's size.
TEST(Budget, GifCandidatesThatEachWalkTheRestOfTheFileEndWithinTheReadBudget) {
  pixtest::Scratch s;
  Bytes file{'G', 'I', 'F', '8', '9', 'a', 1, 0, 1, 0, 0, 0, 0, 0x2C};
  Put(file, 0, 4);
  Put(file, 1, 2);
  Put(file, 1, 2);
  file.insert(file.end(), {0, 2, 2, 0x4C, 0x01, 0, 0x3B});
  const std::size_t good = file.size();
  constexpr int kCandidates = 8192;
  for (int j = 0; j < kCandidates; ++j) {
    // signature, screen 1 x 1, an extension whose first sub-block of 15
    // bytes ends just before the next candidate's length byte
    file.insert(file.end(), {'G', 'I', 'F', '8', '9', 'a', 1, 0, 1, 0, 0, 0, 0, 0x21, 0xF9, 15});
  }
  file.insert(file.end(), 15, 'x');
  file.insert(file.end(), {0, 0x00});  // block terminator, then no valid introducer
  const std::string src = s.path("bomb.tcf");
  pixtest::WriteFile(src, file);
  fs::create_directories(s.dir() / "out");
  testing::internal::CaptureStderr();
  const int n = pixMISC(src.c_str(), s.path("out/x.gif").c_str());
  const std::string err = testing::internal::GetCapturedStderr();
  EXPECT_NE(err.find("budget exceeded: bytes read"), std::string::npos);
  EXPECT_EQ(n, 1);
  ASSERT_EQ(pixtest::Run("ls " + pixtest::Quote(s.path("out"))).out, "bomb_0001.bmp\n");
  EXPECT_EQ(pixtest::ReadFile(s.path("out/bomb_0001.bmp")), Bytes(file.begin(), file.begin() + good));
}

TEST(Budget, AFailedCallRemovesOnlyTheEmptyFilesItCreated) {
  pixtest::Scratch s;
  pixtest::WriteFile(s.path("old.bin"), Bytes{});
  for (bool failed : {true, false}) {
    pix::CallScope scope("");
    pix::Sink a, b, c;
    ASSERT_TRUE(a.open(s.path("empty.bin").c_str()));
    ASSERT_TRUE(b.open(s.path("full.bin").c_str()));
    ASSERT_TRUE(c.open(s.path("old.bin").c_str()));
    b.put8(1);
    a.close();
    b.close();
    c.close();
    scope.finish(failed);
    EXPECT_EQ(fs::exists(s.path("empty.bin")), !failed);
    EXPECT_TRUE(fs::exists(s.path("full.bin")));
    EXPECT_TRUE(fs::exists(s.path("old.bin")));  // there before the call
    fs::remove(s.path("empty.bin"));
  }
}

}  // namespace
