// Rice-compressed FITS: sources are encoded here from known pixels (zigzag
// differences, unary quotient, KK low bits, escapes to 16 verbatim bits) and
// must decode to them; astropy and fitsverify read what we write.
#include <cstring>

#include "helpers.h"
#include "science/science.h"

namespace {

using pixtest::Bytes;
using pixtest::Scratch;

class BitWriter {
 public:
  void bit(int v) {
    if (n_ % 8 == 0) bytes.push_back(0);
    if (v) bytes.back() |= static_cast<std::uint8_t>(0x80 >> (n_ % 8));
    ++n_;
  }
  void bits(std::uint32_t v, int n) {
    for (int i = n - 1; i >= 0; --i) bit((v >> i) & 1);
  }
  void text(const char* s) {
    for (; *s; ++s) bit(*s == '1');
  }
  Bytes bytes;

 private:
  int n_ = 0;
};

Bytes RiceEncode(const std::vector<std::uint16_t>& pixels, int kk, int eee) {
  BitWriter w;
  std::uint16_t prev = 0;
  for (std::uint16_t p : pixels) {
    int d = static_cast<std::int16_t>(static_cast<std::uint16_t>(p - prev));
    std::uint32_t v = d >= 0 ? 2u * static_cast<std::uint32_t>(d) : static_cast<std::uint32_t>(-2 * d - 1);
    std::uint32_t q = v >> kk;
    if (q >= static_cast<std::uint32_t>(eee + 1)) {
      for (int i = 0; i <= eee; ++i) w.bit(0);
      w.bit(1);
      w.bits(p, 16);
    } else {
      for (std::uint32_t i = 0; i < q; ++i) w.bit(0);
      w.bit(1);
      w.bits(v & ((1u << kk) - 1), kk);
    }
    prev = p;
  }
  return w.bytes;
}

std::string Card(const std::string& s) {
  std::string c = s;
  c.resize(80, ' ');
  return c;
}

std::string Fixed(int v) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%20d", v);
  return buf;
}

Bytes FtzFile(int w, int h, const char* compress, const Bytes& stream, const char* simple = "F") {
  std::string head = Card(std::string("SIMPLE  =                    ") + simple) + Card("BITPIX  =                   16") +
                     Card("NAXIS   =                    2") + Card("NAXIS1  = " + Fixed(w)) +
                     Card("NAXIS2  = " + Fixed(h)) + Card(std::string("COMPRESS= ") + compress) + Card("END");
  head.resize(2880, ' ');
  Bytes b(2880 + stream.size(), 0);
  std::memcpy(b.data(), head.data(), 2880);
  if (!stream.empty()) std::memcpy(b.data() + 2880, stream.data(), stream.size());
  return b;
}

std::vector<std::uint16_t> Pixels(int w, int h, unsigned seed) {
  std::vector<std::uint16_t> p;
  unsigned s = seed;
  std::uint16_t v = 30000;
  for (int i = 0; i < w * h; ++i) {
    s = s * 1103515245u + 12345u;
    int step = static_cast<int>((s >> 16) % 41) - 20;
    if ((s >> 8) % 29 == 0) step = static_cast<int>((s >> 4) % 65536);  // a jump that needs an escape
    v = static_cast<std::uint16_t>(v + step);
    p.push_back(v);
  }
  return p;
}

struct RiceCase {
  const char* compress;
  int kk, eee, w, h;
};

TEST(Ftz, EncodedPixelsDecodeAndAstropyReadsThem) {
  const RiceCase cases[] = {
      {"'rice_02_016'", 2, 16, 17, 9},
      {"'rice_00_008'", 0, 8, 5, 4},
      {"'rice_04_002'", 4, 2, 31, 3},
      {"'rice_16_000'", 16, 0, 3, 3},
      {"'rice_03_100'", 3, 100, 64, 40},
  };
  PIX_REQUIRE_TOOL("fitsverify");
  Scratch s;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.compress);
    auto pixels = Pixels(c.w, c.h, static_cast<unsigned>(c.w * 7 + c.kk));
    pixtest::WriteFile(s.path("a.ftz"), FtzFile(c.w, c.h, c.compress, RiceEncode(pixels, c.kk, c.eee)));
    ASSERT_EQ(pix::FtzToFits({s.path("a.ftz").c_str(), s.path("a.fts").c_str()}), 1);
    Bytes out = pixtest::ReadFile(s.path("a.fts"));
    ASSERT_EQ(out.size() % 2880, 0u);
    ASSERT_GE(out.size(), 2880 + pixels.size() * 2);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      ASSERT_EQ(out[2880 + 2 * i], pixels[i] & 0xFF) << "pixel " << i << ", low byte first";
      ASSERT_EQ(out[2880 + 2 * i + 1], pixels[i] >> 8) << "pixel " << i;
    }
    auto cards = scitest::Cards(out);
    EXPECT_EQ(cards[0], Card("SIMPLE  =                    T"));
    EXPECT_EQ(cards[5], Card("COMPRESS= 'none'"));

    // astropy takes the words as big-endian: it sees every pixel byte-swapped.
    auto got = scitest::AstropyRead(s.path("a.fts"));
    ASSERT_TRUE(got.ok) << got.error;
    ASSERT_EQ(got.width, c.w);
    ASSERT_EQ(got.height, c.h);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      auto swapped = static_cast<std::int16_t>(static_cast<std::uint16_t>(pixels[i] >> 8 | pixels[i] << 8));
      ASSERT_EQ(got.values[i], swapped) << "pixel " << i;
    }
    auto errors = scitest::FitsVerifyErrors(s.path("a.fts"));
    EXPECT_TRUE(errors.empty()) << errors[0];

    unsigned char* block = nullptr;
    int n = pix::FtzToFits({s.path("a.ftz").c_str(), "", 0, 0, &block});
    EXPECT_EQ(pixtest::TakeBlock(block, n), out);
  }
}

