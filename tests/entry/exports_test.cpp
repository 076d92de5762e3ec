// The shared library's face: exactly the exports, and the tool built on it.
#include <set>
#include <sstream>

#include "pixmisc.h"
#include "support.h"

namespace {



TEST(Exports, SharedLibraryExportsExactlyTheApi) {
  PIX_REQUIRE_TOOL("nm");
  pixtest::RunResult r = pixtest::Run(std::string("nm -D --defined-only ") + pixtest::Quote(pixtest::kSharedLib));
  ASSERT_EQ(r.status, 0) << r.err;
  std::set<std::string> names;
  std::istringstream in(r.out);
  std::string addr, kind, name;
  while (in >> addr >> kind >> name) names.insert(name);
  const std::set<std::string> expected = {
      "pixMISC", "seeMISC", "seeMultiMISC", "compteFichiers", "compteFichiers_2", "compteFichiersPNG",
      "compteFichiersTIFF", "compteFichiersGIF", "compteFichiersBMP", "compteFichiersBMPelse", "compteFichiersDIB",
      "compteFichiersPPT", "compteFichiers_PPS_jpeg", "extract_thumbnail_from_jpeg", "PPTtoJPG", "FLItoPPM",
      "get_nb_frames_from_flc", "get_nb_frames_from_flm", "PC1toIFF", "PGMtoASCII", "pixFree", "pixVersion"};
  EXPECT_EQ(names, expected);
}

TEST(Exports, PixFreeTakesNullAndTheVersionIsTheTools) {
  pixFree(nullptr);
  pixtest::RunResult r = pixtest::Run(std::string(pixtest::kCli) + " --version");
  EXPECT_EQ(r.out, std::string("pixmisc ") + pixVersion() + "\n");
  EXPECT_STRNE(pixVersion(), "");
}

struct CliCase {
  std::string args;
  int status;
  std::string firstLine;
};

TEST(Cli, RouteLookUps) {
  const CliCase cases[] = {
      {"route PHOTO.IMG out.PGM", 0, "1 ImgToPgm"},
      {"route x.spx y.tif", 1, "none"},
      {"route x.spx y.sna", 0, "catch-all ZxScreenToTiff"},
      {"route a.tsx b.jpg", 1, "none"},
      {"route a.col b.jpg", 0, "51 CatalogueScan"},
      {"route a.ssp b.jpg", 0, "107 CatalogueScan, then PngScan when it finds nothing"},
  };
  for (const CliCase& c : cases) {
    pixtest::RunResult r = pixtest::Run(std::string(pixtest::kCli) + " " + c.args);
    EXPECT_EQ(r.status, c.status) << c.args;
    EXPECT_EQ(r.out.substr(0, r.out.find('\n')), c.firstLine) << c.args;
  }
}

TEST(Cli, UsageAndListing) {
  std::string cli = pixtest::kCli;
  EXPECT_EQ(pixtest::Run(cli + " --help").status, 0);
  EXPECT_NE(pixtest::Run(cli + " --help").out.find("Usage: pixmisc"), std::string::npos);
  EXPECT_EQ(pixtest::Run(cli + " --version").status, 0);
  EXPECT_EQ(pixtest::Run(cli).status, 2);
  EXPECT_EQ(pixtest::Run(cli + " bogus").status, 2);
  EXPECT_EQ(pixtest::Run(cli + " route onlyone").status, 2);
  EXPECT_EQ(pixtest::Run(cli + " count weird x").status, 2);
  pixtest::RunResult list = pixtest::Run(cli + " routes");
  EXPECT_EQ(list.status, 0);
  int lines = 0;
  for (char c : list.out) lines += c == '\n';
  EXPECT_EQ(lines, 262);  // 261 rows and the catch-all
}

TEST(Cli, ConvertWithoutRouteFails) {
  pixtest::Scratch s;
  pixtest::WriteFile(s.path("a.xyz"), std::string("data"));
  pixtest::RunResult r = pixtest::Run(std::string(pixtest::kCli) + " convert " + pixtest::Quote(s.path("a.xyz")) + " " +
                             pixtest::Quote(s.path("b.jpg")));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("no route from .xyz to .jpg"), std::string::npos) << r.err;
}

