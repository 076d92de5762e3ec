// pixmisc batch over folder trees: the report lists every file, outputs land
// mirrored under the output folder and never in the source tree, an
// interrupted run leaves no file its report does not list; the contact sheet
// loads in a real browser; the GNU parallel recipe of the README works.
#include <filesystem>
#include <set>

#include "support.h"

namespace {

namespace fs = std::filesystem;

std::string Sample(const std::string& name) { return std::string(pixtest::kSourceDir) + "/samples/" + name; }

// Every regular file below dir, relative, with its size.
std::set<std::string> Tree(const fs::path& dir) {
  std::set<std::string> s;
  for (const auto& e : fs::recursive_directory_iterator(dir))
    if (e.is_regular_file()) s.insert(fs::relative(e.path(), dir).string() + " " + std::to_string(e.file_size()));
  return s;
}

// A query over a report, answered by Python's json module.
std::string Query(const std::string& report, const std::string& expr) {
  // output paths in a report are relative to the folder the batch ran in
  pixtest::RunResult r = pixtest::Run("cd " + pixtest::Quote(fs::path(report).parent_path().string()) + " && " +
                                      std::string(pixtest::kPython) + " -c " +
                                      pixtest::Quote("import json,sys; r=json.load(open(sys.argv[1])); print(" + expr + ")") +
                                      " " + pixtest::Quote(report));
  EXPECT_EQ(r.status, 0) << r.err;
  return r.out;
}

std::string Cli() { return pixtest::Quote(pixtest::kCli); }

TEST(Batch, ConvertsATreeMirroredAndReportsEveryFile) {
  pixtest::Scratch s;
  fs::create_directories(s.dir() / "src/sub");
  fs::copy_file(Sample("retro_logo.gro"), s.dir() / "src/logo.gro");
  fs::copy_file(Sample("shapes.qfs"), s.dir() / "src/sub/packed.qfs");
  pixtest::WriteFile(s.path("src/notes.txt"), std::string("no route"));
  pixtest::WriteFile(s.path("src/sub/broken.fsh"), std::string("SHPI"));
  const auto before = Tree(s.dir() / "src");
  pixtest::RunResult r = pixtest::Run("cd " + pixtest::Quote(s.path("")) + " && " + Cli() +
                                      " batch src --to bmp --out out --jobs 2 --report r.json");
  EXPECT_EQ(r.status, 1) << r.out << r.err;  // the broken archive fails
  EXPECT_EQ(Tree(s.dir() / "src"), before);
  const std::string report = s.path("r.json");
  EXPECT_EQ(Query(report, "len(r['files'])"), "4\n");
  EXPECT_EQ(Query(report, "sorted((f['source'], f['status']) for f in r['files'])"),
            "[('src/logo.gro', 'converted'), ('src/notes.txt', 'skipped'), ('src/sub/broken.fsh', 'failed'), "
            "('src/sub/packed.qfs', 'converted')]\n");
  EXPECT_EQ(Query(report, "r['summary']['converted'], r['summary']['failed'], r['summary']['skipped']"), "2 1 1\n");
  // every output listed exists with its size, under the mirrored folder
  EXPECT_EQ(Query(report, "all(__import__('os').path.getsize(o['path']) == o['bytes'] > 0 "
                          "for f in r['files'] for o in f['outputs'])"),
            "True\n");
  EXPECT_TRUE(fs::exists(s.dir() / "out/logo.bmp"));
  EXPECT_TRUE(fs::exists(s.dir() / "out/sub/packed_0001.BMP"));
  EXPECT_FALSE(fs::exists(s.dir() / "out/.pixmisc-work"));
  // without a failure the run succeeds; an output folder inside the source is refused
  fs::remove(s.dir() / "src/sub/broken.fsh");
  EXPECT_EQ(pixtest::Run("cd " + pixtest::Quote(s.path("")) + " && " + Cli() + " batch src --to bmp --out out2").status, 0);
  EXPECT_EQ(pixtest::Run("cd " + pixtest::Quote(s.path("")) + " && " + Cli() + " batch src --to bmp --out src/o").status, 2);
  EXPECT_EQ(Tree(s.dir() / "src").size(), before.size() - 1);
}

TEST(Batch, AnInterruptedRunLeavesOnlyReportedFiles) {
  pixtest::Scratch s;
  fs::create_directories(s.dir() / "src");
  for (int i = 0; i < 600; ++i) fs::copy_file(Sample("shapes.qfs"), s.dir() / "src" / ("p" + std::to_string(i) + ".qfs"));
  pixtest::RunResult r = pixtest::Run("cd " + pixtest::Quote(s.path("")) + " && (" + Cli() +
                                      " batch src --to bmp --out out --jobs 2 --report r.json & pid=$!; sleep 0.5; "
                                      "kill -INT $pid; wait $pid; echo exit=$?)");
  const std::string report = s.path("r.json");
  ASSERT_TRUE(fs::exists(report)) << r.out << r.err;
  const bool interrupted = Query(report, "r['interrupted']") == "True\n";
  EXPECT_NE(r.out.find(interrupted ? "exit=1" : "exit=0"), std::string::npos) << r.out;
  // the files on disk are exactly the outputs the report lists
  std::set<std::string> listed;
  std::string paths = Query(report, "'\\n'.join(o['path'] for f in r['files'] for o in f['outputs'])");
  for (std::size_t at = 0, nl; (nl = paths.find('\n', at)) != std::string::npos; at = nl + 1)
    if (nl > at) listed.insert(paths.substr(at, nl - at));
  std::set<std::string> onDisk;
  for (const auto& e : fs::recursive_directory_iterator(s.dir() / "out"))
    if (e.is_regular_file()) onDisk.insert(fs::relative(e.path(), s.dir()).string());
  EXPECT_EQ(onDisk, listed);
  if (interrupted) {
    EXPECT_NE(Query(report, "r['summary']['not started']"), "0\n");
    std::printf("interrupted after %s files\n", Query(report, "r['summary']['converted']").c_str());
  }
}

TEST(Batch, ContactSheetShowsEveryThumbnailInABrowser) {
  PIX_REQUIRE_TOOL("chromium");
  pixtest::Scratch s;
  fs::create_directories(s.dir() / "src");
  for (const char* f : {"retro_logo.gro", "shapes.fsh", "retro_picture.pi1"}) fs::copy_file(Sample(f), s.dir() / "src" / f);
  pixtest::WriteFile(s.path("src/bad.fsh"), std::string("SHPI"));
  ASSERT_EQ(pixtest::Run("cd " + pixtest::Quote(s.path("")) + " && " + Cli() +
                         " batch src --to bmp --out out --gallery >/dev/null")
                .status,
            1);
  // the page counts its images that did not load once everything has loaded
  const std::string page = s.path("out/index.html");
  const std::string chromium =
      "chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking "
      "--disable-component-update --disable-sync --user-data-dir=" + pixtest::Quote(s.path("profile")) +
      " --virtual-time-budget=5000 --window-size=1280,900 ";
  pixtest::RunResult dom = pixtest::Run(chromium + "--dump-dom " + pixtest::Quote("file://" + page));
  ASSERT_EQ(dom.status, 0) << dom.err;
  EXPECT_NE(dom.out.find("data-broken=\"0\""), std::string::npos) << dom.out.substr(0, 2000);
  EXPECT_NE(dom.out.find("data-images=\"5\""), std::string::npos);  // 1 + 4 shape pictures
  EXPECT_NE(dom.out.find("class=\"failed\""), std::string::npos);
  pixtest::Run(chromium + "--screenshot=" + pixtest::Quote(s.path("sheet.png")) + " " + pixtest::Quote("file://" + page));
  pixtest::Bytes png = pixtest::ReadFile(s.path("sheet.png"));
  ASSERT_GT(png.size(), 1000u);
  EXPECT_EQ(png[1], 'P');
}

TEST(Batch, GnuParallelRecipeOnTwoLocalMachinesAndMergedReports) {
  PIX_REQUIRE_TOOL("parallel");
  PIX_REQUIRE_TOOL("jq");
  pixtest::Scratch s;
  fs::create_directories(s.dir() / "a");
  fs::create_directories(s.dir() / "b");
  fs::copy_file(Sample("retro_logo.gro"), s.dir() / "a/one.gro");
  fs::copy_file(Sample("shapes.fsh"), s.dir() / "a/two.fsh");
  fs::copy_file(Sample("shapes.qfs"), s.dir() / "b/three.qfs");
  // two reports, one per machine, merged with the README's jq line
  for (const char* d : {"a", "b"})
    pixtest::Run("cd " + pixtest::Quote(s.path("")) + " && " + Cli() + " batch " + d + " --to bmp --out out-" + d +
                 " --report " + d + ".json");
  pixtest::RunResult merged = pixtest::Run(
      "cd " + pixtest::Quote(s.path("")) +
      " && jq -s '{interrupted: (map(.interrupted) | any), files: (map(.files) | add)}' a.json b.json > all.json");
  // the README's recipe, with two "machines" that are this one
  pixtest::RunResult r = pixtest::Run(
      "cd " + pixtest::Quote(s.path("")) + " && ls a/* b/* > files.txt && PATH=" +
      pixtest::Quote(fs::path(pixtest::kCli).parent_path().string()) +
      ":$PATH parallel --will-cite -S 2/: --transferfile {} --return {.}.bmp pixmisc convert {} {.}.bmp :::: files.txt");
  EXPECT_EQ(r.status, 0) << r.out << r.err;
  EXPECT_TRUE(fs::exists(s.dir() / "a/one.bmp"));
  EXPECT_TRUE(fs::exists(s.dir() / "a/two_0001.BMP"));
  EXPECT_TRUE(fs::exists(s.dir() / "b/three_0001.BMP"));
  ASSERT_EQ(merged.status, 0) << merged.err;
  EXPECT_EQ(Query(s.path("all.json"), "len(r['files']), r['interrupted']"), "3 False\n");
}

}  // namespace
