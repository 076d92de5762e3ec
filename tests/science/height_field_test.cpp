// Height fields between ".mat", ".gif" and ".pot". The samples table holds the
// matrices made from GIF and pot sources to their bytes and the colours of the
// GIFs made from matrices (giftopnm); here the reports and the palette indices
// of our GIFs and pot fields (read with PIL), and the refusals.
#include <sstream>

#include "entry/routes.h"
#include "helpers.h"
#include "pixmisc.h"
#include "science/science.h"

namespace {

using pixtest::Scratch;
using scitest::Sample;

std::vector<int> GifIndices(const std::string& path, int& w, int& h) {
  std::string script = "import sys\nfrom PIL import Image\nim = Image.open(sys.argv[1])\n"
                       "print(im.size[0], im.size[1])\nprint(' '.join(str(v) for v in im.getdata()))\n";
  auto r = pixtest::Run(std::string(pixtest::kPython) + " -c " + pixtest::Quote(script) + " " + pixtest::Quote(path));
  std::istringstream in(r.out);
  in >> w >> h;
  std::vector<int> v;
  for (int x; in >> x;) v.push_back(x);
  return v;
}

std::vector<int> AllIndices() {
  std::vector<int> v(256);
  for (int i = 0; i < 256; ++i) v[static_cast<std::size_t>(i)] = i;
  return v;
}

TEST(HeightField, ReportsAndIndicesThroughTheRoutes) {
  const std::string range01 = "Input file had range 0.00000e+00 .. 1.00000e+00\n";
  const std::string wrapped = "Input file had range -5.00000e-01 .. 2.00000e+00\n";
  const struct {
    const char *sample, *target;
    const char* report;  // null: not compared
    int width;
    std::vector<int> indices;
  } cases[] = {
      {"science_field.gif", "a.mat", range01.c_str(), 0, {}},
      {"science_floats.mat", "a.gif", wrapped.c_str(), 4, {0, 63, 191, 129, 127, 1, 254, 254}},
      {"science_doubles.mat", "a.gif", wrapped.c_str(), 4, {0, 63, 191, 129, 127, 1, 254, 254}},
      {"science_ramp.mat", "a.gif", nullptr, 16, AllIndices()},  // what science_ramp.gif gives: every index back
      {"science_pot.pot", "a.gif", nullptr, 2, {127, 64}},  // (0x80, 0x00) is 0.5
      {"science_pot.pot", "a.mat", nullptr, 0, {}},          // its values: ref/science_pot.mat
      {"science_half.mat", "a.pot", nullptr, 4, {0x7F, 0xFF, 0xFF, 0xFF}},  // 0.5 gives (0x7F, 0xFF), not (0x80, 0x00)
      {"science_grey.gif", "a.pot", nullptr, 4, {0xFF, 0x33, 0xFF, 0x33}},
      {"science_gif.mat", "a.gif", nullptr, 2, {10, 20}},  // sources are recognised by content
      {"science_grey.mat", "a.gif", "2 elements read.\nInput file had range 5.00000e-01 .. 1.00000e+00\n", 2, {127, 255}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.sample) + " -> " + c.target);
    Scratch s;
    testing::internal::CaptureStdout();
    // no route goes between ".mat" and ".pot": the converter is called itself
    const std::string src = Sample(c.sample), dst = s.path(c.target);
    const bool routed = pix::LookUpRoute(src.c_str(), dst.c_str()).kind == pix::RouteMatch::Row;
    int r = routed ? pixMISC(src.c_str(), dst.c_str()) : pix::HeightField({src.c_str(), dst.c_str()});
    std::string out = testing::internal::GetCapturedStdout();
    ASSERT_EQ(r, 1);
    if (c.report) {
      EXPECT_EQ(out, c.report);
    }
    const std::string ref = Sample("ref/" + pixtest::fs::path(c.sample).stem().string() + ".mat");
    if (c.target == std::string("a.mat") && pixtest::fs::exists(ref)) {
      EXPECT_EQ(pixtest::ReadFile(dst), pixtest::ReadFile(ref));
    }
    if (c.indices.empty()) continue;
    int w = 0, h = 0;
    EXPECT_EQ(GifIndices(s.path(c.target), w, h), c.indices);
    EXPECT_EQ(w, c.width);
  }
}

// Matlab files that are big-endian, sparse, integer, empty or short are the
// samples table's damaged copies of sample_topo.mat; these say something.
TEST(HeightField, RefusedSources) {
  const struct {
    const char *sample, *message;
  } cases[] = {
      {"science_header.mat", "Problem reading matlab file header.\n"},
      {"science_wide.mat", "Could not allocate memory for heightfield (160000 bytes)"},
      {"science_odd.pot", ""},  // a pot field of odd width
      {"missing.mat", ""},
      {"missing.pot", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sample);
    Scratch s;
    testing::internal::CaptureStderr();
    EXPECT_EQ(pix::HeightField({Sample(c.sample).c_str(), s.path("a.gif").c_str()}), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.message);
    EXPECT_FALSE(pixtest::fs::exists(s.path("a.gif")));
  }
}

}  // namespace
