// The route table: which row (or the catch-all) a pair of paths reaches.
#include <set>
#include <string>

#include "entry/routes.h"
#include "pixmisc.h"
#include "support.h"

namespace {

using pix::LookUpRoute;
using pix::RouteMatch;

// Row number reached, 0 for the catch-all, -1 for no match.
int RowOf(const char* src, const char* dst) {
  RouteMatch m = LookUpRoute(src, dst);
  if (m.kind == RouteMatch::NoMatch) return -1;
  if (m.kind == RouteMatch::CatchAll) return 0;
  return m.route->number;
}

TEST(RouteTable, HasEveryRowInOrder) {
  auto table = pix::RouteTable();
  ASSERT_EQ(table.size(), 261u);
  for (std::size_t i = 0; i < table.size(); ++i) EXPECT_EQ(table[i].number, static_cast<int>(i) + 1);
  for (const pix::Route& r : table) {
    EXPECT_NE(r.converter, nullptr) << r.number;
    EXPECT_EQ(r.target[0], '.') << r.number;
  }
}

struct Case {
  const char* src;
  const char* dst;
  int row;  // 0 catch-all, -1 none
};

// The matching rule, case by case: compared lengths, exact-length rows, case,
// first match wins, the catch-all group.
TEST(RouteTable, MatchingRule) {
  const Case cases[] = {
      {"PHOTO.IMG", "out.PGM", 1},
      {"dir/photo.img", "x/out.pgm", 1},
      {"noext", "a.gif", 8},
      {"dir.d/noext", "a.gif", 8},
      {"noext", "a.png", -1},
      {"x.cpc", "y.tif", 21},
      {"x.cpc", "y.tiff", 21},  // target compared over 4 characters
      {"x.cpc", "y.jpeg", -1},  // ".jpe" is not ".jpg"
      {"x.sp", "y.tif", 257},
      {"x.spx", "y.tif", -1},
      {"x.spx", "y.sna", 0},
      {"x.zx", "y.tif", 255},
      {"x.zxs", "y.tif", 255},
      {"x.zx82", "y.tif", 255},
      {"a.ts", "b.jpg", 50},
      {"a.tsk", "b.jpg", 112},
      {"a.tsx", "b.jpg", -1},
      {"a.qt", "b.jpg", 115},
      {"a.qtx", "b.jpg", -1},
      {"a.col", "b.jpg", 51},
      {"a.collage", "b.jpg", 51},
      {"a.COLX", "b.jpg", 51},
      {"a.info", "b.jpg", 63},
      {"a.inf", "b.jpg", 63},
      {"a.ui", "b.dib", 48},
      {"a.uix", "b.dib", 48},
      {"a.db", "b.jpg", 76},
      {"a.dbx", "b.jpg", 76},
      {"a.dbt", "b.jpg", 76},  // ".db" over 3 comes before row 77
      {"a.fi", "b.jpg", 127},
      {"a.cache", "b.jpg", 78},
      {"a.cach", "b.jpg", -1},
      {"a.bpthumbdata", "b.jpg", 83},
      {"a.albm", "b.jpg", 108},
      {"a.alb", "b.jpg", -1},
      {"a.icns", "b.png", 141},
      {"a.pspd", "b.png", 135},
      {"a.acorn", "b.bmp", 181},
      {"a.ssp", "b.jpg", 107},
      {"a.ssp", "b.png", 146},
      {"a.gal", "b.jpg", 96},
      {"a.pic", "b.fts", 14},
      {"a.pic", "b.pct", 25},
      {"a.pic", "b.pcx", 36},
      {"a.pic", "b.jpg", 133},
      {"a.pic", "b.bmp", 192},
      {"a.exe", "b.jpg", 54},
      {"a.exe", "b.png", 140},
      {"a.exe", "b.gif", 154},
      {"a.exe", "b.bmp", 224},
      {"a.tap", "b.scr", 29},
      {"a.tap", "b.zxs", 30},
      {"a.tap", "b.ppm", 251},
      {"a.img", "b.cmu", 175},
      {"a.img", "b.bmp", 180},
      {"a.gif", "b.jif", 31},
      {"a.gif", "b.pot", 172},
      {"a.gif", "b.mat", 173},
      {"a.cmp", "b.tif", 261},
      {"a.prg", "b.tif", 256},
      {"a.z80", "b.tif", 258},
      {"a.xyz", "b.sit", 0},
      {"a.xyz", "b.snx", 0},
      {"a.xyz", "b.z80", 0},
      {"a.xyz", "b.ach", 0},
      {"a.xyz", "b.zx", 0},
      {"a.xyz", "b.zxs", -1},  // ".zx" and ".sp" match only exactly here
      {"a.xyz", "b.spx", -1},
      {"a.xyz", "b.jpg", -1},
      {"C:\\pics\\A.NEO", "D:\\out\\b.IFF", 240},
      {"archive.tar.psf", "out.xbm", 38},
  };
  for (const Case& c : cases) EXPECT_EQ(RowOf(c.src, c.dst), c.row) << c.src << " -> " << c.dst;
}

TEST(RouteTable, NullPathsMatchNothing) {
  EXPECT_EQ(RowOf("a.img", nullptr), -1);
  EXPECT_EQ(RowOf(nullptr, "a.pgm"), -1);
  EXPECT_EQ(pixMISC("a.img", nullptr), 0);
  EXPECT_EQ(pixMISC(nullptr, "a.pgm"), 0);
}

// Later duplicates of a pair are never reached.
TEST(RouteTable, ShadowedRowsAreNeverReached) {
  std::set<int> reached;
  for (const pix::Route& r : pix::RouteTable()) {
    std::string src = r.source ? std::string("x") + r.source : "x";
    reached.insert(RowOf(src.c_str(), (std::string("y") + r.target).c_str()));
  }
  std::set<int> unreached;
  for (int n = 1; n <= 261; ++n)
    if (!reached.count(n)) unreached.insert(n);
  // 75, 119, 150 repeat an earlier pair; ".dbt" is caught by ".db" over 3 (76).
  EXPECT_EQ(unreached, (std::set<int>{75, 77, 119, 150}));
}

TEST(RouteTable, DecisionRowsAreMarked) {
  auto table = pix::RouteTable();
  EXPECT_EQ(table[7].decision, pix::Decision::EmptySource);
  EXPECT_EQ(table[106].decision, pix::Decision::FallbackToPng);
  EXPECT_EQ(table[174].decision, pix::Decision::FirstBytesFFFF);
  EXPECT_EQ(table[179].decision, pix::Decision::FirstBytesBmTp);
  // constant arguments: -1, 0 for the BMP stream scanner, the IFF/FLR converter and SWF
  for (int row : {116, 180, 210, 211, 213, 229}) {
    EXPECT_EQ(table[row - 1].arg1, -1) << row;
    EXPECT_EQ(table[row - 1].argCount, 2) << row;
  }
}

}  // namespace

