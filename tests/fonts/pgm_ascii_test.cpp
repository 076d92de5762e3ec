// PGM pictures to character pictures through the PGMtoASCII export.
#include <string>

#include "pixmisc.h"
#include "support.h"

namespace {

using pixtest::Bytes;

Bytes Pgm(const std::string& head, const Bytes& pixels) {
  Bytes b(head.begin(), head.end());
  b.insert(b.end(), pixels.begin(), pixels.end());
  return b;
}

std::string Text(const std::string& path) {
  Bytes b = pixtest::ReadFile(path);
  return std::string(b.begin(), b.end());
}

TEST(PgmToAscii, CellsPickCharactersByBrightness) {
  pixtest::Scratch s;
  Bytes checker(160 * 160);
  for (int y = 0; y < 160; ++y)
    for (int x = 0; x < 160; ++x) checker[y * 160 + x] = (x % 2 == 0 && y % 2 == 0) ? 255 : 0;
  std::string eighty;
  for (int r = 0; r < 80; ++r) eighty += std::string(80, '#') + "\r\n";

  struct Case {
    const char* label;
    Bytes pgm;
    int average, invert, columns, rows;
    const char* chars;
    int result;
    std::string text;
  };
  const Case cases[] = {
      {"levels", Pgm("P5\n3 1\n255\n", {0, 128, 255}), 0, 0, 3, 1, "0123456789", 1, "049\r\n"},
      {"inverted", Pgm("P5\n3 1\n255\n", {0, 128, 255}), 0, 1, 3, 1, "0123456789", 1, "940\r\n"},
      {"maxvalIgnored", Pgm("P5 3 1 15\n", {15, 0, 8}), 0, 0, 3, 1, "0123456789", 1, "000\r\n"},
      {"sharedBorders", Pgm("P5\n4 1\n255\n", {0, 255, 255, 255}), 1, 0, 2, 1, "0123456789", 1, "69\r\n"},
      {"comment", Pgm("P5\n# made by hand\n3 1\n255\n", {255, 255, 0}), 0, 0, 3, 2, "ab", 1, "bba\r\nbba\r\n"},
      {"everySecondPixel", Pgm("P5\n160 160\n255\n", checker), 0, 0, 80, 80, ".#", 1, eighty},
      {"defaultsUnlessBoth", Pgm("P5\n160 160\n255\n", checker), 0, 0, 0, 40, ".#", 1, eighty},
      {"noCharacters", Pgm("P5\n1 1\n255\n", {9}), 0, 0, 3, 2, "", 1, "\r\n\r\n"},
      {"plainPgm", Pgm("P2\n1 1\n255\n9\n", {}), 0, 0, 3, 2, "ab", 0, ""},
      {"shortData", Pgm("P5\n3 3\n255\n", {1, 2}), 0, 0, 3, 2, "ab", 0, ""},
      {"noSize", Pgm("P5\nx\n", {}), 0, 0, 3, 2, "ab", 0, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    pixtest::WriteFile(s.path("p.pgm"), c.pgm);
    std::filesystem::remove(s.path("p.txt"));
    testing::internal::CaptureStdout();
    EXPECT_EQ(PGMtoASCII(s.path("p.pgm").c_str(), s.path("p.txt").c_str(), 0, c.average, c.invert, c.columns, c.rows, c.chars),
              c.result);
    std::string console = testing::internal::GetCapturedStdout();
    EXPECT_EQ(console, std::string(c.label) == "comment" ? "\n" : "");
    EXPECT_EQ(Text(s.path("p.txt")), c.text);
    EXPECT_EQ(std::filesystem::exists(s.path("p.txt")), c.result == 1);  // a failure leaves no file
  }
  EXPECT_EQ(PGMtoASCII(s.path("absent.pgm").c_str(), s.path("q.txt").c_str(), 0, 0, 0, 80, 80, "ab"), 0);
  EXPECT_FALSE(std::filesystem::exists(s.path("q.txt")));
  // No target: nothing to create, so nothing is written.
  pixtest::WriteFile(s.path("p.pgm"), Pgm("P5\n1 1\n255\n", {9}));
  EXPECT_EQ(PGMtoASCII(s.path("p.pgm").c_str(), nullptr, 0, 0, 0, 80, 80, "ab"), 0);
  EXPECT_EQ(PGMtoASCII(s.path("p.pgm").c_str(), "", 0, 0, 0, 80, 80, "ab"), 0);
}

}  // namespace
