// Oric tapes: a high-resolution screen with serial attributes drawn as a
// 240 x 200 PPM, checked with netpbm's reading of it.
#include <gtest/gtest.h>

#include <array>

#include "common/call.h"
#include "retro/retro.h"
#include "retro_support.h"

namespace {

using pixtest::Bytes;

Bytes Tape() {
  Bytes t(22 + 8000, 0x40);  // 0x40: a pattern with no pixel set
  auto row = [&](int y) { return t.begin() + 22 + y * 40; };
  std::fill(row(0), row(0) + 40, 0x7F);
  std::fill(row(1), row(1) + 40, 0xFF);
  row(2)[5] = 0x11;                     // paper red from column 5
  row(3)[10] = 0x18;                    // text: not in this file, striped
  row(3)[20] = 0x1C;                    // back to high resolution
  row(3)[21] = 0x03;                    // ink yellow
  row(3)[22] = 0x7F;
  row(3)[23] = 0x80 | 0x40 | 0x15;      // inverted pattern 010101
  return t;
}

std::array<int, 3> Colour(int c) { return {c & 1 ? 255 : 0, c & 2 ? 255 : 0, c & 4 ? 255 : 0}; }

TEST(OricTape, SerialAttributes) {
  PIX_REQUIRE_TOOL("pnmtopnm");
  pixtest::Scratch dir;
  pixtest::WriteFile(dir.path("a.tap"), Tape());
  ASSERT_EQ(retrotest::CliConvert(dir.path("a.tap"), dir.path("a.ppm")), 1);
  auto pnm = pixtest::DecodeWith("pnmtopnm", dir.path("a.ppm"));
  ASSERT_EQ(pnm.width, 240);
  ASSERT_EQ(pnm.height, 200);
  ASSERT_EQ(pnm.maxval, 255);
  auto at = [&](int x, int y) {
    const std::uint8_t* p = pnm.samples.data() + (y * 240 + x) * 3;
    return std::array<int, 3>{p[0], p[1], p[2]};
  };
  for (int x = 0; x < 240; ++x) {
    EXPECT_EQ(at(x, 0), Colour(7));
    EXPECT_EQ(at(x, 1), Colour(0));
    EXPECT_EQ(at(x, 2), Colour(x < 30 ? 0 : 1)) << x;
    EXPECT_EQ(at(x, 4), Colour(0));  // attributes do not carry to the next row
  }
  const int stripe[6] = {1, 3, 2, 6, 4, 5};
  for (int x = 60; x < 120; ++x) EXPECT_EQ(at(x, 3), Colour(stripe[x % 6])) << x;
  for (int x = 120; x < 132; ++x) EXPECT_EQ(at(x, 3), Colour(0)) << x;
  for (int x = 132; x < 138; ++x) EXPECT_EQ(at(x, 3), Colour(3)) << x;
  for (int k = 0; k < 6; ++k) EXPECT_EQ(at(138 + k, 3), Colour(k % 2 ? 4 : 7)) << k;

  // The preview holds the same file; a short tape gives nothing.
  Bytes file = pixtest::ReadFile(dir.path("a.ppm"));
  EXPECT_EQ(file.size(), 15u + 144000);
  std::string src = dir.path("a.tap");
  unsigned char* block = nullptr;
  pix::ConvertCall call;
  call.source = src.c_str();
  call.out = &block;
  int n = pix::OricTapeToPpm(call);
  ASSERT_EQ(n, static_cast<int>(file.size()));
  EXPECT_TRUE(pixtest::TakeBlock(block, n) == file);
  Bytes shortTape = Tape();
  shortTape.pop_back();
  pixtest::WriteFile(src, shortTape);
  block = nullptr;
  EXPECT_EQ(pix::OricTapeToPpm(call), 0);
  EXPECT_EQ(block, nullptr);
}

}  // namespace