namespace {

// Rows 175 and 180 decide by the source's first bytes; a short or missing
// source takes the second branch.
TEST(RouteTable, FirstBytesDecide) {
  pixtest::Scratch s;
  auto row = [](int n) { return pix::RouteTable()[static_cast<std::size_t>(n - 1)]; };
  struct {
    const char* name;
    std::string bytes;
    int rowNo;
    const char* expect;
  } cases[] = {
      {"a.img", "BMxxx", 180, "BmpStreamScan"},
      {"b.img", "TPxxx", 180, "BmpStreamScan"},
      {"c.img", "IMxxx", 180, "ImgToBmp"},
      {"d.img", "B", 180, "ImgToBmp"},
      {"e.img", std::string("\xFF\xFF\x01\x02\x03", 5), 175, "ImgToCmuA"},
      {"f.img", std::string("\xFF\xFE\x01\x02\x03", 5), 175, "ImgToCmuB"},
      {"g.img", std::string("\xFF", 1), 175, "ImgToCmuB"},
  };
  for (const auto& c : cases) {
    pixtest::WriteFile(s.path(c.name), c.bytes);
    pix::ConverterChoice ch = pix::ChooseConverter(row(c.rowNo), s.path(c.name).c_str());
    EXPECT_STREQ(ch.name, c.expect) << c.name;
  }
  EXPECT_STREQ(pix::ChooseConverter(row(180), s.path("missing.img").c_str()).name, "ImgToBmp");
  EXPECT_STREQ(pix::ChooseConverter(row(175), s.path("missing.img").c_str()).name, "ImgToCmuB");
  pix::ConverterChoice bmp = pix::ChooseConverter(row(180), s.path("a.img").c_str());
  EXPECT_EQ(bmp.arg1, -1);
  EXPECT_EQ(pix::ChooseConverter(row(180), s.path("c.img").c_str()).arg1, 0);
}

// An unmatched pair touches no file.
TEST(RouteTable, NoMatchWritesNothing) {
  pixtest::Scratch s;
  pixtest::WriteFile(s.path("a.xyz"), std::string("hello"));
  EXPECT_EQ(pixMISC(s.path("a.xyz").c_str(), s.path("b.jpg").c_str()), 0);
  EXPECT_EQ(s.files(), std::vector<std::string>{"a.xyz"});
}

}  // namespace

namespace {

// The converters whose 0 means success are marked so, and only they.
TEST(RouteTable, ResultConventions) {
  std::set<std::string> zeroIsSuccess;
  for (const pix::Route& r : pix::RouteTable())
    if (r.result == pix::Result::ZeroIsSuccess) zeroIsSuccess.insert(r.converterName);
  EXPECT_EQ(zeroIsSuccess, (std::set<std::string>{"BdfToXbm", "CpcScreenToTiff", "GroToBmp", "XbmToGrob"}));
}

}  // namespace

namespace {

// Every converter the table can run, except those of formats whose layout is
// unknown, is reached by at least one listed sample; and those placeholders
// write nothing for any sample at all.
TEST(RouteTable, EveryBuiltConverterHasASampleAndPlaceholdersRecogniseNothing) {
  std::set<pix::ConverterFn> reached;
  const std::vector<pixtest::Sample> samples = pixtest::Samples();
  for (const pixtest::Sample& s : samples) {
    RouteMatch m = LookUpRoute(s.source.c_str(), s.target.c_str());
    if (m.kind == RouteMatch::Row) reached.insert(pix::ChooseConverter(*m.route, s.source.c_str()).converter);
  }
  std::set<std::string> missing;
  std::set<pix::ConverterFn> placeholders;
  for (const pix::Route& r : pix::RouteTable()) {
    if (pix::IsPlaceholder(r.converter)) {
      placeholders.insert(r.converter);
      continue;
    }
    if (!reached.count(r.converter)) missing.insert(r.converterName);
  }
  EXPECT_TRUE(missing.empty()) << "built converters without a sample: " << ::testing::PrintToString(missing);
  ASSERT_FALSE(placeholders.empty());
  pixtest::Scratch scratch;
  const std::string target = scratch.path("out.bin");
  for (pix::ConverterFn f : placeholders)
    for (const pixtest::Sample& s : samples) {
      pix::ConvertCall call;
      call.source = s.source.c_str();
      call.target = target.c_str();
      EXPECT_EQ(f(call), 0) << s.source;
    }
  EXPECT_TRUE(scratch.files().empty());
}

}  // namespace