struct BitsCase {
  const char* name;
  const char* compress;
  const char* bits;
  std::vector<std::uint16_t> pixels;
};

TEST(Ftz, BitLevelCases) {
  const BitsCase cases[] = {
      {"q=2 r=2 is +5, q=0 r=1 is -1", "'rice_02_016'", "00110" "101", {5, 4}},
      {"escape takes 16 bits, the next difference is from them", "'rice_02_001'", "001" "0001001000110100" "100" "101",
       {0x1234, 0x1234, 0x1233}},
      {"KK = 0 reads no low bits", "'rice_00_016'", "0001" "1" "01", {0xFFFE, 0xFFFE, 0xFFFD}},
      {"previous value carries from one row to the next", "'rice_01_016'", "0000010" "000011", {5, 0}},
  };
  Scratch s;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    BitWriter w;
    w.text(c.bits);
    int cols = c.pixels.size() == 2 && std::string(c.name).find("row") != std::string::npos ? 1 : static_cast<int>(c.pixels.size());
    int rows = static_cast<int>(c.pixels.size()) / cols;
    pixtest::WriteFile(s.path("a.ftz"), FtzFile(cols, rows, c.compress, w.bytes));
    ASSERT_EQ(pix::FtzToFits({s.path("a.ftz").c_str(), s.path("a.fts").c_str()}), 1);
    Bytes out = pixtest::ReadFile(s.path("a.fts"));
    for (std::size_t i = 0; i < c.pixels.size(); ++i)
      EXPECT_EQ(out[2880 + 2 * i] | out[2880 + 2 * i + 1] << 8, c.pixels[i]) << "pixel " << i;
  }
}

TEST(Ftz, OutputOnARecordBoundaryGetsAWholeRecordMore) {
  Scratch s;
  auto pixels = Pixels(40, 36, 3);  // 2880 bytes of pixels
  pixtest::WriteFile(s.path("a.ftz"), FtzFile(40, 36, "'rice_03_016'", RiceEncode(pixels, 3, 16)));
  ASSERT_EQ(pix::FtzToFits({s.path("a.ftz").c_str(), s.path("a.fts").c_str()}), 1);
  Bytes out = pixtest::ReadFile(s.path("a.fts"));
  ASSERT_EQ(out.size(), 3u * 2880);
  for (std::size_t i = 2 * 2880; i < out.size(); ++i) ASSERT_EQ(out[i], 0);
}

struct FtzFailure {
  const char* name;
  Bytes file;
  const char* message;
};

TEST(Ftz, RefusedAndBrokenSources) {
  auto stream = RiceEncode(Pixels(6, 4, 9), 2, 16);
  Bytes cut(stream.begin(), stream.begin() + 4);
  std::string noEnd(2880 * 2, ' ');
  std::memcpy(noEnd.data(), "SIMPLE  =                    F", 30);
  const FtzFailure cases[] = {
      {"SIMPLE = T is not a compressed file", FtzFile(6, 4, "'rice_02_016'", stream, "T"), ""},
      {"not rice", FtzFile(6, 4, "'hcomp_02_016'", stream), ""},
      {"no END card", pixtest::ToBytes(noEnd), "FITS header has no END card!?\n"},
      {"bit stream ends early", FtzFile(6, 4, "'rice_02_016'", cut), "read_compressed_data: error reading value for pixel ("},
  };
  Scratch s;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    pixtest::WriteFile(s.path("a.ftz"), c.file);
    testing::internal::CaptureStderr();
    unsigned char* block = nullptr;
    EXPECT_EQ(pix::FtzToFits({s.path("a.ftz").c_str(), nullptr, 0, 0, &block}), 0);
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(err.rfind(c.message, 0), 0u) << err;
  }
  EXPECT_EQ(pix::FtzToFits({s.path("missing.ftz").c_str(), s.path("x.fts").c_str()}), 0);
}

}  // namespace
