// Amstrad CPC screens: dumps built here in each mode, with and without a
// file palette, read back from our TIFF by libtiff; the GIF route of the
// same screens.
#include <gtest/gtest.h>

#include <array>
#include <filesystem>

#include "common/call.h"
#include "pixmisc.h"
#include "retro/cpc_screen.h"
#include "retro/retro.h"
#include "retro_support.h"

namespace {

using pixtest::Bytes;

Bytes Screen() {
  Bytes s(16384);
  for (std::size_t i = 0; i < s.size(); ++i) s[i] = static_cast<std::uint8_t>(i * 37 + i / 2048);
  return s;
}

// 8-bit levels of a firmware colour, from the CPC's three levels a gun.
std::array<int, 3> Firmware(int n) {
  static const int kLevel[3] = {0, 127, 255};  // 0x7FFF and 0xFFFF as libtiff scales them
  return {kLevel[(n / 3) % 3], kLevel[n / 9], kLevel[n % 3]};
}

// The pen of every displayed pixel, decoded here from the CPC byte layout.
std::vector<int> Pens(const Bytes& s, int mode) {
  std::vector<int> pens;
  for (int y = 0; y < 200; ++y)
    for (int x = 0; x < 80; ++x) {
      int b = s[(y % 8) * 2048 + (y / 8) * 80 + x];
      auto bit = [&](int k) { return (b >> k) & 1; };
      if (mode == 0) {
        for (int p : {bit(7) | bit(3) << 1 | bit(5) << 2 | bit(1) << 3, bit(6) | bit(2) << 1 | bit(4) << 2 | bit(0) << 3})
          pens.insert(pens.end(), {p, p});
      } else if (mode == 1) {
        for (int k = 0; k < 4; ++k) pens.push_back(bit(7 - k) | bit(3 - k) << 1);
      } else {
        for (int k = 0; k < 8; ++k) pens.push_back(bit(7 - k));
      }
    }
  return pens;
}

void ExpectPicture(const std::string& tif, const Bytes& screen, int mode, const std::vector<int>& firmware) {
  auto pnm = pixtest::DecodeWith("tifftopnm", tif);
  ASSERT_EQ(pnm.width, mode == 2 ? 640 : 320);
  ASSERT_EQ(pnm.height, 200);
  std::vector<int> pens = Pens(screen, mode);
  ASSERT_EQ(pnm.samples.size(), pens.size() * 3);
  for (std::size_t i = 0; i < pens.size(); ++i) {
    auto rgb = Firmware(firmware[pens[i]]);
    for (int c = 0; c < 3; ++c) {
      int got = pnm.samples[i * 3 + c] * 255 / pnm.maxval;
      if (got != rgb[c]) {
        ADD_FAILURE() << "pixel " << i << " channel " << c << ": " << got << " != " << rgb[c];
        return;
      }
    }
  }
}

const std::vector<int> kDefaultPens = {1, 24, 20, 6, 26, 0, 2, 8, 10, 12, 14, 16, 18, 22, 0, 0};

TEST(CpcScreen, HeaderlessDumpUsesDefaultPensInMode1) {
  PIX_REQUIRE_TOOL("tifftopnm");
  pixtest::Scratch dir;
  Bytes s = Screen();
  pixtest::WriteFile(dir.path("a.cpc"), s);
  EXPECT_EQ(retrotest::CliConvert(dir.path("a.cpc"), dir.path("a.tif")), 0);  // 0 means written here
  ExpectPicture(dir.path("a.tif"), s, 1, kDefaultPens);
  Bytes tif = pixtest::ReadFile(dir.path("a.tif"));
  ASSERT_EQ(tif.size(), 384u + 32000);
  EXPECT_EQ(std::string(tif.begin() + 186, tif.begin() + 194), "MAIFLOT\n");
  EXPECT_EQ(tif[383], 0xE5);
}

// A header, the marker 0xF3 and the palette and mode bytes at 0x40E8, 0x4108.
TEST(CpcScreen, FilePaletteAndModes) {
  PIX_REQUIRE_TOOL("tifftopnm");
  pixtest::Scratch dir;
  Bytes s = Screen();
  const std::uint8_t hardware[16] = {20, 4, 21, 28, 24, 29, 12, 5, 13, 22, 6, 23, 30, 0, 31, 1};
  for (int mode : {0, 1, 2}) {
    Bytes f(0x4110, 0);
    std::copy(s.begin(), s.end(), f.begin() + 128);
    f[128 + 16384] = 0xF3;
    for (int i = 0; i < 16; ++i) f[0x40E8 + i] = static_cast<std::uint8_t>(0x40 | hardware[i]);
    f[0x4108] = static_cast<std::uint8_t>(mode);
    std::string src = dir.path("m" + std::to_string(mode) + ".cpc"), dst = dir.path("m.tif");
    pixtest::WriteFile(src, f);
    ASSERT_EQ(retrotest::CliConvert(src, dst), 0);
    std::vector<int> pens;
    for (auto h : hardware) pens.push_back(pix::CpcHardwareToFirmware(h));
    // Hardware 1 is firmware 27 and shows the white of hardware 0.
    EXPECT_EQ(pens[15], 27);
    pens[15] = 13;
    SCOPED_TRACE(mode);
    ExpectPicture(dst, s, mode, pens);
  }
}

TEST(CpcScreen, Failures) {
  pixtest::Scratch dir;
  pix::ConvertCall call;
  std::string missing = dir.path("none.cpc"), dst = dir.path("x.tif");
  call.source = missing.c_str();
  call.target = dst.c_str();
  EXPECT_EQ(pix::CpcScreenToTiff(call), 1);
  std::string src = dir.path("a.cpc"), badTarget = dir.path("no/such/dir/x.tif");
  pixtest::WriteFile(src, Screen());
  call.source = src.c_str();
  call.target = badTarget.c_str();
  EXPECT_EQ(pix::CpcScreenToTiff(call), 1);
}

}  // namespace

namespace {

// The GIF route takes any file without an extension as a screen: an empty one
// is a blank screen in pen 0 (firmware blue, 00 00 80); a missing one is nothing.
TEST(CpcScreen, GifOfAnEmptyDumpIsBlank) {
  PIX_REQUIRE_TOOL("giftopnm");
  pixtest::Scratch dir;
  pixtest::WriteFile(dir.path("screen"), Bytes());
  ASSERT_EQ(pixMISC(dir.path("screen").c_str(), dir.path("screen.gif").c_str()), 1);
  const pixtest::Pnm p = pixtest::DecodeWith("giftopnm", dir.path("screen.gif"));
  ASSERT_EQ(p.width, 320);
  ASSERT_EQ(p.height, 200);
  for (std::size_t i = 0; i < p.samples.size(); i += 3)
    ASSERT_TRUE(p.samples[i] == 0 && p.samples[i + 1] == 0 && p.samples[i + 2] == 0x80) << i;
  EXPECT_EQ(pixMISC(dir.path("missing").c_str(), dir.path("missing.gif").c_str()), 0);
  EXPECT_FALSE(std::filesystem::exists(dir.path("missing.gif")));
}

}  // namespace
