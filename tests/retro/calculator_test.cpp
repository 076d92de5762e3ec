// Calculator pictures: HP48 graphic objects to BMP (read by bmptopnm), X
// bitmaps made by pbmtoxbm to GROB text, and a 256-colour PCX made by
// ppmtopcx to a TI-85 grey picture.
#include <gtest/gtest.h>

#include <cstring>

#include "common/call.h"
#include "retro/retro.h"
#include "retro_support.h"

namespace {

using pixtest::Bytes;

bool Pixel(int x, int y) { return ((x * 3 + y * 5) % 7) < 3 || x == y; }

// "HPHP48-E" and the object as nibbles, low nibble of each byte first.
Bytes Grob(int width, int height, int lengthDelta = 0) {
  std::vector<int> nibbles;
  auto field = [&](unsigned v) {
    for (int k = 0; k < 5; ++k) nibbles.push_back((v >> (4 * k)) & 0xF);
  };
  int rowBytes = (width + 7) / 8;
  field(0x02B1E);
  field(static_cast<unsigned>(2 * rowBytes * height + 15 + lengthDelta));
  field(static_cast<unsigned>(height));
  field(static_cast<unsigned>(width));
  for (int y = 0; y < height; ++y)
    for (int k = 0; k < rowBytes; ++k) {
      int b = 0;
      for (int j = 0; j < 8; ++j)
        if (k * 8 + j < width && Pixel(k * 8 + j, y)) b |= 1 << j;
      nibbles.push_back(b & 0xF);
      nibbles.push_back(b >> 4);
    }
  Bytes f = pixtest::ToBytes("HPHP48-E");
  for (std::size_t i = 0; i < nibbles.size(); i += 2)
    f.push_back(static_cast<std::uint8_t>(nibbles[i] | (i + 1 < nibbles.size() ? nibbles[i + 1] << 4 : 0)));
  return f;
}

TEST(Grob, BmpInDisplayColours) {
  PIX_REQUIRE_TOOL("bmptopnm");
  pixtest::Scratch dir;
  pixtest::WriteFile(dir.path("g.gro"), Grob(131, 64));
  ASSERT_EQ(retrotest::CliConvert(dir.path("g.gro"), dir.path("g.bmp")), 0);  // 0: written
  Bytes bmp = pixtest::ReadFile(dir.path("g.bmp"));
  ASSERT_EQ(bmp.size(), 62u + 1280);
  EXPECT_EQ(bmp[34] | bmp[35] << 8, 1280);
  auto pnm = pixtest::DecodeWith("bmptopnm", dir.path("g.bmp"));
  ASSERT_EQ(pnm.width, 131);
  ASSERT_EQ(pnm.height, 64);
  ASSERT_EQ(pnm.channels, 3);
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 131; ++x) {
      const std::uint8_t* p = pnm.samples.data() + (y * 131 + x) * 3;
      Bytes expect = Pixel(x, y) ? Bytes{0x27, 0x25, 0x85} : Bytes{0x6C, 0xA4, 0x5E};
      ASSERT_TRUE(Bytes(p, p + 3) == expect) << x << "," << y;
    }

  // The preview gets the same bytes; ".gf2" is the same format.
  pixtest::WriteFile(dir.path("g.gf2"), Grob(131, 64));
  unsigned char* block = nullptr;
  pix::ConvertCall call;
  std::string gf2 = dir.path("g.gf2");
  call.source = gf2.c_str();
  call.out = &block;
  int n = pix::GroToBmp(call);
  ASSERT_EQ(n, static_cast<int>(bmp.size()));
  EXPECT_TRUE(pixtest::TakeBlock(block, n) == bmp);
}

TEST(Grob, RefusedObjects) {
  pixtest::Scratch dir;
  Bytes wrongLength = Grob(20, 10, 2);
  Bytes cut = Grob(20, 10);
  cut.resize(cut.size() - 3);
  Bytes notGraphic = Grob(20, 10);
  notGraphic[8] = 0x33;
  Bytes noHeader = Grob(20, 10);
  noHeader[5] = '7';
  for (const Bytes& b : {wrongLength, cut, notGraphic, noHeader}) {
    std::string src = dir.path("x.gro"), dst = dir.path("x.bmp");
    pixtest::WriteFile(src, b);
    pix::ConvertCall call;
    call.source = src.c_str();
    call.target = dst.c_str();
    EXPECT_EQ(pix::GroToBmp(call), 1);
    unsigned char* block = nullptr;
    call.target = nullptr;
    call.out = &block;
    EXPECT_EQ(pix::GroToBmp(call), 0);
    EXPECT_EQ(block, nullptr);
  }
}

