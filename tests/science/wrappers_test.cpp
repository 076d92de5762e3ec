// The three wrappers that make FITS files from near-FITS sources: ".ibg" with
// its ".hdr", SensiCam ".b16" and ".pic" camera frames.
#include <cstring>

#include "helpers.h"
#include "pixmisc.h"
#include "science/science.h"

namespace {

using pixtest::Bytes;
using pixtest::Scratch;
using scitest::Put16le;
using scitest::Put32le;

std::string Card(const std::string& s) {
  std::string c = s;
  c.resize(80, ' ');
  return c;
}

Bytes FitsHeader(int w, int h) {
  char a[32], b[32];
  std::snprintf(a, sizeof a, "%20d", w);
  std::snprintf(b, sizeof b, "%20d", h);
  std::string t = Card("SIMPLE  =                    T") + Card("BITPIX  =                   16") +
                  Card("NAXIS   =                    2") + Card(std::string("NAXIS1  = ") + a) +
                  Card(std::string("NAXIS2  = ") + b) + Card("END");
  t.resize(2880, ' ');
  return pixtest::ToBytes(t);
}

TEST(Ibg, JoinsHeaderAndDataUnchanged) {
  Scratch s;
  Bytes data;
  for (int i = 0; i < 12; ++i) {
    data.push_back(static_cast<std::uint8_t>(i));
    data.push_back(static_cast<std::uint8_t>(0x10 + i));
  }
  data.resize(2880, 0);
  pixtest::WriteFile(s.path("pic.hdr"), FitsHeader(4, 3));
  pixtest::WriteFile(s.path("pic.ibg"), data);
  // A doubled separator in the source path still finds the ".hdr".
  std::string src = s.dir().string() + "//pic.ibg";
  ASSERT_EQ(pix::IbgToFits({src.c_str(), s.path("out.fts").c_str()}), 1);
  Bytes want = FitsHeader(4, 3);
  scitest::Append(want, data);
  EXPECT_EQ(pixtest::ReadFile(s.path("out.fts")), want);
  auto got = scitest::AstropyRead(s.path("out.fts"));
  ASSERT_TRUE(got.ok) << got.error;
  for (int i = 0; i < 12; ++i) EXPECT_EQ(got.values[static_cast<std::size_t>(i)], i << 8 | (0x10 + i));

  unsigned char* block = nullptr;
  int n = pix::IbgToFits({src.c_str(), nullptr, 0, 0, &block});
  EXPECT_EQ(pixtest::TakeBlock(block, n), want);

  // A bare file name finds its ".hdr" in the working directory.
  auto r = pixtest::Run("cd " + pixtest::Quote(s.dir().string()) + " && " + pixtest::kCli + " convert pic.ibg rel.fts");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(pixtest::ReadFile(s.path("rel.fts")), want);
}

TEST(Ibg, MissingHeaderOrData) {
  Scratch s;
  pixtest::WriteFile(s.path("lone.ibg"), Bytes(10, 1));
  testing::internal::CaptureStderr();
  EXPECT_EQ(pix::IbgToFits({s.path("lone.ibg").c_str(), s.path("a.fts").c_str()}), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Pixamorph: Could not find the HDR file, aborting...\n");
  EXPECT_FALSE(pixtest::fs::exists(s.path("a.fts")));

  // Header present, data missing: the target is deleted again.
  pixtest::WriteFile(s.path("gone.hdr"), FitsHeader(1, 1));
  EXPECT_EQ(pix::IbgToFits({s.path("gone.ibg").c_str(), s.path("b.fts").c_str()}), 0);
  EXPECT_FALSE(pixtest::fs::exists(s.path("b.fts")));
}

Bytes B16File(int w, int h, const std::vector<std::uint16_t>& pixels) {
  Bytes b(12, 0);
  Put32le(b, static_cast<std::uint32_t>(w));
  Put32le(b, static_cast<std::uint32_t>(h));
  b.resize(128, 0xAA);
  for (auto p : pixels) Put16le(b, p);
  return b;
}

TEST(B16, ThreeDigitSizesGiveAnAlignedHeaderThatAstropyReads) {
  PIX_REQUIRE_TOOL("fitsverify");
  Scratch s;
  const int w = 640, h = 480;
  std::vector<std::uint16_t> pixels(std::size_t(w) * h);
  for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<std::uint16_t>(i * 37 % 4096);
  pixtest::WriteFile(s.path("a.b16"), B16File(w, h, pixels));
  ASSERT_EQ(pix::B16ToFits({s.path("a.b16").c_str(), s.path("a.fts").c_str()}), 1);
  Bytes out = pixtest::ReadFile(s.path("a.fts"));
  ASSERT_EQ(out.size(), 2880 + pixels.size() * 2) << "the data are not padded";
  auto cards = scitest::Cards(out);
  ASSERT_EQ(cards.size(), 9u);
  EXPECT_EQ(cards[3], Card("NAXIS1  =                  640"));
  EXPECT_EQ(cards[4], Card("NAXIS2  =                  480"));
  EXPECT_EQ(cards[7], Card("ORIGIN  = 'Version: B/W                '"));
  auto got = scitest::AstropyRead(s.path("a.fts"));
  ASSERT_TRUE(got.ok) << got.error;
  for (std::size_t i = 0; i < pixels.size(); ++i) ASSERT_EQ(got.values[i], pixels[i]) << i;
  // The one complaint: the data end without filling their last record.
  auto errors = scitest::FitsVerifyErrors(s.path("a.fts"));
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_NE(errors[0].find("checking data fill"), std::string::npos) << errors[0];

  unsigned char* block = nullptr;
  int n = pix::B16ToFits({s.path("a.b16").c_str(), nullptr, 0, 0, &block});
  EXPECT_EQ(pixtest::TakeBlock(block, n), out);
}

TEST(B16, OtherDigitCountsShiftTheLaterCards) {
  PIX_REQUIRE_TOOL("fitsverify");
  Scratch s;
  pixtest::WriteFile(s.path("a.b16"), B16File(1280, 1024, {0x1234, 0xABCD}));
  ASSERT_EQ(pix::B16ToFits({s.path("a.b16").c_str(), s.path("a.fts").c_str()}), 1);
  Bytes out = pixtest::ReadFile(s.path("a.fts"));
  ASSERT_EQ(out.size(), 2880u + 4);
  std::string head(out.begin(), out.begin() + 2880);
  EXPECT_EQ(head.substr(240, 31), "NAXIS1  =                  1280");
  EXPECT_EQ(head.substr(321, 31), "NAXIS2  =                  1024") << "one column late";
  EXPECT_EQ(head.substr(402, 10), "ORIGIN  = ") << "two columns late";
  EXPECT_EQ(head.substr(402 + 240, 3), "END");
  EXPECT_EQ(head.find_first_not_of(' ', 645), std::string::npos);
  EXPECT_EQ(Bytes(out.begin() + 2880, out.end()), (Bytes{0x12, 0x34, 0xAB, 0xCD}));
  // fitsverify no longer finds NAXIS2 where it belongs.
  auto errors = scitest::FitsVerifyErrors(s.path("a.fts"));
  ASSERT_FALSE(errors.empty());
  EXPECT_NE(errors[0].find("Expected positive integer keyword NAXIS2"), std::string::npos) << errors[0];
}

Bytes PicFile(int w, int h, const Bytes& pixels) {
  Bytes b(290, 0);
  b[0] = 0xFC;
  b[1] = 0x31;
  b[68] = static_cast<std::uint8_t>(w);
  b[69] = static_cast<std::uint8_t>(w >> 8);
  b[70] = static_cast<std::uint8_t>(h);
  b[71] = static_cast<std::uint8_t>(h >> 8);
  b[289] = 0x01;
  scitest::Append(b, pixels);
  return b;
}

TEST(Pic, ShortHeaderAndTheOneByteOverlap) {
  Scratch s;
  Bytes pixels;
  for (int i = 0; i < 12; ++i) pixels.push_back(static_cast<std::uint8_t>(0x20 + i));
  pixtest::WriteFile(s.path("a.pic"), PicFile(3, 2, pixels));
  ASSERT_EQ(pix::PicToFits({s.path("a.pic").c_str(), s.path("a.fts").c_str()}), 1);
  Bytes out = pixtest::ReadFile(s.path("a.fts"));
  ASSERT_EQ(out.size(), 2880u + 13);
  auto cards = scitest::Cards(out);
  const std::vector<std::string> want = {
      Card("SIMPLE  =                    T"), Card("BITPIX  =                    16"),
      Card("NAXIS   =                    2"), Card("NAXIS1  =                    3"),
      Card("NAXIS2  =                    2"), Card(""),
      Card(""),                              Card("HISTORY Created by Pixamorph"),
      Card("END")};
  EXPECT_EQ(cards, want);
  EXPECT_EQ(out[2880], 0x01) << "data start at offset 289";

  // astropy reads the words from offset 289: each one byte early.
  auto got = scitest::AstropyRead(s.path("a.fts"));
  ASSERT_TRUE(got.ok) << got.error;
  std::vector<long> expect = {0x0120, 0x2122, 0x2324, 0x2526, 0x2728, 0x292A};
  EXPECT_EQ(got.values, expect);

  // Memory mode returns the same bytes, and is what the preview of a FC 31 file gives.
  unsigned char* block = nullptr;
  int n = pix::PicToFits({s.path("a.pic").c_str(), nullptr, 0, 0, &block});
  EXPECT_EQ(pixtest::TakeBlock(block, n), out);
  block = nullptr;
  n = seeMISC(s.path("a.pic").c_str(), &block);
  EXPECT_EQ(pixtest::TakeBlock(block, n), out);
}

TEST(Wrappers, RoutesReachThem) {
  Scratch s;
  pixtest::WriteFile(s.path("a.pic"), PicFile(1, 1, {1, 2}));
  EXPECT_EQ(pixMISC(s.path("a.pic").c_str(), s.path("o1.fts").c_str()), 1);
  pixtest::WriteFile(s.path("a.b16"), B16File(1, 1, {7}));
  EXPECT_EQ(pixMISC(s.path("a.b16").c_str(), s.path("o2.fts").c_str()), 1);
  EXPECT_EQ(pixMISC(s.path("none.b16").c_str(), s.path("o3.fts").c_str()), 0);
  EXPECT_EQ(pixMISC(s.path("none.pic").c_str(), s.path("o4.fts").c_str()), 0);
}

}  // namespace
