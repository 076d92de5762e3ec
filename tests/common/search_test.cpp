// The byte searches: first hits, and their exact bounds, including the
// deliberate looks past n.
#include <cstring>

#include "common/search.h"
#include "support.h"

namespace {

using pix::ScanBlock;

ScanBlock BlockOf(const std::string& bytes, std::size_t capacity = 64) {
  ScanBlock b(capacity);
  std::memcpy(b.data(), bytes.data(), bytes.size());
  return b;
}

TEST(Search, PatternFindsFirstAndRunsPastN) {
  ScanBlock b = BlockOf("JFIF");
  EXPECT_EQ(pix::FindPattern(4, b.data(), "JFIF"), 0);
  // The last three bytes of the block start the pattern, the fourth lies past n.
  ScanBlock c = BlockOf("xxxxJFIF");
  EXPECT_EQ(pix::FindPattern(7, c.data(), "JFIF"), 4);
  EXPECT_EQ(pix::FindPattern(4, c.data(), "JFIF"), -1);  // a start at n itself is not tried
  EXPECT_EQ(pix::FindPattern(0, b.data(), "JFIF"), -1);
  EXPECT_EQ(pix::FindPattern(-3, b.data(), "JFIF"), -1);
  EXPECT_EQ(pix::FindPattern(4, b.data(), ""), 0);
  ScanBlock d = BlockOf("JFIJFIFJFIF");
  EXPECT_EQ(pix::FindPattern(11, d.data(), "JFIF"), 3);
}

TEST(Search, PairMayLookAtTheByteAfterN) {
  ScanBlock b = BlockOf("\x01\x02\xFF\xD9");
  EXPECT_EQ(pix::FindPair(3, b.data(), 0xFF, 0xD9), 2);  // n - 1
  EXPECT_EQ(pix::FindPair(2, b.data(), 0xFF, 0xD9), -1);
  EXPECT_EQ(pix::FindPair(0, b.data(), 0xFF, 0xD9), -1);
  ScanBlock c = BlockOf("\xFF\xFF\xD9");
  EXPECT_EQ(pix::FindPair(3, c.data(), 0xFF, 0xD9), 1);
}

TEST(Search, StartOfPictureNeedsFourBytesInside) {
  ScanBlock b = BlockOf("ab\xFF\xD8\xFF\xE0");
  EXPECT_EQ(pix::FindStartOfPicture(6, b.data()), 2);
  EXPECT_EQ(pix::FindStartOfPicture(5, b.data()), -1);
  ScanBlock c = BlockOf("ab\xFF\xD8\xFF\xE1");
  EXPECT_EQ(pix::FindStartOfPicture(6, c.data()), -1);
  EXPECT_EQ(pix::FindShortStart(6, c.data()), 2);
  EXPECT_EQ(pix::FindShortStart(5, c.data()), -1);  // i + 4 <= n, though only 3 bytes compared
}

TEST(Search, ThreeMayLookTwoPastN) {
  ScanBlock b = BlockOf("xxII*");
  EXPECT_EQ(pix::FindThree(3, b.data(), 'I', 'I', '*'), 2);
  EXPECT_EQ(pix::FindThree(2, b.data(), 'I', 'I', '*'), -1);
}

TEST(Search, FourIgnoresTheLastElevenBytes) {
  std::string twelve = std::string("\x28\x00\x00\x00", 4) + std::string(8, 'x');
  ScanBlock b = BlockOf(twelve);
  EXPECT_EQ(pix::FindFour(12, b.data(), 0x28, 0, 0, 0), 0);
  ScanBlock c = BlockOf("y" + twelve);
  EXPECT_EQ(pix::FindFour(13, c.data(), 0x28, 0, 0, 0), 1);
  EXPECT_EQ(pix::FindFour(12, c.data(), 0x28, 0, 0, 0), -1);  // hit at 1 with 1 + 12 > 12
  EXPECT_EQ(pix::FindFour(11, b.data(), 0x28, 0, 0, 0), -1);
}

TEST(Search, WideFindsLowBytesOfUtf16) {
  std::string wide = std::string("zzT\0h\0u\0m\0b\0", 12);
  ScanBlock b = BlockOf(wide);
  EXPECT_EQ(pix::FindWide(12, b.data(), "Thumb"), 2);
  EXPECT_EQ(pix::FindWide(7, b.data(), "Thumb"), 2);   // looks past n: 2 + 5 <= 7
  EXPECT_EQ(pix::FindWide(6, b.data(), "Thumb"), -1);
  EXPECT_EQ(pix::FindWide(12, b.data(), "Thumx"), -1);
}

TEST(Search, SlackIsZeroed) {
  ScanBlock b(8);
  for (std::size_t i = 0; i < 8 + pix::kScanSlack; ++i) EXPECT_EQ(b[i], 0);
}

}  // namespace
