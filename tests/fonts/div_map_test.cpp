// DIV MAP pictures: the pixels of samples/sky.map, rings.map and fonts_*.map
// are checked by the samples table; here the alpha of 16-bit pictures, the
// summary line and the calls that cannot convert.
#include <string>

#include "formats/formats.h"
#include "support.h"

namespace {

std::string Sample(const std::string& name) { return std::string(pixtest::kSourceDir) + "/samples/" + name; }

TEST(DivMap, SixteenBitAlphaAndTheSummaryLine) {
  PIX_REQUIRE_TOOL("pngtopnm");
  pixtest::Scratch s;
  // 16-bit pixels of 0 are transparent, all others opaque.
  const std::string rings = Sample("rings.map"), png = s.path("rings.png");
  pix::ConvertCall call;
  call.source = rings.c_str();
  call.target = png.c_str();
  testing::internal::CaptureStdout();
  ASSERT_EQ(pix::DivMapToPng(call), 1);
  testing::internal::GetCapturedStdout();
  auto r = pixtest::Run("pngtopnm -alpha " + pixtest::Quote(png));
  ASSERT_EQ(r.status, 0) << r.err;
  pixtest::Pnm got, want;
  ASSERT_TRUE(pixtest::ParsePnm(pixtest::ToBytes(r.out), got));
  ASSERT_TRUE(pixtest::ParsePnm(pixtest::ReadFile(Sample("ref/fonts_rings_alpha.pgm")), want));
  EXPECT_EQ(got.width, want.width);
  EXPECT_EQ(got.samples, want.samples);

  // The summary line, without a line end.
  const std::string sky = Sample("sky.map"), out = s.path("sky.png");
  call.source = sky.c_str();
  call.target = out.c_str();
  testing::internal::CaptureStdout();
  EXPECT_EQ(pix::DivMapToPng(call), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), sky + ": \"Sample sky\" 64x48 pixels (8 bits)");

  // No target, no source, a picture 8193 wide (with all its pixels): nothing.
  call.target = nullptr;
  EXPECT_EQ(pix::DivMapToPng(call), 0);
  const std::string absent = s.path("absent.map"), wide = Sample("fonts_wide.map"), none = s.path("wide.png");
  call.target = none.c_str();
  for (const std::string* src : {&absent, &wide}) {
    call.source = src->c_str();
    EXPECT_EQ(pix::DivMapToPng(call), 0);
    EXPECT_FALSE(std::filesystem::exists(none));
  }
}

}  // namespace
