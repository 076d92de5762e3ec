// Height fields between ".mat", ".gif" and ".pot": GIF sources are made with
// PIL, our GIFs are read back with giftopnm (colours) and PIL (indices).
#include <cmath>
#include <cstring>
#include <sstream>

#include "helpers.h"
#include "pixmisc.h"
#include "science/science.h"

namespace {

using pixtest::Bytes;
using pixtest::Scratch;
using scitest::Put32le;

// A palette GIF with the given indices, written by PIL.
void MakeGif(const std::string& path, int w, int h, const std::vector<int>& indices) {
  std::string list;
  for (int v : indices) list += std::to_string(v) + ",";
  std::string script = "from PIL import Image\n"
                       "im = Image.new('P', (" + std::to_string(w) + ", " + std::to_string(h) + "))\n"
                       "im.putpalette([i // 3 for i in range(768)])\n"
                       "im.putdata([" + list + "])\n"
                       "im.save(" + pixtest::Quote(path) + ", format='GIF', optimize=False)\n";
  auto r = pixtest::Run(std::string(pixtest::kPython) + " -c " + pixtest::Quote(script));
  ASSERT_EQ(r.status, 0) << r.err;
}

std::vector<int> GifIndices(const std::string& path, int& w, int& h) {
  std::string script = "import sys\nfrom PIL import Image\nim = Image.open(sys.argv[1])\n"
                       "print(im.size[0], im.size[1])\nprint(' '.join(str(v) for v in im.getdata()))\n";
  auto r = pixtest::Run(std::string(pixtest::kPython) + " -c " + pixtest::Quote(script) + " " + pixtest::Quote(path));
  std::istringstream in(r.out);
  in >> w >> h;
  std::vector<int> v;
  int x;
  while (in >> x) v.push_back(x);
  return v;
}

Bytes Matlab(std::int32_t type, std::uint32_t rows, std::uint32_t cols, const std::vector<double>& columnMajor,
             const char* name = "topo") {
  Bytes b;
  Put32le(b, static_cast<std::uint32_t>(type));
  Put32le(b, rows);
  Put32le(b, cols);
  Put32le(b, 0);
  Put32le(b, static_cast<std::uint32_t>(std::strlen(name) + 1));
  for (const char* p = name; *p; ++p) b.push_back(static_cast<std::uint8_t>(*p));
  b.push_back(0);
  for (double v : columnMajor) {
    if ((type / 10) % 10 == 1) {
      float f = static_cast<float>(v);
      std::uint32_t bits;
      std::memcpy(&bits, &f, 4);
      Put32le(b, bits);
    } else {
      std::uint64_t bits;
      std::memcpy(&bits, &v, 8);
      Put32le(b, static_cast<std::uint32_t>(bits));
      Put32le(b, static_cast<std::uint32_t>(bits >> 32));
    }
  }
  return b;
}

std::vector<float> MatlabValues(const Bytes& m, std::size_t count) {
  std::vector<float> v;
  for (std::size_t i = 0; i < count; ++i) {
    float f;
    std::memcpy(&f, m.data() + 25 + 4 * i, 4);
    v.push_back(f);
  }
  return v;
}

int Convert(const std::string& src, const std::string& dst) { return pix::HeightField({src.c_str(), dst.c_str()}); }

TEST(HeightField, GifToMatlabInColumnOrder) {
  Scratch s;
  MakeGif(s.path("a.gif"), 3, 2, {0, 1, 2, 128, 254, 255});
  testing::internal::CaptureStdout();
  ASSERT_EQ(pixMISC(s.path("a.gif").c_str(), s.path("a.mat").c_str()), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Input file had range 0.00000e+00 .. 1.00000e+00\n");
  Bytes m = pixtest::ReadFile(s.path("a.mat"));
  ASSERT_EQ(m.size(), 25u + 6 * 4);
  Bytes head;
  for (std::uint32_t v : {10u, 2u, 3u, 0u, 5u}) Put32le(head, v);
  EXPECT_EQ(Bytes(m.begin(), m.begin() + 20), head);
  EXPECT_EQ(std::string(m.begin() + 20, m.begin() + 25), std::string("topo\0", 5));
  std::vector<float> want;
  for (int idx : {0, 128, 1, 254, 2, 255}) want.push_back(static_cast<float>(idx * 0.003921569));
  EXPECT_EQ(MatlabValues(m, 6), want);
}

TEST(HeightField, MatlabToGifReadByGiftopnm) {
  PIX_REQUIRE_TOOL("giftopnm");
  Scratch s;
  // 2 rows x 4 columns, column by column; 2.0 wraps to 254, -0.5 to 129.
  std::vector<double> cols = {0.0, 0.5, 0.25, 1.0 / 255, 0.75, 2.0, -0.5, 0.999};
  std::vector<int> want = {0, 63, 191, 129, 127, 0 /* 1/255 */, 254, 254};
  want[5] = static_cast<int>(static_cast<float>(1.0 / 255) * 255);
  for (int type : {10, 0}) {
    SCOPED_TRACE(type);
    pixtest::WriteFile(s.path("a.mat"), Matlab(type, 2, 4, cols));
    testing::internal::CaptureStdout();
    ASSERT_EQ(Convert(s.path("a.mat"), s.path("a.gif")), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Input file had range -5.00000e-01 .. 2.00000e+00\n");
    auto r = pixtest::Run("giftopnm " + pixtest::Quote(s.path("a.gif")));
    pixtest::Pnm pnm;
    ASSERT_TRUE(pixtest::ParsePnm(pixtest::ToBytes(r.out), pnm));
    ASSERT_EQ(pnm.width, 4);
    ASSERT_EQ(pnm.height, 2);
    ASSERT_EQ(pnm.channels, 3);
    for (std::size_t i = 0; i < want.size(); ++i) {
      int k = want[i];
      EXPECT_EQ(pnm.samples[3 * i], std::max(k - 2, 0)) << i;
      EXPECT_EQ(pnm.samples[3 * i + 1], k) << i;
      EXPECT_EQ(pnm.samples[3 * i + 2], std::max(k - 3, 0)) << i;
    }
  }
}

TEST(HeightField, GifIndicesSurviveTheTripThroughMatlab) {
  Scratch s;
  std::vector<int> idx(256);
  for (int i = 0; i < 256; ++i) idx[static_cast<std::size_t>(i)] = i;
  MakeGif(s.path("a.gif"), 16, 16, idx);
  ASSERT_EQ(Convert(s.path("a.gif"), s.path("a.mat")), 1);
  ASSERT_EQ(Convert(s.path("a.mat"), s.path("b.gif")), 1);
  int w = 0, h = 0;
  EXPECT_EQ(GifIndices(s.path("b.gif"), w, h), idx);
  // Index 255 was never given a colour: it is black.
  auto r = pixtest::Run("giftopnm " + pixtest::Quote(s.path("b.gif")));
  pixtest::Pnm pnm;
  ASSERT_TRUE(pixtest::ParsePnm(pixtest::ToBytes(r.out), pnm));
  EXPECT_EQ(Bytes(pnm.samples.end() - 3, pnm.samples.end()), (Bytes{0, 0, 0}));
}

TEST(HeightField, PotFieldsAndTheirAsymmetry) {
  Scratch s;
  // Left half high bytes, right half low bytes: (0x80, 0x00) is 0.5.
  MakeGif(s.path("a.pot"), 4, 1, {0x80, 0x40, 0x00, 0xFF});
  ASSERT_EQ(Convert(s.path("a.pot"), s.path("a.mat")), 1);
  Bytes m = pixtest::ReadFile(s.path("a.mat"));
  ASSERT_EQ(m.size(), 25u + 8);
  auto v = MatlabValues(m, 2);
  EXPECT_EQ(v[0], 0.5f);
  EXPECT_EQ(v[1], static_cast<float>(0x40 * 0.00390625 + 0xFF * 1.5258789e-05));
  ASSERT_EQ(pixMISC(s.path("a.pot").c_str(), s.path("p.gif").c_str()), 1);
  int w = 0, h = 0;
  EXPECT_EQ(GifIndices(s.path("p.gif"), w, h), (std::vector<int>{127, 64}));

  // 0.5 written as a pot field gives (0x7F, 0xFF), not (0x80, 0x00).
  pixtest::WriteFile(s.path("half.mat"), Matlab(10, 1, 2, {0.5, 1.0}));
  ASSERT_EQ(Convert(s.path("half.mat"), s.path("half.pot")), 1);
  EXPECT_EQ(GifIndices(s.path("half.pot"), w, h), (std::vector<int>{0x7F, 0xFF, 0xFF, 0xFF}));
  EXPECT_EQ(w, 4);

  // A grey GIF to a pot field through the route.
  MakeGif(s.path("g.gif"), 2, 1, {255, 51});
  ASSERT_EQ(pixMISC(s.path("g.gif").c_str(), s.path("g.pot").c_str()), 1);
  EXPECT_EQ(GifIndices(s.path("g.pot"), w, h), (std::vector<int>{0xFF, 0x33, 0xFF, 0x33}));

  MakeGif(s.path("odd.pot"), 3, 1, {1, 2, 3});
  EXPECT_EQ(Convert(s.path("odd.pot"), s.path("odd.gif")), 0);
  EXPECT_FALSE(pixtest::fs::exists(s.path("odd.gif")));
}

TEST(HeightField, SourcesAreRecognisedByContent) {
  Scratch s;
  MakeGif(s.path("really_a_gif.mat"), 2, 1, {10, 20});
  ASSERT_EQ(Convert(s.path("really_a_gif.mat"), s.path("a.gif")), 1);
  int w = 0, h = 0;
  EXPECT_EQ(GifIndices(s.path("a.gif"), w, h), (std::vector<int>{10, 20}));

  pixtest::WriteFile(s.path("grey.mat"), std::string("P2\n# c\n2 1\n10\n5 10\n"));
  testing::internal::CaptureStdout();
  ASSERT_EQ(Convert(s.path("grey.mat"), s.path("b.gif")), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "2 elements read.\nInput file had range 5.00000e-01 .. 1.00000e+00\n");
  EXPECT_EQ(GifIndices(s.path("b.gif"), w, h), (std::vector<int>{127, 255}));

  // A field too large to hold is reported with its byte count.
  pixtest::WriteFile(s.path("wide.mat"), std::string("P5\n40000 1\n255\n\x01"));
  testing::internal::CaptureStderr();
  EXPECT_EQ(Convert(s.path("wide.mat"), s.path("c.gif")), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Could not allocate memory for heightfield (160000 bytes)");
  EXPECT_FALSE(pixtest::fs::exists(s.path("c.gif")));
}

struct MatFailure {
  const char* name;
  Bytes file;
  const char* message;
};

TEST(HeightField, RefusedMatlabFiles) {
  Bytes shortData = Matlab(10, 2, 2, {1, 2, 3});
  const MatFailure cases[] = {
      {"short header", Bytes(12, 0), "Problem reading matlab file header.\n"},
      {"big-endian", Matlab(1010, 1, 1, {1}), ""},
      {"sparse", Matlab(12, 1, 1, {1}), ""},
      {"integers", Matlab(20, 1, 1, {1}), ""},
      {"short data", shortData, ""},
      {"empty matrix", Matlab(10, 0, 3, {}), ""},
  };
  Scratch s;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    pixtest::WriteFile(s.path("a.mat"), c.file);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Convert(s.path("a.mat"), s.path("a.gif")), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.message);
    EXPECT_FALSE(pixtest::fs::exists(s.path("a.gif")));
  }
  EXPECT_EQ(Convert(s.path("missing.mat"), s.path("a.gif")), 0);
  EXPECT_EQ(Convert(s.path("missing.pot"), s.path("a.gif")), 0);
}

}  // namespace