TEST(Grob, FromXbm) {
  PIX_REQUIRE_TOOL("pbmtoxbm");
  pixtest::Scratch dir;
  const int w = 19, h = 7;
  std::string pbm = "P1\n" + std::to_string(w) + " " + std::to_string(h) + "\n";
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) pbm += Pixel(x, y) ? "1 " : "0 ";
  pixtest::WriteFile(dir.path("a.pbm"), pbm);
  ASSERT_EQ(pixtest::Run("pbmtoxbm " + pixtest::Quote(dir.path("a.pbm")) + " > " + pixtest::Quote(dir.path("a.xbm"))).status, 0);
  ASSERT_EQ(retrotest::CliConvert(dir.path("a.xbm"), dir.path("a.grb")), 0);
  std::string expect = "GROB 19 7 ";
  static const char kHex[] = "0123456789ABCDEF";
  for (int y = 0; y < h; ++y)
    for (int k = 0; k < (w + 7) / 8; ++k) {
      int b = 0;
      for (int j = 0; j < 8 && k * 8 + j < w; ++j)
        if (Pixel(k * 8 + j, y)) b |= 1 << j;
      expect += kHex[b & 0xF];
      expect += kHex[b >> 4];
    }
  Bytes got = pixtest::ReadFile(dir.path("a.grb"));
  EXPECT_EQ(std::string(got.begin(), got.end()), expect);

  // One byte 0x1E is "E1"; no size lines: 1.
  pixtest::WriteFile(dir.path("b.xbm"), "#define b_width 8\n#define b_height 1\nstatic char b_bits[] = {\n 0x1e };\n");
  ASSERT_EQ(retrotest::CliConvert(dir.path("b.xbm"), dir.path("b.grb")), 0);
  got = pixtest::ReadFile(dir.path("b.grb"));
  EXPECT_EQ(std::string(got.begin(), got.end()), "GROB 8 1 E1");
  pixtest::WriteFile(dir.path("c.xbm"), "static char b_bits[] = { 0x1e };\n");
  EXPECT_EQ(retrotest::CliConvert(dir.path("c.xbm"), dir.path("c.grb")), 1);
}

TEST(TiGrayPic, FromPcx) {
  PIX_REQUIRE_TOOL("ppmtopcx");
  pixtest::Scratch dir;
  const std::uint8_t colours[6][3] = {{0, 0, 0}, {255, 255, 255}, {200, 10, 10}, {10, 200, 90}, {60, 60, 250}, {128, 128, 128}};
  std::string ppm = "P6\n128 64\n255\n";
  std::vector<int> level;
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 128; ++x) {
      const std::uint8_t* c = colours[(x / 5 + y / 3) % 6];
      ppm.append(reinterpret_cast<const char*>(c), 3);
      level.push_back(7 - ((c[0] + c[1] + c[2]) / 3) / 32);
    }
  pixtest::WriteFile(dir.path("a.ppm"), ppm);
  ASSERT_EQ(pixtest::Run("ppmtopcx -8bit " + pixtest::Quote(dir.path("a.ppm")) + " > " + pixtest::Quote(dir.path("a.pcx"))).status, 0);
  ASSERT_EQ(retrotest::CliConvert(dir.path("a.pcx"), dir.path("a.grb")), 1);
  Bytes ti = pixtest::ReadFile(dir.path("a.grb"));
  ASSERT_EQ(ti.size(), 3149u);
  EXPECT_EQ(std::string(ti.begin(), ti.begin() + 8), "**TI85**");
  EXPECT_EQ(std::string(ti.begin() + 11, ti.begin() + 53), "8-Image Flash 32 Tavel Morquin           .");
  EXPECT_EQ(std::string(ti.begin() + 61, ti.begin() + 68), "GrayPic");
  EXPECT_EQ(ti[53] | ti[54] << 8, 3092);
  for (int p = 0; p < 3; ++p)
    for (int i = 0; i < 128 * 64; ++i) {
      bool set = ti[74 + p * 1024 + i / 8] & (0x80 >> (i % 8));
      ASSERT_EQ(set, (level[i] & (4 >> p)) != 0) << "plane " << p << " pixel " << i;
    }
  unsigned sum = 0;
  for (int i = 55; i <= 3146; ++i) sum += ti[i];
  EXPECT_EQ(ti[3147] | ti[3148] << 8, static_cast<int>(sum & 0xFFFF));

  // Another size is refused.
  Bytes pcx = pixtest::ReadFile(dir.path("a.pcx"));
  pcx[8] = 100;
  pixtest::WriteFile(dir.path("b.pcx"), pcx);
  EXPECT_EQ(retrotest::CliConvert(dir.path("b.pcx"), dir.path("b.grb")), 0);
}

}  // namespace