// The tool says why nothing was converted where it can tell, and names
// converters as the route table does.
TEST(Cli, ConvertSaysWhyAndNamesTheConverter) {
  pixtest::Scratch s;
  const std::string cli = std::string(pixtest::kCli) + " convert ";
  pixtest::RunResult r = pixtest::Run(cli + pixtest::Quote(s.path("absent.ppt")) + " " + pixtest::Quote(s.path("a.jpg")));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("cannot open " + s.path("absent.ppt") + ": No such file or directory"), std::string::npos) << r.err;
  const std::string slides = std::string(pixtest::kSourceDir) + "/samples/jpeg_slides.ppt";
  r = pixtest::Run(cli + pixtest::Quote(slides) + " " + pixtest::Quote(s.path("missing/a.jpg")));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("the target folder does not exist"), std::string::npos) << r.err;
  r = pixtest::Run(cli + pixtest::Quote(slides) + " " + pixtest::Quote(s.path("a.jpg")));
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("route: 94 (PPTtoJPG)"), std::string::npos) << r.out;
  const std::string list = pixtest::Run(std::string(pixtest::kCli) + " routes").out;
  EXPECT_EQ(list.find("Route"), std::string::npos);  // no adapter's own name
  EXPECT_NE(list.find(" PC1toIFF\n"), std::string::npos);
}

TEST(Cli, PreviewOfUnknownKindFails) {
  pixtest::Scratch s;
  pixtest::WriteFile(s.path("a.xyz"), std::string("data"));
  pixtest::RunResult r =
      pixtest::Run(std::string(pixtest::kCli) + " preview " + pixtest::Quote(s.path("a.xyz")) + " -o " + pixtest::Quote(s.path("o")));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("no preview converter"), std::string::npos);
}

}  // namespace

// The drawing route's metafile header (libwmf, which renders it in the samples
// table, does not check it): the placeable header's checksum and the size.
TEST(Drawing, PlaceableHeaderChecksumAndSize) {
  pixtest::Scratch s;
  std::string src = std::string(pixtest::kSourceDir) + "/samples/targets_b_drawing.aff";
  ASSERT_EQ(pixMISC(src.c_str(), s.path("drawing.wmf").c_str()), 1);
  pixtest::Bytes wmf = pixtest::ReadFile(s.path("drawing.wmf"));
  ASSERT_GT(wmf.size(), 40u);
  std::uint16_t sum = 0;
  for (int i = 0; i < 20; i += 2) sum ^= static_cast<std::uint16_t>(wmf[i] | wmf[i + 1] << 8);
  EXPECT_EQ(sum, wmf[20] | wmf[21] << 8);
  EXPECT_EQ(wmf[28] | wmf[29] << 8 | wmf[30] << 16 | wmf[31] << 24, static_cast<int>((wmf.size() - 22) / 2));
}

TEST(Drawing, DamagedObjectsKeepWhatCameBefore) {
  pixtest::Scratch s;
  pixtest::Bytes good = pixtest::ReadFile(std::string(pixtest::kSourceDir) + "/samples/targets_b_drawing.aff");
  ASSERT_GT(good.size(), 200u);
  struct Case {
    const char* what;
    pixtest::Bytes bytes;
    int result;
  };
  pixtest::Bytes cut = good, badSize = good;
  cut.resize(good.size() - 7);      // the last object runs past the end: the rest is kept
  badSize[44] = 0x03;               // the font table's size is no multiple of 4: nothing drawn
  const Case cases[] = {{"cut", cut, 1}, {"size", badSize, 1}};
  for (const Case& c : cases) {
    std::string src = s.path(std::string(c.what) + ".aff"), dst = s.path(std::string(c.what) + ".wmf");
    pixtest::WriteFile(src, c.bytes);
    EXPECT_EQ(pixMISC(src.c_str(), dst.c_str()), c.result) << c.what;
    EXPECT_EQ(pixtest::fs::exists(dst), c.result == 1) << c.what;
  }
}
