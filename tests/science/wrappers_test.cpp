// The three wrappers that make FITS files from near-FITS sources: ".ibg" with
// its ".hdr", SensiCam ".b16" and ".pic" camera frames. The samples table holds
// the ".ibg" and ".pic" results to their bytes; here the side-file lookup, the
// header quirks, astropy's and fitsverify's view, and memory mode.
#include <filesystem>

#include "helpers.h"
#include "pixmisc.h"
#include "science/science.h"

namespace {

using pixtest::Bytes;
using pixtest::Scratch;
using scitest::Sample;

std::string Card(const std::string& s) {
  std::string c = s;
  c.resize(80, ' ');
  return c;
}

TEST(Ibg, FindsItsHeaderBesideItOrInTheWorkingDirectory) {
  Scratch s;
  for (const char* ext : {".ibg", ".hdr"}) pixtest::fs::copy_file(Sample(std::string("sample") + ext), s.path(std::string("pic") + ext));
  const Bytes want = pixtest::ReadFile(Sample("ref/science_ibg.fts"));
  // A doubled separator in the source path still finds the ".hdr".
  std::string src = s.dir().string() + "//pic.ibg";
  ASSERT_EQ(pix::IbgToFits({src.c_str(), s.path("out.fts").c_str()}), 1);
  EXPECT_EQ(pixtest::ReadFile(s.path("out.fts")), want);
  auto got = scitest::AstropyRead(s.path("out.fts"));
  ASSERT_TRUE(got.ok) << got.error;
  EXPECT_EQ(got.width * got.height, 64 * 48);
  for (std::size_t i = 0; i < got.values.size(); ++i)
    ASSERT_EQ(got.values[i], static_cast<std::int16_t>(want[2880 + 2 * i] << 8 | want[2881 + 2 * i])) << i;

  unsigned char* block = nullptr;
  int n = pix::IbgToFits({src.c_str(), nullptr, 0, 0, &block});
  EXPECT_EQ(pixtest::TakeBlock(block, n), want);

  // A bare file name finds its ".hdr" in the working directory.
  auto r = pixtest::Run("cd " + pixtest::Quote(s.dir().string()) + " && " + pixtest::kCli + " convert pic.ibg rel.fts");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(pixtest::ReadFile(s.path("rel.fts")), want);

  // No header: said so, nothing written. Header without data: the target is deleted again.
  pixtest::fs::rename(s.path("pic.hdr"), s.path("gone.hdr"));
  testing::internal::CaptureStderr();
  EXPECT_EQ(pix::IbgToFits({s.path("pic.ibg").c_str(), s.path("a.fts").c_str()}), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Pixamorph: Could not find the HDR file, aborting...\n");
  EXPECT_EQ(pix::IbgToFits({s.path("gone.ibg").c_str(), s.path("b.fts").c_str()}), 0);
  EXPECT_FALSE(pixtest::fs::exists(s.path("a.fts")));
  EXPECT_FALSE(pixtest::fs::exists(s.path("b.fts")));
}

TEST(B16, ThreeDigitSizesGiveAnAlignedHeaderThatAstropyReads) {
  PIX_REQUIRE_TOOL("fitsverify");
  Scratch s;
  ASSERT_EQ(pixMISC(Sample("sample.b16").c_str(), s.path("a.fts").c_str()), 1);
  const Bytes src = pixtest::ReadFile(Sample("sample.b16")), out = pixtest::ReadFile(s.path("a.fts"));
  ASSERT_EQ(out.size(), 2880 + src.size() - 128) << "the data are not padded";
  auto cards = scitest::Cards(out);
  ASSERT_EQ(cards.size(), 9u);
  EXPECT_EQ(cards[3], Card("NAXIS1  =                  128"));
  EXPECT_EQ(cards[4], Card("NAXIS2  =                  100"));
  EXPECT_EQ(cards[7], Card("ORIGIN  = 'Version: B/W                '"));
  auto got = scitest::AstropyRead(s.path("a.fts"));
  ASSERT_TRUE(got.ok) << got.error;
  ASSERT_EQ(got.values.size(), 128u * 100);
  for (std::size_t i = 0; i < got.values.size(); ++i) ASSERT_EQ(got.values[i], src[128 + 2 * i] | src[129 + 2 * i] << 8) << i;
  // The one complaint: the data end without filling their last record.
  auto errors = scitest::FitsVerifyErrors(s.path("a.fts"));
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_NE(errors[0].find("checking data fill"), std::string::npos) << errors[0];

  unsigned char* block = nullptr;
  int n = pix::B16ToFits({Sample("sample.b16").c_str(), nullptr, 0, 0, &block});
  EXPECT_EQ(pixtest::TakeBlock(block, n), out);
}

TEST(B16, OtherDigitCountsShiftTheLaterCards) {
  PIX_REQUIRE_TOOL("fitsverify");
  Scratch s;
  ASSERT_EQ(pixMISC(Sample("science_b16wide.b16").c_str(), s.path("a.fts").c_str()), 1);  // 1280 x 1024, two pixels
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

TEST(Pic, AstropyReadsTheWordsOneByteEarlyAndMemoryModeMatches) {
  Scratch s;
  const std::string src = Sample("science_pic.pic");  // 3 x 2, the bytes 20..2B after the header's last byte 01
  const Bytes want = pixtest::ReadFile(Sample("ref/science_pic_pic.fts"));
  ASSERT_EQ(pix::PicToFits({src.c_str(), s.path("a.fts").c_str()}), 1);
  EXPECT_EQ(pixtest::ReadFile(s.path("a.fts")), want);
  auto got = scitest::AstropyRead(s.path("a.fts"));
  ASSERT_TRUE(got.ok) << got.error;
  EXPECT_EQ(got.values, (std::vector<long>{0x0120, 0x2122, 0x2324, 0x2526, 0x2728, 0x292A}));

  // Memory mode returns the same bytes, and is what the preview of a FC 31 file gives.
  unsigned char* block = nullptr;
  int n = pix::PicToFits({src.c_str(), nullptr, 0, 0, &block});
  EXPECT_EQ(pixtest::TakeBlock(block, n), want);
  block = nullptr;
  n = seeMISC(src.c_str(), &block);
  EXPECT_EQ(pixtest::TakeBlock(block, n), want);

  for (const char* missing : {"none.b16", "none.pic"}) EXPECT_EQ(pixMISC(s.path(missing).c_str(), s.path("o.fts").c_str()), 0);
}

}  // namespace
