// Rice-compressed FITS: samples/gen_science.py encodes known pixels (zigzag
// differences, unary quotient, KK low bits, escapes to 16 verbatim bits, bit
// streams written by hand) and the samples table holds our output to the exact
// bytes it computes. Here: astropy and fitsverify read what we write, memory
// mode gives the same bytes, and the refusals say why.
#include "helpers.h"
#include "science/science.h"

namespace {

using pixtest::Bytes;
using scitest::Sample;

TEST(Ftz, AstropyAndFitsverifyReadOurOutputAndMemoryModeMatches) {
  PIX_REQUIRE_TOOL("fitsverify");
  pixtest::Scratch s;
  for (int i = 0; i < 6; ++i) {
    const std::string name = "science_rice" + std::to_string(i);
    SCOPED_TRACE(name);
    const Bytes want = pixtest::ReadFile(Sample("ref/" + name + ".fts"));
    ASSERT_EQ(pix::FtzToFits({Sample(name + ".ftz").c_str(), s.path("a.fts").c_str()}), 1);
    ASSERT_EQ(pixtest::ReadFile(s.path("a.fts")), want);
    unsigned char* block = nullptr;
    int n = pix::FtzToFits({Sample(name + ".ftz").c_str(), "", 0, 0, &block});
    EXPECT_EQ(pixtest::TakeBlock(block, n), want);

    // astropy takes the words as big-endian: it sees every pixel byte-swapped.
    auto got = scitest::AstropyRead(s.path("a.fts"));
    ASSERT_TRUE(got.ok) << got.error;
    auto cards = scitest::Cards(want);
    EXPECT_EQ(got.width, std::stoi(cards[3].substr(10, 20)));
    EXPECT_EQ(got.height, std::stoi(cards[4].substr(10, 20)));
    ASSERT_GE(want.size(), 2880 + got.values.size() * 2);
    for (std::size_t k = 0; k < got.values.size(); ++k)
      ASSERT_EQ(got.values[k], static_cast<std::int16_t>(want[2880 + 2 * k] << 8 | want[2881 + 2 * k])) << "pixel " << k;
    // The last ends on a record boundary: the whole zero record after it is extra to fitsverify.
    auto errors = scitest::FitsVerifyErrors(s.path("a.fts"));
    EXPECT_EQ(errors.size(), i == 5 ? 1u : 0u) << errors[0];
  }
}

TEST(Ftz, RefusedAndBrokenSources) {
  const struct {
    const char *sample, *message;
  } cases[] = {
      {"science_ftz_simple.ftz", ""},  // SIMPLE = T is not a compressed file
      {"science_ftz_hcomp.ftz", ""},   // not rice
      {"science_ftz_noend.ftz", "FITS header has no END card!?\n"},
      {"science_ftz_cut.ftz", "read_compressed_data: error reading value for pixel ("},  // the bit stream ends early
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sample);
    testing::internal::CaptureStderr();
    unsigned char* block = nullptr;
    EXPECT_EQ(pix::FtzToFits({Sample(c.sample).c_str(), nullptr, 0, 0, &block}), 0);
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(err.rfind(c.message, 0), 0u) << err;
  }
  pixtest::Scratch s;
  EXPECT_EQ(pix::FtzToFits({s.path("missing.ftz").c_str(), s.path("x.fts").c_str()}), 0);
}

}  // namespace
